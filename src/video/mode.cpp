// How a changed mode is applied or taken back, and what a program starts with.
#include "video/mode.h"

#include "blit/blit.h"
#include "boundary/records.h"
#include "collision/collision.h"
#include "raster/pixels.h"
#include "raster/raster.h"
#include "surface/colour.h"
#include "surface/palette.h"
#include "surface/screen.h"
#include "video/fades.h"
#include "video/mode_tables.h"
#include "video/presentation.h"
#include "video/screen_surfaces.h"
#include "video/sdl_backend.h"
#include "video/virtual_resolution.h"
#include "video/zones.h"

int32_t cur_mode;

namespace {

int32_t orientation_mode;

/// Everything that a set-mode can be asked for.
struct mode_settings {
  orb_mode mode;
  uint8_t full_screen, filterNx_mode;
  int32_t filter_w, filter_h;
  int32_t filter_scale, filter_scanline, filter_scanlinepercent, filter_fx;
  int32_t filter_scanline_percent, orientation_mode;
  int32_t virtual_resolution, virtual_resolution_w, virtual_resolution_h;
  int32_t virtual_resolution_aspectratio;
};

/// Calls pair(kept field, field in force) for each.
template <typename F> void each_setting(mode_settings &kept, F &&pair) {
  pair(kept.mode, mode);
  pair(kept.full_screen, full_screen);
  pair(kept.filterNx_mode, filterNx_mode);
  pair(kept.filter_w, filter_w);
  pair(kept.filter_h, filter_h);
  pair(kept.filter_scale, filter_scale);
  pair(kept.filter_scanline, filter_scanline);
  pair(kept.filter_scanlinepercent, filter_scanlinepercent);
  pair(kept.filter_fx, filter_fx);
  pair(kept.filter_scanline_percent, filter_scanline_percent);
  pair(kept.orientation_mode, orientation_mode);
  pair(kept.virtual_resolution, virtual_resolution);
  pair(kept.virtual_resolution_w, virtual_resolution_w);
  pair(kept.virtual_resolution_h, virtual_resolution_h);
  pair(kept.virtual_resolution_aspectratio, virtual_resolution_aspectratio);
}

/// What the last set-mode that worked was asked for.
mode_settings working;
bool has_working;

/// Choices that come with a set-mode but also change without one.
struct mode_choices {
  int32_t vsync, script_vsync;
  uint8_t centerwindow, centermouse, fade;
};
/// Those in force before the request under way. Valid during a request.
mode_choices choices_before;
bool request_under_way;

/// The palette of the 8-bit mode that was left, for a mode change that is taken back.
struct {
  __ORBPalette2D__ colours;
  uint32_t crc;
  uint8_t loaded, forced;
} left_palette;

/// Rebuilds everything that depends on the depth except the surfaces. False, with nothing changed,
/// when there is no memory for the tables.
bool rebuild_for_depth() {
  if (palette) left_palette = {*palette, palette_crc, palette_loaded, palette_forced};
  if (!do_tables(mode.bpp)) return false;
  fade_display_palette();
  create_collision_surfaces();
  set_blitter_routines();
  set_graphics2D_drawing_routines();
  cur_mode = mode.bpp;
  return true;
}

void take_back_settings() {
  const uint8_t changing = mode.changing;
  each_setting(working, [](auto &kept, auto &field) { field = kept; });
  mode.changing = changing;
  if (request_under_way) {
    vsync = choices_before.vsync;
    if (_vsync_) *_vsync_ = choices_before.script_vsync;
    mode_centerwindow = choices_before.centerwindow;
    mode_centermouse = choices_before.centermouse;
    mode_fade = choices_before.fade;
  }
  publish_mode();
}

/// Rebuilds if the mode's depth has changed. False without memory for that; the settings are then
/// those of the mode that still works.
bool follow_depth() {
  if (mode.bpp == cur_mode || rebuild_for_depth()) return true;
  if (has_working) take_back_settings();
  return false;
}

void return_to_working_mode() {
  const uint8_t was_change = change_mode, was_filtering = filtering_mode;
  take_back_settings();
  // The tables of the old depth are still there, so this can't run out of memory.
  if (mode.bpp != cur_mode && rebuild_for_depth() && palette) {
    set_palette(&left_palette.colours);
    palette_crc = left_palette.crc;
    palette_loaded = left_palette.loaded;
    palette_forced = left_palette.forced;
    fade_display_palette();
  }
  // A failed set-mode leaves the surfaces alone; so must the return.
  change_mode = 0;
  filtering_mode = 1;
  SDLX11_SetMode();
  change_mode = was_change;
  filtering_mode = was_filtering;
}

/// Whether the mode keeps a screen that no frame restores. Fading it out and in again would leave
/// it black.
bool screen_has_no_background() {
  return mode.bpp > 8 && restore_type == -1 && !ground_puting &&
         surfaces_fit(mode.width, mode.height, mode.bpp);
}

} // namespace

int32_t VID_SetGFXMode() {
  // A host may have changed `mode` itself, and a virtual resolution may wait to be applied.
  if (!follow_depth()) return 0;
  update_filter_size();
  if (SDLX11_SetMode()) {
    each_setting(working, [](auto &kept, auto &field) { kept = field; });
    has_working = true;
    forget_left_tables();
    return 1;
  }
  if (has_working) return_to_working_mode();
  return 0;
}

int32_t VID_RestoreGFXMode() { return SDLX11_RestoreMode(); }
void VID_GFXPaint() { SDLX11_DrawFrame_Windowed(); }
int32_t VID_GetGFXDC() { return 0; }
int32_t VID_ReleaseGFXDC() { return 0; }

void publish_mode() {
  if (!deviceSystem_graphics2D) return;
  if (deviceSystem_graphics2D->full_screen) *deviceSystem_graphics2D->full_screen = full_screen;
  if (deviceSystem_graphics2D->vsync) *deviceSystem_graphics2D->vsync = vsync;
}

void begin_mode_request() {
  choices_before = {vsync, _vsync_ ? *_vsync_ : 0, mode_centerwindow, mode_centermouse, mode_fade};
  request_under_way = true;
}

void end_mode_request() { request_under_way = false; }

int32_t apply_mode() {
  mode.changing = 1;
  change_mode = filtering_mode = 0;
  publish_mode();
  const bool fades = mode_fade && !screen_has_no_background();
  if (fades) fade_off();
  const int32_t result = follow_depth() ? device2D.VID_SetGFXMode() : 0;
  if (fades) fade_on();
  mode.changing = 0;
  return result;
}

int32_t apply_change(uint8_t &kind) {
  mode.changing = 1;
  kind = 1;
  publish_mode();
  const int32_t result = device2D.VID_SetGFXMode();
  kind = 0;
  mode.changing = 0;
  return result;
}

void set_graphics2D_drawing_routines() {
  set_pixel_routines(mode.bpp);
  set_fading_routine(mode.bpp);
  set_raster_routines(mode.bpp);
  set_colour_routines(mode.bpp);
}

void set_mode_defaults() {
  const orb_device_system *const system = deviceSystem_graphics2D;
  const int64_t desktop_w = system ? system->desktop_width : 0;
  const int64_t desktop_h = system ? system->desktop_height : 0;
  // The host's full-screen flag, read by the init hook, decides the type of the first mode.
  mode = {int32_t((desktop_w - 320) >> 1),
          int32_t((desktop_h - 200) >> 1),
          320,
          200,
          8,
          full_screen ? 2 : 1,
          1024,
          0,
          0};
  cur_mode = mode.bpp;
  mode_centerwindow = 1;
  mode_centermouse = 0;
  mode_fade = 1;
  change_mode = filtering_mode = 0;
  filter_w = 320;
  filter_h = 200;
  filterNx_mode = 0;
  filter_scale = filter_scanline = filter_scanlinepercent = filter_fx = 0;
  filter_scanline_percent = 0;
  orientation_mode = 0;
  virtual_resolution = virtual_resolution_w = virtual_resolution_h = 0;
  virtual_resolution_aspectratio = 0;
  virtual_resolution_ratiow = virtual_resolution_ratioh = 0;
  virtual_resolution_xoffset = virtual_resolution_yoffset = 0;
  rendering2D_type = 1;
  vsync = 0;
  reset_fades();
  screen_color_set = 0;
  screen_color_rgb = {};
  screen_color = 0;
  forget_working_mode();
}

void forget_working_mode() { has_working = false; }

int32_t GetFilterNxMode() { return filterNx_mode; }
int32_t GetEmulatedMode() { return emulated_mode; }
int32_t GetEmulatedWidth() { return emulated_w; }
int32_t GetEmulatedHeight() { return emulated_h; }
int32_t GetEmulatedXOffset() { return emulated_x; }
int32_t GetEmulatedYOffset() { return emulated_y; }
int32_t GetVirtualResolution() { return virtual_resolution; }
int32_t GetVirtualResolutionAspectRatio() { return virtual_resolution_aspectratio; }
int32_t GetVirtualResolutionWidth() { return virtual_resolution_w; }
int32_t GetVirtualResolutionHeight() { return virtual_resolution_h; }
int32_t GetVirtualResolutionRatioWidth() { return virtual_resolution_ratiow; }
int32_t GetVirtualResolutionRatioHeight() { return virtual_resolution_ratioh; }
int32_t GetVirtualResolutionXOffset() { return virtual_resolution_xoffset; }
int32_t GetVirtualResolutionYOffset() { return virtual_resolution_yoffset; }

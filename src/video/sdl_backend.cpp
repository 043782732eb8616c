// The SDL 1.2 backend: listing, opening, wrapping and showing the display surface.
//
// SDL owns the display surface: SDL_SetVideoMode frees the old one, so "closing" it here means
// forgetting the pointer. When asked for an exact depth (no SDL_ANYFORMAT), SDL emulates it with a
// shadow surface, so the depth is nearly always the mode's.
#include "video/sdl_backend.h"

#include <SDL.h>

#include <cstdio>
#include <cstdlib>
#include <initializer_list>

#include "boundary/runtime.h"
#include "surface/screen.h"
#include "surface/surface.h"
#include "video/display.h"
#include "video/fades.h"
#include "video/mode_lists.h"
#include "video/mode_state.h"
#include "video/presentation.h"
#include "video/restore.h"
#include "video/screen_surfaces.h"
#include "video/virtual_resolution.h"
#include "video/zones.h"

namespace {

bool display_ready; // wrapped and with routines: frames can be shown
bool started_sdl;   // this module started SDL's video, not the host

/// SDL 1.2 keeps the bytes of a row in 16 bits, and X keeps window coordinates in signed 16 bits.
constexpr int32_t max_display_side = 16383;

/// What SDL opens, or null. The old display is gone afterwards in either case.
SDL_Surface *open_display(int32_t width, int32_t height, uint32_t flags) {
  if (width > max_display_side || height > max_display_side) return nullptr;
  const char *const title = rt_program_name();
  if (*title) SDL_WM_SetCaption(title, title);
  return SDL_SetVideoMode(width, height, mode.bpp, flags);
}

void forget_display() {
  display = nullptr;
  display_ready = false;
  sdl_w = sdl_h = 0;
}

int32_t report_failure(const char *text) {
  forget_display();
  rt_fatal(text);
  return 0;
}

uint32_t palette_flag() { return mode.bpp == 8 ? SDL_HWPALETTE : 0; }

bool lock_display() {
  return display_is_open() && (!SDL_MUSTLOCK(display) || SDL_LockSurface(display) == 0);
}
void unlock_display() {
  if (SDL_MUSTLOCK(display)) SDL_UnlockSurface(display);
}

/// Points the wrapper at the display's pixels from (mode_x, mode_y) on, which leaves a border on a
/// display larger than the picture. Valid only while the display is locked.
void wrap_display() {
  const uint32_t pixel_bytes = display->format->BytesPerPixel;
  buffer->width = uint32_t(filter_w);
  buffer->height = uint32_t(filter_h);
  buffer->depth = display->format->BitsPerPixel;
  buffer->pitch = display->pitch;
  buffer->pixel_count = buffer->width * buffer->height;
  buffer->byte_size = buffer->pitch * buffer->height;
  buffer->pixels = static_cast<uint8_t *>(display->pixels) + uint32_t(mode_y) * buffer->pitch +
                   uint32_t(mode_x) * pixel_bytes;
}

int32_t create_wrapper() {
  if (!buffer) buffer = ORBGI2D_CreateGFXSurfaceWrapper(filter_w, filter_h, mode.bpp);
  if (!buffer) rt_fatal("Error to Create Buffer 2D Surface");
  return buffer != nullptr;
}

void delete_wrapper() {
  if (!buffer) return;
  // Deleting a wrapper keeps the pixels and control points; the control points are ours.
  free(buffer->cpoints);
  buffer->cpoints = nullptr;
  ORBGI2D_DeleteGFXSurface(buffer);
  buffer = nullptr;
}

/// Every step of a set-mode that can fail, the surfaces last. True with the display wrapped.
bool open_and_fit(int32_t screen_width, int32_t screen_height, bool keep_surfaces) {
  if (!(full_screen ? SDLX11_SetFullScreenMode() : SDLX11_SetWindowedMode())) return false;
  if (!create_wrapper() || !lock_display()) return false;
  wrap_display();
  unlock_display();
  if (!find_present_routine(mode.bpp, buffer->depth)) {
    rt_fatal("Unsupported Video Buffer Depth.");
    return false;
  }
  if (virtual_resolution && !make_virtual_resolution(screen_width, screen_height)) return false;
  if (!keep_surfaces && !fit_surfaces(screen_width, screen_height, mode.bpp)) return false;
  if (!virtual_resolution) delete_virtual_resolution();
  return true;
}

/// After a change that kept the surfaces: restores the background, applies the fade, and presents.
/// Without a ground picture and with restoring off, the screen is presented as it is.
void redraw_once() {
  if (ground_puting || restore_type != -1) {
    (ground_puting ? draw_ground : clear_screen)(1);
    if (screen_is_recoloured()) recolour_screen();
  }
  VID_DrawFrame();
}

/// Presents the finished screen; completely when `complete` is set.
bool present_screen(bool complete) {
  if (!display_ready || !lock_display()) return false;
  wrap_display();
  draw_screen(complete || dump_type != 0 || old_dump_type != 0);
  unlock_display();
  return true;
}

} // namespace

int32_t SDLX11_Init() {
  started_sdl = !SDL_WasInit(SDL_INIT_VIDEO);
  if (started_sdl && SDL_InitSubSystem(SDL_INIT_VIDEO | SDL_INIT_NOPARACHUTE) != 0) {
    started_sdl = false;
    rt_fatal("libSDL.so load error, reinstall SDL!");
    return 0;
  }
  // SDL opens its own window. Hosts that need to prepare for it do so in this call.
  host_window_handle();
  if (!SDLX11_GetModes()) {
    SDLX11_Error("GetModes");
    return 0;
  }
  return 1;
}

int32_t SDLX11_GetModes() {
  for (const int32_t bpp : {8, 16, 24, 32}) {
    SDL_PixelFormat format{};
    format.BitsPerPixel = uint8_t(bpp);
    SDL_Rect **const listed = SDL_ListModes(&format, SDL_FULLSCREEN | SDL_HWPALETTE);
    if (listed == reinterpret_cast<SDL_Rect **>(-1)) { // any size
      if (!add_registered_modes(bpp)) return 0;
      continue;
    }
    for (SDL_Rect **rect = listed; rect && *rect; ++rect)
      if (!add_video_mode((*rect)->w, (*rect)->h, bpp, 0)) return 0;
  }
  return finish_mode_lists();
}

int32_t SDLX11_SetWindowedMode() {
  emulated_mode = 0;
  emulated_w = filter_w;
  emulated_h = filter_h;
  emulated_x = emulated_y = mode_x = mode_y = 0;
  forget_display();
  display = open_display(filter_w, filter_h, SDL_HWSURFACE | palette_flag());
  if (!display) display = open_display(filter_w, filter_h, SDL_SWSURFACE | palette_flag());
  if (!display) return report_failure("SetVideoMode (WINDOWED: FRAMEBUFFER - SYSTEMMEMORY)");
  if (!load_display_palette()) return report_failure("SetPalette");
  // SDL may return the old window with its picture, and the borders are never drawn.
  SDL_FillRect(display, nullptr, 0);
  SDL_ShowCursor(SDL_DISABLE);
  if (mode_centerwindow && deviceSystem_graphics2D) {
    // In 64 bits, because the host may report any desktop size.
    mode.x = int32_t((int64_t{deviceSystem_graphics2D->desktop_width} - filter_w) / 2);
    mode.y = int32_t((int64_t{deviceSystem_graphics2D->desktop_height} - filter_h) / 2);
    host_move_window(mode.x, mode.y);
  }
  mode_bufferflipping = 0;
  sdl_w = filter_w;
  sdl_h = filter_h;
  sdl_fullscreen = full_screen;
  return 1;
}

int32_t SDLX11_SetFullScreenMode() {
  emulated_mode = 0;
  emulated_w = filter_w;
  emulated_h = filter_h;
  if (!find_video_mode(filter_w, filter_h, mode.bpp, mode.rate) && !FindEmulatedMode()) {
    // A missing mode doesn't end the program: the host shows the text, and the mode before stays.
    forget_display();
    host_message_box("SetMode (FULLSCREEN)", rt_program_name());
    return 0;
  }
  mode_x = emulated_x = (emulated_w - filter_w) >> 1;
  mode_y = emulated_y = (emulated_h - filter_h) >> 1;

  if (emulated_mode && mode.bufferbehaviour == 2048) mode.bufferbehaviour = 1024;
  const bool flip = mode.bufferbehaviour == 2048;
  // A display of another depth or flipping can't show the new mode.
  if (display_is_open() && sdl_fullscreen && sdl_w == emulated_w && sdl_h == emulated_h &&
      display->format->BitsPerPixel == mode.bpp && mode_bufferflipping == flip) {
    SDL_FillRect(display, nullptr, 0);
    // Frames update only the part that the picture covers.
    if (!flip) SDL_UpdateRect(display, 0, 0, 0, 0);
  } else {
    forget_display();
    uint32_t flags = SDL_FULLSCREEN | palette_flag() | (flip ? SDL_DOUBLEBUF : 0);
    display = open_display(emulated_w, emulated_h, flags | SDL_HWSURFACE);
    if (!display) {
      if (flip) {
        mode.bufferbehaviour = 1024;
        // QUIRK: this sets every flag but double buffering, instead of clearing that one.
        flags |= 0xBFFFFFFF;
      }
      display = open_display(emulated_w, emulated_h, flags);
    }
    if (!display) return report_failure("SetVideoMode (FULLSCREEN: FRAMEBUFFER - SYSTEMMEMORY)");
  }
  mode_bufferflipping = mode.bufferbehaviour == 2048;
  if (!load_display_palette()) return report_failure("SetPalette");
  SDL_ShowCursor(SDL_DISABLE);
  host_input_reset();
  host_input_grab_mouse(!first_frame);
  sdl_w = emulated_w;
  sdl_h = emulated_h;
  sdl_fullscreen = full_screen;
  return 1;
}

int32_t SDLX11_SetMode() {
  // Hosts may draw from a callback. Until the end, mode, tables, surfaces and display don't match.
  const uint8_t was_changing = mode.changing;
  mode.changing = 1;
  display_ready = false;
  const int32_t screen_width = mode.width, screen_height = mode.height;
  const bool keep_surfaces = (change_mode || filtering_mode) && ground && screen;
  const bool redraw =
      keep_surfaces || virtual_resolution || surfaces_fit(screen_width, screen_height, mode.bpp);
  if (virtual_resolution) {
    mode.width = filter_w;
    mode.height = filter_h;
  }
  if (change_mode || full_screen) host_mode_change(1);
  filter_status = filter_status_stale;
  const bool opened = open_and_fit(screen_width, screen_height, keep_surfaces);
  mode.width = screen_width;
  mode.height = screen_height;
  if (opened) {
    VID_DrawFrame = full_screen ? SDLX11_DrawFrame_FullScreen : SDLX11_DrawFrame_Windowed;
    if (!first_frame) rt_signal(3);
    set_screen_color();
    set_screen_routines();
    display_ready = true;
    if (redraw) redraw_once();
    host_input_reread_window();
    if (mode_centermouse) host_input_centre_mouse(!change_mode);
  }
  host_mode_change(0);
  mode.changing = was_changing;
  return opened;
}

void SDLX11_DrawFrame_Windowed() {
  if (present_screen(false)) SDL_UpdateRect(display, 0, 0, uint32_t(filter_w), uint32_t(filter_h));
}

void SDLX11_DrawFrame_FullScreen() {
  // After a flip the buffer holds the frame before the last.
  if (!present_screen(mode_bufferflipping)) return;
  if (mode_bufferflipping)
    SDL_Flip(display);
  else
    SDL_UpdateRect(display, mode_x, mode_y, uint32_t(filter_w), uint32_t(filter_h));
}

int32_t SDLX11_RestoreMode() { return 1; }

void SDLX11_Quit() {
  forget_display();
  delete_wrapper();
  VID_DrawFrame = present_nothing;
  sdl_fullscreen = 0;
  filter_status = 0;
  if (started_sdl) SDL_QuitSubSystem(SDL_INIT_VIDEO);
  started_sdl = false;
}

void SDLX11_Error(const char *text) {
  char title[2048];
  snprintf(title, sizeof title, "%s: Critical Error", rt_program_name());
  host_message_box(text, title);
  rt_exit(1);
}

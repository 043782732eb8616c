// Script functions that set and query the video mode.
#include "blit/blit.h"
#include "script/handlers.h"
#include "script/script_call.h"
#include "surface/screen.h"
#include "surface/surface.h"
#include "video/mode.h"
#include "video/mode_lists.h"
#include "video/virtual_resolution.h"

#include <algorithm>

namespace {

enum mode_flag : int32_t {
  flag_window = 1,
  flag_fullscreen = 2,
  flag_donotcenterwindow = 4,
  flag_centerwindow = 8,
  flag_donotcentermouse = 16,
  flag_centermouse = 32,
  flag_donotfade = 64,
  flag_fade = 128,
  flag_buffercopy = 1024,
  flag_bufferflip = 2048,
  flag_donotwaitvsync = 4096,
  flag_waitvsync = 8192,
};

struct mode_request {
  int32_t width, height, bpp, flags, rate, scale, scanline, fx;
};

/// The defaults of omitted arguments: the current values.
mode_request current_request() {
  return {mode.width,
          mode.height,
          mode.bpp,
          0,
          mode.rate,
          filter_scale,
          filter_scanline | filter_scanlinepercent,
          filter_fx};
}

void decode_packed(mode_request &request, int32_t code) {
  // QUIRK: above 1280960 a code has four digits of height, so 1600900 means 160x900, not 1600x900.
  const int32_t base = code > 1280960 ? 10000 : 1000;
  request.width = code / base;
  request.height = code % base;
  request.bpp = 8;
}

/// Fetches one of the forms of mode_set, last argument first.
mode_request pop_request() {
  mode_request request = current_request();
  auto &[width, height, bpp, flags, rate, scale, scanline, fx] = request;
  switch (rt_param_count()) {
  case 2: pop_into(width, height); break;
  case 3: pop_into(width, height, bpp); break;
  case 4: pop_into(width, height, bpp, flags); break;
  case 5: pop_into(width, height, bpp, flags, rate); break;
  case 6: pop_into(width, height, bpp, flags, scale, scanline); break;
  case 7: pop_into(width, height, bpp, flags, rate, scale, scanline); break;
  // No form with 8 arguments is registered.
  case 8: pop_into(width, height, bpp, flags, rate, scale, scanline, fx); break;
  default: decode_packed(request, rt_pop_int()); break;
  }
  return request;
}

bool filters_acceptable(const mode_request &r) {
  return r.scale >= 0 && r.scale < 3 && r.fx >= 0 && r.fx < 16;
}

bool acceptable(const mode_request &r) {
  const auto side = [](int32_t pixels) { return pixels > 31 && pixels <= largest_side; };
  return side(r.width) && side(r.height) && (r.bpp == 8 || r.bpp == 16 || r.bpp == 32) &&
         r.rate >= 0 && filters_acceptable(r);
}

void store_filters(const mode_request &r) {
  set_scanline_filter(r.scanline);
  filter_fx = r.fx;
  filter_scale = r.scale;
}

/// Sets `field` when one of the two flags is given; the first wins.
template <typename T, typename V>
void apply_pair(T &field, int32_t flags, int32_t first, V with_first, int32_t second,
                V with_second) {
  if (flags & first)
    field = T(with_first);
  else if (flags & second)
    field = T(with_second);
}

void apply_flags(int32_t flags) {
  apply_pair(mode.type, flags, flag_window, 1, flag_fullscreen, 2);
  apply_pair(full_screen, flags, flag_window, 0, flag_fullscreen, 1);
  apply_pair(mode_centerwindow, flags, flag_donotcenterwindow, 0, flag_centerwindow, 1);
  apply_pair(mode_centermouse, flags, flag_donotcentermouse, 0, flag_centermouse, 1);
  apply_pair(mode_fade, flags, flag_donotfade, 0, flag_fade, 1);
  apply_pair(mode.bufferbehaviour, flags, flag_buffercopy, 1024, flag_bufferflip, 2048);
  apply_pair(vsync, flags, flag_donotwaitvsync, 0, flag_waitvsync, 1);
  // The frame hook reads `vsync` from the script's variable, so that is set too.
  if (_vsync_ && (flags & (flag_donotwaitvsync | flag_waitvsync))) *_vsync_ = vsync;
}

} // namespace

/// mode_set(code), (width, height [, bpp [, flags [, rate]]]), (width, height, bpp, flags,
/// [rate,] scale, scanline); set_mode(code). 1, 0 when the mode cannot be opened (the old one
/// stays), or the failure value for arguments out of range.
int32_t ORB_mode_set() {
  const script_call call{"MODE_SET"};
  const mode_request request = pop_request();
  if (!acceptable(request)) return call.fail();
  begin_mode_request();
  mode.width = request.width;
  mode.height = request.height;
  mode.bpp = request.bpp;
  mode.rate = request.rate;
  apply_flags(request.flags);
  store_filters(request);
  const int32_t result = apply_mode();
  end_mode_request();
  return call.done(result);
}

/// mode_change(flags [, rate]): applies flags of mode_set to the current mode. 1; 0 when the
/// display need not be set again, or cannot be (the old mode stays); or the failure value for a
/// negative argument. The rate is used in full screen only.
int32_t ORB_mode_change() {
  const script_call call{"MODE_CHANGE"};
  int32_t flags, rate = mode.rate;
  if (rt_param_count() > 1)
    pop_into(flags, rate);
  else
    flags = rt_pop_int();
  if (flags < 0 || rate < 0) return call.fail();

  const orb_mode before = mode;
  begin_mode_request();
  apply_flags(flags);
  if (mode.type == 2) mode.rate = rate;
  int32_t result = 0;
  if (mode.type == before.type && mode.bufferbehaviour == before.bufferbehaviour &&
      mode.rate == before.rate)
    publish_mode();
  else
    result = apply_change(change_mode);
  end_mode_request();
  return call.done(result);
}

/// mode_exists(width, height, bpp [, rate]): 1 when the display lists such a full-screen mode, else
/// 0. Rate 0 matches any; depths are 8, 16 and 32.
int32_t ORB_mode_exists() {
  int32_t width, height, bpp, rate = 0;
  if (rt_param_count() > 3)
    pop_into(width, height, bpp, rate);
  else
    pop_into(width, height, bpp);
  return rt_return(find_video_mode(width, height, bpp, rate) != nullptr);
}

/// mode_set_filter(scale [, scanline [, fx]]): sets only the filters of mode_set, without fades and
/// keeping the screen's contents. 1, 0 when the larger window cannot be opened (the old filter
/// stays), or the failure value for arguments out of range.
int32_t ORB_mode_set_filter() {
  const script_call call{"MODE_SET_FILTER"};
  mode_request request = current_request();
  auto &[width, height, bpp, flags, rate, scale, scanline, fx] = request;
  switch (rt_param_count()) {
  case 3: pop_into(scale, scanline, fx); break;
  case 2: pop_into(scale, scanline); break;
  default: scale = rt_pop_int(); break;
  }
  if (!filters_acceptable(request)) return call.fail();
  store_filters(request);
  return call.done(apply_change(filtering_mode));
}

/// mode_set_render([renderer,] type): for renderer 0, the 2D renderer and the default, type 0 is
/// automatic, 1 plain and 2 vector instructions. The type is only stored for mode_get_render: all
/// types draw the same pixels, so the fastest routines of the CPU are always used. Renderer 1 is
/// not part of this module: its types 0 to 2 are accepted and ignored. 1, or the failure value for
/// other arguments.
int32_t ORB_mode_set_render() {
  const script_call call{"MODE_SET_RENDER"};
  int32_t renderer = 0, type;
  if (rt_param_count() > 1)
    pop_into(renderer, type);
  else
    type = rt_pop_int();
  if (renderer < 0 || renderer > 1 || type < 0 || type > 2) return call.fail();
  if (renderer == 0) {
    rendering2D_type = std::max(type, 1);
    set_blitter_routines();
    rt_signal(3);
  }
  return call.done(1);
}

/// virtualresolution_set(width, height, aspect, apply): stretches the screen to this size; `aspect`
/// 1 keeps its proportions and adds borders. `apply` 1 sets the mode again at once, 0 waits for the
/// next mode change. Size 0, 0 ends the stretching at once. 1, 0 when the size cannot be opened
/// (the old one stays), or the failure value for arguments out of range.
int32_t ORB_virtualresolution_set() {
  const script_call call{"VIRTUALRESOLUTION_SET"};
  const auto [width, height, aspect, apply] = pop_ints<4>();
  const auto side = [](int32_t pixels) { return pixels >= 0 && pixels <= largest_side; };
  const auto flag = [](int32_t value) { return value == 0 || value == 1; };
  if (!side(width) || !side(height) || !flag(aspect) || !flag(apply)) return call.fail();
  if ((width == 0) != (height == 0)) return call.fail();

  virtual_resolution = width != 0;
  virtual_resolution_w = width;
  virtual_resolution_h = height;
  virtual_resolution_aspectratio = aspect;
  if (virtual_resolution && !apply) return call.done(1);
  return call.done(apply_mode());
}

int32_t ORB_mode_get_bpp() { return rt_return(mode.bpp); }
int32_t ORB_mode_get_width() { return rt_return(mode.width); }
int32_t ORB_mode_get_height() { return rt_return(mode.height); }
int32_t ORB_mode_get_rate() { return rt_return(mode.rate); }
int32_t ORB_mode_get_type() { return rt_return(mode.type); }
int32_t ORB_mode_get_bufferbehaviour() { return rt_return(mode.bufferbehaviour); }
int32_t ORB_mode_get_vsync() { return rt_return(vsync); }
int32_t ORB_mode_get_realwidth() { return rt_return(sdl_w); }
int32_t ORB_mode_get_realheight() { return rt_return(sdl_h); }
int32_t ORB_mode_is_emulated() { return rt_return(emulated_mode); }

/// mode_get_filter(what): 0 scale, 1 scanlines, 2 scanline intensity, 3 effect.
int32_t ORB_mode_get_filter() {
  const script_call call{"MODE_GET_FILTER"};
  switch (rt_pop_int()) {
  case 0: return call.done(filter_scale);
  case 1: return call.done(filter_scanline);
  case 2: return call.done(filter_scanlinepercent);
  case 3: return call.done(filter_fx);
  default: return call.fail();
  }
}

/// mode_get_render(what): 0 the render type that scripts have set, 1 always 0.
int32_t ORB_mode_get_render() {
  const script_call call{"MODE_GET_RENDER"};
  switch (rt_pop_int()) {
  case 0: return call.done(rendering2D_type);
  case 1: return call.done(0);
  default: return call.fail();
  }
}

int32_t ORB_virtualresolution_get_width() { return rt_return(virtual_resolution_w); }
int32_t ORB_virtualresolution_get_height() { return rt_return(virtual_resolution_h); }
int32_t ORB_virtualresolution_get_ratiowidth() { return rt_return(virtual_resolution_ratiow); }
int32_t ORB_virtualresolution_get_ratioheight() { return rt_return(virtual_resolution_ratioh); }
int32_t ORB_virtualresolution_get_xoffset() { return rt_return(virtual_resolution_xoffset); }
int32_t ORB_virtualresolution_get_yoffset() { return rt_return(virtual_resolution_yoffset); }
int32_t ORB_virtualresolution_get_aspectratio() {
  return rt_return(virtual_resolution_aspectratio);
}
int32_t ORB_virtualresolution_is_emulated() { return rt_return(virtual_resolution); }

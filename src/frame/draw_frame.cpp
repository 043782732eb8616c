// One frame, from the blit list to the display.
#include "frame/draw_frame.h"
#include "blit/blit_list.h"
#include "boundary/records.h"
#include "surface/palette.h"
#include "surface/screen.h"
#include "video/fades.h"
#include "video/presentation.h"
#include "video/restore.h"
#include "video/zones.h"

int32_t num_blits2D;

namespace {

/// Whether the frame zones cover everything that the last frame drew on the background. They don't
/// after a frame that restored nothing or didn't update them.
bool zones_tell_all = true;

/// QUIRK: restores by the previous frame's restore type, whose zones describe the screen as it is.
///
/// True when pixels outside the zones may have changed, which a partial dump would miss.
bool restore_background() {
  const bool faded = fading_run; // what the last frame recoloured
  if (restore_type != -1) {
    complete_frame |= background_changed | !zones_tell_all;
    background_changed = 0;
    (ground_puting ? draw_ground : clear_screen)(old_restore_type);
  }
  return complete_frame || faded;
}

/// Records the box of a request that has run. When all zones are in use nothing is recorded, not
/// even in a zone that the box touches.
void record_zone(const __ORBBlit2D__ *request) {
  if (num_framezones == max_framezones || complete_frame || !marks_screen(request)) return;
  const orb_frame_zone box = zone_of(request);
  if (covers_screen(box)) complete_frame = 1;
  accumulate_zone(box);
}

/// In drawing order, requests are scattered over the array, and so are their owners, which receive
/// the drawn box: fetch both into the cache ahead of time.
void prefetch(int32_t i) {
  constexpr int32_t far_ahead = 12, near_ahead = 6, line = 64;
  __ORBBlit2D__ **const order = pBlitList2D->order;
  if (i + far_ahead < num_blits2D) {
    const auto *request = reinterpret_cast<const char *>(order[i + far_ahead]);
    for (size_t at = 0; at < sizeof(__ORBBlit2D__); at += line)
      __builtin_prefetch(request + at, 1);
    // Requests are not aligned: the end may lie in one line more.
    __builtin_prefetch(request + sizeof(__ORBBlit2D__) - 1, 1);
  }
  if (i + near_ahead < num_blits2D) {
    if (orb_process *owner = order[i + near_ahead]->owner) __builtin_prefetch(&owner->box_x0, 1);
  }
}

/// Runs the requests in drawing order. A request without an operation draws nothing.
void run_requests() {
  for (int32_t i = 0; i < num_blits2D; ++i) {
    prefetch(i);
    __ORBBlit2D__ *request = pBlitList2D->order[i];
    if (request->blit_op)
      request->blit_op(request);
    else
      request->drawn = 0;
    // The array moves when an operation takes so many requests that the list grows.
    if (old_dump_type == 0) record_zone(pBlitList2D->order[i]);
  }
  if (num_framezones == max_framezones) complete_frame = 1;
}

/// Steps a running fade, or applies the levels at which the last one stopped. Also sends a changed
/// palette to an 8-bit display.
void apply_fade(bool palette_changed) {
  if (fading && *fading) {
    update_fade();
  } else if (screen_is_recoloured()) {
    recolour_screen();
  } else {
    fading_run = 0;
    if (palette_changed && mode.bpp == 8) do_fading(nullptr);
  }
}

/// Presents the frame; all of it when pixels outside the zones have changed.
void present(bool changed_outside_zones) {
  if (!VID_DrawFrame) return;
  const uint8_t of_this_frame = complete_frame;
  complete_frame |= changed_outside_zones;
  VID_DrawFrame();
  complete_frame = of_this_frame;
}

} // namespace

void draw_frame() {
  if (!pBlitList2D) return;
  if (!screen) { // no mode could be set: there is nothing to draw on
    device2D.ResetBlitList();
    return;
  }
  const bool palette_changed = palette_update;
  if (palette_changed) {
    update_system_colors();
    palette_update = 0;
  }
  const bool changed_outside_zones = restore_background();
  complete_frame = 0;
  num_blits2D = GetNumsBlitOnList();
  if (num_blits2D > 0) {
    SortBlitList();
    run_requests();
  }
  apply_fade(palette_changed);
  present(changed_outside_zones);
  zones_tell_all = restore_type != -1;
  if (num_blits2D > 0) {
    if (dump_type && restore_type)
      zones_tell_all = false;
    else
      update_frame_zones();
    device2D.ResetBlitList();
  }
}

#include "video/zones.h"

#include <algorithm>
#include <cstdlib>

#include "blit/blit_list.h"
#include "surface/screen.h"

orb_frame_zone framezones[max_framezones];
int32_t num_framezones;
uint8_t complete_frame;
uint8_t fading_run;
int32_t dump_type = 1, restore_type = 1;
int32_t old_dump_type = 1, old_restore_type = 1;

namespace {

orb_frame_zone *pframezones; // last touched

/// |value|, at most INT32_MAX - 1, so that adding 1 doesn't overflow.
int32_t magnitude(int32_t value) { return int32_t(std::min<int64_t>(llabs(value), INT32_MAX - 1)); }

/// Whether an end of [low, high] lies in [zone_low, zone_high] or right beside it.
///
/// QUIRK: a box that extends beyond the zone on both sides has no end in it, so it doesn't touch
/// the zone and becomes one of its own.
bool touches(int32_t low, int32_t high, int32_t zone_low, int32_t zone_high) {
  return (low >= zone_low && low <= zone_high + 1) || (high >= zone_low - 1 && high <= zone_high);
}

/// The last zone that `box` touches, or null.
orb_frame_zone *touched_zone(const orb_frame_zone &box) {
  for (int32_t i = num_framezones - 1; i >= 0; --i) {
    orb_frame_zone &zone = framezones[i];
    if (touches(box.x0, box.x1, zone.x0, zone.x1) && touches(box.y0, box.y1, zone.y0, zone.y1))
      return &zone;
  }
  return nullptr;
}

void widen(orb_frame_zone &zone, const orb_frame_zone &box) {
  zone.x0 = std::min(zone.x0, box.x0);
  zone.y0 = std::min(zone.y0, box.y0);
  zone.x1 = std::max(zone.x1, box.x1);
  zone.y1 = std::max(zone.y1, box.y1);
  zone.w = zone.x1 - zone.x0 + 1;
  zone.h = zone.y1 - zone.y0 + 1;
}

} // namespace

/// QUIRK: takes the absolute values of negative coordinates instead of clipping them.
orb_frame_zone zone_of(const __ORBBlit2D__ *request) {
  orb_frame_zone box;
  box.x0 = magnitude(request->drawn_x0);
  box.y0 = magnitude(request->drawn_y0);
  box.x1 = magnitude(request->drawn_x1);
  box.y1 = magnitude(request->drawn_y1);
  box.w = box.x1 - box.x0 + 1;
  box.h = box.y1 - box.y0 + 1;
  return box;
}

bool marks_screen(const __ORBBlit2D__ *request) {
  return request->drawn && (!request->dst || request->dst == screen);
}

bool covers_screen(const orb_frame_zone &box) {
  return box.w >= int32_t(screen->width) && box.h >= int32_t(screen->height);
}

bool accumulate_zone(const orb_frame_zone &box) {
  if (box.w < 1 || box.h < 1) return true;
  // Callers handle boxes that cover the whole screen.
  if (num_framezones == 0) {
    pframezones = framezones;
    *pframezones = box;
    num_framezones = 1;
    return true;
  }
  // QUIRK: only the zone found grows. Zones that now touch each other are not merged.
  if (orb_frame_zone *zone = touched_zone(box)) {
    widen(*zone, box);
    pframezones = zone;
  } else {
    if (num_framezones == max_framezones) return false;
    pframezones = &framezones[num_framezones++];
    *pframezones = box;
  }
  pframezones->w = std::min(pframezones->w, int32_t(screen->width));
  pframezones->h = std::min(pframezones->h, int32_t(screen->height));
  if (covers_screen(*pframezones)) complete_frame = 1;
  return true;
}

void update_frame_zones() {
  // A complete frame gets its zones too: the next frame presents them.
  const uint8_t complete_before = complete_frame;
  complete_frame = 0;
  num_framezones = 0;
  const int32_t count = GetNumsBlitOnList();
  for (int32_t i = 0; i < count && !complete_frame; ++i) {
    const __ORBBlit2D__ *request = pBlitList2D->order[i];
    // Requests taken while the frame was drawn are not in the order table.
    if (!request || !marks_screen(request)) continue;
    const orb_frame_zone box = zone_of(request);
    if (covers_screen(box) || !accumulate_zone(box)) complete_frame = 1;
  }
  complete_frame |= complete_before;
}

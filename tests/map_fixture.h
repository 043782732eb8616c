// Graphs of library 0 and of a loaded library 1, and noise to draw with.
#pragma once

#include <cstdlib>
#include <random>

#include "graphics_fixture.h"
#include "raster/pixels.h"

struct map_test : graphics_test {
  std::mt19937 random{71};

  map_test() {
    fpg[1].in_use = 1;
    fpg[1].slots = static_cast<orb_map_slot *>(calloc(1000, sizeof(orb_map_slot)));
  }

  int32_t between(int32_t low, int32_t high) {
    return low + int32_t(random() % uint32_t(high - low + 1));
  }

  /// A graph of the mode's depth with noise, many transparent pixels and a random pivot.
  __ORBSurface2D__ *noise(int32_t w, int32_t h) {
    __ORBSurface2D__ *surface = ORBGI2D_CreateGFXSurface(w, h, mode.bpp, 1);
    surface->alpha_channel = mode.bpp == 32 && random() % 2;
    surface->cpoints[0] = uint32_t(between(-2, w + 2));
    surface->cpoints[1] = uint32_t(between(-2, h + 2));
    for (int32_t i = 0; i < w * h; i++)
      if (random() % 4) draw_pixel(surface, i % w, i / w, random() & colour_mask(), 0);
    return surface;
  }
  static uint32_t colour_mask() { return mode.bpp == 32 ? UINT32_MAX : (1u << mode.bpp) - 1; }

  void put(int32_t file, int32_t code, __ORBSurface2D__ *surface) {
    orb_map_slot &slot = fpg[file].slots[code];
    ORBGI2D_DeleteGFXSurface(slot.surface);
    slot.code = code;
    slot.surface = surface;
  }

  static std::vector<uint32_t> pixels(const __ORBSurface2D__ &surface) {
    std::vector<uint32_t> all;
    for (uint32_t i = 0; i < surface.pixel_count; i++)
      all.push_back(pixel(surface, i % surface.width, i / surface.width));
    return all;
  }
};

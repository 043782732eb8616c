// Surfaces and their list.
#include <cstring>
#include <utility>

#include <gtest/gtest.h>

#include "support/random.h"
#include "support/world.h"
#include "surface/fill.h"
#include "surface/screen.h"
#include "surface/surface.h"

namespace {

struct Surfaces : testing::Test {
  world w;
};

/// Deletes a wrapper and the control points that deletion leaves to its owner.
void delete_wrapper(__ORBSurface2D__ *wrapper) {
  uint32_t *const cpoints = wrapper->cpoints;
  ORBGI2D_DeleteGFXSurface(wrapper);
  free(cpoints);
}

TEST_F(Surfaces, SizesAndDepthsOutOfRangeAreRefused) {
  const int32_t good[][3] = {{65535, 1, 32}, {1, 65535, 16}};
  const int32_t bad[][3] = {{0, 1, 8},          {1, -1, 8},        {65536, 1, 8},
                            {1, 65536, 8},      {4, 4, 24},        {4, 4, 0},
                            {INT32_MIN, 1, 8},  {65535, 65535, 8}, {32768, 32768, 32}, // 2^32 bytes
                            {32768, 16384, 32}, {65535, 32769, 32}}; // 131068 modulo 2^32
  for (const auto &[width, height, depth] : good) {
    ORBGI2D_DeleteGFXSurface(ORBGI2D_CreateGFXSurface(width, height, depth, 1));
    delete_wrapper(ORBGI2D_CreateGFXSurfaceWrapper(width, height, depth));
  }
  for (const auto &[width, height, depth] : bad)
    EXPECT_FALSE(ORBGI2D_CreateGFXSurface(width, height, depth, 0) ||
                 ORBGI2D_CreateGFXSurfaceWrapper(width, height, depth))
        << width << " x " << height << " x " << depth;
  orb_surface_list *const list = std::exchange(gfxsurfaces, nullptr);
  EXPECT_FALSE(ORBGI2D_CreateGFXSurface(4, 4, 8, 1) || ORBGI2D_CreateGFXSurfaceWrapper(4, 4, 8))
      << "out of turn, without a list";
  gfxsurfaces = list;
  for (const uint32_t size : {UINT32_MAX, UINT32_MAX - 31})
    EXPECT_EQ(aligned_malloc(size), nullptr);
  for (uint32_t size = 0; size < 40; ++size) {
    void *const block = aligned_malloc(size);
    EXPECT_EQ(reinterpret_cast<uintptr_t>(block) % 16, 0u);
    memset(block, 1, size); // all of it is ours
    aligned_free(block);
  }
}

TEST_F(Surfaces, ResizingKeepsWhatItCan) {
  __ORBSurface2D__ *s = ORBGI2D_CreateGFXSurface(6, 4, 16, 1);
  s->cpoints[0] = 77;
  set_pixel(*s, 5, 3, 0xBEEF);
  // The same size keeps the centre, and the pixels unless they are cleared.
  for (const uint8_t clear : {0, 1}) {
    EXPECT_EQ(ORBGI2D_ResizeGFXSurface(s, 6, 4, 1, clear), 1);
    EXPECT_EQ(pixel(*s, 5, 3), clear ? 0 : 0xBEEFu);
  }
  EXPECT_EQ(ORBGI2D_ResizeGFXSurface(s, 11, 9, 0, 1), 1);
  EXPECT_EQ(s->cpoints[0], 77u);
  EXPECT_EQ(s->pitch * 1000 + s->pixel_count, 22099u);
  EXPECT_EQ(s->byte_size, 198u);
  EXPECT_EQ(ORBGI2D_ResizeGFXSurface(s, 11, 10, 1, 1), 1);
  EXPECT_EQ(s->cpoints[0] * 10 + s->cpoints[1], 55u);
  ORBGI2D_DeleteGFXSurfaceBufferData(s);
  EXPECT_EQ(ORBGI2D_BlitFill(s, 1, 0), 1) << "nothing to fill";
  EXPECT_EQ(ORBGI2D_ResizeGFXSurface(s, 11, 10, 0, 1), 1);
  EXPECT_EQ(pixel(*s, 10, 9), 0u) << "without pixels, the same size makes them";
  EXPECT_FALSE(ORBGI2D_ResizeGFXSurfaceWrapper(s, 4, 4, 0, 0) ||
               ORBGI2D_ResizeGFXSurface(s, 65536, 10, 1, 1) ||
               ORBGI2D_ResizeGFXSurface(nullptr, 4, 4, 0, 0) || ORBGI2D_BlitFill(nullptr, 1, 0));
  EXPECT_EQ(s->width * 10 + s->cpoints[0], 115u) << "refused, and nothing changed";
}

TEST_F(Surfaces, WrappersLeaveWhatTheyDontOwn) {
  std::vector<uint16_t> pixels(12, 0x1234);
  __ORBSurface2D__ *const p = ORBGI2D_CreateGFXSurfaceWrapper(2, 2, 16);
  EXPECT_FALSE(ORBGI2D_ResizeGFXSurface(p, 4, 4, 0, 0) ||
               ORBGI2D_ResizeGFXSurfaceWrapper(p, 4, 65536, 0, 0));
  w.set_mode(16);
  EXPECT_EQ(ORBGI2D_ResizeGFXSurfaceWrapper(p, 3, 3, 1, 1), 1) << "no pixels to clear";
  EXPECT_EQ(p->cpoints[0], 1u);
  p->pixels = pixels.data();
  p->pitch = 8; // a display's rows may be padded
  EXPECT_EQ(ORBGI2D_BlitFill(p, 0xABCD, 0), 1);
  w.set_mode(8);
  EXPECT_EQ(ORBGI2D_ResizeGFXSurfaceWrapper(p, 2, 3, 1, 1), 1)
      << "cleared at the mode's depth only";
  ORBGI2D_DeleteGFXSurfaceBufferData(p);
  EXPECT_EQ(p->pixels, pixels.data());
  for (size_t i = 0; i < 12; ++i)
    EXPECT_EQ(pixels[i], i % 4 < 3 ? 0xABCD : 0x1234);
  delete_wrapper(p);
}

TEST_F(Surfaces, TheListHoldsEverySurfaceInOrder) {
  const orb_surface_list of_the_mode = std::exchange(*gfxsurfaces, {});
  random_source random(base_seed());
  std::vector<__ORBSurface2D__ *> expected;
  for (int step = 0; step < 2000; ++step) {
    // Runs of deletions, so that the list often becomes empty.
    if (expected.empty() || random.below(100) < (step / 50 % 2 ? 25 : 70)) {
      expected.push_back(ORBGI2D_CreateGFXSurface(1, 1, 8, 0));
    } else {
      const auto victim = expected.begin() + random.below(int(expected.size()));
      ORBGI2D_DeleteGFXSurface(*victim);
      expected.erase(victim);
    }
    std::vector<__ORBSurface2D__ *> forward, backward;
    for (auto *s = gfxsurfaces->head; s; s = s->next)
      forward.push_back(s);
    for (auto *s = expected.empty() ? nullptr : gfxsurfaces->tail; s; s = s->prev)
      backward.insert(backward.begin(), s);
    ASSERT_TRUE(forward == expected && backward == expected) << "step " << step;
    ASSERT_EQ(gfxsurfaces->count, expected.size());
  }
  for (__ORBSurface2D__ *each : expected)
    ORBGI2D_DeleteGFXSurface(each);
  *gfxsurfaces = of_the_mode;
}

} // namespace

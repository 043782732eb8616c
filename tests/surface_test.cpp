// Surfaces, their list, and the fills, against slow references and guard bytes.
#include "surface/surface.h"

#include <algorithm>
#include <cstring>
#include <random>
#include <vector>

#include <gtest/gtest.h>

#include "fake_runtime.h"
#include "surface/fill.h"
#include "surface/screen.h"

namespace {

struct Surface : testing::Test {
  fake_runtime host;
  Surface() { ORBGI2D_Internal_CreateGFXSurfaceList(); }
  ~Surface() override {
    ORBGI2D_DeleteAllGFXSurfaces();
    ORBGI2D_Internal_DeleteGFXSurfaceList();
    mode = {};
    screen_color = 0;
  }
};

/// Deletes a wrapper and the control points that deletion leaves to its owner.
void delete_wrapper(__ORBSurface2D__ *wrapper) {
  uint32_t *const cpoints = wrapper->cpoints;
  ORBGI2D_DeleteGFXSurface(wrapper);
  free(cpoints);
}

TEST_F(Surface, CreationFillsTheRecord) {
  for (int32_t depth : {8, 16, 32}) {
    __ORBSurface2D__ *s = ORBGI2D_CreateGFXSurface(33, 7, depth, 1);
    ASSERT_NE(s, nullptr);
    const uint32_t bytes = uint32_t(depth) / 8;
    EXPECT_EQ(s->is_wrapper, 0);
    EXPECT_EQ(s->width, 33u);
    EXPECT_EQ(s->height, 7u);
    EXPECT_EQ(s->depth, depth);
    EXPECT_EQ(s->pitch, 33 * bytes);
    EXPECT_EQ(s->pixel_count, 33u * 7);
    EXPECT_EQ(s->byte_size, 33 * 7 * bytes);
    EXPECT_EQ(reinterpret_cast<uintptr_t>(s->pixels) % 16, 0u);
    EXPECT_EQ(s->alpha_channel, 0);
    EXPECT_EQ(s->has_cpoints, 0u);
    EXPECT_EQ(s->cpoint_last, 0u);
    EXPECT_EQ(s->pivot_override, 0);
    EXPECT_EQ(s->cpoints[0], 16u);
    EXPECT_EQ(s->cpoints[1], 3u);
    EXPECT_EQ(s->cpoints[2], 0u);
    const auto *pixels = static_cast<const uint8_t *>(s->pixels);
    EXPECT_TRUE(std::all_of(pixels, pixels + s->byte_size, [](uint8_t b) { return b == 0; }));
  }
}

TEST_F(Surface, SizesAndDepthsOutOfRangeAreRefused) {
  struct attempt {
    int32_t width, height, depth;
    bool good;
  };
  const attempt attempts[] = {
      {0, 1, 8, false},          {1, 0, 8, false},          {-1, 1, 8, false},
      {65536, 1, 8, false},      {1, 65536, 8, false},      {INT32_MIN, 1, 8, false},
      {INT32_MAX, 1, 8, false},  {65535, 1, 32, true},      {1, 65535, 16, true},
      {4, 4, 24, false},         {4, 4, 0, false},          {4, 4, -8, false},
      {4, 4, 15, false},         {4, 4, 64, false},         {32768, 32768, 32, false},
      {65535, 65535, 8, false},  {65535, 65535, 32, false}, {65535, 8193, 32, false},
      {32768, 16384, 32, false}, // 0x80000000 bytes
      {65535, 32769, 32, false}, // 131068 bytes modulo 2^32
  };
  for (const attempt &a : attempts) {
    SCOPED_TRACE(testing::Message() << a.width << " x " << a.height << " x " << a.depth);
    __ORBSurface2D__ *s = ORBGI2D_CreateGFXSurface(a.width, a.height, a.depth, 0);
    EXPECT_EQ(s != nullptr, a.good);
    ORBGI2D_DeleteGFXSurface(s);
    __ORBSurface2D__ *w = ORBGI2D_CreateGFXSurfaceWrapper(a.width, a.height, a.depth);
    EXPECT_EQ(w != nullptr, a.good);
    if (w) delete_wrapper(w);
    if (a.depth != 8 && a.depth != 16 && a.depth != 32) continue;

    s = ORBGI2D_CreateGFXSurface(5, 5, a.depth, 1);
    w = ORBGI2D_CreateGFXSurfaceWrapper(5, 5, a.depth);
    void *const pixels = s->pixels;
    EXPECT_EQ(ORBGI2D_ResizeGFXSurface(s, a.width, a.height, 1, 1), a.good);
    EXPECT_EQ(ORBGI2D_ResizeGFXSurfaceWrapper(w, a.width, a.height, 1, 1), a.good);
    if (!a.good) {
      EXPECT_EQ(s->pixels, pixels);
      for (const __ORBSurface2D__ *each : {s, w}) {
        EXPECT_EQ(each->width, 5u);
        EXPECT_EQ(each->byte_size, 25u * uint32_t(a.depth) / 8);
        EXPECT_EQ(each->cpoints[0], 2u);
      }
    }
    ORBGI2D_DeleteGFXSurface(s);
    delete_wrapper(w);
  }
  EXPECT_EQ(gfxsurfaces->count, 0u);
  EXPECT_TRUE(host.fatals.empty());
}

TEST_F(Surface, ResizeToTheSameSizeKeepsPixelsAndCentre) {
  __ORBSurface2D__ *s = ORBGI2D_CreateGFXSurface(6, 4, 16, 1);
  s->cpoints[0] = 77;
  static_cast<uint16_t *>(s->pixels)[5] = 0xBEEF;
  void *const pixels = s->pixels;
  EXPECT_EQ(ORBGI2D_ResizeGFXSurface(s, 6, 4, 1, 0), 1);
  EXPECT_EQ(s->pixels, pixels);
  EXPECT_EQ(static_cast<uint16_t *>(s->pixels)[5], 0xBEEF);
  EXPECT_EQ(s->cpoints[0], 77u);
  EXPECT_EQ(ORBGI2D_ResizeGFXSurface(s, 6, 4, 1, 1), 1);
  EXPECT_EQ(static_cast<uint16_t *>(s->pixels)[5], 0);
  EXPECT_EQ(s->cpoints[0], 77u);

  // Without pixels, resizing to the same size allocates them.
  ORBGI2D_DeleteGFXSurfaceBufferData(s);
  EXPECT_EQ(s->pixels, nullptr);
  EXPECT_EQ(ORBGI2D_ResizeGFXSurface(s, 6, 4, 0, 1), 1);
  ASSERT_NE(s->pixels, nullptr);
  EXPECT_EQ(static_cast<uint16_t *>(s->pixels)[23], 0);
}

TEST_F(Surface, ResizeToAnotherSize) {
  __ORBSurface2D__ *s = ORBGI2D_CreateGFXSurface(6, 4, 32, 0);
  s->cpoints[0] = 77;
  EXPECT_EQ(ORBGI2D_ResizeGFXSurface(s, 11, 9, 0, 1), 1);
  EXPECT_EQ(s->cpoints[0], 77u);
  EXPECT_EQ(s->pitch, 44u);
  EXPECT_EQ(s->pixel_count, 99u);
  EXPECT_EQ(s->byte_size, 396u);
  EXPECT_EQ(static_cast<uint32_t *>(s->pixels)[98], 0u);
  EXPECT_EQ(ORBGI2D_ResizeGFXSurface(s, 12, 10, 1, 0), 1);
  EXPECT_EQ(s->cpoints[0], 6u);
  EXPECT_EQ(s->cpoints[1], 5u);
  memset(s->pixels, 0x55, s->byte_size); // all of it is accessible
}

TEST_F(Surface, EachResizeRefusesTheOtherKind) {
  __ORBSurface2D__ *s = ORBGI2D_CreateGFXSurface(3, 3, 8, 0);
  __ORBSurface2D__ *w = ORBGI2D_CreateGFXSurfaceWrapper(3, 3, 8);
  EXPECT_EQ(ORBGI2D_ResizeGFXSurface(w, 4, 4, 0, 0), 0);
  EXPECT_EQ(ORBGI2D_ResizeGFXSurfaceWrapper(s, 4, 4, 0, 0), 0);
  EXPECT_EQ(ORBGI2D_ResizeGFXSurface(nullptr, 4, 4, 0, 0), 0);
  EXPECT_EQ(ORBGI2D_ResizeGFXSurfaceWrapper(nullptr, 4, 4, 0, 0), 0);
  EXPECT_EQ(s->width, 3u);
  EXPECT_EQ(w->width, 3u);
  delete_wrapper(w);
}

TEST_F(Surface, WrapperLeavesWhatItDoesNotOwn) {
  std::vector<uint16_t> pixels(12, 0x1234);
  __ORBSurface2D__ *w = ORBGI2D_CreateGFXSurfaceWrapper(2, 2, 16);
  EXPECT_EQ(w->is_wrapper, 1);
  EXPECT_EQ(w->pixels, nullptr);
  mode.bpp = 16;
  EXPECT_EQ(ORBGI2D_ResizeGFXSurfaceWrapper(w, 2, 3, 1, 1), 1); // no pixels to clear
  w->pixels = pixels.data();
  mode.bpp = 8;
  EXPECT_EQ(ORBGI2D_ResizeGFXSurfaceWrapper(w, 3, 3, 1, 1), 1); // a depth other than the mode's
  EXPECT_EQ(pixels[0], 0x1234);
  mode.bpp = 16;
  EXPECT_EQ(ORBGI2D_ResizeGFXSurfaceWrapper(w, 3, 3, 1, 0), 1);
  EXPECT_EQ(pixels[0], 0x1234);
  EXPECT_EQ(ORBGI2D_ResizeGFXSurfaceWrapper(w, 3, 3, 1, 1), 1);
  EXPECT_EQ(pixels[8], 0);
  EXPECT_EQ(pixels[9], 0x1234);

  w->pitch = 8; // a display's rows may be padded
  EXPECT_EQ(ORBGI2D_BlitFill(w, 0xABCD, 0), 1);
  const std::vector<uint16_t> rows = {0xABCD, 0xABCD, 0xABCD, 0,      0xABCD, 0xABCD,
                                      0xABCD, 0,      0xABCD, 0xABCD, 0xABCD, 0x1234};
  EXPECT_EQ(pixels, rows);

  uint32_t *const cpoints = w->cpoints;
  ORBGI2D_DeleteGFXSurfaceBufferData(w);
  EXPECT_EQ(w->pixels, pixels.data());
  ORBGI2D_DeleteGFXSurface(w);
  EXPECT_EQ(cpoints[0], 1u); // still valid: the owner frees them
  free(cpoints);
}

TEST_F(Surface, ListHoldsEverySurfaceInOrder) {
  std::mt19937 random(11);
  std::vector<__ORBSurface2D__ *> expected;
  for (int step = 0; step < 2000; ++step) {
    // Runs of deletions, so that the list often becomes empty.
    const bool add = expected.empty() || (random() % 100 < (step / 50 % 2 ? 25u : 70u));
    if (add) {
      expected.push_back(ORBGI2D_CreateGFXSurface(1, 1, 8, 0));
    } else {
      const auto victim = expected.begin() + std::ptrdiff_t(random() % expected.size());
      ORBGI2D_DeleteGFXSurface(*victim);
      expected.erase(victim);
    }
    std::vector<__ORBSurface2D__ *> forward, backward;
    for (auto *s = gfxsurfaces->head; s; s = s->next)
      forward.push_back(s);
    if (!expected.empty())
      for (auto *s = gfxsurfaces->tail; s; s = s->prev)
        backward.push_back(s);
    std::reverse(backward.begin(), backward.end());
    ASSERT_EQ(forward, expected) << "step " << step;
    ASSERT_EQ(backward, expected) << "step " << step;
    ASSERT_EQ(gfxsurfaces->count, expected.size());
  }
}

TEST_F(Surface, NothingIsMadeWithoutAList) {
  ORBGI2D_Internal_DeleteGFXSurfaceList();
  EXPECT_EQ(ORBGI2D_CreateGFXSurface(4, 4, 8, 1), nullptr);
  EXPECT_EQ(ORBGI2D_CreateGFXSurfaceWrapper(4, 4, 8), nullptr);
  ORBGI2D_DeleteGFXSurface(nullptr);
  EXPECT_EQ(ForceSurface(nullptr), 0);
}

TEST(AlignedMemory, BlocksAreAlignedAndSizesCannotWrap) {
  std::vector<uint8_t *> blocks;
  for (uint32_t size = 0; size < 100; ++size) {
    auto *block = static_cast<uint8_t *>(aligned_malloc(size));
    ASSERT_NE(block, nullptr);
    EXPECT_EQ(reinterpret_cast<uintptr_t>(block) % 16, 0u);
    memset(block, int(size), size);
    blocks.push_back(block);
  }
  for (uint32_t size = 0; size < 100; ++size) {
    EXPECT_TRUE(
        std::all_of(blocks[size], blocks[size] + size, [=](uint8_t b) { return b == size; }));
    aligned_free(blocks[size]);
  }
  for (uint32_t size : {UINT32_MAX, UINT32_MAX - 31, UINT32_MAX - 32})
    EXPECT_EQ(aligned_malloc(size), nullptr) << size;
  aligned_free(nullptr);
}

// ---- Fills --------------------------------------------------------------------------------------

struct fill_case {
  const char *name;
  fill_routine *routine;
  uint32_t bytes, mask; // pixel width, and the bits of it that change
};
const fill_case fill_cases[] = {
    {"memset8", memset8, 1, 0xFF},
    {"memset16", memset16, 2, 0xFFFF},
    {"memset32", memset32, 4, 0xFFFFFFFF},
    {"memset32_alphachn_unchanged", memset32_alphachn_unchanged, 4, 0x00FFFFFF},
};

TEST(Fill, EveryCountAtEveryPlaceAgainstASlowReference) {
  std::mt19937 random(12);
  std::vector<uint32_t> counts = {100, 1000, 4099};
  for (uint32_t count = 0; count <= 67; ++count)
    counts.push_back(count);
  for (const fill_case &c : fill_cases) {
    for (uint32_t count : counts) {
      for (uint32_t misplaced = 0; misplaced < 16; misplaced += c.bytes) {
        constexpr uint32_t guard = 64;
        const uint32_t start = guard + misplaced;
        // uint32_t elements give the alignment that `start` is relative to.
        std::vector<uint32_t> storage((start + count * c.bytes + guard) / 4 + 1);
        for (uint32_t &word : storage)
          word = random();
        auto *bytes = reinterpret_cast<uint8_t *>(storage.data());
        const auto value = int32_t(random());
        std::vector<uint8_t> expected(bytes, bytes + storage.size() * 4);
        for (uint32_t i = 0; i < count; ++i)
          for (uint32_t k = 0; k < c.bytes; ++k)
            if ((c.mask >> 8 * k) & 0xFF)
              expected[start + i * c.bytes + k] = uint8_t(uint32_t(value) >> 8 * k);
        c.routine(bytes + start, value, count);
        ASSERT_TRUE(std::equal(expected.begin(), expected.end(), bytes))
            << c.name << " count " << count << " at " << misplaced;
      }
    }
  }
}

TEST_F(Surface, BlitFillChoosesByDepth) {
  struct choice {
    int32_t depth, keep_alpha;
    fill_routine *routine;
    uint32_t last; // last pixel after filling 0x33 bytes with 0xA1B2C3D4
  };
  const choice choices[] = {
      {8, 0, memset8, 0xD4},         {8, 1, memset8, 0xD4},
      {16, 0, memset16, 0xC3D4},     {16, 1, memset16, 0xC3D4},
      {32, 0, memset32, 0xA1B2C3D4}, {32, 1, memset32_alphachn_unchanged, 0x33B2C3D4},
  };
  for (const choice &c : choices) {
    __ORBSurface2D__ *s = ORBGI2D_CreateGFXSurface(13, 3, c.depth, 0);
    memset(s->pixels, 0x33, s->byte_size);
    memory_fill = nullptr;
    EXPECT_EQ(ORBGI2D_BlitFill(s, 0xA1B2C3D4, c.keep_alpha), 1);
    EXPECT_EQ(memory_fill, c.routine) << c.depth << " keep " << c.keep_alpha;
    for (uint32_t i = 0; i < s->pixel_count; ++i) {
      uint32_t pixel = 0;
      const uint32_t bytes = uint32_t(c.depth) / 8;
      memcpy(&pixel, static_cast<uint8_t *>(s->pixels) + i * bytes, bytes);
      EXPECT_EQ(pixel, c.last) << "pixel " << i;
    }
    ORBGI2D_DeleteGFXSurface(s);
  }
  EXPECT_EQ(ORBGI2D_BlitFill(nullptr, 1, 0), 0);
}

TEST_F(Surface, ClearScreenForgetsTheGroundPicture) {
  ground_puting = 1;
  EXPECT_EQ(ORBGI2D_ClearScreen(), 1); // before any mode there is no ground
  ground = ORBGI2D_CreateGFXSurface(5, 5, 32, 1);
  screen_color = 0x80123456;
  ground_puting = 1;
  EXPECT_EQ(ORBGI2D_ClearScreen(), 1);
  EXPECT_EQ(ground_puting, 0);
  EXPECT_EQ(memory_fill, memset32);
  EXPECT_EQ(static_cast<uint32_t *>(ground->pixels)[24], 0x80123456u);
}

template <typename Pixel>
void check_replacement(void (*routine)(__ORBSurface2D__ *, uint32_t, uint32_t)) {
  std::mt19937 random(13);
  constexpr int32_t depth = sizeof(Pixel) * 8;
  for (int32_t width = 1; width <= 70; ++width) {
    __ORBSurface2D__ *s = ORBGI2D_CreateGFXSurface(width, 3, depth, 0);
    auto *pixels = static_cast<Pixel *>(s->pixels);
    // Values that agree in some bytes, so that a comparison at the wrong width would show.
    const uint32_t values[] = {0, 0xA5, 0xA5A5, 0xA500A5A5, 0xFFFFFFFF};
    for (uint32_t i = 0; i < s->pixel_count; ++i)
      pixels[i] = Pixel(values[random() % 5]);
    const uint32_t from = values[random() % 5], to = random();
    std::vector<Pixel> expected(pixels, pixels + s->pixel_count);
    std::replace(expected.begin(), expected.end(), Pixel(from), Pixel(to));
    routine(s, from, to);
    ASSERT_TRUE(std::equal(expected.begin(), expected.end(), pixels)) << depth << " x " << width;
    ORBGI2D_DeleteGFXSurface(s);
  }
  routine(nullptr, 1, 2);
}

TEST_F(Surface, ColourReplacementAgainstASlowReference) {
  check_replacement<uint8_t>(draw_pixels_8to8bits);
  check_replacement<uint16_t>(draw_pixels_16to16bits);
  check_replacement<uint32_t>(draw_pixels_32to32bits);
}

} // namespace

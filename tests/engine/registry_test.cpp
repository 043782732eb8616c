// The lists of the registry: codes beside a slow search, growth, and its limits.
#include <gtest/gtest.h>

#include "boundary/records.h"
#include "frame/draw_objects.h"
#include "support/random.h"
#include "support/world.h"
#include "surface/growth.h"
#include "surface/regions.h"
#include "surface/registry.h"
#include "surface/surface.h"

namespace {

struct RegistryLists : testing::Test {
  world w;
  int32_t call(const char *name, std::vector<orbhost::Argument> arguments = {}) {
    return w.host.call(name, std::move(arguments));
  }
  int32_t map_new() { return call("map_new", {2, 2}); }
};

TEST_F(RegistryLists, TheLowestFreeCodeIsTheNext) {
  const auto lowest = [] {
    int32_t code = 1000;
    while (code < max_map && fpg[0].slots[code].surface)
      ++code;
    return code;
  };
  random_source random(base_seed());
  for (int step = 0; step < 10000; ++step) {
    const int32_t code = random.between(1000, max_map - 1);
    switch (random.below(16)) {
    case 0: call("map_unload", {step % 64 ? code : -1}); break;
    case 1: call("image_unload", {code}); break;
    case 2: // any code, as a host may record
      if (!fpg[0].slots[code].surface)
        ASSERT_EQ(RecMAPCode(0, code, ORBGI2D_CreateGFXSurface(1, 1, 8, 0)), 1);
      break;
    case 3: ASSERT_EQ(GetMAPCode(0), lowest()) << step; break; // a failure gives its code back
    default: {
      const int32_t expected = lowest();
      ASSERT_EQ(map_new(), expected) << step;
    }
    }
  }
  // A slot that a host has cleared itself is found before the list grows.
  while (lowest() < max_map)
    map_new();
  const int32_t limit = max_map;
  ORBGI2D_DeleteGFXSurface(fpg[0].slots[1003].surface);
  fpg[0].slots[1003].surface = nullptr;
  EXPECT_EQ(map_new(), 1003);
  // Slots, marks and the cursors into them move together.
  pfpgmap = &fpg[0].slots[1100];
  pfpgmap_dst = &fpg[0].slots[1200];
  EXPECT_EQ(map_new(), limit);
  EXPECT_EQ(max_map, limit + 256);
  EXPECT_TRUE(pfpgmap == &fpg[0].slots[1100] && pfpgmap_dst == &fpg[0].slots[1200]);
  EXPECT_EQ(call("map_unload", {limit + 255}), 0) << "a mark of its own";
}

TEST_F(RegistryLists, HostsRecordOnlyRunTimeCodes) {
  __ORBSurface2D__ *const s = ORBGI2D_CreateGFXSurface(1, 1, 8, 0);
  for (const int32_t code : {999, 1256, INT32_MIN})
    EXPECT_EQ(RecMAPCode(0, code, s), 0);
  EXPECT_EQ(RecMAPCode(1, 1000, s) + RecMAPCode(0, 1000, nullptr) + GetMAPCode(1), 0);
  // What was counted for the code before isn't subtracted from it, and it was never loaded.
  map_new();
  call("map_set_name", {0, 1000, "before"});
  call("map_unload", {1000});
  EXPECT_EQ(RecMAPCode(0, 1000, s), 1);
  EXPECT_EQ(w.host.call_text("map_get_name", {0, 1000}), "");
  EXPECT_EQ(GetMAP(0, 1000)->surface, s);
  EXPECT_EQ(call("map_unload", {1000}), 1);
  EXPECT_EQ(fpg[0].memory_usage, 0u);
  EXPECT_EQ(maps_loaded, -1);
}

TEST_F(RegistryLists, CopiesKnowTheirCodesAndTextsAreCutToTheirField) {
  map_new();
  call("fpg_add_map", {0, 7, 0, 1000});
  EXPECT_EQ(fpg[0].slots[7].code, 7);
  for (const size_t length : {300, 1}) {
    call("map_set_name", {0, 1000, std::string(length, 'x')});
    EXPECT_EQ(w.host.call_text("map_get_name", {0, 1000}),
              std::string(std::min<size_t>(length, 255), 'x'));
  }
}

TEST_F(RegistryLists, ListsGrowInStepsUpToTheirLimits) {
  call("fpg_new");
  pfpg = &fpg[0];
  EXPECT_EQ(ResizeFPGList(), 1);
  EXPECT_EQ(GetMaxFPG(), 8);
  EXPECT_EQ(pfpg, &fpg[0]);
  ASSERT_TRUE(grow_records(fpg, max_fpg, 65532));
  max_fpg = 65532;
  EXPECT_EQ(call("fpg_new"), 1);
  for (int32_t file = 2; file < max_fpg; ++file)
    fpg[file].in_use = 1;
  EXPECT_EQ(call("fpg_new"), 65532);
  EXPECT_EQ(max_fpg, 65536);
  for (int32_t file = 65532; file < max_fpg; ++file)
    fpg[file].in_use = 1;
  EXPECT_EQ(call("fpg_new"), INT32_MIN) << "the list is full";
  EXPECT_EQ(call("fpg_clone", {1}), INT32_MIN);
  EXPECT_EQ(call("fpg_load", {"any"}), INT32_MIN);
  EXPECT_EQ(w.reports(), "104 FPG_NEW 0 0; 104 FPG_CLONE 1 1; 104 FPG_LOAD 1 \"any\"");
  for (int32_t file = 2; file < max_fpg; ++file)
    fpg[file].in_use = fpg[file].slots != nullptr;

  ASSERT_TRUE(grow_records(draws, max_draw, 65520));
  max_draw = 65520;
  draws[15].z = -7;
  EXPECT_EQ(ResizeDrawList(), 1);
  EXPECT_EQ(max_draw + draws[15].z, 65529);
  EXPECT_EQ(ResizeDrawList(), 0);

  const int32_t sizes[][2] = {{0, 36}, {-5, 40}, {100, 101}, {INT32_MAX, 65537}};
  for (const auto &[wanted, count] : sizes) {
    EXPECT_EQ(ResizeRegionList(wanted), 1);
    EXPECT_EQ(GetMaxREGION(), count);
    EXPECT_EQ(device2D.regions, regions);
    EXPECT_EQ(regions[count - 1].y0, -1);
  }
  EXPECT_EQ(ResizeRegionList(1), 0);

  const int32_t real = max_map;
  max_map = INT32_MAX; // refused before any access
  EXPECT_EQ(GetMaxMAP() + ResizeFPGMAPList(), INT32_MAX);
  max_map = INT32_MAX - 1; // more than 32 bits can address
  EXPECT_EQ(ResizeFPGMAPList(), 0);
  EXPECT_EQ(w.reports(), "fatal \"ENGINE 2D: Error to Resize FPGMAP list\"");
  max_map = real;
}

} // namespace

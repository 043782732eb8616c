// The graph registry: libraries, codes, regions, draw records, and the argument checks over them.
#include "surface/registry.h"

#include <ctime>
#include <random>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "failing_allocator.h"
#include "fake_runtime.h"
#include "frame/draw_objects.h"
#include "script/checks.h"
#include "script/handlers.h"
#include "script/script_call.h"
#include "surface/growth.h"
#include "surface/libraries.h"
#include "surface/regions.h"
#include "surface/screen.h"
#include "surface/surface.h"

namespace {

constexpr int32_t fail = INT32_MIN;

struct Registry : testing::Test {
  fake_runtime host;
  Registry() { start(); }
  ~Registry() override {
    stop();
    mode = {};
  }
  static void start() {
    ORBGI2D_Internal_CreateGFXSurfaceList();
    device2D.ORBGI2D_DeleteGFXSurface = ORBGI2D_DeleteGFXSurface;
    CreateFPGList();
    CreateDrawList();
    create_graph_registry();
  }
  /// Tears down in the order of the release hook.
  static void stop() {
    release_graph_registry();
    DeleteDrawList();
    DeleteFPGList();
    DeleteRegionList();
    ORBGI2D_DeleteAllGFXSurfaces();
    ORBGI2D_Internal_DeleteGFXSurfaceList();
  }
  static __ORBSurface2D__ *new_surface() { return ORBGI2D_CreateGFXSurface(2, 2, 8, 1); }
  /// A loose graph as a loader leaves it.
  static int32_t add_graph(int32_t mark, uint32_t memory) {
    const int32_t code = GetMAPCode(0);
    fpg[0].slots[code].surface = new_surface();
    fpg[0].slots[code].code = code;
    account_graph(code, memory, mark);
    return code;
  }
  static void load_library(int32_t file) {
    fpg[file].slots = static_cast<orb_map_slot *>(calloc(1000, sizeof(orb_map_slot)));
    fpg[file].in_use = 1;
  }
};

TEST_F(Registry, StartsAsStated) {
  EXPECT_EQ(GetMaxFPG(), 4);
  EXPECT_EQ(GetMaxMAP(), 1256);
  EXPECT_EQ(GetMaxREGION(), 32);
  EXPECT_EQ(max_draw, 16);
  EXPECT_EQ(RegionExists(0), 1);
  EXPECT_EQ(RegionExists(1), 0);
  EXPECT_EQ(regions_defined, 0);
  EXPECT_EQ(device2D.regions, regions);
  for (int32_t i = 1; i < 32; ++i) {
    EXPECT_EQ(regions[i].x0 & regions[i].x1 & regions[i].y0 & regions[i].y1, -1);
  }
  EXPECT_EQ(host.call(ORB_graphiclib_get_mapsloaded), 0);
}

TEST_F(Registry, CountersReachTheScript) {
  draws_fixed = 1;
  draws_locked = 2;
  draws_painted = 3;
  fpgs_loaded = 4;
  maps_loaded = 5;
  regions_defined = 6;
  EXPECT_EQ(host.call(ORB_graphiclib_get_drawsfixed), 1);
  EXPECT_EQ(host.call(ORB_graphiclib_get_drawslocked), 2);
  EXPECT_EQ(host.call(ORB_graphiclib_get_drawspainted), 3);
  EXPECT_EQ(host.call(ORB_graphiclib_get_fpgsloaded), 4);
  EXPECT_EQ(host.call(ORB_graphiclib_get_mapsloaded), 5);
  EXPECT_EQ(host.call(ORB_graphiclib_get_regionsdefined), 6);
}

// ---- Growth -------------------------------------------------------------------------------------

TEST_F(Registry, CodesRunOutIntoAGrownLibrary) {
  EXPECT_EQ(GetMAPCode(3), 0);
  EXPECT_EQ(GetMAPCode(-1), 0);
  for (int32_t code = 1000; code < 1256; ++code) {
    ASSERT_EQ(GetMAPCode(0), code);
    ASSERT_EQ(RecMAPCode(0, code, new_surface()), 1);
  }
  fpg[0].slots[5].surface = new_surface();
  strcpy(fpg[0].slots[1100].name, "kept");
  pfpgmap = &fpg[0].slots[1100];
  pfpgmap_dst = &fpg[0].slots[5];
  EXPECT_EQ(GetMAPCode(0), 1256);
  EXPECT_EQ(max_map, 1512);
  // Slots, marks and the cursors into them moved together.
  EXPECT_EQ(pfpgmap, &fpg[0].slots[1100]);
  EXPECT_STREQ(pfpgmap->name, "kept");
  EXPECT_EQ(pfpgmap_dst, &fpg[0].slots[5]);
  EXPECT_EQ(image_loaded[0], 1);
  EXPECT_EQ(image_loaded[255], 1);
  for (int32_t i = 256; i < 512; ++i)
    ASSERT_EQ(image_loaded[i], 0);
  for (int32_t i = 1256; i < 1512; ++i) {
    ASSERT_EQ(fpg[0].slots[i].surface, nullptr);
    ASSERT_EQ(fpg[0].slots[i].code, 0);
  }
}

/// Whatever the order of allocation and release, the next code is the lowest free one, and finding
/// it takes the same time however many are taken.
TEST_F(Registry, TheLowestFreeCodeIsTheNext) {
  const auto lowest = [] {
    int32_t code = 1000;
    while (code < max_map && fpg[0].slots[code].surface)
      ++code;
    return code;
  };
  std::mt19937 random(7);
  for (int step = 0; step < 20000; ++step) {
    const auto code = int32_t(1000 + random() % uint32_t(max_map - 1000));
    orb_map_slot &slot = fpg[0].slots[code];
    switch (const uint32_t act = random() % 32; act) {
    case 0: host.call(ORB_map_unload, step % 8 ? code : -1); break;
    case 1: host.call(ORB_image_unload, step % 8 ? code : -1); break;
    case 2: host.call(ORB_unload_pcx, code); break;
    case 3: // any code, as a host may record
      if (!slot.surface) RecMAPCode(0, code, new_surface());
      break;
    case 4:
      if (slot.surface) {
        free_graph(&fpg[0], &slot);
        image_loaded[code - 1000] = 0;
      }
      break;
    case 5: // a failure returns its code
      ASSERT_EQ(GetMAPCode(0), lowest());
      break;
    case 6:
      if (step % 64 == 0) {
        stop();
        start();
      }
      break;
    default: {
      const int32_t expected = lowest();
      ASSERT_EQ(add_graph(1 + int32_t(act % 6), 616), expected) << step;
    }
    }
  }

  // A slot that a host cleared itself is found before the list grows.
  while (GetMAPCode(0) < max_map - 1)
    add_graph(1, 616);
  const int32_t limit = max_map;
  ORBGI2D_DeleteGFXSurface(fpg[0].slots[1003].surface);
  fpg[0].slots[1003].surface = nullptr;
  EXPECT_EQ(add_graph(1, 616), limit - 1);
  EXPECT_EQ(add_graph(1, 616), 1003);
  EXPECT_EQ(max_map, limit);

  const clock_t before = clock(); // of this process only
  while (max_map < 41000)
    add_graph(1, 616);
  if (libraries_can_fail) // else a sanitizer's heap copies growing blocks
    EXPECT_LT(clock() - before, CLOCKS_PER_SEC / 3);
}

TEST_F(Registry, LibrariesGrowByFourUpToTheLimit) {
  load_library(3);
  orb_map_slot *const slots = fpg[3].slots;
  pfpg = &fpg[3];
  EXPECT_EQ(ResizeFPGList(), 1);
  EXPECT_EQ(max_fpg, 8);
  EXPECT_EQ(pfpg, &fpg[3]);
  EXPECT_EQ(fpg[3].slots, slots);
  EXPECT_EQ(fpg[7].in_use, 0);
  EXPECT_EQ(fpg[7].slots, nullptr);
  ASSERT_TRUE(grow_records(fpg, max_fpg, 65532));
  max_fpg = 65532;
  EXPECT_EQ(ResizeFPGList(), 1);
  EXPECT_EQ(max_fpg, 65536);
  EXPECT_EQ(ResizeFPGList(), 0);
  EXPECT_EQ(max_fpg, 65536);
  EXPECT_EQ(fpg[3].slots, slots);
  EXPECT_TRUE(host.fatals.empty());
}

TEST_F(Registry, MapSlotsBeyondMemoryAreFatalAndChangeNothing) {
  const int32_t real = max_map;
  orb_map_slot *const slots = fpg[0].slots;
  max_map = INT32_MAX; // the limit: refused before any access
  EXPECT_EQ(ResizeFPGMAPList(), 0);
  EXPECT_TRUE(host.fatals.empty());
  max_map = INT32_MAX - 1; // 532 bytes each: more than 32 bits can address
  EXPECT_EQ(ResizeFPGMAPList(), 0);
  EXPECT_EQ(host.fatals, std::vector<std::string>{"ENGINE 2D: Error to Resize FPGMAP list"});
  EXPECT_EQ(host.levels, std::vector<int32_t>{2});
  EXPECT_EQ(max_map, INT32_MAX - 1);
  EXPECT_EQ(fpg[0].slots, slots);
  max_map = real;
}

TEST_F(Registry, RegionsGrow) {
  regions[31] = {1, 2, 3, 4};
  regions_def[31] = 1;
  EXPECT_EQ(ResizeRegionList(0), 1);
  EXPECT_EQ(max_region, 36);
  EXPECT_EQ(ResizeRegionList(-5), 1);
  EXPECT_EQ(max_region, 40);
  EXPECT_EQ(ResizeRegionList(100), 1);
  EXPECT_EQ(max_region, 101);
  EXPECT_EQ(device2D.regions, regions);
  EXPECT_EQ(regions[31].y1, 4);
  EXPECT_EQ(RegionExists(31), 1);
  EXPECT_EQ(RegionExists(100), 0);
  EXPECT_EQ(regions[100].x0, -1);
  for (int32_t out : {-1, 101, INT32_MAX, INT32_MIN})
    EXPECT_EQ(RegionExists(out), 0);
  EXPECT_EQ(ResizeRegionList(INT32_MAX), 1); // up to the limit
  EXPECT_EQ(max_region, 65537);
  EXPECT_EQ(ResizeRegionList(1), 0);
  EXPECT_TRUE(host.fatals.empty());
}

TEST_F(Registry, DrawsGrow) {
  draws[15].in_use = 1;
  draws[15].z = -7;
  EXPECT_EQ(ResizeDrawList(), 1);
  EXPECT_EQ(max_draw, 32);
  EXPECT_EQ(draws[15].z, -7);
  EXPECT_EQ(draws[31].in_use, 0);
  ASSERT_TRUE(grow_records(draws, max_draw, 65520));
  max_draw = 65520;
  EXPECT_EQ(ResizeDrawList(), 1);
  EXPECT_EQ(max_draw, 65536);
  EXPECT_EQ(ResizeDrawList(), 0);
  EXPECT_EQ(max_draw, 65536);
  EXPECT_TRUE(host.fatals.empty());
}

TEST_F(Registry, StartsAgainAfterRelease) {
  for (int cycle = 0; cycle < 3; ++cycle) {
    const int32_t code = add_graph(1, 616);
    EXPECT_EQ(code, 1000);
    load_library(2);
    ResizeFPGList();
    ResizeRegionList(60);
    ResizeDrawList();
    regions_defined = 9;
    stop();
    // Between release and the next init every lookup fails.
    EXPECT_EQ(GetMAP(0, 1000), nullptr);
    EXPECT_EQ(GetMAP(2, 1), nullptr);
    EXPECT_EQ(GetFPG(0), nullptr);
    EXPECT_EQ(GetMAPCode(0), 0);
    EXPECT_EQ(RegionExists(0), 0);
    EXPECT_EQ(unload_graphs(-1, [](int32_t) { return true; }), 0);
    start();
    EXPECT_EQ(max_map, 1256);
    EXPECT_EQ(maps_loaded, 0);
    EXPECT_EQ(regions_defined, 0);
    EXPECT_EQ(fpg[0].map_count, 0);
    EXPECT_EQ(fpg[0].memory_usage, 0u);
    EXPECT_EQ(GetMaxREGION(), 32);
  }
}

// ---- Lookups ------------------------------------------------------------------------------------

TEST_F(Registry, RecMAPCodeRefusesWhatIsNotARunTimeCode) {
  __ORBSurface2D__ *const s = new_surface();
  EXPECT_EQ(RecMAPCode(0, 999, s), 0);
  EXPECT_EQ(RecMAPCode(0, 1256, s), 0);
  EXPECT_EQ(RecMAPCode(0, INT32_MIN, s), 0);
  EXPECT_EQ(RecMAPCode(1, 1000, s), 0);
  EXPECT_EQ(RecMAPCode(0, 1000, nullptr), 0);
  orb_map_slot &slot = fpg[0].slots[1000];
  strcpy(slot.name, "former");
  strcpy(slot.description, "former");
  EXPECT_EQ(RecMAPCode(0, 1000, s), 1);
  EXPECT_EQ(slot.code, 1000);
  EXPECT_EQ(slot.surface, s);
  EXPECT_STREQ(slot.name, "");
  EXPECT_STREQ(slot.description, "");
  EXPECT_EQ(image_loaded[0], 1);
  EXPECT_EQ(fpg[0].map_count, 1);
  EXPECT_EQ(maps_loaded, 0); // not counted there
  EXPECT_EQ(fpg[0].memory_usage, 0u);
}

TEST_F(Registry, GetMAPGivesEmptySlotsToo) {
  EXPECT_EQ(GetMAP(2, 0), nullptr);
  load_library(2);
  EXPECT_EQ(GetMAP(2, 0), &fpg[2].slots[0]);
  EXPECT_EQ(GetMAP(2, 999), &fpg[2].slots[999]);
  EXPECT_EQ(GetMAP(2, 1000), nullptr);
  EXPECT_EQ(max_graph, 1000);
  EXPECT_EQ(GetMAP(0, 1255), &fpg[0].slots[1255]);
  EXPECT_EQ(max_graph, 1256);
  EXPECT_EQ(GetMAP(0, 1256), nullptr);
  EXPECT_EQ(GetMAP(0, -1), nullptr);
  EXPECT_EQ(GetMAP(-1, 1), nullptr);
  EXPECT_EQ(max_graph, 1000);
  EXPECT_EQ(GetMAP(4, 1), nullptr);
  EXPECT_EQ(GetMAP(INT32_MAX, INT32_MAX), nullptr);
  fpg[2].in_use = 0;
  EXPECT_EQ(GetMAP(2, 0), nullptr);
  EXPECT_EQ(GetFPG(-1), nullptr);
  EXPECT_EQ(GetFPG(4), nullptr);
  EXPECT_EQ(GetFPG(2), &fpg[2]);
}

TEST_F(Registry, CheckGraphReportsTheFirstMistake) {
  load_library(1);
  fpg[1].slots[7].surface = new_surface();
  fpg[0].slots[1200].surface = new_surface();
  struct attempt {
    int32_t file, graph, code, position, value;
  };
  const attempt attempts[] = {
      {-1, 0, 109, 3, -1},
      {4, 7, 109, 3, 4},
      {INT32_MIN, 7, 109, 3, INT32_MIN},
      {INT32_MAX, -1, 109, 3, INT32_MAX},
      {1, 0, 110, 4, 0},
      {1, -1, 110, 4, -1},
      {1, 1000, 110, 4, 1000},
      {0, 1256, 110, 4, 1256},
      {0, 0, 110, 4, 0},
      {2, 1000, 110, 4, 1000},
      {2, 7, 111, 3, 2},
      {1, 8, 121, 4, 8},
      {0, 1201, 121, 4, 1201},
  };
  const script_call call{"SOME_NAME"};
  for (const attempt &a : attempts) {
    SCOPED_TRACE(testing::Message() << a.file << ", " << a.graph);
    host.errors.clear();
    EXPECT_EQ(check_graph(call, a.file, a.graph, 3), nullptr);
    ASSERT_EQ(host.errors.size(), 1u);
    const fake_error expected{a.code, "SOME_NAME", ORB_VALUE_INT, a.position, a.value, ""};
    EXPECT_EQ(host.errors[0], expected);
  }
  host.errors.clear();
  EXPECT_EQ(check_graph(call, 1, 7), &fpg[1].slots[7]);
  EXPECT_EQ(pfpg, &fpg[1]);
  EXPECT_EQ(pfpgmap, &fpg[1].slots[7]);
  EXPECT_EQ(max_graph, 1000);
  EXPECT_EQ(check_graph(call, 0, 1200), &fpg[0].slots[1200]);
  EXPECT_EQ(max_graph, 1256);
  EXPECT_TRUE(host.errors.empty());
}

TEST_F(Registry, CheckColourByDepth) {
  const script_call call{"SOME_NAME"};
  struct attempt {
    int32_t depth;
    uint32_t colour;
    bool good;
    size_t reports;
  };
  const attempt attempts[] = {
      {8, 255, true, 0},         {8, 256, false, 1},    {8, UINT32_MAX, false, 1},
      {16, 65535, true, 0},      {16, 65536, false, 0}, {16, UINT32_MAX, false, 0},
      {32, UINT32_MAX, true, 0},
  };
  for (const attempt &a : attempts) {
    mode.bpp = a.depth;
    host.errors.clear();
    EXPECT_EQ(check_colour(call, a.colour, 5), a.good) << a.depth << ", " << a.colour;
    ASSERT_EQ(host.errors.size(), a.reports);
    if (a.reports) {
      const fake_error expected{154, "SOME_NAME", ORB_VALUE_INT, 5, int32_t(a.colour), ""};
      EXPECT_EQ(host.errors[0], expected);
    }
  }
}

// ---- Unloading ----------------------------------------------------------------------------------

TEST_F(Registry, UnloadTakesItsOwnKindsOnly) {
  const int32_t map = add_graph(1, 616);
  const int32_t png = add_graph(5, 1000);
  const int32_t tga = add_graph(6, 2000);
  const int32_t recorded = GetMAPCode(0);
  ASSERT_EQ(RecMAPCode(0, recorded, new_surface()), 1);
  EXPECT_EQ(maps_loaded, 3);
  EXPECT_EQ(fpg[0].map_count, 4);
  EXPECT_EQ(fpg[0].memory_usage, 3616u);
  EXPECT_EQ(gfxsurfaces->count, 4u);

  EXPECT_EQ(host.call(ORB_image_unload, recorded), 0);
  EXPECT_EQ(host.call(ORB_image_unload, map), 0);
  EXPECT_EQ(host.call(ORB_map_unload, png), 0);
  EXPECT_EQ(host.call(ORB_image_unload, 1200), 0); // free
  for (int32_t out : {999, 0, 1256, -2, INT32_MIN, INT32_MAX}) {
    EXPECT_EQ(host.call(ORB_image_unload, out), fail);
    EXPECT_EQ(host.call(ORB_map_unload, out), fail);
  }
  EXPECT_EQ(gfxsurfaces->count, 4u);

  EXPECT_EQ(host.call(ORB_image_unload, png), 1);
  EXPECT_EQ(host.call(ORB_image_unload, png), 0);
  EXPECT_EQ(fpg[0].memory_usage, 2616u);
  EXPECT_EQ(fpg[0].map_count, 3);
  EXPECT_EQ(maps_loaded, 2);
  EXPECT_EQ(image_loaded[png - 1000], 0);
  EXPECT_EQ(fpg[0].slots[png].code, 0);
  EXPECT_EQ(fpg[0].slots[png].surface, nullptr);
  EXPECT_EQ(gfxsurfaces->count, 3u);

  EXPECT_EQ(host.call(ORB_image_unload, -1), 1);
  EXPECT_EQ(fpg[0].slots[tga].surface, nullptr);
  EXPECT_EQ(host.call(ORB_map_unload, -1), 2);
  EXPECT_EQ(fpg[0].memory_usage, 0u);
  EXPECT_EQ(fpg[0].map_count, 0);
  EXPECT_EQ(maps_loaded, -1); // the recorded graph was never counted
  EXPECT_EQ(gfxsurfaces->count, 0u);
  EXPECT_EQ(host.call(ORB_map_unload, -1), 0);
  EXPECT_TRUE(host.errors.empty());
}

TEST_F(Registry, ARecordedGraphDoesNotInheritACount) {
  const int32_t code = add_graph(1, 5000);
  EXPECT_EQ(host.call(ORB_map_unload, code), 1);
  ASSERT_EQ(RecMAPCode(0, code, new_surface()), 1);
  EXPECT_EQ(host.call(ORB_map_unload, code), 1);
  EXPECT_EQ(fpg[0].memory_usage, 0u);
}

TEST_F(Registry, UnloadDeletesThroughTheDeviceRecord) {
  static __ORBSurface2D__ *deleted;
  deleted = nullptr;
  const int32_t code = add_graph(5, 10);
  __ORBSurface2D__ *const s = fpg[0].slots[code].surface;
  device2D.ORBGI2D_DeleteGFXSurface = [](__ORBSurface2D__ *surface) { deleted = surface; };
  EXPECT_EQ(host.call(ORB_image_unload, code), 1);
  EXPECT_EQ(deleted, s);
}

} // namespace

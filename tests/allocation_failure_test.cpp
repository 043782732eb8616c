// Memory failures at any point: the hooks, frames, growing lists, new graphs and set-mode. For
// files see allocation_failure_files_test.cpp.
#include <gtest/gtest.h>

#include "blit/blit_list.h"
#include "collision/collision.h"
#include "failing_allocator.h"
#include "failure_points.h"
#include "script/handlers.h"
#include "surface/palette.h"
#include "surface/registry.h"
#include "video/mode_lists.h"

namespace {

constexpr int32_t no_fade = 64;

// ---- The allocator itself -----------------------------------------------------------------------

TEST(FailingAllocator, FailsTheRequestAskedFor) {
  const int32_t blocks = outstanding_blocks(fault_scope::module);
  const auto taken = [](uint32_t request, fault_kind kind) {
    const allocation_fault fault(request, fault_scope::module, kind);
    std::string answers;
    char text[] = "text";
    void *volatile got[] = {malloc(1), calloc(2, 3), realloc(nullptr, 4), strdup(text)};
    for (void *const block : got) {
      answers += block ? 'x' : '-';
      free(block);
    }
    return answers + (fault.reached() ? "!" : "");
  };
  EXPECT_EQ(taken(1, fault_kind::once), "-xxx!");
  EXPECT_EQ(taken(2, fault_kind::once), "x-xx!");
  EXPECT_EQ(taken(4, fault_kind::once), "xxx-!");
  EXPECT_EQ(taken(5, fault_kind::once), "xxxx");
  EXPECT_EQ(taken(2, fault_kind::onwards), "x---!");
  EXPECT_EQ(outstanding_blocks(fault_scope::module), blocks);

  void *volatile kept = malloc(10);
  EXPECT_EQ(outstanding_blocks(fault_scope::module), blocks + 1);
  void *volatile moved = realloc(kept, 1000);
  EXPECT_EQ(outstanding_blocks(fault_scope::module), blocks + 1);
  free(moved);
  EXPECT_EQ(outstanding_blocks(fault_scope::module), blocks);

  // The C library's own requests count, those of C++ objects do not.
  const auto opens = [](fault_scope scope) {
    const allocation_fault fault(1, scope, fault_kind::once);
    std::vector<std::string> texts(100, std::string(1000, 'x'));
    FILE *const file = fopen("/dev/null", "r");
    if (file) fclose(file);
    return file != nullptr;
  };
  EXPECT_TRUE(opens(fault_scope::module));
  EXPECT_EQ(opens(fault_scope::everybody), !libraries_can_fail);
}

// ---- Hooks --------------------------------------------------------------------------------------

const std::set<std::string> init_refusals = {
    "Device 2D init error",
    "Graphics2D init error",
    "ENGINE 2D: Error to Create VIDEO MODES list",
    "ENGINE 2D: Error to Create FPG list",
    "ENGINE 2D: Error to Create DRAW2D list",
    "GRAPHICS2D: Error to create BLIT2D space",
    "GRAPHICS2D: Error to create BLIT2DZOrder table",
    "ENGINE 2D: Error to Create PALETTE table",
    "ENGINE 2D: Error to Create GHOST table",
    "ENGINE 2D: Error to Create DEPTH table",
    "ENGINE 2D: Error to Adjust Video Modes list",
    "Error to Alloc 8bits Video Modes",
    "Error to Alloc 16bits Video Modes",
    "Error to Alloc 32bits Video Modes",
    "No enough memory to create primary FPG",
    "No enough memory to create REGIONS",
    "100 COLLISION",
    "Error to Create Ground 2D Surface",
    "Error to Create Screen 2D Surface",
    "Error to Create Buffer 2D Surface",
};
/// The result of init: it continues only without a display.
const std::set<std::string> last_words = {
    "Device 2D init error",
    "Graphics2D init error",
    "No enough memory to create primary FPG",
    "No enough memory to create REGIONS",
    "Error to Create Ground 2D Surface",
    "Error to Create Screen 2D Surface",
    "Error to Create Buffer 2D Surface",
};

failure_case init_case(const char *name, bool full) {
  return {.name = name,
          .depth = 0,
          .prepare =
              [full](failure_world &world) {
                world.host.full_screen = full;
                full_screen = 0;
              },
          .act =
              [](failure_world &world) {
                const int32_t result = ORB_mod_graphics2D_init();
                const std::vector<std::string> &fatals = world.host.fatals;
                EXPECT_TRUE(fatals.empty() || last_words.contains(fatals.back())) << fatals.back();
                world.host.exits.clear();
                return result;
              },
          .refusals = init_refusals,
          .display = true,
          .partial = true,
          .recover =
              [full](failure_world &world) {
                // Hosts that continue after a fatal report.
                ORB_mod_graphics2D_frame();
                ORB_mod_graphics2D_release();
                world.host.full_screen = full;
              }};
}

TEST(AllocationFailure, InitHook) {
  failure_case again = init_case("init without a release between", false);
  again.recover = nullptr;
  expect_survived({init_case("init", false), init_case("init in full screen", true), again});
}

/// Requests made by the script.
void draw_graphics(failure_world &world) {
  for (int32_t i = 0; i < 20; ++i)
    world.call("screen_draw_graphic", 0, 1000, i, i, -i, 0);
}

/// Processes and draws of every kind, and requests made by the script.
void fill_scene(failure_world &world, int32_t processes) {
  const int32_t graph = world.make_graph(9, 7);
  for (int32_t i = 0; i < processes; ++i) {
    orb_locals &locals = *world.host.spawn().locals;
    locals.graph = graph;
    locals.x = i % 64;
    locals.y = i * 7 % 48;
    locals.z = i * 7919 % 1000 - 500;
    locals.angle = i % 3 * 30000;
    locals.size_x = 100 + i % 5 * 20;
    locals.shear_y = i % 11 ? 0 : 20;
    locals.flags = i % 8;
    locals.alpha = 255 - i % 2 * 100;
  }
  for (int32_t type = 1; type <= 5; ++type)
    world.call("draw_new", type, 3, 9, 0, type, 2, 60, 40 - type);
  draw_graphics(world);
}

TEST(AllocationFailure, FramesAndRelease) {
  std::vector<failure_case> cases;
  for (const int32_t depth : {8, 16, 32}) {
    cases.push_back({.name = "frame",
                     .depth = depth,
                     .prepare =
                         [](failure_world &world) {
                           *world.host.global("draw_visible") = 1;
                           *world.host.global("dump_type") = 1;
                           *world.host.global("restore_type") = 1;
                           finish_fades();
                           fill_scene(world, 1500); // more than the frame's list holds
                         },
                     .act =
                         [](failure_world &world) {
                           ORB_mod_graphics2D_frame();
                           draw_graphics(world);
                           return ORB_mod_graphics2D_frame();
                         },
                     .refusals = {"GRAPHICS2D: Error to resize BLIT2D list",
                                  "GRAPHICS2D: Error to resize BLIT2DZOrder table"},
                     .partial = true,
                     // The script's requests were shown with the frame that failed.
                     .recover = draw_graphics});
    cases.push_back({.name = "release",
                     .depth = depth,
                     .prepare = [](failure_world &world) { fill_scene(world, 50); },
                     .act = [](failure_world &) { return ORB_mod_graphics2D_release(); },
                     .refusals = {}});
  }
  expect_survived(cases);
}

// ---- Modes --------------------------------------------------------------------------------------

const std::set<std::string> mode_refusals = {
    "ENGINE 2D: Error to Create PALETTE table", "ENGINE 2D: Error to Create GHOST table",
    "ENGINE 2D: Error to Create DEPTH table",   "100 COLLISION",
    "Error to Create Ground 2D Surface",        "Error to Create Screen 2D Surface",
    "Error to Resize Ground 2D Surface",        "Error to Resize Screen 2D Surface",
    "Error to Create Virtual Resolution Mode",
};

/// A ground and a palette that a reverted mode must show again.
void put_ground(failure_world &world) {
  *world.host.global("dump_type") = *world.host.global("restore_type") = 1;
  finish_fades();
  const int32_t graph = world.make_graph(30, 20);
  world.call("ground_put", 0, graph, 20, 20);
  if (mode.bpp == 8) world.call("palette_set_color", 3, 60, 20, 10);
  ORB_mod_graphics2D_frame();
  // A restored palette is shown once more with the next frame.
  if (mode.bpp == 8) mark_palette_changed();
}

template <typename... T>
failure_case mode_case(const char *name, int32_t depth, const char *function, T... arguments) {
  return {.name = name,
          .depth = depth,
          .prepare = put_ground,
          .act = [=](failure_world &world) { return world.call(function, arguments...); },
          .refusals = mode_refusals,
          .display = true};
}

/// Adds a frame, which must survive any state that the mode is left in.
failure_case with_frame(failure_case setting) {
  setting.name += " and a frame";
  setting.prepare = [](failure_world &world) {
    put_ground(world);
    *world.host.global("draw_visible") = 1;
    fill_scene(world, 100);
  };
  setting.act = [set = setting.act](failure_world &world) {
    const int32_t result = set(world);
    ORB_mod_graphics2D_frame();
    return result;
  };
  setting.partial = true;
  setting.recover = draw_graphics;
  return setting;
}

TEST(AllocationFailure, Modes) {
  constexpr int32_t window = 1 | no_fade, full = 2 | no_fade;
  std::vector<failure_case> cases;
  for (const int32_t from : {8, 16, 32}) {
    for (const int32_t to : {8, 16, 32}) {
      cases.push_back(mode_case("another mode", from, "mode_set", 100, 80, to, window));
      cases.push_back(mode_case("full screen", from, "mode_set", 320, 200, to, full));
    }
    cases.push_back(mode_case("a border", from, "mode_set", 300, 190, from, full));
    cases.push_back(mode_case("filters", from, "mode_set", 64, 48, from, window, 0, 2, 17));
    cases.push_back(mode_case("a filter alone", from, "mode_set_filter", 1));
    cases.push_back(mode_case("a change", from, "mode_change", 2));
    cases.push_back(mode_case("stretched", from, "virtualresolution_set", 100, 90, 1, 1));
    failure_case again = mode_case("restretched", from, "virtualresolution_set", 50, 50, 0, 1);
    again.prepare = [](failure_world &world) {
      put_ground(world);
      world.call("virtualresolution_set", 100, 90, 0, 1);
    };
    cases.push_back(again);
    again.name = "no longer stretched";
    again.act = [](failure_world &world) {
      return world.call("virtualresolution_set", 0, 0, 0, 0);
    };
    cases.push_back(again);
  }
  // The 8-bit tables are freed once the other mode is set.
  {
    failure_world world;
    world.start(8);
    const int32_t blocks = outstanding_blocks(fault_scope::module);
    EXPECT_EQ(world.call("mode_set", 64, 48, 16, window), 1);
    EXPECT_EQ(outstanding_blocks(fault_scope::module), blocks - 2);
  }
  const size_t settings = cases.size();
  for (size_t i = 0; i < settings; ++i)
    cases.push_back(with_frame(cases[i]));
  cases.push_back(with_frame(mode_case("fades", 8, "mode_set", 100, 80, 16, 1 | 128)));
  cases.push_back(with_frame(mode_case("fades", 16, "mode_set", 100, 80, 8, 1 | 128)));
  expect_survived(cases);
}

// ---- Lists --------------------------------------------------------------------------------------

/// Takes the initial codes of library 0.
void fill_library_0(failure_world &world) {
  for (int32_t i = 0; i < 256; ++i)
    world.call("map_new", 1, 1);
}

void fill_blit_lists(failure_world &) {
  while (pBlitLists2D->count < pBlitLists2D->capacity)
    CreateBlitList("OTHERS", 2, 1);
}

TEST(AllocationFailure, ListsGrow) {
  expect_survived({
      {.name = "a library more",
       .depth = 16,
       .prepare =
           [](failure_world &world) {
             for (int32_t i = 0; i < 4; ++i)
               world.call("fpg_new");
           },
       .act = [](failure_world &world) { return world.call("fpg_new"); },
       .refusals = {"ENGINE 2D: Error to Resize FPG list; 104 FPG_NEW", "100 FPG_NEW"}},
      {.name = "a loose graph more",
       .depth = 16,
       .prepare = fill_library_0,
       .act = [](failure_world &world) { return world.call("map_new", 7, 5, 3); },
       .refusals = {"ENGINE 2D: Error to Resize FPGMAP list", "100 MAP_NEW"}},
      {.name = "a loose clone more",
       .depth = 16,
       .prepare = fill_library_0,
       .act = [](failure_world &world) { return world.call("map_clone", 0, 1000); },
       .refusals = {"ENGINE 2D: Error to Resize FPGMAP list; 104 MAP_CLONE", "100 MAP_CLONE"}},
      {.name = "a surface recorded",
       .depth = 16,
       .prepare = fill_library_0,
       .act = [](failure_world &) { return GetMAPCode(0); },
       .refusals = {"ENGINE 2D: Error to Resize FPGMAP list"}},
      {.name = "a region",
       .depth = 16,
       .prepare = nullptr,
       .act = [](failure_world &world) { return world.call("region_define", 100, 1, 2, 3, 4); },
       .refusals = {"ENGINE 2D: Error to Resize REGION list"}},
      {.name = "a draw",
       .depth = 16,
       .prepare =
           [](failure_world &world) {
             for (int32_t i = 0; i < 16; ++i)
               world.call("draw_new", 1, 3, 100, 0, i, 2, 60, 40);
           },
       .act = [](failure_world &world) { return world.call("draw_new", 2, 3, 9, 0, 5, 6, 7, 8); },
       .refusals = {"ENGINE 2D: Error to Resize DRAW2D list; 172 DRAW_NEW"}},
      {.name = "a mode in the list of modes",
       .depth = 16,
       .prepare = nullptr, // the list was shrunk to its contents
       .act = [](failure_world &) { return add_video_mode(7, 8, 16, 0); },
       .refusals = {"silent"}},
      {.name = "a blit list",
       .depth = 16,
       .prepare = fill_blit_lists,
       .act = [](failure_world &) { return CreateBlitList("MORE", 10, 1); },
       .refusals = {"GRAPHICS2D: Error to Resize BLIT2D list", "MORE: Error to create BLIT2D space",
                    "MORE: Error to create BLIT2DZOrder table"}},
      {.name = "a request",
       .depth = 16,
       .prepare =
           [](failure_world &) {
             CreateBlitList("OTHERS", 4, 2);
             for (int32_t i = 0; i < 3; ++i)
               GetAndUpdateBlitList()->z = i;
             SortBlitList();
           },
       .act =
           [](failure_world &) {
             const bool taken = GetAndUpdateBlitList() != nullptr;
             // The order table made before is freed with the requests.
             int32_t sum = 0;
             for (int32_t i = 0; i < 3; ++i)
               sum = sum * 10 + pBlitList2D->order[i]->z;
             EXPECT_EQ(sum, 210);
             return taken ? sum : -1;
           },
       .refusals = {"OTHERS: Error to resize BLIT2D list",
                    "OTHERS: Error to resize BLIT2DZOrder table"}},
      {.name = "a request of a script's",
       .depth = 16,
       .prepare =
           [](failure_world &world) {
             world.make_graph(5, 5);
             for (int32_t i = 0; i < 1023; ++i)
               world.call("screen_draw_graphic", 0, 1000, i, i, i, 0);
           },
       .act =
           [](failure_world &world) {
             return world.call("screen_draw_graphic", 0, 1000, 5, 5, 0, 0);
           },
       .refusals = {"GRAPHICS2D: Error to resize BLIT2D list",
                    "GRAPHICS2D: Error to resize BLIT2DZOrder table"}},
      {.name = "a control point",
       .depth = 16,
       .prepare = [](failure_world &world) { world.make_graph(5, 5); },
       .act = [](failure_world &world) { return world.call("map_new_cpoint", 0, 1000, 500, 1, 2); },
       .refusals = {"100 MAP_NEW_CPOINT"}},
  });
}

// ---- Graphs -------------------------------------------------------------------------------------

/// Libraries 0, 1 and 2; 1 has copies of two graphs, one of them with control points.
void make_libraries(failure_world &world) {
  const int32_t a = world.make_graph(12, 9), b = world.make_graph(5, 6);
  world.call("map_new_cpoint", 0, a, 6, 3, 4);
  for (int32_t i = 0; i < 3; ++i)
    world.call("fpg_new");
  world.call("fpg_add_map", 1, 10, 0, a);
  world.call("fpg_add_map", 1, 999, 0, b);
}

/// The same, created at half the depth.
void make_older_libraries(failure_world &world) {
  const int32_t depth = mode.bpp;
  world.call("mode_set", 64, 48, depth / 2, no_fade);
  make_libraries(world);
  world.call("mode_set", 64, 48, depth, no_fade);
}

template <typename... T>
failure_case graph_case(std::set<std::string> refusals, const char *function, T... arguments) {
  return {.name = function,
          .depth = 32,
          .prepare = make_libraries,
          .act = [=](failure_world &world) { return world.call(function, arguments...); },
          .refusals = std::move(refusals)};
}

/// Through the device record, which other modules of a host use for their surfaces.
int32_t wrap_and_let_go(failure_world &) {
  __ORBSurface2D__ *const wrapper = device2D.ORBGI2D_CreateGFXSurfaceWrapper(10, 8, 32);
  if (!wrapper) return 0;
  free(wrapper->cpoints);
  device2D.ORBGI2D_DeleteGFXSurface(wrapper);
  return 1;
}
int32_t resize_first_graph(failure_world &) {
  return device2D.ORBGI2D_ResizeGFXSurface(fpg[0].slots[1000].surface, 30, 40, 1, 1);
}

TEST(AllocationFailure, Graphs) {
  std::vector<failure_case> cases = {
      graph_case({"100 MAP_NEW"}, "map_new", 10, 8, 5, 1),
      graph_case({"100 FPG_NEW"}, "fpg_new"),
      graph_case({"100 FPG_NEW_MAP"}, "fpg_new_map", 1, 5, 10, 8, 2, 3, 9),
      graph_case({"100 FPG_NEW_MAP"}, "fpg_new_map", 1, 10, 3, 3), // replaces another
      graph_case({"100 MAP_CLONE"}, "map_clone", 1, 10),
      graph_case({"100 FPG_ADD_MAP"}, "fpg_add_map", 2, 3, 1, 10),
      graph_case({"100 FPG_ADD_MAP"}, "fpg_add_map", 1, 999, 0, 1000),
      graph_case({"100 FPG_CLONE", "100 CLONE_FPG"}, "fpg_clone", 1),
      graph_case({}, "map_unload", -1),
      graph_case({}, "fpg_unload", -1),
      graph_case({}, "map_put", 0, 1000, 0, 1001, 3, 3),
      graph_case({}, "screen_copy", 0, 0, 1000, 0, 0, 12, 9),
  };
  for (const size_t i : {4, 5, 7}) // the copies
    for (const int32_t depth : {16, 32}) {
      cases.push_back(cases[i]);
      cases.back().depth = depth;
      cases.back().prepare = make_older_libraries;
    }
  for (const auto act : {wrap_and_let_go, resize_first_graph})
    cases.push_back({.name = act == resize_first_graph ? "resize" : "wrap",
                     .depth = 32,
                     .prepare = make_libraries,
                     .act = act,
                     .refusals = {"silent"}});
  expect_survived(cases);
}

// ---- Collisions ---------------------------------------------------------------------------------

failure_case collision_case(int32_t depth) {
  return {.name = "collision",
          .depth = depth,
          .prepare =
              [](failure_world &world) {
                const int32_t graph = world.make_graph(20, 20);
                for (int32_t i = 0; i < 2; ++i) {
                  orb_process &process = world.host.spawn();
                  process.type = 7;
                  process.locals->graph = graph;
                  process.locals->x = 20 + 3 * i;
                  process.locals->y = 20;
                  process.locals->angle = 30000 * i;
                }
                world.host.current_process = &world.host.processes[0];
              },
          .act =
              [](failure_world &world) {
                return world.call("collision", &world.host.processes[1]) ? 1 : -1;
              },
          .refusals = {"silent"}};
}

/// Surfaces for which a mode found no memory.
failure_case late_collision_case() {
  failure_case late = collision_case(16);
  late.name = "collision after a mode without memory";
  late.prepare = [prepare = late.prepare](failure_world &world) {
    prepare(world);
    delete_collision_surfaces();
  };
  late.refusals = {"silent", "100 COLLISION"};
  return late;
}

TEST(AllocationFailure, Collisions) {
  expect_survived(
      {collision_case(8), collision_case(16), collision_case(32), late_collision_case()});
}

} // namespace

// Graph libraries in memory: numbering, new graphs, copies, exact counts.
#include <gtest/gtest.h>

#include "graph_files.h"
#include "surface/depth_tables.h"

namespace {

struct Library : library_test {};

TEST_F(Library, NumbersAndLibraryZero) {
  const int32_t loose = host.call(ORB_map_new, 4, 4);
  ASSERT_EQ(host.call(ORB_fpg_new_map, 0, 7, 2, 2), 7);
  EXPECT_EQ(contents(0), "2 graphs, 1232 bytes: 7 1000");
  EXPECT_EQ(ask(ORB_fpg_exists, 0), "0");
  EXPECT_EQ(ask(ORB_fpg_unload, 0), "0"); // not in use: nothing is freed
  EXPECT_EQ(ask(ORB_fpg_new), "0");       // takes number 0, with its graphs below 1000
  EXPECT_EQ(contents(0), "1 graphs, 632 bytes: 1000");
  for (int32_t number = 1; number < 6; ++number)
    EXPECT_EQ(ask(ORB_fpg_new), std::to_string(number));
  EXPECT_EQ(max_fpg, 8);
  EXPECT_EQ(fpgs_loaded, 6);
  EXPECT_EQ(ask(ORB_fpg_unload, 3), "1");
  EXPECT_EQ(fpg[3].slots, nullptr);
  EXPECT_EQ(ask(ORB_fpg_unload, 3), "0");
  EXPECT_EQ(ask(ORB_fpg_new), "3");
  disk.files["g.fpg"] = fpg_file(32, three_graphs(32));
  ASSERT_EQ(host.call(ORB_fpg_new_map, 0, 8, 2, 2), 8);
  EXPECT_EQ(ask(ORB_fpg_unload, 0), "1");
  EXPECT_EQ(contents(0), "1 graphs, 1248 bytes: 1000"); // the total is unchanged
  EXPECT_EQ(answer(load("g.fpg")), "0");
  EXPECT_EQ(contents(0), "4 graphs, " + std::to_string(632 + 3 * 616 + 4 * 12 + 4 * (6 + 1 + 20)) +
                             " bytes: 1 12 999 1000");
  EXPECT_EQ(ask(ORB_fpg_unload, -1), "6");
  EXPECT_EQ(fpgs_loaded, 0);
  EXPECT_EQ(fpg[0].map_count, 1);
  EXPECT_EQ(ask(ORB_map_exists, 0, loose), "1");
  EXPECT_EQ(ask(ORB_fpg_unload, -2), "failure: 109 FPG_UNLOAD 1 -2");
  EXPECT_EQ(ask(ORB_fpg_unload, 8), "failure: 109 FPG_UNLOAD 1 8");
}

TEST_F(Library, NewGraphsInLibraries) {
  ASSERT_EQ(ask(ORB_fpg_new), "0");
  ASSERT_EQ(ask(ORB_fpg_new), "1");
  set_depth(16);
  EXPECT_EQ(ask(ORB_fpg_new_map, 1, 3, 5, 4), "3");
  EXPECT_EQ(points_of(*slot_of(1, 3).surface), "0: 2,2-");
  EXPECT_EQ(slot_of(1, 3).id, 3u);
  EXPECT_EQ(pixels_in(*slot_of(1, 3).surface), std::vector<uint32_t>(20, 0));
  EXPECT_EQ(contents(1), "1 graphs, 632 bytes: 3");
  EXPECT_EQ(ask(ORB_fpg_new_map, 1, 3, 2, 1, 4, 0, 9, 1), "failure: 155 FPG_NEW_MAP 5 4");
  EXPECT_EQ(ask(ORB_fpg_new_map, 1, 3, 2, 1, 1, 0, 9, 1), "3");
  EXPECT_EQ(points_of(*slot_of(1, 3).surface), "1: 1,0");
  EXPECT_EQ(slot_of(1, 3).surface->alpha_channel, 1);
  EXPECT_EQ(pixels_in(*slot_of(1, 3).surface), std::vector<uint32_t>(2, 9));
  EXPECT_EQ(contents(1), "1 graphs, 1248 bytes: 3"); // the former graph's memory stays counted
  EXPECT_EQ(ask(ORB_fpg_new_map, 1, 4, 2, 2, 7), "4");
  EXPECT_EQ(ask(ORB_fpg_new_map, 1, 4, 2, 2, 7, 1), "4");
  EXPECT_EQ(slot_of(1, 4).surface->alpha_channel, 1);

  const registry_state before = state();
  EXPECT_EQ(ask(ORB_fpg_new_map, -1, 0, 0, 0), "failure: 109 FPG_NEW_MAP 1 -1");
  EXPECT_EQ(ask(ORB_fpg_new_map, 4, 1, 1, 1), "failure: 109 FPG_NEW_MAP 1 4");
  EXPECT_EQ(ask(ORB_fpg_new_map, 1, 0, 0, 0), "failure: 110 FPG_NEW_MAP 2 0");
  EXPECT_EQ(ask(ORB_fpg_new_map, 1, 1000, 1, 1), "failure: 110 FPG_NEW_MAP 2 1000");
  EXPECT_EQ(ask(ORB_fpg_new_map, 1, 1, 0, 0), "failure: 153 FPG_NEW_MAP 3 0");
  EXPECT_EQ(ask(ORB_fpg_new_map, 1, 1, 1, -7), "failure: 153 FPG_NEW_MAP 4 -7");
  EXPECT_EQ(ask(ORB_fpg_new_map, 1, 1, 65536, 1), "failure: 100 FPG_NEW_MAP 1 1");
  EXPECT_EQ(ask(ORB_fpg_new_map, 1, 1, 1, 1, 65536), "failure");
  EXPECT_EQ(ask(ORB_fpg_new_map, 1, 1, 2, 2, 0, -1, 0), "failure: 155 FPG_NEW_MAP 6 -1");
  EXPECT_EQ(ask(ORB_fpg_new_map, 1, 1, 2, 2, 0, 2), "failure");
  EXPECT_EQ(ask(ORB_fpg_new_map, 2, 1, 1, 1), "failure: 111 FPG_NEW_MAP 1 2");
  set_depth(8);
  EXPECT_EQ(ask(ORB_fpg_new_map, 1, 1, 1, 1, 256), "failure: 154 FPG_NEW_MAP 7 256");
  EXPECT_EQ(state().counts, before.counts);
  EXPECT_EQ(state().memory, before.memory);
  EXPECT_EQ(state().surfaces, before.surfaces);
}

TEST_F(Library, CopiesAndClones) {
  disk.files["g.fpg"] = fpg_file(32, three_graphs(32));
  host.call(ORB_fpg_new);
  ASSERT_EQ(load("g.fpg"), 1);
  ASSERT_EQ(ask(ORB_fpg_new), "2");
  EXPECT_EQ(ask(ORB_fpg_add_map, 2, 50, 1, 1), "50");
  EXPECT_EQ(points_of(*slot_of(2, 50).surface), points_of(*slot_of(1, 1).surface));
  EXPECT_EQ(bytes_of(*slot_of(2, 50).surface), bytes_of(*slot_of(1, 1).surface));
  EXPECT_EQ(slot_of(2, 50).surface->alpha_channel, 1);
  EXPECT_EQ(slot_of(2, 50).code, 50);
  EXPECT_EQ(slot_of(2, 50).id, 1u);
  EXPECT_STREQ(slot_of(2, 50).name, "one.map");
  EXPECT_EQ(contents(2), "1 graphs, 692 bytes: 50");
  EXPECT_EQ(ask(ORB_fpg_add_map, 2, 50, 1, 12), "50"); // subtracts the former graph
  EXPECT_EQ(contents(2), "1 graphs, 636 bytes: 50");
  const int32_t loose = host.call(ORB_map_new, 2, 2);
  EXPECT_EQ(ask(ORB_fpg_add_map, 0, 5, 0, loose), "5"); // loose graphs of library 0 may
  EXPECT_EQ(ask(ORB_fpg_add_map, 0, 6, 0, 5), "failure");
  EXPECT_EQ(ask(ORB_fpg_add_map, 1, 2, 1, 1), "failure");
  EXPECT_EQ(ask(ORB_fpg_add_map, 4, 1, 1, 1), "failure: 109 FPG_ADD_MAP 1 4");
  EXPECT_EQ(ask(ORB_fpg_add_map, 2, 1000, 1, 1), "failure: 110 FPG_ADD_MAP 2 1000");
  EXPECT_EQ(ask(ORB_fpg_add_map, 2, 1, -1, 1), "failure: 109 FPG_ADD_MAP 3 -1");
  EXPECT_EQ(ask(ORB_fpg_add_map, 2, 1, 1, 1000), "failure: 110 FPG_ADD_MAP 4 1000");
  EXPECT_EQ(ask(ORB_fpg_add_map, 2, 1, 0, max_map), "failure: 110 FPG_ADD_MAP 4 1256");
  EXPECT_EQ(ask(ORB_fpg_add_map, 3, 1, 1, 1), "failure: 111 FPG_ADD_MAP 1 3");
  EXPECT_EQ(ask(ORB_fpg_add_map, 2, 1, 1, 2), "failure");
  EXPECT_EQ(ask(ORB_fpg_add_map, 2, 1, 3, 2), "failure");

  EXPECT_EQ(ask(ORB_fpg_clone, 1), "3");
  EXPECT_EQ(contents(3), contents(1));
  for (const stored_graph &graph : three_graphs(32))
    EXPECT_EQ(bytes_of(*slot_of(3, int32_t(graph.code)).surface), pixels_of(graph));
  EXPECT_EQ(ask(ORB_fpg_clone, 0), "4"); // without the loose graphs
  EXPECT_EQ(contents(4), "1 graphs, 632 bytes: 5");
  EXPECT_EQ(ask(ORB_fpg_clone, -1), "failure: 109 FPG_CLONE 1 -1");
  EXPECT_EQ(ask(ORB_fpg_clone, 8), "failure: 109 FPG_CLONE 1 8");
  // Deeper than the screen: refused, and nothing remains.
  set_depth(16);
  const registry_state before = state();
  EXPECT_EQ(ask(ORB_fpg_clone, 1), "failure: 100 CLONE_FPG 1 1");
  EXPECT_EQ(ask(ORB_fpg_add_map, 2, 50, 1, 1), "failure: 100 FPG_ADD_MAP 1 2");
  EXPECT_EQ(state(), before);
  // Library 0 supplies its graphs even while its number is free.
  EXPECT_EQ(ask(ORB_fpg_unload, 0), "1");
  ASSERT_EQ(ask(ORB_fpg_new_map, 0, 9, 1, 1), "9");
  EXPECT_EQ(ask(ORB_fpg_clone, 0), "5");
  EXPECT_NE(slot_of(5, 9).surface, nullptr);
  EXPECT_NE(slot_of(0, 9).surface, nullptr);
}

TEST_F(Library, CopiesAreConvertedUpward) {
  for (int from : {8, 16})
    for (int to : {16, 32}) {
      if (from == to) continue;
      set_depth(from);
      host.call(ORB_fpg_unload, -1);
      stored_graph graph{from, 7, 3, 2, "", "", {{1, 1}}, true, {}};
      disk.files["g.fpg"] = fpg_file(from, {graph});
      host.call(ORB_fpg_new);
      ASSERT_EQ(load("g.fpg"), 1);
      ASSERT_EQ(ask(ORB_fpg_new), "2");
      set_depth(to);
      ASSERT_EQ(ask(ORB_fpg_add_map, 2, 3, 1, 2), "3");
      const __ORBSurface2D__ &copy = *slot_of(2, 3).surface;
      EXPECT_EQ(copy.depth, to);
      EXPECT_EQ(copy.alpha_channel, 0);
      EXPECT_EQ(points_of(copy), "1: 1,1");
      EXPECT_EQ(slot_of(2, 3).memory_usage, slot_of(1, 2).memory_usage);
      if (from == 16) {
        EXPECT_EQ(pixels_in(copy), expected_pixels(graph, to, 1));
        continue;
      }
      std::vector<uint32_t> expected;
      for (const uint8_t index : pixels_of(graph))
        expected.push_back(to == 16 ? table_color8to16[index] : table_color8to32[index]);
      EXPECT_EQ(pixels_in(copy), expected);
    }
}

TEST_F(Library, QuestionsAndSingleGraphs) {
  host.call(ORB_fpg_new);
  ASSERT_EQ(ask(ORB_fpg_new), "1");
  struct {
    int32_t (*handler)();
    const char *name, *empty, *full;
  } const rows[] = {
      {ORB_fpg_is_empty, "FPG_IS_EMPTY", "1", "0"},
      {ORB_fpg_is_full, "FPG_IS_FULL", "0", "1"},
      {ORB_fpg_get_nummaps, "FPG_GET_NUMMAPS", "0", "999"},
      {ORB_fpg_get_memoryusage, "FPG_GET_MEMORYUSAGE", "16", "615400"},
  };
  for (const auto &row : rows) {
    EXPECT_EQ(ask(row.handler, 1), row.empty) << row.name;
    const std::string failed = row.handler == ORB_fpg_get_memoryusage ? "0" : "failure";
    EXPECT_EQ(ask(row.handler, -5), failed + ": 109 " + row.name + " 1 -5");
    EXPECT_EQ(ask(row.handler, 4), failed + ": 109 " + row.name + " 1 4");
  }
  for (int32_t code = 1; code < 1000; ++code)
    ASSERT_EQ(host.call(ORB_fpg_new_map, 1, code, 1, 1), code);
  for (const auto &row : rows)
    EXPECT_EQ(ask(row.handler, 1), row.full) << row.name;
  EXPECT_EQ(ask(ORB_fpg_unload_map, 1, 998), "1");
  EXPECT_EQ(ask(ORB_fpg_unload_map, 1, 998), "0");
  EXPECT_EQ(ask(ORB_fpg_unload_map, 2, 998), "0");
  EXPECT_EQ(ask(ORB_fpg_unload_map, 4, 998), "failure: 109 FPG_UNLOAD_MAP 1 4");
  EXPECT_EQ(ask(ORB_fpg_unload_map, 1, 1000), "failure: 110 FPG_UNLOAD_MAP 2 1000");
  EXPECT_EQ(ask(ORB_fpg_is_full, 1), "0");
  EXPECT_EQ(ask(ORB_fpg_get_memoryusage, 1), std::to_string(615400 - 616));
  EXPECT_EQ(ask(ORB_fpg_exists, 1), "1");
  EXPECT_EQ(ask(ORB_fpg_exists, -1), "0");
  EXPECT_EQ(ask(ORB_fpg_exists, 4), "0");
  EXPECT_EQ(ask(ORB_fpg_unload, 1), "1");
  EXPECT_EQ(ask(ORB_fpg_get_nummaps, 1), "0");
  EXPECT_EQ(ask(ORB_fpg_get_memoryusage, 1), std::to_string(615400 - 616)); // unchanged
}

#if defined(__has_feature)
#if __has_feature(address_sanitizer)
#define ORB_UNDER_ASAN 1
#endif
#endif

// Big graphs, so that the pixels are what runs out of memory. Endless streams deliver them.
TEST_F(Library, NoMemory) {
#ifdef ORB_UNDER_ASAN
  GTEST_SKIP() << "the sanitizer's allocator doesn't fail";
#else
  constexpr rlim_t little = 1 << 20,
                   some = 24 << 20; // some: 16 MB of indices fit, but not their colours
  stored_graph graph{8, 4096, 4096, 5, "", "", {{1, 1}}, false, {1}};
  disk.files["8.map"] = map_file(graph);
  disk.files["8.fpg"] = fpg_file(8, {graph});
  graph.depth = 32;
  disk.files["32.map"] = map_file(graph);
  disk.files["32.fpg"] = fpg_file(32, {graph});
  disk.endless = true;
  host.call(ORB_fpg_new);
  const registry_state before = state();
  for (const auto &[file, bytes] : {std::pair{"8", little}, {"8", some}, {"32", some}}) {
    const std::string map = std::string(file) + ".map", fpg_name = std::string(file) + ".fpg";
    const memory_limit limit(bytes);
    EXPECT_EQ(ask(ORB_map_load, map.c_str()), "failure: 100 MAP_LOAD 1 '" + map + "'");
    EXPECT_EQ(ask(ORB_image_load, map.c_str()), bytes == some && *file == '8'
                                                    ? "failure: 100 IMAGE_LOAD 1 '" + map + "'"
                                                    : "failure: 144 IMAGE_LOAD 1 '" + map + "'");
    EXPECT_EQ(ask(ORB_fpg_load_map, fpg_name.c_str(), 2, 5),
              "failure: 100 FPG_LOAD_MAP 1 '" + fpg_name + "'");
    EXPECT_EQ(state(), before);
    EXPECT_EQ(ask(ORB_fpg_load, fpg_name.c_str()), "failure: 100 FPG_LOAD 1 '" + fpg_name + "'");
    EXPECT_EQ(state().surfaces, before.surfaces);
    EXPECT_EQ(fpg[1].in_use, 0);
    fpg[1].memory_usage = 0;
    EXPECT_EQ(ask(ORB_map_new, 4096, 4096), "failure: 100 MAP_NEW 1 4096");
  }
  const int32_t loose = host.call(ORB_map_new, 3000, 3000);
  ASSERT_EQ(host.call(ORB_fpg_add_map, 0, 5, 0, loose), 5);
  const registry_state two = state();
  const memory_limit limit(some);
  EXPECT_EQ(ask(ORB_map_clone, 0, loose), "failure: 100 MAP_CLONE 1 0");
  EXPECT_EQ(ask(ORB_fpg_add_map, 0, 6, 0, loose), "failure: 100 FPG_ADD_MAP 1 0");
  EXPECT_EQ(ask(ORB_fpg_new_map, 0, 6, 3000, 3000), "failure: 100 FPG_NEW_MAP 1 0");
  EXPECT_EQ(ask(ORB_fpg_new_map, 0, 5, 3000, 3000), "failure: 100 FPG_NEW_MAP 1 0");
  EXPECT_EQ(ask(ORB_fpg_clone, 0), "failure: 100 CLONE_FPG 1 0");
  EXPECT_EQ(state(), two);
#endif
}

} // namespace

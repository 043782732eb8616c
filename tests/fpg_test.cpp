// FPG files: bytes, exact counts, odd entries, and every way in which loading fails.
#include <gtest/gtest.h>

#include "graph_files.h"

namespace {

struct Fpg : library_test {};

// ---- Files --------------------------------------------------------------------------------------

TEST_F(Fpg, BytesAtEveryDepth) {
  for (int depth : {8, 16, 32}) {
    set_depth(depth);
    palette_loaded = 0;
    const std::vector<stored_graph> graphs = three_graphs(depth);
    const file_bytes file = fpg_file(depth, graphs);
    disk.files["a.fpg"] = file;
    const int32_t number = load("a.fpg");
    ASSERT_EQ(number, depth / 16); // 0, 1, 2: library 0 comes first
    uint32_t memory = 16;
    for (const stored_graph &graph : graphs) {
      const orb_map_slot &slot = slot_of(number, int32_t(graph.code));
      ASSERT_NE(slot.surface, nullptr);
      EXPECT_EQ(slot.code, int32_t(graph.code));
      EXPECT_EQ(slot.id, graph.code);
      EXPECT_EQ(slot.description, graph.description);
      EXPECT_EQ(slot.name, graph.name);
      EXPECT_EQ(slot.surface->alpha_channel, graph.alpha);
      EXPECT_EQ(bytes_of(*slot.surface), pixels_of(graph));
      EXPECT_EQ(slot.memory_usage,
                616 + 12 * graph.points.size() + graph.w * graph.h * uint32_t(depth) / 8);
      memory += slot.memory_usage;
    }
    EXPECT_EQ(points_of(*slot_of(number, 1).surface), "2: 1,0 65535,65535- 2,7");
    EXPECT_EQ(points_of(*slot_of(number, 12).surface), "0: 0,0-");
    EXPECT_EQ(contents(number), "3 graphs, " + std::to_string(memory) + " bytes: 1 12 999");
    EXPECT_EQ(ask(ORB_fpg_save, number, "b.fpg"), "1");
    EXPECT_EQ(disk.files["b.fpg"], file);
  }
  EXPECT_EQ(fpgs_loaded, 3);
  EXPECT_EQ(maps_loaded, 0);
}

TEST_F(Fpg, TheOldLayout) {
  set_depth(8);
  std::vector<stored_graph> graphs = three_graphs(8);
  graphs[0].description = std::string(40, 'd');
  graphs[0].name = "twelve_chars";
  disk.files["old.fpg"] = fpg_file(8, graphs, 2, true);
  ASSERT_EQ(load("old.fpg"), 0);
  graphs[0].description.resize(31);
  graphs[0].name.resize(11);
  EXPECT_EQ(ask(ORB_fpg_save, 0, "new.fpg"), "1");
  EXPECT_EQ(disk.files["new.fpg"], fpg_file(8, graphs, 2));
}

TEST_F(Fpg, DepthsOfFilesAndScreens) {
  for (int file_depth : {8, 16, 32}) {
    const std::vector<stored_graph> graphs = three_graphs(file_depth);
    disk.files["g.fpg"] = fpg_file(file_depth, graphs, 3);
    for (int screen_depth : {8, 16, 32}) {
      set_depth(screen_depth);
      const int32_t number = load("g.fpg");
      if (file_depth > screen_depth) {
        EXPECT_EQ(answer(number), "failure: 106 FPG_LOAD 1 'g.fpg'");
        continue;
      }
      ASSERT_EQ(number, 0) << answer(number);
      for (const stored_graph &graph : graphs) {
        const orb_map_slot &slot = slot_of(number, int32_t(graph.code));
        EXPECT_EQ(pixels_in(*slot.surface), expected_pixels(graph, screen_depth, 3));
        EXPECT_EQ(slot.surface->depth, screen_depth);
        EXPECT_EQ(slot.surface->alpha_channel, graph.alpha && file_depth == screen_depth);
        EXPECT_EQ(slot.surface->has_cpoints, graph.points.size() - (graph.code == 1));
        EXPECT_EQ(slot.memory_usage,
                  616 + 12 * graph.points.size() + graph.w * graph.h * uint32_t(screen_depth) / 8);
      }
      EXPECT_EQ(host.call(ORB_fpg_unload, 0), 1);
    }
  }
}

TEST_F(Fpg, PalettesAreAdoptedAndForced) {
  set_depth(8);
  stored_graph graph{8, 16, 16, 7, "", "", {}, false, {}};
  for (int i = 0; i < 256; ++i)
    graph.pixels.push_back(uint8_t(i));
  disk.files["1.fpg"] = fpg_file(8, {graph}, 1);
  disk.files["2.fpg"] = fpg_file(8, {graph}, 2);
  palette_update = fake_ghost_table = force_sys_fnt = 0;
  ASSERT_EQ(load("1.fpg"), 0);
  EXPECT_TRUE(palette_loaded && palette_update && fake_ghost_table && force_sys_fnt);
  EXPECT_EQ(palette->colours[255].g, component(766, 1) * 4);
  ASSERT_EQ(load("2.fpg"), 1);
  EXPECT_EQ(palette->colours[255].g, component(766, 1) * 4);
  EXPECT_EQ(bytes_of(*slot_of(1, 7).surface), graph.pixels);
  ASSERT_EQ(host.call(ORB_palette_force, "1.fpg"), 1);
  ASSERT_EQ(load("1.fpg"), 2);
  EXPECT_EQ(image_palette_crc, palette_crc);
  EXPECT_EQ(bytes_of(*slot_of(2, 7).surface), graph.pixels);
  ASSERT_EQ(load("2.fpg"), 3);
  const file_bytes remapped = bytes_of(*slot_of(3, 7).surface);
  EXPECT_EQ(remapped, file_bytes(forced_palette_map, forced_palette_map + 256));
  EXPECT_NE(remapped, graph.pixels);
  ASSERT_EQ(host.call(ORB_fpg_load_map, "2.fpg", 2, 7), 7);
  EXPECT_EQ(bytes_of(*slot_of(2, 7).surface), remapped);
}

TEST_F(Fpg, CompressedAndEncipheredStreams) {
  set_depth(16);
  disk.files["p.fpg"] = fpg_file(16, three_graphs(16));
  ASSERT_EQ(load("p.fpg"), 0);
  for (int compression : {0, 1, -1, 77})
    for (const char *key : {static_cast<const char *>(nullptr), "", "k"}) {
      disk.modes.clear();
      ASSERT_EQ(ask(ORB_fpg_save, 0, "s.fpg", compression, key), "1");
      EXPECT_EQ(disk.modes, std::vector<int32_t>{compression ? 8 : 2});
      for (int32_t piece : {INT32_MAX, 3}) {
        disk.largest_piece = piece;
        ASSERT_EQ(host.call(ORB_fpg_load, "s.fpg", key), 1) << answer(0);
        for (const stored_graph &graph : three_graphs(16))
          EXPECT_EQ(bytes_of(*slot_of(1, int32_t(graph.code)).surface), pixels_of(graph));
        EXPECT_EQ(host.call(ORB_fpg_unload, 1), 1);
        // The last graph, after two that are skipped by seeking, or by reading where the host
        // cannot seek.
        for (const bool seekable : {true, false}) {
          disk.seekable = seekable;
          ASSERT_EQ(host.call(ORB_fpg_load_map, "s.fpg", key, 1, 999), 999);
          EXPECT_EQ(bytes_of(*slot_of(1, 999).surface), pixels_of(three_graphs(16)[2]));
        }
        disk.seekable = true;
        EXPECT_EQ(host.call(ORB_fpg_unload, 1), 1);
      }
      disk.largest_piece = INT32_MAX;
      if (!key || !*key) continue;
      EXPECT_EQ(answer(load("s.fpg")), "failure: 193 FPG_LOAD 2 's.fpg'");
      EXPECT_EQ(ask(ORB_fpg_load, "s.fpg", ""), "failure: 193 FPG_LOAD 2 's.fpg'");
      EXPECT_EQ(ask(ORB_fpg_load_map, "s.fpg", 1, 1), "failure: 193 FPG_LOAD_MAP 2 's.fpg'");
      EXPECT_EQ(contents(1).substr(0, 8), "0 graphs");
    }
}

TEST_F(Fpg, OddEntries) {
  set_depth(8);
  const std::vector<stored_graph> graphs = three_graphs(8);
  stored_graph twice = graphs[0], foreign = graphs[2];
  twice.pixels = {9, 8, 7, 6, 5, 4};
  twice.points.clear();
  foreign.code = 0;
  // The second graph of a code frees the first.
  disk.files["twice.fpg"] = fpg_file(8, {graphs[0], graphs[1], twice});
  const uint32_t surfaces = gfxsurfaces->count;
  ASSERT_EQ(load("twice.fpg"), 0);
  EXPECT_EQ(contents(0), "2 graphs, 1255 bytes: 1 12");
  EXPECT_EQ(bytes_of(*slot_of(0, 1).surface), twice.pixels);
  EXPECT_EQ(gfxsurfaces->count, surfaces + 2);
  // After an unknown code the reader takes pixels for entries: the rest is lost, and loading ends.
  disk.files["foreign.fpg"] = fpg_file(8, {graphs[0], foreign, graphs[1]});
  ASSERT_EQ(load("foreign.fpg"), 1);
  EXPECT_EQ(contents(1), "1 graphs, 674 bytes: 1");
  // Without points and pixels it does no harm.
  foreign.w = 0;
  foreign.points.clear();
  disk.files["bare.fpg"] = fpg_file(8, {foreign, graphs[1]});
  ASSERT_EQ(load("bare.fpg"), 2);
  EXPECT_EQ(contents(2), "1 graphs, 633 bytes: 12");
  EXPECT_EQ(ask(ORB_fpg_load_map, "bare.fpg", 3, 12), "0"); // loading stops there
  // Trailing bytes that are no entry, and a host that never reports the end.
  file_bytes tail = fpg_file(8, graphs);
  tail.insert(tail.end(), {1, 0, 0});
  disk.files["tail.fpg"] = tail;
  for (const bool tells : {true, false}) {
    disk.tells_end = tells;
    const int32_t number = load("tail.fpg");
    ASSERT_GE(number, 3) << answer(number);
    EXPECT_EQ(fpg[number].map_count, 3);
  }
  host.file.at_end = nullptr;
  ASSERT_EQ(load("tail.fpg"), 6);
  EXPECT_EQ(fpg[6].map_count, 3);
  disk.files["empty.fpg"] = fpg_file(8, {});
  EXPECT_EQ(ask(ORB_fpg_load, "empty.fpg"), "7");
  EXPECT_EQ(contents(7), "0 graphs, 16 bytes:");
}

TEST_F(Fpg, AStreamWithoutAnEnd) {
  disk.files["e.fpg"] = fpg_file(32, three_graphs(32));
  disk.tells_end = false;
  disk.endless = true;
  EXPECT_EQ(answer(load("e.fpg")), "0");
  EXPECT_EQ(fpg[0].map_count, 3);
}

// ---- fpg_load_map -------------------------------------------------------------------------------

TEST_F(Fpg, LoadingOneGraph) {
  disk.files["g.fpg"] = fpg_file(32, three_graphs(32));
  const int32_t loaded = fpgs_loaded;
  EXPECT_EQ(ask(ORB_fpg_load_map, "g.fpg", 2, 999), "999");
  EXPECT_EQ(contents(2), "1 graphs, 724 bytes: 999");
  EXPECT_EQ(points_of(*slot_of(2, 999).surface), "1: 4,3");
  EXPECT_EQ(fpg[2].in_use, 1);
  EXPECT_EQ(fpgs_loaded, loaded + 1);
  EXPECT_EQ(ask(ORB_fpg_load_map, "g.fpg", nullptr, 2, 12), "12");
  EXPECT_EQ(ask(ORB_fpg_load_map, "g.fpg", 2, 999), "999"); // frees the existing one
  EXPECT_EQ(contents(2), "2 graphs, 1344 bytes: 12 999");
  EXPECT_EQ(fpgs_loaded, loaded + 1);
  EXPECT_EQ(ask(ORB_fpg_load_map, "g.fpg", 2, 13), "0");
  EXPECT_EQ(contents(2), "2 graphs, 1344 bytes: 12 999");
  EXPECT_EQ(ask(ORB_fpg_load_map, "g.fpg", 3, 13), "0"); // created, and empty
  EXPECT_EQ(contents(3), "0 graphs, 16 bytes:");
  EXPECT_EQ(fpg[3].in_use, 1);
  EXPECT_EQ(ask(ORB_fpg_load_map, "g.fpg", 0, 1), "1"); // library 0 always exists
  EXPECT_EQ(contents(0), "1 graphs, 676 bytes: 1");
  EXPECT_EQ(fpg[0].in_use, 0);

  EXPECT_EQ(ask(ORB_fpg_load_map, "g.fpg", -1, 1), "failure: 109 FPG_LOAD_MAP 2 -1");
  EXPECT_EQ(ask(ORB_fpg_load_map, "g.fpg", nullptr, 4, 1), "failure: 109 FPG_LOAD_MAP 2 4");
  EXPECT_EQ(ask(ORB_fpg_load_map, "g.fpg", 1, 0), "failure: 110 FPG_LOAD_MAP 3 0");
  EXPECT_EQ(ask(ORB_fpg_load_map, "g.fpg", nullptr, 1, 1000), "failure: 110 FPG_LOAD_MAP 3 1000");
  EXPECT_EQ(ask(ORB_fpg_load_map, "none", 1, 1), "failure: 105 FPG_LOAD_MAP 1 'none'");
  EXPECT_EQ(ask(ORB_fpg_load_map, nullptr, 1, 1), "failure: 105 FPG_LOAD_MAP 1 ''");
  set_depth(16);
  EXPECT_EQ(ask(ORB_fpg_load_map, "g.fpg", 1, 1), "failure: 106 FPG_LOAD_MAP 1 'g.fpg'");
  EXPECT_EQ(fpg[1].in_use, 0);
}

// ---- Failures -----------------------------------------------------------------------------------

TEST_F(Fpg, EveryTruncation) {
  for (int depth : {8, 16}) {
    set_depth(depth);
    const file_bytes whole = fpg_file(depth, three_graphs(depth));
    const size_t head = depth == 8 ? 8 + 1344 : 8;
    // A file may end after the head and after each graph, and within the code of a further one.
    std::set<size_t> ends;
    size_t at = head, last = head;
    for (const stored_graph &graph : three_graphs(depth)) {
      last = at;
      for (size_t i = 0; i < 4; ++i)
        ends.insert(at + i);
      at += 536 + 4 * graph.points.size() + graph.w * graph.h * size_t(depth) / 8;
    }
    const uint32_t surfaces = gfxsurfaces->count;
    host.call(ORB_fpg_new); // number 0; the loads below all take number 1
    for (size_t size = 0; size < whole.size(); ++size) {
      // Changing the palette or a graph's texts makes no difference.
      const size_t in_entry = size < head ? 0 : size - *std::prev(ends.upper_bound(size)) + 3;
      if ((size > 40 && size + 40 < head) || (in_entry > 20 && in_entry < 500)) size += 30;
      disk.files["t.fpg"] = {whole.begin(), whole.begin() + ptrdiff_t(size)};
      const int32_t loaded = fpgs_loaded;
      if (ends.contains(size)) {
        ASSERT_EQ(answer(load("t.fpg")), "1") << size;
        EXPECT_EQ(fpgs_loaded, loaded + 1);
        ASSERT_EQ(ask(ORB_fpg_unload, 1), "1");
      } else {
        ASSERT_EQ(answer(load("t.fpg")), "failure: 106 FPG_LOAD 1 't.fpg'") << size;
        ASSERT_EQ(fpgs_loaded, loaded);
        ASSERT_EQ(ask(ORB_fpg_exists, 1), "0");
        ASSERT_EQ(ask(ORB_map_exists, 1, 1), "0");
      }
      const registry_state before = state();
      // The last graph. Truncated earlier, it can look like the end of the file.
      const std::string one = ask(ORB_fpg_load_map, "t.fpg", 2, 999);
      const bool reported = one == "failure: 106 FPG_LOAD_MAP 1 't.fpg'";
      if (size < head || size >= last + 4)
        ASSERT_TRUE(reported) << size << ": " << one;
      else
        ASSERT_TRUE(reported || one == "0") << size << ": " << one;
      if (reported) ASSERT_EQ(state(), before) << size;
      host.call(ORB_fpg_unload, 2);
    }
    // Graphs that failed loads left under number 1 are freed when the number is taken.
    ASSERT_EQ(ask(ORB_fpg_new), "1");
    EXPECT_EQ(contents(1), "0 graphs, 16 bytes:");
    EXPECT_EQ(gfxsurfaces->count, surfaces);
    EXPECT_EQ(ask(ORB_fpg_unload, -1), "2");
  }
}

TEST_F(Fpg, EveryFailingCall) {
  const file_bytes plain = fpg_file(32, three_graphs(32));
  file_bytes marked = plain;
  marked.insert(marked.begin(), gz, gz + 8);
  disk.files["p.fpg"] = plain;
  disk.files["c.fpg"] = memory_files::packed(marked);
  host.call(ORB_fpg_new);
  for (const char *name : {"p.fpg", "c.fpg"}) {
    std::map<std::string, int> answers;
    const uint32_t surfaces = gfxsurfaces->count;
    for (int call = 1;; ++call) {
      disk.calls = 0;
      disk.failing_call = call;
      const int32_t number = load(name);
      const std::string answered = answer(number);
      ++answers[answered];
      if (number == 1) {
        const bool whole = fpg[1].map_count == 3;
        ASSERT_EQ(ask(ORB_fpg_unload, 1), "1"); // ended where an entry begins
        if (whole) break;
      }
      ASSERT_LT(call, 50);
    }
    disk.failing_call = INT_MAX;
    const std::string quoted = " 1 '" + std::string(name) + "'";
    EXPECT_EQ(answers["failure: 105 FPG_LOAD" + quoted], 1);
    EXPECT_EQ(answers["failure: 105 LOAD_FPG" + quoted], name[0] == 'c'); // the older name
    EXPECT_GT(answers["failure: 106 FPG_LOAD" + quoted], 5);
    ASSERT_EQ(ask(ORB_fpg_new), "1");
    ASSERT_EQ(ask(ORB_fpg_unload, 1), "1");
    EXPECT_EQ(gfxsurfaces->count, surfaces);
  }
  disk.files["c.fpg"] = memory_files::packed(marked);
  for (int call = 1; call < 8; ++call) {
    disk.calls = 0;
    disk.failing_call = call;
    const std::string answered = ask(ORB_fpg_load_map, "c.fpg", 1, 1);
    EXPECT_EQ(answered.find("LOAD_FPG"), std::string::npos) << answered;
  }
  disk.failing_call = INT_MAX;
  ASSERT_EQ(load("p.fpg"), 1);
  for (int call = 1;; ++call) {
    disk.calls = 0;
    disk.failing_call = call;
    const std::string answered = ask(ORB_fpg_save, 1, "w.fpg", 1, "key");
    if (answered == "1") break;
    ASSERT_EQ(answered, "failure: 123 FPG_SAVE 2 'w.fpg'");
    ASSERT_LT(call, 50);
  }
}

TEST_F(Fpg, HugeClaims) {
  const auto claim = [this](uint32_t w, uint32_t h) {
    byte_builder out;
    out.text(magic("fpg", 32, false), 8);
    put_entry(out, {32, 2, 2, 5, "", "", {}, false, {}});
    for (size_t i = 0; i < 4; ++i) {
      out.bytes[8 + 4 + 4 + 256 + 260 + i] = uint8_t(w >> 8 * i);
      out.bytes[8 + 4 + 4 + 256 + 260 + 4 + i] = uint8_t(h >> 8 * i);
    }
    disk.files["h.fpg"] = out.bytes;
    disk.largest_read = 0;
    return ask(ORB_fpg_load_map, "h.fpg", 1, 6) + "; " + ask(ORB_fpg_load, "h.fpg");
  };
  // A skipped entry is merely absent; a read one has an invalid size, or one too big for the file.
  EXPECT_EQ(claim(0xFFFFFFFF, 0xFFFFFFFF), "0; failure: 100 FPG_LOAD 1 'h.fpg'");
  EXPECT_EQ(claim(65535, 65535), "0; failure: 100 FPG_LOAD 1 'h.fpg'");
  EXPECT_EQ(claim(65536, 1), "0; failure: 100 FPG_LOAD 1 'h.fpg'");
  EXPECT_EQ(claim(0, 3), "0; failure: 100 FPG_LOAD 1 'h.fpg'");
  EXPECT_EQ(claim(20000, 20000), "0; failure: 106 FPG_LOAD 1 'h.fpg'");
  EXPECT_LT(disk.largest_read, 1000);
}

// The fuzz targets' seeds and former crashers: none leaves anything behind.
TEST_F(Fpg, FilesOfTheFuzzTargets) {
  int loaded = 0;
  for (const char *kind : {"map", "fpg"})
    for (const auto &entry : std::filesystem::directory_iterator(data_path("corpus/") + kind)) {
      disk.files["x"] = read_file(entry.path());
      for (int32_t depth : {8, 16, 32})
        for (const char *key : {static_cast<const char *>(nullptr), "", "key"}) {
          set_depth(depth);
          loaded += host.call(ORB_map_load, "x", key) >= 0;
          loaded += host.call(ORB_fpg_load, "x", key) >= 0;
          loaded += host.call(ORB_fpg_load_map, "x", key, 2, 7) >= 0;
          loaded += host.call(ORB_image_load, "x", key) >= 0;
        }
      host.call(ORB_map_unload, -1);
      host.call(ORB_fpg_unload, -1);
      host.call(ORB_fpg_new); // takes the number of the failed loads
      ASSERT_EQ(gfxsurfaces->count, 2u) << entry.path();
      host.call(ORB_fpg_unload, -1);
    }
  EXPECT_GT(loaded, 100);
}

TEST_F(Fpg, ReportsOfLoadingAndSaving) {
  EXPECT_EQ(answer(load("none")), "failure: 105 FPG_LOAD 1 'none'");
  EXPECT_EQ(ask(ORB_fpg_load, nullptr, nullptr), "failure: 105 FPG_LOAD 1 ''");
  disk.files["m.map"] = map_file({32, 1, 1, 1, "", "", {}, false, {}});
  EXPECT_EQ(answer(load("m.map")), "failure: 106 FPG_LOAD 1 'm.map'");
  EXPECT_EQ(ask(ORB_fpg_save, -1, "o"), "failure: 109 FPG_SAVE 1 -1");
  EXPECT_EQ(ask(ORB_fpg_save, 4, "o", 1, ""), "failure: 109 FPG_SAVE 1 4");
  EXPECT_EQ(ask(ORB_fpg_save, 2, "o"), "0");
  ASSERT_EQ(ask(ORB_fpg_new), "0");
  ASSERT_EQ(ask(ORB_fpg_new), "1");
  EXPECT_EQ(ask(ORB_fpg_save, 1, "o"), "0");
  EXPECT_FALSE(disk.files.contains("o"));
  ASSERT_EQ(ask(ORB_fpg_new_map, 1, 5, 2, 2), "5");
  EXPECT_EQ(ask(ORB_fpg_save, 1, ""), "failure: 123 FPG_SAVE 2 ''");
  set_depth(16);
  EXPECT_EQ(ask(ORB_fpg_save, 1, "o"), "failure: 123 FPG_SAVE 2 'o'");
  EXPECT_FALSE(disk.files.contains("o"));
}

} // namespace

// MAP files: their bytes, loading at each depth, and every way to fail.
#include <gtest/gtest.h>

#include "formats/codec.h"
#include "formats/map_file.h"
#include "graph_files.h"
#include "surface/nearest_colour.h"

namespace {

struct MapFile : graph_file_test {
  int32_t load(const char *name, const char *key) { return host.call(ORB_map_load, name, key); }
  int32_t load(const char *name) { return host.call(ORB_map_load, name); }
  std::string save(int32_t code, const char *name) { return ask(ORB_map_save, 0, code, name); }

  /// A graph of 3 x 2 pixels at the screen's depth, as the file of that name holds it.
  stored_graph small_graph(int depth) const {
    return {depth, 3, 2, 42, "a ship", "ship.map", {{1, 0}, {65535, 65535}, {2, 7}}, true, {}};
  }
};

// ---- Bytes --------------------------------------------------------------------------------------

TEST_F(MapFile, BytesAtEveryDepth) {
  for (int depth : {8, 16, 32}) {
    set_depth(depth);
    const stored_graph graph = small_graph(depth);
    const file_bytes file = map_file(graph);
    disk.files["in/ship.map"] = file;
    const int32_t code = load("in/ship.map");
    ASSERT_GE(code, 1000) << answer(code);
    const orb_map_slot &loaded = slot(code);
    EXPECT_EQ(loaded.code, code);
    EXPECT_EQ(loaded.id, 42u);
    EXPECT_STREQ(loaded.description, "a ship");
    EXPECT_STREQ(loaded.name, "ship.map");
    EXPECT_EQ(points_of(*loaded.surface), "2: 1,0 65535,65535- 2,7");
    EXPECT_EQ(loaded.surface->alpha_channel, 1);
    EXPECT_EQ(bytes_of(*loaded.surface), pixels_of(graph));
    EXPECT_EQ(loaded.memory_usage, 604u + 2 * 12 + 6u * uint32_t(depth) / 8);
    EXPECT_EQ(image_loaded[code - 1000], img_format_map);
    EXPECT_EQ(save(code, "out.map"), "1");
    EXPECT_EQ(disk.files["out.map"], file) << depth; // at 8 bits with the palette in force
  }
}

TEST_F(MapFile, ThePaletteAndTheOldLayout) {
  set_depth(8);
  palette_loaded = 0; // as in a fresh program
  stored_graph graph = small_graph(8);
  graph.points.clear();
  graph.alpha = false;
  graph.description = std::string(40, 'd'); // longer than the old layout holds
  disk.files["old.map"] = map_file(graph, 3, true);
  const int32_t code = load("old.map");
  ASSERT_EQ(code, 1000);
  EXPECT_EQ(slot(code).description, std::string(31, 'd'));
  EXPECT_EQ(points_of(*slot(code).surface), "0: 1,1-");
  EXPECT_EQ(palette->colours[5].g, component(16, 3) * 4);
  graph.description.resize(31);
  EXPECT_EQ(save(code, "new.map"), "1");
  EXPECT_EQ(disk.files["new.map"], map_file(graph, 3, false));
}

TEST_F(MapFile, ThePointsThatAreWritten) {
  set_depth(16);
  const auto points_in_file = [this](int32_t code) {
    EXPECT_EQ(save(code, "p.map"), "1");
    const file_bytes &file = disk.files["p.map"];
    std::string line;
    for (size_t at = 272; at + 2 <= file.size() - 4 * 2; at += 2)
      line += std::to_string(file[at] + 256 * file[at + 1]) + " ";
    return line;
  };
  const int32_t plain = host.call(ORB_map_new, 2, 2);
  const int32_t centred = host.call(ORB_map_new, 2, 2, 1, 0, 5, 1);
  EXPECT_EQ(points_in_file(plain), "0 ");
  EXPECT_EQ(points_in_file(centred), "4097 1 0 ");

  const auto set_points = [](int32_t code, std::vector<uint32_t> points, uint32_t defined) {
    __ORBSurface2D__ &surface = *slot(code).surface;
    surface.cpoints = static_cast<uint32_t *>(realloc(surface.cpoints, points.size() * 4));
    std::copy(points.begin(), points.end(), surface.cpoints);
    surface.cpoint_last = uint32_t(points.size() / 3 - 1);
    surface.has_cpoints = defined;
  };
  // Every record unchanged, defined or not.
  set_points(plain, {1, 1, 0, 65535, 9, 0, 70000, uint32_t(-3), 1}, 1);
  EXPECT_EQ(points_in_file(plain), "3 1 1 65535 9 4464 65533 ");
  EXPECT_EQ(load("p.map"), 1002);
  EXPECT_EQ(points_of(*slot(1002).surface), "2: 1,1 65535,9- 4464,65533");
  EXPECT_EQ(points_in_file(1002), "3 1 1 65535 9 4464 65533 ");
  set_points(plain, {1, 1, 0, 9, 9, 0}, 0);
  EXPECT_EQ(points_in_file(plain), "0 ");
  // More than the count word can hold.
  std::vector<uint32_t> many;
  for (uint32_t i = 0; i < 5000; ++i)
    many.insert(many.end(), {i, i + 1, 1});
  set_points(plain, many, 5000);
  EXPECT_EQ(points_in_file(plain).substr(0, 12), "4095 0 1 1 2");
  EXPECT_EQ(disk.files["p.map"].size(), 272u + 2 + 4 * 4095 + 8);
  EXPECT_EQ(load("p.map"), 1003);
  EXPECT_EQ(slot(1003).surface->has_cpoints, 4095u);
}

// ---- Depths and palettes ------------------------------------------------------------------------

TEST_F(MapFile, DepthsOfFilesAndScreens) {
  for (int file_depth : {8, 16, 32}) {
    const stored_graph graph{file_depth, 5, 7, 1, "", "", {{0, 0}, {4, 4}}, true, {}};
    disk.files["g.map"] = map_file(graph);
    for (int screen_depth : {8, 16, 32}) {
      set_depth(screen_depth);
      const registry_state before = state();
      const int32_t code = load("g.map");
      if (file_depth > screen_depth) {
        EXPECT_EQ(answer(code), "failure: 144 MAP_LOAD 1 'g.map'");
        EXPECT_EQ(state(), before);
        continue;
      }
      ASSERT_GE(code, 1000) << answer(code);
      const __ORBSurface2D__ &surface = *slot(code).surface;
      EXPECT_EQ(surface.depth, screen_depth);
      EXPECT_EQ(surface.alpha_channel, file_depth == screen_depth);
      EXPECT_EQ(points_of(surface), "2: 0,0 4,4");
      EXPECT_EQ(pixels_in(surface), expected_pixels(graph, screen_depth, 1));
      EXPECT_EQ(slot(code).memory_usage, 604u + 24 + 35u * uint32_t(screen_depth) / 8);
      EXPECT_EQ(gfxsurfaces->count, before.surfaces + 1);
    }
  }
}

TEST_F(MapFile, PalettesAreAdoptedForcedAndToldApart) {
  set_depth(8);
  stored_graph graph{8, 16, 16, 1, "", "", {}, false, {}};
  for (int i = 0; i < 256; ++i)
    graph.pixels.push_back(uint8_t(i));
  disk.files["1.map"] = map_file(graph, 1);
  disk.files["2.map"] = map_file(graph, 2);
  palette_update = fake_ghost_table = force_sys_fnt = 0;
  ASSERT_EQ(load("1.map"), 1000);
  EXPECT_TRUE(palette_loaded && palette_update && fake_ghost_table && force_sys_fnt);
  ASSERT_EQ(load("2.map"), 1001);
  EXPECT_EQ(bytes_of(*slot(1001).surface), graph.pixels); // nothing forced: unchanged
  EXPECT_EQ(palette->colours[1].b, component(5, 1) * 4);

  ASSERT_EQ(host.call(ORB_palette_force, "1.map"), 1);
  ASSERT_EQ(load("1.map"), 1002);
  EXPECT_EQ(image_palette_crc, palette_crc);
  EXPECT_EQ(bytes_of(*slot(1002).surface), graph.pixels);
  ASSERT_EQ(load("2.map"), 1003);
  EXPECT_NE(image_palette_crc, palette_crc);
  const file_bytes remapped = bytes_of(*slot(1003).surface);
  int moved = 0;
  for (size_t i = 1; i < 256; ++i) {
    const auto own = [i](size_t c) { return component(3 * i + c, 2) * 4; };
    const orb_rgb &same = palette->colours[i];
    const bool kept = same.r == own(0) && same.g == own(1) && same.b == own(2);
    ASSERT_EQ(remapped[i], kept ? i : find_nearest(palette, own(0), own(1), own(2)));
    moved += remapped[i] != i;
  }
  EXPECT_EQ(remapped[0], 0);
  EXPECT_GT(moved, 100);
}

// ---- Streams ------------------------------------------------------------------------------------

TEST_F(MapFile, CompressedAndEncipheredStreams) {
  const file_bytes gz{'g', 'z', '!', 0x1A, 0x0D, 0x0A, 0xFF, 0};
  const file_bytes ge{'g', 'e', '!', 0x1A, 0x0D, 0x0A, 0xFF, 0};
  const file_bytes check{'g', 'e', '!', 'e',  'n',  'c',  'r',  'y',
                         'p', 't', '7', 0x1A, 0x0D, 0x0A, 0xFF, 0};
  for (int depth : {8, 16, 32}) {
    set_depth(depth);
    palette_loaded = 0;
    const stored_graph graph = small_graph(depth);
    const file_bytes plain = map_file(graph);
    disk.files["plain.map"] = plain;
    const int32_t code = load("plain.map");
    ASSERT_GE(code, 1000);
    for (int compression : {-1, 0, 1})
      for (const char *key : {static_cast<const char *>(nullptr), "", "secret"}) {
        disk.modes.clear();
        ASSERT_EQ(ask(ORB_map_save, 0, code, "s.map", compression, key), "1");
        EXPECT_EQ(disk.modes, std::vector<int32_t>{compression == 1 ? 8 : 2});
        const bool enciphered = key && *key;
        byte_builder expected;
        if (compression == 1) expected.raw(gz);
        if (enciphered) expected.raw(ge).raw(check);
        expected.raw(plain);
        const size_t size = expected.bytes.size(), pixels = graph.w * graph.h * uint32_t(depth) / 8;
        for (size_t i = 0; enciphered && i < size; ++i) {
          const size_t check_at = compression == 1 ? 16 : 8;
          const bool ciphered = (i >= check_at && i < check_at + 16) || i >= size - pixels;
          if (ciphered)
            expected.bytes[i] = uint8_t(expected.bytes[i] + memory_files::cipher_byte(key, i));
        }
        const file_bytes &file = disk.files["s.map"];
        EXPECT_EQ(compression == 1 ? memory_files::unpacked(file) : file, expected.bytes);

        for (int32_t piece : {INT32_MAX, 5, 1}) {
          disk.largest_piece = piece;
          const int32_t back = host.call(ORB_map_load, "s.map", key);
          ASSERT_GE(back, 1000) << answer(back);
          EXPECT_EQ(bytes_of(*slot(back).surface), pixels_of(graph));
          EXPECT_EQ(points_of(*slot(back).surface), points_of(*slot(code).surface));
          // The universal loader supports the same streams.
          EXPECT_GE(host.call(ORB_image_load, "s.map", key), 1000);
        }
        disk.largest_piece = INT32_MAX;
        if (!enciphered) continue;
        EXPECT_EQ(answer(load("s.map")), "failure: 194 MAP_LOAD 1 's.map'");
        EXPECT_EQ(answer(load("s.map", "")), "failure: 194 MAP_LOAD 1 's.map'");
        EXPECT_EQ(ask(ORB_image_load, "s.map"), "failure: 144 IMAGE_LOAD 1 's.map'");
        EXPECT_EQ(ORB_CheckMAPHeader("s.map", nullptr), 1); // the probe does not check it
        const int32_t noise = load("s.map", "other");
        ASSERT_GE(noise, 1000) << answer(noise);
        EXPECT_NE(bytes_of(*slot(noise).surface), pixels_of(graph));
      }
    // An empty key opens a file whose check is plain, and its pixels are plain too.
    disk.files["e.map"] = byte_builder{}.raw(ge).raw(check).raw(plain).bytes;
    const int32_t back = load("e.map", "");
    ASSERT_GE(back, 1000) << answer(back);
    EXPECT_EQ(bytes_of(*slot(back).surface), pixels_of(graph));
    EXPECT_EQ(answer(load("e.map")), "failure: 194 MAP_LOAD 1 'e.map'");
  }
}

// ---- Failures -----------------------------------------------------------------------------------

TEST_F(MapFile, EveryTruncation) {
  for (const bool compressed : {false, true}) {
    for (int depth : {8, 32}) {
      set_depth(depth);
      palette_loaded = 0;
      file_bytes whole = map_file(small_graph(depth));
      if (compressed) whole.insert(whole.begin(), {'g', 'z', '!', 0x1A, 0x0D, 0x0A, 0xFF, 0});
      for (size_t size = 0; size < whole.size(); ++size) {
        const file_bytes cut(whole.begin(), whole.begin() + ptrdiff_t(size));
        disk.files["t.map"] = compressed ? memory_files::packed(cut) : cut;
        const registry_state before = state();
        ASSERT_EQ(answer(load("t.map")), "failure: 144 MAP_LOAD 1 't.map'") << size;
        ASSERT_EQ(state(), before) << size;
        ASSERT_EQ(image_data, nullptr);
      }
    }
  }
}

TEST_F(MapFile, EveryFailingCall) {
  const stored_graph graph = small_graph(32);
  const file_bytes plain = map_file(graph);
  disk.files["p.map"] = plain;
  disk.files["c.map"] = memory_files::packed(
      byte_builder{}.raw({'g', 'z', '!', 0x1A, 0x0D, 0x0A, 0xFF, 0}).raw(plain).bytes);
  for (const char *name : {"p.map", "c.map"}) {
    const registry_state before = state();
    std::map<int32_t, int> errors;
    for (int call = 1;; ++call) {
      disk.calls = 0;
      disk.failing_call = call;
      reset_image();
      if (ORB_LoadMAP(name, nullptr)) break;
      ++errors[image_error];
      ASSERT_LT(call, 50);
      disk.calls = 0;
      EXPECT_EQ(host.call(ORB_map_load, name), INT32_MIN);
      host.errors.clear();
      EXPECT_EQ(state(), before);
    }
    reset_image();
    disk.failing_call = INT_MAX;
    // The file is opened, rewound or reopened, and read in few pieces: markers (3), magic, header,
    // control-point word, points, pixels; the second open has its own report.
    EXPECT_EQ(errors[143], 1) << name;
    EXPECT_EQ(errors[105], name[0] == 'c') << name;
    EXPECT_LT(errors[144], 12) << name;
  }
  const int32_t code = load("p.map");
  for (int call = 1;; ++call) {
    disk.calls = 0;
    disk.failing_call = call;
    const std::string answered = ask(ORB_map_save, 0, code, "w.map", 1, "key");
    if (answered == "1") break;
    ASSERT_EQ(answered, "failure: 123 MAP_SAVE 3 'w.map'");
    ASSERT_LT(call, 50);
  }
}

// A small file can claim 16 GB; when its end is visible, nothing is allocated.
TEST_F(MapFile, HugeClaims) {
  stored_graph graph{32, 4, 4, 1, "", "", {}, false, {}};
  const auto claim = [&](uint32_t w, uint32_t h, const char *name) {
    file_bytes file = map_file(graph);
    file[8] = uint8_t(w), file[9] = uint8_t(w >> 8), file[10] = uint8_t(h),
    file[11] = uint8_t(h >> 8);
    disk.files[name] = file;
    disk.largest_read = 0;
    return answer(load(name));
  };
  EXPECT_EQ(claim(65535, 65535, "h.map"), "failure: 100 MAP_LOAD 1 'h.map'"); // over the limit
  EXPECT_EQ(claim(20000, 20000, "h.map"), "failure: 144 MAP_LOAD 1 'h.map'");
  EXPECT_LT(disk.largest_read, 1000);
  EXPECT_EQ(claim(0, 4, "h.map"), "failure: 100 MAP_LOAD 1 'h.map'");
  EXPECT_EQ(claim(4, 0, "h.map"), "failure: 100 MAP_LOAD 1 'h.map'");
  // A host that cannot seek there delivers what it has.
  graph.w = graph.h = 600;
  disk.files["big.map"] = map_file(graph);
  for (const bool seekable : {true, false}) {
    disk.seekable = seekable;
    const int32_t code = load("big.map");
    ASSERT_GE(code, 1000) << answer(code);
    EXPECT_EQ(bytes_of(*slot(code).surface), pixels_of(graph));
    EXPECT_EQ(disk.largest_read, 600 * 600 * 4); // in one piece
  }
}

TEST_F(MapFile, ReportsOfLoadingSavingAndCloning) {
  set_depth(16);
  disk.files["none.map"] = {'m', 'a', 'p', 0x1A, 0x0D, 0x16, 1, 0};
  EXPECT_EQ(answer(load("missing.map")), "failure: 144 MAP_LOAD 1 'missing.map'");
  EXPECT_EQ(answer(load("none.map")), "failure: 144 MAP_LOAD 1 'none.map'");
  EXPECT_EQ(answer(load(nullptr, nullptr)), "failure: 144 MAP_LOAD 1 ''");
  ASSERT_EQ(host.call(ORB_map_new, 2, 3), 1000);
  EXPECT_EQ(ask(ORB_map_save, -1, 1, "o"), "failure: 109 MAP_SAVE 1 -1");
  EXPECT_EQ(ask(ORB_map_save, 0, 0, "o", 0, nullptr), "failure: 110 MAP_SAVE 2 0");
  EXPECT_EQ(ask(ORB_map_save, 1, 5, "o"), "failure: 111 MAP_SAVE 1 1");
  EXPECT_EQ(ask(ORB_map_save, 0, 1001, "o"), "failure: 121 MAP_SAVE 2 1001");
  EXPECT_EQ(ask(ORB_map_save, 0, 1000, ""), "failure: 123 MAP_SAVE 3 ''");
  EXPECT_EQ(ask(ORB_map_save, 0, 1000, "o", 2, nullptr), "failure");
  EXPECT_EQ(ask(ORB_map_save, 0, 1000, "o", -2, nullptr), "failure");
  EXPECT_EQ(ask(ORB_map_clone, 4, 5), "failure: 109 MAP_CLONE 1 4");
  EXPECT_EQ(ask(ORB_map_clone, 0, max_map), "failure: 110 MAP_CLONE 2 1256");
  EXPECT_EQ(ask(ORB_map_clone, 0, 5), "failure: 121 MAP_CLONE 2 5");
  EXPECT_TRUE(disk.files.contains("none.map") && !disk.files.contains("o"));
  // Made before a mode change: going up, a copy is converted, going down, it is refused; savers
  // refuse.
  set_depth(32);
  EXPECT_EQ(ask(ORB_map_save, 0, 1000, "o"), "failure: 123 MAP_SAVE 3 'o'");
  EXPECT_EQ(ask(ORB_image_save, 0, 1000, "o", img_format_map), "failure: 123 IMAGE_SAVE 3 'o'");
  EXPECT_EQ(ask(ORB_map_clone, 0, 1000), "1001");
  EXPECT_EQ(slot(1001).surface->depth, 32);
  set_depth(8);
  const registry_state before = state();
  EXPECT_EQ(ask(ORB_map_clone, 0, 1000), "failure: 100 MAP_CLONE 1 0");
  EXPECT_EQ(state(), before);
  EXPECT_FALSE(disk.files.contains("o"));
}

// ---- Graphs -------------------------------------------------------------------------------------

TEST_F(MapFile, ClonesCountWhatTheirSourceCounts) {
  disk.files["g.map"] = map_file(small_graph(32));
  const int32_t source = load("g.map");
  const registry_state before = state();
  const int32_t code = host.call(ORB_map_clone, 0, source);
  ASSERT_EQ(code, source + 1);
  const orb_map_slot &clone = slot(code), &original = slot(source);
  EXPECT_EQ(clone.code, code);
  EXPECT_EQ(clone.id, original.id);
  EXPECT_STREQ(clone.description, original.description);
  EXPECT_STREQ(clone.name, original.name);
  EXPECT_EQ(clone.memory_usage, original.memory_usage);
  EXPECT_EQ(clone.surface->alpha_channel, 1);
  EXPECT_EQ(points_of(*clone.surface), points_of(*original.surface));
  EXPECT_EQ(bytes_of(*clone.surface), bytes_of(*original.surface));
  EXPECT_NE(clone.surface->cpoints, original.surface->cpoints);
  EXPECT_EQ(state().memory[0] - before.memory[0], original.memory_usage);
  EXPECT_EQ(state().counts[0] - before.counts[0], 1);
  EXPECT_EQ(state().maps - before.maps, 1);
  EXPECT_EQ(image_loaded[code - 1000], 1);
  // The source's slots move when the library grows for the copy.
  while (GetMAPCode(0) < 1256)
    ASSERT_GE(host.call(ORB_map_new, 1, 1), 0);
  ASSERT_EQ(host.call(ORB_map_clone, 0, source), 1256);
  EXPECT_EQ(bytes_of(*slot(1256).surface), bytes_of(*slot(source).surface));
  EXPECT_EQ(host.call(ORB_map_unload, -1), 257);
  EXPECT_EQ(fpg[0].memory_usage, 0u);
}

TEST_F(MapFile, QuestionsAboutAGraph) {
  disk.files["g.map"] = map_file(small_graph(32));
  ASSERT_EQ(load("g.map"), 1000);
  struct {
    int32_t (*handler)();
    const char *name, *answer;
  } const numbers[] = {
      {ORB_map_get_width, "MAP_GET_WIDTH", "3"},
      {ORB_map_get_height, "MAP_GET_HEIGHT", "2"},
      {ORB_map_get_numcpoints, "MAP_GET_NUMCPOINTS", "2"},
      {ORB_map_has_alphachannel, "MAP_HAS_ALPHACHANNEL", "1"},
      {ORB_map_get_memoryusage, "MAP_GET_MEMORYUSAGE", "652"},
  };
  for (const auto &row : numbers) {
    const std::string name = row.name;
    const char *bad_file = row.handler == ORB_map_get_memoryusage ? "0" : "failure";
    EXPECT_EQ(ask(row.handler, 0, 1000), row.answer) << name;
    EXPECT_EQ(ask(row.handler, -1, 1), bad_file + (": 109 " + name + " 1 -1"));
    EXPECT_EQ(ask(row.handler, 4, 1), bad_file + (": 109 " + name + " 1 4"));
    EXPECT_EQ(ask(row.handler, 1, 1000), "failure: 110 " + name + " 2 1000");
    EXPECT_EQ(ask(row.handler, 0, 0), "failure: 110 " + name + " 2 0");
    EXPECT_EQ(ask(row.handler, 3, 1), "failure: 111 " + name + " 1 3");
    EXPECT_EQ(ask(row.handler, 0, 1001), "failure: 121 " + name + " 2 1001");
  }
  const char *const infos[] = {"3", "2", "1", "0", "2", "1"};
  for (int32_t info = 0; info < 6; ++info)
    EXPECT_EQ(ask(ORB_graphic_info, 0, 1000, info), infos[info]);
  for (int32_t info : {-1, 6})
    EXPECT_EQ(ask(ORB_graphic_info, 0, 1000, info), "failure: 110 GRAPHIC_INFO 2 1000");
  EXPECT_EQ(ask(ORB_graphic_info, 9, 1, 7), "failure: 109 GRAPHIC_INFO 1 9");

  EXPECT_EQ(ask_text(ORB_map_get_desc, 0, 1000), "a ship");
  EXPECT_EQ(ask_text(ORB_map_get_name, 0, 1000), "g.map");
  EXPECT_EQ(ask_text(ORB_map_get_desc, 9, 1000), "(null): 109 MAP_GET_DESC 1 9");
  EXPECT_EQ(ask_text(ORB_map_get_name, 0, 7), "(null): 121 MAP_GET_NAME 2 7");
  const std::string longest(300, 'x');
  EXPECT_EQ(ask(ORB_map_set_desc, 0, 1000, longest.c_str()), "1");
  EXPECT_EQ(ask(ORB_map_set_name, 0, 1000, "other"), "1");
  EXPECT_EQ(ask_text(ORB_map_get_desc, 0, 1000), longest.substr(0, 255));
  EXPECT_EQ(ask_text(ORB_map_get_name, 0, 1000), "other");
  EXPECT_EQ(ask(ORB_map_set_desc, 0, 1000, ""), "1");
  EXPECT_EQ(ask_text(ORB_map_get_desc, 0, 1000), "");
  EXPECT_EQ(ask(ORB_map_set_name, 0, 1001, "x"), "failure: 121 MAP_SET_NAME 2 1001");
  EXPECT_EQ(ask(ORB_map_set_desc, -3, 1, "x"), "failure: 109 MAP_SET_DESC 1 -3");

  EXPECT_EQ(ask(ORB_map_exists, 0, 1000), "1");
  const int32_t missing[][2] = {{0, 1001}, {0, 0},     {0, -1}, {0, 99999},
                                {1, 5},    {-1, 1000}, {70, 1}};
  for (const auto &pair : missing)
    EXPECT_EQ(ask(ORB_map_exists, pair[0], pair[1]), "0");
}

} // namespace

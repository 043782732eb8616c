// The engine's own files through streams of a host that delivers small pieces, cannot seek, never
// ends, or fails from some call on.
#include <climits>
#include <cstring>

#include <gtest/gtest.h>

#include "support/world.h"
#include "surface/libraries.h"
#include "surface/surface.h"

namespace {

/// What the host's services do; the world puts itself between them and the module.
struct {
  orb_file_services real;
  int32_t calls = 0, failing_call = INT_MAX, largest_piece = INT_MAX, seeks = 0;
  bool seekable = true;
  file_bytes endless; // what every stream holds, repeated for ever behind the magic
  uint32_t position;
} streams;

bool fails() {
  return ++streams.calls >= streams.failing_call;
}

void stand_between(orbhost::Host &host) {
  streams = {.real = host.file_services};
  host.file_services.open = [](const char *name, int32_t mode, int32_t flags,
                               const char *key) -> void * {
    return fails() ? nullptr : streams.real.open(name, mode, flags, key);
  };
  host.file_services.read = [](void *to, int32_t size, int32_t count, int32_t cipher,
                               void *handle) {
    if (fails()) return 0;
    const int32_t bytes = std::min(size * count, streams.largest_piece);
    const file_bytes &endless = streams.endless;
    if (endless.empty()) return streams.real.read(to, 1, bytes, cipher, handle);
    const size_t at =
        streams.position < 8 ? streams.position : 8 + (streams.position - 8) % (endless.size() - 8);
    const size_t read = std::min(size_t(bytes), endless.size() - at);
    memcpy(to, &endless[at], read);
    streams.position += uint32_t(read);
    return int32_t(read);
  };
  host.file_services.write = [](const void *from, int32_t size, int32_t count, int32_t cipher,
                                void *handle) {
    const int32_t bytes = std::min(size * count, streams.largest_piece);
    return fails() ? 0 : streams.real.write(from, 1, bytes, cipher, handle);
  };
  host.file_services.seek = [](void *handle, int32_t offset, int32_t whence) {
    ++streams.seeks;
    if (fails() || (!streams.seekable && (offset != 0 || whence != SEEK_SET))) return -1;
    if (streams.endless.empty()) return streams.real.seek(handle, offset, whence);
    if (whence == SEEK_SET) streams.position = uint32_t(offset);
    return 0;
  };
  host.file_services.at_end = [](void *handle) {
    return streams.endless.empty() ? streams.real.at_end(handle) : 0;
  };
}

struct Streams : testing::Test {
  world w{{.prepare = stand_between}};
  Streams() {
    w.set_mode(16);
    w.host.call("map_new", {600, 900, 5}); // more than is allocated on trust
    w.host.call("fpg_new");
    w.host.call("fpg_new");
    for (const int32_t code : {1, 7, 999})
      w.host.call("fpg_new_map", {1, code, code % 5 + 90, 33, code});
  }
  uint32_t sum(int32_t file, int32_t graph) { return crc_of(*GetMAP(file, graph)->surface); }
};

TEST_F(Streams, InSmallPiecesAndWithoutSeeking) {
  for (const int32_t compression : {0, 1})
    for (const char *key : {"", "key"})
      for (const int32_t piece : {INT_MAX, 4096, 7}) {
        streams.largest_piece = piece;
        ASSERT_EQ(w.host.call("map_save", {0, 1000, "a.map", compression, key}), 1);
        ASSERT_EQ(w.host.call("fpg_save", {1, "a.fpg", compression, key}), 1);
        streams.seeks = 0;
        ASSERT_EQ(w.host.call("map_load", {"a.map", key}), 1001);
        if (compression) EXPECT_EQ(streams.seeks, 0); // each would cost another decompression
        EXPECT_EQ(sum(0, 1001), sum(0, 1000));
        ASSERT_EQ(w.host.call("fpg_load", {"a.fpg", key}), 2);
        for (const bool seekable : {true, false}) {
          streams.seekable = seekable;
          // The last graph, after two that are passed over.
          ASSERT_EQ(w.host.call("fpg_load_map", {"a.fpg", key, 2, 999}), 999);
          EXPECT_EQ(sum(2, 999), sum(1, 999));
          ASSERT_EQ(w.host.call("map_load", {"a.map", key}), seekable ? 1002 : 1003);
        }
        streams.seekable = true;
        w.host.call("fpg_unload", {2});
        for (const int32_t code : {1001, 1002, 1003})
          w.host.call("map_unload", {code});
      }
  w.set_mode(8);
  ASSERT_EQ(w.host.call("palette_save", {"a.pal"}), 1);
  ASSERT_EQ(w.host.call("palette_load", {"a.pal"}), 1);
  EXPECT_EQ(w.reports(), "");
}

TEST_F(Streams, ThatFailFromAnyCallOn) {
  const struct {
    std::string function, name;
    std::vector<orbhost::Argument> arguments;
  } rows[] = {{"map_load", "a.map", {"a.map", "key"}},
              {"map_load", "c.map", {"c.map"}},
              {"image_load", "c.map", {"c.map"}},
              {"fpg_load", "a.fpg", {"a.fpg"}},
              {"fpg_load", "c.fpg", {"c.fpg", "key"}},
              {"fpg_load_map", "a.fpg", {"a.fpg", 3, 999}},
              {"fpg_load_map", "c.fpg", {"c.fpg", "key", 3, 999}},
              {"map_save", "o", {0, 1000, "o", 1, "key"}},
              {"fpg_save", "o", {1, "o", 1, "key"}}};
  w.host.call("map_save", {0, 1000, "a.map", 0, "key"});
  w.host.call("map_save", {0, 1000, "c.map", 1, ""});
  w.host.call("fpg_save", {1, "a.fpg", 0, ""});
  w.host.call("fpg_save", {1, "c.fpg", 1, "key"});
  for (const auto &[function, name, arguments] : rows) {
    SCOPED_TRACE(function + " " + name);
    std::string seen;
    bool done = false;
    for (int32_t failing = 1; !done; failing++) {
      ASSERT_LT(failing, 60);
      const uint32_t surfaces = gfxsurfaces->count;
      streams.calls = 0;
      streams.failing_call = failing;
      const int32_t result = w.host.call(function, arguments);
      done = streams.calls < failing;
      streams.failing_call = INT_MAX;
      const std::string report = w.reports();
      seen += report.substr(0, report.find('"')) + ";";
      // An entry of a library that can't be read, or passed over, looks like its end.
      EXPECT_TRUE(result == INT32_MIN ? report.ends_with('"' + name + '"') : report.empty())
          << report;
      EXPECT_TRUE(done || result == INT32_MIN || function[0] == 'f');
      if (function == "fpg_load" && result > 0) w.host.call("fpg_unload", {result});
      if (function == "fpg_load_map") w.host.call("fpg_unload", {3});
      if (function[0] == 'f') w.host.call("fpg_unload", {w.host.call("fpg_new")});
      if (result >= 1000)
        w.host.call("image_unload", {result}), w.host.call("map_unload", {result});
      EXPECT_EQ(gfxsurfaces->count, surfaces);
      EXPECT_EQ(w.host.files().open_count(), 0u);
    }
    // A failure to open a library again is reported under the older name, but not by fpg_load_map.
    const bool again = name[0] == 'c' && function == "fpg_load";
    EXPECT_EQ(seen.find("105 LOAD_FPG 1 ") != std::string::npos, again) << seen;
    if (name == "c.map" && function == "map_load")
      EXPECT_NE(seen.find("105 MAP_LOAD 1 "), std::string::npos) << seen;
  }
}

// Offsets in streams are ints: what a host delivers beyond them is not read.
TEST_F(Streams, ThatNeverEnd) {
  w.host.call("fpg_save", {1, "a.fpg"});
  const std::pair<const char *, std::string> rows[] = {
      // Entries of a foreign code; graphs of 800 MB, which are passed over; graphs that are loaded.
      {"fpg_load", "00*5360"},
      {"fpg_load_map", "05 00*7 00*516 20 4E 00*2 20 4E 00*2 00*4"},
      {"fpg_load", "05 00*7 00*516 00 04 00*2 00 02 00*2 00*4 07*1048576"},
  };
  for (const auto &[function, entries] : rows) {
    streams.endless = bytes_from("\"fpg\" 1A 0D 16 00*2 " + entries);
    streams.position = 0;
    streams.calls = 0;
    streams.failing_call = 5'000'000;
    std::vector<orbhost::Argument> arguments = {"a.fpg"};
    if (function == std::string("fpg_load_map")) arguments.insert(arguments.end(), {1, 6});
    w.host.call(function, arguments);
    EXPECT_LT(streams.calls, streams.failing_call) << entries;
    EXPECT_EQ(w.host.files().open_count(), 0u);
  }
}

} // namespace

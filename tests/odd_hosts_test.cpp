// Hosts that leave out what they may leave out, or reply what no host should: the module goes on
// without what is missing, and never crashes, hangs or leaks.
#include <algorithm>
#include <climits>
#include <cstdio>
#include <cstring>
#include <functional>
#include <string>
#include <vector>

#include <gtest/gtest.h>
#include <zlib.h>

#include "fuzz/world.h"
#include "host/host.h"
#include "module/module.h"
#include "surface/registry.h"
#include "surface/surface.h"
#include "video/video.h"

namespace {

/// A host with the world's files, whose reports are nobody's business.
struct quiet_host : orbhost::Host {
  std::vector<std::string> fatals, boxes;

  quiet_host() {
    on_error = [](const orbhost::ErrorReport &) {};
    on_fatal = [this](int32_t, const std::string &text) { fatals.push_back(text); };
    on_exit = [](int32_t) {};
    on_message = [this](const std::string &text, const std::string &) { boxes.push_back(text); };
    files().on_loss = [](const std::string &, const std::string &) {};
    files().set_folder(fuzz::world_folder().path());
    device_system.scroll = &scroll_services;
    scroll_services.offset = [](int32_t, int32_t number, int32_t *x, int32_t *y) -> int32_t {
      *x = *y = number;
      return number == 3;
    };
    attach(ORB_mod_graphics2D_MainLibraryExports);
  }
  ~quiet_host() {
    release();
    fuzz::world_folder().restore();
  }
};

struct OddHosts : testing::Test {
  OddHosts() { fuzz::world_folder(); } // which is made by a host of its own
};

/// What a program sees of its calls and pictures.
struct diary {
  std::vector<int32_t> results, files, processes;
  std::vector<uint32_t> pictures;
};

void expect_same(const diary &seen, const diary &expected) {
  EXPECT_EQ(seen.results, expected.results);
  EXPECT_EQ(seen.files, expected.files);
  EXPECT_EQ(seen.processes, expected.processes);
  EXPECT_EQ(seen.pictures, expected.pictures);
}

/// Something of everything that asks the host for anything, at every depth.
diary tour(orbhost::Host &host) {
  diary seen;
  const char *const none = nullptr;
  int32_t memory[4]{};
  const auto frames = [&](int count) {
    for (int i = 0; i < count; ++i)
      host.frame();
    if (screen)
      seen.pictures.push_back(
          uint32_t(crc32(0, static_cast<uint8_t *>(screen->pixels), screen->byte_size)));
  };
  orb_process *const one = host.spawn(1), *const two = host.spawn(2);
  one->coordinates = 1;
  one->locals->graph = two->locals->graph = 1000;
  one->locals->x = two->locals->x = 20;
  one->locals->y = two->locals->y = 24;
  host.global("mouse", 1) = 1000;
  for (const int32_t depth : fuzz::depths)
    for (const int32_t type : {1, 2}) {
      const auto call = [&](const char *name, std::vector<orbhost::Argument> arguments) {
        seen.results.push_back(host.call(name, std::move(arguments)));
      };
      const auto file = [&](const char *name, std::vector<orbhost::Argument> arguments) {
        seen.files.push_back(host.call(name, std::move(arguments)));
        EXPECT_EQ(host.files().open_count(), 0u) << name;
      };
      const auto process = [&](const char *name, std::vector<orbhost::Argument> arguments) {
        const int32_t answer = host.call(name, std::move(arguments));
        seen.processes.push_back(answer == orbhost::ProcessList::id(one)   ? 1
                                 : answer == orbhost::ProcessList::id(two) ? 2
                                                                           : answer);
      };
      const std::string own = std::to_string(depth);
      call("mode_set", {64, 48, depth, type});
      call("map_new", {8, 8, depth == 8 ? 15 : depth == 16 ? 0xF81F : 0xFF00FF});
      call("set_fps", {50, 1});
      frames(3);
      host.processes().current = one;
      for (const int32_t target : {0, 2, -1})
        for (const char *kind : {"collision", "overlap"})
          process(kind, {target});
      process("collision", {one, two});
      process("collision", {20, 24, 0});
      process("get_dist", {two});
      process("advance", {two, 3});
      process("region_is_out", {two, 0});
      process("map_get_realcpoint", {0, memory, memory + 1});
      frames(1);
      file("map_load", {own + ".map"});
      file("map_load", {"c.map"});
      file("map_load", {"k.map", "key"});
      file("fpg_load", {own + ".fpg"});
      file("fpg_load", {"k.fpg", "key"});
      file("fpg_load_map", {own + ".fpg", 1, 2});
      for (const char *ending : {".png", ".bmp", ".pcx", ".tga", ".jpg"})
        file("image_load", {own + ending});
      file("load_pcx", {"8.pcx"});
      file("screen_load", {own + ".bmp"});
      file("screen_load", {own + ".map"});
      file("palette_load", {"8.pal"});
      file("palette_force", {"8.png"});
      file("palette_force", {none});
      file("palette_save", {"out.pal"});
      file("map_save", {0, 1000, "out.map", 1, "key"});
      file("fpg_save", {0, "out.fpg"});
      for (const int32_t format : {1, 2, 3, 4, 5, 6})
        file("image_save", {0, 1000, "out", format});
      frames(2);
      call("mode_change", {3 - type});
      call("mode_set_filter", {1, 17});
      frames(1);
      call("virtualresolution_set", {128, 96, 1, 1});
      frames(1);
      call("virtualresolution_set", {0, 0, 0, 0});
      call("mode_set", {320200});
      call("map_set_name", {0, 1000, none});
      seen.results.push_back(int32_t(host.call_text("map_get_name", {0, 1000}).size()));
      for (const char *unload : {"map_unload", "image_unload", "fpg_unload"})
        host.call(unload, {-1});
    }
  return seen;
}

diary tour_of(const std::function<void(quiet_host &)> &change) {
  quiet_host host;
  change(host);
  host.init();
  return tour(host);
}

// ---- What is missing ---------------------------------------------------------------------------

/// A pointer of the host's tables, and what changes for a program without it: 'f' the results of
/// functions on files, 'p' of those on processes, and pictures with either; else nothing.
struct pointer {
  const char *name;
  void *(*place)(quiet_host &host);
  char changes;
};
#define POINTER(member, changes)                                                                   \
  pointer {                                                                                        \
#member, [](quiet_host & host) -> void * { return &host.member; }, changes                     \
  }
const pointer pointers[] = {
    POINTER(device_system.full_screen, 0),
    POINTER(device_system.frame_rate, 0),
    POINTER(device_system.renderer_busy, 0),
    POINTER(device_system.window, 0),
    POINTER(device_system.file, 'f'),
    POINTER(device_system.input, 0),
    POINTER(device_system.timing, 0),
    POINTER(device_system.scroll, 'p'),
    POINTER(device_system.vsync, 0),
    POINTER(window_services.message_box, 0),
    POINTER(window_services.show_window, 0),
    POINTER(window_services.window_handle, 0),
    POINTER(window_services.move_window, 0),
    POINTER(file_services.path, 'f'),
    POINTER(file_services.open, 'f'),
    POINTER(file_services.read, 'f'),
    POINTER(file_services.write, 'f'),
    POINTER(file_services.seek, 'f'),
    POINTER(file_services.at_end, 0),
    POINTER(input_services.reset, 0),
    POINTER(input_services.grab_mouse, 0),
    POINTER(input_services.reread_window, 0),
    POINTER(input_services.centre_mouse, 0),
    POINTER(timing_services.set_fps, 0),
    POINTER(scroll_services.offset, 'p'),
    POINTER(process_services.proc_first, 'p'),
    POINTER(process_services.proc_current, 'p'),
    POINTER(process_services.proc_exists, 'p'),
    POINTER(video_hooks.mode_change, 0),
    POINTER(runtime.rt_processes, 'p'),
    POINTER(runtime.rt_video_hooks, 0),
};
#undef POINTER

void set_null(void *place) {
  memset(place, 0, sizeof(void *));
}

TEST_F(OddHosts, EachPointerNull) {
  const diary whole = tour_of([](quiet_host &) {});
  for (const pointer &missing : pointers) {
    SCOPED_TRACE(missing.name);
    const diary seen = tour_of([&](quiet_host &host) { set_null(missing.place(host)); });
    EXPECT_EQ(seen.results, whole.results);
    if (missing.changes != 'f') EXPECT_EQ(seen.files, whole.files);
    if (missing.changes != 'p') EXPECT_EQ(seen.processes, whole.processes);
    if (!missing.changes) EXPECT_EQ(seen.pictures, whole.pictures);
  }
}

TEST_F(OddHosts, AllPointersNull) {
  const auto all_failed = [](const std::vector<int32_t> &results) {
    return std::ranges::all_of(results, [](int32_t r) { return r == script_failure || r == 0; });
  };
  for (const bool record : {true, false}) {
    const diary seen = tour_of([&](quiet_host &host) {
      for (const pointer &missing : pointers)
        set_null(missing.place(host));
      if (!record) host.runtime.rt_device_system = nullptr;
    });
    EXPECT_EQ(seen.results.front(), 1) << "a window needs none of them";
    EXPECT_TRUE(all_failed(seen.processes));
  }
}

/// A full-screen flag that the last host had says nothing of this one.
TEST_F(OddHosts, NoFullScreenFlag) {
  {
    quiet_host host;
    host.full_screen = 1;
    host.init();
    EXPECT_EQ(full_screen, 1);
  }
  quiet_host host;
  host.device_system.full_screen = nullptr;
  host.init();
  EXPECT_EQ(full_screen, 0);
}

TEST_F(OddHosts, NullTexts) {
  quiet_host host;
  static std::vector<std::string> boxes;
  boxes.clear();
  host.window_services.message_box = [](const char *text, const char *title) {
    boxes.push_back(std::string(text ? text : "(null)") + "|" + (title ? title : "(null)"));
  };
  host.runtime.rt_program_name = [] { return static_cast<const char *>(nullptr); };
  host.device_system.desktop_width = 640;
  host.init();
  EXPECT_NE(host.call("mode_set", {1000, 700, 8, 2}), 1) << "larger than the desktop";
  EXPECT_EQ(boxes, std::vector<std::string>{"SetMode (FULLSCREEN)|"});
  host.call("map_new", {4, 4});
  EXPECT_STREQ(reinterpret_cast<const char *>(host.call("map_get_desc", {0, 1000})), "");
  host.runtime.rt_new_return_string = [] { return static_cast<char *>(nullptr); };
  EXPECT_EQ(host.call("map_get_desc", {0, 1000}), 0);
  EXPECT_EQ(host.call("map_get_name", {0, 77}), 0);
}

// ---- Streams -----------------------------------------------------------------------------------

orb_file_services honest; // the host's own services, which those below hand on to
int32_t largest_piece;
int64_t bytes_read, empty_reads;

int32_t read_piece(void *to, int32_t size, int32_t count, int32_t cipher, void *stream) {
  return honest.read(to, size, std::min(count, largest_piece), cipher, stream);
}
int32_t write_piece(const void *from, int32_t size, int32_t count, int32_t cipher, void *stream) {
  return honest.write(from, size, std::min(count, largest_piece), cipher, stream);
}

/// However small the pieces in which bytes are moved, they are the same bytes.
TEST_F(OddHosts, StreamsInPieces) {
  const auto by_pieces_of = [](int32_t size) {
    return tour_of([=](quiet_host &host) {
      honest = host.file_services;
      largest_piece = size;
      host.file_services.read = read_piece;
      host.file_services.write = write_piece;
    });
  };
  const diary whole = by_pieces_of(INT32_MAX);
  for (const int32_t size : {1, 7, 1000}) {
    SCOPED_TRACE(size);
    expect_same(by_pieces_of(size), whole);
  }
}

/// Streams that lie. Nothing of it reaches results that have nothing to do with files.
const struct {
  const char *name;
  void (*lie)(orb_file_services &services);
} lies[] = {
    {"reads -1",
     [](orb_file_services &s) {
       s.read = [](void *, int32_t, int32_t, int32_t, void *) { return ++empty_reads, -1; };
     }},
    {"reads nothing, and has no end",
     [](orb_file_services &s) {
       s.read = [](void *, int32_t, int32_t, int32_t, void *) { return ++empty_reads, 0; };
       s.at_end = [](void *) { return 0; };
     }},
    {"reads more than asked",
     [](orb_file_services &s) {
       s.read = [](void *to, int32_t size, int32_t count, int32_t cipher, void *stream) {
         const int32_t read = honest.read(to, size, count, cipher, stream);
         empty_reads += read == 0;
         return read + 1000;
       };
     }},
    {"is always at its end", [](orb_file_services &s) { s.at_end = [](void *) { return 1; }; }},
    {"is never at its end", [](orb_file_services &s) { s.at_end = [](void *) { return 0; }; }},
    {"seeks nowhere",
     [](orb_file_services &s) { s.seek = [](void *, int32_t, int32_t) { return -1; }; }},
    {"says it has sought",
     [](orb_file_services &s) { s.seek = [](void *, int32_t, int32_t) { return 0; }; }},
    {"writes -1",
     [](orb_file_services &s) {
       s.write = [](const void *, int32_t, int32_t, int32_t, void *) { return -1; };
     }},
    {"writes more than given",
     [](orb_file_services &s) {
       s.write = [](const void *, int32_t, int32_t, int32_t, void *) { return INT32_MAX; };
     }},
    {"has no paths",
     [](orb_file_services &s) {
       s.path = [](const char *, int32_t) { return static_cast<const char *>(nullptr); };
     }},
    {"has paths to a folder",
     [](orb_file_services &s) { s.path = [](const char *, int32_t) { return "/"; }; }},
    {"has paths to a file without a size",
     [](orb_file_services &s) { s.path = [](const char *, int32_t) { return "/dev/zero"; }; }},
    {"has paths to a full disk",
     [](orb_file_services &s) { s.path = [](const char *, int32_t) { return "/dev/full"; }; }},
};

TEST_F(OddHosts, LyingStreams) {
  const diary whole = tour_of([](quiet_host &) {});
  for (const auto &liar : lies) {
    SCOPED_TRACE(liar.name);
    empty_reads = 0;
    const diary seen = tour_of([&](quiet_host &host) {
      honest = host.file_services;
      liar.lie(host.file_services);
    });
    EXPECT_EQ(seen.results, whole.results);
    EXPECT_EQ(seen.processes, whole.processes);
    EXPECT_LT(empty_reads, 10000);
  }
}

/// Streams that deliver for ever, zeros or the file again and again, end at what an offset can
/// tell.
TEST_F(OddHosts, EndlessStreams) {
  static bool again;
  for (const bool repeats : {false, true}) {
    again = repeats;
    quiet_host host;
    honest = host.file_services;
    host.file_services.read = [](void *to, int32_t size, int32_t count, int32_t cipher,
                                 void *stream) -> int32_t {
      bytes_read += count;
      int32_t read = honest.read(to, size, count, cipher, stream);
      if (again && read == 0) {
        honest.seek(stream, 8, SEEK_SET); // behind the magic
        read = honest.read(to, size, count, cipher, stream);
      }
      if (again) return read;
      memset(static_cast<char *>(to) + read, 0, size_t(count - read));
      return count;
    };
    host.file_services.at_end = [](void *) { return 0; };
    host.init();
    host.call("mode_set", {64, 48, 8});
    for (const char *name : {"map_load", "fpg_load", "palette_load", "image_load"})
      for (const char *file : {"8.map", "8.fpg", "c.map", "c.fpg", "k.map", "8.pal"}) {
        bytes_read = 0;
        host.call(name, {file});
        EXPECT_LE(bytes_read, int64_t{1} << 31) << name << " " << file;
        EXPECT_EQ(host.files().open_count(), 0u) << name << " " << file;
      }
    bytes_read = 0;
    EXPECT_EQ(host.call("fpg_load_map", {"8.fpg", 3, 999}), 0);
    EXPECT_LE(bytes_read, int64_t{1} << 31);
  }
}

} // namespace

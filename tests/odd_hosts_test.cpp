// Hosts that omit optional services, or return values no host should: the module continues without
// them, and never crashes, hangs or leaks.
#include <algorithm>
#include <climits>
#include <cstdio>
#include <cstring>
#include <functional>
#include <random>
#include <string>
#include <vector>

#include <dlfcn.h>
#include <gtest/gtest.h>
#include <sys/stat.h>

#include "boundary/errors.h"
#include "fuzz/odd_host.h"
#include "fuzz/script_arguments.h"
#include "graphics_fixture.h"
#include "host_tour.h"

namespace {

struct OddHosts : testing::Test {
  OddHosts() { fuzz::world_folder(); } // created by its own host
};

trace tour_of(const std::function<void(null_host &)> &change) {
  null_host host;
  change(host);
  host.init();
  return tour(host);
}

// ---- What is missing ----------------------------------------------------------------------------

/// A pointer of the host's tables, and what a program without it sees change: 'f' results of
/// functions on files, 'p' those on processes, and pictures with either; else nothing.
struct pointer {
  const char *name;
  void *(*place)(null_host &host);
  char changes;
};
// clang-format off
#define POINTER(member, changes) \
  {#member, [](null_host &host) -> void * { return &host.member; }, changes}
// clang-format on
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
  const trace whole = tour_of([](null_host &) {});
  for (const pointer &missing : pointers) {
    SCOPED_TRACE(missing.name);
    const trace seen = tour_of([&](null_host &host) { set_null(missing.place(host)); });
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
    const trace seen = tour_of([&](null_host &host) {
      for (const pointer &missing : pointers)
        set_null(missing.place(host));
      if (!record) host.runtime.rt_device_system = nullptr;
    });
    EXPECT_EQ(seen.results.front(), 1) << "a window needs none of them";
    EXPECT_TRUE(all_failed(seen.processes));
  }
}

/// The last host's full-screen flag must not affect this one.
TEST_F(OddHosts, NoFullScreenFlag) {
  {
    null_host host;
    host.full_screen = 1;
    host.init();
    EXPECT_EQ(full_screen, 1);
  }
  null_host host;
  host.device_system.full_screen = nullptr;
  host.init();
  EXPECT_EQ(full_screen, 0);
}

TEST_F(OddHosts, NullTexts) {
  null_host host;
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

// ---- Streams ------------------------------------------------------------------------------------

orb_file_services honest; // the host's own services, to which those below forward
int32_t largest_piece;
int64_t bytes_read, empty_reads;

int32_t read_piece(void *to, int32_t size, int32_t count, int32_t cipher, void *stream) {
  return honest.read(to, size, std::min(count, largest_piece), cipher, stream);
}
int32_t write_piece(const void *from, int32_t size, int32_t count, int32_t cipher, void *stream) {
  return honest.write(from, size, std::min(count, largest_piece), cipher, stream);
}

/// However small the transfers, the bytes are the same.
TEST_F(OddHosts, StreamsInPieces) {
  const auto by_pieces_of = [](int32_t size) {
    return tour_of([=](null_host &host) {
      honest = host.file_services;
      largest_piece = size;
      host.file_services.read = read_piece;
      host.file_services.write = write_piece;
    });
  };
  const trace whole = by_pieces_of(INT32_MAX);
  for (const int32_t size : {1, 7, 1000}) {
    SCOPED_TRACE(size);
    expect_same(by_pieces_of(size), whole);
  }
}

/// Streams that return false values. Results unrelated to files do not change.
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
     [](orb_file_services &s) {
       s.path = [](const char *, int32_t purpose) {
         return purpose == ORB_PATH_READ ? "/dev/zero" : nullptr;
       };
     }},
    {"has paths to a pipe with nobody at its other end",
     [](orb_file_services &s) {
       s.path = [](const char *, int32_t) {
         static const std::string pipe = fuzz::world_folder().path() / "pipe";
         mkfifo(pipe.c_str(), 0600);
         return pipe.c_str();
       };
     }},
};

TEST_F(OddHosts, LyingStreams) {
  const trace whole = tour_of([](null_host &) {});
  for (const auto &liar : lies) {
    SCOPED_TRACE(liar.name);
    empty_reads = 0;
    const trace seen = tour_of([&](null_host &host) {
      honest = host.file_services;
      liar.lie(host.file_services);
    });
    EXPECT_EQ(seen.results, whole.results);
    EXPECT_EQ(seen.processes, whole.processes);
    EXPECT_LT(empty_reads, 10000);
  }
}

/// Endless streams, zeros or the file repeated, stop at the largest offset.
TEST_F(OddHosts, EndlessStreams) {
  static bool again;
  for (const bool repeats : {false, true}) {
    again = repeats;
    null_host host;
    honest = host.file_services;
    host.file_services.read = [](void *to, int32_t size, int32_t count, int32_t cipher,
                                 void *stream) -> int32_t {
      bytes_read += count;
      int32_t read = honest.read(to, size, count, cipher, stream);
      if (again && read == 0) {
        honest.seek(stream, 8, SEEK_SET); // after the magic
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

// ---- Numbers, processes, order of calls ---------------------------------------------------------

constexpr int32_t extremes[] = {INT_MIN, INT_MIN + 1, -1000000, -1, 0, 1, 320, 1000000, INT_MAX};

TEST_F(OddHosts, DesktopsOfAnySize) {
  for (const int32_t width : extremes)
    for (const int32_t height : {INT_MIN, 0, 200, INT_MAX}) {
      null_host host;
      host.device_system.desktop_width = width;
      host.device_system.desktop_height = height;
      host.frame_rate = width;
      host.vsync = height;
      host.init();
      EXPECT_EQ(mode.x, (int64_t{width} - 320) / 2);
      EXPECT_EQ(host.call("mode_set", {64, 48, 16, 1}), 1);
      const bool fits = width >= 320 && height >= 200; // the smallest mode that displays list
      EXPECT_EQ(host.call("mode_set", {64, 48, 16, 2}) == 1, fits) << width << " " << height;
      host.begin_frame();
      host.frame_rate = width;
      host.end_frame();
      EXPECT_EQ(host.global("fps"), width);
    }
}

/// Impossible positions of the mouse, scrolls and processes.
TEST_F(OddHosts, PlacesOfAnySize) {
  static int32_t scroll_x, scroll_y;
  null_host host;
  host.scroll_services.offset = [](int32_t, int32_t, int32_t *x, int32_t *y) {
    *x = scroll_x;
    *y = scroll_y;
    return -1; // equivalent to 1
  };
  host.init();
  host.call("mode_set", {64, 48, 32});
  host.call("map_new", {8, 8, 0xFF00FF});
  orb_process *const one = host.spawn(1), *const two = host.spawn(2);
  one->locals->graph = two->locals->graph = 1000;
  one->coordinates = 1;
  host.processes().current = one;
  host.global("mouse", 1) = 1000;
  for (const int32_t x : extremes)
    for (const int32_t offset : extremes)
      for (const int32_t size : {100, 37, INT_MAX, INT_MIN}) {
        scroll_x = offset;
        scroll_y = x;
        one->locals->x = two->locals->y = x;
        one->locals->size = size;
        one->locals->angle = offset;
        host.global("mouse", 2) = host.global("mouse", 4) = x;
        host.global("mouse", 3) = host.global("mouse", 5) = offset;
        for (const int32_t target : {0, -1}) {
          host.call("collision", {target});
          host.call("overlap", {target});
        }
        host.call("collision", {x, offset, 0});
        host.frame();
      }
}

/// Nodes without a process, processes without locals, direction graphs of any count, ids of dead
/// processes, and a process that dies during other processes' collision tests.
TEST_F(OddHosts, ProcessesOfAllKinds) {
  static orb_process_node nodes[6];
  static null_host *serving;
  static orb_process *victim, *asking;
  null_host host;
  serving = &host;
  host.process_services.proc_first = [](int32_t) { return nodes; };
  host.process_services.proc_exists = [](int32_t) { return 1; };
  host.process_services.proc_current = [] { return asking; };
  host.scroll_services.offset = [](int32_t, int32_t, int32_t *, int32_t *) {
    if (victim) serving->kill(victim);
    victim = nullptr;
    return 1; // and no offset
  };
  host.init();
  host.call("mode_set", {64, 48, 32});
  host.call("map_new", {8, 8, 0xFF00FF});
  std::vector<int32_t> directions(1001, 1000);
  orb_process *processes[4];
  for (int32_t i = 0; i < 4; ++i) {
    processes[i] = host.spawn(i);
    processes[i]->coordinates = 1;
    processes[i]->locals->graph = 1000;
  }
  orb_locals *const locals = processes[2]->locals;
  for (size_t i = 0; i < 6; ++i)
    nodes[i] = {i < 2 ? nullptr : processes[i - 2], i < 5 ? nodes + i + 1 : nullptr};
  for (const int32_t count : {0, -1, 1, 256, 257, 1000, INT_MAX, INT_MIN})
    for (const int32_t first : {1000, -1000, 0, INT_MIN, INT_MAX}) {
      directions[0] = count;
      directions[1] = first;
      processes[1]->locals->xgraph = directions.data();
      processes[2]->locals = count == 1 ? nullptr : locals;
      for (orb_process *each : {processes[0], processes[1], processes[2]}) {
        asking = each;
        for (const char *name : {"collision", "overlap"}) {
          host.call(name, {0});
          host.call(name, {processes[2]});
          host.call(name, {processes[1], processes[0]});
          host.call(name, {3, 3, 0});
        }
        host.call("get_dist", {processes[2]});
        host.call("get_angle", {processes[2], processes[1]});
        host.call("advance", {processes[2], 5});
        host.call("region_is_out", {processes[2], 0});
        host.call("map_get_realcpoint", {0, &directions[990], &directions[991]});
      }
      host.frame();
    }
  processes[2]->locals = locals;
  victim = processes[3];
  asking = processes[0];
  for (int32_t i = 0; i < 5; ++i)
    EXPECT_NE(host.call("collision", {0}), orbhost::ProcessList::id(processes[3]));
}

/// All globals at one address.
TEST_F(OddHosts, GlobalsOverEachOther) {
  null_host host;
  static std::vector<int32_t> memory;
  memory.assign(1024, 7);
  host.runtime.rt_globals = reinterpret_cast<uint8_t *>(memory.data());
  host.runtime.rt_global_offset = [](int32_t, const char *) { return 64; };
  host.init();
  EXPECT_EQ(_fading_, _dump_type_);
  tour(host);
}

/// Hooks in any order. Between init and release a program sees the same.
TEST_F(OddHosts, HooksInAnyOrder) {
  const trace whole = tour_of([](null_host &) {});
  const auto hook = [](char kind) {
    if (kind == 'i') ORB_mod_graphics2D_init();
    if (kind == 'f') ORB_mod_graphics2D_frame();
    if (kind == 'r') ORB_mod_graphics2D_release();
  };
  for (const char *before : {"", "f", "r", "rr", "ifr", "i", "ii", "iffif", "irr", "irff"}) {
    SCOPED_TRACE(before);
    null_host host;
    setenv("SDL_VIDEODRIVER", "dummy", 1);
    for (const char *kind = before; *kind; ++kind)
      hook(*kind);
    host.init();
    expect_same(tour(host), whole);
    EXPECT_TRUE(host.fatals.empty());
    host.release();
    hook('r');
    hook('f');
  }
}

/// Script functions called before init and after release find nothing, and the next init behaves as
/// usual. Runs in a freshly loaded copy of the module; the linked one has been started before.
TEST_F(OddHosts, CallsOutOfTurn) {
  const trace whole = tour_of([](null_host &) {});
  void *const library =
      dlopen(ORB_BINARY_DIR "/lib/libORB_mod_graphics2D.so.1", RTLD_NOW | RTLD_LOCAL);
  ASSERT_TRUE(library) << dlerror();
  auto *const entry =
      reinterpret_cast<orb_main_library_exports *>(dlsym(library, ORB_MAIN_LIBRARY_EXPORTS));
  ASSERT_TRUE(entry);
  std::mt19937 random(3);
  const auto call_everything = [&random](null_host &host) {
    host.call("region_define", {1, 0, 0, 9, 9}); // a region gives them something to draw in
    host.call("draw_new", {1, 0, 1, 1, 0, 0, 5, 5});
    std::vector<int32_t> memory(fuzz::script_memory_words);
    fuzz::script_handles handles;
    std::vector<uint8_t> bytes(200);
    for (int round = 0; round < 8; ++round)
      for (const orbhost::Function &function : host.registration().functions) {
        for (uint8_t &byte : bytes)
          byte = uint8_t(random());
        fuzz::script_reader script(bytes);
        handles.add_result(
            host.call_form(function, fuzz::read_arguments(script, handles, function, memory)));
      }
  };
  for (int life = 0; life < 2; ++life) {
    null_host host(entry);
    call_everything(host);
    EXPECT_EQ(host.screen(), nullptr);
    host.init();
    expect_same(tour(host), whole);
    call_everything(host);
    host.release();
    call_everything(host);
    EXPECT_EQ(host.screen(), nullptr);
    // This release frees what these calls made; the next init would do so, too.
    for (const orbhost::Hook &hook : host.registration().hooks)
      if (life == 1 && hook.kind == ORB_HOOK_RELEASE) hook.function();
  }
  dlclose(library);
}

/// A host may draw a frame, paint the window or call a function from a callback. During a mode
/// change there is nothing to draw on.
TEST_F(OddHosts, HostsThatCallBack) {
  static null_host *serving;
  static bool inside;
  static int calls, dropped;
  static void (*call_back)();
  static constexpr auto serve = [] {
    if (inside || !serving) return;
    inside = true;
    ++calls;
    call_back();
    inside = false;
  };
  void (*const backs[])() = {[] {
                               const int32_t before = frame_number;
                               ORB_mod_graphics2D_frame();
                               EXPECT_EQ(frame_number, before + !mode.changing);
                               dropped += mode.changing;
                             },
                             [] { device2D.VID_GFXPaint(); },
                             [] {
                               if (!mode.changing) serving->call("screen_load", {"8.map"});
                             }};
  for (const auto back : backs) {
    call_back = back;
    null_host host;
    host.video_hooks.mode_change = [](int32_t) { serve(); };
    host.window_services.show_window = [](int32_t) { serve(); };
    host.window_services.move_window = [](int32_t, int32_t) { serve(); };
    host.window_services.message_box = [](const char *, const char *) { serve(); };
    host.input_services.reset = [] { serve(); };
    host.input_services.reread_window = [] { serve(); };
    host.timing_services.set_fps = [](int32_t, int32_t) { serve(); };
    serving = nullptr;
    host.init();
    serving = &host;
    calls = 0;
    tour(host);
    for (const int32_t scale : {0, 2, 0}) { // with and without the rows that filters need
      for (const int32_t width : {32, 640})
        EXPECT_EQ(host.call("mode_set", {width, 100, 32, 1, 0, scale, 64}), 1);
    }
    EXPECT_GT(calls, 20);
    serving = nullptr;
  }
  EXPECT_GT(dropped, 20);
}

/// Inputs that fuzzing found worth keeping: data/corpus/host/.
TEST_F(OddHosts, Corpus) {
  int played = 0;
  for (const auto &entry : std::filesystem::directory_iterator(data_path("corpus/host"))) {
    EXPECT_EQ(fuzz::play_odd_host(read_file(entry.path())), "") << entry.path();
    ++played;
  }
  EXPECT_GT(played, 0);
}

} // namespace

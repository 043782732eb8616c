// Hosts that omit optional services, or return values no host should: the module continues without
// them, and never crashes, hangs or leaks.
#include <climits>
#include <cstring>
#include <random>
#include <string>
#include <vector>

#include <dlfcn.h>
#include <gtest/gtest.h>
#include <sys/stat.h>

#include "blit/blit_list.h"
#include "boundary/records.h"
#include "fuzz/player.h"
#include "hostile/digest.h"
#include "hostile/tour.h"
#include "module/module.h"
#include "support/failing_allocator.h"
#include "surface/registry.h"
#include "surface/screen.h"
#include "surface/surface.h"
#include "video/mode_lists.h"
#include "video/mode_state.h"

namespace {

using orbhost::Host;

/// Every part that isn't said to change is as before.
void expect_same(const traces &seen, const traces &whole, const std::string &changes = "none") {
  for (const auto &[part, trace] : whole)
    if (!part.starts_with(changes)) EXPECT_EQ(seen.at(part), trace) << part;
}

// ---- What is missing ----------------------------------------------------------------------------

/// A pointer of the host's tables, and the part of the tour that may change without it.
// clang-format off
#define POINTER(member, changes) \
  {#member, [](Host &host) -> void * { return &host.member; }, changes}
// clang-format on
const struct {
  const char *name;
  void *(*place)(Host &host);
  const char *changes;
} pointers[] = {
    POINTER(device_system.full_screen, "none"),
    POINTER(device_system.frame_rate, "none"),
    POINTER(device_system.renderer_busy, "none"),
    POINTER(device_system.window, "none"),
    POINTER(device_system.file, "files"),
    POINTER(device_system.input, "none"),
    POINTER(device_system.timing, "none"),
    POINTER(device_system.scroll, "processes"),
    POINTER(device_system.vsync, "none"),
    POINTER(window_services.message_box, "none"),
    POINTER(window_services.show_window, "none"),
    POINTER(window_services.window_handle, "none"),
    POINTER(window_services.move_window, "none"),
    POINTER(file_services.path, "files"),
    POINTER(file_services.open, "files"),
    POINTER(file_services.read, "files"),
    POINTER(file_services.write, "files"),
    POINTER(file_services.seek, "files"),
    POINTER(file_services.at_end, "none"),
    POINTER(input_services.reset, "none"),
    POINTER(input_services.grab_mouse, "none"),
    POINTER(input_services.reread_window, "none"),
    POINTER(input_services.centre_mouse, "none"),
    POINTER(timing_services.set_fps, "none"),
    POINTER(scroll_services.offset, "processes"),
    POINTER(process_services.proc_current, "processes"),
    POINTER(process_services.proc_exists, "processes"),
    POINTER(video_hooks.mode_change, "none"),
    POINTER(runtime.rt_video_hooks, "none"),
};
#undef POINTER

void set_null(void *place) {
  memset(place, 0, sizeof(void *));
}

} // namespace

TEST(OddHosts, EachPointerNull) {
  const traces whole = tour_of();
  for (const auto &missing : pointers) {
    SCOPED_TRACE(missing.name);
    expect_same(tour_of({[&](Host &host) { set_null(missing.place(host)); }}), whole,
                missing.changes);
  }
  // Without these nothing is drawn that comes from a process.
  tour_of({[](Host &host) { host.runtime.rt_processes = nullptr; }});
  tour_of({[](Host &host) { host.process_services.proc_first = nullptr; }});
  for (const bool record : {true, false})
    tour_of({[&](Host &host) {
      for (const auto &missing : pointers)
        set_null(missing.place(host));
      if (!record) host.runtime.rt_device_system = nullptr;
    }});
}

/// The last host's full-screen flag must not affect one without it.
TEST(OddHosts, NoFullScreenFlag) {
  {
    world w({[](Host &host) { host.full_screen = 1; }});
  }
  world w({[](Host &host) { host.device_system.full_screen = nullptr; }});
  EXPECT_EQ(full_screen, 0);
}

TEST(OddHosts, NullTexts) {
  world w({[](Host &host) {
    host.runtime.rt_program_name = [] { return static_cast<const char *>(nullptr); };
    host.device_system.desktop_width = 640;
  }});
  EXPECT_NE(w.host.call("mode_set", {1000, 700, 8, 2}), 1) << "larger than the desktop";
  EXPECT_NE(w.reports().find("box \"SetMode (FULLSCREEN)\""), std::string::npos);
  w.host.call("map_new", {4, 4});
  w.host.runtime.rt_new_return_string = [] { return static_cast<char *>(nullptr); };
  EXPECT_EQ(w.host.call("map_get_desc", {0, 1000}), 0);
  EXPECT_EQ(w.host.call("map_get_name", {0, 77}), 0);
}

// ---- Streams ------------------------------------------------------------------------------------

namespace {

orb_file_services honest; // the host's own services, to which those below forward
int64_t empty_reads;

template <int32_t result> int32_t reads(void *, int32_t, int32_t, int32_t, void *) {
  ++empty_reads;
  return result;
}
template <int32_t result> int32_t writes(const void *, int32_t, int32_t, int32_t, void *) {
  return result;
}
template <int32_t result> int32_t seeks(void *, int32_t, int32_t) {
  return result;
}
template <int32_t result> int32_t ends(void *) {
  return result;
}
int32_t reads_too_much(void *to, int32_t size, int32_t count, int32_t cipher, void *stream) {
  const int32_t read = honest.read(to, size, count, cipher, stream);
  empty_reads += read == 0;
  return read + 1000;
}
const char *pipe_path(const char *, int32_t) { // with nobody at its other end
  static const std::string pipe = fuzz::world_folder() / "pipe";
  mkfifo(pipe.c_str(), 0600);
  return pipe.c_str();
}
const char *endless_path(const char *, int32_t purpose) {
  return purpose == ORB_PATH_READ ? "/dev/zero" : nullptr;
}
const char *folder_path(const char *, int32_t) {
  return "/";
}
void *opens_to_read(const char *name, int32_t mode, int32_t one, const char *key) {
  return mode == ORB_OPEN_READ ? honest.open(name, mode, one, key) : nullptr;
}
void closes_what_is_open(void *stream) {
  EXPECT_TRUE(stream);
  honest.close(stream);
}

/// Streams that return false values.
const struct {
  const char *name;
  void (*lie)(orb_file_services &services);
} lies[] = {
    {"opens only to read",
     [](orb_file_services &s) { s.open = opens_to_read, s.close = closes_what_is_open; }},
    {"reads -1", [](orb_file_services &s) { s.read = reads<-1>; }},
    {"reads nothing, and has no end",
     [](orb_file_services &s) { s.read = reads<0>, s.at_end = ends<0>; }},
    {"reads more than asked", [](orb_file_services &s) { s.read = reads_too_much; }},
    {"is always at its end", [](orb_file_services &s) { s.at_end = ends<1>; }},
    {"is never at its end", [](orb_file_services &s) { s.at_end = ends<0>; }},
    {"seeks nowhere", [](orb_file_services &s) { s.seek = seeks<-1>; }},
    {"says it has sought", [](orb_file_services &s) { s.seek = seeks<0>; }},
    {"writes -1", [](orb_file_services &s) { s.write = writes<-1>; }},
    {"writes more than given", [](orb_file_services &s) { s.write = writes<INT32_MAX>; }},
    {"has paths to a folder", [](orb_file_services &s) { s.path = folder_path; }},
    {"has paths to a file without a size", [](orb_file_services &s) { s.path = endless_path; }},
    {"has paths to a pipe", [](orb_file_services &s) { s.path = pipe_path; }},
};

} // namespace

TEST(OddHosts, LyingStreams) {
  const traces whole = tour_of();
  for (const auto &liar : lies) {
    SCOPED_TRACE(liar.name);
    empty_reads = 0;
    expect_same(tour_of({[&](Host &host) {
                  honest = host.file_services;
                  liar.lie(host.file_services);
                }}),
                whole, "files");
    EXPECT_LT(empty_reads, 10000);
  }
}

// ---- Numbers, processes, order of calls ---------------------------------------------------------

TEST(OddHosts, DesktopsOfAnySize) {
  for (const int32_t width : {INT_MIN, INT_MIN + 1, -1, 0, 319, 320, 1000000, INT_MAX})
    for (const int32_t height : {INT_MIN, 0, 200, INT_MAX}) {
      world w({[=](Host &host) {
        host.device_system.desktop_width = width;
        host.device_system.desktop_height = height;
        host.vsync = height;
      }});
      EXPECT_EQ(mode.x, (int64_t(width) - 320) / 2);
      EXPECT_EQ(w.host.call("mode_set", {64, 48, 16, 1}), 1);
      const bool fits = width >= 320 && height >= 200; // the smallest mode that displays list
      EXPECT_EQ(w.host.call("mode_set", {64, 48, 16, 2}) == 1, fits) << width << " " << height;
      w.host.begin_frame();
      w.host.frame_rate = width;
      w.host.end_frame();
      EXPECT_EQ(w.host.global("fps"), width);
    }
}

/// Nodes without a process, processes without locals, direction graphs of any count, places of any
/// size, and a process that dies during other processes' collision tests.
TEST(OddHosts, ProcessesOfAllKinds) {
  static orb_process_node nodes[6];
  static Host *serving;
  static orb_process *victim, *asking;
  static int32_t scrolled;
  world w({[](Host &host) {
    host.process_services.proc_first = [](int32_t) { return nodes; };
    host.process_services.proc_exists = [](int32_t) { return 1; };
    host.process_services.proc_current = [] { return asking; };
    host.device_system.scroll = &host.scroll_services;
    host.scroll_services.offset = [](int32_t, int32_t, int32_t *x, int32_t *y) {
      if (victim) serving->kill(victim);
      victim = nullptr;
      *x = *y = scrolled;
      return 1;
    };
  }});
  Host &host = w.host;
  serving = &host;
  w.set_mode(32);
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
  host.global("mouse", 1) = 1000;
  for (const int32_t count : {0, -1, 1, 256, 257, 1000, INT_MAX, INT_MIN})
    for (const int32_t first : {1000, -1000, 0, INT_MIN, INT_MAX}) {
      directions[0] = count;
      scrolled = directions[1] = first;
      processes[0]->locals->x = processes[0]->locals->angle = host.global("mouse", 2) = first;
      processes[0]->locals->size = count;
      processes[1]->locals->xgraph = directions.data();
      processes[2]->locals = count == 1 ? nullptr : locals;
      for (orb_process *each : {processes[0], processes[1], processes[2]}) {
        asking = each;
        for (const char *name : {"collision", "overlap"}) {
          host.call(name, {0});
          host.call(name, {-1});
          host.call(name, {processes[2]});
          host.call(name, {processes[1], processes[0]});
          host.call(name, {first, 3, 0});
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

/// Script functions called before init and after release find nothing, and the next init behaves as
/// usual. Runs in a freshly loaded copy of the module; the linked one has been started before.
TEST(OddHosts, CallsOutOfTurn) {
  fuzz::world_folder();
  void *const library =
      dlopen(ORB_BINARY_DIR "/lib/libORB_mod_graphics2D.so.1", RTLD_NOW | RTLD_LOCAL);
  ASSERT_TRUE(library) << dlerror();
  auto *const entry =
      reinterpret_cast<orb_main_library_exports *>(dlsym(library, ORB_MAIN_LIBRARY_EXPORTS));
  std::mt19937 random(3);
  const auto call_anything = [&random](Host &host) {
    host.call("region_define", {1, 0, 0, 9, 9}); // a region gives them something to draw in
    host.call("draw_new", {1, 0, 1, 1, 0, 0, 5, 5});
    call_everything(host, random, 8);
  };
  for (int life = 0; life < 2; ++life) {
    Host host;
    host.on_error = [](const orbhost::ErrorReport &) {};
    host.on_fatal = [](int32_t, const std::string &) {};
    host.on_exit = [](int32_t) {};
    host.on_message = [](const std::string &, const std::string &) {};
    host.files().set_folder(fuzz::world_folder());
    host.attach(entry);
    call_anything(host);
    EXPECT_EQ(host.screen(), nullptr);
    host.init();
    EXPECT_EQ(host.call("mode_set", {64, 48, 32}), 1);
    EXPECT_EQ(host.call("map_new", {8, 8, 5}), 1000) << "nothing is left of the calls before";
    call_anything(host);
    host.release();
    call_anything(host);
    EXPECT_EQ(host.screen(), nullptr);
    // This release frees what these calls made; the next init would do so, too.
    for (const orbhost::Hook &hook : host.registration().hooks)
      if (life == 1 && hook.kind == ORB_HOOK_RELEASE) hook.function();
  }
  fuzz::restore_world_folder();
  dlclose(library);
}

/// A host may draw a frame, paint the window or call a function from a callback. During a mode
/// change there is nothing to draw on.
TEST(OddHosts, HostsThatCallBack) {
  static Host *serving;
  static bool inside;
  static int calls, dropped;
  static void (*call_back)();
  static constexpr auto serve = [] {
    if (inside || !serving || !serving->screen()) return;
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
    calls = 0;
    tour_of({[](Host &host) {
      serving = &host;
      host.video_hooks.mode_change = [](int32_t) { serve(); };
      host.window_services.show_window = [](int32_t) { serve(); };
      host.window_services.move_window = [](int32_t, int32_t) { serve(); };
      host.window_services.message_box = [](const char *, const char *) { serve(); };
      host.input_services.reset = [] { serve(); };
      host.input_services.reread_window = [] { serve(); };
      host.timing_services.set_fps = [](int32_t, int32_t) { serve(); };
    }});
    serving = nullptr;
    EXPECT_GT(calls, 20);
  }
  EXPECT_GT(dropped, 20);
}

/// What other parts of a host ask of the module through the device record, with each request for
/// memory failing in turn: they are refused, and nothing changes.
TEST(OddHosts, DeviceRecordWithoutMemory) {
  const std::pair<const char *, bool (*)()> requests[] = {
      {"a blit list", [] { return device2D.CreateBlitList("MORE", 10, 1) >= 0; }},
      {"a surface recorded", [] { return device2D.GetMAPCode(0) > 0; }},
      {"a mode", [] { return add_video_mode(7, 8, 16, 0) > 0; }},
      {"a larger graph",
       [] {
         return device2D.ORBGI2D_ResizeGFXSurface(GetMAP(0, 1000)->surface, 30, 40, 1, 1) == 1;
       }},
      {"a wrapper", [] {
         __ORBSurface2D__ *const wrapper = device2D.ORBGI2D_CreateGFXSurfaceWrapper(10, 8, 32);
         if (!wrapper) return false;
         free(wrapper->cpoints); // they are the owner's
         device2D.ORBGI2D_DeleteGFXSurface(wrapper);
         return true;
       }}};
  for (const auto &[name, act] : requests)
    for (uint32_t request = 1, reached = 1; reached; ++request) {
      SCOPED_TRACE(std::string(name) + ", request " + std::to_string(request));
      const int32_t blocks = outstanding_blocks(fault_scope::module);
      {
        world w;
        w.set_mode(16);
        for (int i = 0; i < 256; ++i)
          w.host.call("map_new", {1, 1});
        while (pBlitLists2D->count < pBlitLists2D->capacity)
          CreateBlitList("OTHERS", 2, 1);
        const std::string before = digest_of(w.folder.path);
        bool done = true;
        {
          const allocation_fault fault(request, fault_scope::module, fault_kind::once);
          done = act();
          reached = fault.reached();
        }
        if (reached) EXPECT_FALSE(done);
        if (reached) EXPECT_EQ(difference(before, digest_of(w.folder.path)), "");
        if (!reached) EXPECT_GT(request, 1u) << "asks for no memory";
        EXPECT_TRUE(act());
      }
      EXPECT_EQ(outstanding_blocks(fault_scope::module), blocks);
    }
}

/// Inputs that fuzzing found worth keeping: data/corpus/host/.
TEST(OddHosts, Corpus) {
  for (const auto &entry : std::filesystem::directory_iterator(tests_folder("data/corpus/host")))
    EXPECT_EQ(fuzz::play_odd_host(read_file(entry.path())).mistake, "") << entry.path();
}

// What the reference host promises its users in C++; scripts and programs are in the transcripts.
#include <algorithm>
#include <random>

#include <SDL.h>
#include <gtest/gtest.h>

#include "host/address_table.h"
#include "host/script.h"
#include "module/module.h"
#include "support/world.h"

using namespace orbhost;

TEST(Host, OneAtATimeAndReleasedOnce) {
  world w;
  EXPECT_THROW(Host(), HostError);
  EXPECT_THROW(w.host.attach(ORB_mod_graphics2D_MainLibraryExports), HostError);
  EXPECT_THROW(w.host.call("map_new", {1}), HostError);
  EXPECT_THROW(w.host.call("nothing"), HostError);
  EXPECT_THROW((void)w.host.constant("nothing"), HostError);
  EXPECT_THROW(w.host.global("nothing"), HostError);
  EXPECT_THROW(w.host.global("video_bits", 3), HostError);
  w.set_mode(16);
  w.host.spawn();
  w.host.release();
  w.host.release();
  EXPECT_EQ(w.host.processes().size(), 0u);
  EXPECT_THROW(w.host.frame(), HostError);
}

TEST(Host, ArgumentsAreFetchedLastFirstAndCanBePutBack) {
  Host host;
  const char *const text = "text";
  const int32_t address = int32_t(reinterpret_cast<uintptr_t>(text));
  const ArgumentWord words[] = {{Argument::Kind::integer, 1}, {Argument::Kind::text, address}};
  host.call_frame().begin(words, 2);
  EXPECT_EQ(host.runtime.rt_param_count(), 2);
  EXPECT_EQ(host.runtime.rt_peek_string(), text);
  EXPECT_EQ(host.runtime.rt_pop_string(), text);
  host.runtime.rt_unpop_params(1);
  EXPECT_EQ(host.runtime.rt_pop_string(), text);
  EXPECT_EQ(host.call_frame().unfetched(), 1);
  EXPECT_EQ(host.runtime.rt_pop_int(), 1);
  EXPECT_EQ(host.call_frame().unfetched() + host.call_frame().bad_fetches(), 0);
  EXPECT_EQ(host.runtime.rt_pop_int(), 0);
  EXPECT_EQ(host.runtime.rt_pop_string(), nullptr);
  EXPECT_EQ(host.call_frame().bad_fetches(), 2) << "there are only two";
}

TEST(Host, FatalMessagesEndTheProgramUnlessHandled) {
  world w;
  w.host.runtime.rt_fatal(2, "lost");
  w.host.runtime.rt_exit(1);
  EXPECT_EQ(w.reports(), "fatal \"lost\"; exit 1");
  EXPECT_EQ(describe({1234, "X", 0, 0, 5, {}}), "X: script error 1234");
  w.host.on_fatal = nullptr;
#ifdef GTEST_HAS_DEATH_TEST
  EXPECT_EXIT(w.host.runtime.rt_fatal(2, "no more"), testing::ExitedWithCode(4),
              "fatal error: no more");
#endif
}

TEST(Host, VirtualClockNeverWaits) {
  world w;
  w.host.call("set_fps", {50, 3});
  for (int i = 0; i < 100; ++i)
    w.host.frame();
  EXPECT_EQ(w.host.global("fps"), 50);
  EXPECT_EQ(w.host.clock().frame().milliseconds, 2000);
  EXPECT_EQ(w.host.clock().skip(), 3);
  w.host.clock().fix(25);
  w.host.call("set_fps", {50, 200});
  EXPECT_EQ(w.host.clock().fps(), 25);
  EXPECT_EQ(w.host.clock().skip(), 100);
}

// Random spawns and deaths beside a plain vector; a table of the live ones by their addresses. Ids
// of recently dead processes stay unused.
TEST(Host, ProcessesKeepTheirOrder) {
  world w;
  Host &host = w.host;
  std::mt19937 random(12345);
  std::vector<orb_process *> live, dead;
  AddressTable table;
  for (int32_t step = 0; step < 20000; ++step) {
    if (live.empty() || random() % 2) {
      orb_process *const made = live.emplace_back(host.spawn(step));
      ASSERT_EQ(std::find(dead.end() - std::min<int>(int(dead.size()), 1000), dead.end(), made),
                dead.end());
      EXPECT_EQ(made->locals->alpha, 255) << "as declared";
      made->locals->alpha = 1;
      // A walk finds the node, its process and the locals in a row.
      EXPECT_EQ(static_cast<void *>(made + 1), made->locals);
      table.set(made, -1);
      table.set(made, step);
    } else {
      const auto victim = live.begin() + random() % live.size();
      dead.push_back(*victim);
      live.erase(victim);
      for (int again = 0; again < 2; ++again) {
        host.kill(dead.back());
        table.erase(dead.back());
        ASSERT_FALSE(host.processes().exists(ProcessList::id(dead.back())));
        ASSERT_EQ(table.find(dead.back()), AddressTable::none);
      }
    }
    if (step % 100) continue;
    host.processes().frame_ended();
    const orb_process_node *node = host.process_services.proc_first(0);
    for (orb_process *expected : live) {
      ASSERT_TRUE(node && node->process == expected);
      ASSERT_EQ(table.find(expected), expected->type);
      node = node->next;
      for (int32_t off = -96; off < 96; off += 4) // nothing in or around a record but its start
        EXPECT_EQ(host.processes().exists(ProcessList::id(expected) + off), off == 0);
    }
    ASSERT_FALSE(node);
  }
}

TEST(Host, SignaturesAndDeclarationsAreReadStrictly) {
  for (const char *text : {"f", "f(", "f)", "(I)", "f(X)", "f(I,)", "f(,I)", "f(I I)", "1f(I)",
                           "f(I)x", "", "f(I", "f((I)"})
    EXPECT_FALSE(parse_signature(text)) << text;
  const auto f = parse_signature("f_2(I,S,IP)");
  ASSERT_TRUE(f);
  EXPECT_EQ(f->arguments,
            (std::vector{ArgumentType::integer, ArgumentType::string, ArgumentType::pointer}));
  EXPECT_TRUE(parse_signature("f()")->arguments.empty());

  Layout layout;
  layout.append(" int a = 1;int  *b= -2147483648 ;\n"
                "struct s[3] int u = 4;int v;end struct r int w=5;end; int c=2147483647;");
  layout.append("int d = 6;");
  std::vector<int32_t> memory(11, -1);
  ASSERT_EQ(layout.words(), memory.size());
  layout.initialise(memory);
  EXPECT_EQ(memory, (std::vector<int32_t>{1, INT32_MIN, 4, 0, 4, 0, 4, 0, 5, INT32_MAX, 6}));
  EXPECT_EQ(layout.find("d")->word, 10u);
  EXPECT_EQ(layout.find("u"), nullptr) << "a field isn't a global";
  for (const char *text : {"int",
                           "int b",
                           "int b = ;",
                           "int b = 1",
                           "int b = 2147483648;",
                           "int b = -2147483649;",
                           "int b = 99999999999999999999;",
                           "float b = 1;",
                           "int 1b = 1;",
                           "int a = 2;",
                           "int b = 1;int b = 2;",
                           "struct t[0] int u = 0;end",
                           "struct t[-1] int u = 0;end",
                           "struct t[2000000] int u = 0;end",
                           "struct t[3] end",
                           "struct t[3] int u = 0;",
                           "struct t[3 int u = 0;end",
                           "struct t[3] int u = 0;int u = 0;end",
                           "struct t[3] x = 0;end",
                           "struct t[500001] int u=0;int v=0;end",
                           "int b = 1;;",
                           "= 3;"})
    EXPECT_THROW(layout.append(text), DeclarationError) << text;
  EXPECT_EQ(layout.words(), memory.size()) << "as it was";
}

TEST(Host, FilesBesideTheScriptComeFirst) {
  const scratch_folder folder;
  std::filesystem::create_directory(folder.path / "sub");
  const std::string here = folder.path / "here.txt", made = folder.path / "new.txt";
  write_file(here, {1});
  Files files;
  EXPECT_EQ(files.resolve("x.txt", false), "x.txt");
  files.set_folder(folder.path);
  const struct {
    std::string name;
    bool writing;
    std::optional<std::string> path;
  } rows[] = {{"here.txt", false, here},           {here, false, here},
              {"absent.txt", false, "absent.txt"}, {"new.txt", true, made},
              {"/tmp/x", true, "/tmp/x"},          {"", false, std::nullopt}};
  for (const auto &[name, writing, path] : rows)
    EXPECT_EQ(files.resolve(name.c_str(), writing), path) << name;
  EXPECT_EQ(files.path(nullptr, false), nullptr);
  for (const char *name : {"sub", "absent.txt", "/dev/zero"})
    EXPECT_EQ(files.open(name, ORB_OPEN_READ, nullptr), nullptr) << name;
  EXPECT_EQ(files.open("here.txt", 9, nullptr), nullptr);
}

TEST(Host, WhatWasReadAndNotWrittenIsKnown) {
  world w;
  const auto put = [&](const char *name, std::string_view text) {
    write_file(w.folder.path / name, {text.begin(), text.end()});
  };
  put("game.lua", "require 'part' dofile('./part2.lua') image_load('a.png') map_load('x/../b.map')"
                  "io.open('level.txt') io.open('log.txt', 'w') io.open('log.txt')"
                  "io.open('best.txt') io.open('best.new', 'w'):close()"
                  "os.rename('best.new', 'best.txt') os.remove('old.txt')");
  put("part.lua", "");
  for (const char *name : {"part2.lua", "a.png", "b.map", "level.txt"})
    put(name, "");
  std::filesystem::create_directory(w.folder.path / "x");
  Script script(w.host, {});
  script.load_file((w.folder.path / "game.lua").string());
  script.frame();
  std::set<std::string> expected;
  for (const char *name : {"game.lua", "part.lua", "part2.lua", "a.png", "b.map", "level.txt"})
    expected.insert((w.folder.path / name).string());
  EXPECT_EQ(w.host.files().read_paths(), expected);
}

// The pointer is in pixels of the logical screen, here half the size of the display.
TEST(Host, EventsReachKeysAndMouse) {
  world w;
  Input &input = w.host.input();
  w.host.call("virtualresolution_set", {128, 96, 0, 1});
  w.set_mode(32);
  ASSERT_EQ(SDL_GetVideoSurface()->w, 128);
  const auto push_key = [](uint8_t type, SDLKey symbol) {
    SDL_Event event{.key = {.type = type, .keysym = {.sym = symbol}}};
    SDL_PushEvent(&event);
  };
  push_key(SDL_KEYDOWN, SDLK_RSHIFT);
  push_key(SDL_KEYDOWN, SDLK_F12);
  push_key(SDL_KEYUP, SDLK_F12);
  SDL_Event motion{.motion = {.type = SDL_MOUSEMOTION, .x = 127, .y = 40}};
  SDL_PushEvent(&motion);
  SDL_Event press{.button = {.type = SDL_MOUSEBUTTONDOWN, .button = SDL_BUTTON_RIGHT}};
  SDL_PushEvent(&press);
  w.host.begin_frame();
  const auto is_down = [&](const char *name) { return input.down(*Input::control(name)); };
  EXPECT_TRUE(is_down("rshift"));
  EXPECT_TRUE(is_down("shift")) << "either side";
  EXPECT_FALSE(is_down("lshift"));
  EXPECT_TRUE(is_down("f12")) << "a tap between two frames is visible in one";
  EXPECT_TRUE(is_down("mouse_right"));
  EXPECT_FALSE(input.quit);
  EXPECT_EQ(w.host.global("mouse", 2), 63);
  EXPECT_EQ(w.host.global("mouse", 3), 20);
  w.host.end_frame();
  push_key(SDL_QUIT, SDLK_UNKNOWN);
  w.host.begin_frame();
  EXPECT_FALSE(is_down("f12"));
  EXPECT_TRUE(is_down("rshift"));
  EXPECT_TRUE(input.quit);
  input.reset();
  EXPECT_FALSE(is_down("rshift"));
  for (const char *text : {"", "f0", "f16", "f01", "kp10", "nonsense", "kp"})
    EXPECT_FALSE(Input::control(text)) << text;
}

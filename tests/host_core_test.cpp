// The host core against a fake module: registration, calls, errors, processes, services.
#include "host/address_table.h"
#include "host/checked_call.h"
#include "host/host.h"
#include "host/screenshot.h"
#include "host_fake_module.h"

#include <SDL.h>
#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <map>

using namespace orbhost;

namespace {

class HostCore : public ::testing::Test {
protected:
  void SetUp() override {
    fake::reset();
    host.on_error = [](const ErrorReport &) {}; // take_errors() keeps them
    host.attach(fake::entry);
    host.init();
  }
  Host host;
};

TEST_F(HostCore, KeepsCopiesOfWhatWasRegistered) {
  const Registration &r = host.registration();
  EXPECT_EQ(r.calls, (std::vector<int>{0, 4, 5, 6, 7, 8, 9}));
  EXPECT_EQ(r.flags, 32768);
  EXPECT_TRUE(r.mistakes.empty());
  EXPECT_EQ(host.constant("fk_all"), -1);
  EXPECT_THROW((void)host.constant("fk_none"), HostError);
  EXPECT_EQ(r.describe_forms("fk_sum"), "fk_sum(I,I), fk_sum(I,I,I)");
  EXPECT_EQ(fake::state().inits, 1);
}

TEST_F(HostCore, OneHostAtATime) {
  EXPECT_THROW(Host(), HostError);
  EXPECT_THROW(host.attach(fake::entry), HostError);
  EXPECT_EQ(host.call("fk_sum", {1, 2}), 21); // the first module still works
}

TEST_F(HostCore, ArgumentsAreFetchedLastFirstAndCanBePutBack) {
  EXPECT_EQ(host.call("fk_sum", {1, 2, 3}), 321);
  EXPECT_EQ(host.call("fk_outer", {"good"}), 101);
  EXPECT_EQ(fake::state().last_text, "good");
  EXPECT_EQ(host.call_frame().unfetched(), 0);
  EXPECT_EQ(host.call_frame().bad_fetches(), 0);
  EXPECT_EQ(host.call("fk_greedy", {7}), 0);
  EXPECT_EQ(host.call_frame().bad_fetches(), 2);
}

TEST_F(HostCore, CallsTheFormThatFits) {
  EXPECT_EQ(host.call("fk_mixed", {5}), 1);
  EXPECT_EQ(host.call("fk_mixed", {"5"}), 2);
  EXPECT_THROW(host.call("fk_sum", {1}), HostError);
  EXPECT_THROW(host.call("fk_load", {1}), HostError);
  EXPECT_THROW(host.call("nothing"), HostError);
  std::int32_t tens = 0;
  EXPECT_EQ(host.call("fk_split", {42, &tens, static_cast<std::int32_t *>(nullptr)}), 1);
  EXPECT_EQ(tens, 4);
  EXPECT_EQ(host.call_text("fk_name", {1}), "named");
  EXPECT_EQ(host.call("palette_load", {"x.pal"}), 1);
  EXPECT_EQ(fake::state().last_text, "x.pal");
  EXPECT_EQ(host.call("palette_load", {5}), 1); // an int fetched as a text gives null
  EXPECT_EQ(fake::state().last_text, "<null>");
}

TEST_F(HostCore, ErrorsAreReportedAndPlayGoesOn) {
  std::vector<std::string> lines;
  host.on_error = [&](const ErrorReport &report) { lines.push_back(describe(report)); };
  EXPECT_EQ(host.call("fk_load", {"bad"}), INT32_MIN);
  ASSERT_EQ(lines.size(), 1u);
  EXPECT_EQ(lines[0], "FK_LOAD: argument 1 (\"bad\"): not a MAP file, or deeper than the screen");
  const auto errors = host.take_errors();
  ASSERT_EQ(errors.size(), 1u);
  EXPECT_EQ(errors[0].code, 144);
  EXPECT_EQ(errors[0].kind, ORB_VALUE_STRING);
  EXPECT_TRUE(host.take_errors().empty());
  EXPECT_EQ(describe({1234, "X", 0, 0, 5, {}}), "X: script error 1234");
  EXPECT_EQ(describe({110, "X", 0, 2, -5, {}}), "X: argument 2 (-5): graph number out of range");
}

TEST_F(HostCore, CheckedCallsThrowWhatWasReported) {
  int seen = 0;
  host.on_error = [&](const ErrorReport &) { ++seen; };
  EXPECT_EQ(checked_call(host, "fk_load", {"good"}), 1);
  try {
    checked_call(host, "fk_load", {"bad"});
    FAIL() << "no CallError";
  } catch (const CallError &error) {
    EXPECT_EQ(error.code(), 144);
    ASSERT_EQ(error.reports.size(), 1u);
    EXPECT_EQ(error.reports[0].text, "bad");
    EXPECT_EQ(error.what(), describe(error.reports[0]));
  }
  try {
    checked_call(host, "fk_fail");
    FAIL() << "no CallError";
  } catch (const CallError &error) {
    EXPECT_EQ(error.code(), 0);
    EXPECT_STREQ(error.what(), "fk_fail: failed");
  }
  EXPECT_THROW(checked_call(host, "fk_none"), HostError);
  EXPECT_EQ(seen, 0); // checked_call disables the handler, and restores it afterwards
  host.call("fk_load", {"bad"});
  EXPECT_EQ(seen, 1);
}

TEST_F(HostCore, GlobalsHoldTheirDeclaredValues) {
  EXPECT_EQ(host.global("draw_z"), -255);
  EXPECT_EQ(host.global("video_modes", 7), 7); // width of the last of four
  EXPECT_EQ(host.global("mouse", 5), 100);
  EXPECT_THROW(host.global("video_modes", 8), HostError);
  EXPECT_THROW(host.global("nothing"), HostError);
  host.global("dump_type") = 0;
  EXPECT_EQ(host.global("dump_type"), 0);
}

TEST_F(HostCore, ProcessesKeepOrderAndIds) {
  orb_process *a = host.spawn(1), *b = host.spawn(2), *c = host.spawn(1);
  EXPECT_EQ(a->locals->size, 100);
  EXPECT_EQ(a->locals->alpha, 255);
  EXPECT_EQ(a->walk_question[0] | a->walk_question[1] | uint32_t(a->walk_candidate), 0u);
  // A walk finds the node, its process and the locals in a row.
  EXPECT_EQ(static_cast<void *>(host.processes().first() + 1), a);
  EXPECT_EQ(static_cast<void *>(a + 1), a->locals);
  b->status = process_asleep;
  c->status = process_frozen;
  host.frame();
  EXPECT_EQ(fake::state().drawn,
            (std::vector<std::int32_t>{ProcessList::id(a), ProcessList::id(c)}));
  host.kill(a);
  b->status = process_running;
  host.frame();
  EXPECT_EQ(fake::state().drawn,
            (std::vector<std::int32_t>{ProcessList::id(b), ProcessList::id(c)}));
  EXPECT_EQ(host.call("fk_exists", {ProcessList::id(a)}), 0);
  EXPECT_EQ(host.call("fk_exists", {b}), 1);
  for (int offset = -96; offset < 96; offset += 4) // nothing in or around a record but its start
    EXPECT_EQ(host.call("fk_exists", {ProcessList::id(b) + offset}), offset == 0);
  host.kill(a); // already dead
  host.kill(c);
  host.kill(b);
  EXPECT_EQ(host.processes().first(), nullptr);
  EXPECT_EQ(host.processes().size(), 0u);
}

// The same random spawns and deaths in a plain vector; ids of recently dead processes stay unused.
TEST_F(HostCore, ProcessListMatchesAVector) {
  std::uint32_t seed = 12345;
  const auto random = [&](std::uint32_t n) {
    seed = seed * 1664525u + 1013904223u;
    return (seed >> 8) % n;
  };
  std::vector<orb_process *> live;
  std::vector<std::int32_t> dead;
  for (int step = 0; step < 20000; ++step) {
    if (live.empty() || random(2)) {
      orb_process *fresh = host.spawn(step);
      const std::size_t recent = std::min<std::size_t>(dead.size(), 1000);
      ASSERT_EQ(std::find(dead.end() - static_cast<std::ptrdiff_t>(recent), dead.end(),
                          ProcessList::id(fresh)),
                dead.end());
      live.push_back(fresh);
    } else {
      const std::size_t at = random(static_cast<std::uint32_t>(live.size()));
      dead.push_back(ProcessList::id(live[at]));
      host.kill(live[at]);
      live.erase(live.begin() + static_cast<std::ptrdiff_t>(at));
    }
    if (step % 100 == 0) {
      host.frame();
      std::vector<std::int32_t> expected;
      for (orb_process *p : live)
        expected.push_back(ProcessList::id(p));
      ASSERT_EQ(fake::state().drawn, expected);
    }
  }
}

// Random additions and removals, beside a map; addresses a line apart, as those of records are.
TEST(HostAddressTable, HoldsWhatAMapHolds) {
  std::uint32_t seed = 1;
  std::map<std::uintptr_t, std::int32_t> expected;
  AddressTable table;
  for (int step = 0; step < 30000; ++step) {
    seed = seed * 1664525u + 1013904223u;
    const std::uintptr_t address = 64 * (1 + (seed >> 8) % 1500);
    void *const pointer = reinterpret_cast<void *>(address);
    if (seed >> 31) {
      expected[address] = step;
      table.set(pointer, step);
    } else {
      expected.erase(address);
      table.erase(pointer);
    }
    if (step % 1000 == 0) {
      for (std::uintptr_t each = 64; each <= 64 * 1500; each += 64) {
        const auto known = expected.find(each);
        ASSERT_EQ(table.find(reinterpret_cast<void *>(each)),
                  known == expected.end() ? AddressTable::none : known->second);
      }
    }
  }
}

TEST_F(HostCore, XgraphBelongsToTheProcess) {
  orb_process *p = host.spawn();
  const std::vector<std::int32_t> codes{5, -6, 7};
  host.processes().set_xgraph(p, codes);
  ASSERT_NE(p->locals->xgraph, nullptr);
  EXPECT_EQ(std::vector<std::int32_t>(p->locals->xgraph, p->locals->xgraph + 4),
            (std::vector<std::int32_t>{3, 5, -6, 7}));
  host.processes().set_xgraph(p, {});
  EXPECT_EQ(p->locals->xgraph, nullptr);
}

TEST_F(HostCore, VirtualClockNeverWaitsAndReportsTheSetRate) {
  host.call("fk_rate", {50, 3});
  for (int i = 0; i < 100; ++i)
    host.frame();
  EXPECT_EQ(host.global("fps"), 50);
  EXPECT_DOUBLE_EQ(host.clock().seconds(), 2.0);
  EXPECT_EQ(host.clock().skip(), 3);
  host.clock().fix(25);
  host.call("fk_rate", {50, 200});
  EXPECT_EQ(host.clock().fps(), 25);
  EXPECT_EQ(host.clock().skip(), 100);
}

TEST_F(HostCore, FatalAndExitReachTheirHandlers) {
  std::string message;
  std::int32_t status = -1;
  host.on_fatal = [&](std::int32_t, const std::string &text) { message = text; };
  host.on_exit = [&](std::int32_t code) { status = code; };
  fake::state().runtime->rt_fatal(2, "Graphics2D init error");
  fake::state().runtime->rt_exit(1);
  EXPECT_EQ(message, "Graphics2D init error");
  EXPECT_EQ(status, 1);
  host.on_fatal = nullptr;
  EXPECT_EXIT(fake::state().runtime->rt_fatal(2, "no more"), ::testing::ExitedWithCode(4),
              "fatal error: no more");
}

// Pictures of a screen with known pixels and padded rows.
TEST_F(HostCore, PicturesConvertEveryDepth) {
  EXPECT_THROW(take_picture(host), HostError);
  orb_device2d device{};
  device.get_palette = [](__ORBPalette2D__ *out) -> std::int32_t {
    out->colours[7] = {252, 128, 4};
    return 1;
  };
  host.runtime.rt_device2D = &device;
  __ORBSurface2D__ screen{};
  screen.width = 2;
  screen.height = 2;
  host.device_system.screen = &screen;
  using Bytes = std::vector<std::uint8_t>;

  std::uint8_t indices[] = {7, 0, 99, 0, 7, 99};
  screen.depth = 8;
  screen.pitch = 3;
  screen.pixels = indices;
  EXPECT_EQ(take_picture(host).rgb, (Bytes{252, 128, 4, 0, 0, 0, 0, 0, 0, 252, 128, 4}));

  std::uint16_t words[] = {0xFFFF, 0xF800, 99, 0x07E0, 0x8410, 99};
  screen.depth = 16;
  screen.pitch = 6;
  screen.pixels = words;
  EXPECT_EQ(take_picture(host).rgb, (Bytes{255, 255, 255, 255, 0, 0, 0, 255, 0, 132, 130, 132}));

  std::uint32_t longs[] = {0x01020304, 0xFF0A0B0C, 99, 0, 0x00FFFFFF, 99};
  screen.depth = 32;
  screen.pitch = 12;
  screen.pixels = longs;
  EXPECT_EQ(take_picture(host).rgb, (Bytes{2, 3, 4, 10, 11, 12, 0, 0, 0, 255, 255, 255}));
}

TEST_F(HostCore, ReleaseRunsOnce) {
  host.spawn();
  host.release();
  host.release();
  EXPECT_EQ(fake::state().releases, 1);
  EXPECT_EQ(host.processes().size(), 0u);
  EXPECT_THROW(host.frame(), HostError);
}

TEST(HostRegistration, RefusesMalformedEntries) {
  for (const char *text : {"f", "f(", "f)", "(I)", "f(X)", "f(I,)", "f(,I)", "f(I I)", "1f(I)",
                           "f(I)x", "", "f(I", "f((I)"}) {
    EXPECT_FALSE(parse_signature(text)) << text;
  }
  const auto f = parse_signature("f_2(I,S,IP)");
  ASSERT_TRUE(f);
  EXPECT_EQ(f->arguments,
            (std::vector{ArgumentType::integer, ArgumentType::string, ArgumentType::pointer}));
  EXPECT_TRUE(parse_signature("f()")->arguments.empty());
}

TEST(HostDeclarations, LaysOutWordsInOrder) {
  Layout layout;
  layout.append(" int a = 1;int  *b= -2147483648 ;\n"
                "struct s[3] int u = 4;int v;end struct r int w=5;end; int c=2147483647;");
  layout.append("int d = 6;");
  ASSERT_EQ(layout.words(), 11u);
  std::vector<std::int32_t> memory(11, -1);
  layout.initialise(memory);
  EXPECT_EQ(memory, (std::vector<std::int32_t>{1, INT32_MIN, 4, 0, 4, 0, 4, 0, 5, INT32_MAX, 6}));
  EXPECT_TRUE(layout.find("b")->fields[0].pointer);
  EXPECT_EQ(layout.find("s")->kind, Declaration::Kind::array);
  EXPECT_EQ(layout.find("s")->word, 2u);
  EXPECT_EQ(layout.find("r")->kind, Declaration::Kind::record);
  EXPECT_EQ(layout.find("d")->word, 10u);
  EXPECT_EQ(layout.find("u"), nullptr); // a field is not a global
}

TEST(HostDeclarations, RefusesMalformedTextsAndStaysAsItWas) {
  Layout layout;
  layout.append("int a = 1;");
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
                           "struct s[0] int u = 0;end",
                           "struct s[-1] int u = 0;end",
                           "struct s[2000000] int u = 0;end",
                           "struct s[3] end",
                           "struct s[3] int u = 0;",
                           "struct s[3 int u = 0;end",
                           "struct s[3] int u = 0;int u = 0;end",
                           "struct s[3] x = 0;end",
                           "struct s[500001] int u=0;int v=0;end",
                           "int b = 1;;",
                           "= 3;"}) {
    EXPECT_THROW(layout.append(text), DeclarationError) << text;
  }
  EXPECT_EQ(layout.words(), 1u);
  EXPECT_EQ(layout.declarations().size(), 1u);
}

TEST(HostFiles, LooksBesideTheScriptFirst) {
  namespace fs = std::filesystem;
  const fs::path folder = fs::path(::testing::TempDir()) / "orb_host_files";
  fs::remove_all(folder);
  fs::create_directories(folder / "sub");
  std::ofstream(folder / "here.txt") << "beside";
  Files files;
  EXPECT_EQ(files.resolve("x.txt", false), "x.txt");
  files.set_folder(folder);
  EXPECT_EQ(files.resolve("here.txt", false), (folder / "here.txt").string());
  EXPECT_EQ(files.resolve("absent.txt", false), "absent.txt");
  EXPECT_EQ(files.resolve("new.txt", true), (folder / "new.txt").string());
  EXPECT_EQ(files.resolve("/tmp/x", true), "/tmp/x");
  EXPECT_EQ(files.resolve("", false), std::nullopt);
  EXPECT_EQ(files.path(nullptr, false), nullptr);
  // Resolving a resolved path changes nothing.
  EXPECT_EQ(files.resolve(files.path("here.txt", false), false), (folder / "here.txt").string());
  EXPECT_EQ(files.open("sub", ORB_OPEN_READ, nullptr), nullptr);
  EXPECT_EQ(files.open("absent.txt", ORB_OPEN_READ, nullptr), nullptr);
  EXPECT_EQ(files.open("here.txt", 9, nullptr), nullptr);
  fs::remove_all(folder);
}

TEST_F(HostCore, StreamsReadWriteSeekAndKnowTheirEnd) {
  const std::string name = ::testing::TempDir() + "orb_host_stream.bin";
  const orb_file_services &service = *fake::state().runtime->rt_device_system->file;
  void *out = service.open(name.c_str(), ORB_OPEN_WRITE, 1, nullptr);
  ASSERT_NE(out, nullptr);
  EXPECT_EQ(service.write("abcdef", 1, 6, 0, out), 6);
  EXPECT_EQ(service.write("abcdef", 1, -6, 0, out), 0);
  service.close(out);
  void *in = service.open(name.c_str(), ORB_OPEN_READ, 1, nullptr);
  ASSERT_NE(in, nullptr);
  char buffer[16] = {};
  EXPECT_EQ(service.read(buffer, 1, 4, 0, in), 4);
  EXPECT_EQ(service.at_end(in), 0);
  EXPECT_EQ(service.read(buffer, 1, 16, 0, in), 2);
  EXPECT_NE(service.at_end(in), 0);
  EXPECT_EQ(service.seek(in, 0, SEEK_SET), 0);
  EXPECT_EQ(service.read(buffer, 4, 2, 0, in), 1); // whole items only
  EXPECT_EQ(service.seek(in, 6, SEEK_SET), 0);
  EXPECT_NE(service.at_end(in), 0); // set before any read fails
  EXPECT_NE(service.seek(in, 0, 77), 0);
  EXPECT_EQ(host.files().open_count(), 1u);
  service.close(in);
  service.close(in); // a closed handle
  EXPECT_EQ(service.read(buffer, 1, 1, 0, in), 0);
  EXPECT_NE(service.at_end(nullptr), 0);
  std::filesystem::remove(name);
}

// SDL's events reach keys and mouse; the pointer is in pixels of the logical screen, here half the
// size of the display.
TEST_F(HostCore, TakesEventsAndScalesTheMouse) {
  ASSERT_EQ(SDL_InitSubSystem(SDL_INIT_VIDEO), 0) << SDL_GetError();
  ASSERT_NE(SDL_SetVideoMode(64, 48, 32, SDL_SWSURFACE), nullptr) << SDL_GetError();
  __ORBSurface2D__ screen{};
  screen.width = 32;
  screen.height = 24;
  host.device_system.screen = &screen;
  const auto push = [](auto fill) {
    SDL_Event event{};
    fill(event);
    ASSERT_EQ(SDL_PushEvent(&event), 0);
  };
  push([](SDL_Event &e) { e.type = SDL_KEYDOWN, e.key.keysym.sym = SDLK_LEFT; });
  push([](SDL_Event &e) { e.type = SDL_MOUSEMOTION, e.motion.x = 63, e.motion.y = 20; });
  push([](SDL_Event &e) { e.type = SDL_MOUSEBUTTONDOWN, e.button.button = SDL_BUTTON_RIGHT; });
  host.begin_frame();
  EXPECT_EQ(host.input().key("left"), true);
  EXPECT_TRUE(host.input().pointer.right);
  EXPECT_FALSE(host.input().quit);
  EXPECT_EQ(host.global("mouse", 2), 31);
  EXPECT_EQ(host.global("mouse", 3), 10);
  push([](SDL_Event &e) { e.type = SDL_KEYUP, e.key.keysym.sym = SDLK_LEFT; });
  push([](SDL_Event &e) { e.type = SDL_QUIT; });
  host.begin_frame();
  EXPECT_EQ(host.input().key("left"), false);
  EXPECT_TRUE(host.input().quit);
  SDL_QuitSubSystem(SDL_INIT_VIDEO);
}

TEST(HostInput, KnowsKeysByName) {
  Input input;
  EXPECT_EQ(input.key("space"), false);
  input.set_key(*Input::key_symbol("space"), true);
  EXPECT_EQ(input.key("space"), true);
  input.set_key(*Input::key_symbol("rshift"), true);
  EXPECT_EQ(input.key("shift"), true);
  EXPECT_EQ(input.key("lshift"), false);
  EXPECT_EQ(Input::key_symbol("A"), 'a');
  EXPECT_EQ(*Input::key_symbol("f12"), *Input::key_symbol("f1") + 11);
  for (const char *text : {"", "f0", "f16", "f01", "kp10", "nonsense", "kp"}) {
    EXPECT_EQ(input.key(text), std::nullopt) << text;
  }
  // A tap between two frames is visible in one.
  input.set_key(*Input::key_symbol("tab"), true);
  input.set_key(*Input::key_symbol("tab"), false);
  EXPECT_EQ(input.key("tab"), true);
  input.pump();
  EXPECT_EQ(input.key("tab"), false);
  EXPECT_EQ(input.key("space"), true);
  input.set_key(100000, true);
  input.reset();
  EXPECT_EQ(input.key("space"), false);
}

} // namespace

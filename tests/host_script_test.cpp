// The Lua binding against a fake module: calls, globals, processes, failures.
#include "host/host.h"
#include "host/script.h"
#include "host_fake_module.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>

using namespace orbhost;
using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::StartsWith;

namespace {

class HostScript : public ::testing::Test {
protected:
  void SetUp() override {
    fake::reset();
    host.attach(fake::entry);
    host.init();
  }

  // Plays a text to its end, or for this many frames; returns the printed output.
  std::string play(const std::string &text, int frames = 100, ScriptOptions options = {}) {
    Script script(host, options);
    ::testing::internal::CaptureStdout();
    try {
      script.load_text(text, "file.lua");
      for (int i = 0; i < frames && script.frame(); ++i) {
      }
    } catch (...) {
      ::testing::internal::GetCapturedStdout();
      throw;
    }
    return ::testing::internal::GetCapturedStdout();
  }

  // The message of the error that ends the text.
  std::string failure(const std::string &text, ScriptOptions options = {}) {
    try {
      play(text, 100, options);
    } catch (const ScriptError &error) {
      return error.what();
    }
    return "no error";
  }

  std::string reports(const std::string &text) {
    ::testing::internal::CaptureStderr();
    play(text);
    return ::testing::internal::GetCapturedStderr();
  }

  Host host;
};

// ---- Calls --------------------------------------------------------------------------------------

TEST_F(HostScript, ChoosesTheFormByNumberAndKind) {
  EXPECT_EQ(play("print(fk_sum(1, 2), fk_sum(1, 2, 3), fk_mixed(1), fk_mixed('1'))"),
            "21\t321\t1\t2\n");
  EXPECT_THAT(failure("local x = 1\nfk_sum(1, 'a')"),
              StartsWith("file.lua:2: fk_sum: no form takes (number, string); "
                         "forms: fk_sum(I,I), fk_sum(I,I,I)\n"));
  EXPECT_THAT(failure("fk_sum(1, nil)"), HasSubstr("(number, nil)"));
  EXPECT_THAT(failure("fk_sum(1, true)"), HasSubstr("(number, boolean)"));
  EXPECT_THAT(failure("fk_sum(1, 2, 3, 4)"), HasSubstr("no form takes"));
  EXPECT_THAT(failure("fk_size(table.unpack({}, 1, 200))"), HasSubstr("(nil, nil"));
  EXPECT_THAT(failure("fk_load(main)"), HasSubstr("(process)"));
  EXPECT_THAT(failure("fk_split(1, 2)"), HasSubstr("no form takes (number, number)"));
  // A tail call still reports the line.
  EXPECT_THAT(failure("local function f() return fk_load(1) end\nf()"), StartsWith("file.lua:"));
}

TEST_F(HostScript, NumbersBecomeWords) {
  EXPECT_EQ(play("print(fk_sum(0, 2.9), fk_sum(0, -2.9), fk_sum(0, 0xFFFFFFFF), "
                 "fk_sum(0, 2^32 + 5), fk_sum(0, 2147483648), fk_sum(0, -2^32 - 6.5))"),
            "20\t-20\t-10\t50\t0\t-60\n");
  EXPECT_THAT(failure("fk_sum(0, 0/0)"), HasSubstr("number out of range"));
  EXPECT_THAT(failure("fk_sum(0, math.huge)"), HasSubstr("number out of range"));
}

TEST_F(HostScript, TextsAndNil) {
  EXPECT_EQ(play("print(fk_load('good'))"), "1\n");
  EXPECT_EQ(reports("fk_load(nil)"),
            "file.lua:1: FK_LOAD: argument 1 (\"\"): not a MAP file, or deeper than the screen\n");
  EXPECT_EQ(fake::state().last_text, "<null>");
  EXPECT_THAT(failure("fk_load('a\\0b')"), HasSubstr("zero byte"));
  play("palette_load('x.pal')");
  EXPECT_EQ(fake::state().last_text, "x.pal");
}

TEST_F(HostScript, ResultsByType) {
  EXPECT_EQ(play("print(fk_name(1), fk_name(0), fk_size(), fk_half(3), fk_half(4), fk_fail())\n"
                 "print(math.type(fk_half(4)), math.type(fk_size()))"),
            "named\t(null)\t4294967280\t1.5\t2.0\t-2147483648\nfloat\tinteger\n");
}

TEST_F(HostScript, PointersAreTablesNilOrFurtherResults) {
  EXPECT_EQ(play("print(fk_split(42))"), "3\t4\t2\n");
  EXPECT_EQ(play("local t = {10}; print(fk_split(42, t)); print(t[1])"), "3\t2\n14\n");
  EXPECT_EQ(play("local t, u = {}, {5, 6}; print(fk_split(42, t, u)); print(t[1], u[1], u[2])"),
            "3\n4\t7\t6\n");
  EXPECT_EQ(play("print(fk_split(42, nil, nil)); print(fk_split(42, nil))"), "0\n2\t2\n");
  EXPECT_EQ(play("local t = {1, 2, 3}; fk_fill(2, t); print(table.concat(t, ' '))"), "2 4 3\n");
  EXPECT_THAT(failure("fk_fill(1, {'x'})"), HasSubstr("table element: number expected"));
}

TEST_F(HostScript, ArraysThatFunctionsReadAreTables) {
  const std::string convert = "local t = {} for i = 1, 256 do t[i] = 256 - i end\n"
                              "local function with(i, v) t[i] = v return t end\n"
                              "map_convert_palette(0, 1000, ";
  play(convert + "with(3, 3.0)) assert(t[1] == 255 and t[3] == 3)");
  ASSERT_EQ(fake::state().last_array.size(), 256u);
  EXPECT_EQ(fake::state().last_array[0], 255);
  EXPECT_EQ(fake::state().last_array[2], 3);
  play("local t = {1, 2, 3, 4.9, 5, -6, 'more'} palette_set_colors(7, 2, t) assert(t[4] == 4.9)");
  EXPECT_THAT(fake::state().last_array, ElementsAre(1, 2, 3, 4, 5, -6));
  play("palette_set_colors(7, 0, {})");
  EXPECT_THAT(fake::state().last_array, ElementsAre());

  fake::state().last_array = {7};
  for (const auto &[argument, got] : {std::pair{"7", "number"},
                                      {"map_convert_palette", "function"},
                                      {"nil", "nil"},
                                      {"main", "process"},
                                      {"{}", "one of 0"},
                                      {"with(257, 0)", "one of 257"},
                                      {"with(9, 256)", "something else at element 9"},
                                      {"with(256, -1)", "something else at element 256"},
                                      {"with(1, 0.5)", "something else at element 1"},
                                      {"with(2, '2')", "something else at element 2"}})
    EXPECT_THAT(failure(convert + argument + ")"),
                StartsWith("file.lua:3: map_convert_palette: argument 3: a table of 256 integers 0 "
                           "to 255 expected, got " +
                           std::string(got) + "\n"));
  for (const auto &[argument, got] : {std::pair{", 7", "number"},
                                      {", nil", "nil"},
                                      {"", "no value"},
                                      {", {1, 2, 3, 4, 5}", "one of 5"}})
    EXPECT_THAT(failure("palette_set_colors(0, 2" + std::string(argument) + ")"),
                HasSubstr("argument 3: a table of 6 numbers expected, got " + std::string(got)));
  EXPECT_THAT(failure("palette_set_colors(0, 1, {1, 2, {}})"),
              HasSubstr("table element: number expected, got table"));
  EXPECT_THAT(play("print(pcall(map_convert_palette, 0, 1000, 7))"), StartsWith("false"));
  EXPECT_THAT(fake::state().last_array, ElementsAre(7)) << "none of these has reached the module";
}

TEST_F(HostScript, AProcessStandsForItsId) {
  EXPECT_EQ(play("print(fk_exists(main), fk_exists(main.id), fk_exists(main.id + 4))"),
            "1\t1\t0\n");
  EXPECT_EQ(play("local p = spawn(function() end); print(alive(p)); frame()\n"
                 "print(alive(p), fk_exists(p), process(p.id), process(main.id) == main)"),
            "true\nfalse\t0\tnil\ttrue\n");
}

// ---- Reports ------------------------------------------------------------------------------------

TEST_F(HostScript, ReportsNameTheLineAndPlayGoesOn) {
  EXPECT_EQ(reports("local function f()\n  fk_load('bad')\nend\nf()\nfk_load('good')"),
            "file.lua:2: FK_LOAD: argument 1 (\"bad\"): not a MAP file, or deeper than the "
            "screen\n");
  EXPECT_EQ(fake::state().last_text, "good");
  // Through a library callback.
  EXPECT_THAT(reports("\npcall(fk_load, 'bad')"), StartsWith("file.lua:2: FK_LOAD: "));
}

TEST_F(HostScript, StrictStopsAtAReport) {
  ScriptOptions strict;
  strict.strict = true;
  EXPECT_THAT(failure("\nfk_load('bad')", strict),
              StartsWith("file.lua:2: FK_LOAD: argument 1 (\"bad\"): not a MAP file, or deeper "
                         "than the screen\nstack traceback:"));
  EXPECT_EQ(failure("pcall(fk_load, 'bad')", strict), "no error"); // caught like any other error
}

TEST_F(HostScript, ErrorsCarryATraceback) {
  const std::string text = failure("local function g() error('no') end\n"
                                   "local function f() g() end\n"
                                   "spawn(function() frame() f() end)");
  EXPECT_THAT(text, StartsWith("file.lua:1: no\nstack traceback:"));
  EXPECT_THAT(text, HasSubstr("file.lua:2: in upvalue 'f'"));
  EXPECT_THAT(failure("x = nil + 1"), StartsWith("file.lua:1: attempt to perform arithmetic"));
  EXPECT_THAT(failure("\nerror({})"), StartsWith("file.lua:2: table"));
  EXPECT_THAT(failure("\nx = = 1"), StartsWith("file.lua:2: "));
  EXPECT_THAT(failure("local function f() return f() + 1 end f()"), HasSubstr("stack overflow"));
}

// ---- Globals ------------------------------------------------------------------------------------

TEST_F(HostScript, ScriptGlobalsAreMemory) {
  EXPECT_EQ(play("print(draw_z); draw_z = -300.5; print(draw_z); mine = fk_one\n"
                 "print(mine, nothing, _G.draw_z)"),
            "-255\n-300\n1\tnil\t-300\n");
  EXPECT_EQ(host.global("draw_z"), -300);
  EXPECT_THAT(failure("mouse = 2"), HasSubstr("mouse is a table of the engine"));
  EXPECT_THAT(failure("draw_z = 'x'"), HasSubstr("draw_z: number expected, got string"));
}

TEST_F(HostScript, ConstantsCantBeAssigned) {
  EXPECT_EQ(play("print(fk_one, fk_all, _G.fk_one, load('return fk_one')(), _G['and'])\n"
                 "local function f(fk_one) fk_one = fk_one + 1 return fk_one end\n"
                 "print(f(5), rawget(_G, 'fk_one')) -- not a field of the table"),
            "1\t-1\t1\t1\t3\n6\tnil\n");
  // Not even in a function that is never called.
  EXPECT_THAT(failure("\nlocal function f() fk_one = 2 end"),
              StartsWith("file.lua:2: attempt to assign to const variable 'fk_one'"));
  EXPECT_THAT(failure("\n_G.fk_one = 2"),
              StartsWith("file.lua:2: fk_one is a constant and can't be assigned"));
  EXPECT_THAT(failure("load('fk_one = 2')()"), HasSubstr("fk_one is a constant"));
  // What stands around a text doesn't show in its mistakes.
  EXPECT_THAT(failure("if fk_one then"), StartsWith("file.lua:1: 'end' expected near <eof>"));
  EXPECT_THAT(failure("print() end, function()"), StartsWith("file.lua:1: <eof> expected"));
}

TEST_F(HostScript, FilesAndTheirModules) {
  namespace fs = std::filesystem;
  const fs::path folder = fs::path(::testing::TempDir()) / "orb_script_files";
  fs::create_directories(folder);
  const auto write = [&](const char *name, const char *text) {
    std::ofstream(folder / name) << text;
  };
  write("main.lua", "\xEF\xBB\xBF#!/usr/bin/env orbplay\nprint(require('part'))\nrequire('bad')");
  write("part.lua", "local name, path = ...\nreturn name .. ' ' .. fk_one");
  write("bad.lua", "\nfk_one = 2");
  Script script(host, {});
  script.load_file((folder / "main.lua").string());
  ::testing::internal::CaptureStdout();
  try {
    script.frame();
    ADD_FAILURE() << "no error";
  } catch (const ScriptError &error) {
    EXPECT_THAT(error.what(), HasSubstr("main.lua:3: error loading module 'bad' from file '" +
                                        (folder / "bad.lua").string() + "':\n\t"));
    EXPECT_THAT(error.what(), HasSubstr("bad.lua:2: attempt to assign to const variable 'fk_one'"));
  }
  EXPECT_THAT(::testing::internal::GetCapturedStdout(), StartsWith("part 1\t"));
  EXPECT_THROW(script.load_file(folder.string()), ScriptError);
  fs::remove_all(folder);
}

TEST_F(HostScript, ArraysAndTheMouse) {
  EXPECT_EQ(play("print(#video_modes, video_modes[3].width); video_modes[0].wide = 9\n"
                 "print(video_modes[0].wide, mouse.size, mouse.left)"),
            "4\t7\n9\t100\tfalse\n");
  EXPECT_EQ(host.global("video_modes", 0), 9);
  EXPECT_THAT(failure("return video_modes[4]"), HasSubstr("index 4 outside 0 to 3"));
  EXPECT_THAT(failure("return video_modes[-1]"), HasSubstr("index -1 outside"));
  EXPECT_THAT(failure("return video_modes[0].x"), HasSubstr("no field \"x\""));
  EXPECT_THAT(failure("mouse.left = true"), HasSubstr("no field \"left\""));
  host.input().pointer.right = true;
  EXPECT_EQ(play("print(mouse.right)"), "true\n");
}

TEST_F(HostScript, ArgumentsKeysAndSeed) {
  ScriptOptions options;
  options.arguments = {"a", "-b"};
  EXPECT_EQ(play("print(arg[0], arg[1], arg[2], ...)", 1, options), "file.lua\ta\t-b\ta\t-b\n");
  host.input().set_key(*Input::key_symbol("left"), true);
  EXPECT_EQ(play("print(key('left'), key('right'))"), "true\tfalse\n");
  EXPECT_THAT(failure("key('nonsense')"), HasSubstr("no key is called \"nonsense\""));
  const std::string text = "seed(5) local a = math.random(1000000) seed(5) "
                           "print(a == math.random(1000000), math.random(1000000))";
  EXPECT_THAT(play(text), StartsWith("true"));
  EXPECT_EQ(play(text), play(text));
  EXPECT_EQ(play("print(math.random(1000000))"), play("print(math.random(1000000))"));
}

TEST_F(HostScript, ListsTheFilesOfAFolder) {
  namespace fs = std::filesystem;
  const fs::path folder = fs::path(::testing::TempDir()) / "orb_list_folder";
  fs::remove_all(folder);
  fs::create_directories(folder / "folder");
  for (const char *name : {"b", "a.png", "B", "\xC3\xA4", ".hidden"})
    std::ofstream(folder / name);
  fs::create_symlink("nowhere", folder / "dangling");
  ScriptOptions options;
  options.arguments = {folder.string()};
  EXPECT_EQ(play("print(table.concat(list_folder(arg[1]), ' '))", 1, options),
            ".hidden B a.png b \xC3\xA4\n");
  EXPECT_EQ(play("print(#list_folder(arg[1] .. '/folder'))", 1, options), "0\n");
  EXPECT_EQ(play("print(list_folder(arg[1] .. '/b'))", 1, options),
            "nil\t" + (folder / "b").string() + ": Not a directory\n");
  EXPECT_THAT(play("print(list_folder(''))"), StartsWith("nil\t: "));
  EXPECT_THAT(failure("list_folder()"), HasSubstr("string expected"));
  fs::remove_all(folder);
}

// ---- Processes ----------------------------------------------------------------------------------

TEST_F(HostScript, LocalsAreTheProcessMemory) {
  EXPECT_EQ(play("local p = spawn(function(self, a, b) self.x = self.x + a self.y = b frame() end,"
                 " {x = 10, size = 50, mine = 'own'}, 5, 7)\n"
                 "print(p.x, p.size, p.alpha, p.mine, p.absent)\nframe()\n"
                 "print(p.x, p.y, p.graph) frame() p.mine = 3 print(p.mine, p.id == nil)"),
            "10\t50\t255\town\tnil\n15\t7\t0\n3\tfalse\n");
  EXPECT_EQ(play("local name = 'a_local_whose_name_is_too_long_for_lua_to_keep_it_once'\n"
                 "main[name] = main[name] + 1 print(main[name], main[name .. '_'], main[1])"),
            "6\tnil\tnil\n");
  EXPECT_THAT(failure("main.x = 'a'"), HasSubstr("x: number expected, got string"));
  EXPECT_THAT(failure("main.id = 1"), HasSubstr("id of a process can't be assigned"));
  EXPECT_THAT(failure("main.kill = 1"), HasSubstr("kill of a process can't be assigned"));
  EXPECT_THAT(failure("local p = spawn(function() end) frame() p.x = 1"),
              HasSubstr("x: the process has ended"));
  EXPECT_THAT(failure("spawn(5)"), HasSubstr("function expected"));
  EXPECT_THAT(failure("spawn(print, 5)"), HasSubstr("table expected"));
}

TEST_F(HostScript, AnObjectNeverBecomesAnotherProcess) {
  EXPECT_EQ(play("local function short() end\n"
                 "local p, q = spawn(short) local id = p.id frame()\n"
                 "for i = 1, 1100 do spawn(short) end frame() frame() frame()\n"
                 "repeat q = spawn(short) until q.id == id\n"
                 "print(pcall(function() return p.x end))\n"
                 "print(alive(p), alive(q), process(id) == q, p == q)"),
            "false\tfile.lua:5: x: the process has ended\nfalse\ttrue\ttrue\tfalse\n");
}

TEST_F(HostScript, SpawnWithABadFieldLeavesNothing) {
  EXPECT_EQ(play("print(pcall(spawn, print, {x = 'a'}))\nframe()"),
            "false\tfile.lua:1: x: number expected, got string\n");
  EXPECT_EQ(host.processes().size(), 0u);
}

TEST_F(HostScript, XgraphTakesATable) {
  EXPECT_EQ(play("main.xgraph = {4, 5.9, -6} local t = main.xgraph print(#t, t[1], t[2], t[3])\n"
                 "main.xgraph = nil print(main.xgraph)"),
            "3\t4\t5\t-6\nnil\n");
  EXPECT_THAT(failure("main.xgraph = 5"), HasSubstr("xgraph: table or nil expected"));
}

TEST_F(HostScript, TurnsComeInListOrder) {
  // A process spawned during a turn has its first turn in the same frame, after all older ones.
  EXPECT_EQ(play("local function body(self, name)\n"
                 "  io.write(name, ' ') frame()\n"
                 "  if name == 'a' then spawn(body, nil, 'c') end\n"
                 "  io.write(name, ' ') frame()\n"
                 "end\n"
                 "spawn(body, nil, 'a') spawn(body, nil, 'b')\n"
                 "for i = 1, 4 do io.write('|') frame() end"),
            "|a b |a b c |c |");
}

TEST_F(HostScript, PlayEndsWithTheLastProcess) {
  Script script(host, {});
  script.load_text("spawn(function() for i = 1, 3 do frame() end end)", "file.lua");
  int frames = 1;
  while (script.frame())
    ++frames;
  EXPECT_EQ(frames, 4);
  EXPECT_EQ(fake::state().frames, 4);
}

TEST_F(HostScript, QuitStillDrawsTheFrame) {
  EXPECT_EQ(play("spawn(function() frame() print('not reached') end)\nframe()\nquit()\n"
                 "print('nor this')"),
            "");
  EXPECT_EQ(fake::state().frames, 2);
}

TEST_F(HostScript, SleepFreezeWakeKill) {
  EXPECT_EQ(play("local n = 0\n"
                 "local p = spawn(function() while true do n = n + 1 frame() end end)\n"
                 "frame() sleep(p) frame() frame() io.write(n, ' ')\n"
                 "p:wake() frame() io.write(n, ' ') freeze(p.id) frame() io.write(n, ' ')\n"
                 "wake(p) p:kill() frame() io.write(n, ' ', tostring(p:alive())) kill(p)"),
            "1 2 2 2 false");
}

TEST_F(HostScript, KillingItselfEndsTheTurnAtOnce) {
  EXPECT_EQ(play("spawn(function(self) print('in') pcall(kill, self) print('not reached') end)"),
            "in\n");
  EXPECT_EQ(host.processes().size(), 0u);
}

TEST_F(HostScript, AProcessKilledInItsFramesOwnTurnDoesNotRun) {
  EXPECT_EQ(play("local p\nspawn(function() frame() kill(p) frame() end)\n"
                 "p = spawn(function() while true do io.write('x') frame() end end)"),
            "x");
}

TEST_F(HostScript, CallsAreMadeForTheRunningProcess) {
  const std::string id =
      play("io.write(spawn(function() fk_sum(1, 2) frame() end).id) frame() frame()");
  EXPECT_EQ(std::to_string(ProcessList::id(fake::state().caller)), id);
  const std::string main = play("io.write(main.id) spawn(function() frame() end) fk_sum(1, 2)");
  EXPECT_EQ(std::to_string(ProcessList::id(fake::state().caller)), main);
  EXPECT_EQ(host.processes().current, nullptr);
  EXPECT_EQ(play("local function f() end\n"
                 "print(type_of(f) == type_of(f), type_of(f) ~= type_of(print),\n"
                 "  spawn(f).type == type_of(f), main.type == type_of(main))"),
            "true\ttrue\ttrue\ttrue\n");
}

TEST_F(HostScript, TurnsDontEndInsideOtherCoroutines) {
  const std::string text = "\ncoroutine.wrap(function() frame() end)()";
  EXPECT_THAT(failure(text), HasSubstr("file.lua:2: frame() must be called by the process's own"));
  EXPECT_THAT(failure("table.sort({3, 2, 1}, function() frame() end)"),
              HasSubstr("frame() must be called"));
  EXPECT_THAT(failure("coroutine.wrap(function() kill(main) end)()"),
              HasSubstr("kill() of the running process must be called"));
  EXPECT_EQ(play("for v in coroutine.wrap(function() coroutine.yield(1) end) do print(v) end"),
            "1\n");
}

TEST_F(HostScript, EndlessSpawningIsAnError) {
  ScriptOptions options;
  options.most_processes = 1000;
  EXPECT_THAT(failure("local function body() spawn(body) frame() end spawn(body)", options),
              HasSubstr("too many processes"));
  EXPECT_EQ(play("for i = 1, 998 do spawn(print) end print(pcall(spawn, print)) quit()", 1, options)
                .substr(0, 4),
            "true");
}

TEST_F(HostScript, ClosedCoroutinesRunTheirClosers) {
  EXPECT_EQ(play("local function body()\n"
                 "  local c <close> = setmetatable({}, {__close = function()\n"
                 "    print('closed') spawn(print, nil, 'from closer') end})\n"
                 "  while true do frame() end\nend\n"
                 "local p = spawn(body) frame() kill(p) frame() frame()"),
            "closed\nprocess 3\tfrom closer\n");
}

} // namespace

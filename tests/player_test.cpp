// The player as a program: exit statuses, messages, pictures.
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <png.h>
#include <sys/wait.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <string>
#include <vector>

namespace fs = std::filesystem;
using ::testing::HasSubstr;
using ::testing::StartsWith;

namespace {

std::string read_file(const fs::path &path) {
  std::ifstream file(path, std::ios::binary);
  std::ostringstream text;
  text << file.rdbuf();
  return text.str();
}

struct Outcome {
  int status;
  std::string out, err;
};

class Player : public ::testing::Test {
protected:
  void SetUp() override {
    folder = fs::path(::testing::TempDir()) / ("orb_player_" + std::to_string(::getpid()));
    fs::remove_all(folder);
    fs::create_directories(folder);
  }
  void TearDown() override { fs::remove_all(folder); }

  void write(const std::string &name, const std::string &text) {
    std::ofstream(folder / name) << text;
  }

  // Runs `orbplay ARGUMENTS` in the folder; a shell parses the arguments.
  Outcome play(const std::string &arguments, const std::string &before = "") {
    const std::string command = "cd '" + folder.string() + "' || exit; " + before +
                                " '" ORB_SOURCE_DIR "/tools/run32' '" ORB_BINARY_DIR
                                "/bin/orbplay' " +
                                arguments + " >out.txt 2>err.txt </dev/null";
    const int status = std::system(command.c_str());
    return {WIFEXITED(status) ? WEXITSTATUS(status) : -1, read_file(folder / "out.txt"),
            read_file(folder / "err.txt")};
  }

  // The RGB bytes of a PNG; `width` and `height` must match.
  std::vector<std::uint8_t> picture(const std::string &name, unsigned width, unsigned height) {
    png_image image{};
    image.version = PNG_IMAGE_VERSION;
    std::vector<std::uint8_t> pixels(std::size_t{3} * width * height);
    EXPECT_TRUE(png_image_begin_read_from_file(&image, (folder / name).c_str())) << name;
    EXPECT_EQ(image.width, width);
    EXPECT_EQ(image.height, height);
    if (image.width != width || image.height != height) return pixels;
    image.format = PNG_FORMAT_RGB;
    EXPECT_TRUE(png_image_finish_read(&image, nullptr, pixels.data(), 0, nullptr));
    return pixels;
  }

  fs::path folder;
};

TEST_F(Player, HelpVersionAndUsage) {
  EXPECT_EQ(play("--help").status, 0);
  EXPECT_THAT(play("--help").out, HasSubstr("Usage: orbplay [options] SCRIPT"));
  EXPECT_THAT(play("--version").out, StartsWith("orbplay 1."));
  write("a.lua", "");
  for (const char *arguments : {"", "--nothing a.lua", "--frames 0 a.lua", "--frames x a.lua",
                                "--fps -1 a.lua", "--fps 1001 a.lua", "--seed -1 a.lua",
                                "--screenshot x.png@0 a.lua", "a.lua --screenshot", "--module"}) {
    const Outcome run = play(arguments);
    EXPECT_EQ(run.status, 2) << arguments;
    EXPECT_THAT(run.err, StartsWith("orbplay: ")) << arguments;
  }
}

TEST_F(Player, SaysWhatIsMissing) {
  const Outcome script = play("--headless absent.lua");
  EXPECT_EQ(script.status, 3);
  EXPECT_EQ(script.err, "orbplay: absent.lua: no such script\n");
  EXPECT_EQ(play("--headless .").status, 3);
  write("a.lua", "");
  const Outcome module = play("--headless --module absent.so a.lua");
  EXPECT_EQ(module.status, 4);
  EXPECT_THAT(module.err, StartsWith("orbplay: the module can't be loaded: ./absent.so"));
  EXPECT_EQ(play("--headless --module a.lua a.lua").status, 4);
  const Outcome display = play("a.lua", "DISPLAY= SDL_VIDEODRIVER=");
  EXPECT_EQ(display.status, 4);
  EXPECT_THAT(display.err, StartsWith("orbplay: no display: "));
  EXPECT_THAT(display.err, HasSubstr("--headless"));
}

TEST_F(Player, ScriptErrorsEndPlay) {
  write("bad.lua", "frame()\nlocal t = nil\nt.x = 1\n");
  const Outcome bad = play("--headless bad.lua");
  EXPECT_EQ(bad.status, 1);
  EXPECT_THAT(bad.err, StartsWith("bad.lua:3: attempt to index a nil value (local 't')\n"
                                  "stack traceback:\n"));
  write("syntax.lua", "\nx = = 1");
  const Outcome syntax = play("--headless syntax.lua");
  EXPECT_EQ(syntax.status, 1);
  EXPECT_THAT(syntax.err, StartsWith("syntax.lua:2: "));
}

TEST_F(Player, ReportsMistakesAndGoesOn) {
  write("m.lua", "\nprint(image_load('absent.png'))\nprint('after')\n");
  const Outcome lenient = play("--headless m.lua");
  EXPECT_EQ(lenient.status, 0);
  EXPECT_THAT(lenient.err, StartsWith("m.lua:2: IMAGE_LOAD: argument 1 (\"absent.png\"): "));
  EXPECT_EQ(lenient.out, "-2147483648\nafter\n");
  const Outcome strict = play("--headless --strict m.lua");
  EXPECT_EQ(strict.status, 1);
  EXPECT_THAT(strict.err, StartsWith("m.lua:2: IMAGE_LOAD: argument 1 (\"absent.png\"): "));
  EXPECT_THAT(strict.err, HasSubstr("stack traceback:"));
  EXPECT_EQ(strict.out, "");
}

TEST_F(Player, ArgumentsReachTheScript) {
  fs::create_directories(folder / "sub");
  write("sub/a.lua", "print(arg[0], #arg, ...)\nprint(require('helper'))\n");
  write("sub/helper.lua", "return 'beside'");
  const Outcome run = play("--headless sub/a.lua -- one --two");
  EXPECT_EQ(run.status, 0) << run.err;
  EXPECT_THAT(run.out, StartsWith("sub/a.lua\t2\tone\t--two\nbeside\t"));
}

TEST_F(Player, InterruptsEndPlay) {
  write("idle.lua", "io.stdout:write('on'):flush() while true do frame() end");
  write("loop.lua", "io.stdout:write('on'):flush() while true do end");
  // Once for a script that runs frames, twice for one that does not.
  const std::string wait =
      "& p=$!; for i in $(seq 200); do grep -qs on out.txt && break; sleep 0.05; done; ";
  const std::string end = "wait $p; exit $?; #";
  EXPECT_EQ(play("--headless idle.lua >out.txt " + wait + "kill -TERM $p; " + end, "rm -f out.txt;")
                .status,
            143);
  EXPECT_EQ(play("--headless loop.lua >out.txt " + wait +
                     "kill -TERM $p; sleep 0.2; kill -TERM $p; " + end,
                 "rm -f out.txt;")
                .status,
            143);
}

TEST_F(Player, ListsEveryForm) {
  const Outcome run = play("--list-functions");
  EXPECT_EQ(run.status, 0) << run.err;
  EXPECT_EQ(std::count(run.out.begin(), run.out.end(), '\n'), 310);
  EXPECT_THAT(run.out, StartsWith("clear_screen() -> I\n"));
  EXPECT_THAT(run.out, HasSubstr("\nregion_is_xout(I,I) -> F\n"));
}

TEST_F(Player, FramesAndScreenshots) {
  write("n.lua", "mode_set(320, 200, 32)\nfor i = 1, 1000 do frame() end\n");
  const Outcome run = play("--headless --frames 5 --screenshot a.png@2 --screenshot b.png n.lua");
  EXPECT_EQ(run.status, 0) << run.err;
  picture("a.png", 320, 200);
  picture("b.png", 320, 200);
  const Outcome late = play("--headless --frames 5 --screenshot late.png@6 n.lua");
  EXPECT_EQ(late.status, 1);
  EXPECT_EQ(late.err, "orbplay: no screenshot late.png: play ended at frame 5\n");
  EXPECT_EQ(play("--headless --frames 1 --screenshot no/such.png n.lua").status, 1);
  // A file that can be written but not replaced.
  fs::create_symlink("/proc/self/comm", folder / "comm.png");
  const Outcome fixed = play("--headless --frames 1 --screenshot comm.png n.lua");
  EXPECT_EQ(fixed.status, 1);
  EXPECT_THAT(fixed.err, HasSubstr("comm.png: can't be written: "));
}

// A pixel of a known colour: the screenshots show the screen.
TEST_F(Player, ScreenshotsShowTheScreensColours) {
  write("c.lua", "mode_set(320, 200, tonumber(arg[1]))\n"
                 "for i = 1, 120 do ground_put_pixel(3, 5, rgb(255, 128, 0)) frame() end\n");
  for (const char *depth : {"16", "32"}) {
    const Outcome run = play(std::string("--headless --screenshot c.png c.lua ") + depth);
    ASSERT_EQ(run.status, 0) << run.err;
    EXPECT_EQ(run.err, "");
    const auto pixels = picture("c.png", 320, 200);
    const std::uint8_t *pixel = &pixels[3 * (5 * 320 + 3)];
    EXPECT_EQ(pixel[0], 255) << depth;
    EXPECT_NEAR(pixel[1], 128, 4) << depth;
    EXPECT_EQ(pixel[2], 0) << depth;
    EXPECT_EQ(pixel[3] | pixel[4] | pixel[5], 0) << depth;
  }
}

TEST_F(Player, HeadlessRunsAreTheSame) {
  write("r.lua", "mode_set(320, 200, 32)\n"
                 "local function body(self)\n"
                 "  for i = 1, 40 do\n"
                 "    ground_put_pixel(math.random(0, 319), math.random(0, 199),\n"
                 "                     rgb(math.random(0, 255), 200, 100))\n"
                 "    frame()\n"
                 "  end\n"
                 "end\n"
                 "for i = 1, 20 do spawn(body) end\n"
                 "set_fps(50, 0)\nframe()\nprint(fps, math.random(1000000))\n");
  const Outcome first = play("--headless --screenshot 1.png@30 --screenshot 1e.png r.lua");
  const Outcome second = play("--headless --screenshot 2.png@30 --screenshot 2e.png r.lua");
  ASSERT_EQ(first.status, 0) << first.err;
  EXPECT_EQ(first.out, second.out);
  EXPECT_THAT(first.out, StartsWith("50\t"));
  EXPECT_TRUE(read_file(folder / "1.png") == read_file(folder / "2.png"));
  EXPECT_TRUE(read_file(folder / "1e.png") == read_file(folder / "2e.png"));
  EXPECT_TRUE(read_file(folder / "1.png") != read_file(folder / "1e.png"));
  const Outcome other = play("--headless --seed 2 --fps 10 --screenshot 3.png@30 r.lua");
  EXPECT_TRUE(read_file(folder / "1.png") != read_file(folder / "3.png"));
  EXPECT_THAT(other.out, StartsWith("10\t"));
}

} // namespace

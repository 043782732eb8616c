// orbgfx as a program: libraries packed and unpacked, side files, exit statuses, messages.
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <png.h>
#include <sys/stat.h>
#include <sys/wait.h>

#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <random>
#include <sstream>
#include <string>
#include <unistd.h>
#include <vector>

namespace fs = std::filesystem;
using ::testing::HasSubstr;
using ::testing::StartsWith;
using namespace std::string_literals;

namespace {

struct Outcome {
  int status;
  std::string out, err;
};

// A graph of a plain FPG file, taken from its bytes.
struct Entry {
  std::uint32_t code, width, height, flags;
  std::string description, name, points, pixels;
};

std::uint32_t word(const std::string &bytes, std::size_t at) {
  std::uint32_t value = 0;
  std::memcpy(&value, bytes.substr(at, 4).data(), 4);
  return value;
}

std::vector<Entry> parse_library(const std::string &bytes, std::size_t depth) {
  std::vector<Entry> entries;
  std::size_t at = depth == 8 ? 8 + 768 + 576 : 8;
  while (at + 536 <= bytes.size()) {
    Entry entry;
    entry.code = word(bytes, at);
    entry.description = bytes.substr(at + 8, 256).c_str();
    entry.name = bytes.substr(at + 264, 260).c_str();
    entry.width = word(bytes, at + 524);
    entry.height = word(bytes, at + 528);
    entry.flags = word(bytes, at + 532);
    at += 536;
    entry.points = bytes.substr(at, 4 * (entry.flags & 0xFFF));
    at += entry.points.size();
    entry.pixels = bytes.substr(at, std::size_t{entry.width} * entry.height * (depth / 8));
    at += entry.pixels.size();
    entries.push_back(entry);
  }
  EXPECT_EQ(at, bytes.size());
  return entries;
}

class Orbgfx : public ::testing::Test {
protected:
  void SetUp() override {
    folder = fs::path(::testing::TempDir()) / ("orbgfx_" + std::to_string(::getpid()));
    fs::remove_all(folder);
    fs::create_directories(folder);
  }
  void TearDown() override { fs::remove_all(folder); }

  std::string read(const std::string &name) {
    std::ifstream file(folder / name, std::ios::binary);
    std::ostringstream text;
    text << file.rdbuf();
    return text.str();
  }
  void write(const std::string &name, const std::string &bytes) {
    std::ofstream(folder / name, std::ios::binary) << bytes;
  }

  // Runs `orbgfx ARGUMENTS` in the folder; a shell parses the arguments.
  Outcome gfx(const std::string &arguments) {
    const std::string command = "cd '" + folder.string() +
                                "' && '" ORB_SOURCE_DIR "/tools/run32' '" ORB_BINARY_DIR
                                "/bin/orbgfx' " +
                                arguments + " >.out 2>.err </dev/null";
    const int status = std::system(command.c_str());
    return {WIFEXITED(status) ? WEXITSTATUS(status) : -1, read(".out"), read(".err")};
  }
  void succeed(const std::string &arguments) {
    const Outcome run = gfx(arguments);
    ASSERT_EQ(run.status, 0) << arguments << "\n" << run.err;
    EXPECT_EQ(run.err, "") << arguments;
  }
  void fail(const std::string &arguments, int status, const std::string &message) {
    const Outcome run = gfx(arguments);
    EXPECT_EQ(run.status, status) << arguments;
    EXPECT_EQ(run.err, "orbgfx: " + message + "\n") << arguments;
    EXPECT_EQ(run.out, "") << arguments;
  }

  // Writes a picture of random pixels of `format` (PNG_FORMAT_...) and returns its samples.
  std::string make_png(const std::string &name, unsigned width, unsigned height,
                       std::uint32_t format) {
    png_image image{};
    image.version = PNG_IMAGE_VERSION;
    image.width = width;
    image.height = height;
    image.format = format;
    image.colormap_entries = 256;
    std::string pixels(PNG_IMAGE_SIZE(image), '\0');
    for (char &c : pixels)
      c = static_cast<char>(generator());
    std::string colours(PNG_IMAGE_COLORMAP_SIZE(image), '\0');
    for (char &c : colours)
      c = static_cast<char>(generator() & 0xFC); // values that a library can hold
    const std::string path = (folder / name).string();
    EXPECT_TRUE(png_image_write_to_file(&image, path.c_str(), 0, pixels.data(), 0, colours.data()));
    return pixels;
  }

  std::mt19937 generator{7};
  fs::path folder;
};

// Packed graphs are in the library's bytes and unpack unchanged, compressed or not.
TEST_F(Orbgfx, LibrariesComeBack) {
  const std::string bgra = make_png("300_alpha.png", 13, 21, PNG_FORMAT_BGRA);
  const std::string bgr = make_png("7-plain.png", 40, 3, PNG_FORMAT_BGR);
  const std::string indices = make_png("012_palette.png", 9, 17, PNG_FORMAT_RGB_COLORMAP);
  make_png("other.png", 5, 5, PNG_FORMAT_RGB_COLORMAP);
  const std::string see_through = make_png("500_see_through.png", 31, 8, PNG_FORMAT_RGBA_COLORMAP);
  const std::string inputs =
      " 300_alpha.png other.png 7-plain.png 012_palette.png 500_see_through.png";
  std::vector<bool> visible;
  for (const int depth : {32, 16, 8}) {
    const std::string with_depth = " --depth " + std::to_string(depth);
    succeed("pack -f -o plain.fpg" + with_depth + inputs);
    const std::string plain = read("plain.fpg");
    const std::vector<Entry> entries = parse_library(plain, static_cast<std::size_t>(depth));
    ASSERT_EQ(entries.size(), 5u);
    EXPECT_EQ(entries[0].code, 1u);
    EXPECT_EQ(entries[0].name, "other.png");
    EXPECT_EQ(entries[1].code, 7u);
    EXPECT_EQ(entries[2].code, 12u);
    EXPECT_EQ(entries[3].code, 300u);
    EXPECT_EQ(entries[3].name, "300_alpha.png");
    EXPECT_EQ(entries[3].width, 13u);
    EXPECT_EQ(entries[3].height, 21u);
    EXPECT_EQ(entries[3].flags, depth == 32 ? 0x1000u : 0u);
    if (depth == 32) {
      EXPECT_EQ(entries[3].pixels, bgra);
      for (std::size_t i = 0; i < 120; ++i) {
        ASSERT_EQ(entries[1].pixels.substr(4 * i, 4), bgr.substr(3 * i, 3) + '\0') << i;
      }
    }
    if (depth == 8) EXPECT_EQ(entries[0].pixels.size(), 25u);
    // A palette with alphas makes an alpha channel, and decides which pixels are 0 where there is
    // none.
    EXPECT_EQ(entries[4].flags, depth == 32 ? 0x1000u : 0u);
    const std::size_t step = static_cast<std::size_t>(depth) / 8;
    for (std::size_t i = 0; i < std::size_t{31} * 8; ++i) {
      const std::string pixel = entries[4].pixels.substr(step * i, step);
      if (depth == 32)
        visible.push_back(static_cast<std::uint8_t>(pixel[3]) >= 128);
      else if (depth == 16 || see_through[i] != 0)
        EXPECT_EQ(pixel != std::string(step, '\0'), visible[i]) << i;
    }

    for (const std::string options : {"", "--compress", "--key a", "--compress --key 'a b'"}) {
      const bool enciphered = options.find("key") != std::string::npos;
      const bool compressed = options.find("compress") != std::string::npos;
      const std::string key = enciphered ? " " + options.substr(options.find("--key")) : "";
      SCOPED_TRACE(options + with_depth);
      succeed("pack -f -o l.fpg " + options + with_depth + inputs);
      const std::string bytes = read("l.fpg");
      EXPECT_EQ(bytes.substr(0, 4), compressed ? "orbz" : enciphered ? "ge!\x1A" : "fpg\x1A");
      EXPECT_EQ(bytes.substr(8, 3) == "gz!", compressed);
      EXPECT_EQ(bytes.find(plain.substr(plain.size() - 40)) == std::string::npos,
                compressed || enciphered);
      succeed("verify" + key + " l.fpg");
      succeed("convert -f" + key + " l.fpg back.fpg");
      EXPECT_EQ(read("back.fpg"), plain);
      // Through pictures, with the depth and the names from the side file.
      fs::remove_all(folder / "l");
      succeed("unpack" + key + " l.fpg");
      succeed("pack -f -o again.fpg " + options + " l/*");
      EXPECT_EQ(read("again.fpg"), bytes);
      succeed("diff" + key + " l.fpg again.fpg");
    }
  }
  // A named palette is used instead of the first one by code: its picture keeps its indices.
  succeed("pack -f -o own.fpg --depth 8 --palette 012_palette.png" + inputs);
  EXPECT_EQ(parse_library(read("own.fpg"), 8)[2].pixels, indices);
  EXPECT_NE(read("own.fpg").substr(8, 768), read("plain.fpg").substr(8, 768));
}

TEST_F(Orbgfx, SideFilesKeepWhatPicturesDont) {
  make_png("2_a.png", 8, 8, PNG_FORMAT_BGR);
  make_png("3_b.png", 8, 8, PNG_FORMAT_BGR);
  const std::string notes = "# graphs of s.fpg\n"
                            "depth 16\n"
                            "\n"
                            "graph 2\n"
                            "name SHIP.MAP\n"
                            "description \\x20two\\nlines, \\\\ and \xC3\xA4, \\xE4 and \\x07\n"
                            "point 0 3 -4\n"
                            "point 5 32767 -32768\n"
                            "\n"
                            "graph 3\n"
                            "name\n";
  write("graphs.txt", notes + "\r\n# nothing\r\ngraph 9\r\npoint 1 1 1\r\n");
  succeed("pack -o s.fpg *.png");
  const std::vector<Entry> entries = parse_library(read("s.fpg"), 16);
  ASSERT_EQ(entries.size(), 2u);
  EXPECT_EQ(entries[0].name, "SHIP.MAP");
  EXPECT_EQ(entries[0].description, " two\nlines, \\ and \xC3\xA4, \xE4 and \x07");
  ASSERT_EQ(entries[0].flags, 6u);
  EXPECT_EQ(entries[0].points.substr(0, 4), "\x03\0\xFC\xFF"s);
  EXPECT_EQ(entries[0].points.substr(4, 2), "\xFF\xFF"s);
  EXPECT_EQ(entries[0].points.substr(20, 4), "\xFF\x7F\0\x80"s);
  EXPECT_EQ(entries[1].name, "");
  EXPECT_EQ(entries[1].flags, 0u);

  succeed("unpack s.fpg");
  std::string expected = notes;
  expected.replace(expected.find("graph 3\nname\n"), 13, "graph 3\nname \n");
  EXPECT_EQ(read("s/graphs.txt"), expected);
  EXPECT_TRUE(fs::exists(folder / "s/002_SHIP.png"));
  EXPECT_TRUE(fs::exists(folder / "s/003.png"));
  // MAP files store the id and the points.
  write("one.txt", "graph 4000000000\ndescription one\npoint 2 7 8\n");
  succeed("convert --side-file one.txt 2_a.png one.map");
  succeed("convert --side-file back.txt one.map one.png");
  EXPECT_EQ(read("back.txt"),
            "# graphs of one.map\n\ngraph 4000000000\nname one.map\ndescription one\n"
            "point 0 4 4\npoint 2 7 8\n"); // the centre, which the file must state
  succeed("pack --no-side-file -o no.fpg 2_a.png");
  EXPECT_EQ(parse_library(read("no.fpg"), 32).at(0).name, "2_a.png");

  const std::pair<std::string, std::string> mistakes[] = {
      {"point 1 2 3\n", "1: a line \"graph NUMBER\" must come first"},
      {"graph\n", "1: a number expected"},
      {"graph 1x\n", "1: a number expected"},
      {"graph 1 2\n", "1: one number expected after \"graph\""},
      {"graph 1\n\ngraph 1\n", "3: graph 1 is defined twice"},
      {"graph 1\npoint 1 2\n", "2: a number expected"},
      {"graph 1\npoint 1 2 99999\n", "2: a point's number, x and y expected"},
      {"graph 1\npoint 1 -1 2\n", "2: x can't be -1, which marks a missing point"},
      {"graph 1\npoint 4095 2 3\n", "2: a point's number, x and y expected"},
      {"graph 1\npoint 1 2 3\npoint 1 2 3\n", "3: point 1 is defined twice"},
      {"graph 1\nname \\q\n",
       "2: \"\\\\\", \"\\n\" or \"\\x\" and two digits expected after a backslash"},
      {"graph 1\nname \\x00\n", "2: a text can't hold a zero byte"},
      {"graph 1\nname " + std::string(256, 'x'), "2: the text is longer than 255 bytes"},
      {std::string(5000, 'x'), "1: the line is too long"},
      {"depth 9\n", "1: 8, 16 or 32 expected after \"depth\""},
      {"colour 9\n", "1: \"depth\", \"graph\", \"name\", \"description\" or \"point\" expected"},
  };
  for (const auto &[text, message] : mistakes) {
    write("bad.txt", text);
    fail("pack --side-file bad.txt -o bad.fpg 2_a.png", 1, "bad.txt:" + message);
  }
  EXPECT_FALSE(fs::exists(folder / "bad.fpg"));
}

TEST_F(Orbgfx, NamesOfAnyKind) {
  const std::string odd = "014_it's \"a\" \xE4 file;$(touch x)\n.png";
  make_png(odd, 3, 4, PNG_FORMAT_BGR);
  make_png("-x.png", 3, 4, PNG_FORMAT_BGR);
  make_png("2024_summer.png", 3, 4, PNG_FORMAT_BGR);
  succeed("pack -o n.fpg -- *.png");
  const std::vector<Entry> entries = parse_library(read("n.fpg"), 32);
  ASSERT_EQ(entries.size(), 3u);
  EXPECT_EQ(entries[0].name, "-x.png");
  EXPECT_EQ(entries[1].name, "2024_summer.png");
  EXPECT_EQ(entries[2].code, 14u);
  EXPECT_EQ(entries[2].name, odd);
  EXPECT_THAT(gfx("list --json n.fpg").out,
              HasSubstr("\"014_it's \\\"a\\\" \\u00e4 file;$(touch x)\\u000a.png\""));
  succeed("unpack -o 'a b/c' n.fpg");
  EXPECT_TRUE(fs::exists(folder / "a b/c/014_it's \"a\" \xE4 file;$(touch x)_.png"));
  EXPECT_TRUE(fs::exists(folder / "a b/c/001_-x.png"));

  // A name from a library cannot leave the folder or be too long.
  std::string bytes = read("n.fpg");
  bytes.replace(8 + 264, 20, "../../../etc/x\0\0\0\0\0\0"s);
  bytes.replace(8 + 536 + 48 + 264, 255, std::string(255, 'n'));
  write("evil.fpg", bytes);
  succeed("unpack evil.fpg");
  EXPECT_TRUE(fs::exists(folder / "evil/001_.._.._.._etc_x.png"));
  EXPECT_TRUE(fs::exists(folder / ("evil/002_" + std::string(100, 'n') + ".png")));

  make_png("1_a.png", 3, 4, PNG_FORMAT_BGR);
  make_png("001_b.png", 3, 4, PNG_FORMAT_BGR);
  make_png("000_c.png", 3, 4, PNG_FORMAT_BGR);
  fail("pack -o m.fpg 1_a.png 001_b.png", 1, "001_b.png: code 1 is taken by 1_a.png");
  fail("pack -o m.fpg 000_c.png", 1, "000_c.png: code 0 isn't in 1 to 999");
  EXPECT_FALSE(fs::exists(folder / "m.fpg"));
}

TEST_F(Orbgfx, SaysWhatIsWrong) {
  make_png("1_a.png", 30, 40, PNG_FORMAT_BGR);
  succeed("pack -o a.fpg 1_a.png");
  succeed("pack -o k.fpg --key secret 1_a.png");
  succeed("pack -o z.fpg --compress 1_a.png");
  const std::string original = read("a.fpg");
  for (const std::string command :
       {"pack -o x.fpg no.png", "pack -o x.fpg 1_a.png no.png", "unpack no.png", "info no.png",
        "list no.png", "verify a.fpg no.png", "convert no.png x.png", "palette no.png",
        "diff a.fpg no.png"}) {
    fail(command, 3, "no.png: no such file");
  }
  fail("pack -o x.fpg --side-file no.txt 1_a.png", 3, "no.txt: can't be opened");

  fail("pack -o a.fpg 1_a.png", 1, "a.fpg: exists already (--force overwrites it)");
  fail("convert 1_a.png a.fpg", 1, "a.fpg: exists already (--force overwrites it)");
  fail("palette -o a.fpg 1_a.png", 1, "a.fpg: exists already (--force overwrites it)");
  succeed("unpack a.fpg");
  fs::remove(folder / "a/001_a.png");
  fail("unpack a.fpg", 1, "a/graphs.txt: exists already (--force overwrites it)");
  EXPECT_FALSE(fs::exists(folder / "a/001_a.png")); // all or nothing
  succeed("unpack -f a.fpg");
  EXPECT_EQ(read("a.fpg"), original);

  for (const std::string command : {"unpack", "list", "verify", "convert -f --depth 32 k.fpg"}) {
    const std::string file = command.starts_with("convert") ? " x.fpg" : " k.fpg";
    fail(command + file, 1, "k.fpg: enciphered; give its key with --key");
    fail(command + " --key Secret" + file, 1, "k.fpg: enciphered with another key");
  }
  EXPECT_FALSE(fs::exists(folder / "k"));
  EXPECT_EQ(gfx("info k.fpg").out, "k.fpg: 32-bit FPG file, enciphered\n");

  fail("unpack 1_a.png", 1, "1_a.png: not an FPG file");
  fail("convert a.fpg x.png", 1, "a.fpg: a library, not a picture");
  fail("convert --depth 16 a.fpg x.fpg", 1, "a.fpg: 32 bits, which is deeper than 16 bits");
  fail("palette 1_a.png", 1, "1_a.png: no palette can be read from this file");
  fail("convert --palette a.fpg 1_a.png x.png", 1, "a.fpg: no palette can be read from this file");
  fail("pack -o no/x.fpg 1_a.png", 1, "no/x.fpg: can't be written: No such file or directory");
  fail("pack -o x.fpg .", 1, ".: not a file");
  EXPECT_EQ(gfx("convert 1_a.png x.xyz").status, 2);
  EXPECT_EQ(gfx("diff a.fpg 1_a.png").status, 2);
  for (const std::string arguments :
       {"", "frobnicate", "pack", "pack a.png", "unpack", "info", "list a b", "diff a.fpg",
        "pack -o x --depth 24 1_a.png", "unpack --format gif a.fpg", "--frobnicate info a.fpg"}) {
    const Outcome run = gfx(arguments);
    EXPECT_EQ(run.status, 2) << arguments;
    EXPECT_THAT(run.err, StartsWith("orbgfx: ")) << arguments;
  }
  EXPECT_THAT(gfx("--help").out, HasSubstr("Usage: orbgfx [options] COMMAND"));
  EXPECT_THAT(gfx("--version").out, StartsWith("orbgfx 1."));
  EXPECT_EQ(gfx("--module no.so info a.fpg").status, 1);
  // None of this leaves anything behind.
  for (const auto &file : fs::directory_iterator(folder)) {
    EXPECT_NE(file.path().extension(), ".tmp") << file.path();
  }
}

// The target of a link is replaced and keeps its permissions; other kinds of entries stay.
TEST_F(Orbgfx, SavesWhereNamesLead) {
  make_png("1_a.png", 30, 40, PNG_FORMAT_BGR);
  fs::create_directory(folder / "in");
  for (const std::string ending : {"fpg", "map", "bmp", "jpg", "pcx", "png", "tga"}) {
    const std::string link = "to." + ending, pipe = "pipe." + ending, kept = "in/kept." + ending;
    const std::string command = ending == "fpg" ? "pack -f 1_a.png -o " : "convert -f 1_a.png ";
    fs::create_symlink(kept, folder / link);
    succeed(command + link);
    fs::permissions(folder / kept, fs::perms(0606));
    const std::string saved = read(kept);
    write(kept, "old");
    succeed(command + link);
    EXPECT_TRUE(fs::is_symlink(folder / link)) << ending;
    EXPECT_EQ(read(kept), saved) << ending;
    EXPECT_EQ(fs::status(folder / kept).permissions(), fs::perms(0606)) << ending;
    mkfifo((folder / pipe).c_str(), 0600);
    fail(command + pipe, 1, pipe + ": can't be written: Operation not supported");
    EXPECT_TRUE(fs::is_fifo(folder / pipe)) << ending;
  }
  EXPECT_EQ(std::distance(fs::directory_iterator(folder / "in"), {}), 7);
}

TEST_F(Orbgfx, VerifyFindsDamage) {
  make_png("1_a.png", 30, 40, PNG_FORMAT_BGR);
  make_png("2_b.png", 10, 10, PNG_FORMAT_BGR);
  succeed("pack -o a.fpg *.png");
  succeed("pack -o z.fpg --compress *.png");
  succeed("convert 1_a.png a.map");
  const auto check = [this](const std::string &bytes, const std::string &message) {
    write("bad.fpg", bytes);
    fail("verify a.fpg bad.fpg 1_a.png", 1, "bad.fpg: " + message);
  };
  const std::string plain = read("a.fpg"), compressed = read("z.fpg");
  check(plain.substr(0, plain.size() - 1), "damaged: it ends too early");
  check(plain.substr(0, 8 + 300), "damaged: it ends too early");
  check(compressed.substr(0, compressed.size() - 1), "damaged: it ends too early");
  check("", "not a picture of a known format, or damaged");
  check("fpg", "not a picture of a known format, or damaged");
  std::string bytes = plain;
  bytes[8] = 2; // graph 1 claims to be graph 2: the second 2 replaces it
  check(bytes, std::to_string(536 + 4800) + " bytes belong to no graph");
  bytes[8] = 0;
  check(bytes, std::to_string(plain.size() - 8) + " bytes belong to no graph");
  bytes = compressed;
  bytes[bytes.size() - 20] ^= 1;
  write("bad.fpg", bytes);
  EXPECT_EQ(gfx("verify bad.fpg").status, 1);
  bytes = read("a.map");
  write("bad.map", bytes.substr(0, bytes.size() / 2));
  EXPECT_EQ(gfx("verify bad.map").status, 1);
  write("bad.png", read("1_a.png").substr(0, 200));
  EXPECT_EQ(gfx("verify bad.png").status, 1);
  const Outcome json = gfx("verify --json a.fpg bad.png");
  EXPECT_EQ(json.status, 1);
  EXPECT_EQ(json.out, "[\n  {\"file\": \"a.fpg\", \"ok\": true},\n"
                      "  {\"file\": \"bad.png\", \"ok\": false, \"problem\": \"bad.png: not a "
                      "picture of a known format, or damaged\"}\n]\n");
}

TEST_F(Orbgfx, DiffTellsWhatDiffers) {
  make_png("1_a.png", 6, 5, PNG_FORMAT_BGR);
  make_png("2_b.png", 6, 5, PNG_FORMAT_BGR);
  make_png("3_c.png", 6, 5, PNG_FORMAT_BGRA);
  succeed("pack -o a.fpg 1_a.png 2_b.png 3_c.png");
  std::string bytes = read("a.fpg");
  bytes[8 + 536 + 4 * (6 * 2 + 3)] ^= 1;
  bytes[8 + 536 + 4 * (6 * 4 + 5) + 2] ^= 1;
  write("b.fpg", bytes);
  EXPECT_EQ(gfx("diff a.fpg b.fpg").out, "1: 2 of 30 pixels, the first at 3,2\n");
  make_png("3_d.png", 5, 5, PNG_FORMAT_BGR);
  make_png("4_e.png", 5, 5, PNG_FORMAT_BGR);
  write("graphs.txt", "graph 3\nname 3_c.png\ndescription d\npoint 0 1 2\n");
  succeed("pack -o c.fpg 1_a.png 3_d.png 4_e.png");
  const Outcome run = gfx("diff a.fpg c.fpg");
  EXPECT_EQ(run.status, 1);
  EXPECT_EQ(run.out, "2: only in a.fpg\n"
                     "3: size: 6x5, 5x5\n"
                     "3: alpha channel: yes, no\n"
                     "3: description: \"\", \"d\"\n"
                     "3: control points: none, 0=1;2\n"
                     "4: only in c.fpg\n");
  make_png("p.png", 6, 5, PNG_FORMAT_RGB_COLORMAP);
  succeed("convert p.png p.bmp");
  succeed("convert --depth 32 p.png q.png");
  succeed("diff p.png p.bmp");
  EXPECT_EQ(gfx("diff p.png q.png").out, "depth: 8, 32\n");
  succeed("diff --depth 32 p.png q.png");
  EXPECT_THAT(gfx("diff 1_a.png 2_b.png").out, HasSubstr(" of 30 pixels, the first at "));
}

TEST_F(Orbgfx, ConvertsBetweenAllFormats) {
  make_png("t.png", 33, 14, PNG_FORMAT_BGR);
  make_png("a.png", 33, 14, PNG_FORMAT_BGRA);
  make_png("p.png", 33, 14, PNG_FORMAT_RGB_COLORMAP);
  make_png("s.png", 33, 14, PNG_FORMAT_RGBA_COLORMAP);
  EXPECT_EQ(gfx("info s.png").out, "s.png: 32-bit picture, 33x14, alpha channel\n");
  for (const std::string output : {"1.map", "1.bmp", "1.PCX", "1.tga", "1.png", "2.map --compress",
                                   "2.bmp --compress", "2.tga --compress"}) {
    for (const std::string picture : {"t", "p", "a", "s"}) {
      const bool alpha = picture == "a" || picture == "s";
      if (alpha && output == "1.PCX") continue; // PCX has no alpha channel
      succeed("convert " + picture + ".png " + picture + output);
      succeed("diff " + picture + ".png " + picture + output.substr(0, output.find(' ')));
    }
  }
  succeed("convert t.png t.jpg");
  EXPECT_EQ(gfx("info t.jpg").out, "t.jpg: 32-bit picture, 33x14\n");
  succeed("palette p.png -o p.pal");
  EXPECT_EQ(gfx("palette p.pal").out, gfx("palette p.png").out);
  succeed("pack -o p.fpg --depth 8 --compress --key k p.png");
  EXPECT_EQ(gfx("palette --key k p.fpg").out, gfx("palette p.png").out);
  // A truecolour picture in the colours of a library.
  succeed("convert --palette p.fpg --key k t.png t8.png");
  EXPECT_EQ(gfx("info t8.png").out, "t8.png: 8-bit picture, 33x14\n");
  EXPECT_EQ(gfx("palette t8.png").out, gfx("palette p.png").out);
}

TEST_F(Orbgfx, JsonIsJson) {
  if (std::system("python3 -c 'import json' 2>/dev/null") != 0) GTEST_SKIP() << "no python3";
  make_png("1_a.png", 6, 5, PNG_FORMAT_BGRA);
  make_png("2_p.png", 6, 5, PNG_FORMAT_RGB_COLORMAP);
  write("graphs.txt", "graph 1\ndescription \"\\\\ \\x01 \\xFF \xE2\x82\xAC\npoint 0 -2 5\n");
  succeed("pack -o a.fpg --depth 8 1_a.png 2_p.png");
  const std::pair<std::string, std::string> queries[] = {
      {"info --json a.fpg 1_a.png", "[(f['kind'], f['depth']) for f in d] == [('fpg', 8), "
                                    "('picture', 32)] and d[0]['graphs'] == 2"},
      {"list --json a.fpg", "d[0]['description'] == '\"\\\\ \\x01 \\xff \\u20ac' and "
                            "d[0]['points'] == [[0, -2, 5]] and d[1]['code'] == 2"},
      {"palette --json 2_p.png", "len(d['colours']) == 256 and len(d['colours'][9]) == 3"},
      {"diff --json a.fpg a.fpg", "d == {'equal': True, 'differences': []}"},
      {"diff --json 1_a.png 2_p.png", "not d['equal'] and d['differences'][0]['what'] == 'depth'"},
      {"verify --json a.fpg", "d == [{'file': 'a.fpg', 'ok': True}]"},
  };
  for (const auto &[arguments, condition] : queries) {
    write("check.py", "import json\nd = json.load(open('.out'))\nassert " + condition + ", d\n");
    gfx(arguments);
    EXPECT_EQ(std::system(("cd '" + folder.string() + "' && python3 check.py").c_str()), 0)
        << arguments;
  }
}

} // namespace

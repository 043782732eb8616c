// The palette's script functions: arguments, files, and effects on the palette.
#include <cstring>
#include <map>
#include <random>
#include <sstream>

#include <gtest/gtest.h>

#include "graphics_fixture.h"
#include "png_pictures.h"
#include "script/handlers.h"
#include "video/presentation.h"

namespace {

constexpr int32_t failure = INT32_MIN;

using components = std::array<uint8_t, 768>;

components bytes_of(const __ORBPalette2D__ &palette) {
  components out;
  memcpy(out.data(), &palette, out.size());
  return out;
}

/// The checksum, computed entry by entry from its definition.
uint32_t checksum_of(const components &values) {
  uint32_t crc = 0;
  for (size_t i = 0; i < values.size(); i += 3) {
    crc = (crc + values[i]) * 2;
    crc = (crc + values[i + 1]) * 2;
    crc = (crc + values[i + 2]) * 2;
  }
  return crc;
}

struct PaletteFunctions : graphics_test {
  std::mt19937 random{64};

  PaletteFunctions() {
    host.file.open = [](const char *name, int32_t open_mode, int32_t, const char *) -> void * {
      return fopen(name, open_mode == ORB_OPEN_WRITE ? "wb" : "rb");
    };
    host.file.write = [](const void *from, int32_t size, int32_t count, int32_t, void *handle) {
      return int32_t(fwrite(from, size_t(size), size_t(count), static_cast<FILE *>(handle)));
    };
    set_depth(8);
    reset_fades();
    fading = host.global("fading");
  }

  components random_components(uint8_t most) {
    components out;
    for (uint8_t &value : out)
      value = uint8_t(random() % (most + 1u));
    return out;
  }

  /// An engine file: seven bytes, one ignored byte, `before` bytes, palette, colour ranges.
  std::string put_own(const std::string &magic, size_t before, const components &stored) {
    file_bytes bytes(magic.begin(), magic.end());
    bytes.resize(7, 0);
    bytes.push_back(uint8_t(random()));
    bytes.resize(8 + before, 0xEE);
    bytes.insert(bytes.end(), stored.begin(), stored.end());
    bytes.resize(bytes.size() + 576, 0x55);
    write_file(path("own"), bytes);
    return path("own");
  }

  std::string put_png(const std::string &name) {
    png_picture picture{4, 4, PNG_COLOR_TYPE_PALETTE, 8, false, false, {}, {}, {}};
    fill_picture(picture, 4, 4, random);
    write_file(path(name), encode_png(picture));
    return path(name);
  }

  int32_t load(const std::string &name) { return host.call(ORB_palette_load, name.c_str()); }
};

// Depth: call -> result ("fail" for the failure value), and the report: code, function, argument
// position, file. A file named "forced" means a call while a palette is forced; "ints" is an array
// for 256 colours.
constexpr const char *rows = R"(
8: palette_load @good.pal -> 1
8: palette_load @paletted.png -> 1
8: palette_load @none -> fail 103 PALETTE_LOAD 1 @none
8: palette_load @text -> fail 103 PALETTE_LOAD 1 @text
8: palette_load @truecolour.png -> fail 103 PALETTE_LOAD 1 @truecolour.png
8: palette_load null -> fail
8: palette_load @forced -> fail 183 PALETTE_LOAD 1 @forced
16: palette_load @good.pal -> fail
32: palette_load @none -> fail
8: palette_save @new.pal -> 1
8: palette_save @no_such_folder/new.pal -> fail 123 PALETTE_SAVE 1 @no_such_folder/new.pal
8: palette_save null -> fail
16: palette_save @new.pal -> fail
8: palette_force @good.pal -> 1
8: palette_force @forced -> fail 103 PALETTE_LOAD 1 @forced
8: palette_force @none -> fail 103 PALETTE_LOAD 1 @none
8: palette_force null -> 1
32: palette_force @good.pal -> fail
8: palette_roll 0 256 1 -> 1
8: palette_roll 255 1 -7 -> 1
8: palette_roll 0 0 1 -> 1
8: palette_roll 0 257 1 -> fail
8: palette_roll 1 256 1 -> fail
8: palette_roll -1 3 1 -> fail
8: palette_roll 256 0 1 -> fail
8: palette_roll 3 -1 1 -> fail
8: palette_roll 255 2147483647 1 -> fail
16: palette_roll 0 16 1 -> fail
8: palette_set_color 0 63 63 63 -> 1
8: palette_set_color 255 64 -1 0 -> 1
8: palette_set_color 256 0 0 0 -> fail
8: palette_set_color -1 0 0 0 -> fail
32: palette_set_color 1 2 3 4 -> fail
8: palette_set_colors 0 256 ints -> 1
8: palette_set_colors 255 1 ints -> 1
8: palette_set_colors 255 2 ints -> fail
8: palette_set_colors -1 1 ints -> fail
8: palette_set_colors 0 -1 ints -> fail
8: palette_set_colors 0 1 null -> fail
8: palette_set_colors 0 256 7 -> fail
16: palette_set_colors 0 1 ints -> fail
8: palette_find_color 0 0 0 -> 40
8: palette_find_color 63 63 63 -> 15
8: palette_find_color 127 -63 191 -> 15
16: palette_find_color 0 0 0 -> fail
)";

TEST_F(PaletteFunctions, ArgumentsResultsAndReports) {
  const std::map<std::string, int32_t (*)()> handlers = {
      {"palette_load", ORB_palette_load},
      {"palette_save", ORB_palette_save},
      {"palette_force", ORB_palette_force},
      {"palette_roll", ORB_palette_roll},
      {"palette_set_color", ORB_palette_set_color},
      {"palette_set_colors", ORB_palette_set_colors},
      {"palette_find_color", ORB_palette_find_color},
  };
  std::filesystem::rename(put_own("pal\x1A\x0D\x0A", 0, random_components(63)), path("good.pal"));
  put_png("paletted.png");
  write_file(path("text"), {'n', 'o', ' ', 'p', 'a', 'l', 'e', 't', 't', 'e'});
  png_picture truecolour{4, 4, PNG_COLOR_TYPE_RGB, 8, false, false, {}, {}, {}};
  fill_picture(truecolour, 4, 4, random);
  write_file(path("truecolour.png"), encode_png(truecolour));
  std::vector<int32_t> ints(768, 5);

  std::istringstream lines(rows);
  int tried = 0;
  for (std::string line; std::getline(lines, line);) {
    if (line.empty()) continue;
    SCOPED_TRACE(line);
    std::istringstream row(line);
    int32_t depth;
    char colon;
    std::string function, word, wanted;
    row >> depth >> colon >> function;
    std::deque<std::string> texts;
    std::vector<int32_t> arguments;
    while (row >> word && word != "->") {
      if (word[0] == '@')
        arguments.push_back(std::bit_cast<int32_t>(texts.emplace_back(path(&word[1])).c_str()));
      else if (word == "ints")
        arguments.push_back(std::bit_cast<int32_t>(ints.data()));
      else
        arguments.push_back(word == "null" ? 0 : std::stoi(word));
    }
    row >> wanted;
    std::vector<fake_error> reports;
    if (fake_error report{0, "", ORB_VALUE_STRING, 0, 0, ""}; row >> report.code) {
      row >> report.function >> report.position >> word;
      report.text = path(&word[1]);
      reports.push_back(report);
    }
    set_depth(depth == 8 ? 16 : 8); // a fresh palette for each row
    set_depth(depth);
    palette_forced = line.find("forced") != std::string::npos;
    host.errors.clear();
    const int32_t result = host.call(handlers.at(function), arguments);
    EXPECT_EQ(result, wanted == "fail" ? failure : std::stoi(wanted));
    EXPECT_EQ(host.errors, reports);
    EXPECT_EQ(host.left_over(), 0u);
    tried++;
  }
  EXPECT_EQ(tried, 45);
}

// ---- Files --------------------------------------------------------------------------------------

TEST_F(PaletteFunctions, ReadsThePaletteWhereEachFormatHasIt) {
  const struct {
    std::string magic;
    size_t before;
  } headers[] = {
      {"pal\x1A\x0D\x0A", 0},       {"fpg\x1A\x0D\x0A", 0}, {"fpg\x1A\x0D\x08", 0},
      {"fnt\x1A\x0D\x0A", 0},       {"fnt\x1A\x0D\x08", 0}, {"map\x1A\x0D\x0A", 8 + 32},
      {"map\x1A\x0D\x08", 8 + 256},
  };
  for (const auto &[magic, before] : headers) {
    SCOPED_TRACE(magic);
    const components stored = random_components(63);
    components expected = stored;
    for (uint8_t &value : expected)
      value = uint8_t(value * 4);
    const std::string name = put_own(magic, before, stored);
    const file_bytes whole = read_file(name);
    palette_update = palette_loaded = fake_ghost_table = force_sys_fnt = 0;
    screen_color = 77;
    fade_pos = {100, 100, 100};

    // Whichever part of the palette is missing, nothing changes.
    const components former = bytes_of(*palette);
    const uint32_t former_crc = palette_crc;
    for (size_t size : std::vector<size_t>{0, 1, 6, 7, 8 + before, 8 + before + 767}) {
      write_file(name, file_bytes(whole.begin(), whole.begin() + ptrdiff_t(size)));
      EXPECT_EQ(load(name), failure) << size;
    }
    EXPECT_EQ(bytes_of(*palette), former);
    EXPECT_EQ(palette_crc, former_crc);
    EXPECT_EQ(palette_loaded + palette_update, 0);
    EXPECT_EQ(fade_pos, (fade_levels{100, 100, 100}));

    // The palette is enough; the colour ranges may be missing.
    write_file(name, file_bytes(whole.begin(), whole.begin() + ptrdiff_t(8 + before + 768)));
    EXPECT_EQ(load(name), 1);
    EXPECT_EQ(bytes_of(*palette), expected);
    EXPECT_EQ(palette_crc, checksum_of(stored));
    EXPECT_TRUE(palette_update && palette_loaded && fake_ghost_table && force_sys_fnt);
    EXPECT_EQ(fade_pos, (fade_levels{0, 0, 0})); // faded out; the script fades back in
    EXPECT_EQ(*fading, 0);
    EXPECT_EQ(screen_color_rgb.r, expected[77 * 3]);
    EXPECT_EQ(screen_color_rgb.b, expected[77 * 3 + 2]);

    // Loading the same palette again changes nothing.
    fade_pos = {100, 100, 100};
    palette_update = 0;
    write_file(name, whole);
    EXPECT_EQ(load(name), 1);
    EXPECT_EQ(fade_pos, (fade_levels{100, 100, 100}));
    EXPECT_EQ(palette_update, 0);
  }
  // Depths without a palette, and palette files in the second format, that of graphs.
  for (const char *magic :
       {"map\x1A\x0D\x16", "fpg\x1A\x0D\x32", "pal\x1A\x0D\x08", "PAL\x1A\x0D\x0A"})
    EXPECT_EQ(load(put_own(magic, 0, random_components(63))), failure);
}

TEST_F(PaletteFunctions, TakesThePaletteOfAPicture) {
  png_picture picture{8, 2, PNG_COLOR_TYPE_PALETTE, 8, false, false, {}, {}, {}};
  fill_picture(picture, 8, 2, random);
  write_file(path("p.png"), encode_png(picture));
  ASSERT_EQ(load(path("p.png")), 1);
  EXPECT_EQ(memcmp(palette, picture.palette.data(), 3 * picture.palette.size()), 0);
  EXPECT_EQ(palette_crc, checksum_of(bytes_of(*palette)));
  EXPECT_EQ(image_has_palette, 0); // nothing remains for the next reader
}

TEST_F(PaletteFunctions, SavesWhatItLoads) {
  ASSERT_EQ(load(put_png("p.png")), 1);
  file_bytes expected = {'p', 'a', 'l', 0x1A, 0x0D, 0x0A, 0, 0};
  for (const uint8_t value : bytes_of(*palette))
    expected.push_back(value / 4);
  for (uint8_t range = 0; range < 16; range++) {
    expected.insert(expected.end(), {16, 0, 0, 0});
    expected.insert(expected.end(), 32, uint8_t(16 * range));
  }
  ASSERT_EQ(expected.size(), 1352u);
  ASSERT_EQ(host.call(ORB_palette_save, path("first.pal").c_str()), 1);
  EXPECT_EQ(read_file(path("first.pal")), expected);

  load_default_palette(palette);
  ASSERT_EQ(load(path("first.pal")), 1);
  ASSERT_EQ(host.call(ORB_palette_save, path("second.pal").c_str()), 1);
  EXPECT_EQ(read_file(path("second.pal")), expected);

  host.file.write = [](const void *, int32_t, int32_t count, int32_t, void *) { return count - 1; };
  EXPECT_EQ(host.call(ORB_palette_save, path("full.pal").c_str()), failure);
  ASSERT_EQ(host.errors.size(), 1u);
  EXPECT_EQ(host.errors[0].code, 123);
}

// ---- Forcing ------------------------------------------------------------------------------------

TEST_F(PaletteFunctions, AForcedPaletteStaysUntilItIsGivenUp) {
  // Even a forced palette equal to the one in force must not yield to the first picture's.
  ASSERT_EQ(host.call(ORB_palette_save, path("default.pal").c_str()), 1);
  const components at_start = bytes_of(*palette);
  ASSERT_EQ(palette_loaded, 0);
  ASSERT_EQ(host.call(ORB_palette_force, path("default.pal").c_str()), 1);
  EXPECT_EQ(palette_forced, 1);
  EXPECT_EQ(host.call(ORB_image_load, put_png("p.png").c_str()), 1000);
  EXPECT_EQ(bytes_of(*palette), at_start);

  // A failure keeps it forced; success replaces it.
  EXPECT_EQ(host.call(ORB_palette_force, path("none").c_str()), failure);
  EXPECT_EQ(palette_forced, 1);
  EXPECT_EQ(bytes_of(*palette), at_start);
  EXPECT_EQ(load(path("p.png")), failure);
  EXPECT_EQ(host.call(ORB_palette_force, path("p.png").c_str()), 1);
  EXPECT_EQ(palette_forced, 1);
  EXPECT_NE(bytes_of(*palette), at_start);

  static int32_t dropped;
  dropped = 0;
  host.table.rt_drop_params = [](int32_t count) { dropped += count; };
  for (const char *none : {"", static_cast<const char *>(nullptr)}) {
    palette_forced = 1;
    EXPECT_EQ(host.call(ORB_palette_force, none), 1);
    EXPECT_EQ(palette_forced, 0);
  }
  EXPECT_EQ(dropped, 4);
  // A palette not forced before a failure is not forced afterwards.
  EXPECT_EQ(host.call(ORB_palette_force, path("none").c_str()), failure);
  EXPECT_EQ(palette_forced, 0);
}

// ---- Colours ------------------------------------------------------------------------------------

TEST_F(PaletteFunctions, RollTurnsARange) {
  for (int round = 0; round < 400; round++) {
    const int32_t first = int32_t(random() % 256);
    const int32_t count = 1 + int32_t(random() % (256u - uint32_t(first)));
    const int32_t extremes[] = {INT32_MIN, INT32_MAX, -count, count, 0, 1, -1};
    const int32_t step = round % 4 ? int32_t(random() % 600) - 300 : extremes[random() % 7];
    memcpy(palette, random_components(252).data(), sizeof *palette);
    __ORBPalette2D__ expected = *palette;
    for (int64_t i = 0; i < count; i++) {
      int64_t to = i + step;
      to -= to / count * count;
      if (to < 0) to += count;
      expected.colours[first + to] = palette->colours[first + i];
    }
    palette_update = fake_ghost_table = force_sys_fnt = 0;
    ASSERT_EQ(host.call(ORB_palette_roll, first, count, step), 1);
    ASSERT_EQ(bytes_of(*palette), bytes_of(expected)) << first << ' ' << count << ' ' << step;
    ASSERT_TRUE(palette_update && fake_ghost_table && force_sys_fnt);
  }
}

TEST_F(PaletteFunctions, SetsEntries) {
  const components before = bytes_of(*palette);
  palette_update = fake_ghost_table = force_sys_fnt = 0;
  const int32_t ints[] = {63, 0, 1, 64, -5, 2, 7, 8, 9};
  ASSERT_EQ(host.call(ORB_palette_set_colors, 253, 3, ints), 1);
  EXPECT_TRUE(palette_update && fake_ghost_table && force_sys_fnt);
  components expected = before;
  const uint8_t set[] = {252, 0, 4, 0, 20, 8, 28, 32, 36};
  memcpy(&expected[253 * 3], set, sizeof set);
  EXPECT_EQ(bytes_of(*palette), expected);
  ASSERT_EQ(host.call(ORB_palette_set_color, 17, 1, 2, 3), 1);
  const uint8_t one[] = {4, 8, 12};
  memcpy(&expected[17 * 3], one, sizeof one);
  EXPECT_EQ(bytes_of(*palette), expected);
  EXPECT_EQ(host.call(ORB_palette_find_color, 1, 2, 3), 17);
}

} // namespace

// Colour packing, the palette and its searches, the ghost and depth tables.
#include "surface/colour.h"

#include <algorithm>
#include <array>
#include <cstdlib>
#include <random>
#include <set>
#include <string>
#include <tuple>
#include <vector>

#include <gtest/gtest.h>

#include "failing_allocator.h"
#include "fake_runtime.h"
#include "script/handlers.h"
#include "surface/depth_tables.h"
#include "surface/ghost_table.h"
#include "surface/nearest_colour.h"
#include "surface/palette.h"
#include "surface/screen.h"
#include "video/mode_tables.h"

namespace {

struct Colour : testing::Test {
  fake_runtime host;
  ~Colour() override {
    free_tables();
    mode = {};
  }
  /// The state after a set-mode of that depth.
  static void set_depth(int32_t depth) {
    mode.bpp = depth;
    ASSERT_EQ(do_tables(depth), 1);
    set_colour_routines(depth);
  }
};

// ---- Packing ------------------------------------------------------------------------------------

int32_t clamped(int32_t c) {
  return std::clamp(c, 0, 255);
}

TEST_F(Colour, PackingClampsEveryComponent) {
  std::mt19937 random(21);
  for (int i = 0; i < 5000; ++i) {
    const int32_t extremes[] = {INT32_MIN, -1, 0, 255, 256, INT32_MAX};
    int32_t c[4];
    for (int32_t &each : c)
      each = random() % 4 ? int32_t(random() % 300) - 20 : extremes[random() % 6];
    const auto r = uint32_t(clamped(c[0])), g = uint32_t(clamped(c[1])),
               b = uint32_t(clamped(c[2])), a = uint32_t(clamped(c[3]));
    const uint32_t packed16 = r / 8 * 2048 + g / 4 * 32 + b / 8;
    ASSERT_EQ(set_rgb_16bits(c[0], c[1], c[2]), packed16);
    ASSERT_EQ(set_rgbx_16bits(c[0], c[1], c[2]), packed16);
    ASSERT_EQ(set_rgba_16bits(c[0], c[1], c[2], c[3]), packed16);
    const uint32_t packed32 = r * 65536 + g * 256 + b;
    ASSERT_EQ(set_rgb_32bits(c[0], c[1], c[2]), packed32);
    ASSERT_EQ(set_rgbx_32bits(c[0], c[1], c[2]), packed32 + 255u * 16777216u);
    ASSERT_EQ(set_rgba_32bits(c[0], c[1], c[2], c[3]), packed32 + a * 16777216u);
  }
}

TEST_F(Colour, UnpackingAndItsLeakAbove16Bits) {
  int32_t r = -1, g = -1, b = -1, a = -1;
  for (uint32_t colour = 0; colour <= 0xFFFF; ++colour) {
    ASSERT_EQ(get_rgba_16bits(colour, &r, &g, &b, &a), 1);
    ASSERT_EQ(set_rgb_16bits(r, g, b), colour);
    ASSERT_EQ((r & 7) + (g & 3) + (b & 7), 0);
    ASSERT_EQ(a, 255);
  }
  get_rgb_16bits(0x12345, &r, &g, &b); // red keeps the bits above its field
  EXPECT_EQ(std::tuple(r, g, b), std::tuple(0x24 * 8, (0x12345 >> 5 & 63) * 4, 5 * 8));
  EXPECT_EQ(get_rgba_32bits(0x12345678, &r, &g, &b, &a), 1);
  EXPECT_EQ(std::tuple(r, g, b, a), std::tuple(0x34, 0x56, 0x78, 0x12));
  EXPECT_EQ(get_rgba_32bits(0xFFFFFFFF, nullptr, nullptr, nullptr, nullptr), 1);
  EXPECT_EQ(get_rgba_16bits(0xFFFF, nullptr, nullptr, nullptr, nullptr), 1);
  EXPECT_EQ(get_rgb_32bits(0xFF00FF, nullptr, &g, nullptr), 1);
  EXPECT_EQ(g, 0);
}

TEST_F(Colour, ScriptFunctionsFollowTheMode) {
  int32_t r = 7, g = 7, b = 7, a = 7;
  set_depth(8);
  EXPECT_EQ(host.call(ORB_rgb, 255, 255, 255), 0);
  EXPECT_EQ(host.call(ORB_rgbx, 255, 255, 255), 0);
  EXPECT_EQ(host.call(ORB_rgba, 255, 255, 255, 255), 0);
  EXPECT_EQ(host.call(ORB_get_rgb, 12, &r, &g, &b), 0);
  EXPECT_EQ(host.call(ORB_get_rgba, 12, &r, &g, &b, &a), 0);

  set_depth(16);
  EXPECT_EQ(host.call(ORB_rgb, 255, 255, 255), 0xFFFF);
  EXPECT_EQ(host.call(ORB_rgb, 255, 0, 8), 0xF801);
  EXPECT_EQ(host.call(ORB_rgba, 0, 255, 0, 3), 0x07E0);
  EXPECT_EQ(host.call(ORB_get_rgb, 0x10000, &r, &g, &b), 0);
  EXPECT_EQ(host.call(ORB_get_rgba, -1, &r, &g, &b, &a), 0);
  EXPECT_EQ(std::tuple(r, g, b, a), std::tuple(7, 7, 7, 7));
  EXPECT_EQ(host.call(ORB_get_rgb, 0xFFFF, &r, &g, &b), 1);
  EXPECT_EQ(std::tuple(r, g, b), std::tuple(248, 252, 248));
  EXPECT_EQ(host.call(ORB_get_rgba, 0xF801, &r, &g, &b, &a), 1);
  EXPECT_EQ(std::tuple(r, g, b, a), std::tuple(248, 0, 8, 255));

  set_depth(32);
  EXPECT_EQ(host.call(ORB_rgb, 255, 255, 255), 0x00FFFFFF);
  EXPECT_EQ(host.call(ORB_rgb, 300, -5, 128), 0x00FF0080);
  EXPECT_EQ(uint32_t(host.call(ORB_rgbx, 255, 255, 255)), 0xFFFFFFFF);
  EXPECT_EQ(uint32_t(host.call(ORB_rgba, 1, 2, 3, 128)), 0x80010203u);
  EXPECT_EQ(host.call(ORB_get_rgba, 0x80010203u, &r, &g, &b, &a), 1);
  EXPECT_EQ(std::tuple(r, g, b, a), std::tuple(1, 2, 3, 128));
  EXPECT_EQ(host.call(ORB_get_rgba, 0x80010203u, nullptr, nullptr, nullptr, &a), 1);
  EXPECT_EQ(host.left_over(), 0u);
  EXPECT_TRUE(host.errors.empty());
}

// ---- The palette --------------------------------------------------------------------------------

/// Palettes of several kinds: few distinct colours make ties, narrow ranges crowd cells.
__ORBPalette2D__ random_palette(std::mt19937 &random, int kind) {
  __ORBPalette2D__ out;
  const auto component = [&](int i) {
    switch (kind % 6) {
    case 0: return uint8_t(random());
    case 1: return uint8_t(random() % 64 * 4);
    case 2: return uint8_t(random() % 3 * 127);
    case 3: return uint8_t(100 + random() % 20);
    case 4: return uint8_t(i);
    default: return uint8_t(42);
    }
  };
  for (int i = 0; i < 256; ++i)
    out.colours[i] = {component(i), component(i), component(i)};
  return out;
}

int distance(const orb_rgb &entry, int r, int g, int b) {
  return std::abs(entry.r - r) + std::abs(entry.g - g) + std::abs(entry.b - b);
}

/// The lowest of the indices 1..254 at the least distance.
int slow_nearest(const __ORBPalette2D__ &in, int r, int g, int b) {
  int best = 1;
  for (int i = 2; i <= 254; ++i)
    if (distance(in.colours[i], r, g, b) < distance(in.colours[best], r, g, b)) best = i;
  return best;
}

TEST_F(Colour, FindColorIsTheLowestNearestIndex) {
  EXPECT_EQ(find_color(1, 2, 3), 0); // no palette
  EXPECT_EQ(set_color(5, 1, 2, 3), 1);
  set_depth(8);
  std::mt19937 random(22);
  for (int i = 0; i < 3000; ++i) {
    if (i % 20 == 0) *palette = random_palette(random, i / 20);
    int32_t c[3];
    for (int32_t &each : c)
      each = random() % 50 ? int32_t(random() % 200) - 80 : random() % 2 ? INT32_MIN : INT32_MAX;
    const auto scaled = [](int32_t value) { return int(std::llabs(value) % 64 * 4); };
    const int expected = slow_nearest(*palette, scaled(c[0]), scaled(c[1]), scaled(c[2]));
    ASSERT_EQ(find_color(c[0], c[1], c[2]), expected);
    ASSERT_EQ(last_found_colour, expected);
  }
}

TEST_F(Colour, FindColorNeverGivesTheKeyOrTheLastEntry) {
  set_depth(8);
  for (orb_rgb &entry : palette->colours)
    entry = {0, 0, 0};
  palette->colours[0] = palette->colours[255] = {252, 252, 252};
  palette->colours[9] = {200, 200, 200};
  EXPECT_EQ(find_color(63, 63, 63), 9);
  EXPECT_EQ(find_color(64, 64, 64), 1); // wraps to black
  for (orb_rgb &entry : palette->colours)
    entry = {8, 8, 8};
  EXPECT_EQ(find_color(0, 0, 0), 1);
}

TEST_F(Colour, ManyColoursAtOnceFindTheSameAsEachAlone) {
  std::mt19937 random(28);
  __ORBPalette2D__ p{};
  for (int kind = 0; kind < 48; ++kind) {
    SCOPED_TRACE(kind);
    // Entries change in place, too: what was learnt about the old colours is out of date.
    if (kind % 8 == 6)
      load_default_palette(&p);
    else if (kind % 8 == 7)
      p.colours[1 + random() % 254] = {uint8_t(random()), uint8_t(random()), uint8_t(random())};
    else
      p = random_palette(random, kind % 8);
    std::vector<uint32_t> colours;
    for (uint32_t corner = 0; corner < 8; ++corner)
      colours.push_back((corner & 1) * 0xFF + (corner >> 1 & 1) * 0xFF00 +
                        (corner >> 2) * 0xFF0000);
    for (const orb_rgb &e : p.colours)
      colours.push_back((uint32_t(e.r) << 16 | uint32_t(e.g) << 8 | e.b) ^ (random() & 0x30301));
    for (int i = 0; i < 3000; ++i)
      colours.push_back(random() % 4 ? uint32_t(random()) : colours.back());
    // With memory; without any; with just enough to begin; and with memory from there on.
    for (const uint32_t failing : {1000, 1, 2, 1000}) {
      SCOPED_TRACE(failing);
      if (failing < 1000) forget_nearest();
      std::vector<uint8_t> found(colours.size());
      {
        const allocation_fault fault(failing, fault_scope::module, fault_kind::onwards);
        find_all_nearest(&p, colours.data(), uint32_t(colours.size()), found.data());
      }
      for (size_t i = 0; i < colours.size(); ++i) {
        const uint32_t c = colours[i];
        ASSERT_EQ(found[i], slow_nearest(p, c >> 16 & 255, c >> 8 & 255, c & 255)) << i;
      }
    }
  }
  forget_nearest();
}

TEST_F(Colour, SetColorMarksWhatDependsOnIt) {
  set_depth(8);
  palette_update = force_sys_fnt = fake_ghost_table = 0;
  EXPECT_EQ(set_color(200, -63, 64, INT32_MIN), 1);
  const orb_rgb &entry = palette->colours[200];
  EXPECT_EQ(std::tuple(entry.r, entry.g, entry.b), std::tuple(252, 0, 0));
  EXPECT_EQ(palette_update, 1);
  EXPECT_EQ(force_sys_fnt, 1);
  EXPECT_EQ(fake_ghost_table, 1);
}

TEST_F(Colour, DefaultPaletteServes) {
  __ORBPalette2D__ p;
  load_default_palette(&p);
  std::set<std::tuple<int, int, int>> distinct;
  for (const orb_rgb &e : p.colours) {
    EXPECT_EQ((e.r | e.g | e.b) & 3, 0);
    distinct.insert({e.r, e.g, e.b});
  }
  EXPECT_GT(distinct.size(), 245u);
  EXPECT_EQ(distance(p.colours[0], 0, 0, 0), 0);
  // Without 0 and 255 every colour still has a near match: black and white exactly, others within
  // half a step of the cube per component.
  EXPECT_EQ(distance(p.colours[find_nearest(&p, 0, 0, 0)], 0, 0, 0), 0);
  EXPECT_EQ(distance(p.colours[find_nearest(&p, 252, 252, 252)], 252, 252, 252), 0);
  for (int r = 0; r < 253; r += 7)
    for (int g = 0; g < 253; g += 7)
      for (int b = 0; b < 253; b += 7)
        ASSERT_LE(distance(p.colours[find_nearest(&p, r, g, b)], r, g, b), 3 * 26);
}

TEST_F(Colour, SystemColoursAreTheNearestGreys) {
  set_depth(8);
  std::mt19937 random(23);
  for (int kind = 0; kind < 6; ++kind) {
    *palette = random_palette(random, kind);
    update_system_colors();
    EXPECT_EQ(system_colors.black, slow_nearest(*palette, 0, 0, 0));
    EXPECT_EQ(system_colors.grey, slow_nearest(*palette, 128, 128, 128));
    EXPECT_EQ(system_colors.white, slow_nearest(*palette, 255, 255, 255));
  }
  load_default_palette(palette);
  update_system_colors();
  const int levels[] = {system_colors.black, system_colors.dark_grey, system_colors.grey,
                        system_colors.light_grey, system_colors.white};
  for (int i = 1; i < 5; ++i)
    EXPECT_GT(palette->colours[levels[i]].g, palette->colours[levels[i - 1]].g);
}

TEST_F(Colour, PaletteExchange) {
  __ORBPalette2D__ mine, out;
  std::mt19937 random(24);
  mine = random_palette(random, 0);
  EXPECT_EQ(get_palette(&out), 0); // 8-bit modes only
  EXPECT_EQ(set_palette(&mine), 0);
  EXPECT_EQ(init_force_palette(&mine), 0);
  set_depth(8);
  EXPECT_EQ(palette_loaded, 0);
  palette_update = fake_ghost_table = 0;
  EXPECT_EQ(set_palette(&mine), 1);
  EXPECT_EQ(palette_loaded, 1);
  EXPECT_EQ(palette_update, 1);
  EXPECT_EQ(fake_ghost_table, 1);
  EXPECT_EQ(get_palette(&out), 1);
  EXPECT_EQ(memcmp(&out, &mine, sizeof out), 0);
  EXPECT_EQ(get_palette(nullptr), 0);
  EXPECT_EQ(set_palette(nullptr), 0);
  EXPECT_EQ(copy_palette(&out, nullptr), 0);
  EXPECT_EQ(copy_palette(nullptr, &out), 0);
  EXPECT_EQ(init_force_palette(nullptr), 0);

  // Swapping two entries must change the checksum, or a remapping would be skipped.
  const uint32_t crc = palette_checksum(&mine);
  std::swap(out.colours[250], out.colours[251]);
  EXPECT_NE(palette_checksum(&out), crc);
  __ORBPalette2D__ one{};
  one.colours[255] = {1, 2, 3};
  EXPECT_EQ(palette_checksum(&one), ((1u * 2 + 2) * 2 + 3) * 2);
}

TEST_F(Colour, ForcedPaletteMapsToTheNearest) {
  set_depth(8);
  std::mt19937 random(25);
  for (int kind = 0; kind < 6; ++kind) {
    *palette = random_palette(random, kind);
    __ORBPalette2D__ source = random_palette(random, 0);
    source.colours[77] = palette->colours[77];
    source.colours[255] = palette->colours[255];
    ASSERT_EQ(init_force_palette(&source), 1);
    EXPECT_EQ(forced_palette_map[0], 0);
    EXPECT_EQ(forced_palette_map[77], 77);
    EXPECT_EQ(forced_palette_map[255], 255);
    for (int i = 1; i < 256; ++i) {
      const orb_rgb &s = source.colours[i];
      if (distance(palette->colours[i], s.r, s.g, s.b) == 0) continue;
      ASSERT_EQ(forced_palette_map[i], slow_nearest(*palette, s.r, s.g, s.b)) << kind << ", " << i;
    }
  }
}

// ---- The ghost table ----------------------------------------------------------------------------

TEST_F(Colour, GhostTableIsExact) {
  set_depth(8);
  std::mt19937 random(26);
  for (int kind = 0; kind < 6; ++kind) {
    SCOPED_TRACE(kind);
    *palette = random_palette(random, kind);
    update_ghost_table();
    EXPECT_EQ(fake_ghost_table, 0);
    for (int s = 0; s < 256; ++s) {
      const orb_rgb &a = palette->colours[s];
      for (int d = s; d < 256; ++d) {
        const orb_rgb &b = palette->colours[d];
        const int mix = slow_nearest(*palette, (a.r + b.r) / 2, (a.g + b.g) / 2, (a.b + b.b) / 2);
        ASSERT_EQ(table_ghost8[s * 256 + d], mix) << s << ", " << d;
        ASSERT_EQ(table_ghost8[d * 256 + s], mix) << s << ", " << d;
      }
    }
  }
}

TEST_F(Colour, GhostTableWaitsForItsFirstUse) {
  set_depth(8);
  EXPECT_EQ(fake_ghost_table, 1);
  EXPECT_EQ(table_ghost8[20 * 256 + 30], 20); // solid until then
  update_ghost_table();
  // Half of white over black is middle grey.
  const orb_rgb &mix = palette->colours[table_ghost8[15 * 256 + 0]];
  EXPECT_LE(distance(mix, 126, 126, 126), 12);
  set_depth(32);
  EXPECT_EQ(table_ghost8, nullptr);
  EXPECT_EQ(fake_ghost_table, 1);
  update_ghost_table();
}

// ---- Tables per depth ---------------------------------------------------------------------------

TEST_F(Colour, DepthTables) {
  for (int32_t depth : {8, 16, 32}) {
    SCOPED_TRACE(depth);
    set_depth(depth);
    __ORBPalette2D__ expected;
    load_default_palette(&expected);
    for (int round = 0; round < 2; ++round) {
      for (int i = 0; i < 256; ++i) {
        const orb_rgb &e = expected.colours[i];
        ASSERT_EQ(table_color8to16[i], set_rgb_16bits(e.r, e.g, e.b));
        ASSERT_EQ(table_color8to32[i], set_rgb_32bits(e.r, e.g, e.b));
      }
      std::mt19937 random(27);
      expected = random_palette(random, 0);
      update_depth_tables(&expected);
    }
    for (uint32_t p = 0; p < 65536; ++p) {
      int32_t r, g, b;
      get_rgb_16bits(p, &r, &g, &b);
      ASSERT_EQ(table_color16to32[p], set_rgb_32bits(r, g, b)) << p;
    }
  }
  free_tables();
  __ORBPalette2D__ any{};
  update_depth_tables(&any); // no table to fill
  update_depth_tables(nullptr);
}

TEST_F(Colour, TablesFollowTheDepth) {
  set_depth(8);
  __ORBPalette2D__ *const first = palette;
  set_color(9, 1, 2, 3);
  palette_loaded = palette_forced = 1;
  set_depth(8); // the same depth again keeps everything
  EXPECT_EQ(palette, first);
  EXPECT_EQ(palette->colours[9].g, 8);
  EXPECT_EQ(palette_loaded, 1);
  set_depth(16);
  EXPECT_EQ(palette, nullptr);
  EXPECT_EQ(table_ghost8, nullptr);
  EXPECT_NE(table_color8to32, nullptr);
  set_depth(8);
  ASSERT_NE(palette, nullptr);
  ASSERT_NE(table_ghost8, nullptr);
  __ORBPalette2D__ fresh;
  load_default_palette(&fresh);
  EXPECT_EQ(memcmp(palette, &fresh, sizeof fresh), 0);
  EXPECT_EQ(palette_loaded, 0); // the next picture may set its own palette again
  EXPECT_EQ(palette_forced, 0);
  free_tables();
  EXPECT_EQ(table_color16to32, nullptr);
  set_depth(8);
  EXPECT_NE(palette, nullptr);
  EXPECT_TRUE(host.fatals.empty());
}

} // namespace

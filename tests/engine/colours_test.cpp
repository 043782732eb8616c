// Colours: packing, searches in the palette and what is made of them, conversions, fills and the
// tables of the effects, each against its definition.
#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <tuple>
#include <vector>

#include <gtest/gtest.h>

#include "blit/effect_tables.h"
#include "engine/picture.h"
#include "support/failing_allocator.h"
#include "support/world.h"
#include "surface/colour.h"
#include "surface/conversion.h"
#include "surface/depth_tables.h"
#include "surface/fill.h"
#include "surface/ghost_table.h"
#include "surface/nearest_colour.h"
#include "surface/palette.h"
#include "surface/screen.h"
#include "surface/surface.h"

namespace {

struct Colours : testing::Test {
  world w;
  guarded_memory memory{4096};
  random_source random{base_seed()};
  Colours() { w.set_mode(8); }

  /// Few distinct colours make ties, narrow ranges crowd the cells of a search.
  void paint(__ORBPalette2D__ &palette, int kind) {
    const auto component = [&](int i) {
      const int kinds[] = {random.below(256),
                           random.below(64) * 4,
                           random.below(3) * 127,
                           100 + random.below(20),
                           i,
                           42};
      return uint8_t(kinds[kind % 6]);
    };
    for (int i = 0; i < 256; ++i)
      palette.colours[i] = {component(i), component(i), component(i)};
  }
};

int distance(const orb_rgb &entry, int r, int g, int b) {
  return std::abs(entry.r - r) + std::abs(entry.g - g) + std::abs(entry.b - b);
}
/// The lowest of the indices 1..254 at the least distance: never the key, nor the last.
int nearest(const __ORBPalette2D__ &in, int r, int g, int b) {
  int best = 1;
  for (int i = 2; i <= 254; ++i)
    if (distance(in.colours[i], r, g, b) < distance(in.colours[best], r, g, b)) best = i;
  return best;
}
uint32_t packed16(uint32_t r, uint32_t g, uint32_t b) {
  return r / 8 * 2048 + g / 4 * 32 + b / 8;
}
uint32_t packed32(uint32_t r, uint32_t g, uint32_t b) {
  return r * 65536 + g * 256 + b;
}

TEST_F(Colours, ArePackedClampedAndUnpacked) {
  for (const int32_t low : {0, -1, INT32_MIN})
    for (const int32_t high : {255, 256, INT32_MAX}) {
      EXPECT_EQ(set_rgbx_16bits(high, low, 9) * 65536 + set_rgba_16bits(low, high, 9, 9),
                0xF80107E1);
      EXPECT_EQ(set_rgb_32bits(high, 0x12, low), 0xFF1200u) << "without alpha";
      EXPECT_EQ(set_rgbx_32bits(low, high, 0x34), 0xFF00FF34) << "opaque";
      EXPECT_EQ(set_rgba_32bits(0x56, low, high, 0x78), 0x785600FFu);
      EXPECT_EQ(set_rgba_32bits(1, 2, 3, low) ^ set_rgba_32bits(1, 2, 3, high), 0xFF000000);
    }
  int32_t r = -1, g = -1, b = -1, a = -1;
  EXPECT_EQ(get_rgba_32bits(0x12345678, &r, &g, &b, &a), 1);
  EXPECT_EQ(std::tuple(r, g, b, a), std::tuple(0x34, 0x56, 0x78, 0x12));
  // A 16-bit colour above 65535 shows in red, which isn't masked.
  EXPECT_EQ(get_rgba_16bits(0x12365, &r, &g, &b, &a), 1);
  EXPECT_EQ(std::tuple(r, g, b, a), std::tuple(0x120, 0x6C, 0x28, 255));
  EXPECT_EQ(get_rgb_16bits(1, nullptr, &g, nullptr) + get_rgb_32bits(1, &r, nullptr, &b), 2);
}

TEST_F(Colours, SearchesFindTheLowestOfTheNearest) {
  for (int i = 0; i < 3000; ++i) {
    if (i % 20 == 0) paint(*palette, i / 20);
    int32_t c[3];
    int k[3]; // components above 63 wrap
    for (int j = 0; j < 3; ++j) {
      c[j] = random.one_in(50) ? random.any_of({INT32_MIN, INT32_MAX}) : random.between(-80, 120);
      k[j] = int(std::llabs(c[j]) % 64 * 4);
    }
    ASSERT_EQ(find_color(c[0], c[1], c[2]), nearest(*palette, k[0], k[1], k[2]));
    ASSERT_EQ(last_found_colour, nearest(*palette, k[0], k[1], k[2]));
  }
  __ORBPalette2D__ p{};
  for (int kind = 0; kind < 48; ++kind) {
    // Entries change in place, too: what was learnt about the old colours is out of date.
    if (kind % 8 == 6)
      load_default_palette(&p);
    else if (kind % 8 == 7)
      p.colours[random.between(1, 254)] = {7, uint8_t(random.word()), 9};
    else
      paint(p, kind % 8);
    std::vector<uint32_t> colours = {0, 0xFF, 0xFF00, 0xFFFF, 0xFF0000, 0xFF00FF, 0xFFFFFF};
    for (const orb_rgb &e : p.colours)
      colours.push_back(packed32(e.r, e.g, e.b) ^ (random.word() & 0x30301));
    for (int i = 0; i < 3000; ++i)
      colours.push_back(random.one_in(4) ? colours.back() : random.word());
    // With memory; without any; with just enough to begin; and with memory from there on.
    for (const uint32_t failing : {1000, 1, 2, 1000}) {
      if (failing < 1000) forget_nearest();
      std::vector<uint8_t> found(colours.size());
      {
        const allocation_fault fault(failing, fault_scope::module, fault_kind::onwards);
        find_all_nearest(&p, colours.data(), uint32_t(colours.size()), found.data());
      }
      for (size_t i = 0; i < colours.size(); ++i) {
        const uint32_t c = colours[i];
        ASSERT_EQ(found[i], nearest(p, c >> 16 & 255, c >> 8 & 255, c & 255))
            << "kind " << kind << ", failing " << failing << ", colour " << i;
      }
    }
  }
}

TEST_F(Colours, GhostsForcedPalettesAndSystemColoursAreTheNearest) {
  for (int kind = 0; kind < 6; ++kind) {
    paint(*palette, kind);
    const auto index_of = [](int r, int g, int b) { return nearest(*palette, r, g, b); };
    // Ghosts are solid until the first is drawn under a palette.
    create_ghost_table();
    EXPECT_EQ(fake_ghost_table, 1);
    EXPECT_EQ(table_ghost8[20 * 256 + 30], 20);
    update_ghost_table();
    EXPECT_EQ(fake_ghost_table, 0);
    for (int s = 0; s < 256; ++s)
      for (int d = s; d < 256; ++d) {
        const orb_rgb &a = palette->colours[s], &b = palette->colours[d];
        const int mix = index_of((a.r + b.r) / 2, (a.g + b.g) / 2, (a.b + b.b) / 2);
        ASSERT_EQ(table_ghost8[s * 256 + d], mix) << kind << ": " << s << ", " << d;
        ASSERT_EQ(table_ghost8[d * 256 + s], mix) << kind << ": " << s << ", " << d;
      }
    update_system_colors();
    const system_colour_set &found = system_colors;
    EXPECT_EQ(std::tuple(found.black, found.grey, found.white),
              std::tuple(index_of(0, 0, 0), index_of(128, 128, 128), index_of(255, 255, 255)));
    // Index 0 stays, and so does a colour that both palettes have at the same place.
    __ORBPalette2D__ source;
    paint(source, 0);
    source.colours[77] = palette->colours[77];
    source.colours[255] = palette->colours[255];
    ASSERT_EQ(init_force_palette(&source), 1);
    for (int i = 0; i < 256; ++i) {
      const auto [r, g, b] = source.colours[i];
      const bool stays = i == 0 || distance(palette->colours[i], r, g, b) == 0;
      ASSERT_EQ(forced_palette_map[i], stays ? i : index_of(r, g, b)) << kind << ", " << i;
    }
  }
  load_default_palette(palette);
  update_system_colors();
  EXPECT_EQ(palette->colours[system_colors.dark_grey].g, 84);
  EXPECT_EQ(palette->colours[system_colors.light_grey].g, 168);
}

TEST_F(Colours, PalettesAreExchangedMarkedAndSummed) {
  palette_update = force_sys_fnt = fake_ghost_table = palette_loaded = 0;
  EXPECT_EQ(set_color(200, -63, 64, INT32_MIN), 1);
  EXPECT_EQ(distance(palette->colours[200], 252, 0, 0), 0) << "64 wraps to 0";
  EXPECT_EQ(std::tuple(palette_update, force_sys_fnt, fake_ghost_table), std::tuple(1, 1, 1));
  __ORBPalette2D__ mine, out, one{};
  paint(mine, 0);
  palette_update = fake_ghost_table = 0;
  EXPECT_EQ(set_palette(&mine), 1);
  EXPECT_EQ(std::tuple(palette_loaded, palette_update, fake_ghost_table), std::tuple(1, 1, 1));
  EXPECT_EQ(get_palette(&out), 1);
  EXPECT_EQ(memcmp(&out, &mine, sizeof out), 0);
  EXPECT_FALSE(get_palette(nullptr) || set_palette(nullptr) || init_force_palette(nullptr));
  one.colours[255] = {1, 2, 3};
  EXPECT_EQ(palette_checksum(&one), ((1u * 2 + 2) * 2 + 3) * 2);

  __ORBPalette2D__ *const first = palette;
  w.set_mode(8);
  EXPECT_EQ(palette, first) << "the same depth keeps it";
  w.set_mode(16);
  EXPECT_FALSE(palette || table_ghost8);
  EXPECT_FALSE(get_palette(&out) || set_palette(&mine) || init_force_palette(&mine));
  EXPECT_EQ(find_color(1, 2, 3), 0);
  w.set_mode(8);
  EXPECT_EQ(palette_loaded, 0);
  palette_update = 0;
  EXPECT_EQ(create_palette(), 1);
  EXPECT_EQ(palette_update, 1);
}

TEST_F(Colours, PicturesAreConvertedPixelByPixel) {
  __ORBPalette2D__ own, in_force;
  paint(own, 0);
  load_default_palette(&in_force);
  for (int round = 0; round < 300; ++round) {
    const int from_depth = random.any_of({8, 16, 32}), to_depth = random.any_of({8, 16, 32});
    if (mode.bpp != to_depth) w.set_mode(to_depth);
    picture from(memory, random.between(1, 20), random.between(1, 5), from_depth, true);
    from.fill(random, 4);
    uint32_t points[3] = {1, 2, 1};
    from.surface.cpoints = points;
    uint8_t alphas[256];
    for (uint8_t &alpha : alphas)
      alpha = uint8_t(random.byte());
    const bool of_its_own = random.one_in(2), transparent = of_its_own && random.one_in(2);
    __ORBSurface2D__ *const to = copy_at_screen_depth(&from.surface, of_its_own ? &own : nullptr,
                                                      transparent ? alphas : nullptr);
    ASSERT_EQ(to == nullptr, from_depth > to_depth);
    if (!to) continue;
    EXPECT_EQ(to->alpha_channel, transparent && from_depth == 8 && to_depth == 32);
    EXPECT_EQ(to->cpoints[1], 2u);
    for (uint32_t y = 0; y < to->height; ++y)
      for (uint32_t x = 0; x < to->width; ++x) {
        const uint32_t p = from.get(int(x), int(y));
        const auto [r, g, b] = (of_its_own ? own : in_force).colours[p & 255];
        uint32_t wanted = p;
        if (from_depth == 8 && to_depth == 16) {
          wanted = packed16(r, g, b);
          // A black that can be seen isn't the key.
          if (transparent) wanted = alphas[p] < 128 ? 0 : std::max(wanted, 1u);
        } else if (from_depth == 8 && to_depth == 32) {
          wanted = packed32(r, g, b) + (transparent ? alphas[p] * 16777216u : 0);
        } else if (from_depth < to_depth) {
          wanted = packed32(p / 2048 * 8, p / 32 % 64 * 4, p % 32 * 8);
          ASSERT_EQ(table_color16to32[p], wanted);
        }
        ASSERT_EQ(pixel(*to, x, y), wanted) << from_depth << "->" << to_depth;
      }
    ORBGI2D_DeleteGFXSurface(to);
  }
}

TEST_F(Colours, FillsAndReplacementsTouchTheirPixelsAlone) {
  for (int round = 0; round < 600; ++round) {
    const int depth = random.any_of({8, 16, 32}), padding = 4 * random.below(3);
    picture p(memory, random.between(1, 50), random.between(1, 4), depth, random.one_in(2),
              padding);
    p.fill(random, 3);
    const uint32_t mask = depth == 32 ? ~0u : (1u << depth) - 1;
    const uint32_t colour = random.word(), replaced = p.get(0, 0);
    const bool keeps = random.one_in(2), replaces = padding == 0 && random.one_in(2);
    const uint32_t kept = depth == 32 && keeps && !replaces ? 0xFF000000 : 0;
    const std::vector<uint8_t> before = p.bytes();
    for (int y = 0; y < int(p.surface.height); ++y)
      for (int x = 0; x < int(p.surface.width); ++x) {
        const uint32_t old = p.get(x, y);
        if (!replaces || old == replaced) p.put(x, y, (old & kept) | (colour & mask & ~kept));
      }
    const std::vector<uint8_t> wanted = p.bytes();
    p.set_bytes(before);
    if (!replaces)
      EXPECT_EQ(ORBGI2D_BlitFill(&p.surface, colour, keeps), 1);
    else
      (depth == 8    ? draw_pixels_8to8bits
       : depth == 16 ? draw_pixels_16to16bits
                     : draw_pixels_32to32bits)(&p.surface, replaced, colour);
    ASSERT_TRUE(p.bytes() == wanted) << depth << " bits, round " << round << ", " << replaces;
  }
}

/// Each table beside its definition, by row and column; those of differences begin at -offset.
TEST_F(Colours, EffectTablesAreExact) {
  fill_effect_tables32();
  fill_effect_tables16();
  using definition = int (*)(int a, int j);
  const auto compare = [](const auto &table, int columns, definition entry, int offset = 0) {
    for (int a = 0; a < int(std::size(table)); ++a)
      for (int j = 0; j < columns; ++j)
        ASSERT_EQ(table[a][j], entry(a, j - offset)) << a << ", " << j - offset;
  };
  const auto compare_row = [](const auto &table, int columns, auto &&entry) {
    for (int j = 0; j < columns; ++j)
      ASSERT_EQ(table[j], entry(j)) << j;
  };
  const definition product = [](int a, int j) { return a * j / 255; };
  compare(FX_alpha32_table, 256, product);
  compare(FX_multiplyblend32_table, 256, product);
  compare(FX_alpha16_tableN, 64, product);
  compare(FX_tint32_table, 511, product, 255);
  compare(FX_tint16_table, 127, product, 63);
  compare(FX_alpha16_table, 127, product, 63);
  compare(FX_screenblend32_table, 256,
          [](int a, int j) { return 255 - (255 - a) * (255 - j) / 255; });
  compare(FX_compositing32_table, 256,
          [](int a, int j) { return j ? std::min(255 * a / j, 255) : 0; });
  compare(FX_multiplyblendRB16_table, 32, [](int a, int j) { return a * j / 31; });
  compare(FX_multiplyblendG16_table, 64, [](int a, int j) { return a * j / 63; });
  // The screen of two zeros isn't zero: 32 and 64 stand where one would expect 31 and 63.
  compare(FX_screenblendRB16_table, 32, [](int a, int j) { return 31 - (31 - a) * (31 - j) / 32; });
  compare(FX_screenblendG16_table, 64, [](int a, int j) { return 63 - (63 - a) * (63 - j) / 64; });
  const auto at_most = [](int top) { return [=](int sum) { return std::min(sum, top); }; };
  const auto above = [](int top) { return [=](int sum) { return std::max(sum - top, 0) % 256; }; };
  compare_row(FX_additiveblend32_table, 512, at_most(255));
  compare_row(FX_alphaadditiveblend16_table, 512, at_most(255));
  compare_row(FX_subtractiveblend32_table, 512, above(255)); // 256, for the sum 511, doesn't fit
  compare_row(FX_additiveblendRB16_table, 64, at_most(31));
  compare_row(FX_subtractiveblendRB16_table, 64, above(31));
  compare_row(FX_additiveblendG16_table, 128, at_most(63));
  compare_row(FX_subtractiveblendG16_table, 128, above(63));
  const auto part = [](int weight) { return [=](int c) { return weight * c / 255; }; };
  compare_row(FX_scaleR32_table, 256, part(76));
  compare_row(FX_scaleG32_table, 256, part(150));
  compare_row(FX_scaleB32_table, 256, part(29));
  const auto grey = [&](int p) {
    return part(76)((p >> 11) * 8) + part(150)((p >> 5 & 63) * 4) + part(29)((p & 31) * 8);
  };
  compare_row(FX_scaleRB16_table, 65536, [&](int p) { return grey(p) / 8; });
  compare_row(FX_scaleG16_table, 65536, [&](int p) { return grey(p) / 4; });
}

} // namespace

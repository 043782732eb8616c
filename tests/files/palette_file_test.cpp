// Palettes of the engine's own files: where each format has them, and files that end too early.
#include <gtest/gtest.h>

#include "support/world.h"
#include "surface/palette.h"

namespace {

TEST(PaletteFiles, EachFormatHasThePaletteInItsPlace) {
  world w;
  w.set_mode(8);
  const struct {
    std::string magic;
    size_t palette_at;
  } formats[] = {{"pal\x1A\x0D\x0A", 8},   {"fpg\x1A\x0D\x0A", 8}, {"fpg\x1A\x0D\x08", 8},
                 {"fnt\x1A\x0D\x0A", 8},   {"fnt\x1A\x0D\x08", 8}, {"map\x1A\x0D\x0A", 48},
                 {"map\x1A\x0D\x08", 272}, {"map\x1A\x0D\x16", 0}, {"fpg\x1A\x0D\x32", 0},
                 {"pal\x1A\x0D\x08", 0},   {"PAL\x1A\x0D\x0A", 0}};
  for (const auto &[magic, palette_at] : formats) {
    SCOPED_TRACE(magic);
    file_bytes bytes(magic.begin(), magic.end());
    bytes.resize(palette_at);
    for (uint32_t i = 0; i < 768; ++i)
      bytes.push_back(uint8_t(i * 7 % 64));
    const auto load = [&](size_t size) {
      write_file(w.folder.path / "x", {bytes.begin(), bytes.begin() + std::ptrdiff_t(size)});
      return w.host.call("palette_load", {"x"});
    };
    load_default_palette(palette);
    palette_loaded = 0;
    const orb_rgb before = palette->colours[255];
    for (const size_t size : {size_t{0}, size_t{6}, size_t{7}, bytes.size() - 1})
      EXPECT_EQ(load(size), INT32_MIN) << size;
    EXPECT_EQ(palette->colours[255].b, before.b);
    EXPECT_EQ(palette_loaded, 0);
    EXPECT_EQ(load(bytes.size()), palette_at ? 1 : INT32_MIN) << "without its colour ranges";
    if (!palette_at) continue;
    uint32_t sum = 0;
    for (uint32_t i = 0; i < 768; ++i) {
      EXPECT_EQ((&palette->colours[0].r)[i], i * 7 % 64 * 4);
      sum = (sum + i * 7 % 64) * 2;
    }
    EXPECT_EQ(palette_crc, sum) << "over components of six bits";
    EXPECT_TRUE(palette_loaded && palette_update && fake_ghost_table && force_sys_fnt);
  }
}

} // namespace

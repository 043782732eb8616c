// image_load: the graph a picture becomes at each depth, and the state after a failure.
#include <cstring>

#include <gtest/gtest.h>

#include "boundary/errors.h"
#include "formats/adopt_image.h"
#include "formats/codec.h"
#include "picture_files.h"
#include "png_pictures.h"
#include "script/handlers.h"
#include "surface/nearest_colour.h"

namespace {

struct ImageLoad : graphics_test {
  std::mt19937 random{30};

  std::string put(const std::string &name, const png_picture &picture) {
    write_file(path(name), encode_png(picture));
    return path(name);
  }
  png_picture paletted(uint32_t w, uint32_t h) {
    png_picture picture{w, h, PNG_COLOR_TYPE_PALETTE, 8, false, false, {}, {}, {}};
    fill_picture(picture, w, h, random);
    return picture;
  }
  png_picture truecolour(uint32_t w, uint32_t h, bool alpha) {
    png_picture picture{
        w, h, alpha ? PNG_COLOR_TYPE_RGB_ALPHA : PNG_COLOR_TYPE_RGB, 8, false, false, {}, {}, {}};
    fill_picture(picture, w, h, random);
    return picture;
  }
  int32_t load(const std::string &name) { return host.call(ORB_image_load, name.c_str()); }

  /// Everything that a failed load must leave unchanged.
  struct registry_state {
    int32_t maps, count, marks;
    uint32_t memory, surfaces;
    bool operator==(const registry_state &) const = default;
  };
  static registry_state state() {
    int32_t marks = 0;
    for (int32_t i = 0; i < max_map - first_runtime_code; i++)
      marks += image_loaded[i];
    return {maps_loaded, fpg[0].map_count, marks, fpg[0].memory_usage, gfxsurfaces->count};
  }
};

TEST_F(ImageLoad, RegistersTheGraph) {
  const png_picture picture = truecolour(11, 6, true);
  const registry_state before = state();
  const int32_t first = load(put("ball.png", picture));
  const int32_t second = load(path("ball.png"));
  ASSERT_EQ(first, 1000);
  ASSERT_EQ(second, 1001);
  EXPECT_TRUE(host.errors.empty());

  const orb_map_slot &graph = slot(first);
  EXPECT_EQ(graph.code, 1000);
  EXPECT_EQ(graph.id, 1u);
  EXPECT_STREQ(graph.name, "ball.png");
  EXPECT_STREQ(graph.description, "");
  EXPECT_EQ(graph.memory_usage, 604u + 11 * 6 * 4);
  EXPECT_EQ(image_loaded[0], img_format_png);
  EXPECT_EQ(fpg[0].memory_usage - before.memory, 2 * graph.memory_usage);
  EXPECT_EQ(fpg[0].map_count - before.count, 2);
  EXPECT_EQ(maps_loaded - before.maps, 2);

  const __ORBSurface2D__ &surface = *graph.surface;
  EXPECT_EQ(surface.is_wrapper, 0);
  EXPECT_EQ(surface.width, 11u);
  EXPECT_EQ(surface.height, 6u);
  EXPECT_EQ(surface.depth, 32);
  EXPECT_EQ(surface.pitch, 44u);
  EXPECT_EQ(surface.pixel_count, 66u);
  EXPECT_EQ(surface.byte_size, 264u);
  EXPECT_EQ(surface.alpha_channel, 1);
  EXPECT_EQ(surface.has_cpoints, 0u);
  EXPECT_EQ(surface.cpoint_last, 0u);
  EXPECT_EQ(surface.cpoints[0], 5u);
  EXPECT_EQ(surface.cpoints[1], 3u);
  EXPECT_EQ(surface.cpoints[2], 0u);
  EXPECT_EQ(reinterpret_cast<uintptr_t>(surface.pixels) % 16, 0u);
  for (uint32_t y = 0; y < 6; y++)
    for (uint32_t x = 0; x < 11; x++)
      ASSERT_EQ(pixel(surface, x, y), picture.argb(x, y));

  EXPECT_EQ(host.call(ORB_map_unload, -1), 0);
  EXPECT_EQ(host.call(ORB_image_unload, 1000), 1);
  EXPECT_EQ(host.call(ORB_image_unload, -1), 1);
  EXPECT_EQ(state(), before);
}

TEST_F(ImageLoad, TwoArgumentsAndNames) {
  const std::string name = put("back\\slash.png", truecolour(3, 3, false));
  EXPECT_EQ(host.call(ORB_image_load, name.c_str(), "key"), 1000);
  EXPECT_EQ(host.left_over(), 0u);
  EXPECT_STREQ(slot(1000).name, "back\\slash.png"); // '/' takes precedence
  EXPECT_EQ(host.call(ORB_image_load, name.c_str(), nullptr), 1001);

  const std::string longest(250, 'n');
  ASSERT_EQ(load(put(longest + ".png", truecolour(3, 3, false))), 1002);
  EXPECT_EQ(slot(1002).name, longest + ".png");

  std::filesystem::current_path(path(""));
  ASSERT_EQ(load("back\\slash.png"), 1003);
  EXPECT_STREQ(slot(1003).name, "slash.png");
  std::filesystem::current_path("/");
}

// Names too long for a file system reach the registry through a host that maps names to paths.
TEST_F(ImageLoad, LongNamesAreCut) {
  static std::string real;
  real = put("a.png", truecolour(2, 2, false));
  host.file.path = [](const char *, int32_t) { return real.c_str(); };
  host.file.open = [](const char *, int32_t, int32_t, const char *) -> void * {
    return fopen(real.c_str(), "rb");
  };
  ASSERT_EQ(load("folder/" + std::string(300, 'x')), 1000);
  EXPECT_EQ(slot(1000).name, std::string(255, 'x'));
}

TEST_F(ImageLoad, PalettePicturesGetTheDepthOfTheScreen) {
  png_picture picture{9, 5, PNG_COLOR_TYPE_PALETTE, 4, false, false, {}, {}, {}};
  fill_picture(picture, 9, 5, random);
  for (uint16_t i = 0; i < 16; i++)
    picture.samples[i] = i;
  // Visible, but rounds to black at 16 bits; the 1 becomes the key at 8 bits.
  picture.palette[0] = picture.palette[4] = {7, 3, 7};
  for (bool alphas : {true, false}) // a stale alpha must not reach the other
    for (int32_t depth : {32, 16, 8}) {
      SCOPED_TRACE(std::to_string(depth) + (alphas ? " bits, with alphas" : " bits"));
      set_depth(depth);
      picture.key = alphas;
      const int32_t code = load(put("p.png", picture));
      ASSERT_GE(code, 1000);
      const __ORBSurface2D__ &surface = *slot(code).surface;
      EXPECT_EQ(surface.depth, depth);
      EXPECT_EQ(surface.alpha_channel, alphas && depth == 32);
      EXPECT_EQ(surface.cpoints[0], 4u);
      EXPECT_EQ(surface.cpoints[1], 2u);
      EXPECT_EQ(slot(code).memory_usage, 604u + uint32_t(9 * 5 * depth / 8));
      for (uint32_t y = 0; y < 5; y++)
        for (uint32_t x = 0; x < 9; x++) {
          const uint8_t index = picture.index(x, y), alpha = picture.alpha(index);
          const png_color &c = picture.palette[index];
          const auto argb =
              uint32_t((alphas ? alpha << 24 : 0) | c.red << 16 | c.green << 8 | c.blue);
          ASSERT_EQ(pixel(surface, x, y),
                    depth == 8 ? (alpha < 128 ? 0 : index) : expected_at_depth(argb, alphas, depth))
              << "index " << int(index);
        }
    }
}

TEST_F(ImageLoad, TheFirstPaletteIsAdoptedAndLaterOnesAreNot) {
  set_depth(8);
  const __ORBPalette2D__ at_start = *palette;
  // A truecolour picture has no palette to adopt.
  ASSERT_EQ(load(put("t.png", truecolour(4, 4, false))), 1000);
  EXPECT_EQ(palette_loaded, 0);
  EXPECT_EQ(memcmp(palette, &at_start, sizeof at_start), 0);

  const png_picture first = paletted(8, 8), second = paletted(8, 8);
  palette_update = fake_ghost_table = force_sys_fnt = 0;
  ASSERT_EQ(load(put("1.png", first)), 1001);
  EXPECT_TRUE(palette_loaded && palette_update && fake_ghost_table && force_sys_fnt);
  EXPECT_EQ(*fading, 1); // the picture fades in
  EXPECT_EQ(memcmp(palette, first.palette.data(), sizeof *palette), 0);

  ASSERT_EQ(load(put("2.png", second)), 1002);
  EXPECT_EQ(memcmp(palette, first.palette.data(), sizeof *palette), 0);
  for (uint32_t i = 0; i < 64; i++) {
    ASSERT_EQ(pixel(*slot(1001).surface, i % 8, i / 8), first.index(i % 8, i / 8));
    ASSERT_EQ(pixel(*slot(1002).surface, i % 8, i / 8), second.index(i % 8, i / 8));
  }
}

TEST_F(ImageLoad, AForcedPaletteRemapsPicturesOfOtherPalettes) {
  set_depth(8);
  const png_picture own = paletted(8, 8), other = paletted(8, 8);
  ASSERT_EQ(load(put("own.png", own)), 1000);
  palette_forced = 1;
  palette_crc = palette_checksum(palette);
  ASSERT_EQ(load(path("own.png")), 1001);
  ASSERT_EQ(load(put("other.png", other)), 1002);
  uint32_t moved = 0;
  for (uint32_t i = 0; i < 64; i++) {
    const uint32_t x = i % 8, y = i / 8;
    ASSERT_EQ(pixel(*slot(1001).surface, x, y), own.index(x, y));
    const uint8_t index = other.index(x, y);
    ASSERT_EQ(pixel(*slot(1002).surface, x, y), forced_palette_map[index]);
    if (index == 0) continue;
    const png_color &c = other.palette[index];
    ASSERT_EQ(forced_palette_map[index], find_nearest(palette, c.red, c.green, c.blue));
    moved += forced_palette_map[index] != index;
  }
  EXPECT_GT(moved, 10u);
  // A truecolour picture is converted to the palette in force; a stale remapping must not touch it.
  const png_picture rgb = truecolour(5, 5, false);
  ASSERT_EQ(load(put("rgb.png", rgb)), 1003);
  const uint32_t colour = rgb.argb(2, 2);
  EXPECT_EQ(pixel(*slot(1003).surface, 2, 2),
            find_nearest(palette, int32_t(colour >> 16 & 255), int32_t(colour >> 8 & 255),
                         int32_t(colour & 255)));
}

TEST_F(ImageLoad, FailuresReportOnceAndChangeNothing) {
  put("good.png", truecolour(5, 5, true));
  write_file(path("text.png"), {'n', 'o', 't', ' ', 'o', 'n', 'e', '!', '!'});
  write_file(path("empty.png"), {});
  file_bytes cut = read_file(path("good.png"));
  cut.resize(cut.size() - 20);
  write_file(path("cut.png"), cut);
  const struct {
    const char *name;
    int32_t code;
  } rows[] = {{"missing.png", 143}, {"text.png", 144}, {"empty.png", 144}, {"cut.png", 144}};
  for (int32_t depth : {32, 16, 8}) {
    set_depth(depth);
    for (const auto &row : rows) {
      host.errors.clear();
      const registry_state before = state();
      const std::string name = path(row.name);
      EXPECT_EQ(load(name), INT32_MIN);
      const std::vector<fake_error> expected = {
          {row.code, "IMAGE_LOAD", ORB_VALUE_STRING, 1, 0, name}};
      EXPECT_EQ(host.errors, expected) << row.name;
      EXPECT_EQ(state(), before) << row.name;
      EXPECT_EQ(image_data, nullptr);
    }
  }
  host.errors.clear();
  EXPECT_EQ(host.call(ORB_image_load, nullptr), INT32_MIN);
  EXPECT_EQ(host.errors.size(), 1u);
}

// Some TGA headers begin like a PCX header; files the PCX reader refuses go to the TGA reader.
TEST_F(ImageLoad, ARefusedFileGoesToTheNextProbe) {
  tga_file tga{.type = 1, .map = {0x112233, 0x445566}, .w = 3, .h = 2, .bits = 8};
  tga.id.resize(10);
  tga.pixels = {0, 1, 0, 1, 1, 0};
  write_file(path("id.tga"), tga.encode());
  ASSERT_EQ(pcx_codec.check(path("id.tga").c_str(), nullptr), 1);
  ASSERT_EQ(load(path("id.tga")), 1000);
  EXPECT_TRUE(host.errors.empty());
  EXPECT_EQ(image_loaded[0], img_format_tga);
  EXPECT_EQ(pixel(*slot(1000).surface, 2, 1), 0x112233u);
  EXPECT_EQ(host.call(ORB_screen_load, path("id.tga").c_str()), 1);
  // The probes that follow do not change the report, which is made once.
  tga.pixels.clear();
  write_file(path("id.tga"), tga.encode());
  EXPECT_EQ(load(path("id.tga")), INT32_MIN);
  EXPECT_EQ(host.call(ORB_load_pcx, path("id.tga").c_str()), INT32_MIN);
  EXPECT_EQ(host.errors,
            (std::vector<fake_error>{{144, "IMAGE_LOAD", ORB_VALUE_STRING, 1, 0, path("id.tga")},
                                     {144, "LOAD_PCX", ORB_VALUE_STRING, 1, 0, path("id.tga")}}));
  set_depth(8);
  EXPECT_EQ(host.call(ORB_palette_load, path("id.tga").c_str()), 1);
  EXPECT_EQ(palette->colours[1].g, 0x55);
}

TEST_F(ImageLoad, AFullLibraryGrows) {
  const std::string name = put("s.png", truecolour(1, 1, false));
  for (int32_t code = 1000; code < 1260; code++)
    ASSERT_EQ(load(name), code);
  EXPECT_EQ(max_map, 1512);
  EXPECT_EQ(image_loaded[259], img_format_png);
  EXPECT_EQ(host.call(ORB_image_unload, 1007), 1);
  EXPECT_EQ(load(name), 1007);
}

// ---- What other readers deliver: control points, 16-bit files, descriptions ---------------------

TEST_F(ImageLoad, AdoptsControlPointsAndDescriptions) {
  for (int32_t depth : {16, 32}) { // adopted unchanged, and converted
    set_depth(depth);
    reset_image();
    image_w = 4;
    image_h = 2;
    image_bpp = 16;
    image_id = 77;
    memset(image_desc, 'd', 256);
    image_desc[256] = 0;
    auto *pixels = static_cast<uint16_t *>(image_data = aligned_malloc(16));
    const uint16_t words[] = {0, 0x001F, 0x07E0, 0xF800, 0xFFFF, 0x8410, 1, 0x0841};
    memcpy(pixels, words, sizeof words);
    image_cpoint = static_cast<cpoint_record *>(calloc(3, sizeof(cpoint_record)));
    image_cpoint[0] = {1, 1, 1};
    image_cpoint[1] = {65535, 65535, 0};
    image_cpoint[2] = {3, 0, 1};
    image_num_cpoints = 2;
    image_max_cpoint_defined = 2;

    const int32_t code = GetMAPCode(0);
    ASSERT_EQ(adopt_image(code, "folder/g.map", img_format_map), 0);
    const orb_map_slot &graph = slot(code);
    EXPECT_EQ(graph.id, 77u);
    EXPECT_EQ(std::string(graph.description), std::string(255, 'd'));
    EXPECT_EQ(image_loaded[code - 1000], img_format_map);
    EXPECT_EQ(graph.memory_usage, 604u + 2 * 12 + uint32_t(depth)); // 4 x 2 pixels
    EXPECT_EQ(graph.surface->has_cpoints, 2u);
    EXPECT_EQ(graph.surface->cpoint_last, 2u);
    const uint32_t points[] = {1, 1, 1, 65535, 65535, 0, 3, 0, 1};
    EXPECT_EQ(memcmp(graph.surface->cpoints, points, sizeof points), 0);
    const uint32_t wide[] = {0,        0x0000F8, 0x00FC00, 0xF80000,
                             0xF8FCF8, 0x808080, 0x000008, 0x080808};
    for (uint32_t i = 0; i < 8; i++)
      EXPECT_EQ(pixel(*graph.surface, i % 4, i / 4), depth == 16 ? words[i] : wide[i]);
    EXPECT_EQ(image_data, nullptr);
    EXPECT_EQ(image_cpoint, nullptr);
  }
}

TEST_F(ImageLoad, RefusesADeeperPictureThanTheScreen) {
  set_depth(8);
  reset_image();
  image_w = image_h = 2;
  image_bpp = 16;
  image_data = aligned_malloc(8);
  const registry_state before = state();
  EXPECT_EQ(adopt_image(GetMAPCode(0), "g.map", img_format_map), error_format);
  EXPECT_EQ(state(), before);
}

} // namespace

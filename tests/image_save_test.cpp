// image_save, save_pcx, load_pcx, unload_pcx and screen_load: reports, parameters, round trips, and
// what other programs read.
#include <cstring>
#include <random>

#include <gtest/gtest.h>

#include "formats/codec.h"
#include "graphics_fixture.h"
#include "safe_saves.h"
#include "script/handlers.h"
#include "surface/fill.h"

namespace {

struct ImageSave : graphics_test {
  std::mt19937 random{50};

  ImageSave() {
    palette_loaded = 1; // pictures keep the palette set by the test
    // A stored compressed stream begins with eight bytes of the host's own.
    host.file.open = [](const char *name, int32_t open_mode, int32_t, const char *) -> void * {
      const bool writing = open_mode == ORB_OPEN_WRITE || open_mode == ORB_OPEN_WRITE_COMPRESSED;
      FILE *file = fopen(name, writing ? "wb" : "rb");
      if (file && open_mode == ORB_OPEN_WRITE_COMPRESSED) fputs("HOSTHOST", file);
      if (file && open_mode == ORB_OPEN_READ_COMPRESSED) fseek(file, 8, SEEK_SET);
      return file;
    };
    host.file.write = [](const void *from, int32_t size, int32_t count, int32_t, void *handle) {
      return int32_t(fwrite(from, size_t(size), size_t(count), static_cast<FILE *>(handle)));
    };
  }

  /// A graph of random pixels; without an alpha channel its top bytes are 0.
  int32_t make_graph(int32_t w, int32_t h, bool alpha) {
    const int32_t code = host.call(ORB_map_new, w, h, 0, int32_t(alpha));
    __ORBSurface2D__ &surface = *slot(code).surface;
    auto *bytes = static_cast<uint8_t *>(surface.pixels);
    for (uint32_t i = 0; i < surface.byte_size; i++)
      bytes[i] = uint8_t(random() % 7 * 40);
    if (surface.depth == 32 && !alpha)
      for (uint32_t i = 3; i < surface.byte_size; i += 4)
        bytes[i] = 0;
    return code;
  }
  static file_bytes pixels_of(int32_t code) {
    const __ORBSurface2D__ &surface = *slot(code).surface;
    const auto *bytes = static_cast<const uint8_t *>(surface.pixels);
    return {bytes, bytes + surface.byte_size};
  }
  /// "result: code FUNCTION kind position value", the reports in order.
  std::string outcome(int32_t result) {
    std::string text = result == INT32_MIN ? "failed" : std::to_string(result);
    for (const fake_error &error : host.errors)
      text += ": " + std::to_string(error.code) + " " + error.function + " " +
              std::to_string(error.kind) + " " + std::to_string(error.position) + " " +
              (error.kind ? error.text : std::to_string(error.value));
    host.errors.clear();
    EXPECT_EQ(host.left_over(), 0u);
    return text;
  }
};

TEST_F(ImageSave, Reports) {
  const int32_t graph = make_graph(3, 2, false);
  const std::string good = path("good"), bad = path("missing/file");
  const char *name = good.c_str(), *nowhere = bad.c_str();
  const auto save = [&](auto... arguments) {
    const int32_t result = host.call(ORB_image_save, arguments...);
    EXPECT_EQ(image_data, nullptr); // the graph keeps its own pixels
    return outcome(result);
  };
  const std::string failed_123 = "failed: 123 IMAGE_SAVE 1 3 ";
  EXPECT_EQ(save(0, graph, name, 5), "1");
  EXPECT_EQ(save(-1, graph, name, 5), "failed: 109 IMAGE_SAVE 0 1 -1");
  EXPECT_EQ(save(max_fpg, graph, name, 5), "failed: 109 IMAGE_SAVE 0 1 " + std::to_string(max_fpg));
  EXPECT_EQ(save(0, 0, name, 5), "failed: 110 IMAGE_SAVE 0 2 0");
  EXPECT_EQ(save(0, max_map, name, 5), "failed: 110 IMAGE_SAVE 0 2 " + std::to_string(max_map));
  EXPECT_EQ(save(1, 1, name, 5), "failed: 111 IMAGE_SAVE 0 1 1");
  EXPECT_EQ(save(0, graph + 1, name, 5), "failed: 121 IMAGE_SAVE 0 2 " + std::to_string(graph + 1));
  EXPECT_EQ(save(0, 0, name, 7, 2), "failed: 110 IMAGE_SAVE 0 2 0"); // the graph is checked first
  for (int32_t format : {0, 7, -1, INT32_MAX})
    EXPECT_EQ(save(0, graph, name, format), "failed");
  for (int32_t parameter : {-2, 2, INT32_MIN})
    EXPECT_EQ(save(0, graph, name, 5, parameter), "failed");
  for (int32_t format = 1; format <= 6; format++) {
    EXPECT_EQ(save(0, graph, nowhere, format, 0, "key"), failed_123 + nowhere);
    EXPECT_EQ(save(0, graph, nullptr, format), failed_123);
  }
  EXPECT_EQ(outcome(host.call(ORB_save_pcx, 0, graph, nowhere)),
            std::string("failed: 123 SAVE_PCX 1 3 ") + nowhere);
  EXPECT_EQ(outcome(host.call(ORB_save_pcx, 0, 0, name)), "failed: 110 SAVE_PCX 0 2 0");

  // A graph from before a depth change stays unchanged and is not written.
  set_depth(16);
  for (int32_t format = 1; format <= 6; format++)
    EXPECT_EQ(save(0, graph, name, format), failed_123 + name);
  EXPECT_EQ(outcome(host.call(ORB_save_pcx, 0, graph, name)),
            std::string("failed: 123 SAVE_PCX 1 3 ") + name);
}

// Every format at every depth: without a parameter and with each allowed one.
TEST_F(ImageSave, WhatIsSavedComesBack) {
  constexpr int32_t none = -100;
  for (int32_t depth : {8, 16, 32})
    for (bool alpha : {false, true})
      for (int32_t format = 1; format <= 6; format++)
        for (int32_t parameter : {none, -1, 0, 1}) {
          SCOPED_TRACE("depth " + std::to_string(depth) + ", format " + std::to_string(format) +
                       ", parameter " + std::to_string(parameter));
          if (alpha && depth != 32) continue;
          set_depth(depth);
          palette_loaded = 1;
          const int32_t graph = make_graph(13, 7, alpha);
          const std::string name = path("saved");
          ASSERT_EQ(parameter == none
                        ? host.call(ORB_image_save, 0, graph, name.c_str(), format)
                        : host.call(ORB_image_save, 0, graph, name.c_str(), format, parameter),
                    1);
          const int32_t again = host.call(ORB_image_load, name.c_str());
          if (format == img_format_pcx && depth == 16) { // 24 bits, too deep for the reader
            EXPECT_EQ(outcome(again), "failed: 144 IMAGE_LOAD 1 1 " + name);
            continue;
          }
          ASSERT_GE(again, 1000);
          const __ORBSurface2D__ &surface = *slot(again).surface;
          EXPECT_EQ(image_loaded[again - first_runtime_code], format);
          EXPECT_EQ(surface.width, 13u);
          EXPECT_EQ(surface.height, 7u);
          EXPECT_EQ(surface.depth, depth);
          const bool kept = alpha && format != img_format_pcx && format != img_format_jpeg;
          EXPECT_EQ(surface.alpha_channel, kept);
          file_bytes expected = pixels_of(graph);
          if (alpha && !kept)
            for (size_t i = 3; i < expected.size(); i += 4)
              expected[i] = 0;
          if (format != img_format_jpeg) { // JPEG is lossy
            EXPECT_EQ(pixels_of(again), expected);
          }
          unload_graphs(-1, [](int32_t) { return true; });
        }
  EXPECT_TRUE(host.errors.empty());
}

TEST_F(ImageSave, WholePicturesOrNone) {
  const int32_t graph = make_graph(150, 120, true); // BMP and TGA files exceed the buffer
  for (int32_t format = img_format_bmp; format <= img_format_tga; format++) {
    SCOPED_TRACE("format " + std::to_string(format));
    safe_saves::expect_safe_saves(path("saves"), [&](const std::string &name) {
      const int32_t result = host.call(ORB_image_save, 0, graph, name.c_str(), format, 1);
      EXPECT_EQ(outcome(result), result == 1 ? "1" : "failed: 123 IMAGE_SAVE 1 3 " + name);
      return result == 1;
    });
  }
}

// A missing parameter is 0, except for JPEG and PNG, whose libraries have defaults.
TEST_F(ImageSave, ParametersReachTheWriters) {
  for (int32_t depth : {8, 16, 32})
    for (int32_t format = img_format_bmp; format <= img_format_tga; format++)
      for (int32_t parameter : {-1, 0, 1}) {
        set_depth(depth);
        const int32_t graph = make_graph(40, 9, false);
        const std::string name = path("saved"), direct = path("direct");
        ASSERT_EQ(host.call(ORB_image_save, 0, graph, name.c_str(), format, parameter), 1);
        const bool has_default = format == img_format_jpeg || format == img_format_png;
        const __ORBSurface2D__ &surface = *slot(graph).surface;
        image_w = 40;
        image_h = 9;
        image_bpp = depth;
        image_alphachannel = 0;
        image_data = surface.pixels;
        ASSERT_EQ(
            codec_for(image_format(format))
                ->save(direct.c_str(), has_default || parameter >= 0 ? parameter : 0, nullptr),
            1);
        image_data = nullptr;
        EXPECT_EQ(read_file(name), read_file(direct)) << format << ", " << parameter;
      }
}

TEST_F(ImageSave, PcxFunctionsKeepToPcxFiles) {
  set_depth(8);
  const int32_t graph = make_graph(9, 4, false);
  const std::string pcx = path("g.pcx"), png = path("g.png"), missing = path("none.pcx");
  ASSERT_EQ(host.call(ORB_save_pcx, 0, graph, pcx.c_str()), 1);
  ASSERT_EQ(host.call(ORB_image_save, 0, graph, png.c_str(), img_format_png), 1);
  const int32_t loaded = host.call(ORB_load_pcx, pcx.c_str());
  EXPECT_EQ(outcome(loaded), "1001");
  EXPECT_EQ(image_loaded[1], img_format_pcx);
  EXPECT_EQ(pixels_of(loaded), pixels_of(graph));
  EXPECT_EQ(outcome(host.call(ORB_load_pcx, png.c_str())), "failed: 144 LOAD_PCX 1 1 " + png);
  EXPECT_EQ(outcome(host.call(ORB_load_pcx, missing.c_str())),
            "failed: 143 LOAD_PCX 1 1 " + missing);
  EXPECT_EQ(outcome(host.call(ORB_load_pcx, nullptr)), "failed: 143 LOAD_PCX 1 1 ");
  ASSERT_EQ(host.call(ORB_image_load, pcx.c_str()), 1002);
  ASSERT_EQ(host.call(ORB_image_load, png.c_str()), 1003);
  EXPECT_EQ(host.call(ORB_unload_pcx, 1003), 0);
  EXPECT_EQ(host.call(ORB_unload_pcx, 1002), 1);
  EXPECT_EQ(host.call(ORB_unload_pcx, -1), 1);
  EXPECT_EQ(host.call(ORB_unload_pcx, 999), INT32_MIN);
  EXPECT_EQ(host.call(ORB_image_unload, -1), 1);
  EXPECT_EQ(host.call(ORB_map_unload, -1), 1);
}

// ---- screen_load

struct ScreenLoad : ImageSave {};

TEST_F(ScreenLoad, CoversTheGroundAndKeepsNothing) {
  for (int32_t depth : {8, 16, 32})
    for (const auto &[w, h] : {std::pair(5, 4), {64, 48}, {63, 49}, {100, 7}, {31, 200}})
      for (int32_t format : {img_format_map, img_format_png, img_format_tga}) {
        set_depth(depth);
        palette_loaded = 1;
        const int32_t graph = make_graph(w, h, false);
        // A map may have any pivot.
        slot(graph).surface->cpoints[0] = slot(graph).surface->cpoints[1] = 1;
        slot(graph).surface->cpoints[2] = slot(graph).surface->has_cpoints = 1;
        const std::string name = path("picture");
        ASSERT_EQ(host.call(ORB_image_save, 0, graph, name.c_str(), format), 1);
        const int32_t maps = maps_loaded;
        const uint32_t memory = fpg[0].memory_usage, surfaces = gfxsurfaces->count;
        ORBGI2D_BlitFill(ground, 3, 0);
        screen_color = 9;
        EXPECT_EQ(outcome(format == img_format_map
                              ? host.call(ORB_screen_load, name.c_str(), nullptr)
                              : host.call(ORB_screen_load, name.c_str())),
                  "1");
        EXPECT_EQ(maps_loaded, maps);
        EXPECT_EQ(fpg[0].memory_usage, memory);
        EXPECT_EQ(gfxsurfaces->count, surfaces);
        EXPECT_EQ(ground_puting, 1);
        for (int32_t y = 0; y < screen_height; y++)
          for (int32_t x = 0; x < screen_width; x++) {
            const int32_t from_x = x - screen_width / 2 + w / 2;
            const int32_t from_y = y - screen_height / 2 + h / 2;
            const bool inside = from_x >= 0 && from_x < w && from_y >= 0 && from_y < h;
            ASSERT_EQ(pixel(*ground, uint32_t(x), uint32_t(y)),
                      inside ? pixel(*slot(graph).surface, uint32_t(from_x), uint32_t(from_y)) : 9)
                << x << ", " << y;
          }
        unload_graphs(-1, [](int32_t) { return true; });
      }
}

TEST_F(ScreenLoad, Reports) {
  const std::string text = path("text"), cut = path("cut.png"), missing = path("none");
  write_file(text, {'t', 'e', 'x', 't'});
  const int32_t graph = make_graph(9, 9, false);
  ASSERT_EQ(host.call(ORB_image_save, 0, graph, cut.c_str(), img_format_png), 1);
  file_bytes half = read_file(cut);
  half.resize(half.size() / 2);
  write_file(cut, half);
  ORBGI2D_BlitFill(ground, 3, 0);
  const auto load = [this](auto... arguments) {
    return outcome(host.call(ORB_screen_load, arguments...));
  };
  EXPECT_EQ(load(text.c_str()), "failed: 143 SCREEN_LOAD 1 1 " + text);
  EXPECT_EQ(load(missing.c_str(), "key"), "failed: 143 SCREEN_LOAD 1 1 " + missing);
  EXPECT_EQ(load(nullptr), "failed: 143 SCREEN_LOAD 1 1 ");
  EXPECT_EQ(load(cut.c_str()), "failed: 144 IMAGE_LOAD 1 1 " + cut); // recognised, but damaged
  EXPECT_EQ(pixel(*ground, 32, 24), 3u);
  EXPECT_EQ(maps_loaded, 1);
}

// ---- Other programs

/// The R, G, B, A bytes that ImageMagick reads from a file; empty without ImageMagick.
file_bytes seen_by_imagemagick(const std::string &name) {
  const std::string program = "env -u LD_LIBRARY_PATH convert ";
  if (system((program + "-version 2>/dev/null | grep -q ImageMagick").c_str()) != 0) return {};
  const std::string command = program + name + " -depth 8 rgba:" + name + ".rgba";
  return system(command.c_str()) == 0 ? read_file(name + ".rgba") : file_bytes{0};
}

TEST_F(ImageSave, OtherProgramsSeeTheSame) {
  for (int32_t depth : {8, 16, 32})
    for (const char *name : {"g.png", "alpha.png", "g.jpg"}) {
      const bool jpeg = strstr(name, "jpg"), alpha = strstr(name, "alpha");
      if (alpha && depth != 32) continue;
      set_depth(depth);
      const int32_t graph = make_graph(37, 20, alpha);
      const int32_t format = jpeg ? img_format_jpeg : img_format_png;
      const std::string file = path(name);
      ASSERT_EQ(host.call(ORB_image_save, 0, graph, file.c_str(), format, jpeg ? 0 : 1), 1);
      const file_bytes seen = seen_by_imagemagick(file);
      if (seen.empty()) GTEST_SKIP() << "needs ImageMagick";
      ASSERT_EQ(seen.size(), 37u * 20 * 4);
      set_depth(32);
      reset_image();
      // Lossy files are compared with our own reader.
      ASSERT_EQ(codec_for(image_format(format))->load(file.c_str(), nullptr), 1);
      for (uint32_t i = 0; i < 37 * 20; i++) {
        uint32_t expected = 0;
        if (image_bpp == 8) {
          const orb_rgb &c = image_palette.colours[static_cast<const uint8_t *>(image_data)[i]];
          expected = uint32_t(c.r << 16 | c.g << 8 | c.b);
        } else {
          expected = static_cast<const uint32_t *>(image_data)[i];
        }
        for (uint32_t c = 0; c < 3; c++)
          ASSERT_LE(std::abs(int32_t(expected >> (16 - 8 * c) & 255) - seen[4 * i + c]),
                    jpeg ? 1 : 0)
              << name << " at depth " << depth;
        ASSERT_EQ(seen[4 * i + 3], alpha ? expected >> 24 : 255);
      }
    }
}

} // namespace

// The module without a display: registries, tables, a ground and a screen at a chosen depth, and a
// host whose file services are stdio. The fixture takes everything down at the end.
//
//   struct Pixels : graphics_test {};
//   TEST_F(Pixels, ...) { set_depth(16); ... host.call(ORB_ground_put_pixel, 3, 4, 0xFFFF); ... }
#pragma once

#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <stdexcept>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "boundary/runtime.h"
#include "fake_runtime.h"
#include "formats/image.h"
#include "frame/draw_objects.h"
#include "module/module.h"
#include "surface/palette.h"
#include "surface/regions.h"
#include "surface/registry.h"
#include "surface/screen.h"
#include "surface/surface.h"
#include "video/fades.h"
#include "video/mode.h"
#include "video/mode_tables.h"

using file_bytes = std::vector<uint8_t>;

inline file_bytes read_file(const std::string &path) {
  std::ifstream in(path, std::ios::binary);
  if (!in) throw std::runtime_error("cannot read " + path);
  return {std::istreambuf_iterator<char>(in), {}};
}

inline void write_file(const std::string &path, const file_bytes &bytes) {
  // Use a new file: some file systems flush a file at once when it is truncated and rewritten.
  std::filesystem::remove(path);
  std::ofstream(path, std::ios::binary)
      .write(reinterpret_cast<const char *>(bytes.data()), std::streamsize(bytes.size()));
}

inline std::string data_path(const std::string &name) {
  return std::string(ORB_TEST_SOURCE_DIR) + "/data/" + name;
}

struct graphics_test : testing::Test {
  static constexpr int32_t screen_width = 64, screen_height = 48;

  fake_runtime host;

  graphics_test() {
    host.file.path = [](const char *name, int32_t) { return *name ? name : nullptr; };
    host.file.open = [](const char *name, int32_t open_mode, int32_t, const char *) -> void * {
      return open_mode == ORB_OPEN_READ ? fopen(name, "rb") : nullptr;
    };
    host.file.read = [](void *to, int32_t size, int32_t count, int32_t, void *handle) {
      return int32_t(fread(to, size_t(size), size_t(count), static_cast<FILE *>(handle)));
    };
    host.file.seek = [](void *handle, int32_t offset, int32_t whence) {
      return fseek(static_cast<FILE *>(handle), offset, whence);
    };
    host.file.close = [](void *handle) { fclose(static_cast<FILE *>(handle)); };
    deviceSystem_graphics2D = &host.system;
    reset_fades(); // a palette that an earlier test adopted may still be fading in
    fading = host.global("fading");
    ORBGI2D_Internal_InitGFXDevice();
    CreateFPGList();
    CreateDrawList();
    create_graph_registry();
    // The first graph then adopts the palette of its picture, as in a fresh program.
    palette_loaded = palette_forced = palette_update = 0;
    std::string pattern = testing::TempDir() + "orb_XXXXXX";
    if (!mkdtemp(pattern.data())) throw std::runtime_error("cannot make " + pattern);
    folder_ = pattern;
    set_depth(32);
  }

  ~graphics_test() override {
    reset_image();
    free_tables();
    ground = screen = nullptr;
    release_graph_registry();
    DeleteFPGList();
    DeleteRegionList();
    DeleteDrawList();
    ORBGI2D_Internal_QuitGFXDevice();
    std::filesystem::remove_all(folder_);
    mode = {};
    deviceSystem_graphics2D = nullptr;
    fading = nullptr;
  }

  /// Does what set-mode does for everything but the display.
  void set_depth(int32_t bpp) {
    mode = {0, 0, screen_width, screen_height, bpp, 1, 1024, 0, 0};
    do_tables(bpp);
    set_graphics2D_drawing_routines();
    ORBGI2D_DeleteGFXSurface(ground);
    ORBGI2D_DeleteGFXSurface(screen);
    ground = ORBGI2D_CreateGFXSurface(screen_width, screen_height, bpp, 1);
    screen = ORBGI2D_CreateGFXSurface(screen_width, screen_height, bpp, 1);
    ground_puting = 0;
    regions[0] = {0, screen_width - 1, 0, screen_height - 1};
  }

  /// A file name in this test's folder.
  std::string path(const std::string &name) const { return folder_ / name; }

  /// A pixel of any surface, zero-extended.
  static uint32_t pixel(const __ORBSurface2D__ &surface, uint32_t x, uint32_t y) {
    const auto *row = static_cast<const uint8_t *>(surface.pixels) + size_t(y) * surface.pitch;
    switch (surface.depth) {
    case 8: return row[x];
    case 16: return reinterpret_cast<const uint16_t *>(row)[x];
    default: return reinterpret_cast<const uint32_t *>(row)[x];
    }
  }

  static orb_map_slot &slot(int32_t code) { return fpg[0].slots[code]; }

private:
  std::filesystem::path folder_;
};

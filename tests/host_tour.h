// A program that uses every service a host offers, and records what it sees.
#pragma once

#include <cstdint>
#include <string>
#include <utility>
#include <vector>

#include <gtest/gtest.h>
#include <zlib.h>

#include "fuzz/world.h"
#include "host/host.h"
#include "module/module.h"

/// A host with the world's files that ignores reports.
struct null_host : orbhost::Host {
  std::vector<std::string> fatals, boxes;

  explicit null_host(orb_main_library_exports *entry = ORB_mod_graphics2D_MainLibraryExports) {
    on_error = [](const orbhost::ErrorReport &) {};
    on_fatal = [this](int32_t, const std::string &text) { fatals.push_back(text); };
    on_exit = [](int32_t) {};
    on_message = [this](const std::string &text, const std::string &) { boxes.push_back(text); };
    files().on_loss = [](const std::string &, const std::string &) {};
    files().set_folder(fuzz::world_folder().path());
    device_system.scroll = &scroll_services;
    scroll_services.offset = [](int32_t, int32_t number, int32_t *x, int32_t *y) -> int32_t {
      *x = *y = number;
      return number == 3;
    };
    attach(entry);
  }
  ~null_host() {
    release();
    fuzz::world_folder().restore();
  }
};

/// The results of the program's calls, and its pictures.
struct trace {
  std::vector<int32_t> results, files, processes;
  std::vector<uint32_t> pictures;
};

inline void expect_same(const trace &seen, const trace &expected) {
  EXPECT_EQ(seen.results, expected.results);
  EXPECT_EQ(seen.files, expected.files);
  EXPECT_EQ(seen.processes, expected.processes);
  EXPECT_EQ(seen.pictures, expected.pictures);
}

/// Uses every service of the host, at every depth.
inline trace tour(orbhost::Host &host) {
  trace seen;
  const char *const none = nullptr;
  int32_t memory[4]{};
  const auto frames = [&](int count) {
    for (int i = 0; i < count; ++i)
      host.frame();
    if (const __ORBSurface2D__ *shown = host.screen())
      seen.pictures.push_back(
          uint32_t(crc32(0, static_cast<const uint8_t *>(shown->pixels), shown->byte_size)));
  };
  orb_process *const one = host.spawn(1), *const two = host.spawn(2);
  one->coordinates = 1;
  one->locals->graph = two->locals->graph = 1000;
  one->locals->x = two->locals->x = 20;
  one->locals->y = two->locals->y = 24;
  host.global("mouse", 1) = 1000;
  for (const int32_t depth : fuzz::depths)
    for (const int32_t type : {1, 2}) {
      const auto call = [&](const char *name, std::vector<orbhost::Argument> arguments) {
        seen.results.push_back(host.call(name, std::move(arguments)));
      };
      const auto file = [&](const char *name, std::vector<orbhost::Argument> arguments) {
        seen.files.push_back(host.call(name, std::move(arguments)));
        EXPECT_EQ(host.files().open_count(), 0u) << name;
      };
      const auto process = [&](const char *name, std::vector<orbhost::Argument> arguments) {
        const int32_t answer = host.call(name, std::move(arguments));
        seen.processes.push_back(answer == orbhost::ProcessList::id(one)   ? 1
                                 : answer == orbhost::ProcessList::id(two) ? 2
                                                                           : answer);
      };
      const std::string own = std::to_string(depth);
      call("mode_set", {64, 48, depth, type});
      call("map_new", {8, 8, depth == 8 ? 15 : depth == 16 ? 0xF81F : 0xFF00FF});
      call("set_fps", {50, 1});
      frames(3);
      host.processes().current = one;
      for (const int32_t target : {0, 2, -1})
        for (const char *kind : {"collision", "overlap"})
          process(kind, {target});
      process("collision", {one, two});
      process("collision", {20, 24, 0});
      process("get_dist", {two});
      process("advance", {two, 3});
      process("region_is_out", {two, 0});
      process("map_get_realcpoint", {0, memory, memory + 1});
      frames(1);
      const orb_locals plain = *two->locals;
      two->locals->alpha = 128;
      two->locals->shear_x = 20;
      for (const int32_t effect : {0, 2, 13, 17, 24, 1001, 1015}) {
        two->locals->fxmode = effect;
        two->locals->angle += 30000;
        two->locals->size += 20;
        frames(1);
      }
      *two->locals = plain;
      call("map_new", {9, 9, 1});
      // Invalid addresses.
      call("map_convert_palette", {0, 1001, 7});
      call("palette_set_colors", {0, 9, reinterpret_cast<int32_t *>(4096)});
      call("map_xput", {0, 1001, 1000, 4, 4, 45000, 80, 4});
      call("map_apply_fx", {0, 1001, 0, 1000, 200, 1008});
      call("map_put_csellipse", {0, 1001, 4, 4, 3, 2, 1, 200});
      call("ground_put_tile", {0, 1000, 3, 5});
      call("screen_draw_graphic", {0, 1001, 30, 20, 0, 12345, 150, 50, 3, 0, 128, 15});
      call("screen_fade", {50, 100, 150, 16});
      frames(3);
      call("screen_fade_in", {});
      file("map_load", {own + ".map"});
      file("map_load", {"c.map"});
      file("map_load", {"k.map", "key"});
      file("fpg_load", {own + ".fpg"});
      file("fpg_load", {"k.fpg", "key"});
      file("fpg_load_map", {own + ".fpg", 1, 2});
      for (const char *ending : {".png", ".bmp", ".pcx", ".tga", ".jpg"})
        file("image_load", {own + ending});
      file("load_pcx", {"8.pcx"});
      file("screen_load", {own + ".bmp"});
      file("screen_load", {own + ".map"});
      file("palette_load", {"8.pal"});
      file("palette_force", {"8.png"});
      file("palette_force", {none});
      file("palette_save", {"out.pal"});
      file("map_save", {0, 1000, "out.map", 1, "key"});
      file("fpg_save", {0, "out.fpg"});
      for (const int32_t format : {1, 2, 3, 4, 5, 6})
        file("image_save", {0, 1000, "out", format});
      frames(2);
      call("mode_change", {3 - type});
      call("mode_set_filter", {1, 17});
      frames(1);
      call("virtualresolution_set", {128, 96, 1, 1});
      frames(1);
      call("virtualresolution_set", {0, 0, 0, 0});
      call("mode_set", {320200});
      call("map_set_name", {0, 1000, none});
      seen.results.push_back(int32_t(host.call_text("map_get_name", {0, 1000}).size()));
      for (const char *unload : {"map_unload", "image_unload", "fpg_unload"})
        host.call(unload, {-1});
    }
  return seen;
}

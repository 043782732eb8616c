// Memory failures at any point while files are read and written: every format and variant, at every
// depth of the mode.
#include <gtest/gtest.h>

#include "failure_points.h"
#include "graph_files.h"
#include "surface/palette.h"

namespace {

using stored_graph = library_test::stored_graph;

constexpr const char *pictures[] = {
    "bmp/magick_1.bmp",      "bmp/magick_rle8.bmp",      "bmp/magick_RGB565.bmp",
    "bmp/magick_rgba.bmp",   "bmp/netpbm_os2_24.bmp",    "jpeg/pillow_grey.jpg",
    "jpeg/pillow_rgb.jpg",   "jpeg/magick_cmyk.jpg",     "jpeg/magick_rgb_progressive.jpg",
    "pcx/magick_8.pcx",      "png/pillow_rgb.png",       "png/magick_palette4_interlaced.png",
    "png/magick_rgba16.png", "png/netpbm_rgb_trns.png",  "png/magick_rgb_interlaced.png",
    "tga/magick_8_RLE.tga",  "tga/magick_grey_None.tga", "tga/magick_rgba_RLE.tga",
};

// ---- Pictures -----------------------------------------------------------------------------------

failure_case picture_case(const char *function, const char *report, std::string file,
                          int32_t depth) {
  const std::string name = report;
  return {.name = std::string(function) + " " + file,
          .depth = depth,
          .prepare =
              [file](failure_world &world) {
                finish_fades();
                world.data(file);
              },
          .act = [=](failure_world &world) { return world.call(function, world.data_name(file)); },
          // A reader that fails for any reason reports 144.
          .refusals = {"144 " + name, "100 " + name},
          .library_refusals = {"143 " + name}};
}

TEST(AllocationFailure, PicturesAreLoaded) {
  std::vector<failure_case> cases;
  for (const int32_t depth : {8, 16, 32}) {
    for (const char *file : pictures)
      cases.push_back(picture_case("image_load", "IMAGE_LOAD", file, depth));
    cases.push_back(picture_case("screen_load", "IMAGE_LOAD", "png/pillow_rgb.png", depth));
    cases.back().library_refusals.insert("143 SCREEN_LOAD");
    cases.push_back(picture_case("load_pcx", "LOAD_PCX", "pcx/magick_8.pcx", depth));
  }
  // Not at lower depths.
  cases.push_back(picture_case("image_load", "IMAGE_LOAD", "pcx/magick_24.pcx", 32));
  // The profile's transform makes six hundred requests and is slow to create.
  cases.push_back(picture_case("image_load", "IMAGE_LOAD", "jpeg/pillow_cmyk_icc.jpg", 32));
  cases.back().repeat_every = 32;
  expect_survived(cases);
}

/// Graphs with a palette other than the forced one.
TEST(AllocationFailure, PalettesAreLoadedAndForced) {
  std::vector<failure_case> cases;
  for (const char *file : {"bmp/magick_8.bmp", "jpeg/pillow_grey.jpg", "pcx/magick_8.pcx",
                           "png/pillow_palette8_trns.png", "tga/pillow_p.tga"}) {
    for (const char *function : {"palette_load", "palette_force"}) {
      cases.push_back(picture_case(function, "PALETTE_LOAD", file, 8));
      cases.back().refusals = {"103 PALETTE_LOAD"};
      cases.back().library_refusals = {};
    }
    failure_case forced = picture_case("image_load", "IMAGE_LOAD", file, 8);
    forced.name += " forced";
    forced.prepare = [file](failure_world &world) {
      finish_fades();
      world.data(file);
      world.call("palette_force", world.data("png/pillow_palette2.png"));
      finish_fades();
    };
    cases.push_back(forced);
  }
  expect_survived(cases);
}

// ---- The engine's own files ---------------------------------------------------------------------

std::vector<stored_graph> graphs_of(int32_t depth) {
  return library_test::three_graphs(depth);
}

/// A file of one of the three kinds of streams, with its name and key.
struct stream_kind {
  const char *name;
  bool compressed;
  const char *key;
};
constexpr stream_kind stream_kinds[] = {
    {"plain", false, ""}, {"compressed", true, ""}, {"enciphered", false, "key"}};

/// Puts a MAP and an FPG file of `depth` on the disk, written by the module at that depth.
void write_graph_files(failure_world &world, int32_t depth, const stream_kind &kind) {
  const int32_t wanted = mode.bpp;
  constexpr int32_t no_fade = 64;
  world.disk.files["plain.map"] = library_test::map_file(graphs_of(depth)[0]);
  world.disk.files["plain.fpg"] = library_test::fpg_file(depth, graphs_of(depth));
  world.call("mode_set", 64, 48, depth, no_fade);
  const int32_t graph = world.call("map_load", "plain.map");
  const int32_t library = world.call("fpg_load", "plain.fpg");
  world.call("map_save", 0, graph, "a.map", int32_t(kind.compressed), kind.key);
  world.call("fpg_save", library, "a.fpg", int32_t(kind.compressed), kind.key);
  world.call("map_unload", -1);
  world.call("fpg_unload", -1);
  world.call("mode_set", 64, 48, wanted, no_fade);
  finish_fades();
  palette_loaded = 0;
}

TEST(AllocationFailure, GraphFilesAreLoaded) {
  std::vector<failure_case> cases;
  for (const int32_t screen : {8, 16, 32})
    for (const int32_t file : {8, 16, 32})
      for (const stream_kind &kind : stream_kinds) {
        if (file > screen) continue;
        const auto add = [&](const char *function, std::set<std::string> refusals, auto... more) {
          const bool library = function[0] == 'f';
          cases.push_back(
              {.name = std::string(function) + " of a " + kind.name + " file of " +
                       std::to_string(file) + " bits",
               .depth = screen,
               .prepare = [=](failure_world &world) { write_graph_files(world, file, kind); },
               .act =
                   [=](failure_world &world) {
                     return world.call(function, library ? "a.fpg" : "a.map", kind.key, more...);
                   },
               .refusals = std::move(refusals)});
        };
        add("map_load", {"100 MAP_LOAD"});
        add("image_load", {"144 IMAGE_LOAD", "100 IMAGE_LOAD"});
        add("fpg_load", {"100 FPG_LOAD"});
        // The graphs read so far stay under a number that is not in use.
        cases.back().partial = true;
        add("fpg_load_map", {"100 FPG_LOAD_MAP"}, 2, 999); // into a library that it creates
      }
  expect_survived(cases);
}

// ---- Files that are written ---------------------------------------------------------------------

TEST(AllocationFailure, FilesAreWritten) {
  static const std::string file = failure_world::written("file");
  std::vector<failure_case> cases;
  for (const int32_t depth : {8, 16, 32}) {
    const auto add = [&](const char *function, std::string report, auto... arguments) {
      cases.push_back(
          {.name = function,
           .depth = depth,
           .prepare =
               [](failure_world &world) {
                 const int32_t graph = world.make_graph(21, 17);
                 fpg[0].slots[graph].surface->alpha_channel = mode.bpp == 32;
                 world.make_graph(21, 17);
                 world.call("fpg_new");
                 world.call("fpg_add_map", 0, 5, 0, graph);
                 write_file(file, {'o', 'l', 'd'});
               },
           .act = [=](failure_world &world) { return world.call(function, arguments...); },
           .refusals = {"123 " + report}});
    };
    for (int32_t format = 1; format <= 6; ++format)
      for (const int32_t parameter : {0, 1})
        for (const int32_t graph : {1000, 1001})
          add("image_save", "IMAGE_SAVE", 0, graph, file.c_str(), format, parameter);
    add("save_pcx", "SAVE_PCX", 0, 1000, file.c_str());
    for (const stream_kind &kind : stream_kinds) {
      add("map_save", "MAP_SAVE", 0, 1000, "a.map", int32_t(kind.compressed), kind.key);
      add("fpg_save", "FPG_SAVE", 0, "a.fpg", int32_t(kind.compressed), kind.key);
    }
    if (depth == 8) add("palette_save", "PALETTE_SAVE", "a.pal");
  }
  expect_survived(cases);
}

} // namespace

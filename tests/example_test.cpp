// The examples, played headless and compared frame by frame with pictures that were reviewed.
//
// tests/golden/NAME.txt holds a hash of each frame's screen, NAME.png the last frame. When pictures
// change on purpose, run the tests once with ORB_SAVE_GOLDEN=1 in the environment, look at the
// pictures, and commit both. After a mismatch the differing frame is left in the build folder.
#include <gtest/gtest.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>
#include <vector>

#include "host/host.h"
#include "host/screenshot.h"
#include "host/script.h"
#include "module/module.h"

namespace fs = std::filesystem;

namespace {

struct Scene {
  const char *name;
  const char *script;
  std::vector<std::string> arguments;
  int frames;
  bool display = false; ///< compare what the display shows, 8-bit fades included
};

const Scene scenes[] = {
    {"basics_first_light_8bits", "basics/basics_first_light.lua", {"8"}, 60},
    {"basics_first_light_16bits", "basics/basics_first_light.lua", {"16"}, 60},
    {"basics_first_light_32bits", "basics/basics_first_light.lua", {"32"}, 60},
    {"sprites_transforms_8bits", "sprites/sprites_transforms.lua", {"8"}, 40},
    {"sprites_transforms_16bits", "sprites/sprites_transforms.lua", {"16"}, 40},
    {"sprites_transforms_32bits", "sprites/sprites_transforms.lua", {"32"}, 40},
    {"sprites_crowd_8bits", "sprites/sprites_crowd.lua", {"1000", "8"}, 20},
    {"sprites_crowd_16bits", "sprites/sprites_crowd.lua", {"1000", "16"}, 20},
    {"sprites_crowd_32bits", "sprites/sprites_crowd.lua", {"1000", "32"}, 20},
    {"files_gallery_8bits", "files/files_gallery.lua", {"../assets/gallery", "8"}, 20},
    {"files_gallery_16bits", "files/files_gallery.lua", {"../assets/gallery", "16"}, 20},
    {"files_gallery_32bits", "files/files_gallery.lua", {"../assets/gallery", "32"}, 20},
    {"video_palette", "video/video_palette.lua", {"40"}, 145, true},
    {"video_modes", "video/video_modes.lua", {"2", "window"}, 150, true},
    {"games_meteors", "games/games_meteors.lua", {"demo"}, 400},
    {"collision_lab", "collision/collision_lab.lua", {}, 200},
    // Until the first measurement, which no two runs share, is shown.
    {"collision_storm_8bits", "collision/collision_storm.lua", {"8"}, 48},
    {"collision_storm_32bits", "collision/collision_storm.lua", {"32"}, 48},
    {"drawing_objects_8bits", "drawing/drawing_objects.lua", {"8"}, 80},
    {"drawing_objects_16bits", "drawing/drawing_objects.lua", {"16"}, 80},
    {"drawing_objects_32bits", "drawing/drawing_objects.lua", {"32"}, 80},
    {"drawing_effects_8bits", "drawing/drawing_effects.lua", {"8"}, 12},
    {"drawing_effects_16bits", "drawing/drawing_effects.lua", {"16"}, 12},
    {"drawing_effects_32bits", "drawing/drawing_effects.lua", {"32"}, 12},
    {"drawing_paint_8bits", "drawing/drawing_paint.lua", {"8", "demo"}, 540},
    {"drawing_paint_32bits", "drawing/drawing_paint.lua", {"32", "demo"}, 540},
};

const fs::path golden = fs::path(ORB_TEST_SOURCE_DIR) / "golden";

/// FNV-1a (Fowler, Noll, Vo) over the picture and its size.
std::uint64_t hash_of(const orbhost::Picture &picture) {
  std::uint64_t hash = 0xCBF29CE484222325;
  const auto add = [&hash](std::uint32_t value) { hash = (hash ^ value) * 0x100000001B3; };
  add(std::uint32_t(picture.width));
  add(std::uint32_t(picture.height));
  for (const std::uint8_t component : picture.rgb)
    add(component);
  return hash;
}

/// Plays a scene and passes each frame's picture to `look`.
template <typename Look> void play(const Scene &scene, Look look) {
  orbhost::Host host;
  host.attach(ORB_mod_graphics2D_MainLibraryExports);
  host.init();
  orbhost::ScriptOptions options;
  options.strict = true;
  options.arguments = scene.arguments;
  orbhost::Script script(host, options);
  script.load_file(ORB_SOURCE_DIR "/examples/" + std::string(scene.script));
  for (int frame = 1; frame <= scene.frames; ++frame) {
    script.frame();
    look(frame, scene.display ? orbhost::take_display_picture() : orbhost::take_picture(host));
  }
}

class Examples : public testing::TestWithParam<Scene> {};

} // namespace

TEST_P(Examples, DrawTheSameFrames) {
  const Scene &scene = GetParam();
  const fs::path text = golden / (std::string(scene.name) + ".txt");
  const fs::path png = golden / (std::string(scene.name) + ".png");

  std::vector<std::uint64_t> hashes;
  orbhost::Picture last;
  if (std::getenv("ORB_SAVE_GOLDEN")) {
    std::ofstream out(text);
    play(scene, [&](int, const orbhost::Picture &picture) {
      out << std::hex << hash_of(picture) << '\n';
      last = picture;
    });
    orbhost::save_png(last, png);
    GTEST_SKIP() << "saved " << png;
  }

  std::ifstream in(text);
  in >> std::hex;
  const std::vector<std::uint64_t> expected{std::istream_iterator<std::uint64_t>(in), {}};
  ASSERT_EQ(expected.size(), std::size_t(scene.frames)) << text;
  int first_wrong = 0;
  play(scene, [&](int frame, const orbhost::Picture &picture) {
    if (first_wrong != 0 || hash_of(picture) == expected[std::size_t(frame) - 1]) return;
    first_wrong = frame;
    last = picture;
  });
  if (first_wrong != 0) {
    const fs::path folder = fs::path(ORB_BINARY_DIR) / "golden";
    fs::create_directories(folder);
    const fs::path seen = folder / (std::string(scene.name) + ".png");
    orbhost::save_png(last, seen);
    ADD_FAILURE() << scene.name << ": frame " << first_wrong << " is the first that differs; see "
                  << seen;
  }
}

INSTANTIATE_TEST_SUITE_P(All, Examples, testing::ValuesIn(scenes),
                         [](const auto &test) { return std::string(test.param.name); });

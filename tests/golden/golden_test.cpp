// Recorded sums: each frame of the examples (golden/scenes.txt; NAME.txt holds the sums, NAME.png the
// last frame), and the scripts that fuzzing has found worth keeping (golden/kept_scripts.txt).
// `./orb test --record` writes what has changed and lists it. After a mismatch the first frame that
// differs is left in the build folder.
#include <fstream>
#include <functional>
#include <iterator>
#include <sstream>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "blit/span_tables.h"
#include "fuzz/player.h"
#include "host/host.h"
#include "host/screenshot.h"
#include "host/script.h"
#include "module/module.h"
#include "support/failing_allocator.h"
#include "support/recording.h"
#include "support/registration.h"
#include "support/world.h"

namespace {

namespace fs = std::filesystem;

void play_scene(const std::string &row) {
  std::istringstream words(row);
  std::string name, script, word;
  int frames = 0;
  words >> name >> script >> frames;
  orbhost::ScriptOptions options;
  options.strict = true;
  bool display = false;
  while (words >> word)
    word == "display" ? void(display = true) : options.arguments.push_back(word);

  const fs::path sums = tests_folder("golden") / (name + ".txt");
  std::ifstream in(sums);
  in >> std::hex;
  const std::vector<uint64_t> expected{std::istream_iterator<uint64_t>(in), {}};
  std::vector<uint64_t> seen;
  orbhost::Host host;
  host.attach(ORB_mod_graphics2D_MainLibraryExports);
  host.init();
  orbhost::Script played(host, options);
  played.load_file(ORB_SOURCE_DIR "/examples/" + script);
  orbhost::Picture first_wrong, picture;
  size_t wrong = 0;
  for (int frame = 1; frame <= frames; ++frame) {
    played.frame();
    picture = display ? orbhost::take_display_picture() : orbhost::take_picture(host);
    seen.push_back(orbhost::picture_sum(picture));
    if (wrong || (seen.size() <= expected.size() && seen.back() == expected[seen.size() - 1])) continue;
    wrong = seen.size();
    first_wrong = picture;
  }
  if (seen == expected) return;
  if (recording()) {
    std::ofstream out(sums);
    out << std::hex;
    for (const uint64_t sum : seen)
      out << sum << '\n';
    orbhost::save_png(picture, tests_folder("golden") / (name + ".png"));
    std::printf("%s: recorded from frame %zu on; look at %s.png\n", sums.c_str(), wrong, name.c_str());
    return;
  }
  const fs::path left = fs::path(ORB_BINARY_DIR) / "golden" / (name + ".png");
  fs::create_directories(left.parent_path());
  if (wrong) orbhost::save_png(first_wrong, left);
  ADD_FAILURE() << "of " << expected.size() << " frames, " << wrong << " is the first that differs: see "
                << left;
}

/// Plays with every allocation filled with a byte, and a limit on instructions.
fuzz::played play_kept(const file_bytes &script, uint8_t fill, instruction_set highest) {
  const filled_heap filled(fill);
  mask_instruction_sets(highest);
  fuzz::played result = fuzz::play_script(script);
  mask_instruction_sets(instruction_set::avx2);
  return result;
}

} // namespace

/// A line for each script, `NAME -> SUM`; recording adds and updates them.
TEST(Golden, KeptScripts) {
  std::ostringstream lines, recorded;
  const fs::path sums = tests_folder("golden") / "kept_scripts.txt";
  recorded << std::ifstream(sums).rdbuf();
  std::vector<fs::path> scripts;
  for (const auto &entry : fs::directory_iterator(tests_folder("data/corpus/script")))
    scripts.push_back(entry.path());
  std::sort(scripts.begin(), scripts.end());
  for (const fs::path &path : scripts) {
    const file_bytes script = read_file(path);
    const fuzz::played seen = play_kept(script, 0x11, instruction_set::avx2);
    EXPECT_EQ(seen.mistake, "") << path;
    EXPECT_EQ(play_kept(script, 0x11, instruction_set::sse2).checksum, seen.checksum)
        << path << " without AVX2";
    EXPECT_EQ(play_kept(script, 0xEE, instruction_set::avx2).checksum, seen.checksum)
        << path << " depends on uninitialised memory";
    std::ostringstream line;
    line << path.filename().string() << " -> " << std::hex << seen.checksum << '\n';
    lines << line.str();
    if (recorded.str().find(line.str()) != std::string::npos) continue;
    if (recording())
      std::printf("%s: %s", sums.c_str(), line.str().c_str());
    else
      ADD_FAILURE() << "another picture or result: " << line.str();
  }
  if (recording()) std::ofstream(sums) << lines.str();
}

namespace {

[[maybe_unused]] const bool registered = [] {
  std::ifstream rows(tests_folder("golden") / "scenes.txt");
  for (std::string row; std::getline(rows, row);)
    if (!row.starts_with('#'))
      register_case("Examples", row.substr(0, row.find(' ')), __FILE__, __LINE__,
                    [row] { play_scene(row); });
  return true;
}();

} // namespace

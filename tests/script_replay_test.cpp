// Random scripts that fuzzing has found worth keeping, and those that once broke something:
// data/corpus/script/, one a file.
#include <malloc.h>

#include <gtest/gtest.h>

#include "fuzz/script_player.h"
#include "graphics_fixture.h"

namespace {

TEST(ScriptReplay, Corpus) {
  int scripts = 0;
  for (const auto &entry : std::filesystem::directory_iterator(data_path("corpus/script"))) {
    SCOPED_TRACE(entry.path().string());
    const file_bytes script = read_file(entry.path());
    // Fills the heap: what a script saw of memory that nobody has written would differ.
    mallopt(M_PERTURB, 0x11);
    const fuzz::played first = fuzz::play_script(script);
    mallopt(M_PERTURB, 0xEE);
    const fuzz::played second = fuzz::play_script(script);
    mallopt(M_PERTURB, 0);
    EXPECT_EQ(first.mistake, "");
    EXPECT_EQ(first.checksum, second.checksum);
    scripts++;
  }
  EXPECT_GT(scripts, 0);
}

} // namespace

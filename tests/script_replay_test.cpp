// Random scripts that fuzzing found worth keeping, and former crashers: data/corpus/script/, one
// per file.
#include <malloc.h>

#include <gtest/gtest.h>

#include "blit/span_tables.h"
#include "fuzz/script_player.h"
#include "graphics_fixture.h"

namespace {

/// Plays once with every allocation filled with a byte and a limit on instructions.
fuzz::played play(const file_bytes &script, int fill, instruction_set highest) {
  mallopt(M_PERTURB, fill);
  mask_instruction_sets(highest);
  fuzz::played result = fuzz::play_script(script);
  mask_instruction_sets(instruction_set::avx2);
  mallopt(M_PERTURB, 0);
  return result;
}

TEST(ScriptReplay, Corpus) {
  int scripts = 0;
  for (const auto &entry : std::filesystem::directory_iterator(data_path("corpus/script"))) {
    SCOPED_TRACE(entry.path().string());
    const file_bytes script = read_file(entry.path());
    const fuzz::played plain = play(script, 0x11, instruction_set::sse2);
    const fuzz::played first = play(script, 0x11, instruction_set::avx2);
    const fuzz::played second = play(script, 0xEE, instruction_set::avx2);
    EXPECT_EQ(first.mistake, "");
    EXPECT_EQ(first.checksum, plain.checksum) << "with and without AVX2";
    // Results that depend on uninitialised memory would differ.
    EXPECT_EQ(first.checksum, second.checksum);
    scripts++;
  }
  EXPECT_GT(scripts, 0);
}

} // namespace

// script_play [--sse2] [--trace] FILE...: plays random scripts and prints, for each, the checksum
// over its results and pictures, its name, and what went wrong.
//
// For debugging one script, for comparing builds (all give the same checksums), and for measuring
// what scripts reach (tools/script_coverage.py). --sse2 disables AVX2, --trace prints every call
// and frame.
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>
#include <string_view>
#include <vector>

#include "blit/span_tables.h"
#include "fuzz/script_player.h"

int main(int argc, char **argv) {
  int mistakes = 0;
  for (int i = 1; i < argc; i++) {
    if (std::string_view(argv[i]) == "--sse2") {
      mask_instruction_sets(instruction_set::sse2);
      continue;
    }
    if (std::string_view(argv[i]) == "--trace") {
      fuzz::trace_steps = true;
      continue;
    }
    std::ifstream in(argv[i], std::ios::binary);
    const std::vector<char> bytes(std::istreambuf_iterator<char>(in), {});
    const fuzz::played played =
        fuzz::play_script({reinterpret_cast<const uint8_t *>(bytes.data()), bytes.size()});
    const std::string name = std::filesystem::path(argv[i]).filename();
    std::printf("%08x %s %s\n", played.checksum, name.c_str(), played.mistake.c_str());
    std::fflush(stdout); // what follows may crash
    mistakes += !played.mistake.empty();
  }
  return mistakes != 0;
}

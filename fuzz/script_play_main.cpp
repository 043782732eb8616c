// script_play [--sse2] [--trace] [--odd] FILE...: plays random scripts and prints, for each, the
// checksum over its results and pictures, its name, and what went wrong.
//
// For debugging one script, for comparing builds (all give the same checksums), and for measuring
// what scripts reach (tools/script_coverage.py). --sse2 disables AVX2, --trace prints every call
// and frame, --odd plays them in odd hosts.
#include <cstdio>
#include <string_view>

#include "blit/span_tables.h"
#include "fuzz/player.h"

int main(int argc, char **argv) {
  int mistakes = 0;
  bool odd = false;
  for (const std::string_view argument : std::span(argv + 1, size_t(argc) - 1)) {
    if (argument == "--sse2") mask_instruction_sets(instruction_set::sse2);
    fuzz::trace_steps |= argument == "--trace";
    odd |= argument == "--odd";
    if (argument.starts_with("--")) continue;
    const file_bytes script = read_file(argument);
    const fuzz::played played = odd ? fuzz::play_odd_host(script) : fuzz::play_script(script);
    std::printf("%08x %s %s\n", played.checksum, std::filesystem::path(argument).filename().c_str(),
                played.mistake.c_str());
    std::fflush(stdout); // what follows may crash
    mistakes += !played.mistake.empty();
  }
  return mistakes != 0;
}

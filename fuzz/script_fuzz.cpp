// Random scripts over all functions, with processes, frames and modes.
#include <cstdio>
#include <cstdlib>

#include "fuzz/script_player.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size) {
  const fuzz::played played = fuzz::play_script({data, size});
  if (played.mistake.empty()) return 0;
  fprintf(stderr, "%s\n", played.mistake.c_str());
  abort();
}

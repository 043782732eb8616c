// A host's odd replies: null tables, streams that lie, invalid processes and positions.
#include <cstdio>
#include <cstdlib>

#include "fuzz/odd_host.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size) {
  const std::string mistake = fuzz::play_odd_host({data, size});
  if (mistake.empty()) return 0;
  fprintf(stderr, "%s\n", mistake.c_str());
  abort();
}

// A fuzz target: compiled once for each name in CMakeLists.txt.
//
// `script` plays random scripts, `host` plays them in odd hosts. The others are file formats: the
// input is a file that script functions load (the scenes for it in scenes.txt), at a depth that its
// size decides; `palette` takes files of any format. The checksums of most PNG files are corrected.
#include <sys/mman.h>
#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>

#include "fuzz/foreign_files.h"
#include "fuzz/player.h"
#include "fuzz/png_checksums.h"

namespace {

/// The file "f" of the world folder, in memory: writing to a disk would take most of the time.
int memory_file() {
  const int descriptor = memfd_create("f", 0);
  std::filesystem::create_symlink("/proc/self/fd/" + std::to_string(descriptor),
                                  fuzz::world_folder() / "f");
  return descriptor;
}

std::string read_as(const std::string &format, std::span<const uint8_t> file) {
  static const int descriptor = memory_file();
  static fuzz::player player({}, nullptr, fuzz::world_folder());
  static int32_t depth;
  // Bigger pictures only take time.
  if (fuzz::claims_too_much({file.begin(), file.end()})) return "";
  if (ftruncate(descriptor, 0) || pwrite(descriptor, file.data(), file.size(), 0) < 0)
    return "memory";
  const int32_t wanted = 8 << file.size() % 3;
  if (depth != wanted) player.host.call("mode_set", {64, 48, depth = wanted});
  player.play_scene(format == "map" || format == "fpg" || format == "palette"
                        ? "reading a file of format " + format
                        : "reading a picture");
  player.sum_up_surfaces();
  player.check_counts();
  player.host.call("map_unload", {-1});
  player.host.call("fpg_unload", {-1});
  return player.mistake;
}

} // namespace

extern "C" size_t LLVMFuzzerMutate(uint8_t *data, size_t size, size_t max_size);

extern "C" size_t LLVMFuzzerCustomMutator(uint8_t *data, size_t size, size_t max_size,
                                          unsigned seed) {
  size = LLVMFuzzerMutate(data, size, max_size);
  if (seed % 8 && size > 8 && memcmp(data, "\x89PNG", 4) == 0) fuzz::fix_checksums(data, size);
  return size;
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size) {
  const std::string target = ORB_FUZZ_TARGET;
  const std::span<const uint8_t> input(data, size);
  const std::string mistake = target == "script" ? fuzz::play_script(input).mistake
                              : target == "host" ? fuzz::play_odd_host(input).mistake
                                                 : read_as(target, input);
  if (mistake.empty()) return 0;
  fprintf(stderr, "%s\n", mistake.c_str());
  abort();
}

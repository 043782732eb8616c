// The initial world of random programs: a folder with one file of each format and depth, and one or
// more objects of each kind in the module.
#pragma once

#include <cstdint>
#include <filesystem>
#include <functional>
#include <map>
#include <string>

#include "host/host.h"

namespace fuzz {

inline constexpr int32_t depths[] = {8, 16, 32};

/// Null, names of files that exist or may be written, and invalid names.
inline constexpr const char *texts[] = {
    "8.map",  "16.map", "32.map", "8.fpg",  "16.fpg", "32.fpg",   "8.png",     "32.png",
    "8.bmp",  "16.bmp", "32.bmp", "8.pcx",  "16.pcx", "8.tga",    "32.tga",    "8.jpg",
    "32.jpg", "8.pal",  "c.map",  "c.fpg",  "k.map",  "k.fpg",    "out.fpg",   "out.map",
    "key",    "k",      "",       "no.map", "no.fpg", "no/a.png", "long name", nullptr};

/// A folder that is removed when the program ends.
class scratch_folder {
public:
  scratch_folder();
  ~scratch_folder();
  scratch_folder(const scratch_folder &) = delete;
  scratch_folder &operator=(const scratch_folder &) = delete;

  const std::filesystem::path &path() const { return path_; }
  /// Keeps the present contents for restore().
  void keep();
  void restore();

private:
  std::filesystem::path path_;
  std::map<std::string, std::string> kept_;
};

/// The folder with the files of `texts`, created by the first call.
scratch_folder &world_folder();

/// Creates four graphs, a library, a region, two draw objects and three processes at a depth, so
/// that early calls find valid objects. `spawn` creates a process of a type.
void make_world(orbhost::Host &host, int32_t depth,
                const std::function<orb_process *(int32_t type)> &spawn);

} // namespace fuzz

#include "scratch_folder.h"

#include <cstdlib>
#include <filesystem>
#include <stdexcept>

namespace orbbench {

const std::string &scratch_folder() {
  static const struct scratch {
    std::string path = std::filesystem::temp_directory_path() / "orb_bench_XXXXXX";
    scratch() {
      if (!mkdtemp(path.data())) throw std::runtime_error("cannot make " + path);
    }
    ~scratch() { std::filesystem::remove_all(path); }
  } made;
  return made.path;
}

} // namespace orbbench

#include "host/module_file.h"

#include <filesystem>
#include <string_view>
#include <vector>

namespace orbhost {

std::string find_module(const char *program) {
  namespace fs = std::filesystem;
  constexpr const char *module_file = "libORB_mod_graphics2D.so.1";
  // If the dynamic loader started the program, /proc/self/exe names the loader: argv[0] comes
  // first.
  std::vector<fs::path> programs;
  std::error_code ignored;
  if (std::string_view(program).find('/') != std::string_view::npos) programs.emplace_back(program);
  programs.push_back(fs::read_symlink("/proc/self/exe", ignored));
  for (const fs::path &path : programs) {
    const fs::path real = fs::weakly_canonical(path, ignored);
    for (const char *folder : {"../lib", "../lib/i386-linux-gnu"}) {
      const fs::path file = real.parent_path() / folder / module_file;
      if (fs::exists(file, ignored)) return file.lexically_normal().string();
    }
  }
  return module_file;
}

std::string find_above_module(const char *program, std::initializer_list<const char *> paths) {
  namespace fs = std::filesystem;
  std::error_code ignored;
  fs::path above = fs::absolute(find_module(program), ignored);
  while (above.has_relative_path()) {
    above = above.parent_path();
    for (const char *path : paths)
      if (fs::exists(above / path, ignored)) return (above / path).string();
  }
  return {};
}

} // namespace orbhost

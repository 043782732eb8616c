#include "tools/orbgfx/container.h"

#include <filesystem>

namespace orbgfx {

Container examine(orbhost::Files &files, const std::string &path, const Common &common) {
  std::error_code ignored;
  const auto status = std::filesystem::status(path, ignored);
  if (!std::filesystem::exists(status)) throw ToolError(path + ": no such file", exit_not_found);
  if (!std::filesystem::is_regular_file(status)) throw ToolError(path + ": not a file");
  const auto container = orbhost::examine(files, path, common.key ? common.key->c_str() : nullptr);
  if (!container) throw ToolError(path + ": can't be opened, or its compression is damaged");
  return *container;
}

void check_key(const Container &container, const std::string &path, const Common &common) {
  if (container.key_fits) return;
  throw ToolError(path + (common.key ? ": enciphered with another key"
                                     : ": enciphered; give its key with --key"));
}

} // namespace orbgfx

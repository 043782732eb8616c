#include "fuzz/foreign_files.h"

#include <algorithm>
#include <filesystem>
#include <map>

#include <zlib.h>

#include "support/world.h"

namespace fuzz {
namespace {

namespace fs = std::filesystem;

constexpr uint64_t most_pixels = 1 << 16;
constexpr size_t most_bytes = 16384;

/// Files by the hash of their names.
using file_ring = std::map<uint32_t, std::string>;

/// All small files in the folders of that name; of any format: in all.
file_ring read_files(const std::string &kind) {
  file_ring files;
  for (const auto &entry : fs::recursive_directory_iterator(tests_folder("data"))) {
    const std::string folder = entry.path().parent_path().filename();
    if (!entry.is_regular_file() || entry.file_size() > most_bytes) continue;
    if (kind == "any" ? folder == "data" || folder == "script" || folder == "host" : folder != kind)
      continue;
    const file_bytes bytes = read_file(entry.path());
    const std::string name = entry.path().filename();
    files[uint32_t(crc32(0, reinterpret_cast<const Bytef *>(name.data()), uInt(name.size())))] =
        std::string(bytes.begin(), bytes.end());
  }
  return files;
}

} // namespace

const std::string &foreign_file(const std::string &kind, uint16_t number) {
  static std::map<std::string, file_ring> rings;
  const auto ring =
      rings.contains(kind) ? rings.find(kind) : rings.emplace(kind, read_files(kind)).first;
  const file_ring &files = ring->second;
  const auto next = files.lower_bound(uint32_t(number) << 16);
  return next == files.end() ? files.begin()->second : next->second;
}

bool claims_too_much(const std::string &file) {
  // The little-endian 16-bit word at `at`; 0 beyond the end.
  const auto word = [&file](size_t at) -> uint64_t {
    if (at + 2 > file.size()) return 0;
    return uint8_t(file[at]) | uint64_t(uint8_t(file[at + 1])) << 8;
  };
  const auto swapped = [&word](size_t at) { return word(at) >> 8 | (word(at) & 255) << 8; };
  const auto many = [](uint64_t width, uint64_t height) { return width * height > most_pixels; };
  if (file.starts_with("BM"))
    return many(word(18) | word(20) << 16, std::min(word(22) | word(24) << 16, uint64_t{65536}));
  if (file.starts_with("\x89PNG"))
    return many(swapped(18) | swapped(16) << 16, swapped(22) | swapped(20) << 16);
  if (file.starts_with("\xFF\xD8"))
    for (size_t i = 2; i + 9 <= file.size(); i++) {
      const auto kind = uint8_t(file[i + 1]);
      const bool frame = (kind & 0xF0) == 0xC0 && kind != 0xC4 && kind != 0xC8 && kind != 0xCC;
      if (file[i] == '\xFF' && frame && many(swapped(i + 5), swapped(i + 7))) return true;
    }
  if (file.starts_with('\x0A'))
    return many(word(8) - word(4) + 1 & 0xFFFF, word(10) - word(6) + 1 & 0xFFFF);
  // Any other file may be read as TGA, which has no signature. A long file may claim as much.
  return file.size() < most_bytes && many(word(12), word(14)) && (file.size() > 2) &&
         uint8_t(file[2]) <= 11;
}

} // namespace fuzz

#include "host/container.h"

#include "orb/graphics2d.h"

#include <algorithm>
#include <array>
#include <cstring>
#include <string_view>

namespace orbhost {
namespace {

using namespace std::string_view_literals;

// The markers that the module writes before the magic.
constexpr auto compressed_marker = "gz!\x1A\x0D\x0A\xFF\0"sv;
constexpr auto enciphered_marker = "ge!\x1A\x0D\x0A\xFF\0"sv;
constexpr auto cipher_check = "ge!encrypt7\x1A\x0D\x0A\xFF\0"sv; // enciphered
constexpr std::size_t magic_size = 8;

// A stream that closes itself.
class Reader {
public:
  Reader(Files &files, const std::string &path, int mode, const char *key)
      : files_(files), stream_(files.open(path.c_str(), mode, key)) {}
  ~Reader() { files_.close(stream_); }
  Reader(const Reader &) = delete;
  Reader &operator=(const Reader &) = delete;

  explicit operator bool() const { return stream_ != nullptr; }
  // Reads up to `count` bytes; none from a file that isn't open.
  std::string read(std::size_t count, bool cipher = false) {
    std::string bytes(count, '\0');
    bytes.resize(stream_ ? stream_->read(bytes.data(), count, cipher) : 0);
    return bytes;
  }

private:
  Files &files_;
  Stream *stream_;
};

bool is_compressed(Files &files, const std::string &path) {
  Reader plain(files, path, ORB_OPEN_READ, nullptr);
  const std::string start = plain.read(16);
  return start.size() == 16 && start.ends_with(compressed_marker);
}

void read_magic(std::string_view magic, Container &container) {
  if (magic.size() < 7 || magic.substr(3, 2) != "\x1A\x0D"sv || magic[6] != 0) return;
  const auto depth_byte = static_cast<std::uint8_t>(magic[5]);
  switch (depth_byte) {
  case 0x08:
  case 0x0A: container.depth = 8; break;
  case 0x16: container.depth = 16; break;
  case 0x32: container.depth = 32; break;
  default: return;
  }
  container.old_layout = depth_byte == 0x0A;
  if (magic.starts_with("map")) container.kind = FileKind::map;
  if (magic.starts_with("fpg")) container.kind = FileKind::fpg;
}

} // namespace

std::optional<Container> examine(Files &files, const std::string &path, const char *key) {
  Container container;
  container.compressed = is_compressed(files, path);
  Reader in(files, path, container.compressed ? ORB_OPEN_READ_COMPRESSED : ORB_OPEN_READ, key);
  if (!in) return std::nullopt;
  if (container.compressed) in.read(compressed_marker.size());
  std::string magic = in.read(magic_size);
  if (magic == enciphered_marker) {
    container.enciphered = true;
    container.key_fits = in.read(cipher_check.size(), true) == cipher_check && key;
    magic = in.read(magic_size);
  }
  read_magic(magic, container);
  return container;
}

std::uint64_t content_size(Files &files, const std::string &path, const Container &container) {
  Reader in(files, path, container.compressed ? ORB_OPEN_READ_COMPRESSED : ORB_OPEN_READ, nullptr);
  const std::size_t markers =
      (container.compressed ? compressed_marker.size() : 0) +
      (container.enciphered ? enciphered_marker.size() + cipher_check.size() : 0);
  std::uint64_t size = 0;
  constexpr std::size_t piece = std::size_t{64} * 1024;
  while (const std::size_t count = in.read(piece).size())
    size += count;
  return size - std::min<std::uint64_t>(size, markers + magic_size);
}

} // namespace orbhost

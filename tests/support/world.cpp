#include "support/world.h"

#include <zlib.h>

#include <cstdlib>
#include <cstring>
#include <fstream>
#include <iterator>
#include <stdexcept>

#include "module/module.h"
#include "surface/registry.h"
#include "surface/screen.h"

namespace fs = std::filesystem;

fs::path tests_folder(const std::string &name) { return fs::path(ORB_SOURCE_DIR "/tests") / name; }

file_bytes read_file(const fs::path &path) {
  std::ifstream in(path, std::ios::binary);
  if (!in) throw std::runtime_error("cannot read " + path.string());
  return {std::istreambuf_iterator<char>(in), {}};
}

void write_file(const fs::path &path, const file_bytes &bytes) {
  // A new file: some file systems flush a file at once when it is truncated and rewritten.
  fs::remove(path);
  std::ofstream(path, std::ios::binary)
      .write(reinterpret_cast<const char *>(bytes.data()), std::streamsize(bytes.size()));
}

file_bytes bytes_from(const std::string &text) {
  file_bytes bytes;
  for (size_t at = 0; at < text.size();) {
    if (text[at] == ' ') {
      ++at;
      continue;
    }
    file_bytes piece;
    if (text[at] == '"') {
      const size_t end = text.find('"', at + 1);
      piece.assign(text.begin() + ptrdiff_t(at) + 1, text.begin() + ptrdiff_t(end));
      at = end + 1;
    } else {
      piece.push_back(uint8_t(std::stoul(text.substr(at, 2), nullptr, 16)));
      at += 2;
    }
    size_t digits = 0, times = 1;
    if (text[at] == '*') times = std::stoul(text.substr(at + 1), &digits);
    if (digits) at += 1 + digits;
    while (times-- > 0)
      bytes.insert(bytes.end(), piece.begin(), piece.end());
  }
  return bytes;
}

static fs::path make_folder() {
  std::string pattern = fs::temp_directory_path() / "orb_XXXXXX";
  if (!mkdtemp(pattern.data())) throw std::runtime_error("cannot make " + pattern);
  return pattern;
}

scratch_folder::scratch_folder() : path(make_folder()) {}

scratch_folder::~scratch_folder() {
  std::error_code ignored;
  fs::remove_all(path, ignored);
}

world::world(const host_change &change) {
  const auto add = [this](const std::string &report) {
    reports_ += (reports_.empty() ? "" : "; ") + report;
  };
  host.on_error = [add](const orbhost::ErrorReport &e) {
    add(std::to_string(e.code) + " " + e.function + " " + std::to_string(e.position) + " " +
        (e.kind == ORB_VALUE_STRING ? '"' + e.text + '"' : std::to_string(e.value)));
  };
  host.on_fatal = [add](int32_t, const std::string &text) { add("fatal \"" + text + '"'); };
  host.on_exit = [add](int32_t code) { add("exit " + std::to_string(code)); };
  host.on_message = [add](const std::string &text, const std::string &) {
    add("box \"" + text + '"');
  };
  host.files().set_folder(folder.path);
  if (change.prepare) change.prepare(host);
  host.attach(change.entry ? change.entry : ORB_mod_graphics2D_MainLibraryExports);
  host.init();
}

void world::set_mode(int32_t depth) {
  host.call("mode_set", {64, 48, depth});
  while (host.global("fading")) // the palette of the first mode fades in
    host.frame();
}

std::string world::reports() { return std::exchange(reports_, ""); }

const __ORBSurface2D__ *surface_of(const std::vector<std::string> &words) {
  if (words.at(0) == "ground") return ground;
  if (words.at(0) == "screen") return screen;
  if (words.at(0) != "graph") throw std::invalid_argument("no surface: " + words.at(0));
  const orb_map_slot *slot = GetMAP(std::stoi(words.at(1)), std::stoi(words.at(2)));
  return slot ? slot->surface : nullptr;
}

static uint8_t *address(const __ORBSurface2D__ &surface, uint32_t x, uint32_t y) {
  return static_cast<uint8_t *>(surface.pixels) + size_t(y) * surface.pitch +
         size_t(x) * uint32_t(surface.depth) / 8;
}

uint32_t pixel(const __ORBSurface2D__ &surface, uint32_t x, uint32_t y) {
  uint32_t value = 0;
  memcpy(&value, address(surface, x, y), size_t(surface.depth) / 8);
  return value;
}

void set_pixel(__ORBSurface2D__ &surface, uint32_t x, uint32_t y, uint32_t value) {
  memcpy(address(surface, x, y), &value, size_t(surface.depth) / 8);
}

uint32_t crc_of(const __ORBSurface2D__ &surface) {
  uLong crc = crc32(0, nullptr, 0);
  for (uint32_t y = 0; y < surface.height; ++y)
    crc = crc32(crc, address(surface, 0, y), surface.width * uint32_t(surface.depth) / 8);
  return uint32_t(crc);
}

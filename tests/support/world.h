// The module in the reference host, with a display of SDL's dummy driver and a folder of its own.
//
//   world w;                                         // no mode is set yet
//   w.set_mode(8);                                   // 64 x 48
//   w.host.call("map_new", {16, 16});
//   EXPECT_EQ(w.reports(), "");                      // errors since the last look, as text
#pragma once

#include <cstdint>
#include <filesystem>
#include <functional>
#include <string>
#include <vector>

#include "host/host.h"

using file_bytes = std::vector<uint8_t>;

/// A folder under tests/ or its data, by name.
std::filesystem::path tests_folder(const std::string &name = "");

file_bytes read_file(const std::filesystem::path &path);
void write_file(const std::filesystem::path &path, const file_bytes &bytes);
/// The bytes of a text: hexadecimal, `00*12` repeated, `"map"` letters.
file_bytes bytes_from(const std::string &text);

/// A new folder, removed with everything in it at the end.
class scratch_folder {
public:
  scratch_folder();
  ~scratch_folder();
  scratch_folder(const scratch_folder &) = delete;
  scratch_folder &operator=(const scratch_folder &) = delete;
  const std::filesystem::path path;
};

/// What is done to a host before the module sees it; an entry of another module than the linked one.
struct host_change {
  std::function<void(orbhost::Host &)> prepare;
  orb_main_library_exports *entry = nullptr;
};

class world {
public:
  scratch_folder folder; ///< where the host's files are
  orbhost::Host host;

  explicit world(const host_change &change = {});

  /// A mode of 64 x 48 pixels, without a fade.
  void set_mode(int32_t depth);

  /// What the module has reported since the last look: `121 MAP_PUT 2 1000` for an error (code,
  /// function, position, value), `fatal "..."` and `exit N`, separated by "; ".
  std::string reports();

private:
  std::string reports_;
};

/// `ground`, `screen`, or `graph FILE GRAPH`: the surface, or null.
const __ORBSurface2D__ *surface_of(const std::vector<std::string> &words);

/// A pixel, zero-extended.
uint32_t pixel(const __ORBSurface2D__ &surface, uint32_t x, uint32_t y);
void set_pixel(__ORBSurface2D__ &surface, uint32_t x, uint32_t y, uint32_t value);

/// CRC-32 of all pixels, row by row, without the padding between rows.
uint32_t crc_of(const __ORBSurface2D__ &surface);

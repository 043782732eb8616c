// MAP and FPG files built by hand, and a fixture around the functions that read and write them.
#pragma once

#include <fstream>
#include <string>
#include <vector>

#include <sys/resource.h>
#include <unistd.h>

#include "memory_files.h"
#include "script/handlers.h"

/// Limits the memory the program may take from the system while it lives, in bytes.
class memory_limit {
public:
  explicit memory_limit(rlim_t bytes) {
    rlim_t pages = 0;
    std::ifstream("/proc/self/statm") >> pages;
    getrlimit(RLIMIT_AS, &former_);
    const rlimit now = {pages * rlim_t(getpagesize()) + bytes, former_.rlim_max};
    if (setrlimit(RLIMIT_AS, &now) != 0) throw std::runtime_error("no limit on memory");
  }
  ~memory_limit() { setrlimit(RLIMIT_AS, &former_); }

private:
  rlimit former_;
};

/// Builds little-endian bytes.
struct byte_builder {
  file_bytes bytes;
  byte_builder &raw(const file_bytes &more) {
    bytes.insert(bytes.end(), more.begin(), more.end());
    return *this;
  }
  byte_builder &text(const std::string &text, size_t size) {
    for (size_t i = 0; i < size; ++i)
      bytes.push_back(i < text.size() ? uint8_t(text[i]) : 0);
    return *this;
  }
  byte_builder &number(uint32_t value, int size) {
    for (int i = 0; i < size; ++i)
      bytes.push_back(uint8_t(value >> 8 * i));
    return *this;
  }
  byte_builder &word(uint32_t value) { return number(value, 2); }
  byte_builder &dword(uint32_t value) { return number(value, 4); }
};

/// A test on the engine's own files: a disk in memory, pictures to put there, and the result of a
/// call as a line of text.
struct graph_file_test : graphics_test {
  memory_files disk;
  graph_file_test() { disk.serve(host); }
  ~graph_file_test() override { EXPECT_EQ(disk.open_streams(), 0u); }

  struct cpoint {
    uint16_t x, y;
  };
  /// A graph as stored in files.
  struct stored_graph {
    int depth = 8;
    uint32_t w = 0, h = 0, code = 0;
    std::string description, name;
    std::vector<cpoint> points;
    bool alpha = false;
    file_bytes pixels; // empty: w x h x depth / 8 bytes that differ
  };
  static file_bytes pixels_of(const stored_graph &graph) {
    file_bytes bytes = graph.pixels;
    for (size_t i = 0; graph.pixels.empty() && i < size_t(graph.w) * graph.h * graph.depth / 8; ++i)
      bytes.push_back(uint8_t(i * 37 + graph.code * 11 + 5));
    return bytes;
  }
  /// Component `i` (0 to 767) of a palette on the 0..63 scale.
  static uint8_t component(size_t i, uint32_t colours) {
    return uint8_t((i * (7 + 2 * colours) + i / 3 * colours + i / 48) & 63);
  }
  static byte_builder &put_palette(byte_builder &out, uint32_t colours) {
    for (size_t i = 0; i < 768; ++i)
      out.bytes.push_back(component(i, colours));
    return put_ranges(out);
  }
  static byte_builder &put_ranges(byte_builder &out) {
    for (uint32_t k = 0; k < 16; ++k) {
      out.number(16, 4);
      out.bytes.insert(out.bytes.end(), 32, uint8_t(16 * k));
    }
    return out;
  }
  static uint32_t control_word(const stored_graph &graph) {
    return uint32_t(graph.points.size()) | (graph.alpha ? 0x1000u : 0u);
  }
  static void put_points_and_pixels(byte_builder &out, const stored_graph &graph) {
    for (const cpoint &point : graph.points)
      out.word(point.x).word(point.y);
    out.raw(pixels_of(graph));
  }
  static std::string magic(const char *letters, int depth, bool old) {
    const char byte = old ? 0x0A : depth == 8 ? 0x08 : depth == 16 ? 0x16 : 0x32;
    return std::string(letters) + "\x1A\x0D" + byte;
  }
  /// A MAP file.
  static file_bytes map_file(const stored_graph &graph, uint32_t colours = 1, bool old = false) {
    byte_builder out;
    out.text(magic("map", graph.depth, old), 8).word(graph.w).word(graph.h).dword(graph.code);
    out.text(graph.description, old ? 32 : 256);
    if (graph.depth == 8) put_palette(out, colours);
    out.word(control_word(graph));
    put_points_and_pixels(out, graph);
    return out.bytes;
  }

  /// "value", or "value: code NAME argument value" with one part per report since the last call.
  std::string answer(int32_t value) {
    std::string line = value == INT32_MIN ? "failure" : std::to_string(value);
    const char *separator = ": ";
    for (const fake_error &error : host.errors) {
      line += separator + std::to_string(error.code) + " " + error.function + " " +
              std::to_string(error.position) + " " +
              (error.kind ? "'" + error.text + "'" : std::to_string(error.value));
      separator = ", ";
    }
    host.errors.clear();
    if (host.left_over()) line += ", arguments left";
    if (host.times_returned() != 1) line += ", returned " + std::to_string(host.times_returned());
    return line;
  }
  template <typename... T> std::string ask(int32_t (*handler)(), T... arguments) {
    return answer(host.call(handler, arguments...));
  }
  template <typename... T> std::string ask_text(int32_t (*handler)(), T... arguments) {
    const std::string text = std::bit_cast<const char *>(host.call(handler, arguments...));
    return host.errors.empty() ? text : answer(0).replace(0, 1, text);
  }

  /// Everything that a failed call must leave unchanged.
  struct registry_state {
    int32_t maps, libraries, marks;
    uint32_t surfaces;
    std::vector<int32_t> counts, used;
    std::vector<uint32_t> memory;
    bool operator==(const registry_state &) const = default;
  };
  static registry_state state() {
    registry_state now{maps_loaded, fpgs_loaded, 0, gfxsurfaces->count, {}, {}, {}};
    for (int32_t i = 0; i < max_map - first_runtime_code; ++i)
      now.marks += image_loaded[i];
    for (int32_t file = 0; file < max_fpg; ++file) {
      now.counts.push_back(fpg[file].map_count);
      now.used.push_back(fpg[file].in_use);
      now.memory.push_back(fpg[file].memory_usage);
    }
    return now;
  }
  static file_bytes bytes_of(const __ORBSurface2D__ &surface) {
    const auto *bytes = static_cast<const uint8_t *>(surface.pixels);
    return {bytes, bytes + surface.byte_size};
  }
  /// "x,y" of each point, "-" for one that is not defined.
  static std::string points_of(const __ORBSurface2D__ &surface) {
    std::string line = std::to_string(surface.has_cpoints) + ":";
    for (uint32_t i = 0; i <= surface.cpoint_last; ++i) {
      const uint32_t *point = surface.cpoints + 3 * i;
      line +=
          " " + std::to_string(point[0]) + "," + std::to_string(point[1]) + (point[2] ? "" : "-");
    }
    return line;
  }
  /// Converts a graph from file bytes to the depth of the screen, the plain way.
  static std::vector<uint32_t> expected_pixels(const stored_graph &graph, int32_t screen_depth,
                                               uint32_t colours) {
    const file_bytes bytes = pixels_of(graph);
    std::vector<uint32_t> out;
    const size_t step = size_t(graph.depth / 8);
    for (size_t i = 0; i < bytes.size(); i += step) {
      uint32_t value = 0;
      for (size_t k = step; k-- > 0;)
        value = value << 8 | bytes[i + k];
      if (graph.depth == 8 && screen_depth != 8) {
        const uint32_t r = component(value * 3, colours) * 4u;
        const uint32_t g = component(value * 3 + 1, colours) * 4u;
        const uint32_t b = component(value * 3 + 2, colours) * 4u;
        value = screen_depth == 16 ? r / 8 * 2048 + g / 4 * 32 + b / 8 : r * 65536 + g * 256 + b;
      } else if (graph.depth == 16 && screen_depth == 32) {
        value = value / 2048 * 8 * 65536 + value / 32 % 64 * 4 * 256 + value % 32 * 8;
      }
      out.push_back(value);
    }
    return out;
  }
  static std::vector<uint32_t> pixels_in(const __ORBSurface2D__ &surface) {
    std::vector<uint32_t> out;
    for (uint32_t y = 0; y < surface.height; ++y)
      for (uint32_t x = 0; x < surface.width; ++x)
        out.push_back(pixel(surface, x, y));
    return out;
  }
};

/// The same for libraries.
struct library_test : graph_file_test {
  static constexpr const char *gz = "gz!\x1A\x0D\x0A\xFF";

  int32_t load(const char *name) { return host.call(ORB_fpg_load, name); }
  static orb_map_slot &slot_of(int32_t file, int32_t code) { return fpg[file].slots[code]; }

  static byte_builder &put_entry(byte_builder &out, const stored_graph &graph, bool old = false) {
    out.dword(graph.code).dword(old ? 12345 : 0);
    out.text(graph.description, old ? 32 : 256).text(graph.name, old ? 12 : 260);
    out.dword(graph.w).dword(graph.h).dword(control_word(graph));
    put_points_and_pixels(out, graph);
    return out;
  }
  /// An FPG file.
  static file_bytes fpg_file(int depth, const std::vector<stored_graph> &graphs,
                             uint32_t colours = 1, bool old = false) {
    byte_builder out;
    out.text(magic("fpg", depth, old), 8);
    if (depth == 8) put_palette(out, colours);
    for (const stored_graph &graph : graphs)
      put_entry(out, graph, old);
    return out.bytes;
  }
  static std::vector<stored_graph> three_graphs(int depth) {
    return {{depth, 3, 2, 1, "first", "one.map", {{1, 0}, {65535, 65535}, {2, 7}}, true, {}},
            {depth, 1, 1, 12, "", "", {}, false, {}},
            {depth, 5, 4, 999, "last", "c.png", {{4, 3}}, false, {}}};
  }
  /// "count graphs, memory bytes: code ..." of a library.
  static std::string contents(int32_t file) {
    const orb_fpg &library = fpg[file];
    std::string line = std::to_string(library.map_count) + " graphs, " +
                       std::to_string(library.memory_usage) + " bytes:";
    for (int32_t code = 0; library.slots && code < (file ? 1000 : max_map); ++code)
      if (library.slots[code].surface) line += " " + std::to_string(code);
    return line;
  }
};

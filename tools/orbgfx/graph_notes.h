// What a graph has besides its pixels, and the side file that keeps it for pictures.
//
//   # graphs of ship.fpg
//   depth 8
//   graph 12
//   name SHIP.MAP
//   description A ship seen from above
//   point 0 16 16
//   point 3 4 10
//
// One statement a line; empty lines and lines that begin with "#" are ignored. Texts go to the end
// of the line, with the escapes of escape_line(). Point 0 is the centre. What isn't given for a
// graph stays as it is.
#pragma once

#include "orb/graphics2d.h"
#include "tools/orbgfx/session.h"

#include <map>
#include <optional>
#include <string>

namespace orbgfx {

constexpr const char *side_file_name = "graphs.txt";

struct Point {
  int x, y;
  bool operator==(const Point &) const = default;
};

struct GraphNotes {
  std::optional<std::string> name, description;
  std::map<int, Point> points; // the defined ones
};

GraphNotes read_notes(const orb_map_slot &slot);
// Sets a graph's texts and points.
void apply_notes(Session &session, const std::string &path, int library, int code,
                 const GraphNotes &notes);

struct SideFile {
  int depth = 0;                              // of the library; 0: not given
  std::map<std::uint32_t, GraphNotes> graphs; // by code, or by the id of a MAP file
};

// Throws ToolError with the line's number for a malformed file.
SideFile load_side_file(const std::string &path);
// `about` names what the graphs belong to. The file is replaced completely or not at all.
void save_side_file(const std::string &path, const SideFile &notes, const std::string &about);

} // namespace orbgfx

#include "tools/orbgfx/graph_notes.h"

#include "host/output_file.h"
#include "tools/orbgfx/text.h"

#include <charconv>
#include <cstring>
#include <fstream>

namespace orbgfx {
namespace {

constexpr int most_points = 4095; // files store the count in 12 bits
constexpr std::size_t text_size = 255;
constexpr std::size_t longest_line = 4 * text_size + 100;

// A coordinate as files store it, in 16 bits.
bool is_coordinate(std::int64_t value) {
  return value >= INT16_MIN && value <= INT16_MAX;
}

// Reads a side file line by line.
class Parser {
public:
  explicit Parser(const std::string &path) : path_(path), in_(path, std::ios::binary) {
    if (!in_) throw ToolError(path + ": can't be opened", exit_not_found);
  }

  SideFile parse() {
    std::string line;
    while (std::getline(in_, line)) {
      ++number_;
      if (line.size() > longest_line) fail("the line is too long");
      if (line.ends_with('\r')) line.pop_back();
      if (!line.empty() && line[0] != '#') statement(line);
    }
    if (in_.bad()) fail("can't be read on");
    return std::move(notes_);
  }

private:
  [[noreturn]] void fail(const std::string &what) {
    throw ToolError(path_ + ":" + std::to_string(number_) + ": " + what);
  }

  void statement(std::string_view line) {
    const std::size_t blank = std::min(line.find(' '), line.size());
    const std::string_view word = line.substr(0, blank);
    rest_ = line.substr(std::min(blank + 1, line.size()));
    if (word == "depth") {
      const std::int64_t depth = number();
      if (!rest_.empty() || (depth != 8 && depth != 16 && depth != 32)) {
        fail("8, 16 or 32 expected after \"depth\"");
      }
      notes_.depth = static_cast<int>(depth);
      return;
    }
    if (word == "graph") {
      const std::int64_t code = number();
      if (!rest_.empty() || code < 0 || code > UINT32_MAX)
        fail("one number expected after \"graph\"");
      const auto [place, added] = notes_.graphs.try_emplace(static_cast<std::uint32_t>(code));
      if (!added) fail("graph " + std::to_string(code) + " is defined twice");
      graph_ = &place->second;
      return;
    }
    if (word != "name" && word != "description" && word != "point") {
      fail("\"depth\", \"graph\", \"name\", \"description\" or \"point\" expected");
    }
    if (!graph_) fail("a line \"graph NUMBER\" must come first");
    if (word == "point")
      point();
    else
      (word == "name" ? graph_->name : graph_->description) = text();
  }

  void point() {
    const std::int64_t index = number(), x = number(), y = number();
    if (!rest_.empty() || index < 0 || index >= most_points || !is_coordinate(x) ||
        !is_coordinate(y)) {
      fail("a point's number, x and y expected");
    }
    if (x == -1) fail("x can't be -1, which marks a missing point");
    if (!graph_->points
             .try_emplace(static_cast<int>(index), Point{static_cast<int>(x), static_cast<int>(y)})
             .second) {
      fail("point " + std::to_string(index) + " is defined twice");
    }
  }

  std::string text() {
    std::optional<std::string> text = unescape_line(rest_);
    if (!text) fail("\"\\\\\", \"\\n\" or \"\\x\" and two digits expected after a backslash");
    if (text->size() > text_size) fail("the text is longer than 255 bytes");
    if (text->find('\0') != std::string::npos) fail("a text can't hold a zero byte");
    return *text;
  }

  // Takes a number and the blanks around it.
  std::int64_t number() {
    const auto skip = [this] {
      rest_.remove_prefix(std::min(rest_.find_first_not_of(' '), rest_.size()));
    };
    skip();
    std::int64_t value = 0;
    const auto [end, error] = std::from_chars(rest_.begin(), rest_.end(), value);
    if (error != std::errc() || (end != rest_.end() && *end != ' ')) fail("a number expected");
    rest_.remove_prefix(static_cast<std::size_t>(end - rest_.begin()));
    skip();
    return value;
  }

  const std::string &path_;
  std::ifstream in_;
  int number_ = 0;
  std::string_view rest_;
  SideFile notes_;
  GraphNotes *graph_ = nullptr;
};

} // namespace

GraphNotes read_notes(const orb_map_slot &slot) {
  GraphNotes notes;
  notes.name.emplace(slot.name, strnlen(slot.name, sizeof slot.name));
  notes.description.emplace(slot.description, strnlen(slot.description, sizeof slot.description));
  const __ORBSurface2D__ &surface = *slot.surface;
  for (std::uint32_t i = 0; surface.has_cpoints && i <= surface.cpoint_last; ++i) {
    const std::uint32_t *point = surface.cpoints + 3 * i;
    if (!point[2]) continue;
    notes.points[static_cast<int>(i)] = {static_cast<std::int16_t>(point[0]),
                                         static_cast<std::int16_t>(point[1])};
  }
  return notes;
}

void apply_notes(Session &session, const std::string &path, int library, int code,
                 const GraphNotes &notes) {
  if (notes.name) session.call(path, "map_set_name", {library, code, *notes.name});
  if (notes.description) session.call(path, "map_set_desc", {library, code, *notes.description});
  for (const auto &[index, point] : notes.points) {
    // The first defines a new point, the second moves an existing one.
    session.call(path, "map_new_cpoint", {library, code, index, point.x, point.y});
    session.call(path, "map_set_cpoint", {library, code, index, point.x, point.y});
  }
}

SideFile load_side_file(const std::string &path) {
  return Parser(path).parse();
}

void save_side_file(const std::string &path, const SideFile &notes, const std::string &about) {
  std::string text = "# graphs of " + escape_line(about) + "\n";
  if (notes.depth) text += "depth " + std::to_string(notes.depth) + "\n";
  for (const auto &[code, graph] : notes.graphs) {
    text += "\ngraph " + std::to_string(code) + "\n";
    // Even an empty name is written, or the picture would be named after its file.
    if (graph.name) text += ("name " + escape_line(*graph.name)) + "\n";
    if (graph.description && !graph.description->empty()) {
      text += "description " + escape_line(*graph.description) + "\n";
    }
    for (const auto &[index, point] : graph.points) {
      text += "point " + std::to_string(index) + " " + std::to_string(point.x) + " " +
              std::to_string(point.y) + "\n";
    }
  }
  if (const int error = orbhost::save_file(path, text.data(), text.size())) {
    throw ToolError(path + ": can't be written: " + std::strerror(error));
  }
}

} // namespace orbgfx

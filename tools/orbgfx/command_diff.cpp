// diff: two libraries, or two pictures, graph by graph.
#include "tools/orbgfx/commands.h"
#include "tools/orbgfx/graph_notes.h"
#include "tools/orbgfx/session.h"
#include "tools/orbgfx/text.h"

#include <cstdio>
#include <cstring>

namespace orbgfx {
namespace {

// Copies of what was loaded: the second file is loaded by a new run of the module, so that the two
// palettes don't mix.
struct Graph {
  std::uint32_t width, height;
  bool alpha;
  GraphNotes notes;
  std::vector<std::uint8_t> pixels;
};
struct Content {
  bool library = false;
  int depth = 0;
  __ORBPalette2D__ palette{};
  std::map<int, Graph> graphs;
};

Graph copy_graph(const orb_map_slot &slot) {
  const __ORBSurface2D__ &surface = *slot.surface;
  const auto *pixels = static_cast<const std::uint8_t *>(surface.pixels);
  return {surface.width,
          surface.height,
          surface.alpha_channel != 0,
          read_notes(slot),
          {pixels, pixels + surface.byte_size}};
}

Content load_content(const std::string &path, int depth, const Common &common) {
  Session session(common);
  Content content;
  content.library = examine(session.files(), path, common).kind == Kind::fpg;
  if (content.library) {
    const int library = session.load_library(path, depth);
    for (const int code : session.codes(library)) {
      content.graphs.emplace(code, copy_graph(*session.graph(library, code)));
    }
  } else {
    session.set_depth(depth ? depth : session.natural_depth(path));
    content.graphs.emplace(1, copy_graph(*session.graph(0, session.load_picture(path))));
  }
  content.depth = session.depth();
  if (content.depth == 8) content.palette = session.palette();
  return content;
}

class Comparison {
public:
  Comparison(const DiffOptions &options, const Content &first, const Content &second)
      : options_(options), first_(first), second_(second) {}

  // The differences, as lines and as JSON.
  struct Difference {
    std::string line;
    Json json;
  };

  std::vector<Difference> run() {
    if (first_.depth != second_.depth) differ("", "depth", first_.depth, second_.depth);
    if (first_.depth == 8 && second_.depth == 8) compare_palettes();
    for (const auto &[code, graph] : first_.graphs) {
      where_ = first_.library ? std::to_string(code) + ": " : "";
      code_ = code;
      const auto other = second_.graphs.find(code);
      if (other == second_.graphs.end())
        only_in(options_.first);
      else
        compare(graph, other->second);
    }
    for (const auto &[code, graph] : second_.graphs) {
      where_ = std::to_string(code) + ": ";
      code_ = code;
      if (!first_.graphs.contains(code)) only_in(options_.second);
    }
    return std::move(differences_);
  }

private:
  void add(const std::string &what, const std::string &words, Json::Members details) {
    Json::Members members{{"what", what}};
    if (first_.library && code_) members.emplace_back("code", code_);
    for (auto &detail : details)
      members.push_back(std::move(detail));
    differences_.push_back({where_ + words, Json(std::move(members))});
  }
  template <typename Value>
  void differ(const std::string &quote, const std::string &what, const Value &a, const Value &b) {
    const auto show = [&](const Value &value) {
      if constexpr (std::is_same_v<Value, std::string>)
        return quote + escape_line(value) + quote;
      else
        return std::to_string(value);
    };
    add(what, what + ": " + show(a) + ", " + show(b), {{"first", a}, {"second", b}});
  }
  void only_in(const std::string &file) { add("only", "only in " + file, {{"file", file}}); }

  void compare_palettes() {
    int count = 0;
    for (int i = 0; i < 256; ++i) {
      count += std::memcmp(&first_.palette.colours[i], &second_.palette.colours[i],
                           sizeof(orb_rgb)) != 0;
    }
    if (count)
      add("palette", "palette: " + std::to_string(count) + " of 256 colours", {{"count", count}});
  }

  void compare(const Graph &a, const Graph &b) {
    const auto size = [](const Graph &graph) {
      return std::to_string(graph.width) + "x" + std::to_string(graph.height);
    };
    if (size(a) != size(b))
      differ("", "size", size(a), size(b));
    else if (first_.depth == second_.depth)
      compare_pixels(a, b);
    if (a.alpha != b.alpha) {
      differ("", "alpha channel", std::string(a.alpha ? "yes" : "no"),
             std::string(b.alpha ? "yes" : "no"));
    }
    // A picture is named after its file.
    if (first_.library && a.notes.name != b.notes.name) {
      differ("\"", "name", *a.notes.name, *b.notes.name);
    }
    if (a.notes.description != b.notes.description) {
      differ("\"", "description", *a.notes.description, *b.notes.description);
    }
    if (a.notes.points != b.notes.points) {
      differ("", "control points", describe(a.notes), describe(b.notes));
    }
  }

  static std::string describe(const GraphNotes &notes) {
    std::string text;
    for (const auto &[index, point] : notes.points) {
      if (!text.empty()) text += " ";
      text += std::to_string(index) + "=" + std::to_string(point.x) + ";" + std::to_string(point.y);
    }
    return text.empty() ? "none" : text;
  }

  void compare_pixels(const Graph &a, const Graph &b) {
    const std::size_t bytes = static_cast<std::size_t>(first_.depth) / 8;
    const std::size_t pixels = std::size_t{a.width} * a.height;
    std::size_t count = 0, first = 0;
    for (std::size_t i = 0; i < pixels; ++i) {
      if (std::memcmp(&a.pixels[i * bytes], &b.pixels[i * bytes], bytes) == 0) continue;
      if (count++ == 0) first = i;
    }
    if (count == 0) return;
    const std::size_t x = first % a.width, y = first / a.width;
    add("pixels",
        std::to_string(count) + " of " + std::to_string(pixels) + " pixels, the first at " +
            std::to_string(x) + "," + std::to_string(y),
        {{"count", count}, {"x", x}, {"y", y}});
  }

  const DiffOptions &options_;
  const Content &first_, &second_;
  std::string where_;
  int code_ = 0;
  std::vector<Difference> differences_;
};

} // namespace

int diff(const DiffOptions &options, const Common &common) {
  const Content first = load_content(options.first, options.depth, common);
  const Content second = load_content(options.second, options.depth, common);
  if (first.library != second.library) {
    throw ToolError("a library can't be compared with a picture", exit_usage);
  }
  const auto differences = Comparison(options, first, second).run();
  Json list = Json::array();
  for (const auto &difference : differences) {
    if (!common.json) std::printf("%s\n", difference.line.c_str());
    list.add(difference.json);
  }
  if (common.json) {
    const Json result(Json::Members{{"equal", differences.empty()}, {"differences", list}});
    std::printf("%s\n", result.dump().c_str());
  }
  return differences.empty() ? exit_ok : exit_failure;
}

} // namespace orbgfx

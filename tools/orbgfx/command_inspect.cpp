// info, list and verify: the contents of a file, and whether all of it can be read.
#include "tools/orbgfx/commands.h"
#include "tools/orbgfx/graph_notes.h"
#include "tools/orbgfx/session.h"
#include "tools/orbgfx/text.h"

#include <cstdio>
#include <filesystem>

namespace orbgfx {
namespace {

// One loaded file: a library, or a single graph in library 0.
struct Loaded {
  Container container;
  int depth = 0;
  int library = 0;
  std::vector<int> codes; // empty also if the file's key is missing
};

Loaded load(Session &session, const std::string &path, const Common &common) {
  Loaded loaded{examine(session.files(), path, common), 0, 0, {}};
  if (loaded.container.kind == Kind::fpg) {
    loaded.library = session.load_library(path, 0);
    loaded.codes = session.codes(loaded.library);
  } else {
    session.set_depth(session.natural_depth(path));
    loaded.codes = {session.load_picture(path)};
  }
  loaded.depth = session.depth();
  return loaded;
}

const char *kind_name(Kind kind) {
  switch (kind) {
  case Kind::fpg: return "fpg";
  case Kind::map: return "map";
  case Kind::other: break;
  }
  return "picture";
}

Json describe_graph(const orb_map_slot &slot) {
  const GraphNotes notes = read_notes(slot);
  const __ORBSurface2D__ &surface = *slot.surface;
  Json points = Json::array();
  for (const auto &[index, point] : notes.points) {
    points.add(Json::array({index, point.x, point.y}));
  }
  return Json::Members{{"code", slot.id}, // of a MAP file, its id
                       {"name", *notes.name},
                       {"description", *notes.description},
                       {"width", surface.width},
                       {"height", surface.height},
                       {"alpha", surface.alpha_channel != 0},
                       {"points", points},
                       {"memory", slot.memory_usage}};
}

Json describe_file(Session &session, const std::string &path, const Loaded &loaded) {
  const Container &container = loaded.container;
  std::error_code ignored;
  Json file(Json::Members{{"file", path},
                          {"kind", kind_name(container.kind)},
                          {"depth", loaded.depth},
                          {"size", std::filesystem::file_size(path, ignored)}});
  if (container.kind != Kind::other) {
    file.set("old_layout", container.old_layout);
    file.set("compressed", container.compressed);
    file.set("enciphered", container.enciphered);
  }
  if (!container.key_fits) return file;
  if (container.kind == Kind::fpg) {
    file.set("graphs", loaded.codes.size());
    file.set("memory", static_cast<std::uint32_t>(
                           session.call(path, "fpg_get_memoryusage", {loaded.library})));
    return file;
  }
  const orb_map_slot &slot = *session.graph(0, loaded.codes[0]);
  file.set("width", slot.surface->width);
  file.set("height", slot.surface->height);
  file.set("alpha", slot.surface->alpha_channel != 0);
  file.set("memory", slot.memory_usage);
  return file;
}

std::string summary(Session &session, const std::string &path, const Loaded &loaded) {
  const Container &container = loaded.container;
  std::string text = path + ": " + std::to_string(loaded.depth) + "-bit ";
  const bool library = container.kind == Kind::fpg;
  text += library ? "FPG file" : container.kind == Kind::map ? "MAP file" : "picture";
  if (library && container.key_fits) {
    const std::size_t count = loaded.codes.size();
    text += ", " + std::to_string(count) + (count == 1 ? " graph" : " graphs");
  } else if (container.key_fits) {
    const orb_map_slot &slot = *session.graph(0, loaded.codes[0]);
    text += ", " + std::to_string(slot.surface->width) + "x" + std::to_string(slot.surface->height);
    if (slot.surface->alpha_channel) text += ", alpha channel";
  }
  if (container.old_layout) text += ", old layout";
  if (container.compressed) text += ", compressed";
  if (container.enciphered) text += ", enciphered";
  return text;
}

// Bytes of a library's file that belong to none of the loaded graphs. The loader reports neither
// codes out of range, after which it is out of step, nor codes that occur twice; both show here.
std::string unaccounted(Session &session, const std::string &path, const Loaded &loaded) {
  const bool old = loaded.container.old_layout;
  const std::uint64_t header = 4 + 4 + (old ? 32 + 12 : 256 + 260) + 12;
  constexpr std::uint32_t record_memory = 616, point_memory = 12;
  std::uint64_t expected = loaded.container.depth == 8 ? 768 + 576 : 0;
  for (const int code : loaded.codes) {
    const orb_map_slot &slot = *session.graph(loaded.library, code);
    const std::uint32_t bytes = slot.surface->byte_size;
    const std::uint64_t points = (slot.memory_usage - record_memory - bytes) / point_memory;
    expected += header + 4 * points + bytes;
  }
  const std::uint64_t found = orbhost::content_size(session.files(), path, loaded.container);
  if (found == expected) return {};
  return "damaged: " + std::to_string(found > expected ? found - expected : expected - found) +
         (found > expected ? " bytes belong to no graph" : " bytes are missing");
}

} // namespace

int info(const std::vector<std::string> &files, const Common &common) {
  Json results = Json::array();
  for (const std::string &path : files) {
    Session session(common);
    Loaded loaded{examine(session.files(), path, common), 0, 0, {}};
    // Kind and depth of an enciphered file are known without its key.
    if (loaded.container.key_fits)
      loaded = load(session, path, common);
    else
      loaded.depth = loaded.container.depth;
    if (common.json)
      results.add(describe_file(session, path, loaded));
    else
      std::printf("%s\n", summary(session, path, loaded).c_str());
  }
  if (common.json) std::printf("%s\n", results.dump().c_str());
  return exit_ok;
}

int list(const std::string &file, const Common &common) {
  Session session(common);
  const Loaded loaded = load(session, file, common);
  Json graphs = Json::array();
  if (!common.json) std::printf("code  size         alpha  points  name / description\n");
  for (const int code : loaded.codes) {
    const orb_map_slot &slot = *session.graph(loaded.library, code);
    if (common.json) {
      graphs.add(describe_graph(slot));
      continue;
    }
    const GraphNotes notes = read_notes(slot);
    const std::string size =
        std::to_string(slot.surface->width) + "x" + std::to_string(slot.surface->height);
    std::string texts = escape_line(*notes.name);
    if (!notes.description->empty()) texts += " / " + escape_line(*notes.description);
    std::printf("%4u  %-11s  %-5s  %6zu  %s\n", slot.id, size.c_str(),
                slot.surface->alpha_channel ? "yes" : "-", notes.points.size(), texts.c_str());
  }
  if (common.json) std::printf("%s\n", graphs.dump().c_str());
  return exit_ok;
}

int verify(const std::vector<std::string> &files, const Common &common) {
  Json results = Json::array();
  int status = exit_ok;
  Progress progress("verifying", files.size());
  for (const std::string &path : files) {
    progress.step(path);
    std::string problem;
    try {
      Session session(common);
      const Loaded loaded = load(session, path, common);
      if (loaded.container.kind == Kind::fpg) {
        problem = unaccounted(session, path, loaded);
        if (!problem.empty()) problem = path + ": " + problem;
      }
    } catch (const ToolError &error) {
      if (error.status == exit_not_found) throw;
      problem = error.what();
    }
    if (!problem.empty()) status = exit_failure;
    Json result(Json::Members{{"file", path}, {"ok", problem.empty()}});
    if (!problem.empty()) result.set("problem", problem);
    results.add(result);
    if (!common.json && !problem.empty()) std::fprintf(stderr, "orbgfx: %s\n", problem.c_str());
  }
  if (common.json) std::printf("%s\n", results.dump().c_str());
  return status;
}

} // namespace orbgfx

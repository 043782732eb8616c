#include "fuzz/world.h"

#include <cstdlib>
#include <fstream>
#include <iterator>
#include <stdexcept>
#include <utility>

#include "module/module.h"
#include "surface/registry.h"

namespace fuzz {
namespace {

namespace fs = std::filesystem;

/// Saves the world in every format, under the names of its depth. Its library has number 0, the
/// first free one.
void save_world(orbhost::Host &host, int32_t depth) {
  const std::string name = std::to_string(depth);
  host.call("map_save", {0, 1000, name + ".map"});
  host.call("fpg_save", {0, name + ".fpg"});
  const std::pair<int32_t, const char *> formats[] = {
      {2, ".bmp"}, {3, ".jpg"}, {4, ".pcx"}, {5, ".png"}, {6, ".tga"}};
  for (const auto &[format, ending] : formats)
    host.call("image_save", {0, 1001, name + ending, format});
  if (depth != 8) return;
  host.call("palette_save", {"8.pal"});
  host.call("map_save", {0, 1001, "c.map", 1, static_cast<const char *>(nullptr)});
  host.call("fpg_save", {0, "c.fpg", 1, static_cast<const char *>(nullptr)});
  host.call("map_save", {0, 1001, "k.map", 0, "key"});
  host.call("fpg_save", {0, "k.fpg", 1, "key"});
}

void fill(const fs::path &folder) {
  for (const int32_t depth : depths) {
    orbhost::Host host;
    host.on_error = [](const orbhost::ErrorReport &) {};
    host.files().set_folder(folder);
    host.attach(ORB_mod_graphics2D_MainLibraryExports);
    host.init();
    make_world(host, depth, [&](int32_t type) { return host.spawn(type); });
    save_world(host, depth);
  }
}

} // namespace

scratch_folder::scratch_folder() {
  std::string pattern = fs::temp_directory_path() / "orb_script_XXXXXX";
  if (!mkdtemp(pattern.data())) throw std::runtime_error("cannot make " + pattern);
  path_ = pattern;
}

scratch_folder::~scratch_folder() {
  std::error_code ignored;
  fs::remove_all(path_, ignored);
}

void scratch_folder::keep() {
  for (const auto &entry : fs::directory_iterator(path_)) {
    std::ifstream in(entry.path(), std::ios::binary);
    kept_[entry.path().filename()] = std::string(std::istreambuf_iterator<char>(in), {});
  }
}

void scratch_folder::restore() {
  for (const auto &entry : fs::directory_iterator(path_))
    fs::remove_all(entry.path());
  for (const auto &[name, bytes] : kept_)
    std::ofstream(path_ / name, std::ios::binary) << bytes;
}

scratch_folder &world_folder() {
  static scratch_folder folder;
  static const bool filled = (fill(folder.path()), folder.keep(), true);
  (void)filled;
  return folder;
}

void make_world(orbhost::Host &host, int32_t depth,
                const std::function<orb_process *(int32_t type)> &spawn) {
  host.call("mode_set", {64, 48, depth});
  const struct { int32_t width, height; } sizes[] = {{16, 16}, {33, 7}, {64, 64}, {1, 1}};
  uint32_t random = 1;
  for (const auto &size : sizes) {
    const int32_t graph = host.call("map_new", {size.width, size.height, 0, int(depth == 32)});
    // An odd host may have made creating the graph fail.
    const orb_map_slot *slot = GetMAP(0, graph);
    if (!slot || !slot->surface) continue;
    auto *bytes = static_cast<uint8_t *>(slot->surface->pixels);
    for (uint32_t i = 0; i < slot->surface->byte_size; i++)
      bytes[i] = (random = random * 1664525 + 1013904223) >> 30 ? uint8_t(random >> 16) : 0;
    host.call("map_new_cpoint", {0, graph, 5, size.width / 2, size.height / 3});
  }
  const int32_t library = host.call("fpg_new");
  for (int32_t graph = 1; graph <= 3; graph++)
    host.call("fpg_add_map", {library, graph, 0, 999 + graph});
  host.call("region_define", {1, 8, 8, 30, 20});
  host.call("draw_new", {3, 15, 12, 1, 2, 3, 40, 30});
  host.call("draw_new", {4, 200, 8, 0, -5, 3, 20, 60});
  for (int32_t i = 0; i < 3; i++) {
    orb_process *process = spawn(i);
    process->locals->graph = 1000 + i;
    process->locals->x = process->locals->y = 20 + 9 * i;
  }
}

} // namespace fuzz

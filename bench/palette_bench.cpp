// Truecolour pictures on 8-bit screens, whose every pixel becomes the nearest colour of the
// palette, against the same pictures at 32 bits. By the script function that loads a graph.
#include <benchmark/benchmark.h>

#include <cstdlib>
#include <filesystem>
#include <random>
#include <stdexcept>

#include "benchmarks.h"
#include "contender.h"
#include "orb_host.h"
#include "raw_codecs.h"
#include "report.h"
#include "scratch_folder.h"
#include "surface/nearest_colour.h"
#include "surface/palette.h"
#include "surface/surface.h"

namespace orbbench {

namespace {

struct picture_set {
  const char *name;
  int count;
  extent size;
  bool (*save)(const std::string &path, const raw_picture &picture);
};
constexpr picture_set sets[] = {
    {"100 PNG of 64x64", 100, {64, 64}, save_raw_png},
    {"JPEG of 3120x4208", 1, {3120, 4208}, save_raw_jpeg},
};

/// Soft colours with noise, as a camera takes them: neighbours are alike, and hardly ever equal.
picture photograph(extent size) {
  std::mt19937 random(1);
  picture result{size.width, size.height, 32, {}};
  for (int y = 0; y < size.height; ++y)
    for (int x = 0; x < size.width; ++x) {
      const uint32_t light = uint32_t(x + y) / 7 % 200, haze = uint32_t(x / 11 + y / 5) % 200;
      const auto noisy = [&](uint32_t level) { return level + random() % 16; };
      result.pixels.push_back(noisy(light) << 16 | noisy((light + haze) / 2) << 8 | noisy(haze));
    }
  return result;
}

/// The files of a set, written at their first use: strips of one large picture.
std::vector<std::string> files_of(const picture_set &set) {
  std::vector<std::string> paths;
  for (int i = 0; i < set.count; ++i)
    paths.push_back(scratch_folder() + "/" + set.name + " " + std::to_string(i));
  if (std::filesystem::exists(paths.front())) return paths;
  const picture all = photograph({set.size.width, set.size.height * set.count});
  const uint32_t *strip = all.pixels.data();
  for (const std::string &path : paths) {
    const raw_picture part = {uint32_t(set.size.width), uint32_t(set.size.height), false, false,
                              strip};
    if (!set.save(path, part)) throw std::runtime_error("cannot write " + path);
    strip += set.size.width * set.size.height;
  }
  return paths;
}

int load_graph(orbhost::Host &host, const std::string &path) {
  const int graph = host.call("image_load", {path});
  if (graph <= 0) throw std::runtime_error("cannot load " + path);
  return graph;
}

/// A graph's pixels, a word each.
std::vector<uint32_t> load_pixels(int depth, const std::string &path) {
  orbhost::Host &host = host_at_depth(depth);
  const int graph = load_graph(host, path);
  const __ORBSurface2D__ &surface = *host.device()->GetMAP(0, graph)->surface;
  const extent size = {int(surface.width), int(surface.height)};
  std::vector<uint32_t> pixels = load(depth, size, surface.pixels, surface.pitch).pixels;
  host.call("map_unload", {graph});
  return pixels;
}

/// Whether the first picture of a set has the palette's nearest colours; of a large one every
/// hundredth pixel.
bool colours_are_nearest(const picture_set &set) {
  const std::string path = files_of(set).front();
  const std::vector<uint32_t> colours = load_pixels(32, path), indices = load_pixels(8, path);
  const size_t step = colours.size() > 1'000'000 ? 100 : 1;
  for (size_t i = 0; i < colours.size(); i += step) {
    const uint32_t c = colours[i];
    if (indices[i] != find_nearest(palette, c >> 16 & 255, c >> 8 & 255, c & 255)) return false;
  }
  return true;
}

void run(benchmark::State &state, const picture_set &set, int depth) {
  if (depth == 8 && !colours_are_nearest(set))
    return state.SkipWithError("not the nearest colours");
  const std::vector<std::string> paths = files_of(set);
  orbhost::Host &host = host_at_depth(depth);
  for (auto _ : state)
    for (const std::string &path : paths)
      host.call("map_unload", {load_graph(host, path)});
  state.SetItemsProcessed(state.iterations());
}

} // namespace

void register_palette_benchmarks() {
  set_table_style("palette", {"Truecolour pictures on 8-bit screens", 1, "sets/s"});
  for (const picture_set &set : sets) {
    const std::string name = std::string("palette/") + set.name;
    set_expectation(name, {target_of(name), double(set.count), {}});
    benchmark::RegisterBenchmark((name + "/" + our_name).c_str(), run, set, 8);
    benchmark::RegisterBenchmark((name + "/at 32 bits").c_str(), run, set, 32);
  }
}

} // namespace orbbench

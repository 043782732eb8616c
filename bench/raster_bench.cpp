// Rasterisers: figures all over a target of 640x480, those of the peers beside ours. Spans and
// boxes are also measured against memset and its kin on the same bytes.
#include <benchmark/benchmark.h>

#include <cstring>
#include <random>

#include "benchmarks.h"
#include "contender.h"
#include "orb_host.h"
#include "raster/raster.h"
#include "raster_peers.h"
#include "report.h"
#include "surface/screen.h"

namespace orbbench {

namespace {

constexpr extent target_size = {640, 480};
constexpr int figure_count = 200;

struct figure_size {
  figure_kind kind;
  const char *name;
  int width, height;     // 0: any ends within the target
  int beyond = 0;        // so far may a figure lie outside
  bool by_radii = false; // ours by centre and radii, which is traced in another way
};
constexpr figure_size sizes[] = {
    {figure_kind::span, "span of 16", 16, 1},
    {figure_kind::span, "span of 600", 600, 1},
    {figure_kind::box, "box of 16", 16, 16},
    {figure_kind::box, "box of 240", 240, 240},
    {figure_kind::box, "box of 640", 640, 480},
    {figure_kind::line, "line", 0, 0},
    {figure_kind::line, "line, short", 12, 9},
    {figure_kind::line, "line, clipped", 0, 0, 2000},
    {figure_kind::circle, "circle of 17", 17, 17},
    {figure_kind::circle, "circle of 201", 201, 201},
    {figure_kind::circle, "circle of 401, clipped", 401, 401, 300},
    {figure_kind::disc, "filled circle of 17", 17, 17},
    {figure_kind::disc, "filled circle of 201", 201, 201},
    {figure_kind::ellipse, "ellipse of 25", 25, 13},
    {figure_kind::ellipse, "ellipse of 301", 301, 151},
    {figure_kind::filled_ellipse, "filled ellipse of 25", 25, 13},
    {figure_kind::filled_ellipse, "filled ellipse of 301", 301, 151},
    {figure_kind::ellipse, "ellipse of 25, by radii", 25, 13, 0, true},
    {figure_kind::ellipse, "ellipse of 301, by radii", 301, 151, 0, true},
    {figure_kind::filled_ellipse, "filled ellipse of 301, by radii", 301, 151, 0, true},
};

figure_scene make_scene(const figure_size &size, int depth) {
  std::mt19937 random(1);
  figure_scene scene{size.kind, depth, target_size, {}};
  for (int i = 0; i < figure_count; ++i) {
    const auto some = [&](int room) {
      return int(random() % unsigned(room + 2 * size.beyond + 1)) - size.beyond;
    };
    figure f{};
    if (size.width == 0) {
      f = {some(639), some(479), some(639), some(479)};
    } else {
      f.x0 = some(target_size.width - size.width);
      f.y0 = some(target_size.height - size.height);
      f.x1 = f.x0 + size.width - 1;
      f.y1 = f.y0 + size.height - 1;
      if (size.kind == figure_kind::line && random() % 2) std::swap(f.y0, f.y1);
    }
    scene.figures.push_back(f);
  }
  return scene;
}

/// A surface that is in nobody's list.
struct own_target {
  std::vector<uint64_t> words;
  __ORBSurface2D__ surface{};

  own_target(extent size, int depth) : words(size_t(size.width * size.height / 2 + 2)) {
    surface.width = uint32_t(size.width);
    surface.height = uint32_t(size.height);
    surface.depth = depth;
    surface.pitch = surface.width * uint32_t(depth / 8);
    surface.pixels = words.data() + (reinterpret_cast<uintptr_t>(words.data()) % 16 != 0);
  }
};

void draw_ours(__ORBSurface2D__ *to, figure_kind kind, const figure &f) {
  constexpr uint32_t colour = 0x55;
  switch (kind) {
  case figure_kind::span: draw_hline(to, f.x0, f.x1, f.y0, colour); break;
  case figure_kind::box: draw_rect(to, f.x0, f.y0, f.x1, f.y1, colour, 1); break;
  case figure_kind::line: draw_line(to, f.x0, f.y0, f.x1, f.y1, colour); break;
  case figure_kind::circle:
  case figure_kind::disc:
    draw_circle(to, f.middle_x(), f.middle_y(), f.radius_x(), colour, kind == figure_kind::disc);
    break;
  case figure_kind::ellipse:
  case figure_kind::filled_ellipse:
    draw_ellipse(to, f.x0, f.y0, f.x1, f.y1, colour, kind == figure_kind::filled_ellipse);
    break;
  }
}

void draw_by_radii(__ORBSurface2D__ *to, figure_kind kind, const figure &f) {
  draw_csellipse(to, f.middle_x(), f.middle_y(), f.radius_x(), f.radius_y(), 0x55,
                 kind == figure_kind::filled_ellipse);
}

/// Short spans are left out: a call and its checks take longer there than the fill.
figure_drawing draw_by_memset(const figure_scene &scene) {
  const figure &first = scene.figures.front();
  const bool long_span = scene.kind == figure_kind::span && first.x1 - first.x0 >= 100;
  if (!long_span && scene.kind != figure_kind::box) return {};
  const auto target = std::make_shared<own_target>(scene.target, scene.depth);
  return [target, scene] {
    const size_t per_pixel = size_t(scene.depth) / 8, pitch = target->surface.pitch;
    for (const figure &f : scene.figures) {
      auto *row = static_cast<uint8_t *>(target->surface.pixels) + size_t(f.y0) * pitch +
                  size_t(f.x0) * per_pixel;
      size_t bytes = size_t(f.x1 - f.x0 + 1) * per_pixel, rows = size_t(f.y1 - f.y0 + 1);
      if (bytes == pitch) {
        bytes *= rows;
        rows = 1;
      }
      for (; rows; --rows, row += pitch)
        memset(row, 0x55, bytes);
    }
  };
}

void measure(benchmark::State &state, const figure_drawing &draw) {
  for (auto _ : state) {
    draw();
    benchmark::ClobberMemory();
  }
  state.SetItemsProcessed(int64_t(state.iterations()) * figure_count);
}

using own_function = void(__ORBSurface2D__ *, figure_kind, const figure &);
void measure_ours(benchmark::State &state, const figure_scene &scene, own_function *draw) {
  own_target target(scene.target, scene.depth);
  set_raster_routines(scene.depth);
  measure(state, [&] {
    for (const figure &f : scene.figures)
      draw(&target.surface, scene.kind, f);
  });
  set_raster_routines(mode.bpp);
}

void register_scene(const figure_size &size, int depth) {
  const std::string name = std::string("raster/") + size.name + "/" + std::to_string(depth) + "bit";
  const figure_scene scene = make_scene(size, depth);
  const bool filled_rows = size.kind == figure_kind::span || size.kind == figure_kind::box;
  set_expectation(name, {{filled_rows ? 0.95 : 1.0}, 1, {}});
  const auto add = [&](const char *who, auto run) {
    benchmark::RegisterBenchmark((name + "/" + who).c_str(), run);
  };
  own_function *const ours = size.by_radii ? draw_by_radii : draw_ours;
  add(our_name, [=](benchmark::State &state) { measure_ours(state, scene, ours); });

  const std::pair<const char *, figure_peer *> peers[] = {
      {"memset", draw_by_memset},
#ifdef ORB_BENCH_SDL_GFX
      {"sdl_gfx", draw_with_sdl_gfx},
#endif
#ifdef ORB_BENCH_ALLEGRO
      {"allegro", draw_with_allegro},
#endif
#ifdef ORB_BENCH_CAIRO
      {"cairo", draw_with_cairo},
#endif
  };
  for (const auto &[who, peer] : peers)
    if (const figure_drawing draw = peer(scene))
      add(who, [draw](benchmark::State &state) { measure(state, draw); });
}

} // namespace

void register_raster_benchmarks() {
  set_table_style("raster", {"Figures on a target of 640x480", 1e3, "k figures/s"});
  for (const figure_size &size : sizes)
    for (const int depth : {8, 16, 32})
      register_scene(size, depth);
}

} // namespace orbbench

// The way of a finished screen to the display, without the display: presentations and fades against
// memcpy of the bytes that they write; and frames in which little moves.
#include <benchmark/benchmark.h>

#include <cstring>
#include <vector>

#include "benchmarks.h"
#include "contender.h"
#include "orb_host.h"
#include "report.h"
#include "surface/screen.h"
#include "surface/surface.h"
#include "video/fades.h"
#include "video/mode_state.h"
#include "video/presentation.h"
#include "video/restore.h"
#include "video/virtual_resolution.h"

namespace orbbench {

namespace {

constexpr extent display_size = {1280, 720};

/// A presentation onto a display of 1280x720.
struct filter {
  const char *name;
  int from, to;        // bits a pixel
  int scale, scanline; // filter_scale and filter_scanline_percent
  double target;       // our rate over memcpy's
  bool resampled = false;
};
constexpr filter filters[] = {
    {"copy/8bit", 8, 8, 0, 0, 0.95},
    {"copy/16bit", 16, 16, 0, 0, 0.95},
    {"copy/32bit", 32, 32, 0, 0, 0.95},
    {"convert/8 to 16bit", 8, 16, 0, 0, 0},
    {"convert/8 to 32bit", 8, 32, 0, 0, 0.8},
    {"convert/16 to 32bit", 16, 32, 0, 0, 0.8},
    {"scan lines 50 %/16bit", 16, 16, 0, 2, 0.8},
    {"scan lines 50 %/32bit", 32, 32, 0, 2, 0.8},
    {"scan lines 50 %/16 to 32bit", 16, 32, 0, 2, 0},
    {"normal 2x/8bit", 8, 8, 1, 0, 0.8},
    {"normal 2x/16bit", 16, 16, 1, 0, 0.8},
    {"normal 2x/32bit", 32, 32, 1, 0, 0.8},
    {"normal 2x/8 to 32bit", 8, 32, 1, 0, 0},
    {"normal 2x/16 to 32bit", 16, 32, 1, 0, 0},
    {"normal 2x 50 %/32bit", 32, 32, 1, 2, 0.8},
    {"Scale2x/8bit", 8, 8, 2, 0, 0.5},
    {"Scale2x/16bit", 16, 16, 2, 0, 0.5},
    {"Scale2x/32bit", 32, 32, 2, 0, 0.5},
    {"Scale2x/8 to 32bit", 8, 32, 2, 0, 0},
    {"Scale2x/16 to 32bit", 16, 32, 2, 0, 0},
    {"640x360 stretched/8bit", 8, 8, 0, 0, 0, true},
    {"640x360 stretched/16bit", 16, 16, 0, 0, 0, true},
    {"640x360 stretched/32bit", 32, 32, 0, 0, 0, true},
    {"640x360 stretched/8 to 32bit", 8, 32, 0, 0, 0, true},
};

/// A screen and a display in place of the host's. The contents don't matter to the speed of
/// anything but Scale2x, whose vectors have no branches either.
class stage {
public:
  stage(int depth, extent size, int display_depth) {
    screen = ORBGI2D_CreateGFXSurface(size.width, size.height, depth, 1);
    ground = ORBGI2D_CreateGFXSurface(size.width, size.height, depth, 1);
    buffer = ORBGI2D_CreateGFXSurface(display_size.width, display_size.height, display_depth, 1);
    auto *pixels = static_cast<uint8_t *>(screen->pixels);
    for (uint32_t i = 0; i < screen->byte_size; ++i)
      pixels[i] = uint8_t(i * i >> 7);
    mode.bpp = depth;
  }
  stage(const stage &) = delete;
  stage &operator=(const stage &) = delete;
  ~stage() {
    for (__ORBSurface2D__ *surface : {screen, ground, buffer})
      ORBGI2D_DeleteGFXSurface(surface);
    delete_virtual_resolution();
    virtual_resolution = virtual_resolution_w = virtual_resolution_h = 0;
    filter_scale = filter_scanline_percent = 0;
    screen = screen_;
    ground = ground_;
    buffer = buffer_;
    mode = mode_;
    set_screen_routines();
  }

private:
  __ORBSurface2D__ *const screen_ = screen, *const ground_ = ground, *const buffer_ = buffer;
  const orb_mode mode_ = mode;
};

template <typename F> void measure(benchmark::State &state, uint64_t bytes, F &&work) {
  work();
  for (auto _ : state) {
    work();
    benchmark::ClobberMemory();
  }
  state.SetItemsProcessed(int64_t(state.iterations()) * int64_t(bytes));
}

void present_ours(benchmark::State &state, const filter &f) {
  const bool halved = f.scale != 0 || f.resampled;
  const stage s(f.from,
                halved ? extent{display_size.width / 2, display_size.height / 2} : display_size,
                f.to);
  filter_scale = f.scale;
  filter_scanline_percent = f.scanline;
  if (f.resampled) {
    virtual_resolution = 1;
    virtual_resolution_w = display_size.width;
    virtual_resolution_h = display_size.height;
    make_virtual_resolution(display_size.width / 2, display_size.height / 2);
  }
  set_screen_routines();
  measure(state, buffer->byte_size, [] { draw_screen(1); });
}

/// memcpy of as many bytes between surfaces of our own.
void copy_memory(benchmark::State &state, int depth) {
  const stage s(depth, display_size, depth);
  measure(state, buffer->byte_size,
          [] { memcpy(buffer->pixels, screen->pixels, buffer->byte_size); });
}

void clear_memory(benchmark::State &state, int depth) {
  const stage s(depth, display_size, depth);
  measure(state, screen->byte_size, [] { memset(screen->pixels, 0, screen->byte_size); });
}

void fade_ours(benchmark::State &state, int depth, fade_levels levels) {
  const stage s(depth, display_size, depth);
  set_screen_routines();
  const fade_levels former = fade_pos;
  fade_pos = levels;
  measure(state, screen->byte_size,
          [&] { (depth == 16 ? do_fading_16bits : do_fading_32bits)(nullptr); });
  fade_pos = former;
}

void restore_ours(benchmark::State &state, int depth, bool from_ground) {
  const stage s(depth, display_size, depth);
  set_screen_routines();
  measure(state, screen->byte_size, [&] { (from_ground ? draw_ground : clear_screen)(1); });
}

/// Whole frames of 1280x720, 32 bits, in which one sprite moves over a ground picture; SDL's dummy
/// display takes no time for its update.
void one_sprite(benchmark::State &state, int dump_and_restore) {
  orbhost::Host &host = host_at_depth(32);
  const int32_t former_width = mode.width, former_height = mode.height;
  const auto set_mode = [&](int width, int height) {
    host.call("mode_set", {width, height, 32});
    while (host.global("fading") != 0)
      host.frame();
  };
  set_mode(display_size.width, display_size.height);
  const int32_t former_dump = host.global("dump_type"),
                former_restore = host.global("restore_type");
  host.global("dump_type") = host.global("restore_type") = dump_and_restore;
  const int sprite = host.call("map_new", {32, 32}), picture = host.call("map_new", {1280, 720});
  host.call("ground_put", {0, picture, display_size.width / 2, display_size.height / 2});
  orb_locals &locals = *host.spawn()->locals;
  locals.graph = sprite;
  locals.x = locals.y = 100;
  for (int i = 0; i < 3; ++i)
    host.frame();
  for (auto _ : state) {
    locals.x = 100 + (locals.x - 99) % 1000;
    host.frame();
  }
  state.SetItemsProcessed(state.iterations());

  host.processes().kill_all();
  host.global("dump_type") = former_dump;
  host.global("restore_type") = former_restore;
  host.frame();
  for (const int graph : {sprite, picture})
    host.call("map_unload", {graph});
  host.call("screen_clear");
  set_mode(former_width, former_height);
}

template <typename F> void add(const std::string &scenario, const std::string &who, F &&run) {
  benchmark::RegisterBenchmark((scenario + "/" + who).c_str(), run);
}

std::string depth_name(int depth) {
  return "/" + std::to_string(depth) + "bit";
}

} // namespace

void register_present_benchmarks() {
  set_table_style("present", {"A screen to a display of 1280x720", 1e9, "GB/s written"});
  for (const filter &f : filters) {
    const std::string name = std::string("present/") + f.name;
    set_expectation(name, {{f.target}, 0, {}, true});
    add(name, our_name, [&f](benchmark::State &state) { present_ours(state, f); });
    add(name, memcpy_name, [&f](benchmark::State &state) { copy_memory(state, f.to); });
  }
  constexpr struct {
    const char *name;
    fade_levels levels;
  } fades[] = {{"present/fade to black", {50, 50, 50}},
               {"present/fade to bright", {150, 120, 100}}};
  for (const auto &fade : fades)
    for (const int depth : {16, 32}) {
      const std::string name = fade.name + depth_name(depth);
      set_expectation(name, {{depth == 32 ? 0.5 : 0}, 0, {}, true});
      add(name, our_name, [=](benchmark::State &state) { fade_ours(state, depth, fade.levels); });
      add(name, memcpy_name, [depth](benchmark::State &state) { copy_memory(state, depth); });
    }
  set_table_style("restore", {"The background of a screen of 1280x720", 1e9, "GB/s written"});
  for (const int depth : {8, 16, 32}) {
    const std::string name = "restore/ground picture" + depth_name(depth);
    set_expectation(name, {{0.95}, 0, {}, true});
    add(name, our_name, [depth](benchmark::State &state) { restore_ours(state, depth, true); });
    add(name, memcpy_name, [depth](benchmark::State &state) { copy_memory(state, depth); });
    const std::string black = "restore/black" + depth_name(depth);
    set_expectation(black, {{0.95}, 0, {}});
    add(black, our_name, [depth](benchmark::State &state) { restore_ours(state, depth, false); });
    add(black, "memset", [depth](benchmark::State &state) { clear_memory(state, depth); });
  }
  set_table_style("zones", {"One moving 32x32 sprite on 1280x720", 1, "frames/s"});
  for (const int dump_and_restore : {0, 1}) {
    const std::string name =
        std::string("zones/") + (dump_and_restore == 0 ? "partial" : "complete") + " frames";
    set_expectation(name, {{}, 1, {}});
    add(name, our_name,
        [dump_and_restore](benchmark::State &state) { one_sprite(state, dump_and_restore); });
  }
}

} // namespace orbbench

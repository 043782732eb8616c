// Whole frames of many sprites: our host and module from the processes' locals to the display, and
// the peers' background, sprites and copy to a display, which is less than a frame of ours does.
#include <benchmark/benchmark.h>

#include <algorithm>
#include <cstdio>
#include <cstring>
#include <random>

#include "benchmarks.h"
#include "contender.h"
#include "orb_host.h"
#include "report.h"

namespace orbbench {

namespace {

constexpr extent screen_size = {host_width, host_height};
constexpr int compared_count = 10000;

scenario sprites(int depth, int count) {
  return {operation::copy, look::disc, depth, {32, 32}, screen_size, count};
}
scenario background(int depth) {
  return {operation::copy, look::opaque, depth, screen_size, screen_size, 1};
}

/// Processes with keyed sprites over a ground picture. Their z is random in the order in which the
/// module meets them; ordered by it they are the sprites of the scenario in its order.
class process_scene {
public:
  process_scene(int depth, int count) : host_(host_at_depth(depth)) {
    const scenario s = sprites(depth, count);
    const int ground = graph_from(sprite_of(background(depth)));
    const int sprite = graph_from(sprite_of(s));
    graphs_ = {ground, sprite};
    host_.call("ground_put", {0, ground, host_width / 2, host_height / 2});

    const std::vector<point> places = positions(s);
    std::vector<int> drawn_as(places.size());
    for (size_t i = 0; i < drawn_as.size(); ++i)
      drawn_as[i] = int(i);
    std::mt19937 random(1);
    std::shuffle(drawn_as.begin(), drawn_as.end(), random);
    for (const int i : drawn_as) {
      orb_locals &locals = *host_.spawn()->locals;
      locals.graph = sprite;
      locals.x = places[size_t(i)].x + s.sprite.width / 2;
      locals.y = places[size_t(i)].y + s.sprite.height / 2;
      locals.z = count - i;
      const auto step = [&] { return 1 + int(random() % 3); };
      sprites_.push_back({&locals, step(), step()});
    }
  }
  process_scene(const process_scene &) = delete;
  process_scene &operator=(const process_scene &) = delete;

  ~process_scene() {
    host_.processes().kill_all();
    host_.frame();
    for (const int graph : graphs_)
      host_.call("map_unload", {graph});
    host_.call("screen_clear");
  }

  void draw() { host_.frame(); }

  /// Moves every sprite, and turns it back where it would leave the screen.
  void move() {
    for (moving_sprite &sprite : sprites_) {
      step(sprite.locals->x, sprite.dx, host_width);
      step(sprite.locals->y, sprite.dy, host_height);
    }
  }

  pixel_view target() const { return {host_.screen()->pixels, host_.screen()->pitch}; }

private:
  struct moving_sprite {
    orb_locals *locals;
    int dx, dy; // pixels a frame
  };

  int graph_from(const picture &p) {
    const int graph = host_.call("map_new", {p.width, p.height});
    const orb_map_slot *slot = host_.device()->GetMAP(0, graph);
    if (!slot) throw orbhost::HostError("no room for a graph");
    store(p, slot->surface->pixels, slot->surface->pitch);
    return graph;
  }

  static void step(int32_t &at, int &by, int limit) {
    if (at + by < 16 || at + by > limit - 16) by = -by;
    at += by;
  }

  orbhost::Host &host_;
  std::vector<int> graphs_;
  std::vector<moving_sprite> sprites_;
};

/// The same by a peer.
class peer_scene {
public:
  peer_scene(contender &who, int depth, int count)
      : row_(size_t(host_width) * size_t(depth) / 8), display_(row_ * host_height),
        background_(who.prepare(background(depth))), sprites_(who.prepare(sprites(depth, count))) {}

  void draw() {
    background_->begin();
    background_->draw();
    sprites_->begin();
    sprites_->draw();
    const pixel_view from = target();
    for (size_t y = 0; y < host_height; ++y)
      std::memcpy(&display_[y * row_], static_cast<uint8_t *>(from.pixels) + y * from.pitch, row_);
    benchmark::DoNotOptimize(display_.data());
  }

  pixel_view target() { return sprites_->target(); }

private:
  size_t row_;
  std::vector<uint8_t> display_;
  std::unique_ptr<drawing> background_, sprites_;
};

std::vector<contender *> frame_peers(int depth) {
  std::vector<contender *> peers;
  for (const auto &who : contenders())
    if (who->name() != our_name && who->name() != memcpy_name && who->can(sprites(depth, 1)))
      peers.push_back(who.get());
  return peers;
}

void run_ours(benchmark::State &state, int depth, int count) {
  // Made anew for every run: others change the video mode in between.
  process_scene scene(depth, count);
  scene.draw();
  for (auto _ : state) {
    state.PauseTiming();
    scene.move();
    state.ResumeTiming();
    scene.draw();
  }
  state.SetItemsProcessed(state.iterations());
}

void run_peer(benchmark::State &state, peer_scene &scene) {
  scene.draw();
  for (auto _ : state)
    scene.draw();
  state.SetItemsProcessed(state.iterations());
}

} // namespace

void register_frame_benchmarks() {
  set_table_style("frames", {"Frames of keyed 32x32 sprites at 640x480", 1, "frames/s"});
  for (const int depth : {8, 16, 32})
    for (const int count : {1000, compared_count, 100000}) {
      const std::string name =
          "frames/" + std::to_string(count) + " sprites/" + std::to_string(depth) + "bit";
      const bool compared = count == compared_count;
      set_expectation(name, {target_of(name), double(count), {}});
      benchmark::RegisterBenchmark((name + "/" + our_name).c_str(), run_ours, depth, count);
      if (!compared) continue;
      for (contender *who : frame_peers(depth)) {
        const auto made = std::make_shared<std::unique_ptr<peer_scene>>();
        benchmark::RegisterBenchmark((name + "/" + who->name()).c_str(),
                                     [made, who, depth, count](benchmark::State &state) {
                                       if (!*made)
                                         *made = std::make_unique<peer_scene>(*who, depth, count);
                                       run_peer(state, **made);
                                     });
      }
    }
}

int compare_frames() {
  int differences = 0;
  for (const int depth : {8, 16, 32}) {
    process_scene ours(depth, compared_count);
    ours.draw();
    const auto pixels = [&](pixel_view view) {
      return load(depth, screen_size, view.pixels, view.pitch).pixels;
    };
    for (contender *who : frame_peers(depth)) {
      peer_scene theirs(*who, depth, compared_count);
      theirs.draw();
      if (pixels(theirs.target()) == pixels(ours.target())) continue;
      std::printf("frame/%dbit: %s: differs from ours\n", depth, who->name().c_str());
      ++differences;
    }
  }
  return differences;
}

} // namespace orbbench

// Whole frames of many sprites: our host and module from the processes' locals to the display, and
// the peers' background, sprites and copy to a display, which is less than a frame of ours does.
#include <sys/wait.h>
#include <unistd.h>

#include <benchmark/benchmark.h>

#include <algorithm>
#include <cstdio>
#include <cstring>
#include <ctime>
#include <random>

#include "benchmarks.h"
#include "contender.h"
#include "blit/blit_list.h"
#include "orb_host.h"
#include "report.h"

namespace orbbench {

namespace {

constexpr extent screen_size = {host_width, host_height};
constexpr int middle_count = 10000, first_frame_count = 200000;

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

bool can_frames(const contender &who, int depth) {
  return who.name() != our_name && who.name() != memcpy_name && who.can(sprites(depth, 1));
}

/// What we draw in the first frame of a scene, for those who draw the same.
class comparison {
public:
  comparison(int depth, int count) : depth_(depth), count_(count) {}

  bool is_ours(peer_scene &theirs) {
    if (ours_.empty()) {
      process_scene scene(depth_, count_);
      scene.draw();
      ours_ = pixels(scene.target());
    }
    theirs.draw();
    return pixels(theirs.target()) == ours_;
  }

private:
  std::vector<uint32_t> pixels(pixel_view view) const {
    return load(depth_, screen_size, view.pixels, view.pitch).pixels;
  }

  int depth_, count_;
  std::vector<uint32_t> ours_;
};

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

/// A peer's scene, made and compared at its first use.
class peer_run {
public:
  peer_run(contender &who, int depth, int count, std::shared_ptr<comparison> with)
      : who_(who), depth_(depth), count_(count), with_(std::move(with)) {}

  void operator()(benchmark::State &state) {
    if (!scene_) {
      scene_ = std::make_unique<peer_scene>(who_, depth_, count_);
      same_ = with_->is_ours(*scene_);
    }
    if (!same_) return state.SkipWithError("differs from our frame");
    scene_->draw();
    for (auto _ : state)
      scene_->draw();
    state.SetItemsProcessed(state.iterations());
  }

private:
  contender &who_;
  int depth_, count_;
  std::shared_ptr<comparison> with_;
  std::unique_ptr<peer_scene> scene_;
  bool same_ = false;
};

double thread_seconds() {
  timespec now;
  clock_gettime(CLOCK_THREAD_CPUTIME_ID, &now);
  return double(now.tv_sec) + double(now.tv_nsec) * 1e-9;
}

/// The seconds that the first frame of many sprites takes and the next one, or zeros. A list of
/// requests never shrinks, so they are drawn by a child process, with a list as it is at the start.
std::pair<double, double> first_frames() {
  std::pair<double, double> seconds{};
  int ends[2];
  if (pipe(ends) != 0) return seconds;
  host_at_depth(32);
  const pid_t child = fork();
  if (child == 0) {
    graphics2D_blitlist = CreateBlitList("FIRST", 1024, 256);
    process_scene scene(32, first_frame_count);
    const double start = thread_seconds();
    scene.draw();
    const double first = thread_seconds();
    scene.draw();
    seconds = {first - start, thread_seconds() - first};
    _exit(write(ends[1], &seconds, sizeof seconds) == sizeof seconds ? 0 : 1);
  }
  close(ends[1]);
  if (read(ends[0], &seconds, sizeof seconds) != sizeof seconds) seconds = {};
  close(ends[0]);
  if (child > 0) waitpid(child, nullptr, 0);
  return seconds;
}

void run_first_frame(benchmark::State &state, bool next) {
  for (auto _ : state) {
    const auto [first, second] = first_frames();
    if (first == 0) return state.SkipWithError("the child process drew nothing");
    state.SetIterationTime(next ? second : first);
  }
  state.SetItemsProcessed(state.iterations());
}

} // namespace

void register_frame_benchmarks() {
  set_table_style("frames", {"Frames of keyed 32x32 sprites at 640x480", 1, "frames/s"});
  for (const int depth : {8, 16, 32})
    for (const int count : {1000, middle_count, 100000}) {
      const std::string name =
          "frames/" + std::to_string(count) + " sprites/" + std::to_string(depth) + "bit";
      set_expectation(name, {target_of(name), double(count), {}});
      benchmark::RegisterBenchmark((name + "/" + our_name).c_str(), run_ours, depth, count);
      if (depth != 32 && count != middle_count) continue;
      const auto compared = std::make_shared<comparison>(depth, count);
      for (const auto &who : contenders())
        if (can_frames(*who, depth)) {
          const auto run = std::make_shared<peer_run>(*who, depth, count, compared);
          benchmark::RegisterBenchmark((name + "/" + who->name()).c_str(),
                                       [run](benchmark::State &state) { (*run)(state); });
        }
    }

  set_table_style("first frame", {"The first frame, and the next", 1, "frames/s"});
  const std::string name = "first frame/" + std::to_string(first_frame_count) + " sprites/32bit";
  set_expectation(name, {{}, first_frame_count, {}});
  for (const bool next : {false, true})
    benchmark::RegisterBenchmark((name + "/" + (next ? "next" : our_name)).c_str(), run_first_frame,
                                 next)
        ->UseManualTime();
}

int compare_frames() {
  int differences = 0;
  for (const int depth : {8, 16, 32}) {
    comparison compared(depth, middle_count);
    for (const auto &who : contenders()) {
      if (!can_frames(*who, depth)) continue;
      peer_scene theirs(*who, depth, middle_count);
      if (compared.is_ours(theirs)) continue;
      std::printf("frame/%dbit: %s: differs from ours\n", depth, who->name().c_str());
      ++differences;
    }
  }
  return differences;
}

} // namespace orbbench

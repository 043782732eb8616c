// Collision: walking over candidates, comparing pixels, and the small questions scripts ask often.
#include <benchmark/benchmark.h>

#include <cstring>
#include <string>
#include <vector>

#include "benchmarks.h"
#include "blit/geometry.h"
#include "collision/collision.h"
#include "contender.h"
#include "orb_host.h"
#include "report.h"
#include "surface/registry.h"

namespace orbbench {

namespace {

constexpr int candidates = 2000, touching = 20;

/// A field of processes of one graph, of which every hundredth lies where the asking one is.
struct field {
  orbhost::Host &host;
  orb_process *asking;
  std::vector<orb_process *> others;
  int32_t graph;

  field() : host(host_at_depth(32)), asking(host.spawn(1)) {
    graph = host.call("map_new", {32, 32, 0x00808080});
    place(asking, 0, 0);
    for (int i = 0; i < candidates; ++i) {
      others.push_back(host.spawn(2));
      const bool near = i % (candidates / touching) == 0;
      place(others.back(), near ? 20 : 1000 + i, near ? 10 : 50);
    }
  }
  ~field() {
    for (orb_process *process : others)
      host.kill(process);
    host.kill(asking);
    host.call("map_unload", {graph});
  }
  void place(orb_process *process, int32_t x, int32_t y) const {
    process->locals->graph = graph;
    process->locals->x = x;
    process->locals->y = y;
  }
};

void walk_ours(benchmark::State &state) {
  field f;
  const orbhost::Function &collision = function_form(f.host, "collision(I,I)");
  const orbhost::Argument id = orbhost::ProcessList::id(f.asking), type = 2;
  int hits = 0;
  for (auto _ : state) {
    hits = 0;
    while (f.host.call_form(collision, {id, type}))
      ++hits;
  }
  if (hits != touching) state.SkipWithError("wrong number of hits");
  state.SetItemsProcessed(state.iterations() * candidates);
}

/// The boxes of the same candidates, and nothing else.
void walk_boxes(benchmark::State &state) {
  field f;
  __ORBSurface2D__ *const surface = fpg[0].slots[f.graph].surface;
  for (auto _ : state)
    for (const orb_process *process : f.others) {
      __ORBRegion__ box;
      calculate_graph_bbox(&box, surface, process->locals->x, process->locals->y, 0, 0, 100, 100, 0,
                           0, 0);
      benchmark::DoNotOptimize(box);
    }
  state.SetItemsProcessed(state.iterations() * candidates);
}

/// Two pictures without a common pixel: all of both has to be read.
void pixels_ours(benchmark::State &state, int depth, int side) {
  const size_t bytes = size_t(side) * size_t(side) * size_t(depth / 8);
  std::vector<uint8_t> a(bytes, 1), b(bytes, 0);
  proc_alpha = scan_alpha = 0;
  const auto kernel = depth == 8    ? process_collision_8bits
                      : depth == 16 ? process_collision_16bits
                                    : process_collision_32bits;
  for (auto _ : state)
    benchmark::DoNotOptimize(kernel(a.data(), b.data(), side, side));
  state.SetItemsProcessed(state.iterations() * side * side);
}

void pixels_memcpy(benchmark::State &state, int depth, int side) {
  const size_t bytes = size_t(side) * size_t(side) * size_t(depth / 8);
  std::vector<uint8_t> a(bytes, 1), b(bytes, 0);
  for (auto _ : state) {
    memcpy(b.data(), a.data(), bytes);
    benchmark::ClobberMemory();
  }
  state.SetItemsProcessed(state.iterations() * side * side);
}

void call_ours(benchmark::State &state, const char *signature, bool of_region) {
  field f;
  const orbhost::Function &function = function_form(f.host, signature);
  const orbhost::Argument first = orbhost::ProcessList::id(f.asking);
  const orbhost::Argument second = of_region ? 0 : orbhost::ProcessList::id(f.others[5]);
  for (auto _ : state)
    benchmark::DoNotOptimize(f.host.call_form(function, {first, second}));
  state.SetItemsProcessed(state.iterations());
}

} // namespace

void register_collision_benchmarks() {
  set_table_style("collision", {"collision(type) over 2,000 processes", 1e6, "M candidates/s"});
  set_expectation("collision/20 touch", {{}, 1, {}});
  benchmark::RegisterBenchmark(("collision/20 touch/" + std::string(our_name)).c_str(), walk_ours);
  benchmark::RegisterBenchmark("collision/20 touch/boxes alone", walk_boxes);

  set_table_style("pixels", {"Comparing two pictures without a hit", 1e6, "Mpix/s"});
  for (const int depth : {8, 16, 32})
    for (const int side : {64, 256}) {
      const std::string name = "pixels/" + std::to_string(depth) + " bits " + std::to_string(side) +
                               "x" + std::to_string(side);
      set_expectation(name, {{0.25}, 0, {}});
      benchmark::RegisterBenchmark((name + "/" + our_name).c_str(), pixels_ours, depth, side);
      benchmark::RegisterBenchmark((name + "/memcpy").c_str(), pixels_memcpy, depth, side);
    }

  set_table_style("calls", {"Script calls, from the host and back", 1e6, "M calls/s"});
  for (const auto &[signature, of_region] :
       {std::pair("region_is_out(I,I)", true), std::pair("get_dist(I,I)", false)}) {
    const std::string name = std::string("calls/") + signature;
    set_expectation(name, {{}, 1, {}});
    benchmark::RegisterBenchmark((name + "/" + our_name).c_str(), call_ours, signature, of_region);
  }
}

} // namespace orbbench

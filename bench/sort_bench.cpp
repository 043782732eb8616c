// Sorting a frame's requests by depth.
#include <benchmark/benchmark.h>

#include <algorithm>
#include <random>

#include "benchmarks.h"
#include "contender.h"
#include "orb_host.h"
#include "report.h"

namespace orbbench {

namespace {

/// A list of its own with `count` requests; made once a size.
void fill_list(orb_device2d &device, int count, bool in_order) {
  static const int32_t list = device.CreateBlitList("BENCH", 1024, 1024);
  device.UseBlitList(list);
  device.ResetBlitList();
  std::mt19937 random(1);
  for (int i = 0; i < count; ++i)
    device.GetAndUpdateBlitList()->z = in_order ? -i : int32_t(random() % 20001) - 10000;
}

void sort_ours(benchmark::State &state, int count, bool in_order) {
  orb_device2d &device = *host_at_depth(32).device();
  fill_list(device, count, in_order);
  for (auto _ : state)
    device.SortBlitList();
  state.SetItemsProcessed(state.iterations() * count);
}

/// What one would write without thinking: a stable sort of pointers to the requests.
void sort_stable(benchmark::State &state, int count, bool in_order) {
  orb_device2d &device = *host_at_depth(32).device();
  fill_list(device, count, in_order);
  const orb_blit_list *const list = device.GetPtrBlitList();
  std::vector<const __ORBBlit2D__ *> order(static_cast<size_t>(count));
  for (auto _ : state) {
    for (size_t i = 0; i < order.size(); ++i)
      order[i] = &list->requests[i];
    std::stable_sort(order.begin(), order.end(),
                     [](const auto *a, const auto *b) { return a->z > b->z; });
    benchmark::DoNotOptimize(order.data());
  }
  state.SetItemsProcessed(state.iterations() * count);
}

} // namespace

void register_sort_benchmarks() {
  set_table_style("sort", {"Sorting a frame's requests", 1e6, "M requests/s"});
  for (const bool in_order : {false, true})
    for (const int count : {1000, 10000, 100000}) {
      const std::string name = std::string("sort/") + (in_order ? "in order/" : "random/") +
                               std::to_string(count) + " requests";
      set_expectation(name, {{}, 1, {}});
      benchmark::RegisterBenchmark((name + "/" + our_name).c_str(), sort_ours, count, in_order);
      benchmark::RegisterBenchmark((name + "/stable_sort").c_str(), sort_stable, count, in_order);
    }
}

} // namespace orbbench

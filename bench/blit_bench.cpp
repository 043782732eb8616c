// One sprite, many places: every operation, depth and size by every contender.
#include <benchmark/benchmark.h>

#include "benchmarks.h"
#include "blit_scenarios.h"
#include "contender.h"
#include "report.h"

namespace orbbench {

namespace {

constexpr extent sizes[] = {{32, 32}, {64, 64}, {256, 256}};
constexpr extent full = {1280, 720};

/// Our rate over the best peer's that is to be reached with AVX2; 0 where none is stated.
double target_of(const scenario &s) {
  switch (s.op) {
  case operation::copy: return 0.95;
  case operation::keyed:
    if (s.sprite.width < 256) return 1.3;
    return s.sprite.width == 256 ? 0.9 : 0;
  case operation::mirrored: return 3;
  case operation::ghost: return s.depth == 8 ? 0 : 2;
  case operation::alpha: return s.depth == 16 ? 1.5 : 1.2;
  case operation::pixel_alpha: return 1.15;
  case operation::additive: return s.depth == 16 ? 8 : 0.95;
  case operation::multiply: return s.depth == 16 ? 8 : 9;
  case operation::screen: return s.depth == 16 ? 8 : 6;
  case operation::scale: return 1.5;
  case operation::rotate:
  case operation::tile: return 1.3;
  }
  return 0;
}

/// A drawing made at its first use: hundreds of sprites are many megabytes, and a filter may leave
/// most of them out.
class lazy_drawing {
public:
  lazy_drawing(contender &who, const scenario &what) : who_(who), what_(what) {}

  drawing &get() {
    if (!drawing_) drawing_ = who_.prepare(what_);
    return *drawing_;
  }

private:
  contender &who_;
  scenario what_;
  std::unique_ptr<drawing> drawing_;
};

void run(benchmark::State &state, drawing &d, double pixels) {
  d.begin();
  d.draw(); // what others have pushed out of the caches comes back
  for (auto _ : state)
    d.draw();
  state.SetItemsProcessed(int64_t(double(state.iterations()) * pixels));
}

} // namespace

std::vector<scenario> all_blit_scenarios() {
  struct family {
    operation op;
    std::vector<int> depths;
  };
  const family families[] = {
      {operation::copy, {8, 16, 32}},     {operation::keyed, {8, 16, 32}},
      {operation::mirrored, {8, 16, 32}}, {operation::ghost, {8, 16, 32}},
      {operation::alpha, {16, 32}},       {operation::pixel_alpha, {32}},
      {operation::additive, {16, 32}},    {operation::multiply, {16, 32}},
      {operation::screen, {16, 32}},      {operation::scale, {8, 16, 32}},
      {operation::rotate, {8, 16, 32}},   {operation::tile, {8, 16, 32}},
  };
  std::vector<scenario> result;
  for (const family &f : families)
    for (const int depth : f.depths) {
      for (const extent &size : sizes)
        result.push_back(blit_scenario(f.op, depth, size));
      if (f.op == operation::copy || f.op == operation::keyed)
        result.push_back(blit_scenario(f.op, depth, full));
    }
  return result;
}

void register_blit_benchmarks() {
  set_table_style("blit", {"Blits onto 1280x720", 1e6, "Mpix/s"});
  for (const scenario &s : all_blit_scenarios()) {
    const std::string name = "blit/" + scenario_name(s);
    expectation expected{target_of(s), 0, {}};
    for (const auto &who : contenders()) {
      if (!who->can(s)) continue;
      if (!who->has_simd(s)) expected.plain_peers.push_back(who->name());
      const auto made = std::make_shared<lazy_drawing>(*who, s);
      const double pixels = pixels_per_pass(s);
      benchmark::RegisterBenchmark(
          (name + "/" + who->name()).c_str(),
          [made, pixels](benchmark::State &state) { run(state, made->get(), pixels); });
    }
    set_expectation(name, expected);
  }
}

} // namespace orbbench

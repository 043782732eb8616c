// One sprite, many places: every operation, depth and size by every contender.
#include <benchmark/benchmark.h>

#include <optional>

#include "benchmarks.h"
#include "blit_scenarios.h"
#include "contender.h"
#include "report.h"

namespace orbbench {

namespace {

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

/// Compares the pictures of a scenario before it is first measured.
class comparison {
public:
  explicit comparison(const scenario &what) : what_(what) {}

  /// How a contender's picture differs from ours; empty where it doesn't.
  const std::string &difference(const std::string &who) {
    if (!differences_) differences_ = picture_differences(what_);
    return (*differences_)[who];
  }

private:
  scenario what_;
  std::optional<std::map<std::string, std::string>> differences_;
};

void run(benchmark::State &state, drawing &d, double pixels) {
  d.begin();
  d.draw(); // what others have pushed out of the caches comes back
  for (auto _ : state)
    d.draw();
  state.SetItemsProcessed(int64_t(double(state.iterations()) * pixels));
}

} // namespace

void register_blit_benchmarks() {
  set_table_style("blit", {"Blits onto 1280x720", 1e6, "Mpix/s"});
  for (const scenario &s : all_blit_scenarios()) {
    const std::string name = "blit/" + scenario_name(s);
    expectation expected{target_of(name), 0, {}};
    const auto compared = std::make_shared<comparison>(s);
    for (const auto &who : contenders()) {
      if (!who->can(s)) continue;
      if (!who->has_simd(s)) expected.plain_peers.push_back(who->name());
      const auto made = std::make_shared<lazy_drawing>(*who, s);
      const double pixels = pixels_per_pass(s);
      benchmark::RegisterBenchmark((name + "/" + who->name()).c_str(),
                                   [=, name = who->name()](benchmark::State &state) {
                                     const std::string &difference = compared->difference(name);
                                     if (!difference.empty())
                                       return state.SkipWithError(difference.c_str());
                                     run(state, made->get(), pixels);
                                   });
    }
    set_expectation(name, expected);
  }
}

} // namespace orbbench

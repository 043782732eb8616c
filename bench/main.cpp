// orb_bench: everything that bench/*_bench.cpp registers, as tables that compare the contenders.
//
//   --runs N    measures everything N times: the best rates, the medians of the ratios
//   --sse2      measures the routines without AVX2
//   --check     compares the contenders' pictures instead of measuring
//   --json      Google Benchmark's JSON in place of the tables
// and Google Benchmark's own options. By default benchmarks are interleaved at random and repeated,
// so that what disturbs the machine for a while doesn't hit one of them alone.
#include <benchmark/benchmark.h>

#include <charconv>
#include <cstdio>
#include <cstring>
#include <exception>
#include <string_view>
#include <vector>

#include "benchmarks.h"
#include "blit/blit.h"
#include "blit/span.h"
#include "orb_host.h"
#include "report.h"

namespace {

struct bench_options {
  bool baseline = false, check = false, other_format = false, valid = true;
  size_t runs = 1;
  std::vector<char *> rest; // Google Benchmark's
};

bench_options parse(int argc, char **argv) {
  // Options that follow win over those before them.
  static char defaults[][64] = {
      "--benchmark_enable_random_interleaving=true",
      "--benchmark_repetitions=5",
      "--benchmark_min_time=0.006",
  };
  static char json[] = "--benchmark_format=json";
  bench_options options;
  options.rest.push_back(argv[0]);
  for (char *text : defaults)
    options.rest.push_back(text);
  for (int i = 1; i < argc; ++i) {
    const std::string_view argument = argv[i];
    if (argument == "--runs" || argument.starts_with("--runs=")) {
      const char *const number = argument != "--runs" ? argv[i] + strlen("--runs=")
                                 : i + 1 < argc       ? argv[++i]
                                                      : "";
      const char *const end = number + strlen(number);
      const auto [after, error] = std::from_chars(number, end, options.runs);
      options.valid =
          error == std::errc() && after == end && options.runs >= 1 && options.runs < 100;
    } else if (argument == "--sse2") {
      options.baseline = true;
    } else if (argument == "--check") {
      options.check = true;
    } else if (argument == "--json") {
      options.other_format = true;
      options.rest.push_back(json);
    } else {
      options.other_format |= argument.starts_with("--benchmark_format=") ||
                              argument.starts_with("--benchmark_list_tests");
      options.rest.push_back(argv[i]);
    }
  }
  options.rest.push_back(nullptr);
  return options;
}

void print_help() {
  std::puts("usage: orb_bench [--runs N] [--sse2] [--check | --json] [Google Benchmark's options]\n"
            "\n"
            "  --runs N measure everything N times: the best rates, the medians of the ratios\n"
            "  --sse2   measure the routines without AVX2\n"
            "  --check  compare the contenders' pictures instead of measuring\n"
            "  --json   Google Benchmark's JSON in place of the tables\n"
            "  --benchmark_filter=REGEX, --benchmark_list_tests, --benchmark_repetitions=N,\n"
            "  --benchmark_min_time=SECONDS, --benchmark_out=FILE and so on");
}

int run(int argc, char **argv) {
  bench_options options = parse(argc, argv);
  int count = int(options.rest.size()) - 1;
  benchmark::Initialize(&count, options.rest.data(), print_help);
  if (!options.valid) std::fprintf(stderr, "orb_bench: --runs takes a number from 1 to 99\n");
  if (!options.valid || benchmark::ReportUnrecognizedArguments(count, options.rest.data()))
    return 2;

  orbbench::host_at_depth(8);
  if (options.baseline) {
    mask_instruction_sets(instruction_set::sse2);
    set_blitter_routines();
  }
  if (options.check) return orbbench::compare_pictures() + orbbench::compare_frames() == 0 ? 0 : 1;

  orbbench::register_blit_benchmarks();
  orbbench::register_collision_benchmarks();
  orbbench::register_crowd_benchmarks();
  orbbench::register_format_benchmarks();
  orbbench::register_frame_benchmarks();
  orbbench::register_palette_benchmarks();
  orbbench::register_present_benchmarks();
  orbbench::register_raster_benchmarks();
  if (!options.baseline) orbbench::register_script_benchmarks(); // there is nothing to choose
  orbbench::register_sort_benchmarks();
  if (options.other_format) return benchmark::RunSpecifiedBenchmarks() > 0 ? 0 : 1;
  orbbench::comparison_reporter reporter(span_instruction_set() == instruction_set::sse2,
                                         options.runs);
  bool measured = true;
  for (size_t i = 0; i < options.runs; ++i)
    measured &= benchmark::RunSpecifiedBenchmarks(&reporter) > 0;
  return measured && !reporter.failed() ? 0 : 1;
}

} // namespace

int main(int argc, char **argv) {
  try {
    return run(argc, argv);
  } catch (const std::exception &error) {
    std::fprintf(stderr, "orb_bench: %s\n", error.what());
    return 1;
  }
}

// The comparison: results named "subject/scenario/contender" as one table a subject.
#pragma once

#include <benchmark/benchmark.h>

#include <map>
#include <string>
#include <vector>

#include "contender.h"

namespace orbbench {

/// How a subject's table looks.
struct table_style {
  std::string title;
  double unit = 1;                 // one unit of the figures is so many items a second
  std::string unit_name;           // "Mpix/s"
  std::string bound = memcpy_name; // the contender that says what the machine can do
};
void set_table_style(const std::string &subject, table_style style);

/// What is known of a scenario besides its times; "subject/scenario" names it. Rows stand in the
/// order in which these are set.
struct expectation {
  double target = 0;                    // our rate over the best peer's; 0: none stated
  double parts = 0;                     // of one item, told as nanoseconds each; 0: not told
  std::vector<std::string> plain_peers; // contenders that do it without vector instructions
  bool of_memcpy = false;               // the target is a part of the bound's rate
};
void set_expectation(const std::string &scenario, expectation what);

/// Gathers results and prints the tables at the end.
///
/// A figure is the best of a benchmark's repetitions: what else runs on the machine only ever slows
/// one down. With `baseline` targets are those of the routines without AVX2: half of the best peer,
/// and more than it where it has no vector instructions; half of what is asked against memcpy.
class comparison_reporter : public benchmark::BenchmarkReporter {
public:
  explicit comparison_reporter(bool baseline) : baseline_(baseline) {}

  bool ReportContext(const Context &context) override;
  void ReportRuns(const std::vector<Run> &runs) override;
  void Finalize() override;

  /// Whether a benchmark could not be run.
  bool failed() const { return failed_; }

private:
  struct row {
    std::string scenario;
    std::map<std::string, double> rates; // by contender, items a second
  };
  struct table {
    std::string subject;
    std::vector<std::string> contenders;
    std::vector<row> rows;
  };

  table &table_of(const std::string &subject);
  void add(const std::string &name, double rate);
  void print(const table &t);

  bool baseline_;
  bool failed_ = false;
  std::vector<table> tables_;
};

} // namespace orbbench

// The comparison: results named "subject/scenario/contender" as one table a subject.
#pragma once

#include <benchmark/benchmark.h>

#include <map>
#include <string>
#include <vector>

#include "contender.h"
#include "targets.h"

namespace orbbench {

/// How a subject's table looks.
struct table_style {
  std::string title;
  double unit = 1;                 // one unit of the figures is so many items a second
  std::string unit_name;           // "Mpix/s"
  std::string bound = memcpy_name; // the contender that says what the machine can do
};
void set_table_style(const std::string &subject, table_style style);

/// What is known of a scenario besides its times; "subject/scenario" names it. Tables and rows
/// stand in the order in which these are set.
struct expectation {
  target must_reach;
  double parts = 0;                     // of one item, told as nanoseconds each; 0: not told
  std::vector<std::string> plain_peers; // contenders that do it without vector instructions
  bool of_memcpy = false;               // the target is a part of the bound's rate
};
void set_expectation(const std::string &scenario, expectation what);

/// Gathers the results of one or more runs and prints the tables after the last.
///
/// A figure is the best of a benchmark's repetitions: what else runs on the machine only ever slows
/// one down. A ratio is one of two figures of one run; of several runs the median counts. With
/// `baseline` targets are those of the routines without AVX2: half of the best peer, and more than
/// it where it has no vector instructions; half of what is asked against memcpy.
class comparison_reporter : public benchmark::BenchmarkReporter {
public:
  comparison_reporter(bool baseline, size_t runs) : baseline_(baseline), runs_(runs) {}

  bool ReportContext(const Context &context) override;
  void ReportRuns(const std::vector<Run> &runs) override;
  /// Ends a run.
  void Finalize() override;

  /// Whether a benchmark could not be run.
  bool failed() const { return failed_; }

private:
  /// Items a second in each run, 0 where there is no figure.
  using rates = std::vector<double>;
  struct row {
    std::string scenario;
    std::map<std::string, rates> of; // by contender
  };
  struct table {
    std::string subject;
    std::vector<std::string> contenders;
    std::vector<row> rows;
  };
  /// Our rate over memory's and over that of the best peer, run by run.
  struct comparison {
    rates to_memory, to_best;
    bool best_is_plain = false; // in the last run
  };

  table &table_of(const std::string &subject);
  void add(const std::string &name, double rate);
  comparison compare(const row &r, const table_style &style, const expectation &expected) const;
  /// "ok" or "short", which it counts and keeps for the end.
  std::string judge(const std::string &name, const target &must_reach, const rates &ratios);
  void print(const table &t);

  bool baseline_;
  size_t runs_, run_ = 0;
  bool failed_ = false;
  std::vector<table> tables_;
  size_t reached_ = 0;
  std::vector<std::vector<std::string>> short_rows_;
};

} // namespace orbbench

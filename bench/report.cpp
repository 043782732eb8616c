#include "report.h"

#include <algorithm>
#include <cstdio>

#include "contender.h"
#include "cpu_info.h"

namespace orbbench {

namespace {

std::map<std::string, table_style> styles;
/// In order of registration, which is the order of the rows.
std::vector<std::pair<std::string, expectation>> expectations;

auto find_expectation(const std::string &scenario) {
  return std::find_if(expectations.begin(), expectations.end(),
                      [&](const auto &known) { return known.first == scenario; });
}

constexpr double baseline_target = 0.5;

std::string number(double value) {
  char text[32];
  std::snprintf(text, sizeof text, value < 100 ? "%.1f" : "%.0f", value);
  return text;
}

/// Of nanoseconds, in a unit that suits.
std::string duration(double value) {
  if (value < 1e5) return number(value) + " ns";
  return value < 1e8 ? number(value / 1e3) + " us" : number(value / 1e6) + " ms";
}

std::string ratio(double value) {
  char text[32];
  std::snprintf(text, sizeof text, "%.2f", value);
  return text;
}

double median(std::vector<double> values) {
  std::sort(values.begin(), values.end());
  const size_t middle = values.size() / 2;
  return values.size() % 2 ? values[middle] : (values[middle - 1] + values[middle]) / 2;
}

std::string median_ratio(const std::vector<double> &values) {
  return values.empty() ? "-" : ratio(median(values));
}

std::string best_ratio(const std::vector<double> &values) {
  return values.empty() ? "-" : ratio(*std::max_element(values.begin(), values.end()));
}

/// Lines of cells as columns: the first to the left, the others to the right.
void print_columns(const std::vector<std::vector<std::string>> &lines) {
  std::vector<size_t> widths;
  for (const auto &line : lines) {
    widths.resize(std::max(widths.size(), line.size()));
    for (size_t i = 0; i < line.size(); ++i)
      widths[i] = std::max(widths[i], line[i].size());
  }
  for (const auto &line : lines) {
    for (size_t i = 0; i < line.size(); ++i) {
      const int width = int(widths[i]);
      std::printf(i == 0 ? "%-*s" : "  %*s", width, line[i].c_str());
    }
    std::printf("\n");
  }
}

/// Order of columns: ours, memcpy, then the peers as they are registered.
size_t rank(const std::string &name) {
  const auto &all = contenders();
  const auto found =
      std::find_if(all.begin(), all.end(), [&](const auto &who) { return who->name() == name; });
  return size_t(found - all.begin());
}

} // namespace

void set_table_style(const std::string &subject, table_style style) {
  styles[subject] = std::move(style);
}

void set_expectation(const std::string &scenario, expectation what) {
  expectations.emplace_back(scenario, std::move(what));
}

bool comparison_reporter::ReportContext(const Context &) {
  if (run_ > 0 || runs_ > 1)
    std::fprintf(stderr, "run %zu of %zu ...\n", run_ + 1, runs_);
  else
    std::fprintf(stderr, "measuring; all of it takes about four minutes\n");
  return true;
}

void comparison_reporter::ReportRuns(const std::vector<Run> &runs) {
  for (const Run &run : runs) {
    if (run.error_occurred) {
      std::fprintf(stderr, "%s: %s\n", run.benchmark_name().c_str(), run.error_message.c_str());
      failed_ = true;
    } else if (run.run_type == Run::RT_Iteration) {
      const auto rate = run.counters.find("items_per_second");
      if (rate != run.counters.end()) add(run.run_name.function_name, rate->second);
    }
  }
}

comparison_reporter::table &comparison_reporter::table_of(const std::string &subject) {
  for (table &t : tables_)
    if (t.subject == subject) return t;
  return tables_.emplace_back(table{subject, {}, {}});
}

void comparison_reporter::add(const std::string &name, double rate) {
  const size_t first = name.find('/'), last = name.rfind('/');
  table &t = table_of(name.substr(0, first));
  const std::string scenario = name.substr(first + 1, last - first - 1);
  const std::string contender = name.substr(last + 1);
  if (std::find(t.contenders.begin(), t.contenders.end(), contender) == t.contenders.end())
    t.contenders.push_back(contender);
  auto found = std::find_if(t.rows.begin(), t.rows.end(),
                            [&](const row &r) { return r.scenario == scenario; });
  if (found == t.rows.end()) found = t.rows.insert(found, {scenario, {}});
  rates &of = found->of[contender];
  of.resize(runs_);
  of[run_] = std::max(of[run_], rate);
}

void comparison_reporter::Finalize() {
  if (++run_ < runs_) return;
  const auto place = [](const table &t, const row &r) {
    return find_expectation(t.subject + "/" + r.scenario);
  };
  for (table &t : tables_) {
    std::stable_sort(t.contenders.begin(), t.contenders.end(), [](const auto &a, const auto &b) {
      return std::pair(rank(a), a) < std::pair(rank(b), b);
    });
    std::stable_sort(t.rows.begin(), t.rows.end(),
                     [&](const row &a, const row &b) { return place(t, a) < place(t, b); });
  }
  std::stable_sort(tables_.begin(), tables_.end(), [&](const table &a, const table &b) {
    return place(a, a.rows.front()) < place(b, b.rows.front());
  });

  std::printf("%s; the module uses %s\n", cpu_description().c_str(), baseline_ ? "SSE2" : "AVX2");
  for (const std::string &peer : missing_peers())
    std::printf("without %s, which was not there when this was built\n", peer.c_str());
  if (runs_ > 1) std::printf("%zu runs: the best rates, the median ratios\n", runs_);
  for (const table &t : tables_)
    print(t);
  const size_t stated = reached_ + short_rows_.size();
  if (stated > 0) std::printf("\n%zu of %zu targets reached\n", reached_, stated);
  if (short_rows_.empty()) return;
  std::printf("\n");
  std::vector<std::string> head = {"short", "ratio"};
  if (runs_ > 1) head.push_back("best run");
  head.insert(head.end(), {"must reach", ""});
  short_rows_.insert(short_rows_.begin(), std::move(head));
  print_columns(short_rows_);
}

comparison_reporter::comparison comparison_reporter::compare(const row &r, const table_style &style,
                                                             const expectation &expected) const {
  const auto ours = r.of.find(our_name);
  comparison result;
  if (ours == r.of.end()) return result;
  for (size_t run = 0; run < runs_; ++run) {
    double memory = 0, best = 0;
    for (const auto &[contender, rates] : r.of) {
      if (contender == our_name) continue;
      if (contender == style.bound) {
        memory = rates[run];
      } else if (rates[run] > best) {
        best = rates[run];
        const auto &plain = expected.plain_peers;
        result.best_is_plain = std::find(plain.begin(), plain.end(), contender) != plain.end();
      }
    }
    if (memory > 0) result.to_memory.push_back(ours->second[run] / memory);
    if (best > 0) result.to_best.push_back(ours->second[run] / best);
  }
  return result;
}

std::string comparison_reporter::judge(const std::string &name, const target &must_reach,
                                       const rates &ratios) {
  if (median(ratios) >= must_reach.ratio) {
    ++reached_;
    return "ok";
  }
  std::string why;
  if (must_reach.beyond_reach && cpu_maker() == must_reach.beyond_reach)
    why = "beyond reach on " + cpu_maker() + ": docs/decisions.md";
  std::vector<std::string> cells = {name, median_ratio(ratios)};
  if (runs_ > 1) cells.push_back(best_ratio(ratios));
  cells.insert(cells.end(), {ratio(must_reach.ratio), why});
  short_rows_.push_back(std::move(cells));
  return "short";
}

void comparison_reporter::print(const table &t) {
  const table_style style = styles[t.subject];
  std::vector<std::vector<std::string>> lines(1, {style.unit_name});
  for (const std::string &contender : t.contenders)
    lines[0].push_back(contender);
  const bool with_memory =
      std::find(t.contenders.begin(), t.contenders.end(), style.bound) != t.contenders.end();
  if (with_memory) lines[0].push_back("/" + style.bound);
  lines[0].push_back("/best");
  if (runs_ > 1) lines[0].push_back("best run");
  lines[0].insert(lines[0].end(), {"must reach", ""});

  for (const row &r : t.rows) {
    const std::string name = t.subject + "/" + r.scenario;
    const auto known = find_expectation(name);
    const expectation expected = known == expectations.end() ? expectation{} : known->second;
    std::vector<std::string> line = {r.scenario};
    double ours = 0;
    for (const std::string &contender : t.contenders) {
      const auto found = r.of.find(contender);
      if (found == r.of.end()) {
        line.push_back("-");
        continue;
      }
      const double rate = *std::max_element(found->second.begin(), found->second.end());
      line.push_back(number(rate / style.unit));
      if (contender == our_name) ours = rate;
    }
    const comparison compared = compare(r, style, expected);
    double must_reach = expected.must_reach.ratio;
    if (baseline_ && expected.of_memcpy) must_reach *= baseline_target;
    if (baseline_ && !compared.to_best.empty())
      must_reach = compared.best_is_plain ? 1 : baseline_target;

    if (with_memory) line.push_back(median_ratio(compared.to_memory));
    line.push_back(median_ratio(compared.to_best));
    const rates &counts = expected.of_memcpy ? compared.to_memory : compared.to_best;
    if (runs_ > 1) line.push_back(best_ratio(counts));
    const bool stated = must_reach > 0 && !counts.empty();
    line.push_back(stated ? ratio(must_reach) : "-");
    std::string verdict;
    if (stated) verdict = judge(name, {must_reach, expected.must_reach.beyond_reach}, counts);
    if (expected.parts > 0 && ours > 0)
      verdict += (verdict.empty() ? "" : "  ") + duration(1e9 / ours / expected.parts) + " each";
    line.push_back(verdict);
    lines.push_back(std::move(line));
  }

  std::printf("\n%s, %s%s\n\n", style.title.c_str(), style.unit_name.c_str(),
              baseline_ ? ", without AVX2" : "");
  print_columns(lines);
}

} // namespace orbbench

#include "report.h"

#include <algorithm>
#include <cstdio>

#include "contender.h"

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

std::string ratio(double value) {
  char text[32];
  std::snprintf(text, sizeof text, "%.2f", value);
  return text;
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
  std::fprintf(stderr, "measuring; all of it takes about a minute and a half\n");
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
  double &best = found->rates[contender];
  best = std::max(best, rate);
}

void comparison_reporter::Finalize() {
  for (table &t : tables_) {
    std::stable_sort(t.contenders.begin(), t.contenders.end(), [](const auto &a, const auto &b) {
      return std::pair(rank(a), a) < std::pair(rank(b), b);
    });
    std::stable_sort(t.rows.begin(), t.rows.end(), [&](const row &a, const row &b) {
      return find_expectation(t.subject + "/" + a.scenario) <
             find_expectation(t.subject + "/" + b.scenario);
    });
    print(t);
  }
}

void comparison_reporter::print(const table &t) {
  const table_style style = styles[t.subject];
  std::vector<std::vector<std::string>> lines(1, {style.unit_name});
  for (const std::string &contender : t.contenders)
    lines[0].push_back(contender);
  const bool with_memory =
      std::find(t.contenders.begin(), t.contenders.end(), style.bound) != t.contenders.end();
  if (with_memory) lines[0].push_back("/" + style.bound);
  for (const char *title : {"/best", "target", ""})
    lines[0].push_back(title);

  int reached = 0, missed = 0;
  for (const row &r : t.rows) {
    const auto known = find_expectation(t.subject + "/" + r.scenario);
    const expectation expected = known == expectations.end() ? expectation{} : known->second;
    std::vector<std::string> line = {r.scenario};
    double ours = 0, memory = 0, best = 0;
    bool best_is_plain = false;
    for (const std::string &contender : t.contenders) {
      const auto found = r.rates.find(contender);
      if (found == r.rates.end()) {
        line.push_back("-");
        continue;
      }
      const double rate = found->second;
      line.push_back(number(rate / style.unit));
      if (contender == our_name) {
        ours = rate;
      } else if (contender == style.bound) {
        memory = rate;
      } else if (rate > best) {
        best = rate;
        const auto &plain = expected.plain_peers;
        best_is_plain = std::find(plain.begin(), plain.end(), contender) != plain.end();
      }
    }
    double target = expected.target;
    if (baseline_ && expected.of_memcpy) target *= baseline_target;
    if (baseline_ && best > 0) target = best_is_plain ? 1 : baseline_target;

    if (with_memory) line.push_back(ours > 0 && memory > 0 ? ratio(ours / memory) : "-");
    line.push_back(ours > 0 && best > 0 ? ratio(ours / best) : "-");
    std::string verdict;
    const double rival = expected.of_memcpy ? memory : best;
    if (target > 0 && ours > 0 && rival > 0) {
      line.push_back(ratio(target));
      const bool below = ours < target * rival;
      ++(below ? missed : reached);
      verdict = below ? "BELOW" : "";
    } else {
      line.push_back("-");
    }
    if (expected.parts > 0 && ours > 0)
      verdict += (verdict.empty() ? "" : "  ") + number(1e9 / ours / expected.parts) + " ns each";
    line.push_back(verdict);
    lines.push_back(std::move(line));
  }

  std::printf("\n%s, %s%s\n\n", style.title.c_str(), style.unit_name.c_str(),
              baseline_ ? ", without AVX2" : "");
  print_columns(lines);
  if (reached + missed > 0) std::printf("\n%d of %d targets reached\n", reached, reached + missed);
}

} // namespace orbbench

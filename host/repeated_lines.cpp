#include "host/repeated_lines.h"

#include <cstdio>

namespace orbhost {
namespace {

constexpr std::size_t most_lines = 1000;

} // namespace

void RepeatedLines::tell(const std::string &line) {
  const auto known = counts_.find(line);
  if (known != counts_.end()) {
    ++known->second;
  } else if (counts_.size() < most_lines) {
    order_.push_back(&counts_.emplace(line, 0).first->first);
    std::fprintf(stderr, "%s\n", line.c_str());
  } else {
    ++untold_;
  }
}

RepeatedLines::~RepeatedLines() {
  for (const std::string *line : order_)
    if (const std::size_t count = counts_[*line])
      std::fprintf(stderr, "%s: %s\n", line->c_str(),
                   count == 1 ? "once more" : (std::to_string(count) + " more times").c_str());
  if (untold_) std::fprintf(stderr, "and %zu other lines of this kind\n", untold_);
}

} // namespace orbhost

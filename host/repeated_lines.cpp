#include "host/repeated_lines.h"

#include <cstdio>

namespace orbhost {
namespace {

constexpr std::size_t most_lines = 300, usual_memory = std::size_t{300} * 300;

} // namespace

RepeatedLines::RepeatedLines()
    : memory_(usual_memory), kinds_(&memory_), lines_(&memory_), again_(&memory_) {
  kinds_.reserve(most_lines);
  lines_.reserve(most_lines);
  again_.reserve(most_lines);
}

void RepeatedLines::tell(std::string_view line, std::string_view kind) {
  const std::pmr::string key(kind); // for the look-up alone, which leaves no memory behind
  if (const auto known = kinds_.find(key); known != kinds_.end()) {
    ++again_[known->second];
  } else if (lines_.size() < most_lines) {
    kinds_.emplace(key, lines_.size());
    lines_.emplace_back(line);
    again_.push_back(0);
    std::fprintf(stderr, "%s\n", lines_.back().c_str());
  } else {
    ++untold_;
  }
}

RepeatedLines::~RepeatedLines() {
  for (std::size_t i = 0; i < lines_.size(); ++i) {
    if (again_[i] == 0) continue;
    const std::string times =
        again_[i] == 1 ? "once more" : std::to_string(again_[i]) + " more times";
    std::fprintf(stderr, "%s: %s\n", lines_[i].c_str(), times.c_str());
  }
  if (untold_) std::fprintf(stderr, "and %zu other lines of this kind\n", untold_);
}

} // namespace orbhost

// The fractions of a process's locals, which are whole numbers to the module.
#pragma once

#include <cmath>
#include <cstdint>
#include <vector>

namespace orbhost {

// For each local to which a fraction was assigned last: the number, as long as the local's word is
// what was made of it.
class Fractions {
public:
  // The word for a number that isn't whole, which is kept: it is rounded down.
  std::int32_t keep(std::int32_t local, double number) {
    forget(local);
    kept_.push_back({local, static_cast<std::int32_t>(std::floor(number)), number});
    return kept_.back().word;
  }
  void forget(std::int32_t local) {
    std::erase_if(kept_, [=](const Kept &kept) { return kept.local == local; });
  }
  // The number behind a local's word; null where the word is all, or somebody else has written it.
  [[nodiscard]] const double *find(std::int32_t local, std::int32_t word) const {
    for (const Kept &kept : kept_)
      if (kept.local == local) return kept.word == word ? &kept.number : nullptr;
    return nullptr;
  }

private:
  struct Kept {
    std::int32_t local, word;
    double number;
  };
  std::vector<Kept> kept_; // few: a position, an angle
};

} // namespace orbhost

#include "host/address_table.h"

#include <utility>

namespace orbhost {

void AddressTable::grow() {
  const std::vector<Slot> before = std::exchange(slots_, std::vector<Slot>(2 * slots_.size()));
  --shift_;
  for (const Slot &old : before) {
    if (old.address) slots_[place(old.address)] = old;
  }
}

void AddressTable::set(const void *address, std::int32_t number) {
  std::size_t at = place(address);
  if (!slots_[at].address) {
    if (2 * (taken_ + 1) > slots_.size()) {
      grow();
      at = place(address);
    }
    ++taken_;
  }
  slots_[at] = {address, number};
}

void AddressTable::erase(const void *address) {
  std::size_t gap = place(address);
  if (!slots_[gap].address) return;
  // What stands behind the gap moves into it, unless its own place comes after the gap.
  for (std::size_t at = after(gap); slots_[at].address; at = after(at)) {
    const std::size_t mask = slots_.size() - 1;
    const std::size_t way = (at - home(slots_[at].address)) & mask;
    if (way >= ((at - gap) & mask)) slots_[std::exchange(gap, at)] = slots_[at];
  }
  slots_[gap] = {};
  --taken_;
}

} // namespace orbhost

#include "blit/depth_sort.h"

#include <algorithm>
#include <climits>
#include <cstdlib>

namespace {

/// A request and its key: the distance below the largest z. Ascending keys mean descending z, and
/// the few z levels of a usual frame need few digits.
struct keyed_request {
  uint32_t key;
  __ORBBlit2D__ *request;
};

// Two arrays of `scratch_size` records, kept between frames and shared by all lists.
keyed_request *scratch;
uint32_t scratch_size;

/// Below this, a comparison sort is faster than a radix sort.
constexpr uint32_t small_list = 200;

constexpr uint32_t digit_bits = 11;
constexpr uint32_t digits = 1 << digit_bits;

bool grow_scratch(uint32_t count) {
  if (count <= scratch_size) return true;
  const uint64_t bytes = uint64_t(count) * 2 * sizeof(keyed_request);
  if (bytes > INT32_MAX) return false;
  free(scratch);
  scratch = static_cast<keyed_request *>(malloc(size_t(bytes)));
  scratch_size = scratch ? count : 0;
  return scratch;
}

/// Needs no memory. Stable although it swaps: requests are in list order in one array, so addresses
/// break ties.
void sort_in_place(__ORBBlit2D__ **order, uint32_t count) {
  std::sort(order, order + count, [](const __ORBBlit2D__ *a, const __ORBBlit2D__ *b) {
    return a->z != b->z ? a->z > b->z : a < b;
  });
}

/// Counting sort by one digit of the key; stable.
void distribute(const keyed_request *from, keyed_request *to, uint32_t count, uint32_t shift) {
  uint32_t start[digits] = {};
  for (uint32_t i = 0; i < count; ++i)
    ++start[from[i].key >> shift & (digits - 1)];
  uint32_t sum = 0;
  for (uint32_t &entry : start) {
    const uint32_t here = entry;
    entry = sum;
    sum += here;
  }
  for (uint32_t i = 0; i < count; ++i)
    to[start[from[i].key >> shift & (digits - 1)]++] = from[i];
}

/// LSD radix sort over as many digits as the largest key has.
void sort_by_digits(__ORBBlit2D__ **order, uint32_t count, int32_t max_z, uint32_t max_key) {
  keyed_request *from = scratch, *to = scratch + scratch_size;
  for (uint32_t i = 0; i < count; ++i)
    from[i] = {uint32_t(max_z) - uint32_t(order[i]->z), order[i]};
  for (uint32_t shift = 0; shift < 32 && max_key >> shift; shift += digit_bits) {
    distribute(from, to, count, shift);
    std::swap(from, to);
  }
  for (uint32_t i = 0; i < count; ++i)
    order[i] = from[i].request;
}

} // namespace

void sort_by_depth(orb_blit_list &list) {
  const uint32_t count = list.used;
  __ORBBlit2D__ *const requests = list.requests, **const order = list.order;

  bool in_order = true;
  int32_t min_z = INT32_MAX, max_z = INT32_MIN, previous = INT32_MAX;
  for (uint32_t i = 0; i < count; ++i) {
    const int32_t z = requests[i].z;
    order[i] = &requests[i];
    in_order &= z <= previous;
    previous = z;
    min_z = std::min(min_z, z);
    max_z = std::max(max_z, z);
  }
  if (in_order) return;
  if (count < small_list || !grow_scratch(count))
    sort_in_place(order, count);
  else
    sort_by_digits(order, count, max_z, uint32_t(max_z) - uint32_t(min_z));
}

void free_sort_scratch() {
  free(scratch);
  scratch = nullptr;
  scratch_size = 0;
}

// Pictures for tests: surfaces over memory that ends, or begins, at a guard page.
#pragma once

#include <sys/mman.h>
#include <unistd.h>

#include <cstring>
#include <new>
#include <vector>

#include "orb/graphics2d.h"
#include "support/random.h"

/// The pixel at an address, zero-extended.
inline uint32_t read_pixel(const void *at, int depth) {
  uint32_t value = 0;
  std::memcpy(&value, at, size_t(depth) / 8);
  return value;
}
inline void write_pixel(void *at, int depth, uint32_t value) {
  std::memcpy(at, &value, size_t(depth) / 8);
}

/// Memory between two pages that fault on any access.
class guarded_memory {
public:
  explicit guarded_memory(size_t capacity) {
    page_ = size_t(sysconf(_SC_PAGESIZE));
    capacity_ = (capacity + page_ - 1) / page_ * page_;
    void *all = mmap(nullptr, capacity_ + 2 * page_, PROT_NONE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
    if (all == MAP_FAILED) throw std::bad_alloc();
    start_ = static_cast<uint8_t *>(all) + page_;
    if (mprotect(start_, capacity_, PROT_READ | PROT_WRITE) != 0) throw std::bad_alloc();
  }
  ~guarded_memory() { munmap(start_ - page_, capacity_ + 2 * page_); }
  guarded_memory(const guarded_memory &) = delete;
  guarded_memory &operator=(const guarded_memory &) = delete;

  /// Allocates `bytes` against the page after it or the page before it.
  uint8_t *place(size_t bytes, bool at_end) {
    if (bytes > capacity_) throw std::bad_alloc();
    return at_end ? start_ + capacity_ - bytes : start_;
  }

private:
  size_t page_, capacity_;
  uint8_t *start_;
};

/// A surface record over the test's memory, without control points, with `padding` bytes after each
/// row.
class picture {
public:
  __ORBSurface2D__ surface{};

  picture(guarded_memory &memory, int width, int height, int depth, bool at_end, int padding = 0) {
    surface.is_wrapper = 1;
    surface.width = uint32_t(width);
    surface.height = uint32_t(height);
    surface.depth = depth;
    surface.pitch = uint32_t(width * depth / 8 + padding);
    surface.pixel_count = uint32_t(width * height);
    surface.byte_size = surface.pitch * uint32_t(height);
    surface.pixels = memory.place(surface.byte_size, at_end);
  }
  picture(const picture &) = delete;
  picture &operator=(const picture &) = delete;

  uint8_t *at(int x, int y) const {
    return static_cast<uint8_t *>(surface.pixels) + ptrdiff_t(y) * ptrdiff_t(surface.pitch) +
           ptrdiff_t(x) * (surface.depth / 8);
  }
  uint32_t get(int x, int y) const { return read_pixel(at(x, y), surface.depth); }

  std::vector<uint8_t> bytes() const { return {at(0, 0), at(0, int(surface.height))}; }
  void set_bytes(const std::vector<uint8_t> &to) { std::memcpy(at(0, 0), to.data(), to.size()); }
  void put(int x, int y, uint32_t value) { write_pixel(at(x, y), surface.depth, value); }

  /// Random pixels, one in `zeros` of them 0. Every other picture has runs of nothing but zeros and
  /// of opaque pixels, as drawings have.
  void fill(random_source &random, int zeros) {
    const bool in_runs = random.one_in(2);
    enum { any, transparent, opaque } run = any;
    for (int y = 0; y < int(surface.height); ++y) {
      for (int x = 0; x < int(surface.width); ++x) {
        if (in_runs && random.one_in(24)) run = random.any_of({any, transparent, opaque});
        uint32_t value = run == transparent ? 0 : random.pixel(surface.depth, zeros);
        if (run == opaque) value |= surface.depth == 32 ? 0xFF000000 : 1;
        put(x, y, value);
      }
    }
  }
};

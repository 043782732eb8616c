// Who draws: our module and the libraries that it is measured against.
#pragma once

#include <deque>
#include <memory>
#include <string>
#include <vector>

#include "scenario.h"

namespace orbbench {

/// Pixels that somebody drew on.
struct pixel_view {
  void *pixels;
  size_t pitch; // bytes from row to row
};

/// A scenario made ready in one library: surfaces made, pictures converted, run lengths encoded.
class drawing {
public:
  drawing() = default;
  drawing(const drawing &) = delete;
  drawing &operator=(const drawing &) = delete;
  virtual ~drawing() = default;

  /// Brings settings that the library keeps once for everybody to what this drawing needs. Called
  /// before a run of draw(), outside the measured time.
  virtual void begin() {}
  /// One pass: the sprite at every position.
  virtual void draw() = 0;
  /// Where it draws. Drawings of one contender on targets of one size and depth share it.
  virtual pixel_view target() = 0;
};

class contender {
public:
  contender() = default;
  contender(const contender &) = delete;
  contender &operator=(const contender &) = delete;
  virtual ~contender() = default;

  virtual std::string name() const = 0;
  /// Whether it is measured with such a scenario: not where it has no such operation, or another
  /// contender of the same library does it in the same way.
  virtual bool can(const scenario &s) const = 0;
  /// Whether it does that with vector instructions (those of the C library count).
  virtual bool has_simd(const scenario &s) const = 0;
  /// For scenarios that it can, and for copies.
  virtual std::unique_ptr<drawing> prepare(const scenario &s) = 0;
};

using contender_list = std::vector<std::unique_ptr<contender>>;

// Each adds its contenders; those of a library that is not there at run time add nothing.
void add_orb(contender_list &to);
void add_memcpy(contender_list &to);
void add_sdl12(contender_list &to);
void add_sdl2(contender_list &to);
void add_allegro(contender_list &to);
void add_pixman(contender_list &to);
void add_qt5(contender_list &to);
void add_libyuv(contender_list &to);

/// All contenders of this build, ours first and memcpy second.
const contender_list &contenders();

/// Those that this build lacks; a ratio to the best peer then says less.
std::vector<std::string> missing_peers();

inline constexpr const char *our_name = "orb";
inline constexpr const char *memcpy_name = "memcpy";

/// One object per key, made at its first use; for targets, which drawings share.
template <typename value> class shared_targets {
public:
  template <typename maker> value &get(const scenario &s, maker make) {
    for (auto &[depth, size, target] : targets_)
      if (depth == s.depth && size.width == s.target.width && size.height == s.target.height)
        return target;
    return targets_.emplace_back(s.depth, s.target, make(s)).target;
  }

private:
  struct entry {
    entry(int d, extent e, value t) : depth(d), size(e), target(std::move(t)) {}
    int depth;
    extent size;
    value target;
  };
  std::deque<entry> targets_; // references to its elements stay valid as it grows
};

} // namespace orbbench

// Random blit requests, run through an operation and compared with the reference: pixels, drawn
// box, owner, background mark, pivot, and that a refusal changes nothing.
#pragma once

#include <optional>
#include <string>

#include "engine/checkspan/blits.h"
#include "engine/picture.h"
#include "support/random.h"

namespace checkspan {

/// Counts of cases, so that a test can check it covered them.
struct trial_counts {
  int drawn = 0, refused = 0;
  int rows = 0;       ///< rows drawn
  int rows_open = 0;  ///< rows with more than one correct outcome
  int rows_other = 0; ///< of those, rows drawn with a less likely outcome, or beyond prediction
};

/// Two surfaces, an owner and a request between them. Needs the registry's regions.
class trial {
public:
  picture src, dst;
  __ORBBlit2D__ request{};
  orb_process owner{};
  int screen_depth = 32;
  bool onto_ground = false;
  const uint8_t *ghost = nullptr;

  trial(guarded_memory &src_memory, guarded_memory &dst_memory, int src_width, int src_height,
        int dst_width, int dst_height, int depth, random_source &random);
  trial(const trial &) = delete;

  void set_centre(int x, int y);
  void set_override(int x, int y);
  /// Makes the smaller picture a window on the larger one's memory.
  void show_part_of_the_other(random_source &random);

  /// Runs the request and compares. Returns an empty string, or the difference.
  std::string run(operation op, trial_counts &counts);

private:
  bool shares_memory() const;

  bool window_ = false;
  uint32_t centre_[3] = {65535, 65535, 0};
};

/// Runs `count` random requests, alternating instruction sets; failures go to GoogleTest.
trial_counts run_trials(operation op, int count);

} // namespace checkspan

// What the player's hands do as words, which recordings hold: "+left" and "-left", "mouse=320,200",
// "wheel=1", "text=\"abc\"", "pads=1", "pad1_x=-50", "pad1_hat=0,1", "quit". What each of them means,
// docs/orbplay.md tells.
#pragma once

#include "host/input_event.h"

#include <cstdint>
#include <stdexcept>
#include <string>
#include <string_view>
#include <vector>

namespace orbplay {

// A word that means nothing; what() says why, for the place where it stands.
struct WordError : std::runtime_error {
  using std::runtime_error::runtime_error;
};

// The word that tells of an event; empty for what no script can ask for.
std::string word_of(const orbhost::InputEvent &event);

// Reads the words of one play.
class InputWords {
public:
  // Appends what a word, which isn't empty, tells of. Throws WordError.
  void read(std::string_view word, std::vector<orbhost::InputEvent> &events);

private:
  [[nodiscard]] orbhost::InputEvent pad_event(std::string_view word, std::string_view name,
                                              std::string_view value) const;

  int pads_ = 0; // that there are, as the words have told
};

// A decimal number within limits. Throws WordError.
std::int64_t number_of(std::string_view text, std::int64_t least, std::int64_t most);

} // namespace orbplay

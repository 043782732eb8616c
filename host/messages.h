// The texts of script errors, which a module reports through rt_error.
#pragma once

#include <cstdint>
#include <string>

namespace orbhost {

// A copy of one rt_error call.
struct ErrorReport {
  std::int32_t code = 0;
  std::string function;      // in capitals, as the module gave it
  std::int32_t kind = 0;     // ORB_VALUE_INT or ORB_VALUE_STRING
  std::int32_t position = 0; // of the offending argument, from 1
  std::int32_t value = 0;    // for kind ORB_VALUE_INT
  std::string text;          // for kind ORB_VALUE_STRING
};

// The message for a code; "script error N" for codes without one.
std::string message_text(std::int32_t code);

// `MAP_LOAD: argument 1 ("x.map"): not a MAP file, or deeper than the screen`. Without the
// argument if the position is below 1; with another text than the code's.
std::string describe(const ErrorReport &report);
std::string describe(const ErrorReport &report, const std::string &text);

} // namespace orbhost

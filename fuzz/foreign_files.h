// Files of kinds that the module doesn't write itself: what other programs have written, and what
// fuzzing has found, for the tests.
#pragma once

#include <cstdint>
#include <string>

namespace fuzz {

enum class foreign_kind : uint8_t { any, fpg, map };

/// One of the small files under tests/data. A number stands for the same file when others come and
/// go beside it.
const std::string &foreign_file(foreign_kind kind, uint16_t number);

/// Whether a file claims to be a picture that would only take time.
bool claims_too_much(const std::string &file);

} // namespace fuzz

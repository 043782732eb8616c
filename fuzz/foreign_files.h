// Files that the module didn't write: from other programs, and inputs found by fuzzing.
#pragma once

#include <cstdint>
#include <string>

namespace fuzz {

enum class foreign_kind : uint8_t { any, fpg, map };

/// One of the small files under tests/data. A number keeps its file when others are added or
/// removed.
const std::string &foreign_file(foreign_kind kind, uint16_t number);

/// Whether a file claims to be a picture so big that it would only take time.
bool claims_too_much(const std::string &file);

} // namespace fuzz

// Files that the module didn't write: from other programs, and inputs found by fuzzing.
#pragma once

#include <cstdint>
#include <string>

namespace fuzz {

/// One of the small files under tests/data: of any format, or MAP ("map") or FPG ("fpg"). A number
/// keeps its file when others are added or removed.
const std::string &foreign_file(const std::string &kind, uint16_t number);

/// Whether a file claims to be a picture so big that it would only take time.
bool claims_too_much(const std::string &file);

} // namespace fuzz

// The files of reference/, in a table that the build makes.
#pragma once

#include <cstddef>
#include <string_view>

namespace orbhost {

struct ReferenceText {
  std::string_view file, text;
};
extern const std::size_t reference_text_count;
extern const ReferenceText reference_texts[];

} // namespace orbhost

// Texts in pages.
#pragma once

#include <string>
#include <string_view>

namespace orbhost {

// A text as HTML, which may stand in an attribute's double quotes, too.
std::string escaped(std::string_view text);

} // namespace orbhost

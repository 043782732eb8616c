// Lua source as HTML.
#pragma once

#include "host/html.h"

#include <functional>
#include <string>
#include <string_view>

namespace orbdocs {

// The address of a name's entry, or an empty text.
using link_of = std::function<std::string(std::string_view name)>;

using orbhost::escaped;

// Source with comments, strings, numbers and keywords in spans of the classes c, s, n and k, and
// names that have an entry as links to it.
std::string highlighted(std::string_view lua, const link_of &link);

} // namespace orbdocs

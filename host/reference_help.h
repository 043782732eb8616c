// The reference for a terminal.
#pragma once

#include "host/reference.h"

#include <string>
#include <string_view>

namespace orbhost {

struct Registration;

// "map_put(file, graph, source, x, y) -> ok".
std::string form_text(const ReferenceForm &form);

// The entry of a name, in lines of at most 80 columns. For a name that has none: empty.
std::string help_text(const Reference &reference, std::string_view name);

// The names that have these words among their keywords, each with what it is for. For words that no
// name has: empty.
std::string keyword_text(const Reference &reference, std::string_view words);

// All functions with their forms, by family, and older names last; at the end, with the types of
// their arguments, registered functions that the reference doesn't know.
std::string list_text(const Reference &reference, const Registration &registration);

} // namespace orbhost

// The editor's types: a Lua file that a language server reads.
#pragma once

#include "host/reference.h"

#include <string>

namespace orbhost {
class Host;
}

namespace orbdocs {

// Declarations of all that the reference describes, with annotations in the form of the Lua
// language server (https://luals.github.io/wiki/annotations). The host tells which words are locals
// of processes, constants and globals; it has the module loaded.
std::string editor_types(const orbhost::Reference &reference, const orbhost::Host &host);

// What Lua itself says of that text when it runs it; empty: nothing.
std::string mistake_in(const std::string &types);

} // namespace orbdocs

// Markdown as HTML.
#pragma once

#include "tools/orbdocs/highlight.h"

#include <string>
#include <string_view>

namespace orbdocs {

struct MarkdownLinks {
  link_of name;                                                // of a word in backticks
  std::function<std::string(std::string_view address)> target; // what a link's address becomes
};

// Lua blocks are highlighted, words in backticks that have an entry are links to it, and headings
// have ids.
std::string html_of(std::string_view markdown, const MarkdownLinks &links);

// The body of a manual page, in the macros of man(7).
std::string man_of(std::string_view markdown);

// A heading as the id that links to it use.
std::string id_of(std::string_view heading);

} // namespace orbdocs

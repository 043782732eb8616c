// Manual pages.
#pragma once

#include <string>

namespace orbdocs {

// A page of section 1 from a Markdown text whose title is the program's name and whose first
// sentence says what it does.
std::string manual_page(const std::string &markdown);

} // namespace orbdocs

#include "tools/orbdocs/manual.h"

#include "tools/orbdocs/markdown.h"

#include <algorithm>
#include <cctype>

namespace orbdocs {

std::string manual_page(const std::string &markdown) {
  const std::size_t title_end = std::min(markdown.find('\n'), markdown.size());
  const std::string name = markdown.substr(2, title_end - 2);
  std::string body = markdown.substr(title_end);
  body.erase(0, body.find_first_not_of('\n'));
  std::string purpose = body.substr(0, std::min(body.find(". "), body.find("\n\n")));
  std::ranges::replace(purpose, '\n', ' ');
  purpose.erase(std::min(purpose.find_last_not_of('.') + 1, purpose.size()));
  purpose[0] = static_cast<char>(std::tolower(static_cast<unsigned char>(purpose[0])));
  // Second-level headings are the sections.
  for (std::size_t at = 0; (at = body.find("\n##", at)) != std::string::npos; ++at)
    body.erase(at + 1, 1);
  std::string capitals = name;
  std::ranges::transform(capitals, capitals.begin(),
                         [](unsigned char c) { return std::toupper(c); });
  // The first line asks for tbl, which sets tables.
  return "'\\\" t\n.TH " + capitals + " 1 \"\" \"ORB graphics2D\"\n.SH NAME\n" + name + " \\- " +
         purpose + "\n.SH DESCRIPTION\n" + man_of(body);
}

} // namespace orbdocs

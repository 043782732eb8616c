// The reference of all that a script can use, parsed from the texts in reference/.
//
// Each file there is a family: a Markdown text whose second-level headings are entries. What an
// entry says in a fixed form is data here, for help, messages, the editor's types and the site:
//
//     ## region_define                                    the name, or names of a group
//
//         region_define(region, x, y, width, height)      every form, with results after ` -> `
//
//     Sets the rectangle of a region.                     the purpose: the first paragraph
//
//     - `region`: 1 to 31                                 every parameter; after a colon its
//     meaning,
//     - `x`, `y`: pixels                                  `- `name` (text): ...` where it is no int
//
//     Reports:                                            errors, by number, with the parameter
//
//     - 114 `region`: no region has that number
//
//     Aliases: `define_region`.                           other names of the same
//
//     See also: `region_is_out`.
//
//     Keywords: clip, scissor.                            what users may look for; found, not shown
//     Keywords of `angle`: rotate.                        the same of a word that a topic defines
//
// A Lua block is an example, a program of its own. An entry without forms is a topic: its list
// items that begin with `name` = value or with `name` define constants, globals, locals and fields.
#pragma once

#include <cstddef>
#include <map>
#include <stdexcept>
#include <string>
#include <string_view>
#include <vector>

namespace orbhost {

// A mistake in a text of the reference. what() begins with "graphs.md:12: ".
class ReferenceError : public std::runtime_error {
public:
  using std::runtime_error::runtime_error;
};

// `map_get_rgb(file, graph, x, y) -> ok, r, g, b`: what is written through pointers are further
// results.
struct ReferenceForm {
  std::string name;
  std::vector<std::string> parameters, results;
};

// Parameters, or words that have values, that one list item describes.
struct ReferenceItem {
  std::vector<std::string> names;
  std::vector<std::string> values; // of each name, "" where none is given
  std::string kind;                // "text", "table", "process" ...; empty: an integer
  std::string text;                // Markdown
};

struct ReferenceReport {
  int number;
  std::string parameter; // empty: none in particular
  std::string text;
};

// Words by which users of other engines may look for a name.
struct ReferenceKeywords {
  std::vector<std::string> names; // an entry's own, or words that it defines
  std::vector<std::string> words; // in lower case; several words are a phrase
};

struct ReferenceEntry {
  std::vector<std::string> names; // of functions that are described together
  std::size_t line = 0;           // of the heading
  std::vector<ReferenceForm> forms;
  std::string purpose;
  std::vector<ReferenceItem> parameters;
  std::vector<ReferenceItem> definitions; // of a topic
  std::vector<ReferenceReport> reports;
  std::vector<std::string> aliases, see_also;
  std::vector<ReferenceKeywords> keywords;
  std::vector<std::string> examples;
  std::string text; // all of it below the heading but the keywords, as it stands
};

// The keywords of a name that an entry describes, ", " between them.
std::string keywords_of(const ReferenceEntry &entry, std::string_view name);

struct ReferenceFamily {
  std::string file; // "graphs.md"
  std::string title, introduction;
  std::vector<std::string> examples; // of the introduction
  std::vector<ReferenceEntry> entries;
};

// Parses one file. Throws ReferenceError.
ReferenceFamily parse_reference(std::string_view file, std::string_view text);

// Where a name is described.
struct ReferencePlace {
  const ReferenceFamily *family = nullptr;
  const ReferenceEntry *entry = nullptr;
  bool alias = false;
};

// Up to `most` of the names that look like this one, the nearest first.
std::vector<std::string> nearest_names(const std::vector<std::string> &names, std::string_view name,
                                       std::size_t most);

class Reference {
public:
  // Throws ReferenceError where a name is described twice.
  explicit Reference(std::vector<ReferenceFamily> families);
  // The texts that this library was built with.
  static const Reference &built_in();

  [[nodiscard]] const std::vector<ReferenceFamily> &families() const { return families_; }
  // The place of an entry, an alias or a defined word; null where there is none.
  [[nodiscard]] const ReferencePlace *find(std::string_view name) const;
  // The names that begin with a text; for the name of a family's file ("motion"), those of its
  // entries, too.
  [[nodiscard]] std::vector<std::string> related(std::string_view text) const;
  // The names that have all of these words, in lower case or not, among their keywords, in the order
  // of the reference.
  [[nodiscard]] std::vector<std::string> with_keywords(std::string_view words) const;
  // The nearest_names() of all names.
  [[nodiscard]] std::vector<std::string> nearest(std::string_view name, std::size_t most) const;

private:
  std::vector<ReferenceFamily> families_;
  std::map<std::string, ReferencePlace, std::less<>> places_;
};

} // namespace orbhost

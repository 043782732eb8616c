// Declaration texts: a module's names for the script's variables, and their place in memory.
//
//   int dump_type = 1; int *xgraph = 0; struct video_modes[64] int wide = 0; int mode = 0; end
//
// A text is a sequence of variables (`int` or `int *`, each ended by ";") and structs (ended by
// "end"). Every variable takes one 32-bit word, in declaration order; an array of n structs takes n
// times its fields.
#pragma once

#include <cstdint>
#include <span>
#include <stdexcept>
#include <string>
#include <string_view>
#include <vector>

namespace orbhost {

// A malformed declaration text; what() names the place.
class DeclarationError : public std::runtime_error {
public:
  using std::runtime_error::runtime_error;
};

struct Variable {
  std::string name;
  bool pointer = false;
  std::int32_t initial = 0;
};

// One name at the top level of a text: a single variable, or a struct.
struct Declaration {
  enum class Kind { variable, record, array };
  std::string name;
  Kind kind = Kind::variable;
  std::uint32_t word = 0;  // first word in memory
  std::uint32_t count = 1; // structs in an array
  // One for a variable, the fields of a struct otherwise.
  std::vector<Variable> fields;

  [[nodiscard]] std::uint32_t words() const {
    return count * static_cast<std::uint32_t>(fields.size());
  }
};

class Layout {
public:
  // Parses `text` and appends its declarations. Throws DeclarationError on
  // a malformed text, a name declared twice, or more than 1,000,000 words; the layout then stays
  // as it was.
  void append(std::string_view text);

  [[nodiscard]] const std::vector<Declaration> &declarations() const { return declarations_; }
  [[nodiscard]] std::uint32_t words() const { return words_; }
  // The declaration of that name, or null.
  [[nodiscard]] const Declaration *find(std::string_view name) const;
  // Writes every word's declared initial value; `memory` holds at least words() words.
  void initialise(std::span<std::int32_t> memory) const;

private:
  std::vector<Declaration> declarations_;
  std::uint32_t words_ = 0;
};

} // namespace orbhost

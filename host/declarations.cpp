#include "host/declarations.h"

#include <algorithm>
#include <cctype>

namespace orbhost {
namespace {

constexpr std::uint32_t max_words = 1'000'000;

class Parser {
public:
  explicit Parser(std::string_view text) : text_(text) {}

  std::vector<Declaration> parse() {
    std::vector<Declaration> result;
    for (skip_space(); at_ < text_.size(); skip_space()) {
      const std::string_view keyword = word("a declaration");
      if (keyword == "int") {
        Declaration declaration;
        declaration.fields.push_back(variable());
        declaration.name = declaration.fields.front().name;
        result.push_back(std::move(declaration));
      } else if (keyword == "struct") {
        result.push_back(structure());
      } else {
        fail("expected \"int\" or \"struct\"");
      }
    }
    return result;
  }

private:
  std::string_view text_;
  std::size_t at_ = 0;

  [[noreturn]] void fail(const std::string &what) const {
    throw DeclarationError("declaration text, byte " + std::to_string(at_) + ": " + what);
  }

  void skip_space() {
    while (at_ < text_.size() && std::isspace(static_cast<unsigned char>(text_[at_])))
      ++at_;
  }

  bool accept(char c) {
    skip_space();
    if (at_ == text_.size() || text_[at_] != c) return false;
    ++at_;
    return true;
  }

  void expect(char c) {
    if (!accept(c)) fail(std::string("expected \"") + c + "\"");
  }

  std::string_view word(const char *what) {
    skip_space();
    const std::size_t begin = at_;
    while (at_ < text_.size() &&
           (std::isalnum(static_cast<unsigned char>(text_[at_])) || text_[at_] == '_')) {
      ++at_;
    }
    const std::string_view found = text_.substr(begin, at_ - begin);
    if (found.empty() || std::isdigit(static_cast<unsigned char>(found.front()))) {
      fail(std::string("expected ") + what);
    }
    return found;
  }

  // A decimal number; anything outside an int is refused, never wrapped.
  std::int32_t number() {
    const bool negative = accept('-');
    skip_space();
    std::int64_t value = 0;
    const std::size_t begin = at_;
    for (; at_ < text_.size() && std::isdigit(static_cast<unsigned char>(text_[at_])); ++at_) {
      value = value * 10 + (text_[at_] - '0');
      if (value > 0x80000000LL) fail("number out of range");
    }
    if (at_ == begin) fail("expected a number");
    if (negative) value = -value;
    if (value > INT32_MAX) fail("number out of range");
    return static_cast<std::int32_t>(value);
  }

  // The rest of `int name = value;`, after "int".
  Variable variable() {
    Variable result;
    result.pointer = accept('*');
    result.name = word("a name");
    if (accept('=')) result.initial = number();
    expect(';');
    return result;
  }

  // The rest of a struct, after "struct". Without "[n]" it is a single record.
  Declaration structure() {
    Declaration result;
    result.kind = Declaration::Kind::record;
    result.name = word("a name");
    if (accept('[')) {
      result.kind = Declaration::Kind::array;
      const std::int32_t count = number();
      if (count < 1 || static_cast<std::uint32_t>(count) > max_words) fail("bad array size");
      result.count = static_cast<std::uint32_t>(count);
      expect(']');
    }
    for (;;) {
      const std::string_view keyword = word("a field or \"end\"");
      if (keyword == "end") break;
      if (keyword != "int") fail("expected \"int\" or \"end\"");
      Variable field = variable();
      if (std::ranges::any_of(result.fields, [&](auto &f) { return f.name == field.name; })) {
        fail("field \"" + field.name + "\" declared twice");
      }
      result.fields.push_back(std::move(field));
    }
    if (result.fields.empty()) fail("struct without fields");
    accept(';');
    return result;
  }
};

} // namespace

void Layout::append(std::string_view text) {
  std::vector<Declaration> added = Parser(text).parse();
  std::vector<Declaration> all = declarations_;
  std::uint64_t words = words_;
  for (Declaration &declaration : added) {
    if (std::ranges::any_of(all, [&](auto &d) { return d.name == declaration.name; })) {
      throw DeclarationError("\"" + declaration.name + "\" declared twice");
    }
    declaration.word = static_cast<std::uint32_t>(words);
    words += std::uint64_t{declaration.count} * declaration.fields.size();
    if (words > max_words) throw DeclarationError("more than 1,000,000 words declared");
    all.push_back(std::move(declaration));
  }
  declarations_ = std::move(all);
  words_ = static_cast<std::uint32_t>(words);
}

const Declaration *Layout::find(std::string_view name) const {
  const auto found =
      std::ranges::find_if(declarations_, [&](const Declaration &d) { return d.name == name; });
  return found == declarations_.end() ? nullptr : &*found;
}

void Layout::initialise(std::span<std::int32_t> memory) const {
  for (const Declaration &declaration : declarations_) {
    std::size_t word = declaration.word;
    for (std::uint32_t i = 0; i < declaration.count; ++i) {
      for (const Variable &field : declaration.fields)
        memory[word++] = field.initial;
    }
  }
}

} // namespace orbhost

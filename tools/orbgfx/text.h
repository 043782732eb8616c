// Texts of graphs as lines and as JSON. Their bytes have no particular encoding.
#pragma once

#include <concepts>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace orbgfx {

// The text as one printable line of valid UTF-8: "\\" for a backslash, "\n" for a line feed, "\xHH"
// for other control characters, for bytes that aren't UTF-8, and for blanks at the ends.
std::string escape_line(std::string_view text);
// The reverse of escape_line(); nothing for an escape that it doesn't write.
std::optional<std::string> unescape_line(std::string_view line);

// A JSON value, built once and printed.
class Json {
public:
  using Members = std::vector<std::pair<std::string, Json>>;

  Json(bool value) : text_(value ? "true" : "false") {}
  template <std::integral Number>
  requires(!std::same_as<Number, bool>) Json(Number value) : text_(std::to_string(value)) {}
  // Bytes that aren't UTF-8 are read as Latin-1.
  Json(const std::string &value);
  Json(const char *value) : Json(std::string(value)) {}
  Json(Members members) : kind_(Kind::object), members_(std::move(members)) {}
  static Json array(std::vector<Json> elements = {});

  void add(Json element);                    // to an array
  void set(const std::string &, Json value); // to an object

  // Indented; objects and arrays that contain only plain values are printed on one line.
  [[nodiscard]] std::string dump(int indent = 0) const;

private:
  enum class Kind { plain, array, object };

  Kind kind_ = Kind::plain;
  std::string text_;
  Members members_; // of an array, with empty names
};

} // namespace orbgfx

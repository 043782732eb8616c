#include "host/player/named_files.h"

#include <algorithm>
#include <cctype>
#include <filesystem>

namespace orbplay {
namespace {

bool in_word(char c) {
  return std::isalnum(static_cast<unsigned char>(c)) || c == '_';
}

class Scanner {
public:
  explicit Scanner(std::string_view text) : rest_(text) {}

  std::vector<NamedFile> run() {
    if (rest_.starts_with('#')) skip(rest_.find('\n')); // for the shell
    while (!rest_.empty()) {
      const char c = rest_.front();
      if (rest_.starts_with("--"))
        skip_comment();
      else if (c == '"' || c == '\'')
        read_quoted(c);
      else if (c == '[' && bracket_level() >= 0)
        add(read_bracketed(), true);
      else if (in_word(c))
        read_word();
      else
        read_mark(c);
    }
    return std::move(found_);
  }

private:
  // Skips so many characters, all if there are fewer, and counts their lines.
  std::string_view skip(std::size_t count) {
    const std::string_view skipped = rest_.substr(0, count);
    line_ += static_cast<int>(std::ranges::count(skipped, '\n'));
    rest_.remove_prefix(skipped.size());
    return skipped;
  }

  // Of [[, [=[ and so on: how many equals signs. Negative: the rest doesn't begin so.
  [[nodiscard]] int bracket_level() const {
    const std::size_t end = rest_.find_first_not_of('=', 1);
    return end != rest_.npos && rest_[end] == '[' ? static_cast<int>(end) - 1 : -1;
  }

  std::string_view read_bracketed() {
    const auto level = static_cast<std::size_t>(bracket_level());
    const std::string end = "]" + std::string(level, '=') + "]";
    start_ = line_;
    skip(level + 2);
    const std::string_view text = skip(rest_.find(end));
    skip(end.size());
    return text;
  }

  void skip_comment() {
    skip(2);
    if (rest_.starts_with('[') && bracket_level() >= 0)
      read_bracketed();
    else
      skip(rest_.find('\n'));
  }

  void read_quoted(char quote) {
    std::string text;
    bool plain = true;
    start_ = line_;
    skip(1);
    while (!rest_.empty() && rest_.front() != quote && rest_.front() != '\n') {
      const bool escape = rest_.front() == '\\';
      if (escape) skip(1);
      const std::string_view c = skip(1);
      if (escape && c != "\\" && c != "\"" && c != "'") plain = false;
      text += c;
    }
    if (rest_.starts_with(quote)) skip(1);
    add(text, plain);
  }

  void read_word() {
    const auto end = std::ranges::find_if_not(rest_, in_word);
    requires_ = skip(static_cast<std::size_t>(end - rest_.begin())) == "require";
    joined_ = false;
  }

  // Blanks and parentheses may stand between `require`, or the dots that join strings, and a
  // string.
  void read_mark(char c) {
    if (rest_.starts_with("..")) {
      joined_ = !rest_.starts_with("...");
      skip(joined_ ? 2 : 3);
      requires_ = false;
      return;
    }
    skip(1);
    if (std::isspace(static_cast<unsigned char>(c)) || c == '(') return;
    joined_ = requires_ = false;
  }

  void add(std::string_view text, bool plain) {
    const std::size_t next = rest_.find_first_not_of(" \t\r\n)");
    const bool joins = next != rest_.npos && rest_.substr(next).starts_with("..");
    const NamedFile::Kind kind = joins       ? NamedFile::beginning
                                 : requires_ ? NamedFile::module
                                             : NamedFile::whole;
    if (plain && !joined_) found_.push_back({start_, std::string(text), kind});
    joined_ = requires_ = false;
  }

  std::string_view rest_;
  int line_ = 1, start_ = 1; // start_: of the string that was read last
  bool requires_ = false, joined_ = false;
  std::vector<NamedFile> found_;
};

} // namespace

std::vector<NamedFile> strings_of(std::string_view lua) {
  return Scanner(lua).run();
}

bool is_game_file(std::string_view name) {
  static constexpr std::string_view endings[] = {
      ".lua", ".png", ".jpg", ".jpeg", ".bmp", ".pcx", ".tga", ".map", ".fpg", ".pal",
      ".wav", ".ogg", ".mp3", ".mod",  ".xm",  ".s3m", ".it",  ".mid", ".ttf", ".otf"};
  if (name.find_first_of("%*?\n") != name.npos) return false; // a pattern, or a text
  std::string ending = std::filesystem::path(name).extension().string();
  for (char &c : ending)
    c = static_cast<char>(std::tolower(static_cast<unsigned char>(c)));
  return std::ranges::find(endings, ending) != std::end(endings);
}

} // namespace orbplay

#include "host/reference.h"

#include "host/reference_texts.h"

#include <algorithm>
#include <cctype>
#include <charconv>
#include <numeric>
#include <sstream>

namespace orbhost {

namespace {

std::string_view trim(std::string_view text) {
  const auto is_blank = [](char c) { return std::isspace(static_cast<unsigned char>(c)) != 0; };
  while (!text.empty() && is_blank(text.front()))
    text.remove_prefix(1);
  while (!text.empty() && is_blank(text.back()))
    text.remove_suffix(1);
  return text;
}

std::vector<std::string> split_list(std::string_view text) {
  std::vector<std::string> parts;
  while (!trim(text).empty()) {
    const std::size_t comma = std::min(text.find(','), text.size());
    parts.emplace_back(trim(text.substr(0, comma)));
    text.remove_prefix(std::min(comma + 1, text.size()));
  }
  return parts;
}

// Takes `name` in backticks from the front of a text.
bool take_code(std::string_view &text, std::string &name) {
  if (!text.starts_with('`')) return false;
  const std::size_t end = text.find('`', 1);
  if (end == std::string_view::npos) return false;
  name = text.substr(1, end - 1);
  text.remove_prefix(end + 1);
  return true;
}

// All names in backticks.
std::vector<std::string> codes_in(std::string_view text) {
  std::vector<std::string> names;
  for (std::size_t at; (at = text.find('`')) != std::string_view::npos;) {
    text.remove_prefix(at);
    if (!take_code(text, names.emplace_back())) {
      names.pop_back();
      break;
    }
  }
  return names;
}

// A block of neighbouring lines: a paragraph, an indented block, a list item, a fenced block.
struct Block {
  enum class Kind { paragraph, indented, item, fence };
  Kind kind;
  std::size_t line;
  std::string text; // without indentation, bullet or fence; the lines of prose joined by blanks
  std::string language;
};

class Parser {
public:
  Parser(std::string_view file, std::string_view text)
      : family_{std::string(file), {}, {}, {}, {}} {
    while (!text.empty()) {
      const std::size_t end = std::min(text.find('\n'), text.size());
      lines_.push_back(text.substr(0, end));
      text.remove_prefix(std::min(end + 1, text.size()));
    }
    hidden_.resize(lines_.size());
  }

  ReferenceFamily parse() {
    if (lines_.empty() || !lines_[0].starts_with("# ")) fail(0, "a title is missing: # Family");
    family_.title = trim(lines_[0].substr(2));
    std::size_t at = 1, end = next_heading(at);
    family_.introduction = joined(at, end);
    for (const Block &block : blocks(at, end))
      if (block.kind == Block::Kind::fence && block.language == "lua")
        family_.examples.push_back(block.text);
    while (end < lines_.size()) {
      at = end;
      end = next_heading(at + 1);
      parse_entry(at, end);
    }
    return std::move(family_);
  }

private:
  [[noreturn]] void fail(std::size_t line, const std::string &what) const {
    throw ReferenceError(family_.file + ":" + std::to_string(line + 1) + ": " + what);
  }

  std::string joined(std::size_t from, std::size_t to) const {
    std::string text;
    for (std::size_t i = from; i < to; ++i) {
      if (hidden_[i]) continue;
      text += lines_[i];
      text += '\n';
    }
    // The indentation of the first line matters.
    const std::size_t first = std::min(text.find_first_not_of('\n'), text.size());
    while (text.size() > first && text.back() == '\n')
      text.pop_back();
    return text.substr(first);
  }

  // The next second-level heading outside of fences, or the end.
  std::size_t next_heading(std::size_t from) const {
    bool fenced = false;
    for (std::size_t i = from; i < lines_.size(); ++i) {
      if (lines_[i].starts_with("```")) fenced = !fenced;
      if (!fenced && lines_[i].starts_with("## ")) return i;
    }
    return lines_.size();
  }

  std::vector<Block> blocks(std::size_t from, std::size_t to) const {
    std::vector<Block> found;
    bool open = false; // whether the next line may go on with the last block
    for (std::size_t i = from; i < to; ++i) {
      const std::string_view line = lines_[i], words = trim(line);
      if (words.empty()) {
        open = false;
      } else if (line.starts_with("```")) {
        Block block{Block::Kind::fence, i, {}, std::string(trim(line.substr(3)))};
        for (++i; i < to && !lines_[i].starts_with("```"); ++i)
          block.text += std::string(lines_[i]) + "\n";
        if (i == to) fail(block.line, "this block doesn't end");
        found.push_back(block);
        open = false;
      } else if (line.starts_with("- ")) {
        found.push_back({Block::Kind::item, i, std::string(trim(line.substr(2))), {}});
        open = true;
      } else if (line.starts_with("    ") &&
                 (!open || found.back().kind == Block::Kind::indented)) {
        if (!open) found.push_back({Block::Kind::indented, i, {}, {}});
        found.back().text += std::string(line.substr(4)) + "\n";
        open = true;
      } else if (open) {
        found.back().text += " " + std::string(words);
      } else {
        found.push_back({Block::Kind::paragraph, i, std::string(words), {}});
        open = true;
      }
    }
    return found;
  }

  // name(a, b) -> c, d
  ReferenceForm parse_form(const ReferenceEntry &entry, std::string_view text,
                           std::size_t line) const {
    ReferenceForm form;
    std::string_view results;
    if (const std::size_t arrow = text.find(" -> "); arrow != std::string_view::npos) {
      results = text.substr(arrow + 4);
      text = text.substr(0, arrow);
    }
    text = trim(text);
    const std::size_t open = std::min(text.find('('), text.size());
    form.name = text.substr(0, open);
    if (std::find(entry.names.begin(), entry.names.end(), form.name) == entry.names.end() ||
        !text.ends_with(')'))
      fail(line, "a form looks like " + entry.names[0] + "(x, y) -> ok");
    text.remove_prefix(open + 1);
    text.remove_suffix(1);
    form.parameters = split_list(text);
    form.results = split_list(results);
    return form;
  }

  // `a` = 1, `b` = 2 (kind): text. False for an item of prose.
  static bool parse_item(std::string_view text, ReferenceItem &item) {
    for (std::string name; take_code(text, name);) {
      item.names.push_back(name);
      std::string &value = item.values.emplace_back();
      if (text.starts_with(" = ")) {
        text.remove_prefix(3);
        const std::size_t end = std::min(text.find_first_of(",:( "), text.size());
        value = text.substr(0, end);
        text.remove_prefix(end);
      }
      if (!text.starts_with(", ")) break;
      text.remove_prefix(2);
    }
    if (text.starts_with(" (")) {
      const std::size_t end = text.find(')');
      if (end == std::string_view::npos) return false;
      item.kind = text.substr(2, end - 2);
      text.remove_prefix(end + 1);
    }
    if (item.names.empty() || !text.starts_with(":")) return false;
    item.text = trim(text.substr(1));
    return true;
  }

  // 121 `graph`: no such graph
  ReferenceReport parse_report(std::string_view text, std::size_t line) const {
    ReferenceReport report{};
    const auto [end, error] =
        std::from_chars(text.data(), text.data() + text.size(), report.number);
    text.remove_prefix(static_cast<std::size_t>(end - text.data()));
    text = trim(text);
    take_code(text, report.parameter);
    if (error != std::errc{} || !text.starts_with(":"))
      fail(line, "a report looks like - 121 `graph`: no such graph");
    report.text = trim(text.substr(1));
    return report;
  }

  // Keywords of `angle`: rotate, turn.
  void parse_keywords(ReferenceEntry &entry, const Block &block, std::size_t to) {
    const std::size_t colon = std::min(block.text.find(": "), block.text.size());
    const std::string_view head = std::string_view(block.text).substr(0, colon);
    std::string words = block.text.substr(std::min(colon + 2, block.text.size()));
    if (words.ends_with('.')) words.pop_back();
    ReferenceKeywords keywords{codes_in(head), split_list(words)};
    if (keywords.names.empty()) keywords.names = entry.names;
    for (const std::string &name : keywords.names)
      if (!describes(entry, name))
        fail(block.line, name + " has keywords, but isn't described here");
    if (keywords.words.empty()) fail(block.line, "keywords look like Keywords: rotate, turn.");
    entry.keywords.push_back(std::move(keywords));
    for (std::size_t i = block.line; i < to; ++i) {
      hidden_[i] = true;
      if (lines_[i].empty()) break;
    }
  }

  static bool describes(const ReferenceEntry &entry, const std::string &name) {
    const auto has = [&](const std::vector<std::string> &names) {
      return std::ranges::find(names, name) != names.end();
    };
    return has(entry.names) || std::ranges::any_of(entry.definitions, has, &ReferenceItem::names);
  }

  void parse_entry(std::size_t from, std::size_t to) {
    ReferenceEntry &entry = family_.entries.emplace_back();
    entry.names = split_list(lines_[from].substr(3));
    if (entry.names.empty()) fail(from, "a name is missing");
    entry.line = from + 1;
    bool reports = false; // whether items are reports
    for (const Block &block : blocks(from + 1, to)) {
      const std::string_view text = block.text;
      switch (block.kind) {
      case Block::Kind::indented:
        if (!entry.purpose.empty()) break;
        for (std::size_t line = block.line; line < to && lines_[line].starts_with("    "); ++line)
          entry.forms.push_back(parse_form(entry, trim(lines_[line]), line));
        break;
      case Block::Kind::fence:
        if (block.language == "lua") entry.examples.push_back(block.text);
        break;
      case Block::Kind::paragraph:
        reports = text == "Reports:";
        if (text.starts_with("Aliases: "))
          entry.aliases = codes_in(text);
        else if (text.starts_with("See also: "))
          entry.see_also = codes_in(text);
        else if (text.starts_with("Keywords"))
          parse_keywords(entry, block, to);
        else if (entry.purpose.empty())
          entry.purpose = text;
        break;
      case Block::Kind::item: {
        if (reports) {
          entry.reports.push_back(parse_report(text, block.line));
          break;
        }
        ReferenceItem item;
        if (parse_item(text, item))
          (entry.forms.empty() ? entry.definitions : entry.parameters).push_back(std::move(item));
        break;
      }
      }
    }
    entry.text = joined(from + 1, to);
    if (entry.purpose.empty()) fail(from, entry.names[0] + " doesn't say what it is for");
  }

  ReferenceFamily family_;
  std::vector<std::string_view> lines_;
  std::vector<bool> hidden_; // of each line, whether texts leave it out
};

// In lower case, without the blanks between them.
std::vector<std::string> words_in(std::string_view text) {
  std::istringstream stream{std::string(text)};
  std::vector<std::string> words;
  for (std::string word; stream >> word; words.push_back(word))
    std::ranges::transform(word, word.begin(), [](unsigned char c) { return std::tolower(c); });
  return words;
}

// How many letters must be changed, added or left out to make one of the other.
std::size_t edit_distance(std::string_view a, std::string_view b) {
  std::vector<std::size_t> row(b.size() + 1);
  std::iota(row.begin(), row.end(), std::size_t{0});
  for (std::size_t i = 0; i < a.size(); ++i) {
    std::size_t corner = row[0]++;
    for (std::size_t j = 0; j < b.size(); ++j) {
      const std::size_t above = row[j + 1];
      row[j + 1] = std::min({above + 1, row[j] + 1, corner + (a[i] != b[j])});
      corner = above;
    }
  }
  return row.back();
}

} // namespace

std::string keywords_of(const ReferenceEntry &entry, std::string_view name) {
  std::string text;
  for (const ReferenceKeywords &keywords : entry.keywords) {
    if (std::ranges::find(keywords.names, name) == keywords.names.end()) continue;
    for (const std::string &word : keywords.words)
      text += (text.empty() ? "" : ", ") + word;
  }
  return text;
}

ReferenceFamily parse_reference(std::string_view file, std::string_view text) {
  return Parser(file, text).parse();
}

Reference::Reference(std::vector<ReferenceFamily> families) : families_(std::move(families)) {
  for (const ReferenceFamily &family : families_) {
    for (const ReferenceEntry &entry : family.entries) {
      const auto add = [&](const std::string &name, bool alias) {
        if (!places_.try_emplace(name, ReferencePlace{&family, &entry, alias}).second)
          throw ReferenceError(family.file + ":" + std::to_string(entry.line) + ": " + name +
                               " is described twice");
      };
      for (const std::string &name : entry.names)
        add(name, false);
      for (const std::string &alias : entry.aliases)
        add(alias, true);
      for (const ReferenceItem &item : entry.definitions)
        for (const std::string &name : item.names)
          add(name, false);
    }
  }
}

const Reference &Reference::built_in() {
  static const Reference reference = [] {
    std::vector<ReferenceFamily> families;
    for (std::size_t i = 0; i < reference_text_count; ++i)
      families.push_back(parse_reference(reference_texts[i].file, reference_texts[i].text));
    return Reference(std::move(families));
  }();
  return reference;
}

const ReferencePlace *Reference::find(std::string_view name) const {
  const auto found = places_.find(name);
  return found == places_.end() ? nullptr : &found->second;
}

std::vector<std::string> Reference::related(std::string_view text) const {
  std::vector<std::string> names;
  for (const auto &[name, place] : places_)
    if (!place.alias && (name.starts_with(text) || place.family->file == std::string(text) + ".md"))
      names.push_back(name);
  return names;
}

std::vector<std::string> Reference::with_keywords(std::string_view words) const {
  const std::vector<std::string> wanted = words_in(words);
  std::vector<std::string> names;
  for (const ReferenceFamily &family : families_)
    for (const ReferenceEntry &entry : family.entries)
      for (const ReferenceKeywords &keywords : entry.keywords) {
        std::string all;
        for (const std::string &word : keywords.words)
          all += word + " ";
        const std::vector<std::string> known = words_in(all);
        const bool has_all = std::ranges::all_of(wanted, [&](const std::string &word) {
          return std::ranges::find(known, word) != known.end();
        });
        if (!wanted.empty() && has_all)
          names.insert(names.end(), keywords.names.begin(), keywords.names.end());
      }
  return names;
}

std::vector<std::string> nearest_names(const std::vector<std::string> &names, std::string_view name,
                                       std::size_t most) {
  std::vector<std::pair<std::size_t, std::string>> near;
  for (const std::string &other : names) {
    const std::size_t distance = edit_distance(name, other);
    if (distance <= 1 + name.size() / 4) near.emplace_back(distance, other);
  }
  std::sort(near.begin(), near.end());
  near.resize(std::min(most, near.size()));
  std::vector<std::string> found;
  for (const auto &[distance, other] : near)
    found.push_back(other);
  return found;
}

std::vector<std::string> Reference::nearest(std::string_view name, std::size_t most) const {
  std::vector<std::string> names;
  for (const auto &[other, place] : places_)
    names.push_back(other);
  return nearest_names(names, name, most);
}

} // namespace orbhost

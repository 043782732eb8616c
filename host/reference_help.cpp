#include "host/reference_help.h"

#include "host/registration.h"

#include <algorithm>
#include <set>

namespace orbhost {
namespace {

constexpr std::size_t columns = 80;

// Prose without the marks of Markdown.
std::string plain(std::string_view text) {
  std::string result;
  for (std::size_t i = 0; i < text.size(); ++i) {
    // [words](where) is words.
    if (text[i] == ']' && i + 1 < text.size() && text[i + 1] == '(') {
      i = std::min(text.find(')', i), text.size());
    } else if (text[i] != '`' && text[i] != '[') {
      result += text[i];
    }
  }
  return result;
}

// The words of a text in lines; those after the first begin with `indent` blanks.
void wrap(std::string &to, std::string_view text, std::size_t indent) {
  std::size_t column = 0;
  while (!text.empty()) {
    const std::size_t end = std::min(text.find(' '), text.size());
    const std::string_view word = text.substr(0, end);
    text.remove_prefix(std::min(end + 1, text.size()));
    if (word.empty()) continue;
    if (column > 0 && column + 1 + word.size() > columns) {
      to += '\n' + std::string(indent, ' ');
      column = indent;
    } else if (column > 0) {
      to += ' ';
      ++column;
    }
    to += word;
    column += word.size();
  }
  to += '\n';
}

// Paragraphs and items are wrapped; blocks stay as they are, indented.
std::string rendered(std::string_view text) {
  std::string result, words;
  bool item = false, fenced = false;
  const auto finish = [&] {
    if (!words.empty()) wrap(result, plain(words), item ? 2 : 0);
    words.clear();
  };
  while (!text.empty()) {
    const std::size_t end = std::min(text.find('\n'), text.size());
    const std::string_view line = text.substr(0, end);
    text.remove_prefix(std::min(end + 1, text.size()));
    const bool fence = line.starts_with("```");
    if (fence || fenced || line.empty() || (words.empty() && line.starts_with("    "))) {
      finish();
      if (!fence) result += (fenced && !line.empty() ? "    " : "") + std::string(line) + "\n";
      if (fence) fenced = !fenced;
      continue;
    }
    const bool begins_item = line.starts_with("- ");
    if (begins_item) finish();
    if (words.empty()) item = begins_item;
    words += std::string(words.empty() ? "" : " ") +
             std::string(line.substr(std::min(line.find_first_not_of(' '), line.size())));
  }
  finish();
  return result;
}

std::string joined(const std::vector<std::string> &words) {
  std::string text;
  for (const std::string &word : words)
    text += (text.empty() ? "" : ", ") + word;
  return text;
}

} // namespace

std::string form_text(const ReferenceForm &form) {
  std::string text = form.name + "(" + joined(form.parameters) + ")";
  if (!form.results.empty()) text += " -> " + joined(form.results);
  return text;
}

std::string help_text(const Reference &reference, std::string_view name) {
  const ReferencePlace *place = reference.find(name);
  if (!place) return {};
  return plain(place->family->title) + ": " + joined(place->entry->names) + "\n\n" +
         rendered(place->entry->text);
}

std::string keyword_text(const Reference &reference, std::string_view words) {
  std::string text;
  for (const std::string &name : reference.with_keywords(words)) {
    const ReferenceEntry &entry = *reference.find(name)->entry;
    std::string purpose = entry.purpose;
    for (const ReferenceItem &item : entry.definitions)
      if (std::ranges::find(item.names, name) != item.names.end()) purpose = item.text;
    wrap(text, name + ": " + plain(purpose), 2);
  }
  return text;
}

std::string list_text(const Reference &reference, const Registration &registration) {
  std::string text, older, others;
  for (const ReferenceFamily &family : reference.families()) {
    std::string forms;
    for (const ReferenceEntry &entry : family.entries) {
      for (const ReferenceForm &form : entry.forms)
        forms += "  " + form_text(form) + "\n";
      for (const std::string &alias : entry.aliases)
        older += "  " + alias + ": " + entry.names[0] + "\n";
    }
    if (!forms.empty()) text += family.title + "\n" + forms + "\n";
  }
  for (const Function &function : registration.functions) {
    if (!reference.find(function.name))
      others += "  " + function.signature + " -> " + function.result_text + "\n";
  }
  if (!older.empty()) text += "Other names\n" + older;
  if (!others.empty()) text += "\nNot in the reference\n" + others;
  return text;
}

} // namespace orbhost

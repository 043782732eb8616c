// Plausible and extreme values for the arguments of script functions.
#include "fuzz/values.h"

#include <algorithm>
#include <cstring>
#include <fstream>
#include <iterator>
#include <map>
#include <sstream>

#include "support/world.h"

namespace fuzz {
namespace {

/// The rows of values.txt by their first word.
std::span<const std::string> pool(const std::string &name) {
  static const auto pools = [] {
    std::map<std::string, std::vector<std::string>> read;
    for (const auto &row : read_lines("values.txt"))
      read[row[0]].insert(read[row[0]].end(), row.begin() + 1, row.end());
    return read;
  }();
  const auto found = pools.find(name);
  return found == pools.end() ? pools.at("x") : found->second;
}

/// The kinds of a function's arguments; fewer than its arguments if nothing is known about the
/// last ones.
std::string kinds_of(const std::string &signature) {
  static const auto rows = read_lines("arguments.txt");
  for (const auto &row : rows)
    if (signature.starts_with(row[0])) return row[1];
  return "";
}

} // namespace

std::vector<std::vector<std::string>> read_lines(const char *name) {
  std::ifstream in(tests_folder("../fuzz") / name);
  std::vector<std::vector<std::string>> lines;
  for (std::string text; std::getline(in, text);) {
    std::istringstream words(text);
    std::vector<std::string> line{std::istream_iterator<std::string>(words), {}};
    if (!line.empty() && line[0] != "#") lines.push_back(line);
  }
  if (lines.empty()) throw std::runtime_error(std::string("nothing in fuzz/") + name);
  return lines;
}

script_values::script_values(std::span<const uint8_t> bytes) : memory(1024), rest_(bytes) {
  for (size_t i = 0; i < memory.size(); i++)
    memory[i] = int32_t(i * 37 % 256);
}

template <typename T> T script_values::take() {
  T value = 0;
  const size_t size = std::min(rest_.size(), sizeof value);
  std::copy_n(rest_.begin(), size, reinterpret_cast<uint8_t *>(&value));
  rest_ = rest_.subspan(size);
  return value;
}

uint8_t script_values::byte() {
  return take<uint8_t>();
}
size_t script_values::below(size_t count) {
  return take<uint16_t>() % count;
}

/// No process ids: addresses would make a script's pictures differ from run to run.
int32_t script_values::arbitrary() {
  switch (const uint8_t choice = byte(); choice % 8) {
  case 0: return take<int32_t>();
  case 1: return results_[choice / 8 % results_.size()];
  case 2: return take<int8_t>();
  case 3: return take<int16_t>();
  default: return std::stoi(one_of<std::string>(pool("x")));
  }
}

int32_t script_values::value(char kind, int32_t before) {
  const uint8_t choice = byte();
  const size_t index = choice / 4;
  const std::span<const std::string> suiting = pool({kind});
  int32_t value = 0;
  if (kind == 'A') // no program maps anything where the others lead
    return choice < 240 ? int32_t(reinterpret_cast<uintptr_t>(memory.data() + choice % 64))
                        : (choice - 247) * 1003;
  if (choice % 4 == 3)
    value = arbitrary();
  else if (kind == 'p' || (kind == 't' && index % 4 == 0))
    return processes[index / 4 % processes.size()];
  else if (strchr("fgd", kind) && index >= 48)
    return results_[(next_result_ - 1 - index % 4) % results_.size()];
  else if (kind == 'x')
    value = choice % 2 == 0 ? int32_t(index) - 8 : arbitrary(); // on the screen, or just beside it
  else
    value = std::stoi(suiting[index % suiting.size()]);

  const int64_t unit = value > 1280960 ? 10000 : 1000; // of the width in a packed mode
  if (kind == 'm' && value > 0 && value / unit * (value % unit) > most_pixels) return 320200;
  const bool is_height = kind == 'S' || kind == 'H';
  if (is_height && before > 0 && before < 65536 && value > 0 && value < 65536)
    return int32_t(std::min<int64_t>(value, std::max<int64_t>(most_pixels / before, 1)));
  return value;
}

orbhost::Argument script_values::text(const std::string &function) {
  const uint8_t choice = byte();
  if (choice >= 252) return std::string(size_t(choice) * 2, 'x');
  const char *suits = "text";
  for (const char *part : {"load", "pal", "map", "fpg"})
    if (choice % 2 && function.find(part) != std::string::npos) suits = part;
  const std::string &word = pool(suits)[choice / 2 % pool(suits).size()];
  return word == "null"   ? orbhost::Argument(static_cast<const char *>(nullptr))
         : word == "\"\"" ? ""
                          : word;
}

std::vector<orbhost::Argument> script_values::arguments(const orbhost::Function &function) {
  using orbhost::ArgumentType;
  const std::string kinds = kinds_of(function.signature);
  std::vector<orbhost::Argument> arguments;
  int32_t last = 0;
  for (size_t i = 0; i < function.arguments.size(); i++) {
    const ArgumentType type = function.arguments[i];
    if (type == ArgumentType::string || orbhost::takes_text_for_int(function.name))
      arguments.push_back(text(function.name));
    else if (type == ArgumentType::pointer)
      arguments.emplace_back(byte() < 16 ? nullptr : memory.data() + byte() % 64);
    else
      arguments.emplace_back(last = value(i < kinds.size() ? kinds[i] : 'x', last));
  }
  return arguments;
}

} // namespace fuzz

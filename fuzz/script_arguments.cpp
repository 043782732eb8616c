#include "fuzz/script_arguments.h"

#include <algorithm>
#include <iterator>
#include <string_view>

#include "fuzz/world.h"

namespace fuzz {
namespace {

/// The last word of memory that a pointer may point to.
constexpr size_t most_offset = 64;

/// File names that suit a function, by a part of its name; the first matching row counts. Scripts
/// write foreign files to "f".
constexpr struct {
  const char *part;
  const char *names[8];
} suiting[] = {
    {"load_fpg", {"8.fpg", "16.fpg", "32.fpg", "c.fpg", "k.fpg", "out.fpg", "f", "16.fpg"}},
    {"fpg_load", {"8.fpg", "16.fpg", "32.fpg", "c.fpg", "k.fpg", "out.fpg", "f", "32.fpg"}},
    {"load_map", {"8.map", "16.map", "32.map", "c.map", "k.map", "out.map", "f", "16.map"}},
    {"map_load", {"8.map", "16.map", "32.map", "c.map", "k.map", "out.map", "f", "32.map"}},
    {"pal", {"8.pal", "8.map", "8.fpg", "8.png", "8.bmp", "8.pcx", "f", "8.tga"}},
    {"load", {"8.png", "32.png", "8.bmp", "16.bmp", "8.pcx", "32.tga", "f", "32.jpg"}},
};

orbhost::Argument read_text(script_reader &script, std::string_view function) {
  const uint8_t choice = script.byte();
  if (choice >= 252) return std::string(size_t(choice) * 2, 'x');
  if (choice % 2)
    for (const auto &row : suiting)
      if (function.find(row.part) != std::string_view::npos)
        return row.names[choice / 2 % std::size(row.names)];
  return texts[choice / 2 % std::size(texts)];
}

int32_t *read_pointer(script_reader &script, std::span<int32_t> memory) {
  const uint8_t choice = script.byte();
  return choice >= 240 ? nullptr : memory.data() + choice % most_offset;
}

/// Numbers that a script may pass as an address. No program maps anything there.
constexpr int32_t nowhere[] = {0,    1,    2,    3,     4,     7,  255, 256,
                               1000, 1003, 4095, 32767, 65535, -1, -4,  -1000};

int32_t read_address(script_reader &script, std::span<int32_t> memory) {
  const uint8_t choice = script.byte();
  return choice >= 240 ? nowhere[choice % std::size(nowhere)]
                       : int32_t(reinterpret_cast<uintptr_t>(memory.data() + choice % most_offset));
}

void limit_sizes(std::string_view name, std::vector<orbhost::Argument> &arguments) {
  const bool packed = arguments.size() == 1 && (name == "mode_set" || name == "set_mode");
  if (packed) {
    const int64_t code = arguments[0].word(), base = code > 1280960 ? 10000 : 1000;
    if (code > 0 && (code / base) * (code % base) > most_pixels) arguments[0] = 320200;
    return;
  }
  size_t first = 0;
  if (name == "fpg_new_map")
    first = 2;
  else if (name != "map_new" && name != "new_map" && name != "mode_set" &&
           name != "virtualresolution_set")
    return;
  const int64_t width = arguments[first].word(), height = arguments[first + 1].word();
  if (width < 1 || height < 1 || width > 65535 || height > 65535) return;
  if (width * height > most_pixels)
    arguments[first + 1] = int32_t(std::max<int64_t>(most_pixels / width, 1));
}

} // namespace

std::vector<orbhost::Argument> read_arguments(script_reader &script, const script_handles &handles,
                                              const orbhost::Function &function,
                                              std::span<int32_t> memory) {
  using orbhost::ArgumentType;
  const char *kinds = argument_kinds(function.signature.c_str());
  const bool text_for_int = orbhost::takes_text_for_int(function.name);
  std::vector<orbhost::Argument> arguments;
  for (const ArgumentType type : function.arguments) {
    const char kind = *kinds ? *kinds++ : 'x';
    if (type == ArgumentType::string || text_for_int)
      arguments.push_back(read_text(script, function.name));
    else if (type == ArgumentType::pointer)
      arguments.push_back(read_pointer(script, memory));
    else if (kind == 'A')
      arguments.push_back(read_address(script, memory));
    else
      arguments.push_back(read_value(script, handles, kind));
  }
  limit_sizes(function.name, arguments);
  return arguments;
}

} // namespace fuzz

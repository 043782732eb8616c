// File names of graphs: "012_ship.png" is graph 12.
#pragma once

#include <optional>
#include <string>
#include <string_view>

namespace orbgfx {

constexpr int first_code = 1, last_code = 999;

// The code in a file's name: one to three digits at its start, followed by "_", "-" or ".".
std::optional<int> code_in_name(std::string_view path);

// "012_ship.png" for graph 12 whose name is "ship", "SHIP.MAP" or "012_ship.png": `extension`
// replaces that of a picture format, and `code` a code at the start; characters that a file name
// can't or shouldn't contain become "_".
std::string file_name_of(int code, std::string_view name, std::string_view extension);

// The script constant of the picture format for a file's extension: "img_format_png" for .png and
// .PNG. Nothing for other extensions.
std::optional<std::string_view> format_of(std::string_view path);
// Whether a file's extension is that of an FPG file.
bool is_library_name(std::string_view path);

} // namespace orbgfx

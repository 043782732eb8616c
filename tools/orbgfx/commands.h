// The commands. Each returns an exit status or throws ToolError.
#pragma once

#include "tools/orbgfx/tool.h"

#include <optional>
#include <string>
#include <vector>

namespace orbgfx {

struct PackOptions {
  std::vector<std::string> inputs;
  std::string output;
  int depth = 0;       // 0: that of a side file, else 32
  std::string palette; // empty: that of the first picture that has one
  bool compress = false;
  std::string side_file; // empty: those beside the pictures
  bool no_side_file = false;
};
int pack(const PackOptions &options, const Common &common);

struct UnpackOptions {
  std::string input;
  std::string folder; // empty: the library's name without its extension
  std::string format = "png";
};
int unpack(const UnpackOptions &options, const Common &common);

struct ConvertOptions {
  std::string input, output;
  int depth = 0; // 0: that of the input
  std::string palette;
  bool compress = false;
  std::string output_key;
  std::string side_file;
};
int convert(const ConvertOptions &options, const Common &common);

int info(const std::vector<std::string> &files, const Common &common);
int list(const std::string &file, const Common &common);
int verify(const std::vector<std::string> &files, const Common &common);

struct PaletteOptions {
  std::string input, output; // an empty output: print it
};
int palette(const PaletteOptions &options, const Common &common);

struct DiffOptions {
  std::string first, second;
  int depth = 0; // 0: each file's own
};
int diff(const DiffOptions &options, const Common &common);

} // namespace orbgfx

// Moving pictures as GIF files, written as they are made.
#pragma once

#include "host/output_file.h"
#include "orb/graphics2d.h"

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

struct GifFileType;

namespace orbplay {

// What a frame changes: a box of the picture.
struct GifPatch {
  int x = 0, y = 0, width = 0, height = 0;
  std::vector<std::uint8_t> pixels; // indices of the palette, rows from the top
  std::vector<orb_rgb> palette;     // 1 to 256 colours
  int unchanged = -1;               // the index of pixels that stay as they are; -1: none do
};

class Gif {
public:
  // Throws HostError if the file can't be written.
  Gif(const std::string &path, int width, int height);
  ~Gif(); // the file is as it was, unless finish() was called
  Gif(const Gif &) = delete;
  Gif &operator=(const Gif &) = delete;

  // Adds a frame that is shown for so many hundredths of a second. The first one is a patch of the
  // whole picture. Throws HostError.
  void add(const GifPatch &patch, int hundredths);
  // Completes the file. Throws HostError.
  void finish();

private:
  void check(int result);
  void begin(const std::vector<orb_rgb> &palette);
  [[noreturn]] void fail(int error) const;

  std::string path_;
  int width_, height_;
  std::unique_ptr<orbhost::OutputFile> file_;
  GifFileType *gif_ = nullptr;
  std::vector<orb_rgb> palette_; // of all frames without one of their own
};

} // namespace orbplay

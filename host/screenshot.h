// Pictures of the module's screen.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

namespace orbhost {

class Host;

// The logical screen in 8-bit red, green, blue, rows from the top.
struct Picture {
  int width = 0, height = 0;
  std::vector<std::uint8_t> rgb;
};

// The screen surface at its own size, before any presentation filter or fade. 8-bit pixels go
// through the current palette, 16-bit ones are widened by repeating their high bits. Throws
// HostError when there is no screen.
Picture take_picture(const Host &host);

// The contents of the window or full screen: the screen after the presentation filter and the fade
// of an 8-bit palette, at the display's size, borders included. Throws HostError without a display.
Picture take_display_picture();

// FNV-1a (Fowler, Noll, Vo) over the picture and its size.
std::uint64_t picture_sum(const Picture &picture);

// Writes a PNG. Throws HostError with the reason.
void save_png(const Picture &picture, const std::string &path);

} // namespace orbhost

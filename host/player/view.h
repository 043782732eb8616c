// Where a display is shown, enlarged by a whole number.
#pragma once

namespace orbplay {

struct Point {
  int x = 0, y = 0;
};

struct View {
  int scale = 1;
  Point origin; // of the display in the picture that people see

  [[nodiscard]] Point from_display(Point at) const {
    return {at.x * scale + origin.x, at.y * scale + origin.y};
  }
};

} // namespace orbplay

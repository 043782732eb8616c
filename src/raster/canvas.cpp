// What the rasterisers draw on and with.
#include "raster/raster.h"

LineTarget line_target;
int32_t draw_clipx0 = 0, draw_clipy0 = 0, draw_clipx1 = 0, draw_clipy1 = 0;
uint32_t colorfx = 0;
int32_t alphafx = 255;
int32_t dR = 0, dG = 0, dB = 0;

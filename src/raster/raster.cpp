// The rasterisers' state, and the selection of the routines of the mode's depth.
#include "raster/raster.h"

LineTarget line_target;
int32_t draw_clipx0 = 0, draw_clipy0 = 0, draw_clipx1 = 0, draw_clipy1 = 0;
uint32_t colorfx = 0;
int32_t alphafx = 255;
int32_t dR = 0, dG = 0, dB = 0;

void set_raster_routines(int32_t depth) {
  const auto of_depth = [depth](auto *of8, auto *of16, auto *of32) {
    return depth == 16 ? of16 : depth == 32 ? of32 : of8;
  };
  draw_line = of_depth(draw_line8, draw_line16, draw_line32);
  draw_hline = of_depth(draw_hline8, draw_hline16, draw_hline32);
  draw_vline = of_depth(draw_vline8, draw_vline16, draw_vline32);
  draw_rect = of_depth(draw_rect8, draw_rect16, draw_rect32);
  draw_srect = of_depth(draw_srect8, draw_srect16, draw_srect32);
  draw_csrect = of_depth(draw_csrect8, draw_csrect16, draw_csrect32);
  draw_circle = of_depth(draw_circle8, draw_circle16, draw_circle32);
  draw_ellipse = of_depth(draw_ellipse8, draw_ellipse16, draw_ellipse32);
  draw_csellipse = of_depth(draw_csellipse8, draw_csellipse16, draw_csellipse32);
  drawing_line = of_depth(drawing_line8, drawing_line16, drawing_line32);
  drawing_line_alpha = of_depth(drawing_line8_alpha, drawing_line16_alpha, drawing_line32_alpha);
  drawing_rect = of_depth(drawing_rect8, drawing_rect16, drawing_rect32);
  drawing_rect_alpha = of_depth(drawing_rect8_alpha, drawing_rect16_alpha, drawing_rect32_alpha);
  drawing_ellipse = of_depth(drawing_ellipse8, drawing_ellipse16, drawing_ellipse32);
  drawing_ellipse_alpha =
      of_depth(drawing_ellipse8_alpha, drawing_ellipse16_alpha, drawing_ellipse32_alpha);
}

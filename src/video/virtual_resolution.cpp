// The virtual resolution: which screen pixel each pixel of an output of another size shows.
#include <cstdlib>

#include "module/runtime.h"
#include "video/video.h"

int32_t virtual_resolution_ratiow, virtual_resolution_ratioh;
int32_t virtual_resolution_xoffset, virtual_resolution_yoffset;
int32_t *virtual_buffer_w, *virtual_buffer_h;

namespace {

/// How one axis is walked: screen pixels per output pixel, and the first output pixel used.
struct axis {
  double step;
  int32_t first;
};

/// `multiplier` 1 for columns; the screen's width for rows, whose entries are pixel offsets.
void fill_axis(int32_t *table, int32_t count, const axis &walk, int32_t source_size,
               int32_t multiplier) {
  double position = 0;
  for (int32_t i = 0; i < count; ++i) {
    if (i < walk.first) {
      table[i] = -1;
      continue;
    }
    table[i] = position < source_size ? int32_t(position) * multiplier : -1;
    position += walk.step;
  }
}

int32_t first_used(int32_t output_size, int32_t screen_size, double step) {
  return int32_t((output_size - screen_size / step) * 0.5);
}

} // namespace

int32_t make_virtual_resolution(int32_t screen_width, int32_t screen_height) {
  const int32_t vw = virtual_resolution_w, vh = virtual_resolution_h;
  const int32_t sw = screen_width, sh = screen_height;
  int32_t *const columns = static_cast<int32_t *>(calloc(size_t(vw), sizeof(int32_t)));
  int32_t *const rows = static_cast<int32_t *>(calloc(size_t(vh), sizeof(int32_t)));
  if (!columns || !rows) {
    free(columns);
    free(rows);
    rt_fatal("Error to Create Virtual Resolution Mode");
    return 0;
  }
  delete_virtual_resolution();
  virtual_buffer_w = columns;
  virtual_buffer_h = rows;

  axis across{double(sw) / vw, 0}, down{double(sh) / vh, 0};
  virtual_resolution_ratiow = vw;
  virtual_resolution_ratioh = vh;
  virtual_resolution_xoffset = virtual_resolution_yoffset = 0;
  if (virtual_resolution_aspectratio) {
    const int32_t fitting_width = int32_t(int64_t(vh) * sw / sh);
    const int32_t fitting_height = int32_t(int64_t(sh) * vw / sw);
    const bool pillars = vw <= vh ? vw >= fitting_width : vh < fitting_height;
    if (pillars) {
      virtual_resolution_ratiow = fitting_width;
      virtual_resolution_xoffset = (vw - fitting_width) / 2;
      across.step = down.step;
      across.first = first_used(vw, sw, down.step);
    } else {
      virtual_resolution_ratioh = fitting_height;
      virtual_resolution_yoffset = (vh - fitting_height) / 2;
      down.step = across.step;
      down.first = first_used(vh, sh, across.step);
    }
  }
  fill_axis(columns, vw, across, sw, 1);
  fill_axis(rows, vh, down, sh, sw);
  return 1;
}

void delete_virtual_resolution() {
  free(virtual_buffer_w);
  free(virtual_buffer_h);
  virtual_buffer_w = virtual_buffer_h = nullptr;
}

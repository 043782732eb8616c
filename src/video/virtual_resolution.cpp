#include "video/virtual_resolution.h"

#include <cstdlib>

#include "boundary/runtime.h"
#include "video/mode_state.h"

int32_t virtual_resolution_ratiow, virtual_resolution_ratioh;
int32_t virtual_resolution_xoffset, virtual_resolution_yoffset;
int32_t *virtual_buffer_w, *virtual_buffer_h;
virtual_table_extent virtual_extent;

namespace {

/// The mapping of one axis: `output` pixels of the output show `screen` pixels of the screen, from
/// output pixel `first` on. An exact fraction: an accumulated floating-point step drifts, and would
/// repeat the last pixel in the border.
struct axis {
  int32_t screen, output;
  int32_t first;
};

/// `multiplier` 1 for columns; the screen's width for rows, whose entries are pixel offsets.
void fill_axis(int32_t *table, int32_t count, const axis &walk, int32_t source_size,
               int32_t multiplier) {
  for (int32_t i = 0; i < count; ++i) {
    const int64_t position = int64_t(i - walk.first) * walk.screen / walk.output;
    const bool used = i >= walk.first && position < source_size;
    table[i] = used ? int32_t(position) * multiplier : -1;
  }
}

/// The first output pixel used when the screen is centred: half of the free space, truncated.
int32_t first_used(int32_t output_size, int32_t screen_size, const axis &walk) {
  const int64_t free_space =
      int64_t(output_size) * walk.screen - int64_t(screen_size) * walk.output;
  return int32_t(free_space / (2 * int64_t(walk.screen)));
}

} // namespace

int32_t make_virtual_resolution(int32_t screen_width, int32_t screen_height) {
  const int32_t vw = virtual_resolution_w, vh = virtual_resolution_h;
  const int32_t sw = screen_width, sh = screen_height;
  // Returning to a mode reuses its tables, so that it can't fail for lack of memory.
  const virtual_table_extent wanted{vw, vh, sw, sh, virtual_resolution_aspectratio};
  if (virtual_buffer_w && virtual_extent == wanted) return 1;
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
  virtual_extent = wanted;

  axis across{sw, vw, 0}, down{sh, vh, 0};
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
      across = {down.screen, down.output, first_used(vw, sw, down)};
    } else {
      virtual_resolution_ratioh = fitting_height;
      virtual_resolution_yoffset = (vh - fitting_height) / 2;
      down = {across.screen, across.output, first_used(vh, sh, across)};
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
  virtual_extent = {};
}

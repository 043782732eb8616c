#include "video/mode_state.h"

#include "surface/screen.h"

uint8_t full_screen;
uint8_t change_mode, filtering_mode;
int32_t filter_w, filter_h;
uint8_t filterNx_mode;
int32_t filter_scale, filter_scanline, filter_scanlinepercent, filter_fx;
int32_t filter_scanline_percent;
uint8_t mode_centerwindow, mode_centermouse, mode_fade;
int32_t vsync;
int32_t rendering2D_type;
int32_t virtual_resolution, virtual_resolution_w, virtual_resolution_h;
int32_t virtual_resolution_aspectratio;

uint8_t sdl_fullscreen;
int32_t sdl_w, sdl_h;
int32_t mode_x, mode_y;
uint8_t mode_bufferflipping;
int32_t emulated_mode, emulated_w, emulated_h, emulated_x, emulated_y;

void update_filter_size() {
  if (virtual_resolution) {
    filterNx_mode = 0;
    filter_w = virtual_resolution_w;
    filter_h = virtual_resolution_h;
    return;
  }
  filterNx_mode = filter_scale != 0;
  filter_w = mode.width * (filterNx_mode ? 2 : 1);
  filter_h = mode.height * (filterNx_mode ? 2 : 1);
}

int32_t scanline_index(int32_t scanline) {
  if (scanline == 0) return 0;
  return scanline & 16 ? 1 : scanline & 32 ? 2 : scanline & 64 ? 3 : 4;
}

void set_scanline_filter(int32_t scanline) {
  static constexpr int32_t percent_flags[5] = {0, 16, 32, 64, 128};
  filter_scanline_percent = scanline_index(scanline);
  filter_scanlinepercent = percent_flags[filter_scanline_percent];
  if (scanline == 0) filter_scanline = 0;
  if (scanline & 1) filter_scanline = 1;
}

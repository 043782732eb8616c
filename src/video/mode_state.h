// The state of the video mode: what scripts have asked for, and what was opened for it.
//
// What is asked for is written by video/mode.cpp and the script functions on modes, what was opened
// by video/sdl_backend.cpp. Everyone may read it.
#pragma once

#include <cstdint>

// ---- Asked for ---------------------------------------------------------------------------------

extern uint8_t full_screen;
extern uint8_t change_mode, filtering_mode; // the next set-mode keeps the surfaces' size
extern int32_t filter_w, filter_h;          // size of the output surface
extern uint8_t filterNx_mode;               // a 2x filter is on
extern int32_t filter_scale, filter_scanline, filter_scanlinepercent, filter_fx;
extern int32_t filter_scanline_percent; // index 0..4
extern uint8_t mode_centerwindow, mode_centermouse, mode_fade;
extern int32_t vsync;
extern int32_t rendering2D_type;
extern int32_t virtual_resolution, virtual_resolution_w, virtual_resolution_h;
extern int32_t virtual_resolution_aspectratio;

/// filter_w, filter_h and filterNx_mode as the mode, the 2x filter and the virtual resolution ask.
void update_filter_size();
/// The index 0..4 of a script's scan-line argument: none, 25 %, 50 %, 75 %, black.
int32_t scanline_index(int32_t scanline);
/// Stores a script's scan-line argument: filter_scanline, filter_scanlinepercent and its index.
void set_scanline_filter(int32_t scanline);

// ---- Opened ------------------------------------------------------------------------------------

extern uint8_t sdl_fullscreen;
extern int32_t sdl_w, sdl_h;   // size of the display
extern int32_t mode_x, mode_y; // position of the picture on the display
extern uint8_t mode_bufferflipping;
/// 1 when a listed mode with borders stands in for the one asked for; its size and the borders.
extern int32_t emulated_mode, emulated_w, emulated_h, emulated_x, emulated_y;

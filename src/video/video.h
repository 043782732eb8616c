// The video device: the current mode, the mode lists, the window, and the way a finished screen
// takes to it. Backend: SDL 1.2.
//
// Owner of the state below: video/mode.cpp (what scripts ask for) and video/sdl_backend.cpp (what
// was opened). Everyone may read it.
#pragma once

#include "orb/graphics2d.h"

extern orb_mode mode;
/// The depth for which tables and routines were last built.
extern int32_t cur_mode;

extern uint8_t full_screen;              // wanted
extern uint8_t sdl_fullscreen;           // opened
extern int32_t sdl_w, sdl_h;             // size opened
extern uint8_t change_mode, filtering_mode; // the next set-mode keeps the surfaces' size
extern int32_t filter_w, filter_h;       // size of the output surface
extern uint8_t filterNx_mode;            // a 2x filter is on
extern int32_t filter_scale, filter_scanline, filter_scanlinepercent, filter_fx;
extern int32_t filter_scanline_percent;  // index 0..4
extern int32_t orientation_mode;
extern int32_t emulated_mode, emulated_w, emulated_h, emulated_x, emulated_y;
extern int32_t mode_x, mode_y;
extern uint8_t mode_bufferflipping;
extern uint8_t mode_centerwindow, mode_centermouse, mode_fade;
extern int32_t vsync;
extern int32_t rendering2D_type;
extern int32_t virtual_resolution, virtual_resolution_w, virtual_resolution_h;
extern int32_t virtual_resolution_aspectratio;
extern int32_t virtual_resolution_ratiow, virtual_resolution_ratioh;
extern int32_t virtual_resolution_xoffset, virtual_resolution_yoffset;
extern int32_t *virtual_buffer_w, *virtual_buffer_h;

/// A mode that the display offers.
struct orb_video_mode {
  int32_t width, height, bpp, rate;
  int32_t code;                          // the size packed as scripts write it
};
extern orb_video_mode *video_modes, *video_modes8, *video_modes16, *video_modes32;
extern int32_t max_video_modes, num_video_modes;
extern int32_t num_video_modes8, num_video_modes16, num_video_modes32;

/// The size packed: width * 1000 + height, or width * 10000 + height when height exceeds 999.
constexpr int32_t mode_code(int32_t width, int32_t height) {
  return width * (height > 999 ? 10000 : 1000) + height;
}

/// The output surface: wraps the pixels of the display surface.
extern __ORBSurface2D__ *buffer;
/// Presents the screen on the display; never null once init has run, and does nothing while no
/// display is open.
extern void (*VID_DrawFrame)();

/// Defaults, lists, tables and SDL. 1, or 0 when SDL can't be had.
int32_t VID_Init_Graphics2D();
void VID_Quit_Graphics2D();
/// Opens what `mode` asks for; 1, or 0 when it can't be had.
int32_t VID_SetGFXMode();
int32_t VID_RestoreGFXMode();
void VID_GFXPaint();
int32_t VID_GetGFXDC();
int32_t VID_ReleaseGFXDC();
/// Hands 256 colours to the display and to the depth tables. 1 when the display took them.
int32_t VID_UpdatePalette(const __ORBPalette2D__ *colours);

/// Re-sets the mode after `mode` was changed: fades when asked, rebuilds what follows the depth,
/// opens. The result of set-mode.
int32_t apply_mode();

int32_t SDLX11_Init();
int32_t SDLX11_GetModes();
int32_t SDLX11_SetMode();
int32_t SDLX11_SetWindowedMode();
int32_t SDLX11_SetFullScreenMode();
void SDLX11_DrawFrame_Windowed();
void SDLX11_DrawFrame_FullScreen();
int32_t SDLX11_RestoreMode();
void SDLX11_Quit();
/// Shows a critical error in the host's message box and ends the program through the host.
void SDLX11_Error(const char *text);

/// Fills the script arrays video_modes, video_bits, video_rates and their counts.
void update_video_structs();

int32_t GetFilterNxMode();
int32_t GetEmulatedMode();
int32_t GetEmulatedWidth();
int32_t GetEmulatedHeight();
int32_t GetEmulatedXOffset();
int32_t GetEmulatedYOffset();
int32_t GetVirtualResolution();
int32_t GetVirtualResolutionAspectRatio();
int32_t GetVirtualResolutionWidth();
int32_t GetVirtualResolutionHeight();
int32_t GetVirtualResolutionRatioWidth();
int32_t GetVirtualResolutionRatioHeight();
int32_t GetVirtualResolutionXOffset();
int32_t GetVirtualResolutionYOffset();

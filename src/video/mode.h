// The video device: the current mode, the mode lists, the window, and the way a finished screen
// takes to it. Backend: SDL 1.2.
//
// Owner of the state below: video/mode.cpp (what scripts ask for), video/mode_lists.cpp (what the
// display offers) and video/sdl_backend.cpp (what was opened). Everyone may read it.
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
/// The screen column of each output column, and the offset in pixels of the screen row of each
/// output row; -1 for borders. Null while no virtual resolution is applied. What has been chosen
/// without being applied yet is in virtual_resolution_w and _h already, so virtual_extent says what
/// the tables were made for.
extern int32_t *virtual_buffer_w, *virtual_buffer_h;
struct virtual_table_extent {
  int32_t columns, rows; // lengths of the tables
  int32_t screen_width, screen_height;
  int32_t aspectratio;
  bool operator==(const virtual_table_extent &) const = default;
};
extern virtual_table_extent virtual_extent;

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
/// Opens what `mode` asks for; 1, or 0 when it can't be had. Then settings, tables and display are
/// back at the last mode that worked, the surfaces untouched; when even that can't be opened again
/// presentation does nothing.
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
/// Re-sets the mode after a change that leaves the surfaces' size and depth alone: no fades.
/// `kind` is the flag that tells so to set-mode, change_mode or filtering_mode; it is 0 afterwards.
/// The result of set-mode.
int32_t apply_change(uint8_t &kind);
/// Hands the host what scripts choose: its full-screen flag and its vsync word.
void publish_mode();
/// Enclose a script's request from before its flags are applied until its result is there: should
/// it fail, vsync (the script's variable too), centring and fading are taken back as well.
void begin_mode_request();
void end_mode_request();
/// filter_w, filter_h and filterNx_mode as the mode, the 2x filter and the virtual resolution ask.
void update_filter_size();
/// The index 0..4 of a script's scan-line argument: none, 25 %, 50 %, 75 %, black.
int32_t scanline_index(int32_t scanline);
/// Stores a script's scan-line argument: filter_scanline, filter_scanlinepercent and its index.
void set_scanline_filter(int32_t scanline);

/// Whether ground and screen are there and have this size and depth.
bool surfaces_fit(int32_t width, int32_t height, int32_t depth);
/// Brings ground and screen to the given size and depth: as they are where they fit already, else
/// cleared and with no ground picture. 1, or 0 with both as they were (after a fatal report).
int32_t fit_surfaces(int32_t width, int32_t height, int32_t depth);
void delete_surfaces();
/// Ratio size, offsets and lookup tables of a virtual resolution of virtual_resolution_w x
/// virtual_resolution_h for a logical screen of the given size. 1, or 0 with the old tables kept
/// (after a fatal report).
int32_t make_virtual_resolution(int32_t screen_width, int32_t screen_height);
void delete_virtual_resolution();

/// Starts SDL's video (unless the host has) and lists the modes. 1 or 0.
int32_t SDLX11_Init();
/// Fills the mode lists from what SDL offers. 1, or 0 when memory runs out (after a fatal report).
int32_t SDLX11_GetModes();
/// The set-mode operation: display, wrapper, surfaces, routines, in that order. 1 or 0; after a 0
/// surfaces and routines are untouched and the display counts as closed.
int32_t SDLX11_SetMode();
/// Open the display for SDLX11_SetMode; 1 or 0.
int32_t SDLX11_SetWindowedMode();
int32_t SDLX11_SetFullScreenMode();
void SDLX11_DrawFrame_Windowed();
void SDLX11_DrawFrame_FullScreen();
int32_t SDLX11_RestoreMode();
void SDLX11_Quit();
/// Shows a critical error in the host's message box and ends the program through the host.
void SDLX11_Error(const char *text);

/// The record of the mode list of that depth with this size, depth and (unless 0) rate, or null.
const orb_video_mode *find_video_mode8(int32_t width, int32_t height, int32_t bpp, int32_t rate);
const orb_video_mode *find_video_mode16(int32_t width, int32_t height, int32_t bpp, int32_t rate);
const orb_video_mode *find_video_mode32(int32_t width, int32_t height, int32_t bpp, int32_t rate);
/// Chooses among them by `bpp`: the 8-bit list for anything but 16 and 32.
const orb_video_mode *find_video_mode(int32_t width, int32_t height, int32_t bpp, int32_t rate);
/// The smallest listed mode that has room for filter_w x filter_h, for a full screen with borders:
/// sets emulated_mode, emulated_w, emulated_h, and mode.rate when a rate was asked. 1 or 0.
int32_t FindEmulatedMode();
/// Empty lists of the starting capacity. 0 on failed allocation.
int32_t create_mode_lists();
void delete_mode_lists();
/// Appends to the master list, growing it when full. 0 on failed allocation.
int32_t add_video_mode(int32_t width, int32_t height, int32_t bpp, int32_t rate);
/// Trims the master list and makes the sorted lists by depth from it. 0 after a fatal report.
int32_t finish_mode_lists();
/// Adds the sizes that scripts have constants for and that fit the desktop.
int32_t add_registered_modes(int32_t bpp);

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

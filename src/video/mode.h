// Setting the video mode: the front door of the video device. video/mode_state.h holds what was
// asked for and what was opened.
#pragma once

#include "orb/graphics2d.h"
#include "video/mode_state.h"

/// The depth for which tables and routines were last built.
extern int32_t cur_mode;

/// Sets the defaults of a starting program: `mode` and its state, fades, screen colour. Opens
/// nothing.
void set_mode_defaults();
/// Forgets the last working mode, to which a failed set-mode returns.
void forget_working_mode();

/// Opens the mode that `mode` describes. 1, or 0 when it can't be opened: settings, tables and
/// display then return to the last mode that worked, and the surfaces stay. If that fails too,
/// presentation does nothing.
int32_t VID_SetGFXMode();
int32_t VID_RestoreGFXMode();
void VID_GFXPaint();
int32_t VID_GetGFXDC();
int32_t VID_ReleaseGFXDC();

/// Re-sets the mode after `mode` was changed: fades when asked, rebuilds what follows the depth,
/// opens. The result of set-mode.
int32_t apply_mode();
/// Re-sets the mode after a change that leaves the surfaces' size and depth alone: no fades.
/// `kind` is the flag passed to set-mode, change_mode or filtering_mode; it is 0 afterwards.
/// The result of set-mode.
int32_t apply_change(uint8_t &kind);
/// Writes the host's full-screen flag and its vsync word.
void publish_mode();
/// Chooses the routines that follow the depth of the mode: pixels, rasterisers, colour packing,
/// fades.
void set_graphics2D_drawing_routines();

/// Enclose a script's request, from before its flags are applied until its result is known. If it
/// fails, vsync (the script's variable too), centring and fading are restored as well.
void begin_mode_request();
void end_mode_request();

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

// The SDL 1.2 backend: listing, opening and showing the display.
#pragma once

#include <cstdint>

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

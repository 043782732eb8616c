// The module's entry: what it registers with the host, its three hooks, and what they bring up and
// take down.
#pragma once

#include "orb/graphics2d.h"

/// The constants, ended by a null name (153 records with it).
extern const orb_constant constants_table[153];
/// The script functions in registration order, ended by zeros (311 records with it).
extern const orb_function functions_table[311];

/// Hooks: bring everything up, draw a frame, take everything down. Results are always 1.
int32_t ORB_mod_graphics2D_init();
int32_t ORB_mod_graphics2D_frame();
int32_t ORB_mod_graphics2D_release();

/// Fills `device2D`, creates the surface list and the blit-list registry. 0 on failed allocation.
int32_t ORBGI2D_Internal_InitGFXDevice();
/// Deletes all surfaces, the surface list and the blit-list registry; `device2D` is as at the start.
void ORBGI2D_Internal_QuitGFXDevice();

/// The video device and the lists of all floors: defaults, lists, tables, SDL. 1, or 0 when SDL
/// can't be had.
int32_t VID_Init_Graphics2D();
/// Takes them down.
void VID_Quit_Graphics2D();

extern "C" int32_t ORB_mod_graphics2D_MainLibraryExports(const orb_registration *registration);

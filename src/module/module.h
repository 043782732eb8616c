// The module's entry: what it registers with the host, its three hooks, and the devices that they
// start and shut down.
#pragma once

#include "orb/graphics2d.h"

/// The constants, ended by a null name (153 records with it).
extern const orb_constant constants_table[153];
/// The script functions in registration order, ended by zeros (311 records with it).
extern const orb_function functions_table[311];

/// Hooks: start everything, draw a frame, shut everything down. Results are always 1.
int32_t ORB_mod_graphics2D_init();
int32_t ORB_mod_graphics2D_frame();
int32_t ORB_mod_graphics2D_release();

/// Fills `device2D`, creates the surface list and the blit-list registry. 0 on failed allocation.
int32_t ORBGI2D_Internal_InitGFXDevice();
/// Deletes all surfaces, the surface list and the blit-list registry; resets `device2D`.
void ORBGI2D_Internal_QuitGFXDevice();

/// Initialises the video device and the lists of all floors: defaults, lists, tables, SDL. 1, or 0
/// when SDL cannot be initialised.
int32_t VID_Init_Graphics2D();
/// Shuts them down.
void VID_Quit_Graphics2D();

extern "C" int32_t ORB_mod_graphics2D_MainLibraryExports(const orb_registration *registration);

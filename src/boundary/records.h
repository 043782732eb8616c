// The records that the module and its host share, the script's globals, and the frame count.
//
// `orbre` is set once at registration, the host's record and the script's globals by the init hook.
// Anyone may read them; they are valid until release. Script functions may be called before init
// and after release: each variable says what it is then.
#pragma once

#include "orb/graphics2d.h"

/// The host's runtime table; null until registration.
extern orb_runtime *orbre;
/// The host's device-system record; set by the init hook, null again after release.
extern orb_device_system *deviceSystem_graphics2D;
/// The record that the module publishes. The module calls its own replaceable entries (set-mode,
/// list selection, requests, operations) through it, so it is filled when the module is loaded.
extern orb_device2d device2D;

/// 1 until the first frame hook has run. Cleared by the frame hook, set again by release.
extern uint8_t first_frame;
/// Frames since init, modulo 2^32; 1 during the first one. Written by the frame hook.
extern int32_t frame_number;

/// One element of the script array `video_modes`.
struct script_video_mode {
  int32_t wide, width, height, mode;
};

/// The host's mouse; this module only reads it.
struct script_mouse {
  int32_t file, graph, x, y, angle, size, flags;
};

// The script's globals, bound by name in the init hook. The pointed-to memory is the host's; before
// init and after release it is the module's own, all zero.
extern int32_t *_dump_type_, *_restore_type_, *_fading_, *_fps_;
extern int32_t *_num_video_modes_, *_num_video_bits_, *_num_video_rates_, *_vsync_;
extern script_video_mode *_video_modes_; // 64 elements
extern int32_t *_video_bits_;            // 3
extern int32_t *_video_rates_;           // 32
extern int32_t *_draw_z_, *_draw_destination_file_, *_draw_destination_graph_, *_draw_visible_;
extern script_mouse *_mouse_graphics2D_;

/// Finds the script's globals by their names in the host's memory.
void bind_script_globals();
/// Points them at the module's zeros.
void unbind_script_globals();

// The modes that the display offers: the master list, a sorted list for each depth, and what
// scripts see of them.
#pragma once

#include <cstdint>

/// A mode that the display offers.
struct orb_video_mode {
  int32_t width, height, bpp, rate;
  int32_t code; // the size packed as scripts write it
};

/// The sorted lists.
extern orb_video_mode *video_modes8, *video_modes16, *video_modes32;
extern int32_t num_video_modes; // of all depths
extern int32_t num_video_modes8, num_video_modes16, num_video_modes32;

/// The size packed: width * 1000 + height, or width * 10000 + height when height exceeds 999.
constexpr int32_t mode_code(int32_t width, int32_t height) {
  return width * (height > 999 ? 10000 : 1000) + height;
}

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

// Script errors: their numbers, and the value that a failed call returns.
#pragma once

#include <cstdint>

/// The value that most script functions return on failure.
inline constexpr int32_t script_failure = INT32_MIN;

/// Errors that handlers report to the host, which has the texts.
enum script_error : int32_t {
  error_out_of_memory = 100,
  error_palette_file = 103,    // no known palette in that file
  error_library_full = 104,    // the graph list can't grow
  error_compressed_file = 105, // a compressed file can't be reopened
  error_library_open = 105,    // a library file can't be opened
  error_library_format = 106,  // not a library file, or deeper than the screen
  error_region = 108,          // region not defined
  error_file = 109,            // library number out of range
  error_graph = 110,           // graph number out of range
  error_library_not_loaded = 111,
  error_region_argument = 120,
  error_graph_not_loaded = 121,
  error_save = 123,   // file can't be saved
  error_cpoint = 133, // control point out of range
  error_open = 143,   // file can't be opened
  error_format = 144, // not such a file, or deeper than the screen
  error_size = 153,   // width or height out of range
  error_colour = 154, // colour out of range in an 8-bit mode
  error_centre = 155, // centre outside the graph
  error_draw_list_full = 172,
  error_draw_type = 173,
  error_draw_alpha = 174,
  error_draw_id = 175,
  error_palette_forced = 183,
  error_library_key = 193, // enciphered library without a usable key
  error_key = 194,         // enciphered graph without a usable key
};

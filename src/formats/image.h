// The globals through which a reader hands its picture over, and a writer is given one.
#pragma once

#include "surface/surface.h"

// Written by the reader of the current file, consumed by adopt_image.
extern int32_t image_w, image_h, image_bpp;
extern uint32_t image_id;
extern char image_desc[257];
extern __ORBPalette2D__ image_palette;    // 8-bit components
extern uint8_t image_has_palette;         // 1: image_palette came with the picture
extern uint8_t image_palette_alphas[256]; // how opaque the palette's colours are
extern uint8_t image_has_palette_alphas;  // 1: they came with the picture; else all are opaque
extern void *image_data;                  // aligned_malloc; the taker owns it
extern uint8_t image_alphachannel;
extern cpoint_record *image_cpoint;      // malloc, or null
extern int32_t image_num_cpoints;        // defined ones
extern int32_t image_max_cpoint_defined; // highest index
extern int32_t image_error;              // message number of the last failure

/// Frees what a reader has left in the globals, and sets them as a reader expects them: id 1, no
/// description, no control points, no palette and no alphas for one, no alpha channel.
void reset_image();

// Fades: towards black, the normal picture, a tint or full brightness. 8-bit modes fade the display
// palette, the others recolour the finished screen.
#pragma once

#include "orb/graphics2d.h"

/// Per channel percentages: 0 black, 100 normal, 200 fully bright.
struct fade_levels {
  uint8_t r, g, b;
  bool operator==(const fade_levels &) const = default;
};
struct __FadeFX__ {
  int32_t first, last; // palette range, last exclusive
};

extern fade_levels fade_pos, fade_from, fade_to;
extern int32_t fade_step, fade_inc;
extern int32_t *fading; // the script's "fading": 1 while a fade runs; a word of our own before
                        // init has bound it and after release
/// Makes `fadepalette` from the palette in force at the current fade positions, for the given range
/// (null: all of it). Does nothing without a palette.
void make_fadepalette(const __FadeFX__ *range);
/// Rebuilds all of it, and with it the tables for displays of another depth.
void fade_display_palette();

/// Starts a fade to the normal picture at speed 8. Always 1.
int32_t fade_on();
/// Fades to black at speed 8 and finishes it before returning. Always 1.
int32_t fade_off();
/// Positions and targets back to the normal picture, no fade running.
void reset_fades();
/// Whether frames are recoloured: at 16 and 32 bits, at levels other than 100.
bool screen_is_recoloured();
/// Recolours the screen at the levels in force. The next frame must restore all of it.
void recolour_screen();
/// One step of the running fade.
void update_fade();
/// Starts a fade to these percentages. 1, or 0 when that is the target already.
int32_t start_fade(int32_t r, int32_t g, int32_t b, int32_t speed);
/// Applies the fade positions with the routine of the mode's depth; the argument is not used at 16
/// and 32 bits (null: the whole range).
extern void (*do_fading)(const __FadeFX__ *range);
void do_fading_8bits(const __FadeFX__ *range);
void do_fading_16bits(const __FadeFX__ *range);
void do_fading_32bits(const __FadeFX__ *range);
/// Sets do_fading to the routine of a depth.
void set_fading_routine(int32_t depth);

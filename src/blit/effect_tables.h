// Look-up tables of the blend effects. All divisions truncate toward zero.
#pragma once

#include <cstdint>

// ---- 32 bits: channels are 0..255 --------------------------------------------------------------

/// Indexed by the sum of two channels: min(sum, 255), and max(sum - 255, 0) except for sum 511.
extern uint8_t FX_additiveblend32_table[512], FX_subtractiveblend32_table[512];
/// A channel's share of the luminance; the three weights sum to 1.
extern uint8_t FX_scaleR32_table[256], FX_scaleG32_table[256], FX_scaleB32_table[256];
/// a * j / 255.
extern uint8_t FX_alpha32_table[256][256], FX_multiplyblend32_table[256][256];
/// 255 - (255 - a) * (255 - j) / 255.
extern uint8_t FX_screenblend32_table[256][256];
/// min(255 * a / j, 255), 0 for j = 0: the weight of a part with coverage a in a total of j.
extern uint8_t FX_compositing32_table[256][256];
/// a * (k - 255) / 255: intensity a applied to a channel difference, indexed by difference + 255.
extern int16_t FX_tint32_table[256][512];

// ---- 16 bits: red and blue are 0..31, green is 0..63 -------------------------------------------

/// Indexed by the sum of two channels: min(sum, top), max(sum - top, 0).
extern uint8_t FX_additiveblendRB16_table[64], FX_subtractiveblendRB16_table[64];
extern uint8_t FX_additiveblendG16_table[128], FX_subtractiveblendG16_table[128];
/// min(sum, 255).
extern uint8_t FX_alphaadditiveblend16_table[512];
/// a * j / top.
extern uint8_t FX_multiplyblendRB16_table[32][32], FX_multiplyblendG16_table[64][64];
/// top - ((top - a) * (top - j) >> bits).
extern uint8_t FX_screenblendRB16_table[32][32], FX_screenblendG16_table[64][64];
/// The luminance of a whole pixel, scaled to a red or blue field and to a green field.
extern uint8_t FX_scaleRB16_table[65536], FX_scaleG16_table[65536];
/// a * j / 255.
extern uint8_t FX_alpha16_tableN[256][64];
/// a * (k - 63) / 255: weight a applied to a channel difference, indexed by difference + 63.
extern int16_t FX_alpha16_table[256][128];
extern int8_t FX_tint16_table[256][128];

/// Fill the tables of a depth; only the first call does anything.
void fill_effect_tables16();
void fill_effect_tables32();

#include "blit/effect_tables.h"

#include <utility>

uint8_t FX_additiveblend32_table[512], FX_subtractiveblend32_table[512];
uint8_t FX_scaleR32_table[256], FX_scaleG32_table[256], FX_scaleB32_table[256];
uint8_t FX_alpha32_table[256][256], FX_multiplyblend32_table[256][256];
uint8_t FX_screenblend32_table[256][256];
uint8_t FX_compositing32_table[256][256];
int16_t FX_tint32_table[256][512];

uint8_t FX_additiveblendRB16_table[64], FX_subtractiveblendRB16_table[64];
uint8_t FX_additiveblendG16_table[128], FX_subtractiveblendG16_table[128];
uint8_t FX_alphaadditiveblend16_table[512];
uint8_t FX_multiplyblendRB16_table[32][32], FX_multiplyblendG16_table[64][64];
uint8_t FX_screenblendRB16_table[32][32], FX_screenblendG16_table[64][64];
uint8_t FX_scaleRB16_table[65536], FX_scaleG16_table[65536];
uint8_t FX_alpha16_tableN[256][64];
int16_t FX_alpha16_table[256][128];
int8_t FX_tint16_table[256][128];

namespace {

// Luminance weights, out of 255.
constexpr int32_t red_weight = 76, green_weight = 150, blue_weight = 29;

constexpr int32_t lesser(int32_t a, int32_t b) { return a < b ? a : b; }

/// Additive and subtractive tables of a 5-6-5 field with maximum `top`.
void fill_sums(uint8_t *additive, uint8_t *subtractive, int32_t top) {
  for (int32_t i = 0; i < 2 * (top + 1); ++i) {
    additive[i] = uint8_t(lesser(i, top));
    subtractive[i] = uint8_t(i > top ? i - top : 0);
  }
}

/// Multiply and screen tables of a 5-6-5 field of `bits` bits.
template <int32_t bits>
void fill_products(uint8_t (&multiply)[1 << bits][1 << bits],
                   uint8_t (&screen)[1 << bits][1 << bits]) {
  constexpr int32_t top = (1 << bits) - 1;
  for (int32_t a = 0; a <= top; ++a) {
    for (int32_t j = 0; j <= top; ++j) {
      multiply[a][j] = uint8_t(a * j / top);
      // QUIRK: shifts instead of dividing by `top`, so the screen of two zeros is 1, not 0.
      screen[a][j] = uint8_t(top - ((top - a) * (top - j) >> bits));
    }
  }
}

} // namespace

void fill_effect_tables32() {
  static bool filled = false;
  if (std::exchange(filled, true)) return;
  for (int32_t i = 0; i < 512; ++i) {
    FX_additiveblend32_table[i] = uint8_t(lesser(i, 255));
    // QUIRK: the last entry is 0: 256, the difference for sum 511, does not fit into a byte.
    FX_subtractiveblend32_table[i] = uint8_t(i > 255 ? i - 255 : 0);
  }
  for (int32_t i = 0; i < 256; ++i) {
    FX_scaleR32_table[i] = uint8_t(red_weight * i / 255);
    FX_scaleG32_table[i] = uint8_t(green_weight * i / 255);
    FX_scaleB32_table[i] = uint8_t(blue_weight * i / 255);
  }
  for (int32_t a = 0; a < 256; ++a) {
    for (int32_t j = 0; j < 256; ++j) {
      FX_alpha32_table[a][j] = FX_multiplyblend32_table[a][j] = uint8_t(a * j / 255);
      FX_screenblend32_table[a][j] = uint8_t(255 - (255 - a) * (255 - j) / 255);
      FX_compositing32_table[a][j] = uint8_t(j ? lesser(255 * a / j, 255) : 0);
    }
    for (int32_t k = 0; k <= 510; ++k)
      FX_tint32_table[a][k] = int16_t(a * (k - 255) / 255);
  }
}

void fill_effect_tables16() {
  static bool filled = false;
  if (std::exchange(filled, true)) return;
  fill_sums(FX_additiveblendRB16_table, FX_subtractiveblendRB16_table, 31);
  fill_sums(FX_additiveblendG16_table, FX_subtractiveblendG16_table, 63);
  for (int32_t i = 0; i < 512; ++i)
    FX_alphaadditiveblend16_table[i] = uint8_t(lesser(i, 255));
  fill_products<5>(FX_multiplyblendRB16_table, FX_screenblendRB16_table);
  fill_products<6>(FX_multiplyblendG16_table, FX_screenblendG16_table);
  for (int32_t p = 0; p < 65536; ++p) {
    // Each term is truncated on its own; the weights of red and blue include the scaling to 8 bits.
    const int32_t luminance = (p >> 11) * (red_weight * 8) / 255 +
                              ((p >> 3) & 252) * green_weight / 255 +
                              (p & 31) * (blue_weight * 8) / 255;
    FX_scaleRB16_table[p] = uint8_t(luminance >> 3);
    FX_scaleG16_table[p] = uint8_t(luminance >> 2);
  }
  for (int32_t a = 0; a < 256; ++a) {
    for (int32_t j = 0; j < 64; ++j)
      FX_alpha16_tableN[a][j] = uint8_t(a * j / 255);
    for (int32_t k = 0; k <= 126; ++k) {
      FX_alpha16_table[a][k] = int16_t(a * (k - 63) / 255);
      FX_tint16_table[a][k] = int8_t(FX_alpha16_table[a][k]);
    }
  }
}

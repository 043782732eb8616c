// The effect tables against real-number arithmetic, entry by entry, and at values where their
// definitions are odd.
#include "blit/effect_tables.h"

#include <algorithm>
#include <cmath>

#include <gtest/gtest.h>

#include "fake_runtime.h"
#include "video/mode_tables.h"

namespace {

struct EffectTables : testing::Test {
  fake_runtime host;
  ~EffectTables() override { free_tables(); }
};

/// A quotient truncated toward zero. All values are far within a double's precision.
int quotient(double numerator, double denominator) {
  return int(std::trunc(numerator / denominator));
}

TEST_F(EffectTables, ThirtyTwoBits) {
  ASSERT_EQ(do_tables(32), 1);
  for (int sum = 0; sum < 511; ++sum) {
    EXPECT_EQ(FX_additiveblend32_table[sum], std::min(sum, 255));
    EXPECT_EQ(FX_subtractiveblend32_table[sum], std::max(sum - 255, 0));
  }
  EXPECT_EQ(FX_additiveblend32_table[511], 255);
  EXPECT_EQ(FX_subtractiveblend32_table[511], 0); // 256 does not fit
  for (int c = 0; c < 256; ++c) {
    EXPECT_EQ(FX_scaleR32_table[c], quotient(76 * c, 255));
    EXPECT_EQ(FX_scaleG32_table[c], quotient(150 * c, 255));
    EXPECT_EQ(FX_scaleB32_table[c], quotient(29 * c, 255));
  }
  for (int a = 0; a < 256; ++a) {
    for (int j = 0; j < 256; ++j) {
      ASSERT_EQ(FX_alpha32_table[a][j], quotient(a * j, 255)) << a << ", " << j;
      ASSERT_EQ(FX_multiplyblend32_table[a][j], quotient(a * j, 255)) << a << ", " << j;
      ASSERT_EQ(FX_screenblend32_table[a][j], 255 - quotient((255 - a) * (255 - j), 255))
          << a << ", " << j;
      const int weight = j ? std::min(quotient(255.0 * a, j), 255) : 0;
      ASSERT_EQ(FX_compositing32_table[a][j], weight) << a << ", " << j;
    }
    for (int difference = -255; difference <= 255; ++difference)
      ASSERT_EQ(FX_tint32_table[a][difference + 255], quotient(a * difference, 255))
          << a << ", " << difference;
  }
}

TEST_F(EffectTables, SixteenBits) {
  ASSERT_EQ(do_tables(16), 1);
  for (int sum = 0; sum < 64; ++sum) {
    EXPECT_EQ(FX_additiveblendRB16_table[sum], std::min(sum, 31));
    EXPECT_EQ(FX_subtractiveblendRB16_table[sum], std::max(sum - 31, 0));
  }
  for (int sum = 0; sum < 128; ++sum) {
    EXPECT_EQ(FX_additiveblendG16_table[sum], std::min(sum, 63));
    EXPECT_EQ(FX_subtractiveblendG16_table[sum], std::max(sum - 63, 0));
  }
  for (int sum = 0; sum < 512; ++sum)
    EXPECT_EQ(FX_alphaadditiveblend16_table[sum], std::min(sum, 255));
  for (int a = 0; a < 32; ++a) {
    for (int j = 0; j < 32; ++j) {
      EXPECT_EQ(FX_multiplyblendRB16_table[a][j], quotient(a * j, 31));
      EXPECT_EQ(FX_screenblendRB16_table[a][j], 31 - quotient((31 - a) * (31 - j), 32));
    }
  }
  for (int a = 0; a < 64; ++a) {
    for (int j = 0; j < 64; ++j) {
      EXPECT_EQ(FX_multiplyblendG16_table[a][j], quotient(a * j, 63));
      EXPECT_EQ(FX_screenblendG16_table[a][j], 63 - quotient((63 - a) * (63 - j), 64));
    }
  }
  for (int a = 0; a < 256; ++a) {
    for (int j = 0; j < 64; ++j)
      EXPECT_EQ(FX_alpha16_tableN[a][j], quotient(a * j, 255));
    for (int difference = -63; difference <= 63; ++difference) {
      ASSERT_EQ(FX_alpha16_table[a][difference + 63], quotient(a * difference, 255));
      ASSERT_EQ(FX_tint16_table[a][difference + 63], quotient(a * difference, 255));
    }
  }
  for (int r = 0; r < 32; ++r) {
    for (int g = 0; g < 64; ++g) {
      for (int b = 0; b < 32; ++b) {
        const int grey =
            quotient(r * 8 * 76, 255) + quotient(g * 4 * 150, 255) + quotient(b * 8 * 29, 255);
        const int pixel = r << 11 | g << 5 | b;
        ASSERT_EQ(FX_scaleRB16_table[pixel], grey / 8) << pixel;
        ASSERT_EQ(FX_scaleG16_table[pixel], grey / 4) << pixel;
      }
    }
  }
}

TEST_F(EffectTables, LiteralValues) {
  ASSERT_EQ(do_tables(32), 1);
  EXPECT_EQ(FX_additiveblend32_table[200 + 100], 255);
  EXPECT_EQ(FX_subtractiveblend32_table[200 + 100], 45);
  EXPECT_EQ(FX_subtractiveblend32_table[100 + 100], 0);
  EXPECT_EQ(FX_subtractiveblend32_table[510], 255);
  EXPECT_EQ(FX_multiplyblend32_table[255][255], 255);
  EXPECT_EQ(FX_screenblend32_table[0][77], 77);
  EXPECT_EQ(FX_screenblend32_table[255][77], 255);
  EXPECT_EQ(FX_compositing32_table[100][200], 127);
  EXPECT_EQ(FX_compositing32_table[200][100], 255);
  EXPECT_EQ(FX_compositing32_table[200][0], 0);
  EXPECT_EQ(FX_tint32_table[128][510], 128);
  EXPECT_EQ(FX_tint32_table[128][0], -128);
  ASSERT_EQ(do_tables(16), 1);
  EXPECT_EQ(FX_screenblendRB16_table[0][0], 1);
  EXPECT_EQ(FX_screenblendG16_table[0][0], 1);
  EXPECT_EQ(FX_screenblendRB16_table[31][0], 31);
  EXPECT_EQ(FX_scaleG16_table[0xFFFF], 62); // 248, 252, 248 is not quite white
  EXPECT_EQ(FX_tint16_table[255][0], -63);
}

} // namespace

// A slow, independent model of the pixel arithmetic: one pixel at a time, in plain ints, with plain
// divisions, everything chosen at run time. It shares nothing with the blit engine, not even the
// effect numbers, so that no single mistake goes unnoticed.
#pragma once

#include <array>
#include <cstdint>
#include <string>
#include <string_view>

namespace checkspan {

/// How source pixels of value 0 are treated, and whether the rest is half translucent.
enum class keying { keyed, every_pixel, ghost };

/// What a span routine does to a pixel, whatever operation runs it.
struct pixel_rule {
  int depth = 8;        ///< 8, 16 or 32
  bool channel = false; ///< the source has an alpha channel
  keying key = keying::keyed;
  bool alpha = false; ///< applies the global alpha
  int fx = 0;         ///< effect index 0..41
};

/// The other inputs of a pixel's result, besides the two pixels.
struct pixel_context {
  int alpha = 255; ///< global alpha
  int intensity = 0;
  uint32_t fxcolor = 0;
  bool dst_alpha = false;         ///< the destination has an alpha channel
  const uint8_t *ghost = nullptr; ///< 256 x 256, row by source index
};

/// The new destination pixel.
uint32_t put_pixel(const pixel_rule &rule, const pixel_context &context, uint32_t s, uint32_t d);

/// Names of the effects by index; empty for the solid copy.
extern const std::array<std::string_view, 42> effect_names;

/// Parses a routine's name: "scale_16to16_nokey_tint" gives operation "scale" and the rule. Throws
/// std::invalid_argument for an unknown name.
struct parsed_name {
  std::string operation;
  pixel_rule rule;
};
parsed_name parse_routine(std::string_view name);

} // namespace checkspan

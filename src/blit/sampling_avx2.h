// Sampling (see sampling.h) for CPUs with AVX2.
//
// A gather reads 32 bits at each position, so narrower pixels need three readable bytes after the
// last sampled one; `to` needs room for count rounded up to 8.
#pragma once

#include <cstdint>

/// `width` and the integer parts of all positions must be below 32768.
void gather_line(uint8_t *to, const uint8_t *pixels, uint32_t width, uint32_t x, uint32_t y,
                 uint32_t step_x, uint32_t step_y, int32_t count);
void gather_line(uint16_t *to, const uint16_t *pixels, uint32_t width, uint32_t x, uint32_t y,
                 uint32_t step_x, uint32_t step_y, int32_t count);
void gather_line(uint32_t *to, const uint32_t *pixels, uint32_t width, uint32_t x, uint32_t y,
                 uint32_t step_x, uint32_t step_y, int32_t count);

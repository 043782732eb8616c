#include "engine/checkspan/reference.h"

#include <algorithm>
#include <array>
#include <stdexcept>
#include <utility>

namespace checkspan {

namespace {

// The three basic lookups. All divisions truncate toward zero.
int part(int of, int x) {
  return of * x / 255;
}
int compositing(int p, int o) {
  return o == 0 ? 0 : std::min(255, 255 * p / o);
}

/// Red, green, blue.
using channels = std::array<int, 3>;
constexpr channels maxima16 = {31, 63, 31}, maxima32 = {255, 255, 255};

channels split(int depth, uint32_t p) {
  if (depth == 16) return {int(p >> 11), int(p >> 5 & 63), int(p & 31)};
  return {int(p >> 16 & 255), int(p >> 8 & 255), int(p & 255)};
}
uint32_t join(int depth, channels c) {
  if (depth == 16) return uint32_t(c[0] << 11 | c[1] << 5 | c[2]);
  return uint32_t(c[0] << 16 | c[1] << 8 | c[2]);
}

/// The channels an effect in a group of seven (all, r, g, b, rg, rb, gb) names.
channels named(int place) {
  static constexpr channels sets[7] = {{1, 1, 1}, {1, 0, 0}, {0, 1, 0}, {0, 0, 1},
                                       {1, 1, 0}, {1, 0, 1}, {0, 1, 1}};
  return sets[place];
}

/// Luminance of a pixel, as red, green and blue channels.
channels grey(int depth, uint32_t p) {
  if (depth == 32) {
    const channels c = split(32, p);
    const int l = 76 * c[0] / 255 + 150 * c[1] / 255 + 29 * c[2] / 255;
    return {l, l, l};
  }
  const int r = int(p >> 11), g = int(p >> 3) & 252, b = int(p) & 31;
  const int l = r * 608 / 255 + g * 150 / 255 + b * 232 / 255;
  return {l >> 3, l >> 2, l >> 3};
}

int screened(int depth, int max, int s, int d) {
  if (depth == 32) return 255 - (255 - s) * (255 - d) / 255;
  // The 16-bit tables shift where one would expect a division.
  return max - (((max - s) * (max - d)) >> (max == 31 ? 5 : 6));
}

/// The effect itself, before key and alpha: colours only.
channels blended(const pixel_rule &rule, uint32_t sp, uint32_t dp) {
  const int depth = rule.depth, fx = rule.fx;
  const channels s = split(depth, sp), d = split(depth, dp);
  const channels max = depth == 16 ? maxima16 : maxima32;
  const channels tint_colour = split(depth, depth == 16 ? rule.fxcolor & 0xFFFF : rule.fxcolor);
  channels b{};
  for (size_t i = 0; i < 3; ++i) {
    switch (fx) {
    case solid:
    case src:
    case srcoverdst: b[i] = s[i]; break;
    case additive: b[i] = std::min(s[i] + d[i], max[i]); break;
    case subtractive: b[i] = std::max(s[i] + d[i] - max[i], 0); break;
    case multiply: b[i] = s[i] * d[i] / max[i]; break;
    case average: b[i] = ((s[i] & ~1) + (d[i] & ~1)) / 2; break;
    case screen: b[i] = screened(depth, max[i], s[i], d[i]); break;
    case and_blend: b[i] = s[i] & d[i]; break;
    case or_blend: b[i] = s[i] | d[i]; break;
    case xor_blend: b[i] = s[i] ^ d[i]; break;
    case tint: b[i] = s[i] + rule.intensity * (tint_colour[i] - s[i]) / 255; break;
    default:
      if (fx >= first_channel_blend && fx <= last_channel_blend)
        b[i] = named(fx - first_channel_blend + 1)[i] ? s[i] : d[i];
      else if (fx >= first_invert && fx <= last_invert)
        b[i] = named(fx - first_invert)[i] ? max[i] - s[i] : s[i];
      else if (fx >= first_grey && fx <= last_grey)
        b[i] = named(fx - first_grey)[i] ? grey(depth, sp)[i] : 0;
      else
        throw std::logic_error("no such effect");
    }
  }
  return b;
}

/// x and y mixed with weights `a` and 255 - `a`, each term truncated separately.
channels mixed(int a, channels x, channels y) {
  channels m{};
  for (size_t i = 0; i < 3; ++i)
    m[i] = part(a, x[i]) + part(255 - a, y[i]);
  return m;
}

/// The Porter-Duff modes as pairs of factors. Without an alpha channel a pixel covers all or
/// nothing, and its top byte is lost.
uint32_t composite(const pixel_rule &rule, int sa, uint32_t s, uint32_t d) {
  const bool dst_alpha = rule.depth == 32 && rule.dst_alpha;
  const int da = dst_alpha ? int(d >> 24) : d ? 255 : 0;
  const std::pair<int, int> factors[] = {{255 - da, 255}, {da, 0},       {0, sa},
                                         {255 - da, 0},   {0, 255 - sa}, {da, 255 - sa},
                                         {255 - da, sa},  {0, 0},        {255 - da, 255 - sa}};
  const auto [of_s, of_d] = factors[rule.fx - first_composite];
  const int p = part(sa, of_s), q = part(da, of_d), o = std::min(255, p + q);
  const channels sc = split(rule.depth, s), dc = split(rule.depth, d);
  if (dst_alpha) return o == 0 ? 0 : uint32_t(o) << 24 | join(32, mixed(compositing(p, o), sc, dc));
  channels c{};
  for (size_t i = 0; i < 3; ++i)
    c[i] = std::min(255, part(p, sc[i]) + part(q, dc[i]));
  return join(rule.depth, c);
}

uint32_t put16(const pixel_rule &rule, uint32_t s, uint32_t d) {
  if (rule.key == keying::ghost) return ((d & 0xF7DE) + (s & 0xF7DE)) >> 1;
  if (rule.fx >= first_composite && rule.fx <= last_composite)
    return composite(rule, rule.alpha, s, d);
  const channels b = blended(rule, s, d);
  if (rule.alpha == 255) return join(16, b);
  const channels sc = split(16, s), dc = split(16, d);
  channels c{};
  for (size_t i = 0; i < 3; ++i) {
    if (rule.fx == additive)
      c[i] = std::min(part(rule.alpha, sc[i]) + dc[i], maxima16[i]);
    else
      c[i] = dc[i] + rule.alpha * (b[i] - dc[i]) / 255;
  }
  return join(16, c);
}

/// Copies source pixels unchanged, transparent ones included.
uint32_t copy32(const pixel_rule &rule, uint32_t s, uint32_t d) {
  if (rule.alpha == 255) {
    if (!rule.channel && rule.dst_alpha) return s ? s | 0xFF000000 : 0;
    return s;
  }
  const int a = rule.alpha;
  const channels sc = split(32, s), dc = split(32, d);
  if (!rule.dst_alpha) return join(32, mixed(a, sc, dc));
  const int da = int(d >> 24);
  const int p = rule.channel ? part(a, int(s >> 24)) : s ? a : 0;
  const int o = p + part(255 - a, da);
  if (o == 0) return 0;
  return uint32_t(o) << 24 | join(32, mixed(compositing(p, o), sc, dc));
}

/// Applies an effect with opacity `sa`.
uint32_t put_translucent(const pixel_rule &rule, int sa, uint32_t s, uint32_t d) {
  const channels b = blended(rule, s, d), sc = split(32, s), dc = split(32, d);
  channels sum{};
  for (size_t i = 0; i < 3; ++i)
    sum[i] = std::min(part(sa, sc[i]) + dc[i], 255);
  if (!rule.dst_alpha) return join(32, rule.fx == additive ? sum : mixed(sa, b, dc));
  const int da = int(d >> 24);
  const int o = sa + part(255 - sa, da);
  const int w = compositing(sa, o);
  // Where the destination is translucent, an effect that reads it is weighted by its alpha.
  const bool looks_at_source_only =
      rule.fx == solid || rule.fx == srcoverdst || rule.fx >= first_invert;
  const channels m = looks_at_source_only ? b : mixed(da, b, sc);
  return uint32_t(o) << 24 | join(32, rule.fx == additive ? sum : mixed(w, m, dc));
}

uint32_t put32(const pixel_rule &rule, uint32_t s, uint32_t d) {
  if (rule.key == keying::ghost) {
    if (!rule.channel && !rule.dst_alpha) return ((s & 0xFEFEFE) + (d & 0xFEFEFE)) >> 1;
    const int sa = rule.channel ? part(128, int(s >> 24)) : 128;
    return sa == 0 ? d : put_translucent(rule, sa, s, d);
  }
  if (rule.fx == src) return copy32(rule, s, d);

  int sa = rule.channel ? int(s >> 24) : 255;
  sa = part(rule.alpha, sa);
  if (rule.fx >= first_composite && rule.fx <= last_composite) return composite(rule, sa, s, d);
  if (rule.channel || rule.alpha < 255) {
    // A transparent source pixel leaves the destination unchanged, top byte included.
    if (rule.channel && sa == 0) return d;
    return put_translucent(rule, sa, s, d);
  }
  if (rule.dst_alpha) return 0xFF000000 | join(32, blended(rule, s, d));
  if (rule.fx == solid || rule.fx == srcoverdst) return s;
  return join(32, blended(rule, s, d));
}

uint32_t put8(const pixel_rule &rule, uint32_t s, uint32_t d) {
  if (rule.key == keying::ghost) return rule.ghost[s * 256 + d];
  if (rule.fx >= first_composite && rule.fx <= last_composite) return composite(rule, 255, s, d);
  return s;
}

} // namespace

uint32_t put_pixel(const pixel_rule &rule, uint32_t s, uint32_t d) {
  if (rule.key != keying::every_pixel && s == 0) return d;
  switch (rule.depth) {
  case 8: return put8(rule, s, d);
  case 16: return put16(rule, s, d);
  default: return put32(rule, s, d);
  }
}

} // namespace checkspan

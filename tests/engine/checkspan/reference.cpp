#include "engine/checkspan/reference.h"

#include <algorithm>
#include <map>
#include <regex>
#include <stdexcept>
#include <utility>

namespace checkspan {

namespace {

// The effects by number, in script order.
enum {
  solid = 0,
  src = 1,
  dst = 2,
  srcoverdst = 3,
  dstoversrc,
  srcindst,
  dstinsrc,
  srcoutdst,
  dstoutsrc,
  srcatopdst,
  dstatopsrc,
  srccleardst,
  srcxordst,
  additive = 13,
  subtractive,
  multiply,
  average,
  screen,
  first_channel_blend = 18,
  last_channel_blend = 23,
  and_blend = 24,
  or_blend,
  xor_blend,
  first_invert = 27,
  last_invert = 33,
  first_grey = 34,
  last_grey = 40,
  tint = 41,
};

// The three basic lookups. All divisions truncate toward zero.
int part(int of, int x) { return of * x / 255; }
int compositing(int p, int o) { return o == 0 ? 0 : std::min(255, 255 * p / o); }

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
channels blended(const pixel_rule &rule, const pixel_context &context, uint32_t sp, uint32_t dp) {
  const int depth = rule.depth, fx = rule.fx;
  const channels s = split(depth, sp), d = split(depth, dp);
  const channels max = depth == 16 ? maxima16 : maxima32;
  const channels tint_colour =
      split(depth, depth == 16 ? context.fxcolor & 0xFFFF : context.fxcolor);
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
    case tint: b[i] = s[i] + context.intensity * (tint_colour[i] - s[i]) / 255; break;
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
uint32_t composite(const pixel_rule &rule, const pixel_context &context, int sa, uint32_t s,
                   uint32_t d) {
  const bool dst_alpha = rule.depth == 32 && context.dst_alpha;
  const int da = dst_alpha ? int(d >> 24) : d ? 255 : 0;
  const std::pair<int, int> factors[] = {{255 - da, 255}, {da, 0},       {0, sa},
                                         {255 - da, 0},   {0, 255 - sa}, {da, 255 - sa},
                                         {255 - da, sa},  {0, 0},        {255 - da, 255 - sa}};
  const auto [of_s, of_d] = factors[rule.fx - dstoversrc];
  const int p = part(sa, of_s), q = part(da, of_d), o = std::min(255, p + q);
  const channels sc = split(rule.depth, s), dc = split(rule.depth, d);
  if (dst_alpha) return o == 0 ? 0 : uint32_t(o) << 24 | join(32, mixed(compositing(p, o), sc, dc));
  channels c{};
  for (size_t i = 0; i < 3; ++i)
    c[i] = std::min(255, part(p, sc[i]) + part(q, dc[i]));
  return join(rule.depth, c);
}

uint32_t put16(const pixel_rule &rule, const pixel_context &context, uint32_t s, uint32_t d) {
  if (rule.key == keying::ghost) return ((d & 0xF7DE) + (s & 0xF7DE)) >> 1;
  if (rule.fx >= dstoversrc && rule.fx <= srcxordst)
    return composite(rule, context, rule.alpha ? context.alpha : 255, s, d);
  const channels b = blended(rule, context, s, d);
  if (!rule.alpha) return join(16, b);
  const channels sc = split(16, s), dc = split(16, d);
  channels c{};
  for (size_t i = 0; i < 3; ++i) {
    if (rule.fx == additive)
      c[i] = std::min(part(context.alpha, sc[i]) + dc[i], maxima16[i]);
    else
      c[i] = dc[i] + context.alpha * (b[i] - dc[i]) / 255;
  }
  return join(16, c);
}

/// Copies source pixels unchanged, transparent ones included.
uint32_t copy32(const pixel_rule &rule, const pixel_context &context, uint32_t s, uint32_t d) {
  if (!rule.alpha) {
    if (!rule.channel && context.dst_alpha) return s ? s | 0xFF000000 : 0;
    return s;
  }
  const int a = context.alpha;
  const channels sc = split(32, s), dc = split(32, d);
  if (!context.dst_alpha) return join(32, mixed(a, sc, dc));
  const int da = int(d >> 24);
  const int p = rule.channel ? part(a, int(s >> 24)) : s ? a : 0;
  const int o = p + part(255 - a, da);
  if (o == 0) return 0;
  return uint32_t(o) << 24 | join(32, mixed(compositing(p, o), sc, dc));
}

/// Applies an effect with opacity `sa`.
uint32_t put_translucent(const pixel_rule &rule, const pixel_context &context, int sa, uint32_t s,
                         uint32_t d) {
  const channels b = blended(rule, context, s, d), sc = split(32, s), dc = split(32, d);
  channels sum{};
  for (size_t i = 0; i < 3; ++i)
    sum[i] = std::min(part(sa, sc[i]) + dc[i], 255);
  if (!context.dst_alpha) return join(32, rule.fx == additive ? sum : mixed(sa, b, dc));
  const int da = int(d >> 24);
  const int o = sa + part(255 - sa, da);
  const int w = compositing(sa, o);
  // Where the destination is translucent, an effect that reads it is weighted by its alpha.
  const bool looks_at_source_only =
      rule.fx == solid || rule.fx == srcoverdst || rule.fx >= first_invert;
  const channels m = looks_at_source_only ? b : mixed(da, b, sc);
  return uint32_t(o) << 24 | join(32, rule.fx == additive ? sum : mixed(w, m, dc));
}

uint32_t put32(const pixel_rule &rule, const pixel_context &context, uint32_t s, uint32_t d) {
  if (rule.key == keying::ghost) {
    pixel_rule copy;
    copy.depth = 32;
    if (!rule.channel && !context.dst_alpha) return ((s & 0xFEFEFE) + (d & 0xFEFEFE)) >> 1;
    const int sa = rule.channel ? part(128, int(s >> 24)) : 128;
    return sa == 0 ? d : put_translucent(copy, context, sa, s, d);
  }
  if (rule.fx == src) return copy32(rule, context, s, d);

  int sa = rule.channel ? int(s >> 24) : 255;
  if (rule.alpha) sa = part(context.alpha, sa);
  if (rule.fx >= dstoversrc && rule.fx <= srcxordst) return composite(rule, context, sa, s, d);
  if (rule.channel || rule.alpha) {
    // A transparent source pixel leaves the destination unchanged, top byte included.
    if (rule.channel && sa == 0) return d;
    return put_translucent(rule, context, sa, s, d);
  }
  if (context.dst_alpha) return 0xFF000000 | join(32, blended(rule, context, s, d));
  if (rule.fx == solid || rule.fx == srcoverdst) return s;
  return join(32, blended(rule, context, s, d));
}

uint32_t put8(const pixel_rule &rule, const pixel_context &context, uint32_t s, uint32_t d) {
  if (rule.key == keying::ghost) return context.ghost[s * 256 + d];
  if (rule.fx >= dstoversrc && rule.fx <= srcxordst) return composite(rule, context, 255, s, d);
  return s;
}

} // namespace

// clang-format off
const std::array<std::string_view, 42> effect_names = {
    "", "src", "dst", "srcoverdst", "dstoversrc", "srcindst", "dstinsrc", "srcoutdst", "dstoutsrc",
    "srcatopdst", "dstatopsrc", "srccleardst", "srcxordst", "additiveblend", "subtractiveblend",
    "multiplyblend", "averageblend", "screenblend", "rblend", "gblend", "bblend", "rgblend",
    "rbblend", "gbblend", "andblend", "orblend", "xorblend", "invert", "rinvert", "ginvert",
    "binvert", "rginvert", "rbinvert", "gbinvert", "grayscale", "rscale", "gscale", "bscale",
    "rgscale", "rbscale", "gbscale", "tint",
};
// clang-format on

uint32_t put_pixel(const pixel_rule &rule, const pixel_context &context, uint32_t s, uint32_t d) {
  if (rule.key != keying::every_pixel && s == 0) return d;
  switch (rule.depth) {
  case 8: return put8(rule, context, s, d);
  case 16: return put16(rule, context, s, d);
  default: return put32(rule, context, s, d);
  }
}

parsed_name parse_routine(std::string_view name) {
  static const std::regex form("([a-z]+)_(8|16|32)to\\2_(normalnokey|normal|nokey|ghost)?_?"
                               "(alpha(?!chn))?([a-z]*?)_?(alphachn)?");
  const std::string text(name);
  std::smatch word;
  const auto bad = [&] { return std::invalid_argument(text + " is no routine's name"); };
  static std::map<std::string, parsed_name> known; // expressions are slow
  const auto [at, is_new] = known.try_emplace(text);
  parsed_name &parsed = at->second;
  if (!is_new) return parsed;
  if (!std::regex_match(text, word, form)) throw bad();
  parsed.operation = word[1];
  pixel_rule &rule = parsed.rule;
  rule.depth = std::stoi(word[2]);
  rule.channel = word[6].matched;
  const std::string key = word[3], effect = word[5];
  rule.key = key == "ghost"                    ? keying::ghost
             : rule.channel || key != "normal" ? keying::every_pixel
                                               : keying::keyed;
  rule.alpha = word[4].matched;
  if (effect.empty() || (rule.alpha && effect == "blend")) return parsed;
  const auto found = std::find(effect_names.begin() + 1, effect_names.end(), effect);
  if (found == effect_names.end()) throw bad();
  rule.fx = int(found - effect_names.begin());
  return parsed;
}

} // namespace checkspan

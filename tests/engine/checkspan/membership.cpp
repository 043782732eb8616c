#include "engine/checkspan/membership.h"

#include "engine/checkspan/reference.h"

namespace checkspan {

namespace {

const std::string depth_names[] = {"_8to8_",   "_16to16_", "_16to16_", "_32to32_",
                                   "_32to32_", "_32to32_", "_32to32_"};

enum class group { empty, solid, source, composite, additive, or_xor, other };
group group_of(int fx) {
  if (fx == 0 || fx == 3) return group::solid;
  if (fx == 1) return group::source;
  if (fx == 2) return group::empty;
  if (fx <= 12) return group::composite;
  if (fx == 13) return group::additive;
  if (fx == 25 || fx == 26) return group::or_xor;
  return group::other;
}

} // namespace

std::string member(const std::string &operation, table in, column key, int fx) {
  const std::string op = operation + depth_names[in], e(effect_names[size_t(fx)]);
  const group g = group_of(fx);
  if (g == group::empty || (in == table8 && fx > 12)) return "";

  if (key == column_ghost) {
    if (operation == "tile") return "";
    const bool blend = g == group::additive || g == group::or_xor || g == group::other;
    if (!blend) return op + (in >= table_chn32 ? "ghost_alphachn" : "ghost");
    key = column_keyed;
  }
  const bool k = key == column_keyed;
  // Scaled and rotated spans have the two logic blends with and without a key.
  const bool one_for_both = operation == "draw" || operation == "tile";
  switch (in) {
  case table8:
  case table16:
  case table32:
    switch (g) {
    case group::solid: return op + (k ? "normal" : "nokey");
    case group::source: return op + "normalnokey_src";
    case group::composite: return op + (k ? "normal_" + e : "nokey");
    case group::additive: return op + "normalnokey_additiveblend";
    case group::or_xor:
      if (one_for_both) return op + "normalnokey_" + e;
      [[fallthrough]];
    default: return op + (k ? "normal_" : "nokey_") + e;
    }
  case table_alpha16:
  case table_alpha32:
    switch (g) {
    case group::solid: return op + (k ? "normal_alphablend" : "nokey_alphablend");
    case group::source: return op + "normalnokey_alphasrc";
    case group::composite:
      if (!k) return op + "nokey_alphablend";
      return op + (e == "srccleardst" ? "normal_srccleardst" : "normal_alpha" + e);
    case group::additive: return op + "normalnokey_alphaadditiveblend";
    case group::or_xor: return op + "normal_alpha" + e;
    default: return op + (k ? "normal_alpha" : "nokey_alpha") + e;
    }
  case table_chn32:
    if (g == group::solid || (g == group::composite && !k)) return op + "alphachn";
    return op + e + "_alphachn";
  default:
    if (g == group::solid || (g == group::composite && !k)) return op + "alphaalphachn";
    return op + "alpha" + e + "_alphachn";
  }
}

std::string tile_channel_member(table in, int index) {
  // 29 effects follow the copy: additive, subtractive, multiply, average, screen, six channel
  // blends, and, or, xor, seven inverts, grayscale, six scales, tint.
  if (index == 0) return member("tile", in, column_keyed, 0);
  if (index <= 29) return member("tile", in, column_keyed, 12 + index);
  return "";
}

} // namespace checkspan

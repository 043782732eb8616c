// The effects: one list that generates the enum, the names and the script numbers, and decides
// which span routine goes where. A new effect is one row here, one struct per pixel kind (fx16.h,
// fx32.h), and one line in routine.h if its table entries are unusual.
#pragma once

#include <cstdint>

enum class effect_class : uint8_t {
  copy,      // the source pixel
  source,    // the source pixel, colour key ignored
  nothing,   // never drawn
  composite, // Porter-Duff, by coverage
  blend,     // mixes source and destination
  point,     // changes the source alone
};

// effect(name, class): the position is the table index; the name ends the routine names.
// clang-format off
#define ORB_EFFECTS(effect)                        \
  effect(solid, copy)                              \
  effect(src, source)                              \
  effect(dst, nothing)                             \
  effect(srcoverdst, copy)                         \
  effect(dstoversrc, composite)                    \
  effect(srcindst, composite)                      \
  effect(dstinsrc, composite)                      \
  effect(srcoutdst, composite)                     \
  effect(dstoutsrc, composite)                     \
  effect(srcatopdst, composite)                    \
  effect(dstatopsrc, composite)                    \
  effect(srccleardst, composite)                   \
  effect(srcxordst, composite)                     \
  effect(additiveblend, blend)                     \
  effect(subtractiveblend, blend)                  \
  effect(multiplyblend, blend)                     \
  effect(averageblend, blend)                      \
  effect(screenblend, blend)                       \
  effect(rblend, blend)                            \
  effect(gblend, blend)                            \
  effect(bblend, blend)                            \
  effect(rgblend, blend)                           \
  effect(rbblend, blend)                           \
  effect(gbblend, blend)                           \
  effect(andblend, blend)                          \
  effect(orblend, blend)                           \
  effect(xorblend, blend)                          \
  effect(invert, point)                            \
  effect(rinvert, point)                           \
  effect(ginvert, point)                           \
  effect(binvert, point)                           \
  effect(rginvert, point)                          \
  effect(rbinvert, point)                          \
  effect(gbinvert, point)                          \
  effect(grayscale, point)                         \
  effect(rscale, point)                            \
  effect(gscale, point)                            \
  effect(bscale, point)                            \
  effect(rgscale, point)                           \
  effect(rbscale, point)                           \
  effect(gbscale, point)                           \
  effect(tint, point)
// clang-format on

enum effect : int8_t {
#define ORB_EFFECT_ENUM(name, class_) fx_##name,
  ORB_EFFECTS(ORB_EFFECT_ENUM)
#undef ORB_EFFECT_ENUM
      effect_count
};
static_assert(effect_count == 42);

inline constexpr effect_class effect_classes[effect_count] = {
#define ORB_EFFECT_CLASS(name, class_) effect_class::class_,
    ORB_EFFECTS(ORB_EFFECT_CLASS)
#undef ORB_EFFECT_CLASS
};

inline constexpr const char *effect_names[effect_count] = {
#define ORB_EFFECT_NAME(name, class_) #name,
    ORB_EFFECTS(ORB_EFFECT_NAME)
#undef ORB_EFFECT_NAME
};

/// The last effect available in 8-bit modes.
inline constexpr int32_t last_effect_8bits = fx_srcxordst;

/// Table index of a script's fxmode (0..26, 1001..1015), or -1 if refused: a gap in the numbering,
/// or fx_dst, which draws nothing.
constexpr int32_t effect_index(int32_t fxmode) {
  if (fxmode >= 0 && fxmode <= fx_xorblend) return fxmode == fx_dst ? -1 : fxmode;
  if (fxmode > 1000 && fxmode < 1016) return fxmode - 1001 + fx_invert;
  return -1;
}

// What a span routine is, which ones exist, and which one sits in which table entry.
//
// A routine is named by operation, pixels, key, alpha and effect. Everything else follows at
// compile time: routine_of() is the one rule that says what a table entry holds, the existing
// routines are those that some entry holds, and the tables, the kernels and the directory are
// filled from them.
#pragma once

#include "blit/effects.h"

enum class span_op : uint8_t { draw, scale, rotscale, tile };
inline constexpr int span_op_count = 4;

/// The seven tables of an operation. chn: the source has an alpha channel; alpha: the blit has a
/// global alpha below 255.
enum class span_table : uint8_t { t8, t16, alpha16, t32, alpha32, alphachn32, alphaalphachn32 };
inline constexpr int span_table_count = 7;

/// Key columns of a table, by flags.
enum class span_column : uint8_t { keyed, ghost, nokey };

/// Source and destination pixels; chn32 is 32 bits with a source alpha channel.
enum class span_pixels : uint8_t { p8, p16, p32, chn32 };

/// How the key is treated: normal skips source zeros, nokey draws them, normalnokey serves both
/// columns and draws them, ghost is keyed and half translucent. Alpha-channel routines have no key
/// of their own (nokey here), but for their ghost.
enum class span_key : uint8_t { normal, nokey, normalnokey, ghost };

struct span_routine_id {
  span_pixels pixels = span_pixels::p8;
  span_key key = span_key::normal;
  bool alpha = false; // applies the blit's global alpha
  effect fx = fx_solid;
  bool exists = false; // false: an empty table entry

  constexpr bool operator==(const span_routine_id &) const = default;
};

/// Whether a routine puts source pixels down as they are, some or all of them.
constexpr bool is_copy(span_routine_id id) {
  return id.pixels != span_pixels::chn32 && id.fx == fx_solid && !id.alpha &&
         id.key != span_key::ghost;
}

/// Whether wider registers serve a routine. The 8-bit ghost looks its pixels up, one by one.
constexpr bool gains_by_width(span_routine_id id) {
  return id.pixels != span_pixels::p8 || id.key != span_key::ghost;
}

constexpr span_pixels pixels_of(span_table table) {
  switch (table) {
  case span_table::t8: return span_pixels::p8;
  case span_table::t16:
  case span_table::alpha16: return span_pixels::p16;
  case span_table::t32:
  case span_table::alpha32: return span_pixels::p32;
  default: return span_pixels::chn32;
  }
}

constexpr bool has_alpha(span_table table) {
  return table == span_table::alpha16 || table == span_table::alpha32 ||
         table == span_table::alphaalphachn32;
}

/// The rule: the routine for an effect in a column of a table of an operation.
constexpr span_routine_id routine_of(span_op op, span_table table, span_column column, effect fx) {
  using enum span_key;
  const span_pixels pixels = pixels_of(table);
  const bool alpha = has_alpha(table);
  const effect_class kind = effect_classes[fx];
  if (kind == effect_class::nothing) return {};
  if (pixels == span_pixels::p8 && fx > last_effect_8bits) return {};
  const auto routine = [&](span_key key, effect which) {
    return span_routine_id{pixels, key, alpha, which, true};
  };

  // The ghost: plain whatever the effect of a copy or a composite; a blend's column holds the
  // keyed blend. It carries neither alpha nor effect.
  if (column == span_column::ghost) {
    if (op == span_op::tile) return {};
    if (kind != effect_class::blend && kind != effect_class::point)
      return {pixels, ghost, false, fx_solid, true};
    column = span_column::keyed;
  }
  const bool keyed = column == span_column::keyed;

  if (kind == effect_class::copy) fx = fx_solid;
  if (pixels == span_pixels::chn32) {
    // One routine for both columns: the alpha channel takes the key's place. Without key a
    // composite is the plain copy.
    return routine(nokey, kind == effect_class::composite && !keyed ? fx_solid : fx);
  }
  if (kind == effect_class::source) return routine(normalnokey, fx);
  if (kind == effect_class::composite) {
    if (!keyed) return routine(nokey, fx_solid);
    // QUIRK: clearing under a global alpha would fade; it clears outright.
    if (fx == fx_srccleardst) return {pixels, normal, false, fx, true};
    return routine(normal, fx);
  }
  if (fx == fx_additiveblend) return routine(normalnokey, fx);
  if (fx == fx_orblend || fx == fx_xorblend) {
    // QUIRK: with a global alpha these are keyed even in the no-key column.
    if (alpha) return routine(normal, fx);
    // A zero source changes nothing, so one routine could serve everywhere; the row-wise
    // operations keep two all the same, the rectangle-wise ones one.
    if (op == span_op::draw || op == span_op::tile) return routine(normalnokey, fx);
  }
  return routine(keyed ? normal : nokey, fx);
}

/// Columns of a table: keyed, ghost, no key; tiles have no ghost, and their alpha-channel tables
/// only one column.
constexpr int columns_of(span_op op, span_table table) {
  if (op != span_op::tile) return 3;
  return pixels_of(table) == span_pixels::chn32 ? 1 : 2;
}

constexpr int rows_of(span_table table) { return table == span_table::t8 ? 13 : effect_count; }

constexpr int table_size(span_op op, span_table table) {
  return columns_of(op, table) * rows_of(table);
}

/// What entry `index` of a table holds.
constexpr span_routine_id entry_of(span_op op, span_table table, int index) {
  const int columns = columns_of(op, table);
  int row = index / columns;
  if (columns == 1) {
    // QUIRK: the alpha-channel tile tables would be expected in effect order. They hold the copy,
    // then the blends and point effects from additive to tint, then nothing, and are indexed by
    // effect all the same: `src` tiles with the additive routine.
    if (row > effect_count - fx_additiveblend) return {};
    if (row > 0) row += fx_additiveblend - 1;
    return routine_of(op, table, span_column::keyed, effect(row));
  }
  constexpr span_column three[] = {span_column::keyed, span_column::ghost, span_column::nokey};
  constexpr span_column two[] = {span_column::keyed, span_column::nokey};
  return routine_of(op, table, columns == 3 ? three[index % 3] : two[index % 2], effect(row));
}

// ---- All routines -------------------------------------------------------------------------------

/// Dense number of a routine among everything that could exist; the key of the kernel tables.
inline constexpr int routine_numbers = 4 * 4 * 2 * effect_count;
constexpr int number_of(span_routine_id id) {
  return ((int(id.pixels) * 4 + int(id.key)) * 2 + id.alpha) * effect_count + id.fx;
}
constexpr span_routine_id routine_at(int number) {
  return {span_pixels(number / (8 * effect_count)), span_key(number / (2 * effect_count) % 4),
          number / effect_count % 2 != 0, effect(number % effect_count), true};
}

struct span_routine_set {
  bool has[routine_numbers] = {};
  int count = 0;

  constexpr void add(span_routine_id id) {
    if (!id.exists || has[number_of(id)]) return;
    has[number_of(id)] = true;
    ++count;
  }
};

/// The routines of an operation: those that its tables hold. Tile tables leave out the composites
/// over an alpha channel, which exist for all operations.
consteval span_routine_set routines_of(span_op op) {
  span_routine_set set;
  for (int t = 0; t < span_table_count; ++t) {
    const auto table = span_table(t);
    for (int fx = 0; fx < rows_of(table); ++fx)
      for (int column = 0; column < 3; ++column)
        set.add(routine_of(op, table, span_column(column), effect(fx)));
  }
  return set;
}

inline constexpr span_routine_set draw_routines = routines_of(span_op::draw);
inline constexpr span_routine_set scale_routines = routines_of(span_op::scale);
inline constexpr span_routine_set rotscale_routines = routines_of(span_op::rotscale);
inline constexpr span_routine_set tile_routines = routines_of(span_op::tile);
static_assert(draw_routines.count == 362);
static_assert(scale_routines.count == 366);
static_assert(rotscale_routines.count == 366);
static_assert(tile_routines.count == 358);

constexpr const span_routine_set &routine_set(span_op op) {
  switch (op) {
  case span_op::draw: return draw_routines;
  case span_op::scale: return scale_routines;
  case span_op::rotscale: return rotscale_routines;
  default: return tile_routines;
  }
}
inline constexpr int span_routine_count =
    draw_routines.count + scale_routines.count + rotscale_routines.count + tile_routines.count;
static_assert(span_routine_count == 1452);

/// True when some operation needs the pixel arithmetic of this routine.
constexpr bool routine_exists(int number) {
  return draw_routines.has[number] || scale_routines.has[number];
}

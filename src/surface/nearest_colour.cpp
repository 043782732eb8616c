// Searching 254 entries for every pixel of a picture would take far longer than reading its file.
// So the colour space is divided into 16 x 16 x 16 cells, and each cell lists its candidates, the
// entries that can be nearest to a colour in it: about four if the palette is spread evenly. An
// entry is ruled out by a pivot, another entry that wins against it everywhere in the cell. Its
// lead over the pivot is a sum of one term for each component, and each term is monotone along its
// side of the cell, so the largest lead is the sum of the terms at the better ends of their sides.
// So the test is exact, and searching the list gives just what searching all entries gives, ties
// included.
//
// A cell is listed when the first colour falls into it; small pictures touch few.
#include "surface/nearest_colour.h"

#include <cstdlib>
#include <cstring>

#include "simd/lanes.h"
#include "surface/growth.h"

namespace {

constexpr int32_t first_entry = 1, end_entry = 255;

constexpr int32_t side_bits = 4, level_bits = 8 - side_bits; // of a cell, and of a level in it
constexpr int32_t cell_side = 1 << level_bits;
constexpr int32_t cell_count = 1 << 3 * side_bits;
constexpr int32_t group_entries = 8;
static_assert(group_entries == group_size<uint16_t>);

/// What one step of a search compares. The last group of a cell repeats its last candidate.
struct candidate_group {
  uint8_t components[group_entries][8]; // blue, green, red, and zeros
  uint32_t tags[group_entries];         // first_tag + index
};

/// The bits of the float 1. The bits of positive floats are in the order of their values, and SSE2
/// finds the least of four floats, but not of four numbers of 32 bits.
constexpr uint32_t first_tag = 0x3F800000;

struct colour_cell {
  uint32_t groups : 6; // 0: not listed yet
  uint32_t first_group : 26;
};

using cell_corner = int32_t[3]; // red, green, blue

struct colour_cube {
  __ORBPalette2D__ made_for;
  int16_t levels[3][256]; // of each component; see lay_out
  colour_cell cells[cell_count];
  candidate_group *groups;
  int32_t group_count, group_room;
};

colour_cube *cube; // of the palette last searched by find_all_nearest

void lay_out(const __ORBPalette2D__ *in) {
  cube->made_for = *in;
  cube->group_count = 0;
  memset(cube->cells, 0, sizeof cube->cells);
  // The entries that are never found lie out of reach: every pivot rules them out.
  constexpr int16_t out_of_reach = 1024;
  for (int32_t i = 0; i < 256; ++i) {
    const bool found = i >= first_entry && i < end_entry;
    const orb_rgb &entry = in->colours[i];
    cube->levels[0][i] = found ? entry.r : out_of_reach;
    cube->levels[1][i] = found ? entry.g : out_of_reach;
    cube->levels[2][i] = found ? entry.b : out_of_reach;
  }
}

/// Makes the cube that of a palette. False without memory.
bool prepare_cube(const __ORBPalette2D__ *in) {
  if (cube && memcmp(&cube->made_for, in, sizeof *in) == 0) return true;
  if (!cube) cube = static_cast<colour_cube *>(calloc(1, sizeof *cube));
  if (cube) lay_out(in);
  return cube != nullptr;
}

// ---- Candidates --------------------------------------------------------------------------------

signed_words spread(int32_t value) { return signed_words{} + int16_t(value); }
signed_words greater(signed_words x, signed_words y) { return x > y ? x : y; }
signed_words lesser(signed_words x, signed_words y) { return x < y ? x : y; }
signed_words distance(signed_words x, signed_words y) { return greater(x - y, y - x); }

/// The least lane, in all lanes.
signed_words least_of(signed_words v) {
  v = lesser(v, shuffled<[](int i) { return i ^ 4; }>(v, v));
  v = lesser(v, shuffled<[](int i) { return i ^ 2; }>(v, v));
  return lesser(v, shuffled<[](int i) { return i ^ 1; }>(v, v));
}

/// The first lane where two vectors are equal.
int32_t first_equal_lane(signed_words x, signed_words y) {
  return __builtin_ctz(uint32_t(_mm_movemask_epi8(register_type(x == y)))) / 2;
}

/// An entry nearest to a colour of these components.
int32_t find_pivot(int32_t r, int32_t g, int32_t b) {
  signed_words least = spread(INT16_MAX), group{};
  for (int32_t i = 0; i < 256; i += group_entries) {
    const signed_words d = distance(load<signed_words>(cube->levels[0] + i), spread(r)) +
                           distance(load<signed_words>(cube->levels[1] + i), spread(g)) +
                           distance(load<signed_words>(cube->levels[2] + i), spread(b));
    group = d < least ? spread(i) : group;
    least = lesser(d, least);
  }
  const int32_t lane = first_equal_lane(least, least_of(least));
  return group[lane] + lane;
}

/// A cell's candidates while it is being listed: all bits of an entry's lane, or none.
using candidate_set = signed_words[256 / group_entries];

/// Takes from the candidates of a cell those that the pivot wins against everywhere.
void rule_out(candidate_set &candidates, const cell_corner &lowest, int32_t pivot) {
  for (int32_t group = 0; group < 256 / group_entries; ++group) {
    if (none(candidates[group])) continue;
    const int32_t first = group * group_entries;
    signed_words lead{};
    for (int32_t c = 0; c < 3; ++c) {
      const int16_t *const levels = cube->levels[c];
      const signed_words level = load<signed_words>(levels + first), own = spread(levels[pivot]),
                         low = spread(lowest[c]), high = spread(lowest[c] + cell_side - 1);
      lead += greater(distance(low, own) - distance(low, level),
                      distance(high, own) - distance(high, level));
    }
    // An entry that is at best as near as the pivot is found only if its index is lower.
    const signed_words index = spread(first) + signed_words{0, 1, 2, 3, 4, 5, 6, 7};
    candidates[group] &= (lead > 0) | ((lead == 0) & (index <= spread(pivot)));
  }
}

int32_t indices_of(const candidate_set &candidates, uint8_t (&indices)[256]) {
  int32_t count = 0;
  for (int32_t group = 0; group < 256 / group_entries; ++group) {
    const int32_t bytes_set = _mm_movemask_epi8(register_type(candidates[group]));
    for (uint32_t left = bytes_set & 0x5555; left; left &= left - 1)
      indices[count++] = uint8_t(group * group_entries + __builtin_ctz(left) / 2);
  }
  return count;
}

/// Lists the candidates of a cell. Returns how many.
int32_t list_candidates(const cell_corner &lowest, uint8_t (&indices)[256]) {
  constexpr int32_t middle = cell_side / 2;
  candidate_set candidates;
  memset(candidates, 0xFF, sizeof candidates);
  rule_out(candidates, lowest,
           find_pivot(lowest[0] + middle, lowest[1] + middle, lowest[2] + middle));
  int32_t count = indices_of(candidates, indices);
  if (count > group_entries) {
    // Each against each other one takes longer, but leaves most cells with one group.
    for (int32_t i = 0; i < count; ++i)
      rule_out(candidates, lowest, indices[i]);
    count = indices_of(candidates, indices);
  }
  return count;
}

/// Appends groups of candidates. False without memory.
bool append_groups(const uint8_t *candidates, int32_t count) {
  const int32_t groups = (count + group_entries - 1) / group_entries;
  if (cube->group_count + groups > cube->group_room) {
    const int32_t room = cube->group_room * 2 + 512;
    if (!grow_records(cube->groups, cube->group_room, room)) return false;
    cube->group_room = room;
  }
  candidate_group *group = cube->groups + cube->group_count;
  for (int32_t i = 0; i < groups * group_entries; ++i) {
    const uint8_t index = candidates[i < count ? i : count - 1];
    const orb_rgb &entry = cube->made_for.colours[index];
    const int32_t lane = i % group_entries;
    uint8_t *const components = group->components[lane];
    components[0] = entry.b;
    components[1] = entry.g;
    components[2] = entry.r;
    group->tags[lane] = first_tag + index;
    group += lane == group_entries - 1;
  }
  cube->group_count += groups;
  return true;
}

/// False without memory.
bool list_cell(int32_t place) {
  constexpr int32_t side_mask = (1 << side_bits) - 1;
  const cell_corner lowest = {place >> 2 * side_bits << level_bits,
                              (place >> side_bits & side_mask) << level_bits,
                              (place & side_mask) << level_bits};
  uint8_t candidates[256];
  const int32_t count = list_candidates(lowest, candidates), first = cube->group_count;
  if (!append_groups(candidates, count)) return false;
  cube->cells[place] = {uint32_t(cube->group_count - first), uint32_t(first)};
  return true;
}

// ---- Search ------------------------------------------------------------------------------------

/// Four entries of a group, distance << 8 + tag each: the least is the nearest.
__m128 ranks(const candidate_group &group, int32_t first, __m128i colour) {
  const auto at = [](const void *from) { return register_type(load<bytes>(from)); };
  const __m128i one_two = _mm_sad_epu8(at(group.components[first]), colour);
  const __m128i three_four = _mm_sad_epu8(at(group.components[first + 2]), colour);
  const __m128i distances = _mm_castps_si128(_mm_shuffle_ps(
      _mm_castsi128_ps(one_two), _mm_castsi128_ps(three_four), _MM_SHUFFLE(2, 0, 2, 0)));
  return _mm_castsi128_ps(_mm_or_si128(_mm_slli_epi32(distances, 8), at(group.tags + first)));
}

uint8_t nearest_in_groups(const candidate_group *group, uint32_t groups, uint32_t colour) {
  __m128i own = _mm_cvtsi32_si128(int32_t(colour)); // its top byte adds the same to all distances
  own = _mm_unpacklo_epi64(own, own);
  __m128 best = _mm_min_ps(ranks(*group, 0, own), ranks(*group, 4, own));
  for (; groups > 1; --groups) {
    ++group;
    best = _mm_min_ps(best, _mm_min_ps(ranks(*group, 0, own), ranks(*group, 4, own)));
  }
  best = _mm_min_ps(best, _mm_shuffle_ps(best, best, _MM_SHUFFLE(1, 0, 3, 2)));
  best = _mm_min_ps(best, _mm_shuffle_ps(best, best, _MM_SHUFFLE(2, 3, 0, 1)));
  return uint8_t(_mm_cvtsi128_si32(_mm_castps_si128(best)));
}

/// The cell of a colour.
int32_t cell_of(uint32_t colour) {
  constexpr uint32_t mask = (1 << side_bits) - 1;
  const auto side = [colour](int32_t shift) { return colour >> (shift + level_bits) & mask; };
  return int32_t(side(16) << 2 * side_bits | side(8) << side_bits | side(0));
}

/// Searches up to the first colour of a cell that isn't listed. Returns how many colours.
uint32_t search_listed(const uint32_t *colours, uint32_t count, uint8_t *to) {
  const colour_cell *const cells = cube->cells;
  const candidate_group *const groups = cube->groups;
  uint32_t last = ~colours[0];
  uint8_t index = 0;
  for (uint32_t i = 0; i < count; ++i) {
    if (colours[i] != last) {
      last = colours[i];
      const colour_cell cell = cells[cell_of(last)];
      if (!cell.groups) return i;
      index = nearest_in_groups(groups + cell.first_group, cell.groups, last);
    }
    to[i] = index;
  }
  return count;
}

} // namespace

uint8_t find_nearest(const __ORBPalette2D__ *in, int32_t r, int32_t g, int32_t b) {
  int32_t best_distance = 999;
  uint8_t best = 0;
  for (int32_t i = first_entry; i < end_entry; ++i) {
    const orb_rgb &entry = in->colours[i];
    const int32_t distance = abs(entry.r - r) + abs(entry.g - g) + abs(entry.b - b);
    if (distance < best_distance) {
      best_distance = distance;
      best = uint8_t(i);
    }
  }
  return best;
}

void find_all_nearest(const __ORBPalette2D__ *in, const uint32_t *colours, uint32_t count,
                      uint8_t *to) {
  const bool quick = prepare_cube(in);
  for (uint32_t i = 0; i < count;) {
    if (quick) i += search_listed(colours + i, count - i, to + i);
    if (i == count) break;
    const uint32_t colour = colours[i];
    if (quick && list_cell(cell_of(colour))) continue;
    to[i++] = find_nearest(in, int32_t(colour >> 16 & 255), int32_t(colour >> 8 & 255),
                           int32_t(colour & 255));
  }
}

void forget_nearest() {
  if (cube) free(cube->groups);
  free(cube);
  cube = nullptr;
}

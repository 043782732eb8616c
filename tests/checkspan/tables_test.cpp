// The routine tables and the directory against written-out lists.
#include <algorithm>
#include <fstream>
#include <map>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "blit/blit.h"
#include "blit/span.h"
#include "checkspan/membership.h"
#include "checkspan/reference.h"

using namespace checkspan;

namespace {

const char *const operation_names[] = {"draw", "scale", "rotscale", "tile"};
constexpr instruction_set sets[] = {instruction_set::sse2, instruction_set::avx2};

/// Names of an instruction set's routines by address. No two routines share an address: the tables
/// could not be told apart.
std::map<span_routine *, std::string> names_by_routine(instruction_set isa) {
  std::map<span_routine *, std::string> names;
  for (const span_directory_entry &entry : span_directory()) {
    const auto [at, added] = names.emplace(routine_of(entry, isa), entry.name);
    EXPECT_TRUE(added) << entry.name << " is " << at->second;
  }
  names[nullptr] = "";
  return names;
}

TEST(SpanTables, DirectoryListsEveryRoutineOnce) {
  std::ifstream in(std::string(ORB_TEST_SOURCE_DIR) + "/data/span_routines.txt");
  std::vector<std::string> wanted, found;
  for (std::string line; std::getline(in, line);)
    wanted.push_back(line);
  for (const span_directory_entry &entry : span_directory())
    found.push_back(entry.name);
  std::sort(wanted.begin(), wanted.end());
  std::sort(found.begin(), found.end());
  EXPECT_EQ(wanted.size(), 1452u);
  EXPECT_EQ(found, wanted);
}

TEST(SpanTables, EveryEntryHoldsItsRoutine) {
  for (const instruction_set isa : sets) {
    const auto names = names_by_routine(isa);
    const auto name_at = [&](int op, int table, int index) {
      const auto found = names.find(span_table_entries(isa, span_op(op), span_table(table))[index]);
      return found == names.end() ? "a routine of no name" : found->second;
    };
    for (int op = 0; op < 4; ++op) {
      for (int t = 0; t < 7; ++t) {
        SCOPED_TRACE(std::string(operation_names[op]) + ", table " + std::to_string(t) +
                     (isa == instruction_set::sse2 ? ", SSE2" : ", AVX2"));
        const std::string name = operation_names[op];
        if (name == "tile" && t >= table_chn32) {
          for (int i = 0; i < 42; ++i)
            EXPECT_EQ(name_at(op, t, i), tile_channel_member(table(t), i)) << i;
          continue;
        }
        const int effects = t == table8 ? 13 : 42;
        for (int fx = 0; fx < effects; ++fx) {
          if (name == "tile") {
            EXPECT_EQ(name_at(op, t, 2 * fx), member(name, table(t), column_keyed, fx)) << fx;
            EXPECT_EQ(name_at(op, t, 2 * fx + 1), member(name, table(t), column_nokey, fx)) << fx;
          } else {
            for (int key = 0; key < 3; ++key)
              EXPECT_EQ(name_at(op, t, 3 * fx + key), member(name, table(t), column(key), fx))
                  << fx << ", column " << key;
          }
        }
      }
    }
  }
}

/// A few entries spelled out, so that the rule and its transcription cannot drift together.
TEST(SpanTables, EntriesByName) {
  const auto names = names_by_routine(instruction_set::sse2);
  const auto name_at = [&](span_op op, span_table table, int index) {
    return names.at(span_table_entries(instruction_set::sse2, op, table)[index]);
  };
  using enum span_op;
  using enum span_table;
  EXPECT_EQ(name_at(draw, t16, 0), "draw_16to16_normal");
  EXPECT_EQ(name_at(draw, t16, 1), "draw_16to16_ghost");
  EXPECT_EQ(name_at(draw, t16, 2), "draw_16to16_nokey");
  EXPECT_EQ(name_at(draw, t16, 3 * 2), "");
  EXPECT_EQ(name_at(draw, t8, 3 * 12 + 1), "draw_8to8_ghost");
  EXPECT_EQ(name_at(draw, t8, 3 * 12 + 2), "draw_8to8_nokey");
  EXPECT_EQ(name_at(draw, alphachn32, 1), "draw_32to32_ghost_alphachn");
  EXPECT_EQ(name_at(draw, t32, 3 * 26 + 2), "draw_32to32_normalnokey_xorblend");
  EXPECT_EQ(name_at(scale, t32, 3 * 26 + 2), "scale_32to32_nokey_xorblend");
  EXPECT_EQ(name_at(draw, alpha32, 3 * 26 + 2), "draw_32to32_normal_alphaxorblend");
  EXPECT_EQ(name_at(scale, alpha16, 3 * 11), "scale_16to16_normal_srccleardst");
  EXPECT_EQ(name_at(scale, alpha16, 3 * 11 + 2), "scale_16to16_nokey_alphablend");
  EXPECT_EQ(name_at(rotscale, alphaalphachn32, 3 * 41), "rotscale_32to32_alphatint_alphachn");
  EXPECT_EQ(name_at(tile, t8, 2 * 7), "tile_8to8_normal_srcoutdst");
  EXPECT_EQ(name_at(tile, t8, 25), "tile_8to8_nokey");
  EXPECT_EQ(name_at(tile, alphachn32, 1), "tile_32to32_additiveblend_alphachn");
  EXPECT_EQ(name_at(tile, alphachn32, 13), "tile_32to32_orblend_alphachn");
  EXPECT_EQ(name_at(tile, alphaalphachn32, 29), "tile_32to32_alphatint_alphachn");
  EXPECT_EQ(name_at(tile, alphaalphachn32, 30), "");
}

TEST(SpanTables, NamesInUseFollowTheInstructionSet) {
  for (const instruction_set isa : sets) {
    mask_instruction_sets(isa);
    if (!cpu_has(isa)) continue;
    set_blitter_routines();
    EXPECT_EQ(span_instruction_set(), isa);
#define ORB_CHECK_TABLE(variable, op, table)                                                       \
  EXPECT_EQ(variable, span_table_entries(isa, span_op::op, span_table::table)) << #variable;
    ORB_SPAN_TABLES(ORB_CHECK_TABLE)
#undef ORB_CHECK_TABLE
  }
  mask_instruction_sets(instruction_set::avx2);
  set_blitter_routines();
}

/// The reference's own arithmetic at hand-computed values.
TEST(SpanReference, KnownPixels) {
  std::vector<uint8_t> ghost(65536);
  ghost[3 * 256 + 7] = 99;
  struct {
    const char *routine;
    int alpha;
    bool dst_alpha;
    uint32_t s, d, wanted;
  } const cases[] = {
      {"draw_8to8_ghost", 255, false, 3, 7, 99},
      {"draw_8to8_normal", 255, false, 0, 7, 7},
      {"draw_8to8_nokey", 255, false, 0, 7, 0},
      {"draw_8to8_normal_srcoutdst", 255, false, 3, 7, 0},
      {"draw_16to16_ghost", 255, false, 0xFFFF, 0, 0x7BEF},
      // Screen shifts: blue 0 on 0 gives 1, and so does green.
      {"scale_16to16_normal_screenblend", 255, false, 0xF800, 0, 0xF800 | 1 << 5 | 1},
      {"scale_16to16_normal_multiplyblend", 255, false, 0xFFFF, 0x1234, 0x1234},
      {"draw_16to16_normal_alphablend", 128, false, 0xFFFF, 0, 15 << 11 | 31 << 5 | 15},
      {"draw_16to16_normal_alphablend", 128, false, 0x0821, 0xFFFF,
       (31 - 15) << 11 | (63 - 31) << 5 | (31 - 15)},
      {"draw_32to32_normal", 255, true, 0x00123456, 0x80000000, 0xFF123456},
      {"draw_32to32_normal", 255, false, 0xFF000000, 0x123456, 0xFF000000},
      {"draw_32to32_normal", 255, false, 0, 0x123456, 0x123456},
      {"draw_32to32_normalnokey_src", 255, true, 0, 0x80123456, 0},
      {"draw_32to32_normalnokey_additiveblend", 255, false, 200, 100, 255},
      {"draw_32to32_normal_subtractiveblend", 255, false, 200, 100, 45},
      {"draw_32to32_normal_subtractiveblend", 255, false, 100, 100, 0},
      {"draw_32to32_ghost", 255, false, 0xFFFFFFFF, 0, 0x7F7F7F},
      {"draw_32to32_normal_grayscale", 255, false, 0xFF0000, 0, 0x4C4C4C},
      {"draw_32to32_normal_rgscale", 255, false, 0xFFFFFF, 0, 0xFFFF00},
      // Truncated term by term: 100 of 128 and 200 of 127 give 50 and 99.
      {"draw_32to32_normal_alphablend", 128, false, 100, 200, 149},
      // Half opaque over nothing: opacity 128, colour unchanged.
      {"draw_32to32_alphachn", 255, true, 0x80102030, 0, 0x80102030},
      {"draw_32to32_alphachn", 255, true, 0x00102030, 0x11223344, 0x11223344},
      {"draw_32to32_src_alphachn", 255, true, 0x00102030, 0x11223344, 0x00102030},
      {"draw_32to32_srcindst_alphachn", 255, true, 0xFF102030, 0x00FFFFFF, 0},
      {"draw_32to32_srcxordst_alphachn", 255, true, 0xFF102030, 0xFF445566, 0},
  };
  for (const auto &c : cases) {
    pixel_context context;
    context.alpha = c.alpha;
    context.dst_alpha = c.dst_alpha;
    context.ghost = ghost.data();
    EXPECT_EQ(put_pixel(parse_routine(c.routine).rule, context, c.s, c.d), c.wanted)
        << c.routine << std::hex << " 0x" << c.s << " on 0x" << c.d;
  }
}

} // namespace

// The routine tables entry by entry, and the reference's arithmetic where it is odd.
#include <map>
#include <string>

#include <gtest/gtest.h>

#include "blit/blit.h"
#include "blit/span.h"
#include "engine/checkspan/membership.h"
#include "engine/checkspan/reference.h"

using namespace checkspan;

namespace {

constexpr instruction_set sets[] = {instruction_set::sse2, instruction_set::avx2};

/// Names of an instruction set's routines by address. No two routines share an address: the tables
/// could not be told apart.
std::map<span_routine *, std::string> names_by_routine(instruction_set isa) {
  std::map<span_routine *, std::string> names;
  for (const span_directory_entry &entry : span_directory()) {
    const auto [at, added] = names.emplace(routine_of(entry, isa), entry.name);
    EXPECT_TRUE(added) << entry.name << " is " << at->second;
  }
  EXPECT_EQ(names.size(), 1452u);
  names[nullptr] = "";
  return names;
}

TEST(SpanTables, EveryEntryHoldsItsRoutine) {
  for (const instruction_set isa : sets) {
    const auto names = names_by_routine(isa);
    for (int op = 0; op < 4; ++op) {
      const std::string name = std::array{"draw", "scale", "rotscale", "tile"}[size_t(op)];
      for (int t = 0; t < 7; ++t) {
        const auto expect = [&](int index, const std::string &wanted) {
          const auto found = names.find(span_table_entries(isa, span_op(op), span_table(t))[index]);
          EXPECT_EQ(found == names.end() ? "a routine of no name" : found->second, wanted)
              << name << ", table " << t << ", set " << int(isa) << ", entry " << index;
        };
        const bool tile = name == "tile";
        for (int fx = 0; fx < (t == table8 ? 13 : 42); ++fx) {
          if (tile && t >= table_chn32) {
            expect(fx, tile_channel_member(table(t), fx));
            continue;
          }
          const column columns[] = {column_keyed, tile ? column_nokey : column_ghost, column_nokey};
          for (int i = 0; i < (tile ? 2 : 3); ++i)
            expect((tile ? 2 : 3) * fx + i, member(name, table(t), columns[i], fx));
        }
      }
    }
  }
}

/// The rule above has exceptions that would be easy to lose.
TEST(SpanTables, OddEntries) {
  const auto names = names_by_routine(instruction_set::sse2);
  const auto name_at = [&](span_op op, span_table table, int index) {
    return names.at(span_table_entries(instruction_set::sse2, op, table)[index]);
  };
  using enum span_op;
  using enum span_table;
  EXPECT_EQ(name_at(draw, t16, 3 * 2), "") << "fx_dst draws nothing";
  EXPECT_EQ(name_at(scale, alpha16, 3 * 11), "scale_16to16_normal_srccleardst")
      << "clears outright";
  EXPECT_EQ(name_at(draw, alpha32, 3 * 26 + 2), "draw_32to32_normal_alphaxorblend")
      << "with alpha, or and xor are keyed even without a key";
  EXPECT_EQ(name_at(tile, alphachn32, 1), "tile_32to32_additiveblend_alphachn")
      << "tiles with an alpha channel leave the compositing effects out";
  EXPECT_EQ(name_at(tile, alphaalphachn32, 29), "tile_32to32_alphatint_alphachn");
  EXPECT_EQ(name_at(tile, alphaalphachn32, 30), "");
}

TEST(SpanTables, NamesInUseFollowTheInstructionSet) {
  for (const instruction_set isa : {instruction_set::sse2, instruction_set::avx2}) {
    mask_instruction_sets(isa);
    if (!cpu_has(isa)) continue;
    set_blitter_routines();
    EXPECT_EQ(span_instruction_set(), isa);
#define ORB_CHECK_TABLE(variable, op, table)                                                       \
  EXPECT_EQ(variable, span_table_entries(isa, span_op::op, span_table::table)) << #variable;
    ORB_SPAN_TABLES(ORB_CHECK_TABLE)
#undef ORB_CHECK_TABLE
  }
}

TEST(SpanTables, KnownPixels) {
  struct {
    const char *routine;
    int alpha;
    bool dst_alpha;
    uint32_t s, d, wanted;
  } const cases[] = {
      // Screen shifts: blue 0 on 0 gives 1, and so does green.
      {"scale_16to16_normal_screenblend", 255, false, 0xF800, 0, 0xF800 | 1 << 5 | 1},
      {"draw_16to16_normal_alphablend", 128, false, 0x0821, 0xFFFF, 16 << 11 | 32 << 5 | 16},
      {"draw_32to32_normal", 255, true, 0x00123456, 0x80000000, 0xFF123456},
      {"draw_32to32_normal", 255, false, 0xFF000000, 0x123456, 0xFF000000},
      {"draw_32to32_normalnokey_src", 255, true, 0, 0x80123456, 0},
      {"draw_32to32_normal_grayscale", 255, false, 0xFF0000, 0, 0x4C4C4C},
      // Truncated term by term: 100 of 128 and 200 of 127 give 50 and 99.
      {"draw_32to32_normal_alphablend", 128, false, 100, 200, 149},
      {"draw_32to32_alphachn", 255, true, 0x80102030, 0, 0x80102030},
      {"draw_32to32_alphachn", 255, true, 0x00102030, 0x11223344, 0x11223344},
      {"draw_32to32_src_alphachn", 255, true, 0x00102030, 0x11223344, 0x00102030},
      {"draw_32to32_srcindst_alphachn", 255, true, 0xFF102030, 0x00FFFFFF, 0},
  };
  for (const auto &c : cases) {
    pixel_context context;
    context.alpha = c.alpha;
    context.dst_alpha = c.dst_alpha;
    EXPECT_EQ(put_pixel(parse_routine(c.routine).rule, context, c.s, c.d), c.wanted)
        << c.routine << std::hex << " 0x" << c.s << " on 0x" << c.d;
  }
}

} // namespace

// Which span routine belongs in which table entry, by name, written out by hand from the
// documentation of the tables.
#pragma once

#include <string>

namespace checkspan {

/// An operation's tables, in this order: 8 bits; 16 bits, with alpha; 32 bits, with alpha, with a
/// source alpha channel, with both.
enum table {
  table8,
  table16,
  table_alpha16,
  table32,
  table_alpha32,
  table_chn32,
  table_alphachn32
};

enum column { column_keyed, column_ghost, column_nokey };

/// Name of the routine for an effect index in a column; empty when the table has none.
std::string member(const std::string &operation, table in, column key, int fx);

/// Name of the routine in entry `index` of a tile table with an alpha channel, a single column in
/// its own order.
std::string tile_channel_member(table in, int index);

} // namespace checkspan

// Which span routine belongs in which table entry, written out as the tables are documented: by
// name, and by hand.
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

/// Name of the routine for an effect index in a column; empty where the table has none.
std::string member(const std::string &operation, table in, column key, int fx);

/// Name of what entry `index` of a tile table over an alpha channel holds: one column, in an order
/// of its own.
std::string tile_channel_member(table in, int index);

} // namespace checkspan

// The directory of span routines and their names.
#include <utility>

#include "blit/span_tables.h"

namespace {

struct routine_name {
  char text[48] = {};
  int length = 0;

  constexpr routine_name &operator<<(const char *part) {
    while (*part)
      text[length++] = *part++;
    return *this;
  }
};

constexpr routine_name name_of(span_op op, span_routine_id id) {
  constexpr const char *ops[] = {"draw", "scale", "rotscale", "tile"};
  constexpr const char *depths[] = {"_8to8", "_16to16", "_32to32", "_32to32"};
  constexpr const char *keys[] = {"_normal", "_nokey", "_normalnokey", "_ghost"};
  const bool channel = id.pixels == span_pixels::chn32;
  const bool solid = id.fx == fx_solid, ghost = id.key == span_key::ghost;
  routine_name name;
  name << ops[int(op)] << depths[int(id.pixels)];
  if (!channel || ghost) name << keys[int(id.key)];
  if (!ghost && channel && solid) {
    name << (id.alpha ? "_alphaalphachn" : "_alphachn");
    return name;
  }
  if (!ghost && (id.alpha || !solid)) {
    name << "_" << (id.alpha ? "alpha" : "") << (solid ? "blend" : effect_names[id.fx]);
  }
  if (channel) name << "_alphachn";
  return name;
}

template <span_op op, int number> constexpr routine_name name = name_of(op, routine_at(number));

/// The numbers of an operation's routines, in ascending order.
template <int count> struct number_list { int at[count]; };
template <span_op op> constexpr auto list_numbers() {
  number_list<routine_set(op).count> list{};
  int filled = 0;
  for (int number = 0; number < routine_numbers; ++number)
    if (routine_set(op).has[number]) list.at[filled++] = number;
  return list;
}
template <span_op op> constexpr auto numbers = list_numbers<op>();

struct directory {
  span_directory_entry entries[span_routine_count];
};

template <span_op op, int... i>
constexpr void add_part(directory &all, int &filled, std::integer_sequence<int, i...>) {
  const span_directory_entry part[] = {
      {name<op, numbers<op>.at[i]>.text, op, routine_at(numbers<op>.at[i])}...};
  for (const span_directory_entry &entry : part)
    all.entries[filled++] = entry;
}
template <span_op op> constexpr void add_part(directory &all, int &filled) {
  add_part<op>(all, filled, std::make_integer_sequence<int, routine_set(op).count>());
}

constexpr directory make_directory() {
  directory all{};
  int filled = 0;
  add_part<span_op::draw>(all, filled);
  add_part<span_op::scale>(all, filled);
  add_part<span_op::rotscale>(all, filled);
  add_part<span_op::tile>(all, filled);
  return all;
}

constexpr directory whole_directory = make_directory();

} // namespace

std::span<const span_directory_entry> span_directory() { return whole_directory.entries; }

span_routine *routine_of(const span_directory_entry &entry, instruction_set isa) {
  return spans_in(entry.op).routines->of[int(isa)].at[number_of(entry.id)];
}

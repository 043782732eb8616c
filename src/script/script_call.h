// The shape of every script handler: fetch, check with a position, work, return.
//
//   int32_t ORB_map_get_width() {
//     const script_call call{"MAP_GET_WIDTH"};
//     auto [file, graph] = pop_args<int32_t, int32_t>();
//     orb_map_slot *slot = check_graph(call, file, graph);
//     return slot ? call.done(int32_t(slot->surface->width)) : call.fail();
//   }
#pragma once

#include <bit>
#include <cstring>
#include <tuple>
#include <type_traits>
#include <utility>

#include "boundary/runtime.h"

/// Mistakes that handlers report to the host; the texts are the host's.
enum script_error : int32_t {
  error_out_of_memory = 100,
  error_palette_file = 103,         // no known palette in that file
  error_library_full = 104,         // the graph list can't grow
  error_compressed_file = 105,      // a compressed file can't be reopened
  error_library_open = 105,         // a library file can't be opened
  error_library_format = 106,       // not a library file, or its depth is above the screen's
  error_region = 108,               // region not defined
  error_file = 109,                 // library number out of range
  error_graph = 110,                // graph number out of range
  error_library_not_loaded = 111,
  error_region_argument = 120,
  error_graph_not_loaded = 121,
  error_save = 123,                 // file can't be saved
  error_cpoint = 133,               // control point out of range
  error_open = 143,                 // file can't be opened
  error_format = 144,               // not such a file, or its depth is above the screen's
  error_size = 153,                 // width or height out of range
  error_colour = 154,               // colour out of range in an 8-bit mode
  error_centre = 155,               // centre outside the graph
  error_draw_list_full = 172,
  error_draw_type = 173,
  error_draw_alpha = 174,
  error_draw_id = 175,
  error_palette_forced = 183,
  error_library_key = 193,          // enciphered library without a usable key
  error_key = 194,                  // enciphered graph without a usable key
};

/// One call of a handler: knows the name under which it reports, and how to end.
struct script_call {
  const char *name;                     ///< the function's name in capitals
  int32_t failure = script_failure;     ///< what a failed call returns

  /// Reports an int argument (1-based position). Returns null, so that checkers can hand it on.
  std::nullptr_t bad(script_error code, int32_t position, int32_t value) const {
    orbre->rt_error(code, name, ORB_VALUE_INT, position, value);
    return nullptr;
  }
  /// Reports a text argument.
  std::nullptr_t bad(script_error code, int32_t position, const char *value) const {
    orbre->rt_error(code, name, ORB_VALUE_STRING, position, std::bit_cast<int32_t>(value));
    return nullptr;
  }
  int32_t fail() const { return rt_return(failure); }
  int32_t done(int32_t value) const { return rt_return(value); }
  /// Ends with a text, cut to what the host's result buffer takes; with no text where the host has
  /// no buffer.
  int32_t done(const char *text) const {
    char *const out = orbre->rt_new_return_string();
    orbre->rt_commit_return_string();
    if (!out) return rt_return(0);
    const size_t length = strnlen(text, ORB_RETURN_STRING_SIZE - 1);
    memcpy(out, text, length);
    out[length] = '\0';
    return rt_return(std::bit_cast<int32_t>(out));
  }
};

namespace script_call_detail {
template <typename T> T pop_one() {
  if constexpr (std::is_same_v<T, int32_t>) return rt_pop_int();
  else if constexpr (std::is_same_v<T, uint32_t>) return rt_pop_uint();
  else if constexpr (std::is_same_v<T, const char *>) return rt_pop_string();
  else {
    static_assert(std::is_same_v<T, int32_t *>, "an argument is I, S or IP");
    return rt_pop_pointer();
  }
}
}  // namespace script_call_detail

/// Fetches the arguments, last one first, and gives them back in script order.
template <typename... T> std::tuple<T...> pop_args() {
  std::tuple<T...> values;
  [&]<size_t... I>(std::index_sequence<I...>) {
    ((std::get<sizeof...(T) - 1 - I>(values) =
          script_call_detail::pop_one<std::tuple_element_t<sizeof...(T) - 1 - I, std::tuple<T...>>>()),
     ...);
  }(std::index_sequence_for<T...>{});
  return values;
}

/// The first half of check_graph: the numbers, which may be in range for a graph that isn't loaded.
/// Sets `max_graph`. False after reporting 109 or 110.
bool check_graph_numbers(const script_call &call, int32_t file, int32_t graph,
                         int32_t position = 1);

/// The check shared by every handler that takes (file, graph): numbers in range (109, 110), library
/// loaded (111), graph loaded (121). `position` is the place of `file` in the script call; the graph
/// stands after it. Sets `max_graph`, `pfpg` and `pfpgmap`. Returns the slot, or null after
/// reporting once.
orb_map_slot *check_graph(const script_call &call, int32_t file, int32_t graph,
                          int32_t position = 1);

/// The colour check shared by pixels, primitives and new graphs: in an 8-bit mode a colour above
/// 255 reports 154 at `position`; in a 16-bit mode one above 65535 fails silently. True when good.
bool check_colour(const script_call &call, uint32_t colour, int32_t position);

// The pattern of every script handler: fetch arguments, check them, work, return.
//
//   int32_t ORB_map_get_width() {
//     const script_call call{"MAP_GET_WIDTH"};
//     auto [file, graph] = pop_ints<2>();
//     orb_map_slot *slot = check_graph(call, file, graph);
//     return slot ? call.done(int32_t(slot->surface->width)) : call.fail();
//   }
#pragma once

#include <bit>
#include <cstring>
#include <tuple>
#include <type_traits>
#include <utility>

#include "boundary/errors.h"
#include "boundary/runtime.h"

/// One call of a handler: reports errors under its name, and ends it.
struct script_call {
  const char *name;                 ///< the function's name in capitals
  int32_t failure = script_failure; ///< what a failed call returns

  /// Reports an int argument (1-based position). Returns null, for checks to return.
  std::nullptr_t bad(script_error code, int32_t position, int32_t value) const {
    rt_error(code, name, position, value);
    return nullptr;
  }
  /// Reports a text argument.
  std::nullptr_t bad(script_error code, int32_t position, const char *value) const {
    rt_error(code, name, position, value);
    return nullptr;
  }
  /// Reports an argument and fails.
  template <typename T> int32_t refuse(script_error code, int32_t position, T value) const {
    bad(code, position, value);
    return fail();
  }
  int32_t fail() const { return rt_return(failure); }
  int32_t done(int32_t value) const { return rt_return(value); }
  /// Returns a text, cut to the host's result buffer; null where the host has none.
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
  if constexpr (std::is_same_v<T, int32_t>)
    return rt_pop_int();
  else if constexpr (std::is_same_v<T, uint32_t>)
    return rt_pop_uint();
  else if constexpr (std::is_same_v<T, const char *>)
    return rt_pop_string();
  else {
    static_assert(std::is_same_v<T, int32_t *>, "an argument is I, S or IP");
    return rt_pop_pointer();
  }
}
} // namespace script_call_detail

/// Fetches the arguments, last one first, and gives them back in script order.
template <typename... T> std::tuple<T...> pop_args() {
  std::tuple<T...> values;
  [&]<size_t... I>(std::index_sequence<I...>) {
    ((std::get<sizeof...(T) - 1 - I>(values) = script_call_detail::pop_one<
          std::tuple_element_t<sizeof...(T) - 1 - I, std::tuple<T...>>>()),
     ...);
  }
  (std::index_sequence_for<T...>{});
  return values;
}

/// The same for `count` ints.
template <size_t count> auto pop_ints() {
  return []<size_t... I>(std::index_sequence<I...>) {
    return pop_args<std::enable_if_t<(I < count), int32_t>...>();
  }
  (std::make_index_sequence<count>{});
}

/// The same into variables.
template <typename... T> void pop_into(T &...values) { std::tie(values...) = pop_args<T...>(); }

/// Fetches a file name; a null one becomes empty.
inline const char *pop_filename() {
  const char *const name = rt_pop_string();
  return name ? name : "";
}

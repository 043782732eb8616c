// Growing arrays of plain records.
#pragma once

#include <cstdint>
#include <cstdlib>
#include <cstring>

/// Grows `array` from `count` to `wanted` records, the new ones zero. The array may move. False,
/// and nothing changed, without memory.
template <typename T> bool grow_records(T *&array, int32_t count, int32_t wanted) {
  const uint64_t bytes = uint64_t(wanted) * sizeof(T);
  if (bytes > SIZE_MAX) return false;
  auto *const records = static_cast<T *>(realloc(array, size_t(bytes)));
  if (!records) return false;
  memset(records + count, 0, size_t(wanted - count) * sizeof(T));
  array = records;
  return true;
}

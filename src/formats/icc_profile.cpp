#include "formats/icc_profile.h"

#include <cstdlib>
#include <cstring>

namespace {

constexpr uint32_t max_chunks = 255;
/// "ICC_PROFILE" with its NUL, the chunk's number from 1, the number of chunks.
constexpr char chunk_name[] = "ICC_PROFILE";
constexpr uint32_t chunk_header = sizeof chunk_name + 2;

struct icc_chunks {
  uint32_t count;
  const jpeg_marker_struct *chunks[max_chunks]; // by number, from 0
};

bool is_chunk(const jpeg_marker_struct &marker) {
  return marker.marker == icc_marker && marker.data_length >= chunk_header &&
         memcmp(marker.data, chunk_name, sizeof chunk_name) == 0;
}

/// Sorts the chunks, which may come in any order, by their numbers. False when they disagree.
bool collect(const jpeg_marker_struct *marker, icc_chunks *found) {
  for (; marker; marker = marker->next) {
    if (!is_chunk(*marker)) continue;
    const uint32_t number = marker->data[sizeof chunk_name];
    const uint32_t count = marker->data[sizeof chunk_name + 1];
    if (found->count == 0) found->count = count;
    if (count != found->count || number < 1 || number > count || found->chunks[number - 1])
      return false;
    found->chunks[number - 1] = marker;
  }
  return found->count > 0;
}

} // namespace

int32_t jpeg_icc_read_profile(j_decompress_ptr info, JOCTET **profile, uint32_t *size) {
  *profile = nullptr;
  *size = 0;
  icc_chunks found{};
  if (!collect(info->marker_list, &found)) return 0;
  // At most 255 chunks of 65535 bytes.
  uint32_t total = 0;
  for (uint32_t i = 0; i < found.count; i++) {
    if (!found.chunks[i]) return 0;
    total += found.chunks[i]->data_length - chunk_header;
  }
  if (total == 0) return 0;
  *profile = static_cast<JOCTET *>(malloc(total));
  if (!*profile) return -1;
  for (uint32_t i = 0; i < found.count; i++) {
    const uint32_t length = found.chunks[i]->data_length - chunk_header;
    memcpy(*profile + *size, found.chunks[i]->data + chunk_header, length);
    *size += length;
  }
  return 1;
}

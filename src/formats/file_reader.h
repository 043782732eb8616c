// Reads picture files through stdio: a window on the file that returns checked pieces, so that
// decoders work in memory, know how much is left, and never hold the whole file.
#pragma once

#include <cstdint>
#include <cstdio>
#include <cstring>

struct file_reader {
  static constexpr uint32_t window_size = 1u << 16;
  FILE *file;
  uint32_t size;    // of the file, or of the part that is read
  uint32_t offset;  // in the file, of what follows the window
  uint32_t at, end; // the unread bytes of the window
  uint8_t window[window_size];
};

/// fopen for reading, except that a pipe without a writer is empty instead of blocking for ever.
FILE *open_for_reading(const char *path);

/// Opens the host's real path of `filename`. False with image_error set when there is none, the
/// file can't be opened, or it has no size as pipes have none.
bool open_reader(file_reader *file, const char *filename);
void close_reader(file_reader *file);

/// Bytes of the file that are still to be read.
inline uint32_t bytes_left(const file_reader &file) {
  return file.size - file.offset + (file.end - file.at);
}

/// Moves to an offset from the start; false beyond the end.
bool seek_reader(file_reader &file, uint32_t offset);

/// Moves to an offset and ends the file after its first `size` bytes; false beyond them.
bool limit_reader(file_reader &file, uint32_t offset, uint32_t size);

/// Fills the window with at least `count` unread bytes, up to its size. False when the file has
/// fewer.
bool refill(file_reader &file, uint32_t count);

/// The next `count` bytes, up to the size of the window; valid until the next call. Null when the
/// file has fewer.
inline const uint8_t *take(file_reader &file, uint32_t count) {
  if (file.end - file.at < count && !refill(file, count)) return nullptr;
  const uint8_t *bytes = file.window + file.at;
  file.at += count;
  return bytes;
}

/// Copies the next `count` bytes, any number. False when the file has fewer.
bool read_bytes(file_reader &file, void *to, uint32_t count);

/// Little-endian words at any address.
inline uint16_t word16(const uint8_t *at) {
  uint16_t value;
  memcpy(&value, at, sizeof value);
  return value;
}
inline uint32_t word32(const uint8_t *at) {
  uint32_t value;
  memcpy(&value, at, sizeof value);
  return value;
}

/// Opens the file, runs `work` over it and closes it. 1, or 0 with image_error set: by `work`, else
/// to "not such a file".
int32_t read_picture_file(const char *filename, bool (*work)(file_reader &file));

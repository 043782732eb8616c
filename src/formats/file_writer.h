// Writing of picture files through stdio with a buffer of some size. What goes wrong is remembered
// and told at the end, so that writers need no check for every piece.
#pragma once

#include <cstdint>
#include <cstdio>

struct file_writer {
  FILE *file;
  bool failed;
  char buffer[1u << 16];
};

/// Opens the host's real path of `filename`; false when there is none or it can't be opened.
bool open_writer(file_writer *file, const char *filename);
void write_bytes(file_writer &file, const void *bytes, uint32_t count);
/// Goes on writing at an offset from the start.
void seek_writer(file_writer &file, uint32_t offset);
/// The number of bytes before the place of writing; 0 once writing failed.
uint32_t writer_offset(file_writer &file);
/// Closes the file. 1, or 0 when something could not be written; the file is emptied then, so that
/// nobody takes it for whole.
int32_t close_writer(file_writer *file);

/// Opens the file, runs `work` over it and closes it. 1, or 0 when that failed or there is no
/// picture in the globals that could be written.
int32_t write_picture_file(const char *filename, int32_t parameter,
                           bool (*work)(file_writer &file, int32_t parameter));

/// Header fields: little-endian words, one after the other.
struct header_writer {
  uint8_t *at;
  void put8(uint32_t value) { *at++ = uint8_t(value); }
  void put16(uint32_t value) {
    put8(value);
    put8(value >> 8);
  }
  void put32(uint32_t value) {
    put16(value);
    put16(value >> 16);
  }
  void put_zeros(uint32_t count) {
    while (count--)
      put8(0);
  }
};

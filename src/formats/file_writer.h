// Writing of picture files through stdio with a buffer of some size. What goes wrong is remembered
// and told at the end, so that writers need no check for every piece.
//
// A file is saved whole or not at all: its bytes go to a new file in the same folder, which takes
// the place of the old one when it is complete. host/output_file.h does so for the host's streams.
#pragma once

#include <climits>
#include <cstdint>
#include <cstdio>

struct file_writer {
  FILE *file; // the new file
  bool failed;
  int folder;              // of both files
  char name[NAME_MAX + 1]; // in the folder: of the file that is saved,
  char new_name[32];       // and of the new one until it is complete
  char buffer[1u << 16];
};

void write_bytes(file_writer &file, const void *bytes, uint32_t count);
/// Goes on writing at an offset from the start.
void seek_writer(file_writer &file, uint32_t offset);
/// The number of bytes before the place of writing; 0 once writing failed.
uint32_t writer_offset(file_writer &file);

/// Saves the picture of the globals at the host's real path of `filename`: `work` writes the file
/// and tells whether it could. A link is followed, also to a file that isn't there yet; the rights
/// of an old file are kept. 1, or 0 with the old file as it was and nothing beside it: when there
/// is no picture that could be written; when the path leads to something else than a regular file,
/// to one that is protected, or into a folder where no file can be made; when `work`, or closing
/// the file, failed.
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

#include "formats/file_writer.h"

#include <unistd.h>

#include "formats/codec.h"
#include "module/runtime.h"
#include "surface/palette.h"

bool open_writer(file_writer *file, const char *filename) {
  const char *path = rt_file_path(filename, ORB_PATH_WRITE);
  file->file = path ? fopen(path, "wb") : nullptr;
  file->failed = false;
  if (!file->file) return false;
  setvbuf(file->file, file->buffer, _IOFBF, sizeof file->buffer);
  return true;
}

void write_bytes(file_writer &file, const void *bytes, uint32_t count) {
  if (!file.failed && fwrite(bytes, 1, count, file.file) != count) file.failed = true;
}

void seek_writer(file_writer &file, uint32_t offset) {
  if (!file.failed && fseek(file.file, long(offset), SEEK_SET) != 0) file.failed = true;
}

uint32_t writer_offset(file_writer &file) {
  const long offset = file.failed ? 0 : ftell(file.file);
  if (offset < 0) file.failed = true;
  return file.failed ? 0 : uint32_t(offset);
}

int32_t close_writer(file_writer *file) {
  // The last bytes may fail only now, when stdio hands them to the system.
  if (fflush(file->file) != 0) file->failed = true;
  if (file->failed && ftruncate(fileno(file->file), 0) != 0) {
    // A device or a full disk: then there is no file to be mistaken for a whole one.
  }
  if (fclose(file->file) != 0) file->failed = true;
  return !file->failed;
}

int32_t write_picture_file(const char *filename, int32_t parameter,
                           bool (*work)(file_writer &file, int32_t parameter)) {
  if (!image_data || image_w < 1 || image_h < 1 || (image_bpp == 8 && !palette)) return 0;
  file_writer file;
  if (!open_writer(&file, filename)) return 0;
  if (!work(file, parameter)) file.failed = true;
  return close_writer(&file);
}

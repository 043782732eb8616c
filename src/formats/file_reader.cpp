#include "formats/file_reader.h"

#include <fcntl.h>
#include <unistd.h>

#include <algorithm>

#include "boundary/errors.h"
#include "boundary/runtime.h"
#include "formats/image.h"

FILE *open_for_reading(const char *path) {
  const int descriptor = open(path, O_RDONLY | O_NONBLOCK | O_CLOEXEC);
  if (descriptor < 0) return nullptr;
  fcntl(descriptor, F_SETFL, 0); // reading may wait
  FILE *const file = fdopen(descriptor, "rb");
  if (!file) close(descriptor);
  return file;
}

bool open_reader(file_reader *file, const char *filename) {
  const char *path = rt_file_path(filename, ORB_PATH_READ);
  file->file = path ? open_for_reading(path) : nullptr;
  if (!file->file) {
    image_error = error_open;
    return false;
  }
  // The window is the buffer; stdio's own would cost another copy.
  setvbuf(file->file, nullptr, _IONBF, 0);
  const long size = fseek(file->file, 0, SEEK_END) == 0 ? ftell(file->file) : -1;
  if (size < 0 || fseek(file->file, 0, SEEK_SET) != 0) {
    fclose(file->file);
    image_error = error_open;
    return false;
  }
  file->size = uint32_t(size);
  file->offset = file->at = file->end = 0;
  return true;
}

void close_reader(file_reader *file) { fclose(file->file); }

bool seek_reader(file_reader &file, uint32_t offset) {
  if (offset > file.size) return false;
  const uint32_t window_start = file.offset - file.end;
  if (offset >= window_start && offset <= file.offset) {
    file.at = offset - window_start;
    return true;
  }
  file.at = file.end = 0;
  file.offset = offset;
  return fseek(file.file, long(offset), SEEK_SET) == 0;
}

bool limit_reader(file_reader &file, uint32_t offset, uint32_t size) {
  if (size > file.size || offset > size) return false;
  file.size = size;
  file.at = file.end = 0;
  file.offset = offset;
  return fseek(file.file, long(offset), SEEK_SET) == 0;
}

bool refill(file_reader &file, uint32_t count) {
  const uint32_t kept = file.end - file.at;
  if (count - kept > file.size - file.offset) return false;
  memmove(file.window, file.window + file.at, kept);
  const uint32_t wanted = std::min(file.window_size - kept, file.size - file.offset);
  const uint32_t read = uint32_t(fread(file.window + kept, 1, wanted, file.file));
  file.offset += read;
  file.at = 0;
  file.end = kept + read;
  return file.end >= count;
}

bool read_bytes(file_reader &file, void *to, uint32_t count) {
  if (count > bytes_left(file)) return false;
  auto *out = static_cast<uint8_t *>(to);
  const uint32_t ready = std::min(count, file.end - file.at);
  memcpy(out, file.window + file.at, ready);
  file.at += ready;
  out += ready;
  count -= ready;
  if (count >= file.window_size / 2) { // long reads bypass the window
    const uint32_t read = uint32_t(fread(out, 1, count, file.file));
    file.offset += read;
    file.at = file.end = 0;
    return read == count;
  }
  const uint8_t *bytes = take(file, count);
  if (bytes) memcpy(out, bytes, count);
  return bytes != nullptr;
}

int32_t read_picture_file(const char *filename, bool (*work)(file_reader &file)) {
  file_reader file;
  if (!open_reader(&file, filename)) return 0;
  image_error = error_format;
  const bool good = work(file);
  close_reader(&file);
  return good;
}

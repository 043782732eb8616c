#include "formats/file_writer.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>

#include "boundary/runtime.h"
#include "formats/image.h"
#include "surface/palette.h"

namespace {

constexpr int most_links = 40, most_names = 100;

/// Finds the folder and the name that a path leads to. Follows links, also one without a target
/// yet: the new file must be beside the target, so that it can be renamed.
bool find_place(file_writer *file, const char *filename) {
  char path[PATH_MAX];
  if (snprintf(path, sizeof path, "%s", filename) >= int(sizeof path)) return false;
  for (int links = 0; links <= most_links; links++) {
    char *slash = strrchr(path, '/');
    const char *name = slash ? slash + 1 : path;
    const size_t size = strlen(name);
    if (size == 0 || size > NAME_MAX) return false;
    memcpy(file->name, name, size + 1);
    if (slash) slash[1] = '\0';
    const int from = file->folder;
    file->folder = openat(from, slash ? path : ".", O_PATH | O_DIRECTORY | O_CLOEXEC);
    if (from >= 0) close(from);
    if (file->folder < 0) return false;
    const ssize_t length = readlinkat(file->folder, file->name, path, sizeof path - 1);
    if (length < 0) return errno == EINVAL || errno == ENOENT; // no link, or nothing there
    path[length] = '\0';
  }
  return false;
}

/// Creates the new file in the folder, subject to the umask. Its descriptor, or -1.
int create_new_file(file_writer *file, mode_t rights) {
  static uint32_t serial = 0;
  for (int i = 0; i < most_names; i++) {
    snprintf(file->new_name, sizeof file->new_name, ".orb-%d-%u.tmp", int(getpid()), ++serial);
    const int descriptor =
        openat(file->folder, file->new_name, O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, rights);
    if (descriptor >= 0 || errno != EEXIST) return descriptor;
  }
  return -1;
}

/// Gives the new file the mode of the old one, and its owner, or at least its group, if permitted.
void keep_rights(int descriptor, const struct statx &old) {
  if (fchown(descriptor, old.stx_uid, old.stx_gid) != 0 &&
      fchown(descriptor, uid_t(-1), old.stx_gid) != 0) {
    // It then belongs to the user who saves it.
  }
  fchmod(descriptor, old.stx_mode & 0777);
}

bool open_new_file(file_writer *file, const char *path) {
  // stat() fails at 32 bits on long files, large inode numbers and late dates.
  struct statx old;
  const bool exists = statx(AT_FDCWD, path, 0, STATX_BASIC_STATS, &old) == 0;
  if (exists ? !S_ISREG(old.stx_mode) : errno != ENOENT) return false;
  if (!find_place(file, path)) return false;
  // Renaming needs no right to the file itself, so check that it may be written. Links in /proc may
  // lead to a file without a name, which isn't in the folder.
  if (exists && faccessat(file->folder, file->name, W_OK, 0) != 0) return false;
  const int descriptor = create_new_file(file, exists ? old.stx_mode & 0777 : 0666);
  if (descriptor < 0) return false;
  if (exists) keep_rights(descriptor, old);
  file->file = fdopen(descriptor, "wb");
  if (file->file) return true;
  close(descriptor);
  unlinkat(file->folder, file->new_name, 0);
  return false;
}

bool open_writer(file_writer *file, const char *filename) {
  file->folder = AT_FDCWD;
  file->failed = false;
  const char *path = rt_file_path(filename, ORB_PATH_WRITE);
  if (!path || !open_new_file(file, path)) {
    if (file->folder >= 0) close(file->folder);
    return false;
  }
  setvbuf(file->file, file->buffer, _IOFBF, sizeof file->buffer);
  return true;
}

/// Renames the new file to the old one's name, or removes it when something failed.
int32_t close_writer(file_writer *file) {
  // After a failed write, stdio may close without an error.
  if (ferror(file->file)) file->failed = true;
  if (fclose(file->file) != 0) file->failed = true;
  if (!file->failed && renameat(file->folder, file->new_name, file->folder, file->name) != 0)
    file->failed = true;
  if (file->failed) unlinkat(file->folder, file->new_name, 0);
  close(file->folder);
  return !file->failed;
}

} // namespace

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

int32_t write_picture_file(const char *filename, int32_t parameter,
                           bool (*work)(file_writer &file, int32_t parameter)) {
  if (!image_data || image_w < 1 || image_h < 1 || (image_bpp == 8 && !palette)) return 0;
  file_writer file;
  if (!open_writer(&file, filename)) return 0;
  if (!work(file, parameter)) file.failed = true;
  return close_writer(&file);
}

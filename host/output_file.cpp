#include "host/output_file.h"

#include <sys/stat.h>

#include <cerrno>
#include <climits>
#include <cstring>
#include <fcntl.h>
#include <unistd.h>

namespace orbhost {
namespace {

constexpr int most_links = 40, most_names = 100;
constexpr int most_descriptors = 1024; // that are looked at

// Gives the new file the permissions of the old one, and its owner or at least its group if the
// system permits.
void keep_rights(int descriptor, const struct statx &old) {
  if (::fchown(descriptor, old.stx_uid, old.stx_gid) != 0 &&
      ::fchown(descriptor, static_cast<uid_t>(-1), old.stx_gid) != 0) {
    // Then it belongs to the user who saves it.
  }
  static_cast<void>(::fchmod(descriptor, old.stx_mode & 0777u));
}

bool refuse(int error) {
  errno = error;
  return false;
}

} // namespace

OutputFile::OutputFile() : folder_(AT_FDCWD) {}

std::unique_ptr<OutputFile> OutputFile::create(const std::string &path) {
  std::unique_ptr<OutputFile> file(new OutputFile);
  if (!file->open(path)) return nullptr;
  return file;
}

OutputFile::~OutputFile() {
  discard();
  if (folder_ >= 0) ::close(folder_);
}

bool OutputFile::open(const std::string &path) {
  // A 32-bit stat() fails on long files, large inode numbers and late dates.
  struct statx old {};
  const bool exists = ::statx(AT_FDCWD, path.c_str(), 0, STATX_BASIC_STATS, &old) == 0;
  if (!exists && errno != ENOENT) return false;
  if (exists && !S_ISREG(old.stx_mode)) return refuse(S_ISDIR(old.stx_mode) ? EISDIR : ENOTSUP);
  if (!find_place(path)) return false;
  // Renaming needs no permission for the file itself, so a write-protected file is refused here. A
  // link in /proc may lead to a file that has been unlinked: that one isn't in the folder.
  if (exists && ::faccessat(folder_, name_.c_str(), W_OK, 0) != 0) return false;
  const int descriptor = create_new_file(exists ? old.stx_mode & 0777u : 0666u);
  if (descriptor < 0) return false;
  if (exists) keep_rights(descriptor, old);
  file_ = ::fdopen(descriptor, "wb");
  if (!file_) ::close(descriptor);
  return file_ != nullptr;
}

// Links at the end of the path are followed, even if the target doesn't exist yet: the new file
// belongs beside the target, so that the rename stays within a file system.
bool OutputFile::find_place(std::string path) {
  for (int links = 0; links <= most_links; ++links) {
    const std::size_t name = path.rfind('/') + 1; // 0 without a slash
    name_ = path.substr(name);
    if (name_.empty()) return refuse(path.empty() ? ENOENT : EISDIR);
    const std::string folder = name == 0 ? "." : path.substr(0, name);
    const int from = folder_;
    folder_ = ::openat(from, folder.c_str(), O_PATH | O_DIRECTORY | O_CLOEXEC);
    if (from >= 0) ::close(from);
    if (folder_ < 0) return false;
    char target[PATH_MAX];
    const ssize_t length = ::readlinkat(folder_, name_.c_str(), target, sizeof target);
    if (length < 0) return errno == EINVAL || errno == ENOENT; // no link, or nothing there
    path.assign(target, static_cast<std::size_t>(length));
  }
  return refuse(ELOOP);
}

int OutputFile::create_new_file(unsigned rights) {
  static unsigned serial = 0;
  for (int i = 0; i < most_names; ++i) {
    const std::string name =
        ".orb-" + std::to_string(::getpid()) + "-" + std::to_string(++serial) + ".tmp";
    const int descriptor =
        ::openat(folder_, name.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, rights);
    if (descriptor < 0 && errno == EEXIST) continue;
    if (descriptor >= 0) new_name_ = name;
    return descriptor;
  }
  return -1;
}

std::size_t OutputFile::write(const void *data, std::size_t bytes) {
  if (error_ || bytes == 0) return 0;
  const std::size_t written = std::fwrite(data, 1, bytes, file_);
  position_ += written;
  if (written != bytes) fail(errno);
  return written;
}

bool OutputFile::seek(std::int32_t offset, int whence) {
  if (std::fseek(file_, offset, whence) != 0) return false;
  position_ = static_cast<std::uint64_t>(std::ftell(file_));
  return true;
}

void OutputFile::fail(int error) {
  if (!error_) error_ = error ? error : EIO;
}

int OutputFile::commit() {
  if (!file_) return error_;
  // stdio drops what it couldn't write, and then closes without an error.
  if (std::ferror(file_)) fail(EIO);
  if (std::fclose(file_) != 0) fail(errno);
  file_ = nullptr;
  if (!error_ && ::renameat(folder_, new_name_.c_str(), folder_, name_.c_str()) != 0) fail(errno);
  if (!error_) new_name_.clear();
  discard();
  return error_;
}

void OutputFile::discard() {
  if (file_) std::fclose(file_);
  file_ = nullptr;
  if (!new_name_.empty()) ::unlinkat(folder_, new_name_.c_str(), 0);
  new_name_.clear();
}

void remove_unfinished_files() {
  // Only calls that are safe in a signal handler, so the names come from the open descriptors.
  for (int descriptor = 0; descriptor < most_descriptors; ++descriptor) {
    char link[] = "/proc/self/fd/\0\0\0\0", path[PATH_MAX];
    char *digit = link + sizeof "/proc/self/fd/" - 1;
    for (int unit = 1000; unit > 0; unit /= 10)
      if (descriptor >= unit || unit == 1)
        *digit++ = static_cast<char>('0' + descriptor / unit % 10);
    const ssize_t length = ::readlink(link, path, sizeof path - 1);
    if (length <= 0) continue;
    path[length] = '\0';
    const char *name = std::strrchr(path, '/');
    if (name && std::strncmp(name, "/.orb-", 6) == 0) ::unlink(path);
  }
}

int save_file(const std::string &path, const void *data, std::size_t bytes) {
  const auto file = OutputFile::create(path);
  if (!file) return errno;
  file->write(data, bytes);
  return file->commit();
}

} // namespace orbhost

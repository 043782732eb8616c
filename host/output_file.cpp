#include "host/output_file.h"

#include <sys/stat.h>

#include <cerrno>
#include <fcntl.h>
#include <filesystem>
#include <unistd.h>

namespace orbhost {
namespace {

namespace fs = std::filesystem;

constexpr int temporary_names = 100;

// Makes a new file beside `target` with the rights that `target` has, or that a new one would get.
// Its name is short whatever the target's is, and hidden. -1 when there can be none.
int create_beside(const fs::path &target, std::string &name) {
  static unsigned serial = 0;
  for (int i = 0; i < temporary_names; ++i) {
    const std::string file =
        ".orb-" + std::to_string(::getpid()) + "-" + std::to_string(++serial) + ".tmp";
    name = (target.parent_path() / file).string();
    const int descriptor = ::open(name.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, 0666);
    if (descriptor < 0 && errno == EEXIST) continue;
    struct stat old;
    if (descriptor >= 0 && ::stat(target.c_str(), &old) == 0) {
      static_cast<void>(::fchmod(descriptor, old.st_mode & 0777));
    }
    return descriptor;
  }
  return -1;
}

} // namespace

std::unique_ptr<OutputFile> OutputFile::create(const std::string &path) {
  std::error_code error;
  fs::path target = fs::canonical(path, error);
  const bool exists = !error;
  if (!exists) target = path;
  // Renaming asks for no right to the file itself: one that is protected stays so.
  if (exists && ::access(target.c_str(), W_OK) != 0) return nullptr;
  std::string temporary;
  int descriptor = create_beside(target, temporary);
  if (descriptor < 0 && exists) {
    temporary.clear();
    descriptor = ::open(target.c_str(), O_WRONLY | O_TRUNC | O_CLOEXEC);
  }
  if (descriptor < 0) return nullptr;
  std::FILE *file = ::fdopen(descriptor, "wb");
  if (!file) {
    ::close(descriptor);
    if (!temporary.empty()) ::unlink(temporary.c_str());
    return nullptr;
  }
  return std::unique_ptr<OutputFile>(new OutputFile(file, target.string(), std::move(temporary)));
}

OutputFile::~OutputFile() {
  if (!file_) return;
  std::fclose(file_);
  if (!temporary_.empty()) ::unlink(temporary_.c_str());
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
  if (std::fclose(file_) != 0) fail(errno);
  file_ = nullptr;
  if (temporary_.empty()) return error_;
  if (!error_ && std::rename(temporary_.c_str(), target_.c_str()) != 0) fail(errno);
  if (error_) ::unlink(temporary_.c_str());
  return error_;
}

} // namespace orbhost

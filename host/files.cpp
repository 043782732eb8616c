#include "host/files.h"

#include "orb/graphics2d.h"

#include <cstdio>
#include <unistd.h>

namespace orbhost {
namespace {

namespace fs = std::filesystem;

struct CloseFile {
  void operator()(std::FILE *file) const { std::fclose(file); }
};

// Plain bytes of a file; the cipher flag has no effect on it.
class PlainStream final : public Stream {
public:
  explicit PlainStream(std::FILE *file) : file_(file) {}

  std::size_t read(void *buffer, std::size_t bytes, bool /*cipher*/) override {
    return std::fread(buffer, 1, bytes, file_.get());
  }
  std::size_t write(const void *buffer, std::size_t bytes, bool /*cipher*/) override {
    return std::fwrite(buffer, 1, bytes, file_.get());
  }
  bool seek(std::int32_t offset, int whence) override {
    return std::fseek(file_.get(), offset, whence) == 0;
  }
  bool at_end() override {
    const int c = std::getc(file_.get());
    if (c == EOF) return true;
    std::ungetc(c, file_.get());
    return false;
  }

private:
  std::unique_ptr<std::FILE, CloseFile> file_;
};

bool writable_folder_of(const fs::path &file) {
  const fs::path folder = file.has_parent_path() ? file.parent_path() : fs::path(".");
  return ::access(folder.c_str(), W_OK | X_OK) == 0;
}

} // namespace

void Files::set_folder(const fs::path &folder) {
  std::error_code ignored;
  folder_ = folder.empty() ? fs::path() : fs::absolute(folder, ignored);
}

std::optional<std::string> Files::resolve(const char *name, bool writing) const {
  if (!name || !*name) return std::nullopt;
  const fs::path given(name);
  if (given.is_absolute() || folder_.empty()) return given.string();
  const fs::path beside_script = folder_ / given;
  std::error_code ignored;
  const bool first = writing ? writable_folder_of(beside_script) || !writable_folder_of(given)
                             : fs::exists(beside_script, ignored);
  return (first ? beside_script : given).string();
}

const char *Files::path(const char *name, bool writing) {
  std::optional<std::string> found = resolve(name, writing);
  if (!found) return nullptr;
  path_ = std::move(*found);
  return path_.c_str();
}

Stream *Files::open(const char *name, std::int32_t mode, const char * /*key*/) {
  const bool writing = mode == ORB_OPEN_WRITE;
  if (mode != ORB_OPEN_READ && !writing) return nullptr;
  const std::optional<std::string> path = resolve(name, writing);
  if (!path) return nullptr;
  // A pipe would block and a folder can't be read: only regular files are opened.
  std::error_code ignored;
  const fs::file_status status = fs::status(*path, ignored);
  if (fs::exists(status) && !fs::is_regular_file(status)) return nullptr;
  std::FILE *file = std::fopen(path->c_str(), writing ? "wb" : "rb");
  if (!file) return nullptr;
  auto stream = std::make_unique<PlainStream>(file);
  Stream *handle = stream.get();
  streams_.emplace(handle, std::move(stream));
  return handle;
}

Stream *Files::find(void *handle) const {
  const auto found = streams_.find(handle);
  return found == streams_.end() ? nullptr : found->second.get();
}

void Files::close(void *handle) {
  streams_.erase(handle);
}

} // namespace orbhost

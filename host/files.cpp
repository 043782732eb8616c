#include "host/files.h"

#include "orb/graphics2d.h"

#include <cstdio>
#include <cstring>
#include <unistd.h>

namespace orbhost {
namespace {

namespace fs = std::filesystem;

bool writable_folder_of(const fs::path &file) {
  const fs::path folder = file.has_parent_path() ? file.parent_path() : fs::path(".");
  return ::access(folder.c_str(), W_OK | X_OK) == 0;
}

} // namespace

void Files::set_folder(const fs::path &folder) {
  folder_ = folder == "." ? fs::path() : folder; // names in messages stay as they were given
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
  note(path_, writing);
  return path_.c_str();
}

void Files::note(const std::string &path, bool writing) {
  std::error_code ignored;
  const std::string absolute = fs::absolute(path, ignored).lexically_normal().string();
  if (writing) {
    written_.insert(absolute);
    read_.erase(absolute);
  } else if (!written_.contains(absolute) && fs::exists(absolute, ignored)) {
    read_.insert(absolute);
  }
}

Stream *Files::open(const char *name, std::int32_t mode, const char *key) {
  using Open = std::unique_ptr<Stream>(const std::string &path, const char *key);
  Open *open_stream = nullptr;
  switch (mode) {
  case ORB_OPEN_READ: open_stream = open_plain_reader; break;
  case ORB_OPEN_WRITE: open_stream = open_plain_writer; break;
  case ORB_OPEN_READ_COMPRESSED: open_stream = open_compressed_reader; break;
  case ORB_OPEN_WRITE_COMPRESSED: open_stream = open_compressed_writer; break;
  default: return nullptr;
  }
  const bool writing = mode == ORB_OPEN_WRITE || mode == ORB_OPEN_WRITE_COMPRESSED;
  const std::optional<std::string> path = resolve(name, writing);
  if (!path) return nullptr;
  note(*path, writing);
  // Only regular files are opened: a pipe would block, and a folder can't be read.
  std::error_code ignored;
  const fs::file_status status = fs::status(*path, ignored);
  if (fs::exists(status) && !fs::is_regular_file(status)) return nullptr;
  std::unique_ptr<Stream> stream = open_stream(*path, key);
  if (!stream) return nullptr;
  Stream *handle = stream.get();
  streams_.emplace(handle, Opened{std::move(stream), *path});
  return handle;
}

Stream *Files::find(void *handle) const {
  const auto found = streams_.find(handle);
  return found == streams_.end() ? nullptr : found->second.stream.get();
}

void Files::close(void *handle) {
  const auto found = streams_.find(handle);
  if (found == streams_.end()) return;
  const Opened opened = std::move(found->second);
  streams_.erase(found);
  const int error = opened.stream->close();
  if (error == 0) return;
  ++losses_;
  loss_ = std::strerror(error);
}

} // namespace orbhost

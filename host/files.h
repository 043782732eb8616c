// File services: names to paths, and streams.
#pragma once

#include "host/stream.h"

#include <cstdint>
#include <filesystem>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <unordered_map>

namespace orbhost {

class Files {
public:
  // The folder that relative names are looked up in first: the script's. Empty: only the current
  // directory.
  void set_folder(const std::filesystem::path &folder);

  // The path behind a script's file name. Relative names stand for a file in the script's folder,
  // or else in the current directory: for reading the first that exists; for writing the script's
  // folder, unless the file's folder isn't there, or can't be written to, and the current
  // directory's is. Nothing for a null or empty name. Reading a file that exists nowhere gives
  // the current directory's name, which then fails to open.
  [[nodiscard]] std::optional<std::string> resolve(const char *name, bool writing) const;

  // As resolve(); the text stays valid until the next call of path(). Null where nothing.
  const char *path(const char *name, bool writing);

  // Opens a stream for mode 1 (read), 2 (write), 7 (read compressed) or 8 (write compressed). Null
  // when the file can't be opened, isn't a regular file, isn't a compressed one for mode 7, or the
  // mode is another one. `key` is the script's cipher key or null.
  Stream *open(const char *name, std::int32_t mode, const char *key);
  // The stream of a handle that open() gave and close() hasn't taken; null otherwise.
  [[nodiscard]] Stream *find(void *handle) const;
  // Ends a stream. Only here does a written file take its name, with everything in it: until then,
  // and for good when a write has failed, the file that had the name stays as it was. The service
  // has no result that could say so; on_loss and losses() do.
  void close(void *handle);
  // Called with the path and the reason when a written file is lost; by default a line on stderr.
  std::function<void(const std::string &path, const std::string &reason)> on_loss;
  // Written files that were lost so far.
  [[nodiscard]] std::size_t losses() const { return losses_; }

  // Streams that are open now.
  [[nodiscard]] std::size_t open_count() const { return streams_.size(); }

private:
  std::filesystem::path folder_;
  std::string path_;
  struct Opened {
    std::unique_ptr<Stream> stream;
    std::string path;
  };
  std::unordered_map<void *, Opened> streams_;
  std::size_t losses_ = 0;
};

} // namespace orbhost

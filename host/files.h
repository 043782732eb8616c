// File services: names to paths, and streams.
#pragma once

#include "host/stream.h"

#include <cstdint>
#include <filesystem>
#include <memory>
#include <optional>
#include <set>
#include <string>
#include <unordered_map>

namespace orbhost {

class Files {
public:
  // The script's folder, in which relative names are looked up first. Empty: only the current
  // directory.
  void set_folder(const std::filesystem::path &folder);
  [[nodiscard]] const std::filesystem::path &folder() const { return folder_; }

  // The path for a script's file name. A relative name is looked up in the script's folder, then in
  // the current directory. For reading, the first file that exists; if there is none, the path in
  // the current directory, which then fails to open. For writing, the path in the script's folder,
  // unless its folder is missing or not writable and the one in the current directory is writable.
  // Nothing for a null or empty name.
  [[nodiscard]] std::optional<std::string> resolve(const char *name, bool writing) const;

  // As resolve(), or null, for a file that is about to be read or written; the text stays valid
  // until the next call of path().
  const char *path(const char *name, bool writing);
  // Notes that a file is read or written, whoever opens it. `path` is no name, but where it leads.
  void note(const std::string &path, bool writing);
  // The absolute paths of all files that were read so far, except for those that were also written:
  // their changes are the script's own.
  [[nodiscard]] const std::set<std::string> &read_paths() const { return read_; }

  // Opens a stream for mode 1 (read), 2 (write), 7 (read compressed) or 8 (write compressed). Null
  // when the file can't be opened, isn't a regular file, isn't compressed (mode 7), or the mode is
  // none of these. `key` is the script's cipher key or null.
  Stream *open(const char *name, std::int32_t mode, const char *key);
  // The stream of a handle that open() returned and that isn't closed yet; null otherwise.
  [[nodiscard]] Stream *find(void *handle) const;
  // Closes a stream. A written file replaces the old one only here, and only if every write has
  // succeeded; otherwise the old file stays. The service has no result to report that; losses() and
  // loss() do.
  void close(void *handle);
  // Number of written files that were lost, and why the last one was; empty while there was none.
  [[nodiscard]] std::size_t losses() const { return losses_; }
  [[nodiscard]] const std::string &loss() const { return loss_; }

  // Number of open streams.
  [[nodiscard]] std::size_t open_count() const { return streams_.size(); }

private:
  std::filesystem::path folder_;
  std::string path_;
  std::set<std::string> read_, written_; // a path is in one of them
  struct Opened {
    std::unique_ptr<Stream> stream;
    std::string path;
  };
  std::unordered_map<void *, Opened> streams_;
  std::size_t losses_ = 0;
  std::string loss_;
};

} // namespace orbhost

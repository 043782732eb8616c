// File services: names to paths, and streams.
#pragma once

#include <cstdint>
#include <filesystem>
#include <memory>
#include <optional>
#include <string>
#include <unordered_map>

namespace orbhost {

// An open file. Counts are bytes; a stream never throws, a failure is a short count.
class Stream {
public:
  virtual ~Stream() = default;
  virtual std::size_t read(void *buffer, std::size_t bytes, bool cipher) = 0;
  virtual std::size_t write(const void *buffer, std::size_t bytes, bool cipher) = 0;
  virtual bool seek(std::int32_t offset, int whence) = 0; // whence as fseek
  virtual bool at_end() = 0;                              // before a read has failed
};

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

  // Opens a stream for mode 1 (read) or 2 (write). Null when the file can't be opened, isn't a
  // regular file, or the mode is another one. `key` is the script's cipher key or null.
  Stream *open(const char *name, std::int32_t mode, const char *key);
  // The stream of a handle that open() gave and close() hasn't taken; null otherwise.
  [[nodiscard]] Stream *find(void *handle) const;
  void close(void *handle);

  // Streams that are open now.
  [[nodiscard]] std::size_t open_count() const { return streams_.size(); }

private:
  std::filesystem::path folder_;
  std::string path_;
  std::unordered_map<void *, std::unique_ptr<Stream>> streams_;
};

} // namespace orbhost

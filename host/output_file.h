// A file that is written completely or not at all.
#pragma once

#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <memory>
#include <string>

namespace orbhost {

// Bytes go to a new file in the same folder, which commit() renames over the old one. So a save
// that fails half-way, or a program that ends during it, leaves the old file. The module does the
// same for pictures (src/formats/file_writer.h).
class OutputFile {
public:
  // Null when the file can't be saved; errno says why: the path names something other than a
  // regular file (ENOTSUP or EISDIR), the file is write-protected, or its folder accepts no new
  // file. Links are followed, even to a file that doesn't exist yet. An old file's permissions are
  // kept.
  static std::unique_ptr<OutputFile> create(const std::string &path);
  ~OutputFile(); // removes the new file unless commit() was called
  OutputFile(const OutputFile &) = delete;
  OutputFile &operator=(const OutputFile &) = delete;

  // Returns the number of bytes written. After a short count the file is lost, and commit() fails.
  std::size_t write(const void *data, std::size_t bytes);
  bool seek(std::int32_t offset, int whence);
  // Where the next byte goes.
  [[nodiscard]] std::uint64_t position() const { return position_; }
  // Marks the file as lost, with an errno.
  void fail(int error);
  [[nodiscard]] bool lost() const { return error_ != 0; }

  // Replaces the old file. Returns 0, or the errno of the first failure: the old file is then
  // unchanged, and the new one is removed.
  int commit();

private:
  OutputFile();
  bool open(const std::string &path);
  // Sets folder_ and name_ from a path.
  bool find_place(std::string path);
  // Creates the new file, with the permissions that the umask leaves. Its descriptor, or -1.
  int create_new_file(unsigned rights);
  // Closes and removes the new file, if it still exists.
  void discard();

  std::FILE *file_ = nullptr; // the new file
  int folder_;                // of both files
  std::string name_;          // of the saved file, in the folder
  std::string new_name_;      // of the new file, until it is complete
  std::uint64_t position_ = 0;
  int error_ = 0;
};

// Removes the new files that this process is writing now, the module's too. For a signal handler,
// before the program ends.
void remove_unfinished_files();

// Saves a whole file. Returns 0, or the errno of create() or commit().
int save_file(const std::string &path, const void *data, std::size_t bytes);

} // namespace orbhost

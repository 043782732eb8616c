// A file that is written whole or not at all.
#pragma once

#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <memory>
#include <string>

namespace orbhost {

// Bytes go to a new file in the same folder, which commit() renames over the old one: a save that
// fails half-way, or a program that ends in it, doesn't cost the file that was there. The module's
// writers of pictures do the same (src/formats/file_writer.h).
class OutputFile {
public:
  // Null when the file can't be saved; errno says why: the path leads to something else than a
  // regular file (ENOTSUP, or EISDIR), to one that is protected, or into a folder where no file can
  // be made. A link is followed, also to a file that isn't there yet; the rights of an old file are
  // kept.
  static std::unique_ptr<OutputFile> create(const std::string &path);
  ~OutputFile(); // removes the new file unless commit() was called
  OutputFile(const OutputFile &) = delete;
  OutputFile &operator=(const OutputFile &) = delete;

  // The bytes that were taken. After a short count the file is lost, and commit() says so.
  std::size_t write(const void *data, std::size_t bytes);
  bool seek(std::int32_t offset, int whence);
  // Where the next byte goes.
  [[nodiscard]] std::uint64_t position() const { return position_; }
  // Marks the file as lost, for an errno.
  void fail(int error);
  [[nodiscard]] bool lost() const { return error_ != 0; }

  // Puts the file in its place. 0, or the errno of the first failure: then the old file is what it
  // was, and nothing stays beside it.
  int commit();

private:
  OutputFile();
  bool open(const std::string &path);
  // Sets the folder and the name that a path leads to.
  bool find_place(std::string path);
  // Makes the new file, with the rights that the umask leaves. Its descriptor, or -1.
  int create_new_file(unsigned rights);
  // Closes and removes the new file, if it is still there.
  void discard();

  std::FILE *file_ = nullptr; // the new file
  int folder_;                // of both files
  std::string name_;          // in the folder: of the file that is saved,
  std::string new_name_;      // and of the new one until it is complete
  std::uint64_t position_ = 0;
  int error_ = 0;
};

// Saves a file at once. 0, or an errno as create() and commit() give.
int save_file(const std::string &path, const void *data, std::size_t bytes);

} // namespace orbhost

// A file that is written whole or not at all.
#pragma once

#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <memory>
#include <string>

namespace orbhost {

// Bytes go to a temporary file beside the target, which commit() renames over it: a save that fails
// half-way, or a program that ends in it, doesn't cost the file that was there. Where a new file
// can't be made in the folder, but the target can be written, it is written in place.
class OutputFile {
public:
  // Null when the file can't be written; errno says why. A link is followed.
  static std::unique_ptr<OutputFile> create(const std::string &path);
  ~OutputFile(); // removes the temporary file unless commit() was called
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

  // Puts the file in its place. 0, or the errno of the first failure: then the target is what it
  // was before (except where it was written in place).
  int commit();

private:
  OutputFile(std::FILE *file, std::string target, std::string temporary)
      : file_(file), target_(std::move(target)), temporary_(std::move(temporary)) {}

  std::FILE *file_;
  std::string target_;
  std::string temporary_; // empty: written in place
  std::uint64_t position_ = 0;
  int error_ = 0;
};

} // namespace orbhost

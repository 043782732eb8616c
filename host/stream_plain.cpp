// Plain streams: the bytes of a file, enciphered on request.
#include "host/cipher.h"
#include "host/output_file.h"
#include "host/stream.h"

#include <cstdio>

namespace orbhost {
namespace {

struct CloseFile {
  void operator()(std::FILE *file) const { std::fclose(file); }
};

class PlainReader final : public Stream {
public:
  PlainReader(std::FILE *file, const char *key) : file_(file), cipher_(key) {}

  std::size_t read(void *buffer, std::size_t bytes, bool cipher) override {
    const std::size_t count = std::fread(buffer, 1, bytes, file_.get());
    if (cipher) cipher_.apply(buffer, count, position_);
    position_ += count;
    return count;
  }
  bool seek(std::int32_t offset, int whence) override {
    if (std::fseek(file_.get(), offset, whence) != 0) return false;
    position_ = static_cast<std::uint64_t>(std::ftell(file_.get()));
    return true;
  }
  bool at_end() override {
    const int c = std::getc(file_.get());
    if (c == EOF) return true;
    std::ungetc(c, file_.get());
    return false;
  }

private:
  std::unique_ptr<std::FILE, CloseFile> file_;
  Cipher cipher_;
  std::uint64_t position_ = 0;
};

class PlainWriter final : public Stream {
public:
  PlainWriter(std::unique_ptr<OutputFile> file, const char *key)
      : file_(std::move(file)), cipher_(key) {}

  std::size_t write(const void *buffer, std::size_t bytes, bool cipher) override {
    if (!cipher) return file_->write(buffer, bytes);
    return cipher_.put_enciphered(
        buffer, bytes, file_->position(),
        [this](const void *piece, std::size_t count) { return file_->write(piece, count); });
  }
  bool seek(std::int32_t offset, int whence) override { return file_->seek(offset, whence); }
  int close() override { return file_->commit(); }

private:
  std::unique_ptr<OutputFile> file_;
  Cipher cipher_;
};

} // namespace

std::unique_ptr<Stream> open_plain_reader(const std::string &path, const char *key) {
  std::FILE *file = std::fopen(path.c_str(), "rbe");
  if (!file) return nullptr;
  return std::make_unique<PlainReader>(file, key);
}

std::unique_ptr<Stream> open_plain_writer(const std::string &path, const char *key) {
  auto file = OutputFile::create(path);
  if (!file) return nullptr;
  return std::make_unique<PlainWriter>(std::move(file), key);
}

} // namespace orbhost

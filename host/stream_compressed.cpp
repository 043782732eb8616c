// Compressed streams: a header of eight bytes, eight plain bytes of the stream, and a zlib stream.
#include "host/cipher.h"
#include "host/output_file.h"
#include "host/stream.h"

#include <zlib.h>

#include <cerrno>
#include <cstdio>

namespace orbhost {
namespace {

// The header: a mark, and the length of the stream as a little-endian number.
using Eight = std::array<std::uint8_t, 8>;
constexpr std::array<std::uint8_t, 4> mark{'o', 'r', 'b', 'z'};

constexpr std::size_t plain_size = 8; // bytes of the stream that aren't compressed
constexpr std::size_t buffer_size = std::size_t{64} * 1024;
using Buffer = std::array<std::uint8_t, buffer_size>;

struct CloseFile {
  void operator()(std::FILE *file) const { std::fclose(file); }
};

// The window holds the bytes of the stream from start_ on. The first window is the eight plain
// bytes; each further one is filled by inflating. Only reads and at_end() do any work, so a seek by
// itself costs nothing.
class CompressedReader final : public Stream {
public:
  CompressedReader(std::FILE *file, const char *key) : file_(file), cipher_(key) {}
  ~CompressedReader() override {
    if (inflating_) inflateEnd(&z_);
  }

  bool open() {
    Eight ours;
    if (std::fread(ours.data(), 1, ours.size(), file_.get()) != ours.size() ||
        !std::equal(mark.begin(), mark.end(), ours.begin())) {
      return false;
    }
    for (std::size_t i = ours.size(); i-- > mark.size();)
      length_ = length_ << 8 | ours[i];
    plain_count_ = std::fread(plain_.data(), 1, plain_.size(), file_.get());
    inflating_ = inflateInit(&z_) == Z_OK;
    return inflating_ && plain_count_ <= length_ && restart();
  }

  std::size_t read(void *buffer, std::size_t bytes, bool cipher) override {
    auto *to = static_cast<std::uint8_t *>(buffer);
    std::size_t done = 0;
    while (done < bytes && reach()) {
      const auto from = static_cast<std::size_t>(position_ - start_);
      const std::size_t count = std::min(bytes - done, readable() - from);
      std::memcpy(to + done, window_.data() + from, count);
      if (cipher) cipher_.apply(to + done, count, position_);
      position_ += count;
      done += count;
    }
    return done;
  }

  bool seek(std::int32_t offset, int whence) override {
    std::int64_t from = 0;
    if (whence == SEEK_CUR) from = static_cast<std::int64_t>(position_);
    if (whence == SEEK_END) from = length_;
    if (from + offset < 0) return false;
    position_ = static_cast<std::uint64_t>(from + offset);
    return true;
  }

  bool at_end() override { return !reach(); }

private:
  enum class State { more, ended, damaged };

  // The last byte of a window is held back until it is known what follows. At the end of the stream
  // that is the checksum, so a damaged stream never seems complete.
  [[nodiscard]] std::size_t readable() const { return count_ - held_; }

  bool restart() {
    if (std::fseek(file_.get(), static_cast<long>(sizeof(Eight) + plain_count_), SEEK_SET) != 0 ||
        inflateReset(&z_) != Z_OK) {
      state_ = State::damaged;
      return false;
    }
    z_.avail_in = 0;
    std::copy_n(plain_.begin(), plain_count_, window_.begin());
    start_ = 0;
    count_ = plain_count_;
    held_ = 0;
    state_ = plain_count_ == length_      ? State::ended
             : plain_count_ == plain_size ? State::more
                                          : State::damaged;
    return true;
  }

  // Makes the byte at position_ readable; false if there is none.
  bool reach() {
    if (position_ < start_ && !restart()) return false;
    while (position_ >= start_ + readable()) {
      if (!advance()) return false;
    }
    return true;
  }

  // Moves on to the next window; false if this is the last.
  bool advance() {
    if (state_ != State::more) return false;
    std::copy_n(window_.begin() + static_cast<std::ptrdiff_t>(readable()), held_, window_.begin());
    start_ += readable();
    z_.next_out = window_.data() + held_;
    z_.avail_out = static_cast<uInt>(window_.size() - held_);
    while (state_ == State::more && z_.avail_out > 0) {
      if (z_.avail_in == 0) {
        z_.next_in = input_.data();
        z_.avail_in = static_cast<uInt>(std::fread(input_.data(), 1, input_.size(), file_.get()));
      }
      // Without input, or with damaged input, inflate() fails.
      switch (inflate(&z_, Z_NO_FLUSH)) {
      case Z_OK: break;
      case Z_STREAM_END: state_ = State::ended; break;
      default: state_ = State::damaged; break;
      }
    }
    count_ = window_.size() - z_.avail_out;
    if (start_ + count_ > length_) {
      state_ = State::damaged;
      count_ = static_cast<std::size_t>(length_ - start_);
    }
    held_ = state_ == State::ended ? 0 : std::min<std::size_t>(count_, 1);
    return true;
  }

  std::unique_ptr<std::FILE, CloseFile> file_;
  Cipher cipher_;
  std::uint32_t length_ = 0;
  std::array<std::uint8_t, plain_size> plain_{};
  std::size_t plain_count_ = 0;
  z_stream z_{};
  bool inflating_ = false;
  State state_ = State::more;
  std::uint64_t position_ = 0; // of the next byte read
  std::uint64_t start_ = 0;
  std::size_t count_ = 0; // bytes in the window
  std::size_t held_ = 0;  // of these, how many are held back: 0 or 1
  Buffer input_, window_;
};

class CompressedWriter final : public Stream {
public:
  CompressedWriter(std::unique_ptr<OutputFile> file, const char *key)
      : file_(std::move(file)), cipher_(key) {}
  ~CompressedWriter() override {
    if (deflating_) deflateEnd(&z_);
  }

  bool open() {
    deflating_ = deflateInit(&z_, Z_DEFAULT_COMPRESSION) == Z_OK;
    return deflating_ && write_ours();
  }

  std::size_t write(const void *buffer, std::size_t bytes, bool cipher) override {
    const auto put_plain = [this](const void *piece, std::size_t count) {
      return put(static_cast<const std::uint8_t *>(piece), count);
    };
    return cipher ? cipher_.put_enciphered(buffer, bytes, position_, put_plain)
                  : put_plain(buffer, bytes);
  }

  // Only to the current position.
  bool seek(std::int32_t offset, int whence) override {
    const auto here = static_cast<std::int64_t>(position_);
    return whence == SEEK_SET ? offset == here : offset == 0;
  }

  int close() override {
    if (position_ > plain_size) run(nullptr, 0, Z_FINISH);
    if (position_ > UINT32_MAX) file_->fail(EFBIG);
    // The length is known only now.
    if (!file_->seek(0, SEEK_SET)) file_->fail(errno);
    write_ours();
    return file_->commit();
  }

private:
  bool write_ours() {
    Eight ours;
    std::copy(mark.begin(), mark.end(), ours.begin());
    for (std::size_t i = mark.size(); i < ours.size(); ++i) {
      ours[i] = static_cast<std::uint8_t>(position_ >> (8 * (i - mark.size())));
    }
    return file_->write(ours.data(), ours.size()) == ours.size();
  }

  std::size_t put(const std::uint8_t *data, std::size_t bytes) {
    if (file_->lost()) return 0;
    std::size_t plain = 0;
    if (position_ < plain_size) {
      const std::size_t wanted = std::min(bytes, static_cast<std::size_t>(plain_size - position_));
      plain = file_->write(data, wanted);
      position_ += plain;
      if (plain != wanted) return plain;
    }
    const std::size_t rest = bytes - plain;
    if (rest == 0) return plain;
    if (!run(data + plain, rest, Z_NO_FLUSH)) return plain;
    position_ += rest;
    return bytes;
  }

  bool run(const std::uint8_t *data, std::size_t bytes, int flush) {
    z_.next_in = const_cast<Bytef *>(data);
    z_.avail_in = static_cast<uInt>(bytes);
    do {
      z_.next_out = output_.data();
      z_.avail_out = static_cast<uInt>(output_.size());
      if (deflate(&z_, flush) == Z_STREAM_ERROR) {
        file_->fail(EIO);
        return false;
      }
      const std::size_t count = output_.size() - z_.avail_out;
      if (file_->write(output_.data(), count) != count) return false;
    } while (z_.avail_out == 0);
    return true;
  }

  std::unique_ptr<OutputFile> file_;
  Cipher cipher_;
  z_stream z_{};
  bool deflating_ = false;
  std::uint64_t position_ = 0;
  Buffer output_;
};

} // namespace

std::unique_ptr<Stream> open_compressed_reader(const std::string &path, const char *key) {
  std::FILE *file = std::fopen(path.c_str(), "rbe");
  if (!file) return nullptr;
  auto stream = std::make_unique<CompressedReader>(file, key);
  if (!stream->open()) return nullptr;
  return stream;
}

std::unique_ptr<Stream> open_compressed_writer(const std::string &path, const char *key) {
  auto file = OutputFile::create(path);
  if (!file) return nullptr;
  auto stream = std::make_unique<CompressedWriter>(std::move(file), key);
  if (!stream->open()) return nullptr;
  return stream;
}

} // namespace orbhost

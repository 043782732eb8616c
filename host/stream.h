// Streams, which the handles of the file services stand for.
#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>

namespace orbhost {

// An open file. Counts are in bytes; a stream never throws, and fails with a short count. With
// `cipher` the bytes pass through the cipher of the key given on opening (see host/cipher.h), by
// their position in the stream. A stream is either read or written; the other calls return 0.
class Stream {
public:
  virtual ~Stream() = default;
  virtual std::size_t read(void * /*buffer*/, std::size_t /*bytes*/, bool /*cipher*/) { return 0; }
  virtual std::size_t write(const void * /*buffer*/, std::size_t /*bytes*/, bool /*cipher*/) {
    return 0;
  }
  // `whence` as in fseek. Positions count uncompressed bytes; beyond the end, reads return 0.
  virtual bool seek(std::int32_t offset, int whence) = 0;
  // True as soon as no byte is left, even before a read fails; always true for a written stream.
  virtual bool at_end() { return true; }
  // Closes the stream. A written file replaces the old one here, and only if all its bytes were
  // written. Returns 0 or the errno of the failure. Destroying a stream without closing it leaves
  // the old file.
  virtual int close() { return 0; }
};

// Each is null when the file can't be opened; `key` may be null.
std::unique_ptr<Stream> open_plain_reader(const std::string &path, const char *key);
std::unique_ptr<Stream> open_plain_writer(const std::string &path, const char *key);

// A compressed file has a header of eight bytes (a mark and the stream's length, below 4 GB), the
// first eight bytes of the stream uncompressed, and a zlib stream of the rest. A file without that
// mark isn't opened for reading. If the file is damaged or truncated, reading stops before the last
// byte: a stream can be read to its end only if length and checksum are correct. A reader seeks
// forward by reading and backward by starting over; a writer can't seek.
std::unique_ptr<Stream> open_compressed_reader(const std::string &path, const char *key);
std::unique_ptr<Stream> open_compressed_writer(const std::string &path, const char *key);

} // namespace orbhost

// Streams: what the file services' handles stand for.
#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>

namespace orbhost {

// An open file. Counts are bytes; a stream never throws, a failure is a short count. With `cipher`
// the bytes pass through the cipher of the key given at opening (see host/cipher.h), by their
// position in the stream. A stream is either read or written: the other calls give 0.
class Stream {
public:
  virtual ~Stream() = default;
  virtual std::size_t read(void * /*buffer*/, std::size_t /*bytes*/, bool /*cipher*/) { return 0; }
  virtual std::size_t write(const void * /*buffer*/, std::size_t /*bytes*/, bool /*cipher*/) {
    return 0;
  }
  // `whence` as fseek. Positions count uncompressed bytes; one beyond the end reads nothing.
  virtual bool seek(std::int32_t offset, int whence) = 0;
  // True once no further byte can be read, before a read has failed; always for a written stream.
  virtual bool at_end() { return true; }
  // Ends a stream. A written file takes its place here, and only if every byte of it could be
  // written: 0, or the errno of what went wrong. A stream that is destroyed without it leaves the
  // file as it was before.
  virtual int close() { return 0; }
};

// Each is null when the file can't be opened; `key` may be null.
std::unique_ptr<Stream> open_plain_reader(const std::string &path, const char *key);
std::unique_ptr<Stream> open_plain_writer(const std::string &path, const char *key);

// A compressed file holds eight bytes of ours (a mark and the stream's length, below 4 GB), the
// first eight bytes of the stream as they are, and a zlib stream of the rest. A file that begins
// otherwise isn't opened for reading. Reading stops short where the file is damaged or cut off, and
// always before the last byte then: a stream can be read whole only when its length and checksum
// are right. A reader seeks forward by reading and backward by starting again; a writer can't seek.
std::unique_ptr<Stream> open_compressed_reader(const std::string &path, const char *key);
std::unique_ptr<Stream> open_compressed_writer(const std::string &path, const char *key);

} // namespace orbhost

// The cipher of the file services: ChaCha20 under a key made from the script's text.
#pragma once

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdint>
#include <cstring>

namespace orbhost {

// The key is the 32-byte generic hash (BLAKE2b) of the text, the nonce is zero, and the byte at
// position p of a stream is combined with byte p of the key stream. So bytes can be enciphered and
// deciphered in any order and in pieces of any size, and bytes between them can stay plain.
//
// The formats have no room for a nonce, so two files under one text share a key stream: the cipher
// hides a game's pictures from the curious, but anyone who has a plain copy of one file can
// decipher the others. The cipher can't detect a wrong key; the formats' own markers can.
class Cipher {
public:
  // A null or empty text means no key: apply() then leaves bytes as they are.
  explicit Cipher(const char *text);
  ~Cipher(); // clears the key
  Cipher(const Cipher &) = delete;
  Cipher &operator=(const Cipher &) = delete;

  [[nodiscard]] bool has_key() const { return has_key_; }

  // Enciphers or deciphers in place the `bytes` bytes that start at `position` of a stream.
  void apply(void *data, std::size_t bytes, std::uint64_t position) const;

  // Passes the enciphered form of `data` in pieces to put(piece, bytes), which returns how many
  // bytes it took, until all are taken or a piece is taken only in part. Returns the number of
  // bytes taken.
  template <typename Put>
  std::size_t put_enciphered(const void *data, std::size_t bytes, std::uint64_t position,
                             Put put) const {
    if (!has_key_) return put(data, bytes);
    std::array<std::uint8_t, 4096> piece;
    std::size_t done = 0;
    while (done < bytes) {
      const std::size_t count = std::min(bytes - done, piece.size());
      std::memcpy(piece.data(), static_cast<const std::uint8_t *>(data) + done, count);
      apply(piece.data(), count, position + done);
      const std::size_t taken = put(static_cast<const void *>(piece.data()), count);
      done += taken;
      if (taken != count) break;
    }
    return done;
  }

private:
  bool has_key_;
  std::array<std::uint8_t, 32> key_{};
};

} // namespace orbhost

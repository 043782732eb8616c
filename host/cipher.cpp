#include "host/cipher.h"

#include <sodium.h>

namespace orbhost {
namespace {

constexpr std::size_t block_size = 64; // of ChaCha20's counter
constexpr std::array<std::uint8_t, crypto_stream_chacha20_NONCEBYTES> nonce{};

} // namespace

Cipher::Cipher(const char *text) : has_key_(text && *text) {
  static_assert(std::tuple_size_v<decltype(key_)> == crypto_stream_chacha20_KEYBYTES);
  if (!has_key_) return;
  // Selects the fastest routines; the two used here also work without it.
  static_cast<void>(sodium_init());
  crypto_generichash(key_.data(), key_.size(), reinterpret_cast<const unsigned char *>(text),
                     std::strlen(text), nullptr, 0);
}

Cipher::~Cipher() {
  sodium_memzero(key_.data(), key_.size());
}

void Cipher::apply(void *data, std::size_t bytes, std::uint64_t position) const {
  if (!has_key_ || bytes == 0) return;
  auto *at = static_cast<std::uint8_t *>(data);
  std::uint64_t block = position / block_size;
  // The counter counts whole blocks, so a block that begins before `position` is applied by hand.
  if (const auto skip = static_cast<std::size_t>(position % block_size)) {
    std::array<std::uint8_t, block_size> stream{};
    crypto_stream_chacha20_xor_ic(stream.data(), stream.data(), stream.size(), nonce.data(), block,
                                  key_.data());
    const std::size_t count = std::min(bytes, block_size - skip);
    for (std::size_t i = 0; i < count; ++i)
      at[i] ^= stream[skip + i];
    at += count;
    bytes -= count;
    ++block;
  }
  crypto_stream_chacha20_xor_ic(at, at, bytes, nonce.data(), block, key_.data());
}

} // namespace orbhost

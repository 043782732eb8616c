// The host's streams beside plain arrays: layout, cipher, seeks and damage.
#include <algorithm>
#include <random>
#include <span>

#include <gtest/gtest.h>
#include <sodium.h>
#include <zlib.h>

#include "host/cipher.h"
#include "support/world.h"

using orbhost::Stream;

namespace {

struct HostStreams : testing::Test {
  std::mt19937 generator{20};
  scratch_folder folder;
  const std::string name = folder.path / "file";
  orbhost::Files files;

  size_t random(size_t below) { return generator() % below; }
  file_bytes random_bytes(size_t count, size_t values = 256) {
    file_bytes bytes(count);
    for (uint8_t &byte : bytes)
      byte = uint8_t(random(values));
    return bytes;
  }
  void save(int mode, const file_bytes &bytes, const char *key = nullptr, bool cipher = false) {
    Stream *const stream = files.open(name.c_str(), mode, key);
    ASSERT_TRUE(stream);
    EXPECT_EQ(stream->write(bytes.data(), bytes.size(), cipher), bytes.size());
    EXPECT_TRUE(stream->at_end());
    files.close(stream);
  }
  /// Everything, in pieces; at_end is true before the read that finds nothing.
  file_bytes load(int mode, size_t piece, const char *key = nullptr, bool cipher = false) {
    file_bytes all, part(piece);
    Stream *const stream = files.open(name.c_str(), mode, key);
    while (stream && !stream->at_end()) {
      const size_t count = stream->read(part.data(), piece, cipher);
      EXPECT_GT(count, 0u);
      if (count == 0) break;
      all.insert(all.end(), part.begin(), part.begin() + int32_t(count));
    }
    if (stream) EXPECT_EQ(stream->read(part.data(), 1, cipher), 0u);
    files.close(stream);
    return all;
  }
};

/// The key stream of a text from a position on, which must begin a block of 64 bytes.
file_bytes key_stream(const std::string &text, uint64_t position, size_t size) {
  uint8_t key[32];
  const uint8_t nonce[8] = {};
  crypto_generichash(key, sizeof key, reinterpret_cast<const uint8_t *>(text.data()), text.size(),
                     nullptr, 0);
  file_bytes bytes(size);
  crypto_stream_chacha20_xor_ic(bytes.data(), bytes.data(), size, nonce, position / 64, key);
  return bytes;
}

} // namespace

TEST_F(HostStreams, CipherGoesByPosition) {
  for (const uint64_t base : {uint64_t(0), uint64_t(1) << 38, (uint64_t(5) << 32) - 128})
    for (int round = 0; round < 200; ++round) {
      const std::string text = "key " + std::to_string(round);
      const size_t offset = random(300);
      const file_bytes plain = random_bytes(random(400)), mask = key_stream(text, base, 700);
      file_bytes bytes = plain;
      orbhost::Cipher(text.c_str()).apply(bytes.data(), bytes.size(), base + offset);
      for (size_t i = 0; i < plain.size(); ++i)
        ASSERT_EQ(bytes[i], plain[i] ^ mask[offset + i]) << base << " + " << offset << " + " << i;
    }
}

TEST_F(HostStreams, CompressedFilesKeepTheFirstEightBytes) {
  for (const size_t size : {0, 1, 7, 8, 9, 40, 65543, 65544, 65545, 200'000}) {
    const file_bytes bytes = random_bytes(size, 20);
    save(ORB_OPEN_WRITE_COMPRESSED, bytes);
    const file_bytes file = read_file(name);
    file_bytes expected{'o', 'r', 'b', 'z', uint8_t(size), uint8_t(size >> 8), uint8_t(size >> 16), 0};
    expected.insert(expected.end(), bytes.begin(), bytes.begin() + int32_t(std::min(size, size_t(8))));
    ASSERT_TRUE(std::equal(expected.begin(), expected.end(), file.begin())) << size;
    if (size > 8) {
      file_bytes rest(size);
      uLongf count = rest.size();
      ASSERT_EQ(uncompress(rest.data(), &count, &file[16], file.size() - 16), Z_OK) << size;
      rest.resize(count);
      EXPECT_EQ(rest, file_bytes(bytes.begin() + 8, bytes.end()));
    }
    EXPECT_EQ(load(ORB_OPEN_READ, 1000), file);
    EXPECT_EQ(load(ORB_OPEN_READ_COMPRESSED, 1 + random(100'000)), bytes) << size;
  }
}

// Written in pieces, some through the cipher, and read from random positions.
TEST_F(HostStreams, SeeksReadWhatAPlainArrayHolds) {
  for (int round = 0; round < 12; ++round) {
    const bool compressed = round % 2;
    file_bytes stored = random_bytes(1 + random(300'000), round % 4 < 2 ? 256 : 3);
    const file_bytes mask = key_stream("secret", 0, stored.size());
    Stream *const out = files.open(
        name.c_str(), compressed ? ORB_OPEN_WRITE_COMPRESSED : ORB_OPEN_WRITE, "secret");
    for (size_t at = 0; at < stored.size();) {
      const size_t count = std::min(stored.size() - at, 1 + random(random(2) ? 9 : 9000));
      const bool cipher = random(2);
      ASSERT_EQ(out->write(&stored[at], count, cipher), count);
      for (size_t i = at; cipher && i < at + count; ++i)
        stored[i] ^= mask[i];
      at += count;
      EXPECT_TRUE(out->seek(0, SEEK_CUR));
    }
    files.close(out);

    Stream *const in =
        files.open(name.c_str(), compressed ? ORB_OPEN_READ_COMPRESSED : ORB_OPEN_READ, "secret");
    const auto size = int32_t(stored.size());
    int32_t position = 0;
    for (int step = 0; step < 120; ++step) {
      const int whence = int(random(4)); // 3: no seek
      const int32_t base = whence == SEEK_SET ? 0 : whence == SEEK_CUR ? position : size;
      const int32_t target = random(2) ? int32_t(random(stored.size() + 100)) - 50
                                       : int32_t(random(5) * 65535 + random(16)); // ends of pieces
      if (whence != 3) {
        ASSERT_EQ(in->seek(target - base, whence), target >= 0);
        if (target >= 0) position = target;
      }
      ASSERT_EQ(in->at_end(), position >= size);
      file_bytes got(random(random(2) ? 40 : 80'000));
      const bool cipher = random(2);
      const int32_t wanted = std::min(int32_t(got.size()), std::max(size - position, 0));
      ASSERT_EQ(in->read(got.data(), got.size(), cipher), size_t(wanted));
      for (int32_t i = 0; i < wanted; ++i, ++position)
        ASSERT_EQ(got[size_t(i)], stored[size_t(position)] ^ (cipher ? mask[size_t(position)] : 0));
    }
    files.close(in);
  }
}

TEST_F(HostStreams, KeysMatter) {
  const file_bytes bytes = random_bytes(5000);
  for (const auto &[write, read] : {std::pair{ORB_OPEN_WRITE, ORB_OPEN_READ},
                                    {ORB_OPEN_WRITE_COMPRESSED, ORB_OPEN_READ_COMPRESSED}}) {
    save(write, bytes, "secret", true);
    EXPECT_EQ(load(read, 77, "secret", true), bytes);
    const file_bytes other = load(read, 77, "Secret", true);
    EXPECT_NE(other, bytes);
    EXPECT_EQ(load(read, 77, "", true), load(read, 77, "secret", false));
    save(write, bytes, nullptr, true);
    EXPECT_EQ(load(read, 77), bytes) << "no key, no cipher";
  }
}

// Cut anywhere or with any byte changed, a compressed file never reads as complete.
TEST_F(HostStreams, DamagedFilesReadShort) {
  int harmless = 0;
  for (const size_t size : {3000, 65543, 65544, 65545}) { // the end of an inflated piece, and around
    file_bytes bytes = random_bytes(700, 12); // few values would suit Adler-32 badly
    bytes.resize(size, 7);
    save(ORB_OPEN_WRITE_COMPRESSED, bytes);
    const file_bytes file = read_file(name);
    for (size_t at = size == 3000 ? 0 : file.size() - 8; at < file.size(); ++at) {
      write_file(name, {file.begin(), file.begin() + int32_t(at)});
      const file_bytes cut = load(ORB_OPEN_READ_COMPRESSED, 500);
      ASSERT_TRUE(cut.size() < size && std::equal(cut.begin(), cut.end(), bytes.begin())) << at;
      if (at >= 4 && at < 16) continue; // the length, and eight plain bytes without a checksum
      file_bytes changed = file;
      changed[at] ^= uint8_t(1 + random(255));
      write_file(name, changed);
      const file_bytes found = load(ORB_OPEN_READ_COMPRESSED, 500);
      ASSERT_TRUE(found.size() < size || found == bytes)
          << at << " of " << file.size() << ": " << found.size();
      harmless += found == bytes; // padding bits before the checksum
    }
  }
  EXPECT_LE(harmless, 4);
}

// The services that the module calls; a closed handle, and a program that ends before it closes.
TEST_F(HostStreams, ServicesKnowTheEndAndTheirHandles) {
  world w;
  const orb_file_services &service = w.host.file_services;
  void *const out = service.open(name.c_str(), ORB_OPEN_WRITE, 1, nullptr);
  EXPECT_EQ(service.write("abcdef", 1, 6, 0, out), 6);
  EXPECT_EQ(service.write("abcdef", 1, -6, 0, out), 0);
  service.close(out);
  void *const in = service.open(name.c_str(), ORB_OPEN_READ, 1, nullptr);
  char buffer[16] = {};
  EXPECT_EQ(service.read(buffer, 1, 4, 0, in), 4);
  EXPECT_EQ(service.at_end(in), 0);
  EXPECT_EQ(service.read(buffer, 1, 16, 0, in), 2);
  EXPECT_NE(service.at_end(in), 0) << "before any read fails";
  EXPECT_EQ(service.seek(in, 0, SEEK_SET), 0);
  EXPECT_EQ(service.read(buffer, 4, 2, 0, in), 1) << "whole items only";
  EXPECT_NE(service.seek(in, 0, 77), 0);
  EXPECT_EQ(w.host.files().open_count(), 1u);
  service.close(in);
  service.close(in);
  EXPECT_EQ(service.read(buffer, 1, 1, 0, in), 0);
  EXPECT_NE(service.at_end(nullptr), 0);
  for (const int mode : {ORB_OPEN_WRITE, ORB_OPEN_WRITE_COMPRESSED}) {
    orbhost::Files others;
    ASSERT_TRUE(others.open(name.c_str(), mode, nullptr));
  }
  EXPECT_EQ(read_file(name).size(), 6u);
  EXPECT_EQ(std::distance(std::filesystem::directory_iterator(folder.path), {}), 1);
}

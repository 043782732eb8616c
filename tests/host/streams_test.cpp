// The host's streams beside plain arrays: layout, cipher, seeks and damage.
#include <algorithm>

#include <gtest/gtest.h>
#include <sodium.h>
#include <zlib.h>

#include "host/cipher.h"
#include "support/random.h"
#include "support/world.h"

namespace {

/// The key stream of a text from a position on, which must begin a block of 64 bytes.
file_bytes key_stream(const std::string &text, uint64_t position, size_t size) {
  uint8_t key[32];
  const uint8_t nonce[8] = {};
  crypto_generichash(key, sizeof key, reinterpret_cast<const uint8_t *>(text.data()), text.size(),
                     nullptr, 0);
  file_bytes bytes(size);
  if (!text.empty() && size > 0)
    crypto_stream_chacha20_xor_ic(bytes.data(), bytes.data(), size, nonce, position / 64, key);
  return bytes;
}

struct HostStreams : testing::Test {
  random_source random{base_seed()};
  world w;
  const orb_file_services &service = w.host.file_services;
  const std::string name = w.folder.path / "file";
  const testing::ScopedTrace trace{__FILE__, __LINE__,
                                   "ORB_TEST_SEED=" + std::to_string(base_seed())};

  file_bytes random_bytes(int count, int values = 256) {
    file_bytes bytes(size_t(count), 0);
    for (uint8_t &byte : bytes)
      byte = uint8_t(random.below(values));
    return bytes;
  }
};

TEST_F(HostStreams, CipherGoesByPosition) {
  for (const uint64_t base : {uint64_t(0), uint64_t(1) << 38, (uint64_t(5) << 32) - 128}) {
    file_bytes bytes(400);
    const int offset = random.below(300);
    orbhost::Cipher("key").apply(bytes.data(), bytes.size(), base + offset);
    const file_bytes mask = key_stream("key", base, 700);
    EXPECT_TRUE(std::equal(bytes.begin(), bytes.end(), mask.begin() + offset)) << base;
  }
}

/// What a compressed file of these bytes holds: a mark, the length, eight bytes, and a zlib stream.
void expect_compressed(const file_bytes &file, const file_bytes &bytes) {
  const size_t size = bytes.size(), plain = std::min<size_t>(size, 8);
  file_bytes head{'o', 'r', 'b', 'z', uint8_t(size), uint8_t(size >> 8), uint8_t(size >> 16), 0};
  head.insert(head.end(), bytes.begin(), bytes.begin() + ptrdiff_t(plain));
  ASSERT_TRUE(std::equal(head.begin(), head.end(), file.begin()));
  file_bytes rest(size + 1);
  uLongf count = rest.size();
  if (size > 8) ASSERT_EQ(uncompress(rest.data(), &count, &file[16], file.size() - 16), Z_OK);
  rest.resize(size - plain);
  EXPECT_TRUE(std::equal(rest.begin(), rest.end(), bytes.begin() + ptrdiff_t(plain)));
}

// Written in pieces, some through the cipher, and read from random positions.
TEST_F(HostStreams, HoldWhatAPlainArrayHolds) {
  for (int round = 0; round < 30; ++round) {
    const bool compressed = round % 2;
    const char *const key = random.any_of({(const char *)nullptr, "", "secret", "Secret"});
    const int size = random.one_in(2) ? random.between(10, 300'000)
                                      : random.any_of({0, 1, 7, 8, 9, 65543, 65544, 65545});
    file_bytes stored = random_bytes(size, random.any_of({3, 256}));
    const file_bytes mask = key_stream(key ? key : "", 0, stored.size());
    void *const out =
        service.open(name.c_str(), compressed ? ORB_OPEN_WRITE_COMPRESSED : ORB_OPEN_WRITE, 1, key);
    for (int at = 0; at < size;) {
      const int count = std::min(size - at, 1 + random.below(random.any_of({9, 9000, 200'000})));
      const bool cipher = random.one_in(2);
      ASSERT_EQ(service.write(&stored[size_t(at)], 1, count, cipher, out), count);
      for (int end = at + count; at < end; ++at)
        stored[size_t(at)] ^= cipher ? mask[size_t(at)] : 0;
      EXPECT_EQ(service.seek(out, 0, SEEK_CUR), 0);
    }
    EXPECT_NE(service.at_end(out), 0);
    service.close(out);
    if (compressed)
      expect_compressed(read_file(name), stored);
    else
      ASSERT_TRUE(read_file(name) == stored);

    void *const in =
        service.open(name.c_str(), compressed ? ORB_OPEN_READ_COMPRESSED : ORB_OPEN_READ, 1, key);
    int position = 0;
    for (int step = 0; step < 120; ++step) {
      const int whence = random.below(4); // 3: no seek
      const int base = whence == SEEK_SET ? 0 : whence == SEEK_CUR ? position : size;
      const int target = random.one_in(2)
                             ? random.below(size + 100) - 50
                             : random.below(5) * 65535 + random.below(16); // ends of pieces
      if (whence != 3) {
        ASSERT_EQ(service.seek(in, target - base, whence) == 0, target >= 0);
        if (target >= 0) position = target;
      }
      ASSERT_EQ(service.at_end(in) != 0, position >= size) << "before any read fails";
      const int item = random.between(1, 3), count = random.below(random.any_of({20, 40'000}));
      const int wanted = std::clamp(size - position, 0, item * count);
      file_bytes got(size_t(item * count + 1));
      const bool cipher = random.one_in(2);
      ASSERT_EQ(service.read(got.data(), item, count, cipher, in), wanted / item);
      for (int i = 0; i < wanted; ++i, ++position)
        ASSERT_EQ(got[size_t(i)], stored[size_t(position)] ^ (cipher ? mask[size_t(position)] : 0));
    }
    service.close(in);
  }
}

// Cut anywhere or with any byte changed, a compressed file never reads as complete.
TEST_F(HostStreams, DamagedFilesReadShort) {
  int harmless = 0;
  for (const int size : {3000, 65543, 65544, 65545}) { // the end of an inflated piece, and around
    file_bytes bytes = random_bytes(700, 12);          // few values would suit Adler-32 badly
    bytes.resize(size_t(size), 7);
    void *const out = service.open(name.c_str(), ORB_OPEN_WRITE_COMPRESSED, 1, nullptr);
    service.write(bytes.data(), 1, size, 0, out);
    service.close(out);
    const file_bytes file = read_file(name);
    const auto load = [&](const file_bytes &damaged) {
      write_file(name, damaged);
      file_bytes all(size_t(size) + 500);
      void *const in = service.open(name.c_str(), ORB_OPEN_READ_COMPRESSED, 1, nullptr);
      int read = 0;
      while (in && !service.at_end(in)) {
        const int count = service.read(&all[size_t(read)], 1, 500, 0, in);
        EXPECT_GT(count, 0) << "at_end is true before the read that finds nothing";
        if (count == 0 || (read += count) > size) break;
      }
      service.close(in);
      all.resize(size_t(read));
      return all;
    };
    EXPECT_TRUE(load(file) == bytes);
    for (size_t at = size == 3000 ? 0 : file.size() - 8; at < file.size(); ++at) {
      const file_bytes cut = load({file.begin(), file.begin() + ptrdiff_t(at)});
      ASSERT_TRUE(cut.size() < bytes.size() && std::equal(cut.begin(), cut.end(), bytes.begin()))
          << at;
      if (at >= 4 && at < 16) continue; // the length, and eight plain bytes without a checksum
      file_bytes changed = file;
      changed[at] ^= uint8_t(random.between(1, 255));
      const file_bytes found = load(changed);
      ASSERT_TRUE(found.size() < bytes.size() || found == bytes) << at << " of " << file.size();
      harmless += found == bytes; // padding bits before the checksum
    }
  }
  EXPECT_LE(harmless, 4);
}

// A closed handle, negative counts, and a program that ends before it closes.
TEST_F(HostStreams, ServicesKnowTheirHandles) {
  write_file(name, {1, 2, 3});
  void *const in = service.open(name.c_str(), ORB_OPEN_READ, 1, nullptr);
  char buffer[16] = {};
  EXPECT_EQ(service.read(buffer, 1, -1, 0, in), 0);
  EXPECT_NE(service.seek(in, 0, 77), 0);
  service.close(in);
  service.close(in);
  EXPECT_EQ(service.read(buffer, 1, 1, 0, in), 0);
  EXPECT_NE(service.at_end(nullptr), 0);
  for (const int mode : {ORB_OPEN_WRITE, ORB_OPEN_WRITE_COMPRESSED}) {
    orbhost::Files others;
    auto *const stream = others.open(name.c_str(), mode, nullptr);
    ASSERT_TRUE(stream);
    EXPECT_EQ(service.write("abc", 1, -3, 0, stream), 0);
  }
  EXPECT_EQ(read_file(name).size(), 3u);
  EXPECT_EQ(std::distance(std::filesystem::directory_iterator(w.folder.path), {}), 1);
}

} // namespace

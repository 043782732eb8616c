// The host's streams against plain references: layout, cipher, seeks, damage, and safe saving.
#include "host/cipher.h"
#include "host/files.h"
#include "host/host.h"
#include "module/module.h"
#include "orb/graphics2d.h"
#include "safe_saves.h"

#include <gtest/gtest.h>
#include <sodium.h>
#include <zlib.h>

#include <array>
#include <bit>
#include <filesystem>
#include <fstream>
#include <random>
#include <span>
#include <unistd.h>

namespace fs = std::filesystem;
using orbhost::Files;
using orbhost::Stream;

namespace {

using Bytes = std::vector<std::uint8_t>;

// ChaCha20 from its description: the key stream byte at one position, block by block.
class KeyStream {
public:
  explicit KeyStream(const std::string &text) {
    crypto_generichash(key_, sizeof key_, reinterpret_cast<const std::uint8_t *>(text.data()),
                       text.size(), nullptr, 0);
  }
  std::uint8_t at(std::uint64_t position) {
    if (position / 64 != number_ || !made_) make(position / 64);
    return static_cast<std::uint8_t>(block_[position % 64 / 4] >> (8 * (position % 4)));
  }

private:
  void make(std::uint64_t number) {
    number_ = number;
    made_ = true;
    std::uint32_t state[16] = {0x61707865, 0x3320646e, 0x79622d32, 0x6b206574};
    for (int i = 0; i < 8; ++i) {
      for (int byte = 3; byte >= 0; --byte)
        state[4 + i] = state[4 + i] << 8 | key_[4 * i + byte];
    }
    state[12] = static_cast<std::uint32_t>(number);
    state[13] = static_cast<std::uint32_t>(number >> 32);
    std::copy_n(state, 16, block_);
    const auto step = [this](int a, int b, int c, int turn) {
      block_[a] += block_[b];
      block_[c] = std::rotl(block_[c] ^ block_[a], turn);
    };
    const auto quarter = [&](int a, int b, int c, int d) {
      step(a, b, d, 16), step(c, d, b, 12), step(a, b, d, 8), step(c, d, b, 7);
    };
    for (int round = 0; round < 10; ++round) {
      for (int i = 0; i < 4; ++i)
        quarter(i, 4 + i, 8 + i, 12 + i);
      for (int i = 0; i < 4; ++i) {
        quarter(i, 4 + (i + 1) % 4, 8 + (i + 2) % 4, 12 + (i + 3) % 4);
      }
    }
    for (int i = 0; i < 16; ++i)
      block_[i] += state[i];
  }

  std::uint8_t key_[32];
  std::uint32_t block_[16];
  std::uint64_t number_ = 0;
  bool made_ = false;
};

class HostStreams : public ::testing::Test {
protected:
  void SetUp() override {
    folder = fs::path(::testing::TempDir()) / ("orb_streams_" + std::to_string(::getpid()));
    fs::remove_all(folder);
    fs::create_directories(folder);
    name = (folder / "file.bin").string();
    files.on_loss = [this](const std::string &path, const std::string &reason) {
      losses.push_back(path + ": " + reason);
    };
  }
  void TearDown() override { fs::remove_all(folder); }

  std::size_t random(std::size_t below) { return generator() % below; }
  Bytes random_bytes(std::size_t count, unsigned values = 256) {
    Bytes bytes(count);
    for (std::uint8_t &byte : bytes)
      byte = static_cast<std::uint8_t>(random(values));
    return bytes;
  }

  Bytes raw() {
    std::ifstream file(name, std::ios::binary);
    return Bytes(std::istreambuf_iterator<char>(file), {});
  }
  void write_raw(const Bytes &bytes) {
    std::ofstream(name, std::ios::binary)
        .write(reinterpret_cast<const char *>(bytes.data()), static_cast<long>(bytes.size()));
  }
  Stream *open(int mode, const char *key = nullptr) {
    Stream *stream = files.open(name.c_str(), mode, key);
    EXPECT_NE(stream, nullptr);
    return stream;
  }
  void save(int mode, const Bytes &bytes, const char *key = nullptr, bool cipher = false) {
    Stream *stream = open(mode, key);
    ASSERT_NE(stream, nullptr);
    EXPECT_EQ(stream->write(bytes.data(), bytes.size(), cipher), bytes.size());
    EXPECT_TRUE(stream->at_end());
    files.close(stream);
  }
  // Reads everything, in pieces of up to `piece`; at_end must be set beforehand.
  Bytes load(int mode, std::size_t piece, const char *key = nullptr, bool cipher = false) {
    Bytes all, part(piece);
    Stream *stream = open(mode, key);
    if (!stream) return all;
    while (!stream->at_end()) {
      const std::size_t count = stream->read(part.data(), piece, cipher);
      EXPECT_GT(count, 0u);
      if (count == 0 || all.size() > 10'000'000) break;
      all.insert(all.end(), part.begin(), part.begin() + static_cast<long>(count));
    }
    EXPECT_EQ(stream->read(part.data(), 1, cipher), 0u);
    files.close(stream);
    return all;
  }
  std::size_t files_in_folder() {
    return static_cast<std::size_t>(std::distance(fs::directory_iterator(folder), {}));
  }

  std::mt19937 generator{20};
  fs::path folder;
  std::string name;
  Files files;
  std::vector<std::string> losses;
};

TEST_F(HostStreams, CipherGoesByPosition) {
  for (const std::uint64_t base :
       {std::uint64_t{0}, std::uint64_t{1} << 38, (std::uint64_t{5} << 32) - 70}) {
    for (int round = 0; round < 200; ++round) {
      const std::string text = "key " + std::to_string(round);
      const orbhost::Cipher cipher(text.c_str());
      KeyStream reference(text);
      const std::uint64_t position = base + random(300);
      const Bytes plain = random_bytes(random(400));
      Bytes bytes = plain;
      cipher.apply(bytes.data(), bytes.size(), position);
      for (std::size_t i = 0; i < plain.size(); ++i) {
        ASSERT_EQ(bytes[i], plain[i] ^ reference.at(position + i)) << position << " + " << i;
      }
    }
  }
}

TEST_F(HostStreams, CompressedFilesKeepTheFirstEightBytes) {
  for (std::size_t size : {0, 1, 7, 8, 9, 40, 65543, 65544, 65545, 200'000}) {
    const Bytes bytes = random_bytes(size, 20);
    save(ORB_OPEN_WRITE_COMPRESSED, bytes);
    const Bytes file = raw();
    const std::size_t kept = std::min<std::size_t>(size, 8);
    ASSERT_GE(file.size(), 8 + kept);
    const Bytes ours{'o',
                     'r',
                     'b',
                     'z',
                     static_cast<std::uint8_t>(size),
                     static_cast<std::uint8_t>(size >> 8),
                     static_cast<std::uint8_t>(size >> 16),
                     0};
    EXPECT_TRUE(std::equal(ours.begin(), ours.end(), file.begin()));
    EXPECT_TRUE(std::equal(bytes.begin(), bytes.begin() + static_cast<long>(kept), &file[8]));
    if (size <= 8) {
      EXPECT_EQ(file.size(), 8 + size);
    } else {
      Bytes rest(size - 8 + 1);
      uLongf count = rest.size();
      ASSERT_EQ(uncompress(rest.data(), &count, &file[16], file.size() - 16), Z_OK) << size;
      rest.resize(count);
      EXPECT_EQ(rest, Bytes(bytes.begin() + 8, bytes.end()));
    }
    EXPECT_EQ(load(ORB_OPEN_READ, 1000), file);
    EXPECT_EQ(load(ORB_OPEN_READ_COMPRESSED, 1 + random(100'000)), bytes) << size;
  }
}

// Written in pieces, some through the cipher, and read from random positions.
TEST_F(HostStreams, SeeksReadWhatAPlainArrayHolds) {
  KeyStream key_stream("secret");
  for (const bool compressed : {false, true}) {
    for (int round = 0; round < 6; ++round) {
      Bytes stored = random_bytes(1 + random(300'000), round % 2 ? 256 : 3);
      Bytes mask(stored.size());
      for (std::size_t i = 0; i < mask.size(); ++i)
        mask[i] = key_stream.at(i);
      Stream *out = open(compressed ? ORB_OPEN_WRITE_COMPRESSED : ORB_OPEN_WRITE, "secret");
      for (std::size_t at = 0; at < stored.size();) {
        const std::size_t count = std::min(stored.size() - at, 1 + random(random(2) ? 9 : 9000));
        const bool cipher = random(2);
        ASSERT_EQ(out->write(&stored[at], count, cipher), count);
        for (std::size_t i = at; cipher && i < at + count; ++i)
          stored[i] ^= mask[i];
        at += count;
        EXPECT_EQ(out->seek(0, SEEK_CUR), true);
      }
      files.close(out);

      Stream *in = open(compressed ? ORB_OPEN_READ_COMPRESSED : ORB_OPEN_READ, "secret");
      const auto size = static_cast<std::int64_t>(stored.size());
      std::int64_t position = 0;
      for (int step = 0; step < 120; ++step) {
        const int whence = static_cast<int>(random(4)); // 3: no seek
        const std::int64_t base = whence == SEEK_SET ? 0 : whence == SEEK_CUR ? position : size;
        const std::int64_t target = static_cast<std::int64_t>(random(stored.size() + 100)) - 50;
        if (whence != 3) {
          const bool possible = target >= 0;
          ASSERT_EQ(in->seek(static_cast<std::int32_t>(target - base), whence), possible);
          if (possible) position = target;
        }
        ASSERT_EQ(in->at_end(), position >= size);
        Bytes got(random(random(2) ? 40 : 80'000));
        const bool cipher = random(2);
        const std::int64_t left = std::max<std::int64_t>(size - position, 0);
        const std::size_t wanted = std::min(got.size(), static_cast<std::size_t>(left));
        ASSERT_EQ(in->read(got.data(), got.size(), cipher), wanted);
        for (std::size_t i = 0; i < wanted; ++i) {
          const std::size_t at = static_cast<std::size_t>(position) + i;
          ASSERT_EQ(got[i], stored[at] ^ (cipher ? mask[at] : 0)) << at;
        }
        position += static_cast<std::int64_t>(wanted);
      }
      files.close(in);
    }
  }
}

TEST_F(HostStreams, KeysMatter) {
  const Bytes bytes = random_bytes(5000);
  for (const auto &[write, read] : {std::pair{ORB_OPEN_WRITE, ORB_OPEN_READ},
                                    {ORB_OPEN_WRITE_COMPRESSED, ORB_OPEN_READ_COMPRESSED}}) {
    save(write, bytes, "secret", true);
    EXPECT_EQ(load(read, 77, "secret", true), bytes);
    const Bytes wrong = load(read, 77, "Secret", true);
    int equal = 0;
    for (std::size_t i = 0; i < bytes.size(); ++i)
      equal += wrong.at(i) == bytes[i];
    EXPECT_LT(equal, 60); // of 5000; one in 256 by chance
    for (const char *none : {"", static_cast<const char *>(nullptr)}) {
      EXPECT_EQ(load(read, 77, none, true), load(read, 77, "secret", false));
      save(write, bytes, none, true);
      EXPECT_EQ(load(read, 77), bytes);
      save(write, bytes, "secret", true);
    }
  }
}

// Truncated anywhere or with any byte changed, a compressed file never reads as complete.
TEST_F(HostStreams, DamagedFilesReadShort) {
  int harmless = 0;
  const auto check = [&](const Bytes &bytes, const Bytes &file, std::size_t from) {
    for (std::size_t at = from; at < file.size(); ++at) {
      write_raw(Bytes(file.begin(), file.begin() + static_cast<long>(at)));
      if (at < 8) {
        EXPECT_EQ(files.open(name.c_str(), ORB_OPEN_READ_COMPRESSED, nullptr), nullptr);
      } else {
        const Bytes cut = load(ORB_OPEN_READ_COMPRESSED, 500);
        ASSERT_TRUE(cut.size() < bytes.size() &&
                    std::ranges::equal(cut, std::span(bytes).first(cut.size())))
            << at;
      }
      Bytes changed = file;
      changed[at] ^= static_cast<std::uint8_t>(1 + random(255));
      write_raw(changed);
      if (at < 4) {
        EXPECT_EQ(files.open(name.c_str(), ORB_OPEN_READ_COMPRESSED, nullptr), nullptr);
      } else if (at >= 16) { // the eight plain bytes have no checksum
        const Bytes found = load(ORB_OPEN_READ_COMPRESSED, 500);
        // Padding bits in the last byte before the checksum may change.
        ASSERT_TRUE(found.size() != bytes.size() || found == bytes) << at;
        harmless += found == bytes;
      }
    }
  };
  Bytes bytes = random_bytes(700, 12);
  bytes.resize(3000, 7);
  save(ORB_OPEN_WRITE_COMPRESSED, bytes);
  check(bytes, raw(), 0);
  // The end coincides with the end of an inflated piece.
  for (const std::size_t size : {65543, 65544, 65545}) {
    bytes = random_bytes(size, 2);
    save(ORB_OPEN_WRITE_COMPRESSED, bytes);
    const Bytes file = raw();
    check(bytes, file, file.size() - 8);
  }
  EXPECT_LE(harmless, 4); // one byte of each file
}

TEST_F(HostStreams, SavesWholeFilesOrNone) {
  const Bytes bytes = random_bytes(300'000);
  for (const int mode : {ORB_OPEN_WRITE, ORB_OPEN_WRITE_COMPRESSED}) {
    SCOPED_TRACE("mode " + std::to_string(mode));
    safe_saves::expect_safe_saves(folder / "saves", [&](const std::string &to) {
      Stream *stream = files.open(to.c_str(), mode, nullptr);
      if (!stream) return false;
      const bool taken = stream->write(bytes.data(), bytes.size(), false) == bytes.size();
      files.close(stream);
      if (taken && losses.empty()) return true;
      EXPECT_EQ(losses, std::vector{to + ": File too large"});
      losses.clear();
      return false;
    });
    // Never closed, as when a program exits: the file stays unchanged.
    save(ORB_OPEN_WRITE, {1});
    Files others;
    ASSERT_NE(others.open(name.c_str(), mode, nullptr), nullptr);
    others = Files();
    EXPECT_EQ(raw(), Bytes({1}));
    EXPECT_EQ(files_in_folder(), 1u);
  }
}

// Small files fit into a buffer and lose their bytes only on close.
TEST_F(HostStreams, LostFilesAreFailedCalls) {
  orbhost::Host host;
  host.on_error = [](const orbhost::ErrorReport &) {};
  host.files().on_loss = [](const std::string &, const std::string &) {};
  host.attach(ORB_mod_graphics2D_MainLibraryExports);
  host.init();
  host.call("mode_set", {64, 48, 8});
  const std::int32_t graph = host.call("map_new", {9, 9, 1});
  host.call("fpg_new");
  host.call("fpg_add_map", {0, 1, 0, graph});
  const struct {
    std::string function; // in capitals
    std::vector<orbhost::Argument> arguments;
    std::size_t file; // index of the file
  } calls[] = {{"MAP_SAVE", {0, graph, ""}, 2},      {"MAP_SAVE", {0, graph, "", 1, "key"}, 2},
               {"IMAGE_SAVE", {0, graph, "", 1}, 2}, {"FPG_SAVE", {0, ""}, 1},
               {"FPG_SAVE", {0, "", 1, "key"}, 1},   {"PALETTE_SAVE", {""}, 0}};
  for (const auto &call : calls) {
    SCOPED_TRACE(call.function);
    std::string name = call.function;
    std::ranges::transform(name, name.begin(), ::tolower);
    safe_saves::expect_safe_saves(folder / "saves", [&](const std::string &to) {
      auto arguments = call.arguments;
      arguments[call.file] = to;
      const std::int32_t result = host.call(name, arguments);
      std::string reports;
      for (const auto &report : host.take_errors())
        reports += describe(report);
      if (result == 1 && reports.empty()) return true;
      EXPECT_EQ(result, INT32_MIN);
      EXPECT_EQ(reports, call.function + ": argument " + std::to_string(call.file + 1) + " (\"" +
                             to + "\"): the file can't be saved");
      return false;
    });
  }
}

} // namespace

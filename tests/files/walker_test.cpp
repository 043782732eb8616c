// Every format cut to each length and damaged byte by byte, and the inputs that fuzzing found worth
// keeping: each is loaded or refused with one report, leaves nothing behind, and decides every
// pixel of what is loaded.
#include <fcntl.h>
#include <sys/mman.h>
#include <unistd.h>

#include <array>
#include <random>

#include <gtest/gtest.h>

#include "files/pictures.h"
#include "formats/image.h"
#include "fuzz/png_checksums.h"
#include "support/failing_allocator.h"
#include "surface/libraries.h"
#include "surface/nearest_colour.h"
#include "surface/palette.h"
#include "surface/screen.h"

namespace {

namespace fs = std::filesystem;

class walker {
public:
  world w;
  int loaded = 0, refused = 0;

  walker() { w.host.call("fpg_new"); } // number 0
  ~walker() { close(descriptor_); }

  void put(const file_bytes &bytes) {
    ASSERT_EQ(ftruncate(descriptor_, 0), 0);
    ASSERT_EQ(pwrite(descriptor_, bytes.data(), bytes.size(), 0), ssize_t(bytes.size()));
  }
  void cut(size_t size) { ASSERT_EQ(ftruncate(descriptor_, off_t(size)), 0); }

  /// Loads the file by a function; the pixels of all its graphs, empty for a file that is refused.
  file_bytes load(const std::string &function, const char *key = nullptr) {
    const auto counts = [this] {
      forget_nearest(); // kept on purpose from picture to picture
      return std::array<int64_t, 7>{gfxsurfaces->count,
                                    maps_loaded,
                                    fpgs_loaded,
                                    fpg[0].memory_usage,
                                    w.host.files().open_count(),
                                    image_data != nullptr,
                                    outstanding_blocks(fault_scope::module)};
    };
    const auto before = counts();
    std::vector<orbhost::Argument> arguments = {path_};
    if (key) arguments.emplace_back(key);
    if (function == "fpg_load_map") arguments.insert(arguments.end(), {2, 7});
    const int32_t result = w.host.call(function, arguments);
    const std::string report = w.reports();
    file_bytes pixels;
    if (result < 0) {
      ++refused;
      EXPECT_TRUE(is_described(report, function)) << function << ": " << report;
    } else {
      ++loaded;
      EXPECT_EQ(report, "");
      const int32_t library = function[0] != 'f' ? 0 : function == "fpg_load_map" ? 2 : result;
      for (int32_t code = 1; code < graph_bound(library); ++code)
        if (const orb_map_slot *slot = GetMAP(library, code); slot && slot->surface) {
          const auto *from = static_cast<const uint8_t *>(slot->surface->pixels);
          pixels.insert(pixels.end(), from, from + slot->surface->byte_size);
        }
      if (library) w.host.call("fpg_unload", {library});
      w.host.call("map_unload", {-1});
      w.host.call("image_unload", {-1});
    }
    // Graphs that a failed load has left go when their number is taken.
    if (function[0] == 'f') w.host.call("fpg_unload", {w.host.call("fpg_new")});
    EXPECT_EQ(counts(), before) << function << " leaves something behind";
    return pixels;
  }

  /// Loads the file with the heap filled in two ways: pixels that it leaves unset would differ.
  void load_twice(const std::string &function, const char *key = nullptr) {
    const auto load_over = [&](uint8_t fill) {
      const filled_heap filled(fill);
      return load(function, key);
    };
    const file_bytes first = load_over(0x11);
    if (!first.empty()) EXPECT_TRUE(load_over(0xEE) == first) << function;
  }

private:
#ifdef __wasm__ // all files are in memory
  std::string path_ = w.folder.path / "damaged";
  int descriptor_ = open(path_.c_str(), O_RDWR | O_CREAT, 0600);
#else
  int descriptor_ = memfd_create("damaged", 0);
  std::string path_ = "/proc/self/fd/" + std::to_string(descriptor_);
#endif

  /// One report, of the function or its older name, of the name or the key, by its number.
  bool is_described(const std::string &report, const std::string &function) const {
    std::string name = function;
    for (char &c : name)
      c = char(toupper(c));
    for (const std::string &begin :
         {"100 " + name + " 1", "103 " + name + " 1", "105 " + name + " 1", "106 " + name + " 1",
          "144 " + name + " 1", "193 " + name + " 2", "194 " + name + " 1",
          std::string("105 LOAD_FPG 1")})
      if (report == begin + " \"" + path_ + '"') return true;
    return function == "palette_load" && !palette && report.empty();
  }
};

struct sample {
  std::string name;
  file_bytes file;
  const char *function;
  const char *key = nullptr;
};

/// Files of the engine's own formats at a depth, as the module writes them.
std::vector<sample> own_files(int32_t depth) {
  world w;
  w.set_mode(depth);
  w.host.call("map_new", {5, 3, 1, 2, 9, 1});
  w.host.call("fpg_new");
  w.host.call("fpg_new");
  for (const int32_t code : {1, 7, 999})
    w.host.call("fpg_new_map", {1, code, code % 5 + 1, 3, 5});
  std::vector<sample> all;
  for (const int32_t compression : {0, 1}) {
    const char *const key = compression ? "key" : "";
    w.host.call("map_save", {0, 1000, "a.map", compression, key});
    w.host.call("fpg_save", {1, "a.fpg", compression, key});
    const file_bytes map = read_file(w.folder.path / "a.map");
    const file_bytes fpg = read_file(w.folder.path / "a.fpg");
    const std::string kind = std::to_string(depth) + (compression ? " bits, compressed" : " bits");
    all.push_back({"map of " + kind, map, "map_load", key});
    all.push_back({"map as a picture of " + kind, map, "image_load", key});
    all.push_back({"fpg of " + kind, fpg, "fpg_load", key});
    all.push_back({"one graph of an fpg of " + kind, fpg, "fpg_load_map", key});
  }
  EXPECT_EQ(w.reports(), "");
  if (depth != 8) return all;
  w.host.call("palette_save", {"a.pal"});
  all.push_back({"palette", read_file(w.folder.path / "a.pal"), "palette_load"});
  return all;
}

std::vector<sample> samples(const std::string &format) {
  std::vector<sample> all;
  if (format == "own")
    for (const int32_t depth : {8, 16, 32})
      for (const sample &own : own_files(depth))
        all.push_back(own);
  else
    for (const known_picture &picture : format == "odd" ? odd_pictures() : foreign_pictures(format))
      if (!picture.error) all.push_back({picture.name, picture.file, "image_load"});
  return all;
}

/// Profiles take milliseconds.
bool is_slow(const sample &file) {
  return file.name.find("icc") != std::string::npos;
}

class DamagedFiles : public testing::TestWithParam<const char *> {};

class CutFiles : public DamagedFiles {};

TEST_P(CutFiles, AreRefusedOrWhole) {
  const std::vector<sample> files = samples(GetParam());
  walker walk;
  walk.w.set_mode(32);
  testing::internal::CaptureStderr();
  for (const sample &file : files) {
    SCOPED_TRACE(file.name);
    walk.put(file.file);
    const file_bytes whole = walk.load(file.function, file.key);
    const size_t step = is_slow(file) ? 67 : 1, end = file.file.size();
    for (size_t size = end; size-- > 0; size -= std::min(size, step - 1)) {
      // Most lengths within texts, palettes and profiles are alike.
      const bool plain = *file.function == 'i' && files.size() < 100;
      if (size % 9 && size > 60 && size + 60 < end && !plain) continue;
      if (size % 9 && size > 90 && size + 200 < end) continue;
      walk.cut(size);
      const file_bytes seen = walk.load(file.function, file.key);
      // Padding or an end mark may be missing; a library may end where a graph does.
      if (!seen.empty() && *file.function != 'f') EXPECT_TRUE(seen == whole);
      if (HasFailure()) FAIL() << "cut to " << size;
    }
  }
  EXPECT_GT(walk.refused, 500);
  EXPECT_EQ(testing::internal::GetCapturedStderr(), "");
}

TEST_P(DamagedFiles, DecideEveryPixelOrAreRefused) {
  const std::vector<sample> files = samples(GetParam());
  walker walk;
  std::mt19937 random(70);
  testing::internal::CaptureStderr();
  for (const size_t mode : {0, 1, 2}) {
    walk.w.set_mode(8 << mode);
    for (size_t i = files.size() > 100 ? mode : 0; i<files.size(); i += files.size()> 100 ? 3 : 1) {
      const file_bytes &whole = files[i].file;
      const auto load = [&](file_bytes damaged) {
        if (damaged[0] == 0x89) { // PNG: get past the checksums; what a header claims takes time
          if (random() % 2) fuzz::fix_checksums(damaged.data(), damaged.size());
          if (damaged[16] | damaged[17] | damaged[20] | damaged[21]) return;
        }
        walk.put(damaged);
        walk.load_twice(files[i].function, files[i].key);
      };
      const size_t head = is_slow(files[i]) ? 0 : std::min<size_t>(whole.size(), 140);
      for (size_t at = mode; at < head; at += 3)
        for (const int value : {int(random()), std::to_array({0, 127, 128, 255})[random() % 4]}) {
          file_bytes damaged = whole;
          damaged[at] = uint8_t(value);
          load(damaged);
        }
      for (int round = is_slow(files[i]) ? 12 : 0; round < 15; ++round) {
        file_bytes damaged = whole;
        for (size_t n = 1 + random() % 4; n > 0; --n)
          damaged[random() % damaged.size()] = uint8_t(random());
        load(damaged);
      }
      if (HasFailure()) FAIL() << files[i].name << " at " << (8 << mode) << " bits";
    }
  }
  EXPECT_EQ(testing::internal::GetCapturedStderr(), "");
  EXPECT_GT(walk.loaded, 500);
  EXPECT_GT(walk.refused, 500);
}

const auto formats = testing::Values("bmp", "jpeg", "pcx", "png", "tga", "odd", "own");
INSTANTIATE_TEST_SUITE_P(Formats, CutFiles, formats);
INSTANTIATE_TEST_SUITE_P(Formats, DamagedFiles, formats);

// Files long enough for what they claim, which is more than a surface holds. They are sparse: only
// the header is ever read.
TEST(Claims, OfMoreThanASurfaceAreToldFromBrokenFiles) {
  walker walk;
  walk.w.set_mode(32);
  const std::pair<const char *, off_t> rows[] = {
      {"\"BM\" 00*8 3E 00*3 28 00*3 FF FF 00*2 FF FF 00*2 01 00 08 00 01 00*11 02 00*7 00*8 01 05",
       40 << 20},
      {"0A 05 01 08 00*4 FE FF FE FF 00*53 03 FF FF 00*60", 420 << 20},
      {"00 00 0A 00*9 30 75 30 75 20 00", 40 << 20}};
  for (const auto &[header, size] : rows) {
    walk.put(bytes_from(header));
    walk.load("image_load");
    EXPECT_EQ(image_error, 144) << header;
    walk.cut(size_t(size));
    walk.load("image_load");
    EXPECT_EQ(image_error, 100) << header;
  }
}

TEST(Corpus, DecidesEveryPixelOrIsRefused) {
  walker walk;
  int files = 0;
  for (const int32_t depth : {32, 16, 8}) {
    walk.w.set_mode(depth);
    for (const char *folder : {"bmp", "fpg", "jpeg", "map", "pcx", "tga"})
      for (const auto &entry : fs::directory_iterator(tests_folder("data/corpus") / folder)) {
        SCOPED_TRACE(entry.path().string());
        ++files;
        walk.put(read_file(entry.path()));
        walk.load_twice("image_load");
        if (depth == 8) walk.load_twice("palette_load");
        for (const char *key : {"", "key"})
          for (const char *function : {"map_load", "fpg_load", "fpg_load_map"})
            if (folder[0] == 'f' || folder[0] == 'm') walk.load_twice(function, key);
        if (testing::Test::HasFailure()) return;
      }
  }
  EXPECT_GT(files, 1000);
  EXPECT_GT(walk.loaded, 100);
}

} // namespace

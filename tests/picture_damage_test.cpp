// Truncated and damaged BMP, PCX and TGA files: none does harm, and the result depends on the file
// alone.
#include <malloc.h>
#include <sys/mman.h>
#include <unistd.h>

#include <gtest/gtest.h>

#include "formats/codec.h"
#include "picture_files.h"

namespace {

struct sample_file {
  std::string name;
  const image_codec *codec;
  file_bytes bytes;
};

struct PictureDamage : graphics_test {
  std::mt19937 random{70};
  int descriptor = memfd_create("picture", 0);
  std::string name = "/proc/self/fd/" + std::to_string(descriptor);

  ~PictureDamage() override { close(descriptor); }

  /// All files of the three formats under data/, and files that no other program writes.
  std::vector<sample_file> samples() {
    std::vector<sample_file> all;
    for (const image_format format : {img_format_bmp, img_format_pcx, img_format_tga}) {
      const std::string folder = format == img_format_bmp   ? "bmp"
                                 : format == img_format_pcx ? "pcx"
                                                            : "tga";
      for (const auto &entry : std::filesystem::directory_iterator(data_path(folder)))
        if (entry.path().extension() == "." + folder)
          all.push_back({entry.path().filename(), codec_for(format), read_file(entry.path())});
    }
    bmp_file rle{.w = 40, .h = 6, .bits = 8, .compression = 1};
    rle.colours = random_colours(8, random);
    rle.pixels = {9, 1, 0, 2, 3, 1, 0, 5, 1, 2, 3, 4, 5, 0, 0, 0, 200, 7, 0, 2, 1, 4, 3, 3, 0, 1};
    all.push_back({"deltas", codec_for(img_format_bmp), rle.encode()});
    rle.bits = 4;
    rle.compression = 2;
    all.push_back({"nibbles", codec_for(img_format_bmp), rle.encode()});
    bmp_file masks{.info_size = 124, .w = 5, .h = -4, .bits = 32, .compression = 3};
    masks.masks = {0x3FF, 0xFFC00, 0x3FF00000, 0xC0000000};
    masks.fill(random);
    all.push_back({"masks", codec_for(img_format_bmp), masks.encode()});
    return all;
  }

  void put(const file_bytes &bytes) const {
    ASSERT_EQ(ftruncate(descriptor, 0), 0);
    ASSERT_EQ(pwrite(descriptor, bytes.data(), bytes.size(), 0), ssize_t(bytes.size()));
  }
  int32_t load(const sample_file &file) const {
    reset_image();
    return file.codec->load(name.c_str(), nullptr);
  }
  static file_bytes pixels() {
    const auto *first = static_cast<const uint8_t *>(image_data);
    return {first, first + size_t(image_w) * size_t(image_h) * size_t(image_bpp / 8)};
  }
};

TEST_F(PictureDamage, CutFilesAreRefusedOrWhole) {
  int refused = 0;
  for (const sample_file &file : samples())
    for (int32_t depth : {32, 16}) {
      SCOPED_TRACE(file.name);
      set_depth(depth);
      put(file.bytes);
      const bool loads = load(file);
      if (!loads) continue; // a truecolour PCX at 16 bits
      const file_bytes whole = pixels();
      for (size_t size = file.bytes.size(); size-- > 0;) {
        ASSERT_EQ(ftruncate(descriptor, off_t(size)), 0);
        if (load(file)) {
          // Padding or an end mark after complete rows may be missing.
          ASSERT_EQ(pixels(), whole) << "cut to " << size;
        } else {
          refused++;
          ASSERT_EQ(image_data, nullptr);
          ASSERT_EQ(image_error, 144);
        }
        file.codec->check(name.c_str(), nullptr);
        file.codec->load_palette(name.c_str());
      }
    }
  EXPECT_GT(refused, 30000);
}

// Files long enough for their claimed size, which exceeds a surface. They are sparse: only the
// header is ever read.
TEST_F(PictureDamage, PicturesTooBigForASurfaceReportTheirSize) {
  bmp_file bmp{.w = 65535, .h = 65535, .bits = 8, .compression = 1};
  pcx_file pcx{.planes = 3, .x1 = 65534, .y1 = 65534, .line = 65535};
  tga_file tga{.type = 10, .w = 30000, .h = 30000, .bits = 32};
  const struct {
    image_format format;
    file_bytes header;
    off_t size;
  } rows[] = {{img_format_bmp, bmp.encode(), 40 << 20},
              {img_format_pcx, pcx.encode(), 420 << 20},
              {img_format_tga, tga.encode(), 40 << 20}};
  for (const auto &row : rows) {
    SCOPED_TRACE(row.format);
    const sample_file file{"", codec_for(row.format), row.header};
    put(file.bytes);
    ASSERT_EQ(load(file), 0);
    EXPECT_EQ(image_error, 144);
    ASSERT_EQ(ftruncate(descriptor, row.size), 0);
    ASSERT_EQ(load(file), 0);
    EXPECT_EQ(image_error, 100);
    EXPECT_EQ(image_data, nullptr);
  }
}

// Fills the heap with one byte and then another: pixels that the file leaves unset would differ.
TEST_F(PictureDamage, DamagedFilesDecideEveryPixelOrAreRefused) {
  int read = 0, refused = 0;
  const auto check = [&](const sample_file &file, const file_bytes &damaged) {
    put(damaged);
    mallopt(M_PERTURB, 0x11);
    const bool loads = load(file);
    mallopt(M_PERTURB, 0xEE);
    if (loads) {
      read++;
      const file_bytes first = pixels();
      ASSERT_EQ(load(file), 1);
      ASSERT_EQ(pixels(), first);
    } else {
      refused++;
      ASSERT_EQ(image_data, nullptr);
    }
    file.codec->check(name.c_str(), nullptr);
    file.codec->load_palette(name.c_str());
  };
  for (const sample_file &file : samples()) {
    SCOPED_TRACE(file.name);
    for (size_t at = 0; at < std::min<size_t>(file.bytes.size(), 140); at++) {
      set_depth(std::to_array({32, 16, 8})[at % 3]);
      for (int value : {0, 1, 2, 127, 128, 255}) {
        file_bytes damaged = file.bytes;
        damaged[at] = uint8_t(value);
        check(file, damaged);
      }
    }
    for (int round = 0; round < 60; round++) {
      file_bytes damaged = file.bytes;
      for (size_t n = 1 + random() % 4; n > 0; n--)
        damaged[random() % damaged.size()] = uint8_t(random());
      check(file, damaged);
    }
  }
  mallopt(M_PERTURB, 0);
  // Both outcomes must occur, or the test proves nothing.
  EXPECT_GT(read, 10000);
  EXPECT_GT(refused, 5000);
}

} // namespace

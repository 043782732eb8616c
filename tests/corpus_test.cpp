// Inputs that fuzzing found worth keeping, and former crashers: data/corpus/FORMAT/, one per file.
// Each goes through the format's probe, its reader at every depth, and its palette reader.
#include <malloc.h>

#include <gtest/gtest.h>

#include "formats/codec.h"
#include "picture_files.h"

namespace {

using Corpus = graphics_test;

file_bytes loaded_bytes() {
  const auto *first = static_cast<const uint8_t *>(image_data);
  return {first, first + size_t(image_w) * size_t(image_h) * size_t(image_bpp / 8)};
}

TEST_F(Corpus, PictureReaders) {
  const struct {
    const char *folder;
    image_format format;
  } formats[] = {{"bmp", img_format_bmp},
                 {"jpeg", img_format_jpeg},
                 {"pcx", img_format_pcx},
                 {"png", img_format_png},
                 {"tga", img_format_tga}};
  for (const auto &format : formats) {
    const std::string folder = data_path("corpus/") + format.folder;
    if (!std::filesystem::exists(folder)) continue;
    const image_codec &codec = *codec_for(format.format);
    int read = 0, files = 0;
    for (const auto &entry : std::filesystem::directory_iterator(folder)) {
      SCOPED_TRACE(entry.path().string());
      files++;
      for (int32_t depth : {32, 16, 8}) {
        set_depth(depth);
        // Fills the heap: pixels that a reader left unset would differ between two loads.
        std::vector<file_bytes> pictures;
        for (int fill : {0x11, 0xEE}) {
          mallopt(M_PERTURB, fill);
          reset_image();
          codec.check(entry.path().c_str(), nullptr);
          const int32_t loaded = codec.load(entry.path().c_str(), nullptr);
          ASSERT_EQ(loaded, image_data != nullptr);
          if (loaded) pictures.push_back(loaded_bytes());
        }
        mallopt(M_PERTURB, 0);
        ASSERT_NE(pictures.size(), 1u);
        if (pictures.empty()) continue;
        ASSERT_EQ(pictures[0], pictures[1]);
        read++;
      }
      codec.load_palette(entry.path().c_str());
    }
    EXPECT_GT(read, 0) << folder;
    EXPECT_GT(files, 0) << folder;
  }
}

} // namespace

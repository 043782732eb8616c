#include "files/pictures.h"

#include <algorithm>
#include <fstream>
#include <sstream>
#include <stdexcept>

namespace fs = std::filesystem;

/// Pixels of so many bytes each: a grey, R G B, or R G B A.
static std::vector<uint32_t> colours_in(const file_bytes &bytes, size_t size, bool alpha) {
  std::vector<uint32_t> out;
  for (size_t i = 0; i + size <= bytes.size(); i += size) {
    const uint8_t *c = &bytes[i];
    const uint32_t grey = c[0] * 0x10101u;
    out.push_back((size == 1 ? grey : uint32_t(c[0] << 16 | c[1] << 8 | c[2])) |
                  (alpha ? uint32_t(c[3]) << 24 : 0));
  }
  return out;
}

std::vector<known_picture> foreign_pictures(const std::string &folder) {
  std::vector<known_picture> all;
  for (const auto &entry : fs::directory_iterator(tests_folder("data/" + folder))) {
    fs::path file = entry.path();
    if (file.extension() != (folder == "jpeg" ? ".jpg" : "." + folder)) continue;
    known_picture picture{file.filename(), read_file(file)};
    const auto beside = [&file](const char *ending) {
      const fs::path reference = file.replace_extension(ending);
      return fs::exists(reference) ? read_file(reference) : file_bytes();
    };
    if (const file_bytes rgba = beside(".rgba"); !rgba.empty()) {
      for (size_t i = 3; i < rgba.size(); i += 4)
        picture.alpha |= rgba[i] != 255;
      picture.pixels = colours_in(rgba, 4, picture.alpha);
    }
    if (const file_bytes rgb = beside(".rgb"); !rgb.empty())
      picture.pixels = colours_in(rgb, 3, false);
    if (const file_bytes grey = beside(".grey"); !grey.empty())
      picture.pixels = colours_in(grey, 1, false);
    const auto says = [&picture](const char *what) {
      return picture.name.find(what) != std::string::npos;
    };
    // Programs widen 5 and 6 bits in their own ways; decoders of JPEG files round in theirs, twice
    // for inks, and more often with a profile.
    if (says("RGB555")) picture.compared = 0xF8F8F8;
    if (says("RGB565")) picture.compared = 0xF8FCF8;
    if (folder == "jpeg") picture.tolerance = says("cmyk_icc") ? 3 : says("cmyk") ? 2 : 1;
    picture.deep = folder == "pcx" && (says("24") || says("rgb"));
    all.push_back(picture);
  }
  return all;
}

std::vector<known_picture> odd_pictures() {
  std::vector<known_picture> all;
  std::ifstream in(tests_folder("data/odd_pictures.txt"));
  const auto line = [&in] {
    std::string text;
    if (!std::getline(in, text)) throw std::runtime_error("odd_pictures.txt ends early");
    return text;
  };
  for (std::string text; std::getline(in, text);) {
    if (!text.starts_with("== ")) continue;
    known_picture picture{text.substr(3), bytes_from(line())};
    std::istringstream words(line());
    std::string kind;
    words >> kind;
    if ((picture.deep = kind == "deep")) words >> kind;
    words >> picture.w >> picture.h;
    picture.error = kind == "refused" ? 144 : kind == "memory" ? 100 : 0;
    picture.alpha = kind == "alpha" || kind == "alphas";
    if (!picture.error) {
      const size_t size = picture.alpha ? 4 : 3;
      const file_bytes pixels = bytes_from(line());
      if (kind == "indices" || kind == "alphas") {
        std::vector<uint32_t> palette = colours_in(bytes_from(line()), size, picture.alpha);
        palette.resize(256, picture.alpha ? 0xFF000000 : 0); // what the file leaves out is black
        picture.indices.assign(pixels.begin(), pixels.end());
        for (const uint8_t index : pixels)
          picture.pixels.push_back(palette[index]);
      } else {
        picture.pixels = colours_in(pixels, size, picture.alpha);
      }
    }
    all.push_back(picture);
  }
  return all;
}

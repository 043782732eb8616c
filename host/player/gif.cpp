#include "host/player/gif.h"

#include "host/host.h"

#include <gif_lib.h>

#include <cerrno>
#include <cstring>

namespace orbplay {
namespace {

struct FreeMap {
  void operator()(ColorMapObject *map) const { GifFreeMapObject(map); }
};

// A palette has a power of two of colours.
std::unique_ptr<ColorMapObject, FreeMap> make_map(const std::vector<orb_rgb> &palette) {
  const int size = 1 << GifBitSize(static_cast<int>(palette.size()));
  std::unique_ptr<ColorMapObject, FreeMap> map(GifMakeMapObject(size, nullptr));
  if (!map) throw std::bad_alloc();
  for (std::size_t i = 0; i < palette.size(); ++i)
    map->Colors[i] = {palette[i].r, palette[i].g, palette[i].b};
  return map;
}

int write(GifFileType *gif, const GifByteType *bytes, int count) {
  auto *file = static_cast<orbhost::OutputFile *>(gif->UserData);
  return static_cast<int>(file->write(bytes, static_cast<std::size_t>(count)));
}

bool same(const std::vector<orb_rgb> &a, const std::vector<orb_rgb> &b) {
  return a.size() == b.size() && std::memcmp(a.data(), b.data(), a.size() * sizeof a[0]) == 0;
}

} // namespace

Gif::Gif(const std::string &path, int width, int height)
    : path_(path), width_(width), height_(height), file_(orbhost::OutputFile::create(path)) {
  if (!file_) fail(errno);
  gif_ = EGifOpen(file_.get(), write, nullptr);
  if (!gif_) throw std::bad_alloc();
}

Gif::~Gif() {
  if (gif_) EGifCloseFile(gif_, nullptr);
}

void Gif::fail(int error) const {
  throw orbhost::HostError(path_ + ": can't be written: " + std::strerror(error));
}

void Gif::check(int result) {
  if (result != GIF_OK) fail(file_->lost() ? file_->commit() : EIO);
}

// The picture is shown again and again.
void Gif::begin(const std::vector<orb_rgb> &palette) {
  palette_ = palette;
  EGifSetGifVersion(gif_, true);
  check(EGifPutScreenDesc(gif_, width_, height_, 8, 0, make_map(palette_).get()));
  check(EGifPutExtensionLeader(gif_, APPLICATION_EXT_FUNC_CODE));
  check(EGifPutExtensionBlock(gif_, 11, "NETSCAPE2.0"));
  check(EGifPutExtensionBlock(gif_, 3, "\1\0\0"));
  check(EGifPutExtensionTrailer(gif_));
}

void Gif::add(const GifPatch &patch, int hundredths) {
  if (palette_.empty()) begin(patch.palette);
  const GraphicsControlBlock control{DISPOSE_DO_NOT, false, hundredths, patch.unchanged};
  GifByteType block[4];
  EGifGCBToExtension(&control, block);
  check(EGifPutExtension(gif_, GRAPHICS_EXT_FUNC_CODE, sizeof block, block));
  const auto own = same(patch.palette, palette_) ? nullptr : make_map(patch.palette);
  check(EGifPutImageDesc(gif_, patch.x, patch.y, patch.width, patch.height, false, own.get()));
  std::vector<std::uint8_t> pixels = patch.pixels; // masked in place
  check(EGifPutLine(gif_, pixels.data(), static_cast<int>(pixels.size())));
}

void Gif::finish() {
  const int closed = EGifCloseFile(gif_, nullptr);
  gif_ = nullptr;
  if (const int error = file_->commit()) fail(error);
  if (closed != GIF_OK) fail(EIO);
}

} // namespace orbplay

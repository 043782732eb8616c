#include "host/player/icon.h"

#include "host/player/embedded_files.h"

#include <SDL.h>
#include <png.h>

#include <cstdint>
#include <vector>

namespace orbplay {
namespace {

constexpr png_uint_32 most_side = 256;

// Ends with an image that was begun, whether that has worked or not.
bool set_icon(png_image &image, bool begun) {
  image.format = PNG_FORMAT_RGBA;
  std::vector<std::uint8_t> pixels;
  bool read = begun && image.width <= most_side && image.height <= most_side;
  if (read) {
    pixels.resize(PNG_IMAGE_SIZE(image));
    read = png_image_finish_read(&image, nullptr, pixels.data(), 0, nullptr) != 0;
  }
  png_image_free(&image);
  if (!read) return false;
  SDL_Surface *const icon = SDL_CreateRGBSurfaceFrom(
      pixels.data(), static_cast<int>(image.width), static_cast<int>(image.height), 32,
      static_cast<int>(4 * image.width), 0xFF, 0xFF00, 0xFF0000, 0xFF000000);
  if (icon) SDL_WM_SetIcon(icon, nullptr);
  SDL_FreeSurface(icon);
  return true;
}

} // namespace

void set_icon(const std::string &folder) {
  png_image image{};
  image.version = PNG_IMAGE_VERSION;
  const std::string file = folder + "/icon.png";
  if (set_icon(image, png_image_begin_read_from_file(&image, file.c_str()) != 0)) return;
  image = {};
  image.version = PNG_IMAGE_VERSION;
  set_icon(image, png_image_begin_read_from_memory(&image, own_icon.data(), own_icon.size()) != 0);
}

} // namespace orbplay

#include "host/screenshot.h"

#include "host/host.h"
#include "host/output_file.h"

#include <SDL.h>
#include <png.h>

#include <cstring>

namespace orbhost {
namespace {

// Widens n bits to 8 so that the largest value gives 255.
constexpr std::uint8_t widen(std::uint32_t value, int bits) {
  value <<= 8 - bits;
  return static_cast<std::uint8_t>(value | value >> bits);
}
static_assert(widen(31, 5) == 255 && widen(63, 6) == 255 && widen(16, 5) == 132);

template <typename Pixel, typename Convert>
void convert_rows(const __ORBSurface2D__ &screen, Picture &picture, Convert convert) {
  std::uint8_t *out = picture.rgb.data();
  for (std::uint32_t y = 0; y < screen.height; ++y) {
    const auto *row = static_cast<const std::uint8_t *>(screen.pixels) + y * screen.pitch;
    for (std::uint32_t x = 0; x < screen.width; ++x) {
      Pixel pixel;
      std::memcpy(&pixel, row + x * sizeof pixel, sizeof pixel);
      const orb_rgb colour = convert(pixel);
      *out++ = colour.r;
      *out++ = colour.g;
      *out++ = colour.b;
    }
  }
}

} // namespace

Picture take_picture(const Host &host) {
  const __ORBSurface2D__ *screen = host.screen();
  if (!screen || !screen->pixels) throw HostError("there is no screen to take a picture of");
  Picture picture{static_cast<int>(screen->width), static_cast<int>(screen->height), {}};
  picture.rgb.resize(std::size_t{3} * screen->width * screen->height);
  switch (screen->depth) {
  case 8: {
    __ORBPalette2D__ palette{};
    if (host.device() && host.device()->get_palette) host.device()->get_palette(&palette);
    convert_rows<std::uint8_t>(*screen, picture,
                               [&](std::uint8_t p) { return palette.colours[p]; });
    break;
  }
  case 16:
    convert_rows<std::uint16_t>(*screen, picture, [](std::uint16_t p) {
      return orb_rgb{widen(p >> 11, 5), widen(p >> 5 & 63, 6), widen(p & 31, 5)};
    });
    break;
  case 32:
    convert_rows<std::uint32_t>(*screen, picture, [](std::uint32_t p) {
      return orb_rgb{static_cast<std::uint8_t>(p >> 16), static_cast<std::uint8_t>(p >> 8),
                     static_cast<std::uint8_t>(p)};
    });
    break;
  default: throw HostError("the screen has an unknown depth");
  }
  return picture;
}

Picture take_display_picture() {
  SDL_Surface *const shown = SDL_GetVideoSurface();
  if (!shown) throw HostError("there is no display to take a picture of");
  if (SDL_MUSTLOCK(shown) && SDL_LockSurface(shown) != 0)
    throw HostError("the display can't be read: " + std::string(SDL_GetError()));
  Picture picture{shown->w, shown->h, {}};
  picture.rgb.resize(std::size_t{3} * static_cast<std::size_t>(shown->w) *
                     static_cast<std::size_t>(shown->h));
  std::uint8_t *out = picture.rgb.data();
  const std::size_t pixel_bytes = shown->format->BytesPerPixel;
  for (int y = 0; y < shown->h; ++y) {
    const auto *from = static_cast<const std::uint8_t *>(shown->pixels) + y * shown->pitch;
    for (int x = 0; x < shown->w; ++x, from += pixel_bytes, out += 3) {
      Uint32 pixel = 0;
      std::memcpy(&pixel, from, pixel_bytes); // little-endian, like everything here
      SDL_GetRGB(pixel, shown->format, &out[0], &out[1], &out[2]);
    }
  }
  if (SDL_MUSTLOCK(shown)) SDL_UnlockSurface(shown);
  return picture;
}

std::uint64_t picture_sum(const Picture &picture) {
  std::uint64_t hash = 0xCBF29CE484222325;
  const auto add = [&hash](std::uint32_t value) { hash = (hash ^ value) * 0x100000001B3; };
  add(static_cast<std::uint32_t>(picture.width));
  add(static_cast<std::uint32_t>(picture.height));
  for (const std::uint8_t component : picture.rgb)
    add(component);
  return hash;
}

void save_png(const Picture &picture, const std::string &path) {
  png_image image{};
  image.version = PNG_IMAGE_VERSION;
  image.width = static_cast<png_uint_32>(picture.width);
  image.height = static_cast<png_uint_32>(picture.height);
  image.format = PNG_FORMAT_RGB;
  std::vector<std::uint8_t> bytes(PNG_IMAGE_PNG_SIZE_MAX(image));
  png_alloc_size_t size = bytes.size();
  if (!png_image_write_to_memory(&image, bytes.data(), &size, 0, picture.rgb.data(), 0, nullptr)) {
    throw HostError(path + ": " + image.message);
  }
  if (const int error = save_file(path, bytes.data(), size)) {
    throw HostError(path + ": can't be written: " + std::strerror(error));
  }
}

} // namespace orbhost

#include "formats/codec.h"

#include "boundary/errors.h"
#include "formats/map_file.h"

const image_codec *codec_for(image_format format) {
  for (const image_codec *codec : image_codecs)
    if (codec->format == format) return codec;
  return nullptr;
}

const image_codec *probe_image(const char *filename, const char *key) {
  for (const image_codec *codec : image_codecs)
    if (codec->check(filename, key)) return codec;
  return nullptr;
}

const image_codec *read_image(const char *filename, const char *key) {
  reset_image();
  for (const image_codec *codec : image_codecs) {
    if (!codec->check(filename, key)) continue;
    if (codec->load(filename, key)) return codec;
    reset_image();
    if (image_error != error_format) break;
  }
  return nullptr;
}

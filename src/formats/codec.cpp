#include "formats/codec.h"

#include <iterator>

#include "boundary/errors.h"
#include "formats/map_file.h"


/// A writer of a format that knows no keys, in the shape of the table.
template <int32_t (*save)(const char *filename, int32_t parameter)>
static int32_t keyless(const char *filename, int32_t parameter, const char *) {
  return save(filename, parameter);
}

const image_codec image_codecs[] = {
    // No palette reader: whoever wants palettes looks into MAP files before pictures.
    {img_format_map, ORB_CheckMAPHeader, ORB_LoadMAP, nullptr, ORB_SaveMAP},
    {img_format_bmp, ORB_CheckBMPHeader, ORB_LoadBMP, ORB_LoadBMPPalette, keyless<ORB_SaveBMP>},
    {img_format_jpeg, ORB_CheckJPEGHeader, ORB_LoadJPEG, ORB_LoadJPEGPalette,
     keyless<ORB_SaveJPEG>},
    {img_format_pcx, ORB_CheckPCXHeader, ORB_LoadPCX, ORB_LoadPCXPalette, keyless<ORB_SavePCX>},
    {img_format_png, ORB_CheckPNGHeader, ORB_LoadPNG, ORB_LoadPNGPalette, keyless<ORB_SavePNG>},
    {img_format_tga, ORB_CheckTGAHeader, ORB_LoadTGA, ORB_LoadTGAPalette, keyless<ORB_SaveTGA>},
};
const int32_t num_image_codecs = std::size(image_codecs);

const image_codec *codec_for(image_format format) {
  for (int32_t i = 0; i < num_image_codecs; i++)
    if (image_codecs[i].format == format) return &image_codecs[i];
  return nullptr;
}

const image_codec *probe_image(const char *filename, const char *key) {
  for (int32_t i = 0; i < num_image_codecs; i++)
    if (image_codecs[i].check(filename, key)) return &image_codecs[i];
  return nullptr;
}

const image_codec *read_image(const char *filename, const char *key) {
  reset_image();
  for (const image_codec &codec : image_codecs) {
    if (!codec.check(filename, key)) continue;
    if (codec.load(filename, key)) return &codec;
    reset_image();
    if (image_error != error_format) break;
  }
  return nullptr;
}

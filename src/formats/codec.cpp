#include "formats/codec.h"

#include <cstdlib>
#include <iterator>

#include "formats/map_file.h"
#include "script/script_call.h"
#include "surface/surface.h"

int32_t image_w, image_h, image_bpp;
uint32_t image_id;
char image_desc[257];
__ORBPalette2D__ image_palette;
uint8_t image_has_palette;
uint8_t image_palette_alphas[256];
uint8_t image_has_palette_alphas;
void *image_data;
uint8_t image_alphachannel;
cpoint_record *image_cpoint;
int32_t image_num_cpoints;
int32_t image_max_cpoint_defined;
int32_t image_error;

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

void reset_image() {
  aligned_free(image_data);
  free(image_cpoint);
  image_data = nullptr;
  image_cpoint = nullptr;
  image_num_cpoints = image_max_cpoint_defined = 0;
  image_w = image_h = image_bpp = 0;
  image_id = 1;
  image_desc[0] = '\0';
  image_has_palette = image_has_palette_alphas = image_alphachannel = 0;
}

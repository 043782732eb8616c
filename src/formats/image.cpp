#include "formats/image.h"

#include <cstdlib>

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

// The MAP reader and its probe, at every depth, plain and through streams with markers.
#include "formats/map_file.h"
#include "graph_fuzz.h"

extern "C" int LLVMFuzzerInitialize(int *, char ***) {
  fuzz::start_module();
  fuzz::serve_streams();
  return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size) {
  fuzz::put_streams(data, size);
  for (const char *key : {static_cast<const char *>(nullptr), "", "key"})
    for (int32_t depth : {32, 16, 8}) {
      mode.bpp = depth;
      reset_image();
      if (ORB_LoadMAP("input", key) && !ORB_CheckMAPHeader("input", key)) abort();
      fuzz::use_picture(image_data != nullptr);
      // Every point must be readable, and the counts must match.
      int32_t defined = 0;
      for (int32_t i = 0; image_cpoint && i <= image_max_cpoint_defined; i++)
        defined += int32_t(image_cpoint[i].defined);
      if (defined != image_num_cpoints) abort();
    }
  reset_image();
  fuzz::check_streams();
  return 0;
}

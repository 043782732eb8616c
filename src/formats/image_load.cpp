// image_load: which codec takes a file, and the graph that comes of it.
#include "formats/codec.h"
#include "module/script_call.h"
#include "script/handlers.h"
#include "surface/registry.h"

namespace {

/// The codec that takes the file, or null.
const image_codec *probe(const char *filename, const char *key) {
  for (int32_t i = 0; i < num_image_codecs; i++)
    if (image_codecs[i].check(filename, key)) return &image_codecs[i];
  return nullptr;
}

} // namespace

/// image_load(file name [, key]): a picture of any known format becomes a graph of library 0.
/// The key serves enciphered files of the engine's own format only. Its code, or the failure value
/// after reporting 143 for a missing file, 144 for one that no codec reads, 100 for lack of memory.
int32_t ORB_image_load() {
  const script_call call{"IMAGE_LOAD"};
  const char *key = rt_param_count() > 1 ? rt_pop_string() : nullptr;
  const char *filename = rt_pop_string();
  if (!filename) filename = "";
  const int32_t code = GetMAPCode(0);
  if (!code) return call.fail();

  void *file = rt_file_open(filename, ORB_OPEN_READ, nullptr);
  if (!file) {
    call.bad(error_open, 1, filename);
    return call.fail();
  }
  rt_file_close(file);

  const image_codec *codec = probe(filename, key);
  reset_image();
  if (!codec || !codec->load(filename, key)) {
    reset_image();
    call.bad(error_format, 1, filename);
    return call.fail();
  }
  return adopt_image(call, code, filename, codec->format) ? call.done(code) : call.fail();
}

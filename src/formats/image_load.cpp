// image_load and load_pcx: which codec takes a file, and the graph that comes of it.
#include "formats/codec.h"
#include "module/script_call.h"
#include "script/handlers.h"
#include "surface/registry.h"

namespace {

bool can_be_opened(const char *filename) {
  void *file = rt_file_open(filename, ORB_OPEN_READ, nullptr);
  if (!file) return false;
  rt_file_close(file);
  return true;
}

/// The one codec that a function is for, if it takes the file.
const image_codec *only(image_format format, const char *filename) {
  const image_codec *codec = codec_for(format);
  return codec && codec->check(filename, nullptr) ? codec : nullptr;
}

/// Reads a picture by the codec that `choose` names into a graph of library 0, and ends the call.
template <typename Choose>
int32_t load_graph(const script_call &call, const char *filename, const char *key, Choose choose) {
  const int32_t code = GetMAPCode(0);
  if (!code) return call.fail();
  if (!can_be_opened(filename)) {
    call.bad(error_open, 1, filename);
    return call.fail();
  }
  const image_codec *codec = choose();
  reset_image();
  if (!codec || !codec->load(filename, key)) {
    reset_image();
    call.bad(error_format, 1, filename);
    return call.fail();
  }
  return adopt_image(call, code, filename, codec->format) ? call.done(code) : call.fail();
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
  return load_graph(call, filename, key, [=] { return probe_image(filename, key); });
}

/// load_pcx(file name): what image_load does for PCX files, and 144 for all others.
int32_t ORB_load_pcx() {
  const script_call call{"LOAD_PCX"};
  const char *filename = rt_pop_string();
  if (!filename) filename = "";
  return load_graph(call, filename, nullptr, [=] { return only(img_format_pcx, filename); });
}

// image_load and load_pcx: which codec takes a file, and the graph that comes of it.
#include "formats/codec.h"
#include "script/handlers.h"
#include "script/script_call.h"
#include "surface/registry.h"

namespace {

bool can_be_opened(const char *filename) {
  void *file = rt_file_open(filename, ORB_OPEN_READ, nullptr);
  if (!file) return false;
  rt_file_close(file);
  return true;
}

/// Reads a picture by the one codec that a function is for; null when it isn't built in, or doesn't
/// take the file or refuses it.
const image_codec *read_only_by(image_format format, const char *filename) {
  reset_image();
  const image_codec *codec = codec_for(format);
  if (codec && codec->check(filename, nullptr) && codec->load(filename, nullptr)) return codec;
  reset_image();
  return nullptr;
}

/// Makes a graph of library 0 of the picture that `read` reads, and ends the call. `read` returns
/// the codec by which it did, or null.
template <typename Read>
int32_t load_graph(const script_call &call, const char *filename, Read read) {
  const int32_t code = GetMAPCode(0);
  if (!code) return call.fail();
  if (!can_be_opened(filename)) {
    call.bad(error_open, 1, filename);
    return call.fail();
  }
  const image_codec *codec = read();
  if (!codec) {
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
  return load_graph(call, filename, [=] { return read_image(filename, key); });
}

/// load_pcx(file name): what image_load does for PCX files, and 144 for all others.
int32_t ORB_load_pcx() {
  const script_call call{"LOAD_PCX"};
  const char *filename = rt_pop_string();
  if (!filename) filename = "";
  return load_graph(call, filename, [=] { return read_only_by(img_format_pcx, filename); });
}

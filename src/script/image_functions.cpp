// Script functions that load picture files as graphs, save graphs as picture files, and unload
// them.
#include "formats/adopt_image.h"
#include "formats/codec.h"
#include "formats/map_file.h"
#include "script/checks.h"
#include "script/handlers.h"
#include "script/script_call.h"
#include "surface/registry.h"
#include "surface/screen.h"

// ---- Loading ------------------------------------------------------------------------------------

namespace {

bool can_be_opened(const char *filename) {
  void *file = rt_file_open(filename, ORB_OPEN_READ, nullptr);
  if (!file) return false;
  rt_file_close(file);
  return true;
}

/// Reads a picture by the codec of one format; null when it is not built in or does not accept the
/// file.
const image_codec *read_only_by(image_format format, const char *filename) {
  reset_image();
  const image_codec *codec = codec_for(format);
  if (codec && codec->check(filename, nullptr) && codec->load(filename, nullptr)) return codec;
  reset_image();
  return nullptr;
}

/// Makes a graph of library 0 from the picture that `read` reads, and ends the call. `read` returns
/// the codec it used, or null.
template <typename Read>
int32_t load_graph(const script_call &call, const char *filename, Read read) {
  const int32_t code = GetMAPCode(0);
  if (!code) return call.fail();
  if (!can_be_opened(filename)) return call.refuse(error_open, 1, filename);
  const image_codec *codec = read();
  if (!codec) return call.refuse(error_format, 1, filename);
  if (const int32_t error = adopt_image(code, filename, codec->format))
    return call.refuse(script_error(error), 1, filename);
  return call.done(code);
}

} // namespace

/// image_load(file name [, key]): loads a picture of any known format as a graph of library 0. The
/// key is for enciphered files of the engine's own format. Its code, or the failure value
/// after reporting 143 for a missing file, 144 for one that no codec reads, 100 for lack of memory.
int32_t ORB_image_load() {
  const script_call call{"IMAGE_LOAD"};
  const char *key = rt_param_count() > 1 ? rt_pop_string() : nullptr;
  const char *filename = pop_filename();
  return load_graph(call, filename, [=] { return read_image(filename, key); });
}

/// load_pcx(file name): image_load for PCX files; reports 144 for all others.
int32_t ORB_load_pcx() {
  const script_call call{"LOAD_PCX"};
  const char *filename = pop_filename();
  return load_graph(call, filename, [=] { return read_only_by(img_format_pcx, filename); });
}

// ---- Saving -------------------------------------------------------------------------------------

namespace {

constexpr int32_t filename_position = 3;

/// Passes the graph to the writers through the image globals, which only borrow it.
bool save_graph(const orb_map_slot &slot, const image_codec &codec, const char *filename,
                int32_t parameter, const char *key) {
  // Writers expect the screen's depth; a graph loaded before a mode change may have another.
  if (slot.surface->depth != mode.bpp) return false;
  reset_image();
  describe_graph(slot);
  image_data = slot.surface->pixels;
  image_alphachannel = slot.surface->alpha_channel;
  const bool saved = codec.save(filename, parameter, key);
  image_data = nullptr;
  image_surface = nullptr;
  return saved;
}

/// Saves the graph and ends the call: 1, or the failure value after reporting 123.
int32_t save_or_report(const script_call &call, const orb_map_slot &slot, image_format format,
                       const char *filename, int32_t parameter, const char *key) {
  if (!filename) filename = "";
  const image_codec *codec = codec_for(format);
  if (codec && save_graph(slot, *codec, filename, parameter, key)) return call.done(1);
  return call.refuse(error_save, filename_position, filename);
}

} // namespace

/// image_save(file, graph, file name, format [, parameter [, key]]): writes a graph as one of
/// img_format_map .. img_format_tga. The parameter, -1 to 1, is the format's own: 1 compresses MAP,
/// BMP and TGA files; for PNG it is the compression level, for JPEG 100 minus the quality, and -1
/// selects the default of both. The key enciphers MAP files. 1, or the failure value: after
/// reporting a bad graph, or 123 for a file that can't be written, in which case an old file
/// is kept; silently for a bad format or parameter.
int32_t ORB_image_save() {
  const script_call call{"IMAGE_SAVE"};
  const int32_t given = rt_param_count();
  const char *key = given > 5 ? rt_pop_string() : nullptr;
  int32_t parameter = given > 4 ? rt_pop_int() : -1;
  auto [file, graph, filename, format] = pop_args<int32_t, int32_t, const char *, int32_t>();
  const orb_map_slot *slot = check_graph(call, file, graph);
  if (!slot) return call.fail();
  if (format < img_format_map || format > img_format_tga) return call.fail();
  if (parameter < -1 || parameter > 1) return call.fail();
  if (parameter == -1 && format != img_format_jpeg && format != img_format_png) parameter = 0;
  return save_or_report(call, *slot, image_format(format), filename, parameter, key);
}

/// save_pcx(file, graph, file name): writes a graph as a PCX file. 1, or the failure value as with
/// image_save.
int32_t ORB_save_pcx() {
  const script_call call{"SAVE_PCX"};
  auto [file, graph, filename] = pop_args<int32_t, int32_t, const char *>();
  const orb_map_slot *slot = check_graph(call, file, graph);
  if (!slot) return call.fail();
  return save_or_report(call, *slot, img_format_pcx, filename, 0, nullptr);
}

// ---- Unloading ----------------------------------------------------------------------------------

/// image_unload(code): code -1 unloads all. How many were unloaded; maps are not among them, even
/// if image_load read them: use map_unload. The failure value for a code outside the run-time
/// range.
int32_t ORB_image_unload() {
  const int32_t code = rt_pop_int();
  return rt_return(unload_graphs(code, [](int32_t mark) { return mark > img_format_map; }));
}

/// unload_pcx(code): the same for pictures that came from PCX files, by load_pcx or image_load.
int32_t ORB_unload_pcx() {
  const int32_t code = rt_pop_int();
  return rt_return(unload_graphs(code, [](int32_t mark) { return mark == img_format_pcx; }));
}

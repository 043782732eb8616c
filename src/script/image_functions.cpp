// Script functions on picture files: which codec takes a file and the graph that comes of it, a
// graph handed to the writer of a format, and the pictures let go again.
#include "formats/adopt_image.h"
#include "formats/codec.h"
#include "formats/map_file.h"
#include "script/checks.h"
#include "script/handlers.h"
#include "script/script_call.h"
#include "surface/registry.h"
#include "surface/screen.h"

// ---- Loading -----------------------------------------------------------------------------------

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
  if (!can_be_opened(filename)) return call.refuse(error_open, 1, filename);
  const image_codec *codec = read();
  if (!codec) return call.refuse(error_format, 1, filename);
  if (const int32_t error = adopt_image(code, filename, codec->format))
    return call.refuse(script_error(error), 1, filename);
  return call.done(code);
}

} // namespace

/// image_load(file name [, key]): a picture of any known format becomes a graph of library 0.
/// The key serves enciphered files of the engine's own format only. Its code, or the failure value
/// after reporting 143 for a missing file, 144 for one that no codec reads, 100 for lack of memory.
int32_t ORB_image_load() {
  const script_call call{"IMAGE_LOAD"};
  const char *key = rt_param_count() > 1 ? rt_pop_string() : nullptr;
  const char *filename = pop_filename();
  return load_graph(call, filename, [=] { return read_image(filename, key); });
}

/// load_pcx(file name): what image_load does for PCX files, and 144 for all others.
int32_t ORB_load_pcx() {
  const script_call call{"LOAD_PCX"};
  const char *filename = pop_filename();
  return load_graph(call, filename, [=] { return read_only_by(img_format_pcx, filename); });
}

// ---- Saving ------------------------------------------------------------------------------------

namespace {

constexpr int32_t filename_position = 3;

/// Hands the graph to the writers through the image globals, which own none of it.
bool save_graph(const orb_map_slot &slot, const image_codec &codec, const char *filename,
                int32_t parameter, const char *key) {
  // A graph that was loaded before a mode change has no pixels that a writer would understand.
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
/// BMP and TGA files; PNG takes it for a compression level, JPEG for what its quality lacks of 100,
/// and -1 leaves both their defaults. The key enciphers MAP files. 1, or the failure value: after
/// reporting a bad graph, or 123 for a file that can't be written, which leaves an old file as it
/// was; silently for a bad format or parameter.
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

// ---- Unloading ---------------------------------------------------------------------------------

/// image_unload(code): code -1 unloads all. How many were unloaded; a map read by image_load is
/// not among them, map_unload is for those. The failure value for a code outside the run-time
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

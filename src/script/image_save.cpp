// image_save and save_pcx: a graph handed to the writer of a format.
#include "formats/map_file.h"
#include "script/handlers.h"
#include "script/script_call.h"
#include "surface/registry.h"
#include "video/mode.h"

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
  call.bad(error_save, filename_position, filename);
  return call.fail();
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

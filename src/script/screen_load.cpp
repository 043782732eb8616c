// screen_load: a picture file straight to the ground.
#include "formats/codec.h"
#include "script/ground_cover.h"
#include "script/handlers.h"
#include "script/script_call.h"
#include "surface/registry.h"

/// screen_load(file name [, key]): covers the ground with a picture of any known format, as
/// ground_put_screen does, and keeps no graph of it. 1, or the failure value: after reporting 143
/// for a file that no codec takes, or whatever map_load or image_load, which do the work, report.
int32_t ORB_screen_load() {
  const script_call call{"SCREEN_LOAD"};
  const int32_t given = rt_param_count();
  const char *key = given > 1 ? rt_pop_string() : nullptr;
  const char *filename = rt_pop_string();
  if (!filename) filename = "";
  const image_codec *codec = probe_image(filename, key);
  if (!codec) {
    call.bad(error_open, 1, filename);
    return call.fail();
  }
  rt_unpop_params(given > 1 ? 2 : 1);
  if (codec->format == img_format_map)
    ORB_map_load();
  else
    ORB_image_load();
  const int32_t code = rt_take_return();
  const orb_map_slot *slot = GetMAP(0, code);
  if (!slot || !slot->surface) return call.fail();
  cover_ground(slot->surface);
  unload_graphs(code, [](int32_t) { return true; });
  return call.done(1);
}

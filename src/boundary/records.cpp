#include "boundary/records.h"

orb_runtime *orbre;
orb_device_system *deviceSystem_graphics2D;
orb_device2d device2D;

uint8_t first_frame = 1;
int32_t frame_number;

int32_t *_dump_type_, *_restore_type_, *_fading_, *_fps_;
int32_t *_num_video_modes_, *_num_video_bits_, *_num_video_rates_, *_vsync_;
script_video_mode *_video_modes_;
int32_t *_video_bits_, *_video_rates_;
int32_t *_draw_z_, *_draw_destination_file_, *_draw_destination_graph_, *_draw_visible_;
script_mouse *_mouse_graphics2D_;

namespace {

/// Points every script global into `memory`, at the byte offset that offset_of(name) gives.
template <typename Offset> void bind_script_globals(uint8_t *memory, Offset offset_of) {
  const auto bind = [=]<typename T>(T *&variable, const char *name) {
    variable = reinterpret_cast<T *>(memory + offset_of(name));
  };
  bind(_dump_type_, "dump_type");
  bind(_restore_type_, "restore_type");
  bind(_fading_, "fading");
  bind(_fps_, "fps");
  bind(_num_video_modes_, "num_video_modes");
  bind(_num_video_bits_, "num_video_bits");
  bind(_num_video_rates_, "num_video_rates");
  bind(_video_modes_, "video_modes");
  bind(_video_bits_, "video_bits");
  bind(_video_rates_, "video_rates");
  bind(_vsync_, "vsync");
  bind(_draw_z_, "draw_z");
  bind(_draw_destination_file_, "draw_destination_file");
  bind(_draw_destination_graph_, "draw_destination_graph");
  bind(_draw_visible_, "draw_visible");
  bind(_mouse_graphics2D_, "mouse");
}

} // namespace

void bind_script_globals() {
  bind_script_globals(orbre->rt_globals,
                      [](const char *name) { return orbre->rt_global_offset(0, name); });
}

/// Handlers may be called before init and after release, when the host's memory is not available:
/// all globals then share one zeroed block.
void unbind_script_globals() {
  static int32_t words[sizeof(script_video_mode[64]) / sizeof(int32_t)];
  bind_script_globals(reinterpret_cast<uint8_t *>(words), [](const char *) { return 0; });
}

namespace {
const bool unbound_at_load = (unbind_script_globals(), true);
}

// The three hooks through which the host drives the module.
#include <algorithm>

#include "blit/blit.h"
#include "blit/blit_list.h"
#include "boundary/runtime.h"
#include "collision/collision.h"
#include "frame/draw_frame.h"
#include "frame/draw_objects.h"
#include "frame/process_scan.h"
#include "raster/pixels.h"
#include "surface/registry.h"
#include "video/fades.h"
#include "video/mode.h"

orb_device_system *deviceSystem_graphics2D;
uint8_t first_frame = 1, program_visible;
int32_t frame_number;

int32_t *_dump_type_, *_restore_type_, *_fading_, *_fps_;
int32_t *_num_video_modes_, *_num_video_bits_, *_num_video_rates_, *_vsync_;
script_video_mode *_video_modes_;
int32_t *_video_bits_, *_video_rates_;
int32_t *_draw_z_, *_draw_destination_file_, *_draw_destination_graph_, *_draw_visible_;
script_mouse *_mouse_graphics2D_;

namespace {

/// 1 between an init that went through and release. Should a host go on after a fatal report, its
/// frames do nothing.
bool running;

/// Points every script global into `memory`, at the offset in bytes that its name has there.
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

/// Before init and after release the script's globals are zeros of our own, one over the other:
/// handlers that are called then find words that are there, and none of a host that is gone.
void unbind_script_globals() {
  static int32_t words[sizeof(script_video_mode[64]) / sizeof(int32_t)];
  bind_script_globals(reinterpret_cast<uint8_t *>(words), [](const char *) { return 0; });
}
const bool unbound_at_load = (unbind_script_globals(), true);

/// QUIRK: showing the window with the first frame would look more natural; it is shown with the
/// second one, when the first is already in it. That is intended.
void show_program() {
  if (first_frame) {
    first_frame = 0;
  } else if (!program_visible) {
    host_show_window(1);
    program_visible = 1;
  }
}

void read_script_globals() {
  const orb_device_system *system = deviceSystem_graphics2D;
  if (system && system->frame_rate) *_fps_ = *system->frame_rate;
  *_vsync_ = vsync = std::clamp(*_vsync_, 0, 1);
  dump_type = *_dump_type_;
  restore_type = *_restore_type_;
}

void render() {
  if (!device2D.UseBlitList(graphics2D_blitlist)) return;
  const orb_device_system *system = deviceSystem_graphics2D;
  const int32_t *busy = system ? system->renderer_busy : nullptr;
  if (busy && *busy) {
    device2D.ResetBlitList();
    return;
  }
  do_processes();
  do_drawings();
  draw_frame();
}

} // namespace

/// Brings the module up and opens the display. A failure is fatal; should the host go on after
/// that, the hook ends where it stands. What is there already goes first: an init that nothing has
/// released, or calls out of turn, have brought it up.
int32_t ORB_mod_graphics2D_init() {
  ORB_mod_graphics2D_release();
  deviceSystem_graphics2D = orbre->rt_device_system;
  const orb_device_system *system = deviceSystem_graphics2D;
  full_screen = system && system->full_screen ? *system->full_screen : 0;

  if (!ORBGI2D_Internal_InitGFXDevice()) {
    rt_fatal("Device 2D init error");
    return 1;
  }
  orbre->rt_device2D = &device2D;
  device2D.zero85 = device2D.zero86 = 0;

  if (!VID_Init_Graphics2D()) {
    rt_fatal("Graphics2D init error");
    return 1;
  }
  create_graph_registry();
  if (!fpg || !fpg[0].slots || !image_loaded || !regions || !regions_def) return 1;
  device2D.regions = regions;
  draws_painted = 0;

  bind_script_globals(orbre->rt_globals,
                      [](const char *name) { return orbre->rt_global_offset(0, name); });
  fading = _fading_;
  fading_run = 0;
  old_dump_type = 1;
  old_restore_type = 1;

  set_blitter_routines();
  set_graphics2D_drawing_routines();
  update_video_structs();
  create_collision_surfaces();
  collision_alphathreshold = 0;
  alphathreshold = 0;
  frame_number = 0;
  device2D.VID_SetGFXMode();
  fade_off();
  fade_on();
  running = true;
  return 1;
}

/// One frame: from the processes' locals to the display. Nothing in the middle of a mode change.
int32_t ORB_mod_graphics2D_frame() {
  if (!running || mode.changing) return 1;
  frame_number = int32_t(uint32_t(frame_number) + 1);
  show_program();
  read_script_globals();
  render();
  old_dump_type = dump_type;
  old_restore_type = restore_type;
  return 1;
}

/// Takes everything down. A further init starts like the first one, window included; until then
/// script functions find as little as before the first.
int32_t ORB_mod_graphics2D_release() {
  running = false;
  release_graph_registry();
  VID_Quit_Graphics2D();
  ORBGI2D_Internal_QuitGFXDevice();
  unbind_script_globals();
  deviceSystem_graphics2D = nullptr;
  first_frame = 1;
  program_visible = 0;
  return 1;
}

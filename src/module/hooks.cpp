// The three hooks through which the host drives the module.
#include <algorithm>

#include "blit/blit.h"
#include "blit/blit_list.h"
#include "boundary/runtime.h"
#include "collision/collision.h"
#include "frame/draw_frame.h"
#include "frame/draw_objects.h"
#include "frame/process_scan.h"
#include "module/module.h"
#include "surface/regions.h"
#include "surface/registry.h"
#include "surface/screen.h"
#include "video/fades.h"
#include "video/mode.h"
#include "video/mode_lists.h"
#include "video/zones.h"

namespace {

/// True from a successful init to release. If a host goes on after a fatal report, its frames do
/// nothing.
bool running;
/// 1 once the window has been shown.
uint8_t program_visible;

/// QUIRK: the window is shown with the second frame, when it already holds the first.
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

/// Starts the module and opens the display. A failure is fatal; if the host goes on, the hook
/// returns at once. Releases first what an earlier init, or calls out of order, have created.
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

  bind_script_globals();
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

/// One frame: from the processes' locals to the display. Does nothing during a mode change.
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

/// Shuts everything down. A later init starts like the first one, window included; until then
/// script functions behave as before the first.
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

// The layout of everything that host and module share, as literal numbers: module and reference
// host are built from one header, so no other test would notice a mistake in it.
#include <cstddef>
#include <map>
#include <string>

#include <gtest/gtest.h>

#include "orb/graphics2d.h"

extern "C" {
extern const char *const orb_c_member_names[];
extern const unsigned orb_c_member_offsets[];
extern const unsigned orb_c_members;
}

namespace {

/// Words as the compiler counts them, and the agreed number.
struct layout {
  const char *what;
  size_t bytes, words;
};

#define SIZE(type, words)                                                                          \
  { "sizeof " #type, sizeof(type), words }
#define AT(type, member, word)                                                                     \
  { #type "." #member, offsetof(type, member), word }

constexpr layout layouts[] = {
    // clang-format off
    SIZE(orb_runtime, 83), SIZE(orb_registration, 10), SIZE(orb_constant, 2), SIZE(orb_function, 4),
    SIZE(orb_hook, 2), SIZE(orb_process, 18), SIZE(orb_locals, 23), SIZE(__ORBSurface2D__, 18),
    SIZE(__ORBBlit2D__, 45), SIZE(orb_device2d, 87),
    AT(orb_runtime, rt_globals, 0), AT(orb_runtime, rt_processes, 3),
    AT(orb_runtime, rt_program_name, 4), AT(orb_runtime, rt_unpop_params, 7),
    AT(orb_runtime, rt_drop_params, 8), AT(orb_runtime, rt_param_count, 9),
    AT(orb_runtime, rt_pop_int, 14), AT(orb_runtime, rt_pop_uint, 15),
    AT(orb_runtime, rt_pop_string, 18), AT(orb_runtime, rt_pop_pointer, 25),
    AT(orb_runtime, rt_peek_string, 36), AT(orb_runtime, rt_return, 52),
    AT(orb_runtime, rt_take_return, 57), AT(orb_runtime, rt_new_return_string, 64),
    AT(orb_runtime, rt_commit_return_string, 66), AT(orb_runtime, rt_signal, 68),
    AT(orb_runtime, rt_error, 69), AT(orb_runtime, rt_fatal, 71),
    AT(orb_runtime, rt_global_offset, 72), AT(orb_runtime, rt_exit, 77),
    AT(orb_runtime, rt_device_system, 79), AT(orb_runtime, rt_device2D, 80),
    AT(orb_runtime, rt_video_hooks, 82),
    AT(orb_registration, reg_constants, 0), AT(orb_registration, reg_globals, 4),
    AT(orb_registration, reg_locals, 5), AT(orb_registration, reg_functions, 6),
    AT(orb_registration, reg_hooks, 7), AT(orb_registration, reg_flags, 8),
    AT(orb_registration, reg_runtime, 9),
    AT(orb_function, result, 1), AT(orb_function, flag, 2), AT(orb_function, handler, 3),
    AT(orb_device_system, full_screen, 0), AT(orb_device_system, frame_rate, 1),
    AT(orb_device_system, renderer_busy, 2), AT(orb_device_system, window, 3),
    AT(orb_device_system, file, 4), AT(orb_device_system, input, 5),
    AT(orb_device_system, timing, 6), AT(orb_device_system, scroll, 7),
    AT(orb_device_system, desktop_width, 8), AT(orb_device_system, desktop_height, 9),
    AT(orb_device_system, vsync, 10), AT(orb_device_system, ground, 11),
    AT(orb_device_system, screen, 12),
    AT(orb_window_services, message_box, 0), AT(orb_window_services, show_window, 1),
    AT(orb_window_services, window_handle, 2), AT(orb_window_services, move_window, 3),
    AT(orb_file_services, path, 0), AT(orb_file_services, open, 1), AT(orb_file_services, read, 2),
    AT(orb_file_services, write, 3), AT(orb_file_services, seek, 4),
    AT(orb_file_services, at_end, 5), AT(orb_file_services, close, 6),
    AT(orb_input_services, reset, 0), AT(orb_input_services, grab_mouse, 1),
    AT(orb_input_services, reread_window, 2), AT(orb_input_services, centre_mouse, 3),
    AT(orb_timing_services, set_fps, 0),
    AT(orb_scroll_services, offset, 0),
    AT(orb_video_hooks, mode_change, 0),
    AT(orb_process_node, process, 0), AT(orb_process_node, next, 1),
    AT(orb_process_services, proc_first, 1), AT(orb_process_services, proc_current, 6),
    AT(orb_process_services, proc_exists, 7),
    AT(orb_process, type, 1), AT(orb_process, status, 2), AT(orb_process, coordinates, 3),
    AT(orb_process, walk_question, 4), AT(orb_process, walk_candidate, 6), AT(orb_process, box_x0, 13),
    AT(orb_process, box_y0, 14), AT(orb_process, box_x1, 15), AT(orb_process, box_y1, 16),
    AT(orb_process, locals, 17),
    AT(orb_locals, file, 0), AT(orb_locals, graph, 1), AT(orb_locals, xgraph, 2),
    AT(orb_locals, x, 3), AT(orb_locals, y, 4), AT(orb_locals, z, 5), AT(orb_locals, visible, 6),
    AT(orb_locals, region, 7), AT(orb_locals, resolution, 8), AT(orb_locals, destination_file, 9),
    AT(orb_locals, destination_graph, 10), AT(orb_locals, tfmorder, 11), AT(orb_locals, angle, 12),
    AT(orb_locals, size, 13), AT(orb_locals, size_x, 14), AT(orb_locals, size_y, 15),
    AT(orb_locals, shear_x, 16), AT(orb_locals, shear_y, 17), AT(orb_locals, flags, 18),
    AT(orb_locals, alpha, 19), AT(orb_locals, fxmode, 20), AT(orb_locals, fxcolor, 21),
    AT(orb_locals, fxintensity, 22),
    AT(__ORBSurface2D__, width, 1), AT(__ORBSurface2D__, height, 2), AT(__ORBSurface2D__, depth, 3),
    AT(__ORBSurface2D__, pitch, 4), AT(__ORBSurface2D__, pixel_count, 5),
    AT(__ORBSurface2D__, byte_size, 6), AT(__ORBSurface2D__, pixels, 7),
    AT(__ORBSurface2D__, alpha_channel, 8), AT(__ORBSurface2D__, has_cpoints, 9),
    AT(__ORBSurface2D__, cpoint_last, 10), AT(__ORBSurface2D__, cpoints, 11),
    AT(__ORBSurface2D__, pivot_override, 12), AT(__ORBSurface2D__, pivot_x, 13),
    AT(__ORBSurface2D__, pivot_y, 14), AT(__ORBSurface2D__, prev, 16),
    AT(__ORBSurface2D__, next, 17),
    AT(__ORBRegion__, x0, 0), AT(__ORBRegion__, x1, 1), AT(__ORBRegion__, y0, 2),
    AT(__ORBRegion__, y1, 3),
    AT(__ORBBlit2D__, link, 0), AT(__ORBBlit2D__, owner, 1), AT(__ORBBlit2D__, drawn, 2),
    AT(__ORBBlit2D__, drawn_x0, 3), AT(__ORBBlit2D__, drawn_x1, 4), AT(__ORBBlit2D__, drawn_y0, 5),
    AT(__ORBBlit2D__, drawn_y1, 6), AT(__ORBBlit2D__, x, 12), AT(__ORBBlit2D__, y, 13),
    AT(__ORBBlit2D__, z, 14), AT(__ORBBlit2D__, region, 16), AT(__ORBBlit2D__, resolution, 17),
    AT(__ORBBlit2D__, destination_file, 18), AT(__ORBBlit2D__, destination_graph, 19),
    AT(__ORBBlit2D__, tfmorder, 20), AT(__ORBBlit2D__, angle, 21), AT(__ORBBlit2D__, size, 22),
    AT(__ORBBlit2D__, size_x, 23), AT(__ORBBlit2D__, size_y, 24), AT(__ORBBlit2D__, shear_x, 25),
    AT(__ORBBlit2D__, shear_y, 26), AT(__ORBBlit2D__, flags, 27), AT(__ORBBlit2D__, alpha, 28),
    AT(__ORBBlit2D__, fxmode, 29), AT(__ORBBlit2D__, fxcolor, 30),
    AT(__ORBBlit2D__, fxintensity, 31), AT(__ORBBlit2D__, block_x, 32),
    AT(__ORBBlit2D__, block_h, 35), AT(__ORBBlit2D__, own_region, 36),
    AT(__ORBBlit2D__, own_region_x0, 37), AT(__ORBBlit2D__, own_region_x1, 38),
    AT(__ORBBlit2D__, own_region_y0, 39), AT(__ORBBlit2D__, own_region_y1, 40),
    AT(__ORBBlit2D__, src, 42), AT(__ORBBlit2D__, dst, 43), AT(__ORBBlit2D__, blit_op, 44),
    AT(orb_blit_list, name, 0), AT(orb_blit_list, capacity, 1), AT(orb_blit_list, step, 2),
    AT(orb_blit_list, used, 3), AT(orb_blit_list, order_capacity, 4),
    AT(orb_blit_list, requests, 5), AT(orb_blit_list, order, 6),
    AT(orb_map_slot, code, 0), AT(orb_map_slot, id, 1), AT(orb_map_slot, description, 2),
    AT(orb_map_slot, name, 2 + 64), AT(orb_map_slot, loader_word, 2 + 128),
    AT(orb_map_slot, surface, 3 + 128), AT(orb_map_slot, memory_usage, 4 + 128),
    AT(orb_fpg, in_use, 0), AT(orb_fpg, map_count, 1), AT(orb_fpg, slots, 2),
    AT(orb_fpg, memory_usage, 3),
    AT(orb_mode, width, 2), AT(orb_mode, bpp, 4), AT(orb_mode, type, 5),
    AT(orb_mode, bufferbehaviour, 6), AT(orb_mode, rate, 7), AT(orb_mode, changing, 8),
    AT(orb_device2d, mode, 0), AT(orb_device2d, rendering2D_type, 3), AT(orb_device2d, regions, 4),
    AT(orb_device2d, force_sys_fnt, 5), AT(orb_device2d, palette_forced, 6),
    AT(orb_device2d, VID_GetGFXDC, 7), AT(orb_device2d, VID_ReleaseGFXDC, 8),
    AT(orb_device2d, VID_SetGFXMode, 9), AT(orb_device2d, VID_RestoreGFXMode, 10),
    AT(orb_device2d, VID_GFXPaint, 11), AT(orb_device2d, ORBGI2D_CreateGFXSurface, 12),
    AT(orb_device2d, ORBGI2D_CreateGFXSurfaceWrapper, 13),
    AT(orb_device2d, ORBGI2D_ResizeGFXSurface, 14),
    AT(orb_device2d, ORBGI2D_ResizeGFXSurfaceWrapper, 15),
    AT(orb_device2d, ORBGI2D_DeleteGFXSurface, 16),
    AT(orb_device2d, ORBGI2D_DeleteGFXSurfaceBufferData, 17), AT(orb_device2d, ForceSurface, 18),
    AT(orb_device2d, ORBGI2D_Blit, 19), AT(orb_device2d, ORBGI2D_BlitScale, 20),
    AT(orb_device2d, ORBGI2D_BlitRotate, 21), AT(orb_device2d, ORBGI2D_BlitRotScale, 22),
    AT(orb_device2d, ORBGI2D_BlitScaleShear, 23), AT(orb_device2d, ORBGI2D_BlitRotScaleShear, 24),
    AT(orb_device2d, ORBGI2D_BlitTile, 25), AT(orb_device2d, ORBGI2D_BlitBlock, 26),
    AT(orb_device2d, ORBGI2D_BlitFill, 27), AT(orb_device2d, ORBGI2D_ClearScreen, 28),
    AT(orb_device2d, CreateBlitList, 29), AT(orb_device2d, UseBlitList, 30),
    AT(orb_device2d, GetAndUpdateBlitList, 31), AT(orb_device2d, ChangeBlitList, 32),
    AT(orb_device2d, SortBlitList, 33), AT(orb_device2d, ResetBlitList, 34),
    AT(orb_device2d, GetPtrBlitList, 35), AT(orb_device2d, GetNumsBlitOnList, 36),
    AT(orb_device2d, GetMAPCode, 38), AT(orb_device2d, RecMAPCode, 39),
    AT(orb_device2d, GetFPG, 40), AT(orb_device2d, GetMaxFPG, 41), AT(orb_device2d, GetMaxMAP, 42),
    AT(orb_device2d, GetMaxREGION, 43), AT(orb_device2d, GetMAP, 44),
    AT(orb_device2d, RegionExists, 45), AT(orb_device2d, GetFilterNxMode, 46),
    AT(orb_device2d, GetEmulatedMode, 47), AT(orb_device2d, GetEmulatedWidth, 48),
    AT(orb_device2d, GetEmulatedHeight, 49), AT(orb_device2d, GetEmulatedXOffset, 50),
    AT(orb_device2d, GetEmulatedYOffset, 51), AT(orb_device2d, GetVirtualResolution, 52),
    AT(orb_device2d, GetVirtualResolutionAspectRatio, 53),
    AT(orb_device2d, GetVirtualResolutionWidth, 54),
    AT(orb_device2d, GetVirtualResolutionHeight, 55),
    AT(orb_device2d, GetVirtualResolutionRatioWidth, 56),
    AT(orb_device2d, GetVirtualResolutionRatioHeight, 57),
    AT(orb_device2d, GetVirtualResolutionXOffset, 58),
    AT(orb_device2d, GetVirtualResolutionYOffset, 59), AT(orb_device2d, set_color, 60),
    AT(orb_device2d, find_color, 61), AT(orb_device2d, set_rgb, 63), AT(orb_device2d, set_rgbx, 64),
    AT(orb_device2d, set_rgba, 65), AT(orb_device2d, get_rgb, 66), AT(orb_device2d, get_rgba, 67),
    AT(orb_device2d, init_force_palette, 68), AT(orb_device2d, get_palette, 69),
    AT(orb_device2d, set_palette, 70), AT(orb_device2d, copy_palette, 71),
    AT(orb_device2d, fade_off, 72), AT(orb_device2d, fade_on, 73), AT(orb_device2d, zero85, 85),
    AT(orb_device2d, zero86, 86),
    // clang-format on
};

TEST(Abi, Layouts) {
  for (const layout &each : layouts)
    EXPECT_EQ(each.bytes, 4 * each.words) << each.what;
}

/// The layout as a C99 compiler sees it.
TEST(Abi, SameInC) {
  const std::map<std::string, unsigned> expected{
      {"orb_runtime.rt_return", 52 * 4},    {"orb_runtime.rt_video_hooks", 82 * 4},
      {"orb_device2d.fade_on", 73 * 4},     {"orb_device_system.screen", 12 * 4},
      {"__ORBBlit2D__.blit_op", 44 * 4},    {"__ORBSurface2D__.next", 17 * 4},
      {"orb_locals.fxintensity", 22 * 4},   {"orb_process.locals", 17 * 4},
      {"orb_registration.reg_runtime", 36}, {"orb_map_slot.memory_usage", 528},
  };
  std::map<std::string, unsigned> seen;
  for (unsigned i = 0; i < orb_c_members; ++i)
    seen[orb_c_member_names[i]] = orb_c_member_offsets[i];
  EXPECT_EQ(seen, expected);
}

} // namespace

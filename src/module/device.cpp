// The device record, slot by slot; the start and shutdown of the devices.
#include "blit/blit.h"
#include "blit/blit_list.h"
#include "boundary/runtime.h"
#include "collision/collision.h"
#include "frame/draw_objects.h"
#include "module/module.h"
#include "surface/colour.h"
#include "surface/fill.h"
#include "surface/palette.h"
#include "surface/regions.h"
#include "surface/registry.h"
#include "surface/screen.h"
#include "surface/surface.h"
#include "video/fades.h"
#include "video/mode.h"
#include "video/mode_lists.h"
#include "video/mode_tables.h"
#include "video/screen_surfaces.h"
#include "video/sdl_backend.h"
#include "video/virtual_resolution.h"

namespace {

/// The record as the module publishes it; unnamed slots are zero.
constexpr orb_device2d own_record() {
  orb_device2d d{};

  d.mode = &mode;
  d.rendering2D_type = &rendering2D_type;
  d.force_sys_fnt = &force_sys_fnt;
  d.palette_forced = &palette_forced;

  d.VID_GetGFXDC = VID_GetGFXDC;
  d.VID_ReleaseGFXDC = VID_ReleaseGFXDC;
  d.VID_SetGFXMode = VID_SetGFXMode;
  d.VID_RestoreGFXMode = VID_RestoreGFXMode;
  d.VID_GFXPaint = VID_GFXPaint;

  d.ORBGI2D_CreateGFXSurface = ORBGI2D_CreateGFXSurface;
  d.ORBGI2D_CreateGFXSurfaceWrapper = ORBGI2D_CreateGFXSurfaceWrapper;
  d.ORBGI2D_ResizeGFXSurface = ORBGI2D_ResizeGFXSurface;
  d.ORBGI2D_ResizeGFXSurfaceWrapper = ORBGI2D_ResizeGFXSurfaceWrapper;
  d.ORBGI2D_DeleteGFXSurface = ORBGI2D_DeleteGFXSurface;
  d.ORBGI2D_DeleteGFXSurfaceBufferData = ORBGI2D_DeleteGFXSurfaceBufferData;
  d.ForceSurface = ForceSurface;

  d.ORBGI2D_Blit = ORBGI2D_Blit;
  d.ORBGI2D_BlitScale = ORBGI2D_BlitScale;
  d.ORBGI2D_BlitRotate = ORBGI2D_BlitRotate;
  d.ORBGI2D_BlitRotScale = ORBGI2D_BlitRotScale;
  d.ORBGI2D_BlitScaleShear = ORBGI2D_BlitScaleShear;
  d.ORBGI2D_BlitRotScaleShear = ORBGI2D_BlitRotScaleShear;
  d.ORBGI2D_BlitTile = ORBGI2D_BlitTile;
  d.ORBGI2D_BlitBlock = ORBGI2D_BlitBlock;
  d.ORBGI2D_BlitFill = ORBGI2D_BlitFill;
  d.ORBGI2D_ClearScreen = ORBGI2D_ClearScreen;

  d.CreateBlitList = CreateBlitList;
  d.UseBlitList = UseBlitList;
  d.GetAndUpdateBlitList = GetAndUpdateBlitList;
  d.ChangeBlitList = ChangeBlitList;
  d.SortBlitList = SortBlitList;
  d.ResetBlitList = ResetBlitList;
  d.GetPtrBlitList = GetPtrBlitList;
  d.GetNumsBlitOnList = GetNumsBlitOnList;

  d.GetMAPCode = GetMAPCode;
  d.RecMAPCode = RecMAPCode;
  d.GetFPG = GetFPG;
  d.GetMaxFPG = GetMaxFPG;
  d.GetMaxMAP = GetMaxMAP;
  d.GetMaxREGION = GetMaxREGION;
  d.GetMAP = GetMAP;
  d.RegionExists = RegionExists;

  d.GetFilterNxMode = GetFilterNxMode;
  d.GetEmulatedMode = GetEmulatedMode;
  d.GetEmulatedWidth = GetEmulatedWidth;
  d.GetEmulatedHeight = GetEmulatedHeight;
  d.GetEmulatedXOffset = GetEmulatedXOffset;
  d.GetEmulatedYOffset = GetEmulatedYOffset;
  d.GetVirtualResolution = GetVirtualResolution;
  d.GetVirtualResolutionAspectRatio = GetVirtualResolutionAspectRatio;
  d.GetVirtualResolutionWidth = GetVirtualResolutionWidth;
  d.GetVirtualResolutionHeight = GetVirtualResolutionHeight;
  d.GetVirtualResolutionRatioWidth = GetVirtualResolutionRatioWidth;
  d.GetVirtualResolutionRatioHeight = GetVirtualResolutionRatioHeight;
  d.GetVirtualResolutionXOffset = GetVirtualResolutionXOffset;
  d.GetVirtualResolutionYOffset = GetVirtualResolutionYOffset;

  d.set_color = set_color;
  d.find_color = find_color;
  // These follow the depth from the first mode on (set_colour_routines).
  d.set_rgb = set_rgb_16bits;
  d.set_rgbx = set_rgbx_16bits;
  d.set_rgba = set_rgba_16bits;
  d.get_rgb = get_rgb_16bits;
  d.get_rgba = get_rgba_16bits;
  d.init_force_palette = init_force_palette;
  d.get_palette = get_palette;
  d.set_palette = set_palette;
  d.copy_palette = copy_palette;
  d.fade_off = fade_off;
  d.fade_on = fade_on;
  return d;
}

/// Filled at load: script functions, which may be called before init, use the record.
const bool filled_at_load = (device2D = own_record(), true);

} // namespace

int32_t ORBGI2D_Internal_InitGFXDevice() {
  device2D = own_record();    // drops what an earlier host has replaced
  device2D.regions = regions; // rewritten whenever the array moves
  if (!ORBGI2D_Internal_CreateGFXSurfaceList()) return 0;
  if (ORBGI2D_Internal_CreateBlitLists()) return 1;
  ORBGI2D_Internal_DeleteGFXSurfaceList();
  return 0;
}

void ORBGI2D_Internal_QuitGFXDevice() {
  delete_collision_surfaces(); // the module keeps pointers to them
  ORBGI2D_DeleteAllGFXSurfaces();
  ORBGI2D_Internal_DeleteGFXSurfaceList();
  ORBGI2D_Internal_DeleteBlitLists();
  device2D = own_record();
}

// ---- The video device and the lists of all floors ----------------------------------------------

namespace {

int32_t create_lists() {
  if (!create_mode_lists()) {
    rt_fatal("ENGINE 2D: Error to Create VIDEO MODES list");
    return 0;
  }
  if (!CreateFPGList()) {
    rt_fatal("ENGINE 2D: Error to Create FPG list");
    return 0;
  }
  if (!CreateDrawList()) {
    rt_fatal("ENGINE 2D: Error to Create DRAW2D list");
    return 0;
  }
  graphics2D_blitlist = CreateBlitList("GRAPHICS2D", 1024, 256);
  return graphics2D_blitlist >= 0;
}

} // namespace

int32_t VID_Init_Graphics2D() {
  set_mode_defaults();
  if (!create_lists() || !do_tables(mode.bpp)) return 0;
  fade_display_palette();
  return SDLX11_Init();
}

void VID_Quit_Graphics2D() {
  SDLX11_Quit();
  free_tables();
  delete_virtual_resolution();
  delete_surfaces();
  DeleteDrawList();
  DeleteFPGList();
  DeleteRegionList();
  delete_mode_lists();
  reset_fades();
  forget_working_mode();
}

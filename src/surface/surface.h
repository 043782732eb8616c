// Surfaces: the pixel container of every graph, the screen, the ground and the display wrapper.
//
// `gfxsurfaces` lists every live surface; only surface/surface.cpp writes it.
#pragma once

#include "orb/graphics2d.h"

/// The largest width and height of a surface, in pixels.
inline constexpr int32_t largest_side = 65535;

struct orb_surface_list {
  uint32_t count;
  __ORBSurface2D__ *head, *tail;
};

extern orb_surface_list *gfxsurfaces;

/// Called with a surface about to be deleted, while it is still intact; null when unused. The owner
/// of the request lists (blit/blit_list.cpp) sets it and drops the surface from its requests.
extern void (*surface_goes)(const __ORBSurface2D__ *surface);

/// The low 16 bits of a coordinate that is not set. In the pivot it stands for the middle.
inline constexpr uint32_t unset_coordinate = 65535;

/// What `cpoints` of a surface points at: cpoint_last + 1 of these, point 0 first.
struct cpoint_record {
  uint32_t x, y, defined;
};
static_assert(sizeof(cpoint_record) == 3 * sizeof(uint32_t));

/// Pixel buffers: `size` bytes aligned to 16, or null. The raw address is kept below the block.
void *aligned_malloc(uint32_t size);
/// Frees a block of aligned_malloc; null is ignored.
void aligned_free(void *block);

int32_t ORBGI2D_Internal_CreateGFXSurfaceList();
void ORBGI2D_Internal_DeleteGFXSurfaceList();
int32_t ORBGI2D_Internal_AddGFXSurfaceOnList(__ORBSurface2D__ *surface);
void ORBGI2D_Internal_DelGFXSurfaceOnList(__ORBSurface2D__ *surface);

/// Bytes of pixels that a surface of that size and depth has; 0 for an impossible size.
uint32_t surface_size(int32_t width, int32_t height, int32_t depth);
/// New surface with its own pixels; sizes 1..65535, depth 8, 16 or 32, at most 0x7FFFFFE0 bytes.
/// `clear` fills it with 0. Null on refusal or failed allocation.
__ORBSurface2D__ *ORBGI2D_CreateGFXSurface(int32_t width, int32_t height, int32_t depth,
                                           uint8_t clear);
/// New record for pixels that the caller owns; `pixels` is null until the caller sets it.
__ORBSurface2D__ *ORBGI2D_CreateGFXSurfaceWrapper(int32_t width, int32_t height, int32_t depth);
/// Resizes a surface that owns its pixels; the old pixels are lost. An unchanged size keeps pixels
/// and centre. 1, or 0 on refusal, with the surface unchanged.
int32_t ORBGI2D_ResizeGFXSurface(__ORBSurface2D__ *surface, int32_t width, int32_t height,
                                 uint8_t reset_centre, uint8_t clear);
/// The same for a wrapper; never allocates.
int32_t ORBGI2D_ResizeGFXSurfaceWrapper(__ORBSurface2D__ *surface, int32_t width, int32_t height,
                                        uint8_t reset_centre, uint8_t clear);
/// Frees the pixels only.
void ORBGI2D_DeleteGFXSurfaceBufferData(__ORBSurface2D__ *surface);
/// Unlinks and frees a surface; null is ignored. A wrapper's pixels and control points stay with
/// the owner of the pixels: free `cpoints` first if nobody else uses them.
void ORBGI2D_DeleteGFXSurface(__ORBSurface2D__ *surface);
/// Deletes every surface, for shutdown: the list itself must be deleted next.
void ORBGI2D_DeleteAllGFXSurfaces();
/// For hosts that expect surfaces to be lost and restored; these never are. 1, or 0 for null.
int32_t ForceSurface(__ORBSurface2D__ *surface);

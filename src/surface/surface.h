// Surfaces: the pixel container of every graph, the screen, the ground and the display wrapper.
//
// `gfxsurfaces` lists every live surface; only surface/surface.cpp writes it.
#pragma once

#include "orb/graphics2d.h"

/// Of a surface, in pixels.
inline constexpr int32_t largest_side = 65535;

struct orb_surface_list {
  uint32_t count;
  __ORBSurface2D__ *head, *tail;
};

extern orb_surface_list *gfxsurfaces;

/// Called with a surface that is about to go, while it is still whole; null while there is nobody
/// to tell. The owner of the requests sets it (blit/blit_list.cpp), so that none of them is left
/// with a surface that is gone.
extern void (*surface_goes)(const __ORBSurface2D__ *surface);

/// The coordinate of a control point that has none, in its low 16 bits; the pivot's stands for the
/// middle.
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

/// Bytes of the pixels of a surface of that size and depth, or 0 for a size that none can have.
uint32_t surface_size(int32_t width, int32_t height, int32_t depth);
/// New surface with its own pixels; sizes 1..65535, depth 8, 16 or 32, at most 0x7FFFFFE0 bytes.
/// `clear` fills it with 0. Null on refusal or failed allocation.
__ORBSurface2D__ *ORBGI2D_CreateGFXSurface(int32_t width, int32_t height, int32_t depth,
                                           uint8_t clear);
/// New record for pixels that somebody else owns; `pixels` is null until they set it.
__ORBSurface2D__ *ORBGI2D_CreateGFXSurfaceWrapper(int32_t width, int32_t height, int32_t depth);
/// Changes the size of an owning surface; the old pixels are lost. An unchanged size keeps pixels
/// and centre. 1, or 0 on refusal with the surface untouched.
int32_t ORBGI2D_ResizeGFXSurface(__ORBSurface2D__ *surface, int32_t width, int32_t height,
                                 uint8_t reset_centre, uint8_t clear);
/// The same for a wrapper; never allocates.
int32_t ORBGI2D_ResizeGFXSurfaceWrapper(__ORBSurface2D__ *surface, int32_t width, int32_t height,
                                        uint8_t reset_centre, uint8_t clear);
/// Frees the pixels only.
void ORBGI2D_DeleteGFXSurfaceBufferData(__ORBSurface2D__ *surface);
/// Unlinks and frees a surface; null is ignored. A wrapper's pixels and control points stay with
/// whoever lent the pixels: free `cpoints` first if nobody else has them.
void ORBGI2D_DeleteGFXSurface(__ORBSurface2D__ *surface);
/// The same for every surface, for shutdown: the list itself must be deleted next.
void ORBGI2D_DeleteAllGFXSurfaces();
/// Published for hosts whose surfaces may be lost and must be brought back; ours never are. 1, or 0
/// for null.
int32_t ForceSurface(__ORBSurface2D__ *surface);

// Creates, resizes and deletes surfaces, and lists them.
#include "surface/surface.h"

#include <cstdlib>

#include "surface/fill.h"
#include "surface/screen.h"

orb_surface_list *gfxsurfaces = nullptr;
void (*surface_goes)(const __ORBSurface2D__ *surface) = nullptr;

// ---- Pixel buffers -----------------------------------------------------------------------------

void *aligned_malloc(uint32_t size) {
  constexpr uint32_t room = 32; // up to 16 bytes to align, and at least 16 for the raw address
  if (size > UINT32_MAX - room) return nullptr;
  void *const raw = malloc(size + room);
  if (!raw) return nullptr;
  void **const block = reinterpret_cast<void **>((reinterpret_cast<uintptr_t>(raw) & ~15u) + room);
  block[-1] = raw;
  return block;
}

void aligned_free(void *block) {
  if (block) free(static_cast<void **>(block)[-1]);
}

// ---- The list ----------------------------------------------------------------------------------

int32_t ORBGI2D_Internal_CreateGFXSurfaceList() {
  gfxsurfaces = static_cast<orb_surface_list *>(calloc(1, sizeof *gfxsurfaces));
  return gfxsurfaces != nullptr;
}

void ORBGI2D_Internal_DeleteGFXSurfaceList() {
  free(gfxsurfaces);
  gfxsurfaces = nullptr;
}

int32_t ORBGI2D_Internal_AddGFXSurfaceOnList(__ORBSurface2D__ *surface) {
  if (!gfxsurfaces || !surface) return 0;
  surface->next = nullptr;
  if (!gfxsurfaces->head) {
    surface->prev = nullptr;
    gfxsurfaces->head = surface;
  } else {
    surface->prev = gfxsurfaces->tail;
    gfxsurfaces->tail->next = surface;
  }
  gfxsurfaces->tail = surface;
  ++gfxsurfaces->count;
  return 1;
}

void ORBGI2D_Internal_DelGFXSurfaceOnList(__ORBSurface2D__ *surface) {
  if (!gfxsurfaces || !surface) return;
  if (surface == gfxsurfaces->head) {
    // QUIRK: when the last surface goes, the tail keeps pointing at it; adding tests only the head.
    gfxsurfaces->head = surface->next;
    if (gfxsurfaces->head) gfxsurfaces->head->prev = nullptr;
  } else if (surface == gfxsurfaces->tail) {
    gfxsurfaces->tail = surface->prev;
    gfxsurfaces->tail->next = nullptr;
  } else {
    surface->prev->next = surface->next;
    surface->next->prev = surface->prev;
  }
  --gfxsurfaces->count;
}

// ---- Records -----------------------------------------------------------------------------------

namespace {

constexpr uint64_t largest_buffer = 0x7FFFFFE0; // bytes: what malloc can give, less the alignment

bool is_depth(int32_t depth) { return depth == 8 || depth == 16 || depth == 32; }

void set_size(__ORBSurface2D__ *surface, int32_t width, int32_t height) {
  surface->width = uint32_t(width);
  surface->height = uint32_t(height);
  surface->pitch = uint32_t(surface->depth >> 3) * surface->width;
  surface->pixel_count = surface->width * surface->height;
  surface->byte_size = surface->pitch * surface->height;
}

void centre_first_cpoint(__ORBSurface2D__ *surface) {
  surface->cpoints[0] = surface->width >> 1;
  surface->cpoints[1] = surface->height >> 1;
}

/// A record with its centre point, without pixels and not on the list; null without memory.
__ORBSurface2D__ *new_record(int32_t width, int32_t height, int32_t depth, bool wrapper) {
  auto *surface = static_cast<__ORBSurface2D__ *>(calloc(1, sizeof(__ORBSurface2D__)));
  if (!surface) return nullptr;
  surface->cpoints = static_cast<uint32_t *>(calloc(3, sizeof(uint32_t)));
  if (!surface->cpoints) {
    free(surface);
    return nullptr;
  }
  surface->is_wrapper = wrapper;
  surface->depth = depth;
  set_size(surface, width, height);
  centre_first_cpoint(surface);
  return surface;
}

/// Frees a record that is not on the list.
void free_record(__ORBSurface2D__ *surface) {
  // QUIRK: a wrapper's control points are not freed: they belong to the owner of its pixels.
  if (!surface->is_wrapper) {
    free(surface->cpoints);
    aligned_free(surface->pixels);
  }
  free(surface);
}

} // namespace

uint32_t surface_size(int32_t width, int32_t height, int32_t depth) {
  if (width < 1 || width > largest_side || height < 1 || height > largest_side) return 0;
  // In 64 bits: 32768 x 32768 x 4 must be refused, not wrap to 0.
  const uint64_t bytes = uint64_t(width) * uint64_t(height) * uint32_t(depth >> 3);
  return bytes <= largest_buffer ? uint32_t(bytes) : 0;
}

__ORBSurface2D__ *ORBGI2D_CreateGFXSurface(int32_t width, int32_t height, int32_t depth,
                                           uint8_t clear) {
  if (!is_depth(depth)) return nullptr;
  const uint32_t bytes = surface_size(width, height, depth);
  if (!bytes) return nullptr;
  __ORBSurface2D__ *const surface = new_record(width, height, depth, false);
  if (!surface) return nullptr;
  surface->pixels = aligned_malloc(bytes);
  if (!surface->pixels) {
    free_record(surface);
    return nullptr;
  }
  if (clear) ORBGI2D_BlitFill(surface, 0, 0);
  if (!ORBGI2D_Internal_AddGFXSurfaceOnList(surface)) {
    free_record(surface);
    return nullptr;
  }
  return surface;
}

__ORBSurface2D__ *ORBGI2D_CreateGFXSurfaceWrapper(int32_t width, int32_t height, int32_t depth) {
  if (!is_depth(depth) || !surface_size(width, height, depth)) return nullptr;
  __ORBSurface2D__ *const surface = new_record(width, height, depth, true);
  if (!surface) return nullptr;
  if (!ORBGI2D_Internal_AddGFXSurfaceOnList(surface)) {
    free(surface->cpoints); // still unshared, so they are freed here
    free_record(surface);
    return nullptr;
  }
  return surface;
}

int32_t ORBGI2D_ResizeGFXSurface(__ORBSurface2D__ *surface, int32_t width, int32_t height,
                                 uint8_t reset_centre, uint8_t clear) {
  if (!surface || surface->is_wrapper) return 0;
  const uint32_t bytes = surface_size(width, height, surface->depth);
  if (!bytes) return 0;
  const bool same_size = uint32_t(width) == surface->width && uint32_t(height) == surface->height;
  if (!same_size || !surface->pixels) {
    void *const pixels = aligned_malloc(bytes);
    if (!pixels) return 0;
    aligned_free(surface->pixels);
    surface->pixels = pixels;
  }
  if (!same_size) {
    set_size(surface, width, height);
    if (reset_centre) centre_first_cpoint(surface);
  }
  if (clear) ORBGI2D_BlitFill(surface, 0, 0);
  return 1;
}

int32_t ORBGI2D_ResizeGFXSurfaceWrapper(__ORBSurface2D__ *surface, int32_t width, int32_t height,
                                        uint8_t reset_centre, uint8_t clear) {
  if (!surface || !surface->is_wrapper || !surface_size(width, height, surface->depth)) return 0;
  if (uint32_t(width) != surface->width || uint32_t(height) != surface->height) {
    set_size(surface, width, height);
    if (reset_centre) centre_first_cpoint(surface);
  }
  if (clear && surface->depth == mode.bpp && surface->pixels) ORBGI2D_BlitFill(surface, 0, 0);
  return 1;
}

void ORBGI2D_DeleteGFXSurfaceBufferData(__ORBSurface2D__ *surface) {
  if (!surface || surface->is_wrapper) return;
  aligned_free(surface->pixels);
  surface->pixels = nullptr;
}

void ORBGI2D_DeleteGFXSurface(__ORBSurface2D__ *surface) {
  if (!surface) return;
  if (surface_goes) surface_goes(surface);
  ORBGI2D_Internal_DelGFXSurfaceOnList(surface);
  free_record(surface);
}

void ORBGI2D_DeleteAllGFXSurfaces() {
  if (!gfxsurfaces) return;
  // The list record is not updated: shutdown deletes it right afterwards.
  for (__ORBSurface2D__ *surface = gfxsurfaces->head; surface;) {
    __ORBSurface2D__ *const next = surface->next;
    free_record(surface);
    surface = next;
  }
  // Both were on the list; they must be null for the next init.
  ground = screen = nullptr;
  ground_puting = background_changed = 0;
}

int32_t ForceSurface(__ORBSurface2D__ *surface) { return surface != nullptr; }

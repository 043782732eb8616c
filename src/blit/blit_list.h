// Blit lists: requests collected during a frame, sorted by depth, drawn, and dropped.
//
// `pBlitLists2D` holds all lists, `pBlitList2D` is the current one; only blit/blit_list.cpp writes
// them. `graphics2D_blitlist` is the index of the module's own list "GRAPHICS2D".
#pragma once

#include "orb/graphics2d.h"

struct orb_blit_lists {
  uint32_t capacity;   // records allocated
  uint32_t count;      // lists created
  uint32_t next_index; // index of the next list
  orb_blit_list *lists;
};

extern orb_blit_lists *pBlitLists2D;
extern orb_blit_list *pBlitList2D;
extern int32_t graphics2D_blitlist;

int32_t ORBGI2D_Internal_CreateBlitLists(); // 0 on failed allocation
int32_t ORBGI2D_Internal_ResizeBlitLists(); // 1; failures are fatal
void ORBGI2D_Internal_DeleteBlitLists();

/// Creates a list and makes it current. Returns its index, or -1 for a null name, capacity 0 or
/// 0xFFFFFFFF, or step 0.
int32_t CreateBlitList(const char *name, uint32_t capacity, uint32_t step);
int32_t UseBlitList(int32_t index); // 1, or 0 for an unknown index
/// The next free request, growing the list when needed. Not cleared: the caller sets every field.
__ORBBlit2D__ *GetAndUpdateBlitList();
int32_t ResizeBlitList();
/// Sorts the requests into drawing order (blit/depth_sort.h).
void SortBlitList();
/// Copies most of a caller's request over request `index`. Returns the index, or -1.
int32_t ChangeBlitList(int32_t index, const __ORBBlit2D__ *request);
void ResetBlitList();
/// Disables the pending requests, in any list, that read or draw on a surface about to be freed.
void forget_surface(const __ORBSurface2D__ *surface);
orb_blit_list *GetPtrBlitList();
int32_t GetNumsBlitOnList();
/// Request `index`, or null.
__ORBBlit2D__ *GetNumBlitOnList(int32_t index);

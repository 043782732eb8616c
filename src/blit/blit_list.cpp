#include "blit/blit_list.h"

#include <sys/mman.h>

#include <algorithm>
#include <bit>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <span>

#include "blit/depth_sort.h"
#include "boundary/runtime.h"
#include "surface/surface.h"

orb_blit_lists *pBlitLists2D;
orb_blit_list *pBlitList2D;
int32_t graphics2D_blitlist;

namespace {

constexpr uint32_t registry_step = 4;
constexpr uint32_t registry_limit = 2147483647;
constexpr uint32_t request_limit = 4294967294;

/// Memory on huge pages, if it is large and the system has them: drawing order scatters requests, and
/// with small pages nearly every one of a long list misses the TLB. Null when there is no memory.
void *allocate(uint64_t bytes) {
  constexpr size_t huge_page = 2 << 20;
  if (bytes > PTRDIFF_MAX - huge_page) return nullptr;
  if (bytes < huge_page) return malloc(size_t(bytes));
  const size_t whole_pages = (size_t(bytes) + huge_page - 1) & ~(huge_page - 1);
  void *const memory = aligned_alloc(huge_page, whole_pages);
  if (memory) madvise(memory, whole_pages, MADV_HUGEPAGE);
  return memory;
}

/// The records that an array of `count` has room for: lists grow by small steps, and so seldom move.
constexpr uint64_t room_for(uint64_t count) { return std::bit_ceil(count); }

/// The array with `to` records instead of `from`, the new ones zeroed. Null without memory; the old
/// array is kept then.
template <typename T> T *grow_array(T *array, uint64_t from, uint64_t to) {
  if (to * sizeof(T) > PTRDIFF_MAX) return nullptr;
  T *larger = array;
  if (!array || room_for(to) > room_for(from)) {
    larger = static_cast<T *>(allocate(room_for(to) * sizeof(T)));
    if (!larger) return nullptr;
    if (array) memcpy(larger, array, size_t(from) * sizeof(T));
    free(array);
  }
  memset(larger + from, 0, size_t(to - from) * sizeof(T));
  return larger;
}

/// `count` zeroed records, or null.
template <typename T> T *new_array(uint64_t count) { return grow_array<T>(nullptr, 0, count); }

/// Reports "<name><text>"; a name too long for the buffer is cut, never the text.
void list_fatal(const char *name, const char *text) {
  char message[300];
  const int room = int(sizeof message - 1 - strlen(text));
  snprintf(message, sizeof message, "%.*s%s", room, name, text);
  rt_fatal(message);
}

void free_list(const orb_blit_list &list) {
  free(list.name);
  free(list.requests);
  free(list.order);
}

} // namespace

int32_t ORBGI2D_Internal_CreateBlitLists() {
  orb_blit_list *lists = new_array<orb_blit_list>(registry_step);
  pBlitLists2D = new_array<orb_blit_lists>(1);
  pBlitList2D = nullptr;
  if (!lists || !pBlitLists2D) {
    free(lists);
    free(pBlitLists2D);
    pBlitLists2D = nullptr;
    return 0;
  }
  *pBlitLists2D = {registry_step, 0, 0, lists};
  surface_goes = forget_surface;
  return 1;
}

int32_t ORBGI2D_Internal_ResizeBlitLists() {
  if (pBlitLists2D->capacity == registry_limit) {
    rt_fatal("GRAPHICS2D: BLIT2D lists out of capacity");
    return 0;
  }
  const uint64_t capacity =
      std::min<uint64_t>(uint64_t(pBlitLists2D->capacity) + registry_step, registry_limit);
  const ptrdiff_t current = pBlitList2D ? pBlitList2D - pBlitLists2D->lists : -1;
  orb_blit_list *lists = grow_array(pBlitLists2D->lists, pBlitLists2D->capacity, capacity);
  if (!lists) {
    rt_fatal("GRAPHICS2D: Error to Resize BLIT2D list");
    return 0;
  }
  pBlitLists2D->lists = lists;
  pBlitLists2D->capacity = uint32_t(capacity);
  if (current >= 0) pBlitList2D = lists + current;
  return 1;
}

void ORBGI2D_Internal_DeleteBlitLists() {
  if (!pBlitLists2D) return;
  surface_goes = nullptr;
  for (uint32_t i = 0; i < pBlitLists2D->count; ++i)
    free_list(pBlitLists2D->lists[i]);
  free(pBlitLists2D->lists);
  free(pBlitLists2D);
  pBlitLists2D = nullptr;
  pBlitList2D = nullptr;
  free_sort_scratch();
}

int32_t CreateBlitList(const char *name, uint32_t capacity, uint32_t step) {
  if (!pBlitLists2D || !name || capacity < 1 || capacity == UINT32_MAX || step < 1) return -1;
  if (pBlitLists2D->count == pBlitLists2D->capacity && !ORBGI2D_Internal_ResizeBlitLists())
    return -1;

  orb_blit_list list = {strdup(name), capacity, step, 0, capacity, nullptr, nullptr};
  const char *failure = ": Error to create BLIT2D space";
  if (list.name) list.requests = new_array<__ORBBlit2D__>(capacity);
  if (list.requests) {
    failure = ": Error to create BLIT2DZOrder table";
    list.order = new_array<__ORBBlit2D__ *>(capacity);
  }
  if (!list.order) {
    list_fatal(name, failure);
    free_list(list);
    return -1;
  }

  const uint32_t index = pBlitLists2D->next_index++;
  ++pBlitLists2D->count;
  pBlitLists2D->lists[index] = list;
  pBlitList2D = &pBlitLists2D->lists[index];
  return int32_t(index);
}

int32_t UseBlitList(int32_t index) {
  if (!pBlitLists2D || uint32_t(index) >= pBlitLists2D->count) return 0;
  pBlitList2D = &pBlitLists2D->lists[index];
  return 1;
}

/// Lists grow when the last slot is taken, so that one is always free.
__ORBBlit2D__ *GetAndUpdateBlitList() {
  if (!pBlitList2D) return nullptr;
  const uint32_t used = pBlitList2D->used + 1;
  if (used >= pBlitList2D->capacity && !ResizeBlitList()) return nullptr;
  pBlitList2D->used = used;
  return &pBlitList2D->requests[used - 1];
}

/// Grows the current list by its step. Returns 1, or 0 after a fatal report with the list
/// unchanged.
int32_t ResizeBlitList() {
  if (!pBlitList2D) return 0;
  orb_blit_list &list = *pBlitList2D;
  if (list.capacity == request_limit) {
    list_fatal(list.name, ": BLIT2D list out of capacity");
    return 0;
  }
  const uint64_t capacity = std::min<uint64_t>(uint64_t(list.capacity) + list.step, request_limit);

  const uintptr_t old_address = reinterpret_cast<uintptr_t>(list.requests);
  __ORBBlit2D__ *const requests = grow_array(list.requests, list.capacity, capacity);
  if (!requests) {
    list_fatal(list.name, ": Error to resize BLIT2D list");
    return 0;
  }
  list.requests = requests;
  // The array may move while a frame is drawn: an operation may take requests.
  const auto moved = [=](const __ORBBlit2D__ *request) {
    return requests + (reinterpret_cast<uintptr_t>(request) - old_address) / sizeof *requests;
  };
  if (reinterpret_cast<uintptr_t>(requests) != old_address) {
    for (uint32_t i = 0; i < list.order_capacity; ++i)
      if (list.order[i]) list.order[i] = moved(list.order[i]);
  }

  __ORBBlit2D__ **order = grow_array(list.order, list.order_capacity, capacity);
  if (!order) {
    list_fatal(list.name, ": Error to resize BLIT2DZOrder table");
    return 0;
  }
  list.order = order;
  list.capacity = list.order_capacity = uint32_t(capacity);
  return 1;
}

/// QUIRK: keeps `drawn`, the first two reserved words after the drawn box, `tfmorder`,
/// `own_region`, the reserved word before `src`, and `dst` instead of copying the whole request.
int32_t ChangeBlitList(int32_t index, const __ORBBlit2D__ *request) {
  if (!request || !pBlitList2D || uint32_t(index) >= pBlitList2D->used) return -1;
  __ORBBlit2D__ &to = pBlitList2D->requests[index];
  __ORBBlit2D__ changed = *request;
  changed.drawn = to.drawn;
  changed.reserved0[0] = to.reserved0[0];
  changed.reserved0[1] = to.reserved0[1];
  changed.tfmorder = to.tfmorder;
  changed.own_region = to.own_region;
  changed.reserved2 = to.reserved2;
  changed.dst = to.dst;
  to = changed;
  return index;
}

void SortBlitList() {
  if (pBlitList2D && pBlitList2D->used) sort_by_depth(*pBlitList2D);
}

void ResetBlitList() {
  if (pBlitList2D) pBlitList2D->used = 0;
}

void forget_surface(const __ORBSurface2D__ *surface) {
  if (!pBlitLists2D) return;
  for (uint32_t i = 0; i < pBlitLists2D->count; ++i) {
    const orb_blit_list &list = pBlitLists2D->lists[i];
    for (__ORBBlit2D__ &request : std::span(list.requests, list.used)) {
      if (request.src != surface && request.dst != surface) continue;
      request.blit_op = nullptr;
      request.src = request.dst = nullptr;
    }
  }
}

orb_blit_list *GetPtrBlitList() { return pBlitList2D; }

int32_t GetNumsBlitOnList() { return pBlitList2D ? int32_t(pBlitList2D->used) : 0; }

__ORBBlit2D__ *GetNumBlitOnList(int32_t index) {
  if (!pBlitList2D || uint32_t(index) >= pBlitList2D->used) return nullptr;
  return &pBlitList2D->requests[index];
}

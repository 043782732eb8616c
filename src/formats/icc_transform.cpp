#include "formats/icc_transform.h"

#include <cstdlib>
#include <cstring>

#include <lcms2_plugin.h>

/// The header of every block, as large as malloc's alignment.
struct alignas(16) icc_block {
  icc_block *next, *previous;
  uint32_t size;
};

namespace {

/// LittleCMS asks for more than this only when a profile lies, and then handles a null pointer.
constexpr uint32_t largest_request = 512u << 20;

void link_block(icc_transform *owner, icc_block *block) {
  block->previous = nullptr;
  block->next = owner->blocks;
  if (block->next) block->next->previous = block;
  owner->blocks = block;
}

void unlink_block(icc_transform *owner, const icc_block *block) {
  if (block->next) block->next->previous = block->previous;
  (block->previous ? block->previous->next : owner->blocks) = block->next;
}

icc_transform *owner_of(cmsContext context) {
  return static_cast<icc_transform *>(cmsGetContextUserData(context));
}

void *take(cmsContext context, cmsUInt32Number size) {
  if (size > largest_request) return nullptr;
  icc_transform *const owner = owner_of(context);
  auto *const block = static_cast<icc_block *>(malloc(sizeof(icc_block) + size));
  if (!block) {
    // LittleCMS cannot abort while it creates a context: it is already in its list of contexts.
    if (owner->context) give_up(owner->guard, error_out_of_memory);
    return nullptr;
  }
  block->size = size;
  link_block(owner, block);
  return block + 1;
}

void give_back(cmsContext context, void *memory) {
  if (!memory) return;
  icc_block *const block = static_cast<icc_block *>(memory) - 1;
  unlink_block(owner_of(context), block);
  free(block);
}

void *resize(cmsContext context, void *memory, cmsUInt32Number size) {
  void *const moved = take(context, size);
  if (!moved || !memory) return moved;
  const uint32_t former_size = (static_cast<icc_block *>(memory) - 1)->size;
  memcpy(moved, memory, former_size < size ? former_size : size);
  give_back(context, memory);
  return moved;
}

cmsPluginMemHandler memory_handler = {
    .base = {cmsPluginMagicNumber, 2060, cmsPluginMemHandlerSig, nullptr},
    .MallocPtr = take,
    .FreePtr = give_back,
    .ReallocPtr = resize,
};

} // namespace

void make_icc_transform(icc_transform *make, jpeg_guard *guard, const void *profile,
                        uint32_t size) {
  make->guard = guard;
  make->context = cmsCreateContext(&memory_handler, make);
  if (!make->context) give_up(guard, error_out_of_memory);
  const cmsHPROFILE from = cmsOpenProfileFromMemTHR(make->context, profile, size);
  if (!from) return;
  if (cmsGetColorSpace(from) == cmsSigCmykData) {
    const cmsHPROFILE to = cmsCreate_sRGBProfileTHR(make->context);
    if (to)
      make->transform = cmsCreateTransformTHR(make->context, from, TYPE_CMYK_8_REV, to, TYPE_BGRA_8,
                                              INTENT_PERCEPTUAL, 0);
    if (to) cmsCloseProfile(to);
  }
  cmsCloseProfile(from);
}

void end_icc_transform(icc_transform *made) {
  if (made->transform) cmsDeleteTransform(made->transform);
  if (made->context) cmsDeleteContext(made->context);
  while (icc_block *const block = made->blocks) {
    made->blocks = block->next;
    free(block);
  }
  *made = {};
}

/* The public header as a C99 compiler reads it; abi_test.cpp looks at the offsets. */
#include "orb/graphics2d.h"

#define MEMBERS(M)                                                                                 \
  M(orb_runtime, rt_return)                                                                        \
  M(orb_runtime, rt_video_hooks)                                                                   \
  M(orb_device2d, fade_on)                                                                         \
  M(orb_device_system, screen)                                                                     \
  M(__ORBBlit2D__, blit_op)                                                                        \
  M(__ORBSurface2D__, next)                                                                        \
  M(orb_locals, fxintensity)                                                                       \
  M(orb_process, locals)                                                                           \
  M(orb_registration, reg_runtime)                                                                 \
  M(orb_map_slot, memory_usage)

#define NAME(type, member)   #type "." #member,
#define OFFSET(type, member) offsetof(type, member),

extern const char *const orb_c_member_names[];
extern const unsigned orb_c_member_offsets[], orb_c_members;

const char *const orb_c_member_names[] = {MEMBERS(NAME)};
const unsigned orb_c_member_offsets[] = {MEMBERS(OFFSET)};
const unsigned orb_c_members = sizeof orb_c_member_offsets / sizeof *orb_c_member_offsets;

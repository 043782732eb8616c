// Span routines, their tables and their directory.
//
// A span routine takes and returns nothing: it reads the blit state, gathers source pixels as its
// operation requires, and passes them to the kernel that does the pixel arithmetic. The tables are
// constant, one set per instruction set; set_blitter_routines() points the names below at one set.
#pragma once

#include <span>

#include "blit/blit_state.h"
#include "blit/kernels.h"
#include "blit/routine.h"
#include "simd/cpu.h"

/// The span tables in use. Draw, scale and rotscale tables have 3 columns (keyed, ghost, no key)
/// per effect, tile tables 2 (keyed, no key), alpha-channel tile tables 1; 13 effects at 8 bits,
/// else 42. Missing entries are null.
// name(variable, operation, table)
// clang-format off
#define ORB_SPAN_TABLES(name)                                          \
  name(SOFT_drawloop8, draw, t8)                                       \
  name(SOFT_drawloop16, draw, t16)                                     \
  name(SOFT_drawloop_alpha16, draw, alpha16)                           \
  name(SOFT_drawloop32, draw, t32)                                     \
  name(SOFT_drawloop_alpha32, draw, alpha32)                           \
  name(SOFT_drawloop_alphachn32, draw, alphachn32)                     \
  name(SOFT_drawloop_alphaalphachn32, draw, alphaalphachn32)           \
  name(SOFT_scaleloop8, scale, t8)                                     \
  name(SOFT_scaleloop16, scale, t16)                                   \
  name(SOFT_scaleloop_alpha16, scale, alpha16)                         \
  name(SOFT_scaleloop32, scale, t32)                                   \
  name(SOFT_scaleloop_alpha32, scale, alpha32)                         \
  name(SOFT_scaleloop_alphachn32, scale, alphachn32)                   \
  name(SOFT_scaleloop_alphaalphachn32, scale, alphaalphachn32)         \
  name(SOFT_rotscaleloop8, rotscale, t8)                               \
  name(SOFT_rotscaleloop16, rotscale, t16)                             \
  name(SOFT_rotscaleloop_alpha16, rotscale, alpha16)                   \
  name(SOFT_rotscaleloop32, rotscale, t32)                             \
  name(SOFT_rotscaleloop_alpha32, rotscale, alpha32)                   \
  name(SOFT_rotscaleloop_alphachn32, rotscale, alphachn32)             \
  name(SOFT_rotscaleloop_alphaalphachn32, rotscale, alphaalphachn32)   \
  name(SOFT_tileloop8, tile, t8)                                       \
  name(SOFT_tileloop16, tile, t16)                                     \
  name(SOFT_tileloop_alpha16, tile, alpha16)                           \
  name(SOFT_tileloop32, tile, t32)                                     \
  name(SOFT_tileloop_alpha32, tile, alpha32)                           \
  name(SOFT_tileloop_alphachn32, tile, alphachn32)                     \
  name(SOFT_tileloop_alphaalphachn32, tile, alphaalphachn32)
// clang-format on

#define ORB_DECLARE_SPAN_TABLE(variable, op, table) extern span_routine *const *variable;
ORB_SPAN_TABLES(ORB_DECLARE_SPAN_TABLE)
#undef ORB_DECLARE_SPAN_TABLE

/// The table in use of an operation.
template <span_op in> span_routine *const *span_table_in_use(span_table table) {
  using enum span_op;
  static span_routine *const **const variables[] = {
#define ORB_VARIABLE(variable, op, table) in == op ? &variable : nullptr,
      ORB_SPAN_TABLES(ORB_VARIABLE)
#undef ORB_VARIABLE
  };
  return *variables[int(in) * span_table_count + int(table)];
}

/// The constant table of an operation for an instruction set, with `table_size(op, table)` entries.
span_routine *const *span_table_entries(instruction_set isa, span_op op, span_table table);

/// The instruction set in use.
instruction_set span_instruction_set();

/// A routine of the directory. Names consist of operation, depths, key, alpha and effect:
/// "scale_16to16_nokey_tint", "draw_32to32_alphasrc_alphachn".
struct span_directory_entry {
  const char *name;
  span_op op;
  span_routine_id id;
};

/// All 1452 routines.
std::span<const span_directory_entry> span_directory();
/// A directory entry's routine for an instruction set, whether or not the CPU supports it.
span_routine *routine_of(const span_directory_entry &entry, instruction_set isa);

/// The four ways to gather pixels for a kernel: draw takes the whole rectangle, scale and rotscale
/// the rows of the blit state or one, tile the clip rectangle. `copies`: the kernel puts every
/// pixel down as it is, but for an alpha channel.
void span_draw(span_kernel *kernel);
void span_scale(span_kernel *kernel, instruction_set isa, bool copies);
void span_rotscale(span_kernel *kernel, instruction_set isa);
void span_tile(span_kernel *kernel);

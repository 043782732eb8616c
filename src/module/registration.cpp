// The module's entry: hands its tables to the host and takes the host's runtime table.
#include <cstring>

#include "boundary/records.h"
#include "module/module.h"

// clang-format off
const char *const globals_declaration =
    "int dump_type              = 1;"
    "int restore_type           = 1;"
    "int fading                 = 0;"
    "int fps                    = 0;"
    "int num_video_modes        = 0;"
    "int num_video_bits         = 0;"
    "int num_video_rates        = 0;"
    "int vsync                  = 0;"
    "int draw_z                 = -255;"
    "int draw_destination_file  = 0;"
    "int draw_destination_graph = 0;"
    "int draw_visible           = 1;"
    "struct video_modes[64] "
      "int wide   = 0;"
      "int width  = 0;"
      "int height = 0;"
      "int mode   = 0;"
    "end "
    "struct video_bits[3] "
      "int bpp = 0;"
    "end "
    "struct video_rates[32] "
      "int rate = 0;"
    "end ";

// In the order of `orb_locals`.
const char *const locals_declaration =
    "int  file              = 0;"
    "int  graph             = 0;"
    "int *xgraph            = 0;"
    "int  x                 = 0;"
    "int  y                 = 0;"
    "int  z                 = 0;"
    "int  visible           = 1;"
    "int  region            = 0;"
    "int  resolution        = 0;"
    "int  destination_file  = 0;"
    "int  destination_graph = 0;"
    "int  tfmorder          = 0;"
    "int  angle             = 0;"
    "int  size              = 100;"
    "int  size_x            = 100;"
    "int  size_y            = 100;"
    "int  shear_x           = 0;"
    "int  shear_y           = 0;"
    "int  flags             = 0;"
    "int  alpha             = 255;"
    "int  fxmode            = 0;"
    "int  fxcolor           = 0;"
    "int  fxintensity       = 0;";
// clang-format on

namespace {

/// Its effect is up to the host.
constexpr int32_t module_flags = 32768;

} // namespace

/// Registers everything with the host. Always 1. The tables are copies on the stack: a host must
/// copy them before each call returns, so it cannot come to depend on the module's own.
__attribute__((visibility("default"))) int32_t
ORB_mod_graphics2D_MainLibraryExports(const orb_registration *registration) {
  orb_constant constants[sizeof constants_table / sizeof *constants_table];
  orb_function functions[sizeof functions_table / sizeof *functions_table];
  memcpy(constants, constants_table, sizeof constants);
  memcpy(functions, functions_table, sizeof functions);
  static const orb_hook hooks[] = {
      {ORB_HOOK_INIT, ORB_mod_graphics2D_init},
      {ORB_HOOK_FRAME, ORB_mod_graphics2D_frame},
      {ORB_HOOK_RELEASE, ORB_mod_graphics2D_release},
      {0, nullptr},
  };

  registration->reg_constants(constants);
  registration->reg_globals(globals_declaration);
  registration->reg_locals(locals_declaration);
  registration->reg_functions(functions);
  registration->reg_hooks(hooks);
  registration->reg_flags(module_flags);
  orbre = registration->reg_runtime();
  return 1;
}

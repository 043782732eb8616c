#include "orb_host.h"

#include "module/module.h"
#include "surface/ghost_table.h"
#include "surface/palette.h"

namespace orbbench {

namespace {

/// The picture fades in during the first frames, and after set-mode; a benchmark wants none of it.
void end_fades(orbhost::Host &host) {
  for (int i = 0; i < 1000 && host.global("fading") != 0; ++i)
    host.frame();
}

} // namespace

orbhost::Host &host_at_depth(int depth) {
  static orbhost::Host host;
  static int current = 0;
  if (current == 0) {
    host.attach(ORB_mod_graphics2D_MainLibraryExports);
    host.init();
  }
  if (depth != current) {
    if (host.call("mode_set", {host_width, host_height, depth}) != 1)
      throw orbhost::HostError("no mode of that depth");
    end_fades(host);
    current = depth;
  }
  return host;
}

const orbhost::Function &function_form(const orbhost::Host &host, const std::string &signature) {
  for (const orbhost::Function &function : host.registration().functions)
    if (function.signature == signature) return function;
  throw orbhost::HostError("no " + signature);
}

uint8_t ghost_mix(uint8_t sprite, uint8_t background) {
  host_at_depth(8);
  if (fake_ghost_table) update_ghost_table();
  return table_ghost8[sprite * 256 + background];
}

} // namespace orbbench

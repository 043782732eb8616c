#include "targets.h"

#include <fnmatch.h>

namespace orbbench {

namespace {

struct target_row {
  const char *rows; // a pattern of the shell's; the first that fits counts
  target must_reach;
};

// A row that can't be reached on one maker's CPUs names it, and docs/decisions.md gives the reason.
constexpr target_row targets[] = {
    {"blit/opaque copy/8bit/16x16", {1.1}},
    {"blit/opaque copy/*", {0.95}},

    {"blit/keyed copy/8bit/16x16", {1.1}},
    {"blit/keyed copy/32bit/16x16", {1.0}},
    {"blit/keyed copy/32bit/64x64", {1.1}},
    {"blit/keyed copy/32bit/256x256", {1.05}},
    {"blit/keyed copy/32bit/1280x720", {0.9, "AMD"}},
    {"blit/keyed copy/*/256x256", {0.9}},
    {"blit/keyed copy/*/32x32", {1.3}},
    {"blit/keyed copy/*/64x64", {1.3}},

    {"blit/keyed mirrored/8bit/16x16", {1.1}},
    {"blit/keyed mirrored/32bit/64x64", {3.5}},
    {"blit/keyed mirrored/*/16x16", {}},
    {"blit/keyed mirrored/*", {3}},

    {"blit/keyed ghost/8bit/16x16", {1.0}},
    {"blit/keyed ghost/8bit/64x64", {1.25}},
    {"blit/keyed ghost/8bit/256x256", {1.4}},
    {"blit/keyed ghost/8bit/*", {}},
    {"blit/keyed ghost/*/16x16", {}},
    {"blit/keyed ghost/*", {2}},

    {"blit/opaque alpha/32bit/*", {0.95}},
    {"blit/keyed alpha/*/16x16", {}},
    {"blit/keyed alpha/16bit/*", {1.5}},
    {"blit/keyed alpha/32bit/*", {1.2}},

    {"blit/keyed over/32bit/16x16", {1.0}},
    {"blit/keyed over/*", {1.15}},

    {"blit/keyed additive/*/16x16", {}},
    {"blit/keyed additive/16bit/*", {8}},
    {"blit/keyed additive/32bit/*", {0.95}},
    {"blit/opaque multiply/32bit/16x16", {0.9, "AMD"}},
    {"blit/opaque multiply/32bit/*", {0.9}},
    {"blit/keyed multiply/*/16x16", {}},
    {"blit/keyed multiply/16bit/*", {8}},
    {"blit/keyed multiply/32bit/*", {9}},
    {"blit/keyed screen/*/16x16", {}},
    {"blit/keyed screen/16bit/*", {8}},
    {"blit/keyed screen/32bit/*", {6}},

    {"blit/keyed scale 1.7/*/16x16", {1.0}},
    {"blit/keyed scale 1.7/8bit/64x64", {2.8}},
    {"blit/keyed scale 1.7/16bit/64x64", {3}},
    {"blit/keyed scale 1.7/32bit/64x64", {2}},
    {"blit/keyed scale 1.7/*", {1.5}},
    {"blit/opaque scale 1.7/8bit/64x64", {2.2}},
    {"blit/opaque scale 1.7/16bit/64x64", {1.2}},
    {"blit/opaque scale 1.7/32bit/64x64", {1.1}},
    {"blit/opaque scale 0.5/8bit/*", {1.0, "AMD"}},
    {"blit/opaque scale 0.5/*", {0.9}},
    {"blit/opaque scale 2/32bit/*", {0.95}},

    {"blit/keyed rotate/32bit/16x16", {1.0}},
    {"blit/keyed rotate/*/16x16", {}},
    {"blit/keyed rotate/8bit/64x64", {2.1, "AMD"}},
    {"blit/keyed rotate/16bit/64x64", {1.3}},
    {"blit/keyed rotate/32bit/64x64", {1.1}},
    {"blit/keyed rotate/*", {1.3}},

    {"blit/keyed tile/32bit/64x64", {2.0, "AMD"}},
    {"blit/keyed tile/32bit/256x256", {2.0, "AMD"}},
    {"blit/keyed tile/32bit/*", {2.0}},
    {"blit/opaque tile/*/16x16", {}},
    {"blit/opaque tile/*", {1.3}},

    {"frames/1000 sprites/32bit", {1.3}},
    {"frames/10000 sprites/32bit", {1.3}},
    {"frames/100000 sprites/32bit", {1.0}},

    {"crowd/2000 ask the pointer/*", {}},
    {"crowd/8000 ask 800/*", {0.94}},
    {"crowd/*", {1.0}},   // a plain loop of Lua over its own tables
    {"palette/*", {0.5}}, // the same pictures at 32 bits
};

} // namespace

target target_of(const std::string &row) {
  for (const target_row &t : targets)
    if (fnmatch(t.rows, row.c_str(), 0) == 0) return t.must_reach;
  return {};
}

} // namespace orbbench

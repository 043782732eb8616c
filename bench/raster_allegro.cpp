// Allegro 4's primitives, which are found through a bitmap's table of functions.
//
// The library is opened by hand for what is not, apart from the program's own symbols: names such
// as `screen` are in both.
#define ALLEGRO_NO_MAGIC_MAIN
#include <allegro.h>

#include <dlfcn.h>

#include <memory>

#include "raster_peers.h"

namespace orbbench {

namespace {

struct allegro_library {
  decltype(&::_install_allegro_version_check) install = nullptr;
  decltype(&::create_bitmap_ex) create = nullptr;
  decltype(&::destroy_bitmap) destroy = nullptr;
  bool there = false;

  allegro_library() {
    void *const handle = dlopen("liballeg.so.4.4", RTLD_NOW | RTLD_LOCAL | RTLD_DEEPBIND);
    if (!handle) return;
    const auto find = [handle](auto &function, const char *name) {
      function = reinterpret_cast<std::decay_t<decltype(function)>>(dlsym(handle, name));
    };
    find(install, "_install_allegro_version_check");
    find(create, "create_bitmap_ex");
    find(destroy, "destroy_bitmap");
    static int error;
    constexpr int version = MAKE_VERSION(ALLEGRO_VERSION, ALLEGRO_SUB_VERSION, ALLEGRO_WIP_VERSION);
    there = install && create && destroy && install(SYSTEM_NONE, &error, nullptr, version) == 0;
  }
};

void draw(BITMAP *to, figure_kind kind, const figure &f) {
  constexpr int colour = 0x55;
  const int x = f.middle_x(), y = f.middle_y(), rx = f.radius_x(), ry = f.radius_y();
  switch (kind) {
  case figure_kind::span: hline(to, f.x0, f.y0, f.x1, colour); break;
  case figure_kind::box: rectfill(to, f.x0, f.y0, f.x1, f.y1, colour); break;
  case figure_kind::line: line(to, f.x0, f.y0, f.x1, f.y1, colour); break;
  case figure_kind::circle: circle(to, x, y, rx, colour); break;
  case figure_kind::disc: circlefill(to, x, y, rx, colour); break;
  case figure_kind::ellipse: ellipse(to, x, y, rx, ry, colour); break;
  case figure_kind::filled_ellipse: ellipsefill(to, x, y, rx, ry, colour); break;
  }
}

} // namespace

figure_drawing draw_with_allegro(const figure_scene &scene) {
  static const allegro_library library;
  if (!library.there) return {};
  const std::shared_ptr<BITMAP> target(
      library.create(scene.depth, scene.target.width, scene.target.height), library.destroy);
  if (!target) return {};
  return [target, scene] {
    for (const figure &f : scene.figures)
      draw(target.get(), scene.kind, f);
  };
}

} // namespace orbbench

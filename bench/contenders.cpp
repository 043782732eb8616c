// The contenders of this build: those whose headers CMake found.
#include "contender.h"

namespace orbbench {

const contender_list &contenders() {
  static const contender_list list = [] {
    contender_list all;
    add_orb(all);
    add_memcpy(all);
    add_sdl12(all);
#ifdef ORB_BENCH_SDL2
    add_sdl2(all);
#endif
#ifdef ORB_BENCH_ALLEGRO
    add_allegro(all);
#endif
#ifdef ORB_BENCH_PIXMAN
    add_pixman(all);
#endif
#ifdef ORB_BENCH_QT5
    add_qt5(all);
#endif
#ifdef ORB_BENCH_LIBYUV
    add_libyuv(all);
#endif
    return all;
  }();
  return list;
}

std::vector<std::string> missing_peers() {
  return {
#ifndef ORB_BENCH_SDL2
      "sdl2",
#endif
#ifndef ORB_BENCH_ALLEGRO
      "allegro",
#endif
#ifndef ORB_BENCH_PIXMAN
      "pixman",
#endif
#ifndef ORB_BENCH_QT5
      "qt5",
#endif
#ifndef ORB_BENCH_LIBYUV
      "libyuv",
#endif
  };
}

} // namespace orbbench

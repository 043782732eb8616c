#!/bin/sh
# Installs the build into a temporary folder and builds the host of examples/host_in_c against it,
# once with pkg-config and once with the CMake package; both must draw the picture of its guide.
# usage: check_install.sh BUILD_DIR [TOOLCHAIN_FILE [SYSROOT]]
root=$(cd -- "$(dirname -- "$0")/../.." && pwd) || exit 1
build=$1 toolchain=${2-} sysroot=${3-}
work=$(mktemp -d) || exit 1
trap 'rm -rf "$work"' EXIT
prefix=$work/prefix

fail() {
  echo "FAILED: $*" >&2
  exit 1
}

run() {
  if [ -n "$toolchain" ]; then
    LD_LIBRARY_PATH=$libdir ORB_SYSROOT=$sysroot "$root/tools/run32" "$@"
  else
    LD_LIBRARY_PATH=$libdir "$@"
  fi
}

cmake --install "$build" --prefix "$prefix" || fail "cmake --install"
pc=$(find "$prefix" -name orb_graphics2d.pc)
libdir=$(dirname -- "$(dirname -- "$pc")")
[ -f "$prefix/include/orb/graphics2d.h" ] || fail "no header"
[ "$(readlink "$libdir/libORB_mod_graphics2D.so")" = libORB_mod_graphics2D.so.1 ] ||
  fail "libORB_mod_graphics2D.so is no link to libORB_mod_graphics2D.so.1"

# A program that opens the installed module: what was drawn, compared.
check_host() {
  rm -f "$work/host.png"
  printed=$(cd -- "$work" && export SDL_VIDEODRIVER=dummy && run "$1") || fail "$1"
  [ "$printed" = "152 constants, 310 functions
ball 1 covers 24,60 to 56,91" ] || fail "$1 printed: $printed"
  [ ! -x "$prefix/bin/orbgfx" ] ||
    run "$prefix/bin/orbgfx" diff "$root/docs/pictures/host_in_c.png" "$work/host.png" ||
    fail "$1 drew another picture, or the installed orbgfx doesn't work"
}

flags=$(PKG_CONFIG_LIBDIR=$libdir/pkgconfig pkg-config --cflags --libs orb_graphics2d) ||
  fail "pkg-config"
echo "pkg-config: $flags"
if [ -n "$toolchain" ]; then
  compiler="clang --target=i686-linux-gnu --sysroot=$sysroot -fuse-ld=lld"
else
  compiler="cc -m32"
fi
# The test need not find the module's own libraries.
$compiler -std=c99 -Wall -Wextra -Werror -o "$work/host" "$root/examples/host_in_c/host.c" $flags \
  -Wl,--allow-shlib-undefined || fail "building with pkg-config"
check_host "$work/host"

if [ -n "$toolchain" ]; then
  set -- -DCMAKE_TOOLCHAIN_FILE="$toolchain" -DORB_SYSROOT="$sysroot"
else
  set -- -DCMAKE_C_FLAGS=-m32
fi
cmake -G Ninja -S "$root/examples/host_in_c" -B "$work/build" "$@" \
  -DCMAKE_PREFIX_PATH="$prefix" >"$work/log" 2>&1 &&
  cmake --build "$work/build" >>"$work/log" 2>&1 || {
  cat "$work/log"
  fail "building with find_package"
}
check_host "$work/build/host"

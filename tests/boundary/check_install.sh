#!/bin/sh
# Installs the build into a temporary folder and builds a C program against it, once with
# pkg-config and once with the CMake package; both must run.
# usage: check_install.sh BUILD_DIR [TOOLCHAIN_FILE [SYSROOT]]
here=$(cd -- "$(dirname -- "$0")" && pwd) || exit 1
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
    LD_LIBRARY_PATH=$libdir ORB_SYSROOT=$sysroot "$here/../../tools/run32" "$@"
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

# A program that opens the installed module.
[ ! -x "$prefix/bin/orbgfx" ] || run "$prefix/bin/orbgfx" info "$here/../../examples/assets/star.png" ||
  fail "the installed orbgfx"

flags=$(PKG_CONFIG_LIBDIR=$libdir/pkgconfig pkg-config --cflags --libs orb_graphics2d) ||
  fail "pkg-config"
echo "pkg-config: $flags"
if [ -n "$toolchain" ]; then
  compiler="clang --target=i686-linux-gnu --sysroot=$sysroot -fuse-ld=lld"
else
  compiler="cc -m32"
fi
# The test need not find the module's own libraries.
$compiler -std=c99 -Wall -Wextra -Werror -o "$work/consumer" "$here/install/consumer.c" $flags \
  -Wl,--allow-shlib-undefined || fail "building with pkg-config"
run "$work/consumer" || fail "the program built with pkg-config"

if [ -n "$toolchain" ]; then
  set -- -DCMAKE_TOOLCHAIN_FILE="$toolchain" -DORB_SYSROOT="$sysroot"
else
  set -- -DCMAKE_C_FLAGS=-m32
fi
cmake -G Ninja -S "$here/install" -B "$work/build" "$@" \
  -Dorb_graphics2d_DIR="$libdir/cmake/orb_graphics2d" >"$work/log" 2>&1 &&
  cmake --build "$work/build" >>"$work/log" 2>&1 || {
  cat "$work/log"
  fail "building with find_package"
}
run "$work/build/consumer" || fail "the program built with find_package"

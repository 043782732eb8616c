#!/bin/sh
# Checks the built module: its SONAME, its one exported symbol, no unresolved symbol that it does
# not name a library for, and the libraries it names.
# usage: check_module.sh MODULE
module=$1
status=0

fail() {
  echo "FAILED: $*" >&2
  status=1
}

dynamic=$(readelf -dW "$module") || exit 1
symbols=$(nm -D --defined-only "$module") || exit 1

soname=$(printf '%s\n' "$dynamic" | sed -n 's/.*(SONAME).*\[\(.*\)\]/\1/p')
echo "SONAME: $soname"
[ "$soname" = libORB_mod_graphics2D.so.1 ] || fail "SONAME is '$soname'"

exported=$(printf '%s\n' "$symbols" | awk '{ print $NF }')
echo "exported: $exported"
[ "$exported" = ORB_mod_graphics2D_MainLibraryExports ] ||
  fail "exports something else than ORB_mod_graphics2D_MainLibraryExports"

class=$(readelf -hW "$module" | awk '$1 == "Class:" { print $2 }')
[ "$class" = ELF32 ] || fail "class is $class"

for library in $(printf '%s\n' "$dynamic" | sed -n 's/.*(NEEDED).*\[\(.*\)\]/\1/p'); do
  echo "needs: $library"
  case $library in
    libSDL-1.2.so.0 | libpng16.so.16 | libz.so.1 | libjpeg.so.62 | liblcms2.so.2) ;;
    libc.so.6 | libm.so.6 | libgcc_s.so.1 | libstdc++.so.6 | ld-linux.so.2) ;;
    *) fail "needs $library" ;;
  esac
done

# A position-dependent module would cost every process its own copy.
printf '%s\n' "$dynamic" | grep -q TEXTREL && fail "has text relocations"

exit $status

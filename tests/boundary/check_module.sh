#!/bin/sh
# Checks the built module: its SONAME, its one exported symbol, no unresolved symbol outside the
# libraries it names, the list of those libraries, and that it aligns the stack itself.
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

# Hosts call with the stack aligned to 4 bytes. A function that keeps vectors on the stack, or calls
# another library, must align it to 16 or more, and must not tail-call into another library.
unaligned=$(objdump -d --no-show-raw-insn "$module" | awk '
  function judge() {
    if (needs && !aligned && name !~ /^<(de)?register_tm_clones>|^<__do_global_dtors_aux>|^<_init>/)
      print name, needs
  }
  />:$/ { judge(); name = $2; needs = ""; aligned = 0; functions++; next }
  /\tand +\$0xff+[0-9a-f]0,%esp/ { aligned = 1; realigned++ }
  /\tv?mov(aps|apd|dqa) .*\(%e[sb]p\)/ || /\tcall .*@plt/ || /\tcall +\*/ { needs = $0 }
  /\tjmp .*@plt/ && name !~ /@plt>/ { print name, "leaves:", $0 }
  END { judge(); if (realigned < 1000) print realigned, "of", functions, "functions align the stack" }')
[ -z "$unaligned" ] || fail "the stack: $unaligned"

exit $status

#!/bin/sh
# Checks the objects compiled once per instruction set: each must define its kernel table and no
# other visible symbol. The linker keeps one copy of a weak function; if it kept one compiled for
# AVX2, the module would crash on every other CPU.
# usage: check_kernels.sh OBJECT...
status=0
checked=0
for object; do
  case $object in
    */kernels*_sse2.cpp.o | */kernels*_avx2.cpp.o | */rows_sse2.cpp.o | */rows_avx2.cpp.o | \
      */sampling_sse2.cpp.o | */sampling_avx2.cpp.o) ;;
    *) continue ;;
  esac
  checked=$((checked + 1))
  table=$(basename "$object" .cpp.o)
  seen=$(nm "$object" | awk '$(NF - 1) ~ /[A-TV-Zuvw]/ { print $NF }')
  [ "$seen" = "$table" ] || {
    echo "FAILED: $object defines: $seen" >&2
    status=1
  }
done
echo "$checked kernel objects"
[ "$checked" -eq 12 ] || status=1
exit $status

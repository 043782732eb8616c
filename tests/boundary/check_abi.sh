#!/bin/sh
# Compares the module with the last release, as tests/boundary/abi.txt has it: its SONAME, the symbols
# that it exports, the layouts of all records and the signatures of the script functions. More may come;
# what hosts and scripts were made with has to stay.
# usage: check_abi.sh MODULE, or check_abi.sh --record MODULE after a release
here=$(cd -- "$(dirname -- "$0")" && pwd) || exit 1
record=
[ "$1" != --record ] || { record=1; shift; }

now=$(mktemp) || exit 1
trap 'rm -f "$now"' EXIT
{
  readelf -dW "$1" | sed -n 's/.*(SONAME).*\[\(.*\)\]/SONAME \1/p'
  nm -D --defined-only "$1" | awk '{ print "SYMBOL", $NF }'
  sed 's#^//.*##' "$here/layouts.inc" | grep -oE '(AT|SIZE)\([^)]*\)'
  sed -n 's/^ORB_FUNCTION(\("[^"]*", "[^"]*"\),.*/FUNCTION \1/p' "$here/../../src/script/functions.inc"
} | LC_ALL=C sort -u >"$now"

[ -z "$record" ] || { cp "$now" "$here/abi.txt"; exit; }
missing=$(LC_ALL=C comm -23 "$here/abi.txt" "$now")
echo "$(wc -l <"$here/abi.txt") facts of the last release, $(wc -l <"$now") now"
[ -z "$missing" ] || {
  printf 'FAILED: the last release has, and this has not:\n%s\n' "$missing" >&2
  exit 1
}

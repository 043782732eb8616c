#!/bin/sh
# Checks that the folders of src/ are the floors that docs/architecture.md lists, bottom up: a file
# includes only files of its own floor and of those below. Files must not include one another in a
# cycle; a source and its header count as one.
# usage: check_floors.sh PROJECT_DIRECTORY
cd "$1" || exit 1
listed=$(sed -n 's/^| `src\/\([a-z]*\)\/` .*/\1/p' docs/architecture.md)
echo "floors:" $listed
there=$(cd src && printf '%s\n' */ | tr -d /)
[ "$(printf '%s\n' "$listed" | sort)" = "$there" ] || {
  echo "FAILED: docs/architecture.md lists other folders than src/ has:" $there >&2
  exit 1
}
needs=$(mktemp) || exit 1
trap 'rm -f "$needs"' EXIT
find src -name '*.h' -o -name '*.cpp' -o -name '*.inc' | sort | xargs awk -v listed="$listed" '
  BEGIN { for (i = split(listed, name); i > 0; i--) floor[name[i]] = i }
  /^[ \t]*#[ \t]*include[ \t]*"/ {
    split($0, quoted, "\"")
    if (quoted[2] == "orb/graphics2d.h") next
    split(FILENAME, own, "/")
    split(quoted[2], other, "/")
    if (!(other[1] in floor) || floor[other[1]] > floor[own[2]]) {
      print "FAILED: " FILENAME ":" FNR ": " quoted[2] " isn\047t on this floor or below" | "cat >&2"
      failed = 1
    }
    file = substr(FILENAME, 5)
    sub(/\.[a-z]*$/, "", file)
    sub(/\.[a-z]*$/, "", quoted[2])
    print file, quoted[2]
  }
  END { exit failed }' >"$needs" || exit 1
echo "$(wc -l <"$needs") includes"
tsort <"$needs" >/dev/null || {
  echo "FAILED: these files need one another" >&2
  exit 1
}

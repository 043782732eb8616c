#!/bin/sh
# Plays soak.lua with a temporary folder for its files. After a failure, shows its error output
# without the module's reports, which the soak provokes by the thousand.
# usage: soak.sh PLAYER [NAME=VALUE ...]     the names: see soak.lua
here=$(cd -- "$(dirname -- "$0")" && pwd) || exit 1
player=$1
shift
work=$(mktemp -d) || exit 1
trap 'rm -rf "$work"' EXIT
trap 'exit 130' INT TERM HUP
mkdir "$work/files" || exit 1

# Freed blocks in a thread's cache would count as in use.
GLIBC_TUNABLES=glibc.malloc.tcache_count=0 "$here/../../tools/run32" "$player" \
  --headless "$here/soak.lua" -- "folder=$work/files" "$@" 2>"$work/log"
status=$?
if [ $status != 0 ]; then
  echo "the soak ended with status $status:"
  grep -v '\.lua:[0-9]*: [A-Z_]*: ' "$work/log" | tail -n 40
fi
exit $status

#!/bin/sh
# Writes dpkg's records of the packages that are extracted under ROOT, as if they had been installed,
# so that dpkg's tools tell which package a file is from and what a program depends on.
# usage: record_packages.sh ROOT
set -e
cd "$1"
records=$PWD/var/lib/dpkg
control=$(mktemp -d)
trap 'rm -rf "$control"' EXIT
mkdir -p "$records/info"
: >"$records/status"
for archive in var/cache/apt/archives/*.deb; do
  [ -e "$archive" ] || break # only source packages were asked for
  rm -rf "$control"
  dpkg-deb --control "$archive" "$control"
  name=$(sed -n 's/^Package: //p' "$control/control")
  ! grep -qx 'Multi-Arch: same' "$control/control" || name=$name:i386
  sed '/^Package: /a Status: install ok installed' "$control/control" >>"$records/status"
  echo >>"$records/status"
  dpkg-deb --fsys-tarfile "$archive" | tar -t | sed 's#^\.##; s#/$##; s#^$#/.#' \
    >"$records/info/$name.list"
  for kind in symbols shlibs; do
    [ ! -e "$control/$kind" ] || cp "$control/$kind" "$records/info/$name.$kind"
  done
done
echo 1 >"$records/info/format"

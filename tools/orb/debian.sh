# Debian packages, by dpkg's own tools. Sourced by `orb`.

# debian_records FOLDER: dpkg's records of the libraries, with the paths that these have here.
debian_records() {
  local list
  cp -r "$sysroot/var/lib/dpkg" "$1" || return
  for list in "$1"/info/*.list; do
    sed -i "s#^/#$sysroot/#" "$list" || return
  done
}

# debian_source FOLDER VERSION: the folder debian/ that dpkg's tools read.
debian_source() {
  local maintainer="${DEBFULLNAME-ORB graphics2D authors} <${DEBEMAIL-orb-graphics2d@example.org}>"
  mkdir -p "$1" &&
    sed "s#@MAINTAINER@#$maintainer#" "$root/tools/debian/control" >"$1/control" || return
  awk '{ sub(/@YEAR@/, year) }
  $0 == "@LICENSE@" {
    while ((getline line <license) > 0)
      if (n++ > 3) print line == "" ? " ." : " " line
    next
  } { print }' license="$root/LICENSE" year="$(date -ud "@$SOURCE_DATE_EPOCH" +%Y)" \
    "$root/tools/debian/copyright" >"$1/copyright" || return
  cat >"$1/changelog" <<END
orb-graphics2d ($2) unstable; urgency=medium

  * Release $2; /usr/share/doc/orb-player/NEWS.gz tells what is new.

 -- $maintainer  $(date -uRd "@$SOURCE_DATE_EPOCH")
END
}

# debian_package NAME COMPONENT VERSION FOLDER: one package, in ./NAME, then in FOLDER.
debian_package() {
  local name=$1 tree=$PWD/$1 doc=$PWD/$1/usr/share/doc/$1 files=() options=()
  install_build "$root/build/release" "$tree/usr" lib/i386-linux-gnu --component "$2" || return
  mkdir -p "$tree/DEBIAN" "$doc" && cp debian/copyright "$doc/copyright" &&
    gzip -9n <debian/changelog >"$doc/changelog.gz" || return
  case $2 in
    library)
      files=("$tree"/usr/lib/i386-linux-gnu/*.so.1)
      echo "activate-noawait ldconfig" >"$tree/DEBIAN/triggers"
      echo "libORB_mod_graphics2D 1 $name (>= $3)" >"$tree/DEBIAN/shlibs"
      dpkg-gensymbols "-p$name" "-v$3" "-P$tree" -c4 "-I$root/tools/debian/$name.symbols" \
        "-O$tree/DEBIAN/symbols" || return
      ;;
    player)
      files=("$tree"/usr/bin/*)
      gzip -9n <"$root/CHANGELOG.md" >"$doc/NEWS.gz"
      gzip -9n "$tree"/usr/share/man/man1/* || return
      mkdir -p "$tree/usr/share/zsh/vendor-completions" &&
        mv "$tree"/usr/share/zsh/site-functions/* "$tree/usr/share/zsh/vendor-completions" &&
        rmdir "$tree/usr/share/zsh/site-functions" &&
        ln -s ../orb_graphics2d "$doc/html" || return
      ;;
  esac
  if [ ${#files[@]} -gt 0 ]; then
    is_native || options=("--admindir=$PWD/dpkg" "-l$sysroot/usr/lib/i386-linux-gnu" "-l$sysroot/lib/i386-linux-gnu")
    dpkg-shlibdeps "${options[@]}" "-Tdebian/$name.substvars" "${files[@]}" || return
  fi
  touch "debian/$name.substvars"
  dpkg-gencontrol "-p$name" "-v$3" "-P$tree" "-Tdebian/$name.substvars" || return
  (cd "$tree" && find usr -type f | sort | xargs -d '\n' md5sum >DEBIAN/md5sums) || return
  find "$tree" -exec touch -hd "@$SOURCE_DATE_EPOCH" {} + &&
    dpkg-deb --root-owner-group -Zxz --build "$tree" "$4/${name}_$3_i386.deb"
}

# make_debs FOLDER
make_debs() {
  local work=$root/build/release/debian version
  version=$(project_version)
  export DEB_HOST_ARCH=i386
  rm -rf "$work"
  mkdir -p "$work" && cd "$work" && debian_source debian "$version" || return
  is_native || debian_records dpkg || return
  debian_package liborb-graphics2d1 library "$version" "$1" &&
    debian_package liborb-graphics2d-dev development "$version" "$1" &&
    debian_package orb-player player "$version" "$1"
}

verb_deb() {
  [ $# -eq 0 ] || { say "usage: ./orb deb"; exit 2; }
  need_packages dpkg-dev
  need_release
  set_date
  mkdir -p "$dist"
  step deb "making Debian packages" "read the end of the log" make_debs "$dist"
  say "made: $(ls "$dist"/*.deb | tr '\n' ' ')"
}

# The player for pages. Sourced by `orb`.
#
# The libraries are built from Debian's source packages and stay in .sysroot-web until their list, or
# the way they are built, changes.

web_sources=$root/cmake/web-sources.txt
web_sysroot=$root/.sysroot-web

# Identifies the libraries.
web_sysroot_id() {
  cat "$web_sources" "$root"/web/libraries/* "$root/cmake/wasm32.cmake" | sha256sum | cut -d' ' -f1
}

# make_web_sysroot DIR: fetches the sources, compares their checksums, and builds and installs them
# in DIR.
make_web_sysroot() {
  local dir=$1 name version sum file packages=()
  local work=$dir.work
  while read -r name version _; do
    packages+=("src:$name=$version")
  done < <(sed 's/#.*//; /^ *$/d' "$web_sources")
  rm -rf "$dir"
  extract_i386 "$work" "${packages[@]}" || return
  mkdir "$work/sources" || return
  while read -r name version sum; do
    file=${work}/src/${name}_${version#*:}.dsc
    echo "$sum  $file" | sha256sum --check || return
    dpkg-source -x "$file" "$work/sources/$name" || return # compares the sums that the .dsc has
  done < <(sed 's/#.*//; /^ *$/d' "$web_sources")
  cmake -G Ninja -S "$root/web/libraries" -B "$work/objects" -DCMAKE_BUILD_TYPE=Release \
    -DCMAKE_TOOLCHAIN_FILE="$root/cmake/wasm32.cmake" -DORB_WEB_SYSROOT="$dir" \
    -DSOURCES="$work/sources" -DCMAKE_INSTALL_PREFIX="$dir" &&
    ninja -C "$work/objects" install || return
  rm -rf "$work"
  web_sysroot_id >"$dir/.id"
}

need_web_sysroot() {
  local id new=$root/.sysroot-web.new
  id=$(web_sysroot_id)
  [ "$(cat "$web_sysroot/.id" 2>/dev/null)" = "$id" ] && return
  step web-libraries "building the libraries for WebAssembly (about two minutes)" \
    "check the network and ${web_sources#"$root"/}, and try again" make_web_sysroot "$new"
  rm -rf "$web_sysroot"
  mv "$new" "$web_sysroot" || die "$new could not be renamed to $web_sysroot: check that folder's permissions"
}

verb_web() {
  local packages
  mapfile -t packages < <(list_of "$root/tools/packages.txt" "$root/tools/packages-web.txt")
  lock
  need_packages "${packages[@]}"
  need_web_sysroot
  need_configured wasm
  need_built wasm
  unlock
  say "the page: $root/build/web/index.html"
}

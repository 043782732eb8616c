# The player for pages, and the site whose examples play. Sourced by `orb`.
#
# The libraries are built from Debian's source packages and stay in .sysroot-web until their list, or
# the way they are built, changes.

web_sources=$root/cmake/web-sources.txt
web_sysroot=$root/.sysroot-web

# Identifies the libraries.
web_sysroot_id() {
  cat "$web_sources" "$root"/web/libraries/* "$root/cmake/wasm32.cmake" | sha256sum | cut -d' ' -f1
}

# Why the player for pages can't be made here, in words for a user; nothing if it can.
web_obstacle() {
  local missing packages codename
  codename=$(. /etc/os-release 2>/dev/null && echo "${VERSION_CODENAME-}")
  is_debian && [ "$codename" = bookworm ] || {
    echo "compiler and libraries are those of Debian 12"
    return
  }
  mapfile -t packages < <(list_of "$root/tools/packages-web.txt")
  mapfile -t missing < <(missing_packages "${packages[@]}")
  [ ${#missing[@]} -eq 0 ] || [ "$(id -u)" = 0 ] || command -v sudo >/dev/null ||
    echo "without root and sudo, ${missing[*]} can't be installed"
}

# make_web_sysroot DIR: fetches the sources, compares their checksums, and builds and installs them
# in DIR. A point release may have taken a version out of the archive: then it takes the present one,
# which apt has verified, and says so.
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
    file=$work/src/${name}_${version#*:}.dsc
    if [ -e "$file" ]; then
      echo "$sum  $file" | sha256sum --check || return
    else
      file=$(echo "$work/src/${name}"_*.dsc)
      [ -e "$file" ] || return
      say "the archive no longer has $name $version; taking ${file##*/}, SHA-256" \
        "$(sha256sum <"$file" | cut -d' ' -f1); cmake/web-sources.txt should list it"
    fi
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

# The site is made anew if something that it is made of is newer than it.
need_web_site() {
  local preset=$1 site=$root/build/web made=$root/build/.web-made
  [ -e "$site/index.html" ] && [ -e "$made" ] &&
    [ -z "$(find "$root"/{docs,reference,examples,share,tests/golden,tools/orbdocs/theme} \
      "$root/build/wasm/play" "$root/build/$preset"/{bin/orbdocs,lib/libORB_mod_graphics2D.so.1} \
      -newer "$made" -print -quit)" ] && return
  touch "$made.new"
  rm -rf "$made" "$site.new"
  run32 "$root/build/$preset/bin/orbdocs" --source "$root/reference" site "$site.new" \
    --play "$root/build/wasm/play" || die "the reference, an example or a guide is wrong: see above"
  rm -rf "$site"
  mv "$site.new" "$site" && mv "$made.new" "$made" ||
    die "$site.new could not be renamed to $site: check that folder's permissions"
}

# What is needed to build the player for pages.
need_web_setup() {
  local packages
  mapfile -t packages < <(list_of "$root/tools/packages.txt" "$root/tools/packages-web.txt")
  need_packages "${packages[@]}"
  need_web_sysroot
}

# make_wasm [TARGET]: makes the player for pages in build/wasm; without a target its tests, too.
make_wasm() {
  local obstacle
  obstacle=$(web_obstacle)
  [ -z "$obstacle" ] || die "the player for pages can't be made: $obstacle"
  lock
  need_web_setup
  need_configured wasm
  need_built wasm "$@"
  unlock
}

# try_wasm [TARGET]: the same for those who go on without it where it can't be had. Fails then; but one
# that can't be compiled is a failure of theirs.
try_wasm() {
  local obstacle
  obstacle=$(web_obstacle)
  if [ -z "$obstacle" ]; then
    lock
    (need_web_setup) || obstacle="see above"
    unlock
  fi
  [ -z "$obstacle" ] || {
    say "the player for pages is left out, and its tests: $obstacle"
    return 1
  }
  make_wasm "$@"
}

verb_web() {
  local preset
  preset=$(default_preset)
  make_wasm orb_play
  prepare "$preset" orbdocs
  lock
  need_web_site "$preset"
  unlock
  say "the site: $root/build/web/index.html"
}

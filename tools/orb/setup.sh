# Set-up: the system's packages, the sysroot, the configured build, the build itself.

is_debian() {
  command -v dpkg-query >/dev/null && command -v apt-get >/dev/null
}

# On an i386 system, or with ORB_NATIVE=1 (the i386 packages are installed), the system's own
# libraries are used and no sysroot is created.
is_native() {
  [ "${ORB_NATIVE-}" = 1 ] || [ "$(dpkg --print-architecture 2>/dev/null)" = i386 ]
}

as_root() {
  if [ "$(id -u)" = 0 ]; then
    "$@"
  else
    sudo "$@"
  fi
}

apt() {
  as_root env DEBIAN_FRONTEND=noninteractive apt-get -qy -o DPkg::Lock::Timeout=300 "$@"
}

# Prints those of the packages (NAME or NAME:ARCHITECTURE) that aren't installed. dpkg also lists
# packages that it knows only by name ("not-installed") or that left their configuration
# ("config-files"), and lists packages for "all" architectures only as such.
missing_packages() {
  local package architecture native
  native=$(dpkg --print-architecture)
  for package; do
    architecture=${package#*:}
    [ "$architecture" != "$package" ] || architecture=$native
    dpkg-query -W -f='${db:Status-Status} ${Architecture}\n' "${package%:*}" 2>/dev/null |
      grep -qxE "installed ($architecture|all)" || echo "$package"
  done
}

# If the package index is missing or outdated, refreshes it once.
install_packages() {
  as_root dpkg --configure -a || return
  if apt install --simulate --no-install-recommends "$@" &&
     apt install --no-install-recommends "$@"; then
    return
  fi
  apt update && apt install --no-install-recommends "$@"
}

# need_packages NAME...: installs those that are missing.
need_packages() {
  is_debian || return 0 # elsewhere CMake reports what is missing
  local missing
  mapfile -t missing < <(missing_packages "$@")
  [ ${#missing[@]} -eq 0 ] && return
  if [ "$(id -u)" != 0 ]; then
    command -v sudo >/dev/null ||
      die "no root and no sudo: as root, run: apt-get install ${missing[*]}"
    # Ask for a password before the output goes to the log.
    sudo -n true 2>/dev/null || sudo -v || die "sudo refused: as root, run: apt-get install ${missing[*]}"
  fi
  step packages "installing ${missing[*]}" "check the network and try again" \
    install_packages "${missing[@]}"
}

# Identifies the contents of the sysroot, which is recreated when this changes. The number counts
# what else make_sysroot has kept over time.
sysroot_id() {
  { list_of "$sysroot_list" | sort; echo 2; } | sha256sum | cut -d' ' -f1
}

# The archive in apt's one-line form, for i386. Only the release itself, without updates: their
# indexes change daily and can be stale on a mirror, and nothing here is exposed to the network.
archive_line() {
  local format='$(REPO_URI) $(CODENAME) $(COMPONENT) $(SIGNED_BY)'
  apt-get indextargets --format "$format" 'Created-By: Packages' 'Component: main' \
    "Codename: $1" | awk 'NR == 1 {
      by = $4 ~ /^\// ? " signed-by=" $4 : ""
      print "deb [arch=i386" by "] " $1, $2, $3
    }'
}

# extract_i386 DIR PACKAGE...: extracts i386 packages and what they depend on. Nothing of them is
# run. A package given as src:NAME or src:NAME=VERSION is a source package: its archives are left in
# DIR/src. Of a version that the archive has no more, those of the present one are.
extract_i386() {
  local dir=$1 suite line proxy package packages=() sources=() options=() lines=()
  shift
  for package; do
    case $package in
      src:*) sources+=("${package#src:}") ;;
      *) packages+=("$package") ;;
    esac
  done
  suite=$(. /etc/os-release && echo "${VERSION_CODENAME-}")
  line=$(archive_line "$suite")
  if [ -z "$line" ]; then
    apt update || return
    line=$(archive_line "$suite")
  fi
  [ -n "$line" ] || { echo "apt knows no archive of '$suite'"; return 1; }
  proxy=$(apt-config dump --format '%v' Acquire::http::Proxy)
  [ -z "$proxy" ] || options+=(--aptopt="Acquire::http::Proxy \"$proxy\"")
  options+=(--extract-hook="sh '$root/tools/orb/record_packages.sh' \"\$1\"")
  [ ${#packages[@]} -eq 0 ] || options+=(--include="$(IFS=,; echo "${packages[*]}")")
  lines=("$line")
  if [ ${#sources[@]} -gt 0 ]; then
    lines+=("${line/#deb/deb-src}")
    options+=(--extract-hook='mkdir "$1/src" && cd "$1/src" && export APT_CONFIG=$MMDEBSTRAP_APT_CONFIG &&
      for source in '"${sources[*]}"'; do
        apt-get -q source --download-only "$source" ||
          apt-get -q source --download-only "${source%%=*}" || exit
      done')
  fi

  rm -rf "$dir"
  mmdebstrap --mode=chrootless --arch=i386 --variant=extract "${options[@]}" \
    "$suite" "$dir" "${lines[@]}"
}

# make_sysroot DIR: creates a sysroot of the listed packages. Their copyright files and dpkg's records of
# them stay: packages of the programs are made from these.
make_sysroot() {
  local dir=$1 packages
  mapfile -t packages < <(list_of "$sysroot_list")
  extract_i386 "$dir" "${packages[@]}" || return
  rm -rf "$dir"/usr/share/{man,locale} "$dir"/var/{cache,log,tmp} "$dir"/var/lib/apt
  find "$dir/usr/share/doc" -type f ! -name copyright -delete

  # Absolute links would lead out of the sysroot.
  local link target
  while IFS= read -r link; do
    target=$(readlink "$link")
    [ ! -e "$dir$target" ] || ln -sfnr "$dir$target" "$link" || return
  done < <(find "$dir" -lname '/*')
  sysroot_id >"$dir/.id"
}

# Creates the new sysroot beside the old one, then replaces it.
need_sysroot() {
  local id new=$root/.sysroot.new
  id=$(sysroot_id)
  [ "$(cat "$sysroot/.id" 2>/dev/null)" = "$id" ] && return
  if [ "$(cat "$new/.id" 2>/dev/null)" != "$id" ]; then
    step sysroot "creating the i386 sysroot (about half a minute)" \
      "check the network and ${sysroot_list#"$root"/}, and try again" make_sysroot "$new"
  fi
  rm -rf "$sysroot"
  mv "$new" "$sysroot" || die "$new could not be renamed to $sysroot: check that folder's permissions"
}

# Fetches debugging symbols of the sysroot's C library, only for valgrind. They are stored in the
# sysroot, so that a new sysroot gets new ones.
make_debug_symbols() {
  local new=$sysroot/debug.new
  extract_i386 "$new" libc6-dbg && rm -rf "$sysroot/debug" && mv "$new/usr/lib/debug" "$sysroot/debug" &&
    rm -rf "$new"
}

need_debug_symbols() {
  [ -d "$sysroot/debug" ] || step debug-symbols "fetching debugging symbols of the i386 C library" \
    "check the network and try again" make_debug_symbols
}

# Qt's headers and libraries, without what the sysroot has already. Debian builds two of them for
# i386, and a loader that still knows such folders takes the one for SSE2; here it is the only one.
make_peer_qt5() {
  local new=$1 lib=usr/lib/i386-linux-gnu file
  extract_i386 "$new.all" libqt5gui5 qtbase5-dev || return
  rm -rf "$new"
  mkdir -p "$new/$lib" "$new/usr/include" || return
  mv "$new.all/usr/include/i386-linux-gnu/qt5" "$new/usr/include" || return
  for file in "$new.all/$lib"/*.so*; do
    [ -e "$sysroot/$lib/${file##*/}" ] || mv "$file" "$new/$lib" || return
  done
  [ ! -d "$new.all/$lib/sse2" ] || mv "$new.all/$lib/sse2"/* "$new/$lib" || return
  rm -rf "$new.all"
}

# libyuv from its source: in the distribution's own build for i386 there is no SIMD.
make_peer_libyuv() {
  local new=$1 source
  extract_i386 "$new.all" src:libyuv || return
  mkdir -p "$new.all/tree" && tar -C "$new.all/tree" --strip-components=1 \
    -xf "$new.all"/src/libyuv_*.orig.tar.* || return
  rm -rf "$new"
  mkdir -p "$new/usr/lib" "$new.all/objects" &&
    cp -r "$new.all/tree/include" "$new/usr/include" || return
  (cd "$new.all/objects" &&
    clang++ --target=i686-linux-gnu --sysroot="$sysroot" -O2 -msse2 -fPIC -fomit-frame-pointer \
      -I ../tree/include -c ../tree/source/*.cc) &&
    ar rcs "$new/usr/lib/libyuv.a" "$new.all"/objects/*.o || return
  rm -rf "$new.all"
}

# Peers that only the benchmarks want, each in a folder of the sysroot, so that a new one gets new
# ones. The benchmarks measure without those that can't be had.
need_peers() {
  local name
  if is_native; then
    local suffix= missing
    [ "$(dpkg --print-architecture 2>/dev/null)" = i386 ] || suffix=:i386
    is_debian || return 0
    mapfile -t missing < <(missing_packages "qtbase5-dev$suffix")
    [ ${#missing[@]} -eq 0 ] || try_step peer-qt5 "installing ${missing[*]}" \
      "the benchmarks go on without Qt" install_packages "${missing[@]}"
    return 0
  fi
  for name in qt5 libyuv; do
    [ -d "$sysroot/peers/$name" ] && continue
    mkdir -p "$sysroot/peers" # the new folder must lie beside its place
    try_step "peer-$name" "fetching $name (once)" "the benchmarks go on without $name" \
      "make_peer_$name" "$sysroot/peers.new" &&
      mv "$sysroot/peers.new" "$sysroot/peers/$name"
    rm -rf "$sysroot/peers.new" "$sysroot/peers.new.all"
  done
  return 0
}

# The browser that tests look at the site with. Without it they leave that out.
need_browser() {
  is_debian || return 0
  [ -z "$(missing_packages chromium)" ] ||
    try_step browser "installing chromium, which tests look at the site with" \
      "the site isn't looked at" install_packages chromium
  return 0
}

# need_setup [PACKAGE...]: the system's packages, those named beside, and the sysroot.
need_setup() {
  local packages
  mapfile -t packages < <(list_of "$root/tools/packages.txt")
  if is_native; then
    local suffix=
    [ "$(dpkg --print-architecture 2>/dev/null)" = i386 ] || suffix=:i386
    mapfile -t -O ${#packages[@]} packages < <(list_of "$sysroot_list" | sed "s/\$/$suffix/")
    need_packages "${packages[@]}" "$@"
  else
    need_packages "${packages[@]}" "$@"
    need_sysroot
  fi
}

# need_configured PRESET: configures build/PRESET. Starts from scratch if the sysroot is new, and
# configures again if the options have changed; CMake handles all else.
need_configured() {
  local preset=$1 dir=$root/build/$1 options=() source=$1 id=native wanted
  if [ "$preset" = wasm ]; then
    id=$(cat "$web_sysroot/.id")
  elif is_native; then
    source=native
    case $preset in
      asan) options+=(-DORB_SANITIZE=address,undefined) ;;
      fuzz) options+=(-DORB_SANITIZE=address,undefined,fuzzer-no-link
                      -DORB_TESTS=OFF -DORB_BENCH=OFF) ;;
      release) options+=(-DORB_REPRODUCIBLE=ON -DORB_TESTS=OFF -DORB_BENCH=OFF) ;;
      valgrind) options+=(-DORB_DWARF=4 -DORB_TESTS=OFF -DORB_BENCH=OFF) ;;
    esac
  else
    id=$(cat "$sysroot/.id")
  fi
  [ "${CI-}" != true ] || options+=(-DORB_WERROR=ON)

  # CMake looks again for peers that weren't there before.
  wanted="$id $source ${options[*]-} $(ls "$sysroot/peers" 2>/dev/null | tr '\n' ' ')"
  local old
  old=$(cat "$dir/.configured" 2>/dev/null)
  [ "$old" = "$wanted" ] && [ -e "$dir/build.ninja" ] && return
  [ "${old%% *}" = "$id" ] || rm -rf "$dir"
  rm -f "$dir/.configured"
  step "configure-$preset" "configuring build/$preset" "read the end of the log" \
    cmake -S "$root" --preset "$source" -B "$dir" "${options[@]}"
  printf '%s\n' "$wanted" >"$dir/.configured"
}

# Shortens ninja's progress, and shows all other output unchanged.
show_progress() {
  awk -v terminal="$([ -t 2 ] && echo 1)" '
    function clear() { if (terminal && shown) { printf "\r\033[K"; shown = 0 } }
    /^ninja: (no work to do|Entering directory)/ || /^-- / { next }
    /^\[[0-9]+\/[0-9]+\] (Re-checking globbed|Re-running CMake)/ { next }
    match($0, /^\[[0-9]+\/[0-9]+\]/) {
      split(substr($0, 2, RLENGTH - 2), n, "/")
      if (terminal) {
        printf "\r\033[K%.79s", $0
        shown = 1
      } else if (n[1] == 1 || n[1] == n[2] || int(n[1] * 8 / n[2]) != tick) {
        print substr($0, 1, RLENGTH)
        tick = int(n[1] * 8 / n[2])
      }
      fflush()
      next
    }
    command { command = 0; next } # the long command line below it is in the log
    /^FAILED: / { command = 1 }
    { clear(); print; fflush() }
    END { clear() }' >&2
}

# need_built PRESET TARGET...
need_built() {
  local preset=$1 dir=$root/build/$1 log=$logs/build-$1.log
  shift
  mkdir -p "$logs"
  ninja -C "$dir" "$@" 2>&1 </dev/null | tee "$log" | show_progress
  [ "${PIPESTATUS[0]}" = 0 ] ||
    die "building build/$preset: fix the errors above and try again (log: $log)"
}

# prepare PRESET TARGET...: installs, configures and builds what the targets need.
prepare() {
  local preset=$1 extra=()
  case $preset in
    asan | fuzz) mapfile -t extra < <(list_of "$root/tools/packages-sanitize.txt") ;;
    valgrind)
      extra=(valgrind)
      ! is_native || extra+=("libc6-dbg:i386")
      ;;
  esac
  lock
  need_setup "${extra[@]}"
  [ "$preset" != valgrind ] || is_native || need_debug_symbols
  case " $* " in *" orb_bench "*) need_peers ;; esac
  need_configured "$preset"
  need_built "$@"
  unlock
}

# The preset for ordinary builds: warnings are errors on the integration machine.
default_preset() {
  if [ "${CI-}" = true ]; then echo ci; else echo dev; fi
}

run32() {
  if is_native; then "$@"; else "$root/tools/run32" "$@"; fi
}

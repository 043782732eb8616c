# Making what others install: a prefix, the portable folder, Debian packages, a release.

project_version() {
  sed -n 's/^project(.* VERSION \([0-9.]*\) .*/\1/p' "$root/CMakeLists.txt"
}

# Packages carry the date of the commit, so that a commit has the same bytes whenever they are made.
set_date() {
  [ -n "${SOURCE_DATE_EPOCH-}" ] || SOURCE_DATE_EPOCH=$(git -C "$root" log -1 --format=%ct) ||
    die "not a git repository: set SOURCE_DATE_EPOCH to the seconds of the packages' date"
  export SOURCE_DATE_EPOCH LC_ALL=C TZ=UTC
  umask 022
}

# Where the 32-bit libraries that the programs are built with come from; empty: the system itself.
library_root() {
  is_native || printf '%s' "$sysroot"
}

# find_library NAME [FOLDER...]: prints the path of a library, looked for in these folders first.
find_library() {
  local name=$1 folder from
  from=$(library_root)
  shift
  for folder in "$@" /usr/lib/i386-linux-gnu /lib/i386-linux-gnu /usr/lib /lib; do
    [ ! -e "$from$folder/$name" ] || { printf '%s\n' "$from$folder/$name"; return; }
  done
  return 1
}

# linked_with FILE: the libraries that the loader loads with a file. opened_by FILE: those whose names
# the file contains, to open them when it runs.
linked_with() {
  readelf -dW "$1" | sed -n 's/.*(NEEDED).*\[\(.*\)\]/\1/p'
}

opened_by() {
  strings -n 6 "$1" | grep -xE 'lib[[:alnum:]_+.-]+\.so\.[0-9]+' | sort -u
}

# make_stub NAME LIBRARY VALUE FILE USER...: makes FILE, a library in LIBRARY's place with what the users
# need of it: functions that return VALUE, and variables of 0.
make_stub() {
  local name=$1 library=$2 value=$3 file=$4 versions=()
  shift 4
  nm -D --undefined-only "$@" 2>/dev/null | sed -n 's/^ *[Uw] \([^@]*\).*/\1/p' | sort -u >"$file.used"
  nm -DS --defined-only "$library" |
    awk -v used="$file.used" -v code="$file.c" -v map="$file.map" -v value="$value" '
      BEGIN { while ((getline name <used) > 0) wanted[name] = 1; printf "" >code; printf "" >map }
      {
        split($NF, part, "@+")
        if (!(part[1] in wanted)) next
        if ($3 ~ /^[TWi]$/) print "int " part[1] "(void) { return " value "; }" >code
        else print "char " part[1] "[0x" $2 "];" >code
        if (part[2]) names[part[2]] = names[part[2]] part[1] "; "
      }
      END { for (v in names) print v " { " names[v] "};" >map }' || return
  [ ! -s "$file.map" ] || versions=("-Wl,--version-script,$file.map")
  clang --target=i686-linux-gnu -fuse-ld=lld -nostdlib -shared -fPIC -fno-builtin -w -O2 -s \
    "-Wl,-soname,$name,--build-id=none" "${versions[@]}" \
    -o "$file" -x c "$file.c" || return
  rm "$file".{used,c,map}
}

# bundle PREFIX: moves the programs to PREFIX/lib/orb, beside the loader and all libraries that they
# need; launchers take their places. PREFIX/lib/orb/run does the same for other hosts.
bundle() {
  local lib=$1/lib/orb from file name folders queue=() used=()
  local -A bundled=() cut=() values=()
  while read -r name from; do values[$name]=$from; done \
    < <(sed -n 's/^\(lib[^ ]*\) *returns /\1 /p' "$root/tools/package-cuts.txt")
  rm -rf "$lib"
  mkdir -p "$lib" || return
  for name in orbplay orbgfx; do
    mv "$1/bin/$name" "$lib" && install -m 755 "$root/tools/launcher" "$1/bin/$name" || return
    queue+=("$lib/$name")
  done
  install -m 755 "$root/tools/launcher_run" "$lib/run" &&
    install -m 755 "$root/tools/launcher_game" "$root/tools/pack_game" "$lib" || return
  file=$(readelf -lW "$lib/orbplay" | sed -n 's/.*interpreter: \(.*\)\]/\1/p')
  used=("$(library_root)$file")
  install -m 755 "${used[0]}" "$lib/ld-linux.so.2" || return
  bundled[ld-linux.so.2]=1

  queue+=("$1/lib/libORB_mod_graphics2D.so.1")
  while [ ${#queue[@]} -gt 0 ]; do
    file=${queue[0]} queue=("${queue[@]:1}")
    folders=$(readelf -dW "$file" | sed -n 's/.*(R\(UN\)\?PATH).*\[\(\/.*\)\]/\2/p' | tr : ' ')
    for name in $(linked_with "$file"); do
      [ -z "${bundled[$name]-}${cut[$name]-}" ] || continue
      from=$(find_library "$name" $folders) || { echo "$file needs $name"; return 1; }
      [ -z "${values[$name]-}" ] || { cut[$name]=$from; continue; }
      bundled[$name]=1 queue+=("$from") used+=("$from")
      install -m 644 "$from" "$lib/$name" || return
    done
    for name in $(opened_by "$file"); do
      [ -z "${bundled[$name]-}${values[$name]-}" ] && from=$(find_library "$name" $folders) || continue
      bundled[$name]=1 queue+=("$from") used+=("$from")
      install -m 644 "$from" "$lib/$name" || return
    done
  done
  for name in "${!cut[@]}"; do
    make_stub "$name" "${cut[$name]}" "${values[$name]}" "$lib/$name.new" "$lib"/*.so* || return
  done
  for name in "${!cut[@]}"; do mv "$lib/$name.new" "$lib/$name" || return; done
  credit "$1/share/doc/orb_graphics2d" "${used[@]}"
}

# packages_of PATH...: the packages that files come from. Links lead to the files that packages have.
packages_of() {
  local path patterns=()
  for path; do
    path=$(realpath "$path") || return
    patterns+=("*/${path##*/lib/}")
  done
  dpkg-query "--admindir=$(library_root)/var/lib/dpkg" --search "${patterns[@]}" |
    sed -n 's#^\([^ ]*\): /.*#\1#p' | sort -u
}

# credit FOLDER LIBRARY...: writes the licences of the packages that the libraries are from, of headers
# that are compiled in, and of this project, and a list of the versions.
credit() {
  local to=$1 from package records
  from=$(library_root) records=$(library_root)/var/lib/dpkg
  shift
  mkdir -p "$to/licences" || return
  cp "$root/LICENSE" "$to/licences/orb_graphics2d" || return
  for package in $(packages_of "$@") libcli11-dev; do
    cp "$from/usr/share/doc/${package%:*}/copyright" "$to/licences/${package%:*}" || return
    dpkg-query "--admindir=$records" -W -f='${Package} ${Version} (source: ${source:Package})\n' \
      "$package" || return
  done | sort -u >"$to/versions.txt"
  # Debian's copyright files name these by their paths.
  for package in $(grep -oh '/usr/share/common-licenses/[[:alnum:].-]*[[:alnum:]]' "$to"/licences/* | sort -u); do
    [ ! -e "$package" ] || cp "$package" "$to/licences/${package##*/}.txt" || return
  done
  sed -i "1i orb-graphics2d $(project_version)\n\nLibraries in lib/orb, unchanged from Debian's packages for i386:" "$to/versions.txt"
}

# install_build BUILD PREFIX LIBRARIES [OPTIONS]: installs a build with its libraries in PREFIX/LIBRARIES.
install_build() {
  local dir=$1 prefix=$2 libraries=$3
  shift 3
  grep -qx "CMAKE_INSTALL_LIBDIR:[A-Z]*=$libraries" "$dir/CMakeCache.txt" ||
    cmake "-DCMAKE_INSTALL_LIBDIR=$libraries" "$dir" >/dev/null || return
  cmake --install "$dir" --strip --prefix "$prefix" "$@"
}

# install_files BUILD PREFIX: all of `./orb install`. The list of the files is for uninstalling.
install_files() {
  local list=share/orb/files.txt
  install_build "$1" "$2" lib || return
  is_native || bundle "$2" || return
  sed -i "s#^Exec=orbplay#Exec=\"$(printf %s "$2" | sed 's/[\\&#]/\\&/g')/bin/orbplay\"#" \
    "$2/share/applications/orbplay.desktop" || return
  {
    sed "s#^$2/##" "$1/install_manifest.txt"
    echo # the manifest's last line doesn't end
    cd "$2" && find lib/orb share/doc/orb_graphics2d -type f
    echo $list
  } | sed '/^$/d' | sort -u >"$2/$list.new" && mv "$2/$list.new" "$2/$list"
}

verb_install() {
  [ $# -eq 1 ] || { say "usage: ./orb install PREFIX"; exit 2; }
  local preset prefix
  preset=$(default_preset)
  prefix=$(realpath -m -- "$1")
  prepare "$preset" orbplay orbgfx orbdocs
  make_docs "$preset" "$root/build/$preset/docs" || die "the documents can't be made: see above"
  step install "installing under $prefix" "check that folder's permissions" \
    install_files "$root/build/$preset" "$prefix"
}

verb_uninstall() {
  [ $# -eq 1 ] || { say "usage: ./orb uninstall PREFIX"; exit 2; }
  [ -e "$1/share/orb/files.txt" ] || die "$1 has no share/orb/files.txt, which tells what was installed"
  cd -- "$1" && xargs -d '\n' rm -f <share/orb/files.txt &&
    find lib share include bin -depth -type d -empty -delete 2>/dev/null
  return 0
}

# pack FOLDER FILE: the archive of a folder beside it.
pack() {
  tar -C "${1%/*}" --sort=name "--mtime=@$SOURCE_DATE_EPOCH" --owner=0 --group=0 --numeric-owner \
    --format=gnu --mode=u+rw,go+r,go-w -c "${1##*/}" | xz -9e -T1 >"$2.new" && mv "$2.new" "$2"
}

# need_release: builds the preset "release", its documents, and the player for pages.
need_release() {
  try_wasm orb_play
  prepare release orbplay orbgfx orbdocs
  make_docs release "$root/build/release/docs" || die "the documents can't be made: see above"
}

# make_portable BUILD FOLDER: the portable folder.
make_portable() {
  rm -rf "$2"
  install_build "$1" "$2" lib && bundle "$2" && cp "$root/LICENSE" "$2"
}

# make_debug FOLDER: the debugging information of the release, where debuggers look for it.
make_debug() {
  local file id
  rm -rf "$1"
  for file in "$root"/build/release/{bin/orbplay,bin/orbgfx,lib/libORB_mod_graphics2D.so.1}; do
    id=$(readelf -n "$file" | sed -n 's/.*Build ID: //p')
    mkdir -p "$1/lib/debug/.build-id/${id:0:2}" &&
      objcopy --only-keep-debug "$file" "$1/lib/debug/.build-id/${id:0:2}/${id:2}.debug" || return
  done
}

portable_archives() {
  local name
  name=orb-graphics2d-$(project_version)-linux
  make_portable "$root/build/release" "$dist/$name" && pack "$dist/$name" "$dist/$name.tar.xz" &&
    make_debug "$dist/$name-debug" && pack "$dist/$name-debug" "$dist/$name-debug.tar.xz" || return
  rm -rf "$dist/$name" "$dist/$name-debug"
}

# verb_package: the portable folder and its debugging information, as archives in build/dist.
verb_package() {
  [ $# -eq 0 ] || { say "usage: ./orb package"; exit 2; }
  need_release
  set_date
  mkdir -p "$dist"
  step package "making the portable folder" "read the end of the log" portable_archives
  say "made: $(ls "$dist"/*-linux.tar.xz)"
}

# verb_pack FOLDER [--web]: packs a game by the player of a portable folder, which goes with it; or as
# pages.
verb_pack() {
  local player=$root/build/portable folder=${1-} preset
  case "$# $*" in
    '2 --web '*) folder=$2 ;;
    '1 '[!-]* | '2 '*' --web') ;;
    *) say "usage: ./orb pack FOLDER [--web]"; exit 2 ;;
  esac
  if [ $# = 2 ]; then
    make_wasm orb_play
    preset=$(default_preset)
    prepare "$preset" orbplay
    run32 "$root/build/$preset/bin/orbplay" --pack "$folder" --web
    exit
  fi
  prepare release orbplay orbgfx
  lock
  step portable "collecting what the player needs" "read the end of the log" \
    make_portable "$root/build/release" "$player"
  unlock
  exec "$player/bin/orbplay" --pack "$folder"
}

#!/bin/sh
# Tries a release as users of one system would, in a fresh root: the portable folder on the bare system,
# then, on the release that they are for, the Debian packages; plays headless and in a window, packs and
# unpacks a library, builds the host of examples/host_in_c. Prints a line "TRIED: ..." for each way. Only for root.
# usage: try_release.sh SUITE ARCHITECTURE DIST PROJECT_DIRECTORY
[ "${ORB_TRY-}" ] || ORB_TRY=1 exec unshare --mount --propagation private sh "$0" "$@"
set -eu
suite=$1 architecture=$2 dist=$3 project=$4
work=$(mktemp -d)
display=
trap 'status=$?; umount -R "$work/root/proc" "$work/root/dev" "$work/root/tmp/.X11-unix" 2>/dev/null
  [ -z "$display" ] || kill "$display"; rm -rf --one-file-system "$work"; exit $status' EXIT

# The archive and the proxy that this system has.
archive=$(apt-get indextargets --format '$(REPO_URI)' 'Created-By: Packages' \
  'Component: main' "Codename: $(. /etc/os-release && echo "$VERSION_CODENAME")" |
  awk 'NR == 1 { print $1 }')
proxy=$(apt-config dump --format '%v' Acquire::http::Proxy)
mmdebstrap --variant=minbase --arch="$architecture" ${proxy:+--aptopt="Acquire::http::Proxy \"$proxy\""} \
  "$suite" "$work/root" "deb $archive $suite main"
cp /etc/resolv.conf "$work/root/etc/"
mount -t proc proc "$work/root/proc"
mount --rbind /dev "$work/root/dev"

Xvfb -displayfd 3 -screen 0 1280x1024x24 -nolisten tcp -noreset -ac 3>"$work/display" &
display=$!
until [ -s "$work/display" ]; do sleep 0.2; done
mkdir -p "$work/root/tmp/.X11-unix"
mount --bind /tmp/.X11-unix "$work/root/tmp/.X11-unix"

inside() {
  chroot "$work/root" env -i PATH=/usr/sbin:/usr/bin:/sbin:/bin HOME=/root LC_ALL=C \
    DEBIAN_FRONTEND=noninteractive "$@"
}

milliseconds() {
  start=$(date +%s%N)
  for i in 1 2 3 4 5 6 7 8 9 10; do "$@" >/dev/null; done
  echo $((($(date +%s%N) - start) / 10000000))
}

# try NAME BIN EXAMPLES: everything that needs no compiler.
try() {
  inside "$2/orbplay" --headless --frames 60 --screenshot /tmp/headless.png \
    "$3/basics/basics_first_light.lua"
  inside env DISPLAY=":$(cat "$work/display")" "$2/orbplay" --frames 60 --seed 1 "$3/games/games_meteors.lua" &
  player=$!
  sleep 1
  ! command -v import >/dev/null ||
    DISPLAY=:$(cat "$work/display") import -window root "$dist/../try-$suite-$architecture-$1.png"
  wait $player
  inside sh -c "cd /tmp && rm -rf pictures && mkdir pictures && cp $3/assets/ball.png pictures/001_ball.png &&
    $2/orbgfx pack --output a.fpg pictures/001_ball.png && $2/orbgfx unpack --output out a.fpg &&
    $2/orbgfx diff pictures/001_ball.png out/001*.png && rm -rf a.fpg out pictures"
  sum=$(sha256sum <"$work/root/tmp/headless.png" | cut -c1-16)
  echo "TRIED: $suite $architecture, $1: plays headless ($sum), in a window, packs; starts in" \
    "$(milliseconds inside "$2/orbplay" --version) ms (chroot and env: $(milliseconds inside true) ms)"
}

mkdir -p "$work/root/opt/a folder"
archive=$(ls "$dist"/orb-graphics2d-*-linux.tar.xz)
tar -C "$work/root/opt/a folder" -xJf "$archive"
ln -s "a folder/$(basename "$archive" .tar.xz)" "$work/root/opt/orb"
try portable /opt/orb/bin /opt/orb/share/orb/examples
rm -rf "$work/root/opt"

# The packages are for the release of Debian whose libraries they were made with.
[ "$suite" = "$(. /etc/os-release && echo "$VERSION_CODENAME")" ] || exit 0
[ "$architecture" = i386 ] || inside dpkg --add-architecture i386
mkdir "$work/root/packages"
cp "$dist"/*.deb "$work/root/packages"
inside apt-get -q update
inside sh -c 'apt-get -qy install --no-install-recommends /packages/liborb-graphics2d1_* /packages/orb-player_*'
try packages /usr/bin /usr/share/orb/examples

compiler=
[ "$architecture" = i386 ] || compiler="gcc-multilib"
inside sh -c "apt-get -qy install --no-install-recommends /packages/*-dev_* pkg-config gcc libc6-dev:i386 $compiler"
cp "$project/examples/host_in_c/host.c" "$work/root/tmp"
inside sh -c 'cd /tmp && export PKG_CONFIG_LIBDIR=/usr/lib/i386-linux-gnu/pkgconfig &&
  cc -m32 -std=c99 -o host host.c $(pkg-config --cflags --libs orb_graphics2d) && ./host && orbgfx info host.png'
inside orbgfx info /tmp/host.png >/dev/null
echo "TRIED: $suite $architecture, -dev: builds and runs the host in C"
inside apt-get -qy purge orb-player liborb-graphics2d1 liborb-graphics2d-dev >/dev/null
left=$(inside find / -xdev -iname '*orb_*' -o -xdev -iname '*orbplay*' | grep -v '^/tmp\|^/proc' || :)
[ -z "$left" ] || { echo "left behind: $left"; exit 1; }

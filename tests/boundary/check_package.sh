#!/usr/bin/env bash
# Makes the portable folder of a build and plays an example from it: by the launcher through a link with
# an empty environment, and, where the kernel lets users have roots of their own, in a root that holds
# nothing else. Both must draw what the build draws. So must a game that it packs, from its archive.
# usage: check_package.sh BUILD_DIR SYSROOT
set -u
root=$(cd -- "$(dirname -- "$0")/../.." && pwd) || exit 1
build=$(cd -- "$1" && pwd) || exit 1
sysroot=$2
logs=$build/logs
work=$(mktemp -d) || exit 1
. "$root/tools/orb/common.sh"
. "$root/tools/orb/setup.sh"
. "$root/tools/orb/package.sh"
trap 'rm -rf "$work"' EXIT

play=(--headless --frames 30 --screenshot)
script=share/orb/examples/games/games_meteors.lua
folder="$work/a folder"
make_portable "$build" "$folder" >"$work/log" 2>&1 || { cat "$work/log"; die "the folder isn't made"; }

ORB_SYSROOT=$sysroot "$root/tools/run32" "$build/bin/orbplay" "${play[@]}" "$work/build.png" \
  "$folder/$script" || die "the build doesn't play"

ln -s "$folder/bin/orbplay" "$work/link"
env -i "$work/link" "${play[@]}" "$work/launched.png" "$folder/$script" || die "the launcher doesn't play"
cmp "$work/build.png" "$work/launched.png" || die "the folder draws another picture"
env -i "$folder/bin/orbgfx" info "$work/launched.png" >/dev/null || die "orbgfx doesn't run"

# At another time, in another zone, it is packed as the same bytes.
game="$work/Günter's game"
mkdir "$game" "$work/friend"
sed 's#"\.\./assets/#"#' "$folder/$script" >"$game/main.lua"
cp -R "$folder"/share/orb/examples/assets/* "$folder"/share/orb/examples/lib/*.lua "$game"
for twice in 1 2; do
  (cd "$game" && env -i "PATH=$PATH" XZ_OPT=-0 TZ=UTC-$twice \
    "$folder/bin/orbplay" --pack .) >"$work/log" 2>&1 &&
    sha256sum "$game.zip" "$game-linux.tar.xz" >"$work/sums$twice" ||
    { cat "$work/log"; die "the folder doesn't pack a game"; }
  touch "$game/main.lua"
done
cmp "$work/sums1" "$work/sums2" || die "the same game is packed otherwise"
tar -C "$work/friend" -xf "$game-linux.tar.xz" && mv "$work/friend" "$work/a friend"
env -i "$work/a friend/Günter's game/Günter's game" "${play[@]}" "$work/packed.png" ||
  die "the packed game doesn't play"
cmp "$work/build.png" "$work/packed.png" || die "the packed game draws another picture"

# As pages, if the player for them has been made; the picture is of a play.
if [ -e "$folder/share/orb/web" ]; then
  env -i "$folder/bin/orbplay" --pack "$game" --web >"$work/log" 2>&1 && [ -e "$game.html" ] &&
    ! cmp -s "$game-web/picture.png" "$game-web/icon.png" ||
    { cat "$work/log"; die "the folder doesn't make pages of a game"; }
fi

if unshare --map-root-user true 2>/dev/null; then
  (cd / && unshare --map-root-user --root="$folder" /lib/orb/ld-linux.so.2 --library-path /lib/orb \
    --argv0 /bin/orbplay /lib/orb/orbplay "${play[@]}" /alone.png "/$script") ||
    die "the folder doesn't play alone"
  cmp "$work/build.png" "$folder/alone.png" || die "alone it draws another picture"
else
  echo "no root of one's own here: not played alone"
fi

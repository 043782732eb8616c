#!/bin/sh
# Looks at the site in a browser without a window: searches find entries by name and by purpose, and no
# script of the pages fails. usage: check_site.sh SITE_DIR
command -v chromium >/dev/null || { echo "chromium isn't installed"; exit 77; }
site=$(cd -- "$1" && pwd) || exit 1
work=$(mktemp -d) || exit 1
trap 'rm -rf "$work"' EXIT

# The page as the browser has it once its scripts have run.
page() {
  HOME=$work timeout 60 chromium --headless=new --no-sandbox --disable-gpu --enable-logging=stderr \
    --user-data-dir="$work/profile" --virtual-time-budget=2000 --dump-dom "file://$site/$1" \
    >"$work/page" 2>"$work/log" || { cat "$work/log"; echo "FAILED: $1 doesn't open"; exit 1; }
  ! grep 'CONSOLE' "$work/log" || { echo "FAILED: a script of $1"; exit 1; }
}

# The first that a search finds.
finds() {
  page "index.html?q=$1"
  grep -o '<ol id="found".*</ol>' "$work/page" | grep -o 'href="[^"]*"' | head -1 | grep -qx "href=\"$2\"" || {
    grep -o '<ol id="found".*</ol>' "$work/page"
    echo "FAILED: the search for '$1' doesn't begin with $2"
    exit 1
  }
}

finds map_xput reference/drawing.html#map_xput
finds collis reference/collision.html
finds touches+pixel reference/collision.html#collision
finds put reference/ground.html#put # an alias
finds fps reference/globals.html#fps
finds rotate reference/processes.html#angle # keywords, which no text has
finds fade+to+black reference/fades.html#screen_fade
finds first+game guides/first_game.html
for opened in reference/effects.html guides/first_game.html examples/games_meteors.html; do
  page "$opened"
done

#!/bin/sh
# Makes the pictures of the guides: docs/guides/pictures/make.sh [PICTURE ...]
#
# Each line below plays a block of a guide in examples/, up to a frame, and keeps what the display
# shows then. Words after the frame are the script's arguments. ORBPLAY is the player, ./orb play
# if it isn't set.
cd "$(dirname "$0")/../../.." || exit 1
wanted=" $* "

# picture PNG GUIDE BLOCK FRAME [ARGUMENT ...]
picture() {
  name=$1 guide=$2 block=$3 frame=$4
  shift 4
  [ "$wanted" = "  " ] || case $wanted in *" $name "*) ;; *) return ;; esac
  script=examples/.picture.lua
  awk -v block="$block" '/^```/ { on = /lua$/; n += on; next } on && n == block' \
    "docs/guides/$guide.md" >"$script"
  ${ORBPLAY-./orb play} --headless --strict --display --frames "$frame" \
    --screenshot "docs/guides/pictures/$name.png" "$script" "$@" || exit 1
}
trap 'rm -f examples/.picture.lua' EXIT

picture pixels_ramp pixels_at_8_bits 1 20
picture pixels_index_0 pixels_at_8_bits 2 70
picture pixels_order pixels_at_8_bits 3 20
picture pixels_free pixels_at_8_bits 4 20
picture pixels_forced pixels_at_8_bits 5 20
picture pixels_cycling pixels_at_8_bits 6 20
picture pixels_ghosts pixels_at_8_bits 7 20
picture pixels_flash pixels_at_8_bits 8 44
picture pixels_fade pixels_at_8_bits 9 60

for part in 1 2 3 4 5 6; do
  picture "frame_$part" frames 1 20 "$part"
done
picture frame_order frames 2 20
picture frame_regions frames 3 20
picture frame_zones frames 4 40

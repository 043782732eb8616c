#!/bin/sh
# Makes the pictures of bmp/, pcx/ and tga/ with programs other than ours, and beside each the
# pixels that another program finds in it: NAME.rgba (R, G, B, A bytes, rows from the top). Needs
# ImageMagick, netpbm and Pillow (Debian: imagemagick, netpbm, python3-pil). The results are
# committed, so that the tests don't need those programs.
set -eu
cd "$(dirname "$0")"
python=${PYTHON:-/usr/bin/python3}
scratch=$(mktemp -d)
trap 'rm -r "$scratch"' EXIT
rm -f bmp/*.bmp pcx/*.pcx tga/*.tga bmp/*.rgba pcx/*.rgba tga/*.rgba

# A 13 x 9 subject with ramps, hard edges and flat parts, and alpha values of all kinds.
"$python" - "$scratch" <<'PY'
import sys
from PIL import Image
scratch = sys.argv[1]
w, h = 13, 9
rgba = Image.new("RGBA", (w, h))
for y in range(h):
    for x in range(w):
        colour = (200, 30, 60) if x > 6 and y < 5 else (x * 21, y * 31, x * y * 37 % 256)
        rgba.putpixel((x, y), colour + ((0, 1, 127, 128, 254, 255)[(x // 3 + y) % 6],))
rgba.save(scratch + "/rgba.png")
rgb = rgba.convert("RGB")
rgb.save(scratch + "/rgb.png")
rgb.quantize(16).convert("RGB").save(scratch + "/rgb16.png")
rgb.convert("1").save(scratch + "/mono.png")
for name, picture in {
    "1": rgb.convert("1"), "l": rgb.convert("L"), "p": rgb.quantize(60), "rgb": rgb, "rgba": rgba,
}.items():
    picture.save(f"bmp/pillow_{name}.bmp")
    if name != "1":
        picture.save(f"tga/pillow_{name}.tga")
        picture.save(f"tga/pillow_{name}_rle.tga", compression="tga_rle")
        picture.save(f"tga/pillow_{name}_top.tga", orientation=1)
        if name != "rgba":
            picture.save(f"pcx/pillow_{name}.pcx")
PY

cd "$scratch"
convert rgb.png -type TrueColor ppm:rgb.ppm
convert rgb16.png -type TrueColor ppm:rgb16.ppm
convert mono.png pbm:mono.pbm
cd - >/dev/null

# BMP: headers of 12, 40 and 124 bytes, every bit count, masks, run lengths.
convert "$scratch/rgb.png" -type TrueColor bmp2:bmp/magick_os2_24.bmp
convert "$scratch/rgb.png" -colors 200 -type Palette bmp2:bmp/magick_os2_8.bmp
convert "$scratch/rgb.png" -colors 200 -type Palette -compress RLE bmp3:bmp/magick_rle8.bmp
convert "$scratch/rgb.png" -colors 200 -type Palette -compress None bmp3:bmp/magick_8.bmp
convert "$scratch/rgb16.png" -type Palette -compress None bmp3:bmp/magick_4.bmp
convert "$scratch/mono.png" -type Bilevel -compress None bmp3:bmp/magick_1.bmp
convert "$scratch/rgba.png" bmp:bmp/magick_rgba.bmp
convert "$scratch/rgba.png" bmp3:bmp/magick_rgba_short.bmp
for subtype in RGB565 RGB555; do
  convert "$scratch/rgb.png" -alpha off -define bmp:subtype=$subtype bmp:bmp/magick_$subtype.bmp
done
ppmtobmp -quiet -windows "$scratch/rgb.ppm" >bmp/netpbm_windows.bmp
ppmtobmp -quiet -os2 "$scratch/rgb16.ppm" >bmp/netpbm_os2_4.bmp
ppmtobmp -quiet -os2 -bpp=24 "$scratch/rgb.ppm" >bmp/netpbm_os2_24.bmp
ppmtobmp -quiet -os2 "$scratch/mono.pbm" >bmp/netpbm_os2_1.bmp

# PCX
convert "$scratch/rgb.png" -colors 200 -type Palette pcx:pcx/magick_8.pcx
convert "$scratch/rgb.png" -type TrueColor pcx:pcx/magick_24.pcx
ppmtopcx -quiet -24bit "$scratch/rgb.ppm" >pcx/netpbm_24.pcx
ppmtopcx -quiet -8bit "$scratch/rgb.ppm" >pcx/netpbm_8.pcx

# TGA
for coding in None RLE; do
  convert "$scratch/rgb.png" -type TrueColor -compress $coding tga:tga/magick_rgb_$coding.tga
  convert "$scratch/rgba.png" -compress $coding tga:tga/magick_rgba_$coding.tga
  convert "$scratch/rgb.png" -colors 200 -type Palette -compress $coding tga:tga/magick_8_$coding.tga
  convert "$scratch/rgb.png" -colorspace Gray -compress $coding tga:tga/magick_grey_$coding.tga
done
for kind in rgb cmap mono; do
  ppmtotga -quiet -name=subject -$kind "$scratch/$([ $kind = mono ] && echo mono.pbm || echo rgb.ppm)" \
    >tga/netpbm_$kind.tga
done
ppmtotga -quiet -name=subject -rgb -norle "$scratch/rgb.ppm" >tga/netpbm_rgb_norle.tga

# Pixels, by a program that didn't write the file.
for file in */pillow_*.bmp */pillow_*.pcx */pillow_*.tga */netpbm_*.bmp */netpbm_*.pcx */netpbm_*.tga; do
  convert "$file" -auto-orient -depth 8 "rgba:${file%.*}.rgba"
done
for file in */magick_*.bmp */magick_*.pcx */magick_*.tga; do
  "$python" -c '
import sys
from PIL import Image
file, out = sys.argv[1:]
open(out, "wb").write(Image.open(file).convert("RGBA").tobytes())' "$file" "${file%.*}.rgba"
done

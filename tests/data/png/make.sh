#!/bin/sh
# Makes the pictures of this folder with programs other than ours, and beside each the pixels that
# another program finds in it: NAME.rgba (R, G, B, A bytes). Run here; needs ImageMagick, netpbm and Pillow (Debian: imagemagick,
# netpbm, python3-pil). The results are committed, so that the tests don't need those programs.
set -eu
cd "$(dirname "$0")"

# A 13 x 9 subject with a ramp, hard edges, and an alpha channel with all kinds of values.
python3 - <<'PY'
from PIL import Image
import random
random.seed(5)
w, h = 13, 9
rgba = Image.new("RGBA", (w, h))
for y in range(h):
    for x in range(w):
        r, g, b = x * 255 // (w - 1), y * 255 // (h - 1), (x * y * 37) % 256
        a = (0, 1, 127, 128, 254, 255, random.randrange(256))[(x + y) % 7]
        rgba.putpixel((x, y), (r, g, b, a))
rgba.save("subject.tmp.png")
rgb = rgba.convert("RGB")
rgb.save("pillow_rgb.png")
rgba.save("pillow_rgba.png", optimize=True)
rgba.convert("LA").save("pillow_grey_alpha.png")
rgb.convert("L").save("pillow_grey.png")
rgb.quantize(4).save("pillow_palette2.png", bits=2)
rgb.quantize(200).save("pillow_palette8_trns.png", transparency=3)
Image.frombytes("I;16", (w, h), bytes(random.randrange(256) for _ in range(2 * w * h))).save(
    "pillow_grey16.png")
PY

convert subject.tmp.png -define png:color-type=6 -define png:bit-depth=16 \
  -channel RGBA -evaluate multiply 0.7 +channel magick_rgba16.png
convert subject.tmp.png -alpha off -interlace PNG -define png:color-type=2 \
  -define png:bit-depth=8 magick_rgb_interlaced.png
convert subject.tmp.png -alpha off -monochrome -define png:color-type=0 \
  -define png:bit-depth=1 magick_grey1.png
convert subject.tmp.png -alpha off -colors 12 -interlace PNG -define png:color-type=3 \
  magick_palette4_interlaced.png

convert subject.tmp.png -alpha off subject.tmp.ppm
ppmtopgm subject.tmp.ppm 2>/dev/null | pamdepth -quiet 15 | pnmtopng -quiet -force > netpbm_grey4.png
pnmtopng -quiet -force -interlace -transparent '=rgb:00/00/00' subject.tmp.ppm > netpbm_rgb_trns.png
pamdepth -quiet 65535 subject.tmp.ppm | pnmtopng -quiet -force -interlace > netpbm_rgb16.png
rm -f subject.tmp.*

# Pixels, each by a program that didn't write the file.
for name in magick_rgb_interlaced magick_grey1 magick_palette4_interlaced netpbm_grey4 netpbm_rgb_trns; do
  python3 -c "
from PIL import Image
open('$name.rgba', 'wb').write(Image.open('$name.png').convert('RGBA').tobytes())"
done
for name in pillow_rgb pillow_rgba pillow_grey_alpha pillow_grey pillow_palette2 pillow_palette8_trns \
  netpbm_rgb16; do
  convert $name.png -depth 8 rgba:$name.rgba
done
# netpbm rounds when it brings 16 bits down to 8.
pngtopam -quiet -alphapam magick_rgba16.png | pamdepth -quiet 255 |
  python3 -c "
import sys
data = sys.stdin.buffer.read()
open('magick_rgba16.rgba', 'wb').write(data[data.index(b'ENDHDR\n') + 7:])"
pngtopam -quiet pillow_grey16.png | pamdepth -quiet 255 |
  python3 -c "
import sys
data = sys.stdin.buffer.read()[-13 * 9:]
open('pillow_grey16.rgba', 'wb').write(b''.join(bytes([v, v, v, 255]) for v in data))"

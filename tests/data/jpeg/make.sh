#!/bin/sh
# Makes the pictures of this folder with programs other than ours, and beside each the pixels that
# another program finds in it: NAME.rgb (R, G, B bytes) or NAME.grey. Run here; needs ImageMagick,
# netpbm and Pillow (Debian: imagemagick, netpbm, python3-pil). The results are committed, so that
# the tests don't need those programs.
set -eu
cd "$(dirname "$0")"

/usr/bin/python3 - <<'PY'
from PIL import Image, ImageCms
import struct

# A 21 x 19 subject, no whole number of blocks either way: ramps, and a few hard edges.
w, h = 21, 19
rgb = Image.new("RGB", (w, h))
for y in range(h):
    for x in range(w):
        r, g, b = x * 255 // (w - 1), y * 255 // (h - 1), (x + y) * 255 // (w + h - 2)
        rgb.putpixel((x, y), (255 - r, g, b) if (x // 7 + y // 6) % 3 == 0 else (r, g, b))
rgb.save("subject.tmp.png")
rgb.save("pillow_rgb.jpg", quality=88)
rgb.save("pillow_rgb_progressive.jpg", quality=80, progressive=True, subsampling=0)
rgb.convert("L").save("pillow_grey.jpg", quality=92)

# Inks with black among them, which a conversion from RGB would not give.
cmyk = Image.new("CMYK", (w, h))
for y in range(h):
    for x in range(w):
        cmyk.putpixel((x, y), (x * 12, y * 14, (x + y) * 6, (x - y) ** 2 // 2))
cmyk.save("pillow_cmyk.jpg", quality=93)


def profile():
    """A CMYK output profile of the simplest kind: a table of 2 x 2 x 2 x 2 Lab colours."""
    def pad(data):
        return data + bytes(-len(data) % 4)
    text = b"A test profile\0"
    desc = b"desc" + bytes(4) + struct.pack(">I", len(text)) + text + bytes(4 + 4 + 2 + 1 + 67)
    cprt = b"text" + bytes(4) + b"none\0"
    white = b"XYZ " + bytes(4) + struct.pack(">3i", 0xF6D6, 0x10000, 0xD32D)
    ramp = bytes(range(256))
    corners = bytearray()
    for node in range(16):  # C is the slowest, K the fastest
        c, m, y, k = node >> 3 & 1, node >> 2 & 1, node >> 1 & 1, node & 1
        light = 255 - 70 * c - 80 * m - 20 * y
        if k:
            light //= 6
        a = 128 - 40 * c + 75 * m - 5 * y
        b = 128 - 45 * c - 10 * m + 90 * y
        corners += bytes([max(light, 0), (a + 128) // 2 if k else a, (b + 128) // 2 if k else b])
    unit = struct.pack(">9i", 65536, 0, 0, 0, 65536, 0, 0, 0, 65536)
    table = (b"mft1" + bytes(4) + bytes([4, 3, 2, 0]) + unit + ramp * 4 + bytes(corners) + ramp * 3)
    tags = [(b"desc", desc), (b"cprt", cprt), (b"wtpt", white), (b"A2B0", table)]
    at = 128 + 4 + 12 * len(tags)
    index, body = struct.pack(">I", len(tags)), b""
    for name, data in tags:
        index += name + struct.pack(">II", at + len(body), len(data))
        body += pad(data)
    header = struct.pack(">I4sI4s4s4s", at + len(body), bytes(4), 0x02100000, b"prtr", b"CMYK",
                         b"Lab ")
    header += struct.pack(">6H", 2024, 1, 1, 0, 0, 0) + b"acsp" + bytes(28)
    header += struct.pack(">3i", 0xF6D6, 0x10000, 0xD32D)
    return header + bytes(128 - len(header)) + index + body


inks = profile()
open("cmyk.icc", "wb").write(inks)
cmyk.save("pillow_cmyk_icc.jpg", quality=93, icc_profile=inks)
srgb = ImageCms.createProfile("sRGB")
open("pillow_cmyk_icc.rgb", "wb").write(
    ImageCms.profileToProfile(Image.open("pillow_cmyk_icc.jpg"), "cmyk.icc", srgb,
                              renderingIntent=ImageCms.INTENT_PERCEPTUAL,
                              outputMode="RGB").tobytes())
# One with a profile that is of no use for inks.
cmyk.save("pillow_cmyk_rgb_profile.jpg", quality=93,
          icc_profile=ImageCms.ImageCmsProfile(srgb).tobytes())
PY

convert subject.tmp.png -strip -quality 75 -interlace JPEG -sampling-factor 2x1 \
  magick_rgb_progressive.jpg
convert subject.tmp.png -strip -quality 90 -colorspace CMYK magick_cmyk.jpg
convert subject.tmp.png -strip -quality 85 -colorspace Gray magick_grey.jpg
convert subject.tmp.png subject.tmp.ppm
pnmtojpeg -quality=95 -restart=1 subject.tmp.ppm > netpbm_rgb_restart.jpg
ppmtopgm subject.tmp.ppm | pnmtojpeg -quality=70 -progressive > netpbm_grey_progressive.jpg
rm -f subject.tmp.*

# Pixels, each by a program that didn't write the file.
for name in pillow_rgb pillow_rgb_progressive netpbm_rgb_restart; do
  convert $name.jpg -depth 8 rgb:$name.rgb
done
for name in pillow_grey netpbm_grey_progressive; do
  convert $name.jpg -depth 8 gray:$name.grey
done
for name in magick_rgb_progressive magick_cmyk magick_grey pillow_cmyk pillow_cmyk_rgb_profile; do
  /usr/bin/python3 -c "
from PIL import Image
image = Image.open('$name.jpg')
if image.mode == 'L':
  open('$name.grey', 'wb').write(image.tobytes())
else:
  open('$name.rgb', 'wb').write(image.convert('RGB').tobytes())"
done

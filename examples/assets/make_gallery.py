#!/usr/bin/env python3
"""Makes the folder gallery/, a picture in each format that the engine reads, from the other assets.

Needs Pillow (Debian: python3-pil), which writes all of them but the engine's own MAP. The pictures
are committed, so this runs only when one is to change.
"""

import os
import struct

from PIL import Image

HERE = os.path.dirname(os.path.abspath(__file__))


def asset(name):
    return Image.open(os.path.join(HERE, name))


def gallery(name):
    return os.path.join(HERE, "gallery", name)


def write_map(name, picture, graph_id, description, points):
    """A 32-bit MAP with an alpha channel; a point of None is undefined."""
    data = b"map\x1a\x0d\x32\x00\x00" + struct.pack("<HHI", *picture.size, graph_id)
    data += description.encode().ljust(256, b"\0")
    data += struct.pack("<H", 0x1000 | len(points))
    for point in points:
        data += struct.pack("<HH", *(point or (65535, 65535)))
    data += picture.convert("RGBA").tobytes("raw", "BGRA")
    with open(gallery(name), "wb") as file:
        file.write(data)


def inks(picture):
    """The picture in printing inks, with the grey of its colours printed in black."""
    out = Image.new("CMYK", picture.size)
    for y in range(picture.height):
        for x in range(picture.width):
            c, m, ye = (255 - v for v in picture.getpixel((x, y)))
            k = min(c, m, ye)
            share = max(255 - k, 1)
            out.putpixel((x, y), tuple((v - k) * 255 // share for v in (c, m, ye)) + (k,))
    return out


def main():
    os.makedirs(os.path.join(HERE, "gallery"), exist_ok=True)
    meadow = asset("meadow.png").convert("RGB")
    small = meadow.resize((320, 240), Image.LANCZOS)
    small.save(gallery("meadow.jpg"), quality=85)
    small.crop((150, 90, 300, 190)).convert("L").save(gallery("twilight.jpg"),
                                                      quality=85, progressive=True)
    inks(small.crop((0, 60, 140, 200))).save(gallery("printed.jpg"), quality=85)
    asset("waterfall.png").save(gallery("cascade.pcx"))
    asset("ball.png").save(gallery("ball.tga"), compression="tga_rle")
    asset("bird.png").save(gallery("bird.png"), optimize=True)
    asset("star.png").save(gallery("star.bmp"))
    write_map("cloud.map", asset("cloud.png"), 7, "A cloud at dusk", [(32, 36), None, (10, 30)])


if __name__ == "__main__":
    main()

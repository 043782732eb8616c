#!/usr/bin/env python3
"""Paints the pictures of the pearl game into the folder pearls, as make_assets.py does those of the
other examples, and writes its font."""

import math
import os

from make_assets import (Sprite, both, circle, clamp, curve, ellipse, mix, noise, polygon, ramp, smooth,
                         write_png)

WIDTH, HEIGHT, SURFACE, FLOOR = 320, 240, 48, 216


def paint_sea():
    """Sky, sea and a sandy floor: blue that gets deeper downwards, rocks far away."""
    sand, far = noise(3), noise(12)
    sky = [(0, (92, 170, 232)), (30, (168, 214, 240)), (SURFACE, (246, 232, 200))]
    water = [(SURFACE, (92, 206, 214)), (80, (44, 150, 194)), (140, (24, 94, 156)), (240, (14, 50, 108))]
    rows = []
    for y in range(HEIGHT):
        row = bytearray()
        for x in range(WIDTH):
            if y < SURFACE:
                colour = ramp(sky, y)
            else:
                colour = ramp(water, y)
                for ridge, shade, depth in ((148, 0.22, 34), (176, 0.4, 22)):
                    top = ridge + depth * far(x / 44 + ridge, ridge) + 4 * far(x / 9, ridge)
                    colour = mix(colour, (16, 52, 100), shade * smooth(top, top + 10, y))
                shore = FLOOR + 3 * math.sin(x / 37) + 2 * math.sin(x / 13 + 1)
                if y > shore:
                    deep = (y - shore) / (HEIGHT - shore)
                    grain = 0.5 + 0.5 * sand(x / 3, y / 2)
                    colour = mix((196, 176, 130), (96, 92, 96), clamp(deep + 0.25 * grain))
                    colour = mix(colour, (236, 220, 170), 0.6 * smooth(2.2, 0.0, y - shore))
            row += bytes(round(clamp(c, 0, 255)) for c in colour)
        rows.append(bytes(row))
    write_png("pearls/sea.png", WIDTH, HEIGHT, rows, False)


def paint_waves():
    """The line where sea and sky meet; it repeats every 40 pixels."""
    width, height = WIDTH + 40, 9
    sprite = Sprite(width, height)
    for x in range(width):
        crest = 3.2 + 2.2 * math.sin(x * 2 * math.pi / 40) + 0.8 * math.sin(x * 2 * math.pi / 20 + 1)
        for y in range(height):
            d = y + 0.5 - crest
            if d > -0.5:
                a = clamp(d + 0.5) * (1 - smooth(3.0, 5.0, d))
                sprite.over(x, y, mix((255, 255, 255), (110, 214, 222), smooth(0.2, 1.6, d)), a)
    sprite.save("pearls/waves.png")


def paint_sun():
    size, c = 44, 22.0
    sprite = Sprite(size, size)
    for y in range(size):
        for x in range(size):
            d = math.hypot(x + 0.5 - c, y + 0.5 - c)
            sprite.over(x, y, (255, 214, 110), 0.5 * max(0.0, 1 - d / c) ** 1.4)
    sprite.layer(circle(c, c, 10), lambda x, y: mix((255, 250, 220), (255, 214, 96), smooth(14, 32, y)))
    sprite.save("pearls/sun.png")


def paint_diver(name, kick):
    """A swimmer who faces right, with fins that beat up and down."""
    sprite = Sprite(32, 20)
    suit, dark, skin = (236, 92, 64), (160, 48, 56), (248, 204, 164)

    def leg(swing, shade):
        knee, foot = 10 + swing * 0.4, 10 + swing
        sprite.layer(polygon((13, 8.4), (13, 12), (8, knee + 1.7), (8, knee - 1.7)), shade)
        sprite.layer(polygon((8.5, knee - 1.5), (8.5, knee + 1.5), (4.6, foot + 1.2), (4.6, foot - 1.2)),
                     skin)
        sprite.layer(polygon((5.2, foot - 1.3), (5.2, foot + 1.3), (0.3, foot + swing * 0.5 + 2.6),
                             (1.2, foot + swing * 0.5 - 2)), (252, 206, 72))

    leg(-kick, dark)
    leg(kick, suit)
    sprite.layer(curve([(11, 10), (14, 7), (20, 7), (23, 9), (22, 12), (16, 13), (12, 12)]),
                 lambda x, y: mix(suit, dark, smooth(8, 14, y)))
    sprite.layer(polygon((19, 10.5), (21, 12), (28, 16), (29.5, 14.8), (23, 10)), skin)
    sprite.layer(circle(25, 7.6, 4.1), lambda x, y: mix(skin, (206, 140, 116), smooth(7, 13, y)))
    sprite.layer(both(circle(25, 7.6, 4.3), polygon((20, 2), (27, 2), (24.4, 6), (22.6, 12), (20, 12))),
                 (92, 56, 48))
    sprite.layer(ellipse(27.2, 7.2, 2.0, 2.3), (40, 60, 92))
    sprite.layer(ellipse(27.5, 6.8, 1.2, 1.4), (166, 232, 250))
    sprite.save(name)


def paint_pearl():
    sprite = Sprite(9, 9)
    sprite.layer(circle(4.5, 4.5, 4.2), lambda x, y: mix((255, 252, 246), (178, 156, 206),
                                                         smooth(3, 10, x * 0.5 + y)))
    sprite.layer(circle(3.3, 3.0, 1.1), (255, 255, 255))
    sprite.save("pearls/pearl.png")


def paint_shell(name, opening):
    """A shell on the sand, shut or open, without its pearl."""
    sprite = Sprite(24, 18)
    back = [(3, 12), (4, 12 - opening), (12, 9 - 1.2 * opening), (20, 12 - opening), (21, 12)]
    sprite.layer(curve(back), lambda x, y: mix((214, 122, 150), (126, 62, 108), smooth(2, 15, y)))
    if opening > 3:
        sprite.layer(curve([(5, 12), (6, 7), (12, 4.5), (18, 7), (19, 12)]),
                     lambda x, y: mix((110, 44, 84), (250, 196, 206), smooth(5, 13, y)))
    sprite.layer(curve([(2, 12), (12, 11), (22, 12), (18, 17), (12, 18), (6, 17)]),
                 lambda x, y: mix((240, 158, 176), (140, 70, 112), smooth(11, 18, y)))
    for i in range(-2, 3):
        sprite.layer(polygon((12 + 3.4 * i, 12), (12.7 + 3.4 * i, 12), (12.4 + 2 * i, 17), (12 + 2 * i, 17)),
                     (120, 56, 100), 0.45)
    sprite.save(name)


def paint_jelly():
    """A jellyfish: a bell, a frill and five arms."""
    sprite = Sprite(24, 30)
    for i in range(5):
        x0 = 5 + 3.5 * i
        points = [(x0 + 1.3 * math.sin(i + k * 0.8), 12 + 2.1 * k) for k in range(8)]
        for (xa, ya), (xb, yb) in zip(points, points[1:]):
            sprite.layer(polygon((xa - 0.7, ya), (xa + 0.7, ya), (xb + 0.6, yb), (xb - 0.6, yb)),
                         (250, 168, 230), clamp(1.05 - ya / 34))
    sprite.layer(curve([(1.5, 12), (4, 4), (12, 1), (20, 4), (22.5, 12), (18, 13.5), (12, 12.5), (6, 13.5)]),
                 lambda x, y: mix((255, 176, 230), (168, 66, 190), smooth(1, 14, y)), 0.9)
    sprite.layer(ellipse(8.5, 5.8, 3.6, 2.2, -32), (255, 240, 255), 0.75)
    sprite.save("pearls/jelly.png")


def paint_boat():
    sprite = Sprite(64, 36)
    sprite.layer(polygon((31, 2), (33, 2), (33, 24), (31, 24)), (122, 84, 60))
    sprite.layer(curve([(34, 3), (47, 12), (50, 20), (34, 21)], 8),
                 lambda x, y: mix((255, 250, 236), (226, 202, 190), smooth(36, 50, x)))
    sprite.layer(polygon((31, 2), (31, 7), (22, 4.5)), (232, 76, 72))
    hull = curve([(3, 22), (20, 24), (44, 24), (61, 21), (54, 32), (44, 35), (18, 35), (9, 32)])
    sprite.layer(hull, lambda x, y: mix((210, 120, 66), (112, 54, 48), smooth(22, 36, y)))
    sprite.layer(both(hull, polygon((0, 22), (64, 22), (64, 26.2), (0, 26.2))), (250, 232, 200))
    sprite.save("pearls/boat.png")


def paint_weed():
    sprite = Sprite(18, 44)
    for lean, height, shade in ((-0.16, 30, (26, 104, 96)), (0.14, 36, (30, 118, 92)), (0, 43, (46, 148, 100))):
        left, right = [], []
        for k in range(12):
            y = 44 - k * height / 11
            x = 9 + lean * (44 - y) + 2.2 * math.sin(k * 0.9 + lean * 20)
            w = 2.5 * (1 - k / 11.5)
            left.append((x - w, y))
            right.append((x + w, y))
        sprite.layer(polygon(*left, *right[::-1]), lambda x, y, s=shade: mix((120, 206, 120), s, smooth(0, 34, y)))
    sprite.save("pearls/weed.png")


def save_light(name, width, height, light_at):
    """A light on black, to be added to what is behind it: it needs no alpha channel, which modes of 16
    bits haven't. light_at gives the colour of a point and its strength."""
    rows = []
    for y in range(height):
        row = bytearray()
        for x in range(width):
            colour, strength = light_at(x + 0.5, y + 0.5)
            row += bytes(round(clamp(c * strength, 0, 255)) for c in colour)
        rows.append(bytes(row))
    write_png(name, width, height, rows, False)


def paint_glow(name, size, core, halo, power):
    def light_at(x, y):
        d = min(1, math.hypot(x / size * 2 - 1, y / size * 2 - 1))
        return mix(core, halo, smooth(0.0, 0.6, d)), (1 - d) ** power
    save_light(name, size, size, light_at)


def paint_ray():
    """A shaft of light: narrow above, wide and faint below."""
    width, height = 56, 150

    def light_at(x, y):
        d = min(1, abs(x - width / 2) / (9 + 18 * y / height))
        return (190, 240, 230), 0.34 * (1 - d * d) * (1 - y / height) ** 1.3
    save_light("pearls/ray.png", width, height, light_at)


def paint_bubble():
    sprite = Sprite(8, 8)
    sprite.layer(circle(4, 4, 3.7), (150, 220, 255), 0.35)
    sprite.layer(both(circle(4, 4, 3.7), lambda x, y: not circle(4, 4, 2.7)(x, y)), (200, 244, 255), 0.8)
    sprite.layer(circle(2.9, 2.8, 0.9), (255, 255, 255))
    sprite.save("pearls/bubble.png")


def paint_gauge():
    """What is left of one breath: from red on the left to blue."""
    stops = [(0, (244, 70, 60)), (8, (250, 190, 70)), (17, (110, 220, 220)), (32, (140, 240, 255))]
    rows = []
    for light in (0.8, 1, 0.85, 0.5):
        rows.append(b"".join(bytes(round(c * light) for c in ramp(stops, x)) for x in range(32)))
    write_png("pearls/gauge.png", 32, 4, rows, False)


# ---- The font ------------------------------------------------------------------------------------

# Letters of 5 x 7 pixels, which are doubled with their corners rounded.
LETTERS = [
    ("ABCDEFGHIJKLM",
     " ###  ####   #### ####  ##### #####  #### #   # #####   ### #   # #     #   # ",
     "#   # #   # #     #   # #     #     #     #   #   #       # #  #  #     ## ## ",
     "#   # #   # #     #   # #     #     #     #   #   #       # # #   #     # # # ",
     "##### ####  #     #   # ####  ####  #  ## #####   #       # ##    #     # # # ",
     "#   # #   # #     #   # #     #     #   # #   #   #   #   # # #   #     #   # ",
     "#   # #   # #     #   # #     #     #   # #   #   #   #   # #  #  #     #   # ",
     "#   # ####   #### ####  ##### #      #### #   # #####  ###  #   # ##### #   # "),
    ("NOPQRSTUVWXYZ",
     "#   #  ###  ####   ###  ####   #### ##### #   # #   # #   # #   # #   # ##### ",
     "##  # #   # #   # #   # #   # #       #   #   # #   # #   # #   # #   #     # ",
     "##  # #   # #   # #   # #   # #       #   #   # #   # #   #  # #   # #     #  ",
     "# # # #   # ####  #   # ####   ###    #   #   # #   # # # #   #     #     #   ",
     "#  ## #   # #     # # # # #       #   #   #   #  # #  # # #  # #    #    #    ",
     "#  ## #   # #     #  #  #  #      #   #   #   #  # #  ## ## #   #   #   #     ",
     "#   #  ###  #      ## # #   # ####    #    ###    #   #   # #   #   #   ##### "),
    ("0123456789+!",
     " ###    #    ###  ####     #  #####  ###  #####  ###   ###          #   ",
     "#   #  ##   #   #     #   ##  #     #         # #   # #   #   #     #   ",
     "#  ##   #       #     #  # #  #     #        #  #   # #   #   #     #   ",
     "# # #   #     ##   ###  #  #  ####  ####    #    ###   #### #####   #   ",
     "##  #   #    #        # #####     # #   #   #   #   #     #   #     #   ",
     "#   #   #   #         #    #      # #   #   #   #   #     #   #         ",
     " ###   ###  ##### ####     #  ####   ###    #    ###   ###          #   "),
]


def doubled(rows):
    """Twice the size; a corner takes the colour of the two neighbours that it touches, if they agree."""
    def at(x, y):
        return 0 <= y < len(rows) and 0 <= x < len(rows[0]) and rows[y][x] != " "
    out = [[False] * (2 * len(rows[0])) for _ in range(2 * len(rows))]
    for y in range(len(rows)):
        for x in range(len(rows[0])):
            for dy in (0, 1):
                for dx in (0, 1):
                    side, other = at(x + 2 * dx - 1, y), at(x - 2 * dx + 1, y)
                    over, under = at(x, y + 2 * dy - 1), at(x, y - 2 * dy + 1)
                    corner = side == over and side != under and over != other
                    out[2 * y + dy][2 * x + dx] = side if corner else at(x, y)
    return out


def save_font(name):
    glyphs = []
    for names, *rows in LETTERS:
        for i, letter in enumerate(names):
            glyphs.append((ord(letter), doubled([row[6 * i:6 * i + 5] for row in rows])))
    glyphs.append((32, [[False] * 10] * 14))
    with open(os.path.join(os.path.dirname(os.path.abspath(__file__)), name), "w", encoding="ascii") as out:
        out.write("STARTFONT 2.1\nFONT -orb-pearls-bold-r-normal--16-160-75-75-p-120-iso10646-1\n"
                  "SIZE 16 75 75\nFONTBOUNDINGBOX 10 14 0 0\nSTARTPROPERTIES 2\nFONT_ASCENT 15\n"
                  f"FONT_DESCENT 1\nENDPROPERTIES\nCHARS {len(glyphs)}\n")
        for code, rows in sorted(glyphs):
            bits = "\n".join(f"{sum(1 << 15 - x for x, ink in enumerate(row) if ink):04X}" for row in rows)
            out.write(f"STARTCHAR U+{code:04X}\nENCODING {code}\nSWIDTH 720 0\nDWIDTH 12 0\n"
                      f"BBX 10 14 0 0\nBITMAP\n{bits}\nENDCHAR\n")
        out.write("ENDFONT\n")


if __name__ == "__main__":
    paint_sea()
    paint_waves()
    paint_sun()
    paint_diver("pearls/diver1.png", 2.4)
    paint_diver("pearls/diver2.png", -1.8)
    paint_pearl()
    paint_shell("pearls/shell.png", 1)
    paint_shell("pearls/shell_open.png", 7)
    paint_jelly()
    paint_boat()
    paint_weed()
    paint_glow("pearls/glow.png", 64, (255, 150, 240), (130, 40, 210), 1.5)
    paint_glow("pearls/lamp.png", 96, (230, 226, 190), (80, 140, 180), 1.5)
    paint_ray()
    paint_bubble()
    paint_gauge()
    save_font("pearls/pearls.bdf")

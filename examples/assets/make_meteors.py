#!/usr/bin/env python3
"""Paints the pictures of the meteor game, as make_assets.py does those of the other examples."""

import math
import random

from make_assets import Sprite, circle, clamp, curve, ellipse, mix, noise, polygon, smooth, write_png


def paint_ship():
    """A small fighter that points to the right, lit from above."""
    sprite = Sprite(64, 48)
    hull = curve([(60, 24), (44, 19), (22, 17), (10, 20), (8, 24), (10, 28), (22, 31), (44, 29)])
    for side in (-1, 1):
        def at(y):
            return 24 + side * y
        wing = polygon((40, at(3)), (14, at(21)), (5, at(22)), (12, at(3)))
        shade = (92, 108, 150) if side < 0 else (58, 66, 104)
        sprite.layer(wing, lambda x, y, s=shade: mix(s, (28, 30, 56), smooth(34, 4, x)))
        tip = polygon((22, at(15.5)), (14, at(21)), (5, at(22)), (7, at(17.5)))
        sprite.layer(tip, (232, 84, 66) if side < 0 else (176, 50, 52))
    sprite.layer(hull, lambda x, y: mix((232, 238, 250), (96, 106, 150), smooth(17, 31, y)))
    sprite.layer(curve([(46, 24), (40, 20.5), (30, 20), (26, 22.5), (30, 24.5), (40, 25)]),
                 lambda x, y: mix((120, 220, 255), (20, 70, 130), smooth(20, 25, y)))
    sprite.layer(ellipse(38, 21.6, 4, 0.9, 6), (255, 255, 255), 0.8)
    sprite.layer(polygon((8, 20), (12, 20), (12, 28), (8, 28)), (50, 52, 80))
    sprite.save("ship.png")


def paint_meteor(name, seed):
    """A lump of rock with craters, lit from the upper left."""
    size, c = 112, 56.0
    rng = random.Random(seed)
    grain, lumps = noise(seed), noise(seed + 1)
    bumps = [rng.uniform(0.82, 1.0) for _ in range(11)]
    outline = [(c + 52 * r * math.cos(2 * math.pi * i / 11), c + 52 * r * math.sin(2 * math.pi * i / 11))
               for i, r in enumerate(bumps)]
    craters = [(c + rng.uniform(-30, 30), c + rng.uniform(-30, 30), rng.uniform(5, 12))
               for _ in range(7)]

    def height(x, y):
        h = 52 * math.sqrt(max(0.0, 1 - ((x - c) / 56) ** 2 - ((y - c) / 56) ** 2))
        h += 5 * lumps(x / 16, y / 16) + 1.6 * grain(x / 4, y / 4)
        for cx, cy, r in craters:
            d = math.hypot(x - cx, y - cy) / r
            h += r * 0.35 * (smooth(1.35, 1.0, d) - 1.9 * smooth(1.0, 0.35, d))
        return h

    def shade(x, y):
        dx, dy = height(x + 1, y) - height(x - 1, y), height(x, y + 1) - height(x, y - 1)
        nx, ny, nz = -dx, -dy, 2.0
        length = math.sqrt(nx * nx + ny * ny + nz * nz)
        light = clamp((-0.55 * nx - 0.6 * ny + 0.58 * nz) / length)
        rock = mix((98, 84, 78), (150, 124, 104), 0.5 + 0.5 * lumps(x / 9, y / 9))
        colour = mix((22, 18, 34), rock, 0.12 + 0.95 * light)
        return mix(colour, (255, 236, 206), 0.35 * smooth(0.82, 1.0, light))

    sprite = Sprite(size, size)
    sprite.layer(curve(outline, 6), shade)
    sprite.save(name)


def paint_glow(name, width, height, core, halo):
    """A soft light: bright in the middle, gone at the edge."""
    sprite = Sprite(width, height)
    for y in range(height):
        for x in range(width):
            d = math.hypot((x + 0.5) / width * 2 - 1, (y + 0.5) / height * 2 - 1)
            if d < 1:
                sprite.over(x, y, mix(core, halo, smooth(0.0, 0.6, d)), (1 - d) ** 1.6)
    sprite.save(name)


def paint_space():
    """Stars before a nebula."""
    width, height = 640, 480
    rng = random.Random(99)
    cloud, veil = noise(7), noise(8)
    rows = []
    for y in range(height):
        row = bytearray()
        for x in range(width):
            n = cloud(x / 120, y / 120) + 0.35 * cloud(x / 31, y / 31)
            v = veil(x / 170, y / 140)
            band = smooth(1.0, 0.0, abs((y - 300 + x * 0.35) / 260))
            colour = (8, 8, 22)
            colour = mix(colour, (70, 26, 92), 0.75 * band * smooth(-0.5, 0.9, n))
            colour = mix(colour, (26, 74, 120), 0.6 * band * smooth(0.0, 0.9, v + 0.4 * n))
            colour = mix(colour, (214, 120, 130), 0.35 * band * smooth(0.55, 1.2, n + 0.3 * v))
            row += bytes(round(clamp(c, 0, 255)) for c in colour)
        rows.append(row)
    for _ in range(520):
        x, y = rng.randrange(1, width - 1), rng.randrange(1, height - 1)
        light = rng.random() ** 3
        tint = rng.choice([(255, 255, 255), (200, 220, 255), (255, 226, 196)])
        for i, j, share in ((0, 0, 1), (1, 0, 0.3), (-1, 0, 0.3), (0, 1, 0.3), (0, -1, 0.3)):
            at = 3 * (x + i)
            for k in range(3):
                rows[y + j][at + k] = min(255, round(rows[y + j][at + k] + tint[k] * light * share))
    write_png("space.png", width, height, [bytes(row) for row in rows], False)


if __name__ == "__main__":
    paint_ship()
    paint_meteor("meteor1.png", 11)
    paint_meteor("meteor2.png", 25)
    paint_glow("spark.png", 24, 24, (255, 250, 220), (255, 120, 30))
    paint_glow("shot.png", 22, 10, (220, 255, 255), (60, 160, 255))
    paint_space()

#!/usr/bin/env python3
"""Paints the pictures of the storm of bullets, as make_assets.py does those of the other examples."""

import math

from make_assets import Sprite, circle, clamp, ellipse, mix, polygon, smooth


def paint_drone(name, metal, shade, glow, core):
    """A star of four blades around a lamp."""
    size, c = 26, 13.0
    sprite = Sprite(size, size)
    for blade in range(4):
        turn = math.radians(90 * blade)

        def at(forward, side, t=turn):
            return (c + forward * math.cos(t) - side * math.sin(t),
                    c + forward * math.sin(t) + side * math.cos(t))
        sprite.layer(polygon(at(12.6, 3.0), at(4, -4.6), at(2, 0), at(5, 3.4)),
                     lambda x, y: mix(metal, shade, smooth(2, 12, math.hypot(x - c, y - c))))
        sprite.layer(polygon(at(12.6, 3.0), at(4, -4.6), at(5, -1.6)), (255, 255, 255), 0.35)
    sprite.layer(circle(c, c, 5.6), lambda x, y: mix(metal, shade, smooth(-5, 6, x - c + y - c)))
    sprite.layer(circle(c, c, 3.9), lambda x, y: mix(core, glow, clamp(math.hypot(x - c, y - c) / 4)))
    sprite.layer(ellipse(c - 1.2, c - 1.4, 1.2, 0.8, -40), (255, 255, 255), 0.8)
    sprite.save(name)


def paint_bolt(name, halo):
    """A small ball of light, white in the middle."""
    size, c = 9, 4.5
    sprite = Sprite(size, size)
    for y in range(size):
        for x in range(size):
            d = math.hypot(x + 0.5 - c, y + 0.5 - c) / c
            if d < 1:
                sprite.over(x, y, mix((255, 255, 255), halo, smooth(0.1, 0.5, d)),
                            smooth(1.0, 0.35, d))
    sprite.save(name)


if __name__ == "__main__":
    paint_drone("drone.png", (196, 92, 120), (74, 30, 66), (255, 60, 40), (255, 220, 120))
    paint_drone("drone_hit.png", (255, 255, 255), (255, 214, 160), (255, 255, 255), (255, 255, 255))
    paint_bolt("bolt1.png", (40, 150, 255))
    paint_bolt("bolt2.png", (206, 84, 255))

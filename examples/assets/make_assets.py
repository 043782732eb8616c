#!/usr/bin/env python3
"""Paints the pictures of the examples and writes them as PNG files beside this script.

Needs Python 3 and nothing else. The pictures are committed, so this runs only when one is to
change. Shapes are predicates over points; a pixel's coverage is the share of its 5 x 5 sample
points inside, so all edges are smooth.
"""

import math
import os
import random
import struct
import zlib

SAMPLES = [(i + 0.5) / 5 for i in range(5)]


# ---- Colours and files ---------------------------------------------------------------------------

def clamp(value, low=0.0, high=1.0):
    return max(low, min(high, value))


def mix(a, b, t):
    return tuple(p + (q - p) * t for p, q in zip(a, b))


def smooth(low, high, value):
    t = clamp((value - low) / (high - low))
    return t * t * (3 - 2 * t)


def ramp(stops, at):
    """Colour at a place on a gradient of (place, colour) stops."""
    for (p0, c0), (p1, c1) in zip(stops, stops[1:]):
        if at <= p1:
            return mix(c0, c1, smooth(p0, p1, at))
    return stops[-1][1]


def filtered(row, previous, pixel_bytes):
    """The row behind whichever PNG filter leaves the smallest differences."""
    left = bytes(pixel_bytes) + row[:-pixel_bytes]
    up_left = bytes(pixel_bytes) + previous[:-pixel_bytes]

    def paeth(a, b, c):
        p = a + b - c
        pa, pb, pc = abs(p - a), abs(p - b), abs(p - c)
        return a if pa <= pb and pa <= pc else b if pb <= pc else c

    candidates = (
        row,
        bytes((x - a) & 255 for x, a in zip(row, left)),
        bytes((x - b) & 255 for x, b in zip(row, previous)),
        bytes((x - (a + b) // 2) & 255 for x, a, b in zip(row, left, previous)),
        bytes((x - paeth(a, b, c)) & 255 for x, a, b, c in zip(row, left, previous, up_left)))
    best = min(range(5), key=lambda i: sum(min(d, 256 - d) for d in candidates[i]))
    return bytes([best]) + candidates[best]


def write_png_file(name, width, height, colour_type, palette, stream):
    def chunk(kind, data):
        return (struct.pack(">I", len(data)) + kind + data +
                struct.pack(">I", zlib.crc32(kind + data)))

    header = struct.pack(">IIBBBBB", width, height, 8, colour_type, 0, 0, 0)
    path = os.path.join(os.path.dirname(os.path.abspath(__file__)), name)
    with open(path, "wb") as file:
        file.write(b"\x89PNG\r\n\x1a\n" + chunk(b"IHDR", header) +
                   (chunk(b"PLTE", palette) if palette else b"") +
                   chunk(b"IDAT", zlib.compress(stream, 9)) + chunk(b"IEND", b""))


def write_png(name, width, height, rows, alpha):
    pixel_bytes = 4 if alpha else 3
    stream, previous = b"", bytes(width * pixel_bytes)
    for row in rows:
        stream += filtered(row, previous, pixel_bytes)
        previous = row
    write_png_file(name, width, height, 6 if alpha else 2, b"", stream)


def write_indexed_png(name, rows, colours):
    """A palette picture: rows of indices, and the colours they stand for."""
    palette = bytes(round(clamp(c, 0, 255)) for colour in colours for c in colour)
    write_png_file(name, len(rows[0]), len(rows), 3, palette,
                   b"".join(b"\0" + bytes(row) for row in rows))


# ---- Sprites -------------------------------------------------------------------------------------

def circle(cx, cy, r):
    return lambda x, y: (x - cx) ** 2 + (y - cy) ** 2 <= r * r


def ellipse(cx, cy, rx, ry, degrees=0.0):
    s, c = math.sin(math.radians(degrees)), math.cos(math.radians(degrees))

    def inside(x, y):
        dx, dy = x - cx, y - cy
        return ((dx * c + dy * s) / rx) ** 2 + ((dy * c - dx * s) / ry) ** 2 <= 1
    return inside


def polygon(*points):
    def inside(x, y):
        odd = False
        for (x0, y0), (x1, y1) in zip(points, points[1:] + points[:1]):
            if (y0 > y) != (y1 > y) and x < (x1 - x0) * (y - y0) / (y1 - y0) + x0:
                odd = not odd
        return odd
    return inside


def curve(points, steps=12):
    """A closed smooth outline through the points (Catmull-Rom), as a polygon."""
    out = []
    n = len(points)
    for i in range(n):
        p0, p1, p2, p3 = (points[(i + k - 1) % n] for k in range(4))
        for step in range(steps):
            t = step / steps
            out.append(tuple(
                0.5 * (2 * b + (c - a) * t + (2 * a - 5 * b + 4 * c - d) * t * t +
                       (3 * b - a - 3 * c + d) * t * t * t)
                for a, b, c, d in zip(p0, p1, p2, p3)))
    return polygon(*out)


def both(a, b):
    return lambda x, y: a(x, y) and b(x, y)


class Sprite:
    """Layers of colour over transparency, one over the other."""

    def __init__(self, width, height):
        self.width, self.height = width, height
        self.pixels = [[(0.0, 0.0, 0.0, 0.0)] * width for _ in range(height)]

    def layer(self, inside, colour, opacity=1.0):
        """Paints a shape; colour and opacity are constants or functions of the pixel's middle."""
        for y in range(self.height):
            for x in range(self.width):
                cover = sum(inside(x + i, y + j) for j in SAMPLES for i in SAMPLES) / 25
                if not cover:
                    continue
                at = x + 0.5, y + 0.5
                a = cover * (opacity(*at) if callable(opacity) else opacity)
                self.over(x, y, colour(*at) if callable(colour) else colour, a)

    def over(self, x, y, colour, a):
        r, g, b, below = self.pixels[y][x]
        total = a + below * (1 - a)
        if total > 0:
            r, g, b = ((c * a + d * below * (1 - a)) / total for c, d in zip(colour, (r, g, b)))
        self.pixels[y][x] = (r, g, b, total)

    def save(self, name):
        rows = []
        for row in self.pixels:
            out = bytearray()
            for r, g, b, a in row:
                alpha = round(clamp(a) * 255)
                out += bytes(round(clamp(c, 0, 255)) if alpha else 0 for c in (r, g, b))
                out.append(alpha)
            rows.append(bytes(out))
        write_png(name, self.width, self.height, rows, True)


def paint_ball():
    """A glossy beach ball, lit from the upper left."""
    size, c, r = 48, 24.0, 22.5
    sprite = Sprite(size, size)
    panels = [(236, 72, 84), (250, 246, 238), (250, 190, 62), (250, 246, 238), (62, 144, 226),
              (250, 246, 238)]

    def shade(x, y):
        dx, dy = (x - c) / r, (y - c) / r
        z = math.sqrt(max(0.0, 1 - dx * dx - dy * dy))
        # The panels meet at a pole that is turned towards the viewer and up.
        tilt = math.radians(52)
        px, py = dx, dy * math.cos(tilt) + z * math.sin(tilt)
        turn = (math.atan2(py - 0.15, px + 0.1) / (2 * math.pi) + 0.5) * 6
        near = min(turn % 1, 1 - turn % 1)
        here, other = int(turn) % 6, (int(turn) + (1 if turn % 1 > 0.5 else -1)) % 6
        colour = mix(panels[other], panels[here], 0.5 + 0.5 * smooth(0, 0.12, near))
        light = clamp(-0.45 * dx - 0.6 * dy + 0.66 * z)
        colour = mix((70, 34, 84), colour, 0.34 + 0.66 * smooth(0.0, 0.8, light))
        rim = smooth(0.8, 1.0, math.hypot(dx, dy))
        return mix(colour, (58, 36, 84), 0.35 * rim)

    sprite.layer(circle(c, c, r), shade)
    sprite.layer(ellipse(16.5, 14.0, 6.5, 4.4, -38), (255, 255, 255),
                 lambda x, y: 0.92 * (1 - smooth(0.2, 1.0, math.hypot((x - 16.5) / 6.5,
                                                                       (y - 14.0) / 5.2))))
    sprite.save("ball.png")


def paint_bird():
    """A small bird in flight, facing right, so that mirroring shows."""
    sprite = Sprite(60, 44)
    ink = (38, 52, 92)

    def shade(top, bottom, y0, y1):
        return lambda x, y: mix(top, bottom, smooth(y0, y1, y))

    far_wing = curve([(31, 24), (25, 14), (24, 4), (28, 2), (36, 10), (40, 22)])
    tail = curve([(17, 25), (8, 20), (1, 20), (4, 24), (1, 29), (9, 30), (18, 30)], 10)
    body = curve([(14, 27), (20, 21), (32, 17), (42, 14), (49, 17), (50, 23), (44, 30), (34, 34),
                  (24, 33)])
    wing = curve([(36, 23), (29, 16), (18, 8), (8, 1), (9, 8), (13, 12), (11, 13), (16, 18),
                  (15, 20), (23, 27), (32, 28)])
    sprite.layer(far_wing, shade((74, 132, 196), (44, 84, 150), 2, 22))
    sprite.layer(tail, shade((58, 108, 178), (40, 74, 138), 20, 30))
    sprite.layer(body, shade((104, 178, 232), (58, 122, 196), 14, 32))
    sprite.layer(both(body, ellipse(38, 31, 15, 8.5, -16)), shade((252, 196, 120),
                                                                  (246, 140, 84), 24, 34))
    sprite.layer(both(body, ellipse(48, 22.5, 4.6, 4.0)), (252, 214, 150))
    sprite.layer(wing, shade((60, 112, 190), (112, 186, 238), 2, 26))
    for x0, y0, x1, y1 in ((10.5, 5, 26, 19), (13, 12.5, 26, 22), (17, 19, 27, 24.5)):
        dx, dy = (y0 - y1) * 0.035, (x1 - x0) * 0.035
        sprite.layer(polygon((x0, y0), (x1, y1), (x1 + dx, y1 + dy), (x0 + dx, y0 + dy)),
                     ink, 0.42)
    sprite.layer(polygon((49.2, 18.0), (58.5, 21.6), (49.6, 23.2)), (250, 178, 60))
    sprite.layer(polygon((49.4, 20.8), (58.5, 21.6), (49.6, 23.2)), (222, 132, 44))
    sprite.layer(circle(45.2, 18.6, 2.5), (255, 255, 255))
    sprite.layer(circle(45.8, 18.7, 1.7), (28, 30, 52))
    sprite.layer(circle(46.4, 17.9, 0.65), (255, 255, 255))
    sprite.save("bird.png")


def paint_cloud():
    """A translucent cloud: alpha falls off softly towards its edges and its flat base."""
    width, height = 64, 40
    sprite = Sprite(width, height)
    puffs = [(17, 25, 11), (28, 17, 12.5), (42, 19, 11.5), (50, 26, 9.5), (34, 27, 12), (24, 28, 9)]
    for y in range(height):
        for x in range(width):
            px, py = x + 0.5, y + 0.5
            density = 0.0
            for cx, cy, r in puffs:
                d = math.hypot(px - cx, (py - cy) * 1.06) / r
                density += max(0.0, 1 - d * d) ** 2
            density *= 1 - smooth(29, 37, py)
            a = smooth(0.03, 0.75, density)
            if a <= 0:
                continue
            light = 1 - smooth(8, 34, py)
            puff = 0.0
            for cx, cy, r in puffs:
                d = math.hypot(px - cx + 0.3 * r, py - cy + 0.35 * r) / r
                puff = max(puff, 1 - d)
            colour = mix((166, 164, 214), (255, 252, 250), clamp(0.55 * light + 0.7 * puff))
            sprite.over(x, y, colour, 0.86 * a)
    sprite.save("cloud.png")


def paint_star():
    """A rounded golden star in its own glow."""
    size, c = 36, 18.0
    sprite = Sprite(size, size)

    def outline(outer, inner):
        corners = [(r, i * math.pi / 5) for i, r in enumerate((outer, inner) * 5)]
        return polygon(*((c + r * math.sin(turn), c + 0.8 - r * math.cos(turn))
                         for r, turn in corners))

    for y in range(size):
        for x in range(size):
            d = math.hypot(x + 0.5 - c, y + 0.5 - c) / c
            sprite.over(x, y, (255, 206, 96), 0.55 * max(0.0, 1 - d) ** 1.6)
    sprite.layer(outline(15.2, 7.2), (214, 120, 32))
    sprite.layer(outline(13.4, 6.3), lambda x, y: mix((255, 238, 132), (252, 172, 48),
                                                      smooth(5, 29, y + 0.35 * (x - c))))
    # Each point has a light and a dark side.
    for i in range(5):
        a0, a1 = i * 2 * math.pi / 5, (i * 2 + 1) * math.pi / 5
        side = polygon((c, c + 0.8),
                       (c + 13.4 * math.sin(a0), c + 0.8 - 13.4 * math.cos(a0)),
                       (c + 6.3 * math.sin(a1), c + 0.8 - 6.3 * math.cos(a1)))
        sprite.layer(side, (206, 104, 24), 0.26)
    sprite.layer(ellipse(14.6, 13.2, 2.6, 1.5, -50), (255, 255, 255), 0.75)
    sprite.save("star.png")


# ---- Background ----------------------------------------------------------------------------------

def waves(x, *terms):
    return sum(size * math.sin(x / length + phase) for size, length, phase in terms)


def paint_meadow():
    """A meadow at dusk: stars, a low sun, hills one behind the other, pines, grass."""
    width, height = 640, 480
    sun_x, sun_y = 436.0, 292.0
    rng = random.Random(9)
    sky = [(0, (36, 34, 92)), (110, (74, 58, 134)), (200, (158, 88, 148)), (262, (240, 142, 122)),
           (310, (255, 206, 146)), (480, (255, 214, 160))]
    pixels = [[(0.0, 0.0, 0.0)] * width for _ in range(height)]

    def blend(x, y, colour, a):
        if a > 0 and 0 <= x < width and 0 <= y < height:
            pixels[y][x] = mix(pixels[y][x], colour, min(a, 1.0))

    for y in range(height):
        base = ramp(sky, y)
        for x in range(width):
            d = math.hypot(x - sun_x, (y - sun_y) * 1.25)
            colour = mix(base, (255, 186, 120), 0.62 * math.exp(-d / 130))
            colour = mix(colour, (255, 236, 186), 0.75 * math.exp(-(d / 62) ** 2))
            disc = clamp(31.5 - math.hypot(x + 0.5 - sun_x, y + 0.5 - sun_y))
            pixels[y][x] = mix(colour, (255, 248, 218), disc)

    for _ in range(150):
        x, y = rng.randrange(width), int(rng.random() ** 1.7 * 205)
        a, r = (1 - y / 215) * rng.uniform(0.25, 1.0), rng.choice((0.55, 0.65, 0.8, 1.15))
        for dy in range(-3, 4):
            for dx in range(-3, 4):
                blend(x + dx, y + dy, (255, 246, 228), a * math.exp(-(dx * dx + dy * dy) / r ** 2))

    # Long thin clouds, lit from below.
    for cx, cy, half, thick, strength in ((150, 150, 170, 9, 0.5), (330, 186, 120, 6, 0.5),
                                          (560, 132, 130, 8, 0.42), (235, 226, 150, 6, 0.55),
                                          (585, 218, 95, 5, 0.6), (70, 246, 100, 5, 0.5)):
        for y in range(int(cy - 3 * thick), int(cy + 3 * thick)):
            for x in range(max(0, cx - half), min(width, cx + half)):
                t = (x - cx) / half
                middle = cy + waves(x, (2.2, 23, cx), (1.4, 9.5, cy))
                body = thick * (1 - t * t) * (0.75 + 0.25 * math.sin(x / 17 + cy))
                if body <= 0.2:
                    continue
                v = (y - middle) / body
                lit = mix((150, 100, 160), (255, 196, 160), smooth(-0.9, 0.9, v))
                blend(x, y, lit, strength * (1 - t * t) * math.exp(-v * v * 1.6))

    # Hills from far to near: base line, waves, colours at the crest and 90 pixels below it.
    hills = [
        (292, ((13, 71, 0.4), (6, 29, 1.1), (2, 11, 0)), (196, 122, 150), (228, 156, 152)),
        (316, ((16, 93, 2.2), (7, 37, 0.3), (2, 13, 2)), (132, 92, 142), (176, 122, 142)),
        (346, ((17, 118, 4.4), (6, 45, 1.9)), (84, 78, 126), (112, 98, 124)),
        (384, ((20, 150, 0.9), (6, 61, 3.0)), (52, 84, 104), (52, 104, 96)),
        (428, ((13, 171, 3.6), (5, 52, 0.6)), (36, 74, 74), (26, 56, 58)),
    ]
    for index, (base, terms, crest, foot) in enumerate(hills):
        tops = [base + waves(x, *terms) for x in range(width)]
        if index in (2, 3):
            grow_pines(rng, blend, tops, index, mix(crest, (30, 52, 80), 0.42))
        for x in range(width):
            slope = tops[min(x + 4, width - 1)] - tops[max(x - 4, 0)]
            facing = clamp(slope * 0.11 * clamp((x - sun_x) / -70, -1, 1), 0, 0.45)
            near_sun = math.exp(-abs(x - sun_x) / 150)
            for y in range(int(tops[x]), height):
                depth = y - tops[x]
                colour = mix(crest, foot, smooth(0, 90, depth))
                glow = facing * math.exp(-depth / 30) + 0.34 * math.exp(-depth / 9)
                colour = mix(colour, (255, 196, 132), clamp(glow * near_sun * (1 - 0.15 * index)))
                blend(x, y, colour, clamp(depth + 0.5))

    grow_grass(rng, blend, width, height)
    # No black: in a picture without alpha it is the transparent colour.
    rows = [bytes(max(1, round(clamp(c, 0, 255))) for pixel in row for c in pixel)
            for row in pixels]
    write_png("meadow.png", width, height, rows, False)


def grow_pines(rng, blend, tops, index, colour):
    """Pines along a crest, in groups."""
    count, tall = (34, 20) if index == 2 else (22, 36)
    for _ in range(count):
        x0 = rng.choice((60, 150, 250, 520, 600) if index == 2 else (20, 95, 330, 585))
        x0 = clamp(x0 + rng.gauss(0, 26), 2, len(tops) - 3)
        h = tall * rng.uniform(0.55, 1.1)
        foot = tops[int(x0)] + 2
        for y in range(int(foot - h), int(foot) + 1):
            t = (y + 0.5 - foot + h) / h
            # Three tiers of branches.
            half = h * 0.25 * t * (0.72 + 0.28 * ((t * 3.2) % 1)) + 0.25
            for x in range(int(x0 - half) - 1, int(x0 + half) + 2):
                blend(x, y, colour, clamp(half + 0.5 - abs(x + 0.5 - x0)) * clamp(t * h))


def grow_grass(rng, blend, width, height):
    """Blades along the lower edge, the near ones bigger and darker, and a few flowers."""
    for distance in (2, 1, 0):
        for _ in range(760 - 150 * distance):
            x = rng.uniform(-10, width + 10)
            y = height + 2 - distance * 17 + rng.uniform(0, 8)
            tall, lean = rng.uniform(14, 34) * (1 - 0.24 * distance), rng.gauss(0, 7)
            colour = mix((16, 42, 46), (40, 96, 84), 0.34 * distance + rng.uniform(0, 0.3))
            for step in range(int(tall * 2)):
                t = step / (tall * 2)
                bx, by = x + lean * t * t, y - tall * t
                half = 1.25 * (1 - t) + 0.2
                for px in range(int(bx - half) - 1, int(bx + half) + 2):
                    cover = clamp(half + 0.5 - abs(px + 0.5 - bx))
                    blend(px, int(by), mix(colour, (150, 160, 110), 0.3 * t), 0.8 * cover)
        for _ in range(16 - 3 * distance):
            x, y = rng.uniform(0, width), height - 14 - distance * 15 - rng.uniform(0, 12)
            petal = rng.choice(((250, 214, 120), (244, 150, 160), (238, 232, 246)))
            r = 2.5 - 0.45 * distance
            for py in range(int(y) - 4, int(y) + 5):
                for px in range(int(x) - 4, int(x) + 5):
                    dx, dy = px + 0.5 - x, py + 0.5 - y
                    d, turn = math.hypot(dx, dy), math.atan2(dy, dx)
                    edge = r * (0.8 + 0.34 * math.cos(5 * turn))
                    blend(px, py, mix((206, 120, 50), petal, smooth(0.5, 1.2, d)),
                          clamp(edge + 0.5 - d) * (0.95 - 0.2 * distance))


# ---- Palette pictures ----------------------------------------------------------------------------

# The palette of the waterfall: first index and number of colours of each range. The entries of
# "fall", "pool" and "stars" are turned by the example, so they are rings without a seam. Index 0 is
# transparent; 240 to 255 are for what the example writes on the picture.
RANGES = {"sky": (1, 31), "hills": (32, 16), "rock": (48, 32), "leaves": (80, 32),
          "fall": (112, 32), "pool": (144, 32), "stars": (176, 16), "mist": (192, 16)}

# By day and by night, the colours from the dark or lower to the bright or upper end of each range.
DAY = {
    "sky": [(255, 236, 200), (250, 214, 184), (168, 200, 232), (92, 150, 214), (52, 104, 180)],
    "hills": [(112, 128, 152), (160, 168, 184)],
    "rock": [(28, 24, 28), (84, 68, 60), (148, 120, 92), (216, 188, 144)],
    "leaves": [(10, 28, 20), (24, 68, 36), (72, 128, 44), (188, 204, 84)],
    "fall": ((120, 176, 208), (248, 252, 255)),
    "pool": ((24, 92, 128), (120, 196, 208)),
    "stars": ((68, 124, 196), (68, 124, 196)),
    "mist": [(168, 204, 220), (255, 255, 255)],
}
NIGHT = {
    "sky": [(84, 60, 108), (60, 44, 96), (32, 28, 76), (16, 16, 52), (6, 8, 30)],
    "hills": [(20, 22, 52), (40, 40, 80)],
    "rock": [(8, 8, 18), (24, 24, 44), (44, 46, 76), (96, 104, 144)],
    "leaves": [(2, 6, 14), (8, 20, 30), (18, 40, 46), (52, 88, 84)],
    "fall": ((36, 56, 104), (164, 196, 240)),
    "pool": ((8, 20, 52), (60, 96, 152)),
    "stars": ((20, 20, 60), (255, 250, 230)),
    "mist": [(60, 76, 124), (164, 184, 228)],
}


def colours_of(mood):
    """The 256 colours of a mood of the waterfall."""
    colours = [(0, 0, 0)] * 256
    for name, (first, count) in RANGES.items():
        for i in range(count):
            if name in ("fall", "pool", "stars"):
                low, high = mood[name]
                # Waves of unlike height that meet at both ends; a star shines now and then.
                t = i / count * 2 * math.pi
                light = (0.5 + 0.27 * math.sin(2 * t) + 0.15 * math.sin(5 * t + 1) +
                         0.12 * math.sin(3 * t + 2))
                if name == "stars":
                    light = 0.15 + 0.85 * max(0.0, math.cos(t)) ** 3
                colours[first + i] = mix(low, high, clamp(light))
            else:
                stops = [(j / (len(mood[name]) - 1), c) for j, c in enumerate(mood[name])]
                colours[first + i] = ramp(stops, i / (count - 1))
    colours[240], colours[254] = (16, 16, 16), (252, 252, 252)
    # Six significant bits, as palettes on disk have.
    return [tuple(round(c) // 4 * 4 for c in colour) for colour in colours]


BAYER = [[0, 8, 2, 10], [12, 4, 14, 6], [3, 11, 1, 9], [15, 7, 13, 5]]


def shade_of(name, light, x, y):
    """The index of a light 0..1 within a range, dithered."""
    first, count = RANGES[name]
    at = clamp(light) * (count - 1) + (BAYER[y % 4][x % 4] + 0.5) / 16
    return first + min(int(at), count - 1)


def noise(seed):
    """Smooth noise over the plane, -1..1, lattice spacing 1."""
    rng = random.Random(seed)
    lattice = [rng.uniform(-1, 1) for _ in range(4096)]

    def at(x, y):
        x0, y0 = math.floor(x), math.floor(y)
        sx, sy = smooth(0, 1, x - x0), smooth(0, 1, y - y0)

        def corner(i, j):
            return lattice[((x0 + i) * 57 + (y0 + j) * 1013) % 4096]
        top = corner(0, 0) + (corner(1, 0) - corner(0, 0)) * sx
        low = corner(0, 1) + (corner(1, 1) - corner(0, 1)) * sx
        return top + (low - top) * sy
    return lambda x, y: (at(x, y) + 0.5 * at(2 * x, 2 * y) + 0.25 * at(4 * x, 4 * y)) / 1.75


def paint_waterfall():
    """A waterfall between cliffs, for colours that turn. The night is only a palette, in a picture
    of sixteen by sixteen pixels."""
    width, height = 320, 200
    foot = 148.0                                   # where the fall meets the pool
    grain, large, streaks = noise(1), noise(2), noise(3)
    rng = random.Random(4)
    rows = [[0] * width for _ in range(height)]

    def edge(side, y):
        """Inner edge of a cliff: the gorge is narrow at the lip and wider below."""
        wobble = 5 * grain(y / 13, side * 7) + 2 * grain(y / 4, side * 3)
        return 160 + side * (27 + 0.13 * max(0.0, y - 52) + wobble)

    crest = [52 + 11 * large(x / 40, 9) + 3 * grain(x / 9, 5) - 40 * smooth(150, 20, x) * 0.5
             - 22 * smooth(190, 300, x) for x in range(width)]
    for y in range(height):
        for x in range(width):
            shore = foot + 2 + 0.0005 * (x - 160) ** 2 + 2.5 * grain(x / 11, 3)
            # Sky, and hills behind the lip of the fall.
            index = shade_of("sky", 1 - y / 74, x, y)
            if y > 44 + 9 * large(x / 55, 2):
                light = 0.5 + 0.5 * (y - 44) / 30 + 0.2 * grain(x / 7, y / 7)
                index = shade_of("hills", light, x, y)
            left, right = edge(-1, y), edge(1, y)
            inside = left < x < right
            if not inside and y > crest[x]:
                # Layers of rock, lit from the left above; darker towards the gorge.
                away = left - x if x <= left else x - right
                strata = math.sin((y + 6 * large(x / 30, y / 30)) / 4.3)
                facing = grain(x / 6, y / 3) - grain(x / 6 + 0.3, y / 3 + 0.35)
                light = 0.42 + 0.12 * strata + 0.85 * facing + 0.2 * large(x / 22, y / 22)
                light *= 0.5 + 0.5 * smooth(0, 34, away)
                index = shade_of("rock", light, x, y)
                # Leaves along the crest and on ledges.
                moss = large(x / 17 + 40, y / 11) + 0.9 * smooth(20, 0, y - crest[x]) - 0.42
                if moss + 0.5 * grain(x / 3, y / 3) > 0.1:
                    index = shade_of("leaves", 0.45 + 0.75 * grain(x / 3, y / 3 + 5) +
                                     0.25 * smooth(16, 0, y - crest[x]), x, y)
            elif inside and y > 54 + 2 * grain(x / 8, 1):
                # Falling water: columns that are stretched and shifted, so that no two look alike.
                first, count = RANGES["fall"]
                column = 14 * streaks(x / 3.1, 0) + 5 * streaks(x / 1.3, 4)
                bend = 3 * grain(x / 5, y / 16)
                stretch = 0.62 - 0.26 * smooth(54, 130, y)
                index = first + int((y - 54) * stretch + column + bend) % count
            # The pool: rings that widen from the foot, flattened by the view.
            if y > shore:
                first, count = RANGES["pool"]
                away = math.hypot((x - 160) / 2.6, (y - foot + 6) * 1.25)
                index = first + int(-away * 0.9 + 4 * grain(x / 17, y / 5) + 640) % count
            # Mist about the foot.
            d = math.hypot((x - 160) / 46, (y - foot) / 13)
            veil = (1 - d) + 0.5 * grain(x / 12, y / 8)
            if veil > 0.12 and (BAYER[y % 4][x % 4] + 0.5) / 16 < 1.5 * veil:
                index = shade_of("mist", veil, x, y)
            rows[y][x] = index

    # Stars: by day they have the colour of the sky about them.
    first, count = RANGES["stars"]
    for _ in range(90):
        x, y = rng.randrange(width), int(rng.random() ** 1.4 * 28)
        if rows[y][x] < RANGES["sky"][0] + RANGES["sky"][1]:
            rows[y][x] = first + rng.randrange(count)

    # Stones in the pool, and ferns in the near corners.
    for cx, cy, rx, ry in ((70, 172, 16, 7), (104, 186, 11, 5), (236, 176, 18, 8),
                           (262, 190, 13, 6), (150, 194, 15, 6)):
        for y in range(height):
            for x in range(width):
                dx, dy = (x - cx) / rx, (y - cy) / ry
                d = dx * dx + dy * dy + 0.25 * grain(x / 5, y / 5)
                if d < 1 and (dy < 0.35):
                    rows[y][x] = shade_of("rock", 0.5 - 0.42 * dy - 0.25 * dx + 0.3 *
                                          grain(x / 3, y / 3), x, y)
    ferns = [(i * 9 - 6, 1) for i in range(8)] + [(width + 6 - i * 9, -1) for i in range(8)]
    for cx, lean in ferns:
        for frond in range(5):
            reach = rng.uniform(24, 46) * (1 - 0.04 * abs(cx - 160) / 160)
            turn = lean * rng.uniform(-0.3, 1.0)
            for step in range(90):
                t = step / 90
                fx = cx + reach * t * turn + lean * 10 * t * t
                fy = height + 4 - reach * (t - 0.28 * t * t)
                for leaf in range(-4, 5):
                    px, py = int(fx + leaf * (1 - t)), int(fy + abs(leaf) * 0.6)
                    if 0 <= px < width and 0 <= py < height and (step % 5 < 3 or leaf == 0):
                        light = 0.1 + 0.5 * t + 0.03 * leaf * lean
                        rows[py][px] = shade_of("leaves", light, px, py)

    write_indexed_png("waterfall.png", rows, colours_of(DAY))
    write_indexed_png("night.png", [range(16 * i, 16 * i + 16) for i in range(16)],
                      colours_of(NIGHT))


if __name__ == "__main__":
    paint_ball()
    paint_bird()
    paint_cloud()
    paint_star()
    paint_meadow()
    paint_waterfall()

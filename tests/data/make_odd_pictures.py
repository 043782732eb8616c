#!/usr/bin/env python3
"""Writes odd_pictures.txt beside it: pictures as other programs seldom write them, and what is in them.

An entry is a title; the bytes of the file; indices, alphas (indices with alphas in the palette),
colours or alpha, "deep" before one for 32 bits only, with width and height, or refused, or memory for
too big a claim; then the pixels (an index, R G B, or R G B A each), and the palette (R G B or R G B A).
"""
import itertools
import os
import random
import struct
import zlib

random.seed(7)
out = open(os.path.join(os.path.dirname(os.path.abspath(__file__)), 'odd_pictures.txt'), 'w')
out.write('# Made by make_odd_pictures.py, which says what the lines are.\n')


def text(data):
    """Hexadecimal bytes, three or more equal ones as 00*N."""
    runs = ((byte, len(list(equal))) for byte, equal in itertools.groupby(data))
    return ' '.join('%02X*%d' % (b, n) if n > 2 else ' '.join(['%02X' % b] * n) for b, n in runs)


def put(title, data, kind='refused', size=(), pixels=(), palette=()):
    out.write('\n== %s\n%s\n%s\n' % (title, text(data), ' '.join([kind, *map(str, size)])))
    for colours_ in pixels, palette:
        flat = [c for p in colours_ for c in (p if isinstance(p, tuple) else (p,))]
        out.write(text(flat) + '\n' if flat else '')


def patched(data, at, layout, value):
    new = struct.pack('<' + layout, value)
    return data[:at] + new + data[at + len(new):]


def colours(count):
    return [((i * 7 + 3) & 255, (i * 13 + 5) & 255, (255 - i * 29) & 255) for i in range(count)]


def field(value, mask):
    """What a mask selects, of which the top eight bits count, as 0 to 255."""
    shift = max((mask & -mask).bit_length() - 1, mask.bit_length() - 8, 0)
    full = mask >> shift
    return ((value & mask) >> shift) * 255 / full + 0.5 if full else 0


def unmasked(values, masks):
    return [tuple(int(field(v, m)) for m in masks if m is not None) for v in values]


def little(value, size):
    return (value & (1 << 8 * size) - 1).to_bytes(size, 'little')


# ---- BMP

X555, X888 = (0x7C00, 0x3E0, 0x1F), (0xFF0000, 0xFF00, 0xFF)


def bmp_bytes(info, w, h, bits, compression, masks, stored, stated, gap, offset, pixels):
    head = struct.pack('<I', info)
    if info == 12:
        head += struct.pack('<HHHH', w, h, 1, bits)
    else:
        head += struct.pack('<iiHHIIIIII', w, h, 1, bits, compression, 0, 0, 0, stated, 0)
    head += b''.join(little(m, 4) for m in masks)
    head += bytes(max(0, info - len(head)))
    at_palette = 14 + len(head)
    for r, g, b in stored:
        head += bytes([b, g, r] if info == 12 else [b, g, r, 0x55])
    head += bytes(gap)
    start = {'': 14 + len(head), 'nowhere': 0, 'palette': at_palette}[offset]
    return b'BM' + struct.pack('<IHHI', 14 + len(head) + len(pixels), 0, 0, start) + head + pixels


def bmp(title, info=40, w=5, h=3, bits=8, compression=0, masks=(), stored=0, stated=0, gap=0,
        offset='', used=None, alpha=None, top=0):
    """Plain rows of random values. `used`: the masks that hold; `alpha`: that of the channel."""
    values = [random.getrandbits(bits) & (0xFFFFFF | top << 24) for _ in range(w * abs(h))]
    rows = []
    for y in range(abs(h)):
        row = values[y * w:y * w + w]
        joined = ''.join(format(v, '0%db' % bits) for v in row) if bits < 8 else ''
        packed = bytes(int(joined[i:i + 8].ljust(8, '0'), 2) for i in range(0, len(joined), 8)) \
            if bits < 8 else b''.join(little(v, bits // 8) for v in row)
        rows.append(packed + bytes(-len(packed) % 4))
    palette = colours(stored or 1 << bits) if bits <= 8 else []
    data = bmp_bytes(info, w, h, bits, compression, masks, palette, stated, gap, offset,
                     b''.join(rows if h < 0 else rows[::-1]))
    if bits <= 8:
        put('bmp ' + title, data, 'indices', (w, abs(h)), values, palette)
    else:
        used = used or (X555 if bits == 16 else X888)
        put('bmp ' + title, data, 'alpha' if alpha else 'colours', (w, abs(h)),
            unmasked(values, (*used, alpha)))
    return data


for info, bits in (12, 1), (12, 4), (12, 8), (12, 16), (12, 24), (12, 32), (52, 8), (56, 4), \
        (64, 24), (108, 1), (124, 16), (124, 24), (40, 4), (40, 16), (108, 32):
    bmp('header of %d bytes, %d bits' % (info, bits), info, 34 if bits == 1 else 7, 3, bits, gap=info % 3)
    if info != 12:
        bmp('header of %d bytes, %d bits, rows from the top' % (info, bits), info, 9, -4, bits)
for bits, stated, stored, offset in (8, 7, 7, ''), (8, 0, 7, ''), (8, 7, 7, 'nowhere'), (4, 3, 3, ''), \
        (4, 0, 16, 'nowhere'), (8, 300, 256, 'nowhere'), (8, 0xFFFFFFFF, 256, ''), (1, 2, 2, 'nowhere'), \
        (8, 0, 256, 'palette'), (8, 7, 7, 'palette'), (1, 0, 2, 'palette'):
    bmp('%d bits, %d colours stated, %d stored, pixels at %s' % (bits, stated, stored, offset or 'the end'),
        bits=bits, stored=stored, stated=stated, offset=offset)
for info, compression, bits, masks, used, alpha, note in (
        (40, 3, 16, (0xF800, 0x7E0, 0x1F), None, None, ''),
        (40, 3, 16, (0xFC00, 0x3E0, 0x1F), X555, None, ': green and blue make it 5-5-5'),
        (40, 3, 16, (0, 0x3E0, 0x1F), X555, None, ': green and blue make it 5-5-5'),
        (40, 3, 16, (0xF800, 0x3E0, 0x1E), None, None, ''), (40, 3, 16, (0xF800, 0x3C0, 0x1F), None, None, ''),
        (124, 3, 16, (0x7C00, 0x3E0, 0x1F, 0x8000), None, 0x8000, ''),
        (40, 6, 16, (0xF00, 0xF0, 0xF, 0xF000), None, 0xF000, ''),
        (40, 3, 16, (7, 0x38, 0x1C0), None, None, ''), (40, 3, 32, (0xFF, 0xFF00, 0xFF0000), None, None, ''),
        (40, 3, 32, (0xFF, 0xFF00, 0xFF0000), None, 0xFF000000, ': top bytes'),
        (40, 0, 32, (), X888, 0xFF000000, ': top bytes'),
        (52, 3, 32, X888, None, 0xFF000000, ': top bytes'),
        (124, 3, 32, (*X888, 0), X888, None, ': no alpha by the header'),
        (56, 3, 32, (*X888, 0), X888, None, ': no alpha by the header'),
        (124, 3, 32, (*X888, 0xFF000000), X888, 0xFF000000, ''),
        (108, 3, 32, (0xFF000000, 0xFF0000, 0xFF00, 0xFF), None, 0xFF, ''),
        (40, 3, 32, (0x3FF00000, 0xFFC00, 0x3FF), None, None, ': ten bits'),
        (40, 3, 32, (0, 0, 0), None, None, ': empty masks'),
        (40, 3, 32, (0xFFFFFFFF, 0, 0x80000000), None, None, ': odd masks')):
    top = 255 if alpha == 0xFF000000 or bits == 16 or info > 52 or masks and max(masks) >> 24 else 0
    bmp('header of %d bytes, %d bits, masks %s%s' % (info, bits, ' '.join('%X' % m for m in masks), note),
        info, 3, 2, bits, compression, masks, used=used or masks[:3], alpha=alpha, top=top)

# Run-length codes; rows are listed bottom first, as in the file.
for title, w, h, bits, codes, rows in (
        ('runs and ends of lines', 3, 2, 8, '0307 0000 0108 0209 0001', '777899'),
        ('padded absolute run', 3, 1, 8, '0003 010203EE 0001', '123'),
        ('even absolute run', 4, 1, 8, '0004 01020304 0001', '1234'), ('early end', 2, 2, 8, '0105 0001', '5000'),
        ('short line', 2, 2, 8, '0105 0000 0206 0001', '5066'),
        ('delta to the right', 4, 1, 8, '0105 00020200 0106 0001', '5006'),
        ('delta up keeps the column', 2, 3, 8, '0105 00020002 0106 0001', '500006'),
        ('delta out of the picture', 2, 1, 8, '0205 0002FFFF 0409 0001', '55'),
        ('delta over the edge', 2, 2, 8, '00020900 0304 0000 0206 0001', '0066'),
        ('run over the edge', 2, 2, 8, 'FF05 0000 0004 01020304 0001', '5512'),
        ('line after the last', 1, 1, 8, '0105 0000 0109 0000', '5'),
        ('no end mark', 2, 2, 8, '0205 0000 0206', '5566'), ('nothing at all', 2, 1, 8, '0001', '00'),
        ('cut in the last line', 2, 2, 8, '0205 0000 0106', None), ('half a code', 2, 1, 8, '02', None),
        ('cut before the last line', 2, 2, 8, '0205', None), ('half a delta', 2, 1, 8, '0105 000201', None),
        ('cut absolute run', 3, 1, 8, '0003 0102', None), ('no padding', 3, 1, 8, '0003 010203', None),
        ('nibbles alternate', 5, 1, 4, '0512 0001', '12121'),
        ('absolute nibbles, padded', 5, 1, 4, '0005 12345FEE 0001', '12345'),
        ('absolute nibbles, even', 4, 1, 4, '0004 1234 0001', '1234'),
        ('nibbles over the edge', 3, 2, 4, '08AB 0000 0006 123456EE 0001', 'ABA123'),
        ('odd places', 5, 1, 4, '01C0 0003 1230 01D0 0001', 'C123D')):
    for top_down in False, True:
        lines = [rows[i:i + w] for i in range(0, w * h, w)] if rows else ()
        data = bmp_bytes(40, w, -h if top_down else h, bits, 1 if bits == 8 else 2, (), colours(16), 16, 0, '',
                         bytes.fromhex(codes))
        pixels = [int(c, 16) for line in (lines if top_down else lines[::-1]) for c in line]
        title_ = 'bmp %s%s' % (title, ', from the top' if top_down else '')
        put(title_, data, *(('indices', (w, h), pixels, colours(16)) if rows else ()))

good = bmp('to spoil', w=4, bits=24)
for at, layout, values in ((14, 'I', (0, 11, 13, 16, 39, 0x7FFFFFFF, 0xFFFFFFFF)), (28, 'H', (0, 2, 15, 48, 64)),
                           (30, 'I', (1, 2, 3, 4, 5, 6, 7)), (18, 'i', (0, -1, 65536, -2**31)),
                           (22, 'i', (0, 65536, -65536, -2**31)), (10, 'I', (1, 53, 200, 0xFFFFFFFF))):
    for value in values:
        put('bmp with %d at %d' % (value, at), patched(good, at, layout, value))
put('bmp without its last byte', good[:-1])
put('bmp that claims gigabytes', patched(patched(good, 18, 'i', 65535), 22, 'i', 65535))
put('bmp that claims gigabytes of runs', patched(patched(bmp_bytes(
    40, 65535, 65535, 8, 1, (), colours(2), 2, 0, '', b'\x01\x05\x00\x01'), 18, 'i', 65535), 22, 'i', 65535))
put('bmp 8 bits without a row of pixels', bmp_bytes(40, 4, 2, 8, 0, (), colours(4), 4, 0, '', bytes(7)))

# ---- TGA


def tga(title, type_, bits, descriptor, w=7, h=4, map_=(), id_size=0, first=0):
    """`map_`: the bits and the number of the entries of a colour map."""
    size = (bits + 7) // 8
    values = [random.getrandbits(bits) for _ in range(w * h)]
    entries = [random.getrandbits(map_[0]) for _ in range(map_[1])] if map_ else []
    data = struct.pack('<BBBHHBHHHHBB', id_size, bool(map_), type_, first, len(entries), map_[0] if map_ else 0,
                       0, 0, w, h, bits, descriptor) + bytes(range(1, id_size + 1))
    data += b''.join(little(e, (map_[0] + 7) // 8) for e in entries)
    coded, at = b'' if type_ > 8 else b''.join(little(v, size) for v in values), 0
    while type_ > 8 and at < w * h:
        length, run = random.choice((1, 2, 3, 5, 9, 128)), random.random() < 0.5
        if run:
            values[at:at + length] = [values[at]] * min(length, w * h - at)
        body = [values[at]] if run else (values[at:at + length] + [0] * length)[:length]
        coded, at = coded + bytes([128 * run + length - 1]) + b''.join(little(v, size) for v in body), at + length
    rows = [values[y * w:y * w + w] for y in range(h)]
    rows = [row[::-1] if descriptor & 16 else row for row in (rows if descriptor & 32 else rows[::-1])]
    pixels = sum(rows, [])
    kind, palette = 'indices', [(i, i, i) for i in range(256)]
    if bits > 8:
        alpha = 0xFF000000 if bits == 32 and descriptor & 15 == 8 else None
        kind, palette = 'alpha' if alpha else 'colours', ()
        pixels = unmasked(pixels, (*(X555 if bits < 24 else X888), alpha))
    elif type_ & 3 != 3:
        palette = [(0, 0, 0)] * first + unmasked(entries, X555 if map_[0] < 24 else X888)
    put('tga ' + title, data + coded, kind, (w, h), pixels, palette)
    return data + coded


for number, (type_, bits) in enumerate((t, b) for t in (2, 10) for b in (15, 16, 24, 32)):
    for alpha_bits in ((0, 1, 8) if bits == 32 else (number % 3,)):
        direction = 16 * ((number + alpha_bits) % 4)
        tga('type %d, %d bits, descriptor %d' % (type_, bits, direction + alpha_bits), type_, bits,
            direction + alpha_bits, id_size=number * 30, map_=(24, 3) if number % 3 == 1 else ())
for number, (type_, map_bits) in enumerate((t, b) for t in (1, 9) for b in (15, 16, 24, 32)):
    first, count = ((0, 256), (0, 5), (255, 1), (100, 156))[number % 4]
    tga('type %d, entries %d to %d of %d bits' % (type_, first, first + count - 1, map_bits), type_, 8,
        16 * (number % 4), map_=(map_bits, count), id_size=number * 9, first=first)
for type_, map_ in (3, ()), (11, (24, 1)):
    tga('greys of type %d' % type_, type_, 8, 0, 300, 2, map_)
good = tga('to spoil', 2, 24, 0, 3, 2, (24, 2))
for at, layout, values in ((1, 'B', (2, 255)), (2, 'B', (0, 1, 3, 4, 8, 9, 12, 33, 130)), (5, 'H', (0, 257, 65535)),
                           (3, 'H', (255, 65535)), (7, 'B', (0, 8, 17)), (12, 'H', (0, 65535)), (14, 'H', (0, 65535)),
                           (16, 'B', (0, 1, 8, 40))):
    for value in values:
        put('tga with %d at %d' % (value, at), patched(good, at, layout, value))
put('tga without its last byte', good[:-1])
head = struct.pack('<BBBHHBHHHHBB', 0, 0, 10, 0, 0, 0, 0, 0, 5, 1, 24, 0)
put('tga with a cut packet', head + bytes([0x81, 1, 2, 3, 2, 4, 5, 6, 7, 8, 9, 10, 11]))
put('tga that claims gigabytes of runs', patched(patched(head + bytes(90), 12, 'H', 65535), 14, 'H', 65535))
put('tga that looks like pcx to its probe', bytes([10, 1, 1]) + struct.pack('<HHBHHHHBB', 0, 2, 24, 0, 0, 3, 2, 8, 0)
    + bytes(10) + bytes([0x33, 0x22, 0x11, 0x66, 0x55, 0x44, 0, 1, 0, 1, 1, 0]), 'indices', (3, 2),
    (1, 1, 0, 0, 1, 0), [(0x11, 0x22, 0x33), (0x44, 0x55, 0x66)])

# ---- PCX


def pcx_bytes(x0, y0, x1, y1, planes, line, coded, version=5):
    return bytes([10, version, 1, 8]) + struct.pack('<HHHH', x0, y0, x1, y1) + bytes(53) + bytes([planes]) + \
        struct.pack('<H', line) + bytes(60) + coded


TAIL = b'\x0c' + bytes(c for colour in colours(256) for c in colour)


def pcx(title, w, planes, line):
    """Runs of all lengths, one of no length among them; they cross planes but no rows."""
    rows, coded = [], b''
    for _ in range(3):
        row = b''
        while len(row) < planes * line:
            value, run = random.getrandbits(8), min(random.choice((1, 1, 1, 2, 63, 0)), planes * line - len(row))
            coded += bytes([value] if run == 1 and value < 0xC0 else [0xC0 + run, value])
            row += bytes([value]) * run
        rows.append(row)
    data = pcx_bytes(7, 9, 7 + w - 1, 11, planes, line, coded)
    if planes == 1:
        put('pcx ' + title, data + TAIL, 'indices', (w, 3), sum((list(r[:w]) for r in rows), []), colours(256))
    else:
        put('pcx ' + title, data, 'deep colours', (w, 3), [(r[x], r[line + x], r[2 * line + x]) for r in rows for x in range(w)])


for w, line in (1, 1), (2, 5), (63, 63), (64, 66), (100, 200):
    pcx('%d of %d bytes a row' % (w, line), w, 1, line)
pcx('three planes', 21, 3, 24)
two = bytes([0xC9, 5, 1, 2, 0xFF, 3])
put('pcx runs end with the row', pcx_bytes(0, 0, 2, 1, 1, 4, two) + TAIL, 'indices', (3, 2), (5, 5, 5, 1, 2, 3),
    colours(256))
good = pcx_bytes(0, 0, 2, 1, 1, 4, two) + TAIL
for at, layout, values in ((1, 'B', (0, 4, 6)), (2, 'B', (0, 2)), (3, 'B', (0, 1, 4, 16)), (65, 'B', (0, 2, 4)),
                           (4, 'H', (4, 65535)), (6, 'H', (3, 65535)), (8, 'H', (4, 65535)), (10, 'H', (65535,)),
                           (66, 'H', (2, 0)), (128 + 6, 'B', (11,))):
    for value in values:
        put('pcx with %d at %d' % (value, at), patched(good, at, layout, value))
put('pcx whose palette would be read as pixels', pcx_bytes(0, 0, 0, 1, 1, 1, b'\x01') + TAIL)
put('pcx without its palette', pcx_bytes(0, 0, 0, 1, 1, 1, b'\x01\x01'))

# ---- PNG


def png(title, colour, bits, interlaced, key, w=9, h=7, short=0, spoil=lambda ihdr: ihdr):
    """Without filters and with stored samples. `short`: palette entries that are left out."""
    channels, full = {0: 1, 2: 3, 3: 1, 4: 2, 6: 4}[colour], (1 << bits) - 1
    samples = {(x, y): tuple(random.choice((0, full, random.getrandbits(bits))) for _ in range(channels))
               for y in range(h) for x in range(w)}
    passes = ((0, 0, 8, 8), (4, 0, 8, 8), (0, 4, 4, 8), (2, 0, 4, 4), (0, 2, 2, 4), (1, 0, 2, 2), (0, 1, 1, 2))
    raw = b''
    for x0, y0, dx, dy in passes if interlaced else ((0, 0, 1, 1),):
        for y in range(y0, h, dy) if x0 < w else ():
            row = ''.join(format(s, '0%db' % bits) for x in range(x0, w, dx) for s in samples[x, y])
            row += '0' * (-len(row) % 8)
            raw += b'\0' + int(row, 2).to_bytes(len(row) // 8, 'big')
    transparent = samples[w // 2, h // 2]

    def chunk(name, body):
        return struct.pack('>I', len(body)) + name + body + struct.pack('>I', zlib.crc32(name + body))
    data = b'\x89PNG\r\n\x1a\n' + chunk(b'IHDR', spoil(struct.pack('>IIBBBBB', w, h, bits, colour, 0, 0, interlaced)))
    palette, alphas = colours((1 << bits) - short), (255, 0, 127, 128, 255, 1)[:1 << bits]
    data += chunk(b'PLTE', bytes(c for p in palette for c in p)) if colour == 3 else b''
    if key:
        data += chunk(b'tRNS', bytes(alphas) if colour == 3 else b''.join(struct.pack('>H', s) for s in transparent))
    data += chunk(b'IDAT', zlib.compress(raw)) + chunk(b'IEND', b'')
    pixels = []
    for s in samples.values():
        c = tuple((v * 510 + full) // (2 * full) for v in s)
        alpha = (c[-1],) if colour & 4 else (0 if s == transparent else 255,) if key else ()
        pixels.append(s[0] if colour == 3 else (c[:3] if colour & 2 else c[:1] * 3) + alpha)
    if colour == 3:
        put('png ' + title, data, 'alphas' if key else 'indices', (w, h), pixels, [c + (a,) for c, a in zip(palette, alphas + (255,) * 256)]
            if key else palette)
    elif title:
        put('png ' + title, data, 'alpha' if key or colour & 4 else 'colours', (w, h), pixels)
    return data


for colour, bits in [(0, b) for b in (1, 2, 4, 8, 16)] + [(3, b) for b in (1, 2, 4, 8)] + \
        [(c, b) for c in (2, 4, 6) for b in (8, 16)]:
    for interlaced, key in ((0, 0), (1, 1)) if colour < 4 else ((0, 0), (1, 0)):
        png('colour type %d, %d bits%s%s' % (colour, bits, ', interlaced' * interlaced, ', tRNS' * key), colour, bits,
            interlaced, key)
png('1 x 1, interlaced', 6, 8, 1, 0, 1, 1)
png('indices beyond the palette', 3, 4, 0, 0, short=13)
for w, h, kind in (65536, 1, 'refused'), (1, 65536, 'refused'), (0, 4, 'refused'), (2**31 - 1, 2**31 - 1, 'refused'), \
        (65535, 65535, 'memory'), (32768, 32768, 'memory'), (16385, 65535, 'memory'):
    put('png that claims %d x %d' % (w, h), png('', 6, 8, 0, 0, spoil=lambda i: struct.pack('>II', w, h) + i[8:]), kind)

# ---- MAP, the engine's own; palettes have six bits

TEXTS = {0x08: 256, 0x0A: 32, 0x32: 256}
for kind, size in TEXTS.items():
    data = b'map\x1a\x0d' + bytes([kind, 0, 0, 3, 0, 1, 0, 7, 0, 0, 0]) + b'd' * size
    if kind == 0x32:
        data += bytes([0, 0x10]) + bytes(range(12))
        put('map 32 bits', data, 'deep alpha', (3, 1), [(2, 1, 0, 3), (6, 5, 4, 7), (10, 9, 8, 11)])
        for at, value in (0, 0x4D), (2, 0x71), (3, 0x1B), (4, 0x0E), (5, 0x20), (6, 1):
            put('map with %d at %d' % (value, at), patched(data, at, 'B', value))
    else:
        palette = [(r // 4, g // 4, b // 4) for r, g, b in colours(256)]
        data += bytes(c for p in palette for c in p) + bytes(576) + bytes([0, 0, 0, 1, 255])
        put('map 8 bits, text of %d bytes' % size, data, 'indices', (3, 1), [0, 1, 255],
            [(4 * r, 4 * g, 4 * b) for r, g, b in palette])

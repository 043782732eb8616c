#!/usr/bin/env python3
"""Makes the seeds of map_fuzz and fpg_fuzz: python3 make_graph_seeds.py, in this folder.

Small files of every layout, plain and behind every marker. The fuzz targets' host keeps compressed
streams as they are, and its cipher turns every bit over.
"""
import os
import struct

GZ = b'gz!\x1a\x0d\x0a\xff\0'
GE = b'ge!\x1a\x0d\x0a\xff\0'
CHECK = b'ge!encrypt7\x1a\x0d\x0a\xff\0'
DEPTH_BYTES = {8: 0x08, 16: 0x16, 32: 0x32}


def turned(data):
    return bytes(255 - b for b in data)


def magic(letters, depth, old):
    return letters + bytes([0x1a, 0x0d, 0x0a if old else DEPTH_BYTES[depth], 0, 0])


def palette():
    ranges = b''.join(bytes([16, 0, 0, 0]) + bytes([16 * k]) * 32 for k in range(16))
    return bytes(i * 7 % 64 for i in range(768)) + ranges


def pixels(w, h, depth, ciphered):
    data = bytes(i * 37 % 256 for i in range(w * h * depth // 8))
    return turned(data) if ciphered else data


def points(count):
    return b''.join(struct.pack('<HH', 65535 if i == 1 else i, i) for i in range(count))


def map_file(depth, old=False, count=0, ciphered=False):
    out = magic(b'map', depth, old) + struct.pack('<HHI', 3, 2, 7)
    out += b'a graph'.ljust(32 if old else 256, b'\0')
    if depth == 8:
        out += palette()
    out += struct.pack('<H', count | 0x1000) + points(count)
    return out + pixels(3, 2, depth, ciphered)


def entry(code, depth, old=False, count=0, ciphered=False):
    out = struct.pack('<II', code, 0) + b'a graph'.ljust(32 if old else 256, b'\0')
    out += b'g.map'.ljust(12 if old else 260, b'\0') + struct.pack('<III', 3, 2, count | 0x1000)
    return out + points(count) + pixels(3, 2, depth, ciphered)


def fpg_file(depth, codes, old=False, ciphered=False):
    out = magic(b'fpg', depth, old) + (palette() if depth == 8 else b'')
    return out + b''.join(entry(c, depth, old, n, ciphered) for n, c in enumerate(codes))


def enciphered(data, check=turned(CHECK)):
    return GE + check + data


def compressed(data):
    return b'HOST8...' + GZ + data


def put(folder, name, data):
    os.makedirs(os.path.join('corpus', folder), exist_ok=True)
    with open(os.path.join('corpus', folder, name), 'wb') as file:
        file.write(data)


for depth in 8, 16, 32:
    put('map', f'{depth}.map', map_file(depth, count=3))
    put('map', f'{depth}_enciphered.map', enciphered(map_file(depth, ciphered=True)))
    put('fpg', f'{depth}.fpg', fpg_file(depth, [1, 7, 7, 999]))
    put('fpg', f'{depth}_enciphered.fpg', enciphered(fpg_file(depth, [7, 8], ciphered=True)))
put('map', 'old.map', map_file(8, old=True))
put('map', 'compressed.map', compressed(map_file(16)))
put('map', 'both.map', compressed(enciphered(map_file(32, count=2, ciphered=True))))
put('map', 'empty_key.map', enciphered(map_file(16), CHECK))
put('fpg', 'old.fpg', fpg_file(8, [3, 7], old=True))
put('fpg', 'compressed.fpg', compressed(fpg_file(16, [2, 7])))
put('fpg', 'foreign.fpg', fpg_file(16, [1, 0, 7]))

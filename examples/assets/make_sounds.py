#!/usr/bin/env python3
"""Makes the sounds (WAV, 8 bits, 22 kHz, mono) and the music (a MOD file) of the examples.

Every run writes the same bytes beside this file.
"""

import math
import os
import random
import struct
import wave

HERE = os.path.dirname(os.path.abspath(__file__))
RATE = 22050


# ---- Sounds: functions of the time in seconds, with values from -1 to 1 ---------------------------

def fall(t, seconds):
    """From 1 to 0 in that time, quickly first."""
    return max(0.0, 1 - t / seconds) ** 2


def tone(phase):
    return math.sin(2 * math.pi * phase)


def square(phase):
    return 1.0 if phase % 1 < 0.5 else -1.0


def glide(t, start, end, seconds):
    """The phase of a tone that goes from one frequency to another at an even pace."""
    return t * start + t * t * (end - start) / (2 * seconds)


class Noise:
    """Noise without the parts above a share of the rate, which may change."""

    def __init__(self, seed):
        self.random, self.value = random.Random(seed), 0.0

    def next(self, share):
        self.value += (self.random.uniform(-1, 1) - self.value) * share
        return self.value


def shot():
    return 0.18, lambda t: 0.5 * square(glide(t, 1500, 200, 0.18)) * fall(t, 0.18)


def boom():
    noise = Noise(1)
    return 0.9, lambda t: max(-1, min(1, 2.6 * noise.next(0.02 + 0.4 * fall(t, 0.5)))) * fall(t, 0.9)


def pling():
    return 0.5, lambda t: 0.6 * (tone(t * 1319) + 0.4 * tone(t * 2638)) * fall(t, 0.5) / 1.4


def hit():
    noise = Noise(2)
    return 0.12, lambda t: (0.6 * tone(glide(t, 320, 60, 0.12)) + 0.4 * noise.next(0.7)) * fall(t, 0.12)


def jump():
    return 0.25, lambda t: 0.4 * square(glide(t, 220, 700, 0.25)) * fall(t, 0.25)


def step():
    noise = Noise(3)
    return 0.07, lambda t: 0.9 * noise.next(0.25) * fall(t, 0.07)


def bubble():
    return 0.16, lambda t: 0.5 * tone(glide(t, 300, 1100, 0.16)) * fall(t, 0.16)


def haul():
    """Four notes upwards, each into the one before."""
    notes = [(0.08 * i, 523.25 * 2 ** (steps / 12)) for i, steps in enumerate((0, 4, 7, 12))]

    def value(t):
        return sum(tone((t - start) * pitch) * fall(t - start, 0.4) for start, pitch in notes if t >= start) / 3
    return 0.7, value


def save_wav(sound):
    seconds, value = sound()
    # Whole waves of silence in the middle of the range: 8 bits have no sign in a WAV file.
    data = bytes(round(127.5 + 127 * value(i / RATE)) for i in range(int(seconds * RATE)))
    with wave.open(os.path.join(HERE, sound.__name__ + ".wav"), "wb") as out:
        out.setnchannels(1)
        out.setsampwidth(1)
        out.setframerate(RATE)
        out.writeframes(data)


# ---- Music: four channels of notes, played with short waves ---------------------------------------

NOTES = ["C-", "C#", "D-", "D#", "E-", "F-", "F#", "G-", "G#", "A-", "A#", "B-"]
ROWS = 64


def period(note):
    """What a MOD file has for a note such as "A-3": the length of a wave in the old clock's ticks."""
    half_tones = 12 * (int(note[2]) - 2) + NOTES.index(note[:2])
    return round(428 / 2 ** (half_tones / 12))


def sample_wave(size, value):
    return bytes(round(100 * value(i / size)) & 0xFF for i in range(size))


def drum():
    noise = Noise(4)
    return bytes(round(110 * tone(glide(i, 0.02, 0.002, 1200)) * fall(i, 1200) +
                       10 * noise.next(0.9) * fall(i, 200)) & 0xFF for i in range(1200))


def hat():
    noise = Noise(5)
    return bytes(round(60 * noise.next(1.0) * fall(i, 600)) & 0xFF for i in range(600))


# Name, bytes, volume to 64, whether they repeat for ever.
BASS, CHORD, LEAD, DRUM, HAT = range(1, 6)
SAMPLES = [
    ("bass", sample_wave(32, lambda p: 0.9 * tone(p) + 0.3 * tone(2 * p)), 52, True),
    ("chord", sample_wave(32, lambda p: square(p * 1.0) * 0.5), 18, True),
    ("lead", sample_wave(32, lambda p: 1 - 4 * abs(p - 0.5)), 44, True),
    ("drum", drum(), 54, False),
    ("hat", hat(), 26, False),
]

# A bar of 16 rows each: root of the bass, and the half-tones of its chord above the root.
BARS = [("A-1", 3, 7), ("F-1", 4, 7), ("C-2", 4, 7), ("G-1", 4, 7)]
# Rows of the lead, two a note; "" holds the note before, "." is silence.
MELODIES = [
    ["A-2", "", "C-3", "", "E-3", "", "D-3", "C-3"], ["A-2", "", "F-2", "", "A-2", "", ".", ""],
    ["G-2", "", "C-3", "", "E-3", "", "G-3", "E-3"], ["D-3", "", "B-2", "", "G-2", "", ".", ""],
    ["E-3", "", "E-3", "D-3", "C-3", "", "D-3", "E-3"], ["F-3", "", "E-3", "", "C-3", "", "A-2", ""],
    ["G-3", "", "E-3", "", "C-3", "", "E-3", ""], ["D-3", "", "C-3", "", "B-2", "", "G-2", ""],
]
ORDER = [0, 1, 2]


def pattern(melody):
    """The cells of 64 rows: {(row, channel): (sample, note or None, effect, its value)}."""
    cells = {}
    for bar, (root, third, fifth) in enumerate(BARS):
        at = 16 * bar
        for i in range(0, 16, 4):
            cells[at + i, 0] = (BASS, root, 0xC, 52)
            cells[at + i + 3, 0] = (0, None, 0xC, 0)
        chord = root[:2] + str(int(root[2]) + 1)
        for i in range(16):
            effect = (0x0, third << 4 | fifth)
            cells[at + i, 1] = (CHORD, chord, *effect) if i % 8 == 0 else (0, None, *effect)
        for i in range(0, 16, 2):
            cells[at + i, 3] = (DRUM, "C-2", 0, 0) if i % 8 == 0 else (HAT, "C-3", 0, 0)
        for i, note in enumerate(melody[bar] if melody else []):
            if note == ".":
                cells[at + 2 * i, 2] = (0, None, 0xC, 0)
            elif note:
                cells[at + 2 * i, 2] = (LEAD, note, 0, 0)
    cells[0, 2] = cells.get((0, 2), (0, None, 0xC, 0))
    return cells


def pack(cells):
    data = b""
    for row in range(ROWS):
        for channel in range(4):
            sample, note, effect, value = cells.get((row, channel), (0, None, 0, 0))
            ticks = period(note) if note else 0
            data += struct.pack(">HBB", sample & 0xF0 | ticks, (sample & 15) << 4 | effect, value)
    return data


def save_mod(name, title):
    patterns = [pattern(None), pattern(MELODIES[:4]), pattern(MELODIES[4:])]
    data = struct.pack("20s", title.encode())
    for i in range(31):
        label, wave_bytes, volume, loops = SAMPLES[i] if i < len(SAMPLES) else ("", b"", 0, False)
        words = len(wave_bytes) // 2
        data += struct.pack(">22sHBBHH", label.encode(), words, 0, volume, 0, words if loops else 1)
    data += struct.pack("BB128s4s", len(ORDER), 127, bytes(ORDER), b"M.K.")
    data += b"".join(map(pack, patterns)) + b"".join(sample[1] for sample in SAMPLES)
    with open(os.path.join(HERE, name), "wb") as out:
        out.write(data)


if __name__ == "__main__":
    for each in (shot, boom, pling, hit, jump, step, bubble, haul):
        save_wav(each)
    save_mod("tune.mod", "round the meadow")

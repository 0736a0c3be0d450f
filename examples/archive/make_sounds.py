#!/usr/bin/env python3
"""Makes an archive of sounds to try the workflow on: make_sounds.py FOLDER [COUNT [LONGEST [BAD]]]

COUNT sounds (200) of 3 to LONGEST (30) seconds of different kinds and formats, in folders, some with odd names, and
among them BAD (5, the least) that can't be analyzed. The same call makes the same bytes.
"""

import array
import math
import os
import random
import struct
import sys

ODD_NAMES = ["two words", "naïve café", "日本の音", "it's \"quoted\"", "{braces} $HOME `x` %41", "-dash; & more\\", "tab\tname"]


def tones(rng, rate, count):
    """A few notes again and again: the gabarit has stripes."""
    notes = [220 * 2 ** (rng.randrange(24) / 12) for _ in range(4)]
    return [0.5 * math.sin(2 * math.pi * notes[int(2 * i / rate) % 4] * i / rate) for i in range(count)]


def noise(rng, rate, count):
    return [rng.uniform(-0.3, 0.3) for _ in range(count)]


def sweep(rng, rate, count):
    return [0.4 * math.sin(2 * math.pi * (100 + 400 * i / count) * i / rate) for i in range(count)]


def clicks(rng, rate, count):
    gap = rng.randrange(rate // 8, rate // 2)
    return [0.8 * math.exp(-(i % gap) / 200) * rng.uniform(-1, 1) for i in range(count)]


def silence(rng, rate, count):
    return [0.0] * count


def as_int16(samples, byteorder):
    numbers = array.array("h", (round(32767 * s) for s in samples))
    if sys.byteorder != byteorder:
        numbers.byteswap()
    return numbers.tobytes()


def wav_header(data, rate, kind, sample_bytes):
    form = struct.pack("<HHIIHH", kind, 1, rate, rate * sample_bytes, sample_bytes, 8 * sample_bytes)
    riff = b"RIFF" + struct.pack("<I", 36 + len(data)) + b"WAVEfmt \x10\0\0\0"
    return riff + form + b"data" + struct.pack("<I", len(data))


def wav(samples, rate):
    data = as_int16(samples, "little")
    return wav_header(data, rate, 1, 2) + data


def float_wav(samples, rate):
    data = array.array("f", samples).tobytes()
    return wav_header(data, rate, 3, 4) + data


def aiff(samples, rate):
    data = as_int16(samples, "big")
    exponent = rate.bit_length() - 1
    extended = struct.pack(">HQ", 16383 + exponent, rate << (63 - exponent))  # an 80-bit number
    common = b"COMM" + struct.pack(">IHIH", 18, 1, len(samples), 16) + extended
    sound = b"SSND" + struct.pack(">III", 8 + len(data), 0, 0) + data
    return b"FORM" + struct.pack(">I", 4 + len(common) + len(sound)) + b"AIFF" + common + sound


def au(samples, rate):
    data = as_int16(samples, "big")
    return b".snd" + struct.pack(">IIIII", 24, len(data), 3, rate, 1) + data


KINDS = [tones, noise, sweep, clicks, silence]
NEW_SOUNDS = 200  # further ones are those again, begun elsewhere
FORMATS = [("wav", wav), ("aiff", aiff), ("au", au), ("WAV", float_wav)]


def write(root, name, data):
    path = os.path.join(root, name)
    os.makedirs(os.path.dirname(path), exist_ok=True)
    with open(path, "wb") as file:
        file.write(data)


def write_bad_ones(root, count):
    whole = wav([0.0] * 8000, 8000)
    write(root, "bad/empty.wav", b"")
    write(root, "bad/a text.wav", b"This is a text, whatever its name says.\n" * 20)
    write(root, "bad/header cut.wav", whole[:30])
    write(root, "bad/no sound.aiff", random.Random(1).randbytes(5000))
    os.makedirs(os.path.join(root, "bad/folder.wav"), exist_ok=True)  # no sound, and none of the five
    link = os.path.join(root, "bad/leads nowhere.wav")
    if not os.path.islink(link):
        os.symlink("nothing.wav", link)
    for i in range(count - 5):
        write(root, f"bad/more {i}.wav", whole[: i % 40])


def name_of(i):
    """Every other one shares its name with the one before, and differs in the ending alone."""
    half = i // 2
    return ODD_NAMES[half] if half < len(ODD_NAMES) else f"sound {half - len(ODD_NAMES):03}"


def make_sounds(root, count=200, longest=30, bad=5):
    good = count - bad
    for first in range(min(good, NEW_SOUNDS)):
        rng = random.Random(first)
        rate = (11025, 8000, 22050, 16000)[first % 4]
        samples = KINDS[first % 5](rng, rate, int(rate * rng.uniform(min(3, longest), longest)))
        ending, encode = FORMATS[first % 4]
        for i in range(first, good, NEW_SOUNDS):
            begin = (i // NEW_SOUNDS * rate // 20) % len(samples)
            write(root, f"disc {i // 40}/{name_of(i)}.{ending}", encode(samples[begin:] + samples[:begin], rate))
    write_bad_ones(root, bad)


if __name__ == "__main__":
    if not 2 <= len(sys.argv) <= 5:
        sys.exit(__doc__)
    make_sounds(sys.argv[1], *map(int, sys.argv[2:]))

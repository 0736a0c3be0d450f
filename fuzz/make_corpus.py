#!/usr/bin/env python3
"""Makes seeds for the fuzz targets: make_corpus.py FOLDER

Small sounds in the formats that a header can be written for by hand, cut and with extreme fields; a gabarit written
from the layout; lists of calls and numbers. The same bytes each time."""
import pathlib
import random
import struct
import sys

FOLDER = pathlib.Path(sys.argv[1])
RANDOM = random.Random(1)


def keep(target, name, data):
    path = FOLDER / target / name
    path.parent.mkdir(parents=True, exist_ok=True)
    path.write_bytes(data)


def chunk(name, data, order="<", size_format="I"):
    return name + struct.pack(order + size_format, len(data)) + data + b"\0" * (len(data) % 2)


def crc(data, polynomial, bits):
    value = 0
    for byte in data:
        value ^= byte << (bits - 8)
        for _ in range(8):
            value = value << 1 ^ (polynomial if value >> (bits - 1) else 0)
    return value.to_bytes(bits // 8, "big")


def flac(samples, channels, block):
    """16 bits as they are, in several frames to seek among."""
    frames = len(samples) // channels // block * block
    stream = struct.pack(">HH6xQ16x", block, block, 11025 << 44 | (channels - 1) << 41 | 15 << 36 | frames)
    data = b"fLaC" + struct.pack(">I", 0x80000000 | len(stream)) + stream
    for number in range(frames // block):
        head = struct.pack(">HBBBH", 0xFFF8, 0x70, (channels - 1) << 4 | 8, number, block - 1)
        head += crc(head, 0x107, 8)
        part = samples[number * block * channels : (number + 1) * block * channels]
        for channel in range(channels):
            head += b"\x02" + struct.pack(f">{block}h", *part[channel::channels])
        data += head + crc(head, 0x18005, 16)
    return data


def sounds(length):
    """Names and bytes of sounds of so many samples."""
    samples = [RANDOM.randrange(-20000, 20000) for _ in range(length)]
    for channels in (1, 2, 7):
        frames = len(samples) // channels
        little = struct.pack(f"<{frames * channels}h", *samples[: frames * channels])
        big = struct.pack(f">{frames * channels}h", *samples[: frames * channels])
        form = struct.pack("<HHIIHH", 1, channels, 11025, 22050 * channels, 2 * channels, 16)
        yield f"wav{channels}", b"RIFF" + struct.pack("<I", 36 + len(little)) + b"WAVE" + chunk(b"fmt ", form) + chunk(
            b"data", little
        )
        ds64 = chunk(b"ds64", struct.pack("<QQQI", 72 + len(little), len(little), frames, 0))
        rf64 = b"RF64" + b"\xff" * 4 + b"WAVE" + ds64 + chunk(b"fmt ", form)
        yield f"rf64{channels}", rf64 + b"data" + b"\xff" * 4 + little
        yield f"flac{channels}", flac(samples, channels, length // 12)
        tail = bytes.fromhex("f3acd3118cd100c04f8edb8a")  # of the names of all chunks but the first
        size = [struct.pack("<Q", 24 + n) for n in (80 + len(little), len(form), len(little))]
        body = b"wave" + tail + b"fmt " + tail + size[1] + form + b"data" + tail + size[2] + little
        yield f"w64{channels}", b"riff" + bytes.fromhex("2e91cf11a5d628db04c10000") + size[0] + body
        floats = struct.pack("<HHIIHH", 3, channels, 11025, 88200 * channels, 8 * channels, 64)
        data = struct.pack(f"<{frames * channels}d", *(s / 3e4 for s in samples[: frames * channels]))
        body = b"WAVE" + chunk(b"fmt ", floats) + chunk(b"data", data)
        yield f"double{channels}", b"RIFF" + struct.pack("<I", len(body)) + body
        rate = struct.pack(">HQ", 16383 + 13, 11025 << 50)  # an 80-bit float
        common = struct.pack(">HIH", channels, frames, 16) + rate
        body = chunk(b"COMM", common, ">") + chunk(b"SSND", bytes(8) + big, ">")
        yield f"aiff{channels}", b"FORM" + struct.pack(">I", 4 + len(body)) + b"AIFF" + body
        description = struct.pack(">d4sIIIII", 11025.0, b"lpcm", 0, 2 * channels, 1, channels, 16)
        caf = chunk(b"desc", description, ">", "Q") + chunk(b"data", bytes(4) + big, ">", "Q")
        yield f"caf{channels}", b"caff" + struct.pack(">HH", 1, 0) + caf
        for encoding, width in ((1, 1), (2, 1), (3, 2), (4, 3), (5, 4), (6, 4), (7, 8), (23, 1), (27, 1)):
            data = RANDOM.randbytes(length // 6 * width * channels)
            head = struct.pack(">4sIIIII", b".snd", 24, len(data), encoding, 8000, channels)
            yield f"au{encoding}-{channels}", head + data


def matrix(signature, kind, rows, columns, data):
    return struct.pack(">4sIII", signature, kind, rows, columns) + data + bytes(-len(data) % 8)


def frame(signature, time, stream, *matrices):
    body = b"".join(matrices)
    return struct.pack(">4sIdIi", signature, 16 + len(body), time, stream & 0xFFFFFFFF, len(matrices)) + body


def gabarit(n):
    lowest = -sys.float_info.max
    table = b"{\nSampleRate\t11025;\nCommand\tmarquen --input a;\nVersion\t1.8.2;\n}"
    types = b"{\n1MTD\tIGBG\t{gabmode, samplerate}\n}"
    size = max(0, 2 * n - 2)
    square = [bytes(255 if i == j else (i * j) % 250 for j in range(n)) for i in range(n)]
    return b"".join(
        [
            struct.pack(">4sIII", b"SDIF", 8, 3, 1),
            frame(b"1NVT", lowest, -3, matrix(b"1NVT", 0x301, len(table), 1, table)),
            frame(b"1TYP", lowest, -2, matrix(b"1TYP", 0x301, len(types), 1, types)),
            frame(
                b"IGBG",
                -1.0,
                1,
                matrix(b"IGBG", 0x004, 1, 5, struct.pack(">5f", 0, 11025, 1, size, n)),
                matrix(b"XS2C", 0x104, 1, 2, bytes(8)),
            ),
        ]
        + [
            frame(
                b"1GB0",
                0.5 * (i + 1),
                0,
                matrix(b"IGBF", 0x204, 1, 2, struct.pack(">II", size, size)),
                matrix(b"1GB0", 0x201, n, 1, row),
            )
            for i, row in enumerate(square)
        ]
    )


def make():
    for n in (0, 1, 2, 9):
        keep("sdif_reader", f"gabarit{n}", gabarit(n))
    keep("sdif_reader", "cut", gabarit(9)[:-20])
    reads = struct.pack("<iB", 0, 50) + struct.pack("<iB", 290, 50) + struct.pack("<iB", -20, 255)
    reads += struct.pack("<iB", 100, 7) + struct.pack("<iB", 16 * 100000000, 9) + struct.pack("<iB", 4, 250)
    for name, data in sounds(10000):  # beyond the blocks that the reader holds
        places = [RANDOM.randrange(-3000, 11000) * 16 + 1 for _ in range(6)]
        walk = b"".join(struct.pack("<iB", place, RANDOM.randrange(256)) for place in places)
        keep("sound_reader", name + "-long", walk + data)
    for name, data in sounds(600):
        keep("sound_reader", name, reads + data)
        keep("sound_reader", name + "-cut", reads + data[: len(data) // 2])
        for place in range(4, min(64, len(data) - 4), 9):  # extreme sizes, counts and rates in the header
            keep("sound_reader", f"{name}-{place}", reads + data[:place] + b"\xff\xff\xff\x7f" + data[place + 4 :])
    values = [1.0, 0.5, 0.05, 1e-300, 1e300, float("inf"), float("nan"), -1.0, 1e10, 5e-324]
    for i in range(60):
        settings = struct.pack("<BBdd", i % 3, i % 4, values[i % 10], values[i * 7 % 10])
        odd = struct.pack(">3f", float("nan"), float("inf"), 1e-40) if i % 2 else b""
        data = RANDOM.randbytes(RANDOM.choice([0, 3, 400, 9000, 30000]))
        shape = struct.pack("<BHB", RANDOM.randrange(7), RANDOM.randrange(60000), i % 4)
        keep("job", str(i), settings + shape + odd + data)
    for size in (1, 2, 3, 4, 6, 8, 30, 512, 1000, 1024, 2018, 2048, 2310, 4096):
        keep("realfft", str(size), struct.pack("<H", size - 1) + RANDOM.randbytes(2 * size))
    for i in range(40):
        keep("resampler", str(i), bytes([i]) + RANDOM.randbytes(2) + struct.pack("<H", 900 * i) + RANDOM.randbytes(60))
        keep("interface_calls", str(i), RANDOM.randbytes(30))


make()

#!/usr/bin/env python3
"""Tests of veloria_gabarit.py and find_repeats.py. Needs marquen, gabarit and compose on the PATH."""

import io
import os
import random
import shutil
import struct
import subprocess
import sys
import tempfile
import unittest

import numpy as np

HERE = os.path.dirname(os.path.abspath(__file__))
sys.path.insert(0, HERE)
sys.dont_write_bytecode = True
import veloria_gabarit  # noqa: E402


def run(*command):
    return subprocess.run(command, check=True, capture_output=True, text=True).stdout


def read_bytes(path):
    with open(path, "rb") as file:
        return file.read()


def npy_bytes(array):
    file = io.BytesIO()
    np.save(file, array)
    return file.getvalue()


class Gabarits(unittest.TestCase):
    @classmethod
    def setUpClass(cls):
        cls.folder = tempfile.mkdtemp()
        cls.addClassCleanup(shutil.rmtree, cls.folder)
        names = ("demo.wav", "demo.sdif", "small.sdif")
        sound, cls.song, cls.small = (os.path.join(cls.folder, name) for name in names)
        run("compose", sound)
        run("marquen", "--input", sound, "--similarity", cls.song, "--quiet")
        run("marquen", "--input", sound, "--similarity", cls.small, "--quiet", "--window_grid_hop", "6")
        cls.small_bytes = read_bytes(cls.small)

    def write(self, data, name="changed.sdif"):
        path = os.path.join(self.folder, name)
        with open(path, "wb") as file:
            file.write(data)
        return path

    def is_read(self, path):
        try:
            veloria_gabarit.read(path)
        except ValueError as error:
            self.assertIn(path, str(error))
            return False
        return True

    def test_reads_what_gabarit_exports(self):
        silence = self.write(struct.pack("<4sI8sIHHIIHH4sI", b"RIFF", 36, b"WAVEfmt ", 16, 1, 1, 8000, 16000, 2, 16,
                                         b"data", 0), "none.wav")  # fmt: skip
        none = os.path.join(self.folder, "none.sdif")
        run("marquen", "--input", silence, "--similarity", none, "--quiet")
        for path in (self.song, self.small, none):
            with self.subTest(path):
                run("gabarit", "export", path, path + ".npy")
                times, similarity, table = veloria_gabarit.read(path)
                self.assertEqual(npy_bytes(similarity), read_bytes(path + ".npy"))
                self.assertEqual(npy_bytes(times), read_bytes(path + ".times.npy"))
                shown = run("gabarit", "info", path).splitlines()
                listed = dict(line.removeprefix("table.").split(": ", 1) for line in shown if line.startswith("table."))
                self.assertEqual(table, listed)
                self.assertIn(path, table["Command"])

    def test_refuses_every_beginning_of_a_file(self):
        for count in range(len(self.small_bytes)):
            if self.is_read(self.write(self.small_bytes[:count])):
                self.fail(f"{count} bytes were taken for a whole gabarit")

    def test_agrees_with_gabarit_verify(self):
        rng = random.Random(7)
        paths = [self.write(self.small_bytes + b"\0" * 8, "longer.sdif")]
        for i in range(1500):
            data = bytearray(self.small_bytes)
            for _ in range(rng.randint(1, 3)):
                data[rng.randrange(len(data))] = rng.choice((0, 1, 2, 127, 128, 255, rng.randrange(256)))
            paths.append(self.write(data, f"{i}.sdif"))
        done = subprocess.run(["gabarit", "verify", *paths], capture_output=True, text=True)
        verdicts = [": whole, n = " in line for line in done.stdout.splitlines()]
        self.assertEqual(len(verdicts), len(paths))
        self.assertGreater(verdicts.count(True), 100)
        self.assertGreater(verdicts.count(False), 100)
        for path, verdict, line in zip(paths, verdicts, done.stdout.splitlines()):
            self.assertEqual(self.is_read(path), verdict, line)

    def test_says_what_is_wrong(self):
        info = self.small_bytes.index(b"IGBG", self.small_bytes.index(b"IGBG\0\0")) + 24 + 16  # its numbers
        huge = bytearray(self.small_bytes)
        huge[info + 12 : info + 20] = struct.pack(">ff", 2.0 * (1 << 24) - 2, 1 << 24)  # 256 TiB of values
        cases = (
            (b"", "0 bytes are too few"),
            (b"RIFF" + self.small_bytes[4:], "doesn't begin with 'SDIF'"),
            (self.small_bytes[:16], "no information frame"),
            (self.small_bytes[:-8], "but only"),
            (bytes(huge), "the file is cut: 16777216 frames"),
        )
        for data, message in cases:
            with self.subTest(message), self.assertRaisesRegex(ValueError, message):
                veloria_gabarit.read(self.write(data))
        with self.assertRaises(FileNotFoundError):
            veloria_gabarit.read(os.path.join(self.folder, "nowhere.sdif"))

    def test_finds_the_repeats_of_the_example(self):
        found = run(sys.executable, os.path.join(HERE, "find_repeats.py"), self.song).splitlines()
        self.assertEqual(found[0], "0:00-0:12 comes again at 0:12 and 0:36")
        self.assertEqual(len(found), 2)


if __name__ == "__main__":
    unittest.main()

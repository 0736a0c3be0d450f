#!/usr/bin/env python3
"""Tests of the package veloria and of find_repeats.py. Needs marquen, gabarit and compose on the PATH, and the library
where VELORIA_LIBRARY says."""

import doctest
import hashlib
import io
import os
import pathlib
import random
import resource
import shutil
import signal
import struct
import subprocess
import sys
import tempfile
import threading
import time
import unittest
import unittest.mock
import zlib

import numpy as np

HERE = os.path.dirname(os.path.abspath(__file__))
sys.path.insert(0, HERE)
sys.dont_write_bytecode = True
import veloria  # noqa: E402
import veloria._library  # noqa: E402


def run(*command):
    return subprocess.run(command, check=True, capture_output=True, text=True).stdout


def read_bytes(path):
    with open(path, "rb") as file:
        return file.read()


def npy_bytes(array):
    file = io.BytesIO()
    np.save(file, array)
    return file.getvalue()


class Files(unittest.TestCase):
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
            veloria.read(path)
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
                g = veloria.read(path)
                self.assertEqual(npy_bytes(g.similarity), read_bytes(path + ".npy"))
                self.assertEqual(npy_bytes(g.times), read_bytes(path + ".times.npy"))
                shown = run("gabarit", "info", path).splitlines()
                listed = dict(line.removeprefix("table.").split(": ", 1) for line in shown if line.startswith("table."))
                self.assertEqual(g.table, listed)
                self.assertIn(path, g.table["Command"])
                g.save(path + ".saved")
                self.assertEqual(read_bytes(path + ".saved"), read_bytes(path))

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
        table = self.small_bytes.index(b"1NVT") + 24  # its matrix
        channels = self.small_bytes.index(b"XS2C", info)
        twice = bytearray(self.small_bytes)
        twice[channels : channels + 16] = self.small_bytes[info - 16 : info - 12] + struct.pack(">III", 4, 1, 4)
        cases = (
            (b"", "0 bytes are too few"),
            (b"RIFF" + self.small_bytes[4:], "doesn't begin with 'SDIF'"),
            (self.small_bytes[:16], "no information frame"),
            (self.small_bytes[:-8], "but only"),
            (bytes(huge), "the file is cut: 16777216 frames"),
            (self.small_bytes.replace(b"NumChannels", b"GabaritMode"), "two entries .* named 'GabaritMode'"),
            (bytes(twice), "a frame has two matrices IGBG"),
            (self.small_bytes[:table + 8] + struct.pack(">I", 1 << 31) + self.small_bytes[table + 12:], "don't fit"),
        )
        for data, message in cases:
            with self.subTest(message), self.assertRaisesRegex(ValueError, message):
                veloria.read(self.write(data))
        with self.assertRaises(FileNotFoundError):
            veloria.read(os.path.join(self.folder, "nowhere.sdif"))
        with self.assertRaises(TypeError), open(self.small) as file:
            veloria.read(file.fileno())

    def test_takes_no_memory_for_what_is_not_there(self):
        head = b"SDIF" + struct.pack(">III", 8, 3, 1)
        lowest = -1.7976931348623157e308
        size = (1 << 31) - 8
        table = struct.pack(">4sIdII4sIII", b"1NVT", 32 + size, lowest, 0, 1, b"1NVT", 0x301, size, 1)
        info = self.small_bytes.index(b"IGBG", self.small_bytes.index(b"IGBG\0\0")) + 24 + 16
        start = bytearray(self.small_bytes[: info + 20 + 4])
        start[info + 12 : info + 20] = struct.pack(">ff", 2.0 * 60000 - 2, 60000)
        for data, length, message in (
            (head + table, 48 + 8 + size, "take more than 16 MB"),
            (bytes(start), 60000 * 60100, "no frame has the size 0|matrix|follow"),
        ):
            path = self.write(data)
            os.truncate(path, length + len(data))
            before = resource.getrlimit(resource.RLIMIT_AS)
            with open("/proc/self/statm") as file:
                taken = int(file.read().split()[0]) * resource.getpagesize()
            resource.setrlimit(resource.RLIMIT_AS, (taken + (256 << 20), before[1]))
            try:
                with self.subTest(message), self.assertRaisesRegex(ValueError, message):
                    veloria.read(path)
            finally:
                resource.setrlimit(resource.RLIMIT_AS, before)
                os.remove(path)

    def test_shows_itself(self):
        g = veloria.read(self.song)
        self.assertEqual([section.label for section in g.sections()], list("AABA"))
        self.assertEqual(g.sections()[0][:1], (0.0,))
        png = g._repr_png_()
        width, height, depth, kind = struct.unpack(">IIBB", png[16:26])
        self.assertEqual((width, height, depth, kind), (5 * g.n, 5 * g.n, 8, 0))
        rows = zlib.decompress(png[png.index(b"IDAT") + 4 : -16])
        pixels = np.frombuffer(rows, np.uint8).reshape(height, width + 1)[:, 1:]
        self.assertTrue(np.array_equal(pixels[::-5, ::5], g.similarity))
        sevens = np.full((1100, 1100), 7, np.uint8)
        big = veloria.Gabarit(veloria._sdif.Contents(np.arange(1100.0), sevens, {}, (0, 0, 1)))
        self.assertEqual(struct.unpack(">II", big._repr_png_()[16:24]), (367, 367))
        self.assertEqual(zlib.decompress(big._repr_png_()[41:-16])[:368], b"\0" + b"\7" * 367)

    def test_plots_in_minutes(self):
        try:
            import matplotlib
        except ImportError:
            self.skipTest("no matplotlib")
        matplotlib.use("Agg")
        axes = veloria.read(self.song).plot(cmap="magma")
        axes.figure.canvas.draw()
        self.assertIn("0:30", [label.get_text() for label in axes.get_xticklabels()])
        self.assertTrue(np.allclose(axes.images[0].get_extent()[0], 0.24, atol=0.02))

    def test_finds_the_repeats_of_the_example(self):
        found = run(sys.executable, os.path.join(HERE, "find_repeats.py"), self.song).splitlines()
        self.assertEqual(found[0], "0:00-0:12 comes again at 0:12 and 0:36")
        self.assertEqual(len(found), 2)


def wav(samples, rate):
    """A file of an array, of the same numbers."""
    channels, width = samples.shape[1], samples.dtype.itemsize
    kind = 1 if samples.dtype == np.int16 else 3
    form = struct.pack("<HHIIHH", kind, channels, rate, rate * channels * width, channels * width, 8 * width)
    return (b"RIFF" + struct.pack("<I", 36 + samples.nbytes) + b"WAVEfmt \x10\0\0\0" + form
            + b"data" + struct.pack("<I", samples.nbytes) + samples.tobytes())  # fmt: skip


def tune(channels=1, dtype=np.float64, seconds=5, rate=22050):
    t = np.arange(seconds * rate)[:, None] / rate
    samples = 0.4 * np.sin(2 * np.pi * np.floor(1 + t) * 110 * t) / np.arange(1, channels + 1)
    return np.round(32767 * samples).astype(dtype) if dtype == np.int16 else samples.astype(dtype)


def same(a, b):
    return np.array_equal(a.similarity, b.similarity) and np.array_equal(a.times, b.times)


class Jobs(unittest.TestCase):
    def setUp(self):
        self.folder = tempfile.mkdtemp()
        self.addCleanup(shutil.rmtree, self.folder)

    def path(self, name):
        return os.path.join(self.folder, name)

    def write(self, name, data):
        with open(self.path(name), "wb") as file:
            file.write(data)
        return self.path(name)

    def test_writes_what_marquen_writes(self):
        sound = self.write("tune.wav", wav(tune(2, np.int16), 22050))
        settings = {"features": "harmo", "modeling": "fft", "window": 0.7, "step": 0.25}
        veloria.analyse(pathlib.Path(sound), **settings).save(self.path("out.sdif"))
        mine = read_bytes(self.path("out.sdif"))
        command = veloria.read(self.path("out.sdif")).table["Command"].split(" ")
        os.remove(self.path("out.sdif"))
        run(*command)
        self.assertEqual(read_bytes(self.path("out.sdif")), mine)

    def test_takes_an_array_as_its_file(self):
        for channels in (1, 2, 6):
            for dtype in (np.float32, np.float64, np.int16):
                with self.subTest(channels=channels, dtype=dtype):
                    samples = tune(channels, dtype)
                    of_file = veloria.analyse(self.write("tune.wav", wav(samples, 22050)), step=0.2)
                    self.assertTrue(same(veloria.analyse(samples, rate=22050, step=0.2), of_file))
                    swapped = np.asfortranarray(samples.astype(samples.dtype.newbyteorder(">")))
                    self.assertTrue(same(veloria.analyse(swapped, rate=22050.0, step=0.2), of_file))
        g = veloria.analyse(samples[:, 0], rate=np.int64(22050))
        self.assertEqual(g.table["Soundfile"], "<samples>")
        self.assertIn(" --input <samples> --similarity <memory> ", g.table["Command"])
        self.assertEqual(veloria.analyse([0.0] * 10, rate=8000).n, 0)
        halves = [self.write(f"{i}.wav", wav(samples[:, i : i + 1], 22050)) for i in range(2)]
        self.assertTrue(same(veloria.analyse(halves), veloria.analyse(samples[:, :2], rate=22050)))

    def test_says_what_is_wrong(self):
        text = self.write("text.wav", b"no sound")
        sound = self.write("tune.wav", wav(tune(), 22050))
        ones = np.ones(100)
        cases = (
            (veloria.Error, "error opening file '.*text.wav'", text, {}),
            (FileNotFoundError, "No such file.*none.wav", self.path("none.wav"), {}),
            (FileNotFoundError, "No such file.*none.wav", [sound, self.path("none.wav")], {}),
            (veloria.Error, "error opening file 'n*'", "n" * 300, {}),
            (ValueError, "null byte", "a\0b", {}),
            (TypeError, "rate goes with an array", sound, {"rate": 44100}),
            (TypeError, "samples want a rate", ones, {}),
            (TypeError, "the rate is a number", ones, {"rate": "44100"}),
            (ValueError, "whole number", ones, {"rate": 0}),
            (ValueError, "whole number", ones, {"rate": 1.5}),
            (ValueError, "whole number", ones, {"rate": float("nan")}),
            (ValueError, "whole number", ones, {"rate": 1 << 31}),
            (TypeError, "not int64", np.ones(100, np.int64), {"rate": 8000}),
            (TypeError, "not complex128", ones * 1j, {"rate": 8000}),
            (TypeError, "not object", None, {"rate": 8000}),
            (ValueError, "3 dimensions", np.ones((2, 2, 2)), {"rate": 8000}),
            (ValueError, "0 dimensions", np.float64(1.0), {"rate": 8000}),
            (veloria.Error, "number of channels", np.ones((1, 1025)), {"rate": 8000}),
            (veloria.Error, "number of channels", np.ones((5, 0)), {"rate": 8000}),
            (veloria.Error, "features is one of", sound, {"features": "loudness"}),
            (veloria.Error, "modeling is one of", sound, {"modeling": 0}),
            (veloria.Error, "invalid modeling window", sound, {"window": 0}),
            (veloria.Error, "invalid modeling step", sound, {"step": float("nan")}),
            (veloria.Error, "invalid modeling step", sound, {"step": float("inf")}),
            (veloria.Error, "needs about .* take a longer step", sound, {"max_memory": 1000}),
            (TypeError, "progress", sound, {"progress": "yes"}),
        )  # fmt: skip
        for kind, message, given, more in cases:
            with self.subTest(message=message, **more), self.assertRaisesRegex(kind, message):
                veloria.analyse(given, **more)
        self.assertGreater(veloria.memory(sound), 1_000_000)
        with self.assertRaises(FileNotFoundError):
            veloria.memory(self.path("none.wav"))

    def test_agrees_with_the_library_on_words(self):
        library = veloria._library.load()
        for function, words in (("features", veloria._library.FEATURES), ("modeling", veloria._library.MODELING)):
            word = library[f"veloria_{function}_word"]
            word.restype = veloria._library.c_char_p
            self.assertEqual([word(i) for i in range(len(words) + 2)], [None, *(w.encode() for w in words), None])
        if "VELORIA_VERSION" in os.environ:
            self.assertEqual(veloria.__version__, os.environ["VELORIA_VERSION"])

    def test_says_where_it_looked(self):
        code = "import veloria; veloria.read; veloria.analyse([0.0], rate=8000)"
        for path in ("/nowhere.so", "libc.so.6"):
            environment = dict(os.environ, PYTHONPATH=HERE, VELORIA_LIBRARY=path)
            done = subprocess.run([sys.executable, "-c", code], env=environment, capture_output=True, text=True)
            message = f"OSError: no library of veloria; looked for {path} .*VELORIA_LIBRARY"
            self.assertRegex(done.stderr, message)

    def test_reports_and_stops_when_the_report_fails(self):
        positions = []
        veloria.analyse(tune(seconds=60), rate=22050, step=0.1, progress=positions.append)
        self.assertEqual(positions, sorted(positions))
        self.assertEqual(positions[-1], 1.0)

        def stumble(position):
            raise LookupError(position)

        with self.assertRaises(LookupError):
            veloria.analyse(tune(seconds=60), rate=22050, step=0.05, progress=stumble)

    def test_stops_at_once_when_interrupted(self):
        sound = self.write("hour.wav", wav(np.zeros((0, 1), np.int16), 8000)[:40] + struct.pack("<I", 3600 * 16000))
        os.truncate(sound, 44 + 3600 * 16000)
        for delay in (0.3, 1.0):
            threading.Timer(delay, os.kill, (os.getpid(), signal.SIGINT)).start()
            begin = time.monotonic()
            with self.assertRaises(KeyboardInterrupt):
                veloria.analyse(sound)
            self.assertLess(time.monotonic() - begin - delay, 1.0)

    def test_stops_at_once_while_samples_are_copied(self):
        copied = []

        def copy(*_):  # code that no signal stops
            try:
                hashlib.pbkdf2_hmac("sha1", b"", b"", 8_000_000)
            finally:
                copied.append(True)

        before = threading.active_count(), os.listdir("/proc/self/fd")
        with unittest.mock.patch.object(veloria._analyse._Source, "start", copy):
            threading.Timer(0.3, os.kill, (os.getpid(), signal.SIGINT)).start()
            with self.assertRaises(KeyboardInterrupt):
                veloria.analyse(np.zeros(10), rate=8000)
        self.assertEqual(copied, [])
        while threading.active_count() > before[0]:
            time.sleep(0.01)
        self.assertEqual(os.listdir("/proc/self/fd"), before[1])

    def test_leaves_nothing_and_lets_others_work(self):
        expected = veloria.analyse(tune(), rate=22050)
        wrong = []

        def work():
            for _ in range(5):
                if not same(veloria.analyse(tune(), rate=22050), expected):
                    wrong.append(1)

        descriptors = os.listdir("/proc/self/fd")
        threads = [threading.Thread(target=work) for _ in range(4)]
        for thread in threads:
            thread.start()
        for thread in threads:
            thread.join()
        child = os.fork()
        if child == 0:
            os._exit(0 if same(veloria.analyse(tune(), rate=22050), expected) else 1)
        self.assertEqual(os.waitpid(child, 0)[1], 0)
        self.assertEqual(wrong, [])
        self.assertEqual(os.listdir("/proc/self/fd"), descriptors)


class Documentation(unittest.TestCase):
    def test_runs_as_it_stands(self):
        """The first block of docs/python.md in a folder with a song, and what it says that comes out."""
        try:
            import matplotlib
        except ImportError:
            self.skipTest("no matplotlib")
        matplotlib.use("Agg")
        text = (pathlib.Path(HERE).parent / "docs/python.md").read_text()
        folder = tempfile.mkdtemp()
        self.addCleanup(shutil.rmtree, folder)
        self.addCleanup(os.chdir, os.getcwd())
        os.chdir(folder)
        run("compose", "song.wav")
        blocks = text.split("```python\n")[1:]
        names = {}
        for block in blocks[: text.count("```python")]:
            exec(block.split("```")[0], names)
        self.assertEqual([s.label for s in names["g"].sections()], list("AABA"))
        self.assertTrue(os.path.exists("song.png"))


def load_tests(loader, tests, pattern):
    names = {"np": np, "veloria": veloria}
    for module in (veloria, veloria._analyse, veloria._gabarit):
        tests.addTests(doctest.DocTestSuite(module, extraglobs=names))
    return tests


if __name__ == "__main__":
    unittest.main()

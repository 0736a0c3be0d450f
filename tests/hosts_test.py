#!/usr/bin/env python3
"""Tests of a host that is called HOST SOUND OUT.sdif, whatever it is written in: hosts_test.py HOST MARQUEN"""

import os
import random
import shutil
import signal
import struct
import subprocess
import sys
import tempfile
import time
import unittest

HOST, MARQUEN = map(os.path.abspath, sys.argv[1:3])
LISTENS = not HOST.endswith(("analyse", "host_cpp"))  # those leave Ctrl-C to the system


RATE = 8000


class Host(unittest.TestCase):
    def setUp(self):
        self.folder = tempfile.mkdtemp()
        self.addCleanup(shutil.rmtree, self.folder)
        self.write("sound.wav", 20 * RATE, random.Random(1).randbytes(40 * RATE))

    def write(self, name, frames, data):
        with open(os.path.join(self.folder, name), "wb") as file:
            file.write(struct.pack("<4sI8sIHHIIHH4sI", b"RIFF", 36 + 2 * frames, b"WAVEfmt ", 16, 1, 1, RATE, 2 * RATE, 2,
                                   16, b"data", 2 * frames))  # fmt: skip
            file.write(data)
            file.truncate(44 + 2 * frames)

    def start(self, sound, gabarit="out.sdif"):
        return subprocess.Popen([HOST, sound, gabarit], cwd=self.folder, stderr=subprocess.PIPE, text=True)

    def test_writes_what_marquen_writes(self):
        self.write("sound.wav", 400 * RATE, random.Random(1).randbytes(800 * RATE)) # long enough for a report
        host = self.start("sound.wav")
        said = host.communicate()[1]
        self.assertEqual(host.returncode, 0, said)
        self.assertRegex(said, r"\d+ %")
        self.assertTrue(said.endswith("done\n"), said)
        os.rename(os.path.join(self.folder, "out.sdif"), os.path.join(self.folder, "host.sdif"))
        command = [MARQUEN, "--input", "sound.wav", "--similarity", "out.sdif", "--quiet"]
        subprocess.run(command, cwd=self.folder, check=True)
        with open(self.folder + "/host.sdif", "rb") as a, open(self.folder + "/out.sdif", "rb") as b:
            self.assertEqual(a.read(), b.read())

    def test_is_the_one_of_the_readme(self):
        root = os.path.dirname(os.path.dirname(os.path.abspath(__file__)))
        with open(root + "/README.md") as readme, open(root + "/examples/host.cpp") as source:
            self.assertIn("```cpp\n" + source.read() + "```", readme.read())

    def test_reports_errors(self):
        for sound, gabarit, text in (("none.wav", "out.sdif", "error opening file 'none.wav'"),
                                     ("sound.wav", "no/out.sdif", "Error opening file 'no/out.sdif' for writing")):  # fmt: skip
            host = self.start(sound, gabarit)
            said = host.communicate()[1]
            self.assertEqual(host.returncode, 1, said)
            self.assertIn(text, said)

    @unittest.skipUnless(LISTENS, "Ctrl-C ends this host")
    def test_cancels(self):
        self.write("long.wav", 3600 * RATE, b"")  # silence, of which the disk has nothing
        host = self.start("long.wav")
        time.sleep(0.5)
        host.send_signal(signal.SIGINT)
        said = host.communicate(timeout=30)[1]
        self.assertEqual(host.returncode, 130, said)
        self.assertIn("processing was canceled", said)
        self.assertFalse(os.path.exists(self.folder + "/out.sdif"))


if __name__ == "__main__":
    unittest.main(argv=sys.argv[:1])

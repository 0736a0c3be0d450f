#!/usr/bin/env python3
"""marquen as a shell drives it: pipes, signals, limits, full disks.

usage: marquen_test.py MARQUEN
"""
import functools
import json
import os
import re
import resource
import signal
import struct
import subprocess
import sys
import tempfile
import time
import unittest
from pathlib import Path

MARQUEN = str(Path(sys.argv[1]).resolve())
RATE = 11025


@functools.cache
def wav(seconds, announced=None):
    samples = b"".join(struct.pack("<h", int(9000 * ((i * 7919 % 211) / 105 - 1) * (1 + i // RATE % 3) / 3))
                       for i in range(int(RATE * seconds)))
    size = len(samples) if announced is None else announced
    riff = (size + 36) % 2**32 if size else 0
    return struct.pack("<4sI4s4sIHHIIHH4sI", b"RIFF", riff, b"WAVE", b"fmt ", 16, 1, 1, RATE, 2 * RATE, 2, 16, b"data",
                       size) + samples


def big_endian(data):
    return b"".join(data[i:i + 2][::-1] for i in range(44, len(data), 2))


def au(seconds, announced):
    return struct.pack(">4sIIIII", b".snd", 24, announced, 3, RATE, 1) + big_endian(wav(seconds))


def aiff(seconds, announced):
    rate = bytes.fromhex("400cac44000000000000")
    return struct.pack(">4sI4s4sIhIh10s4sIII", b"FORM", announced, b"AIFF", b"COMM", 18, 1, announced // 2, 16, rate,
                       b"SSND", announced, 0, 0) + big_endian(wav(seconds))


def caf(seconds, announced):
    return struct.pack(">4sHH4sqd4sIIIII4sqI", b"caff", 1, 0, b"desc", 32, RATE, b"lpcm", 0, 2, 1, 1, 16, b"data",
                       announced, 0) + big_endian(wav(seconds))


class Shell(unittest.TestCase):
    def setUp(self):
        temporary = tempfile.TemporaryDirectory()
        self.addCleanup(temporary.cleanup)
        self.folder = Path(temporary.name)

    def run_marquen(self, *arguments, **more):
        return subprocess.run([MARQUEN, *arguments], cwd=self.folder, capture_output=True, timeout=60, **more)

    def summary(self, *arguments, status=0, **more):
        done = self.run_marquen("--json", *arguments, **more)
        self.assertEqual(done.returncode, status, done.stderr)
        return json.loads(done.stdout)

    def write(self, name, content):
        (self.folder / name).write_bytes(content)
        return name

    def left(self):
        return {path.name for path in self.folder.iterdir()}


class Pipes(Shell):
    def test_streams_are_as_long_as_what_comes(self):
        largest = 2**32 - 1
        streams = [wav(4), wav(4, 0), wav(4, 2**31 - 1), wav(4, largest), wav(4, largest - 15), au(4, largest),
                   au(4, largest - 15), au(4, 2**31), au(4, 0), aiff(4, 2**31), aiff(4, largest - 15), caf(4, -1),
                   caf(4, 2**40)]
        expected = None
        for stream in streams:
            with self.subTest(head=stream[:48]):
                done = self.summary("-", "--force", "--no-picture", "--step", "0.2", input=stream)
                self.assertEqual((done["seconds_of_sound"], done["n"], done["warnings"]), (4.0, 19, []))
                file = (self.folder / "stdin.sdif").read_bytes()
                expected = expected or file
                self.assertEqual(file, expected)
        self.assertIn(b"\nSoundfile\t/dev/stdin;\n", expected)

    def test_what_a_pipe_recorded_repeats_from_a_pipe(self):
        self.summary("--input", "-", "--similarity", "a.sdif", input=wav(3))
        before = (self.folder / "a.sdif").read_bytes()
        command = re.search(rb"\nCommand\tmarquen ([^;]*);", before)[1].decode().split()
        self.assertEqual(self.run_marquen(*command, input=wav(3)).returncode, 4)
        self.assertEqual(self.run_marquen(*command, "-f", input=wav(3)).returncode, 0)
        self.assertEqual((self.folder / "a.sdif").read_bytes(), before)

    def test_named_pipes_and_those_of_shells(self):
        os.mkfifo(self.folder / "fifo")
        self.write("a.wav", wav(3))
        script = '(sleep 0.3; cat a.wav > fifo) & "$0" --plan fifo && wait && "$0" --plan <(cat a.wav)'
        done = subprocess.run(["bash", "-c", script, MARQUEN], cwd=self.folder, capture_output=True, text=True, timeout=60)
        self.assertEqual(done.stdout.count("n       5\n"), 2, done.stderr)
        self.assertIn("nothing came", self.summary("fifo", "--plan", status=1)["error"])


class Lengths(Shell):
    def test_cut_files_are_noticed(self):
        cases = [(wav(4)[:RATE * 4], ["'a': 0:04 announced, 0:02 found"], 0),
                 (aiff(4, RATE * 8)[:RATE * 4], ["'a': 0:04 announced, 0:02 found"], 0),
                 (wav(4)[:44], "announces sound and holds none", 1), (wav(0), [], 0)]
        for content, expected, status in cases:
            with self.subTest(expected=expected):
                done = self.summary(self.write("a", content), "--force", "--no-picture", status=status)
                self.assertIn(expected, done["error"] if status else [done["warnings"]])


class Pictures(Shell):
    def test_a_whole_gabarit_stays_without_its_picture(self):
        self.write("a.wav", wav(4))
        limit = lambda: resource.setrlimit(resource.RLIMIT_FSIZE, (9000, 9000))
        done = self.run_marquen("a.wav", "--json", preexec_fn=limit)
        self.assertEqual(done.returncode, 4)
        self.assertRegex(json.loads(done.stdout)["error"], "^'[^']*a.png' can't be written: File too large")
        self.assertEqual(self.left(), {"a.wav", "a.sdif"})

    def test_several_files_are_named_by_the_first(self):
        for name in ("left.wav", "right.wav"):
            self.write(name, wav(2))
        self.summary("--input", "left.wav", "right.wav", "--similarity", "a.sdif", "--picture", "a.png")
        self.assertIn(b"left.wav + 1 more", (self.folder / "a.png").read_bytes())

    def test_progress_as_json(self):
        self.write("a.wav", wav(60))
        done = self.run_marquen("a.wav", "--progress", "json")
        reports = [json.loads(line) for line in done.stderr.splitlines()]
        for stage in ("analyzing", "drawing"):
            positions = [report["position"] for report in reports if report["stage"] == stage]
            self.assertEqual(positions, sorted(positions))
            self.assertTrue(positions)


class Nothing_is_lost(Shell):
    """Whatever ends the job, what stood there before stands there after."""

    def setUp(self):
        super().setUp()
        self.write("a.wav", wav(60))
        self.write("a.sdif", b"old")
        os.chmod(self.folder / "a.sdif", 0o640)
        self.command = ("a.wav", "--no-picture", "--json")

    def assert_nothing_changed(self, *further):
        self.assertEqual((self.folder / "a.sdif").read_bytes(), b"old")
        self.assertEqual(self.left(), {"a.wav", "a.sdif", *further})

    def test_without_force(self):
        self.assertEqual(self.summary(*self.command, status=4)["cause"], "output")
        self.assert_nothing_changed()

    def test_with_force_the_mode_stays(self):
        self.summary(*self.command, "--force")
        self.assertEqual((self.folder / "a.sdif").read_bytes()[:4], b"SDIF")
        self.assertEqual((self.folder / "a.sdif").stat().st_mode & 0o777, 0o640)
        self.assertEqual(self.left(), {"a.wav", "a.sdif"})

    def test_without_standard_streams(self):
        for sounds in ("a.wav", "a.wav b.wav"):
            self.write("b.wav", wav(4)[:RATE * 4])
            script = f'"$0" -f --no-picture {sounds} <&- >&- 2>&-'
            subprocess.run(["bash", "-c", script, MARQUEN], cwd=self.folder, check=True)
            self.assertEqual((self.folder / "a.sdif").read_bytes()[:4], b"SDIF")

    def test_a_file_too_large(self):
        limit = lambda: resource.setrlimit(resource.RLIMIT_FSIZE, (9000, 9000))
        done = self.run_marquen(*self.command, "--force", preexec_fn=limit)
        self.assertEqual(done.returncode, 4)
        self.assertIn("File too large", json.loads(done.stdout)["error"])
        self.assert_nothing_changed()
        (self.folder / "a.sdif").unlink()
        self.assertEqual(self.run_marquen(*self.command, preexec_fn=limit).returncode, 4)
        self.assertEqual(self.left(), {"a.wav"})

    @unittest.skipUnless(os.geteuid() == 0, "mounts")
    def test_a_full_disk(self):
        disk = self.folder / "disk"
        disk.mkdir()
        subprocess.run(["mount", "-t", "tmpfs", "-o", "size=16k", "disk", disk], check=True)
        self.addCleanup(subprocess.run, ["umount", disk])
        self.write("disk/a.sdif", b"old")
        done = self.summary(*self.command, "--force", "--out", "disk", status=4)
        self.assertEqual(done["cause"], "output")
        self.assertIn("No space left on device", done["error"])
        self.assertEqual({path.name: path.read_bytes() for path in disk.iterdir()}, {"a.sdif": b"old"})

    def interrupt(self, *command, signals=(signal.SIGINT,), until=lambda: True, prefix=()):
        """Sends the signals to the program once it catches them."""
        job = subprocess.Popen([*prefix, MARQUEN, *command], cwd=self.folder, stdout=subprocess.PIPE,
                               stderr=subprocess.PIPE, stdin=subprocess.PIPE)
        catches = lambda: int(re.search(r"SigCgt:\s*(\w+)", Path(f"/proc/{job.pid}/status").read_text())[1], 16) & 2
        while not (catches() and until()):
            time.sleep(0.001)
        for number in signals:
            job.send_signal(number)
            time.sleep(0.02)
        try:
            return *job.communicate(timeout=20), job.returncode
        finally:
            job.kill()

    def test_signals(self):
        long_job = (*self.command, "--force", "--step", "0.01", "--modeling", "mph")
        set_aside = lambda: not (self.folder / "a.sdif").exists()
        for number in (signal.SIGINT, signal.SIGTERM, signal.SIGHUP):
            with self.subTest(signal=number):
                output, error, status = self.interrupt(*long_job, signals=[number], until=set_aside)
                self.assertEqual((status, json.loads(output)["state"]), (-number, "canceled"))
                self.assertEqual(error, b"marquen: a.wav: canceled\n")
                self.assert_nothing_changed()
        self.assertEqual(self.interrupt(*long_job, signals=[signal.SIGINT] * 2, until=set_aside)[2], -signal.SIGINT)
        self.assert_nothing_changed()

    def test_signals_where_nothing_reports(self):
        os.mkfifo(self.folder / "reader")
        for command in (("-", "--json"), ("--input", "a.wav", "--similarity", "reader", "--json")):
            with self.subTest(command=command):
                output, _, status = self.interrupt(*command)
                self.assertEqual((status, json.loads(output)["state"]), (-signal.SIGINT, "canceled"))
        self.assert_nothing_changed("reader")

    def test_several_sounds_end_with_their_parent(self):
        self.write("b.wav", wav(60))
        long_jobs = ("a.wav", "b.wav", "--json", "--force", "--no-picture", "--step", "0.01", "--modeling", "mph", "-j2")
        set_aside = lambda: not (self.folder / "a.sdif").exists()
        output, _, status = self.interrupt(*long_jobs, until=set_aside)
        self.assertEqual((status, json.loads(output)["state"]), (-signal.SIGINT, "canceled"))
        self.assert_nothing_changed("b.wav")

    @unittest.skipUnless(os.geteuid() == 0, "makes a namespace")
    def test_first_process_of_a_container(self):
        # Signals that aren't caught don't end it.
        done = self.run_marquen("-f", "a.wav")
        self.assertEqual(done.returncode, 0, done.stderr)
        again = subprocess.run(["unshare", "-p", "-f", MARQUEN, "-f", "a.wav"], cwd=self.folder, capture_output=True)
        self.assertEqual(again.returncode, 0, again.stderr)
        self.assertEqual(self.left(), {"a.wav", "a.sdif", "a.png"})


if __name__ == "__main__":
    unittest.main(argv=sys.argv[:1])

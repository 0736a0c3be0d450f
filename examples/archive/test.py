#!/usr/bin/env python3
"""Runs the workflow on a few sounds, kills it, resumes it. Needs marquen, gabarit and snakemake on the PATH."""

import csv
import json
import os
import shutil
import signal
import subprocess
import sys
import tempfile
import time
import unittest
import urllib.parse

HERE = os.path.dirname(os.path.abspath(__file__))
sys.path.insert(0, HERE)
sys.dont_write_bytecode = True
import archive  # noqa: E402
import make_sounds  # noqa: E402

# Stands in front of marquen: while the files beside it are there, one sound takes very long, one ends by a signal, and
# one finds no memory to be loaded into.
STAND_IN = """#!/bin/sh
here={here}
case "$*" in
*/slow.wav*) if [ -e $here/stall ]; then touch $here/stalled; exec sleep 600; fi ;;
*/crash.wav*) if [ -e $here/crash ]; then kill -KILL $$; fi ;;
*/memory.wav*) if [ -e $here/crash ]; then echo 'Out of memory. Details' >&2; exit 1; fi ;;
esac
exec {marquen} "$@"
"""


def read(path):
    with open(path, "rb") as file:
        return file.read()


def wait_for(condition):
    end = time.monotonic() + 120
    while not condition():
        if time.monotonic() > end:
            raise AssertionError("waited in vain")
        time.sleep(0.02)


HOSTILE_NAMES = [
    "-dash.wav", "--help.wav", "new\nline.wav", "tab\t'and' \"quotes\".wav", "$(touch injected) `touch injected`;.wav",
    " blanks at both ends .wav", "*.wav", "{wildcards.pack}.wav", "%41.wav", "A.wav", "%2E.wav", "</script><b>.wav",
    os.fsdecode(b"\xff\xfe.wav"), "x" * 251 + ".wav", "\u3042" * 83 + ".wav", "a.wav", "a.wav.json/b.wav",
    "a.wav.sdif/c.wav", "a.wav%2Ejson/b.wav", "a.wav.JSON/b.wav",
]  # fmt: skip

BAD = {"bad/empty.wav", "bad/a text.wav", "bad/header cut.wav", "bad/no sound.aiff", "bad/leads nowhere.wav"}


class Workflow(unittest.TestCase):
    def setUp(self):
        self.root = tempfile.mkdtemp()
        self.addCleanup(shutil.rmtree, self.root)
        self.sounds = os.path.join(self.root, "the sounds")
        self.out = os.path.join(self.root, "out")
        os.mkdir(self.out)
        make_sounds.make_sounds(self.sounds, count=9, longest=2)
        for name in ("slow.wav", "crash.wav", "memory.wav"):
            shutil.copy(os.path.join(self.sounds, "disc 0", "two words.wav"), os.path.join(self.sounds, name))
        self.set_aside = tempfile.mkdtemp()
        self.addCleanup(shutil.rmtree, self.set_aside)
        stand_in = os.path.join(self.set_aside, "marquen")
        with open(stand_in, "w") as file:
            file.write(STAND_IN.format(here=self.set_aside, marquen=shutil.which("marquen")))
        os.chmod(stand_in, 0o755)
        self.environment = dict(os.environ, PATH=self.set_aside + os.pathsep + os.environ["PATH"])

    def flag(self, name):
        return os.path.join(self.set_aside, name)

    def start(self, *options, config=("step=0.25",)):
        command = ["snakemake", "--snakefile", os.path.join(HERE, "Snakefile"), "--directory", self.out, *options]
        command += ["--profile", os.path.join(HERE, "profiles/local"), "--config", f"sounds={self.sounds}", *config]
        self.log = open(os.path.join(self.root, "log"), "w+")
        self.addCleanup(self.log.close)
        return subprocess.Popen(
            command, env=self.environment, stdout=self.log, stderr=subprocess.STDOUT, start_new_session=True
        )

    def run_workflow(self, *options, status=0, **more):
        done = self.start("--cores", "2", *options, **more).wait(timeout=300)
        self.log.seek(0)
        self.assertEqual(done, status, self.log.read())

    def files(self, kind):
        top = os.path.join(self.out, kind)
        found = (os.path.join(folder, name) for folder, _, names in os.walk(top) for name in names)
        return sorted(os.path.relpath(path, top) for path in found)

    def failed(self):
        with open(os.path.join(self.out, "failed.tsv"), encoding="utf-8") as file:
            lines = (line.rstrip("\n").split("\t") for line in file)
            return {name: message for _, name, message in lines}

    def check_results(self, failed):
        sounds = archive.find_sounds(self.sounds)[0]
        done = {archive.to_id(s) for s in sounds} - {archive.to_id(s) for s in failed}
        self.assertEqual(set(self.failed()), set(failed))
        for kind, ending in (("gabarits", ".sdif"), ("pictures", ".png")):
            self.assertEqual(self.files(kind), sorted(sound_id + ending for sound_id in done))
        gabarits = [os.path.join(self.out, "gabarits", name) for name in self.files("gabarits")]
        verified = subprocess.run(["gabarit", "verify", *gabarits], capture_output=True, text=True)
        self.assertEqual(verified.returncode, 0, verified.stdout)
        sheet = read(os.path.join(self.out, "index.html")).decode()
        entries = json.loads(sheet.split("const sounds = ")[1].split(";\n")[0])
        self.assertEqual(len(entries), len(sounds))
        for entry in entries:
            for kind in ("gabarit", "picture"):
                if entry["state"] == "finished":
                    self.assertTrue(os.path.exists(os.path.join(self.out, urllib.parse.unquote(entry[kind]))), entry)
        with open(os.path.join(self.out, "sounds.csv"), newline="", encoding="utf-8") as file:
            rows = {row["id"]: row for row in csv.DictReader(file)}
        self.assertEqual({name for name, row in rows.items() if row["state"] == "finished"}, done)

    def test_resumes_where_it_was_killed(self):
        for name in ("stall", "crash"):
            open(self.flag(name), "w").close()
        broken = self.start("--cores", "2")
        wait_for(lambda: os.path.exists(self.flag("stalled")) and len(self.files("records")) >= 3)
        os.killpg(broken.pid, signal.SIGKILL)
        broken.wait()
        self.assertNotIn("slow.wav.json", self.files("records"))
        before = {name: os.stat(os.path.join(self.out, "gabarits", name)).st_ino for name in self.files("gabarits")}
        os.makedirs(os.path.join(self.out, "gabarits"), exist_ok=True)  # if all three records tell of failures
        with open(os.path.join(self.out, "gabarits/slow.wav.sdif"), "wb") as file:  # as an older program might leave it
            file.write(b"SDIF")

        os.remove(self.flag("stall"))
        self.run_workflow("--unlock")
        self.run_workflow(status=1)
        self.check_results(BAD | {"crash.wav", "memory.wav"})
        self.assertIn("SIGKILL", self.failed()["crash.wav"])
        self.assertIn("Format not recognised", self.failed()["bad/a text.wav"])
        kept = [name for name in before if os.stat(os.path.join(self.out, "gabarits", name)).st_ino == before[name]]
        self.assertGreaterEqual(len(kept), len(before) - 2)  # the two that ran when it was killed may be made again

        os.remove(self.flag("crash"))
        self.run_workflow()
        self.check_results(BAD)

        # A record is what counts as done: each is made again when its sound changes, and only then.
        records = {name: read(os.path.join(self.out, "records", name)) for name in self.files("records")}
        repaired, spoilt = os.path.join(self.sounds, "bad/empty.wav"), os.path.join(self.sounds, "slow.wav")
        shutil.copy(spoilt, repaired)
        os.utime(repaired, (0, 0))
        with open(spoilt, "w") as file:
            file.write("no sound any more")
        self.run_workflow()
        self.check_results(BAD - {"bad/empty.wav"} | {"slow.wav"})
        changed = [name for name in records if read(os.path.join(self.out, "records", name)) != records[name]]
        self.assertEqual(sorted(changed), ["bad/empty.wav.json", "slow.wav.json"])

        # A wrong setting spoils nothing.
        self.run_workflow(status=1, config=("features_type=loudness",))
        self.check_results(BAD - {"bad/empty.wav"} | {"slow.wav"})

    def test_takes_every_name(self):
        shutil.rmtree(self.sounds)
        for name in HOSTILE_NAMES:
            make_sounds.write(os.fsencode(self.sounds), os.fsencode(name), make_sounds.wav([0.1] * 12000, 8000))
        for name in ("notes.txt", "more.TXT", "no ending"):
            make_sounds.write(self.sounds, name, b"")
        ids = [archive.to_id(name) for name in HOSTILE_NAMES]
        self.assertEqual([archive.to_sound(sound_id) for sound_id in ids], HOSTILE_NAMES)
        self.run_workflow(config=("pages=1",))
        self.check_results(set())
        self.assertEqual(self.files("pages"), sorted(sound_id + ".html" for sound_id in ids))
        self.assertEqual(sorted(os.listdir(self.sounds)), sorted(set(name.split("/")[0] for name in HOSTILE_NAMES) | {
            "notes.txt", "more.TXT", "no ending"}))
        passed_over = read(os.path.join(self.out, "passed_over.tsv")).decode()
        self.assertEqual(passed_over, "\tno ending\n.txt\tmore.TXT\n.txt\tnotes.txt\n")


if __name__ == "__main__":
    unittest.main()

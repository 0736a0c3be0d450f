#!/usr/bin/env python3
"""Analyses one sound of an archive into the current folder.

    analyse.py [--mem_mb N] FOLDER_OF_SOUNDS SOUND [SETTING OF MARQUEN...]

SOUND is a path below FOLDER_OF_SOUNDS. Writes gabarits/ID.sdif, pictures/ID.png, thumbnails/ID.png and at last
records/ID.json, which alone says that the sound is done. A sound that marquen refuses is done too: its record tells
why. Everything else that goes wrong, such as a signal or a full disk, is no trait of the sound: it leaves no record
and ends with status 1, so that the sound is taken again.
"""

import argparse
import json
import os
import shutil
import signal
import subprocess
import sys
import tempfile

import archive

THUMBNAIL_PIXELS = 160


class Accident(Exception):
    """What happened to this run and may not happen to the next."""


def run(command, folder):
    # One thread: the engine counts on it, and some LAPACK would take all cores.
    one_thread = dict(os.environ, OMP_NUM_THREADS="1", OPENBLAS_NUM_THREADS="1")
    done = subprocess.run(command, cwd=folder, env=one_thread, capture_output=True, text=True, errors="replace")
    if done.returncode < 0:
        raise Accident(f"{command[0]} was ended by {signal.Signals(-done.returncode).name}")
    return done


def run_marquen(sound_path, sound_id, mem_mb, settings, folder):
    """Writes gabarit and picture below the folder, by the names that they will have: the gabarit records them."""
    outputs = archive.gabarit_of(sound_id), archive.picture_of(sound_id)
    for output in outputs:
        os.makedirs(os.path.dirname(os.path.join(folder, output)))
    command = ["marquen", "--input", sound_path, "--similarity", outputs[0], "--picture", outputs[1]]
    if mem_mb:  # a refusal has reasons, a kill has none; the tenth is for what the plan leaves out
        command += ["--max_memory", f"{mem_mb * 9 // 10}MB"]
    done = run(command + ["--json", "--quiet", *settings], folder)
    if done.returncode not in (0, 1):
        raise Accident(done.stderr.strip() or f"marquen ended with status {done.returncode}")
    record = json.loads(done.stdout)
    if record["state"] != "finished" and any(f"'{output}'" in record["error"] for output in outputs):
        raise Accident(record["error"])
    return record


def run_gabarit(*arguments, folder):
    done = run(["gabarit", *arguments], folder)
    if done.returncode != 0:
        raise Accident(done.stdout.strip() + done.stderr.strip())


def put_in_place(folder, name):
    """Renames a whole file from the folder of this run to its place."""
    part = os.path.join(folder, name)
    with open(part, "rb") as file:
        os.fsync(file.fileno())
    os.makedirs(os.path.dirname(name), exist_ok=True)
    os.replace(part, name)


def write_record(record, sound_id, folder):
    name = archive.record_of(sound_id)
    part = os.path.join(folder, name)
    os.makedirs(os.path.dirname(part), exist_ok=True)
    with open(part, "w", encoding="utf-8") as file:
        json.dump(record, file, indent=2)
    put_in_place(folder, name)


def analyse(root, sound, mem_mb, settings, folder):
    sound_id = archive.to_id(sound)
    path = os.path.abspath(os.path.join(root, sound))
    results = archive.gabarit_of(sound_id), archive.picture_of(sound_id), archive.thumbnail_of(sound_id)
    if os.path.isfile(path):
        record = run_marquen(path, sound_id, mem_mb, settings, folder)
    else:  # a pipe would be waited for, a link may lead nowhere
        record = {"state": "failed", "error": "is no regular file"}
    record = {"sound": archive.showable(sound), **record}
    if record["state"] == "finished":
        run_gabarit("verify", results[0], folder=folder)
        os.makedirs(os.path.dirname(os.path.join(folder, results[2])))
        if record["n"] > 0:
            size = str(THUMBNAIL_PIXELS)
            run_gabarit("picture", "--plain", "--size", size, results[0], results[2], folder=folder)
            put_in_place(folder, results[2])
        put_in_place(folder, results[1])
        put_in_place(folder, results[0])
    else:
        for result in results:  # of an older state of the sound
            if os.path.exists(result):
                os.remove(result)
    write_record(record, sound_id, folder)


def main():
    parser = argparse.ArgumentParser(description="Analyses one sound of an archive into the current folder.")
    parser.add_argument("--mem_mb", type=int, help="refuse a sound that needs more")
    parser.add_argument("root")
    parser.add_argument("sound")
    parser.add_argument("settings", nargs=argparse.REMAINDER)
    given = parser.parse_args()
    os.makedirs("part", exist_ok=True)
    folder = tempfile.mkdtemp(dir="part")
    try:
        analyse(given.root, given.sound, given.mem_mb, given.settings, folder)
    except (Accident, OSError) as accident:
        print(archive.showable(f"{given.sound}: {accident}"), file=sys.stderr)
        return 1
    finally:
        shutil.rmtree(folder, ignore_errors=True)
    return 0


if __name__ == "__main__":
    sys.exit(main())

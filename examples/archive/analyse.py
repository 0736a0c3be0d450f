#!/usr/bin/env python3
"""Analyzes sounds of an archive, one after the other, into the current folder.

    analyse.py [--mem_mb N] [--pages] FOLDER_OF_SOUNDS LIST [SETTING OF MARQUEN...]

LIST is a file of paths below FOLDER_OF_SOUNDS, each ended by a zero byte; "-" is the standard input. Writes of each
gabarits/ID.sdif, pictures/ID.png and at last records/ID.json, which alone says that the sound is
done. A sound that marquen refuses for its own sake is done too: its record says why. Everything else that goes wrong,
such as a signal, a lack of memory or a full disk, is no trait of the sound: it leaves no record but logs/ID.log, the
others go on, and the exit status is 1, so that the sound is taken again.
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

BESIDE_MARQUEN_MB = 100  # Python and, on a cluster, Snakemake
# One thread: the engine counts on it, and some LAPACK would take all cores.
ONE_THREAD = dict(os.environ, OMP_NUM_THREADS="1", OPENBLAS_NUM_THREADS="1")


class Accident(Exception):
    """What happened to this run and may not happen to the next."""


def run(command, folder):
    done = subprocess.run(command, cwd=folder, env=ONE_THREAD, capture_output=True, text=True, errors="replace")
    if done.returncode < 0:
        raise Accident(f"{command[0]} was ended by {signal.Signals(-done.returncode).name}")
    return done


def run_marquen(sound_path, sound_id, mem_mb, settings, folder):
    """Writes gabarit and picture below the folder, by the names that they will have: the gabarit records them."""
    outputs = archive.gabarit_of(sound_id), archive.picture_of(sound_id)
    for output in outputs:
        os.makedirs(os.path.dirname(os.path.join(folder, output)))
    command = ["marquen", f"--input={sound_path}", "--similarity", outputs[0], "--picture", outputs[1]]
    if mem_mb:  # a refusal has reasons, a kill has none; the tenth is for what the plan leaves out
        command += ["--max_memory", f"{max(1, mem_mb * 9 // 10 - BESIDE_MARQUEN_MB)}MB"]
    done = run(command + ["--sections", "--json", "--quiet", *settings], folder)
    if done.returncode not in (0, 1) or not done.stdout:  # without memory to load a sound the library ends with 1
        raise Accident(done.stderr.strip() or f"marquen ended with status {done.returncode}")
    facts = json.loads(done.stdout)
    del facts["sections"]  # of them the form is kept
    return facts


def put_in_place(folder, name):
    """Renames a whole file from the folder of this run to its place, once it is on disk."""
    part = os.path.join(folder, name)
    with open(part, "rb") as file:
        os.fsync(file.fileno())
    os.makedirs(os.path.dirname(name), exist_ok=True)
    os.replace(part, name)


def write_record(record, sound_id, folder):
    """The last of all; one that a power failure cuts counts as none."""
    name, part = archive.record_of(sound_id), os.path.join(folder, "record")
    with open(part, "w", encoding="utf-8") as file:
        json.dump(record, file, indent=2)
    os.makedirs(os.path.dirname(name), exist_ok=True)
    os.replace(part, name)


def write_page(sound_path, gabarit, page, folder):
    os.makedirs(os.path.dirname(os.path.join(folder, page)))
    done = run(["gabarit", "page", f"--sound={sound_path}", gabarit, page], folder)
    if done.returncode != 0:
        raise Accident(done.stderr.strip())
    put_in_place(folder, page)


def analyse(root, sound, mem_mb, pages, settings, folder):
    """Analyzes one sound within a folder of its own."""
    sound_id = archive.to_id(sound)
    path = os.path.abspath(os.path.join(root, sound))
    state = archive.state_of(path)
    gabarit, picture, page = results = [
        place(sound_id) for place in (archive.gabarit_of, archive.picture_of, archive.page_of)
    ]
    if os.path.isfile(path):
        record = run_marquen(path, sound_id, mem_mb, settings, folder)
    else:  # a pipe would be waited for, a link may lead nowhere
        record = {"state": "failed", "error": "is no regular file"}
    record = {"sound": archive.showable(sound), "sound_state": state, "settings": settings, "pages": pages, **record}
    if record["state"] == "finished":
        if archive.state_of(path) != state:
            raise Accident("the sound changed while it was analyzed")
        if pages:
            write_page(path, gabarit, page, folder)
        elif os.path.exists(page):  # of an older state of the sound
            os.remove(page)
        put_in_place(folder, picture)
        put_in_place(folder, gabarit)
    else:
        for result in results:  # of an older state of the sound
            if os.path.exists(result):
                os.remove(result)
    write_record(record, sound_id, folder)
    return record["state"]


def log_accident(sound_id, text):
    """A text without one removes what an earlier try left."""
    path = archive.log_of(sound_id)
    if text:
        os.makedirs(os.path.dirname(path), exist_ok=True)
        with open(path, "w", encoding="utf-8") as file:
            file.write(text + "\n")
    elif os.path.exists(path):
        os.remove(path)


def analyse_apart(root, sound, mem_mb, pages, settings):
    """Whether the sound has a record now; True, False, or None after an accident."""
    folder = tempfile.mkdtemp(dir="part")
    try:
        finished = analyse(root, sound, mem_mb, pages, settings, folder) == "finished"
        log_accident(archive.to_id(sound), None)
        return finished
    except (Accident, OSError) as accident:
        text = archive.showable(str(accident))
        print(f"{archive.showable(sound)}: {text}", file=sys.stderr)
        log_accident(archive.to_id(sound), text)
        return None
    finally:
        shutil.rmtree(folder, ignore_errors=True)


def read_tried(path):
    if path is None or not os.path.exists(path):
        return set()
    with open(path, "rb") as file:
        return set(archive.read_list(file))


def append(path, data):
    if path is not None:
        with open(path, "ab") as file:
            file.write(data)


def main():
    parser = argparse.ArgumentParser(description="Analyzes sounds of an archive into the current folder.")
    parser.add_argument("--mem_mb", type=int, help="refuse a sound that needs more")
    parser.add_argument("--pages", action="store_true", help="write listening pages too")
    parser.add_argument("root")
    parser.add_argument("list")
    parser.add_argument("settings", nargs=argparse.REMAINDER)
    given = parser.parse_args()
    with open(0 if given.list == "-" else given.list, "rb") as file:
        sounds = archive.read_list(file)
    pack = given.list.removesuffix(".list") if given.list.endswith(".list") else None
    tried_path, ends_path = (pack and pack + ".tried"), (pack and pack + ".ends")
    # What an earlier try of this pack was at when it was killed comes last: it may kill this one too.
    tried = read_tried(tried_path)
    os.makedirs("part", exist_ok=True)
    accidents = 0
    for sound in sorted(sounds, key=tried.__contains__):
        if archive.is_done(given.root, sound, given.pages, given.settings):
            continue
        append(tried_path, os.fsencode(sound) + b"\0")
        finished = analyse_apart(given.root, sound, given.mem_mb, given.pages, given.settings)
        accidents += finished is None
        if finished is not None:
            append(ends_path, b"d" if finished else b"r")
    if pack and not accidents:
        append(pack + ".done", b"")
    return 1 if accidents else 0


if __name__ == "__main__":
    sys.exit(main())

"""Packs of sounds: what one job of the workflow analyzes, one sound after the other.

A pack is a file packs/NAME.list of sounds. Its job writes beside it NAME.tried, the sounds that it began with, NAME.ends,
a letter for each record, d or r for done or refused, and NAME.done when each sound of the list has one.
"""

import hashlib
import os
import sys
import threading
import time

import archive

# Bytes a second, to tell how long a sound may be without opening it: CD quality, and what coders make of it.
_CODED_BYTES = {".flac": 100000, **dict.fromkeys([".mp3", ".mp2", ".ogg", ".oga", ".opus"], 20000)}
_MOST_SOUNDS = 2000


def minutes_of(path):
    try:
        size = os.path.getsize(path)
    except OSError:
        size = 0
    return size / _CODED_BYTES.get(archive.ending_of(path), 176400) / 60


def make_packs(root, sounds, pack_minutes, least_packs):
    """Writes the list of each pack, in the order of the sounds, and returns their names.

    A pack has about so many minutes of sound; fewer where there would be too few packs to occupy all cores to the end.
    """
    os.makedirs("packs", exist_ok=True)
    minutes = [minutes_of(os.path.join(root, sound)) for sound in sounds]
    limit = min(pack_minutes, sum(minutes) / least_packs)
    packs, filled = [], 0.0
    for sound, length in zip(sounds, minutes):
        if not packs or filled + length / 2 > limit or len(packs[-1]) >= _MOST_SOUNDS:
            packs.append([])
            filled = 0.0
        packs[-1].append(sound)
        filled += length
    names = []
    for pack in packs:
        name = hashlib.sha256(b"\0".join(map(os.fsencode, pack))).hexdigest()[:16]
        for ending in ("done", "ends", "tried"):  # of an older run, for the same sounds
            if os.path.exists(f"packs/{name}.{ending}"):
                os.remove(f"packs/{name}.{ending}")
        archive.write_list(f"packs/{name}.list", pack)
        names.append(name)
    return names


def clock(seconds):
    minutes, seconds = divmod(int(seconds), 60)
    return f"{minutes // 60}:{minutes % 60:02}:{seconds:02}"


def count_ends(names):
    """How many sounds of these packs have a gabarit now, and how many were refused."""
    ends = b""
    for name in names:
        if os.path.exists(f"packs/{name}.ends"):
            with open(f"packs/{name}.ends", "rb") as file:
                ends += file.read()
    return ends.count(b"d"), ends.count(b"r")


def show_progress(names, sound_count):
    """Keeps a line on the terminal, or writes one each minute into a file."""
    is_terminal = sys.stderr.isatty()

    def watch():
        begin = time.monotonic()
        while os.path.isdir("packs"):
            done, failed = count_ends(names)
            line = f"{done} done, {failed} failed, {sound_count - done - failed} left, {clock(time.monotonic() - begin)}"
            print(line, end="\r" if is_terminal else "\n", file=sys.stderr, flush=True)  # the next text overwrites it
            time.sleep(1 if is_terminal else 60)

    threading.Thread(target=watch, daemon=True).start()

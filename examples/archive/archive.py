#!/usr/bin/env python3
"""Which files of a folder are sounds, where the results of each lie, and which are still to be made.

    archive.py FOLDER_OF_SOUNDS     lists the sounds, each ended by a zero byte
"""

import collections
import functools
import json
import os
import re
import subprocess
import sys
import urllib.parse

RESULT_ENDINGS = (".sdif", ".png", ".json", ".log", ".html")
_PIECE_BYTES = 200  # a name in a folder may have 255 bytes; an ending is added


@functools.cache
def sound_endings():
    """The endings of what marquen opens on this machine."""
    lines = subprocess.run(["marquen", "--formats"], check=True, capture_output=True, text=True).stdout.splitlines()
    return frozenset("." + line.split("\t")[0] for line in lines)


def ending_of(name):
    return os.path.splitext(name)[1].lower()


def walk(root):
    """Paths of all that is no folder below root, relative to it."""
    for folder, _, names in os.walk(root):
        for name in names:
            yield os.path.relpath(os.path.join(folder, name), root)


def find_sounds(root):
    """Paths that have the ending of a sound, sorted, and the paths that have none, by their endings."""
    sounds, others = [], collections.defaultdict(list)
    for path in walk(root):
        ending = ending_of(path)
        if ending in sound_endings():
            sounds.append(path)
        else:
            others[ending].append(path)
    return sorted(sounds), others


def to_id(sound):
    """A path as a text that every shell, engine and web page takes as it is: letters, digits and -._~%/ alone.

    Different paths have different ids, and no id lies below another's results: the ending of a file stays, so that
    tone.wav and tone.aiff have their own results; a folder that ends as results do has %2E for its last dot. A name
    that grows too long by this is cut into pieces by "%/", which stands nowhere else.
    """
    *folders, name = (urllib.parse.quote(os.fsencode(part), safe="") for part in sound.split("/"))
    folders = ["%2E".join(part.rsplit(".", 1)) if part.lower().endswith(RESULT_ENDINGS) else part for part in folders]
    return "/".join(re.sub(f"(.{{{_PIECE_BYTES}}})(?=.)", r"\1%/", part) for part in [*folders, name])


def to_sound(sound_id):
    """The path that an id stands for."""
    return os.fsdecode(urllib.parse.unquote_to_bytes(sound_id.replace("%/", "")))


def showable(text):
    """A text in one line of valid UTF-8."""
    text = text.encode("utf-8", "replace").decode("utf-8")
    return re.sub(r"[\x00-\x1f\x7f-\x9f\u2028-\u202e\u2066-\u2069]", "?", text)


def gabarit_of(sound_id):
    return f"gabarits/{sound_id}.sdif"


def picture_of(sound_id):
    return f"pictures/{sound_id}.png"


def page_of(sound_id):
    return f"pages/{sound_id}.html"


def record_of(sound_id):
    return f"records/{sound_id}.json"


def log_of(sound_id):
    return f"logs/{sound_id}.log"


def state_of(path):
    """What changes when a file does, also where an older one takes its place."""
    try:
        state = os.stat(path)
    except OSError:
        return "missing"
    return f"{state.st_size} bytes, {state.st_mtime_ns}"


def read_record(sound_id):
    """The record of a sound, or None."""
    try:
        with open(record_of(sound_id), encoding="utf-8") as file:
            return json.load(file)
    except (FileNotFoundError, ValueError):
        return None


def is_done(root, sound, pages, settings):
    """Whether there is a record, of the sound as it is now, by these settings, and the gabarit that it speaks of."""
    sound_id = to_id(sound)
    record = read_record(sound_id)
    if record is None or record["settings"] != settings or record["pages"] < pages:
        return False
    if record["sound_state"] != state_of(os.path.join(root, sound)):
        return False
    return record["state"] != "finished" or os.path.exists(gabarit_of(sound_id))


def write_list(path, sounds):
    with open(path, "wb") as file:
        file.write(b"".join(os.fsencode(sound) + b"\0" for sound in sounds))


def read_list(file):
    return [os.fsdecode(sound) for sound in file.read().split(b"\0") if sound]


if __name__ == "__main__":
    if len(sys.argv) != 2:
        sys.exit(__doc__)
    write_list("/dev/stdout", find_sounds(sys.argv[1])[0])

#!/usr/bin/env python3
"""Where the results of each sound lie, and which files of a folder are sounds.

    archive.py FOLDER_OF_SOUNDS     lists the sounds, each ended by a zero byte
"""

import os
import re
import sys
import urllib.parse

SOUND_ENDINGS = frozenset(
    ".8svx .aif .aifc .aiff .au .avr .bwf .caf .flac .htk .iff .mat .mp1 .mp2 .mp3 .mpc2k .nist .oga .ogg .opus .paf"
    " .pvf .rf64 .sd2 .sds .sf .snd .sph .svx .voc .w64 .wav .wave .wavex .wve .xi".split()
)
_PIECE_BYTES = 200  # a name in a folder may have 255 bytes; an ending is added


def find_sounds(root):
    """Paths below root, relative to it, of all that has the ending of a sound and is no folder; sorted."""
    found = []
    for folder, _, names in os.walk(root):
        for name in names:
            if os.path.splitext(name)[1].lower() in SOUND_ENDINGS:
                found.append(os.path.relpath(os.path.join(folder, name), root))
    return sorted(found)


def to_id(sound):
    """A path as a text that every shell, engine and web page takes as it is: letters, digits and -._~%/ alone.

    Different paths have different ids. The ending stays, so that tone.wav and tone.aiff have their own results. A name
    that grows too long by this is cut into pieces by "%/", which stands nowhere else.
    """
    parts = (urllib.parse.quote(os.fsencode(part), safe="") for part in sound.split("/"))
    return "/".join(re.sub(f"(.{{{_PIECE_BYTES}}})(?=.)", r"\1%/", part) for part in parts)


def to_sound(sound_id):
    """The path that an id stands for."""
    return os.fsdecode(urllib.parse.unquote_to_bytes(sound_id.replace("%/", "")))


def showable(text):
    """A text in one line of valid UTF-8."""
    text = text.encode("utf-8", "replace").decode("utf-8")
    return re.sub(r"[\x00-\x1f\x7f]", "?", text)


def gabarit_of(sound_id):
    return f"gabarits/{sound_id}.sdif"


def picture_of(sound_id):
    return f"pictures/{sound_id}.png"


def thumbnail_of(sound_id):
    return f"thumbnails/{sound_id}.png"


def record_of(sound_id):
    return f"records/{sound_id}.json"


def log_of(sound_id):
    return f"logs/{sound_id}.log"


if __name__ == "__main__":
    if len(sys.argv) != 2:
        sys.exit(__doc__)
    sys.stdout.buffer.write(b"".join(os.fsencode(sound) + b"\0" for sound in find_sounds(sys.argv[1])))

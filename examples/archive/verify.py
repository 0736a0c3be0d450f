#!/usr/bin/env python3
"""Analyzes a sample of an archive's sounds again and compares: verify.py FOLDER_OF_SOUNDS SHARE OUT

SHARE is the part of the sounds that is taken, 0 to 1, the same ones each time. Writes verified.tsv, a line for each:
whether the result is the same, what `gabarit repro` says, the ID. OUT is an empty file that says that all were taken.
"""

import hashlib
import os
import subprocess
import sys

import archive
import contact_sheet

VERDICTS = {0: "same", 1: "different"}


def is_in_sample(sound_id, share):
    return int.from_bytes(hashlib.sha256(sound_id.encode()).digest()[:6], "big") < share * 2**48


def verify(root, sound):
    gabarit = archive.gabarit_of(archive.to_id(sound))
    path = os.path.abspath(os.path.join(root, sound))
    done = subprocess.run(["gabarit", "repro", gabarit, f"--sound={path}"], capture_output=True, text=True)
    return VERDICTS.get(done.returncode, "not comparable"), (done.stdout + done.stderr).strip()


def main(root, share, out):
    sounds = [sound for sound in archive.find_sounds(root)[0] if is_in_sample(archive.to_id(sound), float(share))]
    records = {sound: archive.read_record(archive.to_id(sound)) for sound in sounds}
    finished = [sound for sound in sounds if records[sound] and records[sound]["state"] == "finished"]
    rows = [(*verify(root, sound), archive.to_id(sound)) for sound in finished]
    contact_sheet.write_whole("verified.tsv", "".join("\t".join(row) + "\n" for row in rows))
    same = sum(row[0] == "same" for row in rows)
    print(f"verified {len(rows)} gabarits, {same} the same: see verified.tsv", file=sys.stderr)
    open(out, "w").close()


if __name__ == "__main__":
    if len(sys.argv) != 4:
        sys.exit(__doc__)
    main(*sys.argv[1:])

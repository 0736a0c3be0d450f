#!/usr/bin/env python3
"""Collects gabarits of the current folder as NumPy arrays: to_npz.py OUT.npz [BEGINNING_OF_ID...]

OUT.npz has for each sound "ID", its square, and "ID times", its moments in seconds. All sounds of sounds.csv that have
a gabarit, or those whose IDs begin as one of the words given.
"""

import csv
import os
import sys
import zipfile

import numpy

sys.path.insert(0, os.path.join(os.path.dirname(os.path.abspath(__file__)), "../../python"))
import veloria


def add(archive, name, array):
    with archive.open(name + ".npy", "w") as file:
        numpy.lib.format.write_array(file, array)


def main(out, beginnings):
    with open("sounds.csv", newline="", encoding="utf-8") as file:
        rows = [row for row in csv.DictReader(file) if row["gabarit"] and row["id"].startswith(tuple(beginnings or [""]))]
    with zipfile.ZipFile(out, "w", zipfile.ZIP_DEFLATED) as archive:
        for row in rows:
            gabarit = veloria.read(row["gabarit"])
            add(archive, row["id"], gabarit.similarity)
            add(archive, row["id"] + " times", gabarit.times)
    print(f"{len(rows)} gabarits in {out}")


if __name__ == "__main__":
    if len(sys.argv) < 2:
        sys.exit(__doc__)
    main(sys.argv[1], sys.argv[2:])

#!/usr/bin/env python3
"""Sums up an archive's results in the current folder.

    contact_sheet.py FOLDER_OF_SOUNDS

Writes index.html, the contact sheet; sounds.csv, a table of all sounds; failed.tsv, those without a gabarit; and
passed_over.tsv, the files whose endings are not those of sounds.
"""

import csv
import io
import json
import os
import sys
import urllib.parse

import archive

COLUMNS = (
    "sound id state error seconds_of_sound seconds_announced seconds_found n form features_type features_modeling"
    " features_modeling_length window_grid_hop warnings marquen engine libsndfile LAPACK file_bytes memory_bytes_used"
    " seconds_of_work input_sha256 similarity_sha256 gabarit picture page"
).split()
HERE = os.path.dirname(os.path.abspath(__file__))


def last_words(sound_id):
    try:
        with open(archive.log_of(sound_id), encoding="utf-8", errors="replace") as file:
            return "not done: " + file.read().strip()
    except FileNotFoundError:
        return "not done"


def state_of_sound(sound):
    """The record of a sound; one that says why there is none."""
    sound_id = archive.to_id(sound)
    record = archive.read_record(sound_id)
    if record is None:
        record = {"state": "missing", "error": last_words(sound_id)}
    elif record["state"] == "finished" and not os.path.exists(archive.gabarit_of(sound_id)):
        record = {"state": "missing", "error": "its gabarit was removed: the next run makes it again"}
    record.update(id=sound_id, sound=archive.showable(sound), error=archive.showable(record["error"] or ""))
    record["form"] = record.get("form") or ""
    record.setdefault("warnings", [])
    record.update(gabarit="", picture="", page="")
    if record["state"] == "finished":
        page = archive.page_of(sound_id)
        record.update(gabarit=archive.gabarit_of(sound_id), picture=archive.picture_of(sound_id))
        record["page"] = page if os.path.exists(page) else ""
    return record


def sheet_entry(record):
    """What the contact sheet knows of a sound."""
    entry = {"name": record["sound"], "state": record["state"], "error": record["error"], "form": record["form"]}
    entry["settings"] = " ".join(record.get("settings", [])) or "default"
    if record["state"] == "finished":
        entry.update(seconds=record["seconds_of_sound"], n=record["n"], warnings=record["warnings"])
        paths = {key: record[key] for key in ("gabarit", "picture", "page")}
        entry.update((key, urllib.parse.quote(path)) for key, path in paths.items())
    return entry


def write_whole(path, text):
    with open(path + ".part", "w", encoding="utf-8", newline="") as file:
        file.write(text)
    os.replace(path + ".part", path)


def table(records):
    text = io.StringIO()
    writer = csv.DictWriter(text, COLUMNS, extrasaction="ignore", lineterminator="\n")
    writer.writeheader()
    for record in records:
        joined = {key: " ".join(record.get(key) or []) for key in ("warnings", "input_sha256")}
        writer.writerow({**record, **record.get("versions", {}), **joined})
    return text.getvalue()


def sheet(records):
    with open(os.path.join(HERE, "contact_sheet.html"), encoding="utf-8") as file:
        page = file.read()
    entries = json.dumps([sheet_entry(record) for record in records], ensure_ascii=False).replace("<", "\\u003c")
    return page.replace("[];//SOUNDS", entries + ";")


def write_sheet(root):
    """Returns how many sounds have a gabarit, how many have none, and how many files are passed over by ending."""
    sounds, others = archive.find_sounds(root)
    records = [state_of_sound(sound) for sound in sounds]
    failed = [record for record in records if record["state"] != "finished"]
    write_whole("index.html", sheet(records))
    write_whole("sounds.csv", table(records))
    write_whole("failed.tsv", "".join(f"{r['id']}\t{r['sound']}\t{r['error']}\n" for r in failed))
    passed_over = ((ending, archive.showable(path)) for ending in sorted(others) for path in sorted(others[ending]))
    write_whole("passed_over.tsv", "".join(f"{archive.showable(ending)}\t{path}\n" for ending, path in passed_over))
    return len(records) - len(failed), len(failed), {ending: len(paths) for ending, paths in others.items()}


def sum_up(root):
    done, failed, others = write_sheet(root)
    print(f"{done} gabarits, {failed} sounds without one: see index.html, sounds.csv and failed.tsv", file=sys.stderr)
    if others:
        counts = ", ".join(f"{others[ending]} {archive.showable(ending) or 'without'}" for ending in sorted(others))
        print(f"passed over by their endings: {counts}; see passed_over.tsv", file=sys.stderr)


if __name__ == "__main__":
    if len(sys.argv) != 2:
        sys.exit(__doc__)
    sum_up(sys.argv[1])

#!/usr/bin/env python3
"""Sums up an archive's results in the current folder: index.html, the contact sheet, and failed.tsv.

    contact_sheet.py FOLDER_OF_SOUNDS
"""

import html
import json
import os
import sys
import urllib.parse

import archive

STYLE = """
body { font: 14px sans-serif; margin: 2em; }
ul.sheet { display: flex; flex-wrap: wrap; gap: 1em; list-style: none; padding: 0; }
ul.sheet li { width: 160px; overflow-wrap: anywhere; }
ul.sheet img { width: 160px; height: 160px; image-rendering: pixelated; background: #ddd; display: block; }
"""


def read_record(sound_id):
    """The record of a sound; one that says why there is none."""
    try:
        with open(archive.record_of(sound_id), encoding="utf-8") as file:
            record = json.load(file)
    except FileNotFoundError:
        return {"state": "missing", "error": last_words(sound_id)}
    if record["state"] == "finished" and not os.path.exists(archive.gabarit_of(sound_id)):
        return {"state": "missing", "error": "its gabarit was removed: remove its record too and run again"}
    return record


def last_words(sound_id):
    try:
        with open(archive.log_of(sound_id), encoding="utf-8", errors="replace") as file:
            lines = file.read().split("\n")
    except FileNotFoundError:
        lines = []
    words = [line for line in lines if line.strip()]
    return "not done" + (f": {words[-1]}" if words else "")


def link(path, content):
    return f'<a href="{html.escape(urllib.parse.quote(path))}">{content}</a>'


def length_text(seconds):
    minutes, rest = divmod(round(seconds), 60)
    return f"{minutes}:{rest:02}"


def sheet_entry(sound_id, name, record):
    thumbnail = archive.thumbnail_of(sound_id)
    image = f'<img loading="lazy" alt="" src="{html.escape(urllib.parse.quote(thumbnail))}">'
    content = image if record["n"] > 0 else "no moments"
    return (
        f"<li>{link(archive.picture_of(sound_id), content)}"
        f"{link(archive.gabarit_of(sound_id), html.escape(name))}<br>"
        f"{length_text(record['seconds_of_sound'])}, n = {record['n']}</li>"
    )


def write_whole(path, text):
    with open(path + ".part", "w", encoding="utf-8") as file:
        file.write(text)
    os.replace(path + ".part", path)


def write_sheet(root):
    """Returns how many sounds have a gabarit and how many have none."""
    done, failed, rows = [], [], []
    for sound in archive.find_sounds(root):
        sound_id, name = archive.to_id(sound), archive.showable(sound)
        record = read_record(sound_id)
        if record["state"] == "finished":
            done.append(sheet_entry(sound_id, name, record))
        else:
            message = archive.showable(record["error"])
            failed.append(f"<li><b>{html.escape(name)}</b>: {html.escape(message)}</li>")
            rows.append(f"{archive.record_of(sound_id)}\t{name}\t{message}\n")
    lines = [
        '<!DOCTYPE html>\n<html lang="en"><meta charset="utf-8"><title>Gabarits</title>',
        f"<style>{STYLE}</style>",
        f"<h1>{len(done)} gabarits</h1>",
        '<ul class="sheet">',
        *done,
        "</ul>",
        f"<h2>{len(failed)} sounds without one</h2>",
        "<ul>",
        *failed,
        "</ul></html>\n",
    ]
    write_whole("failed.tsv", "".join(rows))
    write_whole("index.html", "\n".join(lines))
    return len(done), len(failed)


if __name__ == "__main__":
    if len(sys.argv) != 2:
        sys.exit(__doc__)
    counts = write_sheet(sys.argv[1])
    print(f"{counts[0]} gabarits, {counts[1]} sounds without one: see index.html and failed.tsv")

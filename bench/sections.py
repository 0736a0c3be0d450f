#!/usr/bin/env python3
"""Scores `gabarit sections` on composed songs of known form, beside other methods; prints the table of
docs/sections.md.

    bench/sections.py BUILD                 the quoted half of the seeds, all groups
    bench/sections.py BUILD --half tuning   the half that the method was tuned on

Songs and grooves are composed by different rules, so that a method can't be tuned to one composer's habits.

`./dev sections` installs what this wants and runs it: fluidsynth with a soundfont, espeak-ng, ffmpeg, mir_eval.
"""
import argparse
import json
import subprocess
import tempfile
import warnings
from pathlib import Path

import mir_eval
import numpy as np
import scipy.io.wavfile

import compose_grooves
import compose_songs
import other_segmentations as other

warnings.filterwarnings("ignore", module="mir_eval")
SEEDS = {"tuning": 0, "quoted": 500}
STYLES = {"songs": compose_songs, "grooves": compose_grooves}
SONGS = {"both": 24, "instruments": 10, "harmony": 10}
COLUMNS = ["changes 0.5 s", "changes 3 s", "all 0.5 s", "all 3 s", "pairwise", "V"]


class Bench:
    def __init__(self, build, folder):
        self.marquen = str(Path(build, "marquen/marquen").resolve())
        self.gabarit = str(Path(build, "gabarit/gabarit").resolve())
        self.folder = folder

    def song(self, style, kind, seed, form=None):
        """Composes, renders and analyzes a song, once."""
        song = STYLES[style].compose(seed, kind, form)
        song.path = self.folder / f"{style}-{kind}{seed}{form or ''}.wav"
        if not song.path.exists():
            compose_songs.render(song, song.path)
        self.analyse(song.path)
        return song

    def analyse(self, sound, features="mixed"):
        gabarit = sound.with_suffix(f".{features}.sdif")
        if not gabarit.exists():
            subprocess.run([self.marquen, "--input", sound, "--similarity", gabarit, "--features_type", features,
                            "--quiet"], check=True)
        return gabarit

    def numbers(self, gabarit):
        """Times and bytes."""
        numbers = gabarit.with_suffix(".npy")
        subprocess.run([self.gabarit, "export", "--force", gabarit, numbers], check=True)
        return np.load(gabarit.with_suffix(".times.npy")), np.load(numbers)

    def sections(self, gabarit, *others):
        command = [self.gabarit, "sections", "--json", gabarit, *(w for o in others for w in ("--with", o))]
        found = json.loads(subprocess.run(command, check=True, stdout=subprocess.PIPE).stdout)["sections"]
        return [s["start"] for s in found] + [found[-1]["end"]], [s["label"] for s in found]


def in_seconds(cuts, times):
    step = (times[-1] - times[0]) / (len(times) - 1)
    return [0.0] + [times[0] + (cut - 0.5) * step for cut in cuts[1:-1]] + [times[-1] + step / 2]


def with_bytes(gabarit, similarity):
    """A gabarit with other bytes: each of its frames ends with its column, padded to a multiple of 8."""
    data, n = bytearray(gabarit.read_bytes()), len(similarity)
    frame = 64 + n + -n % 8
    for i in range(n):
        begin = len(data) - (n - i) * frame + 64
        data[begin : begin + n] = similarity[i].tobytes()
    path = gabarit.with_suffix(".plain.sdif")
    path.write_bytes(data)
    return path


def joined(edges, letters):
    """Neighbors of one letter become one section."""
    kept = [i for i in range(len(letters)) if i == 0 or letters[i] != letters[i - 1]]
    return [edges[i] for i in kept] + [edges[-1]], [letters[i] for i in kept]


def intervals(edges):
    return np.array(list(zip(edges, edges[1:])))


def scores(song, found):
    """The columns of the table; hits of boundaries leave out those at 0 and at the end, which everybody finds."""
    edges, letters = found
    truth, form = list(song.edges), list(song.form)
    truth[-1] = edges[-1] = max(truth[-1], edges[-1])  # the last note rings on

    def hits(one, two, window):
        if len(one) <= 2:
            return float(len(two) <= 2)
        return mir_eval.segment.detection(intervals(one), intervals(two), window=window, trim=True)[2]

    changes = joined(truth, form)[0], joined(edges, letters)[0]
    labelled = intervals(truth), form, intervals(edges), letters
    return [hits(*changes, 0.5), hits(*changes, 3), hits(truth, edges, 0.5), hits(truth, edges, 3),
            mir_eval.segment.pairwise(*labelled)[2], mir_eval.segment.vmeasure(*labelled)[2]]


def methods(bench, song):
    """Every method on one song."""
    mixed = bench.analyse(song.path)
    times, similarity = bench.numbers(mixed)
    rate, samples = scipy.io.wavfile.read(song.path)
    plain = with_bytes(mixed, other.plain_similarity(samples.mean(1) / 32768, rate, times))
    in_letters = lambda found: (in_seconds(found[0], times), found[1])
    yield "gabarit sections", bench.sections(mixed)
    yield "--with timbre and harmo", bench.sections(mixed, bench.analyse(song.path, "timbre"),
                                                    bench.analyse(song.path, "harmo"))
    yield "the same on plain MFCC and chroma", bench.sections(plain)
    yield "novelty, letters by stripes", in_letters(other.novelty(similarity))
    yield "spectral clustering, letters counted", in_letters(
        other.spectral_clustering(similarity, len(set(song.form))))
    yield "a cut every 8 s", in_letters(other.every_eight_seconds(similarity))


def worn(song, how):
    """The song as an MP3 of 64 kbit/s, or with noise 20 dB below it."""
    path = song.path.with_suffix(f".{how}.wav")
    if not path.exists() and how == "mp3":
        mp3 = song.path.with_suffix(".mp3")
        for pair in ((song.path, "-b:a", "64k", mp3), (mp3, path)):
            subprocess.run(["ffmpeg", "-loglevel", "error", "-y", "-i", *pair], check=True)
    elif not path.exists():
        rate, samples = scipy.io.wavfile.read(song.path)
        noise = np.random.default_rng(song.seed).normal(0, 0.1 * np.std(samples), samples.shape)
        scipy.io.wavfile.write(path, rate, np.clip(samples + noise, -32768, 32767).astype(np.int16))
    return path


def print_table(title, rows):
    print(f"\n{title}\n\n| | " + " | ".join(COLUMNS) + " |\n|---|" + "---|" * len(COLUMNS))
    for name, values in rows.items():
        print(f"| {name} | " + " | ".join(f"{v:.3f}" for v in np.mean(values, axis=0)) + " |")


def score_group(bench, style, kind, seeds):
    songs = [bench.song(style, kind, seed) for seed in seeds]
    rows = {}
    for song in songs:
        for name, found in methods(bench, song):
            rows.setdefault(name, []).append(scores(song, found))
    if (style, kind) == ("songs", "both"):
        for how, name in (("mp3", "as an MP3 of 64 kbit/s"), ("noise", "with noise at -20 dB")):
            for song in songs:
                found = bench.sections(bench.analyse(worn(song, how)))
                rows.setdefault(f"gabarit sections, {name}", []).append(scores(song, found))
    print_table(f"{style}, {kind}: {len(songs)} songs, {sum(len(s.form) for s in songs)} sections", rows)
    worst = sorted(zip(rows["gabarit sections"], songs), key=lambda pair: pair[0][0])[:3]
    for values, song in worst:
        found = bench.sections(bench.analyse(song.path))
        print(f"worst: seed {song.seed}, {' '.join(song.form)} at {[round(e, 1) for e in song.edges]}, found "
              f"{' '.join(found[1])} at {[round(e, 1) for e in found[0]]}; {', '.join(song.traits)}")


def check_extremes(bench, seeds):
    """Counts the sounds whose form is certain that got it: no letter twice, one letter, one section."""
    random = np.random.default_rng(seeds[0])
    seconds = np.arange(60 * 44100) / 44100
    white = random.normal(0, 0.1, len(seconds))
    sounds = {"silence": 0 * seconds, "white noise": white, "brown noise": np.cumsum(white) / 500}
    for hertz in (55, 220, 1000):
        sounds[f"a tone of {hertz} Hz"] = 0.3 * np.sin(2 * np.pi * hertz * seconds)
        sounds[f"a chord on {hertz} Hz"] = sum(0.1 * np.sin(2 * np.pi * f * hertz * seconds) for f in (1, 1.25, 1.5))
    print()
    for style in STYLES:
        letters = [bench.sections(bench.analyse(bench.song(style, "both", s, "ABCDEF").path))[1] for s in seeds]
        print(f"{style}, nothing repeats: {sum(len(set(l)) == len(l) for l in letters)} of {len(seeds)} no letter twice")
        letters = [bench.sections(bench.analyse(bench.song(style, "both", s, "AAAAAAAA").path))[1] for s in seeds]
        print(f"{style}, a part eight times: {sum(len(set(l)) == 1 for l in letters)} of {len(seeds)} one letter")
    for name, samples in sounds.items():
        path = bench.folder / f"{name.replace(' ', '-')}.wav"
        scipy.io.wavfile.write(path, 44100, np.round(32767 * np.clip(samples, -1, 1)).astype(np.int16))
        print(f"{name}: {' '.join(bench.sections(bench.analyse(path))[1])}")


def main():
    arguments = argparse.ArgumentParser(description=__doc__, formatter_class=argparse.RawDescriptionHelpFormatter)
    arguments.add_argument("build", help="folder of a build")
    arguments.add_argument("--half", choices=SEEDS, default="quoted")
    arguments.add_argument("--styles", nargs="+", choices=STYLES, default=list(STYLES))
    arguments.add_argument("--kinds", nargs="*", choices=SONGS, default=list(SONGS))
    arguments.add_argument("--keep", type=Path, help="folder to leave songs and gabarits in, and to take them from")
    given = arguments.parse_args()
    with tempfile.TemporaryDirectory() as scratch:
        folder = given.keep or Path(scratch)
        folder.mkdir(parents=True, exist_ok=True)
        bench = Bench(given.build, folder)
        first = SEEDS[given.half]
        for style in given.styles:
            for kind in given.kinds:
                score_group(bench, style, kind, range(first, first + SONGS[kind]))
        check_extremes(bench, range(first, first + 8))


if __name__ == "__main__":
    main()

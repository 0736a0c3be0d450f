#!/usr/bin/env python3
"""Holds gabarits and their sections against tracker modules: music that somebody composed, whose order lists say which
patterns come again.

    bench/modules.py BUILD MODULE...

A moment repeats another if both play the same row of the same pattern, and is other than it if the patterns differ,
though these may well be variants. AUC: how often a repeat is brighter in the gabarit than a pair of other patterns.
Repeats named: pairs of orders of one pattern, not in a row, whose moments have one letter at most rows. Others named:
the same of pairs of different patterns. Needs libopenmpt0.
"""
import argparse
import ctypes
import tempfile
from pathlib import Path

import numpy as np
import scipy.io.wavfile
import scipy.stats

from sections import Bench

RATE_HZ, BLOCK, LONGEST_SECONDS = 44100, 1024, 300


def play(module, sound):
    """Renders a module; returns pattern, row and order at each block's start."""
    player = ctypes.CDLL("libopenmpt.so.0")
    player.openmpt_module_create_from_memory2.restype = ctypes.c_void_p
    player.openmpt_module_read_interleaved_stereo.restype = ctypes.c_size_t
    data = module.read_bytes()
    handle = ctypes.c_void_p(player.openmpt_module_create_from_memory2(
        data, ctypes.c_size_t(len(data)), None, None, None, None, None, None, None))
    if not handle:
        raise ValueError(f"{module}: no module")
    block, blocks, places = (ctypes.c_int16 * (2 * BLOCK))(), [], []
    while len(blocks) * BLOCK < LONGEST_SECONDS * RATE_HZ:
        place = [getattr(player, f"openmpt_module_get_current_{what}")(handle) for what in ("pattern", "row", "order")]
        count = player.openmpt_module_read_interleaved_stereo(handle, RATE_HZ, ctypes.c_size_t(BLOCK), block)
        if count == 0:
            break
        places.append(place)
        blocks.append(np.frombuffer(block, np.int16)[: 2 * count].reshape(-1, 2).copy())
    player.openmpt_module_destroy(handle)
    scipy.io.wavfile.write(sound, RATE_HZ, np.concatenate(blocks))
    return np.array(places)


def named(orders, edges, letters, times):
    """Shares of pairs of orders that have one letter: those of one pattern, and those of two."""
    moments = np.array(letters)[np.clip(np.searchsorted(edges, times, "right") - 1, 0, len(letters) - 1)]
    pattern, row, order = orders.T
    runs = [np.flatnonzero(order == o) for o in np.unique(order)]
    same, other = [], []
    for i, one in enumerate(runs):
        for two in runs[i + 2 :]:
            count = min(len(one), len(two))
            equal = np.mean(moments[one[:count]] == moments[two[:count]]) > 0.5
            (same if pattern[one[0]] == pattern[two[0]] else other).append(equal)
    return [np.mean(x) if x else np.nan for x in (same, other)]


def score(bench, module):
    sound = bench.folder / f"{module.stem}.wav"
    places = play(module, sound)
    gabarit = bench.analyse(sound)
    times, similarity = bench.numbers(gabarit)
    edges, letters = bench.sections(gabarit)
    at = places[np.clip((times * RATE_HZ / BLOCK).astype(int), 0, len(places) - 1)]
    above = np.triu_indices(len(times), 8)
    one, two = at[above[0]], at[above[1]]
    values = similarity[above].astype(float)
    repeats = values[(one[:, 0] == two[:, 0]) & (np.abs(one[:, 1] - two[:, 1]) <= 1) & (one[:, 2] != two[:, 2])]
    others = values[one[:, 0] != two[:, 0]]
    if not len(repeats) or not len(others):
        return None
    auc = scipy.stats.mannwhitneyu(repeats, others).statistic / (len(repeats) * len(others))
    return [auc, *named(at, edges, letters, times)], letters


def main():
    arguments = argparse.ArgumentParser(description=__doc__, formatter_class=argparse.RawDescriptionHelpFormatter)
    arguments.add_argument("build", help="folder of a build")
    arguments.add_argument("modules", nargs="+", type=Path)
    given = arguments.parse_args()
    rows = []
    with tempfile.TemporaryDirectory() as scratch:
        for module in given.modules:
            found = score(Bench(given.build, Path(scratch)), module)
            if found is None:
                print(f"{module.name}: no pattern comes again")
                continue
            rows.append(found[0])
            print(f"{module.name}: AUC {found[0][0]:.3f}, repeats named {found[0][1]:.2f}, others {found[0][2]:.2f}; "
                  f"{' '.join(found[1])}")
    print(f"mean of {len(rows)}: AUC, repeats named, others named: {np.round(np.nanmean(rows, axis=0), 3)}")


if __name__ == "__main__":
    main()

# %% [markdown]
# Finds the passages of a sound that come again, from its gabarit.
#
#     marquen --input demo.wav --similarity demo.sdif
#     python3 find_repeats.py demo.sdif
#
# Runs as it stands, or cell by cell in an editor that knows `# %%`; there the gabarit is `demo.sdif`, which
# `./dev demo` leaves behind.

# %%
import sys

import numpy as np

import veloria

path = sys.argv[1] if len(sys.argv) == 2 and sys.argv[1].endswith(".sdif") else "demo.sdif"
gabarit = veloria.read(path)
times, similarity, table, n = gabarit.times, gabarit.similarity, gabarit.table, gabarit.n

SHORTEST = 6.0  # seconds; a shorter passage is not reported
SMOOTHING = 4.0  # seconds along a stripe, so that single chords that happen to agree don't count
ASIDE = 1.5  # seconds from a stripe to what it is compared with
ALIKE = 205  # of 255: the passages are nearly the same
STANDS_OUT = 40  # of 255: more alike than beside the stripe

if n < 2:
    sys.exit(f"{path}: too few moments to compare")
step = (times[-1] - times[0]) / (n - 1)
window = float(table.get("Command", "").partition(" --features_modeling_length ")[2].split(" ")[0] or 1.0)
length = max(1, round(SMOOTHING / step))

# %% [markdown]
# A passage that comes again `lag` moments later is a stripe: the entries `similarity[i, i + lag]` are high for all its
# moments. They are a diagonal of the square. Each diagonal is smoothed along its length.


# %%
def smoothed_diagonal(lag):
    """The mean of `length` entries of a diagonal, from each entry on; -1 where it has not as many left."""
    means = np.full(n, -1.0)
    if n - lag >= length:
        sums = np.cumsum(np.concatenate([[0], np.diagonal(similarity, lag)]), dtype=float)
        means[: n - lag - length + 1] = (sums[length:] - sums[:-length]) / length
    return means


# %% [markdown]
# A held chord is alike at all lags: it is a block and no repeat. So a stripe must also stand out from the diagonals
# `ASIDE` before and after it.


# %%
def stripe_starts(lag):
    """Where a smoothed diagonal belongs to a stripe, an entry a moment."""
    aside = max(1, round(ASIDE / step))
    here = smoothed_diagonal(lag)
    beside = np.maximum(smoothed_diagonal(lag - aside), smoothed_diagonal(lag + aside))
    summit = np.maximum(smoothed_diagonal(lag - 1), smoothed_diagonal(lag + 1))
    return (here >= ALIKE) & (here >= beside + STANDS_OUT) & (here >= summit)


def runs(flags):
    """First and last index of each run of set flags."""
    edges = np.flatnonzero(np.diff(np.concatenate([[0], flags.astype(int), [0]])))
    return [(first, end - 1) for first, end in zip(edges[::2], edges[1::2])]


def stripes():
    """Passages that come again: start, end, start of the repeat in seconds; how alike the two are."""
    found = []
    for lag in range(round(SHORTEST / step), n - length + 1):
        diagonal = np.diagonal(similarity, lag)
        for first, last in runs(stripe_starts(lag)):
            alike = first + np.flatnonzero(diagonal[first : last + length] >= ALIKE)
            # Each moment stands for a window around it: a passage begins and ends half a window further out.
            start, end = max(0.0, times[alike[0]] - window / 2), times[alike[-1]] + window / 2
            if end - start >= SHORTEST:
                found.append((start, end, start + lag * step, diagonal[alike[0] : alike[-1] + 1].mean()))
    return sorted(found)


# %% [markdown]
# Three equal passages make three stripes: the first with the second and with the third, and the second with the third.
# What is known as a repeat of an earlier passage isn't told again.


# %%
def clock(seconds):
    minutes, rest = divmod(round(seconds), 60)
    return f"{minutes}:{rest:02}"


passages = []  # start, end, [(start of a repeat, how alike), ...]
for start, end, again, alike in stripes():
    if any(abs(start - other) < 1.0 for _, _, repeats in passages for other, _ in repeats):
        continue
    for known_start, known_end, repeats in passages:
        if abs(start - known_start) < 1.0 and abs(end - known_end) < 1.0:
            repeats.append((again, alike))
            break
    else:
        passages.append((start, end, [(again, alike)]))

elsewhere = np.median(similarity)
for start, end, repeats in passages:
    print(f"{clock(start)}-{clock(end)} comes again at {' and '.join(clock(again) for again, _ in sorted(repeats))}")
    least = min(alike for _, alike in repeats)
    print(f"  alike {least:.0f} of 255, two moments of the sound {elsewhere:.0f} (median)")
if not passages:
    print("nothing comes again")

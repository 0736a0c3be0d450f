#!/usr/bin/env python3
"""The analysis of `mixed` features as a numpy and scipy script: the thing to beat.

usage: selfsim.py SOUND.wav OUT.npy [mean|fft|mph [WINDOW_SECONDS]]

Same steps and parameters as the library's with a step of 0.5 s, written with whole-array operations; `mean` and a
window of 1.0 s by default.
"""
import sys

import numpy as np
import scipy.fft
import scipy.io.wavfile
import scipy.linalg
import scipy.ndimage
import scipy.signal
from scipy.spatial.distance import pdist, squareform

RATE, WINDOW, HOP, SIZE = 11025, 881, 294, 2048
FRAME_RATE = RATE / HOP
EPSILON = np.finfo(float).eps


def load(path):
    rate, samples = scipy.io.wavfile.read(path)
    mono = samples.mean(axis=1) / 32768.0 if samples.ndim == 2 else samples / 32768.0
    divisor = np.gcd(RATE, rate)
    return scipy.signal.resample_poly(mono, RATE // divisor, rate // divisor, window=("kaiser", 5.0)), len(mono) / rate


def power_spectra(sound, pre_emphasis):
    if pre_emphasis:
        sound = np.append(sound[0], sound[1:] - 0.97 * sound[:-1])
    frames = np.lib.stride_tricks.sliding_window_view(sound, WINDOW)[::HOP].astype(np.float32)
    frames -= frames.mean(axis=1, keepdims=True)
    window = scipy.signal.windows.blackman(WINDOW).astype(np.float32)
    spectra = scipy.fft.rfft(frames * (window * (2.0 / window.sum())), SIZE, axis=1)
    return spectra.real**2 + spectra.imag**2


def mel_filters(count=40):
    hertz = np.arange(SIZE // 2 + 1) * RATE / SIZE
    mel = np.log1p(hertz / 700.0) / (2.0 * np.log1p(RATE / 1400.0) / (count + 1))
    distance = mel[None, :] - np.arange(count)[:, None] / 2.0
    filters = np.where((distance >= 0) & (distance < 1), 1.0 - np.cos(2.0 * np.pi * distance), 0.0)
    return (filters / filters.sum(axis=1, keepdims=True)).astype(np.float32)


def timbre(sound):
    power = power_spectra(sound, True)
    energies = power @ mel_filters().T
    compressed = (np.power(energies, np.float32(0.1)) - 1.0) * 10.0
    cepstrum = scipy.fft.dct(compressed.astype(float), norm="ortho", axis=1)[:, :13]
    peaks, valleys, low, high = [], [], 0, SIZE // 64
    for _ in range(6):
        count = int(np.ceil(0.05 * (high + 1 - low)))
        band = np.partition(power[:, low:high + 1], (count - 1, high - low - count + 1), axis=1)
        peaks.append(np.log(band[:, -count:].mean(axis=1) + EPSILON))
        valleys.append(np.log(band[:, :count].mean(axis=1) + EPSILON))
        low, high = high, 2 * high
    peaks, valleys = np.array(peaks).T, np.array(valleys).T
    return cepstrum, np.hstack([peaks, peaks - valleys])


def pitch_classes(sound):
    power = power_spectra(sound, False)
    hertz = np.arange(SIZE // 2 + 1) * RATE / SIZE
    bins = np.flatnonzero((hertz > 77.0) & (hertz < 1500.0))
    pitch = (69.0 + 12.0 * np.log2(hertz[bins] / 440.0)) % 12.0
    fold = np.zeros((len(bins), 12), np.float32)
    rows = np.arange(len(bins))
    fold[rows, np.floor(pitch).astype(int)] += 0.5 * np.tanh(np.pi * (1 - 2 * (pitch - np.floor(pitch)))) + 0.5
    fold[rows, np.ceil(pitch).astype(int) % 12] += 0.5 * np.tanh(np.pi * (1 - 2 * (np.ceil(pitch) - pitch))) + 0.5
    top = power.max(axis=1, keepdims=True)
    part = power[:, bins]
    profile = (np.where(part >= 0.001 * top, part, 0) / np.where(top > 0, top, 1)) @ fold

    def scaled(rows):
        peak = rows.max(axis=1, keepdims=True)
        return rows / np.where(peak > 0, peak, 1)
    length = min(round(len(profile) * 0.25), 10)
    return scaled(scipy.ndimage.median_filter(scaled(profile), size=(length, 1), mode="constant"))


def standardize(stream):
    stream = stream - stream.mean(axis=0)
    deviation = stream.std(axis=0, ddof=1)
    return stream / np.where(deviation > 0, deviation, 1.0)


def windows(count, duration, window, step=0.5):
    """First frame of the window of each moment, and the frame behind its last."""
    grid = np.arange(step, duration - step + 1e-9, step)
    centers = np.unique(np.round((grid - (WINDOW // 2 + 1) / RATE) * FRAME_RATE).astype(int))
    centers = centers[centers < count]
    half = (round(window * FRAME_RATE) - 1) // 2
    return np.maximum(centers - half, 0), np.minimum(centers + half + 1, count)


def window_sums(stream, low, high):
    sums = np.vstack([np.zeros(stream.shape[1]), np.cumsum(stream, axis=0)])
    return sums[high] - sums[low]


def means(stream, low, high):
    return window_sums(stream, low, high) / (high - low)[:, None]


def spectra(stream, low, high):
    """Magnitude of the mean, and sums of magnitudes in three bands of the modulation spectrum."""
    width = int((high - low).max())
    size = 1 << int(np.ceil(np.log2(width)))
    index = low[:, None] + np.arange(width)
    inside = index < high[:, None]
    mean = means(stream, low, high)
    count = (high - low)[:, None]
    columns = []
    for feature in range(stream.shape[1]):
        frames = np.where(inside, stream[np.minimum(index, len(stream) - 1), feature] - mean[:, feature:feature + 1], 0.0)
        magnitudes = np.abs(scipy.fft.rfft(frames / count, size, axis=1))
        columns.append(np.abs(mean[:, feature]))
        for low_hz, high_hz in ((1.0, 2.0), (3.0, 15.0), (15.0, 25.0)):
            first, last = (min(size // 2, round(hz / FRAME_RATE * size)) for hz in (low_hz, high_hz))
            columns.append(magnitudes[:, first:last + 1].sum(axis=1))
    return np.array(columns).T


def transitions(stream, low, high):
    """Histogram of the transitions from the four largest features of a frame to those of the next."""
    features = stream.shape[1]
    ranks = np.argsort(-stream, axis=1, kind="stable")[:, :4]
    weights = (25.0, 18.0, 14.0, 10.0)
    steps = np.zeros((len(stream) - 1, features * features))
    rows = np.arange(len(steps))
    for i in range(4):
        for j in range(4):
            steps[rows, ranks[:-1, i] * features + ranks[1:, j]] = weights[i] + weights[j]
    return window_sums(steps, low, high - 1)


KINDS = {"mean": means, "fft": spectra, "mph": transitions}


def reduce(stream):
    left, singular, _ = scipy.linalg.svd(stream - stream.mean(axis=0), full_matrices=False, lapack_driver="gesvd")
    scores = left * singular
    latent = singular**2
    return scores[:, :max(3, int((latent > 0.01 * latent[0]).sum()))]


def equalized_distances(scores):
    distance = pdist(scores)
    distance /= distance.max()
    n = len(scores)
    centers = np.linspace(0.0, 1.0, 51)
    counts, _ = np.histogram(distance, np.concatenate([[-np.inf], (centers[1:] + centers[:-1]) / 2, [np.inf]]))
    counts[0] += n * (n - 1) // 2 + n
    mapped = np.interp(distance, centers, np.cumsum(counts))
    mapped -= mapped.min()
    return mapped / mapped.max()


def main():
    kind = KINDS[sys.argv[3] if len(sys.argv) > 3 else "mean"]
    window = float(sys.argv[4]) if len(sys.argv) > 4 else 1.0
    sound, duration = load(sys.argv[1])
    streams = [standardize(stream) for stream in (*timbre(sound), pitch_classes(sound))]
    low, high = windows(len(streams[0]), duration, window)
    modeled = [standardize(kind(stream, low, high)) for stream in streams]
    total = sum(equalized_distances(reduce(stream)) for stream in modeled)
    similarity = 1.0 - (total - total.min()) / (total.max() - total.min())
    picture = np.round(255.0 * squareform(similarity)).astype(np.uint8)
    np.fill_diagonal(picture, 255)
    np.save(sys.argv[2], picture)


if __name__ == "__main__":
    main()

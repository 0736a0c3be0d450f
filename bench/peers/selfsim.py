#!/usr/bin/env python3
"""The default analysis as a numpy and scipy script: the thing to beat.

usage: selfsim.py SOUND.wav OUT.npy

Same steps and parameters as the library's `mixed` and `mean` with a window of 1.0 s and a step of 0.5 s, written
with whole-array operations. Prints the CPU seconds of the whole and of the singular value decompositions.
"""
import sys
import time

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


def standardise(stream):
    stream = stream - stream.mean(axis=0)
    deviation = stream.std(axis=0, ddof=1)
    return stream / np.where(deviation > 0, deviation, 1.0)


def window_means(stream, duration, window=1.0, step=0.5):
    grid = np.arange(step, duration - step + 1e-9, step)
    centres = np.unique(np.round((grid - (WINDOW // 2 + 1) / RATE) * FRAME_RATE).astype(int))
    centres = centres[centres < len(stream)]
    half = round(window * FRAME_RATE) // 2
    sums = np.vstack([np.zeros(stream.shape[1]), np.cumsum(stream, axis=0)])
    low, high = np.maximum(centres - half, 0), np.minimum(centres + half + 1, len(stream))
    return (sums[high] - sums[low]) / (high - low)[:, None]


def reduce(stream, clock):
    begin = time.process_time()
    left, singular, _ = scipy.linalg.svd(stream - stream.mean(axis=0), full_matrices=True, lapack_driver="gesvd")
    clock[0] += time.process_time() - begin
    scores = left[:, :len(singular)] * singular
    latent = singular**2
    return scores[:, :max(3, int((latent > 0.01 * latent[0]).sum()))]


def equalized_distances(scores):
    distance = pdist(scores)
    distance /= distance.max()
    n = len(scores)
    centres = np.linspace(0.0, 1.0, 51)
    counts, _ = np.histogram(distance, np.concatenate([[-np.inf], (centres[1:] + centres[:-1]) / 2, [np.inf]]))
    counts[0] += n * (n - 1) // 2 + n
    mapped = np.interp(distance, centres, np.cumsum(counts))
    mapped -= mapped.min()
    return mapped / mapped.max()


def main():
    begin = time.process_time()
    clock = [0.0]
    sound, duration = load(sys.argv[1])
    streams = [standardise(stream) for stream in (*timbre(sound), pitch_classes(sound))]
    modeled = [standardise(window_means(stream, duration)) for stream in streams]
    total = sum(equalized_distances(reduce(stream, clock)) for stream in modeled)
    similarity = 1.0 - (total - total.min()) / (total.max() - total.min())
    picture = np.round(255.0 * squareform(similarity)).astype(np.uint8)
    np.fill_diagonal(picture, 255)
    np.save(sys.argv[2], picture)
    print(f"{time.process_time() - begin:.4f} {clock[0]:.4f}")


if __name__ == "__main__":
    main()

"""Other ways to find the form of a song, to hold `gabarit sections` against. Each takes the bytes of a gabarit, n by n,
and returns cuts, as indices of moments from 0 to n, and a letter for each section.
"""
import numpy as np
import scipy.cluster
import scipy.fft
import scipy.linalg
import scipy.ndimage
import scipy.signal
import scipy.spatial

MOMENTS_PER_SECOND = 2


def every_eight_seconds(similarity):
    n = len(similarity)
    cuts = [*range(0, n - 8, 8 * MOMENTS_PER_SECOND), n]
    return cuts, [str(i) for i in range(len(cuts) - 1)]


def novelty(similarity):
    """Peaks of a checkerboard kernel that slides along the diagonal (J. Foote, Proc. ICME 2000): 32 s wide, tapered
    by a Gaussian, peaks above the running median. Letters by the brightest stripes.
    """
    n, half = len(similarity), 16 * MOMENTS_PER_SECOND
    taper = scipy.signal.windows.gaussian(2 * half, half / 2)
    signs = np.repeat([-1.0, 1.0], half)
    kernel = np.outer(taper * signs, taper * signs)
    padded = np.pad(similarity / 255.0, half, mode="reflect" if n > half else "edge")
    curve = np.array([np.sum(kernel * padded[i : i + 2 * half, i : i + 2 * half]) for i in range(n)])
    curve = scipy.ndimage.gaussian_filter1d(np.maximum(curve, 0), 2)
    curve /= max(curve.max(), 1e-12)
    threshold = scipy.ndimage.median_filter(curve, 16 * MOMENTS_PER_SECOND) + 0.05
    peaks = [i for i in range(1, n - 1) if curve[i - 1] < curve[i] >= curve[i + 1] and curve[i] > threshold[i]]
    cuts = [0, *peaks, n]
    return cuts, letters_by_stripes(similarity / 255.0, cuts)


def letters_by_stripes(similarity, cuts):
    """Average linkage by how much the brightest diagonal of two sections exceeds what is alike within them."""
    sections = [similarity[a:b, a:b].mean() for a, b in zip(cuts, cuts[1:])]
    count = len(sections)
    if count < 2:
        return ["A"] * count
    apart = np.zeros((count, count))
    for i in range(count):
        for j in range(i + 1, count):
            rectangle = similarity[cuts[i] : cuts[i + 1], cuts[j] : cuts[j + 1]]
            least = max(1, int(0.7 * min(rectangle.shape)))
            diagonals = [np.diagonal(rectangle, o) for o in range(1 - rectangle.shape[0], rectangle.shape[1])]
            stripe = max(d.mean() for d in diagonals if len(d) >= least)
            darker, brighter = sorted([sections[i], sections[j]])
            apart[i, j] = apart[j, i] = 2 - (stripe + 0.2 * rectangle.mean() - 0.29 * darker - 0.12 * brighter - 0.507)
    tree = scipy.cluster.hierarchy.average(scipy.spatial.distance.squareform(apart))
    return [str(group) for group in scipy.cluster.hierarchy.fcluster(tree, 2.0, "distance")]


def spectral_clustering(similarity, letters):
    """Eigenvectors of the Laplacian of repeats and neighbors (B. McFee, D. P. W. Ellis, Proc. ISMIR 2014), grouped by
    k-means. Is given the true number of letters, which nobody knows of a recording.
    """
    n = len(similarity)
    distance = 1 - similarity / 255.0
    nearest = np.argsort(distance + 10 * (np.abs(np.subtract.outer(np.arange(n), np.arange(n))) < 3), axis=1)
    neighbors = int(1 + np.ceil(2 * np.log2(n)))
    linked = np.zeros((n, n), bool)
    linked[np.arange(n)[:, None], nearest[:, :neighbors]] = True
    linked &= linked.T
    # A median along the diagonals keeps repeats and drops chance.
    smooth = np.zeros((n, n))
    for lag in range(1, n):
        smooth[np.arange(n - lag), np.arange(lag, n)] = scipy.ndimage.median_filter(
            np.diagonal(linked, lag).astype(float), 7, mode="constant")
    spread = np.median(distance[np.arange(n), nearest[:, neighbors - 1]]) ** 2 + 1e-12
    repeats = (smooth + smooth.T) * np.exp(-(distance**2) / spread)
    path = np.zeros((n, n))
    step = np.exp(-(np.diagonal(distance, 1) ** 2) / (np.median(np.diagonal(distance, 1)) ** 2 + 1e-12))
    path[np.arange(n - 1), np.arange(1, n)] = path[np.arange(1, n), np.arange(n - 1)] = step
    by_path, by_repeat = path.sum(1), repeats.sum(1)
    share = by_path @ (by_path + by_repeat) / np.sum((by_path + by_repeat) ** 2)
    graph = share * repeats + (1 - share) * path
    root = 1 / np.sqrt(np.maximum(graph.sum(1), 1e-12))
    _, vectors = scipy.linalg.eigh(np.eye(n) - root[:, None] * graph * root, subset_by_index=[0, letters - 1])
    vectors = scipy.ndimage.median_filter(vectors, (9, 1))
    vectors /= np.maximum(np.linalg.norm(vectors, axis=1, keepdims=True), 1e-12)
    runs = [scipy.cluster.vq.kmeans2(vectors, letters, minit="++", seed=s) for s in range(10)]
    groups = min(runs, key=lambda run: np.sum((vectors - run[0][run[1]]) ** 2))[1]
    cuts = [0, *(np.flatnonzero(np.diff(groups)) + 1), n]
    return cuts, [str(groups[cut]) for cut in cuts[:-1]]


def plain_similarity(samples, rate_hz, times):
    """Bytes of a square of Euclidean distances between MFCC and chroma, each column standardized: what a page of numpy
    makes of a sound. The mean of 1 s around each moment.
    """
    size, hop = 4096, 1024
    frames = np.lib.stride_tricks.sliding_window_view(samples, size)[::hop] * np.hanning(size)
    power = np.abs(np.fft.rfft(frames, axis=1)) ** 2
    hertz = np.fft.rfftfreq(size, 1 / rate_hz)
    mel = 2595 * np.log10(1 + hertz / 700)
    centers = np.linspace(0, 2595 * np.log10(1 + min(8000, rate_hz / 2) / 700), 42)
    bank = np.maximum(0, 1 - np.abs(mel[:, None] - centers[None, 1:-1]) / (centers[1] - centers[0]))
    cepstrum = scipy.fft.dct(np.log(power @ bank + 1e-10), norm="ortho", axis=1)[:, :13]
    heard = (hertz > 60) & (hertz < 2000)
    pitch = np.round(12 * np.log2(hertz[heard] / 440)).astype(int) % 12
    chroma = np.sqrt(power[:, heard]) @ np.eye(12)[pitch]
    chroma /= np.maximum(chroma.sum(1, keepdims=True), 1e-10)
    features = np.hstack([cepstrum, chroma])
    at = (np.arange(len(features)) * hop + size / 2) / rate_hz
    rows = np.array([features[np.abs(at - t) <= 0.5].mean(0) if np.any(np.abs(at - t) <= 0.5) else features[-1]
                     for t in times])
    rows = (rows - rows.mean(0)) / (rows.std(0) + 1e-10)
    distance = scipy.spatial.distance.squareform(scipy.spatial.distance.pdist(rows))
    return np.round(255 * (1 - distance / max(distance.max(), 1e-12))).astype(np.uint8)

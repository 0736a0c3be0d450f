"""What an analysis comes to."""

from __future__ import annotations

import json
import os
import shutil
import struct
import subprocess
import zlib
from typing import TYPE_CHECKING, Any, NamedTuple

import numpy as np

from . import _sdif

if TYPE_CHECKING:
    from matplotlib.axes import Axes
    from numpy.typing import NDArray

MEMORY = "<memory>"  # what stands in a command where the gabarit's own path belongs, until it is saved
_PICTURE_PIXELS = 512


class Section(NamedTuple):
    """A part of a sound, in seconds. Parts of one label are alike."""

    start: float
    end: float
    label: str


class Gabarit:
    """How alike every moment of a sound is to every other moment.

    Attributes
    ----------
    times : numpy.ndarray
        float64, n: the moments in seconds.
    similarity : numpy.ndarray
        uint8, n x n: how alike two moments are, 255 where they are the same. Symmetric.
    table : dict of str
        How it was made, such as "Command", "Soundfile", "SampleRate" and "Version".
    n : int
        The number of moments.
    """

    def __init__(self, contents: _sdif.Contents):
        self.times = contents.times
        self.similarity = contents.similarity
        self.table = contents.table
        self._info = contents.info

    @property
    def n(self) -> int:
        return len(self.times)

    def __repr__(self) -> str:
        return f"<veloria.Gabarit of {self.table.get('Soundfile', '?')}, n = {self.n}>"

    def save(self, path: str | bytes | os.PathLike[str]) -> None:
        """Write it as an SDIF file, the one that `marquen` writes at that path.

        Parameters
        ----------
        path : path
            What is there is overwritten.
        """
        name = os.fsencode(path)
        with open(name, "wb") as file:
            self._write(file, name.decode("utf-8", "veloria"))

    def plot(self, axes: Axes | None = None, **options: Any) -> Axes:
        """Draw the square, with both axes in m:ss. Wants matplotlib.

        Parameters
        ----------
        axes : matplotlib.axes.Axes, optional
            Where to; by default axes of their own.
        **options
            Go to `matplotlib.axes.Axes.imshow`.

        Returns
        -------
        matplotlib.axes.Axes
        """
        import matplotlib.pyplot
        from matplotlib.ticker import FuncFormatter, MaxNLocator

        axes = matplotlib.pyplot.subplots()[1] if axes is None else axes
        half = (self.times[-1] - self.times[0]) / (self.n - 1) / 2 if self.n > 1 else 0.5
        first, last = (self.times[0] - half, self.times[-1] + half) if self.n else (0.0, 1.0)
        settings = {"cmap": "gray", "vmin": 0, "vmax": 255, "origin": "lower", "extent": (first, last, first, last)}
        axes.imshow(self.similarity, **{**settings, **options})
        for axis in (axes.xaxis, axes.yaxis):
            axis.set_major_formatter(FuncFormatter(lambda seconds, _: _clock(seconds)))
            axis.set_major_locator(MaxNLocator(steps=[1, 1.5, 3, 6, 10], integer=True))
        axes.set_title(os.path.basename(self.table.get("Soundfile", "")))
        return axes

    def sections(self) -> list[Section]:
        """Parts of the sound: where they begin and end, and which are alike. Wants the program `gabarit`.

        Returns
        -------
        list of (start, end, label)
            Seconds, seconds, and a letter.

        Raises
        ------
        FileNotFoundError
            If the program isn't on the PATH; it is in the package veloria-tools.
        """
        program = shutil.which("gabarit")
        if program is None:
            raise FileNotFoundError("the program gabarit isn't on the PATH; it is in the package veloria-tools")
        with open(os.memfd_create("gabarit"), "w+b") as file:
            self._write(file, MEMORY)
            file.flush()
            command = [program, "sections", "--json", f"/proc/self/fd/{file.fileno()}"]
            done = subprocess.run(command, pass_fds=[file.fileno()], capture_output=True, text=True)
        if done.returncode != 0:
            raise ValueError(done.stderr.strip())
        return [Section(part["start"], part["end"], part["label"]) for part in json.loads(done.stdout)["sections"]]

    def _write(self, file: Any, name: str) -> None:
        table = dict(self.table)
        if "Command" in table:
            table["Command"] = table["Command"].replace(f" --similarity {MEMORY} ", f" --similarity {name} ", 1)
        _sdif.write(file, _sdif.Contents(self.times, self.similarity, table, self._info))

    def _repr_png_(self) -> bytes | None:
        """The square as notebooks show it: time runs to the right and up."""
        if self.n == 0:
            return None
        cells = -(-self.n // _PICTURE_PIXELS)  # of the square a pixel's side
        starts = np.arange(0, self.n, cells)
        sums = np.add.reduceat(np.add.reduceat(self.similarity, starts, 0, np.int64), starts, 1)
        counts = np.diff(np.append(starts, self.n))
        scale = max(1, _PICTURE_PIXELS // len(starts))
        pixels = np.repeat(np.repeat(sums // np.outer(counts, counts), scale, 0), scale, 1)[::-1]
        return _png(pixels.astype(np.uint8))


def read(path: str | bytes | os.PathLike[str]) -> Gabarit:
    """Read a gabarit from its file. Wants no library of veloria.

    Parameters
    ----------
    path : path
        An SDIF file as `marquen` and `Gabarit.save` write it.

    Returns
    -------
    Gabarit

    Raises
    ------
    ValueError
        If the file is no gabarit, is cut or damaged, or isn't symmetric with a diagonal of 255, which every gabarit
        is. Takes the memory of the square, and only once it is known that the file holds all of it.
    OSError
        If it can't be opened or read.

    Examples
    --------
    >>> import os, tempfile
    >>> path = os.path.join(tempfile.mkdtemp(), "silence.sdif")
    >>> veloria.analyse(np.zeros(22050), rate=11025).save(path)
    >>> veloria.read(path)
    <veloria.Gabarit of <samples>, n = 3>
    """
    return Gabarit(_sdif.read_path(path))


def _clock(seconds: float) -> str:
    minutes, rest = divmod(round(seconds), 60)
    return f"{minutes}:{rest:02}"


def _png(pixels: NDArray[np.uint8]) -> bytes:
    def chunk(kind: bytes, data: bytes) -> bytes:
        return struct.pack(">I", len(data)) + kind + data + struct.pack(">I", zlib.crc32(kind + data))

    height, width = pixels.shape
    rows = np.zeros((height, width + 1), np.uint8)  # each begins with its filter, none
    rows[:, 1:] = pixels
    return (
        b"\x89PNG\r\n\x1a\n"
        + chunk(b"IHDR", struct.pack(">IIBBBBB", width, height, 8, 0, 0, 0, 0))
        + chunk(b"IDAT", zlib.compress(rows.tobytes()))
        + chunk(b"IEND", b"")
    )

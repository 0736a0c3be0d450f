"""Gabarits as SDIF files: reading what may be cut, damaged or hostile, and writing what `marquen` writes."""

from __future__ import annotations

import codecs
import math
import os
import stat
import struct
from typing import IO, TYPE_CHECKING, Any, Iterator, NamedTuple

import numpy as np

if TYPE_CHECKING:
    from numpy.typing import NDArray

_LOWEST = -1.7976931348623157e308  # seconds; header frames stand there, ahead of all others
_MOST_FRAMES = 1 << 24  # the number of frames is a float32, which counts no further
_MOST_TABLE_BYTES = 16 << 20
_MOST_ENTRIES = 100_000  # of a table: some bytes of text become some hundred in memory
_MOST_CHANNELS = 1 << 16  # of files together
_BLOCK = 256  # rows that are compared with columns at once

_NUMBERS = {
    0x0004: ">f4", 0x0008: ">f8",
    0x0101: ">i1", 0x0102: ">i2", 0x0104: ">i4", 0x0108: ">i8",
    0x0201: ">u1", 0x0202: ">u2", 0x0204: ">u4", 0x0208: ">u8",
}  # fmt: skip
_OWN_MATRICES = (b"IGBG", b"XS2C", b"IGBF", b"1GB0")  # none of them twice in a frame


def _underlined(error: Any) -> tuple[str, int]:
    return "_" * (error.end - error.start), error.end


# Controls, which could steer a terminal, and bytes that are no UTF-8 are shown as '_'.
_CONTROLS = dict.fromkeys([*range(0x20), 0x7F], "_")
codecs.register_error("veloria", _underlined)


class Contents(NamedTuple):
    """All that a gabarit holds."""

    times: NDArray[np.float64]  # n: seconds
    similarity: NDArray[np.uint8]  # n x n
    table: dict[str, str]
    info: tuple[float, float, float]  # mode; rate and channels of the sound


def read_path(path: str | bytes | os.PathLike[str]) -> Contents:
    """Raises ValueError, with the path, for what is no whole gabarit; OSError."""
    name = os.fsdecode(path)
    mode = os.stat(name).st_mode
    if not stat.S_ISREG(mode) and not stat.S_ISDIR(mode):  # opening a pipe would wait for a writer
        raise ValueError(f"{name}: is no regular file")
    with open(name, "rb") as file:
        try:
            return read(file)
        except ValueError as damage:
            raise ValueError(f"{name}: {damage}") from None


def read(file: IO[bytes]) -> Contents:
    """Goes through the file twice: nothing large is allocated before all frames are known to be there."""
    sdif = _Sdif(file)
    table: dict[str, str] = {}
    info = _read_until_info(sdif, table)
    n = _checked_size(sdif, info)
    offsets: list[int] = []
    times: list[float] = []
    while sdif.next_frame():
        if sdif.signature != b"1GB0" or sdif.stream != 0:
            sdif.skip_matrices()
            continue
        if len(times) == n:
            raise _Damage(sdif.offset, f"there are more frames than the {n} announced")
        if times and sdif.time == times[-1]:
            raise _Damage(sdif.offset + 8, "two frames have the same time")
        times.append(sdif.time)
        offsets.append(_find_column(sdif, n))
        if sdif.read(offsets[-1] + len(times) - 1, 1) != b"\xff":
            raise _Damage(sdif.offset, f"frame {len(times) - 1} is not like itself")
    if len(times) < n:
        raise _Damage(sdif.offset, f"the file ends after {len(times)} of {n} frames")
    similarity = np.empty((n, n), np.uint8)
    for row, offset in zip(similarity, offsets):
        sdif.read_into(offset, row)
    _check_symmetry(similarity, sdif.offset)
    return Contents(np.array(times, float), similarity, table, (info[0], info[1], info[2]))


class _Damage(ValueError):
    def __init__(self, offset: int, text: str):
        super().__init__(f"offset {offset}: {text}")


class _Matrix(NamedTuple):
    signature: bytes
    kind: int
    rows: int
    columns: int
    offset: int


class _Sdif:
    """Goes through frames and matrices; compares every size with what is left before anything is allocated."""

    def __init__(self, file: IO[bytes]):
        self._file: Any = file
        self._file_bytes = os.fstat(file.fileno()).st_size
        self._last_time = _LOWEST
        if self._file_bytes < 16:
            raise _Damage(0, f"no SDIF file: {self._file_bytes} bytes are too few")
        signature, size, version, _ = struct.unpack(">4sIII", self.read(0, 16))
        if signature != b"SDIF":
            raise _Damage(0, "no SDIF file: it doesn't begin with 'SDIF'")
        if version != 3:
            raise _Damage(8, f"format version {version}, only 3 can be read")
        if size != 8:
            raise _Damage(4, f"the opening frame has the size {size} instead of 8")
        self._frame_end = 16

    def read(self, offset: int, count: int) -> bytes:
        self._file.seek(offset)
        data: bytes = self._file.read(count)
        if len(data) != count:  # it was cut while it was read
            raise _Damage(offset, "reading failed")
        return data

    def read_into(self, offset: int, row: NDArray[np.uint8]) -> None:
        self._file.seek(offset)
        if self._file.readinto(row) != len(row):
            raise _Damage(offset, "reading failed")

    def bytes_left(self) -> int:
        """Bytes of the file after the current frame."""
        return self._file_bytes - self._frame_end

    def next_frame(self) -> bool:
        """Moves on; False at the end. Sets offset, signature, time and stream."""
        self.offset = self._frame_end
        left = self.bytes_left()
        if left == 0:
            return False
        if left < 24:
            raise _Damage(self.offset, f"the last {left} bytes are no frame")
        self.signature, size, self.time, self.stream, self._matrices = struct.unpack(
            ">4sIdII", self.read(self.offset, 24)
        )
        if size < 16 or size % 8 != 0:
            raise _Damage(self.offset + 4, f"no frame has the size {size}")
        if size > left - 8:
            raise _Damage(self.offset + 4, f"a frame has the size {size}, but only {left - 8} bytes are left")
        if not math.isfinite(self.time) or self.time < self._last_time:
            raise _Damage(self.offset + 8, "the times of the frames don't ascend")
        self._last_time = self.time
        self._frame_end = self.offset + 8 + size
        return True

    def matrices(self) -> Iterator[_Matrix]:
        """Goes through all matrices of the frame."""
        offset = self.offset + 24
        for _ in range(self._matrices):
            room = self._frame_end - offset - 16
            if room < 0:
                raise _Damage(offset, "a frame ends before its last matrix")
            signature, kind, rows, columns = struct.unpack(">4sIII", self.read(offset, 16))
            data_bytes = rows * columns * (kind & 0xFF)
            if data_bytes > room:
                raise _Damage(offset + 8, f"{rows} rows and {columns} columns don't fit in {room} bytes")
            yield _Matrix(signature, kind, rows, columns, offset)
            offset += 16 + data_bytes + -data_bytes % 8
        if offset != self._frame_end:
            raise _Damage(offset, f"{self._frame_end - offset} bytes follow the last matrix of a frame")

    def own_matrix(self, wanted: bytes) -> _Matrix | None:
        """The matrix of that kind in a frame of the gabarit's own."""
        seen: dict[bytes, _Matrix] = {}
        for matrix in self.matrices():
            if matrix.signature in seen and matrix.signature in _OWN_MATRICES:
                raise _Damage(matrix.offset, f"a frame has two matrices {matrix.signature.decode()}")
            if matrix.signature in _OWN_MATRICES:
                seen[matrix.signature] = matrix
        return seen.get(wanted)

    def skip_matrices(self) -> None:
        """What isn't asked for must still be what the format allows."""
        for _ in self.matrices():
            pass

    def data(self, matrix: _Matrix) -> bytes:
        return self.read(matrix.offset + 16, matrix.rows * matrix.columns * (matrix.kind & 0xFF))


def _read_until_info(sdif: _Sdif, table: dict[str, str]) -> list[float]:
    """The numbers of the information frame: mode, rate, channels, size of a transform, number of frames."""
    table_bytes = 0
    while sdif.next_frame():
        if sdif.signature == b"1NVT":
            table_bytes = _read_table(sdif, table, table_bytes)
        elif sdif.signature == b"1GB0":
            raise _Damage(sdif.offset, "no gabarit: data come before the information frame")
        elif sdif.signature != b"IGBG":
            sdif.skip_matrices()
        elif (matrix := sdif.own_matrix(b"IGBG")) is not None:
            return _numbers(sdif, matrix)
    raise _Damage(16, "no gabarit: there is no information frame")


def _numbers(sdif: _Sdif, matrix: _Matrix) -> list[float]:
    if (matrix.rows, matrix.columns) != (1, 5):
        raise _Damage(matrix.offset + 8, "the information is no row of 5 numbers")
    if matrix.kind not in _NUMBERS:
        raise _Damage(matrix.offset + 4, f"no numbers have the type {matrix.kind}")
    numbers: list[float] = np.frombuffer(sdif.data(matrix), _NUMBERS[matrix.kind]).astype(float).tolist()
    return numbers


def _checked_size(sdif: _Sdif, info: list[float]) -> int:
    fft_size, count = info[3:]
    if not (0 <= count <= _MOST_FRAMES and count == math.floor(count)):
        raise _Damage(sdif.offset, "the information frame gives no usable number of frames")
    if fft_size != max(0, 2 * count - 2):
        raise _Damage(sdif.offset, "no gabarit of a sound with itself: there are not as many values as frames")
    n = int(count)
    left = sdif.bytes_left()
    if n * n > left:
        raise _Damage(
            sdif.offset, f"the file is cut: {n} frames of {n} values are announced, but only {left} bytes follow"
        )
    return n


def _find_column(sdif: _Sdif, n: int) -> int:
    """Where the values of the frame stand."""
    matrix = sdif.own_matrix(b"1GB0")
    if matrix is None:
        raise _Damage(sdif.offset, "a frame has no similarities")
    if matrix.kind != 0x0201:
        raise _Damage(matrix.offset + 4, "the similarities are no bytes")
    if (matrix.rows, matrix.columns) != (n, 1):
        text = f"a frame has {matrix.rows} by {matrix.columns} values instead of {n} by 1"
        raise _Damage(matrix.offset + 8, text)
    return matrix.offset + 16


def _check_symmetry(similarity: NDArray[np.uint8], offset: int) -> None:
    for i in range(0, len(similarity), _BLOCK):
        rows = similarity[i : i + _BLOCK]
        differs = (rows != similarity[:, i : i + _BLOCK].T).any(axis=1)
        if differs.any():
            frame = i + int(differs.argmax())
            raise _Damage(offset, f"not symmetric: frame {frame} differs from the others' values for it")


def _read_table(sdif: _Sdif, table: dict[str, str], table_bytes: int) -> int:
    """Adds the entries; returns the bytes of all tables so far."""
    for matrix in sdif.matrices():
        if matrix.signature != b"1NVT":
            continue
        table_bytes += matrix.rows * matrix.columns
        if table_bytes > _MOST_TABLE_BYTES:
            raise _Damage(matrix.offset + 8, "the name-value tables take more than 16 MB")
        if matrix.kind & 0xFF != 1:
            raise _Damage(matrix.offset + 4, f"a matrix of text has elements of {matrix.kind & 0xFF} bytes")
        data = sdif.data(matrix)
        end = matrix.offset + 16 + len(data)
        for count, (name, value) in enumerate(_entries(data.decode("utf-8", "veloria"), end)):
            if count == _MOST_ENTRIES:
                raise _Damage(matrix.offset + 16, f"a name-value table has more than {_MOST_ENTRIES} entries")
            if name in table:
                raise _Damage(matrix.offset + 16, f"two entries of the table are named '{name}'")
            table[name] = value
    return table_bytes


def _entries(text: str, end: int) -> Iterator[tuple[str, str]]:
    text = text.strip(" \t\r\n")
    in_braces = text.startswith("{")
    if in_braces:
        if len(text) < 2 or not text.endswith("}"):
            raise _Damage(end, "a name-value table ends without '}'")
        text = text[1:-1].replace(";", "\n")
    # Other writers leave out braces, ';' or the TAB, or end lines with CR LF.
    for line in text.split("\n"):
        entry = line.removesuffix("\r")
        if not in_braces:
            entry = entry.removesuffix(";")
        entry = entry.lstrip(" \t\r")
        if entry:
            stop = min((i for i in map(entry.find, " \t") if i >= 0), default=len(entry))
            value = entry[stop + 1 :] if entry[stop : stop + 1] == "\t" else entry[stop:].lstrip(" ")
            yield entry[:stop].translate(_CONTROLS), value.translate(_CONTROLS)


_TYPES = """{
1MTD\tIGBG\t{gabmode, samplerate, nchannels, fftsize, numframes}
1MTD\tXS2C\t{stream_id, channel}
1MTD\tIGBF\t{windowsize, framesize}
1MTD\t1GB0\t{logampl}
1FTD\tIGBG
{
IGBG\tgabaritinfo;
XS2C\tstream2channel_map;
}
1FTD\t1GB0
{
IGBF\tframeinfo;
1GB0\tfftdata;
}
}"""
_DELIMITERS = dict.fromkeys(map(ord, ";{}"), "_")


def write(file: IO[bytes], contents: Contents) -> None:
    """Writes the file that the library writes for these contents."""
    times, similarity, table, (mode, rate, channels) = contents
    n = len(times)
    fft_size = max(0, 2 * n - 2)
    entries = ((name, value.translate(_CONTROLS).translate(_DELIMITERS)) for name, value in table.items())
    text = "{\n" + "".join(f"{name}\t{value};\n" for name, value in entries) + "}"
    if not 0 <= channels <= _MOST_CHANNELS:
        raise ValueError(f"no sound has {channels} channels")
    info = np.array([mode, rate, channels, fft_size, n], ">f4").tobytes()
    # The map fills its first row alone, in turn.
    channel_map = struct.pack(">2i", int(channels) - 1, int(channels) - 1).ljust(8 * int(channels), b"\0")
    file.write(struct.pack(">4sIII", b"SDIF", 8, 3, 1))
    file.write(_frame(b"1NVT", _LOWEST, 0xFFFFFFFD, _matrix(b"1NVT", 0x0301, 1, text.encode())))
    file.write(_frame(b"1TYP", _LOWEST, 0xFFFFFFFE, _matrix(b"1TYP", 0x0301, 1, _TYPES.encode())))
    head = _matrix(b"IGBG", 0x0004, 5, info), _matrix(b"XS2C", 0x0104, 2, channel_map)
    file.write(_frame(b"IGBG", -1.0, int(channels), *head))
    frame_info = _matrix(b"IGBF", 0x0204, 2, struct.pack(">II", fft_size, fft_size))
    for time, row in zip(times, similarity):
        file.write(_frame(b"1GB0", time, 0, frame_info, _matrix(b"1GB0", 0x0201, 1, row.tobytes())))


def _matrix(signature: bytes, kind: int, columns: int, data: bytes) -> bytes:
    rows = len(data) // (columns * (kind & 0xFF))
    return struct.pack(">4sIII", signature, kind, rows, columns) + data + bytes(-len(data) % 8)


def _frame(signature: bytes, time: float, stream: int, *matrices: bytes) -> bytes:
    size = 16 + sum(map(len, matrices))
    return struct.pack(">4sIdII", signature, size, time, stream, len(matrices)) + b"".join(matrices)

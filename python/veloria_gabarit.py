"""Reads gabarits: SDIF files that tell how alike every moment of a sound is to every other one.

    times, similarity, table = veloria_gabarit.read("song.sdif")
"""

import math
import os
import stat
import struct

import numpy as np

_LOWEST = -1.7976931348623157e308  # seconds; header frames stand there, ahead of all others
_MOST_FRAMES = 1 << 24  # the number of frames is a float32, which counts no further

_NUMBERS = {
    0x0004: ">f4", 0x0008: ">f8",
    0x0101: ">i1", 0x0102: ">i2", 0x0104: ">i4", 0x0108: ">i8",
    0x0201: ">u1", 0x0202: ">u2", 0x0204: ">u4", 0x0208: ">u8",
}  # fmt: skip


def read(path):
    """Reads a whole gabarit.

    Returns (times, similarity, table):
      times       float64, n: the moments in seconds
      similarity  uint8, n by n: how alike two moments are, 255: the same
      table       dict of texts: how the gabarit was made, such as "Command" and "Soundfile"

    Raises ValueError if the file is no gabarit, is cut or damaged, or isn't symmetric with a diagonal of 255, which
    every gabarit is; OSError if it can't be opened or read. Takes n * n bytes and little more, and these only after
    it is known that the file is as long.
    """
    mode = os.stat(path).st_mode
    if not stat.S_ISREG(mode) and not stat.S_ISDIR(mode):  # opening a pipe would wait for a writer
        raise ValueError(f"{path}: is no regular file")
    with open(path, "rb") as file:
        try:
            return _read_gabarit(_Sdif(file))
        except _Damage as damage:
            raise ValueError(f"{path}: {damage}") from None


class _Damage(Exception):
    def __init__(self, offset, text):
        super().__init__(f"offset {offset}: {text}")


class _Sdif:
    """Goes through frames and matrices; compares every size with what is left before anything is allocated."""

    def __init__(self, file):
        self._file = file
        self._file_bytes = os.fstat(file.fileno()).st_size
        self._last_time = _LOWEST
        if self._file_bytes < 16:
            raise _Damage(0, f"no SDIF file: {self._file_bytes} bytes are too few")
        signature, size, version, _ = struct.unpack(">4sIII", self._read(0, 16))
        if signature != b"SDIF":
            raise _Damage(0, "no SDIF file: it doesn't begin with 'SDIF'")
        if version != 3:
            raise _Damage(8, f"format version {version}, only 3 can be read")
        if size != 8:
            raise _Damage(4, f"the opening frame has the size {size} instead of 8")
        self._frame_end = 16

    def _read(self, offset, count):
        self._file.seek(offset)
        data = self._file.read(count)
        if len(data) != count:  # it was cut while it was read
            raise _Damage(offset, "reading failed")
        return data

    def bytes_left(self):
        """Bytes of the file after the current frame."""
        return self._file_bytes - self._frame_end

    def next_frame(self):
        """Moves on; False at the end. Sets offset, signature, time and stream."""
        self.offset = self._frame_end
        left = self.bytes_left()
        if left == 0:
            return False
        if left < 24:
            raise _Damage(self.offset, f"the last {left} bytes are no frame")
        self.signature, size, self.time, self.stream, self._matrices = struct.unpack(
            ">4sIdII", self._read(self.offset, 24)
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

    def matrices(self):
        """Goes through all matrices of the frame: signature, type, rows, columns, offset."""
        offset = self.offset + 24
        for _ in range(self._matrices):
            room = self._frame_end - offset - 16
            if room < 0:
                raise _Damage(offset, "a frame ends before its last matrix")
            signature, kind, rows, columns = struct.unpack(">4sIII", self._read(offset, 16))
            data_bytes = rows * columns * (kind & 0xFF)
            if data_bytes > room:
                raise _Damage(offset + 8, f"{rows} rows and {columns} columns don't fit in {room} bytes")
            yield signature, kind, rows, columns, offset
            offset += 16 + data_bytes + -data_bytes % 8
        if offset != self._frame_end:
            raise _Damage(offset, f"{self._frame_end - offset} bytes follow the last matrix of a frame")

    def skip_matrices(self):
        """What isn't asked for must still be what the format allows."""
        for _ in self.matrices():
            pass

    def data(self, matrix):
        _, kind, rows, columns, offset = matrix
        return self._read(offset + 16, rows * columns * (kind & 0xFF))

    def data_into(self, matrix, row):
        self._file.seek(matrix[4] + 16)
        if self._file.readinto(row) != len(row):
            raise _Damage(matrix[4] + 16, "reading failed")


def _read_gabarit(sdif):
    table = {}
    n = _read_until_info(sdif, table)
    times = np.empty(n)
    similarity = np.empty((n, n), np.uint8)
    last_time = _LOWEST
    count = 0
    while sdif.next_frame():
        if sdif.signature != b"1GB0" or sdif.stream != 0:
            sdif.skip_matrices()
            continue
        if count == n:
            raise _Damage(sdif.offset, f"there are more frames than the {n} announced")
        if sdif.time == last_time:
            raise _Damage(sdif.offset + 8, "two frames have the same time")
        times[count] = last_time = sdif.time
        _read_column(sdif, similarity[count])
        if similarity[count, count] != 255:
            raise _Damage(sdif.offset, f"frame {count} is not like itself")
        count += 1
    if count < n:
        raise _Damage(sdif.offset, f"the file ends after {count} of {n} frames")
    for i in range(n):
        if not np.array_equal(similarity[i], similarity[:, i]):
            raise _Damage(sdif.offset, f"not symmetric: frame {i} differs from the others' values for it")
    return times, similarity, table


def _read_until_info(sdif, table):
    while sdif.next_frame():
        if sdif.signature == b"1NVT":
            _read_table(sdif, table)
        elif sdif.signature == b"1GB0":
            raise _Damage(sdif.offset, "no gabarit: data come before the information frame")
        elif sdif.signature == b"IGBG":
            info = _read_info(sdif)
            if info is not None:
                return _checked_size(sdif, info)
        else:
            sdif.skip_matrices()
    raise _Damage(16, "no gabarit: there is no information frame")


def _read_info(sdif):
    info = None
    for matrix in sdif.matrices():
        signature, kind, rows, columns, offset = matrix
        if signature != b"IGBG":
            continue
        if (rows, columns) != (1, 5):
            raise _Damage(offset + 8, "the information is no row of 5 numbers")
        if kind not in _NUMBERS:
            raise _Damage(offset + 4, f"no numbers have the type {kind}")
        info = np.frombuffer(sdif.data(matrix), _NUMBERS[kind]).astype(float)
    return info


def _checked_size(sdif, info):
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


def _read_column(sdif, row):
    n = len(row)
    found = False
    for matrix in sdif.matrices():
        signature, kind, rows, columns, offset = matrix
        if signature != b"1GB0":
            continue
        if kind != 0x0201:
            raise _Damage(offset + 4, "the similarities are no bytes")
        if (rows, columns) != (n, 1):
            raise _Damage(offset + 8, f"a frame has {rows} by {columns} values instead of {n} by 1")
        sdif.data_into(matrix, row)
        found = True
    if not found:
        raise _Damage(sdif.offset, "a frame has no similarities")


def _read_table(sdif, table):
    for matrix in sdif.matrices():
        signature, kind, _, _, offset = matrix
        if signature != b"1NVT":
            continue
        if kind & 0xFF != 1:
            raise _Damage(offset + 4, f"a matrix of text has elements of {kind & 0xFF} bytes")
        data = sdif.data(matrix)
        text = data.decode("utf-8", "replace").strip(" \t\r\n")
        in_braces = text.startswith("{")
        if in_braces:
            if len(text) < 2 or not text.endswith("}"):
                raise _Damage(offset + 16 + len(data), "a name-value table ends without '}'")
            text = text[1:-1].replace(";", "\n")
        # Other writers leave out braces, ';' or the TAB, or end lines with CR LF.
        for line in text.split("\n"):
            entry = line.removesuffix("\r")
            if not in_braces:
                entry = entry.removesuffix(";")
            entry = entry.lstrip(" \t\r")
            if not entry:
                continue
            end = min((i for i in map(entry.find, " \t") if i >= 0), default=len(entry))
            value = entry[end + 1 :] if entry[end : end + 1] == "\t" else entry[end:].lstrip(" ")
            table.setdefault(entry[:end], value)

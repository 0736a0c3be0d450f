"""Jobs: from a sound to its gabarit."""

from __future__ import annotations

import contextlib
import ctypes
import errno
import numbers
import os
import sys
import threading
from typing import TYPE_CHECKING, Any, Callable, Iterator, Sequence, Union

import numpy as np

from . import _library, _sdif
from ._gabarit import MEMORY, Gabarit

if TYPE_CHECKING:
    from numpy.typing import ArrayLike, NDArray

    Path = Union[str, bytes, "os.PathLike[str]"]
    Sound = Union[Path, Sequence[Path], ArrayLike]
    Progress = Union[bool, None, Callable[[float], object]]

_POLL_SECONDS = 0.05  # how long an interrupt may wait to be seen
_END_SECONDS = 0.05  # how long a canceled job is waited for; then it ends by itself
_SAMPLES_NAME = "<samples>"  # what the gabarit of an array records as its sound


class Error(ValueError):
    """What the library says is wrong with a call, a sound or a file."""


def analyse(
    sound: Sound,
    *,
    rate: float | None = None,
    features: str = "mixed",
    modeling: str = "mean",
    window: float = 1.0,
    step: float = 0.5,
    progress: Progress = None,
    max_memory: int | None = None,
) -> Gabarit:
    """Measure how alike every moment of a sound is to every other moment.

    Any number of threads may do so at once; each job has one thread of its own.

    Parameters
    ----------
    sound : path, sequence of paths, or array
        A file that libsndfile opens; several files of one sound, typically one per channel; or samples: frames, or
        frames x channels, float32 and float64 (full scale 1.0) or int16. Channels are taken as their mean.
    rate : int, optional
        Frames of an array a second. Wanted with an array, and only there.
    features : {"mixed", "timbre", "harmo"}
        What is compared: sound color, harmony, or both.
    modeling : {"mean", "meanvar", "fft", "mph"}
        How the moments of a window are summed up.
    window : float
        Length of sound that one moment stands for, in seconds.
    step : float
        Distance of two moments, in seconds.
    progress : bool or callable, optional
        True for a bar, on a terminal and in a notebook; by tqdm, if it is there. A function is called with the
        position from 0.0 to 1.0, some 20 times a second; what it raises cancels the job and comes out here.
    max_memory : int, optional
        Bytes that the job may take, by default what the machine has free. One that would take more isn't started.

    Returns
    -------
    Gabarit
        In memory; `Gabarit.save` writes it.

    Raises
    ------
    Error
        With the library's text: the sound, a setting, or too little memory.
    FileNotFoundError
        If there is no such file.
    TypeError, ValueError
        For an array of another shape or type, a rate that is missing or none.
    OSError
        If the library isn't found.
    KeyboardInterrupt
        On Ctrl-C, at once; the job is canceled.

    Examples
    --------
    >>> silence = np.zeros((11025 * 5, 2), np.float32)
    >>> g = veloria.analyse(silence, rate=11025, features="timbre", step=1.0)
    >>> g.similarity
    array([[255,   0,   0,   0],
           [  0, 255,   0,   0],
           [  0,   0, 255,   0],
           [  0,   0,   0, 255]], dtype=uint8)
    """
    settings = _settings(features, modeling, window, step, max_memory)
    source = _Source(sound, rate)
    with _Job() as job:
        with _reporter(progress) as report:
            job.start(source, settings)
            job.wait(report)
        contents = _sdif.read(job.output)
    _name(contents.table, job.path, source.is_array)
    return Gabarit(contents)


def memory(
    sound: Sound,
    *,
    rate: float | None = None,
    features: str = "mixed",
    modeling: str = "mean",
    window: float = 1.0,
    step: float = 0.5,
) -> int:
    """Bytes that `analyse` would take with the same arguments, right within a fourth.

    Examples
    --------
    >>> hour = np.zeros(3600 * 11025, np.float32)
    >>> 5e8 < veloria.memory(hour, rate=11025) < 1.5e9
    True
    """
    return _Source(sound, rate).memory(_settings(features, modeling, window, step, None))


def _settings(features: str, modeling: str, window: float, step: float, max_memory: int | None) -> _library.Settings:
    for name, given, known in (("features", features, _library.FEATURES), ("modeling", modeling, _library.MODELING)):
        if given not in known:
            raise Error(f"{name} is one of {', '.join(known)}, not {given!r}")
    for name, seconds in (("window", window), ("step", step)):
        if not seconds > 0:  # zero would stand for the default
            raise Error(f"invalid modeling {name}")
    if max_memory is not None and max_memory < 1:
        raise Error("invalid max_memory")
    return _library.Settings(
        ctypes.sizeof(_library.Settings),
        1 + _library.FEATURES.index(features),
        1 + _library.MODELING.index(modeling),
        window,
        step,
        min(max_memory or 0, (1 << 64) - 1),
    )


class _Source:
    """A sound as the library takes it: paths or samples."""

    def __init__(self, sound: Sound, rate: float | None):
        paths = _paths_of(sound)
        self.is_array = paths is None
        self._missing = None
        if paths is None:
            self._array = _checked_array(sound)
            self._rate = _checked_rate(rate)
        else:
            if rate is not None:
                raise TypeError("rate goes with an array; a file knows its own")
            if any(b"\0" in path for path in paths):
                raise ValueError("embedded null byte in a path")
            self._count = len(paths)
            self._paths = (ctypes.c_char_p * len(paths))(*paths)
            self._missing = next(filter(_is_missing, paths), None)

    def start(self, output: str, settings: _library.Settings, job: ctypes.c_void_p) -> None:
        more = output.encode(), settings, job
        if self.is_array:
            array = np.ascontiguousarray(self._array, self._array.dtype.newbyteorder("="))
            self._call("veloria_start_samples", _samples_of(array, self._rate), *more)
        else:
            self._call("veloria_start", self._paths, self._count, *more)

    def memory(self, settings: _library.Settings) -> int:
        figure = ctypes.c_uint64()
        sound = (None, 0, _samples_of(self._array, self._rate)) if self.is_array else (self._paths, self._count, None)
        self._call("veloria_memory", *sound, settings, figure)
        return figure.value

    def _call(self, name: str, *arguments: object) -> None:
        text = ctypes.create_string_buffer(2048)
        if getattr(_library.load(), name)(*arguments, text, len(text)) != _library.OK:
            if self._missing is not None:
                raise FileNotFoundError(errno.ENOENT, os.strerror(errno.ENOENT), os.fsdecode(self._missing))
            raise Error(_shown(text))


def _paths_of(sound: Sound) -> list[bytes] | None:
    """The paths, or None for samples."""
    if isinstance(sound, (str, bytes, os.PathLike)):
        return [os.fsencode(sound)]
    if isinstance(sound, (list, tuple)) and sound and all(isinstance(s, (str, bytes, os.PathLike)) for s in sound):
        return [os.fsencode(path) for path in sound]
    return None


def _is_missing(path: bytes) -> bool:
    try:
        os.stat(path)
    except OSError as error:
        return error.errno == errno.ENOENT
    return False


def _checked_array(sound: Any) -> NDArray[Any]:
    array = np.asarray(sound)
    if array.dtype.name not in _library.SAMPLE_TYPES:
        raise TypeError(f"samples are {', '.join(_library.SAMPLE_TYPES)}, not {array.dtype.name}")
    if array.ndim not in (1, 2):
        raise ValueError(f"samples are frames, or frames x channels, not of {array.ndim} dimensions")
    return array


def _checked_rate(rate: float | None) -> int:
    if rate is None:
        raise TypeError("samples want a rate")
    if not isinstance(rate, numbers.Real):
        raise TypeError(f"the rate is a number, not {type(rate).__name__}")
    if not (1 <= rate < 1 << 31 and int(rate) == rate):
        raise ValueError(f"the rate is a whole number of frames a second, not {rate}")
    return int(rate)


def _samples_of(array: NDArray[Any], rate: int) -> _library.Samples:
    return _library.Samples(
        ctypes.sizeof(_library.Samples),
        array.ctypes.data,
        1 + _library.SAMPLE_TYPES.index(array.dtype.name),
        array.shape[1] if array.ndim == 2 else 1,
        len(array),
        rate,
    )


class _Job:
    """A job of the library, and the file in memory that it writes."""

    def __init__(self) -> None:
        self._descriptor = os.memfd_create("gabarit")  # never closed by accident: its number is what the job knows
        self.output = open(self._descriptor, "rb", closefd=False)
        self.path = f"/proc/self/fd/{self._descriptor}"
        self._handle = ctypes.c_void_p()
        self._started = threading.Event()  # or refused
        self._started.set()

    def start(self, source: _Source, settings: _library.Settings) -> None:
        """Has another thread copy the samples, so that this one sees an interrupt at once."""
        failures: list[BaseException] = []

        def work() -> None:
            try:
                source.start(self.path, settings, self._handle)
            except BaseException as failure:
                failures.append(failure)
            finally:
                self._started.set()

        self._started.clear()
        threading.Thread(target=work, daemon=True).start()
        self._started.wait()
        if failures:
            raise failures[0]

    def wait(self, report: Callable[[float], object] | None) -> None:
        library = _library.load()
        position = ctypes.c_double()
        while (code := library.veloria_job_wait(self._handle, _POLL_SECONDS)) == _library.RUNNING:
            if report is not None:
                library.veloria_job_position(self._handle, position)
                report(position.value)
        if code != _library.OK:
            text = ctypes.create_string_buffer(2048)
            library.veloria_job_message(self._handle, text, len(text))
            raise Error(_shown(text))
        if report is not None:
            report(1.0)

    def __enter__(self) -> _Job:
        return self

    def __exit__(self, error: object, *_: object) -> None:
        """Ends it. One that was given up, and takes long to start or to stop, is not waited for."""
        finisher = threading.Thread(target=self._finish, daemon=True)
        finisher.start()
        finisher.join(None if error is None else _END_SECONDS)

    def _finish(self) -> None:
        self._started.wait()
        if self._handle.value:
            _library.load().veloria_job_end(self._handle)
        os.close(self._descriptor)


def _shown(text: ctypes.Array[ctypes.c_char]) -> str:
    return text.value.decode("utf-8", "replace").rstrip()


def _name(table: dict[str, str], output: str, is_array: bool) -> None:
    """Gives what was in memory a name in the texts that the library recorded."""
    command = table["Command"]
    if is_array:
        command = command.replace(f" --input {table['Soundfile']} ", f" --input {_SAMPLES_NAME} ", 1)
        table["Soundfile"] = _SAMPLES_NAME
    head, _, tail = command.rpartition(f" --similarity {output} ")
    table["Command"] = f"{head} --similarity {MEMORY} {tail}"


@contextlib.contextmanager
def _reporter(progress: Progress) -> Iterator[Callable[[float], object] | None]:
    if progress is None or progress is False:
        yield None
    elif callable(progress):
        yield progress
    elif progress is not True:
        raise TypeError("progress is True, False or a function")
    elif not (sys.stderr is not None and sys.stderr.isatty()) and "ipykernel" not in sys.modules:
        yield None
    else:
        with _bar() as report:
            yield report


@contextlib.contextmanager
def _bar() -> Iterator[Callable[[float], object]]:
    try:
        from tqdm.auto import tqdm
    except ImportError:
        try:
            yield lambda position: print(f"\r{position:4.0%}", end="", file=sys.stderr, flush=True)
        finally:
            print(file=sys.stderr)
        return
    with tqdm(total=100, unit="%", bar_format="{l_bar}{bar}| {elapsed}<{remaining}") as bar:
        yield lambda position: bar.update(100 * position - bar.n)

"""libveloria-c, as veloria/veloria_c.h declares it."""

from __future__ import annotations

import ctypes
import functools
import os
from ctypes import POINTER, c_char_p, c_double, c_int, c_size_t, c_uint64, c_void_p

NAME = "libveloria-c.so.1"
OK, RUNNING, CANCELED, FAILED, INVALID_ARGUMENT, INVALID_JOB, NO_MEMORY = range(7)
FEATURES = ("timbre", "harmo", "mixed")  # from 1 on, as the next two
MODELING = ("mean", "meanvar", "fft", "mph")
SAMPLE_TYPES = ("float32", "float64", "int16")


class Settings(ctypes.Structure):
    _fields_ = [
        ("size", c_size_t),
        ("features", c_int),
        ("modeling", c_int),
        ("window_seconds", c_double),
        ("step_seconds", c_double),
        ("max_memory", c_uint64),
    ]


class Samples(ctypes.Structure):
    _fields_ = [
        ("size", c_size_t),
        ("data", c_void_p),
        ("type", c_int),
        ("channels", c_int),
        ("frames", c_uint64),
        ("rate_hz", c_int),
    ]


_TEXT = [c_char_p, c_size_t]
_PATHS = [POINTER(c_char_p), c_size_t]
_ARGUMENTS = {
    "veloria_memory": [*_PATHS, POINTER(Samples), POINTER(Settings), POINTER(c_uint64), *_TEXT],
    "veloria_start": [*_PATHS, c_char_p, POINTER(Settings), POINTER(c_void_p), *_TEXT],
    "veloria_start_samples": [POINTER(Samples), c_char_p, POINTER(Settings), POINTER(c_void_p), *_TEXT],
    "veloria_job_position": [c_void_p, POINTER(c_double)],
    "veloria_job_message": [c_void_p, *_TEXT],
    "veloria_job_cancel": [c_void_p],
    "veloria_job_wait": [c_void_p, c_double],
    "veloria_job_end": [c_void_p],
}


@functools.lru_cache(maxsize=None)
def load() -> ctypes.CDLL:
    """The library: that of VELORIA_LIBRARY, one beside this file, or the loader's."""
    chosen = os.environ.get("VELORIA_LIBRARY")
    beside = os.path.join(os.path.dirname(os.path.abspath(__file__)), NAME)
    reasons = []
    for candidate in [chosen] if chosen else [beside, NAME]:
        try:
            library = ctypes.CDLL(candidate)
            for name, arguments in _ARGUMENTS.items():
                function = getattr(library, name)
                function.argtypes = arguments
                function.restype = c_int
            return library
        except (OSError, AttributeError) as error:  # none, or another library
            reasons.append(f"{candidate} ({error})")
    raise OSError(
        f"no library of veloria; looked for {', then '.join(reasons)}. Install libveloria-c1, or let VELORIA_LIBRARY "
        f"be the path of {NAME}"
    )

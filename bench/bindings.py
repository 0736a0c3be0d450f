#!/usr/bin/env python3
"""What the Python package costs beside marquen, on a machine with two idle cores:

    PYTHONPATH=python VELORIA_LIBRARY=build/release/c/libveloria-c.so.1 python3 bench/bindings.py build/release
"""

import os
import resource
import signal
import subprocess
import sys
import tempfile
import threading
import time
import wave

begin = time.perf_counter()
import numpy as np  # noqa: E402
import veloria  # noqa: E402

print(f"import veloria: {1000 * (time.perf_counter() - begin):.0f} ms, NumPy included")

RUNS = 5


def tune(seconds, rate, channels):
    """Twelve notes in turn, and some noise."""
    t = np.arange(seconds * rate) / rate
    note = 0.5 * np.sin(2 * np.pi * 220 * 2 ** (np.floor(t / 7) % 12 / 12) * t)
    noise = 0.02 * np.random.default_rng(1).standard_normal(len(t))
    return np.round(20000 * np.repeat((note + noise)[:, None], channels, 1)).astype(np.int16)


def write(path, samples, rate):
    with wave.open(path, "wb") as file:
        file.setnchannels(samples.shape[1])
        file.setsampwidth(2)
        file.setframerate(rate)
        file.writeframes(samples.tobytes())
    return path


def median(values):
    return sorted(values)[len(values) // 2]


def cpu_seconds(work, whose):
    before = resource.getrusage(whose)
    work()
    after = resource.getrusage(whose)
    return after.ru_utime + after.ru_stime - before.ru_utime - before.ru_stime


def overhead(marquen, sound):
    command = [marquen, "--input", sound, "--similarity", sound + ".sdif", "--quiet", "--force"]
    by_marquen, by_python = [], []
    for _ in range(RUNS):
        by_marquen.append(cpu_seconds(lambda: subprocess.run(command, check=True), resource.RUSAGE_CHILDREN))
        by_python.append(cpu_seconds(lambda: veloria.analyse(sound), resource.RUSAGE_SELF))
    print(f"5 min: marquen {median(by_marquen):.3f} s of CPU, veloria.analyse {median(by_python):.3f} s")


def threads(sound):
    in_turn, at_once = [], []
    for _ in range(RUNS):
        begin = time.perf_counter()
        for _ in range(2):
            veloria.analyse(sound)
        in_turn.append(time.perf_counter() - begin)
        both = [threading.Thread(target=veloria.analyse, args=(sound,)) for _ in range(2)]
        begin = time.perf_counter()
        for thread in both:
            thread.start()
        for thread in both:
            thread.join()
        at_once.append(time.perf_counter() - begin)
    print(f"two jobs: in turn {median(in_turn):.3f} s, on two threads {median(at_once):.3f} s")


def interrupt(name, sound, **more):
    worst = 0.0
    for delay in (0.1, 0.2, 0.5, 1, 2, 3, 4, 5, 6):
        kicked = []

        def kick():
            kicked.append(time.monotonic())
            os.kill(os.getpid(), signal.SIGINT)

        timer = threading.Timer(delay, kick)
        timer.start()
        try:
            veloria.analyse(sound, **more)
            timer.cancel()
        except KeyboardInterrupt:
            worst = max(worst, time.monotonic() - kicked[0])
    print(f"Ctrl-C in an hour's {name}: KeyboardInterrupt after {1000 * worst:.0f} ms at most")


def soak(jobs):
    samples = tune(3, 11025, 1)
    for i in range(jobs + 1):
        veloria.analyse(samples, rate=11025)
        if i in (jobs // 10, jobs):
            with open("/proc/self/statm") as file:
                resident = int(file.read().split()[1]) * resource.getpagesize() // 1024
            print(f"after {i} jobs: {resident} kB, {len(os.listdir('/proc/self/fd'))} descriptors")


def main():
    with tempfile.TemporaryDirectory() as folder:
        sound = write(os.path.join(folder, "sound.wav"), tune(300, 44100, 2), 44100)
        overhead(os.path.join(sys.argv[1], "marquen/marquen"), sound)
        threads(sound)
        interrupt("file", write(os.path.join(folder, "hour.wav"), tune(3600, 11025, 1), 11025))
    interrupt("array", np.zeros((3600 * 44100, 2), np.float32, order="F"), rate=44100)
    soak(1000)


if __name__ == "__main__":
    main()

#!/usr/bin/env python3
"""The speed of the library beside its peers, both sides in one run, as a Markdown table.

usage: figures.py BUILD_FOLDER [MINUTES...]

Runs the benchmarks of BUILD_FOLDER, the numpy script beside this file and fpcalc, each pair in turns, and prints
medians and ratios. Peers that aren't there are left out. MINUTES are the lengths of the whole jobs: 5 by default.
"""
import json
import math
import os
import statistics
import struct
import subprocess
import sys
import tempfile
import wave

ROUNDS = 5
HERE = os.path.dirname(os.path.abspath(__file__))
RATE = 44100


def bench_run(build, name, pattern, *options):
    """What the benchmarks that match report."""
    command = [f"{build}/bench/{name}_bench", f"--benchmark_filter={pattern}", "--benchmark_format=json", *options]
    return json.loads(subprocess.run(command, check=True, capture_output=True, text=True).stdout)["benchmarks"]


def bench(build, name, pattern):
    """Median CPU seconds of each benchmark that matches."""
    runs = bench_run(build, name, pattern, f"--benchmark_repetitions={ROUNDS}",
                     "--benchmark_enable_random_interleaving=true", "--benchmark_report_aggregates_only=true")
    unit = {"ns": 1e-9, "us": 1e-6, "ms": 1e-3, "s": 1.0}
    return {run["run_name"]: run["cpu_time"] * unit[run["time_unit"]]
            for run in runs if run["aggregate_name"] == "median"}


def row(what, ours, peer, peer_name, faster):
    """One line of the table: how much faster we are, or how much of the peer's time we take."""
    ratio = f"{peer / ours:.1f} x faster" if faster else f"{ours / peer:.2f} x its time"
    print(f"| {what} | {1e3 * ours:.4g} ms | {peer_name} {1e3 * peer:.4g} ms | {ratio} |", flush=True)


def write_sound(path, minutes):
    """Stereo tones of a second each over noise; the same minute again and again."""
    minute, noise = bytearray(), 1
    for second in range(60):
        pitch = 110.0 * 2 ** (second // 2 * 7 % 12 / 12)
        for i in range(RATE):
            noise = (noise * 1664525 + 1013904223) & 0xffffffff
            value = 6000.0 * math.sin(2 * math.pi * pitch * i / RATE) + (noise >> 22)
            minute += struct.pack("<hh", int(value), int(0.7 * value))
    with wave.open(path, "wb") as sound:
        sound.setnchannels(2)
        sound.setsampwidth(2)
        sound.setframerate(RATE)
        for _ in range(minutes):
            sound.writeframes(minute)


def cpu_seconds(command, environment=None):
    """CPU seconds and peak MiB of a command."""
    with subprocess.Popen(command, stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL, env=environment) as process:
        _, status, usage = os.wait4(process.pid, 0)
        process.returncode = os.waitstatus_to_exitcode(status)
    if process.returncode != 0:
        sys.exit(f"{command} ended with {process.returncode}")
    return usage.ru_utime + usage.ru_stime, usage.ru_maxrss / 1024


def whole_jobs(build, minutes):
    plain_environment = {k: v for k, v in os.environ.items() if not k.startswith("OPENBLAS_")}
    with tempfile.TemporaryDirectory() as folder:
        sound = f"{folder}/sound.wav"
        write_sound(sound, minutes)
        for kind, window in (("mean", "1"), ("fft", "1"), ("mph", "4")):
            commands = {
                "ours": [f"{build}/marquen/marquen", "--input", sound, "--similarity", f"{folder}/out.sdif", "--quiet",
                         "--force", "--features_modeling", kind, "--features_modeling_length", window],
                "numpy": ["/usr/bin/python3", f"{HERE}/peers/selfsim.py", sound, f"{folder}/out.npy", kind, window],
                "fpcalc": ["fpcalc", "-length", "100000", sound],
            }
            if kind != "mean":
                del commands["fpcalc"]
            seconds, memory = {}, {}
            for _ in range(ROUNDS if minutes < 30 else 1):
                for name, command in commands.items():
                    try:
                        taken, peak = cpu_seconds(command, plain_environment)
                    except OSError:
                        continue
                    seconds.setdefault(name, []).append(taken)
                    memory[name] = peak
            median = {name: statistics.median(values) for name, values in seconds.items()}
            for peer, faster in (("numpy", True), ("fpcalc", False)):
                if peer in median:
                    row(f"whole job, {minutes} min, {kind}, CPU", median["ours"], median[peer], peer, faster)
            print(f"| its peak memory | {memory['ours']:.0f} MiB | numpy {memory.get('numpy', math.nan):.0f} MiB | |")
    if minutes in (5, 60):
        stages = bench_run(build, "job", f"stages/minutes:{minutes}/")[0]
        print(f"| shares of the stages, {minutes} min | " + ", ".join(
            f"{name} {1e3 * stages[name]:.4g}"
            for name in ("load", "features", "modeling", "reduction", "distances", "file")) + " ms | | |")


def main():
    build, lengths = sys.argv[1], [int(minutes) for minutes in sys.argv[2:]] or [5]
    print("| what | ours | beside it | ratio |\n|---|---|---|---|")
    for minutes in lengths:
        whole_jobs(build, minutes)
    times = bench(build, "resampler", "resampler/4[48][10]00|soxr")
    for rate in (44100, 48000):
        if f"soxr_high_quality/{rate}" in times:
            row(f"resampler, {rate} to 11025 Hz", times[f"resampler/{rate}"], times[f"soxr_high_quality/{rate}"],
                "soxr HQ", False)
    times = bench(build, "fft", "realfft_in_place|fftw")
    for size, plan in ((1024, "measured"), (2048, "measured"), (1000, "estimated"), (4410, "estimated")):
        if f"fftw_forward/{plan}/{size}" in times:
            row(f"realfft, float, {size}", times[f"realfft_in_place/{size}"], times[f"fftw_forward/{plan}/{size}"],
                f"FFTW, {plan}", False)
    times = bench(build, "distances", "distance_stage|pair_distances")
    for n in (599, 2999, 7199):
        row(f"distance stage with bytes, n = {n}", times[f"distance_stage/{n}"], times[f"distance_stage_plain/{n}"],
            "plain loops", True)
    pairs = 7199 * 7198 / 2
    print(f"| a pair's distance, 12 columns, n = 7199 | {1e9 * times['pair_distances/7199'] / pairs:.2f} ns | plain loop "
          f"{1e9 * times['pair_distances_plain/7199'] / pairs:.2f} ns | |")
    times = bench(build, "features", "bands_and_mel")
    row("bands and mel energies of a frame", times["bands_and_mel"], times["bands_and_mel_plain"], "plain loops", True)


if __name__ == "__main__":
    main()

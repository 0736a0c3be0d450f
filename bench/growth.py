#!/usr/bin/env python3
"""CPU and memory of whole jobs as they grow, drawn beside the numpy script and the plan.

usage: growth.py BUILD_FOLDER PICTURE.png [MINUTES...]

Lengths are 1, 2, 5, 10, 20, 60 and 180 minutes by default, at the default step of 0.5 s. The numpy script goes as far
as an hour. Prints what it draws, and wants 5 GB of memory and 2 GB of disk for the longest.
"""
import json
import subprocess
import sys
import tempfile

from figures import HERE, cpu_seconds, write_sound


def measure(build, minutes, folder):
    """n, and pairs of CPU seconds and MiB: ours, numpy's (None if too long), and the MiB that are planned."""
    sound = f"{folder}/sound.wav"
    write_sound(sound, minutes)
    job = [f"{build}/marquen/marquen", "--input", sound, "--quiet"]
    plan = json.loads(subprocess.run([*job, "--plan", "--json"], check=True, capture_output=True, text=True).stdout)
    ours = cpu_seconds([*job, "--similarity", f"{folder}/out.sdif", "--force"])
    numpy = cpu_seconds(["/usr/bin/python3", f"{HERE}/peers/selfsim.py", sound, f"{folder}/out.npy"]) \
        if minutes <= 60 else None
    return plan["n"], ours, numpy, plan["memory_bytes"] / 2**20


def draw(points, picture):
    # Only here: a process starts with the peak memory of the one that it was forked from.
    import matplotlib
    matplotlib.use("Agg")
    import matplotlib.pyplot as plt

    figure, axes = plt.subplots(1, 2, figsize=(9, 4), layout="constrained")
    for axis, which, unit in ((axes[0], 0, "CPU, seconds"), (axes[1], 1, "peak memory, MiB")):
        axis.loglog([p[0] for p in points], [p[1][which] for p in points], "o-", label="veloria")
        with_numpy = [p for p in points if p[2]]
        axis.loglog([p[0] for p in with_numpy], [p[2][which] for p in with_numpy], "s-", label="numpy and scipy")
        axis.set(xlabel="moments n, at 0.5 s", title=unit)
        axis.grid(True, which="both", alpha=0.3)
    axes[1].loglog([p[0] for p in points], [p[3] for p in points], "k:", label="planned")
    axes[1].legend()
    axes[0].legend()
    figure.savefig(picture, dpi=100)


def main():
    build, picture = sys.argv[1:3]
    lengths = [int(minutes) for minutes in sys.argv[3:]] or [1, 2, 5, 10, 20, 60, 180]
    with tempfile.TemporaryDirectory() as folder:
        points = [measure(build, minutes, folder) for minutes in lengths]
    print("| n | CPU | memory | planned | numpy: CPU | memory |\n|---|---|---|---|---|---|")
    for n, ours, numpy, planned in points:
        numpy_cells = f"{numpy[0]:.2f} s | {numpy[1]:.0f} MiB" if numpy else "| "
        print(f"| {n} | {ours[0]:.2f} s | {ours[1]:.0f} MiB | {planned:.0f} MiB | {numpy_cells} |")
    draw(points, picture)


if __name__ == "__main__":
    main()

#!/usr/bin/env python3
"""Kills marquen at random moments and looks at what is left.

usage: kill.py BUILD_DIR RUNS [SEED]

Whatever moment a kill strikes at, `gabarit verify` must call the file whole only if it holds every byte of an
undisturbed run, the picture must be whole or not there, and the next run must work as if nothing had been."""
import pathlib
import random
import subprocess
import sys
import tempfile
import time


def main():
    build, runs = pathlib.Path(sys.argv[1]).resolve(), int(sys.argv[2])
    moments = random.Random(int(sys.argv[3]) if len(sys.argv) > 3 else 1)
    with tempfile.TemporaryDirectory() as folder:
        folder = pathlib.Path(folder)
        sound, gabarit, picture = folder / "sound.wav", folder / "out.sdif", folder / "out.png"
        subprocess.run([build / "examples/compose", sound], check=True)
        command = [build / "marquen/marquen", "--quiet", "--force", "--input", sound, "--similarity", gabarit,
                   "--picture", picture, "--window_grid_hop", "0.025"]

        def run_undisturbed():
            begin = time.monotonic()
            subprocess.run(command, check=True)
            return time.monotonic() - begin, gabarit.read_bytes(), picture.read_bytes()

        seconds, whole, whole_picture = run_undisturbed()
        counts = dict.fromkeys(["no file", "partial, refused", "whole", "ended before the kill"], 0)
        for run in range(runs):
            gabarit.unlink(missing_ok=True)
            picture.unlink(missing_ok=True)
            job = subprocess.Popen(command)
            if run % 2:  # the few milliseconds of the writing would else be hardly ever met
                while not gabarit.exists() and job.poll() is None:
                    pass
            time.sleep(moments.uniform(0.0, 0.005 if run % 2 else seconds))
            job.kill()
            ended = job.wait() == 0
            verdict = subprocess.run([build / "gabarit/gabarit", "verify", gabarit], capture_output=True).returncode
            bytes_left = gabarit.read_bytes() if gabarit.exists() else None
            assert (verdict == 0) == (bytes_left == whole), f"run {run}: verify ended with {verdict}"
            assert not picture.exists() or picture.read_bytes() == whole_picture, f"run {run}: a partial picture"
            kind = "no file" if bytes_left is None else "partial, refused" if verdict else "whole"
            counts["ended before the kill" if ended else kind] += 1
            if run % 10 == 0:
                assert run_undisturbed()[1:] == (whole, whole_picture), f"run {run}: the next run differs"
                left = {path.name for path in folder.iterdir()} - {"sound.wav", "out.sdif", "out.png"}
                assert all(name.startswith(".part-") for name in left), left
    assert runs < 100 or counts["partial, refused"] > 0, "the writing was never met"
    print(f"{runs} kills: " + ", ".join(f"{kind} {count}" for kind, count in counts.items()))


main()

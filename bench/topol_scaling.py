#!/usr/bin/env python3
"""Times `ravelo topol` on growing numbers of copies of a protein, as whole processes.

usage: topol_scaling.py --program PATH/ravelo [--protein FILE] [--runs N] [--atoms N ...]

For each size it prints the finished atoms, the median wall and processor time of the runs, and the peak
memory. Runs use one thread; files are written to a temporary folder.
"""

import argparse
import os
import pathlib
import statistics
import subprocess
import sys
import tempfile
import time

HERE = pathlib.Path(__file__).resolve().parent
SIZES = [2500, 50000, 100000, 200000, 1000000]


def run_once(command, folder):
    """Wall seconds, processor seconds and peak memory in MiB of one run."""
    start = time.perf_counter()
    process = subprocess.Popen(command, cwd=folder, stdout=subprocess.DEVNULL)
    _, status, usage = os.wait4(process.pid, 0)
    wall = time.perf_counter() - start
    process.returncode = os.waitstatus_to_exitcode(status)
    if process.returncode != 0:
        sys.exit(f"{command[0]} ended with status {process.returncode}")
    return wall, usage.ru_utime + usage.ru_stime, usage.ru_maxrss / 1024


def run_for(result, command, folder):
    """Runs a command that must leave this file: its status is 0 even if it fails."""
    path = os.path.join(folder, result)
    if os.path.exists(path):
        os.remove(path)
    run_once(command, folder)
    if not os.path.exists(path):
        sys.exit(f"{' '.join(command)} left no {result}")


def count_atoms(path):
    with open(path, "rb") as lines:
        return sum(line.startswith((b"ATOM", b"HETATM")) for line in lines)


def main():
    parser = argparse.ArgumentParser(description=__doc__.splitlines()[0])
    parser.add_argument("--program", required=True, type=pathlib.Path)
    parser.add_argument("--protein", type=pathlib.Path, default=HERE.parent / "examples/1ubq.pdb")
    parser.add_argument("--runs", type=int, default=5)
    parser.add_argument("--atoms", type=int, nargs="+", default=SIZES)
    options = parser.parse_args()
    program = str(options.program.resolve())

    with tempfile.TemporaryDirectory() as folder:
        single = os.path.join(folder, "copies.pdb")

        def make_copies(copies):
            subprocess.run(
                [sys.executable, HERE / "make_copies.py", options.protein, str(copies), single],
                check=True,
            )

        command = [program, "topol", "-i", "copies.pdb", "-o", "built"]
        make_copies(1)
        run_for("built.pdb", command, folder)
        per_copy = count_atoms(os.path.join(folder, "built.pdb"))

        print(f"{'atoms':>9} {'copies':>7} {'wall s':>8} {'cpu s':>8} {'peak MiB':>9}")
        for atoms in options.atoms:
            copies = max(1, round(atoms / per_copy))
            make_copies(copies)
            run_for("built.pdb", command, folder)  # also warms the file cache
            runs = [run_once(command, folder) for _ in range(options.runs)]
            finished = count_atoms(os.path.join(folder, "built.pdb"))
            wall, cpu, memory = (statistics.median(figures) for figures in zip(*runs))
            print(f"{finished:>9} {copies:>7} {wall:>8.3f} {cpu:>8.3f} {memory:>9.0f}", flush=True)


if __name__ == "__main__":
    main()

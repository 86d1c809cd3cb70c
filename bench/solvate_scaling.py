#!/usr/bin/env python3
"""Times `ravelo solvate` on growing boxes and on a large molecule, as whole processes.

usage: solvate_scaling.py --program PATH/ravelo [--protein FILE] [--runs N]

Two kinds of runs: a protein in cubes of 60 to 250 Angstrom, and blocks of copies of it, each in a box
that leaves 15 Angstrom of water on every side. For each it prints the atoms of the molecule and of the
result, the median wall and processor time of the runs, and the peak memory. Both output files are
written, to a temporary folder. Runs use one thread.
"""

import argparse
import os
import pathlib
import statistics
import tempfile

from topol_scaling import count_atoms, run_for, run_once

HERE = pathlib.Path(__file__).resolve().parent
CUBES = [60, 100, 150, 250]
BLOCKS = [2, 4, 7]  # copies along each axis
GAP = 5.0  # Angstrom between neighbouring copies
MARGIN = 15.0
CHAINS = "ABCDEFGHIJKLMNOPQRSTUVWXYZ"


def read_atoms(path):
    with open(path, encoding="ascii") as file:
        lines = [line.rstrip("\n") for line in file if line.startswith("ATOM")]
    return [(line, [float(line[at:at + 8]) for at in (30, 38, 46)]) for line in lines]


def write_block(atoms, edge, path):
    """Writes copies around the origin and returns the extents of a box around them."""
    steps = []
    for axis in range(3):
        values = [place[axis] for _, place in atoms]
        steps.append(max(values) - min(values) + GAP)
    numbers = [(i, j, k) for i in range(edge) for j in range(edge) for k in range(edge)]
    with open(path, "w", encoding="ascii") as out:
        for copy, number in enumerate(numbers):
            chain = CHAINS[copy % len(CHAINS)]
            shift = [step * (n - edge / 2) for step, n in zip(steps, number)]
            for line, place in atoms:
                moved = "".join(f"{x + d:8.3f}" for x, d in zip(place, shift))
                out.write(f"{line[:21]}{chain}{line[22:30]}{moved}{line[54:]}\n")
        out.write("END\n")
    return [step * edge + 2 * MARGIN for step in steps]


def main():
    parser = argparse.ArgumentParser(description=__doc__.splitlines()[0])
    parser.add_argument("--program", required=True, type=pathlib.Path)
    parser.add_argument("--protein", type=pathlib.Path, default=HERE.parent / "examples/1ubq.pdb")
    parser.add_argument("--runs", type=int, default=5)
    options = parser.parse_args()
    program = str(options.program.resolve())
    atoms = read_atoms(options.protein)

    print(f"{'molecule':>9} {'result':>9} {'wall s':>8} {'cpu s':>8} {'peak MiB':>9}")
    with tempfile.TemporaryDirectory() as folder:
        source, built, result = (os.path.join(folder, name)
                                 for name in ("made.pdb", "built.pdb", "out.pdb"))
        runs = [(1, [cube] * 3) for cube in CUBES] + [(edge, None) for edge in BLOCKS]
        made = 0
        for edge, box in runs:
            if edge != made:
                around = write_block(atoms, edge, source)
                run_for("built.pdb", [program, "topol", "-i", "made.pdb", "-o", "built"], folder)
                made = edge
            command = [program, "solvate", "-i", "built.pdb", "-t", "built.psf", "-o", "out",
                       "--box", " ".join(map(str, box or around))]
            run_for("out.pdb", command, folder)  # also warms the file cache
            wall, cpu, memory = (statistics.median(figures) for figures in
                                 zip(*(run_once(command, folder) for _ in range(options.runs))))
            print(f"{count_atoms(built):>9} {count_atoms(result):>9} {wall:>8.3f} {cpu:>8.3f} "
                  f"{memory:>9.0f}", flush=True)


if __name__ == "__main__":
    main()

#!/usr/bin/env python3
"""Times `ravelo ligand` on growing boxes of molecules, or blocks of a crystal, as whole processes.

usage: ligand_scaling.py --program PATH/ravelo [--molecules FILE ...] [--runs N] [--atoms N ...]
       ligand_scaling.py --program PATH/ravelo --crystal FILE --pbc "A B C 90 90 90" [...]

A box holds XYZ files (by default the example molecules) by turns on a grid. A block is as many cells
of a crystal as one large cell, in the same shape. For each size it prints the atoms, the median wall
and processor time of the runs, the peak memory, and the exponent with which processor time has grown
since the size before (1 is linear). Runs use one thread; files are written to a temporary folder.
"""

import argparse
import itertools
import math
import os
import pathlib
import statistics
import tempfile

from topol_scaling import count_atoms, run_for, run_once

HERE = pathlib.Path(__file__).resolve().parent
EXAMPLES = [HERE.parent / "examples" / name for name in ("aspirin.xyz", "caffeine.xyz")]
SIZES = [1000, 10000, 100000, 200000, 1000000]
SPACING = 12.0  # Angstrom between neighbouring molecules of a box, which do not touch then


def read_xyz(path):
    """(element, place) of each atom."""
    with open(path, encoding="utf-8") as file:
        lines = file.read().splitlines()
    words = (line.split() for line in lines[2:2 + int(lines[0])])
    return [(element, tuple(map(float, place))) for element, *place in words]


def grid(edge):
    """Places of a cube of this edge, in steps."""
    return itertools.product(range(edge), repeat=3)


def write_copies(copies, path):
    """Writes (molecule, shift) pairs to an XYZ file."""
    count = sum(len(molecule) for molecule, _ in copies)
    with open(path, "w", encoding="ascii") as out:
        out.write(f"{count}\ncopies\n")
        for molecule, shift in copies:
            for element, place in molecule:
                x, y, z = map(sum, zip(place, shift))
                out.write(f"{element} {x:.6f} {y:.6f} {z:.6f}\n")


def make_box(molecules, atoms, path):
    per_molecule = sum(map(len, molecules)) / len(molecules)
    copies = max(1, round(atoms / per_molecule))
    edge = math.ceil(copies ** (1.0 / 3.0))
    write_copies([(molecules[number % len(molecules)], [SPACING * step for step in steps])
                  for number, steps in enumerate(itertools.islice(grid(edge), copies))], path)


def vectors_of(lengths, degrees):
    """Lattice vectors, the first along x and the second in the xy plane."""
    (a, b, c), (alpha, beta, gamma) = lengths, map(math.radians, degrees)
    q = (math.cos(alpha) - math.cos(beta) * math.cos(gamma)) / math.sin(gamma)
    return ((a, 0.0, 0.0), (b * math.cos(gamma), b * math.sin(gamma), 0.0),
            (c * math.cos(beta), c * q, c * math.sqrt(math.sin(beta) ** 2 - q * q)))


def make_block(cell, pbc, atoms, path):
    """Writes the block and returns its own six numbers."""
    edge = max(1, round((atoms / len(cell)) ** (1.0 / 3.0)))
    vectors = vectors_of(pbc[:3], pbc[3:])
    write_copies([(cell, [sum(n * vector[axis] for n, vector in zip(steps, vectors))
                          for axis in range(3)]) for steps in grid(edge)], path)
    return [edge * length for length in pbc[:3]] + pbc[3:]


def parse_arguments():
    parser = argparse.ArgumentParser(description=__doc__.splitlines()[0])
    parser.add_argument("--program", required=True, type=pathlib.Path)
    parser.add_argument("--molecules", type=pathlib.Path, nargs="+", default=EXAMPLES)
    parser.add_argument("--crystal", type=pathlib.Path)
    parser.add_argument("--pbc", help="the six numbers of the cell")
    parser.add_argument("--runs", type=int, default=5)
    parser.add_argument("--atoms", type=int, nargs="+", default=SIZES)
    options = parser.parse_args()
    if bool(options.crystal) != bool(options.pbc):
        parser.error("--crystal and --pbc belong together")
    return options


def main():
    options = parse_arguments()
    program = str(options.program.resolve())
    molecules = [read_xyz(path) for path in options.molecules]
    crystal = read_xyz(options.crystal) if options.crystal else None
    last = None
    print(f"{'atoms':>9} {'wall s':>8} {'cpu s':>8} {'peak MiB':>9} {'exponent':>9}")
    with tempfile.TemporaryDirectory() as folder:
        source, result = (os.path.join(folder, name) for name in ("made.xyz", "out.pdb"))
        for atoms in options.atoms:
            command = [program, "ligand", "-i", "made.xyz", "-o", "out"]
            if crystal:
                pbc = make_block(crystal, list(map(float, options.pbc.split())), atoms, source)
                command += ["--pbc", " ".join(map(str, pbc))]
            else:
                make_box(molecules, atoms, source)
            run_for("out.pdb", command, folder)  # also warms the file cache
            made = count_atoms(result)
            runs = [run_once(command, folder) for _ in range(options.runs)]
            wall, cpu, memory = (statistics.median(figures) for figures in zip(*runs))
            exponent = math.log(cpu / last[1]) / math.log(made / last[0]) if last else math.nan
            print(f"{made:>9} {wall:>8.3f} {cpu:>8.3f} {memory:>9.0f} {exponent:>9.2f}", flush=True)
            last = made, cpu


if __name__ == "__main__":
    main()

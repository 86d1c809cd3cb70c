#!/usr/bin/env python3
"""Times `ravelo remove` and `ravelo pdb` on growing molecules, as whole processes.

usage: remove_scaling.py --program PATH/ravelo [--protein FILE] [--runs N] [--atoms N ...]

A molecule is copies of a protein as `ravelo topol` completes it. For `remove`, waters, ions and a
ligand stand behind each copy, and all options are on: waters, ions, ligands, two chains, hydrogen
atoms. `pdb` reads the molecule with its PSF file and wraps it into a box. For each size it prints the
atoms, the median wall and processor time of the runs, the peak memory, and the exponent with which
processor time has grown since the size before (1 is linear). Runs use one thread; files are written
to a temporary folder.
"""

import argparse
import math
import os
import pathlib
import statistics
import subprocess
import sys
import tempfile

from topol_scaling import count_atoms, run_for, run_once

HERE = pathlib.Path(__file__).resolve().parent
SIZES = [2500, 50000, 100000, 200000, 1000000]
# Behind each copy of the protein.
COMPANY = (100 * [("HOH", ("O", "H1", "H2"))] + 10 * [("SOD", ("SOD",))] + 10 * [("CLA", ("CLA",))]
           + [("LIG", ("C1", "C2", "O1", "H11", "H12", "H13", "H21", "H22", "HO1"))])
REMOVE = ["remove", "-i", "mixed.pdb", "--waters", "--ions", "--ligands", "--chains", "B d", "--Hs"]
PDB = ["pdb", "-i", "built.pdb", "-t", "built.psf", "--box", "300 300 300"]


def write_mixed(built, copies, path):
    """Writes the protein's copies with their company."""
    with open(built, encoding="ascii") as file:
        lines = [line for line in file if line.startswith("ATOM")]
    per_copy = len(lines) // copies
    with open(path, "w", encoding="ascii") as out:
        for copy in range(copies):
            out.writelines(lines[copy * per_copy:(copy + 1) * per_copy])
            for number, (residue, names) in enumerate(COMPANY, start=1):
                for name in names:
                    out.write(f"HETATM    1  {name:<4}{residue} W{number:4d}    "
                              f"{number:8.3f}{0.0:8.3f}{0.0:8.3f}  1.00  0.00{'':14}\n")


def time_runs(name, command, folder, result, atoms, runs, last):
    """Prints a line of the table and returns its atoms and processor seconds."""
    run_for(result, command, folder)  # also warms the file cache
    wall, cpu, memory = (statistics.median(figures)
                         for figures in zip(*(run_once(command, folder) for _ in range(runs))))
    exponent = math.log(cpu / last[1]) / math.log(atoms / last[0]) if last else math.nan
    print(f"{name:<6} {atoms:>9} {wall:>8.3f} {cpu:>8.3f} {memory:>9.0f} {exponent:>9.2f}", flush=True)
    return atoms, cpu


def main():
    parser = argparse.ArgumentParser(description=__doc__.splitlines()[0])
    parser.add_argument("--program", required=True, type=pathlib.Path)
    parser.add_argument("--protein", type=pathlib.Path, default=HERE.parent / "examples/1ubq.pdb")
    parser.add_argument("--runs", type=int, default=5)
    parser.add_argument("--atoms", type=int, nargs="+", default=SIZES)
    options = parser.parse_args()
    program = str(options.program.resolve())

    with tempfile.TemporaryDirectory() as folder:
        single, built, mixed = (os.path.join(folder, name)
                                for name in ("copies.pdb", "built.pdb", "mixed.pdb"))

        def build(copies):
            subprocess.run([sys.executable, HERE / "make_copies.py", options.protein, str(copies),
                            single], check=True)
            run_for("built.pdb", [program, "topol", "-i", "copies.pdb", "-o", "built"], folder)

        build(1)
        per_copy = count_atoms(built)
        company = sum(len(names) for _, names in COMPANY)
        last = {}
        print(f"{'mode':<6} {'atoms':>9} {'wall s':>8} {'cpu s':>8} {'peak MiB':>9} {'exponent':>9}")
        for atoms in options.atoms:
            copies = max(1, round(atoms / (per_copy + company)))
            build(copies)
            write_mixed(built, copies, mixed)
            last["remove"] = time_runs("remove", [program, *REMOVE], folder, "mixed-remove.pdb",
                                       count_atoms(mixed), options.runs, last.get("remove"))
            build(max(1, round(atoms / per_copy)))
            last["pdb"] = time_runs("pdb", [program, *PDB], folder, "built-pdb.pdb",
                                    count_atoms(built), options.runs, last.get("pdb"))


if __name__ == "__main__":
    main()

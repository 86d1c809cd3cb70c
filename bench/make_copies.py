#!/usr/bin/env python3
"""Writes a PDB file of translated copies of a molecule, each a chain of its own.

usage: make_copies.py MOLECULE.pdb COPIES OUTPUT.pdb
"""

import sys

CHAINS = "ABCDEFGHIJKLMNOPQRSTUVWXYZ"
SPACING = 60.0  # Angstrom between neighbouring copies
EDGE = 12  # copies along x and along y, so that coordinates stay within their eight columns


def main():
    if len(sys.argv) != 4:
        sys.exit(__doc__)
    source, copies, output = sys.argv[1], int(sys.argv[2]), sys.argv[3]
    with open(source, encoding="ascii") as lines:
        atoms = [line.rstrip("\n") for line in lines if line.startswith("ATOM")]
    points = [[float(line[i : i + 8]) for i in (30, 38, 46)] for line in atoms]
    with open(output, "w", encoding="ascii") as out:
        for copy in range(copies):
            # Centred on the origin, so that a thousand copies still fit.
            shift = [
                (copy % EDGE - EDGE // 2) * SPACING,
                (copy // EDGE % EDGE - EDGE // 2) * SPACING,
                (copy // EDGE**2 - EDGE // 2) * SPACING,
            ]
            chain = CHAINS[copy % len(CHAINS)]
            for line, point in zip(atoms, points):
                place = "".join(f"{x + d:8.3f}" for x, d in zip(point, shift))
                out.write(f"{line[:21]}{chain}{line[22:30]}{place}{line[54:]}\n")
        out.write("END\n")


if __name__ == "__main__":
    main()

#!/usr/bin/env python3
"""Equilibrium bond lengths of the force field, by pair of atom types.

Makes the table that the checks use where the published parameter files are not at hand:

    bond_lengths.py FOLDER > bond_lengths.tsv

FOLDER holds the published parameter files (par_all36_prot.prm, par_all36_na.prm and the water and
ion file toppar_water_ions.str).
"""

import sys
from pathlib import Path

FILES = ("par_all36_prot.prm", "par_all36_na.prm", "toppar_water_ions.str")
OTHER_SECTIONS = ("NONBONDED", "NBONDED", "HBOND")   # the heads that more words follow


def bonds_in(path):
    """The pairs of types and their lengths in the BONDS section of a parameter file."""
    in_bonds = False
    for line in path.read_text(encoding="latin-1").splitlines():
        words = line.split("!")[0].split()
        if not words:
            continue
        if len(words) == 1 or words[0].upper().startswith(OTHER_SECTIONS):
            in_bonds = words[0].upper() in ("BOND", "BONDS")
        elif in_bonds and len(words) >= 4:
            yield tuple(sorted(word.upper() for word in words[:2])), float(words[3])


def read_parameter_folder(folder):
    """Lengths in Angstrom by sorted pair of types; the first file that has a pair wins."""
    lengths = {}
    for name in FILES:
        path = Path(folder) / name
        if path.exists():
            for types, length in bonds_in(path):
                lengths.setdefault(types, length)
    if not lengths:
        sys.exit(f"{folder} has none of the files {', '.join(FILES)}")
    return lengths


def read_table(path):
    """The table that `main` writes."""
    lengths = {}
    for line in Path(path).read_text(encoding="utf-8").splitlines():
        if line and not line.startswith("#"):
            one, other, length = line.split("\t")
            lengths[one, other] = float(length)
    return lengths


def main():
    if len(sys.argv) != 2:
        sys.exit(__doc__)
    print("# Equilibrium bond lengths in Angstrom by pair of atom types, of the CHARMM36 additive force")
    print("# field. Written by bond_lengths.py from the published parameter files.")
    for (one, other), length in sorted(read_parameter_folder(sys.argv[1]).items()):
        print(f"{one}\t{other}\t{length:.4f}")


if __name__ == "__main__":
    main()

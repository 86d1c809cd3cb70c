#!/usr/bin/env python3
"""Prints the equilibrium bond lengths and angles of the force field, by atom types.

    python3 scripts/make_equilibrium_table.py DIR > tests/data/equilibrium.tsv

The tests, check_build.py and check_corpus.py measure built molecules against this table. DIR holds
the published parameter files.
"""

import sys

from topology.library_files import read_parameters


def main():
    parameters = read_parameters(sys.argv[1])
    print("# Types of the bonded atoms, and their distance (two types, Angstrom) or angle (three "
          "types, degrees).")
    for types, value in parameters.all_values():
        print("\t".join(types) + f"\t{value:.4f}")


if __name__ == "__main__":
    main()

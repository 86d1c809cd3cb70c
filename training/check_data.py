#!/usr/bin/env python3
"""Checks that no molecule of the validation file is among those that networks are trained with.

    python3 training/check_data.py

Molecules count as the same if their atoms have the same surroundings of six bonds, which is all that the
networks see of them. The exit status is 1 if one is there twice and 77 without numpy or a C++ compiler.
"""

import sys

import one_thread  # noqa: F401  ahead of numpy

try:
    import numpy as np
    from kernels import missing_tool
    from molecules import (DATA, PUBLISHED_SETS, SET_NAMES, VALIDATION, drug_like_atoms, joined,
                           published_atoms, read_published)
    from surroundings import Surroundings
except ImportError:
    np = None

SKIPPED = 77


def molecule_keys(atoms):
    """The sorted classes of each molecule's atoms, and the set that the molecule is of."""
    classes = Surroundings(atoms).classes[2]
    order = np.lexsort((classes, atoms.molecules))
    starts = np.searchsorted(atoms.molecules[order], np.arange(1, atoms.num_molecules()))
    keys = [part.tobytes() for part in np.split(classes[order], starts)]
    sources = atoms.sources[np.searchsorted(atoms.molecules, np.arange(atoms.num_molecules()))]
    return keys, sources


def main():
    if np is None:
        print("numpy is not there: nothing is checked, skipped")
        return SKIPPED
    if missing_tool():
        print(f"{missing_tool()} is not there: nothing is checked, skipped")
        return SKIPPED
    atoms = joined([published_atoms(read_published(source), source) for source in PUBLISHED_SETS]
                   + [drug_like_atoms()])
    keys, sources = molecule_keys(atoms)
    validation = {key for key, source in zip(keys, sources) if source == VALIDATION}
    shared = [source for key, source in zip(keys, sources)
              if source != VALIDATION and key in validation]
    for source in sorted(set(shared)):
        print(f"{DATA}: {shared.count(source)} molecules of the set {SET_NAMES[source]} are in "
              "the validation file as well", file=sys.stderr)
    print(f"{len(validation)} different molecules to validate with, {len(keys)} in all")
    return 1 if shared else 0


if __name__ == "__main__":
    sys.exit(main())

#!/usr/bin/env python3
"""Checks the rule for types around carbons with fluorine against published types and by hand.

    python3 training/check_fluorine_rule.py

The exit status is 1 if a type is wrong and 77 without numpy or a C++ compiler.
"""

import sys

import one_thread  # noqa: F401  ahead of numpy

try:
    import numpy as np
    import fluorine_rule
    from kernels import missing_tool
    from molecules import (NO_LABEL, PUBLISHED_SETS, TRAIN, VARIANT, bare_atoms, published_atoms,
                           read_published, tables, type_index)
    from variants import EditedMolecule, attach
except ImportError:
    np = None

SKIPPED = 77
C, H, F = 6, 1, 9
LEAST_PUBLISHED = {H: 24, C: 60, F: 150}  # atoms that the rule must tell a type for

# Groups in the notation of variants.py, bound to a methyl group, and the types of their carbons and
# fluorines and of hydrogens beside fluorine; a hyphen where the rule tells nothing.
EXAMPLES = (
    ("C0 F0@0 F0@0 C3@0", "CG312 FGA2 FGA2 -"),
    ("C0 F0@0 F0@0 C0@0 F0@3 F0@3 F0@3", "CG312 FGA2 FGA2 CG302 FGA3 FGA3 FGA3"),
    ("C2 F0@0", "CG322 FGA1 HGA6 HGA6"), ("C1 F0@0 F0@0", "CG312 FGA2 FGA2 HGA7"),
    # a fluorocyclopropane, difluorocyclopentane, difluorocyclohexane, fluorocycloheptane
    ("C1 C1@0 F0@1 C2@0,1", "- - FGA1 - HGA6"),
    ("C1 C0@0 F0@1 F0@1 C2@1 C2@4 C2@0,5", "- - FGA2 FGA2 - - -"),
    ("C1 C0@0 F0@1 F0@1 C2@1 C2@4 C2@5 C2@0,6", "- CG2R66 FGA2 FGA2 - - - -"),
    ("C1 C1@0 F0@1 C2@1 C2@3 C2@4 C2@5 C2@0,6", "- CG322 FGA1 - - - - - HGA6"),
    # fluorobenzene, carbonyl fluoride, no fluorine
    ("C0 C0@0 F0@1 C1@1 C1@3 C1@4 C1@0,5", "- - - - - - -"), ("C0 O0@0 F0@0", "- -"),
    ("C2 C3@0", "- -"))


def wrong_published():
    wrong, told = [], dict.fromkeys(LEAST_PUBLISHED, 0)
    for source in PUBLISHED_SETS:
        atoms = published_atoms(read_published(source), source)
        labels = fluorine_rule.labels_by_rule(atoms)
        for atom in np.flatnonzero((labels != NO_LABEL) & (atoms.labels != NO_LABEL)):
            element = atoms.elements[atom]
            told[element] += 1
            if labels[atom] != atoms.labels[atom]:
                wrong.append(f"published {tables.names[element][atoms.labels[atom]]} of molecule "
                             f"{atoms.molecules[atom]}: {tables.names[element][labels[atom]]}")
    print("published types told by the rule:", told)
    return wrong + [f"element {element}: {told[element]} published types told, fewer than {least}"
                    for element, least in LEAST_PUBLISHED.items() if told[element] < least]


def example(group):
    """The graph of a group on a methyl group."""
    molecule = EditedMolecule((C, H, H, H), ((0, 1), (0, 2), (0, 3)))
    attach(molecule, 0, group)
    return molecule.graph()


def wrong_examples():
    wrong = []
    for group, expected in EXAMPLES:
        atoms = bare_atoms([example(group)], VARIANT)
        labels = fluorine_rule.labels_by_rule(atoms)
        names = ["-" if label == NO_LABEL else tables.names[element][label]
                 for element, label in zip(atoms.elements, labels)]
        # The methyl's carbon comes first; of hydrogens only those with a type are listed.
        found = [name for element, name in zip(atoms.elements[1:], names[1:])
                 if element in (C, F) or element == H and name != "-"]
        if " ".join(found) != expected:
            wrong.append(f"{group}: {' '.join(found)} instead of {expected}")
    return wrong


def wrong_corrections():
    """Labels of other sources are corrected, published ones and missing ones are not."""
    wrong = []
    label = type_index[F]["FGA3"]
    for source, given, corrected in ((VARIANT, label, 2), (TRAIN, label, 0), (VARIANT, NO_LABEL, 0)):
        atoms = bare_atoms([example("C0 F0@0 F0@0 C3@0")], source)
        is_fluorine = atoms.elements == F
        atoms.labels[is_fluorine] = given
        number = fluorine_rule.apply_to(atoms)
        left = type_index[F]["FGA2"] if corrected else given
        if number != corrected or (atoms.labels[is_fluorine] != left).any():
            wrong.append(f"label {given} of source {source}: {number} corrected, "
                         f"{atoms.labels[is_fluorine]} left")
    return wrong


def main():
    missing = "numpy" if np is None else missing_tool()
    if missing:
        print(f"{missing} is not there: nothing is checked, skipped")
        return SKIPPED
    wrong = wrong_published() + wrong_examples() + wrong_corrections()
    print("\n".join(wrong[:20]) if wrong else "all types are right")
    return 1 if wrong else 0


if __name__ == "__main__":
    sys.exit(main())

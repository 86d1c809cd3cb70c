#!/usr/bin/env python3
"""Checks that the groups and edits of variants.py keep all valences.

    python3 training/check_variants.py

A molecule is in order if double and triple bonds can be set so that every atom has as many bonds as
its element wants. Groups are bound to a methyl's carbon; edits are made many times on molecules
that they are meant for. Needs nothing but Python. The exit status is 1 if a molecule is out of order.
"""

import random
import sys

import variants
from variants import BR, C, CL, F, H, I, N, O, P, S, EditedMolecule

VALENCES = {H: (1,), C: (4,), N: (3, 4), O: (2, 1), F: (1,), P: (5,), S: (2, 4, 6), CL: (1,),
            BR: (1,), I: (1,)}
# In the notation of groups, bound to a methyl group: phenyl, 4-pyridyl, imidazolyl, indolyl,
# cyclohexyl, a chain with a hydroxyl group, a pyridone, a hydroxypyridine.
MOLECULES = (
    "C0 C1@0 C1@1 C1@2 C1@3 C1@0,4", "C0 C1@0 C1@1 N0@2 C1@3 C1@0,4",
    "C0 N0@0 C1@1 C1@2 N1@0,3", "C0 C1@0 N1@1 C0@2 C1@3 C1@4 C1@5 C1@6 C0@0,3,7",
    "C1 C2@0 C2@1 C2@2 C2@3 C2@0,4", "C2 C2@0 C2@1 C2@2 O1@3",
    "C0 C1@0 C1@1 C0@2 O0@3 N1@3 C1@0,5", "C0 C1@0 C1@1 C0@2 O1@3 N0@3 C1@0,5")
ROUNDS = 300


def methylated(group):
    molecule = EditedMolecule((C, H, H, H), ((0, 1), (0, 2), (0, 3)))
    variants.attach(molecule, 0, group)
    return molecule


def wanted_bonds(molecule, atom):
    """What an atom's bond orders may sum up to."""
    element, neighbours = molecule.elements[atom], molecule.neighbours[atom]
    charged = element == O and len(neighbours) == 1 and is_acid(molecule, neighbours[0])
    return VALENCES[element][:1] if element == O and not charged else VALENCES[element]


def is_acid(molecule, atom):
    """Whether an oxygen on this atom may carry a charge: in carboxylates, nitro groups and the like."""
    ends = [other for other in molecule.neighbours[atom]
            if molecule.elements[other] == O and len(molecule.neighbours[other]) == 1]
    return molecule.elements[atom] in (N, P, S) or len(ends) > 1


def can_be_filled(missing, bonds):
    """Whether bonds can be strengthened so that each atom gets one of its missing numbers."""
    if not bonds:
        return all(0 in numbers for numbers in missing.values())
    (i, j), rest = bonds[0], bonds[1:]
    for order in range(min(2, max(missing[i]), max(missing[j])) + 1):
        left = dict(missing)
        for atom in (i, j):
            left[atom] = [number - order for number in missing[atom] if number >= order]
        # An atom must get what it lacks from the bonds behind this one.
        if all(left[atom] and (0 in left[atom] or any(atom in bond for bond in rest))
               for atom in (i, j)) and can_be_filled(left, rest):
            return True
    return False


def is_in_order(molecule):
    missing = {atom: [number - len(neighbours) for number in wanted_bonds(molecule, atom)
                      if number >= len(neighbours)]
               for atom, neighbours in molecule.neighbours.items()}
    if not all(missing.values()):
        return False
    bonds = [(i, j) for i, others in molecule.neighbours.items() for j in others
             if i < j and max(missing[i]) and max(missing[j])]
    return can_be_filled(missing, bonds)


def told(molecule):
    elements, bonds = molecule.graph()
    return f"elements {elements}, bonds {bonds}"


def main():
    chance, wrong = random.Random(1), []
    starts = [methylated(group) for group in MOLECULES]
    wrong += [f"group {group}" for group in MOLECULES + variants.SUBSTITUENTS + variants.RINGS
              if not is_in_order(methylated(group))]
    for _, edit in variants.EDITS:
        made = 0
        for _ in range(ROUNDS):
            molecule = chance.choice(starts).copy()
            if edit(molecule, chance, starts):
                made += 1
                if not is_in_order(molecule):
                    wrong.append(f"{edit.__name__}: {told(molecule)}")
        if not made:
            wrong.append(f"{edit.__name__} was never made")
        print(f"{edit.__name__}: made {made} times")
    print("\n".join(wrong[:20]) if wrong else "all valences are kept")
    return 1 if wrong else 0


if __name__ == "__main__":
    sys.exit(main())

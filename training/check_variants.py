#!/usr/bin/env python3
"""Checks that variants have possible valences.

    python3 training/check_variants.py

Groups are bound to a methyl's carbon. Edits are made many times on molecules that they are meant for,
and must keep all valences of these; for molecules on which some edits cannot, variants_of must drop
what they spoil. The check of valences is compared with one that tries all bond orders. Needs nothing but
Python. The exit status is 1 if a molecule is out of order.
"""

import itertools
import random
import sys

import variants
from settings import VariantSettings
from valences import C, H, is_in_order, possible_valences
from variants import EditedMolecule

# In the notation of groups, bound to a methyl group: phenyl, 4-pyridyl, imidazolyl, indolyl,
# cyclohexyl, a chain with a hydroxyl group, a pyridone, a hydroxypyridine.
MOLECULES = (
    "C0 C1@0 C1@1 C1@2 C1@3 C1@0,4", "C0 C1@0 C1@1 N0@2 C1@3 C1@0,4",
    "C0 N0@0 C1@1 C1@2 N1@0,3", "C0 C1@0 N1@1 C0@2 C1@3 C1@4 C1@5 C1@6 C0@0,3,7",
    "C1 C2@0 C2@1 C2@2 C2@3 C2@0,4", "C2 C2@0 C2@1 C2@2 O1@3",
    "C0 C1@0 C1@1 C0@2 O0@3 N1@3 C1@0,5", "C0 C1@0 C1@1 C0@2 O1@3 N0@3 C1@0,5")
# Ammonium, carboxylate, furyl, thienyl, pyrrolyl, a ring with diene and nitrogen, piperidone, barbiturate.
DELICATE_MOLECULES = (
    "N3", "N2 C3@0", "C0 O0@0 O0@0", "C0 C1@0 C1@1 C1@2 O0@0,3", "C0 C1@0 C1@1 C1@2 S0@0,3",
    "N0 C1@0 C1@1 C1@2 C1@0,3", "C1 C2@0 N1@1 C2@2 C2@3 C0@0,4 O0@5", "C0 N0@0 C1@1 C1@2 C2@3 C2@0,4",
    "C1 C0@0 N1@1 C0@2 N1@3 C0@0,4 O0@1 O0@3 O0@5")
# Carbons with three neighbours that find no partner, oxygen and sulphur with one bond, nitrogen with
# four bonds and no charge.
IMPOSSIBLE_MOLECULES = ("C2", "O0", "S0", "C1 C1@0 C1@1", "C0 C1@0 N1@1 C1@2 C1@0,3 C2@0",
                        "C0 C1@0 C1@1 N0@2 C1@3 C2@0,4")
ROUNDS = 300
MOST_BONDS_TRIED = 9  # for which all orders are tried


def methylated(group):
    molecule = EditedMolecule((C, H, H, H), ((0, 1), (0, 2), (0, 3)))
    variants.attach(molecule, 0, group)
    return molecule


def plainly_in_order(molecule, bonds, charged_nitrogen):
    """As is_in_order, by trying all orders of the bonds between heavy atoms."""
    for orders in itertools.product((1, 2, 3), repeat=len(bonds)):
        sums = {atom: len(neighbours) for atom, neighbours in molecule.neighbours.items()}
        for bond, order in zip(bonds, orders):
            for atom in bond:
                sums[atom] += order - 1
        if all(total in possible_valences(molecule, atom, charged_nitrogen)
               for atom, total in sums.items()):
            return True
    return False


def differs_from_plain(molecule, charged_nitrogen):
    bonds = [(i, j) for i in molecule.elements for j in molecule.heavy_neighbours(i)
             if i < j and molecule.elements[i] != H]
    return (len(bonds) <= MOST_BONDS_TRIED
            and is_in_order(molecule, charged_nitrogen)
            != plainly_in_order(molecule, bonds, charged_nitrogen))


def told(molecule):
    elements, bonds = molecule.graph()
    return f"elements {elements}, bonds {bonds}"


def wrong_groups():
    groups = (*MOLECULES, *DELICATE_MOLECULES, *variants.SUBSTITUENTS, *variants.RINGS)
    return ([f"group {group}" for group in groups if not is_in_order(methylated(group))]
            + [f"impossible group {group}" for group in IMPOSSIBLE_MOLECULES
               if is_in_order(methylated(group))])


def wrong_edits(chance):
    wrong = []
    starts = [methylated(group) for group in MOLECULES]
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
    return wrong


def wrong_variants():
    starts = [methylated(group).graph() for group in DELICATE_MOLECULES]
    made = variants.variants_of(starts, starts,
                                VariantSettings(seed=1, per_molecule=ROUNDS, edit_counts=(1, 2)))
    print(f"{len(made)} variants of delicate molecules")
    return [f"variant: elements {elements}, bonds {bonds}" for elements, bonds in made
            if not is_in_order(EditedMolecule(elements, bonds))]


def wrong_checks(chance):
    """Where the check of valences and the plain one differ, on edited molecules before any is dropped."""
    starts = [methylated(group) for group in DELICATE_MOLECULES]
    edited = [variants.variant_of(chance.choice(starts), chance, starts, (1, 2))
              for _ in range(ROUNDS)]
    return [f"check of valences: {told(molecule)}" for molecule in edited if molecule
            for charged_nitrogen in (False, True) if differs_from_plain(molecule, charged_nitrogen)]


def main():
    chance = random.Random(1)
    wrong = wrong_groups() + wrong_edits(chance) + wrong_variants() + wrong_checks(chance)
    print("\n".join(wrong[:20]) if wrong else "all valences are possible")
    return 1 if wrong else 0


if __name__ == "__main__":
    sys.exit(main())

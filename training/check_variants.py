#!/usr/bin/env python3
"""Checks that variants have possible valences.

    python3 training/check_variants.py

Groups are bound to a methyl's carbon. Edits are made many times on molecules that they are meant for,
and all but careless ones must keep all valences of these; an edit that cannot be made must change
nothing. For molecules on which some edits cannot keep valences, variants_of must drop what they spoil.
Groups to fuse and paths along double bonds are looked at one by one. The check of valences is compared
with one that tries all bond orders. Needs nothing but Python. The exit status is 1 if a molecule is out
of order.
"""

import itertools
import random
import sys

import variants
from settings import VariantSettings
from valences import C, F, H, is_in_order, possible_valences
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
# These do not ask whether the bonds that are left can be set; with the number of atoms that they add.
CARELESS_EDITS = {variants.add_hydrogens: 2, variants.take_hydrogens: -2}
# Sizes of the ring that the atom added last, hydrogens apart, must be in.
RING_SIZES = {variants.bridge: (3, 4, 5), variants.fuse_ring: (5, 6)}
# Chains of CH, with CH2 and N among them, a ring and a quinone, bound to a methyl: where to start, and
# where _along_double_bonds ends. The methyl's carbon is 0, the atoms of the group follow.
PATHS = (("C1 C1@0 C1@1 C1@2 C1@3 C1@4 C1@5 C3@6", 0, [1, 3, 5]),
         ("C1 C1@0 C1@1 C1@2 C1@3 C1@4 C1@5 C3@6", 4, [1, 3, 5, 7]),
         ("C1 C1@0 C2@1 C1@2 C1@3 C3@4", 0, [1, 3]), ("C1 N0@0 C1@1 O0@2", 4, [1, 3]),
         ("C0 C1@0 C1@1 C1@2 C1@3 C1@0,4", 0, [1, 3, 5]),
         ("C0 C0@0 O0@1 C1@1 C1@3 C0@4 O0@5 C1@0,5", 3, [0, 2, 5, 7, 8]))
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


def heavy_atoms(molecule):
    return [atom for atom, element in molecule.elements.items() if element != H]


def wrong_fused():
    """Groups that fused to ethane do not make a ring of five or six and set all bonds by themselves."""
    wrong = []
    for group in variants.FUSED:
        molecule = EditedMolecule((C, C, H, H, H, H), ((0, 1), (0, 2), (0, 3), (1, 4), (1, 5)))
        last = variants.attach(molecule, 0, group)
        size = variants._distances(molecule, 1, 9)[last] + 1
        molecule.bind(last, 1)
        if size not in (5, 6) or not is_in_order(molecule):
            wrong.append(f"fused group {group}")
    return wrong


def wrong_paths():
    wrong = []
    for group, start, ends in PATHS:
        molecule = methylated(group)
        heavy = heavy_atoms(molecule)
        found = variants._along_double_bonds(molecule, heavy[start])
        if sorted(heavy.index(atom) for atom in found) != ends:
            wrong.append(f"double bonds from {start} in {group}")
    return wrong


def wrong_chains(chance):
    """Fluorine must come on one carbon, on two and on three, side by side, and leave no hydrogen there."""
    wrong, lengths = [], set()
    for _ in range(ROUNDS):
        molecule = methylated("C2 C2@0 O1@1")
        variants.fluorinate(molecule, chance, ())
        heavy = heavy_atoms(molecule)
        carbons = [atom for atom in heavy if molecule.elements[atom] == C]
        fluorines = [sum(molecule.elements[other] == F for other in molecule.neighbours[atom])
                     for atom in carbons]
        done = "".join("-" if number == 0 else "F" for number in fluorines)
        if "F-F" in done or any(number and molecule.hydrogens(atom)
                                for atom, number in zip(carbons, fluorines)):
            wrong.append(f"fluorinate, chain: {told(molecule)}")
        lengths.add(done.count("F"))
    return wrong + [f"fluorinate: chains of {lengths}"] * (lengths != {1, 2, 3})


def is_one_molecule(molecule):
    """Whether all atoms hang together, and none is bound twice to another."""
    return (len(molecule.reached_from(next(iter(molecule.elements)))) == len(molecule)
            and all(len(set(others)) == len(others) for others in molecule.neighbours.values()))


def is_wrong(edit, start, molecule):
    if edit in CARELESS_EDITS:
        if len(molecule) != len(start) + CARELESS_EDITS[edit]:
            return True
    elif not is_in_order(molecule):
        return True
    return (not is_one_molecule(molecule)
            or edit in RING_SIZES and not any(
                variants._rings(molecule, heavy_atoms(molecule)[-1], size)
                for size in RING_SIZES[edit]))


def wrong_edits(chance):
    wrong = []
    starts = [methylated(group) for group in MOLECULES]
    for _, edit in variants.EDITS:
        made = 0
        for _ in range(ROUNDS):
            start = chance.choice(starts)
            molecule = start.copy()
            if edit(molecule, chance, starts):
                made += 1
                if is_wrong(edit, start, molecule):
                    wrong.append(f"{edit.__name__}: {told(molecule)}")
            elif (molecule.elements, molecule.neighbours) != (start.elements, start.neighbours):
                wrong.append(f"{edit.__name__}, not made: {told(molecule)}")
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
            if not is_in_order(EditedMolecule(elements, bonds))] + ["no variants"] * (not made)


def wrong_checks(chance):
    """Where the check of valences and the plain one differ, on edited molecules before any is dropped."""
    starts = [methylated(group) for group in DELICATE_MOLECULES]
    edited = [variants.variant_of(chance.choice(starts), chance, starts, (1, 2))
              for _ in range(ROUNDS)]
    return [f"check of valences: {told(molecule)}" for molecule in edited if molecule
            for charged_nitrogen in (False, True) if differs_from_plain(molecule, charged_nitrogen)]


def main():
    chance = random.Random(1)
    wrong = (wrong_groups() + wrong_fused() + wrong_paths() + wrong_edits(chance) + wrong_variants()
             + wrong_checks(chance) + wrong_chains(chance))
    print("\n".join(wrong[:20]) if wrong else "all valences are possible")
    return 1 if wrong else 0


if __name__ == "__main__":
    sys.exit(main())

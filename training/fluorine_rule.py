"""Types around saturated carbons with fluorine, which follow from the number of fluorines alone.

In all molecules with published types one, two or three fluorines on a carbon with four neighbours
give all of them one type each, and the hydrogens beside them, too; the carbon's type follows unless
it is in a ring of three to five. There are too few of them to learn that from: networks have taken
carbons with two fluorines and no hydrogen for those of trifluoromethyl.
"""

import numpy as np

from molecules import NO_LABEL, PUBLISHED_SETS, type_index

H, C, F = 1, 6, 9
# From the number of fluorines. In a ring of six the carbon has what stands in for its forbidden type.
FLUORINES = {1: "FGA1", 2: "FGA2", 3: "FGA3"}
HYDROGENS = {1: "HGA6", 2: "HGA7"}
CHAIN_CARBONS = {1: "CG322", 2: "CG312", 3: "CG302"}
RING_CARBONS = {1: "CG2R67", 2: "CG2R66"}


def _smallest_rings(neighbours):
    """The size of the smallest ring through each atom; 0: of none up to 8."""
    rings = neighbours.bond_rings()
    smallest = np.full(len(neighbours.degrees), 9)
    np.minimum.at(smallest, neighbours.row, np.where(rings == 0, 9, rings))
    return smallest % 9


def labels_by_rule(atoms):
    """The label of each atom that the rule tells one for, NO_LABEL for all others."""
    neighbours = atoms.neighbours()
    row, atom = neighbours.row, neighbours.atom
    numbers = np.bincount(row[atoms.elements[atom] == F], minlength=len(atoms.elements))
    numbers[(atoms.elements != C) | (neighbours.degrees != 4)] = 0
    rings = _smallest_rings(neighbours)
    # Hydrogen and fluorine have one neighbour.
    numbers_beside = np.zeros_like(numbers)
    numbers_beside[row] = numbers[atom]

    labels = np.full(len(atoms.elements), NO_LABEL, np.int32)
    for element, names, chosen in ((F, FLUORINES, numbers_beside), (H, HYDROGENS, numbers_beside),
                                   (C, CHAIN_CARBONS, np.where((rings == 0) | (rings > 6), numbers, 0)),
                                   (C, RING_CARBONS, np.where(rings == 6, numbers, 0))):
        for number, name in names.items():
            labels[(atoms.elements == element) & (chosen == number)] = type_index[element][name]
    return labels


def apply_to(atoms):
    """Corrects the labels of all atoms without published types; returns of how many."""
    labels = labels_by_rule(atoms)
    wrong = ((labels != NO_LABEL) & (atoms.labels != NO_LABEL) & (labels != atoms.labels)
             & ~np.isin(atoms.sources, PUBLISHED_SETS))
    atoms.labels[wrong] = labels[wrong]
    return np.count_nonzero(wrong)

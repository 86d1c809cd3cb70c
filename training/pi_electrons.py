"""Bond orders of pi electrons (Coulson, Proc. R. Soc. A 169 (1939) 413), by the method of Hückel
(Z. Phys. 70 (1931) 204).

They need no choice among the ways to write double bonds: the six bonds of benzene come out alike,
and unlike those of a quinone. Of the two systems of a triple bond or a cumulene one is counted.
"""

import numpy as np

B, C, N, O, S = 5, 6, 7, 8, 16

# (element, neighbours) -> (electrons, Coulomb integral), the latter relative to carbon and in units
# of the integral between two carbons: F. A. Van-Catledge, J. Org. Chem. 45 (1980) 4801. All other
# atoms take no part. Charges are not known here, so all are counted as if they had none: the
# nitrogen of a nitro group with a lone pair, each oxygen with one electron, which makes the same
# number together.
ATOMS = {
    (B, 3): (0, -0.45),
    (C, 1): (1, 0.0), (C, 2): (1, 0.0), (C, 3): (1, 0.0),
    (N, 1): (1, 0.51), (N, 2): (1, 0.51), (N, 3): (2, 1.37),
    (O, 1): (1, 0.97), (O, 2): (2, 2.09),
    (S, 1): (1, 0.46), (S, 2): (2, 1.11)}
# Integrals between neighbours, of which one has a lone pair, are 0.66 to 0.99 there. The others are
# near 1, but for those of carbon with boron and with double-bonded sulphur (0.73 and 0.81).
LONE_PAIR_INTEGRAL = 0.8
SAME_ENERGY = 1e-6
SOLVED_AT_ONCE = 4000  # systems; it bounds the memory that this takes beside the matrices


def _lowest_connected(num_atoms, row, column):
    """The lowest atom that each atom is connected with."""
    lowest = np.arange(num_atoms)
    while True:
        lower = lowest.copy()
        np.minimum.at(lower, row, lowest[column])
        lower = lower[lower]
        if (lower == lowest).all():
            return lowest
        lowest = lower


def _num_electrons(system, brought, elements, num_end_oxygens):
    """The electrons of each system, by the number of its lowest atom.

    Carboxylates have one more than their atoms bring. Other charges show only where they make the
    number odd, see _charged.
    """
    def total(values):
        return np.bincount(system, values, len(system)).astype(int)
    return total(brought) + total((elements == C) & (num_end_oxygens > 1))


def _charged(num_electrons, energies):
    """The numbers of electrons once an orbital with a single one has been emptied or filled.

    It is filled where it holds the atoms together, as in a phenolate, and emptied where it drives
    them apart, as in imidazolium; where it does neither the electron stays alone. Energies are
    those of the orbitals in the units of ATOMS: positive where they bind, and the largest first.
    """
    single = np.take_along_axis(energies, (num_electrons // 2)[:, np.newaxis].clip(
        max=energies.shape[1] - 1), axis=1)[:, 0]
    change = np.where(np.abs(single) < SAME_ENERGY, 0, np.where(single > 0.0, 1, -1))
    return num_electrons + np.where(num_electrons % 2 == 1, change, 0)


def _densities(matrices, num_electrons):
    """The density matrices of systems of one size.

    Orbitals of the same energy share the electrons that do not fill all of them: which of these
    orbitals come out is chance.
    """
    energies, orbitals = np.linalg.eigh(matrices)
    energies, orbitals = energies[:, ::-1], orbitals[:, :, ::-1]
    num_electrons = _charged(num_electrons, energies)
    size = matrices.shape[1]
    filling = np.clip(num_electrons[:, np.newaxis] - 2.0 * np.arange(size), 0.0, 2.0)
    highest = np.clip((num_electrons - 1) // 2, 0, size - 1)[:, np.newaxis]
    is_highest = np.abs(energies - np.take_along_axis(energies, highest, axis=1)) < SAME_ENERGY
    shared = np.sum(filling * is_highest, axis=1) / np.sum(is_highest, axis=1)
    filling = np.where(is_highest, shared[:, np.newaxis], filling)
    return (orbitals * filling[:, np.newaxis, :]) @ orbitals.transpose(0, 2, 1)


def pi_bond_orders(elements, degrees, row, column):
    """(order of each bond, electrons that each atom lacks), zeros outside of pi systems.

    An order is 1 for a whole pi bond and can be a little below 0. What an atom lacks of the
    electrons that it brought is no charge, but the sum over a system is. The degrees of the atoms
    count their hydrogens, too, which need not be among them. Bonds lead from row to column, and
    each comes in both directions.
    """
    brought, integrals = np.zeros(len(elements), int), np.zeros(len(elements))
    takes_part = np.zeros(len(elements), bool)
    for (element, degree), values in ATOMS.items():
        chosen = (elements == element) & (degrees == degree)
        brought[chosen], integrals[chosen] = values
        takes_part |= chosen
    is_end_oxygen = (elements == O) & (degrees == 1)
    num_end_oxygens = np.bincount(row, is_end_oxygen[column], len(elements))

    bonds = np.flatnonzero(takes_part[row] & takes_part[column])
    first, second = row[bonds], column[bonds]
    has_lone_pair = brought == 2
    bond_integrals = np.where(has_lone_pair[first] | has_lone_pair[second], LONE_PAIR_INTEGRAL, 1.0)
    system = _lowest_connected(len(elements), first, second)
    num_electrons = _num_electrons(system, brought, elements, num_end_oxygens)

    # Each atom's place among those of its system. Systems of one size are solved together.
    sizes = np.bincount(system, minlength=len(elements))
    by_system = np.argsort(system, kind="stable")
    place = np.empty(len(elements), int)
    place[by_system] = np.arange(len(elements)) - np.repeat(np.cumsum(sizes) - sizes, sizes)

    orders, lacking = np.zeros(len(row)), np.zeros(len(elements))
    number = np.empty(len(elements), int)
    for size in np.unique(sizes[system[first]]):
        systems = np.flatnonzero(sizes == size)
        number[systems] = np.arange(len(systems))
        atoms = np.flatnonzero(sizes[system] == size)
        own_places = (number[system[atoms]], place[atoms], place[atoms])
        chosen = np.flatnonzero(sizes[system[first]] == size)
        bond_places = (number[system[first[chosen]]], place[first[chosen]], place[second[chosen]])
        matrices = np.zeros((len(systems), size, size))
        matrices[own_places] = integrals[atoms]
        matrices[bond_places] = bond_integrals[chosen]
        for begin in range(0, len(systems), SOLVED_AT_ONCE):
            part = slice(begin, begin + SOLVED_AT_ONCE)
            matrices[part] = _densities(matrices[part], num_electrons[systems[part]])
        orders[bonds[chosen]] = matrices[bond_places]
        lacking[atoms] = brought[atoms] - matrices[own_places]
    return orders, lacking

#!/usr/bin/env python3
"""Checks pi bond orders against values from textbooks and against a plain calculation.

    python3 training/check_pi_electrons.py

The exit status is 1 if a value is wrong and 77 without numpy.
"""

import math
import random
import sys

import one_thread  # noqa: F401  ahead of numpy

try:
    import numpy as np
except ImportError:
    np = None

SKIPPED = 77
MOLECULES_TRIED = 300
SYSTEMS_AT_ONCE = 3  # so that some sizes are solved in several goes
TEXTBOOK_TOLERANCE, TOLERANCE = 6e-4, 1e-9
B, C, N, O, S = 5, 6, 7, 8, 16


def ring(size):
    return [(i, (i + 1) % size) for i in range(size)]


# name, elements, degrees, bonds, their orders and the electrons that each atom lacks
# (Streitwieser, Molecular Orbital Theory for Organic Chemists, 1961)
HYDROCARBONS = (
    ("ethane", [C] * 2, [4] * 2, [(0, 1)], [0.0], [0.0] * 2),
    ("ethylene", [C] * 2, [3] * 2, [(0, 1)], [1.0], [0.0] * 2),
    ("butadiene", [C] * 4, [3] * 4, [(0, 1), (1, 2), (2, 3)], [0.8944, 0.4472, 0.8944], [0.0] * 4),
    ("benzene", [C] * 6, [3] * 6, ring(6), [2 / 3] * 6, [0.0] * 6),
    # Two electrons in two orbitals of the same energy.
    ("cyclobutadiene", [C] * 4, [3] * 4, ring(4), [0.5] * 4, [0.0] * 4),
    ("fulvene", [C] * 6, [3] * 6, ring(5) + [(0, 5)],
     [0.449, 0.778, 0.520, 0.778, 0.449, 0.759], [-0.047, -0.092, -0.073, -0.073, -0.092, 0.378]))
# Two atoms that hold two electrons together: element, degree, electrons brought and Coulomb
# integral of each, integral between them.
PAIRS = (
    ((C, 3, 1, 0.0), (C, 2, 1, 0.0), 1.0), ((C, 3, 1, 0.0), (C, 1, 1, 0.0), 1.0),
    ((C, 3, 1, 0.0), (N, 1, 1, 0.51), 1.0), ((C, 3, 1, 0.0), (N, 2, 1, 0.51), 1.0),
    ((C, 3, 1, 0.0), (O, 1, 1, 0.97), 1.0), ((C, 3, 1, 0.0), (S, 1, 1, 0.46), 1.0),
    ((C, 3, 1, 0.0), (N, 3, 2, 1.37), 0.8), ((C, 3, 1, 0.0), (B, 3, 0, -0.45), 1.0),
    ((B, 3, 0, -0.45), (O, 2, 2, 2.09), 0.8), ((B, 3, 0, -0.45), (S, 2, 2, 1.11), 0.8))
# name, elements, degrees, bonds, charge
CHARGES = (
    ("acetate", [C, C, O, O], [4, 3, 1, 1], [(0, 1), (1, 2), (1, 3)], -1),
    ("nitrate", [N, O, O, O], [3, 1, 1, 1], [(0, 1), (0, 2), (0, 3)], -1),
    ("guanidinium", [C] + [N] * 3, [3] * 4, [(0, 1), (0, 2), (0, 3)], 1),
    ("imidazolium", [N, C, N, C, C], [3] * 5, ring(5), 1),
    ("imidazole", [N, C, N, C, C], [3, 3, 2, 3, 3], ring(5), 0),
    ("thiophene", [S] + [C] * 4, [2] + [3] * 4, ring(5), 0),
    ("pyrylium", [O] + [C] * 5, [2] + [3] * 5, ring(6), 1),
    ("tropylium", [C] * 7, [3] * 7, ring(7), 1),
    ("cyclopentadienyl", [C] * 5, [3] * 5, ring(5), -1),
    ("allene", [C] * 3, [3, 2, 3], [(0, 1), (1, 2)], 0),
    ("aminophenolate", [C] * 6 + [O, N], [3] * 6 + [1, 3], ring(6) + [(0, 6), (3, 7)], -1),
    ("carboxypyridinium", [N] + [C] * 6 + [O, O], [3] * 7 + [1, 1],
     ring(6) + [(3, 6), (6, 7), (6, 8)], 0),
    ("nitrobenzene", [C] * 6 + [N, O, O], [3] * 7 + [1, 1], ring(6) + [(0, 6), (6, 7), (6, 8)], 0))


def found_by(function, elements, degrees, bonds):
    """(order of each bond, electrons that each atom lacks)"""
    pairs = np.array(bonds, int).reshape(-1, 2)
    row, column = pairs.T
    orders, lacking = function(np.array(elements), np.array(degrees),
                               np.concatenate([row, column]), np.concatenate([column, row]))
    return orders[:len(bonds)], lacking


def are_near(found, wanted, tolerance):
    """Not so where a number is none."""
    return len(found) == len(wanted) and np.allclose(found, wanted, rtol=0.0, atol=tolerance)


def wrong_examples(function):
    """The names of the molecules with wrong values."""
    wrong = []
    for name, *molecule, orders, lacking in HYDROCARBONS:
        found = found_by(function, *molecule)
        if not (are_near(found[0], orders, TEXTBOOK_TOLERANCE)
                and are_near(found[1], lacking, TEXTBOOK_TOLERANCE)):
            wrong.append(name)
    for first, second, integral in PAIRS:
        found = found_by(function, [first[0], second[0]], [first[1], second[1]], [(0, 1)])
        half = (second[3] - first[3]) / 2
        length = math.hypot(half, integral)
        lacking = [first[2] - 1 + half / length, second[2] - 1 - half / length]
        if not (are_near(found[0], [integral / length], TOLERANCE)
                and are_near(found[1], lacking, TOLERANCE)):
            wrong.append(f"{first} with {second}")
    for name, *molecule, charge in CHARGES:
        if not are_near([found_by(function, *molecule)[1].sum()], [charge], TOLERANCE):
            wrong.append(f"the charge of {name}")
    return wrong


def plain_electrons(system, elements, degrees, neighbours, brought, energies):
    """How many electrons a system holds. Energies come with the highest orbital first."""
    electrons = sum(brought[i] for i in system)
    electrons += sum(elements[i] == C and [(elements[j], degrees[j]) for j in neighbours[i]].count(
        (O, 1)) > 1 for i in system)
    if electrons % 2 == 0:
        return electrons
    single = energies[-1 - electrons // 2]
    if abs(single) < 1e-6:
        return electrons
    return electrons + 1 if single > 0 else electrons - 1


def plain_density(energies, orbitals, electrons):
    """Electrons fill level after level."""
    density = np.zeros_like(orbitals)
    left = list(range(len(energies)))
    while electrons > 0:
        level = [k for k in left if abs(energies[k] - energies[left[-1]]) < 1e-6]
        left = left[:-len(level)]
        used = min(electrons, 2 * len(level))
        electrons -= used
        for k in level:
            density += used / len(level) * np.outer(orbitals[:, k], orbitals[:, k])
    return density


def plain_values(atoms, elements, degrees, bonds):
    """(orders, electrons that each atom lacks), one system after the other."""
    neighbours = {i: [] for i in range(len(elements))}
    for i, j in bonds:
        neighbours[i].append(j)
        neighbours[j].append(i)
    kinds = {i: atoms[kind] for i, kind in enumerate(zip(elements, degrees)) if kind in atoms}
    brought = {i: kind[0] for i, kind in kinds.items()}
    density, lacking, left = {}, [0.0] * len(elements), set(kinds)
    while left:
        system = [left.pop()]
        for i in system:
            found = [j for j in neighbours[i] if j in left]
            system += found
            left.difference_update(found)
        if len(system) == 1:
            continue
        matrix = np.array([[kinds[i][1] if i == j else 0.0 if j not in neighbours[i]
                            else 0.8 if 2 in (brought[i], brought[j]) else 1.0
                            for j in system] for i in system])
        energies, orbitals = np.linalg.eigh(matrix)
        electrons = plain_electrons(system, elements, degrees, neighbours, brought, energies)
        values = plain_density(energies, orbitals, electrons)
        density.update({(i, j): values[a, b] for a, i in enumerate(system)
                        for b, j in enumerate(system)})
        for i in system:
            lacking[i] = brought[i] - density[i, i]
    return [density.get(bond, 0.0) for bond in bonds], lacking


def random_molecule(chance, kinds):
    """(elements, degrees, bonds) of a tree with some rings."""
    size = chance.randint(1, 12)
    bonds = {(chance.randrange(i), i) for i in range(1, size)}
    bonds |= {tuple(sorted(chance.sample(range(size), 2))) for _ in range(size // 4)}
    elements, degrees = zip(*chance.choices(kinds + [(C, 3)] * 8 + [(C, 4)], k=size))
    return elements, degrees, sorted(bonds)


def difference_from_plain(pi_electrons):
    chance = random.Random(1)
    elements, degrees, bonds = [], [], []
    orders, lacking = [], []
    for _ in range(MOLECULES_TRIED):
        molecule = random_molecule(chance, list(pi_electrons.ATOMS))
        bonds += [(i + len(elements), j + len(elements)) for i, j in molecule[2]]
        elements += molecule[0]
        degrees += molecule[1]
        for values, more in zip((orders, lacking), plain_values(pi_electrons.ATOMS, *molecule)):
            values += more
    # The atoms of all molecules mixed up.
    place = np.array(chance.sample(range(len(elements)), len(elements)))
    elements, degrees, bonds = np.array(elements), np.array(degrees), place[np.array(bonds)]
    elements[place], degrees[place] = elements.copy(), degrees.copy()
    difference = 0.0
    for at_once in (pi_electrons.SOLVED_AT_ONCE, SYSTEMS_AT_ONCE):
        pi_electrons.SOLVED_AT_ONCE = at_once
        found = found_by(pi_electrons.pi_bond_orders, elements, degrees, bonds)
        # The maximum of numpy keeps what is no number.
        difference = np.max([difference, np.abs(found[0] - orders).max(),
                             np.abs(found[1][place] - lacking).max()])
    print(f"{len(bonds)} bonds, differences up to {difference:.1e}")
    return difference


def main():
    if np is None:
        print("numpy is missing: nothing compared")
        return SKIPPED
    import pi_electrons
    wrong = wrong_examples(pi_electrons.pi_bond_orders)
    if not difference_from_plain(pi_electrons) <= TOLERANCE:
        wrong.append("random molecules")
    for name in wrong:
        print(f"WRONG: {name}")
    return 1 if wrong else 0


if __name__ == "__main__":
    sys.exit(main())

#!/usr/bin/env python3
"""Checks pi bond orders against values from textbooks and against a plain calculation.

    python3 training/check_pi_electrons.py

Needs numpy; the exit status is 77 where it is not there, and 1 if a value is wrong.
"""

import random
import sys

try:
    import numpy as np
except ImportError:
    print("not run: numpy is missing")
    sys.exit(77)

import pi_electrons
from pi_electrons import C, N, O, pi_bond_orders

MOLECULES_TRIED = 300
SYSTEMS_AT_ONCE = 3  # so that some sizes are solved in several goes
TOLERANCE = 1e-9


def both_ways(bonds):
    pairs = np.array(bonds).reshape(-1, 2)
    return np.concatenate([pairs[:, 0], pairs[:, 1]]), np.concatenate([pairs[:, 1], pairs[:, 0]])


def ring(size):
    return [(i, (i + 1) % size) for i in range(size)]


# name, elements, degrees, bonds, their orders and the electrons that each atom lacks
# (Streitwieser, Molecular Orbital Theory for Organic Chemists, 1961)
EXAMPLES = (
    ("ethylene", [C] * 2, [3] * 2, [(0, 1)], [1.0], [0.0] * 2),
    ("butadiene", [C] * 4, [3] * 4, [(0, 1), (1, 2), (2, 3)], [0.8944, 0.4472, 0.8944], [0.0] * 4),
    ("benzene", [C] * 6, [3] * 6, ring(6), [2 / 3] * 6, [0.0] * 6),
    # Two electrons in two orbitals of the same energy.
    ("cyclobutadiene", [C] * 4, [3] * 4, ring(4), [0.5] * 4, [0.0] * 4),
    ("fulvene", [C] * 6, [3] * 6, ring(5) + [(0, 5)],
     [0.449, 0.778, 0.520, 0.778, 0.449, 0.759], [-0.047, -0.092, -0.073, -0.073, -0.092, 0.378]),
    ("ethane", [C] * 2, [4] * 2, [(0, 1)], [0.0], [0.0] * 2))
# name, elements, degrees, bonds, total of the electrons that the atoms lack: the charge
CHARGES = (
    ("acetate", [C, C, O, O], [4, 3, 1, 1], [(0, 1), (1, 2), (1, 3)], -1),
    ("guanidinium", [C] + [N] * 3, [3] * 4, [(0, 1), (0, 2), (0, 3)], 1),
    ("imidazolium", [N, C, N, C, C], [3] * 5, ring(5), 1),
    ("imidazole", [N, C, N, C, C], [3, 3, 2, 3, 3], ring(5), 0),
    ("phenolate", [C] * 6 + [O], [3] * 6 + [1], ring(6) + [(0, 6)], -1),
    ("nitrobenzene", [C] * 6 + [N, O, O], [3] * 7 + [1, 1], ring(6) + [(0, 6), (6, 7), (6, 8)], 0))


def examples_fail():
    fails = False
    for name, elements, degrees, bonds, wanted, lacking in EXAMPLES:
        orders, found = pi_bond_orders(np.array(elements), np.array(degrees), *both_ways(bonds))
        values = list(zip(wanted, orders[:len(bonds)])) + list(zip(lacking, found))
        if any(abs(value - other) > 6e-4 for value, other in values):
            print(f"{name}: {orders[:len(bonds)]}, {found}")
            fails = True
    for name, elements, degrees, bonds, charge in CHARGES:
        _, lacking = pi_bond_orders(np.array(elements), np.array(degrees), *both_ways(bonds))
        if abs(lacking.sum() - charge) > TOLERANCE:
            print(f"{name}: a charge of {lacking.sum()}")
            fails = True
    return fails


def plain_orders(elements, degrees, bonds):
    """The orders of the bonds of one molecule, one system after the other."""
    neighbours = {i: [] for i in range(len(elements))}
    for i, j in bonds:
        neighbours[i].append(j)
        neighbours[j].append(i)
    kinds = {i: pi_electrons.ATOMS[elements[i], degrees[i]] for i in neighbours
             if (elements[i], degrees[i]) in pi_electrons.ATOMS}
    orders, left = {}, set(kinds)
    while left:
        system = [left.pop()]
        for i in system:
            found = [j for j in neighbours[i] if j in left]
            system += found
            left.difference_update(found)
        matrix = np.diag([float(kinds[i][1]) for i in system])
        for a, i in enumerate(system):
            for b, j in enumerate(system):
                if j in neighbours[i]:
                    matrix[a, b] = 0.8 if 2 in (kinds[i][0], kinds[j][0]) else 1.0
        electrons = sum(kinds[i][0] for i in system)
        electrons += sum(elements[i] == C and sum(
            elements[j] == O and degrees[j] == 1 for j in neighbours[i]) > 1 for i in system)
        if electrons % 2:
            cation = any(elements[i] == N and kinds[i][0] == 2 for i in system)
            electrons += -1 if cation else 1
        energies, orbitals = np.linalg.eigh(matrix)
        density = np.zeros_like(matrix)
        levels = list(range(len(system)))[::-1]
        while electrons > 0:
            level = [k for k in levels if abs(energies[k] - energies[levels[0]]) < 1e-6]
            levels = levels[len(level):]
            used = min(electrons, 2 * len(level))
            electrons -= used
            for k in level:
                density += used / len(level) * np.outer(orbitals[:, k], orbitals[:, k])
        orders.update({(i, j): density[a, b] for a, i in enumerate(system)
                       for b, j in enumerate(system)})
    return [orders.get(bond, 0.0) for bond in bonds]


def random_molecules(chance):
    """(elements, degrees, bonds) of many molecules side by side, and the plain orders."""
    elements, degrees, bonds, orders = [], [], [], []
    for _ in range(MOLECULES_TRIED):
        size = chance.randint(1, 12)
        own = [(chance.randrange(i), i) for i in range(1, size)]
        own += [pair for pair in [tuple(sorted(chance.sample(range(size), 2)))
                                  for _ in range(size // 4)] if pair not in own]
        own = sorted(set(own))
        of_atom, degree_of_atom = zip(*chance.choices(
            list(pi_electrons.ATOMS) + [(C, 3)] * 8 + [(C, 4)], k=size))
        # Numbered anew, so that systems are mixed up.
        orders += plain_orders(of_atom, degree_of_atom, own)
        bonds += [(i + len(elements), j + len(elements)) for i, j in own]
        elements += of_atom
        degrees += degree_of_atom
    places = list(range(len(elements)))
    chance.shuffle(places)
    mixed = [None] * len(places), [None] * len(places)
    for i, place in enumerate(places):
        mixed[0][place], mixed[1][place] = elements[i], degrees[i]
    return mixed, [(places[i], places[j]) for i, j in bonds], orders


def differs_from_plain():
    (elements, degrees), bonds, wanted = random_molecules(random.Random(1))
    orders, _ = pi_bond_orders(np.array(elements), np.array(degrees), *both_ways(bonds))
    pi_electrons.SOLVED_AT_ONCE = SYSTEMS_AT_ONCE
    again, _ = pi_bond_orders(np.array(elements), np.array(degrees), *both_ways(bonds))
    wanted = np.array(wanted + wanted)
    worst = max(np.abs(orders - wanted).max(), np.abs(again - wanted).max())
    print(f"{len(bonds)} bonds, differences up to {worst:.1e}")
    return worst > TOLERANCE


def main():
    return 1 if examples_fail() | differs_from_plain() else 0


if __name__ == "__main__":
    sys.exit(main())

"""Molecules to train with: reading them, and all their atoms in long arrays.

A file of published types has one molecule a line, with tabs between name, source, atomic numbers,
types and bonds; numbers and types have blanks between, a bond is two 0-based atoms with a hyphen.

The file of drug-like molecules has nothing but numbers on a line: atoms n, bonds m, a constant,
then n times (atomic number, index of the type in its element's table or -1, ring class), then m
times two 0-based atoms.
"""

import ctypes
import gzip
from collections import namedtuple
from dataclasses import dataclass, fields
from pathlib import Path

import numpy as np

import kernels
from evaluate_weights import SOURCES, TypeTables, read_substitutes

DATA = Path(__file__).resolve().parent / "data"

# Where an atom and its label come from.
TRAIN, VALIDATION, EXTRA, SPECIAL, DRUG_LIKE, VARIANT, DRUG_LIKE_VARIANT = range(7)
PUBLISHED_SETS = (TRAIN, VALIDATION, EXTRA, SPECIAL)
SET_NAMES = ("train", "validation", "extra", "special", "drug_like", "variant",
             "drug_like_variant")

NO_LABEL = -1
RING_CLASSES = (0, 5, 6)
HELD_OUT_EVERY = 50  # of the drug-like molecules, none of which has a published type

Molecule = namedtuple("Molecule", "name source elements types bonds")

tables = TypeTables(SOURCES / "AtomTyper.cpp")
type_index = {element: {name: j for j, name in enumerate(names)}
              for element, names in tables.names.items()}


def allowed_types(element, ring_class):
    """The indices of the types that an atom may get."""
    classes = tables.ring_sizes[element]
    return np.array([j for j in range(len(tables.names[element]))
                     if classes is None or classes[j] == ring_class])


def line_of(molecule):
    return "\t".join((molecule.name, molecule.source, " ".join(map(str, molecule.elements)),
                      " ".join(molecule.types), " ".join(f"{i}-{j}" for i, j in molecule.bonds)))


def molecule_of(line):
    name, source, elements, types, bonds = line.rstrip("\n").split("\t")
    return Molecule(name, source, [int(word) for word in elements.split()], types.split(),
                    [tuple(map(int, word.split("-"))) for word in bonds.split()])


def read_molecules(path, limit=None):
    with gzip.open(path, "rt", encoding="utf-8") as file:
        return [molecule_of(line) for line, _ in zip(file, range(limit or 10**9))]


def read_published(source, limit=None):
    return read_molecules(DATA / f"{SET_NAMES[source]}.txt.gz", limit)


class Neighbours:
    """Bonds as lists: the neighbours of atom i are atom[first[i]:first[i + 1]]; `row` has the i."""

    def __init__(self, num_atoms, bonds):
        row = np.concatenate([bonds[:, 0], bonds[:, 1]])
        atom = np.concatenate([bonds[:, 1], bonds[:, 0]])
        order = np.argsort(row, kind="stable")
        self.row = row[order].astype(np.int32)
        self.atom = atom[order].astype(np.int32)
        self.degrees = np.bincount(row, minlength=num_atoms)
        self.first = np.concatenate([[0], np.cumsum(self.degrees)]).astype(np.int64)
        if num_atoms and self.degrees.min() == 0:
            raise ValueError("an atom without a bond has no surroundings to train with")

    def bond_rings(self):
        """For each entry of `atom`: the bonds of the smallest ring through it, 0 for none to 8."""
        rings = np.zeros(len(self.atom), np.int8)
        pointers = [ctypes.c_void_p(kernels.address(array, dtype)) for array, dtype in
                    ((self.first, np.int64), (self.atom, np.int32), (rings, np.int8))]
        kernels.load("ring_kernel").find_bond_rings(ctypes.c_int(len(self.degrees)), *pointers)
        return rings

    def ring_classes(self):
        """5 or 6 for an atom whose smallest ring is one of these, else 0."""
        rings = self.bond_rings()
        smallest = np.full(len(self.degrees), 99)
        np.minimum.at(smallest, self.row, np.where(rings == 0, 99, rings))
        return np.where((smallest == 5) | (smallest == 6), smallest, 0).astype(np.int32)


@dataclass
class Atoms:
    """The atoms of many molecules, one array entry each, the atoms of a molecule side by side."""
    elements: np.ndarray
    rings: np.ndarray      # ring classes
    labels: np.ndarray     # index of the type to learn in its element's table, or NO_LABEL
    # Whether the label is the true type, which the ring rule may forbid. False also for atoms of
    # elements with such a rule whose label in a drug-like molecule is the teachers': it forbids most
    # of these.
    reachable: np.ndarray
    sources: np.ndarray    # TRAIN to DRUG_LIKE_VARIANT
    molecules: np.ndarray  # number of the molecule
    bonds: np.ndarray      # pairs of indices into these arrays

    def neighbours(self):
        return Neighbours(len(self.elements), self.bonds)

    def num_molecules(self):
        return int(self.molecules[-1]) + 1 if len(self.molecules) else 0

    def held_out(self):
        """Drug-like atoms that are left out of the training, to see how well it generalises."""
        return (self.sources == DRUG_LIKE) & (self.molecules % HELD_OUT_EVERY == 0)

    def graphs(self, source):
        """The molecules of a source as (atomic numbers, bonds), without those held out."""
        chosen = np.flatnonzero((self.sources == source) & ~self.held_out())
        bonds = self.bonds[np.argsort(self.bonds[:, 0], kind="stable")]
        first_bonds = np.searchsorted(bonds[:, 0], chosen)
        last_bonds = np.searchsorted(bonds[:, 0], chosen, side="right")
        starts = np.flatnonzero(np.diff(self.molecules[chosen], prepend=-1))
        return [(self.elements[atoms].tolist(),
                 (bonds[first[0]:last[-1]] - atoms[0]).tolist())
                for atoms, first, last in zip(*(np.split(array, starts[1:]) for array in
                                                (chosen, first_bonds, last_bonds)))]

    def save(self, path, **more):
        np.savez(path, **{field.name: getattr(self, field.name) for field in fields(self)}, **more)


def load_atoms(arrays):
    """The atoms in an opened file of `Atoms.save`."""
    return Atoms(*(arrays[field.name] for field in fields(Atoms)))


def joined(parts):
    """All the atoms of several sets."""
    num_atoms = num_molecules = 0
    columns = [[] for _ in fields(Atoms)]
    for part in parts:
        for column, field in zip(columns, fields(Atoms)):
            shift = {"bonds": num_atoms, "molecules": num_molecules}.get(field.name)
            values = getattr(part, field.name)
            column.append(values if shift is None else values + np.int32(shift))
        num_atoms += len(part.elements)
        num_molecules += part.num_molecules()
    return Atoms(*map(np.concatenate, columns))


def bare_atoms(graphs, source):
    """Atoms without labels of molecules given as (atomic numbers, bonds)."""
    elements, molecules, bonds = [], [], []
    num_atoms = 0
    for number, (numbers, pairs) in enumerate(graphs):
        elements.append(np.array(numbers, np.int32))
        molecules.append(np.full(len(numbers), number, np.int32))
        bonds.append(np.array(pairs, np.int32).reshape(-1, 2) + np.int32(num_atoms))
        num_atoms += len(numbers)
    atoms = Atoms(np.concatenate(elements), None, np.full(num_atoms, NO_LABEL, np.int32),
                  np.zeros(num_atoms, bool), np.full(num_atoms, source, np.int32),
                  np.concatenate(molecules), np.concatenate(bonds))
    atoms.rings = atoms.neighbours().ring_classes()
    return atoms


def is_allowed(element, ring_class, name):
    """Whether an atom may get this type. It may get none that the program does not know."""
    index = type_index.get(element, {}).get(name)
    if index is None:
        return False
    classes = tables.ring_sizes[element]
    return classes is None or classes[index] == ring_class


def published_atoms(molecules, source):
    """Atoms with published types, or with the substitutes of those that the ring rule forbids."""
    substitutes = read_substitutes(DATA / "substitutes.tsv")
    atoms = bare_atoms([(molecule.elements, molecule.bonds) for molecule in molecules], source)
    types = (name for molecule in molecules for name in molecule.types)
    for i, (element, ring_class, name) in enumerate(zip(atoms.elements, atoms.rings, types)):
        atoms.reachable[i] = is_allowed(element, ring_class, name)
        label = name if atoms.reachable[i] else substitutes.get((name, ring_class))
        atoms.labels[i] = type_index.get(element, {}).get(label, NO_LABEL)
    return atoms


def drug_like_atoms(limit=None):
    """Atoms of the drug-like molecules, with the labels and ring classes of their file."""
    triples, bonds, molecules = [], [], []
    num_atoms = 0
    with gzip.open(DATA / "drug_like.txt.gz", "rt", encoding="ascii") as file:
        for number, line in zip(range(limit or 10**9), file):
            numbers = np.array(line.split(), np.int32)
            size, end = numbers[0], 3 + 3 * numbers[0]
            triples.append(numbers[3:end].reshape(size, 3))
            bonds.append(numbers[end:].reshape(numbers[1], 2) + np.int32(num_atoms))
            molecules.append(np.full(size, number, np.int32))
            num_atoms += size
    elements, labels, rings = np.concatenate(triples).T.copy()
    return Atoms(elements, rings, labels, labels != NO_LABEL,
                 np.full(num_atoms, DRUG_LIKE, np.int32), np.concatenate(molecules),
                 np.concatenate(bonds))


def evaluation_form(molecules):
    """Molecules as evaluate_weights.py takes them."""
    atoms = bare_atoms([(molecule.elements, molecule.bonds) for molecule in molecules], TRAIN)
    ends = np.cumsum([len(molecule.elements) for molecule in molecules])
    result = []
    for molecule, rings in zip(molecules, np.split(atoms.rings, ends[:-1])):
        allowed = map(is_allowed, molecule.elements, rings, molecule.types)
        result.append({"name": molecule.name, "elements": molecule.elements,
                       "types": molecule.types, "bonds": molecule.bonds, "ring": rings.tolist(),
                       "unreachable": [i for i, value in enumerate(allowed) if not value]})
    return result

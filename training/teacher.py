#!/usr/bin/env python3
"""The teacher: a larger network that types molecules for the small ones to learn from.

    python3 training/teacher.py --work DIR --seed 1     trains one teacher: DIR/teacher-1.pt

DIR/atoms.npz must be there; train.py makes it and calls this.

The teacher's graph has the heavy atoms only. Each knows its element, its hydrogens, its neighbours,
the rings that it and its bonds lie in, and how its pi electrons are spread, and hears from its
neighbours in each of several rounds. In the end one output types the atom, under the ring rule, and
another all of its hydrogens.
"""

import argparse
import copy
import math
import sys
import time
from pathlib import Path

import one_thread  # noqa: F401  ahead of numpy and torch
import numpy as np
import torch

from molecules import (DRUG_LIKE, NO_LABEL, PUBLISHED_SETS, RING_CLASSES, VALIDATION,
                       allowed_types, load_atoms, tables)
from pi_electrons import pi_bond_orders
from settings import add_arguments, settings_of

HYDROGEN = 1
# Elements that the teacher tells apart; all others look alike to it.
ELEMENTS = (5, 6, 7, 8, 9, 13, 14, 15, 16, 17, 34, 35, 53)
TYPED_ELEMENTS = [element for element in tables.names if element != HYDROGEN]
FIRST_OUTPUT = dict(zip(TYPED_ELEMENTS, np.cumsum(
    [0] + [len(tables.names[element]) for element in TYPED_ELEMENTS])))
NUM_OUTPUTS = sum(len(tables.names[element]) for element in TYPED_ELEMENTS)
NUM_HYDROGEN_OUTPUTS = len(tables.names[HYDROGEN])
RING_SIZES = (3, 4, 5, 6, 7, 8)
ORDER_STEPS = 20  # between no pi bond, or a negative order, and a whole one
MOST_HYDROGENS, MOST_NEIGHBOURS, MOST_RING_BONDS = 4, 6, 4
FORBIDDEN = -1e9

WEIGHT_DECAY = 1e-4
LONGEST_GRADIENT = 1.0
RATE_RISE_STEPS = 200
AVERAGING = 0.997  # of the weights, at each step
LABELLED_AT_ONCE = 500  # molecules


def _ranges(starts, ends):
    """start, ..., end - 1 for each pair, one after the other."""
    counts = ends - starts
    return np.repeat(ends - np.cumsum(counts), counts) + np.arange(counts.sum())


class HeavyGraph:
    """The heavy atoms of many molecules, and the bonds between them in both directions."""

    def __init__(self, atoms):
        neighbours = atoms.neighbours()
        is_heavy = atoms.elements != HYDROGEN
        number = np.cumsum(is_heavy) - 1
        self.atoms = np.flatnonzero(is_heavy)
        self.molecules = atoms.molecules[self.atoms]
        row, other = neighbours.row, neighbours.atom

        between_heavy = is_heavy[row] & is_heavy[other]
        self.row, self.column = number[row[between_heavy]], number[other[between_heavy]]
        self.bond_rings = neighbours.bond_rings()[between_heavy].astype(np.int64)
        on_hydrogen = ~is_heavy[row] & is_heavy[other]
        self.hydrogens, self.parents = row[on_hydrogen], number[other[on_hydrogen]]

        size = len(self.atoms)
        elements = np.zeros(size, np.int64)
        for j, element in enumerate(ELEMENTS, start=1):
            elements[atoms.elements[self.atoms] == element] = j
        self.num_hydrogens = np.bincount(self.parents, minlength=size)
        ring_bonds = np.bincount(self.row[self.bond_rings > 0], minlength=size)
        in_ring = np.zeros((size, len(RING_SIZES)), np.float32)
        for j, ring_size in enumerate(RING_SIZES):
            in_ring[self.row[self.bond_rings == ring_size], j] = 1.0
        orders, lacking = pi_bond_orders(atoms.elements[self.atoms], neighbours.degrees[self.atoms],
                                         self.row, self.column)
        total_orders = np.bincount(self.row, orders, size)
        self.bond_orders = np.rint(orders.clip(0.0, 1.0) * ORDER_STEPS).astype(np.int64)
        self.features = {
            "element": elements,
            "hydrogens": np.minimum(self.num_hydrogens, MOST_HYDROGENS),
            "neighbours": np.minimum(neighbours.degrees[self.atoms], MOST_NEIGHBOURS),
            "ring_bonds": np.minimum(ring_bonds, MOST_RING_BONDS),
            "ring_class": np.searchsorted(RING_CLASSES, atoms.rings[self.atoms]),
            "in_ring": in_ring,
            "pi": np.stack([lacking, total_orders], axis=1).astype(np.float32)}

        ends = np.arange(atoms.num_molecules() + 1)
        self.first_atom = np.searchsorted(self.molecules, ends)
        self.first_bond = np.searchsorted(self.row, self.first_atom)

    def batch(self, molecules):
        """Tensors of some molecules, and the numbers of their heavy atoms."""
        starts, ends = self.first_atom[molecules], self.first_atom[molecules + 1]
        rows = _ranges(starts, ends)
        first_bonds, last_bonds = self.first_bond[molecules], self.first_bond[molecules + 1]
        bonds = _ranges(first_bonds, last_bonds)
        sizes = ends - starts
        shift = np.repeat(np.cumsum(sizes) - sizes - starts, last_bonds - first_bonds)
        tensors = {name: torch.from_numpy(values[rows]) for name, values in self.features.items()}
        tensors["row"] = torch.from_numpy(self.row[bonds] + shift)
        tensors["column"] = torch.from_numpy(self.column[bonds] + shift)
        tensors["bond_ring"] = torch.from_numpy(self.bond_rings[bonds])
        tensors["bond_order"] = torch.from_numpy(self.bond_orders[bonds])
        return tensors, rows

    def labels(self, atoms):
        """(output of each heavy atom, output of its hydrogens), NO_LABEL where there is none."""
        elements = atoms.elements[self.atoms]
        shift = np.zeros(elements.max() + 1, np.int64)
        for element, first in FIRST_OUTPUT.items():
            if element < len(shift):
                shift[element] = first
        own = atoms.labels[self.atoms]
        own = np.where(own == NO_LABEL, NO_LABEL, own + shift[elements])
        hydrogens = np.full(len(self.atoms), NO_LABEL, np.int64)
        hydrogens[self.parents] = atoms.labels[self.hydrogens]
        return own, hydrogens


def _ring_rule():
    """What is added to the outputs, for each element and ring class."""
    rule = np.full((len(ELEMENTS) + 1, len(RING_CLASSES), NUM_OUTPUTS), FORBIDDEN, np.float32)
    for element, first in FIRST_OUTPUT.items():
        for k, ring_class in enumerate(RING_CLASSES):
            rule[ELEMENTS.index(element) + 1, k, first + allowed_types(element, ring_class)] = 0.0
    return torch.from_numpy(rule)


class Teacher(torch.nn.Module):
    def __init__(self, width, layers):
        super().__init__()
        nn = torch.nn
        self.embeddings = nn.ModuleDict({
            "element": nn.Embedding(len(ELEMENTS) + 1, width),
            "hydrogens": nn.Embedding(MOST_HYDROGENS + 1, width),
            "neighbours": nn.Embedding(MOST_NEIGHBOURS + 1, width),
            "ring_bonds": nn.Embedding(MOST_RING_BONDS + 1, width),
            "ring_class": nn.Embedding(len(RING_CLASSES), width)})
        self.in_ring = nn.Linear(len(RING_SIZES), width)
        self.pi = nn.Linear(2, width)
        self.norms = nn.ModuleList(nn.LayerNorm(width) for _ in range(layers))
        self.messages = nn.ModuleList(nn.Linear(width, width) for _ in range(layers))
        self.bond_rings = nn.ModuleList(nn.Embedding(RING_SIZES[-1] + 1, width)
                                        for _ in range(layers))
        self.bond_orders = nn.ModuleList(nn.Embedding(ORDER_STEPS + 1, width)
                                         for _ in range(layers))
        self.updates = nn.ModuleList(self._perceptron(width, width) for _ in range(layers))
        self.output = self._perceptron(width, NUM_OUTPUTS)
        self.hydrogen_output = self._perceptron(width, NUM_HYDROGEN_OUTPUTS)
        self.register_buffer("ring_rule", _ring_rule(), persistent=False)

    @staticmethod
    def _perceptron(width, num_outputs):
        return torch.nn.Sequential(torch.nn.Linear(2 * width, width), torch.nn.ReLU(),
                                   torch.nn.Linear(width, num_outputs))

    def forward(self, batch):
        start = self.in_ring(batch["in_ring"]) + self.pi(batch["pi"])
        for name, embedding in self.embeddings.items():
            start = start + embedding(batch[name])
        state = start
        for norm, message, ring, order, update in zip(self.norms, self.messages, self.bond_rings,
                                                      self.bond_orders, self.updates):
            calm = norm(state)
            sent = torch.relu(message(calm)[batch["column"]] + ring(batch["bond_ring"])
                              + order(batch["bond_order"]))
            heard = torch.zeros_like(state).index_add_(0, batch["row"], sent)
            state = state + update(torch.cat([calm, heard], dim=1))
        # An atom's own features stay in sight.
        state = torch.cat([state, start], dim=1)
        return (self.output(state) + self.ring_rule[batch["element"], batch["ring_class"]],
                self.hydrogen_output(state))


class _Lessons:
    """The molecules to learn from, in the order of the steps."""

    def __init__(self, graph, atoms, settings, with_validation, random):
        sources = np.zeros(atoms.num_molecules(), int)
        sources[atoms.molecules] = atoms.sources
        held_out = np.unique(atoms.molecules[atoms.held_out()])
        published = [source for source in PUBLISHED_SETS
                     if with_validation or source != VALIDATION]
        self.validation = np.flatnonzero(sources == VALIDATION)
        self.held_out = held_out
        self._published = np.flatnonzero(np.isin(sources, published))
        self._drug_like = np.setdiff1d(np.flatnonzero(sources == DRUG_LIKE), held_out)
        self._sizes = np.diff(graph.first_atom)
        self.epochs = [self._epoch(settings, random) for _ in range(settings.epochs)]

    def _epoch(self, settings, random):
        molecules = np.concatenate([self._drug_like] + [self._published] * settings.repeats)
        random.shuffle(molecules)
        ends = np.cumsum(self._sizes[molecules])
        cuts = np.searchsorted(ends, np.arange(settings.batch_atoms, ends[-1],
                                               settings.batch_atoms))
        return np.split(molecules, cuts)


def _loss(teacher, batch, own, hydrogens):
    """Mean cross entropy of the heavy atoms plus that of those with hydrogens."""
    losses = (torch.nn.functional.cross_entropy(outputs, torch.from_numpy(labels),
                                                ignore_index=NO_LABEL, reduction="sum")
              for outputs, labels in zip(teacher(batch), (own, hydrogens)))
    return sum(losses) / len(own)


def _accuracy(teacher, graph, atoms, labels, molecules):
    """The share of right answers as text: heavy atoms with their true type, and hydrogens."""
    own, hydrogens = labels
    batch, rows = graph.batch(molecules)
    with torch.no_grad():
        answers = [outputs.argmax(dim=1).numpy() for outputs in teacher(batch)]
    counted = atoms.reachable[graph.atoms[rows]] & (own[rows] != NO_LABEL)
    right = answers[0] == own[rows]
    share = right[counted].mean() if counted.any() else 1.0
    weights = np.where(hydrogens[rows] == NO_LABEL, 0, graph.num_hydrogens[rows])
    hydrogen_share = np.average(answers[1] == hydrogens[rows], weights=weights)
    return f"heavy {share:.4f} H {hydrogen_share:.4f}"


def _follow(average, teacher, share):
    with torch.no_grad():
        for slow, fast in zip(average.parameters(), teacher.parameters()):
            slow.lerp_(fast, share)


def train(atoms, settings, with_validation, seed):
    """A trained teacher: the running average over the steps."""
    torch.set_num_threads(1)
    torch.manual_seed(seed)
    graph = HeavyGraph(atoms)
    labels = graph.labels(atoms)
    lessons = _Lessons(graph, atoms, settings, with_validation, np.random.default_rng(seed))
    total = sum(map(len, lessons.epochs))
    teacher = Teacher(settings.width, settings.layers)
    average = copy.deepcopy(teacher)
    optimiser = torch.optim.AdamW(teacher.parameters(), lr=settings.rate,
                                  weight_decay=WEIGHT_DECAY)
    step, begin = 0, time.time()
    for number, epoch in enumerate(lessons.epochs, start=1):
        losses = []
        for molecules in epoch:
            batch, rows = graph.batch(molecules)
            loss = _loss(teacher, batch, labels[0][rows], labels[1][rows])
            optimiser.zero_grad()
            loss.backward()
            torch.nn.utils.clip_grad_norm_(teacher.parameters(), LONGEST_GRADIENT)
            rise = min(1.0, (step + 1) / RATE_RISE_STEPS)
            for group in optimiser.param_groups:
                group["lr"] = (settings.rate * rise * 0.5
                               * (1.0 + math.cos(math.pi * step / total)))
            optimiser.step()
            step += 1
            _follow(average, teacher, 1.0 - min(AVERAGING, step / (step + 20)))
            losses.append(loss.item())
        shares = [_accuracy(average, graph, atoms, labels, chosen)
                  for chosen in (lessons.validation, lessons.held_out)]
        print(f"epoch {number}, {time.time() - begin:.0f} s: loss {np.mean(losses):.4f}, "
              f"validation {shares[0]}, drug-like {shares[1]}", flush=True)
    return average


def load(path, settings):
    teacher = Teacher(settings.width, settings.layers)
    teacher.load_state_dict(torch.load(path))
    return teacher


def label(atoms, teachers, confidence):
    """Sets the labels with the highest mean probability of the teachers, where it reaches the confidence.

    The hydrogens of an atom get one label: published ones differ there in rare cases only.
    """
    torch.set_num_threads(1)
    graph = HeavyGraph(atoms)
    size = len(graph.atoms)
    types, hydrogen_types = np.zeros(size, np.int64), np.zeros(size, np.int64)
    for start in range(0, atoms.num_molecules(), LABELLED_AT_ONCE):
        end = min(start + LABELLED_AT_ONCE, atoms.num_molecules())
        batch, rows = graph.batch(np.arange(start, end))
        with torch.no_grad():
            answers = [teacher(batch) for teacher in teachers]
        for result, outputs in zip((types, hydrogen_types), zip(*answers)):
            mean = sum(torch.softmax(output, dim=1) for output in outputs) / len(teachers)
            best, index = mean.max(dim=1)
            result[rows] = torch.where(best >= confidence, index, NO_LABEL).numpy()
    elements = atoms.elements[graph.atoms]
    atoms.labels[:] = NO_LABEL
    for element, first in FIRST_OUTPUT.items():
        rows = (elements == element) & (types != NO_LABEL)
        atoms.labels[graph.atoms[rows]] = types[rows] - first
    atoms.labels[graph.hydrogens] = hydrogen_types[graph.parents]
    atoms.reachable[:] = atoms.labels != NO_LABEL


def teacher_path(work, seed):
    return Path(work) / f"teacher-{seed}.pt"


def main():
    parser = argparse.ArgumentParser(description=__doc__.split("\n\n", maxsplit=1)[0])
    parser.add_argument("--work", type=Path, required=True, metavar="DIR")
    parser.add_argument("--seed", type=int, required=True)
    add_arguments(parser)
    arguments = parser.parse_args()

    settings = settings_of(arguments)
    with np.load(arguments.work / "atoms.npz") as arrays:
        atoms = load_atoms(arrays)
    teacher = train(atoms, settings.teacher, settings.with_validation, arguments.seed)
    torch.save(teacher.state_dict(), teacher_path(arguments.work, arguments.seed))
    return 0


if __name__ == "__main__":
    sys.exit(main())

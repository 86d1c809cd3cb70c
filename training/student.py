#!/usr/bin/env python3
"""Trains the program's network of one element.

    python3 training/student.py --work DIR --element 6      trains carbon's: DIR/student-6.npz
    python3 training/student.py --work DIR --element 6 --start 0   the first steps of the first part of the seeds
    python3 training/student.py --work DIR --element 6 --train-on src/AtomTyperWeights.cpp

DIR must have the surroundings; train.py makes them and calls this.
"""

import argparse
import copy
import math
import pickle
import sys
import time
from pathlib import Path

import one_thread  # noqa: F401  ahead of numpy
import numpy as np

from evaluate_weights import read_networks
from folding import empty_network, folded, network_of, with_whitened_inputs
from idle_channels import idle_channel, revive
from molecules import (DRUG_LIKE, DRUG_LIKE_VARIANT, NO_LABEL, PUBLISHED_SETS, RING_CLASSES,
                       SPECIAL, TRAIN, VALIDATION, VARIANT, tables)
from optimiser import Soap
from settings import FURTHER, add_arguments, settings_of
from sieve import Sieve
from surroundings import Batch, load_surroundings, surroundings_path
from write_weights import HIDDEN_CHANNELS, HOPS

REVIVING_BATCHES = 6
SCALING_BATCHES = 20
# Steps between the scales tried for the outputs of a network that is trained on, and the largest one.
SCALE_STEP, MOST_SCALE = 1.25, 300.0
# Standard deviations of the numbers that a network starts with.
FIRST_WEIGHTS, FIRST_BIAS = 0.8, 0.5
SECOND_WEIGHTS, THIRD_WEIGHTS = (2.0 / 24.0) ** 0.5, (1.0 / 24.0) ** 0.5


def first_network(num_types, random):
    size = HOPS * HIDDEN_CHANNELS
    network = [random.standard_normal((HOPS, HIDDEN_CHANNELS)) * FIRST_WEIGHTS,
               random.standard_normal(HIDDEN_CHANNELS) * FIRST_BIAS,
               random.standard_normal((size, HIDDEN_CHANNELS)) * SECOND_WEIGHTS,
               np.zeros(HIDDEN_CHANNELS),
               random.standard_normal((size, num_types)) * THIRD_WEIGHTS,
               np.zeros(num_types)]
    return [array.astype(np.float32) for array in network]


def network_to_train_on(layers, lessons, q):
    """A network of the program in the form of the training; q is the exponent of the loss.

    Folding has squeezed its outputs and added a constant to them. What scale they had is not known
    any more: the one with the least loss is taken.
    """
    network = with_whitened_inputs(network_of(layers), *lessons.whitening())
    network[5] = network[5] - network[5].mean()
    batches = lessons.some_batches(SCALING_BATCHES, np.random.default_rng(0))
    scales = SCALE_STEP ** np.arange(math.log(MOST_SCALE, SCALE_STEP))

    def scaled(scale):
        return [array.astype(np.float32) for array in
                (*network[:4], network[4] * scale, network[5] * scale)]
    return min(map(scaled, scales),
               key=lambda trial: np.mean([batch.loss(trial, q) for batch in batches]))


class Lessons:
    """The batches to train with, and those to look at."""

    def __init__(self, surroundings, element, settings, with_validation):
        self._surroundings, self._element = surroundings, element
        atoms = surroundings.atoms
        self._labelled = (atoms.elements == element) & (atoms.labels != NO_LABEL)
        published = [source for source in PUBLISHED_SETS
                     if with_validation or source != VALIDATION]
        self._published = np.flatnonzero(self._labelled & np.isin(atoms.sources, published))
        self._others = [
            (np.flatnonzero(self._labelled & (atoms.sources == source) & ~atoms.held_out()), share)
            for source, share in ((DRUG_LIKE, settings.drug_like_share),
                                  (VARIANT, settings.variant_share),
                                  (DRUG_LIKE_VARIANT, settings.drug_like_variant_share))]
        if settings.groups % settings.published_groups:
            raise ValueError(f"element {element}: {settings.groups} groups, which is no multiple of "
                             f"the {settings.published_groups} of published molecules")
        # Dealt alike for all seeds.
        self._deal = np.random.default_rng(0).permutation(atoms.num_molecules())
        self._settings = settings
        self._kinds = self._kinds_of_atoms()
        self.batches = [self._batch(group, settings.groups) for group in range(settings.groups)]
        self._shown = [("validation", *self._evaluated(atoms.sources == VALIDATION)),
                       ("train", *self._evaluated(atoms.sources == TRAIN)),
                       ("drug-like", *self._evaluated(atoms.held_out()))]

    def _of_group(self, atoms, group, groups):
        molecules = self._surroundings.atoms.molecules[atoms]
        return atoms[self._deal[molecules] % groups == group % groups]

    @staticmethod
    def _let_through(sieve, atoms, weights, group, groups):
        passing = sieve.passing(atoms, group, groups)
        return atoms[passing], weights[passing] / sieve.shares(atoms[passing])

    def _kinds_of_atoms(self):
        """Numbers the atoms; those with the same surroundings, ring class and label alike."""
        atoms, labelled = self._surroundings.atoms, self._labelled
        key = self._surroundings.classes[2].astype(np.int64)
        for column, size in ((atoms.rings, max(RING_CLASSES) + 1),
                             (atoms.labels, len(tables.names[self._element]))):
            key = key * size + column
        kinds = np.zeros(len(key), np.int32)
        kinds[labelled] = np.unique(key[labelled], return_inverse=True)[1]
        return kinds

    def sifted_batches(self, network, q, random):
        """Fewer batches of about the same size, with what the network can still learn from.

        q is the exponent of the loss. The expected gradient is the same as without a sieve.
        """
        probabilities = np.zeros(self._kinds.max() + 1, np.float32)
        for batch in self.batches:
            probabilities[self._kinds[batch.atoms]] = batch.probabilities(network)
        sieve = Sieve(self._kinds, probabilities, q, random)
        rows = sum(len(batch.atoms) for batch in self.batches)
        left = sum(sieve.shares(batch.atoms).sum() for batch in self.batches)
        # A multiple, so that each group of published molecules is in as many batches.
        published = self._settings.published_groups
        groups = published * max(1, round(len(self.batches) / published * left / rows))
        return [self._batch(group, groups, sieve) for group in range(groups)]

    def _weights(self, atoms):
        """Within a source. For variants it is not known which labels stand in for forbidden types."""
        return np.where(self._surroundings.atoms.reachable[atoms], 1.0,
                        self._settings.substitute_weight)

    def _batch(self, group, groups, sieve=None):
        """The weights are those without a sieve, which then makes up for what it keeps back."""
        settings = self._settings
        special = self._surroundings.atoms.sources[self._published] == SPECIAL
        published = np.concatenate([
            self._of_group(self._published[~special], group, settings.published_groups),
            self._published[special]])
        weights = self._weights(published)
        weights[len(published) - np.count_nonzero(special):] = settings.special_weight
        parts = [(published, weights, settings.published_share)]
        for atoms, share in self._others:
            atoms = self._of_group(atoms, group, groups)
            parts.append((atoms, self._weights(atoms), share))
        parts = [(atoms, weights * (share / weights.sum())) for atoms, weights, share in parts
                 if len(atoms)]
        if sieve is not None:
            parts = [self._let_through(sieve, atoms, weights, group, groups)
                     for atoms, weights in parts]
        if not parts:
            raise ValueError(f"no atoms of element {self._element} in group {group}: fewer groups")
        return Batch(self._surroundings, self._element, *map(np.concatenate, zip(*parts)))

    def _evaluated(self, chosen):
        """(batch with a weight of one for each atom, which rows have their true type)."""
        atoms = np.flatnonzero(self._labelled & chosen)
        if not len(atoms):
            return None, None
        batch = Batch(self._surroundings, self._element, atoms, np.ones(len(atoms)))
        return batch, self._surroundings.atoms.reachable[batch.atoms]

    def whitening(self):
        return self._surroundings.whitening()

    def some_batches(self, number, random):
        chosen = random.choice(len(self.batches), min(number, len(self.batches)), replace=False)
        return [self.batches[i] for i in chosen]

    def accuracy(self, network):
        """Shares of right answers as text: where the true type is allowed, and where it is not."""
        words = []
        for name, batch, reachable in self._shown:
            if batch is None:
                continue
            right = batch.is_right(network)
            words.append(name)
            for rows in (reachable, ~reachable):
                if rows.any():
                    words.append(f"{np.average(right[rows], weights=batch.weights[rows]):.4f}")
        return " ".join(words)


def exponent(settings, done):
    """q of the loss when this fraction of the steps is done; 0 stands for the cross entropy."""
    if done >= settings.q_end:
        return settings.q
    return settings.q * max(0.0, (done - settings.q_start) / (settings.q_end - settings.q_start))


class Run:
    """The training of one network, from one seed or from a network that has been trained before."""

    def __init__(self, lessons, num_types, settings, seed, beginning=None):
        self._lessons, self._settings, self.seed = lessons, settings, seed
        self._random = np.random.default_rng(seed)
        self._has_learnt = beginning is not None
        self._network = beginning or first_network(num_types, self._random)
        self.average = [array.copy() for array in self._network]  # the running one, over the steps
        self._optimiser = Soap(self._network, settings.momentum, settings.second_momentum,
                               settings.least_scale, settings.sort_eigenvectors)
        self._step = 0
        self._batches, self._order = None, []
        self._losses = []
        self._seconds = 0.0

    @classmethod
    def resumed(cls, lessons, settings, state):
        """Goes on where the run was whose state this is."""
        run = cls.__new__(cls)
        run.__dict__.update(state, _lessons=lessons, _settings=settings)
        return run

    def state(self):
        return {name: value for name, value in self.__dict__.items()
                if name not in ("_lessons", "_settings")}

    def train_to(self, last_step):
        begin = time.time()
        while self._step < last_step:
            self._make_step()
            if self._step % self._settings.report_every == 0:
                seconds = self._seconds + time.time() - begin
                print(f"seed {self.seed}, step {self._step}, {seconds:.0f} s: "
                      f"loss {np.mean(self._losses):.4f}, "
                      f"{self._lessons.accuracy(self.average)}", flush=True)
                self._losses.clear()
        self._seconds += time.time() - begin
        self._batches = None  # They take much memory.

    def loss(self):
        """The mean loss of the averaged network over all batches, as it counts at the end."""
        return np.mean([batch.loss(self.average, self._settings.q)
                        for batch in self._lessons.batches])

    def _exponent(self):
        return exponent(self._settings, self._step / self._settings.steps)

    def _make_step(self):
        settings = self._settings
        if (self._batches is None
                or settings.sift_every and self._step % settings.sift_every == 0):
            self._choose_batches()
        if not len(self._order):
            self._order = self._random.permutation(len(self._batches))
        done = self._step / settings.steps
        if (self._step % settings.revive_every == 0
                and settings.revive_begin <= done < settings.revive_end):
            self._revive_idle_channels()
        batch, self._order = self._batches[self._order[-1]], self._order[:-1]
        loss, gradient = batch.loss_and_gradient(self._network, self._exponent())
        self._losses.append(loss)
        rise = min(1.0, (self._step + 1) / settings.rate_rise_steps)
        self._optimiser.step(gradient,
                             settings.rate * rise * 0.5 * (1.0 + math.cos(math.pi * done)))
        share = np.float32(1.0 - min(settings.averaging, (self._step + 1) / (self._step + 20)))
        for slow, fast in zip(self.average, self._network):
            slow += share * (fast - slow)
        self._step += 1

    def _choose_batches(self):
        self._batches, self._order = self._lessons.batches, []
        if self._settings.sift_every and (self._step or self._has_learnt):
            self._batches = self._lessons.sifted_batches(self.average, self._exponent(), self._random)
            print(f"seed {self.seed}, step {self._step}: sifted into {len(self._batches)} batches")

    def _revive_idle_channels(self):
        batches = self._lessons.some_batches(REVIVING_BATCHES, self._random)
        for layer in (1, 0):
            channel = idle_channel(self.average, layer, batches, self._exponent())
            if channel is not None:
                print(f"seed {self.seed}, step {self._step}: channel {channel} of layer "
                      f"{layer + 1} begins anew")
                revive([self._network, self.average], layer, channel, batches, self._exponent(),
                       self._random)


def student_path(work, element):
    return Path(work) / f"student-{element}.npz"


def read_student(work, element):
    with np.load(student_path(work, element)) as arrays:
        return [arrays[f"arr_{i}"] for i in range(6)]


def start_path(work, element, part):
    return Path(work) / f"start-{element}-{part}.pickle"


def best_runs(runs, step, number):
    """Trains all to this step; those with the lowest loss, the best one first."""
    for run in runs:
        run.train_to(step)
    losses = {run: np.nan_to_num(run.loss(), nan=np.inf) for run in runs}
    runs = sorted(runs, key=losses.get)
    for run in runs:
        print(f"step {step}, seed {run.seed}: loss {losses[run]:.5f}", flush=True)
    return runs[:number]


def first_runs(lessons, num_types, settings, part, beginning=None):
    """What is left of a part of the seeds after the rounds."""
    runs = [Run(lessons, num_types, settings, seed, copy.deepcopy(beginning))
            for seed in settings.seeds[part::settings.start_parts]]
    for step, number in settings.rounds:
        runs = best_runs(runs, step, number)
    return runs


def save_start(work, lessons, element, settings, part):
    """Leaves the best runs of a part of the seeds in a file."""
    runs = first_runs(lessons, len(tables.names[element]), settings, part)
    with open(start_path(work, element, part), "wb") as file:
        pickle.dump([run.state() for run in runs], file)


def read_starts(work, lessons, element, settings):
    """The best runs of all parts."""
    runs = []
    for part in range(settings.start_parts):
        with open(start_path(work, element, part), "rb") as file:
            runs += [Run.resumed(lessons, settings, state) for state in pickle.load(file)]
    return best_runs(runs, *settings.rounds[-1])


def trained(lessons, num_types, settings, beginning=None, runs=None):
    """The best network at the end of these runs, or of all seeds'."""
    if runs is None:
        runs = first_runs(lessons, num_types, settings, 0, beginning)
    return best_runs(runs, settings.steps, 1)[0].average


def trained_network(work, surroundings, element, settings, beginning=None):
    """The network of the best seed, in the program's form; `beginning` has the layers to train on."""
    student = settings.students[element]
    num_types = len(tables.names[element])
    if num_types == 1:
        return empty_network(num_types)
    lessons = Lessons(surroundings, element, student, settings.with_validation)
    runs = None
    if beginning is not None:
        if student.start_parts > 1:
            raise ValueError(f"element {element}: what is trained on has no starts in parts")
        beginning = network_to_train_on(beginning, lessons, exponent(student, 0.0))
        print("at the beginning:", lessons.accuracy(beginning), flush=True)
    elif student.start_parts > 1:
        runs = read_starts(work, lessons, element, student)
    network = trained(lessons, num_types, student, beginning, runs)
    if student.afterwards is not None:
        print("before the second training:", lessons.accuracy(network), flush=True)
        del runs, lessons  # They take much memory.
        student = student.afterwards
        lessons = Lessons(surroundings, element, student, settings.with_validation)
        network = trained(lessons, num_types, student, network)
    print("at the end:", lessons.accuracy(network), flush=True)
    return folded(surroundings, element, network, settings.output_margin)


def main():
    parser = argparse.ArgumentParser(description=__doc__.split("\n\n", maxsplit=1)[0])
    parser.add_argument("--work", type=Path, required=True, metavar="DIR")
    parser.add_argument("--element", type=int, required=True, help="atomic number")
    parser.add_argument("--start", type=int, metavar="PART",
                        help="only the first steps of this part of the seeds, from 0")
    parser.add_argument("--train-on", type=Path, metavar="WEIGHTS",
                        help="begin with the network in this source file or JSON form of it")
    add_arguments(parser)
    arguments = parser.parse_args()

    settings, beginning = settings_of(arguments), None
    work, element = arguments.work, arguments.element
    if arguments.train_on:
        settings = settings_of(arguments, FURTHER)
        beginning = read_networks(arguments.train_on)[element]
    surroundings = load_surroundings(surroundings_path(work), settings.with_validation)
    if arguments.start is not None:
        student = settings.students[element]
        lessons = Lessons(surroundings, element, student, settings.with_validation)
        save_start(work, lessons, element, student, arguments.start)
        return 0
    network = trained_network(work, surroundings, element, settings, beginning)
    np.savez(student_path(work, element), *network)
    return 0


if __name__ == "__main__":
    sys.exit(main())

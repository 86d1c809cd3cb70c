#!/usr/bin/env python3
"""Checks what the training computes against plain versions of the same.

    python3 training/check_kernel.py

Loss and gradients of the kernel, over classes of surroundings in single precision, are compared
with those of PyTorch's automatic differentiation over every atom in double precision; the folded
network, computed as the program computes, with the trained one, which it is turned back into; and
ring classes with those found by trying all paths. Channels without use must be found, and learn
again. What a sieve lets through must have the gradient of the whole on average. Nothing may depend
on where arrays lie in memory, and a run read back from a file must go on as if never
interrupted.

The exit status is 1 if anything differs and 77 where PyTorch, a C++ compiler or Eigen is missing.
"""

import argparse
import contextlib
import io
import sys
import tempfile
from dataclasses import replace

import one_thread  # noqa: F401  ahead of numpy and torch

try:
    import numpy as np
    import torch
except ImportError:
    np = None

SKIPPED = 77
NUM_MOLECULES = 40
ELEMENTS = (1, 6, 7)
EXPONENTS = (0.0, 0.7)
IDLE_CHANNEL = 5
TRAINING_STEPS, TRAINING_RATE = 100, 0.003
RUN_STEPS = 80
LAST_EXPONENT = 0.7
CERTAINTY, NUM_SIEVES = 6.0, 1000
SQUEEZED = 0.02         # as folding may squeeze outputs
SIFTED_TOLERANCE = 0.2  # of the largest number, by chance
TOLERANCE = 1e-4        # of the largest number, in single precision
FOLDED_TOLERANCE = 1e-5  # of probabilities, with weights of eight decimals


def plain_powers(atoms):
    """The normalised adjacency of all atoms, to the powers 0, 1 and 2, as dense matrices."""
    size = len(atoms.elements)
    adjacency = np.zeros((size, size))
    for i, j in atoms.bonds:
        adjacency[i, j] = adjacency[j, i] = 1.0
    scales = adjacency.sum(axis=0) ** -0.5
    normalised = scales[:, np.newaxis] * adjacency * scales
    return [torch.eye(size, dtype=torch.float64), torch.from_numpy(normalised),
            torch.from_numpy(normalised @ normalised)]


def plain_outputs(powers, inputs, network):
    def hops(values):
        return torch.cat([power @ values for power in powers], dim=1)
    hidden = torch.relu(inputs @ network[0] + network[1])
    hidden = torch.relu(hops(hidden) @ network[2] + network[3])
    return hops(hidden) @ network[4] + network[5]


def plain_probabilities(outputs, atoms, element, chosen, allowed_types):
    """The softmax over the types that each atom's ring class allows."""
    rule = torch.full(outputs.shape, -torch.inf, dtype=torch.float64)
    for i in chosen:
        rule[i, allowed_types(element, atoms.rings[i])] = 0.0
    return torch.softmax(outputs[chosen] + rule[chosen], dim=1)


def plain_loss(probabilities, labels, weights, q):
    right = probabilities[torch.arange(len(labels)), labels]
    losses = -torch.log(right) if q == 0.0 else (1.0 - right ** q) / q
    return (weights * losses).sum()


def plain_ring_classes(num_atoms, bonds):
    """5 or 6 for an atom whose smallest cycle has this length, by trying all paths from it."""
    neighbours = [[] for _ in range(num_atoms)]
    for i, j in bonds:
        neighbours[i].append(j)
        neighbours[j].append(i)

    def closes(path, length):
        if len(path) == length:
            return path[0] in neighbours[path[-1]]
        return any(closes([*path, other], length) for other in neighbours[path[-1]]
                   if other not in path)

    smallest = [next((length for length in range(3, 7) if closes([atom], length)), 0)
                for atom in range(num_atoms)]
    return [length if length in (5, 6) else 0 for length in smallest]


class Check:
    def __init__(self):
        # Imported here: without PyTorch this script has to say that it skips.
        import folding
        import idle_channels
        import molecules
        import surroundings
        from evaluate_weights import calc_probabilities
        from optimiser import Soap
        import student
        from settings import FULL
        self._folding, self._molecules, self._surroundings = folding, molecules, surroundings
        self._idle_channels, self._soap = idle_channels, Soap
        self._calc_probabilities, self._student = calc_probabilities, student
        self._settings = FULL
        self._published = (molecules.read_published(molecules.SPECIAL)
                           + molecules.read_published(molecules.VALIDATION, NUM_MOLECULES))
        self._atoms = molecules.published_atoms(self._published, molecules.TRAIN)
        self._all = surroundings.Surroundings(self._atoms)
        self._powers = plain_powers(self._atoms)
        self._random = np.random.default_rng(1)
        self.num_faults = 0

    def _compare(self, what, actual, expected, tolerance):
        actual, expected = np.asarray(actual, float), np.asarray(expected, float)
        scale = max(np.abs(expected).max(), 1e-30)
        difference = np.abs(actual - expected).max() / scale
        if not difference <= tolerance:
            self.num_faults += 1
            print(f"{what}: a difference of {difference:.2e} of the largest number",
                  file=sys.stderr)

    def _require(self, what, is_so):
        if not is_so:
            self.num_faults += 1
            print(f"not so: {what}", file=sys.stderr)

    def _network(self, element):
        return self._student.first_network(len(self._molecules.tables.names[element]), self._random)

    def _whitened_inputs(self):
        own = torch.from_numpy(self._atoms.elements.astype(float))[:, None]
        inputs = torch.cat([power @ own for power in self._powers], dim=1).numpy()
        mean, matrix = self._all.whitening()
        self._compare("means of the inputs", mean, inputs.mean(axis=0), 1e-9)
        self._compare("whitened inputs", np.cov(((inputs - mean) @ matrix).T), np.eye(3), 1e-6)
        return torch.from_numpy((inputs - mean) @ matrix)

    def gradients(self, element, q):
        atoms = self._atoms
        chosen = np.flatnonzero((atoms.elements == element) & (atoms.labels >= 0))
        weights = self._random.random(len(chosen))
        network = self._network(element)
        batch = self._surroundings.Batch(self._all, element, chosen, weights)
        loss, gradient = batch.loss_and_gradient(network, q)

        plain = [torch.tensor(array, dtype=torch.float64, requires_grad=True) for array in network]
        outputs = plain_outputs(self._powers, self._whitened_inputs(), plain)
        probabilities = plain_probabilities(outputs, atoms, element, chosen,
                                            self._molecules.allowed_types)
        labels = torch.from_numpy(atoms.labels[chosen].astype(np.int64))
        expected = plain_loss(probabilities, labels, torch.from_numpy(weights), q)
        expected.backward()
        what = f"element {element}, q {q}: "
        self._compare(what + "loss", loss, expected.item(), TOLERANCE)
        self._compare(what + "loss alone", batch.loss(network, q), loss, TOLERANCE)
        names = ("weights 1", "bias 1", "weights 2", "bias 2", "weights 3", "bias 3")
        for name, actual, array in zip(names, gradient, plain):
            self._compare(what + name, actual, array.grad.numpy(), TOLERANCE)

        right = (probabilities.argmax(dim=1) == labels).numpy()
        share = np.average(batch.is_right(network), weights=batch.weights)
        self._compare(what + "accuracy", share, np.average(right, weights=weights), TOLERANCE)
        losses = -np.log(batch.probabilities(network)) * batch.weights
        self._compare(what + "probabilities", losses.sum(), batch.loss(network, 0.0), TOLERANCE)

    def memory(self, element):
        """Probabilities are the same to the last digit wherever they are written."""
        chosen = np.flatnonzero(self._atoms.elements == element)
        batch = self._surroundings.Batch(self._all, element, chosen, np.ones(len(chosen)))
        network = self._network(element)
        found = []
        for shift in range(0, 16, 4):
            probabilities = np.empty(len(batch.atoms) + 16, np.float32)
            first = (shift - probabilities.ctypes.data // 4) % 16
            probabilities = probabilities[first:first + len(batch.atoms)]
            batch._run(batch._padded(network), 0.0, probabilities=probabilities)
            found.append(probabilities)
        self._require(f"element {element}: the same probabilities wherever they are written",
                      all(np.array_equal(each, found[0]) for each in found))

    def folded_network(self, element):
        """Probabilities of the folded network among the allowed types, whose outputs it shifts."""
        network = self._network(element)
        plain = [torch.tensor(array, dtype=torch.float64) for array in network]
        outputs = plain_outputs(self._powers, self._whitened_inputs(), plain)
        # A margin so large that no output is set to zero.
        folded = self._folding.folded(self._all, element, network, 200.0)
        layers = [(list(matrices), bias) for *matrices, bias in self._folding.layers_of(folded)]
        actual = []
        for molecule in self._published:
            for atom, probabilities in enumerate(self._calc_probabilities(
                    {element: layers}, molecule.elements, molecule.bonds)):
                if molecule.elements[atom] == element:
                    actual.append(probabilities)
        expected = torch.softmax(outputs[self._atoms.elements == element], dim=1)
        self._compare(f"element {element}: probabilities of the folded network", actual, expected,
                      FOLDED_TOLERANCE)

    def outputs_above_zero(self, element):
        """Low outputs of the folded network are lifted to the margin, high ones left where they are."""
        margin, lift = 20.0, 1000.0
        network = self._network(element)
        leasts = []
        for bias in (network[5] - lift, network[5] + lift):
            folded = self._folding.folded(self._all, element, [*network[:5], bias], margin)
            leasts.append(self._folding.output_range(self._all, element, folded)[0])
        self._compare(f"element {element}: least output, lifted", leasts[0], margin, 1e-4)
        self._require(f"element {element}: high outputs are not lowered", leasts[1] > lift / 2)

    def network_to_train_on(self, element):
        """A folded network turned back makes the same choices, from outputs as far apart as learnt."""
        lessons = self._lessons(element)
        batch = lessons.batches[0]
        network = self._trained_network(element, batch)
        folded = self._folding.folded(self._all, element, network, 10.0)
        squeezed = [*folded[:4], SQUEEZED * folded[4], SQUEEZED * folded[5]]
        found = self._student.network_to_train_on(
            [(matrices, bias) for *matrices, bias in self._folding.layers_of(squeezed)], lessons,
            LAST_EXPONENT)
        what = f"element {element}, to train on: "
        self._compare(what + "right choices", batch.is_right(found), batch.is_right(network), 0.0)
        self._require(what + "a loss no higher", batch.loss(found, LAST_EXPONENT)
                      < 1.01 * batch.loss(network, LAST_EXPONENT))

    def _trained_network(self, element, batch):
        """Trained a little."""
        network = self._network(element)
        optimiser = self._soap(network, momentum=0.9, second_momentum=0.9)
        for _ in range(TRAINING_STEPS):
            optimiser.step(batch.loss_and_gradient(network, 0.0)[1], TRAINING_RATE)
        return network

    def _with_idle_channel(self, element, batch, layer):
        """A trained network with one channel that is always zero."""
        network = self._trained_network(element, batch)
        network[2 * layer + 1][IDLE_CHANNEL] = -1e6
        return network

    def revived_channels(self, element):
        """An idle channel is found and begins anew; the loss stays until it learns."""
        atoms = self._atoms
        chosen = np.flatnonzero((atoms.elements == element) & (atoms.labels >= 0))
        batch = self._surroundings.Batch(self._all, element, chosen, np.ones(len(chosen)))
        for layer in (0, 1):
            network = self._with_idle_channel(element, batch, layer)
            loss = batch.loss(network, 0.0)
            what = f"element {element}, layer {layer + 1}: "
            # It may find another one without use.
            found = self._idle_channels.idle_channel(network, layer, [batch], 0.0)
            self._require(what + "an idle channel is found", found is not None)
            if found is not None:
                without = batch.loss(self._idle_channels.without(network, layer, found), 0.0)
                self._compare(what + "loss without it", max(without, loss), loss, TOLERANCE)

            revived = [array.copy() for array in network]
            self._idle_channels.revive([revived], layer, IDLE_CHANNEL, [batch], 0.0, self._random)
            self._compare(what + "loss with a revived channel", batch.loss(revived, 0.0), loss,
                          TOLERANCE)
            gradients = [self._idle_channels.outgoing(batch.loss_and_gradient(each, 0.0)[1], layer,
                                                      IDLE_CHANNEL) for each in (network, revived)]
            self._require(what + "an idle channel does not learn", not np.any(gradients[0]))
            self._require(what + "a revived channel learns", np.any(gradients[1]))

    def _lessons(self, element):
        settings = replace(self._settings.students[element], groups=2, published_groups=2)
        return self._student.Lessons(self._all, element, settings, False)

    @staticmethod
    def _mean_weight_and_gradient(batches, network):
        """One number, and six arrays like the network's."""
        terms = [[batch.weights.sum(keepdims=True),
                  *batch.loss_and_gradient(network, LAST_EXPONENT)[1]] for batch in batches]
        return [np.mean(arrays, axis=0) for arrays in zip(*terms)]

    def sifted_batches(self, element):
        """Over many sieves, mean weight and gradient of what is let through are those of everything."""
        lessons = self._lessons(element)
        network = self._trained_network(element, lessons.batches[0])
        for array in network[4:]:  # as sure of most types as after a long training
            array *= CERTAINTY
        num_atoms, sifted = [], []
        for _ in range(NUM_SIEVES):
            batches = lessons.sifted_batches(network, LAST_EXPONENT, self._random)
            num_atoms.append(sum(len(batch.atoms) for batch in batches))
            sifted.append(self._mean_weight_and_gradient(batches, network))
        what = f"element {element}, sifted: "
        self._require(what + "less than half of the atoms",
                      np.mean(num_atoms) < 0.5 * sum(len(batch.atoms) for batch in lessons.batches))
        for actual, array in zip(map(np.array, zip(*sifted)),
                                 self._mean_weight_and_gradient(lessons.batches, network)):
            self._compare(what + "weight or gradient", actual.mean(axis=0), array, SIFTED_TOLERANCE)

    def resumed_run(self, element):
        """The best of all seeds, kept in a file, goes on to the same network."""
        settings = replace(self._settings.students[element], steps=RUN_STEPS, groups=2,
                           published_groups=2, sift_every=RUN_STEPS // 4, start_parts=2,
                           seeds=(1, 2, 3, 4), rounds=((RUN_STEPS // 2, 1),), report_every=RUN_STEPS)
        lessons = self._student.Lessons(self._all, element, settings, False)
        num_types = len(self._molecules.tables.names[element])
        with contextlib.redirect_stdout(io.StringIO()), tempfile.TemporaryDirectory() as work:
            for part in range(settings.start_parts):
                self._student.save_start(work, lessons, element, settings, part)
            resumed, = self._student.read_starts(work, lessons, element, settings)
            whole = [self._student.Run(lessons, num_types, settings, seed)
                     for seed in settings.seeds]
            for run in whole:
                run.train_to(RUN_STEPS // 2)
            whole = min(whole, key=self._student.Run.loss)
            for run in (resumed, whole):
                run.train_to(RUN_STEPS)
        what = f"element {element}, resumed: "
        self._require(what + "the best seed goes on", resumed.seed == whole.seed)
        self._require(what + "the same network",
                      all(map(np.array_equal, resumed.average, whole.average)))

    def rings(self):
        data = self._molecules.evaluation_form(self._published)
        for molecule in data:
            self._compare(f"{molecule['name']}: ring classes", molecule["ring"],
                          plain_ring_classes(len(molecule["elements"]), molecule["bonds"]), 0.0)


def main():
    argparse.ArgumentParser(description=__doc__.split("\n\n", maxsplit=1)[0]).parse_args()
    if np is None:
        print("numpy or PyTorch is not there: nothing is checked, skipped")
        return SKIPPED
    from kernels import missing_tool
    if missing_tool():
        print(f"{missing_tool()} is not there: nothing is checked, skipped")
        return SKIPPED
    torch.set_num_threads(1)
    check = Check()
    check.rings()
    for element in ELEMENTS:
        for q in EXPONENTS:
            check.gradients(element, q)
        check.folded_network(element)
        check.revived_channels(element)
        check.sifted_batches(element)
    for element in ELEMENTS:
        check.outputs_above_zero(element)
        check.network_to_train_on(element)
        check.memory(element)
        check.resumed_run(element)
    if check.num_faults == 0:
        print("loss, gradients, folded networks, ring classes, revived channels, sieves and resumed"
              " runs are as expected")
    return 1 if check.num_faults else 0


if __name__ == "__main__":
    sys.exit(main())

"""Atoms with the same surroundings are worked on once.

A layer of the networks sees an atom's own values and two sums over its neighbours' values, with the
powers of the normalised adjacency as weights: bonds count 1 / sqrt(d_i d_j), with d the number of
neighbours. What the first layer gives is the same for all atoms with the same three inputs, which
make a class of surroundings of two bonds. In the second layer atoms are alike if the classes of
two-bond surroundings around them are, which makes classes of four bonds, and likewise of six bonds
in the third. Millions of atoms become a few hundred thousand rows, most of them shared by many.
"""

import ctypes

import numpy as np

import kernels
from integer_hash import odd_factor
from molecules import RING_CLASSES, VALIDATION, allowed_types, load_atoms, tables
from write_weights import HIDDEN_CHANNELS, HOPS

CHANNEL_PADDING = 16        # channels of a ring class are filled up to a multiple, for the kernel
UNUSED_BIAS = np.float32(-1e9)
CLASS_SEED = 0
EVALUATED_AT_ONCE = 20000   # classes, to keep memory low


class Adjacency:
    """The normalised adjacency of all atoms."""

    def __init__(self, neighbours):
        self._neighbours = neighbours
        degrees = neighbours.degrees
        self._weights = 1.0 / np.sqrt(degrees[neighbours.row].astype(float)
                                      * degrees[neighbours.atom])

    def product(self, values):
        """The matrix times one number for each atom."""
        return np.bincount(self._neighbours.row,
                           weights=self._weights * values[self._neighbours.atom],
                           minlength=len(values))

    def spread(self, rows, atoms, weights):
        """Replaces each term (row, atom, weight) by those of the atom's neighbours."""
        starts, counts = self._neighbours.first[atoms], self._neighbours.degrees[atoms]
        terms = np.repeat(np.arange(len(atoms)), counts)
        within = np.arange(len(terms)) - np.repeat(np.cumsum(counts) - counts, counts)
        bonds = starts[terms] + within
        return rows[terms], self._neighbours.atom[bonds], weights[terms] * self._weights[bonds]


def _classes(columns):
    """Numbers rows of equal numbers alike: the class of each row, and a row of each class."""
    mixer = np.random.default_rng(CLASS_SEED)
    key = np.zeros(len(columns[0]), np.uint64)
    for column in columns:
        # Equal sums may differ in the last digits when their terms came in another order.
        numbers = np.round(column * 1e7).astype(np.int64).view(np.uint64)
        numbers = (numbers ^ (numbers >> np.uint64(29))) * odd_factor(mixer)
        key = (key + numbers) * odd_factor(mixer)
        key ^= key >> np.uint64(31)
    _, examples, classes = np.unique(key, return_index=True, return_inverse=True)
    return classes.astype(np.int32), examples.astype(np.int32)


class Surroundings:
    """The classes of all atoms; `classes[k]` and `examples[k]` belong to layer k + 1.

    `in_training` tells the atoms that the networks may be fitted to, and their inputs whitened with.
    """

    def __init__(self, atoms, classes=None, examples=None, with_validation=True):
        self.atoms = atoms
        self.in_training = ~atoms.held_out()
        if not with_validation:
            self.in_training &= atoms.sources != VALIDATION
        self.adjacency = Adjacency(atoms.neighbours())
        own = atoms.elements.astype(float)
        hop1 = self.adjacency.product(own)
        inputs = np.stack([own, hop1, self.adjacency.product(hop1)], axis=1)
        self.classes, self.examples = classes, examples
        if classes is None:
            self._find_classes(inputs)
        self.inputs = inputs[self.examples[0]]  # one row for each class of the first layer
        self._counts = np.bincount(self.classes[0][self.in_training], minlength=len(self.inputs))

    def _find_classes(self, inputs):
        random = np.random.default_rng(CLASS_SEED)
        first = _classes(inputs.T)
        self.classes, self.examples = [first[0]], [first[1]]
        for _ in range(2):
            # A random number for each class stands for whatever the layer gives for it: atoms are
            # alike if the sums of these are.
            of_class = random.random(len(self.examples[-1])) * 10.0
            values = of_class[self.classes[-1]]
            hop1 = self.adjacency.product(values)
            classes, examples = _classes([values, hop1, self.adjacency.product(hop1)])
            self.classes.append(classes)
            self.examples.append(examples)

    def whitening(self):
        """(mean, matrix): (inputs - mean) @ matrix has variances 1 and no correlations."""
        mean = np.average(self.inputs, axis=0, weights=self._counts)
        values, vectors = np.linalg.eigh(np.cov(self.inputs.T, fweights=self._counts))
        return mean, vectors @ np.diag(values ** -0.5) @ vectors.T

    def save(self, path):
        self.atoms.save(path, **{f"classes{k}": self.classes[k] for k in range(3)},
                        **{f"examples{k}": self.examples[k] for k in range(3)})


def surroundings_path(work):
    return work / "surroundings.npz"


def load_surroundings(path, with_validation):
    """The surroundings in a file of `Surroundings.save`."""
    with np.load(path) as arrays:
        return Surroundings(load_atoms(arrays), [arrays[f"classes{k}"] for k in range(3)],
                            [arrays[f"examples{k}"] for k in range(3)], with_validation)


# Laid out as the records in network_kernel.cpp.

class _SparseRows(ctypes.Structure):
    _fields_ = [("first", ctypes.c_void_p), ("source", ctypes.c_void_p),
                ("weight", ctypes.c_void_p)]


class _HopLists(ctypes.Structure):
    _fields_ = [("num_rows", ctypes.c_int32), ("own", ctypes.c_void_p), ("hop1", _SparseRows),
                ("hop2", _SparseRows)]


class _Batch(ctypes.Structure):
    _fields_ = [("num_inputs", ctypes.c_int32), ("inputs", ctypes.c_void_p),
                ("layer2", _HopLists), ("layer3", _HopLists),
                ("num_groups", ctypes.c_int32), ("group_row", ctypes.c_void_p),
                ("group_channel", ctypes.c_void_p), ("num_channels", ctypes.c_int32),
                ("label", ctypes.c_void_p), ("weight", ctypes.c_void_p)]


class _Network(ctypes.Structure):
    _fields_ = [(name, ctypes.c_void_p) for name in
                ("weights1", "bias1", "weights2", "bias2", "weights3", "bias3")]


class HopLists:
    """For some atoms: which rows of the layer before make up the three hops, and with what weights.

    The rows of the layer before are the classes that occur, in `sources`.
    """

    def __init__(self, adjacency, atoms, classes):
        start = np.arange(len(atoms))
        rows1, atoms1, weights1 = adjacency.spread(start, atoms, np.ones(len(atoms)))
        rows2, atoms2, weights2 = adjacency.spread(rows1, atoms1, weights1)
        self.sources, index = np.unique(
            np.concatenate([classes[atoms], classes[atoms1], classes[atoms2]]),
            return_inverse=True)
        own, source1, source2 = np.split(index, np.cumsum([len(atoms), len(atoms1)]))
        self.num_rows = len(atoms)
        self.own = own.astype(np.int32)
        self.hops = [self._merged(rows1, source1, weights1),
                     self._merged(rows2, source2, weights2)]

    def _merged(self, rows, sources, weights):
        """(first, source, weight), with one term for each source of a row."""
        keys, index = np.unique(rows.astype(np.int64) * len(self.sources) + sources,
                                return_inverse=True)
        counts = np.bincount(keys // len(self.sources), minlength=self.num_rows)
        return (np.concatenate([[0], np.cumsum(counts)]).astype(np.int32),
                (keys % len(self.sources)).astype(np.int32),
                np.bincount(index, weights=weights).astype(np.float32))

    def gathered(self, values):
        """The three hops side by side, from the values of the sources."""
        return np.concatenate([values[self.own]] + [
            np.add.reduceat(weight[:, np.newaxis] * values[source], first[:-1], axis=0)
            for first, source, weight in self.hops], axis=1)

    def record(self):
        return _HopLists(self.num_rows, kernels.address(self.own, np.int32), *(
            _SparseRows(kernels.address(first, np.int32), kernels.address(source, np.int32),
                        kernels.address(weight, np.float32))
            for first, source, weight in self.hops))


def _kernel():
    function = kernels.load("network_kernel").loss_and_gradient
    function.restype = ctypes.c_double
    function.argtypes = [ctypes.POINTER(_Batch), ctypes.POINTER(_Network),
                         ctypes.POINTER(_Network), ctypes.c_float, ctypes.c_void_p,
                         ctypes.c_void_p]
    return function


class Batch:
    """Atoms of one element with labels, to be learnt together.

    Atoms with the same surroundings, ring class and label become one row with the sum of their
    weights. A network is a list of six float32 arrays: weights (3 x 16, 48 x 16, 48 x types) and bias
    of each layer, for whitened inputs.
    """

    def __init__(self, surroundings, element, atoms, weights):
        self._function = _kernel()
        self.num_types = len(tables.names[element])
        classes, rings, labels = (surroundings.classes[2], surroundings.atoms.rings,
                                  surroundings.atoms.labels)
        key = np.stack([classes[atoms], rings[atoms], labels[atoms]], axis=1)
        _, examples, rows = np.unique(key, axis=0, return_index=True, return_inverse=True)
        weights = np.bincount(rows, weights=weights)
        atoms = atoms[examples]
        groups = self._groups(element, rings[atoms])
        order = np.concatenate([rows for rows, _ in groups])
        self.atoms, self.weights = atoms[order], weights[order].astype(np.float32)
        self._lay_out_channels(groups, labels[atoms])

        self._layer3 = HopLists(surroundings.adjacency, surroundings.examples[2][
            classes[self.atoms]], surroundings.classes[1])
        self._layer2 = HopLists(surroundings.adjacency, surroundings.examples[1][
            self._layer3.sources], surroundings.classes[0])
        mean, matrix = surroundings.whitening()
        self._inputs = np.ascontiguousarray(
            (surroundings.inputs[self._layer2.sources] - mean) @ matrix, np.float32)
        self._record = self._make_record()

    @staticmethod
    def _groups(element, rings):
        """(rows, types that these may get) for each ring class."""
        if tables.ring_sizes[element] is None:
            return [(np.arange(len(rings)), allowed_types(element, 0))]
        return [(np.flatnonzero(rings == ring_class), allowed_types(element, ring_class))
                for ring_class in RING_CLASSES]

    def _lay_out_channels(self, groups, labels):
        """Sorts the last layer's channels by group, each filled up with channels of no type."""
        widths = [-(-len(types) // CHANNEL_PADDING) * CHANNEL_PADDING for _, types in groups]
        self._group_row = np.concatenate([[0], np.cumsum([len(rows) for rows, _ in groups])]
                                         ).astype(np.int32)
        self._group_channel = np.concatenate([[0], np.cumsum(widths)]).astype(np.int32)
        self._types = np.concatenate([types for _, types in groups])
        self._channels = np.concatenate([start + np.arange(len(types)) for start, (_, types)
                                         in zip(self._group_channel, groups)])
        self._labels = np.concatenate([np.searchsorted(types, labels[rows])
                                       for rows, types in groups]).astype(np.int32)
        for (rows, types), end in zip(groups, self._group_row[1:]):
            found = types[self._labels[end - len(rows):end].clip(max=len(types) - 1)]
            if (found != labels[rows]).any():
                raise ValueError("a label that the ring rule forbids")

    def _make_record(self):
        return _Batch(len(self._inputs), kernels.address(self._inputs, np.float32),
                      self._layer2.record(), self._layer3.record(), len(self._group_row) - 1,
                      kernels.address(self._group_row, np.int32),
                      kernels.address(self._group_channel, np.int32),
                      int(self._group_channel[-1]), kernels.address(self._labels, np.int32),
                      kernels.address(self.weights, np.float32))

    def _padded(self, network):
        size = int(self._group_channel[-1])
        weights3 = np.zeros((HOPS * HIDDEN_CHANNELS, size), np.float32)
        bias3 = np.full(size, UNUSED_BIAS)
        weights3[:, self._channels] = network[4][:, self._types]
        bias3[self._channels] = network[5][self._types]
        return [*map(np.ascontiguousarray, network[:4]), weights3, bias3]

    def _unpadded(self, gradient):
        weights3 = np.zeros((HOPS * HIDDEN_CHANNELS, self.num_types), np.float32)
        bias3 = np.zeros(self.num_types, np.float32)
        weights3[:, self._types] = gradient[4][:, self._channels]
        bias3[self._types] = gradient[5][self._channels]
        return [*gradient[:4], weights3, bias3]

    def _run(self, padded, q, gradient=None, best=None, probabilities=None):
        """The loss. The arrays given get what the kernel finds."""
        def record_of(arrays):
            return ctypes.byref(_Network(*(kernels.address(array, np.float32) for array in arrays)))
        return self._function(
            ctypes.byref(self._record), record_of(padded),
            None if gradient is None else record_of(gradient), q,
            None if best is None else kernels.address(best, np.int32),
            None if probabilities is None else kernels.address(probabilities, np.float32))

    def loss_and_gradient(self, network, q):
        """The weighted sum of the rows' losses and its gradient, six arrays like the network's."""
        padded = self._padded(network)
        gradient = [np.empty_like(array) for array in padded]
        return self._run(padded, q, gradient=gradient), self._unpadded(gradient)

    def layer_inputs(self, network, layer):
        """What a layer multiplies with its weights, for each of its rows. Layers count from 0."""
        if layer == 0:
            return self._inputs
        hidden = np.maximum(self._inputs @ network[0] + network[1], 0.0)
        return self._layer2.gathered(hidden)

    def loss(self, network, q):
        return self._run(self._padded(network), q)

    def is_right(self, network):
        """For each row whether the network gives its label."""
        best = np.empty(len(self.atoms), np.int32)
        self._run(self._padded(network), 0.0, best=best)
        return best == self._labels

    def probabilities(self, network):
        """For each row the probability of its label."""
        probabilities = np.empty(len(self.atoms), np.float32)
        self._run(self._padded(network), 0.0, probabilities=probabilities)
        return probabilities


def outputs(surroundings, network, classes):
    """Yields (classes, outputs) for some classes of the last layer, in double precision but for the
    weights of the hops.

    The network is as for `Batch`, but takes the inputs as they are.
    """
    weights1, bias1, weights2, bias2, weights3, bias3 = network
    for start in range(0, len(classes), EVALUATED_AT_ONCE):
        chunk = classes[start:start + EVALUATED_AT_ONCE]
        layer3 = HopLists(surroundings.adjacency, surroundings.examples[2][chunk],
                          surroundings.classes[1])
        layer2 = HopLists(surroundings.adjacency, surroundings.examples[1][layer3.sources],
                          surroundings.classes[0])
        hidden = np.maximum(surroundings.inputs[layer2.sources] @ weights1 + bias1, 0.0)
        hidden = np.maximum(layer2.gathered(hidden) @ weights2 + bias2, 0.0)
        yield chunk, layer3.gathered(hidden) @ weights3 + bias3

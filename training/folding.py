"""From trained networks to the program's: raw inputs, moderate numbers, outputs above zero.

A network is a list of six arrays, weights (3 x 16, 48 x 16, 48 x types) and bias of each layer; the
rows of the weights are the three hops, one after the other.
"""

import numpy as np

from molecules import RING_CLASSES, allowed_types
from surroundings import HIDDEN_CHANNELS, HOPS, outputs
from write_weights import NETWORKS

DECIMALS = 8
BALANCING_ROUNDS = 20


def with_raw_inputs(network, mean, matrix):
    """Takes the whitening of the inputs, (inputs - mean) @ matrix, into the first layer."""
    weights1, bias1, *rest = (array.astype(np.float64) for array in network)
    return [matrix @ weights1, bias1 - mean @ matrix @ weights1, *rest]


def balanced(network):
    """The same function with moderate numbers throughout.

    A hidden channel may be multiplied by any positive factor if all that it is multiplied with in
    the next layer is divided by it. Here the largest numbers on both sides become equal.
    """
    network = [array.copy() for array in network]
    for _ in range(BALANCING_ROUNDS):
        for layer in (0, 2):
            weights, bias, following = network[layer:layer + 3]
            following = following.reshape(HOPS, HIDDEN_CHANNELS, -1)
            incoming = np.maximum(np.abs(weights).max(axis=0), np.abs(bias))
            outgoing = np.abs(following).max(axis=(0, 2))
            used = (incoming > 0.0) & (outgoing > 0.0)
            factors = np.sqrt(np.divide(outgoing, incoming, out=np.ones_like(incoming),
                                        where=used))
            weights *= factors
            bias *= factors
            following /= factors[:, np.newaxis]
    return network


def least_best_output(surroundings, element, network):
    """The least, over all atoms of the element, of an atom's highest output among allowed types."""
    atoms = np.flatnonzero(surroundings.atoms.elements == element)
    rings, classes = surroundings.atoms.rings[atoms], surroundings.classes[2][atoms]
    least = np.inf
    for ring_class in RING_CLASSES:
        types = allowed_types(element, ring_class)
        for _, values in outputs(surroundings, network, np.unique(classes[rings == ring_class])):
            least = min(least, values[:, types].max(axis=1).min())
    return least


def above_zero(network, least, margin):
    """Adds to all last biases what brings the least of the atoms' best outputs to the margin.

    The program sets outputs below zero to zero. That must not touch the best one, not even where an
    unknown molecule goes beyond those of the training: hence the margin.
    """
    return [*network[:5], network[5] + (margin - least)]


def rounded(network):
    return [np.round(array, DECIMALS) for array in network]


def folded(surroundings, element, network, margin):
    """The program's network, rounded as it stands in the program's source."""
    network = balanced(with_raw_inputs(network, *surroundings.whitening()))
    least = least_best_output(surroundings, element, network)
    network = rounded(above_zero(network, least, margin))
    least = least_best_output(surroundings, element, network)
    if not least > 0.5 * margin:
        raise ValueError(f"rounding has moved an output of element {element} to {least}")
    return network


def empty_network(num_types):
    """The network of an element with one type, which nothing can be learnt for."""
    size = HOPS * HIDDEN_CHANNELS
    shapes = ((HOPS, HIDDEN_CHANNELS), HIDDEN_CHANNELS, (size, HIDDEN_CHANNELS), HIDDEN_CHANNELS,
              (size, num_types), num_types)
    return [np.zeros(shape) for shape in shapes]


def layers_of(network):
    """The layers as write_weights.py takes them: the matrices of the hops, and the bias."""
    return [(*np.split(weights, HOPS), bias) for weights, bias in zip(network[::2], network[1::2])]


def json_form(networks, **more):
    """The JSON form of write_weights.py, from atomic number -> network."""
    data = dict(more)
    for element, _, _ in NETWORKS:
        data[str(element)] = [{"weights": [matrix.tolist() for matrix in matrices],
                               "bias": bias.tolist()}
                              for *matrices, bias in layers_of(networks[element])]
    return data

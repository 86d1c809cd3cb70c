"""From trained networks to the program's: raw inputs, moderate numbers, outputs above zero.

A network is a list of six arrays, weights (3 x 16, 48 x 16, 48 x types) and bias of each layer; the
rows of the weights are the three hops, one after the other.
"""

import numpy as np

from molecules import RING_CLASSES, allowed_types
from surroundings import outputs
from write_weights import DECIMALS, HIDDEN_CHANNELS, HOPS, NETWORKS

BALANCING_ROUNDS = 20
WIDEST_OUTPUTS = 50.0  # far from 700, where exponentials end


def with_raw_inputs(network, mean, matrix):
    """Takes the whitening of the inputs, (inputs - mean) @ matrix, into the first layer."""
    weights1, bias1, *rest = (array.astype(np.float64) for array in network)
    return [matrix @ weights1, bias1 - mean @ matrix @ weights1, *rest]


def with_whitened_inputs(network, mean, matrix):
    """The other way round: a network for raw inputs becomes one for whitened inputs."""
    weights1, bias1, *rest = (np.asarray(array, np.float64) for array in network)
    return [np.linalg.solve(matrix, weights1), bias1 + mean @ weights1, *rest]


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


def output_range(surroundings, element, network):
    """Over the atoms of the element to train with, of an atom's highest output among the types that it
    may get: the least, and the most that an output of another type lies above it."""
    atoms = np.flatnonzero((surroundings.atoms.elements == element) & surroundings.in_training)
    rings, classes = surroundings.atoms.rings[atoms], surroundings.classes[2][atoms]
    least, most_above = np.inf, 0.0
    for ring_class in RING_CLASSES:
        types = allowed_types(element, ring_class)
        for _, values in outputs(surroundings, network, np.unique(classes[rings == ring_class])):
            best = values[:, types].max(axis=1)
            least = min(least, best.min())
            most_above = max(most_above, (values.max(axis=1) - best).max())
    return least, most_above


def with_moderate_outputs(network, least, most_above, margin):
    """The same choices of types, by outputs that the program's arithmetic can tell apart.

    The outputs of types that an atom may not get are free in the training, and may rise far above
    the best that it may get. From a difference of some 700 on, the program's probabilities of all
    allowed types would be zero alike. So all outputs are multiplied by one factor.

    Then, where the least of the atoms' best outputs is below the margin, a constant is added to all
    last biases, which brings it there. The program sets outputs below zero to zero. That must not
    touch the best one, not even where an unknown molecule goes beyond those of the training: hence
    the margin.
    """
    factor = WIDEST_OUTPUTS / max(most_above, -least, WIDEST_OUTPUTS)
    return [*network[:4], network[4] * factor,
            network[5] * factor + max(0.0, margin - least * factor)]


def rounded(network):
    return [np.round(array, DECIMALS) for array in network]


def folded(surroundings, element, network, margin):
    """The program's network, rounded as it stands in the program's source."""
    network = balanced(with_raw_inputs(network, *surroundings.whitening()))
    least, most_above = output_range(surroundings, element, network)
    return rounded(with_moderate_outputs(network, least, most_above, margin))


def empty_network(num_types):
    """The network of an element with one type, which nothing can be learnt for."""
    size = HOPS * HIDDEN_CHANNELS
    shapes = ((HOPS, HIDDEN_CHANNELS), HIDDEN_CHANNELS, (size, HIDDEN_CHANNELS), HIDDEN_CHANNELS,
              (size, num_types), num_types)
    return [np.zeros(shape) for shape in shapes]


def layers_of(network):
    """The layers as write_weights.py takes them: the matrices of the hops, and the bias."""
    return [(*np.split(weights, HOPS), bias) for weights, bias in zip(network[::2], network[1::2])]


def network_of(layers):
    """A network of layers as evaluate_weights.py reads them: (matrices of the hops, bias)."""
    return [array for matrices, bias in layers for array in (np.concatenate(matrices), bias)]


def json_form(networks, **more):
    """The JSON form of write_weights.py, from atomic number -> network."""
    data = dict(more)
    for element, _, _ in NETWORKS:
        data[str(element)] = [{"weights": [matrix.tolist() for matrix in matrices],
                               "bias": bias.tolist()}
                              for *matrices, bias in layers_of(networks[element])]
    return data

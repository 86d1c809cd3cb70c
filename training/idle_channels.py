"""Hidden channels that a network makes no use of get a new start.

A channel may be zero for all atoms, and then no gradient ever reaches it, or two may do the work of
one. A network of 16 channels is too small to leave any of them idle.
"""

import numpy as np

from write_weights import HIDDEN_CHANNELS, HOPS

IDLE = 0.05       # of the loss: a channel that lowers it by less does nothing worth keeping
CANDIDATES = 32
LEAST_ACTIVE, MOST_ACTIVE = 0.1, 0.9  # share of the rows in which a new channel is not zero


def outgoing(network, layer, channel):
    """The weights that the next layer gives a channel: hops x channels of that layer, a view."""
    return network[2 * layer + 2].reshape(HOPS, HIDDEN_CHANNELS, -1)[:, channel]


def without(network, layer, channel):
    """A copy of the network in which nothing listens to the channel."""
    network = [array.copy() for array in network]
    outgoing(network, layer, channel)[:] = 0.0
    return network


def _mean_loss(batches, network, q):
    return np.mean([batch.loss(network, q) for batch in batches])


def idle_channel(network, layer, batches, q):
    """The channel that the loss depends on least, if it is idle, else None.

    Layers count from 0; q is the exponent of the loss.
    """
    losses = [_mean_loss(batches, without(network, layer, channel), q)
              for channel in range(HIDDEN_CHANNELS)]
    channel = int(np.argmin(losses))
    is_idle = losses[channel] < (1.0 + IDLE) * _mean_loss(batches, network, q)
    return channel if is_idle else None


def _activity(values):
    """Root mean square of what channels give."""
    return np.sqrt(np.mean(np.maximum(values, 0.0) ** 2, axis=0))


def revive(networks, layer, channel, batches, q, random):
    """Gives the channel new incoming weights, and none going out, so that the output stays.

    Of several random channels this is the one whose outgoing weights have the steepest gradient for
    its activity in the first of the networks. All networks get the same.
    """
    weights, bias = networks[0][2 * layer:2 * layer + 2]
    others = np.arange(HIDDEN_CHANNELS) != channel
    scales = np.sqrt(np.mean(weights[:, others] ** 2, axis=1))
    inputs = batches[0].layer_inputs(networks[0], layer)
    # Where more than half of the others are zero, too, any size will do.
    usual = np.median(_activity(inputs @ weights + bias)[others]) or 1.0

    best, steepest = None, -1.0
    for _ in range(CANDIDATES):
        incoming = random.standard_normal(len(scales)) * scales
        values = inputs @ incoming
        shift = -np.quantile(values, 1.0 - random.uniform(LEAST_ACTIVE, MOST_ACTIVE))
        activity = _activity(values + shift)
        if not activity > 0.0:
            continue
        size = usual / activity
        trial = without(networks[0], layer, channel)
        _set_incoming(trial, layer, channel, size * incoming, size * shift)
        gradient = sum(outgoing(batch.loss_and_gradient(trial, q)[1], layer, channel)
                       for batch in batches)
        steepness = np.linalg.norm(gradient)
        if steepness > steepest:
            best, steepest = (size * incoming, size * shift), steepness
    if best is None:
        return
    for network in networks:
        _set_incoming(network, layer, channel, *best)
        outgoing(network, layer, channel)[:] = 0.0


def _set_incoming(network, layer, channel, weights, bias):
    network[2 * layer][:, channel] = weights
    network[2 * layer + 1][channel] = bias

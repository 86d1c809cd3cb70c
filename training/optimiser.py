"""SOAP: Adam in the eigenbasis of Shampoo's preconditioner (Vyas et al., arXiv 2409.11321).

Each layer is one matrix: its weights, with the bias as the last row. A matrix keeps running
averages L of G G^T and R of G^T G over its gradients G. Adam runs on the gradients turned into the
eigenvectors of both, where its scale for each number fits best. The matrices here are small, so
that the turning costs little and a third of Adam's steps do.
"""

import numpy as np

EPSILON = 1e-8
BASIS_EVERY = 10  # steps between two updates of the eigenvectors


class _State:
    """What is kept for one matrix."""

    def __init__(self, gradient):
        self.left, self.right = gradient @ gradient.T, gradient.T @ gradient
        self.left_basis = np.linalg.eigh(self.left.astype(np.float64))[1].astype(np.float32)
        self.right_basis = np.linalg.eigh(self.right.astype(np.float64))[1].astype(np.float32)
        self.mean = np.zeros_like(gradient)
        self.variance = np.zeros_like(gradient)  # of the turned gradients

    def turned(self, matrix):
        return self.left_basis.T @ matrix @ self.right_basis

    def turned_back(self, matrix):
        return self.left_basis @ matrix @ self.right_basis.T

    def follow_basis(self, sort):
        """One step of the power iteration brings the old eigenvectors to the new averages.

        Sorted, those with the largest eigenvalues come first, as the iteration needs it: among the
        others rounding errors bring them back, and no variance fits its eigenvector any more.
        """
        for axis, (average, name) in enumerate(((self.left, "left_basis"),
                                                (self.right, "right_basis"))):
            average, basis = average.astype(np.float64), getattr(self, name)
            turned = average @ basis
            if sort:
                order = np.argsort(-np.sum(basis * turned, axis=0), kind="stable")
                turned = turned[:, order]
                self.variance = self.variance.take(order, axis)
            setattr(self, name, np.linalg.qr(turned)[0].astype(np.float32))


class Soap:
    """Changes a network in place: weights and bias of each layer in turn, in float32."""

    def __init__(self, network, momentum, second_momentum, least_scale=0.0, sort=True):
        """StudentSettings tells what these are."""
        self._network = network
        self._states = [None] * (len(network) // 2)
        self._momentum = np.float32(momentum)
        self._second_momentum = np.float32(second_momentum)
        self._least_scale = np.float32(least_scale)
        self._sort = sort
        self._steps = 0

    def step(self, gradients, rate):
        """One step against the gradients. The first one only makes the eigenvectors."""
        corrections = [1.0 - float(momentum) ** self._steps
                       for momentum in (self._momentum, self._second_momentum)]
        self._steps += 1
        for layer, state in enumerate(self._states):
            gradient = np.vstack(gradients[2 * layer:2 * layer + 2])
            if state is None:
                self._states[layer] = _State(gradient)
                continue
            update = self._update(state, gradient, corrections)
            update *= np.float32(rate)
            weights, bias = self._network[2 * layer:2 * layer + 2]
            weights -= update[:-1]
            bias -= update[-1]

    def _update(self, state, gradient, corrections):
        turned = state.turned(gradient)
        state.mean += (1 - self._momentum) * (gradient - state.mean)
        state.variance += (1 - self._second_momentum) * (turned * turned - state.variance)
        scale = np.sqrt(state.variance / np.float32(corrections[1]))
        scale += np.float32(EPSILON) + self._least_scale * scale.max()
        update = state.turned_back(state.turned(state.mean) / np.float32(corrections[0]) / scale)
        state.left += (1 - self._momentum) * (gradient @ gradient.T - state.left)
        state.right += (1 - self._momentum) * (gradient.T @ gradient - state.right)
        if self._steps % BASIS_EVERY == 0:
            state.follow_basis(self._sort)
        return update

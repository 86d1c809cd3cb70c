"""Passes over atoms that a network learns nothing from are made rare.

In a training that has got somewhere, most atoms get the right type by far, and some, which contradict
the others, are given up. Both have almost no gradient. A sieve lets through the others, and now and then
some of these, with a weight that makes up for the other times: the expected gradient is the same, from
batches with a third of the atoms at first and a fifth in the end. That holds over many sieves: one lets
the same atoms through as long as it is used.
"""

import numpy as np

from integer_hash import odd_factor

# A kind of atoms with a gradient below STEEP goes through with the probability gradient / STEEP, but at
# least LEAST_SHARE.
STEEP, LEAST_SHARE = 0.05, 0.15


def steepness(probabilities, q):
    """How the loss (1 - p^q) / q of a right type of probability p falls with its output."""
    return probabilities**q * (1.0 - probabilities)


class Sieve:
    def __init__(self, kinds, probabilities, q, random):
        """The kind of each atom, for each kind the probability of the right type, and the loss's q."""
        self._kinds = kinds
        self._shares = np.clip(steepness(probabilities, q) / STEEP, LEAST_SHARE, 1.0)
        self._factor = odd_factor(random)

    def shares(self, atoms):
        """In what share of all groups each of the atoms goes through."""
        return self._shares[self._kinds[atoms]]

    def passing(self, atoms, group, groups):
        """Which of the atoms go through in this group: all of a kind, which are one row, or none.

        So the choice is a hash of kind and group, and not drawn for each atom.
        """
        numbers = self._kinds[atoms].astype(np.uint64) * np.uint64(groups) + np.uint64(group)
        for shift in (15, 29):
            numbers = (numbers ^ (numbers >> np.uint64(shift))) * self._factor
        return (numbers >> np.uint64(40)).astype(float) < self.shares(atoms) * 2.0**24

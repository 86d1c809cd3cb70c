"""Multiplicative hashes of integers in numpy arrays."""

import numpy as np


def odd_factor(random):
    """A random odd number below 2^64: to multiply by it loses nothing."""
    return np.uint64(int(random.integers(2**63)) * 2 + 1)

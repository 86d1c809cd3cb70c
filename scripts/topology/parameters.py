"""Equilibrium bond lengths and angles of the force field, by atom type."""

_SECTIONS = {"BONDS": 2, "ANGLES": 3}
_OTHER_SECTIONS = ("ATOMS", "DIHEDRALS", "IMPROPER", "IMPROPERS", "CMAP", "NONBONDED", "NBFIX",
                   "HBOND", "END", "READ")


class Parameters:
    """Tables b0 and theta0; the first file that knows a set of types decides."""

    def __init__(self):
        self._tables = {2: {}, 3: {}}

    def read(self, path):
        size = 0
        for line in open(path, encoding="utf-8"):
            words = line.split("!")[0].upper().split()
            if not words:
                continue
            if words[0] in _SECTIONS:
                size = _SECTIONS[words[0]]
            elif words[0] in _OTHER_SECTIONS:
                size = 0
            elif size and len(words) >= size + 2:
                # types, force constant, equilibrium value
                key = _in_order(words[:size])
                self._tables[size].setdefault(key, float(words[size + 1]))

    def add(self, types, value):
        """Adds b0 of two types or theta0 of three that no file has told."""
        self._tables[len(types)].setdefault(_in_order(types), value)

    def length(self, *types):
        """b0 in Angstrom, or None."""
        return None if None in types else self._tables[2].get(_in_order(types))

    def angle(self, *types):
        """theta0 in degrees, or None."""
        return None if None in types else self._tables[3].get(_in_order(types))

    def all_values(self):
        """(types, value) of all bonds, then of all angles, in order."""
        for size in sorted(self._tables):
            yield from sorted(self._tables[size].items())


def _in_order(types):
    types = tuple(types)
    return min(types, types[::-1])

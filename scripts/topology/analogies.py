"""Parameters that the published files lack, taken from terms that they have for other types.

A table line names the types of the term, those of the term that it is taken from, the compound that
this one was made for, and its file. The figures are copied as published, with all digits.
"""

import os
from typing import NamedTuple

_SECTIONS = {"BOND": 2, "ANGL": 3, "DIHE": 4}
_OTHER_SECTIONS = ("ATOM", "IMPR", "CMAP", "NONB", "NBFI", "HBON", "END", "READ")
_HEADINGS = ((2, "BONDS"), (3, "ANGLES"), (4, "DIHEDRALS"))


class Analogy(NamedTuple):
    types: str
    taken_from: str
    compound: str
    file: str


class Figures:
    """Bonds, angles and dihedrals of published files: the words behind the types, by types."""

    def __init__(self, folder):
        self._folder = folder
        self._files = {}

    def lines(self, file, types):
        """All lines of a term in a file, in its order; none if the file lacks it."""
        return self._read(file).get(_in_order(types.split()), [])

    def _read(self, file):
        if file not in self._files:
            table = self._files[file] = {}
            size = 0
            for line in open(os.path.join(self._folder, file), encoding="utf-8"):
                words = line.split("!")[0].upper().split()
                if not words:
                    continue
                # A heading stands alone, but for a stream's commands and the options of NONBONDED.
                key = words[0][:4]
                if key in _SECTIONS and len(words) == 1:
                    size = _SECTIONS[key]
                elif key in _OTHER_SECTIONS:
                    size = 0
                elif size and len(words) >= size + 2:
                    table.setdefault(_in_order(words[:size]), []).append(words[size:])
        return self._files[file]


class NoAnalogy(Exception):
    """A line of a table that names no published term, or a term that needs none."""


def parameter_file(subject, papers, analogies, figures, used_with):
    """The text of a parameter file; it is loaded behind the files of `used_with`."""
    lines = ["* CHARMM36 additive force field"]
    lines += ["* " + line for line in subject]
    lines += ["* Written by scripts/make_topology.py", "*", "", "! Figures from"]
    lines += ["!   " + line for line in papers]
    for size, heading in _HEADINGS:
        terms = [analogy for analogy in analogies if len(analogy.types.split()) == size]
        if terms:
            lines += ["", heading]
        for analogy in terms:
            lines += _term_lines(analogy, figures, used_with)
    return "\n".join(lines + ["", "END", ""])


def _term_lines(analogy, figures, used_with):
    if any(figures.lines(file, analogy.types) for file in used_with):
        raise NoAnalogy(f"{analogy.types} is published")
    types = "".join(f"{type_:<5}" for type_ in analogy.types.split())
    source = f"! {analogy.compound}: {analogy.taken_from}, {analogy.file}"
    return [types + "".join(f"{word:>10}" for word in words) + "  " + source
            for words in published_lines(analogy, figures)]


def published_lines(analogy, figures):
    lines = figures.lines(analogy.file, analogy.taken_from)
    if not lines:
        raise NoAnalogy(f"{analogy.taken_from} is not in {analogy.file}")
    return lines


def add_equilibrium_values(analogies, figures, parameters):
    """Adds the lengths and angles of the tables to those of the published files."""
    for analogy in analogies:
        types = analogy.types.split()
        if len(types) < 4:
            parameters.add(types, float(published_lines(analogy, figures)[0][1]))


def _in_order(types):
    types = tuple(types)
    return min(types, types[::-1])

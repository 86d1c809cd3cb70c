"""Patches of our own, written as in a topology file with open lengths and angles (zero)."""

from . import internal_coordinates as ic
from .rtf import parse_topology


def filled_patches(text, applied_to, notes, residues, parameters):
    """The patches of a text, with the equilibrium value of the force field for every open figure.

    applied_to: the residue of each patch; residues: the records by name.
    """
    result = []
    for patch in parse_topology(text.splitlines()).records.values():
        types = {**residues[applied_to[patch.name]].types(), **patch.types()}
        figures = ic.Figures([], types, parameters)
        result.append(patch.copy(terms=[ic.filled(term, figures) for term in patch.terms],
                                 note=notes[patch.name]))
    return result

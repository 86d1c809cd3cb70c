"""Patches that a mutation needs, and patches that take other patches back.

A mutation applies the patch that is named by the old residue with DEL behind it, then, for a new
proline, HNDEL, and then the new residue's whole record. The first of them cannot know the new
residue. So it leaves what all of them share, and the new record adds its own CB and HA, placed
from N, CA and C: glycine has neither, and an atom that stayed would stay for good.
"""

from decimal import Decimal

from . import internal_coordinates as ic
from .rtf import Record

_LEFT = ("N", "HN", "CA", "C", "O")

# Named from the other end, these impropers of a residue inside a chain are the same ones once more,
# and change nothing. At a patched end they stop the run, since HN or O is looked for first and is
# not there: the new record would add it to the ammonium or carboxylate group. At an end without a
# patch they are dropped, as they reach beyond it.
_IMPROPER_OF_HN = ("HN", "CA", "-C", "N")
_IMPROPER_OF_O = ("O", "+N", "CA", "C")

# Patch, what it is applied to, and how the atoms that come back are placed where their usual
# terms refer to the neighbour that an end does not have.
_TAKEN_BACK = (
    ("NTER", "ALA", ["C CA N HN 180"]),
    ("GLYP", "GLY", ["C CA N HN 180"]),
    ("PROP", "PRO", []),
    ("CTER", "ALA", ["N CA C O 0"]),
    ("ASPP", "ASP", []),
    ("GLUP", "GLU", []),
    ("LSN", "LYS", []),
)


def removal_patches(records, parameters):
    """The patches made from the completed records of the protein file."""
    residues = [record for record in records.values()
                if not record.is_patch and {"N", "CA", "C", "O"} <= set(record.types())]
    patches = [_side_chain_removed(residue, records["ALA"]) for residue in residues]
    patches.append(Record("HNDEL", "0.00", True, deleted=["HN"],
                          note="for a new proline, ahead of its atoms"))
    patches += [_taken_back(records[patch], records[residue], specs, parameters)
                for patch, residue, specs in _TAKEN_BACK]
    return patches


def _side_chain_removed(residue, alanine):
    patch = Record(residue.name + "DEL", "0.00", True,
                   deleted=[atom.name for atom in residue.atoms if atom.name not in _LEFT],
                   impropers=[_IMPROPER_OF_HN, _IMPROPER_OF_O],
                   note="leaves N HN CA C O, for a mutation")
    if "HN" in residue.types():
        return patch
    # HNDEL must find the hydrogen also when one proline replaces another. It stands behind N, which
    # is here to tell its place. Their bond comes with the new record.
    group = [atom for atom in alanine.atoms if atom.name in ("N", "HN")]
    return patch.copy(charge=_charge([group]), groups=[group],
                      terms=[next(term for term in alanine.terms if term.atoms[3] == "HN")],
                      impropers=[_IMPROPER_OF_O],
                      note="leaves N CA C O and adds HN, for a mutation")


def _charge(groups):
    return str(sum(Decimal(atom.charge) for group in groups for atom in group))


def _taken_back(patch, residue, specs, parameters):
    """The patch that makes of a patched residue what it was inside a chain."""
    types = residue.types()
    returning = [name for name in patch.deleted if name in types]
    concerned = set(returning) | set(patch.types())
    groups = [[atom for atom in group if atom.name in concerned] for group in residue.groups]
    groups = [group for group in groups if group]
    figures = ic.Figures(residue.terms, types, parameters)
    terms = [ic.leading_term(spec, {}, figures) for spec in specs]
    terms += [next(term for term in residue.terms if term.atoms[3] == name)
              for name in returning if name not in {term.atoms[3] for term in terms}]
    return Record(
        patch.name + "DEL", _charge(groups), True, groups=groups,
        deleted=[atom.name for atom in patch.atoms if atom.name not in types],
        bonds=[bond for bond in residue.bonds if any(name in returning for name in bond[1:])],
        terms=terms, note=f"takes {patch.name} back")

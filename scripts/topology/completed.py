"""Completes published records: every number filled in, every atom placeable by its first term."""

from . import geometry
from . import internal_coordinates as ic
from .leading_terms import (CORRECTED_TERMS, DROPPED_TERMS, LEADING_TERMS, PATCHED_RESIDUE)
from .rtf import Term

# What a record's terms may name beyond its own atoms: the neighbours in the chain.
_PEPTIDE_NEIGHBOURS = {"-N": "NH1", "-CA": "CT1", "-C": "C", "-O": "O",
                       "+N": "NH1", "+HN": "H", "+CA": "CT1", "+C": "C"}
_NUCLEOTIDE_NEIGHBOURS = {"-O3'": "ON2", "+P": "P", "+O5'": "ON2"}

_PEPTIDE = ("N", "CA", "C")
_NUCLEOTIDE = ("C4'", "C3'", "C2'")

# Records in which a ring atom is listed ahead of the one that it hangs on: what moves up inside its
# group, and in front of what, so that the record can be completed in order.
_ATOMS_MOVED_UP = {"HSD": ("CG", "ND1"), "HSE": ("CG", "ND1"), "HSP": ("CG", "CD2")}


class Completer:
    def __init__(self, records, parameters, peptide):
        self._records = records
        self._parameters = parameters
        self._neighbours = _PEPTIDE_NEIGHBOURS if peptide else _NUCLEOTIDE_NEIGHBOURS
        self._seed = _PEPTIDE if peptide else _NUCLEOTIDE
        self._default_residue = "ALA" if peptide else "GUA"

    def patched_residue(self, patch):
        return self._records[PATCHED_RESIDUE.get(patch.name, self._default_residue)]

    def completed(self, record):
        """The record with all its terms."""
        record = _in_placing_order(_with_corrected_terms(record))
        specs = LEADING_TERMS.get(record.name, [])
        base = self.patched_residue(record) if record.is_patch else None
        figures = ic.Figures(record.terms + (base.terms if base else []),
                             self._types(record, base), self._parameters)
        served = {spec.split()[3] for spec in specs}
        terms = [ic.filled(term, figures) for term in ic.turned_to_the_added_atom(
            record.terms, _added_atoms(record, base), served)]
        # Terms with a dihedral of their own need no model, and shape it.
        fixed = {spec: ic.leading_term(spec, {}, figures)
                 for spec in specs if len(spec.split()) > 4}
        model = self._model(record, base, list(fixed.values()) + terms, figures)
        first = [fixed[spec] if spec in fixed else ic.leading_term(spec, model, figures)
                 for spec in specs]
        return record.copy(terms=ic.each_once(first + terms))

    def _model(self, record, base, terms, figures):
        if base:
            start = self._model_of_residue(base, record.deleted)
            return ic.model_coordinates(terms, figures, self._seed, start)
        if self._seed == _NUCLEOTIDE:
            return _model_of_nucleotide(record, terms, figures)
        return ic.model_coordinates(terms, figures, self._seed_of(record))

    def _model_of_residue(self, residue, without):
        figures = ic.Figures(residue.terms, self._types(residue, None), self._parameters)
        terms = [ic.filled(term, figures) for term in _with_corrected_terms(residue).terms]
        model = ic.model_coordinates(terms, figures, self._seed_of(residue))
        return {name: place for name, place in model.items() if name not in without}

    def _seed_of(self, record):
        return ("NL", "CA", "CRP") if record.name == "ALAD" else self._seed

    def _types(self, record, base):
        types = dict(self._neighbours)
        if base:
            types.update(base.types())
            # A patch of two residues numbers them: 1CB, 2CB.
            types.update({digit + name: type_ for digit in "12"
                          for name, type_ in base.types().items()})
        types.update(record.types())
        return types


def _added_atoms(record, base):
    """Atoms that the record may add: all of a residue's, a patch's beyond those of its residue."""
    names = {atom.name for atom in record.atoms}
    if base is None:
        return names
    # Names with a number in front belong to patches of two residues, which add nothing.
    return {name for name in names if name[0] not in "12"
            and (name in record.deleted or name not in base.types())}


def _with_corrected_terms(record):
    dropped = DROPPED_TERMS.get(record.name, ())
    terms = []
    for term in record.terms:
        if any(name in dropped for name in term.atoms):
            continue
        correction = CORRECTED_TERMS.get((record.name, term.atoms))
        if correction:
            values = tuple(old if new is None else new
                           for old, new in zip(term.values, correction))
            term = Term(term.atoms, term.is_improper, values)
        terms.append(term)
    return record.copy(terms=terms)


def _model_of_nucleotide(record, terms, figures):
    """The sugar with its neighbours and the flat base, each relaxed by itself, joined by chi."""
    chi = next(term for term in terms if term.atoms[:2] == ("O4'", "C1'"))
    _, sugar_end, first, second = chi.atoms
    bonds = [(a, b) for _, a, b in record.bonds if a[0] not in "H+-" and b[0] not in "H+-"]
    base_bonds = [bond for bond in bonds
                  if all(name == sugar_end or not _is_of_sugar_or_phosphate(name) for name in bond)]
    base_atoms = {name for bond in base_bonds for name in bond}
    base_terms = ic.flattened(term for term in terms if base_atoms.issuperset(term.atoms))
    base = ic.model_coordinates(base_terms, figures, (sugar_end, first, second))
    base = ic.relaxed(base, base_bonds, figures, flat=True)

    others = [bond for bond in bonds if bond not in base_bonds] + [(sugar_end, first)]
    other_terms = [term for term in terms
                   if all(name == first or _is_of_sugar_or_phosphate(name) for name in term.atoms)]
    sugar = ic.model_coordinates(other_terms, figures, _NUCLEOTIDE)
    sugar = ic.relaxed(sugar, others, figures)
    sugar[second] = geometry.place(
        *(sugar[name] for name in chi.atoms[:3]), geometry.distance(base[first], base[second]),
        geometry.angle(base[sugar_end], base[first], base[second]), chi.values[2])
    return ic.joined(sugar, base)


def _is_of_sugar_or_phosphate(name):
    return name.endswith("'") or name in ("P", "O1P", "O2P")


def _in_placing_order(record):
    if record.name not in _ATOMS_MOVED_UP:
        return record
    moved, ahead_of = _ATOMS_MOVED_UP[record.name]
    groups = []
    for group in record.groups:
        names = [atom.name for atom in group]
        if moved in names and ahead_of in names:
            atom = group[names.index(moved)]
            group = [other for other in group if other is not atom]
            group.insert(names.index(ahead_of), atom)
        groups.append(group)
    return record.copy(groups=groups)

"""Terms from which a program can place every atom that a record may add.

The program takes, for a missing atom, the first term of the record that has the atom in its last
place, and uses its numbers as they stand. So here terms are turned round where the atom stood in
front, numbers left open (zero) are filled in, and the terms of `leading_terms` are put first.
"""

from . import geometry
from .rtf import Term


class MissingFigure(Exception):
    """A length or an angle that neither the published terms nor the parameters give."""


class Figures:
    """Lengths and angles of one record: published terms first, then equilibrium values."""

    def __init__(self, terms, types, parameters):
        self._types = types
        self._parameters = parameters
        self._lengths, self._angles = {}, {}
        for term in terms:
            a, b, c, d = term.atoms
            v1, v2, _, v4, v5 = term.values
            front = ((a, c), (a, c, b)) if term.is_improper else ((a, b), (a, b, c))
            for pair, triple, length, bend in ((*front, v1, v2), ((c, d), (b, c, d), v5, v4)):
                if length > 0.0:
                    self._lengths.setdefault(frozenset(pair), length)
                if bend > 0.0:
                    self._angles.setdefault(min(triple, triple[::-1]), bend)

    def length(self, a, b):
        known = self._lengths.get(frozenset((a, b)))
        return known if known is not None else self.equilibrium_length(a, b)

    def angle(self, a, b, c):
        known = self._angles.get(min((a, b, c), (c, b, a)))
        return known if known is not None else self.equilibrium_angle(a, b, c)

    def equilibrium_length(self, *atoms):
        value = self._parameters.length(*(self._types.get(atom) for atom in atoms))
        if value is None:
            raise MissingFigure(atoms)
        return value

    def equilibrium_angle(self, *atoms):
        value = self._parameters.angle(*(self._types.get(atom) for atom in atoms))
        if value is None:
            raise MissingFigure(atoms)
        return value


def turned_to_the_added_atom(terms, added, served):
    """The terms, with each one turned round that is there for its first atom.

    That is so if the first atom may be added and nothing before serves it, and the last one needs
    no further term; and for a hydrogen in front of something that is none.

    added: atoms that the record may add; served: atoms that terms ahead of these place.
    """
    served = set(served)
    result = []
    for term in terms:
        first, last = term.atoms[0], term.atoms[3]
        is_for_first = first in added and first not in served
        if (is_for_first and (last not in added or last in served)) or (
                first[0] == "H" and last[0] != "H"):
            term = term.from_the_other_end()
        served.add(term.atoms[3])
        result.append(term)
    return result


def filled(term, figures):
    """The term with every open length and angle set to its equilibrium value."""
    a, b, c, d = term.atoms
    v1, v2, v3, v4, v5 = term.values
    if not v1:
        v1 = figures.equilibrium_length(a, c if term.is_improper else b)
    if not v2:
        v2 = figures.equilibrium_angle(*((a, c, b) if term.is_improper else (a, b, c)))
    if not v4:
        v4 = figures.equilibrium_angle(b, c, d)
    if not v5:
        v5 = figures.equilibrium_length(c, d)
    return Term(term.atoms, term.is_improper, (v1, v2, v3, v4, v5))


def model_coordinates(terms, figures, seed, start=None):
    """Coordinates of all atoms that the terms reach, from three atoms or a given start."""
    placed = dict(start or {})
    if not placed:
        a, b, c = seed
        bend = geometry.radians(figures.angle(a, b, c))
        placed[a] = (0.0, 0.0, 0.0)
        placed[b] = (figures.length(a, b), 0.0, 0.0)
        reach = figures.length(b, c)
        placed[c] = (placed[b][0] - reach * geometry.cos(bend), reach * geometry.sin(bend), 0.0)
    grown = True
    while grown:
        grown = False
        for term in terms:
            for way in (term, term.from_the_other_end()):
                a, b, c, d = way.atoms
                if d not in placed and a in placed and b in placed and c in placed:
                    _, _, torsion, bend, length = way.values
                    placed[d] = geometry.place(placed[a], placed[b], placed[c],
                                               length, bend, torsion)
                    grown = True
    return placed


def relaxed(model, bonds, figures, flat=False):
    """The model with its bond lengths and angles brought as near as they go to the figures.

    bonds: pairs of bonded atoms, all of them in the model; flat: the third coordinate is kept. The
    published terms leave rings open a little (the sugar by 0.2 Angstrom), and equilibrium angles do
    not add up around a ring either. Angles count as distances over two bonds, so all that is left
    is a net of springs.
    """
    neighbours = {}
    for a, b in bonds:
        neighbours.setdefault(a, []).append(b)
        neighbours.setdefault(b, []).append(a)
    springs = [(a, b, figures.length(a, b), 0.20) for a, b in bonds]
    for middle, ends in neighbours.items():
        for i, a in enumerate(ends):
            for c in ends[:i]:
                span = geometry.third_side(figures.length(a, middle), figures.length(middle, c),
                                           figures.angle(a, middle, c))
                springs.append((a, c, span, 0.05))
    places = {name: list(place) for name, place in model.items()}
    for _ in range(3000):
        pulls = {name: [0.0, 0.0, 0.0] for name in neighbours}
        for a, b, wanted, stiffness in springs:
            now = geometry.distance(places[a], places[b])
            for i in range(2 if flat else 3):
                pull = stiffness * (wanted / now - 1.0) * (places[a][i] - places[b][i])
                pulls[a][i] += pull
                pulls[b][i] -= pull
        for name, pull in pulls.items():
            for i in range(3):
                places[name][i] += pull[i]
    return {name: tuple(place) for name, place in places.items()}


def flattened(terms):
    """The terms of a planar group with their dihedrals set to 0 or 180."""
    return [term._replace(values=term.values[:2] + (180.0 * round(term.values[2] / 180.0),)
                          + term.values[3:]) for term in terms]


def joined(model, part):
    """The model with a part added that shares three atoms with it, and keeps its own shape."""
    shared = [name for name in part if name in model][:3]
    a, b, c = shared
    result = dict(model)
    for name in part:
        if name not in result:
            frame = [part[atom] for atom in shared] + [part[name]]
            result[name] = geometry.place(
                model[a], model[b], model[c], geometry.distance(*frame[2:]),
                geometry.angle(*frame[1:]), geometry.dihedral(*frame))
    return result


def leading_term(spec, model, figures):
    """A term from "A B *C D", measured on the model; a fifth word sets its dihedral.

    With a dihedral of its own a term needs no model: bonded atoms take their figures from the
    published terms or the parameters.
    """
    words = spec.split()
    is_improper = words[2].startswith("*")
    a, b, c, d = names = tuple(word.lstrip("*") for word in words[:4])

    def length(*atoms):
        if all(atom in model for atom in atoms):
            return geometry.distance(*(model[atom] for atom in atoms))
        return figures.length(*atoms)

    def bend(*atoms):
        if all(atom in model for atom in atoms):
            return geometry.angle(*(model[atom] for atom in atoms))
        return figures.angle(*atoms)

    if len(words) > 4:
        torsion = float(words[4])
    else:
        torsion = round(geometry.dihedral(*(model[name] for name in names)), 4)
        torsion = 180.0 if torsion == -180.0 else torsion  # which of the two is chance
    front_length = length(a, c) if is_improper else length(a, b)
    front_angle = bend(a, c, b) if is_improper else bend(a, b, c)
    values = (front_length, front_angle, torsion, bend(b, c, d), length(c, d))
    return Term(names, is_improper, tuple(round(value, 4) for value in values))


def each_once(terms):
    """The terms without those that say again what one before said."""
    said, result = set(), []
    for term in terms:
        if (term.atoms, term.is_improper) not in said:
            said.add((term.atoms, term.is_improper))
            result.append(term)
    return result

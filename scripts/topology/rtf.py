"""Records (residues and patches) of a CHARMM topology file: reading and writing.

The reader is a plain one: comments are cut off before anything is looked at, keywords may be
short or long. The writer uses only forms that every reader of such files knows.
"""

from dataclasses import dataclass, field, replace
from itertools import groupby
from typing import Dict, List, NamedTuple, Tuple


class Atom(NamedTuple):
    name: str
    type: str
    charge: str  # as published, so that no digit is lost


class Term(NamedTuple):
    """An internal coordinate over four atoms.

    values: distance A-B (A-C of an improper), angle A-B-C (A-C-B of an improper), dihedral
    A-B-C-D, angle B-C-D, distance C-D.
    """

    atoms: Tuple[str, str, str, str]
    is_improper: bool
    values: Tuple[float, float, float, float, float]

    def from_the_other_end(self):
        """The same term with its first and its last atom exchanged."""
        a, b, c, d = self.atoms
        v1, v2, dihedral, v4, v5 = self.values
        if self.is_improper:
            # A and D both sit on C; seen along B-C, going back turns the other way.
            return Term((d, b, c, a), True, (v5, v4, -dihedral, v2, v1))
        return Term((d, c, b, a), False, (v5, v4, dihedral, v2, v1))


@dataclass
class Record:
    name: str
    charge: str
    is_patch: bool
    groups: List[List[Atom]] = field(default_factory=list)
    deleted: List[str] = field(default_factory=list)
    bonds: List[Tuple[str, str, str]] = field(default_factory=list)  # keyword, atom, atom
    impropers: List[Tuple[str, ...]] = field(default_factory=list)
    cross_terms: List[Tuple[str, ...]] = field(default_factory=list)
    terms: List[Term] = field(default_factory=list)
    end_patches: List[str] = field(default_factory=list)  # words behind PATCHING
    note: str = ""  # one line of our own, written as a comment

    @property
    def atoms(self) -> List[Atom]:
        return [atom for group in self.groups for atom in group]

    def types(self) -> Dict[str, str]:
        return {atom.name: atom.type for atom in self.atoms}

    def copy(self, **changes):
        fresh = replace(self, groups=[list(group) for group in self.groups],
                        deleted=list(self.deleted), bonds=list(self.bonds),
                        impropers=list(self.impropers), cross_terms=list(self.cross_terms),
                        terms=list(self.terms), end_patches=list(self.end_patches))
        return replace(fresh, **changes)

    def renamed_atoms(self, names: Dict[str, str]):
        """A copy in which atoms have other names; a prefix such as "+" stays in front."""

        def new(name):
            if name[:1] in "+-":
                return name[:1] + names.get(name[1:], name[1:])
            return names.get(name, name)

        return self.copy(
            groups=[[atom._replace(name=new(atom.name)) for atom in group]
                    for group in self.groups],
            deleted=[new(name) for name in self.deleted],
            bonds=[(keyword, new(a), new(b)) for keyword, a, b in self.bonds],
            impropers=[tuple(map(new, names4)) for names4 in self.impropers],
            cross_terms=[tuple(map(new, names8)) for names8 in self.cross_terms],
            terms=[term._replace(atoms=tuple(map(new, term.atoms))) for term in self.terms])


class TopologyFile(NamedTuple):
    masses: List[Tuple[str, str]]  # type, mass as published
    records: Dict[str, Record]


def _chunks(words, size):
    return [tuple(words[i:i + size]) for i in range(0, len(words), size)]


def _read_term(words):
    names = words[1:5]
    is_improper = names[2].startswith("*")
    names[2] = names[2].lstrip("*")
    return Term(tuple(names), is_improper, tuple(float(word) for word in words[5:10]))


def read_topology(path) -> TopologyFile:
    """Reads RESI and PRES records and masses; lines of other kinds are passed over."""
    return parse_topology(open(path, encoding="utf-8"))


def parse_topology(lines) -> TopologyFile:
    """The same from the lines of a text."""
    masses, records, record = [], {}, None
    in_topology = True
    for line in lines:
        words = line.split("!")[0].upper().split()
        if not words:
            continue
        key = words[0][:4]
        if key == "READ":  # a stream file holds topology and parameters one after the other
            in_topology = len(words) > 1 and words[1] == "RTF"
        if not in_topology:
            continue
        if key == "MASS":
            masses.append((words[2], words[3]))
        elif key in ("RESI", "PRES"):
            record = Record(words[1], words[2], key == "PRES")
            records[record.name] = record
        elif key == "END":
            record = None
        elif record is None:
            continue
        elif key == "GROU":
            record.groups.append([])
        elif key == "ATOM":
            if not record.groups:
                record.groups.append([])
            record.groups[-1].append(Atom(*words[1:4]))
        elif key in ("BOND", "DOUB", "TRIP"):
            keyword = {"BOND": "BOND", "DOUB": "DOUBLE", "TRIP": "TRIPLE"}[key]
            record.bonds += [(keyword, a, b) for a, b in _chunks(words[1:], 2)]
        elif key == "IMPR":
            record.impropers += _chunks(words[1:], 4)
        elif key == "CMAP":
            record.cross_terms += _chunks(words[1:], 8)
        elif key == "DELE" and words[1] == "ATOM":
            record.deleted.append(words[2])
        elif key in ("IC", "BILD"):
            record.terms.append(_read_term(words))
        elif key == "PATC":
            record.end_patches = words[1:]
    for record in records.values():
        record.groups = [group for group in record.groups if group]
    return TopologyFile(masses, records)


def _term_line(term):
    a, b, c, d = term.atoms
    v1, v2, v3, v4, v5 = term.values
    third = "*" + c if term.is_improper else c
    text = f"IC {a:<5} {b:<5} {third:<6} {d:<5} {v1:8.4f} {v2:9.4f} {v3:10.4f} {v4:9.4f} {v5:8.4f}"
    return text.replace("-0.0000", " 0.0000")


def record_lines(record) -> List[str]:
    """The record as lines of a topology file, without line ends."""
    lines = [f"{'PRES' if record.is_patch else 'RESI'} {record.name:<5} {record.charge:>8}"]
    if record.note:
        lines.append("! " + record.note)
    for group in record.groups:
        lines.append("GROUP")
        lines += [f"ATOM {atom.name:<5} {atom.type:<5} {atom.charge:>8}" for atom in group]
    lines += [f"DELETE ATOM {name}" for name in record.deleted]
    # In the published order, which is the order of the terms that a program derives from bonds.
    for keyword, bonds in groupby(record.bonds, key=lambda bond: bond[0]):
        pairs = [f"{a:<5} {b:<5}" for _, a, b in bonds]
        lines += [f"{keyword:<6} " + "  ".join(part).rstrip() for part in _chunks(pairs, 4)]
    lines += ["IMPR " + " ".join(names) for names in record.impropers]
    lines += ["CMAP " + " ".join(names) for names in record.cross_terms]
    lines += [_term_line(term) for term in record.terms]
    if record.end_patches:
        lines.append("PATCHING " + " ".join(record.end_patches))
    return lines

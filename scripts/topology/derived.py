"""Records for what deposited files hold: deoxyribonucleotides, RNA by one letter, water, ions."""

from .rtf import Atom, Record, Term

# The reader of deposited files erases atoms named H5T, so the end hydrogens that users will meet
# again in their own output have the names of the deposited format.
_END_HYDROGENS = {"5TER": {"H5T": "HO5'"}, "3TER": {"H3T": "HO3'"},
                  "5PHO": {"H5T": "HO5T"}, "3PHO": {"H3T": "HO3T"}}

_END_PATCHES_5 = ("5TER", "5MET", "5PHO", "5POM")
_END_PATCHES_3 = ("3TER", "3PHO", "3POM", "3PO3")


def deoxyribonucleotides(nucleic):
    """ADE, CYT, GUA and THY with the atoms of the patch DEOX."""
    deoxy = nucleic["DEOX"]
    changed = {atom.name: atom for atom in deoxy.atoms}
    h2 = next(term for term in deoxy.terms if term.atoms[3] == "H2'")
    result = []
    for name in ("ADE", "CYT", "GUA", "THY"):
        ribo = nucleic[name]
        groups = [[changed.get(atom.name, atom) for atom in group if atom.name != "O2'"]
                  for group in ribo.groups]
        result.append(ribo.copy(
            groups=groups,
            bonds=[bond for bond in ribo.bonds if "O2'" not in bond] + deoxy.bonds,
            terms=[term for term in ribo.terms if "O2'" not in term.atoms] + [h2]))
    return result


def deoxy_end_patches(nucleic):
    # 5MET is not for deoxyribonucleotides.
    names = [name for name in _END_PATCHES_5 if name != "5MET"] + list(_END_PATCHES_3)
    return [nucleic[name].renamed_atoms(_END_HYDROGENS.get(name, {})) for name in names]


_ONE_LETTER = {"A": "ADE", "C": "CYT", "G": "GUA", "U": "URA"}
# H2' first of all: the published records give this name to the hydroxyl's hydrogen.
_DEPOSITED_RNA_ATOMS = {"O1P": "OP1", "O2P": "OP2", "H2'": "HO2'", "H2''": "H2'"}


def one_letter_ribonucleotides(nucleic):
    """A, C, G and U: the published ribonucleotides with deposited atom names."""
    return [nucleic[name].renamed_atoms(_DEPOSITED_RNA_ATOMS).copy(name=letter)
            for letter, name in _ONE_LETTER.items()]


def ribo_end_patches(nucleic):
    """End patches for A, C, G and U; those that touch OP1 and OP2 get names of their own."""
    result = []
    for name in _END_PATCHES_5 + _END_PATCHES_3:
        atoms = {**_DEPOSITED_RNA_ATOMS, **_END_HYDROGENS.get(name, {})}
        patch = nucleic[name].renamed_atoms(atoms)
        result.append(patch.copy(name="R" + name) if name in _END_PATCHES_5 else patch)
    return result


# Name of the record, name of the oxygen.
_WATERS = (("HOH", "O"), ("WAT", "O"), ("TIP", "OH2"), ("TIP3", "OH2"))

# Name of the record, name of its atom, published record; the names that the classification of
# residues knows, those of deposited files, and the published ones.
_IONS = (
    ("SOD", "SOD", "SOD"), ("NA", "NA", "SOD"),
    ("CLA", "CLA", "CLA"), ("CL", "CL", "CLA"),
    ("POT", "POT", "POT"), ("K", "K", "POT"),
    ("MG", "MG", "MG"),
    ("CAL", "CAL", "CAL"), ("CA", "CA", "CAL"),
    ("LIT", "LIT", "LIT"), ("LI", "LI", "LIT"),
    ("RUB", "RUB", "RUB"), ("RB", "RB", "RUB"),
    ("CES", "CES", "CES"), ("CS", "CS", "CES"),
    ("BAR", "BAR", "BAR"), ("BA", "BA", "BAR"),
    ("ZN2", "ZN", "ZN2"), ("ZN", "ZN", "ZN2"),
    ("CD2", "CD", "CD2"), ("CD", "CD", "CD2"),
)


def waters(water_ions, parameters):
    """Water under the names of the readers, with terms that start from the oxygen alone.

    Neither hydrogen has three other atoms to refer to, so each refers to the other one: the first
    one gets a stand-in place, the second is set against it, and then both are placed once more,
    each at its length and angle from the other. The oxygen of the residue before only turns the
    plane; without it the place is still right.
    """
    published = water_ions["TIP3"]
    length = parameters.length("OT", "HT")
    between = parameters.angle("HT", "OT", "HT")
    result = []
    for name, oxygen in _WATERS:
        record = published.renamed_atoms({"OH2": oxygen}).copy(name=name, end_patches=[])

        def hydrogen_term(other, placed):
            # The front distance and angle only describe a made-up neighbour.
            return Term(("-" + oxygen, other, oxygen, placed), False,
                        (2.8, 120.0, 120.0, between, length))

        terms = [hydrogen_term("H2", "H1"), hydrogen_term("H1", "H2")]
        terms.append(Term(("-" + oxygen, "H1", "H2", oxygen), False,
                          (2.8, 120.0, 0.0, (180.0 - between) / 2, length)))
        result.append(record.copy(terms=terms))
    return result


def ions(water_ions):
    result = []
    for name, atom, published in _IONS:
        source = water_ions[published]
        (old,) = source.atoms
        groups = [[Atom(atom, old.type, old.charge)]]
        result.append(Record(name, source.charge, False, groups=groups))
    return result

"""The terms that stand first in a record, and so decide where a missing atom goes.

Written "A B *C D" for the atom D. Its numbers are measured on a model of the record that the
published terms build; a fifth word sets the dihedral instead. Chosen so that A, B and C exist when
D is looked for: a residue is completed in the order of its ATOM lines, starting from what a
deposited structure always has (N, CA and C, or the sugar). Planar groups may use any three of
their atoms. An atom of a neighbouring residue appears only where nothing else fixes the place.
"""

# A main-chain atom that is missing finds its place between the two neighbours that are there: the
# distance to both is right whatever the chain's torsions are.
_L_AMINO_ACID = ["CB C *CA N", "CB C N CA", "CB N *CA C"]

_AMINO_ACIDS_WITH_CB = ("ALA ARG ASN ASP CYM CYS GLN GLU HSD HSE HSP ILE LEU LYS MET PHE PRO SER "
                        "THR TRP TYR VAL").split()

_SUGAR = ["C5' C3' O4' C4'", "C2' C1' C4' O4'", "C3' C2' O4' C1'", "C4' C3' C1' C2'",
          "C1' C2' C4' C3'"]
_BACKBONE = ["C4' C5' O5' P", "O1P O5' *P O2P -128.28", "C3' C4' C5' O5' 60", "O4' C3' *C4' C5'",
             "C2' C4' *C3' O3'"]
# Chi sets the first atom of the base, all others follow inside the rigid base.
_PYRIMIDINE = ["O4' C2' *C1' N1", "O4' C1' N1 C6", "C1' N1 C6 C5", "C6 C1' *N1 C2", "C6 N1 C2 O2"]

LEADING_TERMS = {
    "GLY": ["O C CA N", "O C N CA"],
    "PRO": ["C CA N CD", "N CD CB CG"],
    "ILE": ["N CA CB CG2", "CG2 CA *CB CG1"],
    "HSD": ["CG ND1 CE1 NE2"],
    "HSE": ["CG ND1 CE1 NE2"],
    "HSP": ["CA CB CG CD2", "CD2 CB *CG ND1"],
    "TYR": ["CD1 CE1 CZ OH"],
    "TRP": ["CA CB CG CD1", "CB CG CD1 NE1", "CG CD1 NE1 CE2", "CD1 CB *CG CD2",
            "NE1 CD2 *CE2 CZ2"],
    "ALAD": ["CA NL CLP CL", "CRP CA NL CLP", "CA NL CLP OL", "CB CRP *CA NL",
             "CB NL *CA CRP", "NL CA CRP OR", "OR CA *CRP NR", "NL CLP CL HL3 -60"],
    "GUA": ["O4' C2' *C1' N9", "C1' N9 C4 N2", "C1' N9 C4 N3", "N9 C4 N3 C2", "C2 N1 C6 O6",
            "C1' N9 C4 C5", "N9 C4 C5 N7"],
    "ADE": ["O4' C2' *C1' N9", "O4' C1' N9 C5", "C1' N9 C5 N7", "N9 C5 N7 C8", "C8 N9 C5 N1",
            "N9 C5 N1 C2", "C5 N1 C2 N3", "C8 N9 C5 C4", "N3 C2 N1 C6"],
    "CYT": _PYRIMIDINE,
    "THY": _PYRIMIDINE + ["C2 N3 C4 O4", "H51 C5 *C5M H52 120", "H51 C5 *C5M H53 -120"],
    "URA": _PYRIMIDINE + ["C2 N3 C4 O4"],
    # The amide is built behind the hydrogen that is there, so that it is planar. Its methyl carbon
    # comes before its carbonyl carbon, and takes its place from the residue alone.
    "ACE": ["CA HN N CAY", "CA HN *N CY 180", "CA N CY OY"],
    "ACED": ["CA HN N CAY", "CA HN *N CY 180", "CA N CY OY"],
    "ACP": ["CD CA N CAY", "CD CA *N CY 180", "CA N CY OY"],
    "ACPD": ["CD CA N CAY", "CD CA *N CY 180", "CA N CY OY"],
    "CTER": ["N CA C OT1 0", "OT1 CA *C OT2 180"],
    "CNEU": ["N CA C OT1 0", "OT1 CA *C OT2 180"],
    "CTP": ["N CA C OT1 0", "OT1 CA *C OT2 180"],
    "CT1": ["N CA C OT1 0", "OT1 CA *C OT2 180", "C OT2 CT HT1 60", "C OT2 CT HT2 180",
            "C OT2 CT HT3 -60"],
    # The carbonyl oxygen is there already: what is added goes opposite to it.
    "CT2": ["O CA *C NT 180"],
    "CT3": ["O CA *C NT 180"],
    # These take the place left free on an atom whose other neighbours stay where they are.
    "5MET": ["H5' C4' *C5' H53' -120"],
    "5PHO": ["O1P O5' *P O5T 115.82"],
    "5POM": ["O1P O5' *P O5T 115.82"],
    "3PHO": ["C3' O3' P3 O1P3", "O1P3 O3' *P3 O2P3"],
    "3POM": ["C3' O3' P3 O1P3", "O1P3 O3' *P3 O2P3"],
    "3PO3": ["C3' O3' P3 O1P3 -159.52", "O1P3 O3' *P3 O2P3 -120"],
}

for _name in _AMINO_ACIDS_WITH_CB:
    LEADING_TERMS[_name] = _L_AMINO_ACID + LEADING_TERMS.get(_name, [])
for _name in ("ADE", "CYT", "GUA", "THY", "URA"):
    LEADING_TERMS[_name] = _BACKBONE + _SUGAR + LEADING_TERMS[_name]

# Published numbers that do not fit the atoms they stand with, and what is taken instead: None keeps
# the published one, zero stands for the equilibrium value. The term for chi gives O4'-C1' the
# length of C1'-C2', and O4'-C1'-N the angle C2'-C1'-N; in CYT and THY it also carries the purines'
# angle C1'-N9-C4 and length N9-C4, where another term of the record has the right ones.
CORRECTED_TERMS = {
    ("ADE", ("O4'", "C1'", "N9", "C4")): (0.0, 0.0, None, None, None),
    ("GUA", ("O4'", "C1'", "N9", "C4")): (0.0, 0.0, None, None, None),
    ("CYT", ("O4'", "C1'", "N1", "C2")): (0.0, 0.0, None, 117.79, 1.399),
    ("THY", ("O4'", "C1'", "N1", "C2")): (0.0, 0.0, None, 117.06, 1.3746),
    ("URA", ("O4'", "C1'", "N1", "C2")): (0.0, 0.0, None, None, None),
    # 1.09 Angstrom, the length of a C-H bond.
    ("THY", ("C2", "C4", "N3", "H3")): (None, None, None, None, 0.0),
}

# Terms with an atom that the record does not have, and so without figures, are left out.
DROPPED_TERMS = {"3PO3": ("O3T", "H3T")}

# What a patch is applied to, where that is not the usual ALA or GUA: its atoms are around, too.
PATCHED_RESIDUE = {
    "GLYP": "GLY", "NGNE": "GLY", "PROP": "PRO", "ACP": "PRO", "ACPD": "PRO", "ASPP": "ASP",
    "GLUP": "GLU", "LSN": "LYS", "CYSD": "CYS", "SERD": "SER", "DISU": "CYS", "HS2": "HSD",
}

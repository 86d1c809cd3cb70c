"""Which record goes into which file, and what stands at the head of each file."""

import os

from . import analogies, derived, methylations, phosphorylations
from .completed import Completer
from .parameters import Parameters
from .removal_patches import removal_patches
from .rtf import read_topology, record_lines

PARAMETER_FILES = ("par_all36_prot.prm", "par_all36_na.prm", "toppar_water_ions.str")

_PROTEIN_PAPERS = [
    "R. B. Best, X. Zhu, J. Shim, P. Lopes, J. Mittal, M. Feig, A. D. MacKerell Jr.,",
    "  J. Chem. Theory Comput. 8 (2012) 3257",
    "A. D. MacKerell Jr., M. Feig, C. L. Brooks III, J. Am. Chem. Soc. 126 (2004) 698",
    "A. D. MacKerell Jr. et al., J. Phys. Chem. B 102 (1998) 3586",
]
_THIOLATE_PAPER = [
    "N. Foloppe, J. Sagemark, K. Nordstrand, K. D. Berndt, L. Nilsson,",
    "  J. Mol. Biol. 310 (2001) 449 (thiolate of cysteine)",
]
_NUCLEIC_PAPERS = [
    "E. J. Denning, U. D. Priyakumar, L. Nilsson, A. D. MacKerell Jr.,",
    "  J. Comput. Chem. 32 (2011) 1929 (RNA)",
    "K. Hart, N. Foloppe, C. M. Baker, E. J. Denning, L. Nilsson, A. D. MacKerell Jr.,",
    "  J. Chem. Theory Comput. 8 (2012) 348 (DNA)",
    "N. Foloppe, A. D. MacKerell Jr., J. Comput. Chem. 21 (2000) 86",
    "A. D. MacKerell Jr., N. K. Banavali, J. Comput. Chem. 21 (2000) 105",
]
_WATER_ION_PAPERS = [
    "W. L. Jorgensen, J. Chandrasekhar, J. D. Madura, R. W. Impey, M. L. Klein,",
    "  J. Chem. Phys. 79 (1983) 926 (TIP3P water)",
    "D. Beglov, B. Roux, J. Chem. Phys. 100 (1994) 9050 (ions)",
    "R. H. Stote, M. Karplus, Proteins 23 (1995) 12 (zinc)",
]

_GENERAL_PAPER = [
    "K. Vanommeslaeghe et al., J. Comput. Chem. 31 (2010) 671 (general force field)",
]

# Left out: it deletes the atoms of all bases at once, and a patch that deletes an atom which its
# residue lacks ends the run.
_LEFT_OUT = {"DELB"}

# The hydroxyl's hydrogen has the name that the patch gives to a hydrogen on C2'. Deleted first, it
# is placed anew on the carbon; left alone, it would stay where the hydroxyl was.
_ALSO_DELETED = {"DEOX": ["H2'"], "DEO5": ["H2'"]}

# What the published files do not say in their records, and a reader of ours should know.
_NOTES = {
    "CTER": "OT1 takes the direction cis to N, as the oxygen it stands for is gone by then",
    "DEOX": "for a nucleotide behind another one",
    "DEO5": "for the first nucleotide of a strand",
    "5MET": "not for deoxyribonucleotides",
    "CY35": "closes a cyclic nucleotide",
}

_PEPTIDE_LINKS = ["DECL -CA", "DECL -C", "DECL -O", "DECL +N", "DECL +HN", "DECL +CA"]
_NUCLEOTIDE_LINKS = ["DECL +P", "DECL +O5'", "DECL -O3'"]
_AUTOGENERATE = "AUTOGENERATE ANGLES DIHEDRALS"


def read_parameters(published):
    """Lengths and angles of the published files, and of our own for methylation and the like."""
    parameters = Parameters()
    for name in PARAMETER_FILES:
        parameters.read(os.path.join(published, name))
    figures = analogies.Figures(published)
    for table in (methylations.PARAMETERS, phosphorylations.PARAMETERS):
        analogies.add_equilibrium_values(table, figures, parameters)
    return parameters


def topology_files(published):
    """Contents by file name, made from the folder of published files."""
    parameters = read_parameters(published)
    protein = _read(published, "top_all36_prot.rtf")
    nucleic = _read(published, "top_all36_na.rtf")
    water_ions = _read(published, "toppar_water_ions.str")
    completer = Completer(nucleic.records, parameters, peptide=False)
    completed_nucleic = _completed(nucleic, completer)
    dna = ([completer.completed(record) for record in derived.deoxyribonucleotides(nucleic.records)]
           + derived.deoxy_end_patches(completed_nucleic))
    rna = (derived.one_letter_ribonucleotides(completed_nucleic)
           + derived.ribo_end_patches(completed_nucleic))
    waters_and_ions = (derived.waters(water_ions.records, parameters)
                       + derived.ions(water_ions.records))
    completed_protein = _completed(protein, Completer(protein.records, parameters, peptide=True))
    methylation = methylations.methylation_patches(completed_protein, parameters)
    phosphorylation = phosphorylations.phosphorylation_patches(completed_protein, parameters)
    types_of_phosphates = {atom.type for patch in phosphorylation for atom in patch.atoms}
    figures = analogies.Figures(published)
    return {
        "top_all36_prot.rtf": _file(
            ["Proteins"], _PROTEIN_PAPERS + _THIOLATE_PAPER + _GENERAL_PAPER, protein.masses,
            [*completed_protein.values(), *methylation,
             *removal_patches(completed_protein, parameters)],
            _PEPTIDE_LINKS + ["DEFA FIRST NTER LAST CTER", _AUTOGENERATE]),
        "top_all36_na.rtf": _file(
            ["Nucleic acids"], _NUCLEIC_PAPERS, nucleic.masses, completed_nucleic.values(),
            _NUCLEOTIDE_LINKS + ["DEFA FIRST NONE LAST NONE", _AUTOGENERATE]),
        "extra/dna.rtf": _file(
            ["Deoxyribonucleotides under the names ADE, CYT, GUA, THY, in place of the",
             "ribonucleotides of the standard file; patches for the ends of a strand"],
            _NUCLEIC_PAPERS, nucleic.masses, dna, _NUCLEOTIDE_LINKS + [_AUTOGENERATE]),
        "extra/rna.rtf": _file(
            ["Ribonucleotides under the deposited names A, C, G, U with deposited atom names;",
             "patches for the ends of a strand"],
            _NUCLEIC_PAPERS, nucleic.masses, rna, _NUCLEOTIDE_LINKS + [_AUTOGENERATE]),
        "extra/water_ions.rtf": _file(
            ["Water and ions under deposited and under force field names"],
            _WATER_ION_PAPERS, water_ions.masses, waters_and_ions, []),
        "extra/phosphorylation.rtf": _file(
            ["Patches for phosphorylated serine, threonine and tyrosine"],
            _PROTEIN_PAPERS + _NUCLEIC_PAPERS + _GENERAL_PAPER,
            [mass for mass in protein.masses + nucleic.masses if mass[0] in types_of_phosphates],
            phosphorylation, [_AUTOGENERATE]),
        "extra/methylation.prm": analogies.parameter_file(
            ["Parameters for methylated lysines and arginines, to be read behind",
             "par_all36_prot.prm"],
            _GENERAL_PAPER, methylations.PARAMETERS, figures, ["par_all36_prot.prm"]),
        "extra/phosphorylation.prm": analogies.parameter_file(
            ["Parameters for phosphorylated serine, threonine and tyrosine, to be read behind",
             "par_all36_prot.prm and par_all36_na.prm"],
            _GENERAL_PAPER, phosphorylations.PARAMETERS, figures,
            ["par_all36_prot.prm", "par_all36_na.prm"]),
    }


def _read(folder, name):
    return read_topology(os.path.join(folder, name))


def _completed(topology, completer):
    records = {}
    for name, record in topology.records.items():
        if name not in _LEFT_OUT:
            record = record.copy(deleted=record.deleted + _ALSO_DELETED.get(name, []),
                                 note=_NOTES.get(name, ""))
            records[name] = completer.completed(record)
    return records


def _file(subject, papers, masses, records, declarations):
    records = list(records)
    used = {atom.type for record in records for atom in record.atoms}
    lines = ["* CHARMM36 additive force field"]
    lines += ["* " + line for line in subject]
    lines += ["* Written by scripts/make_topology.py; figures as published July 2016", "*",
              "36 1", "", "! Figures from"]
    lines += ["!   " + line for line in papers]
    lines.append("")
    # The standard files define all published types, the others what they use.
    everything = not any(record.name in ("HOH", "A") for record in records)
    lines += [f"MASS {-1:3d} {type_:<5} {mass:>10}" for type_, mass in masses
              if everything or type_ in used]
    if declarations:
        lines += [""] + declarations
    for record in records:
        lines += [""] + record_lines(record)
    return "\n".join(lines + ["", "END", ""])

#!/usr/bin/env python3
"""Writes the water and ion templates of the mode solvate from the published files of the force field.

    python3 scripts/make_solvent_templates.py --published DIR --output data          writes the files
    python3 scripts/make_solvent_templates.py --published DIR --output data --check  compares them

The files are tip3, sod and cla, each as .pdb and .psf. DIR holds toppar_water_ions.str. With --check
nothing is written; the exit status is 1 if a file differs from what would be written, and 77 if there
is no DIR to compare with.
"""

import math
import os
import sys
from typing import NamedTuple, Tuple

from topology import generated_files
from topology.parameters import Parameters
from topology.rtf import read_topology

FIGURES = "toppar_water_ions.str"


class Template(NamedTuple):
    """What a template is called, and where its figures come from.

    The chain is also the segment of the PSF file, since a molecule can take its chains from there. No
    two templates share one: numbers begin anew with each kind of molecule, and residues are told apart
    by number and chain alone. The letters come from the end of the alphabet, which few molecules use;
    X is what a blank chain is called.
    """

    record: str
    chain: str
    elements: Tuple[str, ...]  # in upper case, as the program reads them
    source: str


TEMPLATES = {
    "tip3": Template("TIP3", "W", ("O", "H", "H"),
                     "W. L. Jorgensen et al., J. Chem. Phys. 79 (1983) 926 (TIP3P water)"),
    "sod": Template("SOD", "Y", ("NA",),
                    "D. Beglov, B. Roux, J. Chem. Phys. 100 (1994) 9050 (sodium ion)"),
    "cla": Template("CLA", "Z", ("CL",),
                    "D. Beglov, B. Roux, J. Chem. Phys. 100 (1994) 9050 (chloride ion)"),
}

# A molecule of one copy keeps this number in the PSF file, where the PDB file has 1.
RESIDUE_NUMBER = 1


def water_places(length, between):
    """Oxygen at the origin, the hydrogens on both sides of the y axis (Angstrom, degrees)."""
    half = math.radians(between) / 2
    x, y = length * math.sin(half), length * math.cos(half)
    return [(0.0, 0.0, 0.0), (x, y, 0.0), (-x, y, 0.0)]


def pdb_text(template, record, places):
    # The eight columns of a coordinate hold five decimals here instead of the usual three.
    lines = ["REMARK " + template.source,
             "REMARK Made by scripts/make_solvent_templates.py"]
    for number, (atom, element, place) in enumerate(zip(record.atoms, template.elements, places), 1):
        coordinates = "".join(f"{value:8.5f}" for value in place)
        lines.append(f"HETATM{number:5d}  {atom.name:<3} {record.name:<4}{template.chain}"
                     f"{RESIDUE_NUMBER:4d}    {coordinates}{1:6.2f}{0:6.2f}      "
                     f"{element:>4}{element:>2}  ")
    return "\n".join([*lines, "END", ""])


def index_section(label, width, terms):
    """A count line, all terms on one line, and an empty line; terms have atom numbers from 1."""
    lines = [f"{len(terms):8d} !{label}"]
    if terms:
        lines.append("".join(f"{number:{width}d}" for term in terms for number in term))
    return [*lines, ""]


def psf_text(template, record, masses):
    titles = [template.source, "Made by scripts/make_solvent_templates.py"]
    lines = ["PSF EXT", "", f"{len(titles):8d} !NTITLE"]
    lines += [" REMARKS " + title for title in titles]
    lines += ["", f"{len(record.atoms):8d} !NATOM"]
    for number, atom in enumerate(record.atoms, 1):
        lines.append(f"{number:8d} {template.chain:<5}{RESIDUE_NUMBER:5d}{record.name:>7}  "
                     f"{atom.name:<5}{atom.type:<8}{float(atom.charge):10.6f} "
                     f"{float(masses[atom.type]):13.5f}           0")
    lines.append("")
    number_of = {atom.name: number for number, atom in enumerate(record.atoms, 1)}
    bonds = [(number_of[a], number_of[b]) for _, a, b in record.bonds]
    lines += index_section("NBOND: bonds", 8, bonds)
    # The one angle of water: the bond between its hydrogens only keeps the molecule rigid.
    angles = [(2, 1, 3)] if len(record.atoms) == 3 else []
    lines += index_section("NTHETA: angles", 10, angles)
    for label in ("NPHI: dihedrals", "NIMPHI: impropers", "NCRTERM: cross-terms"):
        lines += index_section(label, 10, [])
    return "\n".join([*lines, ""])


def template_files(published):
    """Contents by file name, made from the folder of published files."""
    path = os.path.join(published, FIGURES)
    parameters = Parameters()
    parameters.read(path)
    masses, records = read_topology(path)
    water = water_places(parameters.length("OT", "HT"), parameters.angle("HT", "OT", "HT"))
    files = {}
    for name, template in TEMPLATES.items():
        record = records[template.record]
        places = water if len(record.atoms) == 3 else [(0.0, 0.0, 0.0)]
        files[name + ".pdb"] = pdb_text(template, record, places)
        files[name + ".psf"] = psf_text(template, record, dict(masses))
    return files


if __name__ == "__main__":
    sys.exit(generated_files.run(__doc__.split("\n\n", maxsplit=1)[0], template_files))

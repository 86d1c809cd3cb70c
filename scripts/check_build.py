#!/usr/bin/env python3
"""Checks a molecule that `ravelo topol` completed: is it fit to be simulated?

    check_build.py --input protein.pdb --pdb protein-topol.pdb --psf protein-topol.psf

- Every bond with an atom that was not in the input is within 0.2 Angstrom of its equilibrium length.
- No two atoms are closer than 0.5 Angstrom.
- The total charge is an integer.
- No coordinate, charge or mass is "nan".

A problem that the input brought along is told apart: several chains in one file (they are joined), a
centre of the wrong hand (a new atom finds its place taken), and atoms that lie on each other already.
"""

import argparse
import itertools
import math
import sys
from pathlib import Path

BOND_TOLERANCE = 0.2      # Angstrom
CLOSEST_DISTANCE = 0.5    # Angstrom
CHARGE_TOLERANCE = 1e-3   # elementary charges
# Tetrahedral centres: residue (None for any), centre, three neighbours, and the sign of the volume
# that these span as seen from the centre.
CENTRES = (
    (None, "CA", ("N", "C", "CB"), 1),
    ("THR", "CB", ("CA", "OG1", "CG2"), 1),
    ("ILE", "CB", ("CA", "CG1", "CG2"), 1),
    ("VAL", "CB", ("CA", "CG1", "CG2"), -1),
    ("LEU", "CG", ("CB", "CD1", "CD2"), -1),
    (None, "C1'", ("C2'", "O4'", "N9"), -1),
    (None, "C2'", ("C1'", "C3'", "O2'"), -1),
    (None, "C3'", ("C2'", "C4'", "O3'"), -1),
    (None, "C4'", ("C3'", "O4'", "C5'"), 1),
)
# Made by make_equilibrium_table.py.
TABLE = Path(__file__).resolve().parent.parent / "tests/data/equilibrium.tsv"


class Atom:
    """An atom line of a PDB file."""

    def __init__(self, line):
        self.name = line[12:17].strip()   # ravelo writes names of four letters in columns 14 to 17
        self.residue = line[17:20].strip()
        self.chain = line[21].strip().upper() or "X"
        self.number = int(line[22:26])
        self.insertion_code = line[26].strip()
        self.position = tuple(float(line[start:start + 8]) for start in (30, 38, 46))

    def place(self):
        """What tells an atom of the input again in the output, whatever its name has become."""
        return (self.chain, self.number, *(round(value, 3) for value in self.position))

    def __str__(self):
        return f"{self.residue}{self.number}:{self.chain} {self.name}"


def read_pdb(path):
    with open(path, encoding="latin-1") as file:
        return [Atom(line) for line in file if line[:6].upper().startswith(("ATOM", "HETATM"))]


class Psf:
    """Atom types, charges, masses and terms (as tuples of 0-based indices) of a PSF file that ravelo
    wrote."""

    SIZES = {"bonds": 2, "angles": 3, "dihedrals": 4}

    def __init__(self, path):
        lines = iter(Path(path).read_text(encoding="latin-1").splitlines())
        self.types, self.charges, self.masses = [], [], []
        self.bonds, self.angles, self.dihedrals = [], [], []
        for line in lines:
            label = line.rpartition(": ")[2]
            if "!NATOM" in line:
                for words in self._section(lines):
                    # From the end: a residue name can be blank.
                    self.types.append(words[-4])
                    self.charges.append(float(words[-3]))
                    self.masses.append(float(words[-2]))
            elif label in self.SIZES:
                indices = (int(word) - 1 for words in self._section(lines) for word in words)
                setattr(self, label, list(zip(*[indices] * self.SIZES[label])))

    @staticmethod
    def _section(lines):
        return (line.split() for line in itertools.takewhile(str.strip, lines))


def bad_numbers(atoms, psf):
    """Places of numbers that are no numbers."""
    for index, atom in enumerate(atoms):
        if not all(math.isfinite(value) for value in atom.position):
            yield f"{atom} has a coordinate that is no number"
        if not (math.isfinite(psf.charges[index]) and math.isfinite(psf.masses[index])):
            yield f"{atom} has a charge or mass that is no number"
        if psf.masses[index] <= 0.0:
            yield f"{atom} of type {psf.types[index]} has no mass"


def bad_bonds(atoms, psf, is_new, lengths):
    """Bonds with a new atom whose length is wrong or unknown: (atom, atom, text)."""
    for one, other in psf.bonds:
        if not (is_new[one] or is_new[other]):
            continue
        types = tuple(sorted((psf.types[one], psf.types[other])))
        expected = lengths.get(types)
        found = math.dist(atoms[one].position, atoms[other].position)
        if expected is None:
            yield one, other, f"no equilibrium length for {'-'.join(types)}"
        elif not abs(found - expected) <= BOND_TOLERANCE:
            yield one, other, f"a bond of {found:.3f} A, should be {expected:.3f} A"


def close_pairs(atoms):
    """Pairs of atoms that are too close, found through a grid of cells: (atom, atom, text)."""
    cells = {}
    for index, atom in enumerate(atoms):
        cell = tuple(math.floor(value / CLOSEST_DISTANCE) for value in atom.position)
        for shift in itertools.product((-1, 0, 1), repeat=3):
            for other in cells.get(tuple(map(sum, zip(cell, shift))), ()):
                distance = math.dist(atom.position, atoms[other].position)
                if distance < CLOSEST_DISTANCE:
                    yield other, index, f"{distance:.3f} A apart"
        cells.setdefault(cell, []).append(index)


def volume(centre, others):
    """The signed volume that three neighbours span as seen from a centre."""
    (ux, uy, uz), (vx, vy, vz), (wx, wy, wz) = (
        tuple(a - b for a, b in zip(other, centre)) for other in others)
    return ux * (vy * wz - vz * wy) + uy * (vz * wx - vx * wz) + uz * (vx * wy - vy * wx)


def turned_residues(atoms):
    """Residues, as (chain, number), with a centre that has the wrong hand or is flat."""
    residues = {}
    for atom in atoms:
        residues.setdefault((atom.chain, atom.number), {}).setdefault(atom.name, atom)
    turned = set()
    for key, members in residues.items():
        for residue, centre, others, sign in CENTRES:
            if centre not in members or not all(name in members for name in others):
                continue
            if residue not in (None, members[centre].residue):
                continue
            if sign * volume(members[centre].position,
                             [members[name].position for name in others]) < 0.5:
                turned.add(key)
    return turned


def reason_in_input(one, other, both_old, turned):
    """Why a problem between two atoms comes from the input; empty if it does not."""
    if both_old:
        return " (so in the input)"
    if one.chain != other.chain:
        return " (two chains in one input)"
    if {(one.chain, one.number), (other.chain, other.number)} & turned:
        return " (a centre of the wrong hand in the input)"
    return ""


def bad_charge(psf):
    total = sum(psf.charges)
    if not abs(total - round(total)) <= CHARGE_TOLERANCE:
        yield f"the total charge is {total:.5f}, not an integer"


def problems_of(input_path, pdb_path, psf_path, lengths):
    """What is wrong with a built molecule, as two lists of lines: by the program, by the input."""
    input_atoms = read_pdb(input_path)
    if any(atom.insertion_code for atom in input_atoms):
        return [], ["the input has insertion codes, which do not separate residues"]
    atoms, psf = read_pdb(pdb_path), Psf(psf_path)
    if not atoms or len(atoms) != len(psf.types):
        return [f"{pdb_path} has {len(atoms)} atoms, {psf_path} has {len(psf.types)}"], []
    numbers = list(bad_numbers(atoms, psf))
    if numbers:
        return numbers, []
    old_places = {atom.place() for atom in input_atoms}
    is_new = [atom.place() not in old_places for atom in atoms]
    turned = turned_residues(input_atoms)
    ours, theirs = list(bad_charge(psf)), []
    for one, other, text in [*bad_bonds(atoms, psf, is_new, lengths), *close_pairs(atoms)]:
        both_old = not (is_new[one] or is_new[other])
        reason = reason_in_input(atoms[one], atoms[other], both_old, turned)
        line = f"{atoms[one]} and {atoms[other]}: {text}{reason}"
        (theirs if reason else ours).append(line)
    return ours, theirs


def read_lengths():
    """Equilibrium lengths in Angstrom by sorted pair of types."""
    lengths = {}
    for line in TABLE.read_text(encoding="utf-8").splitlines():
        *types, value = line.split("\t")
        if len(types) == 2:
            lengths[tuple(sorted(types))] = float(value)
    return lengths


def main():
    parser = argparse.ArgumentParser(description=__doc__.split("\n", maxsplit=1)[0])
    parser.add_argument("--input", type=Path, required=True, help="the PDB file given to topol")
    parser.add_argument("--pdb", type=Path, required=True, help="the PDB file that topol wrote")
    parser.add_argument("--psf", type=Path, required=True, help="the PSF file that topol wrote")
    arguments = parser.parse_args()
    ours, theirs = problems_of(arguments.input, arguments.pdb, arguments.psf,
                               read_lengths())
    for problem in [*ours, *theirs]:
        print(problem)
    print(f"{arguments.pdb}: {len(ours)} problems, {len(theirs)} more that the input brought along")
    return 1 if ours or theirs else 0


if __name__ == "__main__":
    sys.exit(main())

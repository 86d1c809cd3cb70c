#!/usr/bin/python3
"""Takes small molecules from bare coordinates to an energy minimisation, with public tools at the end.

Each molecule goes through `ravelo ligand` and `ravelo-export`. Then ParmEd loads the exported PSF file,
the PDB file and the naive parameters, in which no term may be left without a parameter, and converts
the system for GROMACS, which minimises its energy (steepest descent, vacuum). The energy must be a
finite number before and after, and must not have risen.

The naive parameters hold a line for each guess, also where another one has the same atom types; of
such lines ParmEd keeps the last one. The table tells the number of lines, how many were replaced so,
and by how much bond lengths change in the minimisation (root mean square, in Angstrom).

Ends with status 0 if all molecules pass, 1 if one does not, and 77 if a tool is absent or there is no
molecule, so that nothing could be tried. On Debian: apt-get install python3-parmed python3-numpy
gromacs.
"""

import argparse
import math
import os
import shutil
import sys
import tempfile
import warnings

import validate_with_engines as engines
from validate_with_engines import Failure, parmed


def write_masses(psf, path):
    """A parameter file with a MASS line for each type. ParmEd knows only types that have one, and the
    naive parameters leave masses to the PSF file."""
    masses = {atom.type: atom.mass for atom in psf.atoms}
    with open(path, "w") as out:
        out.write("ATOMS\n")
        for number, (name, mass) in enumerate(sorted(masses.items()), 1):
            out.write("MASS %d %s %.4f\n" % (number, name, mass))
        out.write("\nEND\n")


def load_parameters(folder):
    """What ParmEd makes of the naive parameters of a folder, and how many lines it replaced."""
    psf = parmed.charmm.CharmmPsfFile(os.path.join(folder, "engine.psf"))
    masses = os.path.join(folder, "masses.prm")
    write_masses(psf, masses)
    with warnings.catch_warnings(record=True) as caught:
        warnings.simplefilter("always")
        try:
            parameters = parmed.charmm.CharmmParameterSet(
                masses, os.path.join(folder, "system-naive.prm"))
        except Exception as problem:  # ParmEd has several kinds of them
            raise Failure("ParmEd: %s" % problem)
    texts = [str(warning.message) for warning in caught]
    others = [text for text in texts if not text.startswith("Replacing ")]
    if others:
        raise Failure("ParmEd warns: " + others[0])
    return parameters, len(texts)


def count_lines(path):
    """Lines of bonds, angles and dihedrals of the naive parameters."""
    with open(path) as lines:
        sections = lines.read().split("NONBONDED")[0].split("ATOMS")[1]
    return sum(len(line.split("!")[0].split()) > 1 for line in sections.splitlines())


def bond_lengths(psf, places):
    return engines.numpy.array([math.dist(places[bond.atom1.idx], places[bond.atom2.idx])
                                for bond in psf.bonds])


def change_of_bonds(psf, before, folder):
    """By how much bond lengths have changed: root mean square, in Angstrom."""
    after = parmed.load_file(os.path.join(folder, "em.gro")).coordinates
    changes = bond_lengths(psf, after) - bond_lengths(psf, before)
    return math.sqrt((changes ** 2).mean()) if len(changes) else 0.0


def try_molecule(options, molecule):
    """One row of the table, and whether the molecule passes."""
    name = os.path.basename(molecule)
    folder = os.path.join(options.work, os.path.splitext(name)[0])
    shutil.rmtree(folder, ignore_errors=True)
    os.makedirs(folder)
    try:
        report = engines.build(options, "ligand", os.path.abspath(molecule), folder)
        parameters, replaced = load_parameters(folder)
        psf = engines.load_with_parmed(parameters, folder, report)
        charge = sum(atom.charge for atom in psf.atoms)
        places = psf.coordinates.copy()
        before, after, force, steps = engines.minimise(options, psf, folder)
        change = change_of_bonds(psf, places, folder)
    except Failure as failure:
        return "%-26s FAILS: %s" % (name, failure), False
    rounding = 1e-4 * abs(before)
    passes = all(map(math.isfinite, (before, after, force, change))) and after <= before + rounding
    return ("%-26s %5d %8.3f %6d %8d %12.5g %12.5g %9.1f %6d %7.3f  %s" %
            (name, report["Number of atoms"], charge,
             count_lines(os.path.join(folder, "system-naive.prm")), replaced, before, after, force,
             steps, change, "passes" if passes else "FAILS"), passes)


def parse_arguments():
    parser = argparse.ArgumentParser(description=__doc__.split("\n\n")[0])
    parser.add_argument("molecules", nargs="*", help="PDB and XYZ files")
    parser.add_argument("--ravelo", required=True, help="the program ravelo")
    parser.add_argument("--export", required=True, help="the program ravelo-export")
    parser.add_argument("--gmx", default="gmx", help="the program of GROMACS")
    parser.add_argument("--steps", type=int, default=5000, help="most steps of a minimisation")
    parser.add_argument("--work", help="folder to keep the files in")
    return parser.parse_args()


def main():
    options = parse_arguments()
    absent = engines.absent_tools(options)
    if absent:
        print("Skipped, absent here: " + ", ".join(absent))
        return engines.SKIPPED
    options.ravelo = os.path.abspath(options.ravelo)
    options.export = os.path.abspath(options.export)
    with tempfile.TemporaryDirectory() as temporary:
        options.work = os.path.abspath(options.work or temporary)
        print("%-26s %5s %8s %6s %8s %12s %12s %9s %6s %7s" %
              ("molecule", "atoms", "charge", "lines", "replaced", "E before", "E after", "force",
               "steps", "bonds"))
        results = []
        for molecule in options.molecules:
            row, passes = try_molecule(options, molecule)
            print(row, flush=True)
            results.append(passes)
    print("%d pass, %d fail (energies in kJ/mol, largest force in kJ/mol/nm, change of bonds in A)" %
          (results.count(True), results.count(False)))
    return engines.status_of(results)


if __name__ == "__main__":
    sys.exit(main())

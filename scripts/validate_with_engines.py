#!/usr/bin/python3
"""Takes proteins from a bare PDB file to an energy minimisation, with public tools at the end.

Each single-chain protein goes through `ravelo topol` and `ravelo-export`. Then

  ParmEd      loads the exported PSF file, the PDB file and the published parameters, with which no
              term may be left without a parameter, and converts the system for GROMACS;
  GROMACS     minimises the energy (steepest descent, vacuum) to a finite and negative value;
  MDAnalysis  loads the exported PSF file and the PDB file, where this package is installed.

Prints a table. Ends with status 0 if all proteins pass, 1 if one does not, and 77 if a tool or the
parameters are absent, or no file is for it, so that nothing could be tried.

On Debian: apt-get install python3-parmed python3-numpy gromacs. On Debian 12, python3-mdanalysis
cannot be installed beside libboost1.81-dev, with which ravelo is built there.
"""

import argparse
import math
import os
import re
import shutil
import subprocess
import sys
import tempfile
import warnings

warnings.simplefilter("ignore")

SKIPPED = 77

try:
    import numpy
    import parmed
except ImportError as absent:
    parmed = None
    why_no_parmed = str(absent)
try:
    with warnings.catch_warnings(record=True):  # it lets its own warnings through
        import MDAnalysis
except ImportError:
    MDAnalysis = None

# Potentials are zero beyond the cutoff and shifted to meet zero there: a highly charged protein
# would be far above zero otherwise, as nothing screens it in vacuum. The box ends beyond it.
CUTOFF_NM = 2.0
MDP = """integrator = steep
nsteps = {steps}
emtol = {tolerance}
emstep = 0.005
cutoff-scheme = Verlet
nstlist = 20
coulombtype = Cut-off
coulomb-modifier = Potential-shift
rcoulomb = {cutoff}
vdw-modifier = Potential-shift
rvdw = {cutoff}
pbc = xyz
constraints = none
"""
FORCE_TOLERANCE = 100.0  # kJ/mol/nm

AMINO_ACIDS = set("ALA ARG ASN ASP CYS GLN GLU GLY HIS HSD HSE HSP ILE LEU LYS MET PHE PRO SER THR "
                  "TRP TYR VAL".split())


class Failure(Exception):
    """A step that did not do what it should; the text says which and why."""


def run(command, folder):
    """Runs a command in a folder and returns what it printed on both outputs."""
    environment = dict(os.environ, GMX_MAXBACKUP="-1", OMP_NUM_THREADS="2")
    done = subprocess.run(command, cwd=folder, env=environment, text=True, errors="replace",
                          stdin=subprocess.DEVNULL, stdout=subprocess.PIPE,
                          stderr=subprocess.STDOUT)
    if done.returncode != 0:
        # GROMACS tells after "Fatal error:" what is wrong, and prints more.
        reason = re.split(r"^[A-Za-z -]* error:\n", done.stdout, maxsplit=1, flags=re.M)
        lines = [line for line in reason[-1].splitlines() if line.strip()]
        shown = lines[:3] if len(reason) > 1 else lines[-4:]
        raise Failure("%s ends with status %d: %s" % (os.path.basename(command[0]), done.returncode,
                                                      " / ".join(shown)))
    return done.stdout


def atom_lines(path):
    with open(path, errors="replace") as lines:
        return [line for line in lines if line.upper().startswith(("ATOM", "HETATM"))]


def why_not_for_this_script(path):
    """A reason to skip a file; None for a single chain of the 20 standard amino acids."""
    lines = atom_lines(path)
    others = {line[17:20].strip().upper() for line in lines} - AMINO_ACIDS
    chains = {line[21:22] for line in lines}
    if others or not lines:
        return "not only protein"
    return "%d chains" % len(chains) if len(chains) > 1 else None


def coordinates(path):
    """Coordinates in Angstrom, from their columns."""
    return numpy.array([[float(line[column:column + 8]) for column in (30, 38, 46)]
                        for line in atom_lines(path)])


def build(options, mode, molecule, folder):
    """The road through ravelo; returns what ravelo-export reported, as numbers by label."""
    printed = run([options.ravelo, mode, "-i", molecule, "-o", "system"], folder)
    if "Error occurs: " in printed:
        message = printed.split("Error occurs: ")[1]
        raise Failure(mode + " stops: " + re.sub(r"\s*\(in [^()]* at line \d+, .*", "", message,
                                                 flags=re.S))
    printed = run([options.export, "-i", "system.psf", "-o", "engine.psf", "-p", "system.pdb"],
                  folder)
    return {label.strip(): int(number)
            for label, number in re.findall(r"^([^:\n]+): +(\d+)$", printed, flags=re.M)}


def load_with_parmed(parameters, folder, report):
    """Loads everything into ParmEd; fails where a term has no parameter or where counts differ."""
    psf = parmed.charmm.CharmmPsfFile(os.path.join(folder, "engine.psf"))
    pdb = parmed.load_file(os.path.join(folder, "system.pdb"))
    places = coordinates(os.path.join(folder, "system.pdb"))
    if len(pdb.atoms) != len(psf.atoms) or abs(pdb.coordinates - places).max() > 1e-6:
        raise Failure("ParmEd reads other atoms from the PDB file")
    counts = {"atoms": psf.atoms, "bonds": psf.bonds, "angles": psf.angles,
              "dihedrals": psf.dihedrals, "impropers": psf.impropers, "cross-terms": psf.cmaps}
    for label, terms in counts.items():
        if len(terms) != report["Number of " + label]:
            raise Failure("ParmEd reads %d %s of %d" % (len(terms), label,
                                                        report["Number of " + label]))
    try:
        psf.load_parameters(parameters)
    except Exception as missing:  # ParmEd has several kinds of them
        raise Failure("ParmEd: %s" % missing)
    for terms in (psf.bonds, psf.angles, psf.dihedrals, psf.impropers, psf.cmaps):
        if any(term.type is None for term in terms):
            raise Failure("ParmEd leaves a term without parameters: %s" % terms)
    psf.coordinates = places
    return psf


def load_with_mdanalysis(folder, report):
    if MDAnalysis is None:
        return "absent"
    universe = MDAnalysis.Universe(os.path.join(folder, "engine.psf"),
                                   os.path.join(folder, "system.pdb"))
    counts = {"atoms": universe.atoms, "bonds": universe.bonds, "angles": universe.angles,
              "dihedrals": universe.dihedrals, "impropers": universe.impropers}
    for label, terms in counts.items():
        if len(terms) != report["Number of " + label]:
            raise Failure("MDAnalysis reads %d %s of %d" % (len(terms), label,
                                                            report["Number of " + label]))
    return "ok"


def minimise(options, psf, folder):
    """Energies (kJ/mol) before and after, the largest force left (kJ/mol/nm), and the steps."""
    places = psf.coordinates
    extent = places.max(axis=0) - places.min(axis=0)
    edge = float(extent.max()) + 10.0 * 2.0 * CUTOFF_NM
    psf.coordinates = places - places.mean(axis=0) + edge / 2.0  # not cut by the box's faces
    psf.box = [edge, edge, edge, 90.0, 90.0, 90.0]
    for name in ("system.top", "system.gro"):  # as one, also where a residue is in pieces
        psf.save(os.path.join(folder, name), overwrite=True, combine="all")
    with open(os.path.join(folder, "em.mdp"), "w") as settings:
        settings.write(MDP.format(steps=options.steps, tolerance=FORCE_TOLERANCE,
                                  cutoff=CUTOFF_NM))
    run([options.gmx, "grompp", "-f", "em.mdp", "-c", "system.gro", "-p", "system.top",
         "-o", "em.tpr"], folder)
    run([options.gmx, "mdrun", "-deffnm", "em", "-ntmpi", "1", "-ntomp", "2", "-nb", "cpu"], folder)
    with open(os.path.join(folder, "em.log")) as log:
        text = log.read()
    number = r"\s*=\s*(\S+)"
    energy = re.search(r"Potential Energy" + number, text)
    force = re.search(r"Maximum force" + number, text)
    steps = re.search(r"Steepest Descents .* in (\d+) steps", text)
    if not energy or not force or not steps:
        raise Failure("GROMACS leaves no energy")
    return (first_potential(text), float(energy.group(1)), float(force.group(1)),
            int(steps.group(1)))


def first_potential(log):
    """The potential energy of step 0: a row of names, 15 columns each, over a row of numbers."""
    lines = log.splitlines()
    for names, numbers in zip(lines, lines[1:]):
        for column in range(0, len(names), 15):
            if names[column:column + 15].strip() == "Potential":
                return float(numbers[column:column + 15])
    return float("nan")


def try_protein(options, protein):
    """One row of the table, and whether the protein passes; None if it is not for this script."""
    name = os.path.basename(protein)
    reason = why_not_for_this_script(protein)
    if reason:
        return "%-20s skipped: %s" % (name, reason), None
    folder = os.path.join(options.work, os.path.splitext(name)[0])
    shutil.rmtree(folder, ignore_errors=True)
    os.makedirs(folder)
    try:
        report = build(options, "topol", os.path.abspath(protein), folder)
        mdanalysis = load_with_mdanalysis(folder, report)
        psf = load_with_parmed(options.parameters, folder, report)
        charge = sum(atom.charge for atom in psf.atoms)
        before, after, force, steps = minimise(options, psf, folder)
    except Failure as failure:
        return "%-20s FAILS: %s" % (name, failure), False
    passes = math.isfinite(after) and after < 0.0
    return ("%-20s %6d %7.2f %6d %5d  %-6s %-10s %12.4g %12.1f %9.1f %6d  %s" %
            (name, report["Number of atoms"], charge, report["Number of cross-terms"],
             report["Halves of cross-terms left out"], "ok", mdanalysis, before, after, force,
             steps, "passes" if passes else "FAILS: not negative"), passes)


def parse_arguments():
    parser = argparse.ArgumentParser(description=__doc__.split("\n\n")[0])
    parser.add_argument("proteins", nargs="+",
                        help="PDB files; skipped if of several chains or not only protein")
    parser.add_argument("--ravelo", required=True, help="the program ravelo")
    parser.add_argument("--export", required=True, help="the program ravelo-export")
    parser.add_argument("--toppar", required=True,
                        help="folder of the published force field, with par_all36_prot.prm")
    parser.add_argument("--gmx", default="gmx", help="the program of GROMACS")
    parser.add_argument("--steps", type=int, default=5000, help="most steps of a minimisation")
    parser.add_argument("--work", help="folder to keep the files in")
    return parser.parse_args()


def absent_tools(options):
    absent = []
    if parmed is None:
        absent.append("ParmEd (%s)" % why_no_parmed)
    if not shutil.which(options.gmx):
        absent.append("GROMACS (%s)" % options.gmx)
    return absent


def status_of(results):
    """The exit status for the results of all molecules: true, false, or none for a skipped one."""
    if False in results:
        return 1
    return 0 if True in results else SKIPPED


def main():
    options = parse_arguments()
    options.parameter_file = os.path.join(options.toppar, "par_all36_prot.prm")
    absent = absent_tools(options)
    if not os.path.isfile(options.parameter_file):
        absent.append("the published parameters (%s)" % options.parameter_file)
    if absent:
        print("Skipped, absent here: " + ", ".join(absent))
        return SKIPPED
    options.ravelo = os.path.abspath(options.ravelo)
    options.export = os.path.abspath(options.export)
    options.parameters = parmed.charmm.CharmmParameterSet(options.parameter_file)
    with tempfile.TemporaryDirectory() as temporary:
        options.work = os.path.abspath(options.work or temporary)
        if MDAnalysis is None:
            print("MDAnalysis is absent here and not tried.")
        print("%-20s %6s %7s %6s %5s  %-6s %-10s %12s %12s %9s %6s" %
              ("protein", "atoms", "charge", "cross", "lone", "ParmEd", "MDAnalysis", "E before",
               "E after", "force", "steps"))
        results = []
        for protein in options.proteins:
            row, passes = try_protein(options, protein)
            print(row, flush=True)
            results.append(passes)
    print("%d pass, %d fail, %d skipped (energies in kJ/mol, largest force in kJ/mol/nm)" %
          (results.count(True), results.count(False), results.count(None)))
    return status_of(results)


if __name__ == "__main__":
    sys.exit(main())

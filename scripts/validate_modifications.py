#!/usr/bin/python3
"""Modifies ubiquitin and takes each result to an energy minimisation, with public tools at the end.

Each row of the table is a molecule: it goes through `ravelo topol`, through `ravelo modify` as
often as the row has patches, and through `ravelo-export`. Then ParmEd loads the exported PSF file,
the PDB file, the published parameters and those of data/extra/, with which no term may be left
without a parameter, and converts the system for GROMACS, which minimises its energy (steepest
descent, vacuum). The total charge must be the one told here, the energy finite at the start, and
lower at the end.

Ends with status 0 if all pass, 1 if one does not, and 77 if a tool or the parameters are absent, so
that nothing could be tried. On Debian: apt-get install python3-parmed python3-numpy gromacs.
"""

import argparse
import math
import os
import re
import shutil
import sys
import tempfile

import validate_with_engines as engines
from validate_with_engines import Failure, parmed

PUBLISHED = ("par_all36_prot.prm", "par_all36_na.prm")
OWN = ("methylation.prm", "phosphorylation.prm")

# What is done to ubiquitin: name, options of topol, options of each run of modify, total charge.
ROWS = (
    ("unmodified", [], [], 0),
    ("methylated", [], [["--mml", "6A", "--dml", "11A", "--tml", "33A", "--mma", "42A",
                         "--adma", "54A", "--sdma", "72A"]], 0),
    ("all lysines", [], [["--mml", "6A 27A", "--dml", "11A 29A 48A", "--tml", "33A 63A"]], 0),
    ("phosphates, dianions", [], ["SP2 20A", "THPB 12A", "TP2 59A"], -6),
    ("phosphates, anions", [], ["SP1 57A", "THP1 66A", "TP1 59A"], -3),
    ("acids, lysine", [], ["ASPP 21A", "GLUP 16A", "LSN 48A", "SERD 65A"], 0),
    ("capped ends", ["--no-patching-terminus"], ["ACE 1A", "CT3 76A"], 0),
    ("neutral ends", ["--no-patching-terminus"], ["NNEU 1A", "CNEU 76A"], 0),
    ("amide end", ["--no-patching-terminus"], ["NTER 1A", "CT2 76A"], 1),
    ("protonated end", ["--no-patching-terminus"], ["NTER 1A", "CTP 76A"], 1),
)


def modified(options, row, folder):
    """Builds the molecule of a row; returns its total charge and what ravelo-export reported."""
    _, topol_options, edits, _ = row
    printed = engines.run([options.ravelo, "topol", "-i", options.molecule, "-o", "step0",
                           *topol_options], folder)
    for number, edit in enumerate(edits, 1):
        words = edit if isinstance(edit, list) else [
            "--my-mod", edit, "--add-rtfs", os.path.join(options.extra, "phosphorylation.rtf")]
        before, after = f"step{number - 1}", f"step{number}"
        printed = engines.run([options.ravelo, "modify", "-i", before + ".pdb", "-t",
                               before + ".psf", "-o", after, *words], folder)
        for sign in ("Error occurs: ", "cannot be well predicted"):
            if sign in printed:
                raise Failure("modify: " + printed[printed.index(sign):].split("\n")[0])
    for ending in ("pdb", "psf"):
        shutil.copy(os.path.join(folder, f"step{len(edits)}.{ending}"),
                    os.path.join(folder, "system." + ending))
    charge = float(re.search(r"^Total charge: (\S+)$", printed, flags=re.M).group(1))
    printed = engines.run([options.export, "-i", "system.psf", "-o", "engine.psf", "-p",
                           "system.pdb"], folder)
    return charge, {label.strip(): int(number) for label, number in
                    re.findall(r"^([^:\n]+): +(\d+)$", printed, flags=re.M)}


def try_row(options, row):
    """One row of the table, and whether it passes."""
    name, _, _, expected_charge = row
    folder = os.path.join(options.work, re.sub(r"\W+", "-", name))
    shutil.rmtree(folder, ignore_errors=True)
    os.makedirs(folder)
    try:
        charge, report = modified(options, row, folder)
        if abs(charge - expected_charge) > 1e-4:
            raise Failure("the total charge is %.5f and not %d" % (charge, expected_charge))
        psf = engines.load_with_parmed(options.parameters, folder, report)
        before, after, force, steps = engines.minimise(options, psf, folder)
    except Failure as failure:
        return "%-22s FAILS: %s" % (name, failure), False
    passes = math.isfinite(before) and math.isfinite(after) and after < before
    return "%-22s %6d %7.2f  %-6s %12.4g %12.1f %9.1f %6d  %s" % (
        name, report["Number of atoms"], charge, "ok", before, after, force, steps,
        "passes" if passes else "FAILS: the energy is not finite or has not fallen"), passes


def parse_arguments():
    parser = argparse.ArgumentParser(description=__doc__.split("\n\n")[0])
    parser.add_argument("molecule", help="ubiquitin: examples/1ubq.pdb")
    parser.add_argument("--ravelo", required=True, help="the program ravelo")
    parser.add_argument("--export", required=True, help="the program ravelo-export")
    parser.add_argument("--toppar", required=True,
                        help="folder of the published force field, with " + ", ".join(PUBLISHED))
    parser.add_argument("--gmx", default="gmx", help="the program of GROMACS")
    parser.add_argument("--steps", type=int, default=500, help="most steps of a minimisation")
    parser.add_argument("--work", help="folder to keep the files in")
    return parser.parse_args()


def main():
    options = parse_arguments()
    options.extra = os.path.join(os.path.dirname(os.path.dirname(os.path.abspath(__file__))),
                                 "data", "extra")
    files = ([os.path.join(options.toppar, name) for name in PUBLISHED]
             + [os.path.join(options.extra, name) for name in OWN])
    absent = engines.absent_tools(options)
    absent += [path for path in files if not os.path.isfile(path)]
    if absent:
        print("Skipped, absent here: " + ", ".join(absent))
        return engines.SKIPPED
    for name in ("ravelo", "export", "molecule"):
        setattr(options, name, os.path.abspath(getattr(options, name)))
    options.parameters = parmed.charmm.CharmmParameterSet(*files)
    with tempfile.TemporaryDirectory() as temporary:
        options.work = os.path.abspath(options.work or temporary)
        print("%-22s %6s %7s  %-6s %12s %12s %9s %6s" %
              ("molecule", "atoms", "charge", "ParmEd", "E before", "E after", "force", "steps"))
        results = []
        for row in ROWS:
            text, passes = try_row(options, row)
            print(text, flush=True)
            results.append(passes)
    print("%d pass, %d fail (energies in kJ/mol, largest force in kJ/mol/nm)" %
          (results.count(True), results.count(False)))
    return engines.status_of(results)


if __name__ == "__main__":
    sys.exit(main())

#!/usr/bin/python3
"""Takes a deposited structure to a simulation box with the README's commands, and simulates it.

The commands are those that README.md prints under the heading "From a deposited entry to a
simulation box", run as they stand there. Then

  ravelo check  counts waters and ions in the result, which must be as many as were added;
  ParmEd        loads the exported PSF file, the PDB file, the published parameters and ours, with
                which no term may be left without a parameter, and converts the system for GROMACS;
  GROMACS       minimises the energy and runs some steps of dynamics, which must stay finite and near
                the temperature that was asked for.

Prints what was measured: also the density of the water away from the solute and the smallest
distances between them. Ends with status 0 if all this holds, 1 if not, and 77 if a tool or the
parameters are absent, so that nothing could be tried.

On Debian: apt-get install python3-parmed python3-numpy gromacs.
"""

import argparse
import os
import re
import shutil
import sys
import tempfile

import validate_with_engines as engines
from validate_with_engines import SKIPPED, Failure, absent_tools, coordinates, run

try:
    import numpy
    import parmed
except ImportError:
    pass  # told by absent_tools

HEADING = "From a deposited entry to a simulation box"
SYSTEM = "system"  # the prefix of the files that the commands leave
GRID_STEP = 2.9  # of the waters, in Angstrom
WATER, IONS = {"TIP3", "TIP", "HOH"}, {"SOD", "CLA"}
PUBLISHED = ("par_all36_prot.prm", "toppar_water_ions.str")

TEMPERATURE = 300.0
COMMON_MDP = """cutoff-scheme = Verlet
nstlist = 10
coulombtype = PME
rcoulomb = 1.0
vdw-modifier = Force-switch
rvdw-switch = 0.8
rvdw = 1.0
pbc = xyz
constraints = none
define = -DFLEXIBLE
"""
MINIMISATION_MDP = COMMON_MDP + """integrator = steep
nsteps = {steps}
emtol = 500
emstep = 0.01
"""
# Half a femtosecond: all bonds are springs here, those of water as well.
DYNAMICS_MDP = COMMON_MDP + """integrator = md
dt = 0.0005
nsteps = {steps}
gen-vel = yes
gen-temp = 300
gen-seed = 1
tcoupl = V-rescale
ld-seed = 1
tc-grps = System
tau-t = 0.05
ref-t = 300
nstenergy = 50
"""


def commands_of(readme):
    """The first block of commands behind the heading."""
    with open(readme, encoding="utf-8") as file:
        text = file.read()
    found = re.search(r"^## %s\n.*?^```sh\n(.*?)^```$" % re.escape(HEADING), text, re.M | re.S)
    if not found:
        raise Failure("README.md has no commands behind \"%s\"" % HEADING)
    return found.group(1)


def run_commands(options, folder):
    """Runs the commands beside a copy of the examples and the data; returns what they print."""
    shutil.copytree(os.path.join(options.source, "examples"), os.path.join(folder, "examples"))
    os.symlink(os.path.join(options.source, "data"), os.path.join(folder, "data"))
    path = os.pathsep.join([os.path.dirname(options.ravelo), os.environ["PATH"]])
    commands = commands_of(os.path.join(options.source, "README.md"))
    print(commands)
    printed = run(["env", "PATH=" + path, "bash", "-euo", "pipefail", "-c", commands], folder)
    if "Error occurs: " in printed:
        raise Failure(printed.split("Error occurs: ")[1].splitlines()[0])
    return printed


def number_in(pattern, text):
    found = re.search(pattern, text, re.M)
    if not found:
        raise Failure("no line like \"%s\"" % pattern)
    return float(found.group(1))


def check_counts(options, printed, folder):
    """Compares what `check` finds in the result with what was added."""
    report = run([options.ravelo, "check", "-i", SYSTEM + ".pdb", "-o", "checked"], folder)
    added = {"water": number_in(r"^(\d+) water molecules are added", printed),
             "ion": number_in(r"^(\d+) cations", printed)
             + number_in(r"^\d+ cations and (\d+) anions", printed)}
    for kind in added:
        counted = number_in(r"^ Number of %ss: +(\d+)" % kind, report)
        print("%-6s added %6d, counted by check %6d" % (kind, added[kind], counted))
        if counted != added[kind]:
            raise Failure("check counts %d of %d %ss" % (counted, added[kind], kind))


def load(options, folder):
    """The system with parameters for every term."""
    files = [os.path.join(options.toppar, name) for name in PUBLISHED]
    files.append(os.path.join(options.source, "data", "extra", "methylation.prm"))
    psf = parmed.charmm.CharmmPsfFile(os.path.join(folder, SYSTEM + "-engine.psf"))
    places = coordinates(os.path.join(folder, SYSTEM + ".pdb"))
    if len(places) != len(psf.atoms):
        raise Failure("the PSF file has %d atoms, the PDB file %d" % (len(psf.atoms), len(places)))
    try:
        psf.load_parameters(parmed.charmm.CharmmParameterSet(*files))
    except Exception as missing:  # ParmEd has several kinds of them
        raise Failure("ParmEd: %s" % missing)
    psf.coordinates = places
    return psf


def report_water(psf, box):
    """Prints density of the water away from solute and faces, and smallest distances."""
    places = psf.coordinates
    names = numpy.array([atom.residue.name for atom in psf.atoms])
    oxygen = numpy.array([atom.residue.name in WATER and atom.name.startswith("O")
                          for atom in psf.atoms])
    water = numpy.isin(names, list(WATER))
    solute = places[~water & ~numpy.isin(names, list(IONS))]
    # By the cells of the grid that the waters were put on, each around one of its points. Those near
    # the solute are known by their own and their neighbours'.
    cell, reach = GRID_STEP, 3
    corner = places[oxygen].min(axis=0) - cell / 2.0
    shape = numpy.floor(numpy.array(box) / cell).astype(int)
    near = numpy.zeros(shape, bool)
    for x, y, z in {tuple(triple) for triple in numpy.floor((solute - corner) / cell).astype(int)}:
        near[max(0, x - reach):max(0, x + reach + 1), max(0, y - reach):max(0, y + reach + 1),
             max(0, z - reach):max(0, z + reach + 1)] = True
    inner = numpy.zeros(shape, bool)
    inner[1:-2, 1:-2, 1:-2] = True
    free = inner & ~near
    index = numpy.floor((places[oxygen] - corner) / cell).astype(int)
    inside = (index < shape).all(axis=1)
    count = free[tuple(index[inside].T)].sum()
    density = count * 18.01528 / (free.sum() * cell ** 3) / 0.602214076
    print("water away from the solute: %d molecules in %.0f cubic Angstrom, %.3f g/cm3"
          % (count, free.sum() * cell ** 3, density))
    smallest = numpy.inf
    for start in range(0, len(solute), 50):
        chunk = solute[start:start + 50]
        low, high = chunk.min(axis=0) - 4.0, chunk.max(axis=0) + 4.0
        close = places[water & (places > low).all(axis=1) & (places < high).all(axis=1)]
        if len(close):
            smallest = min(smallest, numpy.linalg.norm(
                chunk[:, numpy.newaxis] - close, axis=2).min())
    print("smallest distance of water and solute: %.3f Angstrom" % smallest)


def energy_of(options, folder, name, term):
    """Values of a term over the steps, from the energy file."""
    run(["bash", "-c", "echo %s | %s energy -f %s.edr -o %s.xvg" % (term, options.gmx, name, name)],
        folder)
    with open(os.path.join(folder, name + ".xvg")) as lines:
        return [float(line.split()[1]) for line in lines if not line.startswith(("#", "@"))]


def run_engine(options, folder, name, settings, coordinates_file):
    with open(os.path.join(folder, name + ".mdp"), "w") as file:
        file.write(settings)
    run([options.gmx, "grompp", "-f", name + ".mdp", "-c", coordinates_file, "-p", "box.top",
         "-o", name + ".tpr", "-maxwarn", "2"], folder)
    run([options.gmx, "mdrun", "-deffnm", name, "-ntmpi", "1", "-ntomp", "2", "-nb", "cpu"], folder)


def simulate(options, psf, box, folder):
    """Minimisation and dynamics; fails where they do not stay finite."""
    places = psf.coordinates
    centre = (places.max(axis=0) + places.min(axis=0)) / 2.0
    psf.coordinates = places - centre + numpy.array(box) / 2.0
    psf.box = [*box, 90.0, 90.0, 90.0]
    for name in ("box.top", "box.gro"):
        psf.save(os.path.join(folder, name), overwrite=True, combine="all")
    run_engine(options, folder, "em", MINIMISATION_MDP.format(steps=options.steps), "box.gro")
    energies = energy_of(options, folder, "em", "Potential")
    print("potential energy: %.4g before and %.4g kJ/mol after minimisation"
          % (energies[0], energies[-1]))
    run_engine(options, folder, "md", DYNAMICS_MDP.format(steps=options.dynamics), "em.gro")
    potential = energy_of(options, folder, "md", "Potential")
    temperature = energy_of(options, folder, "md", "Temperature")
    print("%d steps of dynamics: potential energy %.4g to %.4g kJ/mol, temperature %.0f to %.0f K"
          % (options.dynamics, potential[0], potential[-1], min(temperature), max(temperature)))
    values = numpy.array(energies + potential + temperature)
    if not numpy.isfinite(values).all() or not energies[-1] < 0.0:
        raise Failure("the energy is not finite, or not negative after minimisation")
    if not abs(temperature[-1] - TEMPERATURE) < 60.0 or max(temperature) > 2.0 * TEMPERATURE:
        raise Failure("the temperature runs away")


def parse_arguments():
    parser = argparse.ArgumentParser(description=__doc__.split("\n\n", maxsplit=1)[0])
    parser.add_argument("--ravelo", required=True, help="the program ravelo")
    parser.add_argument("--toppar", required=True, help="folder of the published force field")
    parser.add_argument("--gmx", default="gmx", help="the program of GROMACS")
    parser.add_argument("--steps", type=int, default=500, help="most steps of the minimisation")
    parser.add_argument("--dynamics", type=int, default=1000, help="steps of dynamics")
    parser.add_argument("--work", help="folder to keep the files in")
    return parser.parse_args()


def main():
    options = parse_arguments()
    absent = absent_tools(options)
    if not all(os.path.isfile(os.path.join(options.toppar, name)) for name in PUBLISHED):
        absent.append("the published parameters (%s)" % options.toppar)
    if absent:
        print("Skipped, absent here: " + ", ".join(absent))
        return SKIPPED
    options.ravelo = os.path.abspath(options.ravelo)
    options.source = os.path.dirname(os.path.dirname(os.path.abspath(__file__)))
    with tempfile.TemporaryDirectory() as temporary:
        folder = os.path.abspath(options.work or os.path.join(temporary, "box"))
        shutil.rmtree(folder, ignore_errors=True)
        os.makedirs(folder)
        try:
            printed = run_commands(options, folder)
            check_counts(options, printed, folder)
            box = [float(edge) for edge in re.search(
                r"^Building water box: ([\d.]+) x ([\d.]+) x ([\d.]+)", printed, re.M).groups()]
            psf = load(options, folder)
            print("ParmEd: %d atoms, charge %.3f, every term has parameters"
                  % (len(psf.atoms), sum(atom.charge for atom in psf.atoms)))
            report_water(psf, box)
            simulate(options, psf, box, folder)
        except Failure as failure:
            print("FAILS: %s" % failure)
            return 1
    print("All steps pass.")
    return 0


if __name__ == "__main__":
    sys.exit(main())

#!/usr/bin/env python3
"""Runs `ravelo ligand` over folders of molecules and molecular crystals and checks what comes out.

    check_ligands.py --program build/release/ravelo examples/caffeine.xyz
    check_ligands.py --program build/release/ravelo MOLECULES CRYSTALS

An XYZ file is a crystal if a file of its name with the ending .cell lies beside it. That holds two
lines, the six numbers of the cell and the nine numbers of its vectors, and the crystal is run with
either. All other files are run as molecules. Checked is:

- A run ends in time, with all its files or with a message and none of them.
- No number in the files is "nan" or "inf", but for a guessed angle where two atoms of the molecule
  lie on each other, and for the phase of a guessed dihedral there or where three are in a line.
- The parameters hold a line for each atom type and for the types of each term, the PDB and the PSF
  file the same number of atoms, and the charges the sum that was printed.
- An atom of a crystal stands where it stood before or in another cell, and the super cell is as
  large as it should be.

Prints a line for each molecule: "pass"; "stop" with the program's message; "input" where a
coordinate is too large for a PDB file; or "WRONG". A table of the crystals follows: their pieces
in the cell as it is given, the molecules that an index.tsv beside them tells ("C9H8O4:4 H2O:8", after
the word "molecules"), and the fragments after the repair with six and with nine numbers. Ends with
status 1 if anything is wrong, or, with --all-must-pass, if anything but "pass" is there; with 77 if
there is nothing to run.
"""

import argparse
import collections
import math
import re
import statistics
import subprocess
import sys
import tempfile
import time
from pathlib import Path

import check_build
from check_corpus import message_of

SKIPPED = 77
LARGEST_PSF = 100 << 20   # bytes; the terms of a larger one are not looked at
LINEAR_DEGREES = 0.5      # an angle of the rounded places that was one of 0 or 180 degrees before
CHARGE_TOLERANCE = 2e-5   # elementary charges, of a sum printed with five decimals
PLACE_TOLERANCE = 2e-3    # Angstrom, of coordinates and vectors that are rounded
BAD_NUMBER = re.compile(r"(?<![\w.])[-+]?(nan|inf)(?![\w.])", re.IGNORECASE)
COLUMNS = (slice(30, 38), slice(38, 46), slice(46, 54))

Outcome = collections.namedtuple("Outcome", "name verdict detail problems atoms seconds")
Run = collections.namedtuple("Run", "status printed seconds")


def run(program, source, folder, options=()):
    """Runs the program in a folder that holds no results yet; no status if it took too long."""
    start = time.perf_counter()
    try:
        done = subprocess.run([str(program), "ligand", "-i", str(source), "-o", "out", *options],
                              cwd=folder, stdin=subprocess.DEVNULL, stdout=subprocess.PIPE,
                              stderr=subprocess.STDOUT, encoding="latin-1", check=False,
                              timeout=run.limit_s)
    except subprocess.TimeoutExpired:
        return Run(None, "", time.perf_counter() - start)
    return Run(done.returncode, done.stdout, time.perf_counter() - start)


run.limit_s = 60.0


def files_of(folder):
    return {path.name for path in folder.iterdir()}


def results_of(is_crystal):
    plain = {"out.pdb", "out.psf", "out-naive.prm"}
    return plain | {"out-sc.pdb", "out-sc.psf"} if is_crystal else plain


def why_no_results(done, folder, is_crystal):
    """(verdict, detail) of a run that leaves nothing to look at; None if all files are there."""
    message = message_of(done.printed)
    files = files_of(folder)
    if done.status is None:
        return "WRONG", f"does not end within {run.limit_s:g} s"
    if done.status != 0:
        return "WRONG", f"ended with status {done.status}: {done.printed[-300:]}"
    if message is not None:
        return ("WRONG", f"left {', '.join(sorted(files))} and stopped: {message}") if files else (
            "stop", message)
    missing = results_of(is_crystal) - files
    return ("WRONG", f"no message and no {', '.join(sorted(missing))}") if missing else None


def text_of(path):
    return path.read_text(encoding="latin-1")


def atom_lines(path):
    return [line for line in text_of(path).splitlines() if line.startswith(("ATOM", "HETATM"))]


def read_places(path):
    """Coordinates of a PDB file in Angstrom; None where one of them is too large for its columns."""
    try:
        places = [tuple(float(line[columns]) for columns in COLUMNS) for line in atom_lines(path)]
    except ValueError:
        return None
    return None if any(math.isinf(value) for place in places for value in place) else places


def read_parameters(path):
    """Lines of words by section of a parameter file, without comments."""
    sections, section = {}, None
    for line in text_of(path).splitlines():
        words = line.partition("!")[0].split()
        if len(words) == 1:
            section = sections.setdefault(words[0], [])
        elif words:
            section.append(words)
    return sections


def angle(one, middle, other):
    """In degrees; 0 if two of the places are the same."""
    u, v = ([a - b for a, b in zip(place, middle)] for place in (one, other))
    length = math.hypot(*u) * math.hypot(*v)
    cosine = sum(a * b for a, b in zip(u, v)) / length if length > 0.0 else 1.0
    return math.degrees(math.acos(max(-1.0, min(1.0, cosine))))


def has_atoms_on_each_other(places, psf):
    return any(math.dist(places[one], places[other]) < PLACE_TOLERANCE for one, other in psf.bonds)


def has_atoms_in_line(places, psf):
    angles = (angle(*(places[index] for index in term)) for term in psf.angles)
    return any(min(value, 180.0 - value) < LINEAR_DEGREES for value in angles)


def is_number(word):
    return not BAD_NUMBER.fullmatch(word)


def problems_of_parameters(sections, places, psf):
    """Missing lines, and numbers that are none without a reason."""
    for label, size in psf.SIZES.items():
        lines = sections.get(label.upper())
        if lines is None:
            yield f"the parameters have no section {label.upper()}"
            continue
        known = {tuple(words[:size]) for words in lines}
        used = {tuple(psf.types[index] for index in term) for term in getattr(psf, label)}
        for unknown in sorted(used - known):
            yield f"the parameters lack {'-'.join(unknown)} in {label.upper()}"
        for words in lines:
            bad = [place for place, word in enumerate(words[size:]) if not is_number(word)]
            # The angle is the second number of a line, the phase the third.
            excused = not bad or (bad == [size - 2] and size > 2 and (
                has_atoms_on_each_other(places, psf) or
                (label == "dihedrals" and has_atoms_in_line(places, psf))))
            if not excused:
                yield f"no number in the parameters: {' '.join(words)}"
    lines = sections.get("NONBONDED", ())
    for unknown in sorted(set(psf.types) - {words[0] for words in lines}):
        yield f"the parameters lack the type {unknown}"
    if not all(is_number(word) for words in lines for word in words[1:]):
        yield "no number in the Lennard-Jones values"


def problems_of_results(folder, printed):
    """What is wrong with the files that describe a molecule or one cell."""
    psf = check_build.Psf(folder / "out.psf")
    places = read_places(folder / "out.pdb")
    if len(psf.types) != len(places):
        yield f"{len(places)} atoms in the PDB file, {len(psf.types)} in the PSF file"
        return
    if any(math.isnan(value) for place in places for value in place):
        yield "no number in the coordinates"
    if not all(math.isfinite(value) for value in psf.charges + psf.masses):
        yield "no number in the charges or masses"
    if not all(0 <= index < len(psf.types) for label in psf.SIZES for term in getattr(psf, label)
               for index in term):
        yield "a term of the PSF file names an atom that is not there"
        return
    charge = re.search(r"^Total charge: (\S+)$", printed, re.MULTILINE)
    if not charge or abs(float(charge[1]) - math.fsum(psf.charges)) > CHARGE_TOLERANCE:
        yield f"charges add up to {math.fsum(psf.charges):.5f}, printed is {charge and charge[1]}"
    yield from problems_of_parameters(read_parameters(folder / "out-naive.prm"), places, psf)


def count_fragments(path):
    """Separate molecules of a PSF file."""
    psf = check_build.Psf(path)
    above = list(range(len(psf.types)))

    def root(atom):
        while above[atom] != atom:
            above[atom] = above[above[atom]]
            atom = above[atom]
        return atom

    for one, other in psf.bonds:
        above[root(one)] = root(other)
    return sum(root(atom) == atom for atom in range(len(above)))


def empty(folder):
    for path in folder.iterdir():
        path.unlink()


def describe(done, folder):
    """Remarks on the results of a molecule."""
    bonds = len(check_build.Psf(folder / "out.psf").bonds)
    sections = read_parameters(folder / "out-naive.prm")
    detail = f"{len(atom_lines(folder / 'out.pdb'))} atoms, {bonds} bonds, {done.seconds:.3f} s"
    bad = sum(not all(map(is_number, words)) for lines in sections.values() for words in lines)
    if bad:
        detail += f", {bad} guesses are no numbers"
    if "Warning: Atoms of unknown elements" in done.printed:
        detail += ", unknown elements"
    return detail


def try_molecule(program, source, folder):
    empty(folder)
    done = run(program, source, folder)
    failure = why_no_results(done, folder, False)
    if failure:
        return Outcome(source.name, *failure, [], 0, done.seconds)
    atoms = len(atom_lines(folder / "out.pdb"))
    if read_places(folder / "out.pdb") is None:
        return Outcome(source.name, "input", "coordinates are too large for their columns", [], atoms,
                       done.seconds)
    if (folder / "out.psf").stat().st_size > LARGEST_PSF:
        return Outcome(source.name, "pass", f"{atoms} atoms, {done.seconds:.3f} s, too many terms to "
                       "look at them", [], atoms, done.seconds)
    problems = list(problems_of_results(folder, done.printed))
    return Outcome(source.name, "WRONG" if problems else "pass", describe(done, folder), problems,
                   atoms, done.seconds)


def read_xyz(path):
    lines = text_of(path).splitlines()
    return [tuple(float(word) for word in line.split()[1:4]) for line in lines[2:2 + int(lines[0])]]


def read_cell(path):
    """The six and the nine numbers, as two texts."""
    lines = path.read_text(encoding="ascii").splitlines()
    return " ".join(lines[0].split()), " ".join(lines[1].split())


def determinant(a, b, c):
    return (a[0] * (b[1] * c[2] - b[2] * c[1]) - a[1] * (b[0] * c[2] - b[2] * c[0]) +
            a[2] * (b[0] * c[1] - b[1] * c[0]))


def distance_to_lattice(shift, vectors):
    """How far a shift is from the nearest sum of lattice vectors, in Angstrom."""
    a, b, c = vectors
    volume = determinant(a, b, c)
    steps = [round(determinant(*rows) / volume)
             for rows in ((shift, b, c), (a, shift, c), (a, b, shift))]
    return math.dist(shift, [sum(n * vector[axis] for n, vector in zip(steps, vectors))
                             for axis in range(3)])


def problems_of_crystal(source, folder, printed, vectors, cells):
    """What is wrong with the repaired cell and with a super cell of that many cells."""
    before, after = read_xyz(source), read_places(folder / "out.pdb")
    if len(before) != len(after):
        yield f"{len(before)} atoms went in, {len(after)} came out"
    for number, (old, new) in enumerate(zip(before, after), 1):
        shift = [b - a for a, b in zip(old, new)]
        if not all(map(math.isfinite, shift)):
            yield f"atom {number} is at no finite place"
            return
        if distance_to_lattice(shift, vectors) > PLACE_TOLERANCE:
            yield f"atom {number} has moved by {shift}, which is no lattice vector"
            break
    large = check_build.Psf(folder / "out-sc.psf")
    for number in (len(atom_lines(folder / "out-sc.pdb")), len(large.types)):
        if number != cells * len(after):
            yield f"the super cell has {number} atoms, not {cells * len(after)}"
    if count_fragments(folder / "out-sc.psf") != cells * count_fragments(folder / "out.psf"):
        yield "the super cell has other molecules than the cell"
    yield from problems_of_results(folder, printed)


def printed_fragments(printed):
    """From the line that tells the fragment of each atom; none if there is no such line."""
    line = re.search(r"^(?:\d+ )+$", printed, re.MULTILINE)
    return len(set(line[0].split())) if line else None


def pieces_before(program, source, folder):
    """Of the cell as it is given; the program finds the bonds."""
    empty(folder)
    done = run(program, source, folder)
    return None if why_no_results(done, folder, False) else count_fragments(folder / "out.psf")


def try_crystal(program, source, folder):
    """The outcome, and the numbers of pieces and of fragments for the table."""
    six, nine = read_cell(source.with_suffix(".cell"))
    numbers = [float(word) for word in nine.split()]
    vectors = [numbers[0:3], numbers[3:6], numbers[6:9]]
    counts, problems = [pieces_before(program, source, folder)], []
    seconds, atoms = [], 0
    for pbc, super_cells, cells in ((six, "0 0 0", 1), (nine, "1 0 0", 3)):
        empty(folder)
        done = run(program, source, folder, ("--pbc", pbc, "--super-cells", super_cells))
        seconds.append(done.seconds)
        failure = why_no_results(done, folder, True)
        if failure:
            return Outcome(source.name, *failure, [], atoms, max(seconds)), counts
        atoms = len(atom_lines(folder / "out.pdb"))
        if read_places(folder / "out.pdb") is None:
            return Outcome(source.name, "input", "coordinates are too large for their columns", [],
                           atoms, max(seconds)), counts
        problems += problems_of_crystal(source, folder, done.printed, vectors, cells)
        counts += [printed_fragments(done.printed)]
    if counts[1] is None or counts[1] != counts[2]:
        problems.append(f"fragments with six and with nine numbers: {counts[1]}, {counts[2]}")
    return Outcome(source.name, "WRONG" if problems else "pass",
                   f"{atoms} atoms, {max(seconds):.3f} s", problems, atoms, max(seconds)), counts


def known_molecules(source):
    """How many molecules the index of the folder counts in a cell; none if it does not tell."""
    index = source.with_name("index.tsv")
    if not index.is_file():
        return None
    for line in index.read_text(encoding="utf-8").splitlines():
        words = line.split("\t")
        found = re.search(r"molecules ((?:[A-Za-z0-9]+:\d+ ?)+)", line)
        if words[0] == source.name and found:
            return sum(int(word.partition(":")[2]) for word in found[1].split())
    return None


def print_outcome(outcome):
    detail = "".join(letter if letter.isprintable() else "?" for letter in outcome.detail)
    print(f"{outcome.verdict:<6}{outcome.name:<38} {detail}", flush=True)
    for line in outcome.problems[:10]:
        print(f"{'':<10}{line}")
    if len(outcome.problems) > 10:
        print(f"{'':<10}... {len(outcome.problems)} problems in all")


def print_crystals(rows):
    print(f"\n{'crystal':<28} {'atoms':>6} {'pieces':>7} {'six':>5} {'nine':>5} {'known':>6}")
    for outcome, counts, known in rows:
        counts = [*counts, None, None, None][:3]
        shown = ["-" if count is None else count for count in counts]
        remark = "more than the molecules" if known and counts[2] and counts[2] > known else ""
        print(f"{outcome.name:<28} {outcome.atoms:>6} {shown[0]:>7} {shown[1]:>5} {shown[2]:>5} "
              f"{'-' if known is None else known:>6}  {remark}".rstrip())
    print("(pieces of the cell as given; fragments after the repair with six and nine numbers)")


def print_summary(outcomes):
    counts = collections.Counter(outcome.verdict for outcome in outcomes)
    print(f"\n{len(outcomes)} files: {counts['pass']} with results, {counts['stop']} stopped with a "
          f"message, {counts['input']} too large to write, {counts['WRONG']} wrong")
    messages = collections.Counter(re.sub(r'"[^"]*"', '"..."', outcome.detail)
                                   for outcome in outcomes if outcome.verdict == "stop")
    for message, count in messages.most_common():
        print(f"{count:>6}  {message}")
    slowest = max(outcomes, key=lambda outcome: outcome.seconds)
    seconds = [outcome.seconds for outcome in outcomes]
    print(f"{sum(seconds):.1f} s in all, median {statistics.median(seconds):.3f} s, slowest "
          f"{slowest.seconds:.3f} s ({slowest.name}, {slowest.atoms} atoms)")


def files_to_run(paths):
    for path in paths:
        if path.is_file():
            yield path
        elif path.is_dir():
            yield from sorted(file for file in path.iterdir() if file.suffix in (".pdb", ".xyz"))


def parse_arguments():
    parser = argparse.ArgumentParser(description=__doc__.split("\n", maxsplit=1)[0])
    parser.add_argument("--program", type=Path, required=True, help="the built program")
    parser.add_argument("--limit", type=float, default=run.limit_s, metavar="SECONDS",
                        help="a run that takes longer is wrong")
    parser.add_argument("--all-must-pass", action="store_true",
                        help="a stop is a failure, too")
    parser.add_argument("paths", nargs="+", type=Path,
                        help="folders of PDB and XYZ files, or such files")
    return parser.parse_args()


def main():
    options = parse_arguments()
    program = options.program.resolve()
    run.limit_s = options.limit
    files = [path.resolve() for path in files_to_run(options.paths)]
    if not files:
        print(f"Skipped, absent here: {', '.join(map(str, options.paths))}")
        return SKIPPED
    outcomes, crystals = [], []
    with tempfile.TemporaryDirectory(prefix="ravelo-ligands-") as scratch:
        folder = Path(scratch)
        for file in files:
            counts, is_crystal = [], file.with_suffix(".cell").is_file()
            try:
                if is_crystal:
                    outcome, counts = try_crystal(program, file, folder)
                else:
                    outcome = try_molecule(program, file, folder)
            except (ValueError, IndexError, TypeError) as problem:
                outcome = Outcome(file.name, "WRONG", f"files cannot be read: {problem}", [], 0, 0.0)
            if is_crystal:
                crystals.append((outcome, counts, known_molecules(file)))
            outcomes.append(outcome)
            print_outcome(outcome)
    if crystals:
        print_crystals(crystals)
    print_summary(outcomes)
    verdicts = {outcome.verdict for outcome in outcomes}
    return 1 if "WRONG" in verdicts or (options.all_must_pass and verdicts != {"pass"}) else 0


if __name__ == "__main__":
    sys.exit(main())

#!/usr/bin/env python3
"""Runs `ravelo topol` over folders of PDB files and checks what comes out.

    check_corpus.py --program build/release/ravelo examples
    check_corpus.py --program build/release/ravelo --by-chain --dna-rtf data/extra/dna.rtf FOLDER

Prints a line for each file: "pass"; "stop" with the program's message; or what check_build.py finds
fault with, as "input" where the input brought it along, else as "WRONG". Ends with status 1 if anything
is wrong, or, with --all-must-pass, if anything but "pass" is there.
"""

import argparse
import collections
import re
import subprocess
import sys
import tempfile
from pathlib import Path

import check_build

DNA_NAMES = {"DA", "DC", "DG", "DT"}
RUN_LIMIT_S = 300

Outcome = collections.namedtuple("Outcome", "name verdict detail problems warnings")


def atom_lines(path):
    with open(path, encoding="latin-1", newline="") as file:
        return [line for line in file if line[:6].upper().startswith(("ATOM", "HETATM"))]


def pieces_of(path, by_chain):
    """What to run: (name, lines) for a whole file or for each of its chains, in file order."""
    lines = atom_lines(path)
    if not by_chain:
        return [(path.stem, lines)]
    chains = {}
    for line in lines:
        chains.setdefault(line[21].strip() or "X", []).append(line)
    return [(f"{path.stem}:{chain}", chain_lines) for chain, chain_lines in chains.items()]


def has_dna(lines):
    return any(line[17:20].strip().upper() in DNA_NAMES for line in lines)


def message_of(output):
    """The text of "Error occurs: ...", without the place in the source code."""
    found = re.search(r"Error occurs: (.*)", output, re.DOTALL)
    if not found:
        return None
    return " ".join(re.sub(r" \(in [^\n]*\)\s*\Z", "", found.group(1)).split())


def build(program, options, name, lines, folder, lengths):
    """Runs topol on one piece and checks the result."""
    stem = re.sub(r"\W", "_", name)
    source = folder / f"{stem}.pdb"
    source.write_text("".join(lines), encoding="latin-1", newline="")
    command = [str(program), "topol", "-i", source.name, "-o", f"{stem}-topol"]
    rtfs = list(options.add_rtfs)
    if options.dna_rtf and has_dna(lines):
        rtfs.append(options.dna_rtf)
    if rtfs:
        command += ["--add-rtfs", " ".join(str(rtf.resolve()) for rtf in rtfs)]
    result = subprocess.run(command, cwd=folder, stdin=subprocess.DEVNULL, capture_output=True,
                            encoding="latin-1", timeout=RUN_LIMIT_S, check=False)
    warnings = [line for line in result.stdout.splitlines() if line.startswith("Warning: ")
                and ("cannot be well predicted" in line or "not found in topology library" in line)]
    message = message_of(result.stdout)
    if message:
        return Outcome(name, "stop", message, [], warnings)
    if result.returncode != 0:
        return Outcome(name, "WRONG", f"ended with status {result.returncode}",
                       result.stderr.splitlines()[-3:], warnings)
    pdb, psf = folder / f"{stem}-topol.pdb", folder / f"{stem}-topol.psf"
    ours, theirs = check_build.problems_of(source, pdb, psf, lengths)
    verdict = "WRONG" if ours else "input" if theirs else "pass"
    charge = re.search(r"Total charge: (\S+)", result.stdout)
    detail = f"{len(lines)} -> {len(atom_lines(pdb))} atoms, charge {charge.group(1)}"
    return Outcome(name, verdict, detail, ours + theirs, warnings)


def print_outcome(outcome):
    print(f"{outcome.verdict:<6}{outcome.name:<20}{outcome.detail}", flush=True)
    for line in [*outcome.warnings[:6], *outcome.problems[:10]]:
        print(f"{'':<26}{line}")
    for kind, lines, limit in (("warnings", outcome.warnings, 6), ("problems", outcome.problems, 10)):
        if len(lines) > limit:
            print(f"{'':<26}... {len(lines)} {kind} in all")


def parse_arguments():
    parser = argparse.ArgumentParser(description=__doc__.split("\n", maxsplit=1)[0])
    parser.add_argument("--program", type=Path, required=True, help="the built program")
    parser.add_argument("--add-rtfs", type=Path, action="append", default=[], metavar="RTF",
                        help="topology file for all runs (can be given several times)")
    parser.add_argument("--dna-rtf", type=Path, metavar="RTF",
                        help="topology file for pieces whose residues are named as deposited DNA")
    parser.add_argument("--by-chain", action="store_true", help="run each chain of a file alone")
    parser.add_argument("--all-must-pass", action="store_true",
                        help="a stop or a fault of the input is a failure, too")
    parser.add_argument("--keep", type=Path, help="keep the files of the runs in this new folder")
    parser.add_argument("paths", nargs="+", type=Path, help="folders of PDB files, or PDB files")
    return parser.parse_args()


def main():
    options = parse_arguments()
    program = options.program.resolve()
    lengths = check_build.read_lengths()
    files = [file for path in options.paths
             for file in (sorted(path.glob("*.pdb")) if path.is_dir() else [path])]
    counts = collections.Counter()
    with tempfile.TemporaryDirectory(prefix="ravelo-corpus-") as scratch:
        folder = options.keep or Path(scratch)
        folder.mkdir(parents=True, exist_ok=True)
        for file in files:
            for name, lines in pieces_of(file, options.by_chain):
                outcome = build(program, options, name, lines, folder.resolve(), lengths)
                counts[outcome.verdict] += 1
                print_outcome(outcome)
    print(f"{counts['pass']} passed, {counts['stop']} stopped, {counts['input']} with a fault of the "
          f"input, {counts['WRONG']} wrong")
    flawless = set(counts) == {"pass"}
    return 0 if flawless or (counts and not options.all_must_pass and not counts["WRONG"]) else 1


if __name__ == "__main__":
    sys.exit(main())

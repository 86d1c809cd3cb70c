#!/usr/bin/env python3
"""Runs the programs on damaged input and checks that each run ends by itself, with a message or a result.

usage: mutate_inputs.py --program PATH/ravelo --export PATH/ravelo-export [--rounds N] [--seed N]

Takes small files of every kind that the programs read, damages them (bytes and lines changed, deleted,
doubled, swapped, cut off; numbers made huge, negative or odd) and runs a mode on them. A run fails this test
if it is ended by a signal, takes too long, ends with a status that is not its own, or prints what a sanitizer
prints. The one end by a signal that is meant, a negative count of a section in a PSF file, is let pass. The
same seed gives the same damage.
"""

import argparse
import pathlib
import random
import shutil
import subprocess
import sys
import tempfile

SECONDS_PER_RUN = 20
PROJECT = pathlib.Path(__file__).resolve().parents[2]
ODD_WORDS = [
    b"0", b"-1", b"-2147483648", b"2147483647", b"99999999999", b"1e400", b"-1e-400", b"nan", b"+", b".",
    b"1e", b"RESI", b"PRES", b"MASS", b"DELETE ATOM", b"IC", b"!", b"*", b"", b"\x00", b"\xff", b"ATOM",
    b"HETATM", b"ENDMDL", b"\t", b"\r", b"GLY", b"OXT", b"H5T",
]

RTF = b"""* A small library.
MASS -1 NH1 14.007
MASS -1 CT1 12.011
MASS -1 C 12.011
MASS -1 O 15.999
MASS -1 H 1.008
RESI ALA 0.00
ATOM N NH1 -0.47
ATOM HN H 0.31
ATOM CA CT1 0.16
ATOM C C 0.51
ATOM O O -0.51
BOND N HN N CA CA C C +N
DOUBLE C O
IMPR N -C CA HN C CA +N O
CMAP -C N CA C N CA C +N
IC -C CA *N HN 1.3551 126.49 180.00 115.42 0.9996
IC N CA C +N 1.4592 114.44 180.00 116.84 1.3558
IC +N CA *C O 1.3558 116.84 180.00 122.52 1.2297
PRES NTER 1.00
ATOM N NH1 -0.30
ATOM HT1 H 0.33
ATOM HT2 H 0.33
DELETE ATOM HN
BOND HT1 N HT2 N
IC HT1 N CA C 1.04 109.5 180.0 110.0 1.5
IC HT2 CA *N HT1 1.04 109.5 120.0 110.0 1.04
PRES CTER -1.00
ATOM C C 0.34
ATOM OT1 O -0.67
ATOM OT2 O -0.67
DELETE ATOM O
BOND C OT2 C OT1
IMPR C CA OT2 OT1
IC N CA C OT2 1.46 111.0 180.0 118.0 1.26
IC OT2 CA *C OT1 1.26 118.0 180.0 118.0 1.26
PRES MOD 0.00
ATOM O O -0.76
ATOM HO H 0.25
BOND O HO
IC CA C O HO 1.5 118.0 180.0 109.5 0.96
PRES ALADEL 0.00
DELETE ATOM O
PRES HNDEL 0.00
DELETE ATOM HN
END
"""


def peptide(residues):
    lines = []
    for residue in range(1, residues + 1):
        for name, x, y in (("N", 0.0, 0.0), ("CA", 1.2, 0.8), ("C", 2.4, 0.0), ("O", 2.4, -1.2)):
            lines.append(
                b"ATOM  %5d  %-4s%3s A%4d    %8.3f%8.3f%8.3f  1.00  0.00              "
                % (len(lines) + 1, name.encode(), b"ALA", residue, x + 3.6 * residue, y, 0.1 * residue)
            )
    return b"\n".join(lines) + b"\nEND\n"


def mixture():
    """A peptide with a second chain, waters, ions and a ligand, some of their atoms hydrogens."""
    lines = peptide(3).split(b"\n")[:-2]
    for residue, names in ((b"HOH", (b"O", b"H1", b"H2")), (b"SOD", (b"SOD",)), (b"LIG", (b"C1", b"H1")),
                           (b"HOH", (b"O",)), (b"GLY", (b"N", b"HN", b"CA")), (b"HYD", (b"H1", b"H2"))):
        for name in names:
            lines.append(b"HETATM%5d  %-4s%3s B%4d    %8.3f%8.3f%8.3f  1.00  0.00              "
                         % (len(lines) + 1, name, residue, len(lines), len(lines), -30.0, 0.5))
    return b"\n".join(lines) + b"\nEND\n"


XYZ = b"3\nwater\nO 0.0 0.0 0.0\nH 0.96 0.0 0.0\nH -0.24 0.93 0.0\n"


def damage(text, dice):
    for _ in range(dice.choice([1, 1, 1, 2, 5])):
        kind = dice.randrange(8)
        if kind < 3:  # one byte: changed, deleted, inserted
            at = dice.randrange(len(text) + 1)
            byte = bytes([dice.choice([dice.randrange(256), *b" -+.*0189\n\t\r"])])
            text = text[:at] + (b"" if kind == 1 else byte) + text[at + (kind != 2) :]
        elif kind < 5:  # one word replaced
            words = text.split(b" ")
            words[dice.randrange(len(words))] = dice.choice(ODD_WORDS)
            text = b" ".join(words)
        elif kind == 5:  # the end cut off
            text = text[: dice.randrange(len(text) + 1)]
        else:  # a line doubled, moved or deleted
            lines = text.split(b"\n")
            line = lines.pop(dice.randrange(len(lines)))
            for _ in range(dice.randrange(3)):
                lines.insert(dice.randrange(len(lines) + 1), line)
            text = b"\n".join(lines)
    return text


def run(command, folder):
    """Runs a command and says what is wrong with how it ended, or nothing."""
    try:
        result = subprocess.run(command, cwd=folder, capture_output=True, timeout=SECONDS_PER_RUN)
    except subprocess.TimeoutExpired:
        return "takes too long"
    if result.returncode < 0 and b"negative number of terms" in result.stderr:
        return None
    if result.returncode not in (0, 1) or b"Sanitizer" in result.stderr or b"runtime error" in result.stderr:
        return f"status {result.returncode}: {result.stderr.decode(errors='replace')[-2000:]}"
    return None


def main():
    parser = argparse.ArgumentParser(description=__doc__.splitlines()[0])
    parser.add_argument("--program", required=True)
    parser.add_argument("--export", required=True)
    parser.add_argument("--rounds", type=int, default=100)
    parser.add_argument("--seed", type=int, default=1)
    options = parser.parse_args()

    export = pathlib.Path(options.export).resolve()
    passed = failed = 0
    with tempfile.TemporaryDirectory() as name:
        folder = pathlib.Path(name)
        # A program of its own beside a data folder of its own, so that the library can be damaged, too.
        program = folder / "ravelo"
        shutil.copy(options.program, program)
        data = folder / "data"
        data.mkdir()
        good = {"a.pdb": peptide(4), "a.xyz": XYZ, "a.rtf": RTF, "b.pdb": mixture()}
        (data / "top_all36_prot.rtf").write_bytes(RTF)
        (data / "top_all36_na.rtf").write_bytes(b"* Nothing here.\n")
        for file, text in good.items():
            (folder / file).write_bytes(text)
        subprocess.run([program, "topol", "-i", "a.pdb", "-o", "good"], cwd=folder, check=True, stdout=subprocess.DEVNULL)
        good["a.psf"] = (folder / "good.psf").read_bytes()
        (folder / "a.psf").write_bytes(good["a.psf"])
        # A bond, an atom less, a patch, and two mutations of one residue.
        modify = [program, "modify", "-i", "good.pdb", "-t", "a.psf", "-o", "modified"]
        modify += ["--add-bonds", "2 17", "--del-atom", "7", "--my-mod", "MOD 2A", "--mutate", "3A ALA 3A Ala"]
        modified = subprocess.run(modify, cwd=folder, check=True, capture_output=True).stdout
        if b"Error occurs" in modified:
            sys.exit("the undamaged files cannot be modified: " + modified.decode())

        good["good.pdb"] = (folder / "good.pdb").read_bytes()
        # The same with a whole charge, so that ions can be added.
        good["whole.psf"] = good["a.psf"].replace(b"-0.300000", b" 0.180000")
        (folder / "whole.psf").write_bytes(good["whole.psf"])
        templates = [f"data/{name}.{kind}" for name in ("tip3", "sod", "cla") for kind in ("pdb", "psf")]
        for file in templates:
            good[file] = (PROJECT / file).read_bytes()
            (folder / file).write_bytes(good[file])

        remove = ["--waters", "--ions", "--ligands", "--chains", "A C", "--Hs"]
        box = ["--box", "9 0.5 1e3"]
        solvate = [program, "solvate", "-i", "good.pdb", "-t", "whole.psf", "-o", "solvated", "--box", "9 14 12"]
        in_droplet = [*solvate, "--droplet", "--charge", "2", "--ionic-strength", "4"]
        solvated = subprocess.run(in_droplet, cwd=folder, check=True, capture_output=True).stdout
        if b" anions are added" not in solvated:
            sys.exit("the undamaged files cannot be solvated: " + solvated.decode())
        modes = [
            ("a.pdb", [program, "check", "-i", "a.pdb"]),
            ("a.pdb", [program, "topol", "-i", "a.pdb"]),
            ("a.xyz", [program, "check", "-i", "a.xyz"]),
            ("b.pdb", [program, "remove", "-i", "b.pdb", *remove]),
            ("b.pdb", [program, "remove", "-i", "b.pdb", "--Hs", "--chains", "B"]),
            ("a.xyz", [program, "remove", "-i", "a.xyz", *remove]),
            ("b.pdb", [program, "pdb", "-i", "b.pdb", *box]),
            ("good.pdb", [program, "pdb", "-i", "good.pdb", "-t", "a.psf", *box]),
            ("a.psf", [program, "pdb", "-i", "good.pdb", "-t", "a.psf", *box]),
            ("a.psf", [program, "pdb", "-i", "a.xyz", "-t", "a.psf"]),
            ("a.rtf", [program, "topol", "-i", "a.pdb", "--add-rtfs", "a.rtf"]),
            ("a.psf", [program, "psf", "-m", "a.psf a.psf", "-o", "merged"]),
            ("good.pdb", modify),
            ("a.psf", modify),
            ("a.rtf", [*modify, "--add-rtfs", "a.rtf"]),
            ("good.pdb", solvate),
            ("good.pdb", in_droplet),
            ("whole.psf", solvate),
            ("whole.psf", in_droplet),
            *((file, in_droplet) for file in templates),
            ("a.psf", [export, "-i", "a.psf", "-o", "engine.psf"]),
            ("a.psf", [export, "-i", "a.psf", "-o", "engine.psf", "-p", "good.pdb"]),
        ]
        for number in range(options.rounds):
            dice = random.Random(f"{options.seed}-{number}")
            for file, command in modes:
                text = damage(good[file], dice)
                (folder / file).write_bytes(text)
                problem = run(command, folder)
                (folder / file).write_bytes(good[file])
                if problem is None:
                    passed += 1
                    continue
                failed += 1
                print(f"FAILED round {number}, {' '.join(map(str, command[1:]))}: {problem}\n{text[:4000]!r}")
    print(f"{passed} passed, {failed} failed")
    sys.exit(1 if failed else 0)


if __name__ == "__main__":
    main()

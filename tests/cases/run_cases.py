#!/usr/bin/env python3
"""Runs the cases of a folder against a built program and compares everything to the byte.

A case is a folder CASES/GROUP/NAME with

    case.json           "steps": the command lines ("argv") and the exit status of each
    in/                 the files that stand in the folder before the first step
    out/                every file that is new or changed behind the last step
    stdout.K, stderr.K  what step K prints; no stderr.K means nothing

and CASES/data is the data folder that the program gets for the length of the run. Only cases whose
modes the program knows are run, so that a new mode brings its cases along by itself.
"""

import argparse
import concurrent.futures
import difflib
import fnmatch
import json
import os
import re
import shutil
import subprocess
import sys
import tempfile
from pathlib import Path

SKIPPED = 77  # the exit status that ctest is told to take for "skipped"
STEP_LIMIT_S = 300
ALL_MODES = ("check", "remove", "topol", "modify", "ligand", "psf", "solvate", "pdb")

# Outputs that may differ by one in the last printed digit of a number, since the order of floating
# point operations is not told to the last bit. One "GROUP/NAME/FILE" a line; each with its reason.
LAST_DIGIT_MAY_DIFFER = frozenset({
})


class Case:
    """One case folder and what its case.json says."""

    def __init__(self, folder):
        self.folder = folder
        self.group = folder.parent.name
        self.name = f"{self.group}/{folder.name}"
        self.steps = json.loads((folder / "case.json").read_text(encoding="utf-8"))["steps"]
        self.modes = {step["argv"][0].lower() for step in self.steps if step["argv"]}

    def expected_text(self, kind, step):
        path = self.folder / f"{kind}.{step}"
        return path.read_bytes() if path.exists() else b""


class Mismatch(Exception):
    """What differs first in a case; `unknown_mode` is the mode that the program said not to know."""

    def __init__(self, text, unknown_mode=None):
        super().__init__(text)
        self.unknown_mode = unknown_mode


def find_cases(root):
    return [Case(path.parent) for path in sorted(root.glob("*/*/case.json"))]


def prepare_program(program, data, folder):
    """Puts a copy of the program beside a link to the cases' own data folder."""
    folder.mkdir()
    copy = folder / "ravelo"
    shutil.copy2(program, copy)
    (folder / "data").symlink_to(data)
    return copy


def run(program, argv, folder):
    return subprocess.run([str(program), *argv], cwd=folder, stdin=subprocess.DEVNULL,
                          stdout=subprocess.PIPE, stderr=subprocess.PIPE, timeout=STEP_LIMIT_S)


def standing_modes(program, scratch):
    """The modes that the program knows, found by asking it for each."""
    known = set()
    for mode in ALL_MODES:
        folder = scratch / f"ask-{mode}"
        folder.mkdir()
        if b"Unknown mode" not in run(program, [mode], folder).stdout:
            known.add(mode)
    return known


def normalised_output(text, data_folder):
    """Standard output without the parts that differ from machine to machine."""
    text = text.replace(os.fsencode(str(data_folder)) + b"/", b"<DATA>/")
    text = re.sub(rb"(Website:   |More information: )[^\n]*", rb"\1<URL>", text)
    return re.sub(rb" \(in [^\n]*? at line \d+, [^\n]*\)\Z", b" (in ...)", text)


def with_one_nan(text):
    """Texts that differ only in the sign of a "nan" and its padding become equal."""
    return re.sub(rb" *-?\bnan\b", b" nan", text)


def differ_in_last_digit_only(expected, actual):
    """Whether two texts are equal but for numbers that differ by one in their last digit."""
    number = rb"-?\d+\.\d+"
    if re.sub(rb" *" + number, b"#", expected) != re.sub(rb" *" + number, b"#", actual):
        return False
    for one, other in zip(re.findall(number, expected), re.findall(number, actual)):
        decimals = len(one.split(b".")[1])
        if decimals != len(other.split(b".")[1]):
            return False
        if abs(float(one) - float(other)) > 1.5 * 10.0 ** -decimals:
            return False
    return True


def short_diff(expected, actual, lines=12):
    """The first lines of a difference, as people read it."""
    def readable(text):
        return text.decode("utf-8", "backslashreplace").split("\n")
    difference = list(difflib.unified_diff(readable(expected)[:20000], readable(actual)[:20000],
                                           "expected", "actual", lineterm="", n=0))
    shown = ["    " + line[:160] for line in difference[2:lines + 2]]
    if len(difference) > lines + 2:
        shown.append(f"    ... and {len(difference) - lines - 2} more lines")
    return "\n".join(shown)


def compare_text(case, label, expected, actual, unknown_mode=None):
    expected, actual = with_one_nan(expected), with_one_nan(actual)
    if expected == actual:
        return
    if f"{case.name}/{label}" in LAST_DIGIT_MAY_DIFFER and differ_in_last_digit_only(expected, actual):
        return
    raise Mismatch(f"{label} differs:\n{short_diff(expected, actual)}", unknown_mode)


def unknown_mode_in(output):
    found = re.search(rb'Error occurs: Unknown mode: "([^"]*)"', output)
    return found.group(1).decode("utf-8", "replace") if found else None


def run_step(case, number, step, program, folder):
    try:
        result = run(program, step["argv"], folder)
    except subprocess.TimeoutExpired:
        raise Mismatch(f"step {number} ran past {STEP_LIMIT_S} s") from None
    output = normalised_output(result.stdout, program.parent / "data")
    unknown_mode = unknown_mode_in(result.stdout)
    compare_text(case, f"stdout.{number}", case.expected_text("stdout", number), output,
                 unknown_mode)
    compare_text(case, f"stderr.{number}", case.expected_text("stderr", number), result.stderr,
                 unknown_mode)
    if result.returncode != step["status"]:
        raise Mismatch(f"step {number} ended with status {result.returncode}, "
                       f"expected {step['status']}", unknown_mode)


def files_of(folder):
    """All files below a folder: path relative to it -> content."""
    if not folder.is_dir():
        return {}
    return {str(path.relative_to(folder)): path.read_bytes()
            for path in sorted(folder.rglob("*")) if path.is_file()}


def compare_files(case, folder):
    before = files_of(case.folder / "in")
    expected = files_of(case.folder / "out")
    after = files_of(folder)
    changed = {name: content for name, content in after.items() if before.get(name) != content}
    gone = sorted(set(before) - set(after))
    if gone:
        raise Mismatch(f"files are gone: {', '.join(gone)}")
    for name in sorted(set(expected) | set(changed)):
        if name not in changed:
            raise Mismatch(f"file {name} was not written")
        if name not in expected:
            raise Mismatch(f"file {name} should not have been written")
        compare_text(case, name, expected[name], changed[name])


def run_case(case, program, scratch, keep):
    """None if the case passes, else its `Mismatch`."""
    folder = scratch / "runs" / case.name
    if (case.folder / "in").is_dir():
        shutil.copytree(case.folder / "in", folder)
    else:
        folder.mkdir(parents=True)
    try:
        for number, step in enumerate(case.steps, start=1):
            run_step(case, number, step, program, folder)
        compare_files(case, folder)
    except Mismatch as mismatch:
        return mismatch
    finally:
        if not keep:
            shutil.rmtree(folder)
    return None


def depends_on_missing_mode(mismatch, known):
    """Whether a case failed only because a mode is not there yet."""
    return mismatch.unknown_mode in set(ALL_MODES) - known


def is_wanted(case, arguments, known):
    """Whether a case can run. One of "cli" may stop before its mode is looked up: try it."""
    if arguments.modes and not case.modes <= arguments.modes:
        return False
    return case.group == "cli" or case.modes <= known


def matches(case, patterns):
    return not patterns or any(fnmatch.fnmatch(case.name, pattern) or pattern in case.name
                               for pattern in patterns)


def parse_arguments():
    parser = argparse.ArgumentParser(description=__doc__.split("\n", maxsplit=1)[0])
    parser.add_argument("--program", type=Path, required=True, help="the built program")
    parser.add_argument("--cases", type=Path, required=True, help="the folder of cases")
    parser.add_argument("--modes", type=lambda text: set(text.lower().split(",")), default=set(),
                        help="only cases of these modes, like check,topol,psf (default: all)")
    parser.add_argument("--keep", action="store_true", help="keep the folders of the runs")
    parser.add_argument("--jobs", type=int, default=os.cpu_count() or 1,
                        help="how many cases run at a time (default: one a core)")
    parser.add_argument("patterns", nargs="*", metavar="PATTERN",
                        help="parts of case names, or patterns like 'topol/*'")
    return parser.parse_args()


def main():
    arguments = parse_arguments()
    if not (arguments.cases / "data").is_dir():
        print(f"no cases at {arguments.cases}: nothing to compare with, skipped")
        return SKIPPED

    scratch = Path(tempfile.mkdtemp(prefix="ravelo-cases-")).resolve()
    try:
        program = prepare_program(arguments.program, (arguments.cases / "data").resolve(),
                                  scratch / "program")
        known = standing_modes(program, scratch)
        cases = [case for case in find_cases(arguments.cases) if matches(case, arguments.patterns)]
        wanted = [case for case in cases if is_wanted(case, arguments, known)]
        passed, failed, skipped = 0, 0, len(cases) - len(wanted)
        with concurrent.futures.ThreadPoolExecutor(arguments.jobs) as pool:
            results = pool.map(lambda case: run_case(case, program, scratch, arguments.keep), wanted)
            for case, mismatch in zip(wanted, results):
                if mismatch is None:
                    passed += 1
                elif depends_on_missing_mode(mismatch, known):
                    skipped += 1
                else:
                    failed += 1
                    print(f"FAILED {case.name}: {mismatch}")
    finally:
        if not arguments.keep:
            shutil.rmtree(scratch)

    if arguments.keep:
        print(f"runs kept in {scratch}/runs")
    print(f"modes: {', '.join(mode for mode in ALL_MODES if mode in known)}")
    print(f"{passed} passed, {failed} failed, {skipped} skipped")
    return 1 if failed or passed == 0 else 0


if __name__ == "__main__":
    sys.exit(main())

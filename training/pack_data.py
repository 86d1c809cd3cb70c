#!/usr/bin/env python3
"""Writes training/data from a folder with the molecules that training is done with.

    python3 training/pack_data.py --molecules DIR            writes the files
    python3 training/pack_data.py --molecules DIR --check    compares them

DIR holds train.jsonl, val.jsonl, extra_lp.jsonl and special.jsonl (a JSON object a line with
"name", "source", "elements", "types", "bonds", "ring" and "unreachable"), substitutes.tsv and
drug_like_teacher_labelled.txt.gz. The form of the files written is told in molecules.py. What these
leave out, ring classes and which types are forbidden, is computed anew and must come out as in DIR.

With --check nothing is written; the exit status is 1 if a file differs from what would be written,
and 77 if there is no DIR to compare with.
"""

import argparse
import gzip
import json
import sys
from pathlib import Path

import one_thread  # noqa: F401  ahead of numpy
from evaluate_weights import SKIPPED
from molecules import (DATA, EXTRA, PUBLISHED_SETS, SET_NAMES, SPECIAL, TRAIN, VALIDATION, Molecule,
                       evaluation_form, line_of)

FILES = {TRAIN: "train.jsonl", VALIDATION: "val.jsonl", EXTRA: "extra_lp.jsonl",
         SPECIAL: "special.jsonl"}


def read_objects(path):
    return [json.loads(line) for line in path.read_text(encoding="utf-8").splitlines()]


def molecule_of_object(data):
    return Molecule(data["name"], data["source"], data["elements"], data["types"], data["bonds"])


def check_computed(objects, molecules):
    for data, computed in zip(objects, evaluation_form(molecules)):
        for key in ("ring", "unreachable"):
            if computed[key] != data.get(key, []):
                raise ValueError(f"{key} of {data['name']} is {computed[key]}, "
                                 f"not {data.get(key, [])}")


def packed_molecules(path):
    objects = read_objects(path)
    molecules = [molecule_of_object(data) for data in objects]
    check_computed(objects, molecules)
    text = "".join(line_of(molecule) + "\n" for molecule in molecules)
    # Without the time of writing, so that the same molecules give the same file.
    return gzip.compress(text.encode("utf-8"), compresslevel=9, mtime=0)


def packed_files(folder):
    """File name -> what stands in it."""
    files = {f"{SET_NAMES[source]}.txt.gz": packed_molecules(folder / FILES[source])
             for source in PUBLISHED_SETS}
    files["substitutes.tsv"] = (folder / "substitutes.tsv").read_bytes()
    files["drug_like.txt.gz"] = (folder / "drug_like_teacher_labelled.txt.gz").read_bytes()
    return files


def is_same(path, content):
    """Compares what is packed: compressed, it may look different elsewhere."""
    if not path.exists():
        return False
    actual = path.read_bytes()
    if path.suffix == ".gz":
        actual, content = gzip.decompress(actual), gzip.decompress(content)
    return actual == content


def main():
    parser = argparse.ArgumentParser(description=__doc__.split("\n\n", maxsplit=1)[0])
    parser.add_argument("--molecules", type=Path, required=True, metavar="DIR",
                        help="folder of the molecules")
    parser.add_argument("--output", type=Path, default=DATA, help="folder of the packed files")
    parser.add_argument("--check", action="store_true",
                        help="compare with the files there and write nothing")
    arguments = parser.parse_args()

    if arguments.check and not arguments.molecules.is_dir():
        print(f"{arguments.molecules} is not there: nothing to compare with")
        return SKIPPED
    different = []
    for name, content in packed_files(arguments.molecules).items():
        path = arguments.output / name
        if arguments.check:
            if not is_same(path, content):
                different.append(path)
        else:
            arguments.output.mkdir(parents=True, exist_ok=True)
            path.write_bytes(content)
            print(f"{path}: {len(content)} bytes")
    for path in different:
        print(f"{path} is not what {arguments.molecules} gives", file=sys.stderr)
    return 1 if different else 0


if __name__ == "__main__":
    sys.exit(main())

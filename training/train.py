#!/usr/bin/env python3
"""Trains the networks that type atoms, from the data to the program's source file.

    python3 training/train.py --work DIR --output src/AtomTyperWeights.cpp
    python3 training/train.py --work DIR --without-validation
    python3 training/train.py --work DIR --train-on src/AtomTyperWeights.cpp

The settings stand in settings.py. DIR gets what the stages leave behind, weights.json, the source
file (if --output names no other) and train.log. A stage whose results lie there, made with the same
settings, is not run again: an interrupted training goes on where it was. After changes to data or
code, take another folder.

--train-on begins with networks that there are: some are trained on, the others stay.
"""

import argparse
import contextlib
import copy
import dataclasses
import hashlib
import io
import json
import subprocess
import sys
import time
from concurrent.futures import ThreadPoolExecutor, as_completed
from pathlib import Path

import one_thread  # noqa: F401  ahead of numpy and torch
import numpy as np

import fluorine_rule
import folding
import write_weights
from evaluate_weights import calc_probabilities, print_accuracy, read_networks, read_substitutes
from molecules import (DATA, DRUG_LIKE, DRUG_LIKE_VARIANT, EXTRA, NO_LABEL, PUBLISHED_SETS,
                       SET_NAMES, SPECIAL, TRAIN, VALIDATION, VARIANT, bare_atoms, drug_like_atoms,
                       evaluation_form, joined, load_atoms, published_atoms, read_published, tables)
from settings import FURTHER, add_arguments, arguments_of, settings_of
from student import read_student
from surroundings import Surroundings, surroundings_path
from variants import variants_of

SCRIPTS = Path(__file__).resolve().parent


class Log:
    """Lines on the screen and in a file."""

    def __init__(self, path):
        self._path = path
        self._begin = time.time()

    def __call__(self, text):
        # Written at once, line end and all: two stages may be at it.
        line = f"{time.time() - self._begin:7.0f} s  {text}\n"
        print(line, end="", flush=True)
        with open(self._path, "a", encoding="utf-8") as file:
            file.write(line)


class Training:
    def __init__(self, work, settings, options, processes, beginning=None):
        """`beginning` is the path of networks to train on."""
        self._work, self._settings, self._options = work, settings, options
        self._processes, self._beginning = processes, beginning
        self._log = Log(work / "train.log")

    def run(self):
        settings = self._settings
        key = [settings.published_limit, settings.drug_like_limit]
        self._stage("atoms", key, self._make_atoms)

        key = key + [settings.with_validation, dataclasses.asdict(settings.teacher)]
        self._side_by_side([
            (f"teacher-{seed}", key, ["teacher.py", "--seed", str(seed)])
            for seed in settings.teacher.seeds])

        key = key + [dataclasses.asdict(settings.variants),
                     dataclasses.asdict(settings.drug_like_variants), settings.confidence]
        self._stage("surroundings", key, self._make_surroundings)

        # Starts first, in all processes; the other elements can then run beside the rest of carbon.
        self._side_by_side([
            (f"start-{element}-{part}",
             key + [dataclasses.asdict(dataclasses.replace(student, afterwards=None))],
             ["student.py", "--element", str(element), "--start", str(part)])
            for element, student in settings.students.items() if student.start_parts > 1
            for part in range(student.start_parts)])
        self._side_by_side([
            (f"student-{element}",
             key + [dataclasses.asdict(student), settings.output_margin, *self._hash_of_beginning()],
             ["student.py", "--element", str(element), *self._train_on()])
            for element, student in settings.students.items()])

    def _hash_of_beginning(self):
        return ([hashlib.sha256(self._beginning.read_bytes()).hexdigest()] if self._beginning
                else [])

    def _train_on(self):
        return ["--train-on", str(self._beginning)] if self._beginning else []

    def _stage(self, name, key, function):
        """Runs a stage unless it has been run with the same settings."""
        mark, text = self._work / f"{name}.done", json.dumps(key)
        if mark.exists() and mark.read_text(encoding="utf-8") == text:
            self._log(f"{name}: is there")
            return
        mark.unlink(missing_ok=True)
        self._log(f"{name} ...")
        function()
        mark.write_text(text, encoding="utf-8")
        self._log(f"{name}: done")

    def _side_by_side(self, tasks):
        """Runs scripts in processes of their own; what they print goes to a log file for each."""
        def run(task):
            name, key, command = task
            self._stage(name, key, lambda: self._run_script(name, command))
        with ThreadPoolExecutor(self._processes) as pool:
            futures = [pool.submit(run, task) for task in tasks]
            try:
                for future in as_completed(futures):
                    future.result()
            finally:
                for future in futures:
                    future.cancel()

    def _run_script(self, name, command):
        path = self._work / f"{name}.log"
        with open(path, "w", encoding="utf-8") as file:
            status = subprocess.run(
                [sys.executable, str(SCRIPTS / command[0]), *command[1:], "--work",
                 str(self._work), *self._options], stdout=file, stderr=subprocess.STDOUT,
                check=False).returncode
        lines = path.read_text(encoding="utf-8").splitlines()
        if status != 0:
            message = f"{name} has failed, see {path}: {lines[-1] if lines else status}"
            self._log(message)
            raise RuntimeError(message)
        for line in lines[-1:]:
            self._log(f"{name}: {line}")

    def _published(self, source):
        return read_published(source, self._settings.published_limit)

    def _make_atoms(self):
        parts = [published_atoms(self._published(source), source) for source in PUBLISHED_SETS]
        parts.append(drug_like_atoms(self._settings.drug_like_limit))
        for name, part in zip(SET_NAMES, parts):
            self._log(f"{name}: {part.num_molecules()} molecules, {len(part.elements)} atoms, "
                      f"{np.count_nonzero(part.labels != NO_LABEL)} labels")
        self._with_fluorine_rule(joined(parts)).save(self._work / "atoms.npz")

    def _with_fluorine_rule(self, atoms):
        self._log(f"types around carbons with fluorine: {fluorine_rule.apply_to(atoms)} labels "
                  "corrected")
        return atoms

    def _make_surroundings(self):
        with np.load(self._work / "atoms.npz") as arrays:
            atoms = load_atoms(arrays)
        atoms = joined([self._with_more_labels(atoms), *self._labelled_variants(atoms)])
        surroundings = Surroundings(self._with_fluorine_rule(atoms))
        self._log("classes of 2, 4 and 6 bonds: "
                  + ", ".join(str(len(examples)) for examples in surroundings.examples))
        surroundings.save(surroundings_path(self._work))

    def _teachers(self):
        # Imported in functions: the teacher needs torch, which the other stages can do without.
        import teacher
        return [teacher.load(teacher.teacher_path(self._work, seed), self._settings.teacher)
                for seed in self._settings.teacher.seeds]

    def _with_more_labels(self, atoms):
        """Labels drug-like atoms whose file has none: mostly those with a forbidden true type."""
        import teacher
        drug_like = atoms.sources == DRUG_LIKE
        labelled = copy.deepcopy(atoms)
        teacher.label(labelled, self._teachers(), self._settings.confidence)
        chosen = drug_like & (atoms.labels == NO_LABEL) & (labelled.labels != NO_LABEL)
        atoms.labels[chosen] = labelled.labels[chosen]
        without_rule = [element for element, sizes in tables.ring_sizes.items() if sizes is None]
        atoms.reachable[chosen & np.isin(atoms.elements, without_rule)] = True
        self._log(f"drug-like atoms without a label in their file: {np.count_nonzero(chosen)} "
                  "labelled by the teacher")
        return atoms

    def _labelled_variants(self, atoms):
        sources = [source for source in (TRAIN, VALIDATION, EXTRA, SPECIAL)
                   if self._settings.with_validation or source != VALIDATION]
        published = [(molecule.elements, molecule.bonds) for source in sources
                     for molecule in self._published(source)]
        for source, graphs, settings in (
                (VARIANT, published, self._settings.variants),
                (DRUG_LIKE_VARIANT, atoms.graphs(DRUG_LIKE), self._settings.drug_like_variants)):
            yield self._labelled(variants_of(graphs, published, settings), source)

    def _labelled(self, graphs, source):
        import teacher
        atoms = bare_atoms(graphs, source)
        teacher.label(atoms, self._teachers(), self._settings.confidence)
        self._log(f"{SET_NAMES[source]}: {atoms.num_molecules()} molecules, {len(atoms.elements)} "
                  f"atoms, {np.count_nonzero(atoms.labels != NO_LABEL)} labels")
        return atoms

    def write_weights(self, output, note):
        """Writes the networks as JSON and as the program's source file."""
        networks = {element: self._network(element) for element in tables.names}
        data = folding.json_form(networks, note=note)
        (self._work / "weights.json").write_text(json.dumps(data), encoding="utf-8")
        write_weights.write_source(output, write_weights.networks_of_json(data), note)
        least = min(array.min() for network in networks.values() for array in network)
        most = max(array.max() for network in networks.values() for array in network)
        self._log(f"{output}: numbers from {least:.2f} to {most:.2f}")

    def _network(self, element):
        if element in self._settings.students:
            return read_student(self._work, element)
        return folding.network_of(read_networks(self._beginning)[element])

    def evaluate(self, path):
        """Prints how the written networks do, computed as the program computes.

        The result tells whether the special molecules come out as they must.
        """
        networks = read_networks(path)
        substitutes = read_substitutes(DATA / "substitutes.tsv")
        for source in PUBLISHED_SETS:
            molecules = evaluation_form(self._published(source))
            with contextlib.redirect_stdout(io.StringIO()) as table:
                print_accuracy(networks, tables, molecules, substitutes)
            self._log(f"{SET_NAMES[source]}\n{table.getvalue()}")
        is_right = True
        for molecule in evaluation_form(read_published(SPECIAL)):
            for i, name in enumerate(assigned_types(networks, molecule)):
                if name != molecule["types"][i]:
                    self._log(f"WRONG: atom {i} of {molecule['name']} is {name} instead of "
                              f"{molecule['types'][i]}")
                    is_right = False
        return is_right


def assigned_types(networks, molecule):
    probabilities = calc_probabilities(networks, molecule["elements"], molecule["bonds"])
    return [tables.assign(element, ring, probability) for element, ring, probability
            in zip(molecule["elements"], molecule["ring"], probabilities)]


def note_of(settings, options):
    trained_on = "with" if settings.with_validation else "without"
    command = " ".join(["training/train.py", *options])
    return f"Trained {trained_on} the validation molecules by {command}; see training/README.md."


def main():
    parser = argparse.ArgumentParser(description=__doc__.split("\n\n", maxsplit=1)[0])
    parser.add_argument("--work", type=Path, required=True, metavar="DIR",
                        help="folder for what is made on the way")
    parser.add_argument("--output", type=Path, help="the source file to write")
    parser.add_argument("--processes", type=int, default=2,
                        help="that run side by side (2)")
    parser.add_argument("--train-on", type=Path, metavar="WEIGHTS",
                        help="begin with the networks in this source file or JSON form of it")
    add_arguments(parser)
    arguments = parser.parse_args()
    if arguments.train_on and not arguments.train_on.is_file():
        parser.error(f"{arguments.train_on} is not there")

    arguments.work.mkdir(parents=True, exist_ok=True)
    settings = settings_of(arguments, FURTHER if arguments.train_on else None)
    options = arguments_of(arguments)
    output = arguments.output or arguments.work / "AtomTyperWeights.cpp"
    training = Training(arguments.work, settings, options, arguments.processes,
                        arguments.train_on)
    training.run()
    training.write_weights(output, note_of(settings, options + (
        ["--train-on WEIGHTS"] if arguments.train_on else [])))
    is_right = training.evaluate(output)
    return 0 if is_right or arguments.trial else 1


if __name__ == "__main__":
    sys.exit(main())

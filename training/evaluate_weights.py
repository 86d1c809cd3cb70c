#!/usr/bin/env python3
"""Evaluates trained typing networks outside the program, with numpy.

    evaluate_weights.py --data molecules.jsonl [--substitutes substitutes.tsv] [--least 0.975]
        prints how many atoms get their true type
    evaluate_weights.py --data molecules.jsonl --reference reference.tsv
        writes the probabilities that the program's tests compare with
    evaluate_weights.py --data molecules.jsonl --reference reference.tsv --check
        compares that file with the networks and writes nothing

The reference of the tests is made anew, after the networks have changed, by

    python3 training/evaluate_weights.py --data tests/data/typer_molecules.jsonl \\
        --reference tests/data/typer_reference.tsv

The networks are read from src/AtomTyperWeights.cpp, or by --weights from another such file or from
the JSON file that write_weights.py takes. The names of the types and their ring classes are read
from src/AtomTyper.cpp.

A line of a data file is a JSON object with "name", "elements" (atomic numbers), "bonds" (pairs of
0-based atoms), "ring" (0, 5 or 6 for each atom) and, to count hits, "types" (the true ones) and
"unreachable" (atoms whose true type the ring rule forbids). A file of substitutes gives the label
of the latter in lines of true type, ring class and label, with tabs between and a heading.

The exit status is 1 if a comparison fails and 77 without numpy.
"""

import argparse
import json
import re
import sys
from pathlib import Path

try:
    import numpy as np
except ImportError:
    np = None

from write_weights import (DECIMALS, HOPS, NETWORKS, layer_shapes, networks_of_json,
                           number_of_weights)

SKIPPED = 77
SOURCES = Path(__file__).resolve().parent.parent / "src"
UNKNOWN_TYPE = "X"
TOLERANCE = 1e-9  # of probabilities


def without_comments(text):
    return re.sub(r"//[^\n]*", "", text)


def read_networks(path):
    """Atomic number -> three layers ([W0, W1, W2], bias), as arrays."""
    if path.suffix == ".json":
        networks = networks_of_json(json.loads(path.read_text(encoding="utf-8")))
        # Rounded as the program gets them.
        return {element: [([np.round(np.array(w, dtype=float), DECIMALS) for w in layer[:HOPS]],
                           np.round(np.array(layer[HOPS], dtype=float), DECIMALS)) for layer in layers]
                for element, layers in networks.items()}
    text = without_comments(path.read_text(encoding="utf-8"))
    body = re.search(r"kAtomTyperWeights\[\w*\] = \{(.*?)\};", text, re.DOTALL).group(1)
    numbers = np.array([float(word) for word in body.replace(",", " ").split()])
    if len(numbers) != number_of_weights():
        raise ValueError(f"{path} has {len(numbers)} numbers instead of {number_of_weights()}")
    networks, position = {}, 0
    for element, _, num_types in NETWORKS:
        networks[element] = []
        for inputs, outputs in layer_shapes(num_types):
            matrices = []
            for _ in range(HOPS):
                block = numbers[position:position + inputs * outputs]
                matrices.append(block.reshape(inputs, outputs))
                position += inputs * outputs
            networks[element].append((matrices, numbers[position:position + outputs]))
            position += outputs
    return networks


class TypeTables:
    """The names of the types of each element, and the ring classes of those that have one."""

    def __init__(self, path):
        text = without_comments(path.read_text(encoding="utf-8"))
        names = {symbol: re.findall(r'"(\w+)"', body) for symbol, body in
                 re.findall(r"AtomTyper::(\w+?)Types\[\d+\] = \{(.*?)\};", text, re.DOTALL)}
        rings = {symbol: [int(word) for word in re.findall(r"\d+", body)] for symbol, body in
                 re.findall(r"(\w+?)TypeRingSizes\[\d+\] = \{(.*?)\};", text, re.DOTALL)}
        self.names = {element: names[symbol] for element, symbol, _ in NETWORKS}
        self.ring_sizes = {element: rings.get(symbol) for element, symbol, _ in NETWORKS}
        for element, symbol, num_types in NETWORKS:
            if len(self.names[element]) != num_types:
                raise ValueError(f"{path} has {len(self.names[element])} types of {symbol}")

    def assign(self, element, ring_size, probabilities):
        """The first of the most probable allowed types; the first of all if there is none."""
        if element not in self.names:
            return UNKNOWN_TYPE
        best, index = -1.0, 0
        classes = self.ring_sizes[element]
        for j, probability in enumerate(probabilities):
            if (classes is None or classes[j] == ring_size) and probability > best:
                best, index = probability, j
        return self.names[element][index]


def softmax(outputs):
    with np.errstate(over="ignore"):
        return 1.0 / np.exp(outputs[np.newaxis, :] - outputs[:, np.newaxis]).sum(axis=1)


def calc_probabilities(networks, elements, bonds):
    """One array for each atom; [1.0] for an atom of an element without a network."""
    size = len(elements)
    adjacency = np.zeros((size, size))
    for i, j in bonds:
        adjacency[i, j] = adjacency[j, i] = 1.0
    degrees = adjacency.sum(axis=0)
    # One unbonded atom divides by zero, and the NaN spreads to all atoms.
    scales = np.full(size, np.nan) if (degrees == 0.0).any() else degrees ** -0.5
    powers = [np.eye(size), scales[:, np.newaxis] * adjacency * scales[np.newaxis, :]]
    while len(powers) < HOPS:
        powers.append(powers[-1] @ powers[1])

    probabilities = [np.array([1.0])] * size
    for element in sorted(set(elements) & set(networks)):
        values = np.array(elements, dtype=float)[:, np.newaxis]
        for matrices, bias in networks[element]:
            values = sum(power @ values @ matrix for power, matrix in zip(powers, matrices)) + bias
            values[values < 0.0] = 0.0
        for i in range(size):
            if elements[i] == element:
                probabilities[i] = softmax(values[i])
    return probabilities


def read_molecules(path):
    lines = path.read_text(encoding="utf-8").splitlines()
    return [json.loads(line) for line in lines if line.strip()]


def read_substitutes(path):
    """(True type, ring class) -> label."""
    labels = {}
    for line in path.read_text(encoding="utf-8").splitlines()[1:]:
        true_type, ring_size, label = line.split("\t")[:3]
        labels[true_type, int(ring_size)] = label
    return labels


class Hits:
    """Counts of right answers among all."""

    def __init__(self):
        self.right = 0
        self.total = 0

    def add(self, is_right):
        self.right += bool(is_right)
        self.total += 1

    def __str__(self):
        share = f"{self.right / self.total:.4f}" if self.total else "-"
        return f"{share:>7} {self.right:>6} of {self.total:<6}"


def print_accuracy(networks, tables, molecules, substitutes):
    """Prints the table; returns what share of reachable atoms is right, and of those with a substitute."""
    symbols = {element: symbol for element, symbol, _ in NETWORKS}
    rows = {symbol: (Hits(), Hits()) for symbol in (*symbols.values(), "all")}
    whole_reachable, whole = Hits(), Hits()
    without_label = 0
    for molecule in molecules:
        probabilities = calc_probabilities(networks, molecule["elements"], molecule["bonds"])
        unreachable = set(molecule.get("unreachable", ()))
        misses = [0, 0]
        for i, element in enumerate(molecule["elements"]):
            if element not in symbols:
                continue
            true_type, ring_size = molecule["types"][i], molecule["ring"][i]
            kind = int(i in unreachable)
            label = substitutes.get((true_type, ring_size)) if kind else true_type
            if label is None:
                without_label += 1
                continue
            is_right = tables.assign(element, ring_size, probabilities[i]) == label
            rows[symbols[element]][kind].add(is_right)
            rows["all"][kind].add(is_right)
            misses[kind] += not is_right
        whole_reachable.add(misses[0] == 0)
        whole.add(sum(misses) == 0)
    print(f"{'element':<8}{'reachable atoms':<27}{'atoms with a substitute':<27}")
    for symbol, (reachable, substituted) in rows.items():
        print(f"{symbol:<8}{reachable!s:<27}{substituted!s:<27}".rstrip())
    print(f"molecules with every reachable atom right: {whole_reachable}".rstrip())
    print(f"molecules with every atom right:           {whole}".rstrip())
    if without_label:
        print(f"atoms without a label, not counted: {without_label}")
    return [hits.right / max(1, hits.total) for hits in rows["all"]]


def reference_lines(networks, tables, molecules):
    """For each atom: molecule, atom, type, and the probabilities with blanks between."""
    lines = ["molecule\tatom\ttype\tprobabilities"]
    for molecule in molecules:
        probabilities = calc_probabilities(networks, molecule["elements"], molecule["bonds"])
        for i, element in enumerate(molecule["elements"]):
            type_name = tables.assign(element, molecule["ring"][i], probabilities[i])
            numbers = " ".join(f"{p:.11f}".rstrip("0").rstrip(".") for p in probabilities[i])
            lines.append(f"{molecule['name']}\t{i}\t{type_name}\t{numbers}")
    return lines


def same_numbers(one, other):
    numbers = [[float(word) for word in text.split()] for text in (one, other)]
    return len(numbers[0]) == len(numbers[1]) and np.allclose(*numbers, rtol=0.0, atol=TOLERANCE,
                                                               equal_nan=True)


def check_reference(path, expected):
    """The first line of the file that is not as expected, or None."""
    actual = path.read_text(encoding="utf-8").splitlines() if path.exists() else []
    for number, (one, other) in enumerate(zip(actual, expected), start=1):
        one, other = one.rpartition("\t"), other.rpartition("\t")
        if one[0] != other[0] or (number > 1 and not same_numbers(one[2], other[2])):
            return number
    return None if len(actual) == len(expected) else min(len(actual), len(expected)) + 1


def main():
    parser = argparse.ArgumentParser(description=__doc__.split("\n\n", maxsplit=1)[0])
    parser.add_argument("--data", type=Path, required=True,
                        help="molecules, one JSON object a line")
    parser.add_argument("--weights", type=Path, default=SOURCES / "AtomTyperWeights.cpp",
                        help="the networks, a C++ or JSON file (default: the program's)")
    parser.add_argument("--substitutes", type=Path, help="labels where the ring rule forbids")
    parser.add_argument("--least", type=float, default=0.0, metavar="SHARE",
                        help="fail if fewer of the reachable atoms are right")
    parser.add_argument("--least-substituted", type=float, default=0.0, metavar="SHARE",
                        help="the same for atoms with a substitute")
    parser.add_argument("--reference", type=Path, help="the file of probabilities to write")
    parser.add_argument("--check", action="store_true", help="compare with it, write nothing")
    arguments = parser.parse_args()
    if arguments.check and not arguments.reference:
        parser.error("--check needs --reference")
    if np is None:
        print("numpy is not there: nothing is evaluated, skipped")
        return SKIPPED

    networks = read_networks(arguments.weights)
    tables = TypeTables(SOURCES / "AtomTyper.cpp")
    molecules = read_molecules(arguments.data)
    if not arguments.reference:
        substitutes = read_substitutes(arguments.substitutes) if arguments.substitutes else {}
        shares = print_accuracy(networks, tables, molecules, substitutes)
        leasts = (arguments.least, arguments.least_substituted)
        return 0 if all(share >= least for share, least in zip(shares, leasts)) else 1
    lines = reference_lines(networks, tables, molecules)
    if not arguments.check:
        arguments.reference.write_text("\n".join(lines) + "\n", encoding="utf-8")
        return 0
    different = check_reference(arguments.reference, lines)
    if different is not None:
        print(f"{arguments.reference}, line {different}: not what the networks give. "
              "If they were trained anew, make the file anew: see the head of this script.",
              file=sys.stderr)
        return 1
    print(f"{len(lines) - 1} atoms are as the networks give them")
    return 0


if __name__ == "__main__":
    sys.exit(main())

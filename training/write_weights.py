#!/usr/bin/env python3
"""Writes trained networks as the C++ source that the program is built with.

    python3 training/write_weights.py weights.json src/AtomTyperWeights.cpp          writes the file
    python3 training/write_weights.py weights.json src/AtomTyperWeights.cpp --check  compares it

The JSON file maps atomic numbers to networks. A network is a list of three layers, a layer has its
three weight matrices (hops 0, 1, 2; a matrix is a list of rows, one for each input channel) and its
bias:

    {"1": [{"weights": [[[...]], [[...]], [[...]]], "bias": [...]}, ...], ..., "note": "how made"}

All numbers are written with eight decimals. With --check nothing is written; the exit status is 1
if the file differs from what would be written.
"""

import argparse
import json
import math
import sys
import textwrap
from pathlib import Path

# Networks in the order of the file: atomic number, symbol, number of types.
NETWORKS = ((1, "H", 25), (35, "Br", 4), (5, "B", 1), (6, "C", 58), (7, "N", 29), (8, "O", 19),
            (9, "F", 5), (15, "P", 3), (16, "S", 10), (17, "Cl", 3), (53, "I", 1))
HIDDEN_CHANNELS = 16
HOPS = 3
DECIMALS = 8  # of the numbers in the source file
LINE_WIDTH = 100


def layer_shapes(num_types):
    """Input and output channels of each layer."""
    return ((1, HIDDEN_CHANNELS), (HIDDEN_CHANNELS, HIDDEN_CHANNELS), (HIDDEN_CHANNELS, num_types))


def number_of_weights():
    return sum(HOPS * inputs * outputs + outputs
               for _, _, num_types in NETWORKS for inputs, outputs in layer_shapes(num_types))


def formatted(value):
    """A number with eight decimals; one that rounds to zero has no sign."""
    if not math.isfinite(value):
        raise ValueError(f"{value} cannot be a weight")
    text = f"{value:.{DECIMALS}f}"
    return "0.00000000" if float(text) == 0.0 else text


def row_lines(row):
    text = ", ".join(formatted(float(value)) for value in row) + ","
    return textwrap.wrap(text, LINE_WIDTH, initial_indent="    ", subsequent_indent="    ")


def layer_lines(label, layer, inputs, outputs):
    """The lines of one layer (W0, W1, W2, bias), with a comment before each matrix."""
    *matrices, bias = layer
    if len(matrices) != HOPS:
        raise ValueError(f"{label} has {len(matrices)} weight matrices instead of {HOPS}")
    lines = []
    for hop, matrix in enumerate(matrices):
        if len(matrix) != inputs or any(len(row) != outputs for row in matrix):
            raise ValueError(f"{label}, hop {hop}, should be {inputs} x {outputs}")
        lines.append(f"    // {label}, hop {hop}: {inputs} x {outputs}")
        for row in matrix:
            lines += row_lines(row)
    if len(bias) != outputs:
        raise ValueError(f"{label}, bias, should have {outputs} values")
    lines.append(f"    // {label}, bias: {outputs}")
    return lines + row_lines(bias)


def comment(paragraphs):
    lines = []
    for paragraph in paragraphs:
        if lines:
            lines.append("//")
        lines += textwrap.wrap(paragraph, LINE_WIDTH, initial_indent="// ",
                               subsequent_indent="// ")
    return lines


def source(networks, note="", seed="", date=""):
    """The text of the source file. `networks` maps atomic number -> three (W0, W1, W2, bias)."""
    missing = [symbol for element, symbol, _ in NETWORKS if element not in networks]
    if missing:
        raise ValueError("there are no networks for " + ", ".join(missing))
    paragraphs = ["The trained numbers of the networks that type atoms. Written by "
                  "training/write_weights.py; not to be edited by hand."]
    if note:
        paragraphs.append(note)
    made = [f"{label}: {value}." for label, value in (("Seed", seed), ("Date", date)) if value]
    if made:
        paragraphs.append(" ".join(made))
    lines = comment(paragraphs)
    lines += ['#include "AtomTyperWeights.h"', "", "namespace orvane {", "",
              "// clang-format off", "const double kAtomTyperWeights[kNumAtomTyperWeights] = {"]
    for element, symbol, num_types in NETWORKS:
        if len(networks[element]) != 3:
            raise ValueError(f"the network of {symbol} should have 3 layers")
        shapes = layer_shapes(num_types)
        for number, (layer, shape) in enumerate(zip(networks[element], shapes), start=1):
            lines += layer_lines(f"{symbol}, layer {number}", layer, *shape)
    lines += ["};", "// clang-format on", "", "}  // namespace orvane", ""]
    return "\n".join(lines)


def write_source(path, networks, note="", seed="", date=""):
    """Writes the source file; `networks` as for `source`."""
    Path(path).write_text(source(networks, note, seed, date), encoding="ascii")


def networks_of_json(data):
    """The networks of the JSON form, as `source` takes them."""
    return {int(element): [(*layer["weights"], layer["bias"]) for layer in layers]
            for element, layers in data.items() if element.isdigit()}


def main():
    parser = argparse.ArgumentParser(description=__doc__.split("\n\n", maxsplit=1)[0])
    parser.add_argument("weights", type=Path, help="the trained networks, a JSON file")
    parser.add_argument("source", type=Path, help="the C++ file")
    parser.add_argument("--seed", default="", help="stands in the comment at the head of the file")
    parser.add_argument("--date", default="", help="the same")
    parser.add_argument("--check", action="store_true", help="compare with the file, write nothing")
    arguments = parser.parse_args()

    data = json.loads(arguments.weights.read_text(encoding="utf-8"))
    text = source(networks_of_json(data), data.get("note", ""),
                  arguments.seed or data.get("seed", ""), arguments.date or data.get("date", ""))
    if not arguments.check:
        arguments.source.write_text(text, encoding="ascii")
        return 0
    if not arguments.source.exists() or arguments.source.read_text(encoding="utf-8") != text:
        print(f"{arguments.source} is not what {arguments.weights} gives", file=sys.stderr)
        return 1
    return 0


if __name__ == "__main__":
    sys.exit(main())

#!/usr/bin/env python3
"""Begins the training of one element's network with several seeds, to see which start is good.

    python3 training/try_seeds.py --work DIR --element 6 --steps 2500 1 2 3 4 5 6

A network this small does not forget where it began: the loss after a tenth of the steps already tells
the seeds apart. DIR is that of train.py, which must have made the surroundings there.
"""

import argparse
import sys
from pathlib import Path

import one_thread  # noqa: F401  ahead of numpy
import numpy as np

from molecules import tables
from settings import add_arguments, settings_of
from student import Lessons, train
from surroundings import load_surroundings, surroundings_path


def main():
    parser = argparse.ArgumentParser(description=__doc__.split("\n\n", maxsplit=1)[0])
    parser.add_argument("seeds", type=int, nargs="+", metavar="SEED")
    parser.add_argument("--work", type=Path, required=True, metavar="DIR")
    parser.add_argument("--element", type=int, required=True, help="atomic number")
    parser.add_argument("--steps", type=int, default=2500, help="where to break off")
    add_arguments(parser)
    arguments = parser.parse_args()

    settings = settings_of(arguments)
    student = settings.students[arguments.element]
    surroundings = load_surroundings(surroundings_path(arguments.work))
    lessons = Lessons(surroundings, arguments.element, student, settings.with_validation)
    num_types = len(tables.names[arguments.element])
    for seed in arguments.seeds:
        network, _ = train(lessons, num_types, student, seed, arguments.steps)
        loss = np.mean([batch.loss(network, 0.0) for batch in lessons.batches])
        print(f"seed {seed}: cross entropy {loss:.4f}", flush=True)
    return 0


if __name__ == "__main__":
    sys.exit(main())

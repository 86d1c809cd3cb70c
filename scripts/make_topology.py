#!/usr/bin/env python3
"""Writes data/*.rtf and data/extra from the published files of the force field.

    python3 scripts/make_topology.py --published DIR --output data          writes the files
    python3 scripts/make_topology.py --published DIR --output data --check  compares them

DIR holds top_all36_prot.rtf, top_all36_na.rtf, their par_*.prm, par_all36_cgenff.prm,
toppar_all36_prot_modify_res.str and toppar_water_ions.str. With --check nothing is written; the exit
status is 1 if a file differs from what would be written, and 77 if there is no DIR to compare with.
"""

import argparse
import os
import sys

from topology.library_files import topology_files

SKIPPED = 77


def main():
    parser = argparse.ArgumentParser(description=__doc__.split("\n\n")[0])
    parser.add_argument("--published", required=True, metavar="DIR",
                        help="folder of the published files")
    parser.add_argument("--output", required=True, metavar="DIR", help="the data folder")
    parser.add_argument("--check", action="store_true",
                        help="compare with the files there and write nothing")
    arguments = parser.parse_args()

    if arguments.check and not os.path.isdir(arguments.published):
        print(f"{arguments.published} is not there: nothing to compare with")
        return SKIPPED
    different = []
    for name, text in topology_files(arguments.published).items():
        path = os.path.join(arguments.output, *name.split("/"))
        if arguments.check:
            if not os.path.exists(path) or open(path, "rb").read() != text.encode("ascii"):
                different.append(path)
        else:
            os.makedirs(os.path.dirname(path), exist_ok=True)
            with open(path, "wb") as file:
                file.write(text.encode("ascii"))
    for path in different:
        print(f"{path} is not what the published figures give", file=sys.stderr)
    return 1 if different else 0


if __name__ == "__main__":
    sys.exit(main())

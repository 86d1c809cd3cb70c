#!/usr/bin/env python3
"""Writes data/*.rtf and data/extra from the published files of the force field.

    python3 scripts/make_topology.py --published DIR --output data          writes the files
    python3 scripts/make_topology.py --published DIR --output data --check  compares them

DIR holds top_all36_prot.rtf, top_all36_na.rtf, their par_*.prm, par_all36_cgenff.prm,
toppar_all36_prot_modify_res.str and toppar_water_ions.str. With --check nothing is written; the exit
status is 1 if a file differs from what would be written, and 77 if there is no DIR to compare with.
"""

import sys

from topology import generated_files
from topology.library_files import topology_files

if __name__ == "__main__":
    sys.exit(generated_files.run(__doc__.split("\n\n", maxsplit=1)[0], topology_files))

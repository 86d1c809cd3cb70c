"""The command line of the scripts that write data files from the published ones."""

import argparse
import os
import sys

SKIPPED = 77


def run(description, files_of):
    """Writes the files, or compares them with --check; returns the exit status.

    `files_of` takes the folder of the published files and returns the texts by name. A name may have
    folders in it, with slashes.
    """
    parser = argparse.ArgumentParser(description=description)
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
    for name, text in files_of(arguments.published).items():
        path, content = os.path.join(arguments.output, *name.split("/")), text.encode("ascii")
        if not arguments.check:
            _write(path, content)
        elif not _holds(path, content):
            different.append(path)
    for path in different:
        print(f"{path} is not what the published figures give", file=sys.stderr)
    return 1 if different else 0


def _write(path, content):
    os.makedirs(os.path.dirname(path) or ".", exist_ok=True)
    with open(path, "wb") as file:
        file.write(content)


def _holds(path, content):
    if not os.path.exists(path):
        return False
    with open(path, "rb") as file:
        return file.read() == content

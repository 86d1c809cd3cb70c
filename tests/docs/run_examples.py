#!/usr/bin/env python3
"""Runs the commands that the documentation prints and checks that they work, and follows its links.

Every fenced block that opens with ```sh is run, those of one document one after the other in one
folder that holds a copy of examples/ and a link to data/, with the built programs on the path. A
command fails if its status is not 0 or if it prints "Error occurs". A line

    <!-- not run: REASON -->

directly above a block takes it out. Links within the project must lead to a file and a heading.
"""

import argparse
import os
import re
import shutil
import subprocess
import sys
import tempfile
from pathlib import Path

BLOCK = re.compile(r"^(?P<note><!-- not run: [^\n]*-->\n)?```sh\n(?P<text>.*?)^```$",
                   re.MULTILINE | re.DOTALL)
LINK = re.compile(r"\]\((?!https?:)([^)#\s]*)(?:#([^)\s]*))?\)")
LIMIT_S = 300


def blocks_of(document):
    """The blocks to run: (line of the document, commands)."""
    text = document.read_text(encoding="utf-8")
    for found in BLOCK.finditer(text):
        if not found["note"]:
            yield text.count("\n", 0, found.start("text")) + 1, found["text"]


def run_block(commands, folder, programs):
    """What is wrong with a block; None if nothing."""
    environment = {**os.environ, "PATH": f"{programs}{os.pathsep}{os.environ['PATH']}"}
    script = "set -euo pipefail\ntrap 'echo \"failed: $BASH_COMMAND\"' ERR\n" + commands
    result = subprocess.run(["bash", "-c", script], cwd=folder, env=environment, text=True,
                            stdin=subprocess.DEVNULL, stdout=subprocess.PIPE,
                            stderr=subprocess.STDOUT, timeout=LIMIT_S, check=False)
    if result.returncode != 0:
        return f"status {result.returncode}\n{result.stdout[-2000:]}"
    if "Error occurs" in result.stdout:
        return f"the program stopped\n{result.stdout[-2000:]}"
    return None


def headings_of(document):
    """The headings of a document in the form that links name them."""
    titles = re.findall(r"^#+ (.*)$", document.read_text(encoding="utf-8"), re.MULTILINE)
    return {re.sub(r"[^\w\- ]", "", title).strip().lower().replace(" ", "-") for title in titles}


def broken_links(document):
    for path, heading in LINK.findall(document.read_text(encoding="utf-8")):
        target = document.parent / path if path else document
        if not target.exists():
            yield f"link to {path}: no such file"
        elif heading and heading not in headings_of(target):
            yield f"link to {path}#{heading}: no such heading"


def run_document(document, source, programs):
    """Runs all blocks of a document; the numbers of those that passed and failed."""
    passed, failed = 0, 0
    with tempfile.TemporaryDirectory(prefix="ravelo-docs-") as scratch:
        folder = Path(scratch)
        shutil.copytree(source / "examples", folder / "examples")
        (folder / "data").symlink_to(source / "data")
        for line, commands in blocks_of(document):
            problem = run_block(commands, folder, programs)
            if problem is None:
                passed += 1
            else:
                failed += 1
                print(f"FAILED {document.relative_to(source)}, line {line}: {problem}")
    return passed, failed


def main():
    parser = argparse.ArgumentParser(description=__doc__.split("\n", maxsplit=1)[0])
    parser.add_argument("--programs", type=Path, required=True, help="folder of the built programs")
    parser.add_argument("--source", type=Path, required=True, help="root folder of the project")
    arguments = parser.parse_args()
    source = arguments.source.resolve()
    runnable = [source / "README.md", *sorted((source / "docs").glob("*.md"))]
    passed, failed, broken = 0, 0, 0
    for document in runnable:
        good, bad = run_document(document, source, arguments.programs.resolve())
        passed, failed = passed + good, failed + bad
    for document in sorted({*runnable, source / "CONTRIBUTING.md", *source.glob("*/*.md")}):
        for problem in broken_links(document):
            broken += 1
            print(f"FAILED {document.relative_to(source)}: {problem}")
    print(f"{passed} blocks of commands passed, {failed} failed, {broken} links are broken")
    return 1 if failed or broken or not passed else 0


if __name__ == "__main__":
    sys.exit(main())

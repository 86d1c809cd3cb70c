#!/usr/bin/env python3
"""Writes src/CGenFFParameters.cpp from the published parameter file of the force field.

    python3 scripts/make_cgenff_parameters.py --published DIR --output src/CGenFFParameters.cpp
    python3 scripts/make_cgenff_parameters.py --published DIR --output ... --check   compares it

DIR holds par_all36_cgenff.prm. With --check nothing is written; the exit status is 1 if the file
differs from what would be written, and 77 if there is no DIR to compare with.
"""

import argparse
import os
import sys

SKIPPED = 77
PARAMETER_FILE = "par_all36_cgenff.prm"

# In front of it there are titles and masses, which the program's reader passes over.
FIRST_SECTION = "BONDS"

# Compilers need not take longer string literals.
LONGEST_LITERAL = 60000

HEADER = """\
// The parameters of CGenFF 3.1, for the parameter reader. Made by scripts/make_cgenff_parameters.py:
// change that, not this.
//
// Source: K. Vanommeslaeghe et al., J. Comput. Chem. 2010, 31, 671. The figures are the published
// ones, digit by digit and in the published order, which decides between terms of the same atom
// types. Force constants are in kcal/mol, lengths in Angstrom, angles in degrees.
#include "CGenFFParameters.h"

#include <string_view>

namespace orvane {

namespace {

// Types and figures, a term a line:
//   BONDS       2 types, force constant, length
//   ANGLES      3 types, force constant, angle, and for some Urey-Bradley force constant and length
//   DIHEDRALS   4 types, force constant, multiplicity, phase
//   IMPROPERS   4 types, force constant, 0, angle
//   NONBONDED   type, 0, well depth, half the minimum distance, and for some the same three for
//               atoms that are three bonds apart
// clang-format off
constexpr std::string_view kPieces[] = {
"""

FOOTER = """\
};
// clang-format on

}  // namespace

std::string CGenFFParameterText() {
  std::size_t size = 0;
  for (const std::string_view piece : kPieces) size += piece.size();
  std::string text;
  text.reserve(size);
  for (const std::string_view piece : kPieces) text += piece;
  return text;
}

}  // namespace orvane
"""


def parameter_lines(path):
    """The lines of the sections: without comments, with one blank between the words."""
    lines = []
    with open(path, "rb") as file:
        for line in file:
            words = [word.decode("ascii") for word in line.split(b"!")[0].split()]
            if words and (lines or words[0] == FIRST_SECTION):
                lines.append(" ".join(words))
                if words[0] == "END":
                    break
    if not lines:
        sys.exit(f"{path} has no section {FIRST_SECTION}")
    return lines


def pieces(lines):
    """The lines in runs that are short enough for a string literal."""
    run = []
    size = 0
    for line in lines:
        if size + len(line) + 1 > LONGEST_LITERAL:
            yield run
            run = []
            size = 0
        run.append(line)
        size += len(line) + 1
    yield run


def source_text(lines):
    literals = ['R"(' + "".join(line + "\n" for line in run) + ')",\n' for run in pieces(lines)]
    return HEADER + "".join(literals) + FOOTER


def main():
    parser = argparse.ArgumentParser(description=__doc__.split("\n\n")[0])
    parser.add_argument("--published", required=True, metavar="DIR",
                        help="folder of the published file")
    parser.add_argument("--output", required=True, metavar="FILE", help="the source file")
    parser.add_argument("--check", action="store_true",
                        help="compare with the file there and write nothing")
    arguments = parser.parse_args()

    published = os.path.join(arguments.published, PARAMETER_FILE)
    if arguments.check and not os.path.exists(published):
        print(f"{published} is not there: nothing to compare with")
        return SKIPPED
    text = source_text(parameter_lines(published)).encode("ascii")
    if not arguments.check:
        with open(arguments.output, "wb") as file:
            file.write(text)
        return 0
    if os.path.exists(arguments.output):
        with open(arguments.output, "rb") as file:
            if file.read() == text:
                return 0
    print(f"{arguments.output} is not what the published figures give", file=sys.stderr)
    return 1


if __name__ == "__main__":
    sys.exit(main())

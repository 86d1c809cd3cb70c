#!/usr/bin/env bash
# Installs what is missing, builds ravelo, and completes an example protein with it.
set -euo pipefail
cd "$(dirname "$(readlink -f "$0")")/.."
. scripts/packages.sh

install_missing without-tests
tests=OFF
if have_googletest; then tests=ON; fi
cmake -S . -B build/release -DCMAKE_BUILD_TYPE=Release -DRAVELO_BUILD_TESTS=$tests
cmake --build build/release --parallel "$(parallel_jobs)" --target ravelo ravelo-export

mkdir -p build/example
log=build/example/1ubq-topol.log
build/release/ravelo topol -i examples/1ubq.pdb -o build/example/1ubq-topol > "$log"
# A failed run ends with status 0, too: its output tells.
if grep "Error occurs: " "$log"; then exit 1; fi

cat << MESSAGE

The protein examples/1ubq.pdb is complete now, with hydrogens and terminal groups.
  coordinates:  build/example/1ubq-topol.pdb
  topology:     build/example/1ubq-topol.psf
  messages:     $log
$(tail -n 1 "$log")

To call the program by its name, put it on the path of this shell:
  export PATH="$PWD/build/release:\$PATH"
MESSAGE

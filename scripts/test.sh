#!/usr/bin/env bash
# Installs what is missing, builds everything, and runs all tests.
set -euo pipefail
cd "$(dirname "$(readlink -f "$0")")/.."
. scripts/packages.sh

install_missing with-tests
cmake -S . -B build/release -DCMAKE_BUILD_TYPE=Release -DRAVELO_BUILD_TESTS=ON
cmake --build build/release --parallel "$(parallel_jobs)"
ctest --test-dir build/release --output-on-failure --parallel "$(parallel_jobs)"

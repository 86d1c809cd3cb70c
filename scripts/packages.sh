# shellcheck shell=bash
# Finds out what this machine lacks to build ravelo, and installs it. Sourced by try.sh and test.sh.

compiler() {
  local candidate
  for candidate in "${CXX:-}" g++ clang++; do
    if [ -n "$candidate" ] && command -v "$candidate"; then return; fi
  done
  return 1
}

# Whether the compiler takes the C++ that stands on standard input.
compiles() {
  local cxx
  cxx=$(compiler) && "$cxx" -std=c++20 -fsyntax-only -x c++ - > /dev/null 2>&1
}

have_boost() {
  compiles << 'SOURCE'
#include <boost/version.hpp>
#if BOOST_VERSION < 107800
#error too old
#endif
SOURCE
}

have_eigen() {
  local folder
  for folder in /usr/include/eigen3 /usr/local/include/eigen3 /opt/homebrew/include/eigen3; do
    if [ -e "$folder/Eigen/Dense" ]; then return; fi
  done
  compiles <<< '#include <Eigen/Dense>'
}

have_googletest() { compiles <<< '#include <gmock/gmock.h>'; }

have_build_tool() { command -v make > /dev/null || command -v ninja > /dev/null; }

# Fills the array `missing` for a build "without-tests" or "with-tests".
find_missing() {
  missing=()
  compiler > /dev/null || missing+=(compiler)
  command -v cmake > /dev/null || missing+=(cmake)
  have_build_tool || missing+=(make)
  have_boost || missing+=(boost)
  have_eigen || missing+=(eigen)
  if [ "$1" = with-tests ]; then
    have_googletest || missing+=(googletest)
    command -v python3 > /dev/null || missing+=(python3)
  fi
}

# The Boost package: the release's default where that is 1.78 or newer, else 1.81 by name.
boost_package() {
  local version
  version=$(apt-cache policy libboost-dev 2> /dev/null | sed -n 's/^ *Candidate: *//p')
  if [ -n "$version" ] && dpkg --compare-versions "$version" ge 1.78; then
    echo libboost-dev
  else
    echo libboost1.81-dev
  fi
}

# Fills the array `packages` with the Debian packages for what is in `missing`.
find_packages() {
  local tool
  packages=()
  for tool in "${missing[@]}"; do
    case $tool in
      compiler) packages+=(g++) ;;
      boost) packages+=("$(boost_package)") ;;
      eigen) packages+=(libeigen3-dev) ;;
      googletest) packages+=(libgtest-dev libgmock-dev) ;;
      *) packages+=("$tool") ;;
    esac
  done
}

# Tells what to install by hand, and stops.
give_up() {
  cat >&2 << MESSAGE
$1
Please install these and start again:
  - a C++20 compiler (g++ 11, clang++ 14 or newer), CMake 3.22 or newer, make or ninja
  - the headers of Boost 1.78 or newer and of Eigen 3.4
  - for the tests: GoogleTest with GoogleMock, and Python 3.9 or newer
On Debian 12 as root:
  apt-get install g++ cmake make libboost1.81-dev libeigen3-dev libgtest-dev libgmock-dev python3
MESSAGE
  exit 1
}

# Installs what is missing for a build "without-tests" or "with-tests". Does nothing at all where
# everything is there; asks nothing, and never removes a package.
install_missing() {
  local as_root=() missing packages
  find_missing "$1"
  if [ ${#missing[@]} != 0 ]; then
    echo "Missing: ${missing[*]}"
    command -v apt-get > /dev/null || give_up "This machine has no apt-get."
    if [ "$(id -u)" != 0 ]; then
      command -v sudo > /dev/null || give_up "Installing needs root, and there is no sudo."
      as_root=(sudo)
      if [ ! -t 0 ]; then as_root=(sudo -n); fi
    fi
    "${as_root[@]}" apt-get update < /dev/null || give_up "apt-get update failed."
    find_packages
    echo "Installing: ${packages[*]}"
    "${as_root[@]}" env DEBIAN_FRONTEND=noninteractive \
      apt-get install --yes --no-install-recommends --no-remove "${packages[@]}" < /dev/null ||
      give_up "apt-get install failed."
    find_missing "$1"
    [ ${#missing[@]} = 0 ] || give_up "Still missing: ${missing[*]}."
  fi
  # CMake looks for make alone unless it is told.
  if ! command -v make > /dev/null; then export CMAKE_GENERATOR=Ninja; fi
}

# How many compilers may run at a time: one a core, with about 1 GB of memory each.
parallel_jobs() {
  local jobs memory
  jobs=$(nproc 2> /dev/null || echo 1)
  memory=$(awk '/^MemAvailable:/ {print int($2 / 1000000)}' /proc/meminfo 2> /dev/null || true)
  if [ -n "$memory" ] && [ "$memory" -lt "$jobs" ]; then jobs=$memory; fi
  if [ "$jobs" -lt 1 ]; then jobs=1; fi
  echo "$jobs"
}

"""Builds and loads the C++ kernels of the training."""

import ctypes
import functools
import hashlib
import os
import platform
import shutil
import subprocess
import tempfile
from pathlib import Path

SOURCES = Path(__file__).resolve().parent
EIGEN_FOLDERS = ("/usr/include/eigen3", "/usr/local/include/eigen3")
# Nobody else calls the functions whose vectors the last one would warn of.
OPTIONS = ("-std=c++20", "-O3", "-march=native", "-DNDEBUG", "-fPIC", "-shared", "-Wno-psabi")


def compiler():
    return os.environ.get("CXX") or "g++"


def missing_tool():
    """What is needed to build the kernels and is not there, or None."""
    if not shutil.which(compiler()):
        return compiler()
    return None if any(map(os.path.isdir, EIGEN_FOLDERS)) else "Eigen"


def build_folder():
    """Where built kernels are kept: RAVELO_TRAINING_BUILD, or training/build."""
    return Path(os.environ.get("RAVELO_TRAINING_BUILD") or SOURCES / "build")


def command(source, library):
    includes = [f"-isystem{folder}" for folder in EIGEN_FOLDERS]
    return [compiler(), *OPTIONS, *includes, str(source), "-o", str(library)]


def made_by():
    """What a library depends on besides its source: the command, its compiler, the machine."""
    version = subprocess.run([compiler(), "--version"], stdout=subprocess.PIPE, check=True).stdout
    return repr((command("", ""), version, platform.node(), platform.machine()))


@functools.lru_cache(maxsize=None)
def load(name):
    """The library of the source file `name`; built first if it is not there as it should be.

    Changes of the source while a training runs leave it with the library that it began with.
    """
    source = SOURCES / f"{name}.cpp"
    key = hashlib.sha256(source.read_bytes() + made_by().encode()).hexdigest()[:16]
    library = build_folder() / f"{name}-{key}.so"
    if not library.exists():
        library.parent.mkdir(parents=True, exist_ok=True)
        # Built under another name: a second process may be at the same work.
        with tempfile.TemporaryDirectory(dir=library.parent) as folder:
            unfinished = Path(folder) / library.name
            subprocess.run(command(source, unfinished), check=True)
            os.replace(unfinished, library)
    return ctypes.CDLL(str(library))


def address(array, dtype):
    """The address of an array's numbers, which must lie as the kernel reads them."""
    if array.dtype != dtype or not array.flags.c_contiguous:
        raise TypeError(f"an array of {array.dtype} where the kernel reads {dtype}")
    return array.ctypes.data

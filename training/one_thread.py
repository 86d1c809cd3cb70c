"""Keeps this process to one thread. Imported ahead of numpy and torch, which read this at loading.

Training runs several processes side by side, and sums of one thread come out alike every time.
"""

import os

for _name in ("OMP_NUM_THREADS", "OPENBLAS_NUM_THREADS", "MKL_NUM_THREADS"):
    os.environ[_name] = "1"

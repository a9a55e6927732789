# SPDX-License-Identifier: GPL-3.0-or-later
"""The Python package's file reading against NumPy's own: read_wfm of a
2,000,000-point file over numpy.fromfile(...).astype(float64) of the same
file (target at most 2 times), each the median of five."""

import os
import statistics
import subprocess
import sys
import tempfile
import time

import numpy as np

import korvane


def median_seconds(work, runs=5):
    times = []
    for _ in range(runs):
        started = time.perf_counter()
        work()
        times.append(time.perf_counter() - started)
    return statistics.median(times)


def main():
    with tempfile.TemporaryDirectory() as folder:
        path = os.path.join(folder, "deep.wfm")
        subprocess.run([os.environ["KORVANE_SIM"], "--write-wfm", path, "--points", "2000000"],
                       check=True, capture_output=True)
        korvane.read_wfm(path)  # the file in the page cache, the library loaded
        ours = median_seconds(lambda: korvane.read_wfm(path))
        numpys = median_seconds(lambda: np.fromfile(path, np.uint8).astype(np.float64))
    ratio = ours / numpys
    print(f"read_wfm, 2,000,000 points: {ours * 1e3:.1f} ms; numpy.fromfile + astype: "
          f"{numpys * 1e3:.1f} ms; ratio {ratio:.2f} (target at most 2)")
    print(f"FIGURE\tread_wfm over numpy.fromfile, 2 M points\tx\t2\t{ratio:.3g}\t-")
    return 0


if __name__ == "__main__":
    sys.exit(main())

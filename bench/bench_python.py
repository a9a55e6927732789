# SPDX-License-Identifier: GPL-3.0-or-later
"""The Python package against NumPy's own file reading: read_wfm of a
2,000,000-point file over numpy.fromfile(...).astype(float64) of the same
file (target at most 2 times), each the median of five; and Scope.fetch()
over the pauses the link must keep (target at most 1 %)."""

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
    fetch_over_pauses()
    return 0


def fetch_over_pauses(runs=3):
    """Scope.fetch() against the simulator with the link's real pauses: the
    time it takes over the pauses the wave job keeps (target at most 1 %)."""
    runtime = tempfile.mkdtemp()
    os.environ["XDG_RUNTIME_DIR"] = runtime
    os.environ["KORVANE_PACING"] = "1"
    simulator = subprocess.Popen([os.environ["KORVANE_SIM"]], stdout=subprocess.DEVNULL)
    try:
        sockets = os.path.join(runtime, "nq4000l-sim")
        deadline = time.time() + 10
        while not (os.path.isdir(sockets) and os.listdir(sockets)) and time.time() < deadline:
            time.sleep(0.05)
        overheads = []
        with korvane.connect() as scope:
            for _ in range(runs):
                korvane._korvane.take_pauses()
                started = time.perf_counter()
                scope.fetch()
                took = (time.perf_counter() - started) * 1e3
                paused = korvane._korvane.take_pauses()
                overheads.append((took - paused) / paused * 100)
        overhead = statistics.median(overheads)
        print(f"Scope.fetch(): {took:.0f} ms, pauses {paused} ms, overhead {overhead:.2f} % "
              f"(target at most 1 %)")
        print(f"FIGURE\tScope.fetch() over its pauses\t%\t1\t{overhead:.3g}\t-")
    finally:
        simulator.terminate()
        simulator.wait(10)


if __name__ == "__main__":
    sys.exit(main())

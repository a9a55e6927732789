# SPDX-License-Identifier: GPL-3.0-or-later
"""What the package's tests share: the folder where the package, the
command line and the simulator meet, and the simulator itself."""

import os
import subprocess
import tempfile
import time

import pytest

SIM = os.environ["KORVANE_SIM"]
# Where the package, the command line and the simulator meet, for the whole
# module: the link looks there once.
RUNTIME = tempfile.mkdtemp()
os.environ["XDG_RUNTIME_DIR"] = RUNTIME


class Simulator:
    """The simulator where the package and the command line look for it;
    commands() ends it and gives what it heard, in order."""

    def __init__(self, log):
        self.log = log
        self.process = subprocess.Popen([SIM, "--log"], stdout=open(log, "w"),
                                        stderr=subprocess.STDOUT)
        sockets = os.path.join(RUNTIME, "nq4000l-sim")
        deadline = time.time() + 10
        while not (os.path.isdir(sockets) and os.listdir(sockets)) and time.time() < deadline:
            time.sleep(0.05)

    def stop(self):
        if self.process.poll() is None:
            self.process.terminate()
            self.process.wait(10)

    def commands(self):
        self.stop()
        said = [line.split(maxsplit=1)[-1] for line in self.log.read_text().splitlines()
                if line.strip()[:1].isdigit()]  # "<seconds>  <command>" lines
        return [c for c in said if c != "<device clear>"]  # the handle closing, not a command


@pytest.fixture()
def simulator(tmp_path):
    sim = Simulator(tmp_path / "sim.log")
    yield sim
    sim.stop()

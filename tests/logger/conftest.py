# SPDX-License-Identifier: GPL-3.0-or-later
"""The logger's world: simulators on their own resource names, the command
line, and a private PostgreSQL server started for the test."""

import glob
import os
import shutil
import socket
import subprocess
import tempfile
import time

import pytest

SIM = os.environ["KORVANE_SIM"]
CLI = os.environ["KORVANE_CLI"]
RUNTIME = tempfile.mkdtemp()
os.environ["XDG_RUNTIME_DIR"] = RUNTIME
os.environ["KORVANE_PACING"] = "0"


def resource(serial):
    return f"USB0::0x5345::0x4102::{serial}::INSTR"


class Simulator:
    def __init__(self, serial="SIM0000001"):
        self.serial = serial
        self.process = None
        self.start()

    def start(self):
        sockets = os.path.join(RUNTIME, "nq4000l-sim")
        before = set(os.listdir(sockets)) if os.path.isdir(sockets) else set()
        self.process = subprocess.Popen([SIM, "--usb-resource", resource(self.serial)],
                                        stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL)
        deadline = time.time() + 10
        while time.time() < deadline:
            if os.path.isdir(sockets) and set(os.listdir(sockets)) - before:
                return
            time.sleep(0.05)

    def stop(self):
        if self.process and self.process.poll() is None:
            self.process.terminate()
            self.process.wait(10)


@pytest.fixture()
def simulator():
    sim = Simulator()
    yield sim
    sim.stop()


def cli(*args, env=None, **kw):
    return subprocess.run([CLI, *map(str, args)], capture_output=True, text=True,
                          env={**os.environ, **(env or {})}, **kw)


def as_postgres(command):
    """A command as the postgres user when the test runs as root (the server
    refuses to run as root), else as it stands."""
    if os.geteuid() == 0:
        return ["runuser", "-u", "postgres", "--", *command]
    return command


class Postgres:
    """A server of its own in a temporary folder on a free local port,
    asking a password of TCP clients (scram-sha-256)."""
    PASSWORD = "bench-secret"

    def __init__(self):
        found = sorted(glob.glob("/usr/lib/postgresql/*/bin/pg_ctl"))
        if not found:
            pytest.skip("PostgreSQL is not installed (scripts/install-deps.sh installs it)")
        self.bin = os.path.dirname(found[-1])
        self.folder = tempfile.mkdtemp(prefix="korvane-pg-", dir="/tmp")
        os.chmod(self.folder, 0o755)
        if os.geteuid() == 0:
            shutil.chown(self.folder, "postgres", "postgres")
        with socket.socket() as s:
            s.bind(("127.0.0.1", 0))
            self.port = s.getsockname()[1]
        data = os.path.join(self.folder, "data")
        password = os.path.join(self.folder, "password")
        with open(password, "w") as f:
            f.write(self.PASSWORD + "\n")
        if os.geteuid() == 0:
            shutil.chown(password, "postgres", "postgres")
        self.run("initdb", "-D", data, "-U", "korvane", "--auth-local=trust",
                 "--auth-host=scram-sha-256", "--pwfile", password)
        self.data = data
        self.start()
        self.run("createdb", "-h", self.folder, "-p", str(self.port), "-U", "korvane", "lab")

    def run(self, tool, *args):
        subprocess.run(as_postgres([os.path.join(self.bin, tool), *args]), check=True,
                       capture_output=True)

    def start(self):
        self.run("pg_ctl", "-D", self.data, "-w", "-l", os.path.join(self.folder, "log"),
                 "-o", f"-p {self.port} -k {self.folder} -c listen_addresses=127.0.0.1", "start")

    def stop(self):
        self.run("pg_ctl", "-D", self.data, "-w", "-m", "fast", "stop")

    def url(self):
        return f"postgresql://korvane@127.0.0.1:{self.port}/lab"

    def sql(self, query):
        done = subprocess.run(as_postgres([os.path.join(self.bin, "psql"), "-h", self.folder,
                                           "-p", str(self.port), "-U", "korvane", "-d", "lab",
                                           "-At", "-c", query]),
                              check=True, capture_output=True, text=True)
        return done.stdout.strip()

    def remove(self):
        try:
            self.stop()
        except subprocess.CalledProcessError:
            pass
        shutil.rmtree(self.folder, ignore_errors=True)


@pytest.fixture()
def postgres():
    server = Postgres()
    yield server
    server.remove()

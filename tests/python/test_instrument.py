# SPDX-License-Identifier: GPL-3.0-or-later
"""korvane.connect against the simulator, compared with korvane-cli."""

import json
import os
import signal
import subprocess
import sys
import textwrap
import threading
import time

import numpy as np
import pytest

import korvane

CLI = os.environ["KORVANE_CLI"]
def cli(*args):
    done = subprocess.run([CLI, *args], capture_output=True, text=True, check=False,
                          env={**os.environ, "KORVANE_PACING": "0"})
    return done.stdout


def test_no_instrument_is_said_at_once():
    started = time.monotonic()
    with pytest.raises(korvane.NoInstrument):
        korvane.connect()
    assert time.monotonic() - started < 10


def test_a_session_locks_then_unlocks_the_keys(simulator, monkeypatch):
    monkeypatch.setenv("KORVANE_PACING", "0")
    assert korvane.instruments() == ["USB0::0x5345::0x4102::SIM0000001::INSTR"]
    with korvane.connect() as scope:
        assert scope.idn.startswith("VEXOR")
        assert scope.query("*IDN?") == scope.idn
        scope.send(":CHANNEL1:SCALE 2")
        assert float(scope.query(":CHANNEL1:SCALE?")) == 2.0
        scope.send(":CHANNEL1:SCALE 0.5")
        scope.key("Run")
    said = simulator.commands()
    assert ":KEY:LOCK ENABLE" in said
    assert said[-1] == ":KEY:LOCK DISABLE"
    with pytest.raises(korvane.LinkLost):
        scope.query("*IDN?")  # closed: the interpreter goes on


def test_measures_are_the_command_lines_in_base_units(simulator, monkeypatch):
    monkeypatch.setenv("KORVANE_PACING", "0")
    theirs = {m["name"]: m["value"] for m in json.loads(cli("measure", "CH1", "--json"))["measures"]}
    with korvane.connect() as scope:
        mine = scope.measure("CH1")
    assert set(mine) == set(theirs)
    for name, value in theirs.items():
        if value is None:
            assert np.isnan(mine[name])
        else:
            assert mine[name] == pytest.approx(value)
    assert mine["Duty+"] == pytest.approx(0.5, abs=0.01)  # a fraction
    assert mine["Frequency"] == pytest.approx(1000, rel=0.01)


def test_fetch_is_the_screen_korvane_cli_converts(simulator, monkeypatch, tmp_path):
    monkeypatch.setenv("KORVANE_PACING", "0")
    with korvane.connect() as scope:
        scope.send(":STOP")  # a still screen: the two fetches see the same
        capture = scope.fetch()
        png = scope.screenshot()
        scope.send(":RUN")
    assert len(capture) == 600
    # The 1 kHz, 1 V sine over 12 divisions of 500 us: six periods.
    assert capture.sample_rate == pytest.approx(600 / 6e-3)
    assert capture.ch1.max() == pytest.approx(1.0, abs=0.1)
    assert np.median(np.abs(capture.ch2)) == pytest.approx(0.5, abs=0.05)  # the 0.5 V square
    crossings = np.count_nonzero(np.diff(np.signbit(capture.ch1 - capture.ch1.mean())))
    assert 11 <= crossings <= 13
    assert capture.settings["time_scale"] == "500us"
    assert png.startswith(b"\x89PNG")


def test_another_thread_runs_during_a_fetch(simulator, monkeypatch):
    monkeypatch.setenv("KORVANE_PACING", "1")  # the link's real pauses
    ticks = []
    stop = threading.Event()

    def count():
        while not stop.is_set():
            ticks.append(1)
            time.sleep(0.01)

    with korvane.connect() as scope:
        counter = threading.Thread(target=count)
        counter.start()
        scope.query("*IDN?")  # 300 ms of pauses
        stop.set()
        counter.join()
    assert len(ticks) >= 10


def test_ctrl_c_in_a_wait_unlocks_and_raises(simulator, tmp_path):
    script = tmp_path / "measure.py"
    script.write_text(textwrap.dedent("""
        import sys, time, korvane
        with korvane.connect() as scope:
            print("connected", flush=True)
            try:
                scope.measure(1)
            except KeyboardInterrupt:
                print("interrupted", time.monotonic(), flush=True)
                raise
    """))
    process = subprocess.Popen([sys.executable, str(script)], stdout=subprocess.PIPE, text=True,
                               env={**os.environ, "KORVANE_PACING": "1"})
    assert process.stdout.readline().strip() == "connected"
    time.sleep(1.5)  # inside the measure job's pauses (about 5 s of them)
    sent = time.monotonic()
    process.send_signal(signal.SIGINT)
    line = process.stdout.readline().split()
    process.wait(10)
    assert line[0] == "interrupted"
    assert float(line[1]) - sent < 1.0
    assert process.returncode != 0
    assert simulator.commands()[-1] == ":KEY:LOCK DISABLE"


def test_table_and_settings_are_the_command_lines(simulator, monkeypatch, tmp_path):
    monkeypatch.setenv("KORVANE_PACING", "0")
    subprocess.run([CLI, "send", ":STOP"], check=True, env={**os.environ, "KORVANE_PACING": "0"})
    export = cli("table", "CH1", "--out", "-")
    theirs = [line.split("\t") for line in export.splitlines()  # " 1 \t-3.00E-03\t-6.60E-01"
              if line.strip()[:1].isdigit() and line.count("\t") >= 2]
    cli("settings", "get", str(tmp_path / "cli.rmt"))
    with korvane.connect() as scope:
        rows = scope.table("CH1")
        scope.save_settings(tmp_path / "mine.rmt")
        (tmp_path / "broken.rmt").write_text("not a control file\n")
        with pytest.raises(korvane.FileFormatError):
            scope.load_settings(tmp_path / "broken.rmt")
        scope.load_settings(tmp_path / "mine.rmt")
    assert len(rows["time"]) == len(theirs) == 600
    assert np.allclose(rows["time"], [float(r[1]) for r in theirs])
    assert np.allclose(rows["volts"], [float(r[2]) for r in theirs])
    assert (tmp_path / "mine.rmt").read_bytes() == (tmp_path / "cli.rmt").read_bytes()


def test_settings_are_the_trees_and_apply_writes_only_what_changed(simulator, monkeypatch):
    monkeypatch.setenv("KORVANE_PACING", "0")
    with korvane.connect() as scope:
        before = scope.settings
        # The tree's texts, as the Controller shows them for the simulator.
        assert before["CH1.Volt/Div"] == "500mV"
        assert before["Time Base.Time/Div"] == "500.0us"
        assert before["Trigger.Method"] == "EDGE"
        assert before["LA.Position.D3"] == "3"
        scope.apply({**before, "CH1.Volt/Div": "2.00V", "Trigger.Holdoff": "2.5E-7",
                     "Display.Grid": "HALF"})
        after = scope.settings
        assert float(scope.query(":CHANNEL1:SCALE?")) == 2.0
        assert float(scope.query(":TRIGGER:HOLDOFF?")) == pytest.approx(2.5e-7)
        assert scope.query(":DISPLAY:GRID?") == "HALF"
        with pytest.raises(korvane.UsageError, match="Display.Grid: one of"):
            scope.apply({"Display.Grid": "DOTTED"})
        with pytest.raises(korvane.UsageError, match="no setting"):
            scope.apply({"CH3.Volt/Div": "1.00V"})
    assert after["CH1.Volt/Div"] == "2.00V"
    assert after["Trigger.Holdoff"] == "250ns"
    assert {k for k in before if before[k] != after[k]} == {
        "CH1.Volt/Div", "Trigger.Holdoff", "Display.Grid"}
    said = simulator.commands()
    # Rows left as they were are not written again.
    assert not any(c.startswith((":CHANNEL2:SCALE ", ":TIMEBASE:SCALE ", ":DISPLAY:TYPE "))
                   for c in said)


def test_math_and_the_picture_are_the_screens(simulator, monkeypatch, tmp_path):
    monkeypatch.setenv("KORVANE_PACING", "0")
    env = {**os.environ, "KORVANE_PACING": "0"}
    subprocess.run([CLI, "send", ":STOP"], check=True, env=env)
    with korvane.connect() as scope:
        if scope.query(":MATH:DISPLAY?") != "ON":
            scope.key("MATH")
        capture = scope.fetch()
    subprocess.run([CLI, "screen", "--png", str(tmp_path / "cli.png")], check=True, env=env)
    subprocess.run([CLI, "screen", "--ult", str(tmp_path / "cli.ult")], check=True, env=env)
    # The simulator's math is CH1 + CH2 at CH1's scale: in divisions, within
    # a row (1/25 division) of the two channels' sum.
    expected = (capture.ch1 + capture.ch2) / capture.volts_per_div[0]
    assert capture.math is not None and len(capture.math) == 600
    assert np.abs(capture.math - np.clip(expected, -4, 3.96)).max() <= 2 / 25
    # The picture is the one korvane-cli draws of the same still screen.
    assert capture._repr_png_() == (tmp_path / "cli.png").read_bytes()
    # The sheet korvane-cli writes holds the same screen.
    [again] = korvane.read_ult(tmp_path / "cli.ult")
    assert again.name.startswith("Wave")
    assert np.array_equal(again.ch1, capture.ch1)
    assert np.array_equal(again.math, capture.math)
    assert again._repr_png_() == capture._repr_png_()


def test_a_reply_waits_at_most_the_timeout(tmp_path, monkeypatch):
    monkeypatch.setenv("KORVANE_PACING", "0")
    slow = subprocess.Popen([os.environ["KORVANE_SIM"], "--latency", "1500"],
                            stdout=subprocess.DEVNULL)
    try:
        sockets = os.path.join(os.environ["XDG_RUNTIME_DIR"], "nq4000l-sim")
        deadline = time.time() + 10
        while not (os.path.isdir(sockets) and os.listdir(sockets)) and time.time() < deadline:
            time.sleep(0.05)
        with pytest.raises(korvane.UsageError):
            korvane.connect(timeout=0)
        with korvane.connect(timeout=1.0) as scope:  # identified within the program's 10 s
            started = time.monotonic()
            with pytest.raises(korvane.LinkLost):
                scope.query("*IDN?")  # 1.5 s to answer: longer than the timeout
            assert time.monotonic() - started < 1.4
    finally:
        slow.terminate()
        slow.wait(10)

# SPDX-License-Identifier: GPL-3.0-or-later
"""korvane's file functions against korvane-cli and the files' own bytes."""

import json
import os
import subprocess
import threading

import numpy as np
import pytest

import korvane

CLI = os.environ["KORVANE_CLI"]
SIM = os.environ["KORVANE_SIM"]


def run(*args):
    done = subprocess.run([CLI, *map(str, args)], capture_output=True, text=True, check=False)
    assert done.returncode == 0, done.stderr
    return done.stdout


@pytest.fixture(scope="module")
def wfm(tmp_path_factory):
    """The simulator's deep file: 1 kHz sine on CH1, 2 kHz square on CH2,
    UART, I2C and SPI on the logic lanes."""
    path = tmp_path_factory.mktemp("files") / "deep.wfm"
    subprocess.run([SIM, "--write-wfm", str(path), "--points", "400000"], check=True,
                   capture_output=True)
    return path


def test_version_is_the_command_lines():
    assert run("--version").split()[-1] == korvane.__version__


def test_read_wfm_gives_what_korvane_cli_converts(wfm, tmp_path):
    capture = korvane.read_wfm(wfm)
    assert len(capture) == 400000
    assert capture.ch1.dtype == np.float32 and capture.logic.dtype == np.uint16
    assert capture.math is None
    npz = tmp_path / "cli.npz"
    run("convert", wfm, npz)
    with np.load(npz) as z:
        assert np.array_equal(z["CH1"], capture.ch1)
        assert np.array_equal(z["CH2"], capture.ch2)
        assert np.array_equal(z["logic"], capture.logic)
        assert z["sample_rate"] == capture.sample_rate
        assert np.array_equal(z["first_time"] + np.arange(len(capture)) / z["sample_rate"],
                              capture.t)
    # The file's own head: 400,000 points over 12 divisions of 500 us.
    assert capture.sample_rate == pytest.approx(400000 / 6e-3, rel=1e-6)
    # The simulator's signals, measured by NumPy: 1 V peak sine, 0.5 V square.
    assert capture.ch1.max() == pytest.approx(1.0, abs=0.03)
    assert np.median(np.abs(capture.ch2)) == pytest.approx(0.5, abs=0.03)


def test_capture_saves_through_the_programs_writers(wfm, tmp_path):
    capture = korvane.read_wfm(wfm)
    mine, theirs = tmp_path / "mine.csv", tmp_path / "theirs.csv"
    capture.save(mine)
    run("convert", wfm, theirs)
    assert mine.read_bytes() == theirs.read_bytes()
    capture.save(tmp_path / "x.npz")
    with np.load(tmp_path / "x.npz") as z:
        assert np.array_equal(z["CH1"], capture.ch1)
    with pytest.raises(korvane.UsageError, match=r"\.sr, \.vcd, \.csv or \.npz"):
        capture.save(tmp_path / "x.xyz")


def test_decode_is_the_command_lines_list(wfm):
    capture = korvane.read_wfm(wfm)
    for stack in ("uart:rx=D0:baudrate=115200", "i2c:scl=D1:sda=D2,eeprom24xx"):
        mine = korvane.decode(capture, stack)
        theirs = [json.loads(line) for line in
                  run("decode", wfm, "-P", stack, "--json").splitlines()]
        assert len(mine) > 20
        assert mine == theirs
    text = "".join(a["texts"][0] for a in korvane.decode(
        capture, "uart:rx=D0:baudrate=115200:format=ascii") if a["row"] == "rx-data"
        and len(a["texts"][0]) == 1)
    assert "Korvane UART 115200 8N1" in text
    with pytest.raises(korvane.UsageError, match="nosuchdecoder"):
        korvane.decode(capture, "nosuchdecoder:x=D0")


def test_spectrum_reads_the_harmonics_of_a_square(wfm):
    capture = korvane.read_wfm(wfm)
    s = korvane.spectrum(capture.ch2, capture.sample_rate)
    f0, level0 = s.peak
    assert f0 == pytest.approx(2000, abs=s.bin_hz / 4)
    assert [h[0] for h in s.harmonics] == list(range(2, 11))
    for n, frequency, level in s.harmonics:
        if n % 2 == 0:
            assert level is None and frequency == pytest.approx(n * f0)
        elif n <= 7:  # the Fourier series: 20 log10(n) under the fundamental
            assert level0 - level == pytest.approx(20 * np.log10(n), abs=0.3)
    # The levels a bin, against NumPy's own transform of the same samples.
    n = len(capture.ch2)
    window = np.hanning(n + 1)[:n]  # periodic Hann
    bins = np.abs(np.fft.rfft(capture.ch2.astype(np.float64) * window)) / window.sum()
    bins[1:] *= np.sqrt(2)
    k = int(round(f0 / s.bin_hz))
    assert s.level[k] == pytest.approx(20 * np.log10(bins[k]), abs=0.01)
    with pytest.raises(korvane.UsageError):
        korvane.spectrum(capture.ch2, capture.sample_rate, window="triangle")


@pytest.mark.parametrize("cut", [100, 276, 50000])
def test_a_damaged_file_says_what_is_wrong(wfm, tmp_path, cut):
    broken = tmp_path / "broken.wfm"
    broken.write_bytes(wfm.read_bytes()[:cut])
    with pytest.raises(korvane.FileFormatError) as raised:
        korvane.read_wfm(broken)
    assert str(broken) in str(raised.value)
    assert isinstance(raised.value, korvane.Error)


def test_another_thread_runs_while_a_file_is_read(tmp_path):
    big = tmp_path / "big.wfm"
    subprocess.run([SIM, "--write-wfm", str(big), "--points", "2000000"], check=True,
                   capture_output=True)
    ticks = []
    stop = threading.Event()

    def count():
        while not stop.is_set():
            ticks.append(1)

    counter = threading.Thread(target=count)
    counter.start()
    before = len(ticks)
    korvane.read_wfm(big)
    during = len(ticks) - before
    stop.set()
    counter.join()
    assert during > 100  # the interpreter was free while the file was read


def test_rcd_frames(tmp_path):
    rcd = tmp_path / "run.rcd"
    subprocess.run([SIM, "--write-rcd", str(rcd), "--frames", "5"], check=True,
                   capture_output=True)
    first, third = korvane.read_rcd(rcd, 1), korvane.read_rcd(rcd, 3)
    assert len(first) == len(third) == 300
    csv = tmp_path / "frame3.csv"
    run("convert", rcd, csv, "--frame", 3)
    rows = np.loadtxt(csv, delimiter=",", skiprows=1)
    assert np.array_equal(rows[:, 1].astype(np.float32), third.ch1 if third.ch1 is not None
                          else third.ch2)
    with pytest.raises(korvane.FileFormatError):
        korvane.read_rcd(rcd, 9)


def test_a_file_that_is_no_sheet_is_refused_and_a_deep_capture_draws(wfm, tmp_path):
    (tmp_path / "no.ult").write_bytes(b"nothing of a sheet\r\n")
    with pytest.raises(korvane.FileFormatError, match="not a data sheet"):
        korvane.read_ult(tmp_path / "no.ult")
    with pytest.raises(korvane.FileFormatError):
        korvane.read_ult(tmp_path / "missing.ult")
    png = korvane.read_wfm(wfm)._repr_png_()
    assert png.startswith(b"\x89PNG") and len(png) > 2000

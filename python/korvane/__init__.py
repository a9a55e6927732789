# SPDX-License-Identifier: GPL-3.0-or-later
"""Korvane in Python: the NQ4000L's files as NumPy arrays.

The package calls the same library as the Korvane program and korvane-cli:
a file reads, writes, decodes and analyses here exactly as it does there.

    >>> import korvane
    >>> capture = korvane.read_wfm("deep.wfm")          # doctest: +SKIP
    >>> capture.ch1.mean(), capture.sample_rate         # doctest: +SKIP
    >>> korvane.decode(capture, "uart:rx=D0:baudrate=115200")[:3]  # doctest: +SKIP
"""

from __future__ import annotations

import errno
import os
from typing import Optional, Sequence

import numpy as np

from . import _korvane
from ._korvane import Error, FileFormatError, LinkLost, NoInstrument, UsageError

__all__ = [
    "__version__",
    "Capture",
    "Error",
    "FileFormatError",
    "UsageError",
    "NoInstrument",
    "LinkLost",
    "Scope",
    "connect",
    "instruments",
    "read_wfm",
    "read_rcd",
    "read_ult",
    "read_log",
    "decode",
    "spectrum",
]

__version__: str = _korvane.version


class Capture:
    """One capture: volts and logic words a sample, their times and rate.

    ``t`` is in seconds (the trigger at 0), ``ch1`` and ``ch2`` in volts
    (``None`` for a channel the capture does not hold), ``logic`` one
    ``uint16`` a sample with D0 in bit 0, ``sample_rate`` in samples a
    second. ``math`` is the math trace of a fetched screen in divisions above
    the screen's middle (the instrument sends no scale for it), else ``None``.
    ``name`` is the document's name for a capture read from a data sheet.
    In a notebook a capture shows itself as the waveform window draws it.
    """

    def __init__(self, fields: dict):
        self.sample_rate: float = float(fields["sample_rate"])
        self.first_time: float = float(fields["first_time"])
        self.trigger_sample: int = int(fields["trigger_sample"])
        self._names: list = list(fields["names"])
        self._analog: list = list(fields["analog"])
        self.volts_per_div: list = list(fields["volts_per_div"])
        self.logic: Optional[np.ndarray] = fields["logic"]
        self.math: Optional[np.ndarray] = fields.get("math")
        self.settings: dict = dict(fields.get("settings", {}))
        self.name: Optional[str] = fields.get("name")
        self._screen = fields.get("screen")  # the screen record a fetch or a sheet drew

    def _channel(self, name: str) -> Optional[np.ndarray]:
        return self._analog[self._names.index(name)] if name in self._names else None

    @property
    def ch1(self) -> Optional[np.ndarray]:
        """CH1 in volts (float32), or None."""
        return self._channel("CH1")

    @property
    def ch2(self) -> Optional[np.ndarray]:
        """CH2 in volts (float32), or None."""
        return self._channel("CH2")

    def __len__(self) -> int:
        if self._analog:
            return len(self._analog[0])
        return 0 if self.logic is None else len(self.logic)

    @property
    def t(self) -> np.ndarray:
        """Each sample's time in seconds (float64), the trigger at 0."""
        return self.first_time + np.arange(len(self), dtype=np.float64) / self.sample_rate

    def _fields(self) -> tuple:
        return (self.sample_rate, self.first_time, self._names, self._analog,
                self.volts_per_div, self.logic)

    def save(self, path: str | os.PathLike) -> None:
        """Writes the capture by the file's suffix: .sr (PulseView, sigrok-cli),
        .vcd (GTKWave), .csv (full precision) or .npz (NumPy), through the
        program's own writers and its safe writer."""
        _korvane.write_capture(os.fspath(path), *self._fields())

    def _repr_png_(self) -> bytes:
        """The capture as the waveform window draws it, as PNG bytes: a
        fetched screen exactly as fetched, a longer capture over the twelve
        divisions at its own scale (each column its lowest and highest
        sample). Needs no display."""
        return _korvane.picture(self._screen, *self._fields())

    def __repr__(self) -> str:  # noqa: D105
        channels = ", ".join(self._names + (["D0-D15"] if self.logic is not None else []))
        return (f"<korvane.Capture {len(self)} samples at {self.sample_rate:g} Sa/s: "
                f"{channels}>")


def read_wfm(path: str | os.PathLike) -> Capture:
    """A deep-memory waveform file (.wfm) as a Capture.

    Raises FileFormatError, with what is wrong, for a damaged or lying file.
    An alternate-trigger file gives CH1 (at its own rate) and the logic.
    """
    return Capture(_korvane.read_capture(os.fspath(path), 1))


def read_rcd(path: str | os.PathLike, frame: int = 1) -> Capture:
    """One frame (1 = the first) of a frame record file (.rcd) as a Capture."""
    if frame < 1:
        raise UsageError("frames count from 1")
    return Capture(_korvane.read_capture(os.fspath(path), int(frame)))


def read_ult(path: str | os.PathLike) -> list:
    """A data sheet (.ult): its waveform documents (fetched screens, with
    their math trace and settings) and its Memory Wave documents, as
    Captures in the sheet's order, each with its ``name``. Frame records
    are read with :func:`read_rcd`; measures and tables are text and stay in
    the sheet. Raises FileFormatError for a damaged or lying file."""
    return [Capture(fields) for fields in _korvane.read_sheet(os.fspath(path))]


def read_log(target: str | os.PathLike, start=None, end=None,
             instrument: Optional[str] = None) -> dict:
    """A data log (korvane-cli log, the Data Logger window) as NumPy arrays:
    a SQLite file, or "postgresql://USER@HOST:PORT/DB" (the password from
    PGPASSWORD or ~/.pgpass). ``start`` and ``end`` (ISO 8601 texts or
    datetimes; no zone is UTC) and ``instrument`` (an IDN serial) select.

    Returns a dict of equal-length arrays in time order, the rows of
    ``korvane-cli log-export``: ``time`` (datetime64[ms], UTC), ``value``
    (float64 in base units; nan when nothing was measured), ``instrument``,
    ``channel``, ``measure``, ``unit`` and ``verdict`` (str). A gap in the
    log is a row whose measure is "gap" and whose value is its seconds.
    Raises FileNotFoundError for a file that does not exist (none is made)
    and FileFormatError for one that holds no log."""
    path = os.fspath(target)
    if "://" not in path and not os.path.isfile(path):
        raise FileNotFoundError(errno.ENOENT, "no such log", path)
    def text(t):
        return "" if t is None else t if isinstance(t, str) else t.isoformat()
    columns = _korvane.read_log(path, text(start), text(end), instrument or "")
    out = {"time": columns.pop("time_ms").astype("datetime64[ms]"),
           "value": columns.pop("value")}
    for name, values in columns.items():
        out[name] = np.array(values, dtype=str)
    return out


def decode(capture: Capture, *stacks: str, threshold: float = 1.4,
           hysteresis: float = 0.2) -> list:
    """The capture through protocol decoders, each stack written as
    ``korvane-cli decode -P`` takes it ("uart:rx=D0:baudrate=115200",
    "i2c:scl=D1:sda=D2,eeprom24xx"). CH1 and CH2 serve as lanes too, cut at
    ``threshold`` volts with ``hysteresis``.

    Returns the annotations in the command line's order, each a dict with
    ``start`` and ``end`` (sample indexes), ``time`` (seconds), ``decoder``,
    ``row`` and ``texts`` (longest first). Raises UsageError for a stack
    that does not read.
    """
    return _korvane.decode(list(stacks), float(threshold), float(hysteresis),
                           *capture._fields())


class SpectrumResult(dict):
    """The analyser's result: ``frequency`` (Hz) and ``level`` (dBV RMS)
    arrays a bin, ``peak`` as (frequency, level), ``harmonics`` as a list of
    (n, frequency, level) for n = 2 ... 10, level None when below noise."""

    def __getattr__(self, name):
        try:
            return self[name]
        except KeyError as missing:
            raise AttributeError(name) from missing


def spectrum(samples: Sequence[float] | np.ndarray, sample_rate: float,
             window: str = "hanning", averages: int = 1) -> SpectrumResult:
    """The spectrum analyser's own calculation over volts sampled at
    ``sample_rate``: window one of rectangle, hanning, hamming, blackman;
    ``averages`` consecutive blocks averaged. Harmonic n is read at n times
    the peak's frequency, within the window's main lobe."""
    result = _korvane.spectrum(np.ascontiguousarray(samples, dtype=np.float64),
                               float(sample_rate), window.lower(), int(averages))
    return SpectrumResult(result)


def instruments() -> list:
    """The instruments found on USB, by their VISA names (korvane-cli list)."""
    return _korvane.instruments()


class Scope:
    """The one instrument connected; made by :func:`connect`.

    Used in a ``with`` block, its front keys are locked while the block runs
    and unlocked when it ends, also on an exception or Ctrl+C. Every call
    keeps the link's pauses (the instrument needs them) with the interpreter
    free; Ctrl+C during a call raises KeyboardInterrupt at once and unlocks
    the keys. A link that drops raises LinkLost; the interpreter goes on.
    """

    def __init__(self, idn: str):
        self.idn: str = idn

    def query(self, command: str) -> str:
        """A query's reply, cut at its line feed: ``scope.query("*IDN?")``."""
        return _korvane.query(command)

    def send(self, command: str) -> None:
        """A command: ``scope.send(":CHANNEL1:SCALE 2")``."""
        _korvane.send(command)

    def key(self, name: str) -> None:
        """One press of a front key, as the Virtual Panel sends it ("Run",
        "Auto", "CH1", "Trig_Force" ... or their VK_ names)."""
        _korvane.key(name)

    def fetch(self) -> Capture:
        """The screen's record as the wave job reads it: ``t``, ``ch1``,
        ``ch2`` (None when off) in seconds and volts, ``logic`` (None when
        the lanes are off), ``sample_rate``, and ``settings``, the scales
        and offsets it was taken with."""
        return Capture(_korvane.fetch())

    @property
    def settings(self) -> dict:
        """Every value of the Controller's tree, read from the instrument
        now: keys are the rows' captions from the section down, joined by
        dots ("CH1.Volt/Div", "Time Base.Time/Div", "Trigger.Holdoff"),
        values the texts the tree shows ("500mV", "500.0us", "EDGE")."""
        return {".".join(path): value for path, value in _korvane.settings()}

    def apply(self, settings: dict) -> None:
        """Writes the values of ``settings`` (keys and texts as
        :attr:`settings` gives them) that differ from the instrument's, one
        row at a time as the parameter dialog writes it, in the order
        given (a trigger method first, then the rows it brings). A word is
        one of the row's list; a number may be written as the dialog takes
        it ("2.5E-7", "2.00V"). A key or value the tree refuses raises
        UsageError, and nothing after it is written."""
        current = self.settings
        for key, value in settings.items():
            if str(value) != current.get(key):
                _korvane.apply_setting(key.split("."), str(value))

    def measure(self, channel: int | str = 1) -> dict:
        """The eighteen measures of CH1 or CH2 in base units (V, s, Hz; a
        percentage as a fraction, Duty+ of a square is 0.5); ``nan`` for a
        value the instrument could not measure."""
        number = {"CH1": 1, "CH2": 2}.get(str(channel).upper(), channel)
        return _korvane.measure(int(number))

    def table(self, channel: str = "CH1") -> dict:
        """The Data window's rows of CH1, CH2 or LA: ``time`` and ``volts``
        arrays (``volts`` None for LA) and the table's ``title`` line."""
        return _korvane.table(str(channel))

    def save_settings(self, path: str | os.PathLike) -> None:
        """Reads every setting of the instrument into a control file (.rmt),
        the program's own format, which its Controller opens."""
        _korvane.save_settings(os.fspath(path))

    def load_settings(self, path: str | os.PathLike) -> None:
        """Writes a control file's settings to the instrument; a file that
        is not a whole control file raises FileFormatError and sends
        nothing."""
        _korvane.load_settings(os.fspath(path))

    def screenshot(self) -> bytes:
        """The instrument's own screen as PNG bytes (USB only)."""
        return _korvane.screenshot()

    def close(self) -> None:
        """Unlocks the front keys and closes the link (again: nothing)."""
        _korvane.close()

    def __enter__(self) -> "Scope":
        return self

    def __exit__(self, *exc) -> None:
        self.close()

    def __repr__(self) -> str:  # noqa: D105
        return f"<korvane.Scope {self.idn}>"


def connect(resource: Optional[str] = None, serial: Optional[str] = None,
            timeout: float = 10.0) -> Scope:
    """Connects to the instrument named (a VISA name from :func:`instruments`),
    or the first found on USB, or one on a serial device (``serial=
    "/dev/ttyUSB0"``). The instrument's front keys are locked until
    ``close()`` or the end of the ``with`` block. ``timeout`` is the seconds
    one reply may take over USB (10, as in the program). Raises
    NoInstrument when none answers."""
    return Scope(_korvane.open(resource or "", serial or "", float(timeout)))

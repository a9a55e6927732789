# SPDX-License-Identifier: GPL-3.0-or-later
"""The examples of docs/python.md, run as the reader would run them."""

import doctest
import os
import pathlib
import subprocess


def test_the_documents_examples(tmp_path, simulator, monkeypatch):
    monkeypatch.setenv("KORVANE_PACING", "0")  # the simulator needs no pauses
    wfm = tmp_path / "deep.wfm"
    subprocess.run([os.environ["KORVANE_SIM"], "--write-wfm", str(wfm), "--points", "400000"],
                   check=True, capture_output=True)
    document = pathlib.Path(__file__).parents[2] / "docs" / "python.md"
    # A code fence ends an example's expected output, as a blank line does.
    text = "\n".join("" if line.startswith("```") else line
                     for line in document.read_text().splitlines())
    test = doctest.DocTestParser().get_doctest(
        text, {"wfm": wfm, "folder": tmp_path}, "python.md", str(document), 0)
    runner = doctest.DocTestRunner(optionflags=doctest.ELLIPSIS)
    runner.run(test)
    result = runner.summarize(verbose=False)
    assert result.attempted > 10
    assert result.failed == 0

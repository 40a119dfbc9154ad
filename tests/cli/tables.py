"""The tables that the tests of the built `tvq` run on, and how they run it.

SPDX-License-Identifier: BSD-2-Clause-Patent
"""

import pathlib
import subprocess
import sys

ROOT = pathlib.Path(__file__).resolve().parent.parent.parent
SKIPPED = 77


def program_and_tables(arguments):
    """The program, and the samples of a folder with the captured dumps beside this tree, if any."""
    program, samples = arguments
    captured = ROOT.parent / "shared" / "dumps"
    files = sorted(pathlib.Path(samples).glob("*.bin"))
    files += sorted(file for file in captured.glob("*.*") if file.suffix in (".bin", ".dat"))
    if not files:
        sys.exit("there are no tables")
    return program, files


def run(*command, status=(0,), stdin=None):
    """The standard output of a command that has to end with one of these statuses."""
    done = subprocess.run(command, input=stdin, capture_output=True, check=False)
    if done.returncode not in status:
        words = " ".join(str(word) for word in command)
        sys.exit(f"{words} ended with {done.returncode}:\n{done.stderr.decode(errors='replace')}")
    return done.stdout

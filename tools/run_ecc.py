#!/usr/bin/env python3
"""Runs Ecc of EDK II's BaseTools with the ANTLR run time that Debian has, which hands over token intervals in two numbers.

usage: run_ecc.py BASETOOLS ARGUMENTS...

SPDX-License-Identifier: BSD-2-Clause-Patent
"""

import pathlib
import runpy
import sys

from antlr4 import BufferedTokenStream as module

stream = module.BufferedTokenStream
text_of_two = stream.getText


def text_of_interval(self, start=None, stop=None):
    if isinstance(start, tuple):
        start, stop = start
    return text_of_two(self, start, stop)


stream.getText = text_of_interval
python = pathlib.Path(sys.argv[1], "Source", "Python")
sys.path.insert(0, str(python))
sys.argv = [str(python / "Ecc" / "EccMain.py"), *sys.argv[2:]]
runpy.run_path(sys.argv[0], run_name="__main__")

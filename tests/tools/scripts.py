"""Lets the tests import the scripts that they test.

SPDX-License-Identifier: BSD-2-Clause-Patent
"""

import pathlib
import sys

ROOT = pathlib.Path(__file__).resolve().parent.parent.parent
sys.path[:0] = [str(ROOT / "tools"), str(ROOT / "tests" / "e2e"), str(ROOT / "tests" / "bench")]

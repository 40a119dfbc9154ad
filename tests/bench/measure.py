"""Counts instructions with callgrind: those of the driver's image apart from those of everything around it.

SPDX-License-Identifier: BSD-2-Clause-Patent
"""

import dataclasses
import re
import subprocess
import tempfile
from collections import Counter
from pathlib import Path

import callgrind

_IMAGES = ("driver", "platform", "agent", "core")
_PROGRAM = "tvq_bench_instructions"


class MeasureError(Exception):
    """A program that could not be run or failed; the text says which and why."""


@dataclasses.dataclass
class Phase:
    """The instructions of one phase, by whose code they are, and the driver's by routine."""

    shares: Counter
    routines: Counter

    @property
    def driver(self):
        """The driver's own code and the MdePkg libraries in its image."""
        return self.shares["driver"] + self.shares["libraries"]

    @property
    def around(self):
        """The DXE core, the pool and the platform's providers, expat among them."""
        return sum(self.shares.values()) - self.driver

    @property
    def total(self):
        return sum(self.shares.values())

    def hottest(self, count):
        return self.routines.most_common(count)


@dataclasses.dataclass
class Measurement:
    """What was done, as the program says it, and what it cost."""

    facts: dict
    phases: dict


def _owner(function, link_map):
    image = link_map.image_at(function.address)
    if image == "driver":
        return "libraries" if "/MdePkg/" in function.file else "driver"
    if image == "platform" and "/expat/" in function.file:
        return "expat"
    return image or "host"


def routine_name(symbol):
    """A function without its parameters, image and namespaces, as this project writes of it."""
    name = symbol.replace("(anonymous namespace)::", "").split("(")[0]
    return re.sub(r"\b(?:tvq::|driver\.)", "", name)


def phase_of(profile, link_map):
    """The shares of one profile."""
    shares, routines = Counter(), Counter()
    for function in profile.functions:
        owner = _owner(function, link_map)
        shares[owner] += function.cost
        if owner in ("driver", "libraries"):
            routines[routine_name(function.name)] += function.cost
    return Phase(shares, routines)


def _run(command):
    try:
        result = subprocess.run(command, capture_output=True, text=True, errors="replace", check=False)
    except OSError as error:
        raise MeasureError(f"{command[0]} cannot be run: {error.strerror}") from error
    if result.returncode != 0:
        raise MeasureError(f"{' '.join(map(str, command))} failed:\n{result.stderr.strip()}")
    return result.stdout


def _profiles(folder):
    for path in sorted(folder.glob("profile*")):
        yield callgrind.read_profile(path.read_text(encoding="utf-8", errors="replace"))


class Workbench:
    """The programs of a build."""

    def __init__(self, programs):
        self._program = Path(programs) / _PROGRAM
        try:
            text = self._program.with_name(_PROGRAM + ".map").read_text(encoding="utf-8")
        except OSError as error:
            raise MeasureError(f"{error.filename}: {error.strerror}") from error
        self._map = callgrind.LinkMap(text, _IMAGES)

    def measure(self, work, table):
        """Does the work on a table, given as the bytes of a dump."""
        with tempfile.TemporaryDirectory(prefix="tvq-bench-") as name:
            folder = Path(name)
            (folder / "table.bin").write_bytes(table)
            output = _run(["valgrind", "--quiet", "--tool=callgrind", "--instr-atstart=no", "--collect-atstart=no",
                           "--dump-instr=yes", f"--callgrind-out-file={folder / 'profile'}", self._program, work,
                           folder / "table.bin"])
            phases = {profile.trigger: phase_of(profile, self._map) for profile in _profiles(folder) if profile.trigger}
        facts = {key: int(value) for key, value in (line.split() for line in output.splitlines())}
        return Measurement(facts, phases)


def instructions_of(command):
    """All instructions that a program of this machine takes."""
    with tempfile.TemporaryDirectory(prefix="tvq-bench-") as name:
        folder = Path(name)
        _run(["valgrind", "--quiet", "--tool=callgrind", f"--callgrind-out-file={folder / 'profile'}", *command])
        return sum(function.cost for profile in _profiles(folder) for function in profile.functions)

"""Counts instructions with callgrind: those of the driver's image apart from those of everything around it.

SPDX-License-Identifier: BSD-2-Clause-Patent
"""

import dataclasses
import json
import re
import subprocess
import tempfile
from collections import Counter
from pathlib import Path

import callgrind

_IMAGES = ("driver", "platform", "agent", "core")
_PROGRAM = "tvq_bench_instructions"
_CALLGRIND = ("valgrind", "--quiet", "--tool=callgrind", "--dump-instr=yes")


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


class _Folder:
    """A temporary folder with a table in it and with the profiles that callgrind writes."""

    def __init__(self, table):
        self._folder = tempfile.TemporaryDirectory(prefix="tvq-bench-")
        self._path = Path(self._folder.name)
        self.table = self._path / "table.bin"
        self.table.write_bytes(table)
        self.profile_option = f"--callgrind-out-file={self._path / 'profile'}"

    def __enter__(self):
        return self

    def __exit__(self, *_):
        self._folder.cleanup()

    def profiles(self):
        """Those with something in them: callgrind writes an empty one when the program ends."""
        for path in sorted(self._path.glob("profile*")):
            profile = callgrind.read_profile(path.read_text(encoding="utf-8", errors="replace"))
            if profile.functions:
                yield profile


def _facts(output):
    return {key: int(value) for key, value in (line.split() for line in output.splitlines())}


class Workbench:
    """The programs of a build. Tables are handed over as the bytes of a dump."""

    def __init__(self, programs):
        self._programs = Path(programs)
        map_file = self._programs / (_PROGRAM + ".map")
        try:
            self._map = callgrind.LinkMap(map_file.read_text(encoding="utf-8"), _IMAGES)
        except OSError as error:
            raise MeasureError(f"{error.filename}: {error.strerror}") from error

    def measure(self, work, table):
        """Counts the instructions of some work on a table."""
        with _Folder(table) as folder:
            output = _run([*_CALLGRIND, "--instr-atstart=no", "--collect-atstart=no",
                           folder.profile_option, self._programs / _PROGRAM, work, folder.table])
            phases = {profile.trigger: phase_of(profile, self._map) for profile in folder.profiles()}
        return Measurement(_facts(output), phases)

    def pool(self, table):
        """What a start on a table leaves in the pool."""
        with _Folder(table) as folder:
            return _facts(_run([self._programs / "tvq_bench_pool", folder.table]))

    def wall_time(self, table):
        """Microseconds of each operation, by Google Benchmark."""
        with _Folder(table) as folder:
            output = _run([self._programs / "tvq_bench_wall_time", folder.table, "--benchmark_format=json",
                           "--benchmark_min_time=0.2"])
        results = json.loads(output)["benchmarks"]
        return {result["name"].split("/")[0]: result["real_time"] for result in results}


def instructions_of_dmidecode(table):
    """All instructions that dmidecode takes to print a table."""
    with _Folder(table) as folder:
        _run([*_CALLGRIND, folder.profile_option, "dmidecode", "--from-dump", folder.table])
        return sum(function.cost for profile in folder.profiles() for function in profile.functions)

"""Reads profiles that callgrind wrote with --dump-instr=yes, and the linker map that tells whose code it was.

SPDX-License-Identifier: BSD-2-Clause-Patent
"""

import bisect
import dataclasses
import re
from collections import Counter

_COST = re.compile(r"(0x[0-9a-f]+|[+-]\d+|\*) (?:[+-]?\d+|\*) (\d+)$")
_NAME = re.compile(r"(\w+)=\((\d+)\)(?: (.*))?$")
_CALLS = re.compile(r"calls=(\d+) ")
_TRIGGER = re.compile(r"desc: Trigger: Client Request: (.*)$")

# Names are written once with a number, then the number alone. Callers and callees share the numbers.
_KINDS = {"cob": "ob", "cfi": "fl", "cfl": "fl", "fi": "fl", "fe": "fl", "cfn": "fn"}


class ProfileError(Exception):
    """A file that is not what it should be; the text says which and why."""


@dataclasses.dataclass
class Function:
    """What a function's own instructions cost, and the address of one of them."""

    name: str
    file: str
    address: int
    cost: int = 0


@dataclasses.dataclass
class Profile:
    """One dump: why it was written, its functions, and how often each of them was called."""

    trigger: str
    functions: list
    calls: Counter


class _Reader:
    def __init__(self):
        self.trigger = ""
        self.functions = {}
        self.calls = Counter()
        self._names = {}
        self._current = {"fl": "", "fn": "", "cfn": ""}
        self._address = 0
        self._is_call = False

    def read(self, line):
        if match := _NAME.match(line):
            self._name(*match.groups())
        elif match := _CALLS.match(line):
            self.calls[self._current["cfn"]] += int(match[1])
            self._is_call = True
        elif match := _COST.match(line):
            self._cost(match[1], int(match[2]))
        elif match := _TRIGGER.match(line):
            self.trigger = match[1]

    def _name(self, keyword, number, name):
        names = self._names.setdefault(_KINDS.get(keyword, keyword), {})
        if name is not None:
            names[number] = name
        self._current[keyword] = names[number]

    def _cost(self, position, cost):
        """The line behind `calls` holds what the callee cost, which is counted there already."""
        if position.startswith("0x"):
            self._address = int(position, 16)
        elif position != "*":
            self._address += int(position)
        if self._is_call:
            self._is_call = False
            return
        key = (self._current["fl"], self._current["fn"])
        function = self.functions.setdefault(key, Function(key[1], key[0], self._address))
        function.cost += cost


def read_profile(text):
    """The profile in the text of one file."""
    lines = text.splitlines()
    if not lines or lines[0] != "# callgrind format":
        raise ProfileError("this is no profile of callgrind")
    reader = _Reader()
    for line in lines:
        reader.read(line)
    return Profile(reader.trigger, list(reader.functions.values()), reader.calls)


_TEXT = re.compile(r"^ \.text\S*\s+0x([0-9a-f]+)\s+0x([0-9a-f]+) (\S+)$", re.MULTILINE)
_OBJECT = re.compile(r"\b(\w+)\.o\)?$")


class LinkMap:
    """Which of the joined images an address belongs to; ld's map file says it."""

    def __init__(self, text, images):
        self._ranges = []
        for start, size, where in _TEXT.findall(text):
            name = _OBJECT.search(where)
            if name and name[1] in images and int(start, 16) != 0:
                self._ranges.append((int(start, 16), int(start, 16) + int(size, 16), name[1]))
        self._ranges.sort()
        missing = set(images) - {image for _, _, image in self._ranges}
        if missing:
            raise ProfileError(f"the linker's map has no code of {', '.join(sorted(missing))}")

    def image_at(self, address):
        """The image's name, or None for code around the images."""
        index = bisect.bisect_right(self._ranges, (address, float("inf"), "")) - 1
        if index >= 0 and address < self._ranges[index][1]:
            return self._ranges[index][2]
        return None

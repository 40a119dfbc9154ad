"""Machines of a site, as `tvq export --rows` prints them: a few tables go through the real program, and their rows are multiplied.

SPDX-License-Identifier: BSD-2-Clause-Patent
"""

import hashlib
import json
import pathlib
import re
import subprocess

ROOT = pathlib.Path(__file__).resolve().parent.parent.parent
TWO_SOCKET = ROOT / "samples" / "two-socket.smbios"
# What firmware writes in place of numbers. The program makes none of them a number.
PLACEHOLDERS = ("To Be Filled By O.E.M.", "NO DIMM", "Not Specified", "00000000")
SETTLED = ("same", "cannot tell")


def _run(*command, stdin=None):
    done = subprocess.run(command, input=stdin, capture_output=True, check=False)
    if done.returncode not in (0, 1):
        raise RuntimeError(f"{command} ended with {done.returncode}: {done.stderr.decode(errors='replace')}")
    return done.stdout


def _with_fields(source, block, **fields):
    """The source with these values in every block of that type that has the field."""
    parts = re.split(r"(?m)^(?=\[)", source)
    for number, part in enumerate(parts):
        if part.startswith(f"[{block} "):
            for field, value in fields.items():
                part = re.sub(rf"(?m)^{field}(\s*)= [^#\n]*", lambda found, name=field, text=value: f"{name}{found.group(1)}= {text}", part)
            parts[number] = part
    return "".join(parts)


def _even(source):
    """The sample with modules of one kind, as fast as they can be."""
    all_alike = {"configured-speed": "4800", "speed": "4800", "size": "32767", "extended-size": "32768"}
    source = _with_fields(source, "memory-device", **all_alike)
    return source.replace("TVQM5R16G48", "TVQM5R32G48").replace("TVQM5R32G48", "TVQM5R32G48X")


class Model:
    """A model of machine: the rows of one, and the words that the program has for what may become of a device."""

    def __init__(self, tvq, name, source, folder):
        self.name = name
        dump, state = folder / f"{name}.bin", folder / f"{name}.state"
        self._mktable(tvq, source, dump)
        _run(tvq, "save", "--quiet", state, "--from-dump", dump)
        self.rows = self._export(tvq, dump, state)
        if not all(row["verdict"] in SETTLED for row in self.rows):
            raise RuntimeError(f"{name}: a machine that nobody touched has changed")
        self.is_anonymous = self.rows[0]["machine"].startswith("host:")

    @staticmethod
    def _mktable(tvq, source, dump):
        _run(tvq, "mktable", "--quiet", "-", "-o", dump, stdin=source.encode())

    @staticmethod
    def _export(tvq, dump, state):
        lines = _run(tvq, "export", "--quiet", "--rows", dump, "--against", state, "--time", "0", "--host", "a host")
        return [json.loads(line) for line in lines.splitlines()]


def _mixed(tvq, folder):
    """The sample itself, whose modules are of two kinds; what a site writes of devices that were replaced or moved is what the
    program says of them."""
    source = TWO_SOCKET.read_text(encoding="utf-8")
    model = Model(tvq, "mixed", source, folder)
    dump = folder / "edited.bin"

    def verdicts(edited):
        Model._mktable(tvq, edited, dump)
        rows = Model._export(tvq, dump, folder / "mixed.state")
        return [(row["label"], row["verdict"], row["serial"]) for row in rows if row["verdict"] not in SETTLED]

    swapped = source.replace('"7A2C0003"', "X").replace('"7A2C0004"', '"7A2C0003"').replace("X", '"7A2C0004"')
    expected = (
        (source.replace('"7A2C0003"', '"7A2C9999"'), [("DIMM_A3", "replaced", "7A2C9999")]),
        (swapped, [("DIMM_A3", "moved", "7A2C0004"), ("DIMM_A4", "moved", "7A2C0003")]),
    )
    for edited, wanted in expected:
        if verdicts(edited) != wanted:
            raise RuntimeError(f"the program says {verdicts(edited)}, not {wanted}")
    return model


def models(tvq, folder):
    """Models of machines, of which the last two have placeholders for numbers."""
    folder = pathlib.Path(folder)
    mixed = _mixed(tvq, folder)
    source = TWO_SOCKET.read_text(encoding="utf-8")
    even = _even(source)
    small = even.replace("TVQM5R32G48X", "TVQM5R32G56")
    # Nothing but its name tells the machine from others.
    anonymous = _with_fields(even, "system", serial=f'"{PLACEHOLDERS[0]}"', uuid="00000000-0000-0000-0000-000000000000")
    anonymous = _with_fields(anonymous, "board", serial=f'"{PLACEHOLDERS[2]}"')
    # Nothing tells its modules from others.
    numberless = even
    for number, serial in enumerate(row["serial"] for row in mixed.rows if row["class"] == "memory module"):
        numberless = numberless.replace(f'"{serial}"', f'"{PLACEHOLDERS[number % len(PLACEHOLDERS)]}"')
    found = {"mixed": mixed}
    for name, text in (("even", even), ("small", small), ("anonymous", anonymous), ("numberless", numberless)):
        found[name] = Model(tvq, name, text, folder)
    if not found["anonymous"].is_anonymous:
        raise RuntimeError("a placeholder tells the machine from others")
    if any(row["serial"] for row in found["numberless"].rows if row["class"] == "memory module"):
        raise RuntimeError("a placeholder is the serial number of a module")
    return found


class Host:
    """One machine of a site: its devices, as rows without a time."""

    def __init__(self, model, number, site):
        self.model = model
        self.name = f"{model.name}-{number:04d}"
        self._site = site
        self._machine = "" if model.is_anonymous else f"uuid:{self._uuid(number, 'board 1')}"
        self.devices = [dict(row) for row in model.rows]
        for device in self.devices:
            if device["serial"]:
                device["serial"] = self.serial(number, device["serial"])
        self._lines = None

    @staticmethod
    def serial(*what):
        """A number that no other part has."""
        return hashlib.sha256(repr(what).encode()).hexdigest()[:8].upper()

    @staticmethod
    def _uuid(*what):
        digits = hashlib.sha256(repr(what).encode()).hexdigest()
        return f"{digits[:8]}-{digits[8:12]}-{digits[12:16]}-{digits[16:20]}-{digits[20:32]}"

    @property
    def machine(self):
        return self._machine or f"host:{self.name}"

    def replace_board(self):
        self._machine = f"uuid:{self._uuid(self.name, 'board 2')}"
        self._lines = None

    def take_machine_of(self, other):
        """Says of itself what another machine does."""
        self._machine = other.machine
        self._lines = None

    def rename(self, name):
        self.name = name
        self._lines = None

    def modules(self):
        return [device for device in self.devices if device["class"] == "memory module"]

    def change(self, device, verdict, **columns):
        device.update(columns, verdict=verdict)
        self._lines = None

    def report(self, time):
        """The lines of one run of the program."""
        if self._lines is None:
            self._lines = []
            for device in self.devices:
                row = {**device, "time": "TIME", "host": self.name, "machine": self.machine}
                text = json.dumps(row, separators=(",", ":"), ensure_ascii=False)
                self._lines.append(text.split('"TIME"'))
        return [f"{before}{time}{behind}\n" for before, behind in self._lines]

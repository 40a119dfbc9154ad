"""Reads EDK II meta files: INF (modules and libraries) and DEC (packages).

Only what a host build needs of them: source lists, include folders, GUIDs, PCDs and entry points, for X64 and the GCC
family.

SPDX-License-Identifier: BSD-2-Clause-Patent
"""

import re
from pathlib import Path

_ARCHITECTURES = ("", "COMMON", "X64")
_FAMILIES = ("", "*", "GCC")
_COMPILED = (".c", ".cpp")


class MetaFileError(Exception):
    """A meta file that cannot be used, with a message for the person who wrote it."""


def _strip_comment(line):
    """Cuts a comment off, but not a '#' inside a quoted string."""
    in_string = False
    for index, character in enumerate(line):
        if character == '"':
            in_string = not in_string
        elif character == "#" and not in_string:
            return line[:index].strip()
    return line.strip()


def _sections(path):
    """Yields (list of lower-case section names that apply to X64, line)."""
    names = []
    try:
        text = path.read_text(encoding="utf-8", errors="replace")
    except OSError as error:
        raise MetaFileError(f"{path}: {error.strerror}") from error
    for line in map(_strip_comment, text.splitlines()):
        if not line:
            continue
        if line.startswith("[") and line.endswith("]"):
            names = []
            for part in line[1:-1].split(","):
                name, _, architecture = part.strip().partition(".")
                if architecture.partition(".")[0].upper() in _ARCHITECTURES:
                    names.append(name.lower())
        elif names:
            yield names, line


class Dec:
    """A package: include folders, GUID values and PCD declarations."""

    def __init__(self, path):
        self.path = path
        self.includes = []
        self.guids = {}
        self.pcds = {}
        for names, line in _sections(path):
            name = names[0]
            if name == "includes":
                folder = path.parent / line
                if folder.is_dir():
                    self.includes.append(folder)
            elif name in ("guids", "protocols", "ppis") and "=" in line:
                guid, value = line.split("=", 1)
                self.guids[guid.strip()] = value.strip()
            elif name.startswith("pcds"):
                self._add_pcd(line)

    def _add_pcd(self, line):
        fields = [field.strip() for field in line.split("|")]
        if len(fields) >= 3 and re.fullmatch(r"\w+\.\w+", fields[0]):
            self.pcds.setdefault(fields[0], (fields[2], fields[1]))


class Inf:
    """A module or library: what it is made of and what it refers to."""

    def __init__(self, path):
        self.path = path
        self.folders = [path.parent]
        self.defines = {}
        self.entry_points = []
        self.unloads = []
        self.sources = []
        self.packages = []
        self.guids = []
        self.pcds = []
        self.options = []
        for names, line in _sections(path):
            self._add(names[0], line)

    def _add(self, section, line):
        first = re.split(r"[|\s]", line, maxsplit=1)[0]
        if section == "defines" and "=" in line:
            self._add_define(*(part.strip() for part in line.split("=", 1)))
        elif section == "sources":
            self._add_source(line)
        elif section == "packages":
            self.packages.append(first)
        elif section in ("guids", "protocols", "ppis"):
            self.guids.append(first)
        elif section in ("pcd", "fixedpcd", "featurepcd", "patchpcd"):
            self.pcds.append(first)
        elif section == "buildoptions":
            self._add_options(line)

    def _add_define(self, key, value):
        lists = {"ENTRY_POINT": self.entry_points, "UNLOAD_IMAGE": self.unloads}
        if key in lists:
            lists[key].append(value)
        else:
            self.defines[key] = value

    def _add_source(self, line):
        fields = [field.strip() for field in line.split("|")]
        family = fields[1] if len(fields) > 1 else ""
        path = self.path.parent / fields[0]
        if family not in _FAMILIES:
            return
        self.folders.append(path.parent)
        if path.suffix in _COMPILED:
            self.sources.append(path)

    def _add_options(self, line):
        """Keeps definitions: the other options are for the tool chains of firmware."""
        target, _, options = line.partition("=")
        family, _, pattern = target.strip().rpartition(":")
        fields = pattern.strip().split("_")
        if family.strip() in _FAMILIES and len(fields) >= 5 and fields[2] in ("*", "X64") and fields[3] == "CC":
            self.options += [option for option in options.lstrip("= ").split() if option.startswith("-D")]

    @property
    def module_type(self):
        return self.defines.get("MODULE_TYPE", "BASE")


class Workspace:
    """The folders that package paths are relative to, in the order they are searched."""

    def __init__(self, roots):
        self.roots = roots
        self._decs = {}

    def find(self, relative):
        for root in self.roots:
            if (root / relative).is_file():
                return root / relative
        raise MetaFileError(f"{relative} is in none of {', '.join(map(str, self.roots))}")

    def dec(self, relative):
        path = self.find(relative)
        if path not in self._decs:
            self._decs[path] = Dec(path)
        return self._decs[path]

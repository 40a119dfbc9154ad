"""Parses the driver's sources and writes the changed ones.

SPDX-License-Identifier: BSD-2-Clause-Patent
"""

import json
import pathlib
import shlex
import subprocess

from clang import cindex

import schema

FOLDERS = ("TvqSmbiosPkg/src", "TvqSmbiosPkg/Library")
# Every file's mutants and places are numbered from a multiple of this, so that a change of one file leaves the others.
_BLOCK = 4096


class ParseError(Exception):
    """A source that libclang cannot read."""


def driver_files(root):
    """The driver's files, relative to the root: sources and headers with code."""
    return sorted(path.relative_to(root) for folder in FOLDERS for path in (root / folder).rglob("*")
                  if path.suffix in (".cpp", ".h"))


def _commands(build, root):
    """By source, the options with which the build compiles it."""
    options = {}
    for entry in json.loads((build / "compile_commands.json").read_text(encoding="utf-8")):
        path = pathlib.Path(entry["directory"], entry["file"]).resolve()
        # What comes before the first option is the compiler, and what launches it.
        words = shlex.split(entry["command"])
        words = words[next(index for index, word in enumerate(words) if word.startswith("-")):]
        output = words.index("-o")
        del words[output:output + 2]
        options[path] = [word for word in words if word != "-c" and pathlib.Path(word).resolve() != path]
    return {path: words for path, words in options.items() if path.is_relative_to(root)}


def _resource_folder():
    # libclang looks for the compiler's own headers beside itself, where they are not.
    return subprocess.run(["clang-14", "-print-resource-dir"], check=True, capture_output=True, text=True).stdout.strip()


class Sources:
    """The driver's sources under `root`, with the options of the CMake tree `build`."""

    def __init__(self, root, build):
        self._root = root
        self._commands = _commands(build, root)
        self._index = cindex.Index.create()
        self._resources = _resource_folder()

    def _options(self, path):
        if path in self._commands:
            return self._commands[path]
        # A header is parsed as the sources beside it.
        return next(words for source, words in self._commands.items()
                    if source.is_relative_to(self._root / "TvqSmbiosPkg") and source.suffix == ".cpp")

    def _parse(self, path, text):
        unsaved = [(str(path), schema.stand_in(text)), ("/stand_ins.h", schema.STAND_IN_DECLARATIONS)]
        arguments = [*self._options(path), "-x", "c++", "-include", "/stand_ins.h", "-resource-dir", self._resources, "-w"]
        unit = self._index.parse(str(path), arguments, unsaved,
                                 cindex.TranslationUnit.PARSE_DETAILED_PROCESSING_RECORD)
        errors = [str(finding) for finding in unit.diagnostics if finding.severity >= cindex.Diagnostic.Error]
        if errors:
            raise ParseError(errors[0])
        return unit

    def mutate(self, relative, number):
        """The changed text of the `number`-th file, and its mutants."""
        path = self._root / relative
        text = path.read_text(encoding="utf-8")
        changed = schema.Schema(self._parse(path, text), path, str(relative), text, _BLOCK * (number + 1))
        return changed.text, changed.mutants


def _write_if_new(path, text):
    if not path.is_file() or path.read_text(encoding="utf-8") != text:
        path.parent.mkdir(parents=True, exist_ok=True)
        path.write_text(text, encoding="utf-8")


def write_changed(root, build, tree):
    """Writes the changed driver into `tree` and returns all mutants."""
    sources = Sources(root, build)
    mutants = []
    files = driver_files(root)
    for number, relative in enumerate(files):
        text, found = sources.mutate(relative, number)
        mutants += found
        _write_if_new(tree / relative, text)
    for folder in FOLDERS:
        for path in (root / folder).rglob("*"):
            target = tree / path.relative_to(root)
            if path.is_file() and path.relative_to(root) not in files:
                _write_if_new(target, path.read_text(encoding="utf-8"))
        for path in list((tree / folder).rglob("*")):
            if path.is_file() and not (root / path.relative_to(tree)).is_file():
                path.unlink()
    return mutants

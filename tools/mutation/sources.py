"""Copies the repository, with every change in its sources.

SPDX-License-Identifier: BSD-2-Clause-Patent
"""

import concurrent.futures
import dataclasses
import functools
import hashlib
import json
import pathlib
import shlex
import shutil
import subprocess

from clang import cindex

import schema
from areas import area_of
from mutant import Mutant

# Every file's mutants and places are numbered from a multiple of this.
_BLOCK = 2048
# How often a file is written anew, with more of its lines left alone, until it compiles.
_ATTEMPTS = 8


class ParseError(Exception):
    """A source that libclang cannot read."""


@dataclasses.dataclass
class Changed:
    """What was made of a file: its mutants, numbered from `first`, and the operators that were left alone. `inputs` are
    the digests of all that it depends on."""
    first: int
    inputs: dict
    mutants: list
    left: int


def repository_files(root):
    """The files that git knows and new ones that it does not ignore, relative to the root."""
    listed = subprocess.run(["git", "-c", f"safe.directory={root}", "-C", root, "ls-files", "-z", "--cached", "--others",
                             "--exclude-standard", "--deduplicate"], check=True, capture_output=True, text=True).stdout
    return sorted(path for path in listed.split("\0") if path and (root / path).is_file())


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


@functools.cache
def _resource_folder():
    # libclang looks for the compiler's own headers beside itself, where they are not.
    return subprocess.run(["clang-14", "-print-resource-dir"], check=True, capture_output=True, text=True).stdout.strip()


def _digest(text):
    return hashlib.sha256(text.encode()).hexdigest()


@functools.cache
def _tool_digest():
    return _digest(pathlib.Path(schema.__file__).read_text(encoding="utf-8"))


class Sources:
    """The sources under `root`, with the options of the CMake tree `build`."""

    def __init__(self, root, build):
        self._root = root
        self._commands = _commands(build, root)
        self._index = cindex.Index.create()

    def options(self, relative):
        """The options that a file is compiled with; None if it is not compiled."""
        path = self._root / relative
        if path.suffix != ".h":
            return self._commands.get(path)
        # A header is parsed as one of the sources in the nearest folder.
        for folder in path.parents:
            for source, words in self._commands.items():
                if source.suffix == ".cpp" and source.is_relative_to(folder):
                    return words
        return None

    def _parse(self, relative, text, *more):
        path = str(self._root / relative)
        arguments = [*self.options(relative), "-x", "c++", "-resource-dir", _resource_folder(), "-w", "-Wno-c++11-narrowing", *more]
        files = [(path, text), ("/stand_ins.h", schema.STAND_IN_DECLARATIONS)]
        unit = self._index.parse(path, arguments, files, cindex.TranslationUnit.PARSE_DETAILED_PROCESSING_RECORD)
        # A diagnostic does not outlive its unit.
        errors = {finding.location.line: str(finding) for finding in unit.diagnostics
                  if finding.severity >= cindex.Diagnostic.Error}
        return unit, errors

    def _inputs(self, unit, relative):
        """The files of the repository that a source consists of."""
        found = {pathlib.Path(include.include.name).resolve() for include in unit.get_includes()}
        return {relative} | {str(path.relative_to(self._root)) for path in found
                             if path.is_relative_to(self._root) and "build" not in path.relative_to(self._root).parts}

    def digests(self, paths, relative):
        """The digests of these files, and of what else decides on what is made of one."""
        files = {path: _digest((self._root / path).read_text(encoding="utf-8")) if (self._root / path).is_file() else ""
                 for path in sorted(paths)}
        return files | {"options": _digest(" ".join(self.options(relative))), "tool": _tool_digest()}

    def change(self, relative, first):
        """The new text of a file, and what was made of it."""
        text = (self._root / relative).read_text(encoding="utf-8")
        unit, errors = self._parse(relative, schema.stand_in(text), "-include", "/stand_ins.h")
        if errors:
            raise ParseError(next(iter(errors.values())))
        hosted = relative.startswith("host/")
        barred, spanned = set(), set()
        for _ in range(_ATTEMPTS):
            changed = schema.Schema(unit, self._root / relative, relative, text, first, hosted, barred, spanned)
            if len(changed.mutants) >= _BLOCK:
                raise ParseError(f"{relative} has too many mutants")
            errors = self._parse(relative, changed.text)[1]
            if not errors:
                inputs = self.digests(self._inputs(unit, relative), relative)
                return changed.text, Changed(first, inputs, changed.mutants, changed.left)
            # What else spans these lines is barred when the operators on them are not to blame.
            spanned |= errors.keys() & barred
            barred |= errors.keys()
        raise ParseError(f"{relative} does not compile when it is changed: {next(iter(errors.values()))}")


class _Cache:
    """What was made of the files when they were changed last."""

    def __init__(self, folder):
        self._folder = folder
        folder.mkdir(parents=True, exist_ok=True)

    def _path(self, relative):
        return self._folder / (relative.replace("/", "__") + ".json")

    def read(self, relative):
        path = self._path(relative)
        if not path.is_file():
            return None
        entry = json.loads(path.read_text(encoding="utf-8"))
        return Changed(**entry | {"mutants": [Mutant(**mutant) for mutant in entry["mutants"]]})

    def forget(self, relative):
        self._path(relative).unlink()

    def write(self, relative, changed):
        self._path(relative).write_text(json.dumps(dataclasses.asdict(changed), indent=1), encoding="utf-8")


@functools.cache
def _sources(root, build):
    return Sources(root, build)


def _change(root, build, relative, first):
    return relative, *_sources(root, build).change(relative, first)


def _write_if_new(path, text):
    if not path.is_file() or path.read_text(encoding="utf-8") != text:
        path.parent.mkdir(parents=True, exist_ok=True)
        path.write_text(text, encoding="utf-8")


def _copy_others(root, tree, files, changed):
    """Copies what is not changed, and removes what is no more. The copy is built in its own folder `build`."""
    for relative in files:
        target = tree / relative
        if relative in changed or target.is_file() and target.read_bytes() == (root / relative).read_bytes():
            continue
        target.parent.mkdir(parents=True, exist_ok=True)
        shutil.copyfile(root / relative, target)
    known = set(files)
    for folder in (path for path in tree.iterdir() if path.name != "build"):
        for path in list(folder.rglob("*")):
            if path.is_file() and str(path.relative_to(tree)) not in known:
                path.unlink()


def write_changed(root, build, tree, jobs, is_wanted):
    """Writes the changed repository into `tree`, and keeps beside it what was made of each file. A file that is not wanted
    is changed only where that was done before and holds. Returns what was made of the files that are wanted, and those
    among them that are not compiled, whose code nothing can change."""
    files = repository_files(root)
    sources = _sources(root, build)
    cache = _Cache(tree.with_name(f"{tree.name}-files"))
    ours = [file for file in files if pathlib.Path(file).suffix in (".cpp", ".h") and area_of(file)]
    compiled = [file for file in ours if sources.options(file)]
    known = {file: found for file in compiled if (found := cache.read(file))}
    used = {found.first for found in known.values()}
    free = (first for first in range(_BLOCK, _BLOCK * 512, _BLOCK) if first not in used)
    valid = {file: found for file, found in known.items() if (tree / file).is_file() and
             found.inputs == sources.digests(found.inputs.keys() - {"options", "tool"}, file)}
    with concurrent.futures.ProcessPoolExecutor(jobs) as pool:
        started = [pool.submit(_change, root, build, file, known[file].first if file in known else next(free))
                   for file in compiled if file not in valid and is_wanted(file)]
        for done in concurrent.futures.as_completed(started):
            file, text, valid[file] = done.result()
            cache.write(file, valid[file])
            _write_if_new(tree / file, text)
    for file in known.keys() - valid.keys():
        cache.forget(file)
    _copy_others(root, tree, files, valid)
    return ({file: valid[file] for file in compiled if is_wanted(file)},
            [file for file in ours if file not in compiled and is_wanted(file)])

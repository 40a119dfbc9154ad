#!/usr/bin/env python3
"""Prints the sources of this repository that a CMake tree compiles, one on each line.

usage: compiled_files.py ROOT TREE [--unlike OTHER-ROOT] [--commands]

    TREE                 a configured tree, by its name in ROOT/build
    --unlike OTHER-ROOT  only those that a compiler would not see as it sees them in the tree of that name there: other
                         options, or another text of the source or of anything that it includes
    --commands           in place of the sources what compiles them and writes nothing, for a shell in any folder

SPDX-License-Identifier: BSD-2-Clause-Patent
"""

import argparse
import functools
import hashlib
import json
import pathlib
import re
import shlex
import sys

INCLUDE = re.compile(rb'^[ \t]*#[ \t]*include[ \t]*([<"])([^>"]+)[>"]', re.MULTILINE)
# How clang-tidy is told what to look for, in the folder of a source and in those above.
RULES = ".clang-tidy"


class Tree:
    """A configured CMake tree, and what its compilers see. Everything under build/ is made, not written."""

    def __init__(self, root, name):
        self.root = root.resolve()
        self._build = self.root / "build"
        # A folder whose name only begins like that of the root is another one.
        self._named_root = re.compile(re.escape(bytes(self.root)) + rb"(?![\w.+-])")
        commands = json.loads((self._build / name / "compile_commands.json").read_text(encoding="utf-8"))
        self._commands = {}
        for command in commands:
            path = pathlib.Path(command["directory"], command["file"]).resolve()
            if path.is_relative_to(self.root) and not path.is_relative_to(self._build):
                self._commands.setdefault(self._relative(path), []).append(command)

    def sources(self):
        return sorted(self._commands)

    def commands(self, source):
        """What compiles the source, of which the compiler writes nothing down."""
        return [shlex.join([*without_outputs(shlex.split(command["command"])), "-fsyntax-only"])
                for command in self._commands[source]]

    def seen(self, source):
        """Stands for everything that a compiler sees of the source; None when nothing compiles it."""
        if source not in self._commands:
            return None
        return {(self._without_root(command["command"].encode()), self._texts(source, command))
                for command in self._commands[source]}

    def _relative(self, path):
        return path.relative_to(self.root).as_posix()

    def _without_root(self, text):
        return self._named_root.sub(b"", text)

    def _texts(self, source, command):
        words = shlex.split(command["command"])
        folder = pathlib.Path(command["directory"])
        search = tuple(folder / path for path in include_folders(words))
        paths = self._reached([self.root / source, *(folder / path for path in following(words, "-include"))], search)
        rules = (parent / RULES for parent in (self.root / source).parents if parent.is_relative_to(self.root))
        paths |= {path for path in rules if path.is_file()}
        return frozenset((self._relative(path), self._digest(path)) for path in paths)

    def _reached(self, paths, search):
        """These files of ours, and all of ours that they include."""
        reached = set()
        waiting = [path.resolve() for path in paths]
        while waiting:
            path = waiting.pop()
            if path not in reached and path.is_relative_to(self.root):
                reached.add(path)
                found = (self._find(name, path.parent if quote == b'"' else None, search) for quote, name in self._includes(path))
                waiting += [other for other in found if other]
        return reached

    @functools.cache
    def _includes(self, path):
        return INCLUDE.findall(path.read_bytes())

    @functools.cache
    def _find(self, name, beside, search):
        for folder in (*([beside] if beside else []), *search):
            path = folder / name.decode()
            if path.is_file():
                return path.resolve()
        return None

    @functools.cache
    def _digest(self, path):
        return hashlib.sha256(self._without_root(path.read_bytes())).digest()


def following(words, *options):
    """The words that stand behind one of these options, or in one word with it."""
    for index, word in enumerate(words):
        for option in options:
            if word == option:
                yield words[index + 1]
            elif word.startswith(option) and option == "-I":
                yield word[len(option):]


def without_outputs(words):
    """A command line that names no file to write."""
    remaining = iter(words)
    for word in remaining:
        if word in ("-o", "-MF", "-MT"):
            next(remaining)
        elif word != "-MD":
            yield word


def include_folders(words):
    return [*following(words, "-I"), *following(words, "-isystem")]


def unlike(tree, other):
    """The sources that are seen otherwise in the other tree, or not at all."""
    return [source for source in tree.sources() if tree.seen(source) != other.seen(source)]


def main():
    parser = argparse.ArgumentParser(usage=__doc__.split("\n\n")[1].removeprefix("usage: "))
    parser.add_argument("root", type=pathlib.Path)
    parser.add_argument("tree")
    parser.add_argument("--unlike", type=pathlib.Path)
    parser.add_argument("--commands", action="store_true")
    arguments = parser.parse_args()
    tree = Tree(arguments.root, arguments.tree)
    sources = unlike(tree, Tree(arguments.unlike, arguments.tree)) if arguments.unlike else tree.sources()
    for source in sources:
        print(*(tree.commands(source) if arguments.commands else [source]), sep="\n")
    return 0


if __name__ == "__main__":
    sys.exit(main())

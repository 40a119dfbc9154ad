#!/usr/bin/env python3
"""Checks that includes point one way.

usage: check_includes.py ROOT

The driver reads a table, builds records of it and serves them. A folder of its sources includes nothing from the folders that
come after it, so that each can be read, tested and changed without what is built on it. A package includes another package's
files through their Include folder alone.

SPDX-License-Identifier: BSD-2-Clause-Patent
"""

import pathlib
import re
import sys

SOURCES = "TvqSmbiosPkg/src"
# Each folder of the driver's sources, and the other folders that it may include from. What stands in none is for all.
ARROWS = {
    "smbios": (),
    "documents": (),
    "common": ("smbios",),
    "uefi": ("smbios", "documents", "common"),
}
# Public headers that a folder has no business with.
STRANGERS = {"smbios": ("Protocol/TvqRecord.h",)}

SUFFIXES = {".c", ".cpp", ".h"}


class Tree:
    """The files of the packages and what they include."""

    def __init__(self, root):
        self.root = root
        self.packages = sorted(declaration.parent for declaration in root.glob("*/*.dec"))

    def files(self):
        for package in self.packages:
            yield from sorted(path for path in package.rglob("*") if path.suffix in SUFFIXES)

    def included(self, path):
        """The files of the packages that a file includes."""
        text = path.read_text(encoding="utf-8", errors="replace")
        for quote, name in re.findall(r'^\s*#\s*include\s*(["<])([^">]+)[">]', text, re.MULTILINE):
            folders = [path.parent] if quote == '"' else [package / "Include" for package in self.packages]
            for folder in folders:
                if (folder / name).is_file():
                    yield (folder / name).resolve()

    def reached(self, path):
        """The files that a file includes, directly or through others."""
        found, waiting = set(), [path]
        while waiting:
            for file in self.included(waiting.pop()):
                if file not in found:
                    found.add(file)
                    waiting.append(file)
        return found

    def package_of(self, path):
        return path.relative_to(self.root).parts[0]

    def folder_of(self, path):
        """The folder of the driver's sources that a file is in, or None."""
        inside = path.relative_to(self.root).as_posix().removeprefix(SOURCES + "/")
        folder = inside.partition("/")[0]
        return folder if folder in ARROWS else None


def findings(root):
    """Yields one line for every include that points the wrong way."""
    tree = Tree(root)
    for path in tree.files():
        name = path.relative_to(root)
        folder = tree.folder_of(path)
        for included in tree.included(path):
            target = included.relative_to(root)
            if tree.package_of(included) != tree.package_of(path) and target.parts[1] != "Include":
                yield f"{name} includes {target}, which is not public"
            other = tree.folder_of(included)
            if folder is not None and other not in (None, folder) and other not in ARROWS[folder]:
                yield f"{name} includes {target}: {folder} knows nothing of {other}"
        for stranger in STRANGERS.get(folder, ()):
            if any(file.as_posix().endswith("/Include/" + stranger) for file in tree.reached(path)):
                yield f"{name} includes {stranger}, itself or through others: {folder} knows nothing of it"


def main(arguments):
    if len(arguments) != 1:
        print(__doc__, file=sys.stderr)
        return 2
    lines = list(findings(pathlib.Path(arguments[0]).resolve()))
    print("\n".join(lines))
    return 1 if lines else 0


if __name__ == "__main__":
    sys.exit(main(sys.argv[1:]))

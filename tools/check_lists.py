#!/usr/bin/env python3
"""Checks that the build lists of the EDK II packages are complete.

usage: check_lists.py ROOT

Every INF is named in a DSC (or a file that DSCs include), and every C and C++ file of a package is in the [Sources] of an INF
or lies under an Include folder. A file that nobody builds is a file that nobody tests. No comment of a build file holds an
!include: EDK II's parser of FDF files obeys it.

SPDX-License-Identifier: BSD-2-Clause-Patent
"""

import pathlib
import re
import sys

SOURCE_SUFFIXES = {".c", ".cpp", ".h", ".hpp", ".nasm", ".s"}


def code_lines(path):
    """The lines of a build file without comments and blanks."""
    for line in path.read_text(encoding="utf-8", errors="replace").splitlines():
        line = line.split("#", 1)[0].strip()
        if line:
            yield line


def listed_sources(inf):
    """The files in the [Sources] sections of an INF, as paths."""
    inside = False
    for line in code_lines(inf):
        if line.startswith("["):
            inside = re.match(r"\[\s*sources\b", line, re.IGNORECASE) is not None
        elif inside:
            yield (inf.parent / line.split("|", 1)[0].strip()).resolve()


def listed_modules(build_file):
    """The INF paths that a DSC, or a file included by one, names."""
    for line in code_lines(build_file):
        yield from re.findall(r"[\w./-]+\.inf\b", line)


def commented_includes(build_file):
    """The lines with an !include behind a comment's sign."""
    for number, line in enumerate(build_file.read_text(encoding="utf-8", errors="replace").splitlines(), 1):
        if "!include" in line.partition("#")[2].lower():
            yield number


def packages(root):
    """The folders with a package declaration."""
    return sorted({declaration.parent for declaration in root.glob("*/*.dec")})


def findings(root):
    """Yields one line for every file that no list names, and for every include in a comment."""
    for pattern in ("*/*.dsc*", "*/*.fdf*"):
        for file in sorted(root.glob(pattern)):
            for number in commented_includes(file):
                yield f"{file.relative_to(root)}:{number}: a comment holds an !include, which EDK II obeys in an FDF"
    for package in packages(root):
        infs = sorted(package.rglob("*.inf"))
        listed = {source for inf in infs for source in listed_sources(inf)}
        modules = {module for file in root.glob("*/*.dsc*") for module in listed_modules(file)}
        for inf in infs:
            if inf.relative_to(root).as_posix() not in modules:
                yield f"{inf.relative_to(root)} is in no DSC"
        for source in sorted(package.rglob("*")):
            inside = source.relative_to(package)
            if source.suffix in SOURCE_SUFFIXES and inside.parts[0] != "Include" and source.resolve() not in listed:
                yield f"{source.relative_to(root)} is in no INF"
        for source in sorted(listed):
            if not source.is_file():
                yield f"{source.relative_to(root)} is in an INF, but does not exist"


def main(arguments):
    if len(arguments) != 1:
        print(__doc__, file=sys.stderr)
        return 2
    lines = list(findings(pathlib.Path(arguments[0]).resolve()))
    print("\n".join(lines))
    return 1 if lines else 0


if __name__ == "__main__":
    sys.exit(main(sys.argv[1:]))

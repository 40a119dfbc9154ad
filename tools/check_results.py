#!/usr/bin/env python3
"""Checks that no status gets lost in the C++ code of the EDK II packages.

usage: check_results.py ROOT

A function that returns EFI_STATUS is [[nodiscard]] where it is declared first, in a header or else in its source, so that the
compiler asks for each of its results to be looked at. It cannot ask that of a service, which is called through a pointer: a
status that is not looked at there is cast to void, as everywhere. Entry points, and operations that only a table of their file
names, are called by others alone and need no attribute.

SPDX-License-Identifier: BSD-2-Clause-Patent
"""

import pathlib
import re
import sys

# Most headers under Include are C, which has no attributes.
PUBLIC = "Include"
FUNCTION = re.compile(r'^(?P<head>[\w"\[\] ]*?)\bEFI_STATUS\s+(?P<others>EFIAPI\s+)?(?P<name>\w+) ?\(', re.MULTILINE)
DROPPED = re.compile(r"(?:^|[;{}])\s*\b(?P<table>gBS|gRT|gZV->(?:BS|RT|Services))->(?P<name>\w+)\(")
WITHOUT_STATUS = {"RaiseTPL", "RestoreTPL", "CopyMem", "SetMem", "ResetSystem"}


def without_comments(text):
    """The code without its comments, every line still in its place."""
    text = re.sub(r"/\*.*?\*/", lambda match: "\n" * match[0].count("\n"), text, flags=re.DOTALL)
    return re.sub(r"//.*", "", text)


def declared(code):
    """The functions declared or defined in a file, but no members' definitions: matches of FUNCTION."""
    for match in FUNCTION.finditer(code):
        if not {"return", "const"} & set(match["head"].split()):
            yield match


def is_excused(match, path):
    """Whether only others call the function."""
    return '"C"' in match["head"] or (match["others"] and path.suffix == ".cpp")


def dropped(code):
    """The calls of services whose status nobody looks at: (line, call)."""
    for match in DROPPED.finditer(code):
        if match["name"] not in WITHOUT_STATUS:
            yield code.count("\n", 0, match.start("table")) + 1, f"{match['table']}->{match['name']}"


def findings(root):
    """Yields one line for every status that can get lost."""
    for package in sorted({declaration.parent for declaration in root.glob("*/*.dec")}):
        in_headers = set()
        for path in sorted(package.rglob("*.h")) + sorted(package.rglob("*.cpp")):
            name = path.relative_to(root)
            code = without_comments(path.read_text(encoding="utf-8"))
            known = set(in_headers) if path.suffix == ".cpp" else set()
            is_public = path.relative_to(package).parts[0] == PUBLIC
            for match in declared(code):
                if "[[nodiscard]]" not in match["head"] and match["name"] not in known and not is_public and not is_excused(match, path):
                    line = code.count("\n", 0, match.start()) + 1
                    yield f"{name}:{line}: {match['name']} is not [[nodiscard]]"
                known.add(match["name"])
            if path.suffix == ".h":
                in_headers |= known
            for line, call in dropped(code):
                yield f"{name}:{line}: the status of {call} is dropped without a cast to void"


def main(arguments):
    if len(arguments) != 1:
        print(__doc__, file=sys.stderr)
        return 2
    lines = list(findings(pathlib.Path(arguments[0]).resolve()))
    print("\n".join(lines))
    return 1 if lines else 0


if __name__ == "__main__":
    sys.exit(main(sys.argv[1:]))

"""Which mutants are run.

SPDX-License-Identifier: BSD-2-Clause-Patent
"""

import hashlib
import re
import subprocess

from areas import AREAS, area_of


class SelectionError(Exception):
    """A name or a revision that there is not."""


def _is_meant(file, name):
    return area_of(file) == name if name in AREAS else file.endswith(name)


def is_named(file, names):
    """Whether a file is among the areas and sources that are named; without names every one is."""
    return not names or any(_is_meant(file, name) for name in names)


def named(mutants, names):
    """Those of the areas and sources that are named, or of all."""
    for name in names:
        if not any(_is_meant(mutant.file, name) for mutant in mutants):
            raise SelectionError(f"there is nothing to change in '{name}'")
    return [mutant for mutant in mutants if is_named(mutant.file, names)]


def uncompiled(files):
    """What the table does not hold, in a sentence."""
    return f"not changed, as no unit test contains it: {', '.join(files)}" if files else ""


def added_lines(diff):
    """By file, the numbers of the lines that a diff without context adds or changes."""
    lines = {}
    file = None
    for line in diff.splitlines():
        if line.startswith("+++ "):
            file = line[4:].removeprefix("b/")
        elif match := re.match(r"@@ -\S+ \+(\d+)(?:,(\d+))? @@", line):
            start, count = int(match[1]), int(match[2] or 1)
            lines.setdefault(file, set()).update(range(start, start + count))
    return lines


def changed_lines(root, revision):
    """The lines of the work tree that differ from a revision; None for a file that the revision does not have."""
    git = ["git", "-c", f"safe.directory={root}", "-C", str(root)]
    diff = subprocess.run([*git, "diff", "--unified=0", "--no-color", "--no-ext-diff", revision, "--"],
                          capture_output=True, text=True, check=False)
    if diff.returncode != 0:
        raise SelectionError(diff.stderr.strip().splitlines()[0])
    new = subprocess.run([*git, "ls-files", "-z", "--others", "--exclude-standard"], capture_output=True, text=True,
                         check=True).stdout
    return added_lines(diff.stdout) | {file: None for file in new.split("\0") if file}


def on_lines(mutants, lines):
    """Those on the given lines."""
    return [mutant for mutant in mutants
            if mutant.file in lines and (lines[mutant.file] is None or mutant.line in lines[mutant.file])]


def _order(mutant):
    # By what it is, not by where it stands.
    return hashlib.sha256(f"{mutant.file}\0{mutant.code}\0{mutant.change}\0{mutant.number}".encode()).digest()


def sample(mutants, count):
    """As many of each area, the same ones every time."""
    chosen = set()
    for area in AREAS:
        found = sorted((mutant for mutant in mutants if area_of(mutant.file) == area), key=_order)
        chosen |= {mutant.number for mutant in found[:count]}
    return [mutant for mutant in mutants if mutant.number in chosen]

#!/usr/bin/env python3
"""Derives deb-src lists from the apt sources of this machine, in both of apt's formats.

usage: deb_sources.py [--suite FROM=TO] OUTPUT-FOLDER FILE-OR-FOLDER...

Every .list and .sources file becomes a file of the same name in OUTPUT-FOLDER that names source packages in place of binary
ones; options, keys, suites and components stay as they are. With --suite only what is of suite FROM stays, as of suite TO of the
same archive. Nothing that the machine uses itself is changed.

SPDX-License-Identifier: BSD-2-Clause-Patent
"""

import argparse
import pathlib
import re
import sys


def change_suites(suites, change):
    """The names of suites, or those that one of them changes to; `change` is a pair of names or None."""
    return suites if change is None else [change[1] for suite in suites if suite == change[0]]


def derive_one_line(text, change=None):
    """Turns the `deb` lines of a one-line style list into `deb-src` lines; comments and the rest go."""
    lines = []
    for line in text.splitlines():
        match = re.match(r"\s*deb(?:-src)?\s+((?:\[[^\]]*\]\s+)?\S+)\s+(\S+)(.*)$", line.split("#", 1)[0].rstrip())
        if match:
            lines += [f"deb-src {match[1]} {suite}{match[3]}" for suite in change_suites([match[2]], change)]
    return "".join(f"{line}\n" for line in dict.fromkeys(lines))


def split_stanzas(text):
    """The stanzas of a deb822 file, each a list of (field name in lower case, lines), without comments."""
    stanza = []
    for line in text.splitlines():
        if line.startswith("#"):
            continue
        if not line.strip():
            if stanza:
                yield stanza
            stanza = []
        elif line[0] in " \t":
            if stanza:
                stanza[-1][1].append(line)
        else:
            stanza.append((line.split(":", 1)[0].strip().lower(), [line]))
    if stanza:
        yield stanza


def is_disabled(stanza):
    """Whether `Enabled:` switches the stanza off."""
    values = [lines[0].partition(":")[2].strip().lower() for name, lines in stanza if name == "enabled"]
    return bool(values) and values[-1] in ("no", "false", "0", "off", "disable", "without")


def suites_of(stanza):
    return [suite for name, lines in stanza if name == "suites" for suite in " ".join(lines).partition(":")[2].split()]


def derive_deb822(text, change=None):
    """Turns the stanzas of a deb822 file into stanzas for source packages."""
    stanzas = []
    for stanza in split_stanzas(text):
        if is_disabled(stanza) or not any(name == "uris" for name, _ in stanza):
            continue
        suites = change_suites(suites_of(stanza), change)
        if not suites:
            continue
        lines = ["Types: deb-src"]
        for name, field in stanza:
            if name == "suites" and change:
                lines.append(f"Suites: {' '.join(suites)}")
            elif name != "types":
                lines += field
        stanzas.append("".join(f"{line}\n" for line in lines))
    return "\n".join(stanzas)


DERIVE = {".list": derive_one_line, ".sources": derive_deb822}


def source_files(paths):
    """The files that apt itself would read, folders resolved."""
    for path in map(pathlib.Path, paths):
        if path.is_dir():
            yield from sorted(file for file in path.iterdir() if file.suffix in DERIVE)
        elif path.is_file() and path.suffix in DERIVE:
            yield path


def main(arguments):
    parser = argparse.ArgumentParser(description=__doc__.splitlines()[0])
    parser.add_argument("--suite", metavar="FROM=TO", type=lambda text: tuple(text.split("=", 1)))
    parser.add_argument("output", type=pathlib.Path)
    parser.add_argument("sources", nargs="+")
    options = parser.parse_args(arguments)
    output = options.output
    output.mkdir(parents=True, exist_ok=True)
    for path in source_files(options.sources):
        derived = DERIVE[path.suffix](path.read_text(encoding="utf-8", errors="replace"), options.suite)
        if derived:
            (output / path.name).write_text(derived, encoding="utf-8")
    return 0


if __name__ == "__main__":
    sys.exit(main(sys.argv[1:]))

#!/usr/bin/env python3
"""Installs the pages for whoever runs the program, with links that lead somewhere: a link to a page for contributors becomes its text.

usage: install_pages.py DOCDIR DATADIR      where the pages go, and where the schemas of the documents are

SPDX-License-Identifier: BSD-2-Clause-Patent
"""

import os
import pathlib
import re
import shutil
import sys

ROOT = pathlib.Path(__file__).resolve().parent.parent
# Where each page goes. All others are for who builds or changes the program.
PAGES = {
    "CHANGELOG.md": "CHANGELOG.md",
    "SECURITY.md": "SECURITY.md",
    **{f"docs/{name}.md": f"{name}.md" for name in ("fleet", "lint", "names", "report", "security", "service", "tvq", "verdicts")},
}
FILES = {"docs/examples/tvq-alerts.yml": "examples/tvq-alerts.yml"}
# What programs look for lies elsewhere, and the pages have links to it.
LINKS = {"docs/Inventory.xsd": "Inventory.xsd", "docs/schema": "schema"}
LINK = re.compile(r"(!?)\[([^\]]*)\]\(([^)#\s]+)(#[^)\s]*)?\)")


def is_elsewhere(target):
    return re.match(r"[a-z]+:", target) is not None


def source_of(page, target):
    """The file of this tree that a link of the page leads to, by its path in the tree."""
    return os.path.normpath(os.path.join(os.path.dirname(page), target))


def installed(source, places):
    """Where a file of this tree is installed; None where it is not."""
    for known, place in places.items():
        if source == known or source.startswith(known + "/"):
            return place + source[len(known):]
    return None


def pictures(texts):
    """The pictures that these pages show."""
    shown = {source_of(page, found[3]) for page, text in texts.items() for found in LINK.finditer(text) if found[1]}
    return {source: source.removeprefix("docs/") for source in sorted(shown)}


def with_links(page, text, places):
    """The text with each link as it is in the installed page."""

    def replaced(found):
        picture, words, target, part = found.groups()
        if is_elsewhere(target):
            return found[0]
        place = installed(source_of(page, target), places)
        if place is None:
            return words
        relative = os.path.relpath(place, os.path.dirname(places[page]) or ".")
        return f"{picture}[{words}]({relative}{part or ''})"

    return LINK.sub(replaced, text)


def main(arguments):
    docs, data = (pathlib.Path(argument) for argument in arguments)
    texts = {page: (ROOT / page).read_text(encoding="utf-8") for page in PAGES}
    files = FILES | pictures(texts)
    places = PAGES | files | LINKS
    os.umask(0o022)
    for page, text in texts.items():
        target = docs / PAGES[page]
        target.parent.mkdir(parents=True, exist_ok=True)
        target.unlink(missing_ok=True)
        target.write_text(with_links(page, text, places), encoding="utf-8")
    for source, place in files.items():
        (docs / place).parent.mkdir(parents=True, exist_ok=True)
        shutil.copyfile(ROOT / source, docs / place)
        (docs / place).chmod(0o644)
    for place in LINKS.values():
        (docs / place).unlink(missing_ok=True)
        (docs / place).symlink_to(os.path.relpath(data / place, docs))


if __name__ == "__main__":
    main(sys.argv[1:])

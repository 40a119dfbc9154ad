"""A table that is turned into the source form and back has the same bytes, whichever way it is read.

SPDX-License-Identifier: BSD-2-Clause-Patent
"""

import shutil
import sys

import tables

STRUCTURES_OFFSET = 0x20


def through_source_form(tvq, file):
    source = tables.run(tvq, "mktable", "--from-dump", file)
    return tables.run(tvq, "mktable", "-", "-o", "-", stdin=source)


def through_hex_text(tvq, file):
    """As `dmidecode -u` spells the table out."""
    text = tables.run("dmidecode", "-u", "--from-dump", file)
    source = tables.run(tvq, "mktable", "--from-dump", "-", stdin=text)
    return tables.run(tvq, "mktable", "-", "-o", "-", stdin=source)


def main(arguments):
    tvq, files = tables.program_and_tables(arguments)
    has_dmidecode = shutil.which("dmidecode") is not None
    for file in files:
        original = file.read_bytes()
        if through_source_form(tvq, file) != original:
            sys.exit(f"{file.name}: the source form gives other bytes")
        if not has_dmidecode or not original.startswith(b"_SM"):
            continue
        structures = original[STRUCTURES_OFFSET:]
        if not through_hex_text(tvq, file).endswith(structures):
            sys.exit(f"{file.name}: the text of dmidecode -u gives other structures")
    print(f"{len(files)} tables{'' if has_dmidecode else ', without dmidecode'}")


if __name__ == "__main__":
    main(sys.argv[1:])

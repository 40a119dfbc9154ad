"""Every document of every table is valid by docs/Inventory.xsd, as xmllint sees it.

The one exception are documents that are no XML, because a text in them holds what XML reserves.

SPDX-License-Identifier: BSD-2-Clause-Patent
"""

import json
import pathlib
import re
import shutil
import subprocess
import sys
import tempfile

import tables

SCHEMA = tables.ROOT / "docs" / "Inventory.xsd"
DOCUMENT_OFFSET = 80
# In a text: a '&' that begins no reference, or a '<' that begins no tag of a document.
RESERVED = re.compile(rb"&|<(?![A-Za-z]+>|/[A-Za-z]+>|\?xml |tvqComponent )|[\x01-\x08\x0b\x0c\x0e-\x1f\x80-\xff]")


def documents(tvq, table):
    """The documents of all devices, by FQDD."""
    export = json.loads(tables.run(tvq, "export", table))
    for record in export["records"]:
        blob = bytes.fromhex(record["configurationBlob"])
        yield record["fqdd"], blob[DOCUMENT_OFFSET:].rstrip(b"\0")


def complaints(document, folder):
    """What xmllint has to say; empty when the document is valid."""
    file = pathlib.Path(folder) / "document.xml"
    file.write_bytes(document)
    done = subprocess.run(
        ["xmllint", "--noout", "--nonet", "--schema", SCHEMA, file],
        capture_output=True,
        check=False,
    )
    return "" if done.returncode == 0 else done.stderr.decode(errors="replace")


def rejects_what_does_not_fit(document, folder):
    """A schema that takes anything would prove nothing."""
    for old, new in (
        (b"<Inventory>", b"<Inventory><Unknown></Unknown>"),
        (b"<MarketingName>", b"<MarketingName/><MarketingName>"),
        (b"<Speed>", b"<Speed>x"),
        (b"<HBMPresence>", b"<HBMPresence>7"),
    ):
        if old in document and not complaints(document.replace(old, new, 1), folder):
            sys.exit(f"the schema takes a document with {new.decode()}")


def main(arguments):
    if shutil.which("xmllint") is None:
        print("xmllint is missing (Debian: libxml2-utils)")
        sys.exit(tables.SKIPPED)
    tvq, files = tables.program_and_tables(arguments)
    valid = 0
    excepted = []
    with tempfile.TemporaryDirectory() as folder:
        for table in files:
            for fqdd, document in documents(tvq, table):
                if RESERVED.search(document):
                    excepted.append(f"{table.name}: {fqdd}")
                    continue
                if trouble := complaints(document, folder):
                    sys.exit(f"{table.name}: {fqdd}:\n{trouble}")
                if valid < 20:
                    rejects_what_does_not_fit(document, folder)
                valid += 1
    print(f"{valid} documents are valid; no XML: {', '.join(excepted) or 'none'}")
    if valid == 0:
        sys.exit("there is no valid document")


if __name__ == "__main__":
    main(sys.argv[1:])

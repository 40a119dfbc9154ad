"""Counts by which rules the memory slots of many machines get their names.

SPDX-License-Identifier: BSD-2-Clause-Patent
"""

import collections
import json
import pathlib
import struct
import subprocess
import sys
import tempfile

# What counts as named, at least.
WANTED = 0.95
COMPUTED = "computed"
# Locators of no slot, and of the firmware's flash.
LEFT_OUT = {"NO DIMM", "BIOS", "SYSTEM ROM"}


def structure(kind, handle, body, strings):
    texts = b"".join(text.encode("latin-1", "replace") + b"\0" for text in strings) or b"\0"
    return struct.pack("<BBH", kind, 4 + len(body), handle) + body + texts + b"\0"


def table(machine):
    """A table of the machine with a part in every socket and slot, so that each has a record."""
    structures = []
    for number, (designation, _) in enumerate(machine["sockets"]):
        body = bytearray(0x26)
        body[0], body[0x14] = 1, 0x41
        structures.append(structure(4, 0x400 + number, bytes(body), [designation or " "]))
    for number, (locator, bank, _) in enumerate(machine["slots"]):
        body = bytearray(0x18)
        struct.pack_into("<H", body, 8, 0x4000)
        body[0x0C], body[0x0D] = 1, 2
        structures.append(structure(17, 0x1100 + number, bytes(body), [locator or " ", bank or " "]))
    return b"".join(structures) + structure(127, 0x7F00, b"", [])


def rules(tvq, machine):
    """The rule that named each slot that counts."""
    with tempfile.TemporaryDirectory() as folder:
        file = pathlib.Path(folder, "table")
        file.write_bytes(table(machine))
        shown = subprocess.run([tvq, "show", "--json", "--table", file], capture_output=True, check=False)
    named = {device["handle"]: device["nameRule"] for device in json.loads(shown.stdout)["devices"]}
    for number, (locator, _, _) in enumerate(machine["slots"]):
        if locator.strip().upper() not in LEFT_OUT:
            yield named.get(0x1100 + number) or "no record"


def report(counts):
    """The lines to print, and whether enough slots are named by a rule."""
    total = sum(counts.values())
    by_rule = total - counts[COMPUTED] - counts["no record"]
    share = by_rule / total if total else 1.0
    lines = [f"{count:7} {rule}" for rule, count in counts.most_common()]
    return [*lines, f"{by_rule} of {total} slots are named by a rule: {share:.2%}"], share >= WANTED


def main():
    tvq, file = sys.argv[1:]
    counts = collections.Counter()
    for line in pathlib.Path(file).read_text(encoding="utf-8").splitlines():
        counts.update(rules(tvq, json.loads(line)))
    lines, is_enough = report(counts)
    print("\n".join(lines))
    return 0 if is_enough else 1


if __name__ == "__main__":
    sys.exit(main())

"""`tvq verify` on tables of which one thing was edited: each edit has its verdict and exit status, and nothing else has any.

usage: verify_test.py TVQ SAMPLES

SPDX-License-Identifier: BSD-2-Clause-Patent
"""

import json
import pathlib
import re
import subprocess
import sys
import tempfile

import tables

ONE_LINE = 1
# Memory types of high-bandwidth memory, whose values stand in the document of its processor.
HBM = ("0x20", "0x21")


def blocks(source):
    """The source's parts, of which each but the first begins with a structure's line."""
    return re.split(r"(?m)^(?=\[)", source)


def value(block, field):
    """A field's value; None where the block does not have it."""
    found = re.search(rf"(?m)^{field}\s*= ([^#\n]*)", block)
    return found.group(1).strip() if found else None


def with_value(block, field, text):
    return re.sub(rf"(?m)^{field}(\s*)= [^#\n]*", lambda found: f"{field}{found.group(1)}= {text}", block, count=1)


class Machine:
    """One table: its source, a state saved of it, and what verify says of it with edits."""

    def __init__(self, tvq, table, folder):
        self.tvq, self.folder = tvq, pathlib.Path(folder)
        self.parts = blocks(tables.run(tvq, "mktable", "--quiet", "--from-dump", table).decode())
        self.state = self.folder / "state"
        tables.run(tvq, "save", "--quiet", self.state, "--from-dump", self.dump(self.parts))

    def dump(self, parts):
        source, dump = self.folder / "table.smbios", self.folder / "table.bin"
        source.write_text("".join(parts), encoding="utf-8")
        tables.run(self.tvq, "mktable", "--quiet", source, "-o", dump)
        return dump

    def verify(self, parts, *options):
        command = [self.tvq, "verify", "--quiet", self.state, "--from-dump", self.dump(parts), *options]
        return subprocess.run(command, capture_output=True, text=True, check=False)

    def edited(self, edits):
        """The status, and by label the verdict of each device, with other blocks in these places."""
        parts = [edits.get(number, part) for number, part in enumerate(self.parts)]
        done = self.verify(parts, "--json")
        result = json.loads(done.stdout)
        return done.returncode, {one["label"]: one["verdict"] for one in result["findings"]}, result["firmware"]

    def modules(self):
        """Blocks of modules with a serial number that no other has, in a slot that no other has the label of."""
        _, verdicts, _ = self.edited({})
        labels = [value(part, "locator") for part in self.parts]
        serials = [value(part, "serial") for part in self.parts]
        for number, part in enumerate(self.parts):
            label = value(part, "locator")
            is_module = part.startswith("[memory-device ") and value(part, "memory-type") not in HBM
            if is_module and label and labels.count(label) == 1 and serials.count(serials[number]) == 1:
                if verdicts.get(label.strip('"').strip()) == "same":
                    yield number, label.strip('"').strip()


def check(what, condition):
    if not condition:
        sys.exit(f"expected: {what}")


def only(before, after, changed):
    """Whether these have such verdicts, and all others the one that they had."""
    return after == before | changed


def run(tvq, table):
    """Returns how many edits were tried."""
    with tempfile.TemporaryDirectory(prefix="tvq-verify-") as folder:
        machine = Machine(tvq, table, folder)
        quiet = machine.verify(machine.parts)
        check(f"{table.name}: an unchanged machine is one line", quiet.returncode == 0 and len(quiet.stdout.splitlines()) == ONE_LINE)
        _, before, _ = machine.edited({})
        count = 1
        bios = next((number for number, part in enumerate(machine.parts) if part.startswith("[bios ")), None)
        if bios is not None and (value(machine.parts[bios], "version") or "").startswith('"'):
            status, _, firmware = machine.edited({bios: with_value(machine.parts[bios], "version", '"edited"')})
            check(f"{table.name}: a firmware update is no alarm", status == 0 and firmware["after"] == "edited")
            count += 1
        modules = list(machine.modules())
        for number, label in modules[:1]:
            part = machine.parts[number]
            for field, text, verdict in (("serial", '"7A2C0F03"', "replaced"), ("speed", "1", "changed"), ("size", "0", "gone")):
                status, after, _ = machine.edited({number: with_value(part, field, text)})
                check(f"{table.name}: {label} is {verdict}", status == 1 and only(before, after, {label: verdict}))
                count += 1
        for (one, label), (other, second) in zip(modules[:1], modules[1:2]):
            parts = machine.parts[one], machine.parts[other]
            swapped = {
                one: with_value(parts[0], "serial", value(parts[1], "serial")),
                other: with_value(parts[1], "serial", value(parts[0], "serial")),
            }
            status, after, _ = machine.edited(swapped)
            check(f"{table.name}: two that changed places moved", status == 1 and only(before, after, {label: "moved", second: "moved"}))
            count += 1
        return count


def main(arguments):
    tvq, files = tables.program_and_tables(arguments)
    counts = {file.name: run(tvq, file) for file in files}
    check("every edit is tried with the two-socket sample", counts["two-socket.bin"] == 6)
    print(f"{len(counts)} tables, {sum(counts.values())} edits: each has its verdict")


if __name__ == "__main__":
    main(sys.argv[1:])

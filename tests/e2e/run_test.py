#!/usr/bin/env python3
"""Boots the driver with a table and compares every inventory it saved with what `tvq export` says of the same table.

Exit status: 0 they are equal byte for byte and the rest is as expected, 1 anything else.

SPDX-License-Identifier: BSD-2-Clause-Patent
"""

import json
import pathlib
import subprocess
import sys

import virtual_machine
import agent_report

BLOBS = ("inventoryBlob", "configurationBlob", "endBlob")
# The agent cuts names here, so that there is room for a number.
STEM_LENGTH = 48


def file_name(fqdd, taken):
    """The name that the agent gives the file of a record; `taken` holds the earlier ones in lower case."""
    text = (fqdd or "")[:STEM_LENGTH]
    base = "".join(c if c.isascii() and (c.isalnum() or c in "._-") else "_" for c in text) or "record"
    name, number = base, 2
    while name.lower() in taken:
        name, number = f"{base}-{number}", number + 1
    taken.add(name.lower())
    return f"{name}.tvq"


def expected_files(export):
    """The files that an export stands for: a dictionary of name to bytes. A blob that is missing adds nothing."""
    taken = set()
    return {
        file_name(record["fqdd"], taken): b"".join(bytes.fromhex(record[blob] or "") for blob in BLOBS)
        for record in export["records"]
    }


def saved_files(folder):
    return {path.name: path.read_bytes() for path in pathlib.Path(folder).glob("*.tvq")}


def first_difference(left, right):
    for offset, (one, other) in enumerate(zip(left, right)):
        if one != other:
            return offset
    return min(len(left), len(right))


def compare(expected, saved):
    """Yields a line for every difference."""
    for name in sorted(expected.keys() - saved.keys()):
        yield f"{name}: the firmware saved no such file"
    for name in sorted(saved.keys() - expected.keys()):
        yield f"{name}: saved by the firmware, but tvq has no such record"
    for name in sorted(expected.keys() & saved.keys()):
        want, have = expected[name], saved[name]
        if want != have:
            offset = first_difference(want, have)
            yield (
                f"{name}: differs from offset {offset:#x} on (tvq {len(want)} bytes: {want[offset:offset + 8].hex()}, "
                f"firmware {len(have)} bytes: {have[offset:offset + 8].hex()})"
            )


def export(tvq, table, as_is):
    """What the driver makes of the table in a process; conformed like the agent does it, unless `as_is`."""
    command = [tvq, "export", "--from-dump", str(table)] + (["--as-is"] if as_is else [])
    result = subprocess.run(command, capture_output=True, text=True, check=False)
    if result.returncode != 0:
        sys.exit(f"{' '.join(command)} ended with {result.returncode}:\n{result.stderr}")
    return json.loads(result.stdout)


def report_problems(report, failure):
    """Yields a line when the run did not succeed, or not fail for the reason that is expected."""
    wanted = agent_report.FAILED + failure if failure else agent_report.SUCCESS
    if agent_report.last_line(report) != wanted:
        yield f"the report ends with '{agent_report.last_line(report)}', expected: '{wanted}'"


def log_problems(log, wanted):
    """Yields a line for each 'function: text' that the log should have and has not."""
    fields = (line.split(maxsplit=2) for line in log.splitlines())
    lines = {f"{field[1]}: {field[2]}" for field in fields if len(field) == 3}
    for line in wanted:
        if line not in lines:
            yield f"log.txt has no line '{line}'"


def record_problems(expected, saved, count):
    """Yields a line for every difference, and when there is another number of records than the table should give."""
    if count is None and not expected:
        yield "tvq found no record, so there is nothing to compare"
    if count is not None and len(expected) != count:
        yield f"tvq found {len(expected)} records, expected: {count}"
    yield from compare(expected, saved)


def name_problems(report, exported):
    """Yields a line when the agent on firmware and tvq give the devices other names."""
    here, there = (sorted(names) for names in (agent_report.fqdds(report), (record["fqdd"] for record in exported["records"])))
    if here != there:
        yield f"the agent names {here}, tvq {there}"


def parse_arguments(arguments):
    parser = virtual_machine.argument_parser(__doc__.splitlines()[0])
    parser.add_argument("--tvq", required=True, help="the program tvq")
    parser.add_argument("--table", type=pathlib.Path, required=True, help="a dump, a bare table, or the source of one")
    parser.add_argument("--as-is", action="store_true", help="publish the table unchanged")
    parser.add_argument("--records", type=int, help="how many records there should be (default: any but none)")
    parser.add_argument("--failure", metavar="REASON", help="the run should fail for this reason")
    parser.add_argument("--log", metavar="LINE", action="append", default=[], help="the log should have this 'function: text'")
    return parser.parse_args(arguments)


def main(arguments):
    options = parse_arguments(arguments)
    machine = virtual_machine.VirtualMachine(options)
    table = virtual_machine.dump_of(options, options.table)
    exported = export(options.tvq, table, options.as_is)
    expected = expected_files(exported)
    report = machine.boot(table, *(["as-is"] if options.as_is else []))
    print(report)
    problems = [
        *report_problems(report, options.failure),
        *name_problems(report, exported),
        *record_problems(expected, saved_files(machine.out), options.records),
        *log_problems((machine.out / "log.txt").read_text(encoding="latin-1"), options.log),
    ]
    print("\n".join(problems) or f"as expected, {len(expected)} files equal byte for byte")
    return 1 if problems else 0


if __name__ == "__main__":
    sys.exit(main(sys.argv[1:]))

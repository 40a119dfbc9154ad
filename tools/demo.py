#!/usr/bin/env python3
"""The command behind `./dev demo`: boots twice, replaces three parts in between, and shows what the agent found.

What the agent found goes to stdout, everything else to stderr. Exit status: 0 exactly these three were reported replaced,
1 anything else, 2 wrong usage.

SPDX-License-Identifier: BSD-2-Clause-Patent
"""

import argparse
import pathlib
import sys
import tempfile
import typing

import agent_report
import boot_qemu
import machine
import table_source


class Change(typing.NamedTuple):
    """One replaced part: the block of the sample that tells of it, and the fields that differ afterwards."""

    fqdd: str
    what: str
    label: str
    fields: dict


# No other block of the sample is like one of these, so that nothing else changes.
CHANGES = (
    Change("CPU.Socket.2", "core count", "cpu2", {"core-count": "36", "core-count2": "36"}),
    Change("DIMM.Socket.A3", "serial number", "a3", {"serial": '"7A2C0F03"'}),
    Change("DIMM.Socket.B5", "part number", "b5", {"part-number": '"TVQM5R16G56"'}),
)


def changed_source(source):
    """The sample with the three parts replaced."""
    for change in CHANGES:
        for name, value in change.fields.items():
            source = table_source.set_field(source, change.label, name, value)
    return source


def build_tables(program, folder):
    """The dumps for the two boots."""
    before = machine.SAMPLE.read_text(encoding="utf-8")
    dumps = []
    for name, text in (("before", before), ("after", changed_source(before))):
        source = pathlib.Path(folder, name + table_source.SUFFIX)
        source.write_text(text, encoding="utf-8")
        dumps.append(source.with_suffix(".bin"))
        table_source.build_dump(program, source, dumps[-1])
    return dumps


def problems(report):
    """Yields what a report has that it should not, when exactly the three parts were replaced."""
    if not agent_report.succeeded(report):
        yield f"the report ends with '{agent_report.last_line(report)}'"
    findings = agent_report.findings(report)
    missing = {change.fqdd for change in CHANGES}
    for finding in findings:
        expected = "replaced" if finding.fqdd in missing else "same"
        if finding.verdict != expected:
            yield f"{finding.fqdd} is reported as {finding.verdict}, expected: {expected}"
        missing.discard(finding.fqdd)
    for fqdd in sorted(missing):
        yield f"{fqdd} is not reported at all"


def show(explanation, report):
    print(explanation)
    for line in agent_report.state_section(report):
        print(f"  {line}")
    print(flush=True)


def first_boot(boot):
    """Saves the state. False: it did not."""
    report = machine.boot(boot, "The first boot")
    if report is None:
        return False
    show("The first boot finds no saved state, so the agent saves that of all devices:", report)
    if not agent_report.succeeded(report) or agent_report.findings(report):
        machine.note(f"dev: this is no first boot: the report ends with '{agent_report.last_line(report)}'")
        return False
    return True


def second_boot(boot):
    """Compares with the saved state. False: not exactly the three parts were replaced."""
    report = machine.boot(boot, "The second boot")
    if report is None:
        return False
    parts = ", ".join(f"{change.fqdd} (its {change.what})" for change in CHANGES)
    show(f"Before the second boot three parts were replaced: {parts}. The agent finds:", report)
    found = list(problems(report))
    for problem in found:
        machine.note(f"dev: {problem}")
    if not found:
        print("Exactly these three were reported replaced.", flush=True)
    return not found


def parse_arguments(arguments):
    parser = argparse.ArgumentParser(prog="./dev demo", description="Replaces three parts between two boots.")
    parser.add_argument("--out", metavar="DIR", type=pathlib.Path, default=machine.ROOT / "build" / "demo")
    parser.add_argument("--images", metavar="DIR", type=pathlib.Path, help="EDK II's output folder; nothing is built then")
    parser.add_argument("--build-table", metavar="PROGRAM", type=pathlib.Path, default=machine.BUILD_TABLE)
    parser.add_argument("-v", "--verbose", action="store_true", help="show the tools' output and the serial line")
    return parser.parse_args(arguments)


def main(arguments):
    options = parse_arguments(arguments)
    if not options.images:
        machine.dev_build("tables", verbose=options.verbose)
        machine.dev_build("firmware", "--target", machine.TARGET, verbose=options.verbose)
    boot = boot_qemu.Boot(
        images=boot_qemu.image_paths(options.images or machine.IMAGES, machine.TARGET),
        out=options.out,
        live=machine.show_serial if options.verbose else None,
    )
    try:
        boot_qemu.empty_folder(options.out, keep_state=False)
        with tempfile.TemporaryDirectory(prefix="tvq-demo-") as folder:
            before, after = build_tables(options.build_table, folder)
            boot.table = before
            if not first_boot(boot):
                return 1
            boot.table = after
            return 0 if second_boot(boot) else 1
    except (boot_qemu.BootFailure, table_source.SourceError) as error:
        machine.note(f"dev: {error}")
        return 1


if __name__ == "__main__":
    sys.exit(main(sys.argv[1:]))

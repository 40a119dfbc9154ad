#!/usr/bin/env python3
"""The command behind `./dev demo`: boots twice, changes parts in between, and shows what the agent found: one of each verdict.

What the agent found goes to stdout, everything else to stderr. Exit status: 0 exactly these were found, 1 anything else,
2 wrong usage.

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
    """What becomes of one device: the block of the sample that tells of it, and its fields that differ."""

    fqdd: str
    verdict: str
    what: str
    label: str
    before: dict
    after: dict


EMPTY = {"size": "0", "extended-size": "0", "serial": '"NO DIMM"', "part-number": '"NO DIMM"'}
MODULE = {"size": "16384", "memory-type": "0x22", "technology": "0x03", "part-number": '"TVQM5R16G48"'}

# One of each verdict; what is not named here stays the same. No other block of the sample is like one of these, so that nothing
# else changes.
CHANGES = (
    Change("CPU.Socket.2", "replaced", "another core count", "cpu2", {}, {"core-count": "36", "core-count2": "36"}),
    Change("DIMM.Socket.A2", "cannot tell", "no serial number", "a2", {"serial": '"Not Specified"'}, {"serial": '"Not Specified"'}),
    Change("DIMM.Socket.A3", "replaced", "another serial number", "a3", {}, {"serial": '"7A2C0F03"'}),
    Change("DIMM.Socket.A4", "changed", "a lower speed", "a4", {}, {"configured-speed": "3600"}),
    Change("DIMM.Socket.A5", "moved", "changed places with A6", "a5", {}, {"serial": '"7A2C0006"'}),
    Change("DIMM.Socket.A6", "moved", "changed places with A5", "a6", {}, {"serial": '"7A2C0005"'}),
    Change("DIMM.Socket.B6", "gone", "taken out", "b6", {}, EMPTY),
    Change("DIMM.Socket.B7", "new", "put in", "b7", {}, MODULE | {"serial": '"7B2C0F07"'}),
    Change(
        "DIMM.Socket.B5",
        "not verified",
        "a name that makes its document none",
        "b5",
        {"manufacturer": '"Reference & Sons"', "serial": '"Not Specified"', "part-number": '"Not Specified"'},
        {"manufacturer": '"Reference"', "serial": '"Not Specified"', "part-number": '"Not Specified"'},
    ),
    Change("System.Embedded.1", "no record", "no product name", "system", {}, {"product": None}),
)
# Those that somebody has to look at; the others are counted.
FOUND = {change.fqdd: change.verdict for change in CHANGES if change.verdict != "cannot tell"}
COUNTED = ("same", "cannot tell")


def sources(source):
    """The sample as the two boots have it."""
    texts = []
    for side in ("before", "after"):
        text = source
        for change in CHANGES:
            for name, value in getattr(change, side).items():
                text = table_source.set_field(text, change.label, name, value)
        texts.append(text)
    return texts


def build_tables(program, folder):
    """The dumps for the two boots."""
    dumps = []
    for name, text in zip(("before", "after"), sources(machine.SAMPLE.read_text(encoding="utf-8"))):
        source = pathlib.Path(folder, name + table_source.SUFFIX)
        source.write_text(text, encoding="utf-8")
        dumps.append(source.with_suffix(".bin"))
        table_source.build_dump(program, source, dumps[-1])
    return dumps


def problems(report):
    """Yields what a report has that it should not, when each device should have its verdict."""
    if not agent_report.succeeded(report):
        yield f"the report ends with '{agent_report.last_line(report)}'"
    found = {finding.fqdd: finding.verdict for finding in agent_report.findings(report)}
    for fqdd in sorted(FOUND.keys() | found.keys()):
        if FOUND.get(fqdd) != found.get(fqdd):
            yield f"{fqdd} is reported as {found.get(fqdd, 'nothing')}, expected: {FOUND.get(fqdd, 'nothing')}"
    for verdict in COUNTED:
        if not agent_report.counts(report).get(verdict):
            yield f"no device is '{verdict}'"


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
    """Compares with the saved state. False: not exactly what was changed was found."""
    report = machine.boot(boot, "The second boot")
    if report is None:
        return False
    show("Before the second boot parts were replaced, moved, put in and taken out. The agent finds:", report)
    found = list(problems(report))
    for problem in found:
        machine.note(f"dev: {problem}")
    if not found:
        print(f"Exactly what was changed was found: {len(set(FOUND.values())) + len(COUNTED)} verdicts, one of each.", flush=True)
    return not found


def parse_arguments(arguments):
    parser = argparse.ArgumentParser(prog="./dev demo", description="Changes parts between two boots: one of each verdict.")
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

#!/usr/bin/env python3
"""Runs the agent on many tables in one boot, from the firmware's shell, and compares every inventory that it saved with what
`tvq export` says of the same table. Between two tables the driver is unloaded.

Exit status: 0 they are equal byte for byte, 1 anything else.

SPDX-License-Identifier: BSD-2-Clause-Patent
"""

import dataclasses
import pathlib
import sys

import run_test
import virtual_machine


@dataclasses.dataclass(frozen=True)
class Case:
    """A table, and how many records it should give; None: any but none."""

    name: str
    table: pathlib.Path
    records: int | None


def case_of(options, text):
    """TABLE or TABLE=RECORDS."""
    path, _, records = text.partition("=")
    table = pathlib.Path(path)
    return Case(table.stem, virtual_machine.dump_of(options, table), int(records) if records else None)


def script(cases):
    for case in cases:
        folder = f"TVQ\\{case.name}"
        yield f"cp -q TVQ\\tables\\{case.name}.bin TVQ\\table.bin"
        yield "TvqAgent"
        yield f"mkdir {folder}"
        for files in ("*.tvq", "report.txt"):
            yield f"mv TVQ\\{files} {folder}"
        yield "TvqAgent stop unload"


def problems(case, tvq, folder):
    report = virtual_machine.boot_qemu.read_report(folder)
    found = [
        *run_test.report_problems(report, None),
        *run_test.record_problems(
            run_test.expected_files(run_test.export(tvq, case.table, as_is=False)), run_test.saved_files(folder), case.records
        ),
    ]
    return [f"{case.name}: {problem}" for problem in found] + ([report or "no report"] if found else [])


def main(arguments):
    parser = virtual_machine.argument_parser(__doc__.splitlines()[0])
    parser.add_argument("--tvq", required=True, help="the program tvq")
    parser.add_argument("tables", nargs="+", metavar="TABLE[=RECORDS]", help="a dump, a bare table, or the source of one")
    options = parser.parse_args(arguments)
    machine = virtual_machine.VirtualMachine(options)
    cases = [case_of(options, text) for text in options.tables]
    machine.boot(None, script=tuple(script(cases)), tables={case.name: case.table for case in cases})
    found = [line for case in cases for line in problems(case, options.tvq, machine.out / case.name)]
    print("\n".join(found) or f"{len(cases)} tables in one boot, all files equal byte for byte")
    return 1 if found else 0


if __name__ == "__main__":
    sys.exit(main(sys.argv[1:]))

#!/usr/bin/env python3
"""Boots firmware that has driver and reference platform in its volume, by the lines of docs/integrators.md, and checks that the
records are there when the shell starts, that TvqPlatformTest and TvqAgent find what they need, and that both the records
and the table that is left are those of a machine without them.

Exit status: 0 everything is as expected, 1 it is not.

SPDX-License-Identifier: BSD-2-Clause-Patent
"""

import dataclasses
import re
import sys

import run_test
import shell_test
import virtual_machine
from shell_test import Run, TvqPlatformTest

# Whatever the agent does here, it needs nothing of the disk for it.
NOT_LOADED = ("Loaded ",)
STEPS = (
    TvqPlatformTest("TvqPlatformTest: 39 OK, 0 failed, 0 optional parts missing"),
    Run("", has=("was started before", "Records: 7"), has_not=NOT_LOADED),
    Run("stop", has=("Stop: 7 records taken off",)),
    # The driver is there, and its records are not. The firmware's table has its labels, and FQDDs now.
    Run(
        "",
        has=("Start: Success", "Records: 7", 'socket designation: "CPU 0" -> ', 'device locator: "DIMM 0" -> '),
        has_not=("FQDD of handle", *NOT_LOADED),
    ),
)


def debug_log_of(guest, path):
    """The machine with a file that takes what its firmware prints for debugging."""
    port = ("-debugcon", f"file:{path}", "-global", "isa-debugcon.iobase=0x402")
    return dataclasses.replace(guest, options=(*guest.options, *port))


def debug_problems(log, fqdds):
    """Yields what the firmware's debug log lacks: one start, and a line for each record."""
    starts = re.findall(r"TVQ: start: (\w+)", log)
    if starts != ["Success"]:
        yield f"the debug log tells of the starts {starts}"
    told = sorted(re.findall(r"TVQ: record: (\S+)", log))
    if told != sorted(fqdds):
        yield f"the debug log tells of the records {told}, expected: {sorted(fqdds)}"
    if "MakeDIMMs: Entry MakeDIMMs" not in log:
        yield "the debug log has no lines of the driver"


def boot_volume(options):
    """Boots the firmware with both in its volume. Returns what was saved, and what is not as expected."""
    log = options.out.resolve() / "debug.txt"
    options.out.mkdir(parents=True, exist_ok=True)
    log.unlink(missing_ok=True)
    guest = virtual_machine.with_own_firmware(virtual_machine.guest_of(options), "volume")
    machine = virtual_machine.VirtualMachine(options, debug_log_of(guest, log), "volume")
    machine.boot(None, script=tuple(shell_test.script(STEPS)))
    saved = run_test.saved_files(machine.out)
    found = list(shell_test.problems(STEPS, machine.out))
    found += debug_problems(log.read_text(encoding="latin-1"), [name.removesuffix(".tvq") for name in saved])
    return saved, found


def main(arguments):
    options = virtual_machine.argument_parser(__doc__.splitlines()[0]).parse_args(arguments)
    saved, found = boot_volume(options)
    stick = virtual_machine.VirtualMachine(options, name="stick")
    stick.boot(None)
    expected = run_test.saved_files(stick.out)
    for name in sorted(saved.keys() | expected.keys()):
        if saved.get(name) != expected.get(name):
            found.append(f"{name} is another file than on a machine with both on a stick")
    print("\n".join(found) or f"{len(saved)} records, as on a machine with both on a stick")
    return 1 if found else 0


if __name__ == "__main__":
    sys.exit(main(sys.argv[1:]))

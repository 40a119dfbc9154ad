#!/usr/bin/env python3
"""Boots the agent as a stick does, with nobody at the screen: it shows the screen, goes on by itself to the next boot option, which is
the firmware's shell, and leaves the machine as it was.

Exit status: 0 everything is as expected, 1 it is not.

SPDX-License-Identifier: BSD-2-Clause-Patent
"""

import sys

import virtual_machine
import agent_report

SECONDS = 3
# Of the variable that the driver's start writes.
VENDOR = "4F6B6541-ADD6-4B0F-A503-D78ABDA0851E"
# What the shell does when the agent has gone: it looks at what is there, and runs the agent as a command.
AFTER = (
    "cp -q TVQ\\report.txt TVQ\\first.txt",
    "TvqPlatformTest >a TVQ\\platform.txt",
    f"dmpstore -guid {VENDOR} EFI_SMBIOS_PROCESSOR_FAMILY >a TVQ\\variable.txt",
    "TVQ\\..\\EFI\\BOOT\\{boot_file}",
)
SCREEN = (
    "First visit: 7 devices are saved. Nothing to do.",
    f"Goes on by itself in {SECONDS} s; any key stops that.",
    "Goes on by itself in 1 s; any key stops that.",
    "N:Next B:Back D:Details S:Save P:Power off Q:Leave",
)
LABELS = ("CPU 0", "CPU 1", "DIMM 0", "DIMM 1", "DIMM 2", "DIMM 3")


def screen_problems(serial):
    """Of the screen that the agent drew: rows stand one behind the other, as they were sent."""
    yield from (f"the screen lacks '{text}'" for text in SCREEN if text not in serial)
    yield from (f"the screen lacks the label '{label}'" for label in LABELS if f"{label} " not in serial)
    if "TvqAgent: success" not in serial:
        yield "the last line does not say how it ended"


def gentleness_problems(out):
    """Of what the shell found afterwards."""
    platform, variable, report = (
        (out / name).read_bytes().decode("latin-1") for name in ("platform.txt", "variable.txt", "report.txt")
    )
    # The driver's table names the devices, the firmware's own does not: that is back.
    if "a structure of type 225, format 1, names the devices ... FAIL" not in platform:
        yield f"the firmware's table is not back:\n{platform}"
    if "TvqPlatformTest: 38 OK, 1 failed, 0 optional parts missing" not in platform:
        yield f"platform and driver did not stay:\n{platform}"
    if "No matching variables found" not in variable:
        yield f"the variable stayed:\n{variable}"
    if "was started before; its records are shown as they are" not in report or "Records: 7" not in report:
        yield f"the records did not stay:\n{report}"


def main(arguments):
    options = virtual_machine.argument_parser(__doc__.splitlines()[0]).parse_args(arguments)
    machine = virtual_machine.VirtualMachine(options)
    after = [line.format(boot_file=machine.guest.boot_file) for line in AFTER]
    machine.boot(None, f"countdown={SECONDS}", after=after)
    first = (machine.out / "first.txt").read_text(encoding="latin-1").replace("\r", "")
    problems = [*screen_problems(machine.serial()), *gentleness_problems(machine.out)]
    if not agent_report.succeeded(first):
        problems.append(f"the first report does not end with success:\n{first}")
    print("\n".join(problems) or "as expected")
    return 1 if problems else 0


if __name__ == "__main__":
    sys.exit(main(sys.argv[1:]))

#!/usr/bin/env python3
"""Runs agent, platform and driver on U-Boot, whose UEFI is another maker's: on the table that it publishes itself, conformed and as
it is, and TvqPlatformTest beside them. On AARCH64, unless --arch names another machine of its kind.

Exit status: 0 everything is as expected, 1 it is not.

SPDX-License-Identifier: BSD-2-Clause-Patent
"""

import sys

import run_test
import virtual_machine

# The agent gets its words as any program gets its arguments. Nothing can be loaded any more when it has run.
SCRIPT = (
    "load virtio 0 ${ramdisk_addr_r} TvqPlatformTest.efi",
    "setenv test ${ramdisk_addr_r}:${filesize}",
    "setenv bootargs TvqAgent.efi unattended",
    "load virtio 0 ${kernel_addr_r} TvqAgent.efi",
    "bootefi ${kernel_addr_r}",
    "bootefi ${test}",
)
# The table has no structure of type 225, and the agent puts it back.
PLATFORM_TEST = "TvqPlatformTest: 38 OK, 1 failed, 0 optional parts missing"
NO_NAMES = "a structure of type 225, format 1, names the devices ... FAIL"
SYSTEM = "System.Embedded.1.tvq"


def conformed_problems(machine):
    """Of a boot whose script runs the agent and TvqPlatformTest."""
    report = machine.boot(None, script=SCRIPT)
    yield from run_test.report_problems(report, None)
    if list(run_test.saved_files(machine.out)) != [SYSTEM]:
        yield f"the agent saved {sorted(run_test.saved_files(machine.out))}"
    yield from (f"the serial output lacks '{line}'" for line in (PLATFORM_TEST, NO_NAMES) if line not in machine.serial())


def as_is_problems(machine):
    """Of a boot where the driver finds nothing that it could start on, so that there is nothing to log either."""
    report = machine.boot(None, "as-is")
    yield from run_test.report_problems(report, "the driver's start failed: Not Found")
    if "cannot be written" in report:
        yield f"the report tells of a file that cannot be written:\n{report}"


def main(arguments):
    options = virtual_machine.argument_parser(__doc__.splitlines()[0]).parse_args(["--arch", "U-BOOT", *arguments])
    machine = virtual_machine.VirtualMachine(options)
    found = [*conformed_problems(machine), *as_is_problems(machine)]
    print("\n".join(found) or f"as expected; {PLATFORM_TEST}")
    return 1 if found else 0


if __name__ == "__main__":
    sys.exit(main(sys.argv[1:]))

#!/usr/bin/env python3
"""Makes an assertion of the driver fail on firmware: a DEBUG image prints it and goes on, a RELEASE image has none.

Exit status: 0 it is so, 1 it is not.

SPDX-License-Identifier: BSD-2-Clause-Patent
"""

import pathlib
import re
import sys

import virtual_machine

ASSERTION = "CR has Bad Signature"
# As DebugLib prints it; the number is that of the line.
PRINTED = re.compile(rf"^ASSERT \[TVQSMBIOS\] src/uefi/tvq\(\d+\): {ASSERTION}$", re.MULTILINE)
WENT_ON = "TvqFaults: the driver went on: Unsupported\nTvqFaults: assert : Success"

SCRIPT = ("load TVQ\\TvqPlatform.efi TVQ\\TVQSMBIOS.efi", "TvqAgent", "TvqFaults assert")


def problems(serial, released):
    """Yields what is not as expected of the serial output; `released` is the driver's image without assertions."""
    found = PRINTED.findall(serial)
    if len(found) != 1 or len(virtual_machine.assertions(serial)) != 1:
        yield f"{len(found)} of {len(virtual_machine.assertions(serial))} assertions were the one that was to fail"
    if WENT_ON not in serial:
        yield f"the serial output lacks '{WENT_ON}'"
    if ASSERTION.encode("ascii") in released:
        yield f"the RELEASE image has the assertion '{ASSERTION}'"


def main(arguments):
    parser = virtual_machine.argument_parser(__doc__.splitlines()[0])
    parser.add_argument("--table", required=True, type=pathlib.Path, help="a table for the agent")
    options = parser.parse_args(arguments)
    machine = virtual_machine.VirtualMachine(options)
    boot = machine.described(virtual_machine.dump_of(options, options.table), script=SCRIPT)
    virtual_machine.boot_qemu.run(boot)
    released = virtual_machine.boot_qemu.image_paths(options.images, "RELEASE", boot.guest)[virtual_machine.boot_qemu.DRIVER]
    found = list(problems(machine.serial(), released.read_bytes()))
    print("\n".join(found) or "as expected")
    return 1 if found else 0


if __name__ == "__main__":
    sys.exit(main(sys.argv[1:]))

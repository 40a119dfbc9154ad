#!/usr/bin/env python3
"""Reads outside a block of memory on purpose: guarded firmware has to stop there, and other firmware must not.

Exit status: 0 it is so, 1 it is not.

SPDX-License-Identifier: BSD-2-Clause-Patent
"""

import sys

import virtual_machine

# Where each guard stops the machine; without a guard it goes on.
LAST_WORDS = {
    "tail": "TvqFaults: reading the byte behind a block of pool",
    "head": "TvqFaults: reading the byte before the pages of a block of pool",
    None: "TvqFaults: outside : Success",
}


def problems(guard, failure, serial):
    """Yields what is not as expected; `failure` is what the boot ended with, if it did not end by itself."""
    stopped = failure is not None and "processor exception" in failure
    if stopped != (guard is not None):
        yield f"the boot ended with: {failure or 'no exception'}"
    said = [line for line in serial.splitlines() if line.startswith("TvqFaults: ")]
    if not said or said[-1] != LAST_WORDS[guard]:
        yield f"the last words were {said[-1:]}, expected: '{LAST_WORDS[guard]}'"


def main(arguments):
    options = virtual_machine.argument_parser(__doc__.splitlines()[0]).parse_args(arguments)
    machine = virtual_machine.VirtualMachine(options)
    failure = None
    try:
        virtual_machine.boot_qemu.run(machine.described(None, script=("TvqFaults outside",)))
    except virtual_machine.boot_qemu.BootFailure as caught:
        failure = str(caught)
    found = list(problems(options.guard, failure, machine.serial()))
    print("\n".join(found) or "as expected")
    return 1 if found else 0


if __name__ == "__main__":
    sys.exit(main(sys.argv[1:]))

#!/usr/bin/env python3
"""The command behind `./dev run`: builds the images when they are out of date, boots them and shows the agent's report.

The report goes to stdout, everything else to stderr. Exit status: 0 the agent reported success, 1 it did not, 2 wrong usage.

SPDX-License-Identifier: BSD-2-Clause-Patent
"""

import argparse
import contextlib
import pathlib
import subprocess
import sys
import time

import boot_qemu

ROOT = pathlib.Path(__file__).resolve().parent.parent
TARGET = "DEBUG"
# The table when the command line names none; None is the one that QEMU publishes.
DEFAULT_TABLE = None


def note(text):
    print(text, file=sys.stderr, flush=True)


@contextlib.contextmanager
def step(title):
    """Prints a title and, when the block ends, how long it took."""
    print(f"== {title} ... ", end="", file=sys.stderr, flush=True)
    start = time.monotonic()
    try:
        yield
    except BaseException:
        note("failed")
        raise
    note(f"{time.monotonic() - start:.1f} s")


def parse_arguments(arguments):
    parser = argparse.ArgumentParser(prog="./dev run", description="Boots the driver in QEMU and shows the agent's report.")
    table = parser.add_mutually_exclusive_group()
    table.add_argument("--table", metavar="FILE", type=pathlib.Path, help="the table to publish: what dmidecode --dump-bin writes, or a bare table")
    table.add_argument("--qemu-table", action="store_true", help="the table that QEMU publishes")
    parser.add_argument("--as-is", action="store_true", help="publish the table unchanged, even where devices clash")
    parser.add_argument("--out", metavar="DIR", type=pathlib.Path, help="where the agent's files go (build/run/<table>)")
    parser.add_argument("-v", "--verbose", action="store_true", help="show the tools' output and the serial line")
    return parser.parse_args(arguments)


def chosen_table(options):
    """The table file to boot with, or None for QEMU's own; ends the program when it cannot be read."""
    table = None if options.qemu_table else options.table or DEFAULT_TABLE
    if table:
        try:
            with open(table, "rb"):
                return table
        except OSError as error:
            note(f"dev: cannot read {table}: {error.strerror}")
            sys.exit(2)
    return None


def build(verbose):
    command = [str(ROOT / "dev"), "build", "firmware", "--target", TARGET] + (["-v"] if verbose else [])
    if subprocess.run(command, stdout=sys.stderr, check=False).returncode != 0:
        sys.exit(1)


def show_serial(chunk):
    sys.stderr.buffer.write(chunk)
    sys.stderr.buffer.flush()


def main(arguments):
    options = parse_arguments(arguments)
    table = chosen_table(options)
    name = table.stem if table else "qemu"
    boot = boot_qemu.Boot(
        images=boot_qemu.image_paths(ROOT / "build" / "firmware" / "Build", TARGET),
        out=options.out or ROOT / "build" / "run" / name,
        table=table,
        words=("as-is", "poweroff") if options.as_is else ("poweroff",),
        live=show_serial if options.verbose else None,
    )
    build(options.verbose)
    try:
        with step(f"Booting OVMF in QEMU with {table or 'the table of QEMU'}"):
            report = boot_qemu.run(boot)
    except boot_qemu.BootFailure as failure:
        if failure.details:
            note(f"-- the end of the serial output:\n{failure.details}\n--")
        note(f"dev: {failure}")
        if failure.hint:
            note(f"dev: {failure.hint}")
        return 1
    print(report.rstrip(), flush=True)
    note(f"Saved in {boot.out}")
    if not boot_qemu.succeeded(report):
        note(f"dev: the report does not end with '{boot_qemu.SUCCESS}'; {boot.out / 'log.txt'} may say why")
        return 1
    return 0


if __name__ == "__main__":
    sys.exit(main(sys.argv[1:]))

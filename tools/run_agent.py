#!/usr/bin/env python3
"""The command behind `./dev run`: builds the images when they are out of date, boots them and shows the agent's report.

The report goes to stdout, everything else to stderr. Exit status: 0 the agent reported success, 1 it did not, 2 wrong usage.

SPDX-License-Identifier: BSD-2-Clause-Patent
"""

import argparse
import pathlib
import sys
import tempfile

import agent_report
import boot_qemu
import guests
import machine
import table_source


def parse_arguments(arguments):
    parser = argparse.ArgumentParser(prog="./dev run", description="Boots the driver in QEMU and shows the agent's report.")
    table = parser.add_mutually_exclusive_group()
    table.add_argument(
        "--table",
        metavar="FILE",
        type=pathlib.Path,
        default=machine.SAMPLE,
        help=f"the table to publish: what dmidecode --dump-bin writes, a bare table, or the source of one ({table_source.SUFFIX})",
    )
    table.add_argument("--qemu-table", action="store_true", help="the table that QEMU publishes")
    parser.add_argument(
        "--arch", type=str.upper, choices=guests.BY_NAME, default=guests.X64.name, help="the machine to boot (X64)"
    )
    parser.add_argument("--as-is", action="store_true", help="publish the table unchanged, even where devices clash")
    parser.add_argument("--accept", action="store_true", help="save the state of this boot in place of the saved one")
    parser.add_argument("--out", metavar="DIR", type=pathlib.Path, help="where the agent's files go (build/run/<table>)")
    parser.add_argument("-v", "--verbose", action="store_true", help="show the tools' output and the serial line")
    return parser.parse_args(arguments)


def chosen_table(options):
    """The file to take the table from, or None for QEMU's own; ends the program when it cannot be read."""
    if options.qemu_table:
        return None
    try:
        with open(options.table, "rb"):
            return options.table
    except OSError as error:
        machine.note(f"dev: cannot read {options.table}: {error.strerror}")
        sys.exit(2)


def prepare_table(table, folder, verbose):
    """The file that the agent can read: the table itself, or what is built of its source."""
    if table is None or table.suffix != table_source.SUFFIX:
        return table
    machine.dev_build("tables", verbose=verbose)
    dump = pathlib.Path(folder, table.stem + ".bin")
    try:
        table_source.build_dump(machine.BUILD_TABLE, table, dump)
    except table_source.SourceError as error:
        machine.note(f"dev: {error}")
        sys.exit(2)
    return dump


def words_for_agent(options):
    words = {"as-is": options.as_is, "accept": options.accept, "poweroff": True}
    return tuple(word for word, wanted in words.items() if wanted)


def default_folder(table, guest):
    name = table.stem if table else "qemu"
    return machine.ROOT / "build" / "run" / (name if guest is guests.X64 else f"{name}-{guest.name.lower()}")


def run(options, table, folder):
    """Boots with the table and returns the report, or None."""
    guest = guests.BY_NAME[options.arch]
    machine.dev_build("firmware", "--arch", guest.architecture, "--target", machine.TARGET, verbose=options.verbose)
    boot = boot_qemu.Boot(
        images=boot_qemu.image_paths(machine.IMAGES, machine.TARGET, guest),
        out=options.out or default_folder(table, guest),
        guest=guest,
        table=prepare_table(table, folder, options.verbose),
        words=words_for_agent(options),
        live=machine.show_serial if options.verbose else None,
    )
    report = machine.boot(boot, f"Booting {guest.name} firmware in QEMU with {machine.shown(table) if table else 'the table of QEMU'}")
    if report is not None:
        print(report.rstrip(), flush=True)
        machine.note(f"Saved in {machine.shown(boot.out)}")
    return report


def main(arguments):
    options = parse_arguments(arguments)
    table = chosen_table(options)
    with tempfile.TemporaryDirectory(prefix="tvq-run-") as folder:
        report = run(options, table, folder)
    if report is None:
        return 1
    if not agent_report.succeeded(report):
        machine.note(f"dev: the report ends with '{agent_report.last_line(report)}'; it says further up what to do")
        return 1
    return 0


if __name__ == "__main__":
    sys.exit(main(sys.argv[1:]))

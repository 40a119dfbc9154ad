"""What the end-to-end tests share: their options, tables built of their source, and boots.

SPDX-License-Identifier: BSD-2-Clause-Patent
"""

import argparse
import dataclasses
import os
import pathlib
import sys

sys.path.insert(0, str(pathlib.Path(__file__).resolve().parent.parent.parent / "tools"))
import boot_qemu  # noqa: E402
import guests  # noqa: E402
import table_source  # noqa: E402

# A boot takes seconds, on a busy machine a multiple.
TIMEOUT = 150
# Where `./dev test` keeps the firmware that it builds itself, a folder for each kind.
OWN_FIRMWARE = "TVQ_OWN_FIRMWARE"


def argument_parser(description):
    parser = argparse.ArgumentParser(description=description)
    parser.add_argument("--images", type=pathlib.Path, required=True, help="EDK II's output folder")
    parser.add_argument("--arch", choices=guests.BY_NAME, default=guests.X64.name, help="the machine that boots")
    parser.add_argument(
        "--guard",
        choices=("tail", "head"),
        help=f"our own firmware with a guard at that end of every block, in the folder that {OWN_FIRMWARE} names",
    )
    parser.add_argument("--target", choices=("DEBUG", "RELEASE"), default="DEBUG")
    parser.add_argument("--build-table", type=pathlib.Path, required=True, help="the program that builds a table of its source")
    parser.add_argument("--out", type=pathlib.Path, required=True, help="where the files of the test go")
    return parser


def dump_of(options, table):
    """The table itself, or what is built of its source."""
    if table.suffix != table_source.SUFFIX:
        return table
    dump = options.out / f"{table.stem}.bin"
    try:
        table_source.build_dump(options.build_table, table, dump)
    except table_source.SourceError as error:
        sys.exit(str(error))
    return dump


def guest_of(options):
    """The machine that the options ask for; it may have other firmware than the distribution's."""
    guest = guests.BY_NAME[options.arch]
    return with_own_firmware(guest, options.guard) if options.guard else guest


def with_own_firmware(guest, kind):
    """The machine with firmware that `./dev test` built."""
    if OWN_FIRMWARE not in os.environ:
        sys.exit(f"{OWN_FIRMWARE} is not set; ./dev test sets it")
    folder = pathlib.Path(os.environ[OWN_FIRMWARE], kind)
    return dataclasses.replace(guest, code=folder / "OVMF_CODE.fd", variables=folder / "OVMF_VARS.fd")


def assertions(serial):
    """The assertions of our images that failed, as DEBUG images print them; the firmware's own go elsewhere."""
    return [line for line in serial.splitlines() if "ASSERT [" in line]


class VirtualMachine:
    """A machine that starts without a saved state and keeps it from boot to boot."""

    def __init__(self, options, guest=None, name="firmware"):
        self.options = options
        self.guest = guest or guest_of(options)
        self.out = options.out / name
        options.out.mkdir(parents=True, exist_ok=True)
        boot_qemu.empty_folder(self.out, keep_state=False)

    def described(self, table, *words, script=(), after=(), tables=None, writes=None):
        """One boot. With a script, the shell runs that in place of the agent; lines after the agent are for the shell too."""
        return boot_qemu.Boot(
            images=boot_qemu.image_paths(self.options.images, self.options.target, self.guest),
            out=self.out,
            guest=self.guest,
            table=table,
            words=words if after else (*words, "poweroff"),
            script=script,
            after=after,
            tables=tables or {},
            timeout=TIMEOUT,
            writes=writes,
        )

    def boot(self, table, *words, script=(), after=(), tables=None, writes=None):
        """The agent's report; without one, or when an assertion failed, the test ends."""
        try:
            report = boot_qemu.run(self.described(table, *words, script=script, after=after, tables=tables, writes=writes))
        except boot_qemu.BootFailure as failure:
            sys.exit(f"{failure}\n{failure.hint}\n{failure.details}")
        failed = assertions(self.serial())
        if failed:
            sys.exit("\n".join(failed))
        return report

    def serial(self):
        """What the last boot wrote on the serial line."""
        return (self.out / "serial.txt").read_text(encoding="utf-8")

    def state(self):
        """The saved states: a dictionary of path to bytes."""
        return {path.as_posix(): (self.out / path).read_bytes() for path in boot_qemu.saved_states(self.out)}

#!/usr/bin/env python3
"""Cuts the power at every write of a boot that saves a state: whatever write was the last one, the disk has the state that was
saved before, no file that nobody wrote is another one, and the new state is whole or says that it was cut off.

Exit status: 0 everything is as expected, 1 it is not.

SPDX-License-Identifier: BSD-2-Clause-Patent
"""

import os
import re
import shutil
import struct
import subprocess
import sys

import virtual_machine
import agent_report
import boot_qemu
import demo
import state_file

FOLDER = "machine-TVQ2S01"
OLD, NEW = f"{FOLDER}/state-1.bin", f"{FOLDER}/state-2.bin"
# What fsck.fat may say after a power cut: clusters that no file has, a dirty bit, a second FAT that is older than the first.
HARMLESS = (
    r"fsck\.fat \d.*",
    r"Dirty bit is set\..*",
    r"0x41: Dirty bit is set\..*",
    r" Automatically removing dirty bit\.",
    r"FATs differ.*",
    r"  Using first FAT\.",
    # The name of a new file that has not got its entry yet.
    r"Orphaned long file name part .*",
    r"  Auto-deleting\.",
    r"Reclaimed \d+ unused clusters? .*",
    r"Free cluster summary (wrong|uninitialized).*",
    r"  ?Auto-(correct|sett)ing\.",
    r"Leaving filesystem unchanged\.",
    r".*: \d+ files, \d+/\d+ clusters",
    r"",
)
# Where Debian has it, also where the path is not root's.
FSCK = shutil.which("fsck.fat", path=f"{os.environ.get('PATH', '')}:/usr/sbin:/sbin")


def writes_of(log):
    """Yields the offset and the bytes of each write in the order in which they reached the disk."""
    content = log.read_bytes()
    magic, version, count, sector_size = struct.unpack_from("<QQQI", content)
    if (magic, version) != (0x6A736677736872, 1):
        sys.exit(f"{log} is no log of writes")
    at = sector_size
    for _ in range(count):
        sector, sectors, flags, _ = struct.unpack_from("<QQQQ", content, at)
        at += sector_size
        if flags & 4:
            continue  # a discard has no data
        size = sectors * sector_size
        if size:
            yield sector * sector_size, content[at : at + size]
        at += size


class Disk:
    """The disk image while it is written again."""

    def __init__(self, path):
        self.path = path

    def read(self, name):
        """The file's bytes, or None."""
        result = subprocess.run(["mtype", "-i", self.path, f"::/TVQ/{name}"], capture_output=True, check=False)
        return result.stdout if result.returncode == 0 else None

    def complaints(self):
        """What fsck.fat says that it should not."""
        result = subprocess.run([FSCK, "-n", self.path], capture_output=True, text=True, check=False)
        for line in (result.stdout + result.stderr).splitlines():
            if not any(re.fullmatch(pattern, line) for pattern in HARMLESS):
                yield line


def is_whole(state):
    generation, sections = state_file.read(state)
    return state == state_file.write(generation, sections)


def ends_as_state(state):
    return state[-16:] == struct.pack("<IIQ", 5, 8, 2)


def new_state_problem(state):
    """What is wrong with the new state; None when it is missing, whole, or seen to be cut off."""
    if state is None or not ends_as_state(state) or is_whole(state):
        return None
    return f"{NEW} has its end, and is not whole"


def main(arguments):
    options = virtual_machine.argument_parser(__doc__.splitlines()[0]).parse_args(arguments)
    if not FSCK:
        sys.exit("fsck.fat is not installed; ./dev setup installs it")
    machine = virtual_machine.VirtualMachine(options)
    before, after = demo.build_tables(options.build_table, options.out)
    machine.boot(before)
    old = machine.state()[OLD]
    folder = options.out / "writes"
    report = machine.boot(after, "accept", writes=folder)
    if not agent_report.state_line(report).startswith("accepted") or NEW not in machine.state():
        sys.exit(f"{report}\nexpected: the new state is saved")
    problems = list(replay(folder, old))
    print("\n".join(problems))
    return 1 if problems else 0


def replay(folder, old):
    image = folder / boot_qemu.DISK_BEFORE
    disk = Disk(image)
    images = {name: disk.read(name) for name in (boot_qemu.DRIVER, boot_qemu.PLATFORM, "table.bin", "options.txt")}
    count, cut_off, whole = 0, 0, 0
    with open(image, "r+b", buffering=0) as file:
        for offset, content in writes_of(folder / boot_qemu.WRITES):
            file.seek(offset)
            file.write(content)
            count += 1
            new = disk.read(NEW)
            cut_off += new is not None and not ends_as_state(new)
            whole += new is not None and ends_as_state(new)
            yield from (f"after write {count}: {what}" for what in problems_of(disk, old, new, images))
    print(f"{count} writes, after each of which the power could go: the new state was cut off after {cut_off}, whole after {whole}")
    if not cut_off or not whole:
        yield "the writes are not those of a save"


def problems_of(disk, old, new, images):
    if disk.read(OLD) != old:
        yield f"{OLD} is another one"
    if what := new_state_problem(new):
        yield what
    for name, content in images.items():
        if disk.read(name) != content:
            yield f"{name} is another one"
    yield from disk.complaints()


if __name__ == "__main__":
    sys.exit(main(sys.argv[1:]))

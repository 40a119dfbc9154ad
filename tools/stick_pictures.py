#!/usr/bin/env python3
"""The command behind `./dev image --pictures`: boots the stick in QEMU as somebody at the keyboard would, and takes the pictures of
docs/stick.md again. Between the two visits the parts of ./dev demo are exchanged.

Exit status: 0 all are taken, 1 they are not.

SPDX-License-Identifier: BSD-2-Clause-Patent
"""

import pathlib
import shutil
import subprocess
import sys
import tempfile
import time

import attended
import boot_qemu
import demo
import guests
import machine
import stick_image
import table_source

PICTURES = machine.ROOT / "docs" / "pictures"
VOLUME = f"@@{stick_image.MARGIN}"


# What the device has on its line while it is the chosen one.
CHOSEN = ">! DIMM_A3"
# The display follows the serial console within so many seconds.
DISPLAY_SECONDS = 1.0


def take_picture(screen, name):
    time.sleep(DISPLAY_SECONDS)
    screen.picture(PICTURES / f"{name}.png")


def switch_off(screen):
    screen.press("p")
    screen.wait_for("Switch the machine off?")
    screen.press("y")
    screen.wait_until_off()


def first_visit(screen):
    screen.wait_for("First visit")
    screen.wait_for("Q:Leave")
    take_picture(screen, "first-visit")
    switch_off(screen)


def chosen(screen):
    """The line of the chosen device; empty while none is drawn."""
    return next((line for line in screen.screen() if line.startswith(">")), "")


def second_visit(screen):
    """The last row is drawn last, the one above it before that."""
    screen.wait_for("not what was saved")
    screen.wait_for("Q:Leave")
    take_picture(screen, "second-visit")
    screen.press("down")
    screen.wait_until_gone("Goes on by itself")
    while not chosen(screen).startswith(CHOSEN):
        before = chosen(screen)
        screen.press("down")
        screen.wait_until(lambda: chosen(screen) not in (before, ""), "the next device")
        time.sleep(DISPLAY_SECONDS)  # Its line comes in pieces.
    take_picture(screen, "inventory")
    screen.press("d")
    screen.wait_for("Q:Back to the list")
    take_picture(screen, "device")
    screen.press("q")
    screen.wait_for("Q:Leave")
    screen.press("a")
    screen.wait_for("with all that changed?")
    take_picture(screen, "accept")
    screen.press("y")
    screen.wait_for("Accepted, and saved")
    switch_off(screen)


def refused(screen):
    screen.wait_for("Access Denied")
    screen.wait_for("Press any key")
    take_picture(screen, "refused")


def boot(guest, stick, folder, visit):
    variables = folder / "variables.fd"
    shutil.copyfile(guest.variables, variables)
    with attended.Machine(guests.qemu_command(guest, stick, variables, medium="usb", display=True)) as screen:
        visit(screen)


def take(folder):
    stick = folder / "stick.img"
    if stick_image.main(["--out", str(stick)]) != 0:
        raise boot_qemu.BootFailure("the stick cannot be made")
    boot(guests.SECURE_X64, stick, folder, refused)
    tables = demo.build_tables(machine.BUILD_TABLE, folder)
    for table, visit in zip(tables, (first_visit, second_visit)):
        boot_qemu.run_tool("mcopy", "-o", "-i", f"{stick}{VOLUME}", str(table), f"::/{boot_qemu.FOLDER}/table.bin")
        boot(guests.X64, stick, folder, visit)


def main():
    PICTURES.mkdir(exist_ok=True)
    machine.dev_build("tables")
    try:
        with tempfile.TemporaryDirectory(prefix="tvq-pictures-") as folder:
            take(pathlib.Path(folder))
    except (attended.AttendedFailure, boot_qemu.BootFailure, table_source.SourceError, subprocess.SubprocessError) as error:
        machine.note(f"dev: {error}")
        return 1
    for picture in sorted(PICTURES.glob("*.png")):
        print(f"{picture.stat().st_size:9,}  {machine.shown(picture)}")
    return 0


if __name__ == "__main__":
    sys.exit(main())

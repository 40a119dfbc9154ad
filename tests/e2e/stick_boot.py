"""Boots of a stick or a disc that `./dev image` makes: images, machines, and what a boot leaves.

SPDX-License-Identifier: BSD-2-Clause-Patent
"""

import contextlib
import dataclasses
import io
import pathlib
import resource
import shutil
import subprocess
import sys

import virtual_machine
import attended
import boot_qemu
import guests
import stick_image

# Where the file system of a stick begins.
PARTITION = f"@@{stick_image.MARGIN}"
# What tells the agent's words on the serial console from the firmware's.
FIRST_WORD = "TvqAgent"
# The key that Debian's package ships with the variables that know it, and its pass phrase.
SNAKEOIL = pathlib.Path("/usr/share/ovmf")
KEY, CERTIFICATE, PASS_PHRASE = SNAKEOIL / "PkKek-1-snakeoil.key", SNAKEOIL / "PkKek-1-snakeoil.pem", "snakeoil"
# Nobody is at the keyboard.
UNATTENDED = "poweroff"


class Images:
    """The images of a test, each made once."""

    def __init__(self, options):
        self._options = options
        self._made = {}
        options.out.mkdir(parents=True, exist_ok=True)

    def _key(self):
        """The key without its pass phrase."""
        key = self._options.out / "key.pem"
        if not key.is_file():
            command = ["openssl", "rsa", "-in", KEY, "-passin", f"pass:{PASS_PHRASE}", "-out", key]
            subprocess.run(command, check=True, capture_output=True)
        return key

    def path(self, disc=False, signed=False):
        name = f"{'signed' if signed else 'plain'}.{'iso' if disc else 'img'}"
        if name not in self._made:
            out = self._options.out / name
            arguments = ["--images", str(self._options.images), "--out", str(out), "--options", UNATTENDED]
            arguments += ["--iso"] if disc else []
            arguments += ["--sign", str(self._key()), str(CERTIFICATE)] if signed else []
            with contextlib.redirect_stdout(io.StringIO()):
                status = stick_image.main(arguments)
            if status != 0:
                sys.exit("the image cannot be made")
            self._made[name] = out
        return self._made[name]


@dataclasses.dataclass
class Outcome:
    """What a boot left."""

    serial: str
    seconds: float | None  # from the start of the firmware to the agent's first words; None: it said nothing
    processor: float  # seconds that QEMU took of this machine's processors
    problem: str  # empty where the machine switched itself off


def processor_seconds():
    used = resource.getrusage(resource.RUSAGE_CHILDREN)
    return used.ru_utime + used.ru_stime


def boot(guest, image, variables, medium, table=guests.TABLE, until=None, sitting=None):
    """Boots until the machine is off, or until it has said something. The image is written to. `sitting` is called with the
    machine, as somebody who sits there."""
    if guest.variables and not variables.exists():
        shutil.copyfile(guest.variables, variables)
    before = processor_seconds()
    problem = ""
    with attended.Machine(guests.qemu_command(guest, image, variables, medium=medium, table=table)) as machine:
        try:
            if sitting:
                sitting(machine)
            if until:
                machine.wait_for_output(until, virtual_machine.TIMEOUT)
            else:
                machine.wait_until_off(virtual_machine.TIMEOUT)
        except attended.AttendedFailure as failure:
            problem = str(failure)
        serial, seconds = boot_qemu.plain_text(machine.raw()), machine.seconds_to(FIRST_WORD)
    return Outcome(serial, seconds, processor_seconds() - before, problem)


class Stick:
    """A copy of an image that boots write to."""

    def __init__(self, image, folder):
        folder.mkdir(parents=True, exist_ok=True)
        self.path, self.folder = folder / "stick.img", folder
        shutil.copyfile(image, self.path)

    def write(self, name, data):
        source = self.folder / "file"
        source.write_bytes(data)
        boot_qemu.run_tool("mcopy", "-o", "-i", f"{self.path}{PARTITION}", str(source), f"::/{name}")

    def file(self, name):
        """The bytes of one file."""
        copy = self.folder / "file"
        boot_qemu.run_tool("mcopy", "-n", "-i", f"{self.path}{PARTITION}", f"::/{name}", str(copy))
        return copy.read_bytes()

    def read(self):
        """The stick's folder TVQ, copied here."""
        copy = self.folder / boot_qemu.FOLDER
        if copy.exists():
            shutil.rmtree(copy)
        boot_qemu.run_tool("mcopy", "-n", "-s", "-i", f"{self.path}{PARTITION}", f"::/{boot_qemu.FOLDER}", str(self.folder))
        return copy

#!/usr/bin/env python3
"""Boots the stick and the disc that `./dev image` makes, on one machine or on all of them, and prints what became of each boot.

usage: stick_test.py OPTIONS CASE... (or --all)

Exit status: 0 everything is as expected, 1 it is not.

SPDX-License-Identifier: BSD-2-Clause-Patent
"""

import dataclasses
import pathlib
import re
import subprocess
import sys

import stick_boot
import virtual_machine
import agent_report
import boot_qemu
import guests
import variable_store

SECURE_AARCH64 = dataclasses.replace(
    guests.AARCH64,
    name="AARCH64-SECURE",
    code=guests.AARCH64.code.with_name("AAVMF_CODE.ms.fd"),
    variables=guests.AARCH64.variables.with_name("AAVMF_VARS.snakeoil.fd"),
)
# What OVMF and AAVMF say of a boot file that nobody signed whom they know, and the agent of a driver. docs/stick.md quotes both.
REFUSAL = "Access Denied"
REFUSED_STICK = re.compile(r'BdsDxe: failed to load Boot\d+ "UEFI QEMU QEMU USB HARDDRIVE [^"\n]+" from \S+: Access Denied')
REFUSED_DRIVER = "Problem: \\TVQ\\X64\\TVQSMBIOS.efi cannot be loaded: Access Denied."
PAGE = pathlib.Path(__file__).resolve().parent.parent.parent / "docs" / "stick.md"
# Where the images of the driver lie on the stick.
DRIVER = f"{boot_qemu.FOLDER}/{guests.X64.architecture}/{boot_qemu.DRIVER}"


@dataclasses.dataclass(frozen=True)
class Case:
    """One machine and what it boots."""

    name: str
    guest: guests.Guest
    medium: str
    signed: bool = False
    enrolled: int = 0  # how many of the three images the firmware knows by hash
    expected: object = None  # yields what is not as it should be, of a machine that does not boot the agent as usual


def refused(outcome, _):
    """The firmware does not start what nobody signed."""
    for name, text in (("the firmware", outcome.serial), (PAGE.name, PAGE.read_text(encoding="utf-8"))):
        if not REFUSED_STICK.search(text):
            yield f"{name} does not say '{REFUSED_STICK.pattern}'"
    if outcome.seconds is not None:
        yield "the agent was started"


def driver_refused(outcome, report):
    """The agent was signed, the driver was not."""
    if outcome.problem:
        yield outcome.problem
    if not report or not agent_report.last_line(report).startswith(agent_report.FAILED):
        yield "the report does not end with a failure"
    for name, text in (("the report", report or ""), (PAGE.name, PAGE.read_text(encoding="utf-8"))):
        if REFUSED_DRIVER not in text.splitlines():
            yield f"{name} does not say '{REFUSED_DRIVER}'"
    if not report or "Secure Boot" not in report:
        yield "the report does not tell of Secure Boot"


def inventory(outcome, report):
    """The agent ran to its end, on a medium that it wrote its report to or cannot write to."""
    if outcome.problem:
        yield outcome.problem
    said = outcome.serial if report is None else report
    if agent_report.SUCCESS not in said.splitlines():
        yield f"nothing says '{agent_report.SUCCESS}'"


X64, AARCH64, U_BOOT, SECURE_X64 = guests.X64, guests.AARCH64, guests.U_BOOT, guests.SECURE_X64
CASES = (
    Case("x64-usb", X64, "usb"),
    Case("x64-nvme", X64, "nvme"),
    Case("x64-ahci", X64, "ahci"),
    Case("x64-virtio", X64, "virtio"),
    Case("x64-cdrom", X64, "cdrom"),
    Case("x64-usb-cdrom", X64, "usb-cdrom"),
    Case("secure-x64-usb-signed", SECURE_X64, "usb", signed=True),
    Case("secure-x64-usb-unsigned", SECURE_X64, "usb", expected=refused),
    Case("secure-x64-usb-driver-unsigned", SECURE_X64, "usb", signed=True, expected=driver_refused),
    Case("secure-x64-usb-three-hashes", SECURE_X64, "usb", enrolled=3),
    Case("secure-x64-usb-two-hashes", SECURE_X64, "usb", enrolled=2, expected=driver_refused),
    Case("secure-x64-cdrom-signed", SECURE_X64, "cdrom", signed=True),
    Case("aarch64-usb", AARCH64, "usb"),
    Case("aarch64-nvme", AARCH64, "nvme"),
    Case("aarch64-virtio", AARCH64, "virtio"),
    Case("aarch64-usb-cdrom", AARCH64, "usb-cdrom"),
    Case("secure-aarch64-usb-signed", SECURE_AARCH64, "usb", signed=True),
    Case("secure-aarch64-usb-unsigned", SECURE_AARCH64, "usb", expected=refused),
    Case("u-boot-virtio", U_BOOT, "virtio"),
    Case("u-boot-ahci", U_BOOT, "ahci"),
    Case("u-boot-nvme", U_BOOT, "nvme"),
)
VISITS = "two-machines"


def stick_of(case, images, folder):
    """The stick that the case boots from, or None for a disc."""
    if case.medium in guests.CDROMS:
        return None
    stick = stick_boot.Stick(images.path(signed=case.signed), folder)
    if case.expected is driver_refused:
        plain = stick_boot.Stick(images.path(), folder / "plain").read() / guests.X64.architecture / boot_qemu.DRIVER
        stick.write(DRIVER, plain.read_bytes())
    return stick


def enrolled(case, stick):
    """The firmware's variables in which a setup menu has enrolled images of the stick by hash."""
    folder = f"{boot_qemu.FOLDER}/{case.guest.architecture}"
    names = (f"EFI/BOOT/{case.guest.boot_file}", f"{folder}/{boot_qemu.PLATFORM}", f"{folder}/{boot_qemu.DRIVER}")
    return variable_store.enrol(case.guest.variables.read_bytes(), [stick.file(name) for name in names[: case.enrolled]])


def run(case, images, folder):
    """The outcome of a case and what is not as expected."""
    stick = stick_of(case, images, folder)
    medium = stick.path if stick else images.path(disc=True, signed=case.signed)
    folder.mkdir(parents=True, exist_ok=True)
    variables = folder / "variables.fd"
    variables.unlink(missing_ok=True)
    if case.enrolled:
        variables.write_bytes(enrolled(case, stick))
    outcome = stick_boot.boot(
        case.guest, medium, variables, case.medium, until=REFUSAL if case.expected is refused else None
    )
    (folder / "serial.txt").write_text(outcome.serial, encoding="utf-8")
    report = boot_qemu.read_report(stick.read()) if stick else None
    found = list((case.expected or inventory)(outcome, report))
    if not found:
        remove_large(folder)
    return outcome, found


def remove_large(folder):
    """What nobody looks at after a boot that was as expected."""
    for path in (*folder.rglob("*.img"), *folder.rglob("*.fd")):
        path.unlink()


class Machine:
    """One of the machines that a stick goes to: it has its own numbers, and one module."""

    def __init__(self, number):
        self.number = number
        self.module = f"{number}-MODULE"

    def table(self):
        numbers = {"TVQ0001": self.number, "TVQB001": f"{self.number}-BOARD", "TVQM001": self.module}
        structures = list(guests.TABLE)
        for old, new in numbers.items():
            structures = [structure.replace(old, new) for structure in structures]
        return structures


def accept_and_switch_off(machine):
    """Somebody at the serial console, who accepts what was found."""
    machine.wait_for(" is not what was saved ")
    machine.wait_for("DIMM.Socket.0 (DIMM 0): replaced")
    machine.type("a")
    machine.wait_for("with all that changed?")
    machine.type("y")
    machine.wait_for("Accepted, and saved")
    machine.type("p")
    machine.wait_for("Switch the machine off?")
    machine.type("y")


class Visits:
    """A stick that goes from machine to machine."""

    def __init__(self, options, images):
        self.tvq = options.tvq
        self.stick = stick_boot.Stick(images.path(), options.out / VISITS)
        # QEMU makes one module of so much memory.
        self.guest = dataclasses.replace(guests.X64, memory="16G")
        self.found = []
        self.outcomes = []

    def visit(self, machine, sitting=None):
        """One boot; returns the report. `sitting` is somebody at the keyboard."""
        self.stick.write(f"{boot_qemu.FOLDER}/options.txt", b"" if sitting else stick_boot.UNATTENDED.encode())
        variables = self.stick.folder / f"{machine.number}.fd"
        outcome = stick_boot.boot(self.guest, self.stick.path, variables, "usb", machine.table(), sitting=sitting)
        self.outcomes.append(outcome)
        report = boot_qemu.read_report(self.stick.read())
        self.found += inventory(outcome, report)
        return report

    def expect(self, condition, what):
        if not condition:
            self.found.append(what)

    def states(self):
        return [path.as_posix() for path in boot_qemu.saved_states(self.stick.folder / boot_qemu.FOLDER)]

    def said_by_tvq(self, status, *words):
        """What tvq prints of the stick's folder."""
        done = subprocess.run([self.tvq, *words], cwd=self.stick.folder, capture_output=True, text=True, check=False)
        said = f"{done.stdout}{done.stderr}"
        self.expect(done.returncode == status, f"tvq {' '.join(words)} ended with {done.returncode}:\n{said}")
        return said

    def run(self):
        """Two machines, a module exchanged in one of them, and its state brought home."""
        one, other = Machine("ONE1"), Machine("TWO2")
        self.visit(one)
        self.visit(other)
        first, second = "machine-ONE1/state-1.bin", "machine-TWO2/state-1.bin"
        self.expect(self.states() == [first, second], f"the states are {self.states()}")
        one.module = "EXCHANGED"
        findings = agent_report.findings(self.visit(one, accept_and_switch_off))
        # The report has them once more, behind what was done at the screen.
        self.expect({(finding.verdict, finding.fqdd) for finding in findings} == {("replaced", "DIMM.Socket.0")},
                    f"of the first machine it found {findings}")
        findings = agent_report.findings(self.visit(other))
        self.expect(not findings, f"of the second machine it found {findings}")
        accepted = "machine-ONE1/state-2.bin"
        self.expect(self.states() == [first, accepted, second], f"the states are {self.states()}")
        self.at_the_desk(first, accepted)

    def at_the_desk(self, first, accepted):
        folder = boot_qemu.FOLDER
        shown = self.said_by_tvq(0, "show", f"{folder}/machine-ONE1")
        self.expect("ONE1" in shown and "EXCHANGED" in shown, f"tvq show says:\n{shown}")
        differs = self.said_by_tvq(1, "diff", f"{folder}/{first}", f"{folder}/{accepted}")
        self.expect("DIMM.Socket.0 (DIMM 0): replaced" in differs, f"tvq diff says:\n{differs}")
        self.said_by_tvq(0, "verify", f"{folder}/machine-ONE1", "--from-dump", f"{folder}/{accepted}")
        verified = self.said_by_tvq(1, "verify", f"{folder}/machine-ONE1", "--from-dump", f"{folder}/{first}")
        self.expect("DIMM.Socket.0 (DIMM 0): replaced" in verified, f"tvq verify says:\n{verified}")


def line(name, result, seconds, processor):
    first = "-" if seconds is None else f"{seconds:.1f}"
    return f"{name:32} {result:8} {first:>8} {processor:9.1f}"


def run_named(name, options, images):
    """Runs one case, prints its line, and returns what is not as expected."""
    if name == VISITS:
        visits = Visits(options, images)
        visits.run()
        found = visits.found
        seconds = [outcome.seconds for outcome in visits.outcomes if outcome.seconds is not None]
        first, processor = min(seconds, default=None), sum(outcome.processor for outcome in visits.outcomes)
        good = f"{len(visits.outcomes)} boots"
    else:
        case = next(case for case in CASES if case.name == name)
        outcome, found = run(case, images, options.out / name)
        first, processor = outcome.seconds, outcome.processor
        good = "refused" if case.expected else "success"
    print(line(name, "FAILED" if found else good, first, processor), flush=True)
    return [f"{name}: {problem}" for problem in found]


def main(arguments):
    names = [case.name for case in CASES] + [VISITS]
    parser = virtual_machine.argument_parser(__doc__.splitlines()[0])
    parser.add_argument("--tvq", required=True, help="the program tvq")
    parser.add_argument("--all", action="store_true", help="every case")
    parser.add_argument("cases", nargs="*", choices=[[], *names], metavar="CASE", help=", ".join(names))
    options = parser.parse_args(arguments)
    images = stick_boot.Images(options)
    for disc in (False, True):
        images.path(disc)
    print(f"\n{'machine and medium':32} {'outcome':8} {'first s':>8} {'cpu s':>9}")
    found = []
    for name in names if options.all else options.cases:
        found += run_named(name, options, images)
    print("\n".join(["", *found]))
    return 1 if found else 0


if __name__ == "__main__":
    sys.exit(main(sys.argv[1:]))

"""The machines that QEMU plays: what each needs of this one, and the command that starts it.

SPDX-License-Identifier: BSD-2-Clause-Patent
"""

import dataclasses
import pathlib

# QEMU makes one memory module of every 16 GiB. The memory is only promised to the guest, not taken from this machine.
MEMORY = "64G"
SOCKETS = 2
TABLE = [
    "type=0,vendor=TVQ Reference,version=1.0,date=01/02/2024",
    "type=1,manufacturer=TVQ Reference,product=TVQ Reference Machine,version=1.0,serial=TVQ0001,sku=TVQ-REF,"
    "family=Reference",
    "type=2,manufacturer=TVQ Reference,product=TVQ Reference Board,serial=TVQB001",
    "type=3,manufacturer=TVQ Reference,serial=TVQC001,asset=TVQA001",
    "type=4,sock_pfx=CPU,manufacturer=TVQ Reference,version=TVQ Reference Processor,serial=TVQP001,part=TVQ-CPU",
    "type=17,loc_pfx=DIMM,bank=BANK 0,manufacturer=TVQ Reference,serial=TVQM001,asset=TVQMA01,part=TVQ-DIMM,speed=3200",
]


@dataclasses.dataclass(frozen=True)
class Guest:
    """One kind of machine."""

    name: str  # As EDK II names the architecture.
    toolchain: str  # Whose images boot.
    boot_file: str  # What firmware starts from a disk that nobody installed.
    program: str  # Of QEMU.
    options: tuple  # Of that program, for this machine.
    code: pathlib.Path  # The firmware.
    variables: pathlib.Path  # The store of its variables as it is before the first boot.
    package: str  # Where the firmware comes from.
    crash: bytes  # What the firmware prints before it stops for good.


X64 = Guest(
    name="X64",
    toolchain="GCC5",
    boot_file="BOOTX64.EFI",
    program="qemu-system-x86_64",
    options=("-machine", "q35,accel=tcg,memory-backend=ram", "-vga", "none"),
    code=pathlib.Path("/usr/share/OVMF/OVMF_CODE_4M.fd"),
    variables=pathlib.Path("/usr/share/OVMF/OVMF_VARS_4M.fd"),
    package="ovmf",
    crash=b"Exception Type - ",
)
AARCH64 = Guest(
    name="AARCH64",
    toolchain="GCC49",
    boot_file="BOOTAA64.EFI",
    program="qemu-system-aarch64",
    options=("-machine", "virt,accel=tcg,memory-backend=ram", "-cpu", "cortex-a57"),
    code=pathlib.Path("/usr/share/AAVMF/AAVMF_CODE.fd"),
    variables=pathlib.Path("/usr/share/AAVMF/AAVMF_VARS.fd"),
    package="qemu-efi-aarch64",
    crash=b"Synchronous Exception at ",
)
BY_NAME = {guest.name: guest for guest in (X64, AARCH64)}


def qemu_command(guest, disk, variables):
    """Starts the machine with a disk and a store of variables that it may write to; its serial line is stdout."""
    command = [guest.program, *guest.options, "-nodefaults", "-no-reboot", "-display", "none", "-net", "none"]
    command += ["-m", MEMORY, "-object", f"memory-backend-ram,id=ram,size={MEMORY},reserve=off"]
    command += ["-smp", f"{SOCKETS},sockets={SOCKETS}"]
    command += ["-drive", f"if=pflash,format=raw,unit=0,readonly=on,file={guest.code}"]
    command += ["-drive", f"if=pflash,format=raw,unit=1,file={variables}"]
    command += ["-drive", f"if=none,id=disk,format=raw,file={disk}", "-device", "virtio-blk-pci,drive=disk"]
    command += ["-serial", "stdio"]
    for structure in TABLE:
        command += ["-smbios", structure]
    return command

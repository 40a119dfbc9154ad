"""The machines that QEMU plays: what each needs of this one, and the command that starts it.

SPDX-License-Identifier: BSD-2-Clause-Patent
"""

import dataclasses
import pathlib
import struct
import zlib

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

# What the disk can be, and what plugs it in: the controllers first.
VIRTIO = "virtio"
MEDIA = {
    VIRTIO: ("virtio-blk-pci,drive=disk",),
    "usb": ("qemu-xhci,id=stick", "usb-storage,bus=stick.0,drive=disk,removable=on"),
    "nvme": ("nvme,drive=disk,serial=TVQ",),
    "ahci": ("ich9-ahci,id=stick", "ide-hd,bus=stick.0,drive=disk"),
    # As a management controller plugs in its virtual media.
    "usb-cdrom": ("qemu-xhci,id=stick", "usb-bot,bus=stick.0,id=bot", "scsi-cd,bus=bot.0,lun=0,drive=disk"),
    "cdrom": ("ich9-ahci,id=stick", "ide-cd,bus=stick.0,drive=disk"),
}
CDROMS = ("usb-cdrom", "cdrom")


def shell_script(lines):
    """A script that UEFI's shell runs by itself from a disk that has nothing to boot."""
    return "".join(f"{line}\r\n" for line in ("@echo -off", "fs0:", *lines, "reset -s")).encode("ascii")


def u_boot_script(lines):
    """A script that U-Boot runs before it looks for a boot file: text behind a length, in an image of the old format."""
    text = "".join(f"{line}\n" for line in (*lines, "poweroff")).encode("ascii")
    data = struct.pack(">II", len(text), 0) + text
    # Linux, 64-bit ARM, script, not compressed.
    kind = struct.pack(">4B32s", 5, 22, 6, 0, b"TVQ")

    def header(checksum):
        return struct.pack(">7I", 0x27051956, checksum, 0, len(data), 0, 0, zlib.crc32(data)) + kind

    return header(zlib.crc32(header(0))) + data


@dataclasses.dataclass(frozen=True)
class Guest:
    """One kind of machine."""

    name: str
    architecture: str  # As EDK II names it.
    boot_file: str  # What firmware starts from a disk that nobody installed.
    program: str  # Of QEMU.
    options: tuple  # Of that program, for this machine.
    code: pathlib.Path  # The firmware.
    variables: pathlib.Path | None  # The store of its variables as it is before the first boot; None when it has none.
    package: str  # Where the firmware comes from.
    crash: bytes  # What the firmware prints before it stops for good.
    banner: bytes = b""  # All that it prints before it starts anything, where it was seen to hang there.
    memory: str = MEMORY
    sockets: int = SOCKETS
    display: tuple = ()  # Options that give it a display and a keyboard.
    script_file: str = "startup.nsh"
    script: object = shell_script  # Makes that file's bytes of the lines.
    takes_table: bool = True  # QEMU makes an SMBIOS table for such a machine.


X64 = Guest(
    name="X64",
    architecture="X64",
    boot_file="BOOTX64.EFI",
    program="qemu-system-x86_64",
    options=("-machine", "q35,accel=tcg,memory-backend=ram"),
    code=pathlib.Path("/usr/share/OVMF/OVMF_CODE_4M.fd"),
    variables=pathlib.Path("/usr/share/OVMF/OVMF_VARS_4M.fd"),
    package="ovmf",
    crash=b"Exception Type - ",
    display=("-vga", "std"),
)
# The same with Secure Boot on, and the keys that Debian's package of the firmware ships for tests.
SECURE_X64 = dataclasses.replace(
    X64,
    name="X64-SECURE",
    options=(
        *("-machine", "q35,smm=on,accel=tcg,memory-backend=ram"),
        *("-global", "driver=cfi.pflash01,property=secure,value=on"),
    ),
    code=pathlib.Path("/usr/share/OVMF/OVMF_CODE_4M.secboot.fd"),
    variables=pathlib.Path("/usr/share/OVMF/OVMF_VARS_4M.snakeoil.fd"),
    # With two processors this firmware hangs before it says anything.
    sockets=1,
)
AARCH64 = Guest(
    name="AARCH64",
    architecture="AARCH64",
    boot_file="BOOTAA64.EFI",
    program="qemu-system-aarch64",
    options=("-machine", "virt,accel=tcg,memory-backend=ram", "-cpu", "cortex-a57"),
    code=pathlib.Path("/usr/share/AAVMF/AAVMF_CODE.fd"),
    variables=pathlib.Path("/usr/share/AAVMF/AAVMF_VARS.fd"),
    package="qemu-efi-aarch64",
    crash=b"Synchronous Exception at ",
    banner=b"UEFI firmware (version ",
    display=("-device", "virtio-gpu-pci", "-device", "qemu-xhci,id=keys", "-device", "usb-kbd,bus=keys.0"),
)
# The UEFI of another maker. It publishes a table of its own and starts the disk's boot file by itself.
U_BOOT = dataclasses.replace(
    AARCH64,
    name="U-BOOT",
    code=pathlib.Path("/usr/lib/u-boot/qemu_arm64/u-boot.bin"),
    variables=None,
    package="u-boot-qemu",
    crash=b'" handler, esr ',
    banner=b"",
    memory="1G",
    script_file="boot.scr",
    script=u_boot_script,
)
# The same UEFI on another processor.
RISCV64 = dataclasses.replace(
    U_BOOT,
    name="RISCV64",
    architecture="RISCV64",
    boot_file="BOOTRISCV64.EFI",
    program="qemu-system-riscv64",
    options=("-machine", "virt,accel=tcg,memory-backend=ram"),
    code=pathlib.Path("/usr/lib/u-boot/qemu-riscv64/u-boot.bin"),
    crash=b"Unhandled exception: ",
    display=(),
    takes_table=False,
)
BY_NAME = {guest.name: guest for guest in (X64, AARCH64, U_BOOT, RISCV64)}


def firmware_options(guest, variables):
    """The firmware as flash, with its store of variables; or as a program where it keeps none."""
    if guest.variables is None:
        return ["-bios", str(guest.code)]
    return [
        *("-drive", f"if=pflash,format=raw,unit=0,readonly=on,file={guest.code}"),
        *("-drive", f"if=pflash,format=raw,unit=1,file={variables}"),
    ]


def disk_option(disk, writes, medium):
    """The disk; `writes` is a file that takes every write to it, or None."""
    image = f"format=raw,file={disk}"
    if writes:
        image = f"driver=blklogwrites,file.driver=file,file.filename={disk},log.driver=file,log.filename={writes}"
    if medium in CDROMS:
        image += ",media=cdrom,readonly=on"
    return f"if=none,id=disk,{image}"


def qemu_command(guest, disk, variables, writes=None, medium=VIRTIO, table=TABLE, display=False):
    """Starts the machine with a disk and a store of variables that it may write to; its serial line is stdin and stdout. `table`
    is what QEMU says of the machine; with `display` it has one, and a keyboard."""
    command = [guest.program, *guest.options, "-nodefaults", "-no-reboot", "-display", "none", "-net", "none"]
    command += ["-m", guest.memory, "-object", f"memory-backend-ram,id=ram,size={guest.memory},reserve=off"]
    command += ["-smp", f"{guest.sockets},sockets={guest.sockets}"]
    command += firmware_options(guest, variables)
    command += guest.display if display else ()
    command += ["-drive", disk_option(disk, writes, medium)]
    for device in MEDIA[medium]:
        command += ["-device", device]
    command += ["-serial", "stdio"]
    for structure in table if guest.takes_table else ():
        command += ["-smbios", structure]
    return command

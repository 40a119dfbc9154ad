#!/usr/bin/env python3
"""The command behind `./dev image`: an image for a stick, or for virtual media, that boots the agent on X64, AARCH64 and, where it is wanted, RISCV64.

Equal images, options and times give equal bytes: whatever else formats make up (identifiers, times) is derived from these. The
time is that of SOURCE_DATE_EPOCH, or else of the last commit.

Exit status: 0 written, 1 it cannot be made, 2 wrong usage.

SPDX-License-Identifier: BSD-2-Clause-Patent
"""

import argparse
import dataclasses
import hashlib
import os
import pathlib
import re
import shutil
import ssl
import subprocess
import sys
import tempfile
import time
import uuid

import audit_efi
import boot_qemu
import guests
import harden_efi
import machine

GUESTS = (guests.X64, guests.AARCH64)
FURTHER_GUESTS = (guests.RISCV64,)
TARGET = "RELEASE"
# The builds whose sections are whole pages; on AARCH64 all are.
VARIANTS = {"X64": "PageAligned", "AARCH64": "", "RISCV64": "PageAligned"}
APPLICATIONS = ("TvqAgent",)
LABEL = "TVQ"
README = machine.ROOT / "tools" / "stick_readme.txt"
SECTOR, MIB = 512, 1 << 20
# Of the stick: room for hundreds of states, and as many clusters of one sector as FAT32 has to have.
STICK_BYTES = 64 * MIB
# In front of the partition and behind it, where the partition table and its copy lie.
MARGIN = MIB
# An El Torito entry tells its size in 16 bits, counting sectors.
LARGEST_EL_TORITO = 65535 * SECTOR
# Partitions with clusters of one sector that are smaller than this have FAT12.
SMALLEST_FAT16 = 4 * MIB
EFI_SYSTEM_PARTITION = "C12A7328-F81F-11D2-BA4B-00A0C93EC93B"
# Identifiers are names in this space.
NAMESPACE = uuid.UUID("6c1a5f0e-52d4-4a57-9d2c-7c1f6a0e3b55")
SYSTEM_FOLDERS = ":/usr/sbin:/sbin"


class CannotMake(Exception):
    """The image cannot be made; the text says why."""


@dataclasses.dataclass(frozen=True)
class Key:
    """What the images are signed with: two PEM files."""

    key: pathlib.Path
    certificate: pathlib.Path


class Tools:
    """Runs the programs that write formats, all at the same time of the clock."""

    def __init__(self, epoch):
        self.epoch = epoch
        self._environment = {
            **os.environ,
            **{"SOURCE_DATE_EPOCH": str(epoch), "TZ": "UTC", "LC_ALL": "C", "MTOOLS_SKIP_CHECK": "1", "MTOOLS_LOWER_CASE": "0"},
        }

    def run(self, *command, text=None, prefix=()):
        """Runs a program, behind another one where a prefix is given; its complaint is the failure."""
        words = [*prefix, *map(str, command)]
        for name in (command[0], *prefix[:1]):
            if not shutil.which(name, path=os.environ.get("PATH", "") + SYSTEM_FOLDERS):
                raise CannotMake(f"{name} is not installed")
        words[0] = shutil.which(words[0], path=os.environ.get("PATH", "") + SYSTEM_FOLDERS)
        # Without a text they may ask for the pass phrase of a key.
        result = subprocess.run(words, input=text, capture_output=True, text=True, check=False, env=self._environment)
        if result.returncode != 0:
            raise CannotMake(f"{command[0]}: {(result.stderr or result.stdout).strip()}")

    def run_at_epoch(self, *command):
        """The same for a program that asks for the time by itself."""
        self.run(*command, prefix=("faketime", "-f", time.strftime("%Y-%m-%d %H:%M:%S", time.gmtime(self.epoch))))


def image_files(folder, machines=GUESTS):
    """The images in EDK II's output folder: a dictionary of path on the stick to path here."""
    found = {}
    for guest in machines:
        paths = boot_qemu.image_paths(folder, TARGET, guest, VARIANTS[guest.architecture])
        found[f"EFI/BOOT/{guest.boot_file}"] = paths[boot_qemu.AGENT]
        for name in (boot_qemu.PLATFORM, boot_qemu.DRIVER):
            found[f"{boot_qemu.FOLDER}/{guest.architecture}/{name}"] = paths[name]
    return found


def read_images(folder, machines=GUESTS):
    """The images as they go out: a dictionary of path on the stick to bytes."""
    images = {}
    for target, path in image_files(folder, machines).items():
        try:
            images[target] = harden_efi.hardened(path.read_bytes())
        except (OSError, harden_efi.NotFit, audit_efi.NotAnImage) as error:
            raise CannotMake(f"{path}: {getattr(error, 'strerror', None) or error}") from error
    return images


def signed(image, key, tools):
    """The image with a signature that was checked."""
    with tempfile.TemporaryDirectory(prefix="tvq-sign-") as folder:
        plain, result = pathlib.Path(folder, "plain.efi"), pathlib.Path(folder, "signed.efi")
        plain.write_bytes(image)
        tools.run_at_epoch("sbsign", "--key", key.key, "--cert", key.certificate, "--output", result, plain)
        tools.run("sbverify", "--cert", key.certificate, result)
        return result.read_bytes()


def audit(images):
    """Ends with what the audit finds in the images that go out."""
    with tempfile.TemporaryDirectory(prefix="tvq-audit-") as folder:
        for target, image in images.items():
            path = pathlib.Path(folder, "TvqAgent.efi" if target.startswith("EFI/BOOT/") else pathlib.Path(target).name)
            path.write_bytes(image)
            problems = audit_efi.audit(path, APPLICATIONS, has_elf=False, nx_compat=True)["problems"]
            if problems:
                raise CannotMake(f"{target}: {'; '.join(problems)}")


def version():
    header = (machine.ROOT / "TvqSmbiosPkg" / "Include" / "TvqVersion.h").read_text(encoding="utf-8")
    return re.search(r'TVQ_VERSION +"([^"]+)"', header)[1]


def readme():
    """The text for those who look at the stick, with the line ends that every system shows."""
    text = README.read_text(encoding="ascii").replace("@VERSION@", version())
    return text.replace("\n", "\r\n").encode("ascii")


def states(folder):
    """The states that an earlier stick had, by their paths on this one."""
    found = {f"{boot_qemu.FOLDER}/{path.as_posix()}": (folder / path).read_bytes() for path in boot_qemu.saved_states(folder)}
    if not found:
        raise CannotMake(f"{folder} has no state of a machine ({', '.join(boot_qemu.STATE_FILES)})")
    return found


def contents(options, tools):
    """What lies on the stick: a dictionary of path to bytes."""
    images = read_images(options.images, GUESTS + (FURTHER_GUESTS if options.riscv64 else ()))
    files = {"README.txt": readme()}
    if options.sign:
        images = {target: signed(image, options.sign, tools) for target, image in images.items()}
        # For the firmware's own menus, which take no PEM.
        files[f"{LABEL}.CER"] = ssl.PEM_cert_to_DER_cert(options.sign.certificate.read_text(encoding="ascii"))
    audit(images)
    files |= images
    if options.options:
        files[f"{boot_qemu.FOLDER}/options.txt"] = f"{options.options}\r\n".encode("ascii")
    if options.states:
        files |= states(options.states)
    return dict(sorted(files.items()))


def digest(files, epoch):
    """What every identifier is derived from."""
    sums = "".join(f"{name}\n{hashlib.sha256(data).hexdigest()}\n" for name, data in files.items())
    return hashlib.sha256(f"{epoch}\n{sums}".encode()).hexdigest()


def folders(files):
    """All folders of the files, those outside first."""
    return sorted({parent.as_posix() for name in files for parent in pathlib.PurePosixPath(name).parents} - {"."})


def format_fat(tools, image, sectors, seed, *options):
    """`image` is a file, with @@ and an offset where the partition is not all of it."""
    serial = str(uuid.uuid5(NAMESPACE, f"{seed} volume"))[:8]
    tools.run("mformat", "-i", image, *options, "-c", "1", "-T", sectors, "-h", "64", "-s", "32", "-N", serial, "-v", LABEL, "::")


def fill_fat(tools, image, files, folder):
    for path in folders(files):
        tools.run("mmd", "-i", image, f"::/{path}")
    for number, (name, data) in enumerate(files.items()):
        source = folder / str(number)
        source.write_bytes(data)
        tools.run("mcopy", "-i", image, source, f"::/{name}")


def write_stick(tools, out, files, folder):
    """A GUID partition table with one EFI system partition."""
    seed = digest(files, tools.epoch)
    first, sectors = MARGIN // SECTOR, (STICK_BYTES - 2 * MARGIN) // SECTOR
    with open(out, "wb") as file:
        file.truncate(STICK_BYTES)
    script = (
        f"label: gpt\nlabel-id: {uuid.uuid5(NAMESPACE, f'{seed} disk')}\nunit: sectors\n\n"
        f"start={first}, size={sectors}, type={EFI_SYSTEM_PARTITION}, "
        f"uuid={uuid.uuid5(NAMESPACE, f'{seed} partition')}, name={LABEL}\n"
    )
    tools.run("sfdisk", "--quiet", "--no-reread", "--no-tell-kernel", out, text=script)
    partition = f"{out}@@{MARGIN}"
    format_fat(tools, partition, sectors, seed, "-F", "-H", first)
    fill_fat(tools, partition, files, folder)


def el_torito_bytes(files):
    """Room for the files, their folders and the tables, in whole MiB."""
    needed = sum(len(data) + SECTOR for data in files.values()) + 256 * 1024
    size = max(-(-needed // MIB) * MIB, SMALLEST_FAT16 + MIB)
    if size > LARGEST_EL_TORITO:
        raise CannotMake(f"{size // MIB} MiB of files are too many for a disc's boot image; give fewer states")
    return size


def write_iso(tools, out, files, folder):
    """A disc with an El Torito image, and the same files for those who copy them."""
    tree = folder / "tree"
    for name, data in files.items():
        path = tree / name
        path.parent.mkdir(parents=True, exist_ok=True)
        path.write_bytes(data)
    size = el_torito_bytes(files)
    boot = tree / "EFI.IMG"
    with open(boot, "wb") as file:
        file.truncate(size)
    format_fat(tools, boot, size // SECTOR, digest(files, tools.epoch))
    fill_fat(tools, boot, files, folder)
    for path in [*tree.rglob("*"), tree]:
        path.chmod(0o755 if path.is_dir() else 0o644)
        os.utime(path, (tools.epoch, tools.epoch))
    out.unlink(missing_ok=True)
    tools.run(
        *("xorriso", "-as", "mkisofs", "-quiet", "-o", out, "-V", LABEL, "-r", "-J"),
        *("-e", boot.name, "-no-emul-boot", tree),
    )


def epoch_of_sources():
    """SOURCE_DATE_EPOCH, or the time of the last commit; FAT's first day where nobody knows."""
    given = os.environ.get("SOURCE_DATE_EPOCH")
    if given is None:
        git = ["git", "-c", f"safe.directory={machine.ROOT}", "-C", str(machine.ROOT), "log", "-1", "--format=%ct"]
        result = subprocess.run(git, capture_output=True, text=True, check=False)
        given = result.stdout.strip() if result.returncode == 0 else "315532800"
    if not given.isdigit():
        raise CannotMake(f"SOURCE_DATE_EPOCH is '{given}', expected seconds since 1970")
    return int(given)


def make(options):
    """Writes the image and returns what lies on it. Nothing is left where it cannot be made."""
    tools = Tools(epoch_of_sources())
    files = contents(options, tools)
    options.out.parent.mkdir(parents=True, exist_ok=True)
    part = options.out.with_name(options.out.name + ".part")
    try:
        with tempfile.TemporaryDirectory(prefix="tvq-image-") as folder:
            (write_iso if options.iso else write_stick)(tools, part.resolve(), files, pathlib.Path(folder))
        part.replace(options.out)
    finally:
        part.unlink(missing_ok=True)
    return files


def parse_arguments(arguments):
    parser = argparse.ArgumentParser(prog="./dev image", description="Writes an image for a stick, or for virtual media.")
    parser.add_argument("--iso", action="store_true", help="a disc with an El Torito image, for a BMC's virtual media")
    parser.add_argument("--sign", nargs=2, metavar=("KEY", "CERT"), type=pathlib.Path, help="sign every image (PEM files)")
    parser.add_argument("--riscv64", action="store_true", help="RISCV64 as well")
    parser.add_argument("--options", metavar="WORDS", help="what the agent finds in \\TVQ\\options.txt")
    parser.add_argument("--states", metavar="DIR", type=pathlib.Path, help="the states of an earlier stick go onto this one")
    parser.add_argument("--out", metavar="FILE", type=pathlib.Path, help="the image (build/tvq.img, build/tvq.iso)")
    parser.add_argument("--images", metavar="DIR", type=pathlib.Path, default=machine.IMAGES, help="EDK II's output folder")
    options = parser.parse_args(arguments)
    options.out = options.out or machine.ROOT / "build" / ("tvq.iso" if options.iso else "tvq.img")
    options.sign = Key(*options.sign) if options.sign else None
    if options.options and not options.options.isascii():
        parser.error("--options takes ASCII")
    for path in (options.sign.key, options.sign.certificate) if options.sign else ():
        if not path.is_file():
            parser.error(f"--sign: there is no file {path}")
    if options.states and not options.states.is_dir():
        parser.error(f"--states: there is no folder {options.states}")
    return options


def main(arguments):
    options = parse_arguments(arguments)
    try:
        files = make(options)
    except (CannotMake, boot_qemu.BootFailure, OSError) as error:
        machine.note(f"dev: image: {error}")
        return 1
    for name, data in files.items():
        print(f"{len(data):9,}  {name}")
    size = options.out.stat().st_size
    print(f"{size:9,}  {machine.shown(options.out)}, sha256 {hashlib.sha256(options.out.read_bytes()).hexdigest()}")
    return 0


if __name__ == "__main__":
    sys.exit(main(sys.argv[1:]))

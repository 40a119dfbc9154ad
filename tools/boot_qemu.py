"""Boots the agent in QEMU, from a FAT image that holds nothing else, and brings back what it wrote.

Used by `./dev run` and by the end-to-end tests; needs mtools, QEMU and the firmware of the guest, but no root
rights.

SPDX-License-Identifier: BSD-2-Clause-Patent
"""

import dataclasses
import os
import pathlib
import re
import shutil
import subprocess
import tempfile
import threading
import time

import guests

FOLDER = "TVQ"
AGENT, PLATFORM, DRIVER = "TvqAgent.efi", "TvqPlatform.efi", "TVQSMBIOS.efi"
FAULTS, PLATFORM_TEST = "TvqFaults.efi", "TvqPlatformTest.efi"
# What the agent keeps from one boot to the next: a folder of states for each machine, and the files of version 1.
STATE_FOLDERS = "machine-*"
STATE_FILES = (f"{STATE_FOLDERS}/state-*.bin", "state-a.bin", "state-b.bin")
# Says that a folder was written by an earlier boot, so that it may be emptied.
MARKER = ".tvq-run"
DISK_BYTES = 64 << 20
# The firmware for AARCH64 hangs behind its banner in one of some hundred boots, before it looks at the disk. Such a boot
# is begun anew.
SECONDS_TO_START = 60.0
STARTS = 3
FIRMWARE_HANGS = "the firmware hangs before it starts anything"
# What a boot leaves whose writes are logged.
DISK_BEFORE, WRITES = "before.img", "writes.log"


class BootFailure(Exception):
    """The boot did not bring a report of success. `hint` says what to do next."""

    def __init__(self, message, hint="", details=""):
        super().__init__(message)
        self.hint = hint
        self.details = details


@dataclasses.dataclass
class Boot:
    """One boot: the three images, what the agent gets, and the folder where its files go and its saved state comes from."""

    images: pathlib.Path
    out: pathlib.Path
    guest: guests.Guest = guests.X64
    table: pathlib.Path | None = None
    words: tuple = ("poweroff",)
    script: tuple = ()  # lines for the firmware's own shell, which runs in place of the agent
    after: tuple = ()  # lines for the shell, where the boot goes on to it after the agent
    tables: dict = dataclasses.field(default_factory=dict)  # by name, what a script finds in a folder of tables
    timeout: float = 120.0
    live: object = None  # called with every piece of serial output
    writes: pathlib.Path | None = None  # a folder that gets the disk as it was before, and every write to it


def booting_toolchain(build, guest):
    """The tool chain whose images boot, which the build names beside EDK II's output folder."""
    named = pathlib.Path(build).parent / "booting"
    if not named.is_file():
        raise BootFailure(f"{named} is missing", "./dev build firmware builds the images")
    return dict(line.split() for line in named.read_text(encoding="utf-8").splitlines())[guest.architecture]


def image_paths(build, target, guest=guests.X64, variant=""):
    """The images of one target in EDK II's output folder: a dictionary of name to path. `variant` is what the folders of other
    builds of the packages have behind their names."""
    found = {}
    folder = f"{target}_{booting_toolchain(build, guest)}"
    for package, names in (("TvqPlatformPkg", (AGENT, PLATFORM, FAULTS)), ("TvqSmbiosPkg", (DRIVER, PLATFORM_TEST))):
        for name in names:
            found[name] = pathlib.Path(build) / f"{package}{variant}" / folder / guest.architecture / name
    return found


def plain_text(raw):
    """Serial output as lines of text: no escape sequences, no repeated blank lines."""
    text = raw.decode("ascii", "replace")
    text = re.sub(r"\x1b(\[[0-9;?=]*[A-Za-z]|[()][A-Z0-9]|[=>c])", "", text).replace("\r", "\n")
    text = re.sub(r"[^\n\t -~\ufffd]", "", text)
    return re.sub(r"\n\s*\n+", "\n", text).strip()


def tail(text, lines=30):
    return "\n".join(text.splitlines()[-lines:])


def run_tool(*command):
    """Runs a program of mtools; its complaint becomes the failure."""
    environment = {**os.environ, "MTOOLS_SKIP_CHECK": "1", "MTOOLS_LOWER_CASE": "0"}
    try:
        result = subprocess.run(command, capture_output=True, text=True, check=False, env=environment)
    except FileNotFoundError as error:
        raise BootFailure(f"{command[0]} is not installed", "./dev setup installs it") from error
    if result.returncode != 0:
        raise BootFailure(f"{command[0]} failed: {result.stderr.strip()}")


def disk_files(boot, folder):
    """What lies on the disk: a dictionary of source to target. `folder` takes what is written for this boot."""
    files = {boot.images[PLATFORM]: f"{FOLDER}/{PLATFORM}", boot.images[DRIVER]: f"{FOLDER}/{DRIVER}"}
    text = folder / "text"
    if boot.script:
        text.write_bytes(boot.guest.script(boot.script))
        files |= {text: boot.guest.script_file} | {boot.images[name]: name for name in (AGENT, FAULTS, PLATFORM_TEST)}
    else:
        text.write_bytes((" ".join(boot.words) + "\r\n").encode("ascii"))
        files |= {text: f"{FOLDER}/options.txt", boot.images[AGENT]: f"EFI/BOOT/{boot.guest.boot_file}"}
    if boot.after:
        after = folder / "after"
        after.write_bytes(boot.guest.script(boot.after))
        files |= {after: boot.guest.script_file, boot.images[PLATFORM_TEST]: PLATFORM_TEST}
    if boot.table:
        files[boot.table] = f"{FOLDER}/table.bin"
    files |= {table: f"{FOLDER}/tables/{name}.bin" for name, table in boot.tables.items()}
    return files | {boot.out / path: f"{FOLDER}/{path.as_posix()}" for path in saved_states(boot.out)}


def saved_states(out):
    """The saved states in a folder, by their paths in it."""
    return sorted(path.relative_to(out) for pattern in STATE_FILES for path in out.glob(pattern) if path.is_file())


def make_disk(disk, boot):
    """Writes the FAT image: what boots, the drivers and what the agent is told."""
    with open(disk, "wb") as file:
        file.truncate(DISK_BYTES)
    run_tool("mformat", "-i", str(disk), "-T", str(DISK_BYTES // 512), "-h", "64", "-s", "32", "-v", FOLDER, "::")
    run_tool("mmd", "-i", str(disk), "::/EFI", "::/EFI/BOOT", f"::/{FOLDER}")
    if boot.tables:
        run_tool("mmd", "-i", str(disk), f"::/{FOLDER}/tables")
    for folder in sorted({path.parent.name for path in saved_states(boot.out)} - {""}):
        run_tool("mmd", "-i", str(disk), f"::/{FOLDER}/{folder}")
    for source, target in disk_files(boot, disk.parent).items():
        run_tool("mcopy", "-i", str(disk), str(source), f"::/{target}")


def collect(process, serial, crashed, boot):
    """Gathers the serial output until QEMU ends, and notices a crash of the guest."""
    while chunk := process.stdout.read(4096):
        serial.extend(chunk)
        if boot.guest.crash in serial:
            crashed.set()
        if boot.live:
            boot.live(chunk)


def shows_banner_alone(serial, guest):
    """Whether the firmware has said that it is there, and nothing since."""
    lines = plain_text(serial).encode().splitlines()
    return guest.banner != b"" and len(lines) == 1 and lines[0].startswith(guest.banner)


def wait_for(process, crashed, boot, serial):
    """None when the guest powered off by itself, else what it did."""
    begin = time.monotonic()
    while time.monotonic() < begin + boot.timeout:
        try:
            process.wait(0.1)
            return None
        except subprocess.TimeoutExpired:
            if crashed.is_set():
                time.sleep(0.5)  # The registers follow.
                return "the firmware stopped with a processor exception"
        if time.monotonic() > begin + SECONDS_TO_START and shows_banner_alone(bytes(serial), boot.guest):
            return FIRMWARE_HANGS
    return f"the machine did not power off within {boot.timeout:.0f} s"


def run_qemu(command, boot):
    """Runs QEMU until the guest powers off; returns the serial output and what went wrong, or None."""
    try:
        process = subprocess.Popen(
            command, stdin=subprocess.DEVNULL, stdout=subprocess.PIPE, stderr=subprocess.STDOUT, bufsize=0
        )
    except FileNotFoundError as error:
        raise BootFailure(f"{command[0]} is not installed", "./dev setup installs it") from error
    serial, crashed = bytearray(), threading.Event()
    reader = threading.Thread(target=collect, args=(process, serial, crashed, boot))
    reader.start()
    try:
        problem = wait_for(process, crashed, boot, serial)
    finally:
        process.kill()
        process.wait()
        reader.join()
        process.stdout.close()
    return bytes(serial), problem


def extract(disk, out):
    """Copies what lies in the agent's folder, without the images, which are here anyway."""
    run_tool("mcopy", "-n", "-s", "-i", str(disk), f"::/{FOLDER}/*", str(out))
    for image in out.glob("*.efi"):
        image.unlink()


def remove(path):
    if path.is_dir() and not path.is_symlink():
        shutil.rmtree(path)
    else:
        path.unlink()


def empty_folder(out, keep_state=True):
    """Makes an empty folder of `out`, but for the agent's saved state, and never at the cost of files that no boot wrote."""
    if out.exists() and not out.is_dir():
        raise BootFailure(f"{out} is no folder")
    out.mkdir(parents=True, exist_ok=True)
    contents = list(out.iterdir())
    if contents and not (out / MARKER).is_file():
        raise BootFailure(f"{out} holds files that no boot wrote", "name an empty or a new folder")
    (out / MARKER).touch()
    kept = {MARKER, *(path.parts[0] for path in (saved_states(out) if keep_state else ()))}
    for path in contents:
        if path.name not in kept:
            remove(path)


def check_inputs(boot):
    """Says what is missing before anything starts."""
    for image in boot.images.values():
        if not image.is_file():
            raise BootFailure(f"{image} is missing", "./dev build firmware builds it")
    for part in (boot.guest.code, boot.guest.variables):
        if part and not part.is_file():
            raise BootFailure(f"{part} is missing", f"./dev setup installs the package {boot.guest.package}")


def read_report(out):
    """The agent's report with plain line ends, or None when there is none."""
    report = out / "report.txt"
    if not report.is_file():
        return None
    return report.read_bytes().decode("ascii", "replace").replace("\r\n", "\n")


def start(boot, disk, variables):
    """Runs QEMU on a store of variables as before the first boot, again where the firmware hangs."""
    log = None
    if boot.writes:
        boot.writes.mkdir(parents=True, exist_ok=True)
        shutil.copyfile(disk, boot.writes / DISK_BEFORE)
        log = boot.writes / WRITES
    for _ in range(STARTS):
        if log:
            log.write_bytes(b"")
        if boot.guest.variables:
            shutil.copyfile(boot.guest.variables, variables)
        raw, problem = run_qemu(guests.qemu_command(boot.guest, disk, variables, log), boot)
        if problem != FIRMWARE_HANGS:
            break
    return raw, problem


def run(boot):
    """Boots and returns the agent's report. Every failure to get one is a BootFailure with the end of the serial output.

    A script may do without the agent; then there may be no report.
    """
    check_inputs(boot)
    empty_folder(boot.out)
    with tempfile.TemporaryDirectory(prefix="tvq-boot-") as folder:
        disk, variables = pathlib.Path(folder, "disk.img"), pathlib.Path(folder, "variables.fd")
        make_disk(disk, boot)
        raw, problem = start(boot, disk, variables)
        serial = plain_text(raw)
        (boot.out / "serial.txt").write_text(serial + "\n", encoding="utf-8")
        extract(disk, boot.out)
    report = read_report(boot.out)
    if not problem and report is None and not boot.script:
        problem = "the agent left no report"
    if problem:
        hint = f"{boot.out / 'serial.txt'} has the whole serial output; with -v it is shown while the machine runs"
        raise BootFailure(problem, hint, tail(serial))
    return report

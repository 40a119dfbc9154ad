"""What the commands that boot the agent share: messages, building what goes into the machine, and a boot that may fail.

SPDX-License-Identifier: BSD-2-Clause-Patent
"""

import contextlib
import pathlib
import subprocess
import sys
import time

import boot_qemu

ROOT = pathlib.Path(__file__).resolve().parent.parent
TARGET = "DEBUG"
IMAGES = ROOT / "build" / "firmware" / "Build"
BUILD_TABLE = ROOT / "build" / "host" / "host" / "table" / "tvq_build_sample"
SAMPLE = ROOT / "samples" / "two-socket.smbios"


def shown(path):
    """How messages name a file: from the repository's root where it is inside."""
    path = pathlib.Path(path)
    return path.relative_to(ROOT) if path.is_relative_to(ROOT) else path


def note(text):
    print(text, file=sys.stderr, flush=True)


@contextlib.contextmanager
def step(title):
    """Prints a title and, when the block ends, how long it took."""
    print(f"== {title} ... ", end="", file=sys.stderr, flush=True)
    start = time.monotonic()
    try:
        yield
    except BaseException:
        note("failed")
        raise
    note(f"{time.monotonic() - start:.1f} s")


def dev_build(*what, verbose=False):
    """Runs `./dev build`, which is silent where nothing changed; its failure ends the program."""
    command = [str(ROOT / "dev"), "build", *what] + (["-v"] if verbose else [])
    if subprocess.run(command, stdout=sys.stderr, check=False).returncode != 0:
        sys.exit(1)


def show_serial(chunk):
    sys.stderr.buffer.write(chunk)
    sys.stderr.buffer.flush()


def boot(machine, title):
    """The agent's report of one boot; None when there is none, after saying why on stderr."""
    try:
        with step(title):
            return boot_qemu.run(machine)
    except boot_qemu.BootFailure as failure:
        if failure.details:
            note(f"-- the end of the serial output:\n{failure.details}\n--")
        note(f"dev: {failure}")
        if failure.hint:
            note(f"dev: {failure.hint}")
        return None

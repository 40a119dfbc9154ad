"""What every command prints for people has lines of 80 characters at most, and all that it prints is ASCII under LC_ALL=C.

The tables are the samples, captured ones where they are, and a sample with long texts and with characters that are no ASCII.

SPDX-License-Identifier: BSD-2-Clause-Patent
"""

import fcntl
import json
import os
import pathlib
import pty
import re
import struct
import subprocess
import sys
import tempfile
import termios

import tables

WIDTH = 80
COLOURS = re.compile(r"\x1b\[[0-9;]*m")
# Commands with an output for programs, which has lines as long as they are.
LONG = {"export", "man", "completion"}


def odd_sample(tvq, folder):
    """A sample with long texts, blanks and odd characters where people look."""
    source = (tables.ROOT / "samples" / "two-socket.smbios").read_text(encoding="utf-8")
    for text, odd in (
        ('"7A2C0003"', '"7A2C\\xE90003"'),
        ('"Riser 1"', '"R\\xEFser ' + "many words " * 9 + '"'),
        ('"DIMM_A2"', '"DIMM_A2 \\xC4' + "x" * 90 + '"'),
        ('"PCIe Slot 1"', '"PCIe \\xDFlot ' + "1" * 100 + '"'),
        ('"TVQ Reference Systems"', '"TVQ R\\xE9f\\xE9rence"'),
    ):
        if text not in source:
            sys.exit(f"the sample has no {text}")
        source = source.replace(text, odd)
    file = folder / "odd-\u00e9.bin"
    tables.run(tvq, "mktable", "-", "-o", file, stdin=source.encode())
    return file


def stored_blobs(tvq, table, folder):
    """Files as an agent stores them: one of each kind of device, and the same cut off."""
    kinds = {}
    for record in json.loads(tables.run(tvq, "export", table, "-q", status=(0, 1)))["records"]:
        kinds.setdefault(record["deviceType"], record)
    for record in kinds.values():
        blobs = bytes.fromhex("".join(record[f"{kind}Blob"] or "" for kind in ("inventory", "configuration", "end")))
        for data in (blobs, blobs[: len(blobs) // 2]):
            file = folder / f"{record['deviceType']}-{len(data)}.tvq"
            file.write_bytes(data)
            yield file


def commands_on(tvq, table, other, folder):
    """The command lines that are run on a table."""
    dump = ("--from-dump", table)
    state = folder / f"{table.name}.state"
    yield ["show", table]
    yield ["show", table, "--as-is"]
    yield ["show", table, "--json"]
    for part in ("system", "CPU1", "DIMM_A1", "DIMM.Socket.A3", "no such part"):
        yield ["show", table, part]
    yield ["get", table, "system.manufacturer"]
    yield ["get", table, "no.such.path"]
    for address in ("00:00.0", "0000:16:00.0", "nonsense"):
        yield ["slot", address, *dump]
    yield ["export", table]
    yield ["save", state, *dump]
    yield ["accept", state, "no such device", *dump]
    yield ["accept", state, "DIMM.Socket.A1", "--other-machine", "--incomplete", "--from-dump", other]
    yield ["verify", state, "--from-dump", other]
    yield ["verify", state, "--other-machine", "--from-dump", other]
    yield ["verify", state, "--other-machine", "--json", "--from-dump", other]
    yield ["diff", table, other]
    yield ["diff", state, other]
    yield ["diff", table, other, "--json"]
    yield ["lint", table, "--profile", "all"]
    yield ["lint", table, "--profile", "all", "--max", "0", "--hex"]
    yield ["lint", table, "--profile", "all", "--format", "sarif"]
    yield ["mktable", "--from-dump", table]
    for file in stored_blobs(tvq, table, folder):
        yield ["decode", file]


def other_commands(tvq, folder):
    """The command lines that need no table, or do not get one."""
    listed = re.search(r"(?s)\nSubcommands:\n(.*?)\n\n", tables.run(tvq, "--help").decode())[1]
    names = re.findall(r"(?m)^  (\w+) ", listed)
    if len(names) < 10:
        sys.exit(f"the help lists too few commands: {names}")
    for name in names:
        yield [name, "--help"]
        yield [name, "--no-such-option"]
    yield ["--help"]
    yield ["lint", "--list"]
    for rule in re.findall(r"(?m)^([a-z0-9-]+) ", tables.run(tvq, "lint", "--list", "--wide").decode()):
        yield ["lint", "--explain", rule]
    for kind in re.findall(r"(?m)^ *(\d+) ", tables.run(tvq, "mktable", "--fields", "all").decode()):
        yield ["mktable", "--fields", kind]
    yield ["man"]
    for shell in ("bash", "zsh", "fish"):
        yield ["completion", shell]
    for name, data in (("gzip", b"\x1f\x8b" * 40), ("text", b"Handle 0x0001, DMI type 1\n" * 9), ("nothing", b""),
                       ("state", b"TVQSTATE" * 9), ("source", "[system]\nserial = \u00e9\n".encode())):
        file = folder / f"a-file-of-{name}-\u00e9-{'with-a-long-name-' * 5}"
        file.write_bytes(data)
        for command in (["show", file], ["lint", file], ["decode", file], ["diff", file, file], ["mktable", file, "-o", "-"],
                        ["mktable", "--from-dump", file], ["verify", file], ["show", folder / "no such folder" / "\u00e9"]):
            yield command


class Lines:
    def __init__(self, tvq):
        self.tvq = tvq
        self.checked = 0

    def environment(self, locale):
        return {**os.environ, "LC_ALL": locale, "TERM": "xterm"}

    def check(self, command):
        """Runs the command in both locales."""
        words = [self.tvq, *command]
        for locale in ("C.UTF-8", "C"):
            done = subprocess.run(words, env=self.environment(locale), capture_output=True, check=False)
            if done.returncode not in (0, 1, 2, 3):
                sys.exit(f"{command} ended with {done.returncode}")
            if locale == "C" and not (done.stdout + done.stderr).isascii():
                sys.exit(f"{command}: no ASCII: {[line for line in (done.stdout + done.stderr).splitlines() if not line.isascii()][:3]}")
            self.check_width(command, done.stderr.decode())
            if not self.is_for_programs(command):
                self.check_width(command, done.stdout.decode())
        self.checked += 1

    @staticmethod
    def is_for_programs(command):
        is_source = command[0] == "mktable" and "--from-dump" in command
        return (command[0] in LONG and "--help" not in command) or is_source or "--json" in command or "sarif" in command

    def check_terminal(self, command):
        """The same on a terminal, in colour."""
        ours, theirs = pty.openpty()
        fcntl.ioctl(theirs, termios.TIOCSWINSZ, struct.pack("HHHH", 24, WIDTH, 0, 0))
        with subprocess.Popen([self.tvq, *command], env=self.environment("C.UTF-8"), stdout=theirs, stderr=subprocess.DEVNULL):
            os.close(theirs)
            data = b""
            try:
                while part := os.read(ours, 65536):
                    data += part
            except OSError:
                pass  # The other end was closed.
        os.close(ours)
        if not data:
            sys.exit(f"{command} printed nothing on a terminal")
        self.check_width(command, COLOURS.sub("", data.decode()))
        self.checked += 1

    def check_width(self, command, text):
        for line in text.splitlines():
            if len(line) > WIDTH:
                sys.exit(f"{command}: a line of {len(line)} characters: {line}")


def main(arguments):
    tvq, files = tables.program_and_tables(arguments)
    lines = Lines(tvq)
    with tempfile.TemporaryDirectory() as name:
        folder = pathlib.Path(name)
        odd = odd_sample(tvq, folder)
        for table in [odd, *files]:
            for command in commands_on(tvq, table, files[0] if table == odd else odd, folder):
                lines.check(command)
        for command in other_commands(tvq, folder):
            lines.check(command)
        for command in (["show", odd], ["get", odd, "--list"], ["lint", odd, "--profile", "all"], ["diff", odd, files[-1]],
                        ["show", odd, "DIMM_A1"], ["verify", folder / f"{odd.name}.state", "--other-machine", "--from-dump", files[0]]):
            lines.check_terminal(command)
    print(f"{lines.checked} outputs of {len(files) + 1} tables")


if __name__ == "__main__":
    main(sys.argv[1:])

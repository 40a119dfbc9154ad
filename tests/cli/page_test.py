"""docs/tvq.md shows what the command prints: every `$ tvq ...` of it is run, on tables that this test makes.

A line with nothing but "..." on the page stands for any number of lines.

SPDX-License-Identifier: BSD-2-Clause-Patent
"""

import pathlib
import re
import shlex
import subprocess
import sys
import tempfile

import tables

PAGE = tables.ROOT / "docs" / "tvq.md"


def make_tables(tvq, samples, folder):
    """The tables that the page names."""
    source = (tables.ROOT / "samples" / "two-socket.smbios").read_text(encoding="utf-8")
    sources = {
        "two-socket": source,
        "before": source,
        "after": source.replace('"7A2C0003"', '"7A2C9999"').replace('"Riser 1"', '"Riser 2"'),
        "large": source.replace("[end", "[type 200]\n" * 300 + "[end"),
        # With names as boards of another maker have them.
        "dump": re.sub(r'"DIMM_A(\d)"', r'"P1-DIMM\1A"', source).replace('"CPU1"', '"SOCKET 0"').replace('"CPU2"', '"SOCKET 1"'),
        "clash": (tables.ROOT / "tests" / "e2e" / "clash.smbios").read_text(encoding="utf-8"),
    }
    for name, text in sources.items():
        tables.run(tvq, "mktable", "-", "-o", folder / f"{name}.bin", stdin=text.encode())
    text = "# dmidecode 3.4\n\nHandle 0x0001, DMI type 1, 27 bytes\nSystem Information\n\tManufacturer: Example\n"
    (folder / "machine.txt").write_text(text, encoding="utf-8")
    export = tables.run(tvq, "export", folder / "two-socket.bin").decode()
    blobs = re.search(r'"fqdd": "DIMM\.Socket\.A1".*?"inventoryBlob": "(\w+)".*?"configurationBlob": "(\w+)".*?"endBlob": "(\w+)"', export, re.S)
    (folder / "DIMM.Socket.A1.tvq").write_bytes(bytes.fromhex("".join(blobs.groups())))


def shown_commands():
    """(command, the lines that the page shows below it) for each command with a prompt."""
    for block in re.findall(r"(?ms)^```\n(.*?)^```", PAGE.read_text(encoding="utf-8")):
        for part in re.split(r"(?m)^\$ ", block)[1:]:
            command, _, output = part.partition("\n")
            if output.strip():
                yield command, output.rstrip("\n").split("\n")


def fits(wanted, lines):
    """Whether the lines are those of the page."""
    pattern = "".join("(?:.*\n)*?" if line.strip() == "..." else re.escape(line) + "\n" for line in wanted)
    return re.fullmatch(pattern, "".join(line + "\n" for line in lines)) is not None


def main(arguments):
    tvq, samples = pathlib.Path(arguments[0]).resolve(), arguments[1]
    checked = 0
    with tempfile.TemporaryDirectory() as name:
        folder = pathlib.Path(name)
        make_tables(tvq, samples, folder)
        for command, wanted in shown_commands():
            words = shlex.split(command)
            if words[0] != "tvq":
                sys.exit(f"{PAGE.name} shows another command: {command}")
            done = subprocess.run([tvq, *words[1:]], cwd=folder, capture_output=True, text=True, check=False)
            # Without a result it is the message that the page shows.
            if not fits(wanted, (done.stdout or done.stderr).splitlines()):
                sys.exit(f"{PAGE.name} shows another output of: {command}\n{done.stdout}{done.stderr}")
            checked += 1
    print(f"{checked} outputs are those of the page")
    if checked < 5:
        sys.exit("these are too few")


if __name__ == "__main__":
    main(sys.argv[1:])

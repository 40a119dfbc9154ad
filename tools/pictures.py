#!/usr/bin/env python3
"""Makes the pictures of pages that the documentation shows, with Chromium.

usage: tools/pictures.py TVQ FOLDER

SPDX-License-Identifier: BSD-2-Clause-Patent
"""

import pathlib
import subprocess
import sys
import tempfile

ROOT = pathlib.Path(__file__).resolve().parent.parent
sys.path.insert(0, str(ROOT / "tests" / "cli"))

import browser  # noqa: E402  pylint: disable=wrong-import-position
import machines  # noqa: E402  pylint: disable=wrong-import-position

# The page, the scheme of the screen, the window, and what its top shows.
PICTURES = {
    "changes": ("changes", "light", 1240, 860, "header"),
    "two-socket": ("changes", "light", 1240, 700, "#picture"),
    "hbm": ("hbm", "dark", 1240, 780, "#picture"),
    "large": ("large", "light", 1240, 860, "#picture"),
}


def run(folder, *command, stdin=None):
    done = subprocess.run([str(word) for word in command], cwd=folder, input=stdin, capture_output=True, check=False)
    if done.returncode > 1:
        sys.exit(done.stderr.decode(errors="replace"))


def main(tvq, folder):
    pictures = pathlib.Path(folder)
    pictures.mkdir(parents=True, exist_ok=True)
    with tempfile.TemporaryDirectory() as name, browser.Browser() as window:
        work = pathlib.Path(name)
        source = (ROOT / "samples" / "two-socket.smbios").read_text(encoding="utf-8")
        program = pathlib.Path(tvq).resolve()
        two_socket = (ROOT / "samples" / "two-socket.smbios").read_text(encoding="utf-8")
        tables = {"before": two_socket, "after": machines.changed(two_socket), "large": machines.machine(8, 128, 12),
                  "hbm": (ROOT / "samples" / "hbm-mixed.smbios").read_text(encoding="utf-8")}
        for table, source in tables.items():
            run(work, program, "mktable", "-", "-o", f"{table}.bin", stdin=source.encode())
        run(work, program, "report", "after.bin", "--against", "before.bin", "-o", "changes.html")
        for table in ("hbm", "large"):
            run(work, program, "report", f"{table}.bin", "-o", f"{table}.html")
        for picture, (page, scheme, width, height, top) in PICTURES.items():
            window.open(work / f"{page}.html")
            window.show(width, scheme, height=height)
            window.run(f"document.querySelector('{top}').scrollIntoView()")
            window.picture(pictures / f"{picture}.png")


if __name__ == "__main__":
    if len(sys.argv) != 3:
        sys.exit(__doc__)
    main(*sys.argv[1:])

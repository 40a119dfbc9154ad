#!/usr/bin/env python3
"""Writes the symbol renaming list that gives an image its own copy of everything it is made of.

Fails if the image needs a symbol that only a C library has: in firmware there is none. Every symbol that the joined
object defines gets the prefix `<image>.`, except strong symbols of the image's own sources, which tests call by their
own name, and symbols that the whole program shares.

usage: image_symbols.py NM IMAGE JOINED.o OUTPUT [OWN.o...]

SPDX-License-Identifier: BSD-2-Clause-Patent
"""

import subprocess
import sys
from pathlib import Path

# The interface to the host; and sanitizers, coverage and fuzzing, which keep one state for the whole program.
_SHARED_PREFIXES = ("gTvqHost", "TvqHost", "__start_", "__stop_", "_GLOBAL_OFFSET_TABLE_",
                    "___asan_", "__asan_", "__ubsan_", "__sanitizer_", "__sancov_", "__llvm_", "__gcov_")


def symbols(nm, files):
    """Yields (type letter, name) of every external symbol."""
    result = subprocess.run([nm, "--extern-only", *files], check=True, capture_output=True, text=True)
    for line in result.stdout.splitlines():
        fields = line.split()
        if len(fields) >= 2 and not line.endswith(":"):
            yield fields[-2], fields[-1]


def main():
    nm, image, joined, output, *own = sys.argv[1:]
    exported = {name for kind, name in symbols(nm, own) if kind in "TDBRG"} if own else set()
    everything = list(symbols(nm, [joined]))
    missing = sorted(name for kind, name in everything if kind == "U" and not name.startswith(_SHARED_PREFIXES))
    if missing:
        sys.exit(f"image {image} needs {', '.join(missing)}, which firmware does not have")
    defined = sorted({name for kind, name in everything if kind not in "Uwv"})
    renamed = [name for name in defined if name not in exported and not name.startswith(_SHARED_PREFIXES)]
    Path(output).write_text("".join(f"{name} {image}.{name}\n" for name in renamed), encoding="utf-8")


if __name__ == "__main__":
    main()

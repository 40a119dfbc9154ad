#!/usr/bin/env python3
"""Makes a built EFI image ready to go out: NX_COMPAT, which EDK II 2022.11 cannot set, no path of the machine that built it, and the
checksum of what it is then. Whoever signs the image does so afterwards.

Only an image whose sections are whole pages, none of them both writable and executable, may say NX_COMPAT.

usage: harden_efi.py IMAGE OUTPUT

Exit status: 0 written, 1 the image is not fit for it, 2 wrong usage.

SPDX-License-Identifier: BSD-2-Clause-Patent
"""

import pathlib
import struct
import sys

import audit_efi

DEBUG_DIRECTORY = 6
DEBUG_ENTRY = 28
CODE_VIEW = 2
# How many bytes of an entry stand before the path, by its signature.
PATH_AT = {b"NB10": 16, b"RSDS": 24, b"MTOC": 20}


class NotFit(Exception):
    """The image may not go out; the text says why."""


def check(image):
    """Ends with what keeps the image from saying NX_COMPAT."""
    problems = [] if image.alignment == audit_efi.PAGE else [f"its section alignment is {image.alignment:#x}"]
    problems += audit_efi.check_sections(image)
    if problems:
        raise NotFit("; ".join(problems))


def debug_entries(data):
    """The file offset and size of what each entry of the debug directory points to."""
    optional = audit_efi.optional_header(data)
    address, size = audit_efi.unpack("<II", data, optional + 112 + 8 * DEBUG_DIRECTORY)
    (directories,) = audit_efi.unpack("<I", data, optional + 108)
    if directories <= DEBUG_DIRECTORY or not size:
        return
    # In images of EDK II a section lies in the file where it lies in memory.
    for at in range(address, address + size, DEBUG_ENTRY):
        kind, length, _, offset = audit_efi.unpack("<12xIIII", data, at)
        if kind == CODE_VIEW:
            yield offset, length


def without_paths(data):
    """Of the path of the file with the symbols, the file's name stays."""
    image = bytearray(data)
    for offset, length in debug_entries(data):
        begin = offset + PATH_AT.get(bytes(data[offset : offset + 4]), length)
        path = bytes(data[begin : offset + length])
        name = path.split(b"\0")[0].replace(b"\\", b"/").rsplit(b"/", 1)[-1]
        image[begin : offset + length] = name.ljust(len(path), b"\0")
    return bytes(image)


def hardened(data):
    """The image as it goes out."""
    check(audit_efi.parse_image(data))
    image = bytearray(without_paths(data))
    optional = audit_efi.optional_header(data)
    (characteristics,) = struct.unpack_from("<H", image, optional + audit_efi.DLL_CHARACTERISTICS)
    struct.pack_into("<H", image, optional + audit_efi.DLL_CHARACTERISTICS, characteristics | audit_efi.NX_COMPAT)
    struct.pack_into("<I", image, optional + audit_efi.CHECKSUM, audit_efi.checksum(bytes(image)))
    return bytes(image)


def main(arguments):
    if len(arguments) != 2:
        print(__doc__, file=sys.stderr)
        return 2
    try:
        pathlib.Path(arguments[1]).write_bytes(hardened(pathlib.Path(arguments[0]).read_bytes()))
    except (NotFit, audit_efi.NotAnImage, OSError) as error:
        print(f"harden_efi: {arguments[0]}: {error}", file=sys.stderr)
        return 1
    return 0


if __name__ == "__main__":
    sys.exit(main(sys.argv[1:]))

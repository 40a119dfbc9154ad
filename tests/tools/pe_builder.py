"""Builds small PE32+ images, sound or broken on purpose.

SPDX-License-Identifier: BSD-2-Clause-Patent
"""

import struct

READ, WRITE, EXECUTE = 0x40000000, 0x80000000, 0x20000000
TEXT, DATA = READ | EXECUTE, READ | WRITE
DRIVER, APPLICATION = 11, 10


def build(
    sections=((".text", TEXT), (".data", DATA)),
    subsystem=DRIVER,
    alignment=0x40,
    machine=0x8664,
    magic=0x20B,
    entry=None,
    imports=0,
    directories=2,
):
    """An image whose sections hold one aligned block each, in order behind the headers. The first two entries of the data directory
    are exports and imports."""
    optional_size = 112 + 8 * directories
    headers = 0x40 + 24 + optional_size + 40 * len(sections)
    block = max(alignment, 0x40)
    first = -(-headers // block) * block
    image = bytearray(b"MZ".ljust(0x3C, b"\0") + struct.pack("<I", 0x40))
    image += struct.pack("<4sHHIIIHH", b"PE\0\0", machine, len(sections), 0, 0, 0, optional_size, 0)
    optional = bytearray(optional_size)
    struct.pack_into("<H", optional, 0, magic)
    struct.pack_into("<I", optional, 16, first if entry is None else entry)
    struct.pack_into("<II", optional, 32, alignment, alignment)
    struct.pack_into("<II", optional, 56, first + block * len(sections), first)
    struct.pack_into("<H", optional, 68, subsystem)
    struct.pack_into("<I", optional, 108, directories)
    struct.pack_into("<II", optional, 120, first, imports)
    image += optional
    for index, (name, flags) in enumerate(sections):
        at = first + index * block
        image += struct.pack("<8sIIII12xI", name.encode(), block, at, block, at, flags)
    return bytes(image.ljust(first + block * len(sections), b"\0"))

"""Small SMBIOS tables for the end-to-end tests, built from public structure layouts alone.

SPDX-License-Identifier: BSD-2-Clause-Patent
"""

import struct


def structure(kind, handle, formatted, strings=()):
    """One structure: header, formatted area, and its strings with the double NUL that ends them."""
    text = b"".join(string.encode() + b"\0" for string in strings) or b"\0"
    return struct.pack("<BBH", kind, 4 + len(formatted), handle) + formatted + text + b"\0"


def processor(index):
    """Type 4 in the layout of SMBIOS 3.0, 30h bytes."""
    strings = [f"CPU{index + 1}", "TVQ Reference", "Reference Processor", f"SN-CPU{index}", f"AT-CPU{index}", "PN-CPU"]
    formatted = struct.pack("<BBBBQB", 1, 3, 0xFE, 2, 0x0178BFBF000906EA, 3)
    formatted += struct.pack("<BHHHBB", 0x8C, 100, 3600, 2600 + 100 * index, 0x41, 0x34)
    formatted += struct.pack("<HHHBBB", 0xFFFF, 0xFFFF, 0xFFFF, 4, 5, 6)
    formatted += struct.pack("<BBBHHHHH", 8, 8, 16, 0xFC, 0x00FE, 8, 8, 16)
    return structure(4, 0x0400 + index, formatted, strings)


def memory_array(slots):
    """Type 16, 17h bytes."""
    return structure(16, 0x1000, struct.pack("<BBBIHHQ", 3, 3, 6, 0x80000000, 0xFFFE, slots, 256 << 30))


def memory_device(index):
    """Type 17 in the layout of SMBIOS 2.8, 28h bytes."""
    strings = [f"DIMM_{'AB'[index % 2]}{index // 2 + 1}", f"BANK {index}", "TVQ Reference", f"SN-{index:04}", "AT", "PN-DIMM"]
    formatted = struct.pack("<HHHHHBBBBBH", 0x1000, 0xFFFE, 72, 64, 16384, 9, 0, 1, 2, 26, 0x0080)
    formatted += struct.pack("<HBBBBBIHHHH", 3200, 3, 4, 5, 6, 2, 0, 2933, 1200, 1200, 1200)
    return structure(17, 0x1100 + index, formatted, strings)


def plain():
    """Two processors and four modules, nothing unusual about any of them."""
    firmware = struct.pack("<BBHBBQHBBBB", 1, 2, 0xE000, 3, 0xFF, 0x08, 0x0D03, 1, 0, 0xFF, 0xFF)
    system = struct.pack("<BBBB16sBBB", 1, 2, 3, 4, bytes(range(16)), 6, 5, 6)
    parts = [
        structure(0, 0x0000, firmware, ["TVQ Reference", "1.0", "01/02/2024"]),
        structure(1, 0x0001, system, ["TVQ Reference", "TVQ Reference Machine", "1.0", "TVQ0001", "TVQ-REF", "Reference"]),
        processor(0),
        processor(1),
        memory_array(4),
        *(memory_device(index) for index in range(4)),
        structure(127, 0x7F00, b""),
    ]
    return b"".join(parts)


BUILT_IN = {"plain": plain}

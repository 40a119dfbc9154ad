"""Makes the tables that are measured: of a large virtual machine, and of any number of structures.

SPDX-License-Identifier: BSD-2-Clause-Patent
"""

import struct

ENTRY_POINT_SIZE = 32  # what dmidecode's dumps begin with
_LARGEST_TABLE = 0xFFFF
_PROCESSOR, _CACHE, _MODULE, _END = 4, 7, 17, 127
_MODULE_WIDTHS, _MODULE_SIZE = 8, 0x0C
_INSTALLED = struct.pack("<H", 0x0400)  # 1 GB


class TableError(Exception):
    """A file without a table of structures, or a table too large for a 32-bit entry point."""


def structure(kind, handle, body=b"", *strings):
    """One structure; `body` is what stands behind its header."""
    texts = b"".join(text.encode("latin-1") + b"\0" for text in strings) or b"\0"
    return struct.pack("<BBH", kind, 4 + len(body), handle) + body + texts + b"\0"


def _sum_to_zero(data, start, end, place):
    data[place] = 0
    data[place] = -sum(data[start:end]) & 0xFF


def dump(structures):
    """A file as `dmidecode --dump-bin` writes it, of SMBIOS 2.7."""
    table = b"".join(structures)
    if len(table) > _LARGEST_TABLE:
        raise TableError(f"{len(table)} bytes are too many for a 32-bit entry point")
    largest = max(map(len, structures))
    entry = bytearray(struct.pack("<4sBBBBHB5s5sBHIHB", b"_SM_", 0, 31, 2, 7, largest, 0, bytes(5), b"_DMI_", 0,
                                  len(table), ENTRY_POINT_SIZE, len(structures), 0x27))
    _sum_to_zero(entry, 0x10, 0x1F, 0x15)
    _sum_to_zero(entry, 0, 0x1F, 4)
    return bytes(entry) + bytes(ENTRY_POINT_SIZE - len(entry)) + table


def processor(handle, designation, caches, version):
    """A populated socket, as of SMBIOS 2.6."""
    body = struct.pack("<BBBBQB", 1, 3, 2, 2, 0x0F8BFBFF000306D4, 3)
    body += struct.pack("<BHHHBB3H", 2, 0, 30000, 2400, 0x41, 4, *caches, 0xFFFF)
    body += struct.pack("<6BHH", 0, 0, 0, 1, 1, 0, 0x64, 2)
    return structure(_PROCESSOR, handle, body, designation, "GenuineIntel", version)


def cache(handle, level):
    """A cache of the first or second level, as of SMBIOS 2.1."""
    body = struct.pack("<BHHHHHBBBB", 1, 0x0180 | (level - 1), 16, 16, 0x58, 0x40, 0, 2, 2, 2)
    return structure(_CACHE, handle, body, f"L{level}")


def module(handle, array, locator, installed):
    """A memory slot, as of SMBIOS 2.7, with or without a module in it."""
    body = struct.pack("<HHHHHBB", array, 0xFFFF, 64, 64, 0x0400 if installed else 0, 9, 0)
    body += struct.pack("<BBBHHBBBBBIH", 1, 1, 3, 0x80, 0, 0, 0, 0, 0, 0, 0, 0)
    return structure(_MODULE, handle, body, locator)


def _array(handle, slots):
    return structure(16, handle, struct.pack("<BBBIHHQ", 3, 3, 3, 0x40000000, 0xFFFE, slots, 0))


def _system(handle):
    body = b"\1\2\3\4" + bytes(range(16)) + b"\6\0\0"
    return structure(1, handle, body, "Bench Works", "Rack One", "None", "4D 65 61 73 75 72 65 64")


def virtual_server(processors=128, slots=128, installed=1):
    """A virtual machine of 620 structures in about 29 KB, most of them processors, caches and memory slots."""
    numbers = iter(range(_LARGEST_TABLE))
    first = [
        structure(0, next(numbers), struct.pack("<BBHBBQBBBBBB", 1, 2, 0xEA03, 3, 0, 0x7C09DF90, 0, 0, 8, 7, 4, 6),
                  "Firmware Works", "6.00", "05/19/2017"),
        _system(next(numbers)),
        structure(2, next(numbers), bytes((1, 2, 3, 4, 0, 0, 0, 0, 0, 1, 0)), "Board Works", "Board", "None", "None"),
        structure(3, next(numbers), bytes((1, 1, 2, 3, 4, 3, 3, 3, 3)) + bytes(8), "Case", "N/A", "None", "No Tag"),
    ]
    handles = [next(numbers) for _ in range(processors)]
    first.append(structure(5, next(numbers), bytes(42)))
    first += [structure(6, next(numbers), bytes((1, 1, 0xFF, 0, 1, 10, 10, 0)), f"RAM socket #{i}") for i in range(15)]
    caches = [(level, next(numbers)) for level in (1, 2) for _ in range(processors)]
    sockets = [processor(handles[i], f"CPU #{i:03}", (caches[i][1], caches[processors + i][1]),
                         "Bench(R) Processor 8432 CPU @ 2.40GHz") for i in range(processors)]
    table = first[:4] + sockets + first[4:] + [cache(handle, level) for level, handle in caches]
    table += [structure(8, next(numbers), bytes((1, 0x18, 2, 8, 9)), "J19", "COM 1") for _ in range(4)]
    table += [structure(9, next(numbers), struct.pack("<5BHBBHBB", 1, 3, 4, 2, 3, i, 0, 2, 0xFF, 0, 8 * i),
                        f"PCI Slot J{i}") for i in range(7)]
    table += [structure(10, next(numbers), bytes((3, 1, 7, 2)), "Video", "Sound"),
              structure(11, next(numbers), b"\2", "An OEM string that nobody looks for, of usual length", "Welcome"),
              structure(15, next(numbers), bytes(25))]
    array = next(numbers)
    table.append(_array(array, slots))
    table += [module(next(numbers), array, f"RAM slot #{i}", i < installed) for i in range(slots)]
    table += [structure(kind, next(numbers), bytes(length)) for kind, length in ((18, 19), (19, 27))]
    table += [structure(20, next(numbers), bytes(31)) for _ in range(64)]
    table += [structure(kind, next(numbers), bytes(length))
              for kind, length in ((23, 9), (24, 1), (30, 2), (32, 16), (33, 27), (126, 0), (_END, 0))]
    return dump(table)


def of_size(count):
    """A table of `count` structures in which everything grows alike: a tenth each are processors and modules."""
    processors = modules = max(1, count // 10)
    caches = 2 * processors
    fixed = 3  # the system, the array and the end
    others = count - fixed - processors - caches - modules
    if others < 0:
        raise TableError(f"{count} structures are too few")
    handle = {"processor": 0x1000, "cache": 0x2000, "module": 0x3000, "other": 0x4000}
    table = [_system(1), _array(2, modules)]
    for i in range(processors):
        levels = (handle["cache"] + 2 * i, handle["cache"] + 2 * i + 1)
        table.append(processor(handle["processor"] + i, f"CPU #{i:03}", levels, "Bench @ 2.40GHz"))
    table += [cache(handle["cache"] + i, 1 + i % 2) for i in range(caches)]
    table += [module(handle["module"] + i, 2, f"DIMM_{i:03X}", True) for i in range(modules)]
    table += [structure(8, handle["other"] + i, bytes((1, 0x18, 1, 8, 9)), "Port 1") for i in range(others)]
    return dump(table + [structure(_END, 0x7F00)])


def offsets(file):
    """Where the structures of a dump begin."""
    stated = struct.unpack_from("<H", file, 0x16)[0] if file[:4] == b"_SM_" and len(file) > ENTRY_POINT_SIZE else 0
    place, end = ENTRY_POINT_SIZE, ENTRY_POINT_SIZE + stated
    if stated == 0 or end > len(file):
        raise TableError("the file is no dump with a 32-bit entry point")
    while place + 4 <= end:
        yield place
        strings = file.find(b"\0\0", place + file[place + 1])
        if strings < 0:
            raise TableError("the last structure has no end")
        place = strings + 2


def populated(file):
    """The dump with a module in every memory slot."""
    changed = bytearray(file)
    for place in offsets(file):
        if file[place] == _MODULE and file[place + 1] > _MODULE_SIZE + 1:
            changed[place + _MODULE_WIDTHS:place + _MODULE_WIDTHS + 4] = struct.pack("<HH", 64, 64)
            changed[place + _MODULE_SIZE:place + _MODULE_SIZE + 2] = _INSTALLED
    return bytes(changed)

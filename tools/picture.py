"""Makes small PNG files of what QEMU's display shows: the text alone, in a palette of a few colours.

SPDX-License-Identifier: BSD-2-Clause-Patent
"""

import re
import struct
import zlib

# Around the text stays a border of so many pixels.
BORDER = 8


class NotAPicture(Exception):
    """The file is no picture that can be read; the text says why."""


def read_ppm(data):
    """Width, height and rows of pixels of 3 bytes each."""
    header = re.match(rb"P6\s+(\d+)\s+(\d+)\s+255\s", data)
    if not header:
        raise NotAPicture("no binary PPM file of 8 bits")
    width, height = int(header[1]), int(header[2])
    pixels = data[header.end():]
    if len(pixels) != 3 * width * height:
        raise NotAPicture(f"{len(pixels)} bytes of pixels, expected {3 * width * height}")
    return width, height, [pixels[3 * width * row : 3 * width * (row + 1)] for row in range(height)]


def cropped(width, rows):
    """Width and rows without what has the colour of the corner, but for a border."""
    background = rows[0][:3]
    blank = background * width
    used = [number for number, row in enumerate(rows) if row != blank]
    if not used:
        return width, rows
    columns = set()
    for row in {rows[number] for number in used}:
        columns.update(at for at in range(width) if row[3 * at : 3 * at + 3] != background)
    left, right = max(min(columns) - BORDER, 0), min(max(columns) + 1 + BORDER, width)
    top, bottom = max(used[0] - BORDER, 0), min(used[-1] + 1 + BORDER, len(rows))
    return right - left, [row[3 * left : 3 * right] for row in rows[top:bottom]]


def _chunk(kind, data):
    return struct.pack(">I", len(data)) + kind + data + struct.pack(">I", zlib.crc32(kind + data))


def _packed(indices, bits):
    """One row of palette indices, the first one in the highest bits."""
    per_byte = 8 // bits
    filled = indices + [0] * (-len(indices) % per_byte)
    packed = bytearray()
    for at in range(0, len(filled), per_byte):
        value = 0
        for index in filled[at : at + per_byte]:
            value = value << bits | index
        packed.append(value)
    return bytes(packed)


def png(width, rows):
    """A PNG with a palette where the picture has at most 256 colours, which text has."""
    colours = sorted({row[at : at + 3] for row in rows for at in range(0, 3 * width, 3)})
    if len(colours) > 256:
        raise NotAPicture(f"{len(colours)} colours, more than a palette has")
    bits = next(bits for bits in (1, 2, 4, 8) if len(colours) <= 1 << bits)
    number = {colour: index for index, colour in enumerate(colours)}
    scanlines = b"".join(b"\0" + _packed([number[row[at : at + 3]] for at in range(0, 3 * width, 3)], bits) for row in rows)
    return (
        b"\x89PNG\r\n\x1a\n"
        + _chunk(b"IHDR", struct.pack(">IIBBBBB", width, len(rows), bits, 3, 0, 0, 0))
        + _chunk(b"PLTE", b"".join(colours))
        + _chunk(b"IDAT", zlib.compress(scanlines, 9))
        + _chunk(b"IEND", b"")
    )


def small_png(ppm):
    width, _, rows = read_ppm(ppm)
    return png(*cropped(width, rows))

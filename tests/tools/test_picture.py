"""Tests of tools/picture.py: PNG files that hold what the display showed, and little else.

SPDX-License-Identifier: BSD-2-Clause-Patent
"""

import struct
import unittest
import zlib

import scripts  # noqa: F401
import picture

BLACK, WHITE, BLUE = b"\0\0\0", b"\xff\xff\xff", b"\0\0\xff"


def ppm(rows):
    return b"P6\n%d %d\n255\n" % (len(rows[0]), len(rows)) + b"".join(pixel for row in rows for pixel in row)


def read_png(data):
    """The rows of pixels of a PNG with a palette."""
    chunks, at = {}, 8
    while at < len(data):
        (size,) = struct.unpack_from(">I", data, at)
        kind, content = data[at + 4 : at + 8], data[at + 8 : at + 8 + size]
        assert struct.unpack_from(">I", data, at + 8 + size)[0] == zlib.crc32(kind + content)
        chunks[kind] = content
        at += 12 + size
    width, height, bits, kind = struct.unpack_from(">IIBB", chunks[b"IHDR"])
    assert kind == 3
    raw = zlib.decompress(chunks[b"IDAT"])
    stride = 1 + -(-width * bits // 8)
    rows = []
    for row in range(height):
        line = raw[row * stride : (row + 1) * stride]
        assert line[0] == 0
        digits = "".join(f"{byte:08b}" for byte in line[1:])
        indices = [int(digits[bits * column : bits * (column + 1)], 2) for column in range(width)]
        rows.append([chunks[b"PLTE"][3 * index : 3 * index + 3] for index in indices])
    return rows


class SmallPng(unittest.TestCase):
    def test_it_shows_the_same_pixels(self):
        # Nothing is cut off: the border would be larger than the picture.
        rows = [[BLACK, WHITE, BLUE, BLACK, BLUE], [BLACK, BLACK, WHITE, WHITE, BLUE]]
        self.assertEqual(read_png(picture.small_png(ppm(rows))), rows)

    def test_many_colours_take_more_bits(self):
        rows = [[bytes([value, 0, 7]) for value in range(200)]]
        self.assertEqual(read_png(picture.small_png(ppm(rows))), rows)

    def test_what_is_blank_around_the_text_goes_but_for_a_border(self):
        rows = [[BLACK] * 100 for _ in range(60)]
        rows[30][50] = rows[40][20] = WHITE
        small = read_png(picture.small_png(ppm(rows)))
        border = picture.BORDER
        self.assertEqual((len(small), len(small[0])), (11 + 2 * border, 31 + 2 * border))
        self.assertEqual((small[border][30 + border], small[10 + border][border]), (WHITE, WHITE))

    def test_a_blank_screen_is_a_picture_too(self):
        rows = [[BLACK] * 4] * 2
        self.assertEqual(read_png(picture.small_png(ppm(rows))), rows)

    def test_what_is_no_picture_is_a_message(self):
        for data in (b"", b"P5\n1 1\n255\n\0", b"P6\n2 1\n255\n\0\0\0"):
            with self.assertRaises(picture.NotAPicture):
                picture.small_png(data)

    def test_a_photograph_is_a_message(self):
        rows = [[bytes([value % 256, value // 256, 0]) for value in range(300)]]
        with self.assertRaisesRegex(picture.NotAPicture, "300 colours"):
            picture.small_png(ppm(rows))


if __name__ == "__main__":
    unittest.main()

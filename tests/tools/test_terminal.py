"""Tests of tools/terminal.py: what the serial console's screen shows of what was sent.

SPDX-License-Identifier: BSD-2-Clause-Patent
"""

import unittest

import scripts  # noqa: F401
import terminal


def shown(*pieces, columns=10, rows=3):
    screen = terminal.Terminal(columns, rows)
    for piece in pieces:
        screen.feed(piece)
    return screen.lines()


class Screen(unittest.TestCase):
    def test_text_stands_in_lines(self):
        self.assertEqual(shown(b"one\r\ntwo"), ["one", "two", ""])

    def test_a_line_end_alone_stays_in_its_column(self):
        self.assertEqual(shown(b"one\ntwo"), ["one", "   two", ""])

    def test_the_cursor_goes_where_it_is_sent(self):
        self.assertEqual(shown(b"\x1b[2;4Hx\x1b[Hy\x1b[03;10Hz"), ["y", "   x", "         z"])

    def test_a_place_outside_is_the_last_one(self):
        self.assertEqual(shown(b"\x1b[99;99Hx\x1b[0;0Hy"), ["y", "", "         x"])

    def test_it_is_cleared(self):
        self.assertEqual(shown(b"one\r\ntwo\x1b[2Jx"), ["", "   x", ""])

    def test_the_rest_of_a_line_and_of_the_screen_is_cleared(self):
        self.assertEqual(shown(b"abc\r\ndef\x1b[1;2H\x1b[K"), ["a", "def", ""])
        self.assertEqual(shown(b"abc\r\ndef\x1b[1;2H\x1b[J"), ["a", "", ""])

    def test_colours_leave_no_trace(self):
        self.assertEqual(shown(b"\x1b[0m\x1b[35m\x1b[40ma\x1b[1mb\x1b[?25h\x1b(Bc"), ["abc", "", ""])

    def test_behind_the_last_column_a_line_goes_on_below(self):
        self.assertEqual(shown(b"0123456789"), ["0123456789", "", ""])
        self.assertEqual(shown(b"0123456789ab"), ["0123456789", "ab", ""])

    def test_below_the_last_row_it_moves_up(self):
        self.assertEqual(shown(b"1\r\n2\r\n3\r\n4"), ["2", "3", "4"])

    def test_a_sequence_may_come_in_pieces(self):
        sent = b"a\x1b[2;4Hx\xe2\x95\x90y"
        for at in range(len(sent)):
            with self.subTest(at=at):
                self.assertEqual(shown(sent[:at], sent[at:]), ["a", "   x\u2550y", ""])

    def test_the_cursor_moves_from_where_it_is(self):
        self.assertEqual(shown(b"ab\x1b[Dc\x1b[B\x1b[2Cd\x1b[Ae\bf"), ["ac   f", "    d", ""])


if __name__ == "__main__":
    unittest.main()

"""A text terminal: what the firmware's serial console shows, as lines of text.

It knows what UEFI's terminal driver sends: the cursor's place, clearing, colours, and text.

SPDX-License-Identifier: BSD-2-Clause-Patent
"""

import re

COLUMNS, ROWS = 80, 25
_SEQUENCE = re.compile(r"\x1b(?:\[([0-9;?=]*)([A-Za-z@])|[()][A-Z0-9]|[=>cDEHM78])")
_BEGIN_OF_SEQUENCE = re.compile(r"\x1b(\[[0-9;?=]*|[()]?)$")
BLANK = " "


class Terminal:
    """Takes what was sent, in pieces as they come, and has the screen."""

    def __init__(self, columns=COLUMNS, rows=ROWS):
        self.columns, self.rows = columns, rows
        self._pending = b""
        self._clear()
        self._row = self._column = 0

    def lines(self):
        """The screen from top to bottom, without blanks at the end of a line."""
        return ["".join(row).rstrip() for row in self._cells]

    def text(self):
        return "\n".join(self.lines())

    def feed(self, piece):
        """Takes the next bytes; a sequence or a character that is cut off waits for the rest of it."""
        data = self._pending + piece
        text, self._pending = _decoded(data)
        while text:
            found = _SEQUENCE.match(text)
            if found:
                self._obey(found[2], [int(number or 0) for number in re.findall(r"\d+|(?<=;)|^(?=;)", found[1] or "")])
                text = text[found.end():]
            elif _BEGIN_OF_SEQUENCE.match(text):
                self._pending = text.encode() + self._pending
                return
            else:
                self._put(text[0])
                text = text[1:]

    def _clear(self):
        self._cells = [[BLANK] * self.columns for _ in range(self.rows)]

    def _obey(self, letter, numbers):
        first = numbers[0] if numbers else 0
        if letter in ("H", "f"):
            self._row = min(max(first, 1), self.rows) - 1
            self._column = min(max(numbers[1] if len(numbers) > 1 else 1, 1), self.columns) - 1
        elif letter == "J" and first == 2:
            self._clear()
        elif letter == "J" and first == 0:
            self._cells[self._row][self._column:] = [BLANK] * (self.columns - self._column)
            for row in range(self._row + 1, self.rows):
                self._cells[row] = [BLANK] * self.columns
        elif letter == "K" and first == 0:
            self._cells[self._row][self._column:] = [BLANK] * (self.columns - self._column)
        elif letter == "A":
            self._row = max(self._row - max(first, 1), 0)
        elif letter == "B":
            self._row = min(self._row + max(first, 1), self.rows - 1)
        elif letter == "C":
            self._column = min(self._column + max(first, 1), self.columns - 1)
        elif letter == "D":
            self._column = max(self._column - max(first, 1), 0)

    def _put(self, character):
        if character == "\r":
            self._column = 0
        elif character == "\n":
            self._next_row()
        elif character == "\b":
            self._column = max(self._column - 1, 0)
        elif character >= " " and character != "\x7f":
            # The cursor waits behind the last column until something follows.
            if self._column == self.columns:
                self._column = 0
                self._next_row()
            self._cells[self._row][self._column] = character
            self._column += 1

    def _next_row(self):
        if self._row + 1 < self.rows:
            self._row += 1
        else:
            self._cells = self._cells[1:] + [[BLANK] * self.columns]


def _decoded(data):
    """UTF-8 as text, and what is left of a character that is cut off."""
    for left in range(1, min(4, len(data) + 1)):
        if data[-left] >= 0xC0 and (data[-left] >= 0xF0) + (data[-left] >= 0xE0) + 2 > left:
            return data[:-left].decode("utf-8", "replace"), data[-left:]
    return data.decode("utf-8", "replace"), b""

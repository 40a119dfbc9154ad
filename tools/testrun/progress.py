"""Says how far long work is: a line that changes on a terminal, elsewhere a line now and then.

SPDX-License-Identifier: BSD-2-Clause-Patent
"""

import shutil
import sys
import time

# Where lines stay, one of them for so many seconds is enough.
SECONDS_BETWEEN_LINES = 15


def duration(seconds):
    if seconds < 90:
        return f"{max(seconds, 1):.0f} s"
    return f"{seconds / 60:.0f} min"


class Progress:
    """What is said in between with `say` stays above the line."""

    def __init__(self, out=sys.stdout):
        self._out = out
        self._changes = out.isatty()
        self._shown = False
        self._last = time.monotonic()

    def _clear(self):
        if self._shown:
            self._out.write("\r\x1b[K")
            self._shown = False

    def say(self, line):
        self._clear()
        self._out.write(line + "\n")
        self._out.flush()

    def done(self, done, count, seconds_left, last):
        left = f"about {duration(seconds_left)} left" if done < count else "done"
        line = f"[{done}/{count}] {left}; {last}"
        if self._changes:
            self._clear()
            self._out.write(line[:shutil.get_terminal_size().columns - 1])
            self._shown = True
        elif done == count or time.monotonic() - self._last >= SECONDS_BETWEEN_LINES:
            self._out.write(line + "\n")
            self._last = time.monotonic()
        self._out.flush()

    def end(self):
        self._clear()
        self._out.flush()

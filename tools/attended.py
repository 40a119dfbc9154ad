"""A machine in QEMU that somebody sits at: its screen can be read, keys pressed, pictures taken.

    with attended.Machine(command) as machine:
        machine.wait_for("Press a key")     # on the screen of the serial console
        machine.type("a")                   # a key on the serial console
        machine.press("ret")                # a key on the keyboard, by QEMU's name for it
        machine.picture("page-1.png")       # what the display shows, where the machine has one
        machine.wait_until_off()

`command` is what guests.qemu_command gives. Seconds count from the start of QEMU.

SPDX-License-Identifier: BSD-2-Clause-Patent
"""

import json
import pathlib
import re
import socket
import subprocess
import tempfile
import threading
import time

import picture
import terminal

SECONDS = 120
MONITOR_SECONDS = 10
_POLL = 0.05
_ESCAPES = re.compile(rb"\x1b(\[[0-9;?=]*[A-Za-z]|[()][A-Z0-9]|[=>c])")


class AttendedFailure(Exception):
    """Something did not happen; the text has the screen as it is."""


class Monitor:
    """QEMU's monitor, in JSON."""

    def __init__(self, path, seconds):
        self._socket = socket.socket(socket.AF_UNIX)
        end = time.monotonic() + seconds
        while True:
            try:
                self._socket.connect(str(path))
                break
            except OSError as error:
                if time.monotonic() > end:
                    raise AttendedFailure(f"QEMU's monitor does not answer: {error}") from error
                time.sleep(_POLL)
        self._file = self._socket.makefile("rw", encoding="utf-8")
        self._file.readline()  # its greeting
        self.run("qmp_capabilities")

    def run(self, command, **arguments):
        json.dump({"execute": command, "arguments": arguments}, self._file)
        self._file.write("\n")
        self._file.flush()
        for line in self._file:
            answer = json.loads(line)
            if "error" in answer:
                raise AttendedFailure(f"{command}: {answer['error']['desc']}")
            if "return" in answer:
                return answer["return"]
        raise AttendedFailure(f"{command}: QEMU is gone")

    def close(self):
        self._file.close()
        self._socket.close()


class Machine:
    """Starts QEMU; leaving the block ends it."""

    def __init__(self, command, columns=terminal.COLUMNS, rows=terminal.ROWS, monitor_seconds=MONITOR_SECONDS):
        self._folder = tempfile.TemporaryDirectory(prefix="tvq-attended-")
        self._command = [*command, "-qmp", f"unix:{self._folder.name}/monitor,server=on,wait=off"]
        self._monitor_seconds = monitor_seconds
        self._terminal = terminal.Terminal(columns, rows)
        self._lock = threading.Lock()
        self._raw = bytearray()
        self._pieces = []  # (seconds, bytes so far)

    def __enter__(self):
        self._began = time.monotonic()
        self._process = subprocess.Popen(
            self._command, stdin=subprocess.PIPE, stdout=subprocess.PIPE, stderr=subprocess.STDOUT, bufsize=0
        )
        self._reader = threading.Thread(target=self._read)
        self._reader.start()
        try:
            self._monitor = Monitor(pathlib.Path(self._folder.name, "monitor"), self._monitor_seconds)
        except AttendedFailure:
            self._end()
            raise
        return self

    def __exit__(self, *_):
        self._monitor.close()
        self._end()

    def _end(self):
        self._process.kill()
        self._process.wait()
        self._reader.join()
        self._process.stdin.close()
        self._process.stdout.close()
        self._folder.cleanup()

    def _read(self):
        while chunk := self._process.stdout.read(4096):
            with self._lock:
                self._raw.extend(chunk)
                self._pieces.append((time.monotonic() - self._began, len(self._raw)))
                self._terminal.feed(chunk)

    def raw(self):
        """Everything that came from the serial console."""
        with self._lock:
            return bytes(self._raw)

    def screen(self):
        """The serial console's screen, a line for each row."""
        with self._lock:
            return self._terminal.lines()

    def seconds_to(self, text):
        """When the serial console had said `text`; None where it did not."""
        with self._lock:
            for seconds, size in self._pieces:
                if text.encode() in _ESCAPES.sub(b"", bytes(self._raw[:size])):
                    return seconds
        return None

    def wait_until(self, happened, what, seconds=SECONDS):
        """Until a function says so; `what` names that in the failure."""
        end = time.monotonic() + seconds
        while not happened():
            if time.monotonic() > end:
                raise AttendedFailure(f"{what} did not come within {seconds} s; the screen:\n" + "\n".join(self.screen()))
            if self._process.poll() is not None:
                self._reader.join()
                if happened():
                    return
                raise AttendedFailure(f"{what} did not come before QEMU ended; the screen:\n" + "\n".join(self.screen()))
            time.sleep(_POLL)

    def wait_for(self, text, seconds=SECONDS):
        """Until the text stands on the screen, in one line."""
        self.wait_until(lambda: any(text in line for line in self.screen()), f"'{text}'", seconds)

    def wait_until_gone(self, text, seconds=SECONDS):
        self.wait_until(lambda: not any(text in line for line in self.screen()), f"a screen without '{text}'", seconds)

    def wait_for_output(self, text, seconds=SECONDS):
        """Until the serial console has ever said it, also where it went off the screen again."""
        self.wait_until(lambda: text.encode() in _ESCAPES.sub(b"", self.raw()), f"'{text}'", seconds)

    def wait_until_off(self, seconds=SECONDS):
        """Until the machine is off, or is reset where QEMU was told not to restart it."""
        try:
            self._process.wait(seconds)
        except subprocess.TimeoutExpired:
            shown = "\n".join(self.screen())
            raise AttendedFailure(f"the machine is still on after {seconds} s; the screen:\n{shown}") from None
        self._reader.join()

    def type(self, text):
        """Keys on the serial console: characters, or a sequence such as "\\x1b[B" for the arrow down."""
        self._process.stdin.write(text.encode())

    def press(self, *keys):
        """Keys on the keyboard, all at once: "a", "ret", "esc", "down", "pgdn", "f10", as QEMU names them."""
        self._monitor.run("send-key", keys=[{"type": "qcode", "data": key} for key in keys])

    def picture(self, path):
        """What the display shows, as a small PNG."""
        dump = pathlib.Path(self._folder.name, "screen.ppm")
        self._monitor.run("screendump", filename=str(dump))
        pathlib.Path(path).write_bytes(picture.small_png(dump.read_bytes()))

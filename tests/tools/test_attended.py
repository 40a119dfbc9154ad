"""Tests of tools/attended.py: a small program stands in for QEMU, and answers its monitor.

SPDX-License-Identifier: BSD-2-Clause-Patent
"""

import pathlib
import sys
import tempfile
import unittest

import scripts  # noqa: F401
import attended

# Prints a screen, echoes a key that comes on the serial console, writes the commands of the monitor to a file, and ends.
QEMU = r"""
import json, pathlib, socket, sys
path = next(word for word in sys.argv if word.startswith("unix:"))[5:].split(",")[0]
server = socket.socket(socket.AF_UNIX)
server.bind(path)
server.listen()
connection = server.accept()[0]
monitor = connection.makefile("rw")
print(json.dumps({"QMP": {}}), file=monitor, flush=True)
def answer():
    command = json.loads(monitor.readline())
    with open(sys.argv[1], "a") as log:
        print(command["execute"], json.dumps(command["arguments"]), file=log)
    if command["execute"] == "screendump":
        pathlib.Path(command["arguments"]["filename"]).write_bytes(b"P6\n2 1\n255\n\0\0\0\xff\xff\xff")
    bad = command["execute"] == "send-key" and command["arguments"]["keys"][0]["data"] == "nokey"
    print(json.dumps({"event": "X"}), file=monitor)
    print(json.dumps({"error": {"desc": "no such key"}} if bad else {"return": {}}), file=monitor, flush=True)
answer()
sys.stdout.write("\x1b[2J\x1b[1;1HPress \x1b[1ma key"); sys.stdout.flush()
key = sys.stdin.read(1)
sys.stdout.write(f"\x1b[2J\x1b[2;1Hgot {key}"); sys.stdout.flush()
answer()
answer()
"""


class Attended(unittest.TestCase):
    def setUp(self):
        owner = tempfile.TemporaryDirectory()
        self.addCleanup(owner.cleanup)
        self.log = pathlib.Path(owner.name, "log")
        self.picture = pathlib.Path(owner.name, "picture.png")
        self.machine = attended.Machine([sys.executable, "-c", QEMU, str(self.log)])

    def test_a_screen_is_read_a_key_typed_another_pressed_and_a_picture_taken(self):
        with self.machine as machine:
            machine.wait_for("Press a key")
            self.assertEqual(machine.screen()[0], "Press a key")
            machine.type("x")
            machine.wait_for("got x")
            machine.wait_until_gone("Press")
            machine.press("ctrl", "a")
            machine.picture(self.picture)
            machine.wait_until_off(20)
        self.assertTrue(self.picture.read_bytes().startswith(b"\x89PNG"))
        commands = self.log.read_text().splitlines()
        self.assertEqual(commands[0], "qmp_capabilities {}")
        self.assertEqual(
            commands[1], 'send-key {"keys": [{"type": "qcode", "data": "ctrl"}, {"type": "qcode", "data": "a"}]}'
        )
        self.assertTrue(commands[2].startswith("screendump "))

    def test_it_knows_when_something_was_said(self):
        with self.machine as machine:
            machine.wait_for_output("a key")
            self.assertGreater(machine.seconds_to("Press a key"), 0)
            self.assertIsNone(machine.seconds_to("got"))

    def test_what_does_not_come_is_a_failure_with_the_screen(self):
        with self.machine as machine:
            machine.wait_for("Press")
            with self.assertRaisesRegex(attended.AttendedFailure, r"(?s)'more' did not come within 0.2 s.*Press a key"):
                machine.wait_for("more", 0.2)
            with self.assertRaisesRegex(attended.AttendedFailure, "still on after 0.2 s"):
                machine.wait_until_off(0.2)

    def test_a_machine_that_ends_early_is_a_failure(self):
        with self.machine as machine:
            machine.wait_for("Press")
            machine.type("x")
            machine.press("a")
            machine.press("b")
            with self.assertRaisesRegex(attended.AttendedFailure, "'more' did not come before QEMU ended"):
                machine.wait_for("more", 20)

    def test_a_key_that_nobody_has_is_a_failure(self):
        with self.machine as machine:
            machine.wait_for("Press")
            machine.type("x")
            with self.assertRaisesRegex(attended.AttendedFailure, "send-key: no such key"):
                machine.press("nokey")

    def test_a_qemu_that_does_not_start_is_a_failure(self):
        machine = attended.Machine([sys.executable, "-c", "print('no')"], monitor_seconds=0.5)
        with self.assertRaisesRegex(attended.AttendedFailure, "monitor does not answer"):
            with machine:
                pass


if __name__ == "__main__":
    unittest.main()

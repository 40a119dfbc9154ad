"""Tests of tools/count_slots.py.

SPDX-License-Identifier: BSD-2-Clause-Patent
"""

import collections
import json
import pathlib
import tempfile
import unittest

import scripts  # noqa: F401
import count_slots

MACHINE = {"sockets": [["CPU1", True]], "slots": [["DIMM_A1", "", True], ["NO DIMM", "NO DIMM", False], ["X", "", False]]}


class CountSlots(unittest.TestCase):
    def test_every_socket_and_slot_has_a_structure(self):
        table = count_slots.table(MACHINE)
        for text in (b"CPU1\0\0", b"DIMM_A1\0 \0\0", b"NO DIMM\0NO DIMM\0\0"):
            self.assertIn(text, table)
        self.assertTrue(table.endswith(b"\x7f\x04\x00\x7f\0\0"))

    def test_the_rules_are_those_that_tvq_says(self):
        devices = [{"handle": 0x1100, "nameRule": "given"}, {"handle": 0x1101, "nameRule": "computed"}]
        with tempfile.TemporaryDirectory() as folder:
            tvq = pathlib.Path(folder, "tvq")
            tvq.write_text("#!/bin/sh\necho '" + json.dumps({"devices": devices}) + "'\n")
            tvq.chmod(0o755)
            self.assertEqual(list(count_slots.rules(tvq, MACHINE)), ["given", "no record"])

    def test_nineteen_of_twenty_are_enough(self):
        lines, is_enough = count_slots.report(collections.Counter(given=19, computed=1))
        self.assertEqual((lines[-1], is_enough), ("19 of 20 slots are named by a rule: 95.00%", True))
        self.assertFalse(count_slots.report(collections.Counter({"given": 18, "no record": 1, "computed": 1}))[1])


if __name__ == "__main__":
    unittest.main()

"""Tests of tests/bench/tables.py: the tables that are measured.

SPDX-License-Identifier: BSD-2-Clause-Patent
"""

import struct
import unittest
from collections import Counter

import scripts  # noqa: F401
import tables


def types(file):
    return Counter(file[place] for place in tables.offsets(file))


def handles(file):
    return [struct.unpack_from("<H", file, place + 2)[0] for place in tables.offsets(file)]


class Dumps(unittest.TestCase):
    def test_both_checksums_of_the_entry_point_are_zero(self):
        file = tables.virtual_server()
        self.assertEqual((sum(file[:0x1F]) & 0xFF, sum(file[0x10:0x1F]) & 0xFF), (0, 0))

    def test_the_entry_point_states_what_follows(self):
        file = tables.of_size(100)
        length, _, count = struct.unpack_from("<HIH", file, 0x16)
        self.assertEqual((length, count), (len(file) - tables.ENTRY_POINT_SIZE, 100))

    def test_a_table_that_no_32_bit_entry_point_can_state_is_refused(self):
        with self.assertRaisesRegex(tables.TableError, "bytes are too many"):
            tables.of_size(3000)

    def test_a_structure_without_strings_ends_in_two_zero_bytes(self):
        self.assertEqual(tables.structure(126, 0x1234, b"\5"), b"\x7e\x05\x34\x12\x05\0\0")
        self.assertEqual(tables.structure(126, 0x1234, b"\1", "A"), b"\x7e\x05\x34\x12\x01A\0\0")


class VirtualServer(unittest.TestCase):
    def setUp(self):
        self.file = tables.virtual_server()

    def test_it_has_620_structures_in_29_kb(self):
        self.assertEqual(len(list(tables.offsets(self.file))), 620)
        self.assertAlmostEqual(len(self.file) / 1000, 29, delta=0.5)

    def test_most_are_processors_caches_and_memory_slots(self):
        self.assertEqual(types(self.file).most_common(3), [(7, 256), (4, 128), (17, 128)])

    def test_handles_are_unique(self):
        self.assertEqual(len(set(handles(self.file))), 620)

    def test_one_module_is_installed_and_all_of_them_when_populated(self):
        for file, expected in ((self.file, 1), (tables.populated(self.file), 128)):
            sizes = [struct.unpack_from("<H", file, place + 0x0C)[0]
                     for place in tables.offsets(file) if file[place] == 17]
            self.assertEqual(sum(size != 0 for size in sizes), expected)

    def test_populating_changes_nothing_else(self):
        full = tables.populated(self.file)
        self.assertEqual(types(full), types(self.file))
        self.assertEqual(handles(full), handles(self.file))


class Sizes(unittest.TestCase):
    def test_the_number_of_structures_is_the_one_asked_for(self):
        for count in (50, 400, 2000):
            self.assertEqual(len(list(tables.offsets(tables.of_size(count)))), count)

    def test_everything_grows_alike_but_what_is_there_once(self):
        small, large = types(tables.of_size(400)), types(tables.of_size(800))
        self.assertEqual({kind: large[kind] / small[kind] for kind in (4, 7, 17)}, {4: 2, 7: 2, 17: 2})

    def test_the_largest_fills_a_32_bit_entry_point_nearly(self):
        self.assertGreater(len(tables.of_size(2000)), 50_000)

    def test_none_has_the_extensions_whose_list_is_walked(self):
        self.assertEqual(types(tables.of_size(2000))[226], 0)

    def test_too_few_structures_are_refused(self):
        with self.assertRaisesRegex(tables.TableError, "3 structures are too few"):
            tables.of_size(3)


class Damage(unittest.TestCase):
    def test_a_file_that_is_no_dump_is_refused(self):
        for file in (b"", b"_SM3_" + bytes(100), tables.of_size(50)[:-100]):
            with self.assertRaisesRegex(tables.TableError, "no dump"):
                list(tables.offsets(file))

    def test_a_structure_without_an_end_is_refused(self):
        file = tables.dump([tables.structure(1, 1)[:-1]])
        with self.assertRaisesRegex(tables.TableError, "no end"):
            list(tables.offsets(file))


if __name__ == "__main__":
    unittest.main()

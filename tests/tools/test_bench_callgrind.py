"""Tests of tests/bench/callgrind.py and measure.py: whose instructions they are.

SPDX-License-Identifier: BSD-2-Clause-Patent
"""

import unittest

import scripts  # noqa: F401
import callgrind
import measure
from callgrind import LinkMap, ProfileError

# A start that calls a library twice and the core once. Names and positions are abbreviated as callgrind does.
PROFILE = """# callgrind format
version: 1
desc: Trigger: Client Request: start

positions: instr line
events: Ir
summary: 1165

ob=(1) /build/program
fl=(1) /src/TvqSmbiosPkg/src/uefi/entry.cpp
fn=(1) tvq::SMBIOSInit(void*)
0x1000 10 40
+4 +1 20
cfi=(2) /edk2/MdePkg/Library/BaseMemoryLib/CopyMem.c
cfn=(2) driver.InternalMemCopyMem
calls=2 0x1100 7
* * 600
fi=(3) /src/TvqSmbiosPkg/src/text.h
+8 -9 5
fe=(1)
cfi=(4) /edk2/MdeModulePkg/Core/Dxe/Hand/Handle.c
cfn=(3) core.CoreInstallProtocolInterface
calls=1 0x2000 1
+4 +20 500

fl=(2)
fn=(2)
0x1100 7 100
* 8 500

fl=(4)
fn=(3)
0x2000 1 500
"""

MAP = """ .text          0x0000000000001000      0x200 host/libtvq_image_driver.a(driver.o)
 .text          0x0000000000001200      0x100 host/libtvq_image_driver.a(image.cpp.o)
 .text          0x0000000000002000       0x10 host/libtvq_firmware.a(core.o)
 .text.unlikely 0x0000000000003000       0x10 host/libtvq_firmware.a(core.o)
 .text          0x0000000000000000        0x0 host/libtvq_firmware.a(core.o)
"""


class Profiles(unittest.TestCase):
    def setUp(self):
        self.profile = callgrind.read_profile(PROFILE)
        self.costs = {function.name: function.cost for function in self.profile.functions}

    def test_the_trigger_names_the_phase(self):
        self.assertEqual(self.profile.trigger, "start")

    def test_what_a_callee_cost_does_not_count_for_the_caller(self):
        self.assertEqual(sum(cost for name, cost in self.costs.items() if "SMBIOSInit" in name), 65)

    def test_lines_of_one_function_add_up(self):
        self.assertEqual(self.costs["driver.InternalMemCopyMem"], 600)

    def test_everything_adds_up_to_the_summary(self):
        self.assertEqual(sum(self.costs.values()), 1165)

    def test_positions_are_differences_to_the_line_before(self):
        addresses = {function.name: function.address for function in self.profile.functions}
        self.assertEqual(addresses["driver.InternalMemCopyMem"], 0x1100)
        self.assertEqual(addresses["core.CoreInstallProtocolInterface"], 0x2000)

    def test_calls_are_counted(self):
        self.assertEqual(self.profile.calls["driver.InternalMemCopyMem"], 2)

    def test_another_file_is_refused(self):
        for text in ("", "cachegrind format\n"):
            with self.assertRaisesRegex(ProfileError, "no profile of callgrind"):
                callgrind.read_profile(text)


class Maps(unittest.TestCase):
    def test_an_address_belongs_to_the_image_whose_code_is_there(self):
        link_map = LinkMap(MAP, ("driver", "core"))
        expected = {0xFFF: None, 0x1000: "driver", 0x11FF: "driver", 0x1200: None, 0x2000: "core", 0x200F: "core",
                    0x2010: None, 0x3001: "core", 0x400000: None}
        self.assertEqual({address: link_map.image_at(address) for address in expected}, expected)

    def test_an_image_without_code_is_a_mistake(self):
        with self.assertRaisesRegex(ProfileError, "no code of platform"):
            LinkMap(MAP, ("driver", "platform"))


class Phases(unittest.TestCase):
    def setUp(self):
        self.phase = measure.phase_of(callgrind.read_profile(PROFILE), LinkMap(MAP, ("driver", "core")))

    def test_the_driver_has_its_own_code_and_that_of_its_libraries(self):
        self.assertEqual((self.phase.shares["driver"], self.phase.shares["libraries"]), (65, 600))
        self.assertEqual(self.phase.driver, 665)

    def test_the_core_is_around_it(self):
        self.assertEqual((self.phase.around, self.phase.total), (500, 1165))

    def test_the_hottest_routine_comes_first_and_only_the_drivers_count(self):
        self.assertEqual(self.phase.hottest(5), [("InternalMemCopyMem", 600), ("SMBIOSInit", 65)])

    def test_routines_have_the_names_of_the_source(self):
        names = {"tvq::(anonymous namespace)::WrapDocument(char const*, unsigned long long)": "WrapDocument",
                 "tvq::Structure::Left() const": "Structure::Left",
                 "driver.InternalMemSetMem": "InternalMemSetMem",
                 "ZvAllocateZero": "ZvAllocateZero"}
        self.assertEqual({symbol: measure.routine_name(symbol) for symbol in names}, names)


if __name__ == "__main__":
    unittest.main()

"""Tests of tools/check_lists.py.

SPDX-License-Identifier: BSD-2-Clause-Patent
"""

import pathlib
import tempfile
import unittest

import scripts  # noqa: F401
import check_lists

INF = "[Defines]\n  BASE_NAME = Thing\n[Sources]\n  thing.cpp # the thing\n  sub/part.cpp\n[Packages]\n  MdePkg/MdePkg.dec\n"


class BuildLists(unittest.TestCase):
    def setUp(self):
        owner = tempfile.TemporaryDirectory()
        self.addCleanup(owner.cleanup)
        self.root = pathlib.Path(owner.name).resolve()
        self.write("OnePkg/OnePkg.dec", "")
        self.write("OnePkg/OnePkg.dsc", "[Components]\n  OnePkg/Thing/Thing.inf\n")
        self.write("OnePkg/Thing/Thing.inf", INF)
        self.write("OnePkg/Thing/thing.cpp")
        self.write("OnePkg/Thing/sub/part.cpp")
        self.write("OnePkg/Include/Thing.h")

    def write(self, path, text=""):
        file = self.root / path
        file.parent.mkdir(parents=True, exist_ok=True)
        file.write_text(text)

    def findings(self):
        return list(check_lists.findings(self.root))

    def test_complete_lists_have_no_findings(self):
        self.assertEqual(self.findings(), [])

    def test_an_include_in_a_comment_is_found(self):
        self.write("OnePkg/OnePkg.fdf.inc", "#\n#  !include OnePkg/OnePkg.fdf.inc\n!include OnePkg/Other.inc  # the rest\n")
        self.assertEqual(self.findings(),
                         ["OnePkg/OnePkg.fdf.inc:2: a comment holds an !include, which EDK II obeys in an FDF"])

    def test_a_source_file_in_no_inf_is_found(self):
        self.write("OnePkg/Thing/forgotten.cpp")
        self.assertEqual(self.findings(), ["OnePkg/Thing/forgotten.cpp is in no INF"])

    def test_a_private_header_in_no_inf_is_found(self):
        self.write("OnePkg/Thing/private.h")
        self.assertEqual(self.findings(), ["OnePkg/Thing/private.h is in no INF"])

    def test_a_module_in_no_dsc_is_found(self):
        self.write("OnePkg/OnePkg.dsc", "[Components]\n  # OnePkg/Thing/Thing.inf\n")
        self.assertEqual(self.findings(), ["OnePkg/Thing/Thing.inf is in no DSC"])

    def test_a_module_in_an_included_file_counts(self):
        self.write("OnePkg/OnePkg.dsc", "!include OnePkg/OnePkg.dsc.inc\n")
        self.write("OnePkg/OnePkg.dsc.inc", "  OnePkg/Thing/Thing.inf {\n    <LibraryClasses>\n  }\n")
        self.assertEqual(self.findings(), [])

    def test_a_library_class_names_its_module(self):
        self.write("OnePkg/OnePkg.dsc", "[LibraryClasses]\n  Thing|OnePkg/Thing/Thing.inf\n")
        self.assertEqual(self.findings(), [])

    def test_a_listed_file_that_is_missing_is_found(self):
        (self.root / "OnePkg/Thing/sub/part.cpp").unlink()
        self.assertEqual(self.findings(), ["OnePkg/Thing/sub/part.cpp is in an INF, but does not exist"])

    def test_names_in_other_sections_are_no_sources(self):
        self.write("OnePkg/Thing/Thing.inf", INF.replace("[Packages]", "[Packages]\n  extra.cpp"))
        self.write("OnePkg/Thing/extra.cpp")
        self.assertEqual(self.findings(), ["OnePkg/Thing/extra.cpp is in no INF"])

    def test_sections_for_one_architecture_count(self):
        self.write("OnePkg/Thing/Thing.inf", INF + "[Sources.X64]\n  fast.cpp | GCC\n")
        self.write("OnePkg/Thing/fast.cpp")
        self.assertEqual(self.findings(), [])


if __name__ == "__main__":
    unittest.main()

"""What checks the packages as EDK II's continuous integration would.

SPDX-License-Identifier: BSD-2-Clause-Patent
"""

import json
import pathlib
import tempfile
import unittest

import scripts
import check_edk2

DEC = """[Defines]
  PACKAGE_GUID = 3E1B7C52-8D0A-4B0E-9C37-5B6E0F2D9A41
[LibraryClasses]
  ALib|Include/Library/ALib.h
[Guids]
  gOne = { 0x11223344, 0x5566, 0x7788, { 0x99, 0xaa, 0xbb, 0xcc, 0xdd, 0xee, 0xff, 0x00 } }
"""
INF = "[Defines]\n  FILE_GUID = 00000000-1111-2222-3333-444444444444\n[Packages]\n  MdePkg/MdePkg.dec\n"
SETTINGS = {
    "EccCheck": {"ExceptionList": ["8005", "A.b", "8002", "c<d"], "IgnoreFiles": ["Include/Skipped.h", "src"]},
    "DependencyCheck": {"AcceptableDependencies": ["MdePkg/MdePkg.dec"]},
    "DscCompleteCheck": {"DscPath": "APkg.dsc", "IgnoreInf": []},
    "LibraryClassCheck": {"IgnoreHeaderFile": []},
}


class CheckEdk2(unittest.TestCase):
    def setUp(self):
        folder = tempfile.TemporaryDirectory()
        self.addCleanup(folder.cleanup)
        self.root = pathlib.Path(folder.name) / "root"
        self.edk2 = pathlib.Path(folder.name) / "edk2"
        self.write(self.edk2, "MdePkg/MdePkg.dec", "[Guids]\n")
        self.write(self.root, "APkg/APkg.dec", DEC)
        self.write(self.root, "APkg/APkg.dsc", "[Components]\n!include APkg/APkg.dsc.inc\n")
        self.write(self.root, "APkg/APkg.dsc.inc", "  APkg/A.inf\n")
        self.write(self.root, "APkg/A.inf", INF)
        self.write(self.root, "APkg/Include/Library/ALib.h", "int a;\n")
        self.write(self.root, "APkg/APkg.ci.yaml", f"## @file\n# Why\n{json.dumps(SETTINGS)}\n")

    @staticmethod
    def write(root, name, text):
        path = root / name
        path.parent.mkdir(parents=True, exist_ok=True)
        path.write_bytes(text.encode("latin-1"))

    def package(self):
        return check_edk2.Package(self.root / "APkg")

    def test_a_package_in_order_has_no_finding(self):
        package = self.package()
        self.assertEqual(list(check_edk2.guid_findings([package], self.edk2)), [])
        for check in ("dsc", "dependency", "library_class", "flag", "encoding"):
            self.assertEqual(list(getattr(check_edk2, f"{check}_findings")(package)), [], check)

    def test_a_guid_of_the_tree_in_either_form_is_one(self):
        self.write(self.edk2, "XPkg/X.inf", "[Defines]\n  FILE_GUID = 11223344-5566-7788-99AA-BBCCDDEEFF00\n")
        self.assertEqual(
            list(check_edk2.guid_findings([self.package()], self.edk2)),
            ["APkg/APkg.dec: 11223344-5566-7788-99aa-bbccddeeff00 is in EDK II's XPkg/X.inf too"],
        )

    def test_a_guid_that_stands_twice_is_one(self):
        self.write(self.root, "APkg/B.inf", INF)
        self.assertEqual(
            list(check_edk2.guid_findings([self.package()], self.edk2)),
            ["APkg/B.inf: 00000000-1111-2222-3333-444444444444 is in APkg/A.inf too"],
        )

    def test_a_module_that_the_dsc_does_not_name_is_one(self):
        self.write(self.root, "APkg/APkg.dsc.inc", "# APkg/A.inf\n")
        self.assertEqual(list(check_edk2.dsc_findings(self.package())), ["APkg/A.inf is not in APkg/APkg.dsc"])

    def test_a_package_that_is_not_allowed_is_one(self):
        self.write(self.root, "APkg/A.inf", INF + "  OtherPkg/OtherPkg.dec\n")
        self.assertEqual(
            list(check_edk2.dependency_findings(self.package())), ["APkg/A.inf: OtherPkg/OtherPkg.dec is no acceptable dependency"]
        )

    def test_header_and_library_class_go_together(self):
        (self.root / "APkg/Include/Library/ALib.h").rename(self.root / "APkg/Include/Library/BLib.h")
        self.assertEqual(
            list(check_edk2.library_class_findings(self.package())),
            [
                "APkg/Include/Library/BLib.h is no library class of APkg.dec",
                "APkg.dec: library class ALib has no header Include/Library/ALib.h",
            ],
        )

    def test_flags_of_c_that_are_none_of_cpp_are_one(self):
        both = "[BuildOptions]\n  GCC:*_*_*_CC_FLAGS = -fx\n  GCC:*_*_*_CXX_FLAGS = -fx\n"
        self.write(self.root, "APkg/A.inf", both)
        self.assertEqual(list(check_edk2.flag_findings(self.package())), [])
        self.write(self.root, "APkg/A.inf", both + "  GCC:*_*_X64_CXX_FLAGS = -fy\n")
        self.assertEqual(
            list(check_edk2.flag_findings(self.package())),
            ["APkg/A.inf: 'GCC:*_*_X64_CXX_FLAGS = -fy' stands without 'GCC:*_*_X64_CC_FLAGS = -fy'"],
        )

    def test_a_file_that_is_not_utf8_is_one(self):
        self.write(self.root, "APkg/bad.txt", "\xe9")
        self.assertIn("APkg/bad.txt: 'utf-8' codec", next(check_edk2.encoding_findings(self.package())))

    def test_ecc_gets_what_is_not_ignored_with_its_line_ends(self):
        self.write(self.root, "APkg/Include/Skipped.h", "int s;\n")
        self.write(self.root, "APkg/src/a.c", "int s;\n")
        target = self.root / "copy"
        check_edk2.copy_for_ecc(self.package(), target)
        files = {path.relative_to(target).as_posix(): path.read_bytes() for path in target.rglob("*.*")}
        self.assertEqual(files, {"Include/Library/ALib.h": b"int a;\r\n"})

    def test_the_packages_exceptions_come_behind_those_of_ecc(self):
        self.write(self.edk2, "exception.xml", "<ExceptionList>\n</ExceptionList>\n")
        self.assertEqual(
            check_edk2.exceptions_file(self.package(), self.edk2).splitlines()[1:3],
            [
                "<Exception><KeyWord>A.b</KeyWord><ErrorID>8005</ErrorID></Exception>",
                "<Exception><KeyWord>c&lt;d</KeyWord><ErrorID>8002</ErrorID></Exception>",
            ],
        )

    def test_both_packages_have_a_configuration_that_can_be_read(self):
        for name in ("TvqSmbiosPkg", "TvqPlatformPkg"):
            package = check_edk2.Package(scripts.ROOT / name)
            self.assertEqual(package.setting("DscCompleteCheck", "DscPath"), f"{name}.dsc")


if __name__ == "__main__":
    unittest.main()

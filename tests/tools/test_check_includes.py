"""Tests of tools/check_includes.py.

SPDX-License-Identifier: BSD-2-Clause-Patent
"""

import pathlib
import tempfile
import unittest

import scripts  # noqa: F401
import check_includes

SOURCES = "TvqSmbiosPkg/src/"


class Includes(unittest.TestCase):
    def setUp(self):
        owner = tempfile.TemporaryDirectory()
        self.addCleanup(owner.cleanup)
        self.root = pathlib.Path(owner.name).resolve()
        for package in ("TvqSmbiosPkg", "TvqPlatformPkg"):
            self.write(f"{package}/{package}.dec")
        self.write("TvqSmbiosPkg/Include/Protocol/TvqRecord.h")
        self.write("TvqSmbiosPkg/Include/Protocol/Other.h")
        for name in ("log.h", "smbios/walk.h", "documents/blobs.h", "common/record.h", "uefi/entry.h"):
            self.write(SOURCES + name)

    def write(self, path, *lines):
        file = self.root / path
        file.parent.mkdir(parents=True, exist_ok=True)
        file.write_text("".join(f"{line}\n" for line in lines))

    def findings(self):
        return list(check_includes.findings(self.root))

    def test_includes_from_the_folders_before_are_no_findings(self):
        self.write(SOURCES + "uefi/entry.cpp", '#include "entry.h"', '#include "../common/record.h"',
                   '#include "../documents/blobs.h"', '#include "../smbios/walk.h"')
        self.write(SOURCES + "common/record.cpp", '#include "../smbios/walk.h"', "#include <Protocol/TvqRecord.h>")
        self.assertEqual(self.findings(), [])

    def test_every_folder_may_include_what_stands_in_none(self):
        for folder in ("smbios", "documents", "common", "uefi"):
            self.write(SOURCES + folder + "/user.cpp", '#include "../log.h"')
        self.assertEqual(self.findings(), [])

    def test_an_include_from_a_folder_behind_is_found(self):
        wrong = {"smbios": ("documents/blobs.h", "common/record.h", "uefi/entry.h"),
                 "documents": ("smbios/walk.h", "common/record.h", "uefi/entry.h"),
                 "common": ("documents/blobs.h", "uefi/entry.h")}
        for folder, headers in wrong.items():
            for header in headers:
                with self.subTest(folder=folder, header=header):
                    self.write(SOURCES + folder + "/user.cpp", f'#include "../{header}"')
                    other = header.partition("/")[0]
                    self.assertEqual(self.findings(), [f"{SOURCES}{folder}/user.cpp includes {SOURCES}{header}: "
                                                       f"{folder} knows nothing of {other}"])
            (self.root / SOURCES / folder / "user.cpp").unlink()

    def test_headers_count_as_sources_do(self):
        self.write(SOURCES + "smbios/walk.h", ' # include "../uefi/entry.h"')
        self.assertEqual(len(self.findings()), 1)

    def test_the_table_knows_no_records(self):
        self.write(SOURCES + "smbios/walk.cpp", "#include <Protocol/TvqRecord.h>")
        self.assertEqual(self.findings(), [SOURCES + "smbios/walk.cpp includes Protocol/TvqRecord.h, itself or through others: "
                                           "smbios knows nothing of it"])

    def test_the_table_knows_no_records_through_other_headers_either(self):
        self.write("TvqSmbiosPkg/Include/Protocol/Other.h", "#include <Protocol/TvqRecord.h>")
        self.write(SOURCES + "log.h", "#include <Protocol/Other.h>")
        self.write(SOURCES + "smbios/walk.cpp", '#include "../log.h"')
        self.assertEqual(len(self.findings()), 1)

    def test_a_package_includes_only_public_headers_of_another(self):
        self.write("TvqPlatformPkg/src/good.cpp", "#include <Protocol/TvqRecord.h>")
        self.assertEqual(self.findings(), [])
        self.write("TvqPlatformPkg/src/bad.cpp", '#include "../../TvqSmbiosPkg/src/log.h"')
        self.assertEqual(self.findings(), [f"TvqPlatformPkg/src/bad.cpp includes {SOURCES}log.h, which is not public"])

    def test_headers_of_other_projects_are_nobodys_business(self):
        self.write(SOURCES + "smbios/walk.cpp", "#include <Uefi.h>", '#include "missing.h"')
        self.assertEqual(self.findings(), [])


if __name__ == "__main__":
    unittest.main()

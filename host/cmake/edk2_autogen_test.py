#!/usr/bin/env python3
"""Tests of edk2_autogen.py and image_symbols.py on small packages.

SPDX-License-Identifier: BSD-2-Clause-Patent
"""

import os
import subprocess
import sys
import tempfile
import unittest
from pathlib import Path

_FOLDER = Path(__file__).resolve().parent

_DEC = """
[Defines]
  PACKAGE_NAME = Small
[Includes]
  Include
[Guids]
  gSmallGuid = { 0x1, 0x2, 0x3, { 0x4 } }  ## a comment
[PcdsFeatureFlag]
  gSmall.PcdSwitch|FALSE|BOOLEAN|0x1
[PcdsFixedAtBuild, PcdsPatchableInModule]
  gSmall.PcdNumber|12|UINT32|0x2
  gSmall.PcdText|L"# is no comment"|VOID*|0x3
"""

_MODULE = """
[Defines]
  BASE_NAME   = Small
  FILE_GUID   = 01234567-89AB-CDEF-0123-456789ABCDEF
  MODULE_TYPE = DXE_DRIVER
  ENTRY_POINT = SmallEntry
[Sources]
  small.h
  small.cpp
  other.c | MSFT
[Sources.AARCH64]
  arm.c
[Sources.X64]
  x64.c | GCC
  x64.nasm
[Packages]
  Small/Small.dec
[Guids]
  gSmallGuid
[FeaturePcd]
  gSmall.PcdSwitch
[Pcd]
  gSmall.PcdNumber
  gSmall.PcdText
[BuildOptions]
  GCC:*_*_*_CC_FLAGS  = -DSMALL=1 -Os
  MSFT:*_*_*_CC_FLAGS = -DOTHER=1
"""

_LIBRARY = """
[Defines]
  BASE_NAME     = {name}
  FILE_GUID     = 01234567-89AB-CDEF-0123-456789ABCDE0
  MODULE_TYPE   = {type}
  LIBRARY_CLASS = {name}
  CONSTRUCTOR   = {name}Constructor
"""


class AutoGenTest(unittest.TestCase):
    """Runs the script as the build does."""

    def setUp(self):
        temporary = tempfile.TemporaryDirectory()
        self.addCleanup(temporary.cleanup)
        self.root = Path(temporary.name)
        self.write("Small/Small.dec", _DEC)
        self.write("Small/Small.inf", _MODULE)
        for source in ("small.cpp", "x64.c"):
            self.write(f"Small/{source}", "")

    def write(self, name, text):
        path = self.root / name
        path.parent.mkdir(parents=True, exist_ok=True)
        path.write_text(text, encoding="utf-8")

    def run_script(self, *arguments):
        command = [sys.executable, "-B", str(_FOLDER / "edk2_autogen.py"), "--root", str(self.root), "--out",
                   str(self.root / "out"), "--name", "small", "--inf", str(self.root / "Small/Small.inf"), *arguments]
        return subprocess.run(command, capture_output=True, text=True, check=False)

    def generate(self, *arguments):
        result = self.run_script(*arguments)
        self.assertEqual(result.returncode, 0, result.stderr)
        return {path.name: path.read_text(encoding="utf-8") for path in (self.root / "out").iterdir()}

    def assert_refused(self, message, *arguments):
        result = self.run_script(*arguments)
        self.assertNotEqual(result.returncode, 0)
        self.assertIn(message, result.stderr)
        self.assertNotIn("Traceback", result.stderr)

    def test_takes_the_sources_of_x64_and_gcc(self):
        sources = self.generate()["sources.cmake"]
        self.assertIn("Small/small.cpp", sources)
        self.assertIn("Small/x64.c", sources)
        for absent in ("other.c", "arm.c", "x64.nasm", "small.h"):
            self.assertNotIn(absent, sources)

    def test_takes_definitions_of_gcc(self):
        sources = self.generate()["sources.cmake"]
        self.assertIn("-DSMALL=1", sources)
        self.assertNotIn("-Os", sources)
        self.assertNotIn("OTHER", sources)

    def test_defines_guids_and_default_pcds(self):
        files = self.generate()
        self.assertIn("GUID gSmallGuid = { 0x1, 0x2, 0x3, { 0x4 } };", files["AutoGen.c"])
        self.assertIn("#define _PCD_VALUE_PcdNumber ((UINT32)12)", files["AutoGen.h"])
        self.assertIn("#define _PCD_GET_MODE_BOOL_PcdSwitch _PCD_VALUE_PcdSwitch", files["AutoGen.h"])
        self.assertIn('= L"# is no comment";', files["AutoGen.c"])

    def test_overrides_pcds_and_makes_variables(self):
        files = self.generate("--pcd", "PcdNumber=0", "--pcd", "PcdSwitch=runtime")
        self.assertIn("#define _PCD_VALUE_PcdNumber ((UINT32)0)", files["AutoGen.h"])
        self.assertIn("#define _PCD_GET_MODE_BOOL_PcdSwitch _gTvqHostPcd_PcdSwitch", files["AutoGen.h"])
        self.assertIn("BOOLEAN _gTvqHostPcd_PcdSwitch = 0;", files["AutoGen.c"])

    def test_calls_constructors_in_the_given_order_and_with_the_arguments_of_their_type(self):
        self.write("First/First.inf", _LIBRARY.format(name="First", type="UEFI_DRIVER"))
        self.write("Second/Second.inf", _LIBRARY.format(name="Second", type="BASE"))
        text = self.generate("--inf", str(self.root / "First/First.inf"), "--inf",
                             str(self.root / "Second/Second.inf"))["AutoGen.c"]
        first = text.index("Status = FirstConstructor (ImageHandle, SystemTable);")
        second = text.index("Status = SecondConstructor ();")
        self.assertLess(first, second)

    def test_needs_no_revision_that_the_module_does_not_state(self):
        text = self.generate()["AutoGen.c"]
        self.assertIn("_gUefiDriverRevision = 0x00000000;", text)
        self.assertIn("_gDxeRevision = 0x00000000;", text)

    def test_takes_the_revisions_that_the_module_states(self):
        stated = "UEFI_SPECIFICATION_VERSION = 0x00020028\nPI_SPECIFICATION_VERSION = 0x0001000A\n[Sources]"
        self.write("Small/Small.inf", _MODULE.replace("[Sources]", stated))
        text = self.generate()["AutoGen.c"]
        self.assertIn("_gUefiDriverRevision = 0x00020028;", text)
        self.assertIn("_gDxeRevision = 0x0001000A;", text)

    def test_refuses_a_revision_that_is_no_number(self):
        self.write("Small/Small.inf", _MODULE.replace("[Sources]", "UEFI_SPECIFICATION_VERSION = 2.x\n[Sources]"))
        self.assert_refused("UEFI_SPECIFICATION_VERSION is no hexadecimal number")

    def test_keeps_the_sources_of_shared_libraries_apart(self):
        self.write("Shared/Shared.inf", _LIBRARY.format(name="Shared", type="BASE") + "[Sources]\n  shared.cpp\n")
        self.write("Shared/shared.cpp", "")
        files = self.generate("--library-inf", str(self.root / "Shared/Shared.inf"))
        own, libraries = files["sources.cmake"].split("set(IMAGE_LIBRARY_SOURCES")
        self.assertNotIn("shared.cpp", own)
        self.assertIn("Shared/shared.cpp", libraries)
        self.assertIn("Status = SharedConstructor ();", files["AutoGen.c"])

    def test_leaves_files_alone_that_would_not_change(self):
        self.generate()
        header = self.root / "out/AutoGen.h"
        os.utime(header, (1, 1))
        self.generate()
        self.assertEqual(header.stat().st_mtime, 1)

    def test_refuses_an_undeclared_guid(self):
        self.write("Small/Small.inf", _MODULE.replace("  gSmallGuid", "  gUnknownGuid"))
        self.assert_refused("no package of this image declares gUnknownGuid")

    def test_refuses_a_value_for_a_pcd_that_the_image_does_not_use(self):
        self.assert_refused("the image does not use the PCD PcdOther", "--pcd", "PcdOther=1")

    def test_refuses_a_source_that_does_not_exist(self):
        (self.root / "Small/small.cpp").unlink()
        self.assert_refused("listed sources do not exist")

    def test_refuses_a_missing_inf(self):
        (self.root / "Small/Small.inf").unlink()
        self.assert_refused("No such file or directory")


class ImageSymbolsTest(unittest.TestCase):
    """Compiles small objects and looks at the renaming list."""

    def list_of(self, source):
        with tempfile.TemporaryDirectory() as folder:
            code, compiled, output = (Path(folder) / name for name in ("a.c", "a.o", "symbols.txt"))
            code.write_text(source, encoding="utf-8")
            subprocess.run(["cc", "-fno-builtin", "-c", "-o", compiled, code], check=True)
            result = subprocess.run([sys.executable, "-B", str(_FOLDER / "image_symbols.py"), "nm", "small", compiled,
                                     output, compiled], capture_output=True, text=True, check=False)
            return result, output.read_text(encoding="utf-8") if output.is_file() else ""

    def test_keeps_the_names_of_own_functions_and_renames_weak_ones(self):
        result, names = self.list_of("void Own(void) {} __attribute__((weak)) void Shared(void) {}")
        self.assertEqual(result.returncode, 0, result.stderr)
        self.assertEqual(names, "Shared small.Shared\n")

    def test_refuses_what_only_a_c_library_has(self):
        result, _ = self.list_of("void *memcpy(void *, const void *, unsigned long);"
                                 "void Own(void *a, void *b) { memcpy(a, b, 3); }")
        self.assertNotEqual(result.returncode, 0)
        self.assertIn("image small needs memcpy, which firmware does not have", result.stderr)


if __name__ == "__main__":
    unittest.main()

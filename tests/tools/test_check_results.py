"""Tests of tools/check_results.py.

SPDX-License-Identifier: BSD-2-Clause-Patent
"""

import pathlib
import tempfile
import unittest

import scripts  # noqa: F401
import check_results


class Results(unittest.TestCase):
    def setUp(self):
        owner = tempfile.TemporaryDirectory()
        self.addCleanup(owner.cleanup)
        self.root = pathlib.Path(owner.name).resolve()
        self.write("OnePkg/OnePkg.dec")

    def write(self, path, *lines):
        file = self.root / path
        file.parent.mkdir(parents=True, exist_ok=True)
        file.write_text("".join(f"{line}\n" for line in lines))

    def findings(self):
        return list(check_results.findings(self.root))

    def test_a_function_that_reports_a_status_is_found(self):
        for declaration in ("EFI_STATUS Run();", "  EFI_STATUS Run(UINT8 type) const;", "inline EFI_STATUS Run() {",
                            "EFI_STATUS EFIAPI Run(VOID* context);", "  static EFI_STATUS Run();"):
            with self.subTest(declaration=declaration):
                self.write("OnePkg/src/one.h", "// first", declaration)
                self.assertEqual(self.findings(), ["OnePkg/src/one.h:2: Run is not [[nodiscard]]"])

    def test_an_attribute_is_enough(self):
        self.write("OnePkg/src/one.h", "[[nodiscard]] EFI_STATUS Run();", "  [[nodiscard]] static EFI_STATUS Stop();")
        self.assertEqual(self.findings(), [])

    def test_a_definition_needs_none_where_its_declaration_has_it(self):
        self.write("OnePkg/src/one.h", "[[nodiscard]] EFI_STATUS Run();")
        self.write("OnePkg/src/one.cpp", "EFI_STATUS Run() {", "}", "EFI_STATUS One::Step() {", "}")
        self.assertEqual(self.findings(), [])

    def test_the_attribute_of_one_file_does_not_serve_another(self):
        self.write("OnePkg/src/one.cpp", "  [[nodiscard]] EFI_STATUS Run();")
        self.write("OnePkg/src/two.cpp", "  EFI_STATUS Run();", "EFI_STATUS Two::Run() {", "}")
        self.write("OnePkg/src/one.h", "[[nodiscard]] EFI_STATUS Stop();")
        self.write("OnePkg/src/two.h", "EFI_STATUS Stop();")
        self.assertEqual(self.findings(), ["OnePkg/src/two.h:1: Stop is not [[nodiscard]]",
                                           "OnePkg/src/two.cpp:1: Run is not [[nodiscard]]"])

    def test_public_headers_are_c(self):
        self.write("OnePkg/Include/One.h", "EFI_STATUS", "EFIAPI", "Run (", "  VOID", "  );")
        self.write("OnePkg/src/one.cpp", "EFI_STATUS Run() {", "}")
        self.assertEqual(self.findings(), [])

    def test_what_only_others_call_needs_none(self):
        self.write("OnePkg/src/one.cpp", 'extern "C" EFI_STATUS EFIAPI Entry(EFI_HANDLE image) {', "}",
                   "EFI_STATUS EFIAPI Answer(ONE_PROTOCOL* This) {", "}")
        self.assertEqual(self.findings(), [])

    def test_variables_and_types_are_no_functions(self):
        self.write("OnePkg/src/one.cpp", "const EFI_STATUS status(Run());", "EFI_STATUS status = Run();",
                   "// EFI_STATUS Run();", "/* EFI_STATUS", "EFI_STATUS Stop(); */", "using Operation = EFI_STATUS (*)();")
        self.assertEqual(self.findings(), [])

    def test_a_dropped_status_of_a_service_is_found(self):
        self.write("OnePkg/src/one.cpp", "void Close() {", "  // Whatever it says.", "  gBS->CloseEvent(event);",
                   "  gZV->RT->SetVariable(name);", "}")
        self.assertEqual(self.findings(), [
            "OnePkg/src/one.cpp:3: the status of gBS->CloseEvent is dropped without a cast to void",
            "OnePkg/src/one.cpp:4: the status of gZV->RT->SetVariable is dropped without a cast to void"])

    def test_it_is_found_in_public_headers_too(self):
        self.write("OnePkg/Include/One.h", "void Free() {", "  gBS->FreePool(block);", "}")
        self.assertEqual(len(self.findings()), 1)

    def test_a_status_that_is_used_or_cast_to_void_is_no_finding(self):
        self.write("OnePkg/src/one.cpp", "(void)gBS->CloseEvent(event);", "return gBS->Stall(1);",
                   "const EFI_STATUS status =", "    gBS->Stall(2);", "status = ok ? gBS->Stall(3)", "            : gBS->Stall(4);")
        self.assertEqual(self.findings(), [])

    def test_a_service_without_a_status_has_none_to_drop(self):
        self.write("OnePkg/src/one.cpp", "void Lower() {", "  gBS->RestoreTPL(old);", "}")
        self.assertEqual(self.findings(), [])


if __name__ == "__main__":
    unittest.main()

"""Tests of tools/audit_efi.py, with images crafted for each finding.

SPDX-License-Identifier: BSD-2-Clause-Patent
"""

import contextlib
import io
import json
import pathlib
import subprocess
import tempfile
import unittest

import scripts  # noqa: F401
import audit_efi
import harden_efi
import pe_builder

SOUND_C = "int gCount = 7; int Entry(void) { return ++gCount; }\n"


def compile_object(folder, name, source):
    """An object file stands in for the linked ELF file: it has the same sections and symbols to look at."""
    path = folder / f"{name}.debug"
    command = ["gcc", "-x", "c", "-c", "-Os", "-fno-pic", "-fno-asynchronous-unwind-tables", "-o", str(path), "-"]
    subprocess.run(command, input=source, text=True, check=True)
    return path


class AuditTest(unittest.TestCase):
    @classmethod
    def setUpClass(cls):
        cls.folder_owner = tempfile.TemporaryDirectory()
        cls.folder = pathlib.Path(cls.folder_owner.name)
        cls.sound_elf = compile_object(cls.folder, "sound", SOUND_C).read_bytes()

    @classmethod
    def tearDownClass(cls):
        cls.folder_owner.cleanup()

    def problems(self, image, name="Driver", elf=None, **options):
        path = self.folder / f"{name}.efi"
        path.write_bytes(image)
        path.with_suffix(".debug").write_bytes(elf or self.sound_elf)
        return audit_efi.audit(path, applications=["Agent"], **options)["problems"]


class SoundImages(AuditTest):
    def test_a_driver_passes(self):
        self.assertEqual(self.problems(pe_builder.build()), [])

    def test_an_application_passes_under_the_name_of_one(self):
        self.assertEqual(self.problems(pe_builder.build(subsystem=pe_builder.APPLICATION), name="Agent"), [])

    def test_a_page_aligned_driver_passes_as_such(self):
        self.assertEqual(self.problems(pe_builder.build(alignment=0x1000), page_aligned=True), [])


class BrokenHeaders(AuditTest):
    def test_a_driver_for_applications_subsystem_fails(self):
        image = pe_builder.build(subsystem=pe_builder.APPLICATION)
        self.assertEqual(self.problems(image), ["its subsystem is application, expected driver"])

    def test_an_unknown_subsystem_fails(self):
        self.assertEqual(self.problems(pe_builder.build(subsystem=99)), ["its subsystem is unknown (99), expected driver"])

    def test_an_unknown_machine_fails(self):
        self.assertEqual(
            self.problems(pe_builder.build(machine=0x14C)), ["machine type 0x14c is none of X64, AARCH64, RISCV64"]
        )

    def test_small_sections_fail_where_pages_are_wanted(self):
        self.assertEqual(
            self.problems(pe_builder.build(), page_aligned=True), ["its section alignment is 0x40, expected 0x1000"]
        )

    def test_an_entry_point_in_the_data_section_fails(self):
        image = pe_builder.build(alignment=0x1000, entry=0x2010)
        self.assertEqual(self.problems(image), ["its entry point 0x2010 is in no executable section"])


    def test_an_image_that_imports_fails(self):
        image = pe_builder.build(imports=40)
        self.assertEqual(self.problems(image), ["it imports symbols (40 bytes of names), and nobody provides any"])

class ImagesThatGoOut(AuditTest):
    def test_a_hardened_driver_passes(self):
        self.assertEqual(self.problems(harden_efi.hardened(pe_builder.build(alignment=0x1000)), nx_compat=True), [])

    def test_one_that_was_not_made_ready_fails(self):
        self.assertEqual(
            self.problems(pe_builder.build(), nx_compat=True)[:2],
            ["its section alignment is 0x40, expected 0x1000", "NX_COMPAT is not set"],
        )

    def test_a_byte_that_changed_since_fails(self):
        image = bytearray(harden_efi.hardened(pe_builder.build(alignment=0x1000)))
        image[-1] ^= 1
        (problem,) = self.problems(bytes(image), nx_compat=True)
        self.assertRegex(problem, "^its checksum is 0x[0-9a-f]+, that of the file 0x[0-9a-f]+$")


class BrokenSections(AuditTest):
    def test_a_section_both_writable_and_executable_fails(self):
        image = pe_builder.build([(".text", pe_builder.TEXT), (".data", pe_builder.DATA | pe_builder.EXECUTE)])
        self.assertEqual(self.problems(image), ["section .data is both writable and executable"])

    def test_an_unexpected_section_fails(self):
        image = pe_builder.build([(".text", pe_builder.TEXT), (".tls", pe_builder.DATA)])
        self.assertEqual(self.problems(image), ["unexpected section .tls"])

    def test_a_constructor_section_fails(self):
        image = pe_builder.build([(".text", pe_builder.TEXT), (".ctors", pe_builder.DATA)])
        self.assertEqual(self.problems(image), ["constructor section .ctors, which nothing would run"])

    def test_an_image_without_sections_fails(self):
        self.assertIn("it has no sections", self.problems(pe_builder.build([])))

    def test_overlapping_sections_fail(self):
        image = bytearray(pe_builder.build())
        first_header = audit_efi.optional_header(image) + 112 + 2 * 8
        image[first_header + 8 : first_header + 12] = (0x80).to_bytes(4, "little")
        self.assertEqual(self.problems(bytes(image)), ["sections .text and .data overlap"])


class NoImages(AuditTest):
    def test_every_truncation_is_a_message(self):
        image = pe_builder.build()
        for length in range(len(image)):
            with self.subTest(length=length):
                (problem,) = self.problems(image[:length])
                self.assertRegex(problem, "truncated|no PE image")

    def test_another_kind_of_file_is_a_message(self):
        self.assertEqual(self.problems(b"\x7fELF" + bytes(200)), ["no PE image: it does not start with MZ"])

    def test_a_32_bit_image_is_a_message(self):
        self.assertEqual(
            self.problems(pe_builder.build(magic=0x10B)), ["no PE32+ image: its optional header has magic 0x10b"]
        )

    def test_a_missing_file_is_a_message(self):
        self.assertEqual(audit_efi.audit(self.folder / "none.efi")["problems"], ["No such file or directory"])


class ElfFiles(AuditTest):
    def elf_problems(self, source):
        elf = compile_object(self.folder, "crafted", source).read_bytes()
        return self.problems(pe_builder.build(), elf=elf)

    def test_an_undefined_symbol_fails(self):
        self.assertIn(
            "undefined symbol memcpy_of_nobody",
            self.elf_problems("void memcpy_of_nobody(void); void Entry(void) { memcpy_of_nobody(); }"),
        )

    def test_a_constructor_fails(self):
        problems = self.elf_problems("int gCount; __attribute__((constructor)) void Start(void) { gCount = 1; }")
        self.assertTrue(any(problem.startswith("constructor section .init_array") for problem in problems), problems)

    def test_a_thread_local_variable_fails(self):
        problems = self.elf_problems("__thread int gCount = 7; int Entry(void) { return ++gCount; }")
        self.assertTrue(any("unexpected section .tdata" in problem for problem in problems), problems)

    def test_a_missing_elf_file_fails(self):
        path = self.folder / "alone.efi"
        path.write_bytes(pe_builder.build())
        self.assertEqual(
            audit_efi.audit(path)["problems"], ["alone.debug is not beside it, so its symbols cannot be checked"]
        )

    def test_a_broken_elf_file_is_a_message(self):
        (problem,) = self.problems(pe_builder.build(), elf=b"\x7fELF nothing more")
        self.assertTrue(problem.startswith("nm: "), problem)


class ImagesWithoutElfFile(AuditTest):
    """Images that a linker makes as PE files at once."""

    def linked_problems(self, source):
        path = self.folder / "linked.efi"
        target = ["clang", "--target=x86_64-unknown-windows-gnu", "-fno-exceptions", "-fno-use-cxa-atexit"]
        compile_object = [*target, "-x", "c++", "-c", "-Os", "-o", str(path.with_suffix(".obj")), "-"]
        subprocess.run(compile_object, input=source, text=True, check=True)
        options = ["/NOLOGO", "/NODEFAULTLIB", "/DLL", "/ENTRY:Entry", "/SUBSYSTEM:EFI_BOOT_SERVICE_DRIVER"]
        subprocess.run(["lld-link", *options, f"/OUT:{path}", str(path.with_suffix(".obj"))], check=True)
        return audit_efi.audit(path, has_elf=False)["problems"]

    def test_a_driver_passes(self):
        self.assertEqual(self.linked_problems('extern "C" { const int gTable[] = {1, 2}; int Entry() { return gTable[1]; } }'), [])

    def test_a_constructor_fails(self):
        source = "volatile int gSeed; struct Counter { Counter() : Value(gSeed) {} int Value; } gCounter;"
        problems = self.linked_problems(source + 'extern "C" int Entry() { return gCounter.Value; }')
        self.assertTrue(any(problem.startswith("constructor section") for problem in problems), problems)


class CommandLine(AuditTest):
    def run_main(self, *arguments):
        output = io.StringIO()
        with contextlib.redirect_stdout(output):
            status = audit_efi.main([str(argument) for argument in arguments])
        return status, output.getvalue()

    def image(self, name, **options):
        path = self.folder / f"{name}.efi"
        path.write_bytes(pe_builder.build(**options))
        path.with_suffix(".debug").write_bytes(self.sound_elf)
        return path

    def test_one_aligned_line_for_each_image(self):
        status, text = self.run_main(self.image("Short"), self.image("MuchLonger"))
        self.assertEqual(status, 0)
        lines = text.splitlines()
        self.assertEqual([line.split()[0] for line in lines], ["Short", "MuchLonger"])
        self.assertEqual(len({line.index("driver") for line in lines}), 1)
        self.assertTrue(all(line.endswith("OK") for line in lines), text)

    def test_a_problem_stands_below_its_image_and_in_the_exit_status(self):
        status, text = self.run_main(self.image("Good"), self.image("Bad", subsystem=3))
        self.assertEqual(status, 1)
        self.assertRegex(text, r"(?s)Good .*OK\nBad .*FAIL\n    its subsystem is unknown \(3\)")

    def test_json_holds_the_findings(self):
        status, text = self.run_main("--json", self.image("Good"))
        (report,) = json.loads(text)
        self.assertEqual((status, report["machine"], report["alignment"], report["problems"]), (0, "X64", 0x40, []))
        self.assertEqual([section["rights"] for section in report["sections"]], ["R-X", "RW-"])


if __name__ == "__main__":
    unittest.main()

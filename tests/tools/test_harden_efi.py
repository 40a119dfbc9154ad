"""Tests of tools/harden_efi.py: what it changes in an image, what it leaves, and which images it does not take.

SPDX-License-Identifier: BSD-2-Clause-Patent
"""

import contextlib
import io
import pathlib
import struct
import subprocess
import tempfile
import unittest

import scripts  # noqa: F401
import audit_efi
import harden_efi
import pe_builder

PATH = b"/home/somebody/build/X64/Driver.dll\0"


def page_aligned(**options):
    return pe_builder.build(alignment=0x1000, **options)


def with_debug_path(signature=b"NB10", before=16, path=PATH):
    """A page-aligned image whose debug directory names the file that has the symbols."""
    image = bytearray(page_aligned(directories=7))
    entry, record = 0x2000, 0x2040
    content = signature.ljust(before, b"\1") + path
    struct.pack_into("<II", image, audit_efi.optional_header(image) + 112 + 8 * 6, entry, 28)
    struct.pack_into("<12xIIII", image, entry, 2, len(content), record, record)
    image[record : record + len(content)] = content
    return bytes(image), record + before


class Hardened(unittest.TestCase):
    def test_it_says_nx_compat_and_has_its_checksum(self):
        image = audit_efi.parse_image(harden_efi.hardened(page_aligned()))
        self.assertTrue(image.characteristics & audit_efi.NX_COMPAT)
        self.assertEqual(image.checksum, audit_efi.checksum(harden_efi.hardened(page_aligned())))

    def test_nothing_else_changes(self):
        before, after = page_aligned(), harden_efi.hardened(page_aligned())
        optional = audit_efi.optional_header(before)
        changed = {at - optional for at in range(len(before)) if before[at] != after[at]}
        self.assertLessEqual(changed, {*range(64, 68), 70, 71})
        self.assertEqual(len(before), len(after))

    def test_twice_is_as_once(self):
        once = harden_efi.hardened(page_aligned())
        self.assertEqual(harden_efi.hardened(once), once)

    def test_of_the_path_of_the_symbols_the_name_stays(self):
        for signature, before in ((b"NB10", 16), (b"RSDS", 24), (b"MTOC", 20)):
            with self.subTest(signature=signature):
                image, at = with_debug_path(signature, before)
                self.assertEqual(harden_efi.hardened(image)[at : at + len(PATH)], b"Driver.dll".ljust(len(PATH), b"\0"))

    def test_a_path_of_windows_goes_too(self):
        image, at = with_debug_path(path=b"C:\\build\\Driver.pdb\0")
        self.assertTrue(harden_efi.hardened(image)[at:].startswith(b"Driver.pdb\0\0"))

    def test_a_record_of_another_kind_stays(self):
        image, at = with_debug_path(b"XXXX")
        self.assertEqual(harden_efi.hardened(image)[at : at + len(PATH)], PATH)


class Checksum(unittest.TestCase):
    def test_it_is_the_one_that_other_tools_write(self):
        """objcopy writes the checksum of PE images too."""
        with tempfile.TemporaryDirectory() as folder:
            path, copy = pathlib.Path(folder, "a.efi"), pathlib.Path(folder, "b.efi")
            source = "const int gTable[] = {1, 2, 3}; int Entry(void) { return gTable[1]; }"
            target = ["clang", "--target=x86_64-unknown-windows-gnu", "-x", "c", "-c", "-o", f"{path}.obj", "-"]
            subprocess.run(target, input=source, text=True, check=True)
            options = ["/NOLOGO", "/NODEFAULTLIB", "/DLL", "/ENTRY:Entry", "/SUBSYSTEM:EFI_BOOT_SERVICE_DRIVER", f"/OUT:{path}"]
            subprocess.run(["lld-link", *options, f"{path}.obj"], check=True)
            subprocess.run(["objcopy", "-I", "pei-x86-64", "-O", "pei-x86-64", path, copy], check=True)
            data = copy.read_bytes()
        self.assertNotEqual(audit_efi.parse_image(data).checksum, 0)
        self.assertEqual(audit_efi.parse_image(data).checksum, audit_efi.checksum(data))

    def test_a_file_of_an_odd_length_has_one(self):
        self.assertEqual(audit_efi.checksum(page_aligned() + b"\0"), audit_efi.checksum(page_aligned()) + 1)


class NotFit(unittest.TestCase):
    def test_sections_that_share_a_page(self):
        with self.assertRaisesRegex(harden_efi.NotFit, "its section alignment is 0x40"):
            harden_efi.hardened(pe_builder.build())

    def test_a_section_both_writable_and_executable(self):
        sections = [(".text", pe_builder.TEXT), (".data", pe_builder.DATA | pe_builder.EXECUTE)]
        with self.assertRaisesRegex(harden_efi.NotFit, "section .data is both writable and executable"):
            harden_efi.hardened(page_aligned(sections=sections))

    def test_every_truncation_is_a_message(self):
        image, _ = with_debug_path()
        for length in range(0, len(image), 7):
            with self.subTest(length=length), self.assertRaises((harden_efi.NotFit, audit_efi.NotAnImage)):
                harden_efi.hardened(image[:length])

    def test_a_debug_directory_outside_the_file(self):
        image = bytearray(page_aligned(directories=7))
        struct.pack_into("<II", image, audit_efi.optional_header(image) + 112 + 8 * 6, 0xFFFFFF00, 28)
        with self.assertRaises(audit_efi.NotAnImage):
            harden_efi.hardened(bytes(image))


class CommandLine(unittest.TestCase):
    def setUp(self):
        owner = tempfile.TemporaryDirectory()
        self.addCleanup(owner.cleanup)
        self.source, self.out = pathlib.Path(owner.name, "in.efi"), pathlib.Path(owner.name, "out.efi")

    def run_main(self, *arguments):
        with contextlib.redirect_stderr(io.StringIO()) as said:
            return harden_efi.main([str(argument) for argument in arguments]), said.getvalue()

    def test_it_writes_the_image(self):
        self.source.write_bytes(page_aligned())
        self.assertEqual(self.run_main(self.source, self.out), (0, ""))
        self.assertEqual(self.out.read_bytes(), harden_efi.hardened(page_aligned()))

    def test_an_image_that_is_not_fit_is_not_written(self):
        self.source.write_bytes(pe_builder.build())
        status, said = self.run_main(self.source, self.out)
        self.assertEqual(status, 1)
        self.assertIn("its section alignment is 0x40", said)
        self.assertFalse(self.out.exists())

    def test_it_takes_two_files(self):
        self.assertEqual(self.run_main(self.source)[0], 2)


if __name__ == "__main__":
    unittest.main()

"""Tests of tools/stick_image.py: what lies on a stick and a disc, how it is found there, and that nothing depends on the moment.

SPDX-License-Identifier: BSD-2-Clause-Patent
"""

import contextlib
import io
import os
import pathlib
import re
import shlex
import struct
import subprocess
import tempfile
import time
import unittest
import uuid
import zlib
from unittest import mock

import scripts
import audit_efi
import harden_efi
import pe_builder
import stick_image

PAGE = scripts.ROOT / "docs" / "stick.md"
EPOCH = "1700000000"
NAMES = ("TvqAgent.efi", "TvqPlatform.efi", "TVQSMBIOS.efi")
MACHINES = {"X64": 0x8664, "AARCH64": 0xAA64, "RISCV64": 0x5064}
SECTOR = 512


def image(name, architecture):
    """A page-aligned image that no other is equal to."""
    kind = pe_builder.APPLICATION if name == NAMES[0] else pe_builder.DRIVER
    built = bytearray(pe_builder.build(alignment=0x1000, subsystem=kind, machine=MACHINES[architecture], directories=16))
    built[-32:-16] = name.encode().ljust(16)
    return bytes(built)


CHAINS = (("X64", "PageAligned", "GCC5"), ("RISCV64", "PageAligned", "GCC5"), ("AARCH64", "", "GCC49"))


class ImageTest(unittest.TestCase):
    def setUp(self):
        owner = tempfile.TemporaryDirectory()
        self.addCleanup(owner.cleanup)
        self.folder = pathlib.Path(owner.name)
        self.images = self.folder / "firmware" / "Build"
        (self.folder / "firmware").mkdir()
        (self.folder / "firmware" / "booting").write_text("X64 GCC5\nAARCH64 GCC49\nRISCV64 GCC5\n")
        for architecture, variant, chain in CHAINS:
            for name in NAMES:
                package = "TvqSmbiosPkg" if name == NAMES[2] else "TvqPlatformPkg"
                path = self.images / f"{package}{variant}" / f"RELEASE_{chain}" / architecture / name
                path.parent.mkdir(parents=True, exist_ok=True)
                path.write_bytes(image(name, architecture))
        clock = mock.patch.dict(os.environ, {"SOURCE_DATE_EPOCH": EPOCH})
        clock.start()
        self.addCleanup(clock.stop)

    def run_main(self, *arguments, name="tvq.img"):
        """The exit status, what was said, and the image's path."""
        out = self.folder / name
        with contextlib.redirect_stdout(io.StringIO()) as said, contextlib.redirect_stderr(said):
            try:
                status = stick_image.main([*map(str, arguments), "--images", str(self.images), "--out", str(out)])
            except SystemExit as ended:
                status = ended.code
        return status, said.getvalue(), out

    def make(self, *arguments, name="tvq.img"):
        status, said, out = self.run_main(*arguments, name=name)
        self.assertEqual(status, 0, said)
        return out

    def files_of(self, volume):
        """What lies on a FAT volume, as mtools names it: a dictionary of path to bytes."""
        copy = self.folder / "copy"
        copy.mkdir()
        subprocess.run(["mcopy", "-n", "-s", "-i", volume, "::/*", copy], check=True)
        return {path.relative_to(copy).as_posix(): path.read_bytes() for path in copy.rglob("*") if path.is_file()}

    def files_of_stick(self, stick):
        return self.files_of(f"{stick}@@1M")

    def make_key(self):
        """A key and its certificate, as the page says."""
        command = re.search(r"(?m)^openssl req .*-keyout (\S+) -out (\S+)$", PAGE.read_text(encoding="utf-8"))
        subprocess.run(shlex.split(command[0]), cwd=self.folder, check=True, capture_output=True)
        return self.folder / command[1], self.folder / command[2]


class Stick(ImageTest):
    def test_each_architecture_has_its_three_images(self):
        files = self.files_of_stick(self.make())
        self.assertEqual(
            sorted(files),
            [
                "EFI/BOOT/BOOTAA64.EFI",
                "EFI/BOOT/BOOTX64.EFI",
                "README.txt",
                "TVQ/AARCH64/TVQSMBIOS.efi",
                "TVQ/AARCH64/TvqPlatform.efi",
                "TVQ/X64/TVQSMBIOS.efi",
                "TVQ/X64/TvqPlatform.efi",
            ],
        )
        self.assertEqual(files["EFI/BOOT/BOOTX64.EFI"], harden_efi.hardened(image("TvqAgent.efi", "X64")))
        self.assertEqual(files["TVQ/AARCH64/TVQSMBIOS.efi"], harden_efi.hardened(image("TVQSMBIOS.efi", "AARCH64")))

    def test_riscv64_is_there_where_it_is_wanted(self):
        files = self.files_of_stick(self.make("--riscv64"))
        self.assertEqual(
            sorted(name for name in files if "RISCV64" in name),
            ["EFI/BOOT/BOOTRISCV64.EFI", "TVQ/RISCV64/TVQSMBIOS.efi", "TVQ/RISCV64/TvqPlatform.efi"],
        )
        self.assertEqual(files["TVQ/RISCV64/TVQSMBIOS.efi"], harden_efi.hardened(image("TVQSMBIOS.efi", "RISCV64")))

    def test_every_image_says_nx_compat(self):
        files = self.files_of_stick(self.make())
        images = [data for name, data in files.items() if name.lower().endswith(".efi")]
        self.assertEqual(len(images), 6)
        for data in images:
            self.assertTrue(audit_efi.parse_image(data).characteristics & audit_efi.NX_COMPAT)

    def test_the_readme_has_the_version_and_line_ends_for_every_system(self):
        text = self.files_of_stick(self.make())["README.txt"]
        self.assertIn(stick_image.version().encode(), text.splitlines()[0])
        self.assertEqual(text.count(b"\n"), text.count(b"\r\n"))

    def test_it_has_one_efi_system_partition_and_sound_tables(self):
        data = self.make().read_bytes()
        self.assertEqual(data[510:512], b"\x55\xaa")
        self.assertEqual(data[450], 0xEE)
        for at, other in ((1, len(data) // SECTOR - 1), (len(data) // SECTOR - 1, 1)):
            header = data[at * SECTOR :]
            signature, _, size, found, here, there = struct.unpack_from("<8sIIIxxxxQQ", header)
            self.assertEqual((signature, here, there), (b"EFI PART", at, other))
            self.assertEqual(found, zlib.crc32(header[:16] + bytes(4) + header[20:size]))
            entries, count, entry_size, sum_of_entries = struct.unpack_from("<QIII", header, 72)
            table = data[entries * SECTOR : entries * SECTOR + count * entry_size]
            self.assertEqual(zlib.crc32(table), sum_of_entries)
            first, last = struct.unpack_from("<QQ", table, 32)
            self.assertEqual(str(uuid.UUID(bytes_le=table[:16])).upper(), stick_image.EFI_SYSTEM_PARTITION)
            self.assertEqual(table[entry_size:], bytes(len(table) - entry_size))
            self.assertEqual((first, last), (2048, 129023))

    def test_the_file_system_is_a_sound_fat32(self):
        partition = self.folder / "partition"
        partition.write_bytes(self.make().read_bytes()[1 << 20 : 63 << 20])
        result = subprocess.run(["/sbin/fsck.fat", "-n", "-v", partition], capture_output=True, text=True, check=False)
        self.assertEqual(result.returncode, 0, result.stdout)
        self.assertIn("2 FATs, 32 bit entries", result.stdout)
        self.assertIn("2048 hidden sectors", result.stdout)

    def test_there_is_room_for_states(self):
        stick = self.make()
        large = self.folder / "large"
        large.write_bytes(bytes(50 << 20))
        subprocess.run(["mmd", "-i", f"{stick}@@1M", "::/TVQ/machine-X"], check=True)
        subprocess.run(["mcopy", "-i", f"{stick}@@1M", large, "::/TVQ/machine-X/state-1.bin"], check=True)

    def test_words_for_the_agent(self):
        files = self.files_of_stick(self.make("--options", "accept poweroff"))
        self.assertEqual(files["TVQ/options.txt"], b"accept poweroff\r\n")

    def test_the_states_of_an_earlier_stick(self):
        old = self.folder / "old"
        (old / "machine-ABC").mkdir(parents=True)
        (old / "machine-ABC" / "state-7.bin").write_bytes(b"seven")
        (old / "report.txt").write_bytes(b"of the last machine")
        files = self.files_of_stick(self.make("--states", old))
        self.assertEqual(files["TVQ/machine-ABC/state-7.bin"], b"seven")
        self.assertNotIn("TVQ/report.txt", files)

    def test_what_it_writes_is_listed(self):
        _, said, out = self.run_main()
        self.assertRegex(said, r"(?m)^ +\d+,\d+  EFI/BOOT/BOOTX64\.EFI$")
        self.assertRegex(said, rf"67,108,864  {out}, sha256 [0-9a-f]{{64}}\n$")


class Disc(ImageTest):
    def tree_of(self, disc):
        tree = self.folder / "tree"
        command = ["xorriso", "-osirrox", "on", "-indev", disc, "-extract", "/", tree]
        subprocess.run(command, check=True, capture_output=True)
        return {path.relative_to(tree).as_posix(): path.read_bytes() for path in tree.rglob("*") if path.is_file()}

    def test_firmware_finds_a_volume_with_what_a_stick_has(self):
        data = self.make("--iso").read_bytes()
        self.assertEqual(data[0x8801 : 0x8801 + 5], b"CD001")
        self.assertTrue(data[0x8807:].startswith(b"EL TORITO SPECIFICATION"))
        (catalog,) = struct.unpack_from("<I", data, 0x8847)
        entry = catalog * 2048
        self.assertEqual((data[entry], data[entry + 1]), (1, 0xEF))
        bootable, emulated, sectors, start = struct.unpack_from("<BB4xHI", data, entry + 32)
        self.assertEqual((bootable, emulated), (0x88, 0))
        volume = self.folder / "volume"
        volume.write_bytes(data[start * 2048 : start * 2048 + sectors * SECTOR])
        files = self.files_of(volume)
        (self.folder / "copy").rename(self.folder / "disc")
        self.assertEqual(files, self.files_of_stick(self.make()))

    def test_the_files_can_be_copied_from_it_too(self):
        tree = self.tree_of(self.make("--iso"))
        for name, data in self.files_of_stick(self.make()).items():
            self.assertEqual(tree[name], data)

    def test_more_states_than_it_can_hold_are_a_message(self):
        old = self.folder / "old"
        (old / "machine-ABC").mkdir(parents=True)
        (old / "machine-ABC" / "state-1.bin").write_bytes(bytes(32 << 20))
        status, said, out = self.run_main("--iso", "--states", old)
        self.assertEqual(status, 1)
        self.assertIn("give fewer states", said)
        self.assertFalse(out.exists())


class EqualBytes(ImageTest):
    def test_of_equal_sources_at_another_moment(self):
        key, certificate = self.make_key()
        for arguments in ((), ("--iso",), ("--sign", key, certificate)):
            with self.subTest(arguments=arguments):
                first = self.make(*arguments, name="first").read_bytes()
                # FAT counts in steps of two seconds.
                time.sleep(2.1)
                self.assertEqual(self.make(*arguments, name="second").read_bytes(), first)

    def test_of_another_time_are_others(self):
        for arguments in ((), ("--iso",)):
            with self.subTest(arguments=arguments):
                first = self.make(*arguments, name="first").read_bytes()
                with mock.patch.dict(os.environ, {"SOURCE_DATE_EPOCH": "1800000000"}):
                    self.assertNotEqual(self.make(*arguments, name="second").read_bytes(), first)

    def test_other_files_give_other_identifiers(self):
        first, second = self.make(name="first").read_bytes(), self.make("--options", "accept", name="second").read_bytes()
        disk, partition, volume = slice(512 + 56, 512 + 72), slice(1024 + 16, 1024 + 32), slice((1 << 20) + 67, (1 << 20) + 71)
        for field in (disk, partition, volume):
            self.assertNotEqual(first[field], second[field])

    def test_without_a_time_it_is_that_of_the_last_commit(self):
        with mock.patch.dict(os.environ):
            del os.environ["SOURCE_DATE_EPOCH"]
            self.assertGreater(stick_image.epoch_of_sources(), 1_600_000_000)

    def test_a_time_that_is_none_is_a_message(self):
        with mock.patch.dict(os.environ, {"SOURCE_DATE_EPOCH": "yesterday"}):
            status, said, _ = self.run_main()
        self.assertEqual((status, said), (1, "dev: image: SOURCE_DATE_EPOCH is 'yesterday', expected seconds since 1970\n"))


class Signed(ImageTest):
    def test_every_image_has_a_signature_and_the_certificate_is_there(self):
        key, certificate = self.make_key()
        files = self.files_of_stick(self.make("--sign", key, certificate))
        images = {name: data for name, data in files.items() if name.lower().endswith(".efi")}
        self.assertEqual(len(images), 6)
        for name, data in images.items():
            path = self.folder / "signed.efi"
            path.write_bytes(data)
            result = subprocess.run(["sbverify", "--cert", certificate, path], capture_output=True, text=True, check=False)
            self.assertIn("Signature verification OK", result.stdout, name)
            self.assertEqual(audit_efi.parse_image(data).checksum, audit_efi.checksum(data))
        der = self.folder / "der"
        subprocess.run(["openssl", "x509", "-in", certificate, "-outform", "DER", "-out", der], check=True)
        self.assertEqual(files["TVQ.CER"], der.read_bytes())

    def test_a_key_of_somebody_else_is_a_message(self):
        key, _ = self.make_key()
        other = self.folder / "other.pem"
        key.rename(other)
        _, certificate = self.make_key()
        status, said, out = self.run_main("--sign", other, certificate)
        self.assertEqual(status, 1)
        self.assertRegex(said, "^dev: image: sbsign: .*key")
        self.assertFalse(out.exists())

    def test_a_key_that_is_not_there_is_wrong_usage(self):
        status, said, _ = self.run_main("--sign", self.folder / "none.key", self.folder / "none.pem")
        self.assertEqual(status, 2)
        self.assertIn("there is no file", said)


class Trouble(ImageTest):
    def test_an_image_that_was_not_built(self):
        next(self.images.rglob("X64/TVQSMBIOS.efi")).unlink()
        status, said, out = self.run_main()
        self.assertEqual(status, 1)
        self.assertRegex(said, r"TVQSMBIOS\.efi: No such file or directory\n$")
        self.assertFalse(out.exists())

    def test_an_image_that_is_not_fit(self):
        next(self.images.rglob("X64/TvqAgent.efi")).write_bytes(pe_builder.build())
        status, said, _ = self.run_main()
        self.assertEqual(status, 1)
        self.assertIn("its section alignment is 0x40", said)

    def test_an_image_of_the_wrong_kind(self):
        path = next(self.images.rglob("X64/TvqAgent.efi"))
        path.write_bytes(pe_builder.build(alignment=0x1000))
        status, said, _ = self.run_main()
        self.assertEqual(status, 1)
        self.assertIn("its subsystem is driver, expected application", said)

    def test_a_tool_that_fails_leaves_the_image_that_was_there(self):
        before = self.make().read_bytes()
        with mock.patch.object(stick_image, "fill_fat", side_effect=stick_image.CannotMake("mcopy: no")):
            status, said, out = self.run_main()
        self.assertEqual((status, said), (1, "dev: image: mcopy: no\n"))
        self.assertEqual(out.read_bytes(), before)
        self.assertEqual(list(self.folder.glob("*.part")), [])

    def test_a_tool_that_is_not_installed(self):
        with mock.patch.object(stick_image.shutil, "which", return_value=None):
            status, said, _ = self.run_main()
        self.assertEqual((status, said), (1, "dev: image: sfdisk is not installed\n"))

    def test_a_folder_without_states(self):
        old = self.folder / "old"
        old.mkdir()
        status, said, _ = self.run_main("--states", old)
        self.assertEqual(status, 1)
        self.assertIn("has no state of a machine", said)

    def test_wrong_usage(self):
        for arguments in (("--states", "/none"), ("--options", "\u00fc"), ("--no-such-option",)):
            self.assertEqual(self.run_main(*arguments)[0], 2)


if __name__ == "__main__":
    unittest.main()

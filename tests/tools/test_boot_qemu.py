"""Tests of tools/boot_qemu.py that need no boot: the disk, the folder, the report and the serial output.

SPDX-License-Identifier: BSD-2-Clause-Patent
"""

import dataclasses
import pathlib
import struct
import subprocess
import sys
import tempfile
import unittest
import zlib
from unittest import mock

import scripts  # noqa: F401
import boot_qemu
import guests


class FolderTest(unittest.TestCase):
    def setUp(self):
        owner = tempfile.TemporaryDirectory()
        self.addCleanup(owner.cleanup)
        self.folder = pathlib.Path(owner.name)

    def boot(self, **options):
        images = {}
        for name in (boot_qemu.AGENT, boot_qemu.PLATFORM, boot_qemu.DRIVER, boot_qemu.FAULTS, boot_qemu.PLATFORM_TEST):
            images[name] = self.folder / name
            images[name].write_bytes(name.encode())
        return boot_qemu.Boot(images=images, out=self.folder / "out", **options)


class Disk(FolderTest):
    def contents(self, boot):
        """What the firmware would find on the disk: a dictionary of path to bytes."""
        disk = self.folder / "disk.img"
        boot_qemu.make_disk(disk, boot)
        copy = self.folder / "copy"
        copy.mkdir()
        subprocess.run(["mcopy", "-n", "-s", "-i", disk, "::/*", copy], check=True)
        return {str(path.relative_to(copy)): path.read_bytes() for path in copy.rglob("*") if path.is_file()}

    def test_the_agent_is_the_boot_program_beside_its_drivers(self):
        self.assertEqual(
            self.contents(self.boot()),
            {
                "EFI/BOOT/BOOTX64.EFI": b"TvqAgent.efi",
                "TVQ/TvqPlatform.efi": b"TvqPlatform.efi",
                "TVQ/TVQSMBIOS.efi": b"TVQSMBIOS.efi",
                "TVQ/options.txt": b"poweroff\r\n",
            },
        )

    def test_each_architecture_has_a_boot_program_of_its_own_name(self):
        self.assertIn("EFI/BOOT/BOOTAA64.EFI", self.contents(self.boot(guest=guests.AARCH64)))

    def test_a_table_and_the_words_for_the_agent_are_there(self):
        table = self.folder / "some table"
        table.write_bytes(b"\x7f\x04\x00\x00\x00\x00")
        contents = self.contents(self.boot(table=table, words=("as-is", "poweroff")))
        self.assertEqual(contents["TVQ/table.bin"], b"\x7f\x04\x00\x00\x00\x00")
        self.assertEqual(contents["TVQ/options.txt"], b"as-is poweroff\r\n")

    def test_a_script_runs_in_the_shell_in_place_of_the_agent(self):
        contents = self.contents(self.boot(script=("TvqAgent stop",)))
        self.assertEqual(contents["startup.nsh"], b"@echo -off\r\nfs0:\r\nTvqAgent stop\r\nreset -s\r\n")
        self.assertEqual(contents["TvqAgent.efi"], b"TvqAgent.efi")
        self.assertEqual(contents["TvqFaults.efi"], b"TvqFaults.efi")
        self.assertEqual(contents["TvqPlatformTest.efi"], b"TvqPlatformTest.efi")
        self.assertNotIn("EFI/BOOT/BOOTX64.EFI", contents)
        self.assertNotIn("TVQ/options.txt", contents)

    def test_u_boot_gets_its_script_in_an_image_with_checksums(self):
        script = self.contents(self.boot(guest=guests.U_BOOT, script=("one", "two")))["boot.scr"]
        fields = struct.unpack(">7I4B32s", script[:64])
        self.assertEqual(fields[0], 0x27051956)
        self.assertEqual(fields[1], zlib.crc32(script[:4] + bytes(4) + script[8:64]))
        self.assertEqual((fields[3], fields[6]), (len(script) - 64, zlib.crc32(script[64:])))
        self.assertEqual(script[64:], struct.pack(">II", 17, 0) + b"one\ntwo\npoweroff\n")

    def test_the_state_that_an_earlier_boot_saved_is_there(self):
        boot = self.boot()
        boot.out.mkdir()
        (boot.out / "state-b.bin").write_bytes(b"saved")
        (boot.out / "machine-X").mkdir()
        (boot.out / "machine-X" / "state-7.bin").write_bytes(b"newer")
        (boot.out / "report.txt").write_bytes(b"earlier")
        contents = self.contents(boot)
        self.assertEqual(contents["TVQ/state-b.bin"], b"saved")
        self.assertEqual(contents["TVQ/machine-X/state-7.bin"], b"newer")
        self.assertNotIn("TVQ/state-a.bin", contents)
        self.assertNotIn("TVQ/report.txt", contents)

    def test_what_the_agent_wrote_comes_back_without_the_images(self):
        boot = self.boot()
        disk = self.folder / "disk.img"
        boot_qemu.make_disk(disk, boot)
        report = self.folder / "report.txt"
        report.write_bytes(b"TvqAgent: success\r\n")
        subprocess.run(["mcopy", "-i", disk, report, "::/TVQ/report.txt"], check=True)
        boot.out.mkdir()
        boot_qemu.extract(disk, boot.out)
        self.assertEqual(sorted(path.name for path in boot.out.iterdir()), ["options.txt", "report.txt"])

    def test_the_complaint_of_a_tool_is_the_failure(self):
        with self.assertRaisesRegex(boot_qemu.BootFailure, "mcopy failed: .*none.img"):
            boot_qemu.extract(self.folder / "none.img", self.folder)


class OutputFolder(FolderTest):
    def test_a_new_folder_is_made_with_its_parents(self):
        boot_qemu.empty_folder(self.folder / "a" / "b")
        self.assertTrue((self.folder / "a" / "b" / boot_qemu.MARKER).is_file())

    def test_the_files_of_an_earlier_boot_go(self):
        out = self.folder / "out"
        boot_qemu.empty_folder(out)
        (out / "CPU.Socket.9.tvq").touch()
        boot_qemu.empty_folder(out)
        self.assertEqual([path.name for path in out.iterdir()], [boot_qemu.MARKER])

    def test_a_folder_inside_it_goes_too(self):
        out = self.folder / "out"
        boot_qemu.empty_folder(out)
        (out / "inner").mkdir()
        (out / "inner" / "file").touch()
        boot_qemu.empty_folder(out)
        self.assertEqual([path.name for path in out.iterdir()], [boot_qemu.MARKER])

    def test_the_saved_state_stays_unless_a_fresh_start_is_wanted(self):
        out = self.folder / "out"
        boot_qemu.empty_folder(out)
        names = ("machine-X/state-1.bin", "machine-X/state-12.bin", "state-a.bin", "state-b.bin")
        (out / "machine-X").mkdir()
        (out / "machine-empty").mkdir()
        for name in names:
            (out / name).write_text(name)
        self.assertEqual([path.as_posix() for path in boot_qemu.saved_states(out)], list(names))
        boot_qemu.empty_folder(out)
        self.assertEqual({path.name for path in out.iterdir()}, {boot_qemu.MARKER, "machine-X", "state-a.bin", "state-b.bin"})
        self.assertEqual((out / "state-a.bin").read_text(), "state-a.bin")
        boot_qemu.empty_folder(out, keep_state=False)
        self.assertEqual([path.name for path in out.iterdir()], [boot_qemu.MARKER])

    def test_files_that_no_boot_wrote_stay(self):
        (self.folder / "letter.txt").write_text("mine")
        with self.assertRaisesRegex(boot_qemu.BootFailure, "holds files that no boot wrote"):
            boot_qemu.empty_folder(self.folder)
        self.assertEqual((self.folder / "letter.txt").read_text(), "mine")

    def test_a_file_in_its_place_is_a_message(self):
        (self.folder / "out").touch()
        with self.assertRaisesRegex(boot_qemu.BootFailure, "is no folder"):
            boot_qemu.empty_folder(self.folder / "out")


class Machine(FolderTest):
    """A small program stands in for QEMU."""

    def run_program(self, program, timeout=20.0):
        return boot_qemu.run_qemu([sys.executable, "-c", program], self.boot(timeout=timeout))

    def test_the_serial_output_comes_back_when_it_powers_off(self):
        self.assertEqual(self.run_program("print('hello')"), (b"hello\n", None))

    def test_a_machine_that_hangs_is_stopped_with_its_output_kept(self):
        program = "import time; print('before', flush=True); time.sleep(60)"
        self.assertEqual(
            self.run_program(program, timeout=2.0), (b"before\n", "the machine did not power off within 2 s")
        )

    def test_firmware_that_hangs_behind_its_banner_is_started_again(self):
        # It hangs the first time, and powers off the second time.
        program = (
            "import pathlib, sys, time; print('UEFI firmware (version 1)', flush=True); mark = pathlib.Path(sys.argv[1])\n"
            "if not mark.exists(): mark.touch(); time.sleep(60)\n"
            "print('report', flush=True)"
        )
        firmware = self.folder / "firmware.fd"
        firmware.write_bytes(b"variables")
        guest = dataclasses.replace(guests.AARCH64, code=firmware, variables=firmware)
        command = [sys.executable, "-c", program, str(self.folder / "mark")]
        with mock.patch.object(boot_qemu, "SECONDS_TO_START", 0.3), mock.patch.object(
            guests, "qemu_command", return_value=command
        ) as started:
            raw, problem = boot_qemu.start(self.boot(guest=guest, timeout=30.0), self.folder, self.folder / "variables.fd")
        self.assertEqual((raw, problem), (b"UEFI firmware (version 1)\nreport\n", None))
        self.assertEqual(started.call_count, 2)

    def test_a_hang_behind_anything_else_is_that_of_the_machine(self):
        for serial in (b"", b"UEFI firmware (version 1)\nTvqAgent\n", b"TvqAgent\n"):
            self.assertFalse(boot_qemu.shows_banner_alone(serial, guests.AARCH64))
        self.assertTrue(boot_qemu.shows_banner_alone(b"UEFI firmware (version 1)\r\n", guests.AARCH64))
        self.assertFalse(boot_qemu.shows_banner_alone(b"UEFI firmware (version 1)\n", guests.X64))

    def test_a_crash_of_the_firmware_is_not_waited_out(self):
        program = "import time; print('!!!! X64 Exception Type - 06(#UD)', flush=True); time.sleep(60)"
        serial, problem = self.run_program(program, timeout=50.0)
        self.assertIn(b"Exception Type", serial)
        self.assertEqual(problem, "the firmware stopped with a processor exception")

    def test_a_program_that_is_missing_is_a_message(self):
        with self.assertRaisesRegex(boot_qemu.BootFailure, "not installed"):
            boot_qemu.run_qemu([str(self.folder / "no-qemu")], self.boot())

    def test_missing_images_are_named_before_anything_starts(self):
        boot = self.boot()
        boot.images[boot_qemu.DRIVER].unlink()
        with self.assertRaisesRegex(boot_qemu.BootFailure, "TVQSMBIOS.efi is missing"):
            boot_qemu.run(boot)
        self.assertFalse(boot.out.exists())


    def test_firmware_is_flash_or_a_program_without_a_store(self):
        for guest, wanted in ((guests.AARCH64, "-drive if=pflash"), (guests.U_BOOT, "-bios /usr/lib/u-boot")):
            command = " ".join(guests.qemu_command(guest, "disk", "variables"))
            self.assertIn(wanted, command)
            self.assertEqual("file=variables" in command, guest.variables is not None)

    def test_qemu_is_told_of_a_table_only_where_it_makes_one(self):
        for guest in (guests.U_BOOT, guests.RISCV64):
            self.assertEqual("-smbios" in guests.qemu_command(guest, "disk", None), guest is guests.U_BOOT)

    def test_missing_firmware_names_the_package_that_has_it(self):
        guest = dataclasses.replace(guests.AARCH64, code=self.folder / "none.fd")
        with self.assertRaisesRegex(boot_qemu.BootFailure, "none.fd is missing") as caught:
            boot_qemu.run(self.boot(guest=guest))
        self.assertIn("qemu-efi-aarch64", caught.exception.hint)

    def test_a_crash_is_known_by_the_words_of_each_firmware(self):
        program = "import time; print('Synchronous Exception at 0x0000000047F3A410', flush=True); time.sleep(60)"
        boot = self.boot(guest=guests.AARCH64, timeout=50.0)
        _, problem = boot_qemu.run_qemu([sys.executable, "-c", program], boot)
        self.assertEqual(problem, "the firmware stopped with a processor exception")


class Images(FolderTest):
    def test_each_architecture_has_those_of_its_tool_chain(self):
        (self.folder / "booting").write_text("X64 GCC\nAARCH64 GCC49\n", encoding="utf-8")
        built = self.folder / "Build"
        for guest, folder in ((guests.X64, "RELEASE_GCC/X64"), (guests.U_BOOT, "RELEASE_GCC49/AARCH64")):
            paths = boot_qemu.image_paths(built, "RELEASE", guest)
            self.assertEqual(str(paths[boot_qemu.DRIVER]), f"{built}/TvqSmbiosPkg/{folder}/TVQSMBIOS.efi")
            self.assertEqual(str(paths[boot_qemu.AGENT]), f"{built}/TvqPlatformPkg/{folder}/TvqAgent.efi")

    def test_a_build_that_names_none_is_a_failure_with_a_hint(self):
        with self.assertRaisesRegex(boot_qemu.BootFailure, "booting is missing"):
            boot_qemu.image_paths(self.folder / "Build", "RELEASE")


class Report(FolderTest):
    def test_it_is_read_with_plain_line_ends(self):
        (self.folder / "report.txt").write_bytes(b"one\r\nTvqAgent: success\r\n")
        self.assertEqual(boot_qemu.read_report(self.folder), "one\nTvqAgent: success\n")

    def test_a_missing_report_is_none(self):
        self.assertIsNone(boot_qemu.read_report(self.folder))


class SerialOutput(unittest.TestCase):
    def test_escape_sequences_and_blank_lines_go(self):
        raw = b"\x1b[2J\x1b[01;01H\x1b[=3hBdsDxe: starting\r\n\r\n\x1b[0m\x1b[35m\x1b[40mdone\r\n"
        self.assertEqual(boot_qemu.plain_text(raw), "BdsDxe: starting\ndone")

    def test_bytes_beyond_ascii_do_not_stop_it(self):
        self.assertEqual(boot_qemu.plain_text(b"a\xffb\x00c"), "a\ufffdbc")

    def test_the_tail_is_the_last_lines(self):
        self.assertEqual(boot_qemu.tail("\n".join("abcd"), lines=2), "c\nd")


if __name__ == "__main__":
    unittest.main()

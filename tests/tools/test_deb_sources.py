"""Tests of tools/deb_sources.py.

SPDX-License-Identifier: BSD-2-Clause-Patent
"""

import pathlib
import tempfile
import unittest

import scripts  # noqa: F401
import deb_sources


class OneLineStyle(unittest.TestCase):
    def test_a_deb_line_becomes_deb_src(self):
        self.assertEqual(
            deb_sources.derive_one_line("deb http://archive.test/debian bookworm main\n"),
            "deb-src http://archive.test/debian bookworm main\n",
        )

    def test_options_stay(self):
        self.assertEqual(
            deb_sources.derive_one_line("deb [ arch=amd64 signed-by=/k.gpg ] http://archive.test/d bookworm main contrib"),
            "deb-src [ arch=amd64 signed-by=/k.gpg ] http://archive.test/d bookworm main contrib\n",
        )

    def test_comments_and_switched_off_lines_go(self):
        text = "# deb http://off.test/debian bookworm main\n\ndeb http://on.test/debian bookworm main # why\n"
        self.assertEqual(deb_sources.derive_one_line(text), "deb-src http://on.test/debian bookworm main\n")

    def test_a_deb_src_line_that_is_already_there_is_not_doubled(self):
        text = "deb http://archive.test/debian bookworm main\ndeb-src http://archive.test/debian bookworm main\n"
        self.assertEqual(deb_sources.derive_one_line(text), "deb-src http://archive.test/debian bookworm main\n")

    def test_other_text_gives_nothing(self):
        self.assertEqual(deb_sources.derive_one_line("debian is a word\nrpm http://archive.test x\n"), "")


    def test_another_suite_of_the_same_archive_can_be_asked_for(self):
        text = "deb [ arch=amd64 ] http://a.test/d bookworm main\ndeb http://a.test/d bookworm-updates main\n"
        self.assertEqual(deb_sources.derive_one_line(text, ("bookworm", "sid")), "deb-src [ arch=amd64 ] http://a.test/d sid main\n")


class Deb822Style(unittest.TestCase):
    STANZA = (
        "Types: deb\n"
        "# a comment\n"
        "URIs: http://archive.test/debian\n"
        "Suites: bookworm bookworm-updates\n"
        "Components: main\n"
        "Signed-By: /usr/share/keyrings/debian-archive-keyring.gpg\n"
    )

    def test_a_stanza_keeps_everything_but_its_types(self):
        self.assertEqual(
            deb_sources.derive_deb822(self.STANZA),
            "Types: deb-src\n"
            "URIs: http://archive.test/debian\n"
            "Suites: bookworm bookworm-updates\n"
            "Components: main\n"
            "Signed-By: /usr/share/keyrings/debian-archive-keyring.gpg\n",
        )

    def test_another_suite_of_the_same_archive_can_be_asked_for(self):
        stanza = "Types: deb\nURIs: http://a.test/d\nSuites: bookworm\n bookworm-updates\nComponents: main\n"
        other = stanza.replace("bookworm", "other")
        self.assertEqual(
            deb_sources.derive_deb822(f"{other}\n{stanza}", ("bookworm", "sid")),
            "Types: deb-src\nURIs: http://a.test/d\nSuites: sid\nComponents: main\n",
        )

    def test_every_stanza_is_derived(self):
        derived = deb_sources.derive_deb822(self.STANZA + "\n\n" + self.STANZA.replace("archive", "security"))
        self.assertEqual(derived.count("Types: deb-src\n"), 2)
        self.assertIn("\n\nTypes: deb-src\nURIs: http://security.test/debian\n", derived)

    def test_both_types_become_one(self):
        derived = deb_sources.derive_deb822(self.STANZA.replace("Types: deb", "types: deb deb-src"))
        self.assertTrue(derived.startswith("Types: deb-src\nURIs:"))
        self.assertEqual(derived.lower().count("types:"), 1)

    def test_a_key_inside_the_file_stays_whole(self):
        key = "Signed-By:\n -----BEGIN PGP PUBLIC KEY BLOCK-----\n .\n mDMEZ\n -----END PGP PUBLIC KEY BLOCK-----\n"
        text = "Types: deb\nURIs: http://archive.test/d\nSuites: x\nComponents: main\n" + key
        self.assertTrue(deb_sources.derive_deb822(text).endswith(key))

    def test_a_stanza_that_is_switched_off_gives_nothing(self):
        self.assertEqual(deb_sources.derive_deb822("Enabled: no\n" + self.STANZA), "")

    def test_a_stanza_without_uris_gives_nothing(self):
        self.assertEqual(deb_sources.derive_deb822("Types: deb\nSuites: bookworm\n"), "")


class Files(unittest.TestCase):
    def setUp(self):
        folder = tempfile.TemporaryDirectory()
        self.addCleanup(folder.cleanup)
        self.folder = pathlib.Path(folder.name)
        self.output = self.folder / "derived"
        (self.folder / "parts").mkdir()

    def derive(self):
        status = deb_sources.main([str(self.output), str(self.folder / "sources.list"), str(self.folder / "parts")])
        self.assertEqual(status, 0)
        return sorted(path.name for path in self.output.iterdir())

    def test_the_list_and_the_folder_are_read_in_their_formats(self):
        (self.folder / "sources.list").write_text("deb http://one.test/d bookworm main\n")
        (self.folder / "parts" / "debian.sources").write_text(Deb822Style.STANZA)
        self.assertEqual(self.derive(), ["debian.sources", "sources.list"])
        self.assertEqual((self.output / "sources.list").read_text(), "deb-src http://one.test/d bookworm main\n")

    def test_files_that_apt_ignores_are_ignored(self):
        (self.folder / "parts" / "old.list.disabled").write_text("deb http://off.test/d bookworm main\n")
        self.assertEqual(self.derive(), [])

    def test_a_list_without_entries_leaves_no_file(self):
        (self.folder / "sources.list").write_text("# see sources.list.d\n")
        self.assertEqual(self.derive(), [])


if __name__ == "__main__":
    unittest.main()

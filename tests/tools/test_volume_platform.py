"""What adds the lines of the integrators' page to a platform of EDK II.

SPDX-License-Identifier: BSD-2-Clause-Patent
"""

import pathlib
import sys
import tempfile
import unittest

ROOT = pathlib.Path(__file__).resolve().parent.parent.parent
sys.path.insert(0, str(ROOT / "tools"))
import volume_platform  # noqa: E402

PAGE = "text\n```dsc\n!include A.dsc.inc\n```\nmore\n```fdf\n!include A.fdf.inc\n```\n```dsc\n[Components]\n  B.inf\n```\n```c\nint x;\n```\n"
DSC = "[Defines]\n  FLASH_DEFINITION = OvmfPkg/Ovmf.fdf\n[Components]\n  C.inf\n"
FDF = "!include Defines.fdf.inc\n[FV.DXEFV]\nINF C.inf\n  !include NetworkPkg/Network.fdf.inc\n\n[FV.OTHER]\nINF D.inf\n"


class VolumePlatform(unittest.TestCase):
    def setUp(self):
        folder = tempfile.TemporaryDirectory()
        self.addCleanup(folder.cleanup)
        self.tree = pathlib.Path(folder.name)
        (self.tree / "OvmfPkg").mkdir()
        self.dsc = self.tree / "OvmfPkg" / "Ovmf.dsc"
        self.dsc.write_text(DSC, encoding="utf-8")
        (self.tree / "OvmfPkg" / "Ovmf.fdf").write_text(FDF, encoding="utf-8")
        self.out = self.tree / "out"

    def written(self, page=PAGE):
        volume_platform.write_platform(page, self.dsc, self.out)
        return (self.out / "Ovmf.dsc").read_text(encoding="utf-8"), (self.out / "Ovmf.fdf").read_text(encoding="utf-8")

    def test_the_dsc_ends_with_the_blocks_and_names_the_other_fdf(self):
        dsc, _ = self.written()
        self.assertTrue(dsc.endswith("  C.inf\n\n!include A.dsc.inc\n\n[Components]\n  B.inf\n"), dsc)
        self.assertIn(f"FLASH_DEFINITION = {self.out / 'Ovmf.fdf'}\n", dsc)

    def test_the_fdf_has_the_block_at_the_end_of_the_volume(self):
        _, fdf = self.written()
        self.assertIn("\n!if $(TVQ_IN_VOLUME) == TRUE\n!include A.fdf.inc\n!endif\n\n[FV.OTHER]\nINF D.inf\n", fdf)

    def test_includes_without_a_folder_are_those_beside_the_fdf(self):
        _, fdf = self.written()
        self.assertTrue(fdf.startswith("!include OvmfPkg/Defines.fdf.inc\n"), fdf)
        self.assertIn("  !include NetworkPkg/Network.fdf.inc\n", fdf)

    def test_a_page_without_lines_and_an_fdf_without_the_volume_are_refused(self):
        with self.assertRaises(volume_platform.PlatformError):
            self.written("nothing\n")
        (self.tree / "OvmfPkg" / "Ovmf.fdf").write_text("[FV.OTHER]\n", encoding="utf-8")
        with self.assertRaises(volume_platform.PlatformError):
            self.written()

    def test_the_page_has_the_lines(self):
        page = (ROOT / "docs" / "integrators.md").read_text(encoding="utf-8")
        for package in ("TvqSmbiosPkg", "TvqPlatformPkg"):
            self.assertIn(f"!include {package}/{package}.dsc.inc\n", volume_platform.blocks(page, "dsc"))
            self.assertIn(f"!include {package}/{package}.fdf.inc\n", volume_platform.blocks(page, "fdf"))


if __name__ == "__main__":
    unittest.main()

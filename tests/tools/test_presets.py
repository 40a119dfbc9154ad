"""Tests of CMakePresets.json: ./dev and CMake by hand build the same trees.

SPDX-License-Identifier: BSD-2-Clause-Patent
"""

import json
import os
import pathlib
import re
import subprocess
import tempfile
import unittest

from scripts import ROOT

PRESETS = json.loads((ROOT / "CMakePresets.json").read_text(encoding="utf-8"))
CONFIGURED = {preset["name"]: preset for preset in PRESETS["configurePresets"]}
TREES = {name for name, preset in CONFIGURED.items() if not preset.get("hidden")}


def scripts():
    """The code of the shell scripts behind ./dev, without comments."""
    for path in sorted((ROOT / "tools").rglob("*.sh")):
        yield path, re.sub(r"(?m)^\s*#.*$", "", path.read_text(encoding="utf-8"))


class Presets(unittest.TestCase):
    def test_cmake_accepts_them(self):
        listed = subprocess.run(["cmake", "--list-presets=all"], cwd=ROOT, capture_output=True, text=True, check=False)
        self.assertEqual(listed.returncode, 0, listed.stderr)
        self.assertEqual({name for name in re.findall(r'(?m)^  "(.+?)"', listed.stdout)}, TREES)

    def test_every_tree_lies_in_the_folder_of_its_name(self):
        for name in TREES:
            with self.subTest(name=name):
                self.assertNotIn("binaryDir", CONFIGURED[name])
        self.assertEqual(CONFIGURED["base"]["binaryDir"], "${sourceDir}/build/${presetName}")

    def test_every_tree_says_what_it_is_for(self):
        for name in TREES:
            self.assertRegex(CONFIGURED[name]["displayName"], f"^{name}: .{{10,}}")

    def test_every_tree_that_dev_names_has_a_preset_and_every_preset_is_named(self):
        named = set()
        for path, text in scripts():
            for name in re.findall(r"\b(?:BuildHost|ConfigureHost|ChooseFiles|build=) ?([a-z][a-z-]*)", text):
                with self.subTest(script=path.name):
                    self.assertIn(name, TREES)
                named.add(name)
        self.assertEqual(named, TREES)

    def test_options_of_the_build_stand_nowhere_else(self):
        for path, text in scripts():
            with self.subTest(script=path.name):
                self.assertEqual(re.findall(r"-D(?:CMAKE|TVQ|BUILD)_\w+=", text.replace("-D TVQ_PAGE_ALIGNED=", "")), [])


class SourceTrees(unittest.TestCase):
    """Without ./dev, CMake finds the trees that ./dev setup fetched."""

    def setUp(self):
        owner = tempfile.TemporaryDirectory()
        self.addCleanup(owner.cleanup)
        self.home = pathlib.Path(owner.name)
        self.script = self.home / "show.cmake"
        self.script.write_text(
            f'include("{ROOT}/host/cmake/SourceTrees.cmake")\nmessage(STATUS "${{EDK2_DIR}} ${{EXPAT_DIR}}")\n'
        )

    def run_with(self, command, variables):
        kept = {name: value for name, value in os.environ.items()
                if name not in ("TVQ_CACHE_DIR", "XDG_CACHE_HOME", "EDK2_DIR", "EXPAT_DIR")}
        return subprocess.run(command, env={**kept, "HOME": str(self.home), "ROOT": str(ROOT), **variables},
                              capture_output=True, text=True, check=True).stdout.removeprefix("-- ").strip()

    def cmake(self, **variables):
        return self.run_with(["cmake", "-P", str(self.script)], variables)

    def dev(self, **variables):
        located = 'source "$ROOT/tools/lib/common.sh"; source "$LIB/setup.sh"; LocateSources; echo "$EDK2_DIR $EXPAT_DIR"'
        return self.run_with(["bash", "-c", located], variables)

    def test_cmake_and_dev_look_for_them_in_the_same_folders(self):
        for variables in ({}, {"XDG_CACHE_HOME": "/somewhere"}, {"TVQ_CACHE_DIR": "/cache", "XDG_CACHE_HOME": "/somewhere"}):
            with self.subTest(variables=variables):
                self.assertEqual(self.cmake(**variables), self.dev(**variables))

    def test_the_environment_names_others(self):
        self.assertEqual(self.cmake(EDK2_DIR="/edk2", EXPAT_DIR="/expat"), "/edk2 /expat")


if __name__ == "__main__":
    unittest.main()

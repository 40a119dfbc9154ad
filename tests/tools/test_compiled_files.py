"""Tests of tools/compiled_files.py: which sources a compiler sees otherwise than in another copy of the tree.

SPDX-License-Identifier: BSD-2-Clause-Patent
"""

import json
import pathlib
import tempfile
import unittest

import scripts  # noqa: F401
import compiled_files

FILES = {
    ".clang-tidy": "Checks: all",
    "host/a.cpp": '#include "host/a.h"\n#include <shared.h>\n#include <string>\n',
    "host/a.h": '  #  include "near.h"\n',
    "host/near.h": "int near;",
    "host/b.cpp": "#include <shared.h>\n",
    "include/shared.h": "int shared;",
    "include/lonely.h": "int lonely;",
    "tests/c.cpp": "int c;",
    "build/tidy/AutoGen.h": "int generated;",
}


class Unlike(unittest.TestCase):
    """Two copies of a tree with three sources, of which one changes."""

    def setUp(self):
        owner = tempfile.TemporaryDirectory()
        self.addCleanup(owner.cleanup)
        # The other copy may lie in the tree itself.
        self.root = pathlib.Path(owner.name).resolve()
        self.other = self.root / "build" / "linted"
        for root in (self.root, self.other):
            for name, text in FILES.items():
                self.write(name, text, root)
            self.compile(root)

    def write(self, name, text, root=None):
        path = (root or self.root) / name
        path.parent.mkdir(parents=True, exist_ok=True)
        path.write_text(text)

    def compile(self, root, sources=("host/a.cpp", "host/b.cpp", "tests/c.cpp"), flags="-O2"):
        commands = [
            {
                "directory": f"{root}/build/tidy",
                "command": f"/usr/bin/c++ {flags} -I{root} -isystem {root}/include -include {root}/build/tidy/AutoGen.h -MD -MT {source}.o -MF {source}.d -o {source}.o -c {root}/{source}",
                "file": f"{root}/{source}",
            }
            for source in sources
        ]
        made = {"directory": f"{root}/build/tidy", "command": "c++ made.cpp", "file": "made.cpp"}
        self.write("build/tidy/compile_commands.json", json.dumps([*commands, made]), root)

    def unlike(self):
        trees = (compiled_files.Tree(root, "tidy") for root in (self.root, self.other))
        return compiled_files.unlike(*trees)

    def test_equal_trees_differ_in_nothing_wherever_they_lie(self):
        self.assertEqual(self.unlike(), [])

    def test_a_source_that_changed(self):
        self.write("tests/c.cpp", "int d;")
        self.assertEqual(self.unlike(), ["tests/c.cpp"])

    def test_a_header_counts_for_those_that_include_it(self):
        self.write("include/shared.h", "int other;")
        self.assertEqual(self.unlike(), ["host/a.cpp", "host/b.cpp"])

    def test_a_header_counts_for_those_that_include_it_through_others(self):
        self.write("host/near.h", "int other;")
        self.assertEqual(self.unlike(), ["host/a.cpp"])

    def test_a_header_that_nobody_includes_counts_for_nobody(self):
        self.write("include/lonely.h", "int other;")
        self.assertEqual(self.unlike(), [])

    def test_a_header_that_comes_before_another_of_its_name(self):
        self.write("shared.h", "int shared;")
        self.assertEqual(self.unlike(), ["host/a.cpp", "host/b.cpp"])

    def test_a_generated_header_counts_too(self):
        self.write("build/tidy/AutoGen.h", "int other;")
        self.assertEqual(self.unlike(), ["host/a.cpp", "host/b.cpp", "tests/c.cpp"])

    def test_other_options(self):
        self.compile(self.root, flags="-O3")
        self.assertEqual(len(self.unlike()), 3)

    def test_a_folder_whose_name_begins_like_that_of_the_tree(self):
        for root in (self.root, self.other):
            self.compile(root, flags=f"-isystem {self.root}-sources/include")
        self.assertEqual(self.unlike(), [])

    def test_other_rules_count_for_their_folder(self):
        self.write("tests/.clang-tidy", "Checks: none")
        self.assertEqual(self.unlike(), ["tests/c.cpp"])
        self.write(".clang-tidy", "Checks: none")
        self.assertEqual(len(self.unlike()), 3)

    def test_a_new_source_and_one_that_is_gone(self):
        self.write("host/new.cpp", "int n;")
        self.compile(self.root, sources=("host/a.cpp", "host/new.cpp"))
        self.assertEqual(self.unlike(), ["host/new.cpp"])

    def test_what_the_build_made_is_no_source(self):
        tree = compiled_files.Tree(self.root, "tidy")
        self.assertEqual(tree.sources(), ["host/a.cpp", "host/b.cpp", "tests/c.cpp"])

    def test_a_source_is_compiled_without_writing_anything(self):
        (command,) = compiled_files.Tree(self.root, "tidy").commands("tests/c.cpp")
        self.assertNotIn("c.cpp.o", command)
        self.assertNotIn("-M", command)
        self.assertTrue(command.endswith(f" -c {self.root}/tests/c.cpp -fsyntax-only"), command)


if __name__ == "__main__":
    unittest.main()

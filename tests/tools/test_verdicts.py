"""The page about verdicts says what the code does: the same verdicts in the same order, with the same advice.

SPDX-License-Identifier: BSD-2-Clause-Patent
"""

import json
import re
import unittest

from scripts import ROOT
import agent_report

PAGE = (ROOT / "docs" / "verdicts.md").read_text(encoding="utf-8")
WORDS = (ROOT / "TvqPlatformPkg" / "src" / "compare" / "verdict.h").read_text(encoding="utf-8")


def rows_of_the_page():
    """Verdict and advice of each row of the table."""
    table = PAGE[PAGE.index("| verdict |") :].split("\n\n")[0].splitlines()[2:]
    cells = [[cell.strip() for cell in row.strip("|").split("|")] for row in table]
    return [(row[0], row[2]) for row in cells]


def rows_of_the_code():
    table = WORDS[WORDS.index("kVerdictWords[kVerdictCount] = {") :].split("};")[0]
    return re.findall(r'\{"([^"]+)",\s*"([^"]+)"\}', table)


class Verdicts(unittest.TestCase):
    def test_the_page_has_those_of_the_code_with_the_same_advice(self):
        self.assertEqual(len(rows_of_the_code()), 9)
        self.assertEqual(rows_of_the_page(), rows_of_the_code())

    def test_the_tools_know_them(self):
        self.assertEqual(agent_report.VERDICTS, tuple(name for name, _ in rows_of_the_code()))

    def test_the_schemas_have_them(self):
        for name, findings in (("verify", "findings"), ("diff", "devices")):
            schema = json.loads((ROOT / "docs" / "schema" / f"tvq-{name}.schema.json").read_text(encoding="utf-8"))
            properties = schema["properties"][findings]["items"]["properties"]
            self.assertEqual(tuple(properties["verdict"]["enum"]), agent_report.VERDICTS)
            self.assertEqual(tuple(schema["properties"]["summary"]["required"]), agent_report.VERDICTS)


if __name__ == "__main__":
    unittest.main()

"""What docs/fleet.md says to type: the commands that load the rows, and the queries.

SPDX-License-Identifier: BSD-2-Clause-Patent
"""

import re

from machines import ROOT

PAGE = ROOT / "docs" / "fleet.md"


def _sections():
    """The text below each heading."""
    parts = re.split(r"(?m)^#+ (.*)$", PAGE.read_text(encoding="utf-8"))
    return dict(zip(parts[1::2], parts[2::2], strict=True))


def commands():
    """The command lines of tvq."""
    return re.findall(r"(?m)^```\n(tvq .*)\n```$", PAGE.read_text(encoding="utf-8"))


def table(section):
    """What the first column of the section's table names."""
    rows = re.findall(r"(?m)^\| (`.*?) \|", _sections()[section])
    return [re.sub(r"\{.*", "", name) for row in rows for name in re.findall(r"`([^`]+)`", row)]


def loading(program):
    """The script that loads rows.ndjson with that program."""
    blocks = re.findall(r"(?ms)^```\n(.*?)^```", _sections()["Into a database"])
    return "".join(block for block in blocks if block.startswith(program))


def _statements(section, database):
    for block in re.findall(r"(?ms)^```sql\n(.*?)^```", _sections()[section]):
        for part in re.split(r"(?m)^-- ", block)[1:]:
            owner, _, statement = part.partition("\n")
            if owner in ("both", database):
                yield statement.strip().rstrip(";")


def views(database):
    return list(_statements("Into a database", database))


def query(section, database):
    found = list(_statements(section, database))
    if len(found) != 1:
        raise RuntimeError(f"{PAGE.name}: '{section}' has {len(found)} queries for {database}")
    return found[0]

"""What became of the mutants: a table by file and area, the survivors, and the same as JSON.

SPDX-License-Identifier: BSD-2-Clause-Patent
"""

import collections
import dataclasses
import json
import tomllib

from areas import AREAS, area_of
from mutant import Mutant
from programs import Outcome

KILLED = ("killed", "slow")
TARGET = 5.0


class ExplanationError(Exception):
    """A list of explanations that cannot be read."""


@dataclasses.dataclass(frozen=True)
class Explanation:
    """Why a change is none: it is recognised by its file, the text of its line, and what it changes."""
    file: str
    code: str
    change: str
    why: str

    def covers(self, mutant):
        return (self.file, self.code, self.change) == (mutant.file, mutant.code, mutant.change)


def read_explanations(folder):
    """The changes that are shown to be none, of all files in a folder."""
    return [explanation for path in sorted(folder.glob("*.toml")) for explanation in _read_file(path)]


def explained(explanations, mutants):
    """The numbers of the mutants that are none."""
    return {mutant.number for mutant in mutants for explanation in explanations if explanation.covers(mutant)}


def _read_file(path):
    try:
        with open(path, "rb") as file:
            entries = tomllib.load(file).get("equivalent", [])
    except tomllib.TOMLDecodeError as error:
        raise ExplanationError(f"{path}: {error}") from error
    explanations = []
    for entry in entries:
        if set(entry) != {"file", "code", "changes", "why"}:
            raise ExplanationError(f"{path}: an entry has file, code, changes and why, not {', '.join(sorted(entry))}")
        explanations += [Explanation(entry["file"], entry["code"], change, entry["why"]) for change in entry["changes"]]
    return explanations


def _keys(mutants):
    """What recognises a mutant in another run: its file, its line's text, its change, and the how-manieth of these it is."""
    seen = collections.Counter()
    for mutant in mutants:
        key = (mutant.file, mutant.code, mutant.change)
        yield (*key, seen[key])
        seen[key] += 1


def killed_before(path, mutants):
    """The outcomes of the mutants that an earlier run killed by what it wrote as JSON, by their numbers."""
    try:
        results = json.loads(path.read_text(encoding="utf-8"))["results"]
        earlier = [(Mutant(**{name: entry[name] for name in Mutant.__dataclass_fields__}),
                    Outcome(entry["result"], entry["test"])) for entry in results]
    except (ValueError, KeyError, TypeError) as error:
        raise ExplanationError(f"{path} is no result of an earlier run: {error!r}") from error
    known = dict(zip(_keys(mutant for mutant, _ in earlier), (outcome for _, outcome in earlier)))
    return {mutant.number: known[key] for mutant, key in zip(mutants, _keys(mutants))
            if key in known and known[key].result in KILLED}


class Report:
    """The mutants of one run with their outcomes. `left` says of each file how many operators cannot be changed; of
    files of which only a part was run, `is_part`, no explanation is out of date."""

    def __init__(self, mutants, outcomes, explanations, left, is_part=False):
        self.mutants = mutants
        self._left = left
        self._is_part = is_part
        self._outcomes = outcomes
        self._explained = explained(explanations, mutants)
        self._explanations = explanations

    def result(self, mutant):
        """killed, slow, equivalent, survived or unreached."""
        result = self._outcomes[mutant.number].result
        return "equivalent" if result not in KILLED and mutant.number in self._explained else result

    def survivors(self, mutants=None):
        """Those that neither a test nor an explanation accounts for."""
        return [mutant for mutant in mutants or self.mutants if self.result(mutant) in ("survived", "unreached")]

    def share(self, mutants=None):
        """The survivors in per cent of the mutants that are not equivalent."""
        counted = [mutant for mutant in mutants or self.mutants if self.result(mutant) != "equivalent"]
        return 100 * len(self.survivors(mutants)) / len(counted) if counted else 0.0

    def stale(self):
        """Explanations of changes that tests tell after all, or that there are no more."""
        if self._is_part:
            return []
        files = {mutant.file for mutant in self.mutants}
        alive = [mutant for mutant in self.mutants if self.result(mutant) == "equivalent"]
        return [explanation for explanation in self._explanations if explanation.file in files and
                not any(explanation.covers(mutant) for mutant in alive)]

    def _areas(self):
        groups = {area: [mutant for mutant in self.mutants if area_of(mutant.file) == area] for area in AREAS}
        return {area: group for area, group in groups.items() if group}

    def is_good(self):
        """Whether few enough survive in every area."""
        return not self.stale() and all(self.share(group) < TARGET for group in self._areas().values())

    def table(self):
        """A line for each file, for each area and for all of them."""
        width = max(len(mutant.file) for mutant in self.mutants)
        lines = [f"{'file':{width}}  mutants  killed  endless  equivalent  survive  unreached   share  left alone"]
        files = {}
        for mutant in self.mutants:
            files.setdefault(mutant.file, []).append(mutant)
        for name, group in [*files.items(), *self._areas().items(), ("all", self.mutants)]:
            results = [self.result(mutant) for mutant in group]
            counts = {key: results.count(key) for key in ("killed", "slow", "equivalent", "survived", "unreached")}
            left = sum(self._left.get(file, 0) for file in {mutant.file for mutant in group})
            lines.append(f"{name:{width}}  {len(group):7}  {counts['killed']:6}  {counts['slow']:7}  "
                         f"{counts['equivalent']:10}  {counts['survived']:7}  {counts['unreached']:9}  "
                         f"{self.share(group):5.1f}%  {left:10}")
        return "\n".join(lines)

    def details(self):
        """The survivors, and the explanations that explain nothing."""
        lines = []
        for mutant in self.survivors():
            note = "  (no test comes here)" if self.result(mutant) == "unreached" else ""
            lines += [f"{mutant.file}:{mutant.line}: {mutant.change}{note}", f"    {mutant.code}"]
        for stale in self.stale():
            lines += [f"{stale.file}: explained, but killed or gone: {stale.change}", f"    {stale.code}"]
        return "\n".join(lines)

    def as_json(self):
        """Everything, for other programs."""
        return {"mutants": len(self.mutants), "survivors": len(self.survivors()), "share": round(self.share(), 2),
                "results": [dataclasses.asdict(mutant) | {"result": self.result(mutant),
                                                          "test": self._outcomes[mutant.number].test}
                            for mutant in self.mutants]}

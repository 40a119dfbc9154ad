"""What every command prints as JSON is valid by its schema in docs/schema, has no member that the schema does not know, and is
the same in each run. The SARIF log of `tvq lint` is valid by what SARIF 2.1.0 asks of its members.

usage: json_schema_test.py TVQ SAMPLES [SCHEMA]       checks SARIF by this schema in place of sarif.schema.json

SPDX-License-Identifier: BSD-2-Clause-Patent
"""

import json
import pathlib
import sys
import tempfile

import tables

try:
    import jsonschema
except ImportError:
    print("python3-jsonschema is missing")
    sys.exit(tables.SKIPPED)

SCHEMAS = tables.ROOT / "docs" / "schema"
SARIF = pathlib.Path(__file__).parent / "sarif.schema.json"
OPEN = "additionalProperties"


def closed(schema):
    """The schema without room for members that it does not name: later versions may add some, this one may not."""
    if isinstance(schema, dict):
        schema = {key: closed(value) for key, value in schema.items()}
        if "properties" in schema:
            schema.setdefault(OPEN, False)
    elif isinstance(schema, list):
        schema = [closed(value) for value in schema]
    return schema


class Schemas:
    def __init__(self):
        self.validators = {}
        self.used = {}
        for file in SCHEMAS.glob("*.schema.json"):
            schema = json.loads(file.read_text(encoding="utf-8"))
            jsonschema.Draft202012Validator.check_schema(schema)
            self.validators[file.name.removesuffix(".schema.json")] = jsonschema.Draft202012Validator(closed(schema))

    def check(self, text, what):
        document = json.loads(text)
        name = document.get("schema")
        if name not in self.validators:
            sys.exit(f"{what}: there is no schema '{name}'")
        for error in self.validators[name].iter_errors(document):
            sys.exit(f"{what}: {'/'.join(str(step) for step in error.absolute_path)}: {error.message[:300]}")
        self.used.setdefault(name, document)

    def reject_what_does_not_fit(self):
        """A schema that takes anything would prove nothing."""
        for name, document in self.used.items():
            for member in document:
                for broken in ({key: value for key, value in document.items() if key != member}, {**document, member: {"odd": 1.5}},
                               {**document, "unknown": 1}):
                    if self.validators[name].is_valid(broken):
                        sys.exit(f"{name}: the schema takes a document with another '{member}'")


class Sarif:
    """The log as SARIF has it: one schema for the form, and here what a schema cannot say."""

    def __init__(self, file):
        schema = json.loads(file.read_text(encoding="utf-8"))
        validator = jsonschema.validators.validator_for(schema)
        self.validator = validator(closed(schema) if file == SARIF else schema)
        self.results = 0

    def check(self, text, what):
        log = json.loads(text)
        for error in self.validator.iter_errors(log):
            sys.exit(f"{what}: {'/'.join(str(step) for step in error.absolute_path)}: {error.message[:300]}")
        rules = log["runs"][0]["tool"]["driver"]["rules"]
        for result in log["runs"][0]["results"]:
            self.results += 1
            if rules[result["ruleIndex"]]["id"] != result["ruleId"]:
                sys.exit(f"{what}: rule {result['ruleIndex']} is not {result['ruleId']}")
            self.check_numbers(result, what)

    @staticmethod
    def check_numbers(result, what):
        """Every location that another one names is there, once."""
        places = result["locations"] + result.get("relatedLocations", [])
        numbers = [place["id"] for place in places if "id" in place]
        targets = [relation["target"] for place in places for relation in place.get("relationships", [])]
        if len(numbers) != len(set(numbers)) or not set(targets) <= set(numbers):
            sys.exit(f"{what}: {result['ruleId']}: locations {numbers}, named are {targets}")

    def reject_what_does_not_fit(self, text):
        for path, value in ((["version"], "2.0.0"), (["runs", 0, "results", 0, "level"], "fatal"),
                            (["runs", 0, "results", 0, "message"], {}), (["runs", 0, "tool"], {}),
                            (["runs", 0, "results", 0, "ruleIndex"], -2)):
            log = json.loads(text)
            at = log
            for step in path[:-1]:
                at = at[step]
            at[path[-1]] = value
            if self.validator.is_valid(log):
                sys.exit(f"the schema of SARIF takes a log with {path} = {value}")


def commands(tvq, table, folder):
    """The command lines whose documents are checked: each is run twice."""
    name = table.name
    dump = ("--from-dump", table)
    yield [tvq, "show", table, "--json"]
    yield [tvq, "show", table, "--json", "--as-is"]
    yield [tvq, "export", table]
    yield [tvq, "lint", "--json", table]
    yield [tvq, "lint", "--json", "--hex", "--profile", "all", table]
    yield [tvq, "export", table, "--as-is"]
    for address in ("00:00.0", "00:01.0", "0000:16:00.0"):
        yield [tvq, "slot", address, "--json", *dump]
        yield [tvq, "slot", address, "--json", "--id", *dump]
    state = folder / f"{name}.state"
    yield [tvq, "save", state, "--json", *dump]
    yield [tvq, "verify", state, "--json", *dump]
    yield [tvq, "verify", folder / "no state", "--save-first", "--json", "--from-dump", folder / "empty.bin"]
    yield [tvq, "accept", state, "System.Embedded.1", "--json", *dump]
    yield [tvq, "diff", state, table, "--json"]
    for command in ("show", "export", "lint"):
        yield [tvq, command, "--ndjson", table, folder / "no table"]
    yield [tvq, "report", "--ndjson", "--redact", "--redact-key", "key", table, folder / "no table", "-o", folder / "pages"]
    yield [tvq, "diff", table, folder / "other.bin", "--json"]
    rows = ("export", table, "--rows", "--time", "1795000000")
    yield [tvq, *rows]
    yield [tvq, *rows, "--against", state]
    yield [tvq, *rows, "--redact", "--redact-key", "key", "--host", "a server"]


def blobs_of(export):
    """The blobs of each record, as an agent stores them, and what is left of them when they are cut."""
    for record in json.loads(export)["records"][:5]:
        blobs = bytes.fromhex("".join(record[f"{kind}Blob"] or "" for kind in ("inventory", "configuration", "end")))
        yield blobs
        yield blobs[: len(blobs) // 2]


def check_sarif(tvq, files, sarif, folder):
    """The logs of all tables, with and without bytes and a baseline."""
    nothing = folder / "nothing known.json"
    nothing.write_bytes(tables.run(tvq, "lint", "--disable", "all", "--json", files[0], status=(0, 1)))
    with_results = None
    for table in files:
        for options in ([], ["--hex"], ["--baseline", nothing]):
            log = tables.run(tvq, "lint", "--profile", "all", "--format", "sarif", *options, table, status=(0, 1))
            sarif.check(log, f"lint of {table.name} {options}")
            with_results = log if json.loads(log)["runs"][0]["results"] else with_results
    if with_results is None:
        sys.exit("no log has a result")
    sarif.reject_what_does_not_fit(with_results)


def main(arguments):
    tvq, files = tables.program_and_tables(arguments[:2])
    schemas = Schemas()
    sarif = Sarif(pathlib.Path(arguments[2]) if arguments[2:] else SARIF)
    checked = 0
    with tempfile.TemporaryDirectory() as name:
        folder = pathlib.Path(name)
        (folder / "other.bin").write_bytes(files[-1].read_bytes() if files[-1].suffix == ".bin" else files[0].read_bytes())
        (folder / "empty.smbios").write_text('[bios 0]\nvendor = "Maker"\n\n[end 1]\n', encoding="utf-8")
        tables.run(tvq, "mktable", folder / "empty.smbios", "-o", folder / "empty.bin", "--quiet")
        for table in files:
            for command in commands(tvq, table, folder):
                words = [*command, "--quiet"]
                text = tables.run(*words, status=(0, 1, 2))
                if not text:
                    continue
                are_lines = "--rows" in command or "--ndjson" in command
                for document in text.splitlines() if are_lines else [text]:
                    schemas.check(document, " ".join(str(word) for word in command))
                # What is saved already is not new any more.
                if command[1] not in ("save", "accept") and text != tables.run(*words, status=(0, 1, 2)):
                    sys.exit(f"{command} prints something else in another run")
                checked += 1
            for part in ("system", "CPU1", "DIMM_A1", "PCIe Slot 1"):
                if text := tables.run(tvq, "show", table, part, "--json", "-q", status=(0, 1, 2)):
                    schemas.check(text, f"show {table.name} {part}")
            for blobs in blobs_of(tables.run(tvq, "export", table, "-q", status=(0, 1))):
                (folder / "device.tvq").write_bytes(blobs)
                schemas.check(tables.run(tvq, "decode", folder / "device.tvq", "--json", status=(0, 2)), f"decode of {table.name}")
                checked += 1
        check_sarif(tvq, files, sarif, folder)
    schemas.reject_what_does_not_fit()
    unused = sorted(set(schemas.validators) - set(schemas.used))
    if unused:
        sys.exit(f"no document of these was seen: {unused}")
    print(f"{checked} documents of {len(schemas.used)} schemas are valid, and {sarif.results} results in SARIF")


if __name__ == "__main__":
    main(sys.argv[1:])

#!/usr/bin/env python3
"""Checks the packages as EDK II's own continuous integration would, as far as that needs no network.

usage: check_edk2.py ROOT EDK2

Each package's .ci.yaml says what is allowed. Ecc of the tree's BaseTools reads the public headers; no GUID is one of the
tree's; every INF is in the package's DSC; no INF uses a package that is not allowed; every header in Include/Library is a
library class; flags of C files are those of C++ files; every file is UTF-8. Licences are another check's.

SPDX-License-Identifier: BSD-2-Clause-Patent
"""

import csv
import json
import os
import pathlib
import re
import subprocess
import sys
import tempfile
from xml.sax import saxutils

GUID_TEXT = re.compile(r"\b([0-9A-Fa-f]{8}-(?:[0-9A-Fa-f]{4}-){3}[0-9A-Fa-f]{12})\b")
GUID_STRUCTURE = re.compile(r"=\s*\{([^{}]+)\{([^{}]+)\}\s*\}")
# Where an interpreter with Debian's ANTLR run time is, whatever other is on the path.
SYSTEM_PYTHON = "/usr/bin/python3"


class Package:
    """A package of ours and its configuration."""

    def __init__(self, folder):
        self.folder = folder
        self.name = folder.name
        text = (folder / f"{self.name}.ci.yaml").read_text(encoding="utf-8")
        self.settings = json.loads(re.sub(r"^\s*#.*$", "", text, flags=re.MULTILINE))

    def setting(self, plugin, name):
        return self.settings[plugin][name]

    def infs(self):
        return sorted(self.folder.rglob("*.inf"))

    def shown(self, path):
        return path.relative_to(self.folder.parent).as_posix()


def lines_of(path, section=None):
    """The lines of a meta file without comments and blanks; of one kind of section, or all."""
    inside = section is None
    for line in path.read_text(encoding="utf-8", errors="replace").splitlines():
        line = line.partition("#")[0].strip()
        if line.startswith("[") and section:
            inside = line[1:].partition("]")[0].partition(".")[0].strip().lower() == section
        elif inside and line:
            yield line


def guids_of(path):
    """The GUIDs that a meta file declares or gives itself, in the form of a registry."""
    text = "\n".join(lines_of(path))
    if path.suffix == ".dec":
        for head, tail in GUID_STRUCTURE.findall(text):
            numbers = [int(number, 16) for number in re.findall(r"0x[0-9A-Fa-f]+", f"{head},{tail}")]
            if len(numbers) == 11:
                tail = "".join(f"{number:02x}" for number in numbers[3:])
                yield f"{numbers[0]:08x}-{numbers[1]:04x}-{numbers[2]:04x}-{tail[:4]}-{tail[4:]}"
    for name, value in re.findall(r"^(\w+_GUID)\s*=\s*(\S+)", text, re.MULTILINE):
        if name in ("FILE_GUID", "PACKAGE_GUID", "PLATFORM_GUID") and GUID_TEXT.fullmatch(value):
            yield value.lower()


def meta_files(folder):
    for base, folders, names in os.walk(folder):
        folders[:] = [name for name in folders if name not in ("Build", "Conf") and not name.startswith(".")]
        yield from (pathlib.Path(base, name) for name in names if name.endswith((".dec", ".inf", ".dsc")))


def guid_findings(packages, edk2):
    theirs = {guid: path for path in meta_files(edk2) for guid in guids_of(path)}
    ours = {}
    for package in packages:
        for path in sorted(meta_files(package.folder)):
            for guid in guids_of(path):
                if guid in theirs:
                    yield f"{package.shown(path)}: {guid} is in EDK II's {theirs[guid].relative_to(edk2)} too"
                elif guid in ours:
                    yield f"{package.shown(path)}: {guid} is in {ours[guid]} too"
                ours.setdefault(guid, package.shown(path))


def components(package, dsc, seen=()):
    """The INF files that a DSC names, itself or through what it includes of our own."""
    for line in lines_of(dsc):
        yield from re.findall(r"[\w./-]+\.inf\b", line)
        found = re.match(r"!include\s+(\S+)", line)
        included = package.folder.parent / found[1] if found else None
        if included and included.is_file() and included not in seen:
            yield from components(package, included, (*seen, included))


def dsc_findings(package):
    dsc = package.folder / package.setting("DscCompleteCheck", "DscPath")
    named = set(components(package, dsc))
    for inf in package.infs():
        if package.shown(inf) not in named and package.shown(inf) not in package.setting("DscCompleteCheck", "IgnoreInf"):
            yield f"{package.shown(inf)} is not in {package.shown(dsc)}"


def dependency_findings(package):
    allowed = package.setting("DependencyCheck", "AcceptableDependencies")
    for inf in package.infs():
        for name in lines_of(inf, "packages"):
            if name not in allowed:
                yield f"{package.shown(inf)}: {name} is no acceptable dependency"


def library_class_findings(package):
    declared = dict(line.split("|") for line in lines_of(package.folder / f"{package.name}.dec", "libraryclasses"))
    headers = {path.relative_to(package.folder).as_posix() for path in (package.folder / "Include" / "Library").glob("*.h")}
    for header in sorted(headers - set(declared.values()) - set(package.setting("LibraryClassCheck", "IgnoreHeaderFile"))):
        yield f"{package.name}/{header} is no library class of {package.name}.dec"
    for name, header in declared.items():
        if header not in headers:
            yield f"{package.name}.dec: library class {name} has no header {header}"


def flag_findings(package):
    """Newer trees take the flags of C++ files from CXX_FLAGS, which older ones do not know: both have to say the same."""
    for path in sorted([*package.folder.rglob("*.inf"), *package.folder.rglob("*.dsc"), *package.folder.rglob("*.inc")]):
        flags = [line for line in lines_of(path) if re.match(r"GCC:\S+_C(C|XX)_FLAGS\b", line)]
        for line in flags:
            twin = re.sub(r"_C(C|XX)_FLAGS", lambda found: "_CXX_FLAGS" if found[1] == "C" else "_CC_FLAGS", line, count=1)
            if twin not in flags:
                yield f"{package.shown(path)}: '{line}' stands without '{twin}'"


def encoding_findings(package):
    for path in sorted(package.folder.rglob("*")):
        if path.is_file():
            try:
                path.read_text(encoding="utf-8")
            except UnicodeDecodeError as error:
                yield f"{package.shown(path)}: {error}"


def copy_for_ecc(package, target):
    """The files that Ecc is to read, with the line ends that it wants."""
    ignored = [package.folder / name for name in package.setting("EccCheck", "IgnoreFiles")]
    for path in sorted(package.folder.rglob("*")):
        if path.suffix in (".h", ".c") and not any(path == skipped or skipped in path.parents for skipped in ignored):
            copy = target / path.relative_to(package.folder)
            copy.parent.mkdir(parents=True, exist_ok=True)
            copy.write_bytes(path.read_bytes().replace(b"\n", b"\r\n"))


def exceptions_file(package, ecc):
    """Ecc's own list of exceptions with the package's."""
    text = (ecc / "exception.xml").read_text(encoding="utf-8")
    pairs = iter(package.setting("EccCheck", "ExceptionList"))
    added = "".join(
        f"<Exception><KeyWord>{saxutils.escape(word)}</KeyWord><ErrorID>{number}</ErrorID></Exception>\n"
        for number, word in zip(pairs, pairs)
    )
    return text.replace("</ExceptionList>", f"{added}</ExceptionList>")


def ecc_findings(package, edk2):
    tools = edk2 / "BaseTools"
    ecc = tools / "Source" / "Python" / "Ecc"
    with tempfile.TemporaryDirectory(prefix="tvq-ecc-") as name:
        folder = pathlib.Path(name)
        target = folder / package.name
        copy_for_ecc(package, target)
        (folder / "exception.xml").write_text(exceptions_file(package, ecc), encoding="utf-8")
        python = SYSTEM_PYTHON if os.access(SYSTEM_PYTHON, os.X_OK) else sys.executable
        script = pathlib.Path(__file__).resolve().parent / "run_ecc.py"
        command = [python, "-B", str(script), str(tools), "-c", str(ecc / "config.ini"), "-e", str(folder / "exception.xml")]
        command += ["-t", str(target), "-r", str(folder / "report.csv")]
        environment = {**os.environ, "WORKSPACE": name, "EDK_TOOLS_PATH": str(tools), "PACKAGES_PATH": str(edk2)}
        result = subprocess.run(command, cwd=name, env=environment, capture_output=True, text=True, check=False)
        if not (folder / "report.csv").is_file():
            yield f"{package.name}: Ecc left no report:\n{(result.stdout + result.stderr)[-1000:]}"
            return
        with open(folder / "report.csv", encoding="utf-8", newline="") as report:
            for row in csv.DictReader(report, skipinitialspace=True):
                path = pathlib.Path("/" + row["File"].lstrip("/"))
                yield f"{path.relative_to(folder)}:{row['LineNo']}: {row['Other Error Message']} [{row['Error Code']}]"


def findings(root, edk2):
    packages = [Package(path.parent) for path in sorted(root.glob("*/*.dec"))]
    yield from guid_findings(packages, edk2)
    for package in packages:
        for check in (dsc_findings, dependency_findings, library_class_findings, flag_findings, encoding_findings):
            yield from check(package)
        yield from ecc_findings(package, edk2)


def main(arguments):
    if len(arguments) != 2:
        print(__doc__, file=sys.stderr)
        return 2
    lines = list(findings(*(pathlib.Path(argument).resolve() for argument in arguments)))
    print("\n".join(lines))
    return 1 if lines else 0


if __name__ == "__main__":
    sys.exit(main(sys.argv[1:]))

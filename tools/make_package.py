#!/usr/bin/env python3
"""Makes the Debian package of a build tree, and prints its path. Equal sources give equal bytes.

The maintainer is who builds it: DEBFULLNAME and DEBEMAIL, or whom the last commit is by. Dates are that of the last commit, or
SOURCE_DATE_EPOCH.

SPDX-License-Identifier: BSD-2-Clause-Patent
"""

import argparse
import email.utils
import os
import pathlib
import re
import shutil
import subprocess
import sys
import tempfile

ROOT = pathlib.Path(__file__).resolve().parent.parent
PACKAGING = ROOT / "packaging"
VERSION_HEADER = ROOT / "TvqSmbiosPkg" / "Include" / "TvqVersion.h"


def version():
    """The one version of all of it."""
    return re.search(r'#define TVQ_VERSION\s+"([^"]+)"', VERSION_HEADER.read_text(encoding="utf-8"))[1]


def of_last_commit(form):
    """What git says of the last commit; empty where there is no git."""
    done = subprocess.run(["git", "-C", ROOT, "log", "-1", f"--format={form}"], capture_output=True, text=True, check=False)
    return done.stdout.strip()


def maintainer(environment):
    name = environment.get("DEBFULLNAME") or of_last_commit("%an")
    address = environment.get("DEBEMAIL") or of_last_commit("%ae")
    if not name or not address:
        sys.exit("make_package: nobody to name as maintainer: set DEBFULLNAME and DEBEMAIL")
    return f"{name} <{address}>"


def date(environment):
    """In seconds since 1970."""
    seconds = environment.get("SOURCE_DATE_EPOCH") or of_last_commit("%ct")
    if not seconds:
        sys.exit("make_package: there is no commit to take the date of: set SOURCE_DATE_EPOCH")
    return int(seconds)


def changelog(number, who, seconds):
    when = email.utils.format_datetime(email.utils.datetime.datetime.fromtimestamp(seconds, email.utils.datetime.timezone.utc))
    return f"tvq ({number}) unstable; urgency=medium\n\n  * What changed stands in CHANGELOG.md.\n\n -- {who}  {when}\n"


def write_debian(source, number, environment):
    """The folder debian of a source package."""
    debian = source / "debian"
    shutil.copytree(PACKAGING / "debian", debian)
    who, seconds = maintainer(environment), date(environment)
    control = (debian / "control").read_text(encoding="utf-8").replace("@MAINTAINER@", who)
    (debian / "control").write_text(control, encoding="utf-8")
    (debian / "changelog").write_text(changelog(number, who, seconds), encoding="utf-8")
    return seconds


def main(arguments):
    parser = argparse.ArgumentParser(description=__doc__.splitlines()[0])
    parser.add_argument("--build", type=pathlib.Path, required=True, help="the tree with the program, optimised")
    parser.add_argument("--out", type=pathlib.Path, required=True, help="the folder that the package goes to")
    parser.add_argument("--version", default=version(), help="of the package, for tests of an upgrade")
    options = parser.parse_args(arguments)
    options.out.mkdir(parents=True, exist_ok=True)
    with tempfile.TemporaryDirectory(prefix="tvq-package-") as folder:
        source = pathlib.Path(folder, "tvq")
        seconds = write_debian(source, options.version, os.environ)
        environment = os.environ | {
            "DEB_RULES_REQUIRES_ROOT": "no",
            "LC_ALL": "C.UTF-8",
            "SOURCE_DATE_EPOCH": str(seconds),
            "TVQ_BUILD": str(options.build.resolve()),
            "TVQ_PACKAGING": str(PACKAGING),
        }
        done = subprocess.run(["debian/rules", "binary"], cwd=source, env=environment, stdin=subprocess.DEVNULL,
                              stdout=sys.stderr, check=False)
        if done.returncode != 0:
            sys.exit(f"make_package: debian/rules ended with {done.returncode}")
        for package in pathlib.Path(folder).glob("*.deb"):
            print(shutil.move(package, options.out / package.name))
    return 0


if __name__ == "__main__":
    sys.exit(main(sys.argv[1:]))

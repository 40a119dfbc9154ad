"""The Debian package: the same bytes of the same sources, nothing that lintian objects to, and in a fresh Debian system it is
installed, upgraded over an older version with what an administrator changed, and purged without a trace.

usage: package_test.py BUILD-TREE FOLDER

SPDX-License-Identifier: BSD-2-Clause-Patent
"""

import os
import pathlib
import re
import shutil
import subprocess
import sys

from debian_root import SKIPPED, Root, require, run

ROOT = pathlib.Path(__file__).resolve().parent.parent.parent
OLDER = "0.0.1"
LIBRARIES = ("libc6", "libsodium23", "libstdc++6")
UNITS = ("tvq-verify.service", "tvq-verify.timer", "tvq-changed.service", "tvq-accept@.service", "tvq-save.service")
SANDBOXED = ("tvq-verify.service", "tvq-accept@DIMM.Socket.A1.service", "tvq-save.service")
# Ten times what `systemd-analyze security` calls the exposure.
MOST_EXPOSED = 20
WANTED = (
    "/usr/bin/tvq",
    "/usr/share/man/man1/tvq.1.gz",
    "/usr/share/bash-completion/completions/tvq",
    "/usr/share/zsh/vendor-completions/_tvq",
    "/usr/share/fish/vendor_completions.d/tvq.fish",
    "/usr/share/doc/tvq/service.md",
    "/usr/share/doc/tvq/examples/tvq-alerts.yml",
    "/usr/share/doc/tvq/SECURITY.md",
    "/usr/share/doc/tvq/copyright",
    "/usr/share/tvqsmbios/schema/tvq-verify.schema.json",
    "/usr/lib/sysusers.d/tvq.conf",
    "/usr/lib/tmpfiles.d/tvq.conf",
    "/usr/lib/systemd/catalog/tvq.catalog",
    "/etc/tvq/tvq.conf",
    "/etc/tvq/changed.d",
    *(f"/lib/systemd/system/{unit}" for unit in UNITS),
)
# What stays of a purged package: the user, and what dpkg and systemd keep of every package.
STAYS = re.compile(r"/etc/(\.pwd\.lock|(passwd|group|shadow|gshadow)-?)|/var/(log|cache|lib/(dpkg|apt|systemd))(/.*)?")


def demand(condition, what):
    if not condition:
        sys.exit(f"expected: {what}")


def make(build, folder, *options, **variables):
    """Makes the package, and returns its path."""
    done = subprocess.run([sys.executable, "-B", ROOT / "tools" / "make_package.py", "--build", build, "--out", folder, *options],
                          env=os.environ | variables, capture_output=True, text=True, check=False)
    demand(done.returncode == 0, f"a package: {done.stderr[-3000:]}")
    return pathlib.Path(done.stdout.strip())


def check_sameness(build, folder, package):
    """Neither the clock's zone nor the user's mask nor the locale nor the age of files is in the package."""
    page = build / "host" / "cli" / "pages" / "tvq.fish"
    age, mask = page.stat(), os.umask(0o077)
    os.utime(page, (1, 1))
    try:
        other = make(build, folder / "again", TZ="Pacific/Auckland", LC_ALL="C", HOME="/nonexistent")
    finally:
        os.umask(mask)
        os.utime(page, ns=(age.st_atime_ns, age.st_mtime_ns))
    demand(other.read_bytes() == package.read_bytes(), f"{other} is the same as {package}")


def check_contents(package):
    listed = run("dpkg-deb", "--contents", package)
    paths = {line.split()[5].removeprefix(".").rstrip("/") for line in listed.splitlines()}
    demand(not set(WANTED) - paths, f"these in the package: {sorted(set(WANTED) - paths)}")
    owners = {line.split()[1] for line in listed.splitlines()}
    demand(owners == {"root/root"}, f"all files are root's: {owners}")
    depends = run("dpkg-deb", "--field", package, "Depends")
    for library in LIBRARIES:
        demand(re.search(rf"(^|, ){re.escape(library)} \(>= ", depends), f"a dependency on {library} with its version: {depends}")


def check_links(root):
    """Every page in the package has links that lead to a file in it."""
    docs = root.path("/usr/share/doc/tvq")
    pages = sorted(docs.glob("**/*.md"))
    links = [(page, target) for page in pages
             for target in re.findall(r"\]\(([^)#\s]+)", page.read_text(encoding="utf-8")) if not re.match(r"[a-z]+:", target)]
    dead = [f"{page.relative_to(docs)}: {target}" for page, target in links if not (page.parent / target).exists()]
    demand(len(pages) > 5 and len(links) > 20, f"pages with links: {len(pages)} with {len(links)}")
    demand(not dead, f"no link that leads nowhere: {dead}")


def check_lintian(package):
    said = run("lintian", "--allow-root", "--tag-display-limit=0", "--fail-on=error,warning", package, status=(0, 2))
    objections = [line for line in said.splitlines() if line.startswith(("E:", "W:"))]
    demand(not objections, "nothing that lintian objects to:\n" + "\n".join(objections))


def check_units(root):
    """The units are sound, and nobody but who may gets what they have."""
    said = root.run("systemd-analyze", "verify", "--man=no", *(f"/lib/systemd/system/{unit.replace('@', '@x')}" for unit in UNITS))
    complaints = [line for line in said.splitlines() if "tvq" in line]
    demand(not complaints, "nothing that systemd objects to:\n" + "\n".join(complaints))
    for unit in SANDBOXED:
        said = root.run("systemd-analyze", "security", "--offline=true", f"--threshold={MOST_EXPOSED}", "--no-pager", unit)
        level = re.search(r"Overall exposure level for \S+: ([\d.]+)", said)
        demand(level and float(level[1]) * 10 <= MOST_EXPOSED, f"an exposure of {unit} of at most {MOST_EXPOSED / 10}: {said[-300:]}")
        print(f"{unit}: exposure {level[1]}")


def check_life(root, older, package):
    before = root.files()
    root.install(older)
    demand(root.run("dpkg-query", "-W", "-f", "${Status} ${Version}", "tvq") == f"install ok installed {OLDER}", "the older version")
    config = root.path("/etc/tvq/tvq.conf")
    changed = config.read_text(encoding="utf-8").replace("\nTVQ_OPTIONS=", "\nTVQ_OPTIONS=--other-machine")
    config.write_text(changed, encoding="utf-8")
    root.path("/var/lib/tvq").mkdir(exist_ok=True)
    root.path("/var/lib/tvq/state-1.bin").write_bytes(b"a state")
    metrics = root.path("/var/lib/prometheus/node-exporter/tvq.prom")
    metrics.parent.mkdir(parents=True)
    metrics.symlink_to("/var/lib/tvq/tvq.prom")
    root.install(package)
    version = root.run("tvq", "--version").split()[1]
    demand(root.run("dpkg-query", "-W", "-f", "${Status} ${Version}", "tvq") == f"install ok installed {version}", "the newer version")
    demand(config.read_text(encoding="utf-8") == changed, "the administrator's options survive the upgrade")
    demand(root.path("/var/lib/tvq/state-1.bin").exists(), "the state survives the upgrade")
    demand("tvq" in root.run("getent", "passwd", "tvq"), "a user tvq")
    for unit, target in (("tvq-verify.service", "multi-user.target"), ("tvq-verify.timer", "timers.target")):
        demand(root.path(f"/etc/systemd/system/{target}.wants/{unit}").is_symlink(), f"{unit} is enabled")
    check_units(root)
    check_links(root)
    root.run("dpkg", "--remove", "tvq")
    demand(config.exists() and root.path("/var/lib/tvq/state-1.bin").exists(), "options and states survive a removal")
    root.run("dpkg", "--purge", "tvq")
    demand(not metrics.is_symlink(), "no link that leads nowhere, which the node exporter would report")
    shutil.rmtree(metrics.parent.parent)
    left = sorted(path for path in root.files() - before if not STAYS.fullmatch(path))
    lost = sorted(path for path in before - root.files() if not STAYS.fullmatch(path))
    demand(not left and not lost, f"after the purge all is as it was; left: {left}, lost: {lost}")


def main(arguments):
    build, folder = (pathlib.Path(argument) for argument in arguments)
    if not (build / "host" / "cli" / "tvq").exists():
        print(f"SKIPPED: {build} has no program")
        sys.exit(SKIPPED)
    require("mmdebstrap", "systemd-nspawn", "lintian", "dh")
    package, older = make(build, folder / "new"), make(build, folder / "old", "--version", OLDER)
    check_sameness(build, folder, package)
    check_contents(package)
    check_lintian(package)
    check_life(Root(folder / "root"), older, package)
    print(f"{package.name}: {package.stat().st_size} bytes, installed, upgraded and purged")


if __name__ == "__main__":
    main(sys.argv[1:])

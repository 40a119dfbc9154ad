"""A Debian system in a folder, and what runs in it.

SPDX-License-Identifier: BSD-2-Clause-Patent
"""

import fcntl
import hashlib
import os
import pathlib
import re
import shutil
import subprocess
import sys

SKIPPED = 77
SUITE = "bookworm"
# What the package is installed into: nothing that is not needed for that.
PACKAGES = ("libsodium23", "systemd", "systemd-sysv")
# dpkg would start services, and does not where this says so.
POLICY = "#!/bin/sh\nexit 101\n"


def skip(reason):
    print(f"SKIPPED: {reason}")
    sys.exit(SKIPPED)


def require(*programs):
    """Ends the test as skipped where it cannot run."""
    if os.geteuid() != 0:
        skip("a Debian system in a folder is made by root alone")
    for program in programs:
        if shutil.which(program) is None:
            skip(f"there is no {program}")
    if subprocess.run(["unshare", "--mount", "true"], capture_output=True, check=False).returncode != 0:
        skip("nothing may be mounted here")


def run(*command, status=(0,), text_input="", **options):
    """What the command prints; it has to end with one of these statuses."""
    done = subprocess.run([str(word) for word in command], input=text_input, stdout=subprocess.PIPE, stderr=subprocess.STDOUT,
                          text=True, errors="replace", check=False, **options)
    if done.returncode not in status:
        sys.exit(f"{' '.join(str(word) for word in command)} ended with {done.returncode}:\n{done.stdout[-4000:]}")
    return done.stdout


def mirror():
    """Where this machine's own packages come from."""
    listed = run("apt-get", "indextargets", "--format", "$(REPO_URI)", "Created-By: Packages", f"Codename: {SUITE}", "Component: main")
    if not listed.split():
        skip(f"apt knows no archive of {SUITE}")
    return listed.split()[0]


def archive_of(packages, folder):
    """A fresh Debian system with these packages, as an archive in the folder: made once, whoever asks for it at the same time."""
    name = hashlib.sha256(f"{SUITE} {' '.join(packages)}".encode()).hexdigest()[:16]
    archive = folder / f"debian-{name}.tar"
    folder.mkdir(parents=True, exist_ok=True)
    with open(archive.with_suffix(".lock"), "wb") as lock:
        fcntl.flock(lock, fcntl.LOCK_EX)
        if not archive.exists():
            made = archive.with_suffix(".new.tar")
            run("mmdebstrap", "--quiet", "--mode=root", "--variant=minbase", f"--include={','.join(packages)}", SUITE, made, mirror())
            made.rename(archive)
    return archive


class Root:
    """A fresh Debian system in a folder."""

    def __init__(self, folder, packages=PACKAGES):
        self.folder = pathlib.Path(folder)
        if self.folder.exists():
            shutil.rmtree(self.folder)
        self.folder.mkdir(parents=True)
        archive = archive_of(packages, self.folder.parent.parent)
        # Devices are made by whoever starts something in there.
        run("tar", "-C", self.folder, "--exclude=./dev/*", "--numeric-owner", "-xf", archive)
        self.path("/usr/sbin/policy-rc.d").write_text(POLICY, encoding="utf-8")
        self.path("/usr/sbin/policy-rc.d").chmod(0o755)

    def path(self, path):
        return self.folder / str(path).lstrip("/")

    def run(self, *command, status=(0,)):
        """In there, with /proc and /dev, and without a network."""
        environment = {"PATH": "/usr/sbin:/usr/bin:/sbin:/bin", "LC_ALL": "C.UTF-8", "DEBIAN_FRONTEND": "noninteractive"}
        said = run("systemd-nspawn", "--quiet", "--register=no", "--keep-unit", "--private-network", "--as-pid2", "--pipe",
                   "-D", self.folder, "--", *command, status=status, env=environment)
        # What systemd-nspawn says of itself where it is not run by systemd.
        return re.sub(r"Attempted to remove disk file system .*\n?", "", said)

    def install(self, package):
        """A package that lies outside; what it depends on is there."""
        inside = self.path("package.deb")
        shutil.copy(package, inside)
        said = self.run("dpkg", "--install", "/package.deb")
        inside.unlink()
        return said

    def files(self):
        """Every path but those of the kernel and of programs that run."""
        listed = run("find", self.folder, "-xdev", "(", "-path", self.folder / "proc", "-o", "-path", self.folder / "dev", "-o",
                     "-path", self.folder / "run", "-o", "-path", self.folder / "tmp", ")", "-prune", "-o", "-printf", "%P\n")
        return {f"/{line}" for line in listed.splitlines()}

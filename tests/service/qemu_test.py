"""The service on a machine of its own: Debian with its kernel in QEMU, whose firmware publishes another module's serial number on
the second boot.

usage: qemu_test.py BUILD-TREE FOLDER

SPDX-License-Identifier: BSD-2-Clause-Patent
"""

import json
import pathlib
import shutil
import subprocess
import sys

from boot_test import FUNCTIONS, STEPS
from debian_root import PACKAGES, Root, require, run
from package_test import demand, make

KERNEL = ("linux-image-cloud-amd64", "initramfs-tools")
DISK = "1500M"
# A boot takes about a minute: no processor runs these instructions itself.
TIMEOUT = 600
AT_BOOT = """
step boot
systemd-detect-virt >/srv/out/boot/virtualization || true
setpriv --reuid tvq --regid tvq --clear-groups cat /sys/firmware/dmi/tables/DMI >/srv/out/boot/table 2>&1
"""


class Machine:
    """A disk with Debian and the package."""

    def __init__(self, folder, package):
        self.folder = folder
        root = Root(folder / "root", (*PACKAGES, *KERNEL))
        root.install(package)
        units = root.path("/etc/systemd/system")
        (units / "tvq-steps.service").write_text(STEPS, encoding="utf-8")
        (units / "multi-user.target.wants" / "tvq-steps.service").symlink_to("../tvq-steps.service")
        root.path("/srv/steps.sh").write_text(FUNCTIONS + AT_BOOT, encoding="utf-8")
        root.path("/etc/fstab").write_text("/dev/vda / ext4 defaults 0 1\n", encoding="utf-8")
        (self.kernel,) = root.path("/boot").glob("vmlinuz-*")
        (self.initrd,) = root.path("/boot").glob("initrd.img-*")
        for name in ("kernel", "initrd"):
            setattr(self, name, shutil.copy(getattr(self, name), folder / name))
        self.disk = folder / "disk.img"
        self.disk.unlink(missing_ok=True)
        run("mke2fs", "-q", "-t", "ext4", "-d", root.folder, self.disk, DISK)
        shutil.rmtree(root.folder)

    def boot(self, serial):
        """What the boot left, with this number in the module."""
        command = ["qemu-system-x86_64", "-m", "768", "-display", "none", "-no-reboot", "-net", "none", "-kernel", self.kernel,
                   "-initrd", self.initrd, "-append", "root=/dev/vda rw console=ttyS0 panic=-1",
                   "-drive", f"file={self.disk},if=virtio,format=raw", "-serial", f"file:{self.folder / 'console.txt'}",
                   "-smbios", "type=1,serial=MACHINE-1", "-smbios", f"type=17,loc_pfx=DIMM,manufacturer=Maker,part=PART-1,serial={serial}"]
        subprocess.run([str(word) for word in command], stdin=subprocess.DEVNULL, timeout=TIMEOUT, check=True)
        out = self.folder / f"out-{serial}"
        shutil.rmtree(out, ignore_errors=True)
        out.mkdir()
        run("debugfs", "-R", f"rdump /srv/out/boot {out}", self.disk)
        demand((out / "boot" / "journal").exists(), f"a boot that gets to its end; {self.folder / 'console.txt'} tells more")
        return out / "boot"


def main(arguments):
    build, folder = (pathlib.Path(argument).resolve() for argument in arguments)
    require("mmdebstrap", "systemd-nspawn", "dh", "qemu-system-x86_64", "mke2fs", "debugfs")
    folder.mkdir(parents=True, exist_ok=True)
    machine = Machine(folder, make(build, folder))

    out = machine.boot("11112222")
    entries = [json.loads(line) for line in (out / "journal").read_text(encoding="utf-8").splitlines()]
    demand([entry["MESSAGE"].split(":")[0] for entry in entries] == ["The first state of this machine is saved in /var/lib/tvq/state-1.bin",
                                                                     "Nothing is to be looked at"], f"the first state: {entries}")
    demand("Permission denied" in (out / "table").read_text(encoding="utf-8"), "a table that is root's alone")
    demand("ConditionResult=yes" in (out / "units").read_text(encoding="utf-8"), "a table of the kernel's")

    out = machine.boot("33334444")
    entries = [json.loads(line) for line in (out / "journal").read_text(encoding="utf-8").splitlines()]
    found = [(entry["TVQ_VERDICT"], entry["TVQ_LABEL"], entry["TVQ_BEFORE"], entry["TVQ_AFTER"]) for entry in entries if "TVQ_VERDICT" in entry]
    demand(found == [("replaced", "DIMM 0", "11112222", "33334444")], f"the module that was replaced, and nothing else: {entries}")
    machine.disk.unlink()
    print("two boots on Debian's kernel: the replaced module was found")


if __name__ == "__main__":
    main(sys.argv[1:])

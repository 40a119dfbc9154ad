"""The service under a real systemd, in a container with a table of its own: the first boot saves the state, a quiet one writes
one line, a replaced module is found, told and handed on, accepted, and silent again. Without a table it is skipped, with a
damaged state it fails and says why, a device is accepted whatever its name is, and what runs in its sandbox reaches nothing else.

usage: boot_test.py BUILD-TREE FOLDER

SPDX-License-Identifier: BSD-2-Clause-Patent
"""

import json
import pathlib
import re
import shutil
import subprocess
import sys

from debian_root import Root, require, run
from package_test import demand, make

ROOT = pathlib.Path(__file__).resolve().parent.parent.parent
SAMPLE = ROOT / "samples" / "two-socket.smbios"
KEY = "a site's key"
STACKS = ROOT / "samples" / "hbm-mixed.smbios"
# What the board prints at a stack of memory, which has no other name.
STACK = "CPU0 HBM-0/a"
STACK_UNIT = "tvq-accept@CPU0\\x20HBM-0\\x2fa.service"
PAGE = ROOT / "docs" / "service.md"
# A boot takes about 5 s, on a busy machine a multiple.
TIMEOUT = 240
UNITS = ("tvq-verify.service", "tvq-accept@.service", "tvq-save.service", "tvq-probe.service")
DROP_IN = """[Unit]
ConditionVirtualization=
ConditionPathExists=/srv/table/DMI
[Service]
LoadCredential=
LoadCredential=DMI:/srv/table/DMI
LoadCredential=smbios_entry_point:/srv/table/smbios_entry_point
"""
STEPS = """[Unit]
After=tvq-verify.service
[Service]
Type=oneshot
ExecStart=/bin/sh /srv/steps.sh
ExecStopPost=/bin/systemctl poweroff --no-block
[Install]
WantedBy=multi-user.target
"""
HOOK = """#!/bin/sh
echo "$0 $(id -un)" >>/srv/out/hooks
exec cat >>/srv/out/findings
"""
# step NAME: once nothing of ours is waited for any more, what systemd and the journal say since the last step.
FUNCTIONS = """
step() {
  while systemctl list-jobs --no-legend | grep -v tvq-steps | grep -q tvq; do sleep 0.1; done
  journalctl --sync
  mkdir -p /srv/out/$1
  journalctl -t tvq -o json --cursor-file=/srv/cursor >/srv/out/$1/journal
  systemctl show tvq-verify.service tvq-changed.service -p Id,Result,ActiveState,ExecMainStatus,ConditionResult >/srv/out/$1/units
  cp /run/tvq/findings.json /var/lib/tvq/rows.ndjson /var/lib/tvq/tvq.prom /srv/out/$1/ || true
  stat -c '%n %U:%G %a' /run/tvq /run/tvq/* /var/lib/tvq /var/lib/tvq/* >/srv/out/$1/files
  mv /srv/out/hooks /srv/out/findings /srv/out/$1/ || true
}
"""
FIRST_BOOT = """
step first
systemctl start tvq-verify
step quiet
"""
SECOND_BOOT = """
step replaced
journalctl TVQ_VERDICT=replaced -o cat >/srv/out/replaced/found
journalctl -x -t tvq >/srv/out/replaced/explained
tvq verify --sysfs /srv/table /var/lib/tvq >/srv/out/replaced/as-root 2>&1
{page}
step accepted
systemctl start tvq-probe
step probed
mv /srv/table /srv/no-table
systemctl start tvq-verify
step skipped
mv /srv/no-table /srv/table
sed -i 's/^TVQ_OPTIONS=/&--redact/' /etc/tvq/tvq.conf
(umask 077; echo "{key}" >/etc/tvq/redact.key)
sed -n 's/^# *\\[Service\\]/[Service]/p; s/^# *\\(LoadCredential\\|Environment\\)=/\\1=/p' /etc/tvq/tvq.conf >/etc/systemd/system/tvq-verify.service.d/override.conf
systemctl daemon-reload
rm /var/lib/tvq/state-*.bin
systemctl start tvq-verify
step redacted
rm /etc/systemd/system/tvq-verify.service.d/override.conf
systemctl daemon-reload
sed -i 's/--redact//' /etc/tvq/tvq.conf
rm /var/lib/tvq/state-*
mv /srv/table /srv/two-socket
mv /srv/stacks /srv/table
systemctl start tvq-verify
rm -r /srv/table
mv /srv/other-stack /srv/table
systemctl start tvq-verify
step stack
journalctl -x -t tvq >/srv/out/stack/explained
systemctl start "$(journalctl -F TVQ_UNIT | grep HBM)"
step stack-accepted
truncate -s 0 /var/lib/tvq/state-2.bin
systemctl start tvq-verify
step cut-off
rm /var/lib/tvq/state-*
echo damaged >/var/lib/tvq/state-1.bin
systemctl start tvq-verify
step failed
"""
# What a program in the sandbox can do: a line for each that it can.
PROBE = """[Unit]
Description=What can be done in the sandbox
[Service]
Type=oneshot
ExecStart=/bin/sh /srv/probe.sh
StandardOutput=truncate:/srv/out/probe
"""
PROBE_SCRIPT = """
can() { name="$1"; shift; if "$@" >/dev/null 2>&1; then echo "$name"; fi; }
can "write its own state" touch /var/lib/tvq/probe
can "read its table" cat $CREDENTIALS_DIRECTORY/DMI
can "read the folder of root" ls /run/tvq
can "plant a file for root" touch /run/tvq/probe
can "write elsewhere" touch /etc/probe
can "write elsewhere in /var/lib" touch /var/lib/probe
can "write where everybody may" touch /srv/open/probe
can "open a socket of the network" perl -e 'use Socket; socket(my $s, PF_INET, SOCK_DGRAM, 0) or exit 1'
can "read passwords" cat /etc/shadow
can "see other programs" test -d /proc/1
can "mount" mount -t tmpfs none /mnt
can "have a capability" sh -c '! grep -q "CapEff:.0000000000000000" /proc/self/status'
rm -f /var/lib/tvq/probe
"""
ALLOWED = ["write its own state", "read its table"]


def commands_of_the_page():
    """What docs/service.md says to type on a server, but for the installation."""
    blocks = re.findall(r"(?ms)^```\n(.*?)^```", PAGE.read_text(encoding="utf-8"))
    lines = [line.partition("#")[0].strip().removeprefix("sudo ") for block in blocks for line in block.splitlines()]
    return [line for line in lines if line.startswith(("journalctl ", "systemctl "))]


def put_table(tvq, source, folder):
    """The two files of /sys/firmware/dmi/tables, of a table's source."""
    folder.mkdir(parents=True, exist_ok=True)
    dump = folder / "dump"
    run(tvq, "mktable", "--quiet", "-", "-o", dump, text_input=source)
    data = dump.read_bytes()
    # The dump has the entry point in its first 32 bytes, by whose second field its own length is known.
    length = data[6] if data.startswith(b"_SM3_") else data[5]
    (folder / "smbios_entry_point").write_bytes(data[:length])
    (folder / "DMI").write_bytes(data[32:])
    dump.unlink()


class Machine:
    """A container that has the package, and the table of a folder."""

    def __init__(self, folder, package):
        self.root = Root(folder)
        self.root.install(package)
        units = self.root.path("/etc/systemd/system")
        for unit in UNITS:
            drop_ins = units / f"{unit}.d"
            drop_ins.mkdir()
            (drop_ins / "20-table.conf").write_text(DROP_IN, encoding="utf-8")
        (units / "tvq-probe.service.d" / "10-shared.conf").symlink_to("/lib/systemd/system/tvq-verify.service.d/10-shared.conf")
        (units / "tvq-probe.service").write_text(PROBE, encoding="utf-8")
        (units / "tvq-steps.service").write_text(STEPS, encoding="utf-8")
        (units / "multi-user.target.wants" / "tvq-steps.service").symlink_to("../tvq-steps.service")
        self.root.path("/srv/probe.sh").write_text(PROBE_SCRIPT, encoding="utf-8")
        for name in ("10-first", "20-second"):
            hook = self.root.path(f"/etc/tvq/changed.d/{name}")
            hook.write_text(HOOK, encoding="utf-8")
            hook.chmod(0o755)
        self.out = self.root.path("/srv/out")
        self.root.path("/srv/open").mkdir()
        self.root.path("/srv/open").chmod(0o777)

    def boot(self, steps):
        self.root.path("/srv/steps.sh").write_text(FUNCTIONS + steps, encoding="utf-8")
        command = ["systemd-nspawn", "--quiet", "--boot", "--register=no", "--keep-unit", "--private-network", "--console=pipe",
                   "-D", self.root.folder]
        with open(self.root.folder.parent / "console.txt", "ab") as console:
            done = subprocess.run([str(word) for word in command], stdin=subprocess.DEVNULL, stdout=console, stderr=console,
                                  timeout=TIMEOUT, check=False)
        demand(done.returncode == 0, f"a boot that ends by itself, not with {done.returncode}; {console.name} tells more")

    def text(self, step, name):
        file = self.out / step / name
        return file.read_text(encoding="utf-8") if file.exists() else ""

    def journal(self, step):
        return [json.loads(line) for line in self.text(step, "journal").splitlines()]

    def unit(self, step, name):
        for block in self.text(step, "units").split("\n\n"):
            values = dict(line.split("=", 1) for line in block.splitlines())
            if values.get("Id") == name:
                return values
        return {}


def check_first_boot(machine):
    first = machine.journal("first")
    demand([entry["MESSAGE"] for entry in first] == ["The first state of this machine is saved in /var/lib/tvq/state-1.bin",
                                                     "Nothing is to be looked at: 15 same"], f"the first state: {first}")
    demand(all(entry["_SYSTEMD_UNIT"] == "tvq-verify.service" for entry in first), "entries of the unit itself")
    files = machine.text("first", "files").splitlines()
    for line in ("/var/lib/tvq tvq:tvq 755", "/var/lib/tvq/state-1.bin tvq:tvq 600", "/var/lib/tvq/rows.ndjson tvq:tvq 640",
                 "/var/lib/tvq/tvq.prom tvq:tvq 644", "/run/tvq root:root 700"):
        demand(line in files, f"{line}: {files}")
    quiet = machine.journal("quiet")
    demand(len(quiet) == 1 and quiet[0]["PRIORITY"] == "6", f"a quiet run writes one line: {quiet}")
    demand(machine.unit("quiet", "tvq-verify.service")["Result"] == "success", "a quiet run succeeds")
    demand(not machine.text("quiet", "hooks"), "nobody is called for a quiet run")


def check_replaced(machine):
    entries = machine.journal("replaced")
    finding = next((entry for entry in entries if entry.get("TVQ_FQDD") == "DIMM.Socket.A3"), {})
    wanted = {"TVQ_VERDICT": "replaced", "TVQ_LABEL": "DIMM_A3", "TVQ_KIND": "memory module", "TVQ_BEFORE": "7A2C0003",
              "TVQ_AFTER": "7A2C9999", "PRIORITY": "4"}
    demand(wanted.items() <= finding.items(), f"an entry of the module that was replaced: {entries}")
    demand(len(entries) == 2, f"one entry for one finding, and one that sums up: {entries}")
    found = machine.text("replaced", "found").splitlines()
    demand(found == [finding["MESSAGE"]], f"journalctl TVQ_VERDICT=replaced finds it: {found}")
    demand("systemctl start 'tvq-accept@DIMM.Socket.A3.service'" in machine.text("replaced", "explained"), "journalctl -x says what to do")
    unit = machine.unit("replaced", "tvq-verify.service")
    demand((unit["Result"], unit["ExecMainStatus"]) == ("success", "1"), f"findings are no failure of the unit: {unit}")
    hooks = machine.text("replaced", "hooks").splitlines()
    demand(hooks == ["/etc/tvq/changed.d/10-first root", "/etc/tvq/changed.d/20-second root"], f"each is called once, in order: {hooks}")
    findings = machine.text("replaced", "findings.json")
    demand(machine.text("replaced", "findings") == findings * 2, "each has the findings on its standard input")
    devices = {one["fqdd"]: one["verdict"] for one in json.loads(findings)["findings"]}
    demand(devices["DIMM.Socket.A3"] == "replaced", f"the findings name it: {devices}")
    demand('tvq_devices{verdict="replaced"} 1\n' in machine.text("replaced", "tvq.prom"), "the metrics count it")
    rows = [json.loads(line) for line in machine.text("replaced", "rows.ndjson").splitlines()]
    demand([(row["fqdd"], row["serial"]) for row in rows if row["verdict"] == "replaced"] == [("DIMM.Socket.A3", "7A2C9999")],
           f"the rows name it: {rows}")


def check_page(machine, found):
    """What docs/service.md shows is what is said, and what it says to type works."""
    page = PAGE.read_text(encoding="utf-8")
    for message in found:
        demand(f"\n{message}\n" in page, f"a page that shows '{message}'")
    refused = machine.text("replaced", "as-root")
    demand("others may write there" in refused and "`systemctl start tvq-verify`" in refused,
           f"that root reads no state of the service, and hears of its units: {refused}")
    failed = machine.text(".", "failed-commands")
    demand(not failed, f"that all commands of the page work: {failed}")
    typed = machine.text(".", "page")
    demand(found[-2] in typed and "To do: " in typed, "that they show what was found")


def check_others(machine, tvq):
    accepted = machine.journal("accepted")
    demand(accepted[-1]["MESSAGE"] == "Nothing is to be looked at: 15 same", f"what was accepted is silent: {accepted}")
    demand(not machine.text("accepted", "hooks"), "and nobody is called")
    probed = machine.text(".", "probe").splitlines()
    demand(probed == ALLOWED, f"all that can be done in the sandbox is {ALLOWED}: {probed}")
    unit = machine.unit("skipped", "tvq-verify.service")
    demand(unit["ConditionResult"] == "no" and unit["ActiveState"] == "inactive", f"without a table it is skipped: {unit}")
    demand(not machine.journal("skipped"), "and says nothing")
    redacted = [json.loads(line) for line in machine.text("redacted", "rows.ndjson").splitlines()]
    by_hand = run(tvq, "export", "--quiet", "--rows", "--redact", "--redact-key", KEY, "--sysfs", machine.root.path("/srv/two-socket"))
    wanted = [json.loads(line)["serial"] for line in by_hand.splitlines()]
    demand([row["serial"] for row in redacted] == wanted and len(wanted) == 15, f"masks of the key in the file, {wanted}: {redacted}")
    demand(machine.journal("redacted")[-1]["MESSAGE"] == "Nothing is to be looked at: 15 same", "and a first state to compare with")
    unit = machine.unit("failed", "tvq-verify.service")
    demand(unit["ActiveState"] == "failed" and unit["ExecMainStatus"] == "2", f"what cannot be compared is a failure: {unit}")
    demand(not machine.text("failed", "hooks"), "of which nobody is told findings")
    why = {"PRIORITY": "3", "TVQ_EXIT_STATUS": "2", "MESSAGE_ID": "c2b80d83223e451da745daea5a356ef0"}
    said = [entry for entry in machine.journal("failed") if why.items() <= entry.items()]
    demand(len(said) == 1 and said[0]["TVQ_REASON"] == "no state in /var/lib/tvq is whole", f"and one entry says why: {machine.journal('failed')}")
    demand("tvq_verify_success 0\n" in machine.text("failed", "tvq.prom"), "and the metrics say so")


def check_stack(machine):
    """A device whose name no unit can have is accepted by the unit that the journal names, and the metrics follow by themselves."""
    found = [entry for entry in machine.journal("stack") if "TVQ_VERDICT" in entry]
    demand([(entry["TVQ_LABEL"], entry["TVQ_UNIT"]) for entry in found] == [(STACK, STACK_UNIT)], f"the stack that was replaced: {found}")
    demand(f"systemctl start '{STACK_UNIT}'" in machine.text("stack", "explained"), "journalctl -x names the unit")
    accepted = machine.journal("stack-accepted")
    demand(accepted[-1]["MESSAGE"] == "Nothing is to be looked at: 13 same", f"a run after the stack was accepted: {accepted}")
    demand('tvq_devices{verdict="replaced"} 0\n' in machine.text("stack-accepted", "tvq.prom"), "and its metrics")
    passed_over = [entry["MESSAGE"] for entry in machine.journal("cut-off") if entry["PRIORITY"] == "4" and "TVQ_VERDICT" not in entry]
    demand(passed_over == ["/var/lib/tvq/state-2.bin was cut off while it was saved; the one before it counts"],
           f"a word about the state that was passed over: {machine.journal('cut-off')}")


def main(arguments):
    build, folder = (pathlib.Path(argument).resolve() for argument in arguments)
    require("mmdebstrap", "systemd-nspawn", "dh")
    tvq = build / "host" / "cli" / "tvq"
    machine = Machine(folder / "root", make(build, folder))
    source = SAMPLE.read_text(encoding="utf-8")
    table = machine.root.path("/srv/table")
    put_table(tvq, source, table)
    machine.boot(FIRST_BOOT)
    check_first_boot(machine)
    put_table(tvq, source.replace('"7A2C0003"', '"7A2C9999"'), table)
    stacks = STACKS.read_text(encoding="utf-8").replace('"CPU0_HBMIO0"', f'"{STACK}"')
    put_table(tvq, stacks, machine.root.path("/srv/stacks"))
    put_table(tvq, stacks.replace('"8C010000"', '"99998888"'), machine.root.path("/srv/other-stack"))
    typed = commands_of_the_page()
    demand("systemctl start tvq-accept@DIMM.Socket.A3" in typed and len(typed) > 5, f"a page that says what to type: {typed}")
    machine.boot(SECOND_BOOT.replace("{key}", KEY).replace("{page}", "\n".join(f"{line} >>/srv/out/page 2>&1 || echo 'failed: {line}' >>/srv/out/failed-commands" for line in typed)))
    check_replaced(machine)
    check_page(machine, [entry["MESSAGE"] for step in ("quiet", "replaced") for entry in machine.journal(step)])
    check_others(machine, tvq)
    check_stack(machine)
    shutil.rmtree(machine.root.folder)
    print("two boots: a first state, a quiet run, a replaced module found, told, handed on and accepted")


if __name__ == "__main__":
    main(sys.argv[1:])

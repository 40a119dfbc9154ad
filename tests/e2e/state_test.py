#!/usr/bin/env python3
"""Boots several times and checks what the agent makes of the state that it saved.

Exit status: 0 everything is as expected, 1 it is not.

SPDX-License-Identifier: BSD-2-Clause-Patent
"""

import sys

import virtual_machine
import agent_report
import demo
import state_file

# The sample's serial number names the folder.
FIRST, SECOND = "machine-TVQ2S01/state-1.bin", "machine-TVQ2S01/state-2.bin"


def so_before(finding):
    return any("so it was in the saved state" in line for line in finding.lines)


class Expectations:
    """Checks one boot after another; the first one that is not as expected ends the test with its report."""

    def __init__(self, options):
        self.machine = virtual_machine.VirtualMachine(options)
        self.before, self.after = demo.build_tables(options.build_table, options.out)

    def boot(self, title, table, *words):
        print(f"-- {title}", flush=True)
        self.report = self.machine.boot(table, *words)

    def check(self, condition, what):
        if not condition:
            sys.exit(f"{self.report}\nexpected: {what}")

    def succeeds(self):
        self.check(agent_report.succeeded(self.report), "success")

    def fails(self, reason):
        self.check(agent_report.last_line(self.report).startswith(agent_report.FAILED + reason), f"it fails: {reason}")

    def finds_the_same(self):
        """Nothing to look at, but what was so in the saved state too."""
        findings = [finding for finding in agent_report.findings(self.report) if not so_before(finding)]
        self.check(not findings and agent_report.counts(self.report).get("same"), "every device is the same")

    def finds_every_verdict(self):
        problems = list(demo.problems(self.report))
        self.check(not problems, f"each device has its verdict, but {'; '.join(problems)}")

    def says_of_the_state(self, start):
        self.check(agent_report.state_line(self.report).startswith(start), f"a line 'State: {start}...'")

    def keeps(self, state):
        self.check(self.machine.state() == state, "the files of the saved state are unchanged")


def accepted(options):
    """First boot, an unchanged machine, a changed one that is accepted, and a power cut while that was saved."""
    expect = Expectations(options)
    expect.boot("the first boot saves", expect.before)
    expect.succeeds()
    expect.says_of_the_state("saved")
    original = expect.machine.state()
    expect.check(list(original) == [FIRST], f"the state is in {FIRST}")

    expect.boot("the same machine compares as the same", expect.before)
    expect.succeeds()
    expect.finds_the_same()
    expect.says_of_the_state("left as it was saved")
    expect.keeps(original)

    expect.boot("a changed machine is accepted", expect.after, "accept")
    expect.succeeds()
    expect.finds_every_verdict()
    expect.says_of_the_state("accepted")
    accepted_state = expect.machine.state()
    expect.check(accepted_state.get(FIRST) == original[FIRST], f"{FIRST} is unchanged")
    expect.check(SECOND in accepted_state, f"the new state is in {SECOND}")

    expect.boot("the accepted machine compares as the same", expect.after)
    expect.finds_the_same()
    expect.keeps(accepted_state)

    cut = accepted_state[SECOND][: len(accepted_state[SECOND]) // 2]
    (expect.machine.out / SECOND).write_bytes(cut)
    expect.boot("after a power cut in the middle of saving, the older state counts", expect.before)
    expect.succeeds()
    expect.finds_the_same()
    expect.check("was cut off while it was saved; the one before it counts" in expect.report, "the cut is said")
    expect.keeps({FIRST: original[FIRST], SECOND: cut})


def damaged(options):
    """A state that cannot be read is reported and kept until a new one is accepted."""
    expect = Expectations(options)
    expect.boot("the first boot saves", expect.before)
    state = expect.machine.state()[FIRST]
    garbage = {FIRST: state[:100] + bytes([state[100] ^ 1]) + state[101:]}
    (expect.machine.out / FIRST).write_bytes(garbage[FIRST])
    expect.boot("a damaged state is reported and not overwritten", expect.before)
    expect.fails("the saved state in \\TVQ cannot be read: ")
    expect.check("option accept" in expect.report, "advice to accept")
    expect.keeps(garbage)

    expect.boot("accepting puts a new one in its place", expect.before, "accept")
    expect.succeeds()
    expect.says_of_the_state("accepted")

    expect.boot("and the next boot compares with it", expect.before)
    expect.succeeds()
    expect.finds_the_same()


NESTED = b"<tvqComponent>" + 10_000 * b"<a>" + 10_000 * b"</a>" + b"</tvqComponent>"
LONG_WWN = (
    b"<tvqComponent><Inventory><MarketingName/><WWN>" + 2_000_000 * b"7" + b"</WWN></Inventory>"
    b"<Configuration><dimmData><Speed/><PartNumber/></dimmData></Configuration></tvqComponent>"
)
ENTITIES = b'<!DOCTYPE a [<!ENTITY b "bbbbbbbbbb"><!ENTITY c "&b;&b;&b;">]><tvqComponent>&c;</tvqComponent>'
# What an attacker might store for a device, and what the agent has to say of it: its numbers are the same in both tables.
HOSTILE = {
    "CPU.Socket.1": (NESTED, "changed", "it is laid out otherwise"),
    "CPU.Socket.2": (b"<tvqComponent><Inventory>", "changed", "it is not well-formed"),
    "DIMM.Socket.A1": (LONG_WWN, "replaced", "says the driver"),
    "DIMM.Socket.A2": (ENTITIES, "changed", "it is not well-formed"),
    "DIMM.Socket.A3": (b"<tvqComponent/>", "changed", ""),
}


def hostile(options):
    """Stored documents that are meant to hurt: each gets its finding, and the other devices theirs."""
    expect = Expectations(options)
    expect.boot("the first boot saves", expect.before)
    saved = expect.machine.state()[FIRST]
    documents = {fqdd: document for fqdd, (document, *_) in HOSTILE.items()}
    state = {FIRST: state_file.with_documents(saved, documents)}
    (expect.machine.out / FIRST).write_bytes(state[FIRST])
    expect.boot("hostile documents are compared", expect.before)
    expect.succeeds()
    found = {finding.fqdd: finding for finding in agent_report.findings(expect.report)}
    expect.check(found.keys() == HOSTILE.keys(), f"findings of {', '.join(HOSTILE)} alone")
    for fqdd, (_, verdict, why) in HOSTILE.items():
        expect.check(found[fqdd].verdict == verdict, f"{fqdd}: {verdict}")
        expect.check(any(why in line for line in found[fqdd].lines), f"{fqdd}: {why}")
    expect.keeps(state)


SCENARIOS = {"accepted": accepted, "damaged": damaged, "hostile": hostile}


def main(arguments):
    parser = virtual_machine.argument_parser(__doc__.splitlines()[0])
    parser.add_argument("scenario", choices=sorted(SCENARIOS))
    options = parser.parse_args(arguments)
    SCENARIOS[options.scenario](options)
    return 0


if __name__ == "__main__":
    sys.exit(main(sys.argv[1:]))

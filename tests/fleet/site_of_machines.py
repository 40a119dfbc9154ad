"""A site over some weeks: what every machine reports, and what really happened there.

Much of it only looks as if parts had wandered: machines get another name or another board, report not every day, have placeholders
and batches of one number; modules change their slot, and makers give the same number to parts of two kinds.

SPDX-License-Identifier: BSD-2-Clause-Patent
"""

import collections
import random

from machines import SETTLED, Host

DAY = 86400
FIRST_DAY = 1793491200  # 2026-11-01
NOON = DAY // 2
RECALLED = "TVQM5R64G40"
BATCH_SERIAL = "FACTORY01"
ENCLOSURE = "ENCL0042"
OTHER_ENCLOSURE = "ENCL0043"
# A verdict stays until somebody accepts the device.
ACCEPTED_AFTER = 3


class Site:
    """`swaps` parts go from one machine to another, and one more goes and comes back. All else happens to as many machines as there are for it."""

    def __init__(self, models, hosts, days, swaps, seed=1):
        self.days = days
        self._random = random.Random(seed)
        names = ["even"] * 5 + ["small"] * 2 + ["anonymous", "numberless", "mixed"]
        self.hosts = [Host(models[names[number % len(names)]], number, seed) for number in range(hosts)]
        self._events = collections.defaultdict(list)
        self._first, self._last, self._steady = {}, {}, set()
        # What the queries are to find.
        self.wandered = []
        self.doubles = set()
        self.alike = set()
        self.changed = {}
        self.reports = {}
        self._plan(swaps)

    # --- What happens ---

    def _plan(self, swaps):
        free = list(self.hosts)
        self._random.shuffle(free)

        def take(count, *kinds):
            """Machines that nothing has happened to yet."""
            taken = [host for host in free if not kinds or host.model.name in kinds][:count]
            for host in taken:
                free.remove(host)
            return taken

        some = max(1, len(self.hosts) // 100)
        self._plan_identities(take(some, "even"), take(max(2, some // 2), "even"), take(max(2, some // 2), "small"))
        self._succeed(*take(2, "even"))
        self._plan_alike(take(2, "even"))
        givers, takers = take(swaps, "even", "anonymous", "small"), take(swaps, "even", "anonymous", "small")
        for number, (giver, taker) in enumerate(zip(givers, takers, strict=True)):
            self._steady |= {giver, taker}
            self._at(self._some_day(), self._wander, giver, taker, number)
        self._plan_loan(*take(2, "even"))
        for host in take(2 * some, "even", "small", "anonymous"):
            self._at(self._some_day(), self._move, host)
        for host in take(2 * some, "even", "small", "mixed"):
            self._at(self._some_day(), self._replace, host)
        for host in take(some, "even", "mixed"):
            self._at(self._some_day(), self._take_out, host)
        for number, host in enumerate(take(2 * some, "even", "small", "mixed", "anonymous")):
            self._at(self._some_day(), lambda day, host=host, number=number: host.rename(f"again-{number:04d}"))
        for host in take(some, "even", "small"):
            self._at(self._some_day(), lambda day, host=host: host.replace_board())
        for host in take(some):
            self._last[host] = self._some_day()
        for host in take(some):
            self._first[host] = self._some_day()
        for host in take(some):
            self._set(host, part=RECALLED)

    def _plan_loan(self, giver, taker):
        """A module goes into another machine, and comes back."""
        self._steady |= {giver, taker}
        day = self._random.randrange(2, self.days - 4)
        place, lent = giver.modules()[0], taker.modules()[0]
        there, back = dict(place), dict(lent)
        self._at(day, self._put, giver, place, taker, lent, there, Host.serial("stands in"))
        self._at(day + 2, self._put, taker, lent, giver, place, there, back["serial"])

    def _put(self, day, giver, place, taker, other, part, instead):
        """The part goes from a place of the giver to another one of the taker, and in its own place one of that number."""
        self.wandered.append((part["part"], part["serial"], giver.name, taker.name))
        taker.change(other, "replaced", serial=part["serial"])
        giver.change(place, "replaced", serial=instead)
        self._settle(day, taker, other)
        self._settle(day, giver, place)

    def _plan_identities(self, batch, enclosure, alike):
        """Numbers that several parts have, from the first day on."""
        for host in batch:
            self._set(host, serial=BATCH_SERIAL, part="TVQM5R32G48X")
        if len(batch) > 1:
            self.doubles.add(("memory module", "TVQM5R32G48X", BATCH_SERIAL))
        for host in enclosure:
            host.change(host.devices[0], host.devices[0]["verdict"], serial=ENCLOSURE)
        if len(enclosure) > 1:
            self.doubles.add(("system", enclosure[0].devices[0]["part"], ENCLOSURE))
        for number, host in enumerate(alike):
            self._set(host, serial="7A2C0001", part=f"TVQM5R32G5{number}")

    def _plan_alike(self, hosts):
        """Machines whose maker gave all of them one UUID."""
        for host in hosts:
            host.take_machine_of(hosts[0])
        self._steady.update(hosts)
        self.alike.add(hosts[0].machine)

    def _succeed(self, former, latter):
        """A machine follows another one in an enclosure, whose number both have."""
        self._last[former] = self._some_day()
        self._first[latter] = self._last[former] + 1
        for host in (former, latter):
            host.change(host.devices[0], host.devices[0]["verdict"], serial=OTHER_ENCLOSURE)

    def _set(self, host, **columns):
        module = host.modules()[0]
        host.change(module, module["verdict"], **columns)

    def _at(self, day, event, *arguments):
        self._events[day].append((event, arguments))

    def _some_day(self):
        return self._random.randrange(2, self.days - 2)

    def _settle(self, day, host, device):
        self._at(day + ACCEPTED_AFTER, lambda day: host.change(device, "same"))

    def _wander(self, day, giver, taker, number):
        """A module goes into another machine in place of a broken one, and a new one in its own place."""
        lent, broken = self._random.choice(giver.modules()), self._random.choice(taker.modules())
        part = {name: lent[name] for name in ("maker", "part", "serial", "sizeInBytes", "speed", "ratedSpeed", "firmware")}
        self.wandered.append((part["part"], part["serial"], giver.name, taker.name))
        taker.change(broken, "replaced", **part)
        giver.change(lent, "replaced", serial=Host.serial("spare", number))
        self._settle(day, taker, broken)
        self._settle(day, giver, lent)

    def _move(self, day, host):
        one, other = self._random.sample(host.modules(), 2)
        serials = one["serial"], other["serial"]
        host.change(one, "moved", serial=serials[1])
        host.change(other, "moved", serial=serials[0])
        self._settle(day, host, one)
        self._settle(day, host, other)

    def _replace(self, day, host):
        module = self._random.choice(host.modules())
        host.change(module, "replaced", serial=Host.serial("new", host.name))
        self._settle(day, host, module)

    def _take_out(self, day, host):
        module = self._random.choice(host.modules())
        nothing = {"maker": "", "part": "", "serial": "", "sizeInBytes": 0, "speed": 0, "ratedSpeed": 0, "firmware": ""}
        host.change(module, "gone", **nothing)

    # --- What is reported ---

    def lines(self):
        """The lines of all runs, day by day; afterwards it is known what the queries are to find."""
        minutes = {host: self._random.randrange(24 * 60) for host in self.hosts}
        silent = {host: self._random.randrange(self.days) for host in self.hosts if self._random.random() < 0.02}
        for day in range(self.days):
            now = [host for host in self.hosts if self._reports(host, day, silent)]
            early = [host for host in now if minutes[host] * 60 < NOON]
            yield from self._report(early, day, minutes)
            for event, arguments in self._events.pop(day, []):
                event(day, *arguments)
            yield from self._report([host for host in now if host not in set(early)], day, minutes)

    def _reports(self, host, day, silent):
        if not self._first.get(host, 0) <= day <= self._last.get(host, self.days):
            return False
        if day in (0, self.days - 1) and host in self._steady:
            return True
        is_away = host in silent and silent[host] <= day < silent[host] + 5
        return not is_away and self._random.random() > 0.03

    def _report(self, hosts, day, minutes):
        for host in hosts:
            time = FIRST_DAY + day * DAY + minutes[host] * 60
            self.reports[host.name] = time, [dict(device) for device in host.devices]
            for device in host.devices:
                if device["verdict"] not in SETTLED:
                    self.changed.setdefault((host.name, device["fqdd"], device["label"], device["verdict"]), time)
            yield from host.report(time)

    # --- What the queries are to find ---

    def end(self):
        return max(time for time, _ in self.reports.values())

    def latest(self):
        """(host, its devices) of those that were not silent for a week."""
        for name, (time, devices) in self.reports.items():
            if time > self.end() - 7 * DAY:
                yield name, devices

    def recalled(self):
        return {(name, device["label"], device["fqdd"], device["serial"])
                for name, devices in self.latest() for device in devices if device["part"] == RECALLED}

    def uneven(self):
        """Of machines with mixed or slow memory: (parts, sizes, slow modules)."""
        found = {}
        for name, devices in self.latest():
            modules = [device for device in devices if device["class"] == "memory module"]
            counts = (len({module["part"] for module in modules}), len({module["sizeInBytes"] for module in modules}),
                      sum(0 < module["speed"] < module["ratedSpeed"] for module in modules))
            if counts[0] > 1 or counts[1] > 1 or counts[2] > 0:
                found[name] = counts
        return found

    def changed_last_week(self):
        return {what: time for what, time in self.changed.items() if time > self.end() - 7 * DAY}

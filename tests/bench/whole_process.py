"""What a whole process takes beside another one, from its start to its end.

SPDX-License-Identifier: BSD-2-Clause-Patent
"""

import os
import shutil
import statistics
import subprocess

RUNS = 50


class TimingError(Exception):
    """Something could not be timed."""


def seconds(command):
    """The processor time of one run, which hardly depends on what else the machine does. Its output goes nowhere, and its exit
    status does not matter unless it crashed."""
    with subprocess.Popen(command, stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL) as process:
        _, status, used = os.wait4(process.pid, 0)
        process.returncode = os.waitstatus_to_exitcode(status)
    if process.returncode < 0:
        raise TimingError(f"{command[0]} was ended by signal {-process.returncode}")
    return used.ru_utime + used.ru_stime


def answer(command, most):
    """What a command prints, which may end with a status up to `most`."""
    done = subprocess.run(command, capture_output=True, text=True, check=False)
    if not 0 <= done.returncode <= most:
        raise TimingError(f"{command[0]} ended with status {done.returncode}: {done.stderr[-400:]}")
    return done.stdout


def ratio(command, other, clock=seconds):
    """The median of the command's runs over that of the other's, both run in turn."""
    pairs = [(clock(command), clock(other)) for _ in range(RUNS)]
    mine, others = (statistics.median(times) for times in zip(*pairs))
    return mine / others


def program(name):
    """Where a program of this machine is."""
    path = shutil.which(name) or shutil.which(name, path="/usr/sbin:/sbin")
    if path is None:
        raise TimingError(f"{name} is missing")
    return path

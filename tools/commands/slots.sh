#!/usr/bin/env bash
#? Count how many memory slots of many machines get their names from a rule
#?
#? usage: ./dev slots FILE
#?
#? FILE has a machine in each line, in JSON: {"sockets": [[designation, populated], ...],
#? "slots": [[locator, bank locator, populated], ...]}, in the order of the machine's table. Slots whose texts name none
#? ("NO DIMM") and the firmware's flash do not count. docs/names.md has the rules. Exit status: 0 at least 95 % of the
#? slots are named by a rule, 1 less, 2 wrong usage.
#
# SPDX-License-Identifier: BSD-2-Clause-Patent
source "$ROOT/tools/lib/common.sh"
source "$LIB/setup.sh"
source "$LIB/host.sh"

[[ $# == 1 && -f "$1" ]] || UsageError "slots: name one file; ./dev help slots tells more"
EnsureSetup
Host
tvq="$(find "$BUILD/host" -name tvq -type f -executable -print -quit)"
[[ -n "$tvq" ]] || Fail "the host build made no program named tvq"
exec python3 -B "$TOOLS/count_slots.py" "$tvq" "$1"

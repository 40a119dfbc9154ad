#!/usr/bin/env bash
#? Feed the driver, or `tvq` around it, with mutated input under the sanitizers
#?
#? usage: ./dev fuzz TARGET [--seconds N] [--runs N] [--jobs N] [-v]
#?        ./dev fuzz TARGET --replay FILE...
#?
#?   table     SMBIOS tables: the whole start, every operation of every record, every attribute, the end
#?   verify    what an agent stored, against the records of a started driver
#?   load      files as `tvq` reads them: captured tables, and their source form
#?   state     saved states: reading, comparing with a machine and with another state, accepting
#?
#?   --seconds N      stop after this time (default: 60, unless --runs is given)
#?   --runs N         stop after so many executions
#?   --jobs N         processes at a time (default: 1)
#?   --replay FILE    run these inputs once, with the sanitizers' whole report
#?   -v               show the output of the tools
#?
#? The seeds are in tests/fuzz/seeds; what is found to reach further is kept in build/fuzz/corpus and serves the next run.
#? A finding is an input that breaks a promise, a sanitizer's rule or the time limit of 20 seconds: it lands in
#? build/fuzz/findings, and belongs into tests/fuzz/findings, where `./dev test` replays it. The results are on stdout,
#? progress on stderr. Exit status: 0 no finding, 1 a finding, 2 trouble or wrong usage.
#
# SPDX-License-Identifier: BSD-2-Clause-Patent
source "$ROOT/tools/lib/common.sh"
source "$LIB/setup.sh"
source "$LIB/host.sh"

target="${1:-}"
case "$target" in
  table | verify | load | state) shift ;;
  *) UsageError "fuzz: the targets are table, verify, load and state; ./dev help fuzz tells more" ;;
esac
for argument; do
  [[ "$argument" != -v ]] || VERBOSE=1
done

EnsureSetup
Fuzzer "$target"
exec python3 -B "$TOOLS/fuzz.py" "$target" "$@"

#!/usr/bin/env bash
#? Measure the driver, and show every figure beside its target
#?
#? usage: ./dev bench [--quick] [--json] [--table FILE] [-v]
#?
#?   --quick        only the instructions that the start, Get and Verify take
#?   --json         the figures for programs
#?   --table FILE   measures on this table, a dump of dmidecode, in place of VMWare.bin or, where that is not at hand,
#?                  a generated table of the same make-up
#?   -v             shows the output of the tools while they build
#?
#? Instructions are counted by callgrind in an optimised build of the host without assertions. Measured is the driver's
#? own code with the libraries in its image; what the DXE core, the pool and the platform take stands beside it. Whole
#? processes of `tvq` are timed beside dmidecode and /bin/true, in turn.
#?
#? Exit status: 0 all targets are met, 1 one is missed, 2 something could not be measured.
#
# SPDX-License-Identifier: BSD-2-Clause-Patent
source "$ROOT/tools/lib/common.sh"
source "$LIB/setup.sh"
source "$LIB/firmware.sh"
source "$LIB/host.sh"

captured="$ROOT/../shared/dumps/VMWare.bin"
[[ ! -f "$captured" ]] || table="$captured"
arguments=()
while (($#)); do
  case "$1" in
    --quick | --json) arguments+=("$1") ;;
    --table)
      [[ -f "${2:-}" ]] || UsageError "bench: --table takes a file"
      table="$2"
      shift
      ;;
    -v) VERBOSE=1 ;;
    *) UsageError "bench: unknown argument '$1'; ./dev help bench tells more" ;;
  esac
  shift
done

# What fails before anything is measured is trouble, not a missed target.
trap '(($? == 0)) || exit 2' EXIT
EnsureSetup
Bench
measured="$BUILD/firmware/Build/TvqSmbiosPkg/RELEASE_$(FirstToolchain X64)/X64"
if [[ " ${arguments[*]} " != *" --quick "* ]]; then
  "$ROOT/dev" build firmware --target RELEASE
  StaticHost
fi
exec python3 -B "$ROOT/tests/bench/driver_bench.py" --programs "$BUILD/bench/tests/bench" --firmware "$measured" \
  --tvq "$BUILD/host/host/cli/tvq-static" ${table:+--table "$table"} "${arguments[@]}"

#!/usr/bin/env bash
#? Build everything and run every test: units, tools, and the driver on firmware in QEMU
#?
#? usage: ./dev test [-R REGEX] [--guarded] [-v]
#?
#?   -R REGEX    only the tests whose names match
#?   --guarded   in place of the tests: the agent's whole run on firmware that stops at the first byte outside a block of
#?               memory, or behind the stack. That firmware is built first, once.
#?   -v          show the output of the tools while they build
#?
#? The host tests run in build/test with the address and undefined-behaviour sanitizers.
#
# SPDX-License-Identifier: BSD-2-Clause-Patent
source "$ROOT/tools/lib/common.sh"
source "$LIB/setup.sh"
source "$LIB/firmware.sh"
source "$LIB/guarded.sh"
source "$LIB/host.sh"

guarded=0
selection=()
while (($#)); do
  case "$1" in
    -v) VERBOSE=1 ;;
    --guarded) guarded=1 ;;
    -R)
      [[ -n "${2:-}" ]] || UsageError "test: -R takes a regular expression"
      selection=(--match "$2")
      shift
      ;;
    *) UsageError "test: unknown argument '$1'; ./dev help test tells more" ;;
  esac
  shift
done

# Tests OPTION...: those of the build, with further options of the script that runs them.
Tests() { exec python3 -B "$TOOLS/testrun/run_tests.py" "$BUILD/test" --jobs "$JOBS" "${selection[@]}" "$@"; }

EnsureSetup
if ((guarded)); then
  FirmwareTarget GCC5 DEBUG
  GuardedFirmware
  EndToEndTools
  export TVQ_GUARDED_FIRMWARE="$GUARDED"
  Tests --config Guarded --label guarded
fi
mapfile -t toolchains < <(BootingToolchains)
# EDK II's build keeps one core busy for most of its time, ours takes what there is.
Note "the firmware is built beside the host's programs"
Beside firmware Firmware "${toolchains[@]}"
HostTests
Join
Tests

#!/usr/bin/env bash
#? Build everything and run every test: units, tools, and the driver on firmware in QEMU
#?
#? usage: ./dev test [-R REGEX] [-v]
#?
#?   -R REGEX    only the tests whose names match
#?   -v          show the output of the tools while they build
#?
#? The host tests run in build/test with the address and undefined-behaviour sanitizers.
#
# SPDX-License-Identifier: BSD-2-Clause-Patent
source "$ROOT/tools/lib/common.sh"
source "$LIB/setup.sh"
source "$LIB/firmware.sh"
source "$LIB/host.sh"

selection=()
while (($#)); do
  case "$1" in
    -v) VERBOSE=1 ;;
    -R)
      [[ -n "${2:-}" ]] || UsageError "test: -R takes a regular expression"
      selection=(-R "$2")
      shift
      ;;
    *) UsageError "test: unknown argument '$1'; ./dev help test tells more" ;;
  esac
  shift
done

EnsureSetup
mapfile -t toolchains < <(BootingToolchains)
Firmware "${toolchains[@]}"
HostTests
exec ctest --test-dir "$BUILD/test" --output-on-failure --no-label-summary --no-tests=error -j "$JOBS" "${selection[@]}"

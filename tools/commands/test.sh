#!/usr/bin/env bash
#? Build everything and run every test: units, tools, and the driver on firmware in QEMU
#?
#? usage: ./dev test [-R REGEX | --changed [REVISION]] [--guarded | --report | --riscv64 | --service | --fleet | --stick] [-v]
#?
#?   --changed   only the tests of the files that differ from REVISION (HEAD): those in the folder of tests/unit that
#?               mirrors theirs, and changed tests; nothing else is built
#?   -R REGEX    only the tests whose names match
#?   --guarded   in place of the tests: the agent's whole run on firmware that stops at the first byte outside a block of
#?               memory, or behind the stack. That firmware is built first, once.
#?   --report    in place of the tests: the pages of `tvq report` about every table, in a browser
#?   --service   in place of the tests: the Debian package and its service, also on Debian's kernel in QEMU, which takes about
#?               five minutes
#?   --riscv64   in place of the tests: agent, platform and driver for RISCV64, on U-Boot. A compiler for it is installed.
#?   --fleet     in place of the tests: 3,000 machines over 30 days in sqlite3 and in ClickHouse, and an alert of Prometheus
#?               on a replaced module, with Debian's packages unpacked under build/fleet; about 5 minutes
#?   --stick     in place of the tests: boots the stick and the disc of ./dev image on every machine that QEMU plays here, from
#?               every medium, with Secure Boot and without, and prints what became of each boot
#?   -v          show the output of the tools while they build
#?
#? The host tests run in build/test with the address and undefined-behaviour sanitizers.
#
# SPDX-License-Identifier: BSD-2-Clause-Patent
source "$ROOT/tools/lib/common.sh"
source "$LIB/setup.sh"
source "$LIB/firmware.sh"
source "$LIB/ovmf.sh"
source "$LIB/host.sh"
source "$LIB/fleet.sh"

kind=
revision=
selection=()
while (($#)); do
  case "$1" in
    -v) VERBOSE=1 ;;
    --guarded | --report | --riscv64 | --service | --fleet | --stick) kind="${1#--}" ;;
    --changed)
      revision=HEAD
      if [[ -n "${2:-}" && "$2" != -* ]]; then
        revision="$2"
        shift
      fi
      ;;
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

# Changed REVISION: builds and runs the tests of what differs from it.
Changed() {
  local kind name found programs=() names=()
  # The list of programs is made when the tree is configured.
  BuildHost test build.ninja
  found="$(python3 -B "$TOOLS/testrun/changed.py" "$ROOT" "$BUILD/test" "$1")"
  while read -r kind name; do
    [[ -n "$kind" ]] || continue
    [[ "$kind" != program ]] || programs+=("$name")
    names+=("$name" "$name.*")
  done <<<"$found"
  if ((${#names[@]} == 0)); then
    Note "nothing that differs from $1 has tests of its own; ./dev test runs all"
    return 0
  fi
  ((${#programs[@]} == 0)) || BuildHost test "${programs[@]}"
  Tests --names "${names[@]}"
}

export TVQ_OWN_FIRMWARE="$OVMF"
EnsureSetup
if [[ -n "$revision" ]]; then
  Changed "$revision"
  exit
fi
case "$kind" in
  guarded)
    FirmwareTarget "$(FirstToolchain X64)" DEBUG
    OwnOvmf tail head
    EndToEndTools
    ;;
  report) HostTests ;;
  riscv64)
    InstallRiscv64
    Firmware "$(FirstToolchain RISCV64)"
    EndToEndTools
    ;;
  service)
    LongTests
    BuildHost test build.ninja
    ;;
  fleet)
    FleetTools
    BuildHost test tvq
    ;;
  stick)
    StickImages X64
    EndToEndTools
    exec python3 -B "$ROOT/tests/e2e/stick_test.py" --all --images "$FIRMWARE/Build" --out "$BUILD/stick" \
      --build-table "$BUILD/test/host/table/tvq_build_sample" --tvq "$BUILD/test/host/cli/tvq"
    ;;
esac
# CMake calls the configuration by the name with a capital.
[[ -z "$kind" ]] || Tests --config "${kind^}" --label "$kind"
mapfile -t toolchains < <(BootingToolchains)
# EDK II's build keeps one core busy for most of its time, ours takes what there is.
Note "the firmware is built beside the host's programs"
AllFirmware() {
  Firmware "${toolchains[@]}"
  OwnOvmf volume
}
Beside firmware AllFirmware
HostTests
Join
Tests

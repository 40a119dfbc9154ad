#!/usr/bin/env bash
#? Change the driver one operator, constant or status at a time, and see whether the unit tests tell
#?
#? usage: ./dev mutate [--tests REGEX] [--json FILE] [--again FILE] [--sanitize] [-v] [SOURCE...]
#?
#?   SOURCE         change these files alone, as src/smbios/fqdd.cpp (default: all of the driver)
#?   --tests REGEX  only the test programs whose names match
#?   --json FILE    write what became of every mutant there as well
#?   --again FILE   run only what an earlier run, which wrote FILE with --json, did not kill
#?   --sanitize     with AddressSanitizer and UndefinedBehaviorSanitizer, which tell a byte too far; slower
#?   -v             show the output of the tools while they build
#?
#? The driver is built once with all changes in it; a number switches one on. Each mutant runs the tests that reach it, in
#? a process of its own, until one fails. Those that survive are listed, but for the changes that are none by
#? tests/mutation/equivalent.toml. Exit status: 0 under 5 % survive, 1 more do or an explanation is out of date, 2 trouble.
#
# SPDX-License-Identifier: BSD-2-Clause-Patent
source "$ROOT/tools/lib/common.sh"
source "$LIB/setup.sh"
source "$LIB/host.sh"

sources=()
options=()
build=mutate
while (($#)); do
  case "$1" in
    -v) VERBOSE=1 ;;
    --json)
      [[ -n "${2:-}" ]] || UsageError "mutate: --json takes a file"
      options+=(--json "$2")
      shift
      ;;
    --again)
      [[ -n "${2:-}" ]] || UsageError "mutate: --again takes a file"
      options+=(--again "$2")
      shift
      ;;
    --sanitize) build=mutate-sanitized ;;
    --tests)
      [[ -n "${2:-}" ]] || UsageError "mutate: --tests takes a regular expression"
      options+=(--tests "$2")
      shift
      ;;
    -*) UsageError "mutate: unknown argument '$1'; ./dev help mutate tells more" ;;
    *) sources+=("$1") ;;
  esac
  shift
done

# Where the presets of its trees look for it.
DRIVER="$BUILD/mutate-driver"

# The Python that Debian's libclang belongs to.
Mutate() { /usr/bin/python3 -B "$TOOLS/mutation/mutate.py" "$@"; }

# How the driver is compiled is asked of a tree of its own, which nobody builds.
ChangeDriver() {
  ConfigureHost mutate-plain && Mutate write "$ROOT" "$BUILD/mutate-plain" "$DRIVER"
}

EnsureSetup
InstallPackages clang-14 python3-clang-14
Step "Changing the driver" mutate-change ChangeDriver
BuildHost "$build" tvq_driver_tests
Mutate run "$ROOT" "$DRIVER" "$BUILD/$build" "${sources[@]}" --jobs "$JOBS" "${options[@]}"

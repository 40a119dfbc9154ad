#!/usr/bin/env bash
#? Show how much of the driver the unit tests run, by lines and branches
#?
#? usage: ./dev coverage [-v]
#?
#?   -v          show the output of the tools while they build, and of the tests
#?
#? A table on stdout, above it what is not run and why, as tests/coverage.toml tells; build/coverage/html/index.html shows
#? every line. Exit status: 0 all lines and 98 % of the branches are run and every gap has a reason, 1 not so,
#? 2 trouble.
#
# SPDX-License-Identifier: BSD-2-Clause-Patent
source "$ROOT/tools/lib/common.sh"
source "$LIB/setup.sh"
source "$LIB/host.sh"

for argument; do
  case "$argument" in
    -v) VERBOSE=1 ;;
    *) UsageError "coverage: unknown argument '$argument'; ./dev help coverage tells more" ;;
  esac
done

# RunPrograms LIST: the test programs, from counts of nothing.
RunPrograms() {
  local program
  find "$BUILD/coverage" -name '*.gcda' -delete
  while read -r program _; do
    (cd "$(dirname "$program")" && "$program" --gtest_brief=1) || return
  done <"$1"
}

EnsureSetup
InstallPackages gcovr
BuildHost coverage tvq_driver_tests
Step "Running the unit tests" coverage-tests RunPrograms "$BUILD/coverage/driver_tests.txt"
exec python3 -B "$TOOLS/coverage.py" "$ROOT" "$BUILD/coverage"

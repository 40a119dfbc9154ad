#!/usr/bin/env bash
#? Check the files of this repository: format, scripts, licences, build lists, analysers
#?
#? usage: ./dev lint [CHECK...]
#?
#?   format       clang-format has nothing to change
#?   shell        shellcheck is content with every script
#?   python       every Python file compiles
#?   licence      every file that can says under which licence it is
#?   whitespace   no tabs, no blanks at line ends, a line end at the end
#?   lists        every INF is in a DSC, every source file of a package in an INF
#?   includes     a folder of the driver includes nothing of those that are built on it
#?   cppcheck     cppcheck over all C and C++ files
#?   clang        the host build by Clang, without a warning
#?   tidy         clang-tidy over our own files of the host build
#?
#? Without names: all of them. Each prints OK or FAIL on a line, and what it found below.
#
# SPDX-License-Identifier: BSD-2-Clause-Patent
source "$ROOT/tools/lib/common.sh"
source "$LIB/setup.sh"
source "$LIB/files.sh"
source "$LIB/host.sh"
source "$LIB/lint.sh"

CHECKS=(format shell python licence whitespace lists includes cppcheck clang tidy)

for name; do
  [[ " ${CHECKS[*]} " == *" $name "* ]] || UsageError "lint: there is no check '$name'; the checks are: ${CHECKS[*]}"
done
(($#)) || set -- "${CHECKS[@]}"

EnsureSetup
status=0
cd "$ROOT"
for name; do
  if findings="$("Check_$name" 2>&1)"; then
    printf '%-12s OK\n' "$name"
  else
    printf '%-12s FAIL\n' "$name"
    printf '%s\n' "$findings"
    status=1
  fi
done
exit "$status"

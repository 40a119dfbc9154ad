#!/usr/bin/env bash
#? Format the C and C++ files with clang-format
#?
#? usage: ./dev format [--check]
#?
#?   --check    change nothing, name the files that differ
#
# SPDX-License-Identifier: BSD-2-Clause-Patent
source "$ROOT/tools/lib/common.sh"
source "$LIB/setup.sh"
source "$LIB/files.sh"

check=0
for argument; do
  case "$argument" in
    --check) check=1 ;;
    *) UsageError "format: unknown argument '$argument'" ;;
  esac
done

InstallWantedPackages
cd "$ROOT"
mapfile -t files < <(CppFiles)
((${#files[@]})) || exit 0
if ((check)); then
  # One line for each file; what is wrong in it, ./dev format puts right.
  if ! found="$(clang-format --style=file --dry-run -Werror "${files[@]}" 2>&1)"; then
    sed -n 's/:[0-9]*:[0-9]*: error: .*//p' <<<"$found" | sort | uniq -c | while read -r count file; do
      echo "$file: $count places"
    done
    exit 1
  fi
else
  clang-format --style=file -i "${files[@]}"
fi

# shellcheck shell=bash
# The files of this repository, for the commands that look at all of them. Sourced.
#
# SPDX-License-Identifier: BSD-2-Clause-Patent

# SourceFiles [PATTERN...]: those that git knows and new ones that it does not ignore, by the patterns of `git ls-files`.
SourceFiles() {
  local file
  git -c safe.directory="$ROOT" -C "$ROOT" ls-files --cached --others --exclude-standard --deduplicate -- "$@" |
    while IFS= read -r file; do
      [[ ! -f "$ROOT/$file" ]] || printf '%s\n' "$file"
    done
}

CppFiles() { SourceFiles '*.c' '*.h' '*.cpp' '*.hpp'; }

PythonFiles() { SourceFiles '*.py'; }

# Shell scripts need not have a name that says so.
ShellFiles() {
  local file first
  SourceFiles '*.sh'
  SourceFiles | while IFS= read -r file; do
    [[ "${file##*/}" != *.* ]] || continue
    IFS= read -r first <"$ROOT/$file" || true
    [[ "$first" != '#!'*bash* ]] || printf '%s\n' "$file"
  done
}

# Everything but tables and other binaries, and the inputs that failed a fuzzer: bytes, whatever they look like.
TextFiles() {
  local files
  mapfile -t files < <(SourceFiles | grep -v '^tests/fuzz/findings/')
  (cd "$ROOT" && grep -Il -e '' "${files[@]}") || true
}

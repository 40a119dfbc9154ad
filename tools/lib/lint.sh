# shellcheck shell=bash
# The checks of `./dev lint`: each prints what it finds and fails when that is anything. Sourced, run in the root folder.
#
# SPDX-License-Identifier: BSD-2-Clause-Patent

# Remark TEXT: what a check has to say of itself even when it finds nothing.
Remark() { echo "; $*" >>"$LOGS/lint-remark.log"; }

# RunCheck NAME: its line, and its findings.
RunCheck() {
  local findings start="${EPOCHREALTIME/[.,]/}" result=OK
  mkdir -p "$LOGS"
  : >"$LOGS/lint-remark.log"
  findings="$("Check_$1" 2>&1)" || result=FAIL
  printf '%-12s %-4s %8s%s\n' "$1" "$result" "$(Seconds "$start")" "$(cat "$LOGS/lint-remark.log")"
  [[ "$result" == OK ]] || {
    printf '%s\n' "$findings"
    return 1
  }
}

Check_format() { "$ROOT/dev" format --check; }

Check_shell() {
  local files
  mapfile -t files < <(ShellFiles)
  shellcheck --external-sources --source-path="$LIB" --source-path="$ROOT" "${files[@]}"
}

Check_python() {
  local files
  mapfile -t files < <(PythonFiles)
  python3 -B - "${files[@]}" <<'PYTHON'
import sys

failed = False
for path in sys.argv[1:]:
    try:
        compile(open(path, encoding="utf-8").read(), path, "exec")
    except (SyntaxError, ValueError) as error:
        print(f"{path}: {error}")
        failed = True
sys.exit(failed)
PYTHON
}

# JSON has no comments.
Check_licence() {
  local without
  without="$(TextFiles | grep -Ev '(^|/)(LICENSE|\.gitignore)$|\.json$' |
    tr '\n' '\0' | xargs -0r grep -L 'SPDX-License-Identifier: ')" || true
  [[ -z "$without" ]] || {
    echo "no SPDX-License-Identifier in:"
    echo "$without"
    return 1
  }
}

Check_whitespace() {
  local found files file
  # Recipes of make begin with a tab.
  mapfile -t files < <(TextFiles | grep -vE '^(LICENSE|packaging/debian/rules)$')
  found="$(grep -nP '\t|[ \r]$' "${files[@]}")" || true
  for file in "${files[@]}"; do
    [[ -z "$(tail -c 1 "$file")" ]] || found+=$'\n'"$file: no line end at its end"
  done
  [[ -z "$found" ]] || {
    echo "$found"
    return 1
  }
}

Check_lists() { python3 -B "$TOOLS/check_lists.py" "$ROOT"; }

Check_includes() { python3 -B "$TOOLS/check_includes.py" "$ROOT"; }

Check_results() { python3 -B "$TOOLS/check_results.py" "$ROOT"; }

Check_edk2() { python3 -B "$TOOLS/check_edk2.py" "$ROOT" "$EDK2_DIR"; }

# Without the headers of EDK II and of libraries, which take it minutes and tell it little.
Check_cppcheck() {
  cppcheck --std=c++17 --library=googletest --enable=warning,performance,portability,style \
    --suppressions-list=.cppcheck --template='{file}:{line}: {message} [{id}]' --quiet --error-exitcode=1 -j "$JOBS" \
    -DEFIAPI= -DIN= -DOUT= -DOPTIONAL= -DCONST=const -DSTATIC=static -DVOID=void '-DSTATIC_ASSERT(condition, text)=' \
    -I . -I TvqSmbiosPkg/Include -I TvqPlatformPkg/Include TvqSmbiosPkg TvqPlatformPkg host tests docs
}

# The commit whose files passed all checks, as `./dev lint --mark` names it.
MARK="$ROOT/.ci/fully-linted"
# Its files, to compare with.
LINTED="$BUILD/linted"

Git() { git -c safe.directory="$ROOT" -C "$ROOT" "$@"; }

# MarkedCommit: fails where none is marked, and where this clone does not have it.
MarkedCommit() {
  local commit
  commit="$(sed -n '/^[0-9a-f]\{40\}$/p' "$MARK" 2>/dev/null)" && [[ -n "$commit" ]] || return
  Git cat-file -e "$commit^{commit}" 2>/dev/null && echo "$commit"
}

# ConfigureLinted TREE: that tree of the marked commit, in LINTED.
ConfigureLinted() {
  local commit
  commit="$(MarkedCommit)" || return
  if [[ "$(cat "$LINTED/.commit" 2>/dev/null)" != "$commit" ]]; then
    rm -rf "$LINTED"
    mkdir -p "$LINTED"
    Git archive "$commit" | tar -x -C "$LINTED" || return
    echo "$commit" >"$LINTED/.commit"
  fi
  ROOT="$LINTED" BUILD="$LINTED/build" ConfigureHost "$1"
}

# CompiledFiles TREE OPTION...
CompiledFiles() { python3 -B "$TOOLS/compiled_files.py" "$ROOT" "$@"; }

# ChooseFiles TREE [--commands]: what of the tree is to be looked at, in CHOSEN: with --changed the sources that a compiler sees
# otherwise than in the marked commit; and all where that cannot be told. Configures the tree, which also finds new files.
ChooseFiles() {
  local tree="$1" unlike=() all chosen
  mkdir -p "$LOGS"
  ConfigureHost "$tree" >"$LOGS/host-$tree-configure.log" || return
  if ((CHANGED)) && ConfigureLinted "$tree" >"$LOGS/linted-$tree-configure.log" 2>&1; then
    unlike=(--unlike "$LINTED")
  fi
  chosen="$(CompiledFiles "$@" "${unlike[@]}")" && all="$(CompiledFiles "$@" | wc -l)" || return
  CHOSEN=()
  [[ -z "$chosen" ]] || mapfile -t CHOSEN <<<"$chosen"
  Remark "${#CHOSEN[@]} of $all files${unlike[*]:+ differ from $(cut -c 1-12 "$LINTED/.commit")}"
}

# RequireCommitted: what is marked is a commit, so nothing may differ from it.
RequireCommitted() {
  [[ -z "$(Git status --porcelain)" ]] || Fail "lint: commit first; --mark names a commit"
}

# Mark: names the commit that was looked at.
Mark() {
  RequireCommitted
  cat >"$MARK" <<EOF
# Every check of ./dev lint found nothing in this commit. ./dev lint --mark moves it.
# SPDX-License-Identifier: BSD-2-Clause-Patent
$(Git rev-parse HEAD)
EOF
  Note "${MARK#"$ROOT/"} names $(Git log -1 --format='%h, %s'); commit it"
}

# The whole host build by the other compiler, where every warning is an error; or what of it is chosen, which writes nothing.
Check_clang() {
  if ((CHANGED)) && MarkedCommit >/dev/null; then
    ChooseFiles clang --commands || return
    ((${#CHOSEN[@]} == 0)) || printf '%s\0' "${CHOSEN[@]}" | xargs -0 -P "$JOBS" -I COMMAND bash -c COMMAND
  else
    BuildHost clang all tvq_bench
  fi
}

# Our own files of the host build: EDK II and expat are not ours to tidy. Nothing has to be built.
Check_tidy() {
  [[ -f "$ROOT/.clang-tidy" ]] || {
    echo "there is no .clang-tidy"
    return 1
  }
  ChooseFiles tidy || return
  ((${#CHOSEN[@]})) || return 0
  # Its running count of suppressed warnings says nothing.
  printf '%s\0' "${CHOSEN[@]}" |
    xargs -0 -n 4 -P "$JOBS" clang-tidy -p "$BUILD/tidy" --quiet --warnings-as-errors='*' 2>/dev/null
}

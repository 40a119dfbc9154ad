# shellcheck shell=bash
# The checks of `./dev lint`: each prints what it finds and fails when that is anything. Sourced, run in the root folder.
#
# SPDX-License-Identifier: BSD-2-Clause-Patent

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
  mapfile -t files < <(TextFiles | grep -v '^LICENSE$')
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

# Without the headers of EDK II and of libraries, which take it minutes and tell it little.
Check_cppcheck() {
  cppcheck --std=c++17 --library=googletest --enable=warning,performance,portability,style \
    --suppressions-list=.cppcheck --template='{file}:{line}: {message} [{id}]' --quiet --error-exitcode=1 -j "$JOBS" \
    -DEFIAPI= -DIN= -DOUT= -DOPTIONAL= -DCONST=const -DSTATIC=static -DVOID=void '-DSTATIC_ASSERT(condition, text)=' \
    -I . -I TvqSmbiosPkg/Include -I TvqPlatformPkg/Include TvqSmbiosPkg TvqPlatformPkg host tests docs
}

# The whole host build by the other compiler, where every warning is an error.
Check_clang() { BuildHost clang all; }

# Our own files of the host build: EDK II and expat are not ours to tidy.
Check_tidy() {
  local files
  [[ -f "$ROOT/.clang-tidy" ]] || {
    echo "there is no .clang-tidy"
    return 1
  }
  # What it takes is made while configuring, which also finds new files; nothing has to be built.
  mkdir -p "$LOGS"
  ConfigureHost tidy >"$LOGS/host-tidy-configure.log" || return
  mapfile -t files < <(python3 -B "$TOOLS/compiled_files.py" "$BUILD/tidy" "$ROOT")
  ((${#files[@]})) || return 0
  # Its running count of suppressed warnings says nothing.
  printf '%s\0' "${files[@]}" |
    xargs -0 -n 4 -P "$JOBS" clang-tidy -p "$BUILD/tidy" --quiet --warnings-as-errors='*' 2>/dev/null
}

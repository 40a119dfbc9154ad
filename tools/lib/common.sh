# shellcheck shell=bash
# What every command shares: where things lie, messages, and steps with their durations. Sourced, never
# run, with the root of the repository in ROOT.
#
# SPDX-License-Identifier: BSD-2-Clause-Patent
#
# shellcheck disable=SC2034 # the names are for those who source this
set -euo pipefail

TOOLS="$ROOT/tools"
LIB="$TOOLS/lib"
BUILD="$ROOT/build"
LOGS="$BUILD/log"
CACHE="${TVQ_CACHE_DIR:-${XDG_CACHE_HOME:-${HOME:-/root}/.cache}/tvqsmbios}"
JOBS="${TVQ_JOBS:-$(nproc)}"
VERBOSE="${VERBOSE:-0}"
PACKAGES=(TvqSmbiosPkg TvqPlatformPkg)

Note() { echo "dev: $*" >&2; }

Fail() {
  Note "$@"
  exit 1
}

UsageError() {
  Note "$@"
  exit 2
}

# EDK II's makefiles cannot carry a blank in a path.
RequirePlainPath() {
  [[ "$2" != *[[:space:]]* ]] || Fail "$1 has a blank in its path, which EDK II cannot build in: $2"
}

# Lock FILE and Unlock: whoever works on the same folder at the same time takes turns. Leaving the shell unlocks too.
Lock() {
  mkdir -p "$(dirname "$1")"
  exec {LOCK}>"$1"
  flock --nonblock "$LOCK" || {
    Note "waiting for another ./dev that works on ${1%.lock}"
    flock "$LOCK"
  }
}

Unlock() { exec {LOCK}>&-; }

Seconds() {
  local from="$1" now="${EPOCHREALTIME/[.,]/}"
  local tenths=$(((now - from) / 100000))
  if ((tenths < 100)); then
    echo "$((tenths / 10)).$((tenths % 10)) s"
  else
    echo "$((tenths / 10)) s"
  fi
}

# The lines of a log that name errors, then those that name warnings, but for what the linker says of every image.
ErrorLines() {
  grep -E '(^|[^[:alnum:]_])(fatal )?error( [0-9A-F]{4})?:|undefined reference|CMake Error' "$1" || true
  grep -E 'warning:' "$1" | grep -Ev 'RWX permissions|\.note\.GNU-stack' || true
}

# A log without the command lines of compilers and linkers, which hide what they say.
WithoutCommands() { grep -Ev '^(\[[0-9/]+\] )?([^ ]*ccache )?"?[^ "]*(gcc|g\+\+|cc|c\+\+|clang|clang\+\+|ld)"? .*-' "$1" || true; }

# What went wrong by a log: the lines that name errors, or its end when there are none.
ShowFailure() {
  local errors
  errors="$(ErrorLines "$1")"
  if [[ -n "$errors" ]]; then
    head -n 20 <<<"$errors"
  else
    WithoutCommands "$1" | tail -n 20
  fi
}

# Report STATUS START LOG: ends a step's line, and shows what the log of one that failed says.
Report() {
  local status="$1" start="$2" log="$3"
  if ((status == 0)); then
    Seconds "$start" >&2
    return 0
  fi
  echo "failed after $(Seconds "$start")" >&2
  ((VERBOSE)) || ShowFailure "$log" | cut -c 1-240 >&2
  Note "the whole output is in $log"
  return "$status"
}

# Watch TITLE LOG: on a terminal, writes the step's line again each second, with how far the program is that counts its
# steps in the log, as ninja does.
Watch() {
  local title="$1" log="$2" start="${EPOCHREALTIME/[.,]/}" count step all
  [[ -t 2 ]] || return 0
  while sleep 1; do
    count="$(grep -o '^\[[0-9]*/[0-9]*\]' "$log" | tail -n 1)" || continue
    IFS=/ read -r step all <<<"${count//[][]/}"
    printf '\r\e[K== %s ... %d of %d, about %d s left ' "$title" "$step" "$all" \
      $(((${EPOCHREALTIME/[.,]/} - start) * (all - step) / (step + 1) / 1000000)) >&2
  done
}

# EndWatch PROCESS TITLE: the step's line as it was.
EndWatch() {
  kill "$1" 2>/dev/null || true
  wait "$1" 2>/dev/null || true
  [[ ! -t 2 ]] || printf '\r\e[K== %s ... ' "$2" >&2
}

# Step TITLE LOGNAME COMMAND...: runs the command with its output in a log file, shows the end of that file when it
# fails, and everything at once with VERBOSE=1.
Step() {
  local title="$1" log="$LOGS/$2.log" start="${EPOCHREALTIME/[.,]/}" status=0 watch
  shift 2
  mkdir -p "$LOGS"
  if ((VERBOSE)); then
    echo "== $title ..." >&2
    "$@" 2>&1 | tee "$log" >&2 || status=$?
    printf '== %s: ' "$title" >&2
  else
    printf '== %s ... ' "$title" >&2
    : >"$log"
    Watch "$title" "$log" &
    watch=$!
    "$@" >"$log" 2>&1 </dev/null || status=$?
    EndWatch "$watch" "$title"
  fi
  Report "$status" "$start" "$log"
}

# The same, but without a word when the command succeeds within a second.
StepIfSlow() {
  local title="$1" log="$LOGS/$2.log" start="${EPOCHREALTIME/[.,]/}" status=0 watch
  if ((VERBOSE)); then
    Step "$@"
    return
  fi
  shift 2
  mkdir -p "$LOGS"
  : >"$log"
  rm -f "$log.said"
  { sleep 1 && touch "$log.said" && printf '== %s ... ' "$title" >&2 && Watch "$title" "$log"; } >/dev/null &
  watch=$!
  "$@" >"$log" 2>&1 </dev/null || status=$?
  if [[ -f "$log.said" ]]; then
    EndWatch "$watch" "$title"
  else
    kill "$watch" 2>/dev/null || true
    wait "$watch" 2>/dev/null || true
    ((status)) || return 0
    printf '== %s ... ' "$title" >&2
  fi
  Report "$status" "$start" "$log"
}

# Beside LOGNAME COMMAND...: starts the command; what it says comes with Join, which ends as the command did.
Beside() {
  local said="$LOGS/$1.said.log"
  shift
  mkdir -p "$LOGS"
  "$@" >"$said" 2>&1 </dev/null &
  BESIDE=$!
  BESIDE_SAID="$said"
}

Join() {
  local status=0
  wait "$BESIDE" || status=$?
  cat "$BESIDE_SAID" >&2
  return "$status"
}

# shellcheck shell=bash
# Builds the host side with CMake, by the presets of CMakePresets.json. Sourced after setup.sh.
#
# SPDX-License-Identifier: BSD-2-Clause-Patent

# HostOptions TREE: what CMake is told of the tree build/TREE; everything else stands in the preset of that name.
HostOptions() { printf '%s\n' --preset "$1" "-DEDK2_DIR=$EDK2_DIR" "-DEXPAT_DIR=$EXPAT_DIR"; }

# Configuration TREE: all that decides how a tree is configured, kept beside the build to notice when it changes.
Configuration() {
  HostOptions "$1"
  cat "$ROOT/CMakePresets.json"
}

Configured() {
  local folder="$BUILD/$1"
  [[ -f "$folder/build.ninja" && "$(cat "$folder/.configuration" 2>/dev/null)" == "$(Configuration "$1")" ]]
}

ConfigureHost() {
  local folder="$BUILD/$1" options
  mapfile -t options < <(HostOptions "$1")
  rm -f "$folder/CMakeCache.txt" "$folder/.configuration"
  mkdir -p "$folder"
  cmake -S "$ROOT" "${options[@]}" || return
  Configuration "$1" >"$folder/.configuration"
}

# BuildHost TREE TARGET...: targets of the tree build/TREE; silent when there is next to nothing to do.
BuildHost() {
  local tree="$1" folder="$BUILD/$1"
  shift
  Lock "$folder.lock"
  Configured "$tree" || Step "Configuring build/$tree" "host-$tree-configure" ConfigureHost "$tree"
  StepIfSlow "Building build/$tree" "host-$tree" ninja -C "$folder" -j "$JOBS" "$@"
  Unlock
}

# What users run: optimised, without sanitizers.
Host() { BuildHost host all; }

# The same as one file that runs on any Linux.
StaticHost() { BuildHost host tvq_static; }

# The sample tables and the program that builds them, which take no part of EDK II.
Tables() { BuildHost host tvq_samples; }

# Optimised, without sanitizers: tests that run the driver tens of thousands of times, and the program as it is shipped with its
# pages.
LongTests() { BuildHost long tvq_long_tests tvq tvq_static tvq_pages; }

# What the tests run.
HostTests() {
  LongTests
  BuildHost test all
}

# Of that, the programs which the end-to-end tests call.
EndToEndTools() {
  BuildHost test tvq
  BuildHost test tvq_build_sample
}

# Fuzzer TARGET: what `./dev fuzz` runs.
Fuzzer() { BuildHost fuzz "tvq_fuzzer_$1"; }

# What `./dev bench` measures.
Bench() { BuildHost bench tvq_bench; }

# shellcheck shell=bash
# Builds the host side with CMake. Sourced after setup.sh.
#
# SPDX-License-Identifier: BSD-2-Clause-Patent

# HostOptions FOLDER OPTION...: what CMake is told; kept beside the build to notice when it changes.
HostOptions() { printf '%s\n' -G Ninja "-DEDK2_DIR=$EDK2_DIR" "-DEXPAT_DIR=$EXPAT_DIR" -DCMAKE_EXPORT_COMPILE_COMMANDS=ON "$@"; }

Configured() {
  local folder="$1"
  shift
  [[ -f "$folder/build.ninja" && "$(cat "$folder/.options" 2>/dev/null)" == "$(HostOptions "$@")" ]]
}

ConfigureHost() {
  local folder="$1" options
  shift
  mapfile -t options < <(HostOptions "$@")
  rm -f "$folder/CMakeCache.txt" "$folder/.options"
  mkdir -p "$folder"
  cmake -S "$ROOT" -B "$folder" "${options[@]}" || return
  HostOptions "$@" >"$folder/.options"
}

# BuildHost NAME TARGET OPTION...: a target of the tree in build/NAME; silent when there is next to nothing to do.
BuildHost() {
  local name="$1" target="$2" folder="$BUILD/$1"
  shift 2
  Lock "$folder.lock"
  Configured "$folder" "$@" || Step "Configuring build/$name" "host-$name-configure" ConfigureHost "$folder" "$@"
  StepIfSlow "Building build/$name" "host-$name" ninja -C "$folder" -j "$JOBS" "$target"
  Unlock
}

OPTIMISED=(-DCMAKE_BUILD_TYPE=RelWithDebInfo -DTVQ_SANITIZE=OFF)

# What users run: optimised, without sanitizers.
Host() { BuildHost host all "${OPTIMISED[@]}" -DBUILD_TESTING=OFF; }

# The sample tables and the program that builds them, which take no part of EDK II.
Tables() { BuildHost host tvq_samples "${OPTIMISED[@]}" -DBUILD_TESTING=OFF; }

# Tests that run the driver tens of thousands of times: optimised, without sanitizers.
LongTests() { BuildHost long tvq_long_tests "${OPTIMISED[@]}"; }

TESTED=(-DCMAKE_BUILD_TYPE=RelWithDebInfo -DTVQ_SANITIZE=ON "-DTVQ_LONG_TESTS=$BUILD/long")

# What the tests run.
HostTests() {
  LongTests
  BuildHost test all "${TESTED[@]}"
}

# Of that, the programs which the end-to-end tests call.
EndToEndTools() {
  BuildHost test tvq "${TESTED[@]}"
  BuildHost test tvq_build_sample "${TESTED[@]}"
}

# Fuzzer TARGET: what `./dev fuzz` runs.
Fuzzer() {
  BuildHost fuzz "tvq_fuzzer_$1" -DCMAKE_BUILD_TYPE=RelWithDebInfo -DTVQ_SANITIZE=ON -DTVQ_FUZZER=ON \
    -DCMAKE_C_COMPILER=clang -DCMAKE_CXX_COMPILER=clang++
}

# What `./dev bench` measures: like firmware's RELEASE, without the assertions of MdePkg.
Bench() { BuildHost bench tvq_bench "${OPTIMISED[@]}" -DCMAKE_C_FLAGS=-DMDEPKG_NDEBUG -DCMAKE_CXX_FLAGS=-DMDEPKG_NDEBUG; }

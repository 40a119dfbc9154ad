# shellcheck shell=bash
# Builds the packages with EDK II's own `build`, and audits the images. Sourced after setup.sh.
#
# SPDX-License-Identifier: BSD-2-Clause-Patent

FIRMWARE="$BUILD/firmware"
# The tool chains of each architecture, by the names that they have in one release of EDK II or another, the preferred one first.
# The images of the first tool chain are those that boot.
declare -A TOOLCHAINS=([X64]="GCC|GCC5 CLANG38|CLANGDWARF CLANGPDB" [AARCH64]="GCCNOLTO|GCC49" [RISCV64]="GCC|GCC5")
ARCHITECTURES=(X64 AARCH64 RISCV64)
# Of those that are built and booted unless somebody asks for more.
USUAL_ARCHITECTURES=(X64 AARCH64)

# What compiles and boots RISCV64, which no usual command needs.
InstallRiscv64() { InstallPackages gcc-riscv64-linux-gnu g++-riscv64-linux-gnu qemu-system-misc; }
TARGETS=(DEBUG RELEASE)

# ToolchainsOf ARCH: those of the EDK II tree, one on each line, by the names that it defines. RISCV64 shares its name with X64, so
# that here it has the architecture behind it.
ToolchainsOf() {
  local names name suffix=
  [[ "$1" != RISCV64 ]] || suffix=_RISCV64
  for names in ${TOOLCHAINS[$1]}; do
    for name in ${names//|/ }; do
      if grep -qE "^(RELEASE|[*])_${name}_$1_CC_FLAGS" "$EDK2_DIR/BaseTools/Conf/tools_def.template"; then
        echo "$name$suffix"
        break
      fi
    done
  done
}

# FirstToolchain ARCH
FirstToolchain() {
  local names
  names="$(ToolchainsOf "$1")"
  echo "${names%%$'\n'*}"
}

# NameInEdk2 TOOLCHAIN: what the tree calls it.
NameInEdk2() { echo "${1%_RISCV64}"; }

# The tool chains whose images boot, one on each line.
BootingToolchains() {
  local arch
  for arch in "${USUAL_ARCHITECTURES[@]}"; do
    FirstToolchain "$arch"
  done
}

AllToolchains() {
  local arch
  for arch in "${ARCHITECTURES[@]}"; do
    ToolchainsOf "$arch"
  done
}

# ArchitectureOf TOOLCHAIN: nothing when there is no such tool chain.
ArchitectureOf() {
  local arch known
  for arch in "${ARCHITECTURES[@]}"; do
    for known in $(ToolchainsOf "$arch"); do
      [[ "$known" != "$1" ]] || echo "$arch"
    done
  done
}

# RequireOneOf OPTION VALUE CHOICE...: ends with a message when the value of the command's option is none of the choices.
RequireOneOf() {
  local option="$1" value="$2" choice
  shift 2
  for choice; do
    [[ "$choice" != "$value" ]] || return 0
  done
  UsageError "$(basename "$0" .sh): $option takes one of $*"
}

# InEdk2 WORKSPACE COMMAND...: with the environment of edksetup.sh. Conf lies in the workspace, so that the EDK II tree
# stays clean.
InEdk2() (
  export WORKSPACE="$1" CONF_PATH="$1/Conf" EDK_TOOLS_PATH="$EDK2_DIR/BaseTools"
  shift
  export PACKAGES_PATH="$EDK2_DIR:$ROOT" PYTHON_COMMAND=python3
  # Where the definitions of the tool chains look for compilers other than the machine's own.
  export GCC49_AARCH64_PREFIX=aarch64-linux-gnu- GCCNOLTO_AARCH64_PREFIX=aarch64-linux-gnu-
  export GCC5_RISCV64_PREFIX=riscv64-linux-gnu- GCC_RISCV64_PREFIX=riscv64-linux-gnu-
  export CLANG38_BIN=/usr/bin/ CLANGDWARF_BIN=/usr/bin/ CLANG_BIN=/usr/bin/
  # MAKEFLAGS of a calling make would reach the makefiles that `build` writes.
  unset MAKEFLAGS MAKELEVEL
  command=("$@")
  set --
  set +eu
  # shellcheck source=/dev/null
  cd "$EDK2_DIR" && source ./edksetup.sh || exit 1
  set -eu
  cd "$WORKSPACE"
  "${command[@]}"
)

# What a tree of before 2025 has elsewhere, or not in its MdeLibs.dsc.inc.
Edk2Defines() {
  [[ ! -f "$EDK2_DIR/ArmPkg/Library/CompilerIntrinsicsLib/CompilerIntrinsicsLib.inf" ]] || printf '%s\n' -D TVQ_INTRINSICS_OF_ARMPKG=TRUE
}

# Edk2Build PACKAGE TOOLCHAIN TARGET [OPTION...]
Edk2Build() {
  local package="$1" toolchain="$2" target="$3" defines
  shift 3
  mapfile -t defines < <(Edk2Defines)
  InEdk2 "$FIRMWARE" build -a "$(ArchitectureOf "$toolchain")" -t "$(NameInEdk2 "$toolchain")" -b "$target" -n "$JOBS" \
    -p "$package/$package.dsc" -D "EXPAT_DIR=$EXPAT_DIR" "${defines[@]}" "$@"
}

# Whether anything that goes into the images is newer than STAMP. Folders count too, because a removed file shows only there.
SourcesChanged() {
  local stamp="$1"
  [[ ! -f "$stamp" ]] ||
    [[ -n "$(cd "$ROOT" && find "${PACKAGES[@]}" tools/lib/firmware.sh "$EDK2_DIR/.tvq-version" "$EXPAT_DIR/lib" \
      -newer "$stamp" -print -quit 2>/dev/null)" ]]
}

# BuildImages PACKAGE TOOLCHAIN TARGET [VARIANT DEFINES...]: nothing when no source is newer than the last build.
BuildImages() {
  local package="$1" toolchain="$2" target="$3" variant="${4:-}"
  local name="$package$variant" built="${3}_$2" started
  local stamp="$FIRMWARE/stamps/$name-$built"
  shift 3
  (($# == 0)) || shift
  SourcesChanged "$stamp" || return 0
  mkdir -p "$FIRMWARE/Conf" "$FIRMWARE/stamps"
  # A list of modules that changed leaves images behind which nobody builds any more.
  if [[ "$ROOT/$package/$package.dsc" -nt "$stamp" ]]; then
    rm -rf "${FIRMWARE:?}/Build/$name/${built%_RISCV64}/$(ArchitectureOf "$toolchain")"
  fi
  rm -f "$stamp"
  started="$FIRMWARE/stamps/.started"
  touch "$started"
  Step "Building $name $target with $toolchain" "firmware-$name-$built" Edk2Build "$package" "$toolchain" "$target" "$@"
  mv "$started" "$stamp"
}

# The folders of the images that boot, for those who boot them: ARCH TOOLCHAIN on each line.
NameBootingImages() {
  local arch
  for arch in "${ARCHITECTURES[@]}"; do
    echo "$arch $(NameInEdk2 "$(FirstToolchain "$arch")")"
  done
}

# A build against another tree starts from nothing: its makefiles name the old one everywhere.
ForgetOtherTree() {
  local trees="$EDK2_DIR $EXPAT_DIR"
  if [[ "$(cat "$FIRMWARE/trees" 2>/dev/null)" != "$trees" ]]; then
    rm -rf "$FIRMWARE"
    mkdir -p "$FIRMWARE"
    echo "$trees" >"$FIRMWARE/trees"
  fi
  NameBootingImages >"$FIRMWARE/booting"
}

# BuildPackages TOOLCHAIN TARGET: the images of every package.
BuildPackages() {
  local package
  for package in "${PACKAGES[@]}"; do
    BuildImages "$package" "$1" "$2"
  done
}

# AuditImages TOOLCHAIN...: the driver linked once more lies in a folder of its own, and its sections must be page-aligned.
AuditImages() {
  local toolchain status=0 images aligned options folder
  for toolchain; do
    options=()
    # Its linker makes PE files without a detour.
    [[ "$toolchain" != CLANGPDB ]] || options=(--no-elf)
    folder="$(NameInEdk2 "$toolchain")/$(ArchitectureOf "$toolchain")"
    images=("$FIRMWARE"/Build/Tvq*Pkg/*_"$folder"/*.efi)
    aligned=("$FIRMWARE"/Build/Tvq*PageAligned/*_"$folder"/*.efi)
    python3 "$TOOLS/audit_efi.py" "${options[@]}" "${images[@]}" || status=1
    [[ ! -f "${aligned[0]}" ]] || python3 "$TOOLS/audit_efi.py" --page-aligned "${aligned[@]}" || status=1
  done
  return "$status"
}

# FirmwareTarget TOOLCHAIN DEBUG|RELEASE: one target, without the audit.
FirmwareTarget() {
  Lock "$BUILD/firmware.lock"
  ForgetOtherTree
  BuildPackages "$1" "$2"
  Unlock
}

# BuildPageAligned ARCH TARGET PACKAGE...: linked once more with sections of whole pages; on AARCH64 they are so anyway.
BuildPageAligned() {
  local arch="$1" target="$2" package
  shift 2
  for package; do
    BuildImages "$package" "$(FirstToolchain "$arch")" "$target" PageAligned -D TVQ_PAGE_ALIGNED=TRUE
  done
}

# StickImages ARCH...: what goes onto a stick, AARCH64 always, without the audit.
StickImages() {
  local arch
  Lock "$BUILD/firmware.lock"
  ForgetOtherTree
  for arch; do
    BuildPageAligned "$arch" RELEASE "${PACKAGES[@]}"
  done
  BuildPackages "$(FirstToolchain AARCH64)" RELEASE
  Unlock
}

# Firmware TOOLCHAIN...: both targets and the audit of all images. The driver is linked with page-aligned sections too, and what
# else goes onto a stick.
Firmware() {
  local toolchain target
  Lock "$BUILD/firmware.lock"
  ForgetOtherTree
  for toolchain; do
    for target in "${TARGETS[@]}"; do
      BuildPackages "$toolchain" "$target"
      [[ "$toolchain" != "$(FirstToolchain X64)" ]] || BuildPageAligned X64 "$target" TvqSmbiosPkg
    done
    [[ "$toolchain" != "$(FirstToolchain X64)" ]] || BuildPageAligned X64 RELEASE TvqPlatformPkg
  done
  Step "Auditing the images" audit AuditImages "$@"
  Unlock
}

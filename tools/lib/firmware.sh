# shellcheck shell=bash
# Builds the packages with EDK II's own `build`, and audits the images. Sourced after setup.sh.
#
# SPDX-License-Identifier: BSD-2-Clause-Patent

FIRMWARE="$BUILD/firmware"
TOOLCHAIN=GCC5

# InEdk2 COMMAND...: with the environment of edksetup.sh. Conf lies in the workspace, so that the EDK II tree stays clean.
InEdk2() (
  export WORKSPACE="$FIRMWARE" CONF_PATH="$FIRMWARE/Conf" EDK_TOOLS_PATH="$EDK2_DIR/BaseTools"
  export PACKAGES_PATH="$EDK2_DIR:$ROOT" PYTHON_COMMAND=python3
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

Edk2Build() {
  local package="$1" target="$2"
  shift 2
  InEdk2 build -a X64 -t "$TOOLCHAIN" -b "$target" -n "$JOBS" -p "$package/$package.dsc" -D "EXPAT_DIR=$EXPAT_DIR" "$@"
}

# Whether anything that goes into the images is newer than STAMP. Folders count too, because a removed file shows only there.
SourcesChanged() {
  local stamp="$1"
  [[ ! -f "$stamp" ]] ||
    [[ -n "$(cd "$ROOT" && find "${PACKAGES[@]}" tools/lib/firmware.sh "$EDK2_DIR/.tvq-version" "$EXPAT_DIR/lib" \
      -newer "$stamp" -print -quit 2>/dev/null)" ]]
}

# BuildImages PACKAGE TARGET [VARIANT DEFINES...]: nothing when no source is newer than the last build.
BuildImages() {
  local package="$1" target="$2" variant="${3:-}"
  local name="$package$variant" started
  local stamp="$FIRMWARE/stamps/$name-$target"
  shift 2
  (($# == 0)) || shift
  SourcesChanged "$stamp" || return 0
  mkdir -p "$FIRMWARE/Conf" "$FIRMWARE/stamps"
  # A list of modules that changed leaves images behind which nobody builds any more.
  if [[ "$ROOT/$package/$package.dsc" -nt "$stamp" ]]; then
    rm -rf "$FIRMWARE/Build/$name/${target}_$TOOLCHAIN"
  fi
  rm -f "$stamp"
  started="$FIRMWARE/stamps/.started"
  touch "$started"
  Step "Building $name $target" "firmware-$name-$target" Edk2Build "$package" "$target" "$@"
  mv "$started" "$stamp"
}

# A build against another tree starts from nothing: its makefiles name the old one everywhere.
ForgetOtherTree() {
  local trees="$EDK2_DIR $EXPAT_DIR"
  if [[ "$(cat "$FIRMWARE/trees" 2>/dev/null)" != "$trees" ]]; then
    rm -rf "$FIRMWARE"
    mkdir -p "$FIRMWARE"
    echo "$trees" >"$FIRMWARE/trees"
  fi
}

# BuildTarget DEBUG|RELEASE: the images of every package.
BuildTarget() {
  local package
  ForgetOtherTree
  for package in "${PACKAGES[@]}"; do
    BuildImages "$package" "$1"
  done
}

# The driver linked once more lies in a folder of its own, and its sections must be page-aligned.
AuditImages() {
  local output="$FIRMWARE/Build" status=0
  python3 "$TOOLS/audit_efi.py" "$output"/Tvq*Pkg/*_"$TOOLCHAIN"/X64/*.efi || status=1
  python3 "$TOOLS/audit_efi.py" --page-aligned "$output"/Tvq*PageAligned/*_"$TOOLCHAIN"/X64/*.efi || status=1
  return "$status"
}

# FirmwareTarget DEBUG|RELEASE: one target, without the audit.
FirmwareTarget() {
  Lock "$BUILD/firmware.lock"
  BuildTarget "$1"
  Unlock
}

# Both targets, the driver once more with page-aligned sections, and the audit of all of them.
Firmware() {
  local target
  Lock "$BUILD/firmware.lock"
  for target in DEBUG RELEASE; do
    BuildTarget "$target"
    BuildImages TvqSmbiosPkg "$target" PageAligned -D TVQ_PAGE_ALIGNED=TRUE
  done
  Step "Auditing the images" audit AuditImages
  Unlock
}

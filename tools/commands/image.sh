#!/usr/bin/env bash
#? Write an image for a USB stick, or for virtual media, that boots the agent on any machine
#?
#? usage: ./dev image [--iso] [--sign KEY CERT] [--riscv64] [--options WORDS] [--states DIR] [--out FILE]
#?                    [-v]
#?        ./dev image --pictures [-v]
#?
#?   --iso              a disc with an El Torito image, for a BMC's virtual media, in place of a stick
#?   --sign KEY CERT    signs every image for Secure Boot and checks that (PEM files), and puts the certificate beside them
#?   --riscv64          RISCV64 as well; a compiler for it is installed
#?   --options WORDS    what the agent is told, in \TVQ\options.txt
#?   --states DIR       the states of an earlier stick, which this one goes on with: its folder TVQ
#?   --out FILE         the image (default: build/tvq.img, build/tvq.iso)
#?   --pictures         boots the stick in QEMU and takes the pictures of docs/stick.md
#?   -v                 shows the output of the tools while they build
#?
#? On it are X64 and AARCH64, and RISCV64 where it is wanted. Equal sources, options and SOURCE_DATE_EPOCH (default: the time of the last commit) give equal
#? bytes. docs/stick.md says how it gets onto a stick.
#?
#? Exit status: 0 written, 1 it cannot be made, 2 wrong usage.
#
# SPDX-License-Identifier: BSD-2-Clause-Patent
source "$ROOT/tools/lib/common.sh"
source "$LIB/setup.sh"
source "$LIB/firmware.sh"

pictures=0
further=()
arguments=()
while (($#)); do
  case "$1" in
    -v) VERBOSE=1 ;;
    --pictures) pictures=1 ;;
    --riscv64)
      further=(RISCV64)
      arguments+=("$1")
      ;;
    *) arguments+=("$1") ;;
  esac
  shift
done

EnsureSetup
((${#further[@]} == 0)) || InstallRiscv64
StickImages X64 "${further[@]}"
if ((pictures)); then
  ((${#arguments[@]} == 0)) || UsageError "image: --pictures goes alone"
  exec python3 -B "$TOOLS/stick_pictures.py"
fi
exec python3 -B "$TOOLS/stick_image.py" "${arguments[@]}"

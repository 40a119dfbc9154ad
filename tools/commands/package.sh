#!/usr/bin/env bash
#? Make the Debian package of `tvq` with its service, in build/package
#?
#? usage: ./dev package [-v]
#?
#?   -v   shows the output of the tools while they work
#?
#? The program is that of ./dev build host. Equal sources give equal bytes: dates are that of the last commit, or
#? SOURCE_DATE_EPOCH. The maintainer is who builds it: DEBFULLNAME and DEBEMAIL, or whom the last commit is by.
#
# SPDX-License-Identifier: BSD-2-Clause-Patent
source "$ROOT/tools/lib/common.sh"
source "$LIB/setup.sh"
source "$LIB/host.sh"

while (($#)); do
  case "$1" in
    -v) VERBOSE=1 ;;
    *) UsageError "package: unknown argument '$1'; ./dev help package tells more" ;;
  esac
  shift
done

EnsureSetup
InstallPackages debhelper
Host
rm -rf "$BUILD/package"
Step "Making the package" package python3 -B "$TOOLS/make_package.py" --build "$BUILD/host" --out "$BUILD/package"
ls "$BUILD"/package/*.deb

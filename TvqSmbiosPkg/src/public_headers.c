/** @file
  Every public header that is not C++ compiles as plain C, with its assertions on sizes and offsets.

  SPDX-License-Identifier: BSD-2-Clause-Patent
**/

#include <Uefi.h>
#include <Guid/TvqAttributes.h>
#include <Guid/ZvServices.h>
#include <IndustryStandard/SmbiosTvq.h>
#include <IndustryStandard/TvqBlob.h>
#include <Library/ZorvLib.h>
#include <Protocol/DebugLog.h>
#include <Protocol/TvqInventory.h>
#include <Protocol/TvqManagement.h>
#include <Protocol/TvqPlatformPresence.h>
#include <Protocol/TvqRecord.h>
#include <Protocol/TvqStartRequest.h>
#include <Protocol/XmlParser.h>
#include <Protocol/ZvEntry.h>
#include <Protocol/ZvLibrary.h>
#include <TvqVersion.h>

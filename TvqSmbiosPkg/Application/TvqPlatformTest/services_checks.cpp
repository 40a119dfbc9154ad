/** @file
  Checks of the platform services table and of the protocols whose presence alone matters.

  SPDX-License-Identifier: BSD-2-Clause-Patent
**/

#include <Guid/ZvServices.h>
#include <Protocol/TvqPlatformPresence.h>

#include "check.h"

namespace tvqtest {

namespace {

/// The driver takes the last entry.
VOID* FindServices() {
  VOID* found = nullptr;
  for (UINTN i = 0; i < gST->NumberOfTableEntries; i++) {
    if (CompareGuid(&gST->ConfigurationTable[i].VendorGuid, &gZvServicesTableGuid)) {
      found = gST->ConfigurationTable[i].VendorTable;
    }
  }
  return found;
}

VOID* FindAux() {
  return Locate(gZvAuxProtocolGuid);
}

VOID* FindPrerequisite() {
  return Locate(gTvqPrerequisiteProtocolGuid);
}

// Neither is called: nobody could take back what it registers or stores.
constexpr Check kServicesChecks[] = {
    {"position 28, SetAttributeValue: is set", OFFSET_OF(ZV_SERVICES_TABLE, SetAttributeValue),
     nullptr},
    {"position 29, RegisterAttribute: is set", OFFSET_OF(ZV_SERVICES_TABLE, RegisterAttribute),
     nullptr},
};

}  // namespace

const Group kServices = {
    "Platform services table",
    FindServices,
    "the driver is not loaded: its entry point answers EFI_NOT_FOUND. Install the table under "
    "gZvServicesTableGuid before the protocols of the dependency expression.",
    "compare the table with Guid/ZvServices.h: the position of an entry is the interface.",
    false,
    kServicesChecks};

const Group kAux = {"Auxiliary protocol",
                    FindAux,
                    "the driver is never loaded: its dependency expression waits for "
                    "gZvAuxProtocolGuid. Install it with any interface.",
                    "",
                    false,
                    {}};

const Group kPrerequisite = {"Prerequisite protocol",
                             FindPrerequisite,
                             "the start builds no record and answers EFI_NOT_FOUND. Install "
                             "gTvqPrerequisiteProtocolGuid before the start request is called.",
                             "",
                             false,
                             {}};

}  // namespace tvqtest

/** @file
  The parts of a platform that the driver relies on, taken away one at a time.

  SPDX-License-Identifier: BSD-2-Clause-Patent
**/

#include "faults.h"

extern "C" {
#include <Library/UefiLib.h>
#include <Library/UefiRuntimeServicesTableLib.h>
}

#include <Guid/ZvServices.h>
#include <Protocol/DebugLog.h>
#include <Protocol/TvqManagement.h>
#include <Protocol/TvqPlatform.h>
#include <Protocol/TvqPlatformPresence.h>
#include <Protocol/XmlParser.h>
#include <Protocol/ZvLibrary.h>

namespace tvqplatform {

namespace {

struct Part {
  const CHAR8* Name;
  EFI_GUID* Guid;
};

const Part kKnownParts[] = {
    {"library", &gZvLibraryProtocolGuid},
    {"aux", &gZvAuxProtocolGuid},
    {"prerequisite", &gTvqPrerequisiteProtocolGuid},
    {"log", &gDebugLogProtocolGuid},
    {"management", &gTvqManagementProtocolGuid},
    {"xml", &gXmlParserProtocolGuid},
    {"services", &gZvServicesTableGuid},
};

/// What has to be remembered of a part. A part without a handle is a configuration table.
struct Taken {
  EFI_HANDLE Handle;
  VOID* Interface;
};

/// The variable's name is one for all parts; the part's GUID is its vendor.
CHAR16* VariableName() {
  return tvq::Ucs2(u"TvqFaultsTaken");
}

EFI_GUID* FindPart(const CHAR8* name) {
  for (const Part& part : kKnownParts) {
    if (AsciiStrCmp(part.Name, name) == 0) {
      return part.Guid;
    }
  }
  return nullptr;
}

[[nodiscard]] EFI_STATUS Find(EFI_GUID* guid, Taken& taken) {
  taken = {};
  if (!EFI_ERROR(EfiGetSystemConfigurationTable(guid, &taken.Interface))) {
    return EFI_SUCCESS;
  }
  UINTN size = sizeof(taken.Handle);
  const EFI_STATUS status = gBS->LocateHandle(ByProtocol, guid, nullptr, &size, &taken.Handle);
  // There is one; where there are more, the buffer is too small, and this is no reference platform.
  return EFI_ERROR(status) ? status : gBS->HandleProtocol(taken.Handle, guid, &taken.Interface);
}

}  // namespace

void ShowParts() {
  for (const Part& part : kKnownParts) {
    AsciiPrint(" %a", part.Name);
  }
}

EFI_STATUS TakeAway(const CHAR8* part) {
  EFI_GUID* guid = FindPart(part);
  Taken taken;
  EFI_STATUS status = guid == nullptr ? EFI_INVALID_PARAMETER : Find(guid, taken);
  if (EFI_ERROR(status)) {
    return status;
  }
  status = gRT->SetVariable(VariableName(), guid, EFI_VARIABLE_BOOTSERVICE_ACCESS, sizeof(taken),
                            &taken);
  if (EFI_ERROR(status)) {
    return status;
  }
  return taken.Handle == nullptr
             ? gBS->InstallConfigurationTable(guid, nullptr)
             : gBS->UninstallProtocolInterface(taken.Handle, guid, taken.Interface);
}

EFI_STATUS PutBack(const CHAR8* part) {
  EFI_GUID* guid = FindPart(part);
  if (guid == nullptr) {
    return EFI_INVALID_PARAMETER;
  }
  Taken taken;
  UINTN size = sizeof(taken);
  const EFI_STATUS status = gRT->GetVariable(VariableName(), guid, nullptr, &size, &taken);
  if (EFI_ERROR(status)) {
    return status;
  }
  (void)gRT->SetVariable(VariableName(), guid, EFI_VARIABLE_BOOTSERVICE_ACCESS, 0, nullptr);
  return taken.Handle == nullptr ? gBS->InstallConfigurationTable(guid, taken.Interface)
                                 : gBS->InstallProtocolInterface(
                                       &taken.Handle, guid, EFI_NATIVE_INTERFACE, taken.Interface);
}

}  // namespace tvqplatform

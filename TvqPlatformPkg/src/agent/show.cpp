/** @file
  The sections of the agent's report.

  SPDX-License-Identifier: BSD-2-Clause-Patent
**/

#include "show.h"

#include "../text.h"

namespace tvqplatform {

namespace {

constexpr UINTN kSentence = 200;

const CHAR8* KindInWords(smbios::EntryPointKind kind) {
  using smbios::EntryPointKind;
  switch (kind) {
    case EntryPointKind::k32Bit:
      return "32-bit entry point";
    case EntryPointKind::k64Bit:
      return "64-bit entry point";
    case EntryPointKind::kNone:
      break;
  }
  return "no entry point";
}

/// A text of a record, or a dash.
CHAR16* OrDash(CHAR16* text) {
  return text == nullptr || text[0] == 0 ? tvq::Ucs2(u"-") : text;
}
const CHAR8* OrDash(const CHAR8* text) {
  return text == nullptr || text[0] == '\0' ? "-" : text;
}

UINTN WidestFqdd(const Inventory& inventory) {
  UINTN widest = Length("FQDD");
  for (const DeviceInventory& device : inventory) {
    widest = MAX(widest, Length(OrDash(device.Fqdd)));
  }
  return widest;
}

const DeviceLabel* LabelOf(const DeviceInventory& device, const DeviceLabels& labels) {
  return device.HasDevicePath ? labels.OfRecord({device.DevicePath, sizeof(device.DevicePath)})
                              : nullptr;
}

UINTN WidestLabel(const Inventory& inventory, const DeviceLabels& labels) {
  UINTN widest = Length("Label");
  for (const DeviceInventory& device : inventory) {
    CHAR8 label[kLabelSize];
    CopyLabel(LabelOf(device, labels), label);
    widest = MAX(widest, Length(label));
  }
  return widest;
}

void ShowDevice(Report& report, const DeviceInventory& device, UINTN fqddWidth,
                const DeviceLabels& labels, UINTN labelWidth) {
  CHAR8 label[kLabelSize];
  CopyLabel(LabelOf(device, labels), label);
  CHAR8 serial[16];
  CHAR8 marketingName[64];
  CopySerialNumber(device, serial, sizeof(serial));
  CopyMarketingName(device, marketingName, sizeof(marketingName));
  AddLine(&report, "  %-*s  %-*a  %-13a  %-14a  %a", fqddWidth, OrDash(device.Fqdd), labelWidth,
          label, ClassInWords(device), OrDash(serial), OrDash(marketingName));
}

void ShowIdentity(Report& report, const DeviceInventory& device, UINTN fqddWidth) {
  const TVQ_IDENTITY& identity = device.Identity;
  if (EFI_ERROR(device.IdentityStatus)) {
    AddLine(&report, "  %-*s  %r", fqddWidth, OrDash(device.Fqdd), device.IdentityStatus);
    return;
  }
  AddLine(&report, "  %-*s  %08x %08x %08x %08x %08x  %6d %6d %6d", fqddWidth, OrDash(device.Fqdd),
          identity.Version, identity.ComponentClass, identity.ClassQualifier, identity.Signature,
          identity.Reserved, static_cast<UINT32>(BlobBytes(device, TVQ_SLOT_INVENTORY).Size()),
          static_cast<UINT32>(BlobBytes(device, TVQ_SLOT_CONFIGURATION).Size()),
          static_cast<UINT32>(BlobBytes(device, TVQ_SLOT_END).Size()));
}

void ShowBiosInfo(Report& report, const SMBIOS_BIOS_INFO& info) {
  AddLine(&report, "      ServiceTag   %a", OrDash(info.ServiceTag));
  AddLine(&report, "      BiosVersion  %a", OrDash(info.BiosVersion));
  AddLine(&report, "      ProductName  %a", OrDash(info.ProductName));
}

/// The text without the line feed at its end; one inside shows as '?', as the report does it.
UINTN LengthWithoutLineFeed(const CHAR16* text) {
  const UINTN length = Length(text);
  return length != 0 && text[length - 1] == '\n' ? length - 1 : length;
}

}  // namespace

void ShowTable(Report& report, const Capture& capture, const CHAR8* origin) {
  AddLine(&report, "Table: SMBIOS %d.%d, %d structures, %d bytes, from %a (%a)",
          static_cast<UINT32>(capture.Table.Major), static_cast<UINT32>(capture.Table.Minor),
          static_cast<UINT32>(capture.Table.StructureCount),
          static_cast<UINT32>(capture.Table.Structures.Size()), origin, KindInWords(capture.Kind));
  for (UINTN i = 0; i < capture.Remarks.Size(); i++) {
    CHAR8 sentence[kSentence];
    FormatNote(capture.Remarks[i], sentence, sizeof(sentence));
    AddLine(&report, "  Note: %a.", sentence);
  }
}

void ShowChanges(Report& report, ConformResult result, const ConformedTable& conformed) {
  if (result != ConformResult::kChanged) {
    AddLine(&report, "Conforming: %a.", ConformResultText(result));
    return;
  }
  const GrowingArray<TableChange>& changes = conformed.Changes();
  AddLine(&report,
          "Conforming: %d changes, in a copy of the table:", static_cast<UINT32>(changes.Size()));
  for (const TableChange& change : changes) {
    CHAR8 sentence[kSentence];
    FormatChange(change, sentence, sizeof(sentence));
    AddLine(&report, "  %a", sentence);
    if (change.Field == ChangedField::kInactive) {
      AddLine(&report, "    What to do: nothing; the firmware's own table keeps it as it is.");
    }
  }
}

void ShowInventory(Report& report, const Inventory& inventory, const DeviceLabels& labels) {
  if (inventory.Size() == 0) {
    AddLine(&report, "Records: none");
    return;
  }
  const UINTN width = WidestFqdd(inventory);
  AddLine(&report, "Records: %d", static_cast<UINT32>(inventory.Size()));
  const UINTN labelWidth = WidestLabel(inventory, labels);
  AddLine(&report, "  %-*a  %-*a  %-13a  %-14a  %a", width, "FQDD", labelWidth, "Label", "Class",
          "Serial", "Marketing name");
  for (const DeviceInventory& device : inventory) {
    ShowDevice(report, device, width, labels, labelWidth);
  }
  AddLine(&report, "");
  AddLine(&report, "Identities, and the sizes of the inventory, configuration and end blobs:");
  for (const DeviceInventory& device : inventory) {
    ShowIdentity(report, device, width);
  }
}

void ShowAttributes(Report& report, const AttributeAnswers& answers) {
  AddLine(&report, "Attributes:");
  for (UINTN i = 0; i < AttributeAnswers::kCount; i++) {
    const AttributeAnswer& answer = answers[i];
    if (EFI_ERROR(answer.Status)) {
      AddLine(&report, "  %-16s  %-22s  (%r)", answer.Namespace, answer.Name, answer.Status);
    } else if (answer.IsBiosInfo) {
      AddLine(&report, "  %-16s  %-22s", answer.Namespace, answer.Name);
      ShowBiosInfo(report, *answer.BiosInfo);
    } else {
      AddLine(&report, "  %-16s  %-22s  %s", answer.Namespace, answer.Name, answer.Text);
    }
  }
}

void WriteLog(Report& log, TVQ_PLATFORM_PROTOCOL& platform) {
  TVQ_LOG_LINE line;
  for (UINTN i = 0; !EFI_ERROR(platform.GetLogLine(&platform, i, &line)); i++) {
    AddLine(&log, "0x%08x %-20a %.*s", line.Level, line.FunctionName,
            LengthWithoutLineFeed(line.Text), line.Text);
  }
  const UINTN lost = platform.CountLostLines(&platform);
  if (lost != 0) {
    AddLine(&log, "%d lines were lost, because there was no memory for them",
            static_cast<UINT32>(lost));
  }
}

}  // namespace tvqplatform

/** @file
  What the screen has to show, apart from how.

  SPDX-License-Identifier: BSD-2-Clause-Patent
**/

#include "content.h"

#include "../../compare/lines.h"
#include "../../smbios/names/slot_place.h"

namespace tvqplatform {

namespace {

void CopyWide(const CHAR16* text, CHAR8* buffer, UINTN size) {
  AsciiSPrint(buffer, size, "%s", text == nullptr ? tvq::Ucs2(u"") : text);
}

const CHAR8* ClassInWords(UINT32 componentClass) {
  switch (componentClass) {
    case TVQ_CLASS_CPU:
      return "processor";
    case TVQ_CLASS_DIMM:
      return "memory module";
    default:
      return "system";
  }
}

ShownDevice Blank() {
  ShownDevice shown;
  ZeroMem(&shown, sizeof(shown));
  shown.Record = kNone;
  return shown;
}

void Append(const ShownDevice& shown, ScreenContent& content) {
  content.Expect(content.Devices.Append(shown));
}

/// Without blanks around it.
void CopyLabelText(smbios::Text label, ShownDevice& shown) {
  const smbios::Text text = WithoutOuterBlanks(label);
  CopyMem(shown.Label, text.Data(), MIN(text.Length(), sizeof(shown.Label) - 1));
}
void CopyLabelText(const DeviceLabel* label, ShownDevice& shown) {
  if (label != nullptr) {
    CopyLabelText(label->Text, shown);
  }
}

void ShowRecord(const Inventory& inventory, UINT32 record, const DeviceLabels& labels,
                ScreenContent& content) {
  const DeviceInventory& device = inventory[record];
  ShownDevice shown = Blank();
  CopyLabelText(device.HasDevicePath ? labels.OfRecord(Bytes(device.DevicePath)) : nullptr, shown);
  CopyWide(device.Fqdd, shown.Fqdd, sizeof(shown.Fqdd));
  CopySerialNumber(device, shown.Serial, sizeof(shown.Serial));
  CopyMarketingName(device, shown.Name, sizeof(shown.Name));
  shown.Class = ClassInWords(device);
  shown.Record = record;
  Append(shown, content);
}

void ShowWithoutRecord(const SnapshotDevice& device, const DeviceLabels& labels,
                       ScreenContent& content) {
  ShownDevice shown = Blank();
  CopyLabelText(labels.OfFqdd(device.Fqdd), shown);
  CopyWide(device.Fqdd, shown.Fqdd, sizeof(shown.Fqdd));
  AsciiSPrint(shown.Name, sizeof(shown.Name), "(no record)");
  shown.Class = ClassInWords(device.ComponentClass);
  Append(shown, content);
}

/// One that this boot has no line of: it is gone, or the driver makes no records of its kind.
void ShowFinding(const Comparison& comparison, const Finding& finding, ScreenContent& content) {
  ShownDevice shown = Blank();
  CopyLabelText(LabelOf(comparison, finding), shown);
  CopyWide(FqddOf(comparison, finding), shown.Fqdd, sizeof(shown.Fqdd));
  shown.Class = NameOf(finding.Kind);
  Append(shown, content);
}

struct VerdictLines {
  ScreenContent& Content;
  Style How;
};

void AddVerdictLine(VOID* context, const CHAR8* line) {
  auto* lines = static_cast<VerdictLines*>(context);
  lines->Content.Expect(lines->Content.Verdicts.Add(lines->How, line));
}

}  // namespace

UINTN ScreenContent::CountFindings() const {
  UINTN count = 0;
  for (const ShownDevice& device : Devices) {
    count += device.IsFinding ? 1 : 0;
  }
  return count;
}

UINTN ScreenContent::FirstFinding() const {
  for (UINTN i = 0; i < Devices.Size(); i++) {
    if (Devices[i].IsFinding) {
      return i;
    }
  }
  return 0;
}

void ShowDevices(const Inventory& inventory, const DeviceLabels& labels, const Snapshot& now,
                 ScreenContent& content) {
  for (UINT32 i = 0; i < inventory.Size(); i++) {
    ShowRecord(inventory, i, labels, content);
  }
  for (const SnapshotDevice& device : now.Devices) {
    if (device.Why != WhyNoRecord::kHasRecord) {
      ShowWithoutRecord(device, labels, content);
    }
  }
  content.PresentCount = content.Devices.Size();
}

void ShowVerdicts(const Comparison& comparison, ScreenContent& content) {
  content.IsQuiet = IsQuiet(comparison);
  for (UINTN i = 0; i < comparison.Size(); i++) {
    const Finding& finding = comparison[i];
    // The devices of this boot come first, in their order on both sides.
    UINTN place = finding.After;
    if (finding.After >= content.PresentCount) {
      place = content.Devices.Size();
      ShowFinding(comparison, finding, content);
    }
    if (place >= content.Devices.Size()) {
      continue;  // There was no memory for it.
    }
    ShownDevice& shown = content.Devices[place];
    shown.Verdict = WordsOf(finding.What).Name;
    shown.IsFinding = IsFinding(comparison, finding);
    shown.FirstLine = static_cast<UINT32>(content.Verdicts.Size());
    VerdictLines lines = {content, shown.IsFinding ? Style::kAttention : Style::kPlain};
    WriteFinding(comparison, finding, {AddVerdictLine, &lines, true});
    shown.LineCount = static_cast<UINT32>(content.Verdicts.Size()) - shown.FirstLine;
  }
}

void ForgetVerdicts(ScreenContent& content) {
  content.Devices.Shrink(content.PresentCount);
  content.Verdicts.Clear();
  content.IsQuiet = false;
  for (ShownDevice& shown : content.Devices) {
    shown.Verdict = nullptr;
    shown.IsFinding = false;
    shown.FirstLine = 0;
    shown.LineCount = 0;
  }
}

}  // namespace tvqplatform

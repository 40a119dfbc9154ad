/** @file
  What the machine itself prints at its sockets and slots, beside the names that they have here.

  SPDX-License-Identifier: BSD-2-Clause-Patent
**/

#include "device_labels.h"

#include <IndustryStandard/SmbiosFields.h>

#include "../fqdd_map.h"
#include "slot_place.h"

namespace tvqplatform {

namespace devices = tvq::devices;
using smbios::Structure;

namespace {

/// What tells of a name that the table's own type 225 gives.
constexpr CHAR8 kGivenByTable[] = "type-225";

DeviceLabel LabelOf(const Structure& structure) {
  DeviceLabel label = {};
  const devices::Kind kind = devices::KindOf(structure);
  label.Key = devices::KeyOf(structure);
  label.HasRecord = devices::RecordTypeOf(kind) != 0;
  label.Handle = structure.Handle();
  label.Text = devices::NameOf(structure);
  return label;
}

/// Gives a new label the FQDD as the driver makes it up.
void PrintOwnFqdd(const Structure& structure, DeviceLabel& label) {
  if (structure.Type() == SMBIOS_TYPE_PROCESSOR_INFORMATION) {
    AsciiSPrint(label.Fqdd, sizeof(label.Fqdd), "CPU.Socket.%x",
                static_cast<UINT32>(devices::SocketNumber(structure)));
    return;
  }
  const devices::LocatorKey key = devices::KeyOfLocator(structure);
  AsciiSPrint(label.Fqdd, sizeof(label.Fqdd), "DIMM.Socket.");
  CopyMem(label.Fqdd + AsciiStrLen(label.Fqdd), key.Characters, sizeof(key.Characters));
}

bool AreEqual(const CHAR8* left, const CHAR16* right) {
  while (*left != '\0' && static_cast<UINT8>(*left) == *right) {
    left++;
    right++;
  }
  return *left == '\0' && *right == 0;
}

}  // namespace

void CopyLabel(const DeviceLabel* label, CHAR8 (&buffer)[kLabelSize]) {
  const smbios::Text text = label == nullptr ? smbios::Text() : WithoutOuterBlanks(label->Text);
  ZeroMem(buffer, sizeof(buffer));
  if (text.Length() == 0) {
    buffer[0] = '-';
  } else {
    CopyMem(buffer, text.Data(), MIN(text.Length(), kLabelSize - 1));
  }
}

DeviceLabels::~DeviceLabels() {
  mLabels.Free();
}

bool DeviceLabels::Collect(Bytes table) {
  mLabels.Free();
  for (const Structure& structure : smbios::Walk(table)) {
    if (!GetsName(structure)) {
      continue;
    }
    DeviceLabel label = LabelOf(structure);
    const smbios::Text fqdd = FqddInTable(table, structure.Handle());
    if (fqdd) {
      CopyMem(label.Fqdd, fqdd.Data(), MIN(fqdd.Length(), kFqddSize - 1));
    } else {
      PrintOwnFqdd(structure, label);
    }
    if (!mLabels.Append(label)) {
      return false;
    }
  }
  return true;
}

bool DeviceLabels::Collect(const GrowingArray<NamedDevice>& devices, Bytes conformed) {
  mLabels.Free();
  const NamedDevice* device = devices.begin();
  for (const Structure& structure : smbios::Walk(conformed)) {
    if (!GetsName(structure) || device == devices.end()) {
      continue;
    }
    DeviceLabel label = LabelOf(structure);
    label.Text = device->Label;
    label.Rule = device->IsFqddKept ? kGivenByTable : device->Rule;
    CopyMem(label.Fqdd, device->Fqdd, sizeof(label.Fqdd));
    device++;
    if (!mLabels.Append(label)) {
      return false;
    }
  }
  return true;
}

const DeviceLabel* DeviceLabels::OfRecord(Bytes devicePath) const {
  const devices::Key key = devices::KeyOfPath(devicePath);
  for (const DeviceLabel& label : mLabels) {
    if (label.HasRecord && label.Key == key) {
      return &label;
    }
  }
  return nullptr;
}

const DeviceLabel* DeviceLabels::OfFqdd(const CHAR16* fqdd) const {
  for (const DeviceLabel& label : mLabels) {
    if (AreEqual(label.Fqdd, fqdd)) {
      return &label;
    }
  }
  return nullptr;
}

}  // namespace tvqplatform

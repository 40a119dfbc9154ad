/** @file
  Whether two snapshots are of one machine.

  SPDX-License-Identifier: BSD-2-Clause-Patent
**/

#include "machine_match.h"

#include <Library/TvqBlobLib.h>
#include <Protocol/TvqInventory.h>

#include "../smbios/names/slot_place.h"
#include "machine_identity.h"

namespace tvqplatform {

namespace blobs = tvq::blobs;

namespace {

/// Characters of a serial number that are shown.
constexpr UINTN kShownSerial = 40;

bool AreEqual(smbios::Text left, smbios::Text right) {
  return left.Length() == right.Length() &&
         CompareMem(left.Data(), right.Data(), left.Length()) == 0;
}

Agreement AgreementOf(bool isThere, bool isEqual) {
  return !isThere ? Agreement::kAbsent : isEqual ? Agreement::kAgrees : Agreement::kDiffers;
}

/// Blanks around a number say nothing.
Agreement CompareNumbers(smbios::Text now, smbios::Text saved) {
  return AgreementOf(IsUsableNumber(now) && IsUsableNumber(saved),
                     AreEqual(WithoutOuterBlanks(now), WithoutOuterBlanks(saved)));
}

Agreement CompareUuids(const MachineIdentity& now, const MachineIdentity& saved) {
  return AgreementOf(HasUsableUuid(now) && HasUsableUuid(saved),
                     CompareMem(now.Uuid, saved.Uuid, sizeof(now.Uuid)) == 0);
}

/// The serial number in the inventory blob of a module; none where it tells nothing.
smbios::Text SerialOf(const SnapshotDevice& device) {
  if (device.ComponentClass != TVQ_CLASS_DIMM) {
    return smbios::Text();
  }
  const blobs::Blob blob = blobs::ReadBlob(device.Blobs);
  if (blob.Type != blobs::kInventory) {
    return smbios::Text();
  }
  const smbios::Text serial =
      smbios::TextAt(blobs::BytesOf(blob.Whole, blobs::ReadInventory(blob.Whole).Wwn));
  return IsUsableNumber(serial) ? serial : smbios::Text();
}

UINTN CountSerials(const Snapshot& snapshot) {
  UINTN count = 0;
  for (const SnapshotDevice& device : snapshot.Devices) {
    count += SerialOf(device) ? 1 : 0;
  }
  return count;
}

bool HasSerial(const Snapshot& snapshot, smbios::Text serial) {
  for (const SnapshotDevice& device : snapshot.Devices) {
    const smbios::Text other = SerialOf(device);
    if (other && AreEqual(other, serial)) {
      return true;
    }
  }
  return false;
}

Agreement CompareModules(const Snapshot& now, const Snapshot& saved) {
  const UINTN fewer = MIN(CountSerials(now), CountSerials(saved));
  UINTN common = 0;
  for (const SnapshotDevice& device : now.Devices) {
    const smbios::Text serial = SerialOf(device);
    common += serial && HasSerial(saved, serial) ? 1 : 0;
  }
  if (fewer == 0 || (common != 0 && common * 2 <= fewer)) {
    return Agreement::kAbsent;
  }
  return common == 0 ? Agreement::kDiffers : Agreement::kAgrees;
}

/// Appends to a text, cut to its room.
VOID EFIAPI AppendPrinted(CHAR8 (&buffer)[kMachineTextSize], const CHAR8* format, ...) {
  const UINTN length = AsciiStrLen(buffer);
  VA_LIST marker;
  VA_START(marker, format);
  AsciiVSPrint(buffer + length, sizeof(buffer) - length, format, marker);
  VA_END(marker);
}

void AppendSerial(CHAR8 (&buffer)[kMachineTextSize], const CHAR8* whose, smbios::Text number) {
  if (!IsUsableNumber(number)) {
    return;
  }
  const smbios::Text serial = WithoutOuterBlanks(number);
  CHAR8 shown[kShownSerial + 1] = {};
  for (UINTN i = 0; i < MIN(serial.Length(), kShownSerial); i++) {
    shown[i] = serial[i] < ' ' || serial[i] > '~' ? '?' : static_cast<CHAR8>(serial[i]);
  }
  AppendPrinted(buffer, "%a%a %a", buffer[0] == '\0' ? "" : ", ", whose, shown);
}

void AppendUuid(CHAR8 (&buffer)[kMachineTextSize], const Snapshot& machine) {
  if (!HasUsableUuid(machine.Machine)) {
    return;
  }
  CHAR8 uuid[kUuidText];
  PrintUuid(machine.Machine.Uuid, HasSwappedUuids(machine), uuid);
  AppendPrinted(buffer, "%aUUID %a", buffer[0] == '\0' ? "" : ", ", uuid);
}

}  // namespace

MachineEvidence CompareMachines(const Snapshot& now, const Snapshot& saved) {
  if (((now.Options | saved.Options) & kSnapshotRedacted) != 0) {
    return MachineEvidence();
  }
  MachineEvidence evidence;
  evidence.Uuid = CompareUuids(now.Machine, saved.Machine);
  evidence.System = CompareNumbers(now.Machine.SystemSerial, saved.Machine.SystemSerial);
  evidence.Board = CompareNumbers(now.Machine.BoardSerial, saved.Machine.BoardSerial);
  evidence.Chassis = CompareNumbers(now.Machine.ChassisSerial, saved.Machine.ChassisSerial);
  evidence.Modules = CompareModules(now, saved);
  return evidence;
}

const CHAR8* MachineMatchText(MachineMatch match) {
  switch (match) {
    case MachineMatch::kSame:
      return "the same machine";
    case MachineMatch::kBoardReplaced:
      return "the same machine with another board";
    case MachineMatch::kAnother:
      return "another machine";
    case MachineMatch::kUnknown:
      break;
  }
  return "a machine that nothing tells from others";
}

void FormatMachine(const Snapshot& machine, CHAR8 (&buffer)[kMachineTextSize]) {
  buffer[0] = '\0';
  AppendSerial(buffer, "system", machine.Machine.SystemSerial);
  AppendSerial(buffer, "board", machine.Machine.BoardSerial);
  AppendSerial(buffer, "chassis", machine.Machine.ChassisSerial);
  AppendUuid(buffer, machine);
  if (buffer[0] == '\0') {
    AppendPrinted(buffer, "no number that tells it from others");
  }
}

}  // namespace tvqplatform

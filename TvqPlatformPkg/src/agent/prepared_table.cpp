/** @file
  The table that the driver is started on: read, conformed and published.

  SPDX-License-Identifier: BSD-2-Clause-Patent
**/

#include "prepared_table.h"

#include "../smbios/firmware_table.h"
#include "../smbios/names/slot_place.h"
#include "../states/machine_identity.h"
#include "attributes.h"
#include "messages.h"
#include "show.h"

namespace tvqplatform {

namespace {

/// Far more than a 32-bit entry point can state, so that the table itself is judged.
constexpr UINTN kMaximumFile = SIZE_1MB;

constexpr CHAR8 kRemoveFile[] =
    "remove \\TVQ\\table.bin to see this machine's own table, or use one of at most 65,535 bytes.";
constexpr CHAR8 kTooLargeForDriver[] =
    "nothing here: the driver reads no larger table. Under Linux, dmidecode shows it. A later "
    "version "
    "of the firmware, or fewer cards in the machine, may make it smaller.";
constexpr CHAR8 kNoTable[] =
    "look for a switch for SMBIOS in the firmware's setup, or update the firmware. To see the "
    "table of another "
    "machine, put it at \\TVQ\\table.bin, as dmidecode --dump-bin writes it.";
constexpr CHAR8 kFreeLowMemory[] =
    "put TvqAgent first in the boot order, switch off in the firmware's setup what runs before it, "
    "such as "
    "booting from the network, and restart the machine.";

}  // namespace

PreparedTable::~PreparedTable() {
  mFile.Free();
}

bool PreparedTable::Prepare(bool asIs) {
  if (!Read()) {
    return false;
  }
  if (!IsSmallEnough()) {
    return false;
  }
  mPublished = mCapture.Table;
  mIsAsIs = true;
  // Without memory for them, the labels show as dashes.
  (void)mLabels.Collect(mCapture.Table.Structures);
  if (!asIs) {
    Conform();
  }
  return Publish();
}

void PreparedTable::ReadLabels(bool asIs) {
  (void)Fetch();  // What cannot be read has no sockets and slots.
  mPublished = mCapture.Table;
  mIsOfOthers = IsOfOthers();
  if (mIsOfOthers) {
    mReport.Fail("the records are of another machine's table than the one that is read here",
                 "run TvqAgent again, which starts the driver on this one; nothing is compared.");
    return;
  }
  mIsAsIs = asIs || IsRefused(mConformed.Conform(mCapture.Table.Structures));
  if (mIsAsIs) {
    (void)mLabels.Collect(mCapture.Table.Structures);
  } else {
    (void)mLabels.Collect(mConformed.Devices(), mConformed.Structures());
    mCapture.Table.Structures = mConformed.Structures();
  }
}

StartedTable PreparedTable::Started(bool isStarted) const {
  return {mPublished,
          mCapture.Table.Structures,
          mLabels,
          isStarted,
          mIsAsIs ? static_cast<UINT32>(kSnapshotAsIs) : 0,
          mIsOfOthers};
}

bool PreparedTable::IsOfOthers() const {
  const AttributeAnswers answers;
  const CHAR16* tag = answers[0].Text;
  const smbios::Text serial =
      WithoutOuterBlanks(ReadMachineIdentity(mPublished.Structures).SystemSerial);
  if (tag == nullptr || !serial) {
    return false;
  }
  while (*tag == ' ') {
    tag++;
  }
  UINTN i = 0;
  while (i < serial.Length() && tag[i] == serial[i]) {
    i++;
  }
  return i != serial.Length() || (tag[i] != 0 && tag[i] != ' ');
}

/// EFI_NOT_FOUND where there is no file: then it is the firmware's table, where that has one.
EFI_STATUS PreparedTable::Fetch() {
  const CHAR16* path = tvq::Ucs2(TVQ_FILE(u"table.bin"));
  const EFI_STATUS status = mVolume.Read(path, kMaximumFile, mFile);
  if (status == EFI_NOT_FOUND || status == EFI_NO_MEDIA) {
    mIsFirmwares = ReadFirmwareTable(mCapture);
    return EFI_NOT_FOUND;
  }
  if (!EFI_ERROR(status)) {
    ReadCapturedFile({mFile.Data(), mFile.Size()}, mCapture);
  }
  return status;
}

bool PreparedTable::Read() {
  const EFI_STATUS status = Fetch();
  if (mIsFirmwares) {
    ShowTable(mReport, mCapture, "the firmware");
    return true;
  }
  if (status == EFI_NOT_FOUND) {
    mReport.Fail("this firmware has no SMBIOS table", kNoTable);
    return false;
  }
  if (EFI_ERROR(status)) {
    mReport.FailWithStatus("\\TVQ\\table.bin cannot be read", status, kCheckVolume);
    return false;
  }
  if (mCapture.Error != CaptureError::kNone) {
    AddLine(&mReport, "\\TVQ\\table.bin is no SMBIOS table: %a.", CaptureErrorText(mCapture.Error));
    mReport.Fail("\\TVQ\\table.bin is no SMBIOS table",
                 "replace it by what dmidecode --dump-bin writes, or remove it.");
    return false;
  }
  ShowTable(mReport, mCapture, "\\TVQ\\table.bin");
  return true;
}

bool PreparedTable::IsSmallEnough() {
  const UINTN size = mCapture.Table.Structures.Size();
  if (size <= kMaximumTableSize) {
    return true;
  }
  CHAR8 what[80];
  AsciiSPrint(what, sizeof(what), "the table has %,d bytes, and the driver reads at most 65,535",
              static_cast<UINT32>(size));
  mReport.Fail(what, mIsFirmwares ? kTooLargeForDriver : kRemoveFile);
  return false;
}

/// A table that cannot be conformed is used as it stands, so that something can be shown.
void PreparedTable::Conform() {
  const ConformResult result = mConformed.Conform(mCapture.Table.Structures);
  ShowChanges(mReport, result, mConformed);
  if (IsRefused(result)) {
    mReport.Fail("the table cannot be conformed",
                 "this inventory is of the table as it stands; the option as-is asks for that.");
    return;
  }
  (void)mLabels.Collect(mConformed.Devices(), mConformed.Structures());
  mIsAsIs = false;
  mIsChanged = result == ConformResult::kChanged;
  if (mIsChanged) {
    mCapture.Table.Structures = mConformed.Structures();
    mCapture.Table.StructureCount =
        static_cast<UINT16>(smbios::Summarize(mConformed.Structures()).Count);
  }
}

bool PreparedTable::Publish() {
  if (mIsFirmwares && !mIsChanged && mCapture.Kind == smbios::EntryPointKind::k32Bit) {
    return true;
  }
  const EFI_STATUS status = mPublication.Publish(mCapture.Table);
  if (EFI_ERROR(status)) {
    mReport.FailWithStatus("the table cannot be published below 4 GiB", status,
                           status == EFI_OUT_OF_RESOURCES ? kFreeLowMemory : kRestart);
    return false;
  }
  AddLine(&mReport, "Published: %d structures, %d bytes, below 4 GiB behind a 32-bit entry point",
          static_cast<UINT32>(mCapture.Table.StructureCount),
          static_cast<UINT32>(mCapture.Table.Structures.Size()));
  return true;
}

}  // namespace tvqplatform

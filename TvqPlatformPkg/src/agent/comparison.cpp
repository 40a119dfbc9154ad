/** @file
  Compares the devices of this boot with a saved state.

  SPDX-License-Identifier: BSD-2-Clause-Patent
**/

#include "comparison.h"

#include <Library/TvqBlobLib.h>
#include <Library/TvqDeviceLib.h>
#include <Protocol/XmlParser.h>

#include "../text.h"
#include "attributes.h"

namespace tvqplatform {

namespace blobs = tvq::blobs;

namespace {

/// Room for the serial number that an inventory blob holds.
constexpr UINTN kSerialSize = 16;

const CHAR16* FqddOf(const DeviceInventory& device) {
  return device.Fqdd == nullptr ? tvq::Ucs2(u"") : device.Fqdd;
}

/// The saved device that corresponds to the i-th: of those that share an FQDD the n-th matches the
/// n-th.
const SavedDevice* FindSaved(const Inventory& inventory, UINTN i, const SavedState& saved) {
  const CHAR16* fqdd = FqddOf(inventory[i]);
  UINTN before = 0;
  for (UINTN k = 0; k < i; k++) {
    before += Compare(FqddOf(inventory[k]), fqdd) == 0 ? 1 : 0;
  }
  for (UINTN k = 0; k < saved.Size(); k++) {
    if (Compare(saved[k].Fqdd, fqdd) == 0 && before-- == 0) {
      return &saved[k];
    }
  }
  return nullptr;
}

/// Blobs that were saved, read as the blobs of a device.
void CopySavedSerial(const SavedDevice& saved, CHAR8* buffer, UINTN size) {
  TVQ_DATA slots[TVQ_SLOT_COUNT] = {};
  slots[TVQ_SLOT_INVENTORY].Buffer = const_cast<UINT8*>(saved.Data.Data());
  slots[TVQ_SLOT_INVENTORY].Length = static_cast<UINT32>(saved.Data.Size());
  DeviceInventory device;
  ZeroMem(&device, sizeof(device));
  device.Blobs = slots;
  CopySerialNumber(device, buffer, size);
}

/// Saved data begins with the inventory blob, unless that could not be built.
bool HasInventoryBlob(const SavedDevice& saved) {
  return blobs::ReadBlob(saved.Data).Type == blobs::kInventory;
}

bool HasSerial(const SavedDevice& saved, const CHAR8* serial) {
  CHAR8 own[kSerialSize] = {};
  if (!HasInventoryBlob(saved)) {
    return false;
  }
  CopySavedSerial(saved, own, sizeof(own));
  return Compare<CHAR8>(own, serial) == 0;
}

/// The only saved device with the serial number; deliberately null when there are several.
const SavedDevice* FindBySerial(const SavedState& saved, const CHAR8* serial) {
  const SavedDevice* found = nullptr;
  for (UINTN i = 0; i < saved.Size(); i++) {
    if (HasSerial(saved[i], serial)) {
      if (found != nullptr) {
        return nullptr;
      }
      found = &saved[i];
    }
  }
  return found;
}

bool IsOnlyOne(const Inventory& inventory, const CHAR8* serial) {
  UINTN count = 0;
  for (UINTN i = 0; i < inventory.Size(); i++) {
    CHAR8 own[kSerialSize];
    CopySerialNumber(inventory[i], own, sizeof(own));
    count += Compare<CHAR8>(own, serial) == 0 ? 1 : 0;
  }
  return count == 1;
}

/// Where the device was before, when its serial number says so beyond doubt.
const SavedDevice* FindFormerPlace(const Inventory& inventory, const DeviceInventory& device,
                                   const SavedState& saved) {
  CHAR8 serial[kSerialSize];
  CopySerialNumber(device, serial, sizeof(serial));
  if (!IsUsableSerial(serial) || !IsOnlyOne(inventory, serial)) {
    return nullptr;
  }
  const SavedDevice* place = FindBySerial(saved, serial);
  return place != nullptr && Compare(place->Fqdd, FqddOf(device)) != 0 ? place : nullptr;
}

/// Announces saved data to the platform as long as it lives, so that the driver finds its blobs.
class Announcement {
 public:
  explicit Announcement(tvq::Span<const UINT8> data)
      : mPlatform(FindPlatform()), mData(const_cast<UINT8*>(data.Data())) {
    mStatus = mPlatform == nullptr
                  ? EFI_SUCCESS  // Somebody else's platform knows the data by other means.
                  : mPlatform->AnnounceStoredData(mPlatform, mData, data.Size());
  }
  Announcement(const Announcement&) = delete;
  Announcement& operator=(const Announcement&) = delete;
  ~Announcement() {
    if (mPlatform != nullptr && !EFI_ERROR(mStatus)) {
      mPlatform->ForgetStoredData(mPlatform, mData);
    }
  }

  EFI_STATUS Status() const { return mStatus; }

 private:
  TVQ_PLATFORM_PROTOCOL* mPlatform;
  UINT8* mData;
  EFI_STATUS mStatus;
};

/// Asks the driver whether the part was replaced.
[[nodiscard]] EFI_STATUS Verify(TVQ_INVENTORY_PROTOCOL* protocol, tvq::Span<const UINT8> data,
                                UINT32& result) {
  const Announcement announcement(data);
  if (EFI_ERROR(announcement.Status())) {
    return announcement.Status();
  }
  CHAR8 mode[] = "<Mode>Normal</Mode>";
  TVQ_DATA slots[2] = {
      {TVQ_DATA_REVISION, static_cast<UINT32>(data.Size()), const_cast<UINT8*>(data.Data())},
      {TVQ_DATA_REVISION, sizeof(mode), mode}};
  TVQ_DATA oldData = {TVQ_DATA_REVISION, sizeof(slots), slots};
  TVQ_REQUEST request = {TVQ_REQUEST_VERSION, 0};
  return protocol->SMTVQVerify(protocol, &request, &oldData, nullptr, &result);
}

/// The text of the saved configuration document, or null.
const CHAR8* FindDocument(blobs::Bytes data) {
  blobs::Bytes blob;
  if (blobs::FindBlob(data, blobs::kConfiguration, 0, blob) != blobs::Search::kFound) {
    return nullptr;
  }
  return reinterpret_cast<const CHAR8*>(blobs::DocumentOf(blob).Data());
}

bool IsWellFormed(XML_PARSER_PROTOCOL* parser, const CHAR8* document) {
  XML_INPUT input = {XML_INPUT_MEMORY, 0, document, {nullptr, nullptr}};
  XML_NODE* root = nullptr;
  parser->Parse(parser, &input, &root);
  if (root == nullptr) {
    return false;
  }
  parser->Free(parser, root);
  return true;
}

/// Why the driver could not compare, in words.
const CHAR8* ReasonFor(EFI_STATUS status, const SavedDevice& saved) {
  VOID* parser = nullptr;
  if (EFI_ERROR(gBS->LocateProtocol(&gXmlParserProtocolGuid, nullptr, &parser))) {
    return "the platform has no XML parser";
  }
  const CHAR8* document = FindDocument(saved.Data);
  if (document == nullptr) {
    return "the saved data has no configuration document";
  }
  if (!IsWellFormed(static_cast<XML_PARSER_PROTOCOL*>(parser), document)) {
    return "the saved document is not well-formed: one of its texts holds '&', '<' or a control "
           "character";
  }
  return status == EFI_UNSUPPORTED ? "the saved document is laid out otherwise" : nullptr;
}

void VerifyDevice(const Inventory& inventory, UINTN i, const SavedState& saved, Finding& finding) {
  const DeviceInventory& device = inventory[i];
  finding = {Verdict::kNew, &device,       FindSaved(inventory, i, saved),
             nullptr,       EFI_NOT_FOUND, nullptr};
  if (finding.Saved != nullptr) {
    UINT32 result = 0;
    finding.Status = device.Protocol == nullptr
                         ? EFI_NOT_FOUND
                         : Verify(device.Protocol, finding.Saved->Data, result);
    if (EFI_ERROR(finding.Status)) {
      finding.What = Verdict::kNotVerified;
      finding.Reason = ReasonFor(finding.Status, *finding.Saved);
      return;
    }
    finding.What = (result & TVQ_RESULT_PART_REPLACED) != 0 ? Verdict::kReplaced : Verdict::kSame;
  }
  if (finding.What != Verdict::kSame) {
    finding.MovedFrom = FindFormerPlace(inventory, device, saved);
    finding.What = finding.MovedFrom != nullptr ? Verdict::kMoved : finding.What;
  }
}

}  // namespace

const CHAR8* VerdictInWords(Verdict verdict) {
  constexpr const CHAR8* kWords[kVerdictCount] = {"same",  "replaced", "new",
                                                  "moved", "gone",     "not verified"};
  return kWords[static_cast<UINTN>(verdict)];
}

Comparison::~Comparison() {
  mFindings.Free();
}

EFI_STATUS Comparison::Run(const Inventory& inventory, const SavedState& saved) {
  if (!mFindings.Reserve(inventory.Size() + saved.Size())) {
    return EFI_OUT_OF_RESOURCES;
  }
  for (UINTN i = 0; i < inventory.Size(); i++) {
    Finding finding;
    VerifyDevice(inventory, i, saved, finding);
    (void)mFindings.Append(finding);  // There is room.
  }
  for (UINTN i = 0; i < saved.Size(); i++) {
    bool isAccountedFor = false;
    for (const Finding& finding : mFindings) {
      // Where a device moved in, the one that was there before has to be elsewhere, or is gone.
      isAccountedFor |= (finding.Saved == &saved[i] && finding.What != Verdict::kMoved) ||
                        finding.MovedFrom == &saved[i];
    }
    if (!isAccountedFor) {
      (void)mFindings.Append({Verdict::kGone, nullptr, &saved[i], nullptr, EFI_SUCCESS, nullptr});
    }
  }
  return EFI_SUCCESS;
}

UINTN Comparison::Count(Verdict verdict) const {
  UINTN count = 0;
  for (const Finding& finding : mFindings) {
    count += finding.What == verdict ? 1 : 0;
  }
  return count;
}

bool Comparison::FoundSomething() const {
  return Count(Verdict::kReplaced) + Count(Verdict::kNew) + Count(Verdict::kMoved) +
             Count(Verdict::kGone) !=
         0;
}

bool IsUsableSerial(const CHAR8* serial) {
  return !tvq::devices::IsDummy({reinterpret_cast<const UINT8*>(serial), Length(serial)});
}

}  // namespace tvqplatform

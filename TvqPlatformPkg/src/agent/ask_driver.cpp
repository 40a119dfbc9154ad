/** @file
  Asks the driver whether a part was replaced since its blobs were saved.

  SPDX-License-Identifier: BSD-2-Clause-Patent
**/

#include "ask_driver.h"

#include "attributes.h"

namespace tvqplatform {

namespace {

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

EFI_STATUS Ask(VOID* context, UINTN device, tvq::Span<const UINT8> saved, bool& isReplaced) {
  const Inventory& inventory = *static_cast<const Inventory*>(context);
  TVQ_INVENTORY_PROTOCOL* const protocol =
      device < inventory.Size() ? inventory[device].Protocol : nullptr;
  if (protocol == nullptr) {
    return EFI_NOT_FOUND;
  }
  const Announcement announcement(saved);
  if (EFI_ERROR(announcement.Status())) {
    return announcement.Status();
  }
  CHAR8 mode[] = "<Mode>Normal</Mode>";
  TVQ_DATA slots[2] = {
      {TVQ_DATA_REVISION, static_cast<UINT32>(saved.Size()), const_cast<UINT8*>(saved.Data())},
      {TVQ_DATA_REVISION, sizeof(mode), mode}};
  TVQ_DATA oldData = {TVQ_DATA_REVISION, sizeof(slots), slots};
  TVQ_REQUEST request = {TVQ_REQUEST_VERSION, 0};
  UINT32 result = 0;
  const EFI_STATUS status = protocol->SMTVQVerify(protocol, &request, &oldData, nullptr, &result);
  isReplaced = !EFI_ERROR(status) && (result & TVQ_RESULT_PART_REPLACED) != 0;
  return status;
}

}  // namespace

DriverQuestion QuestionFor(const Inventory& inventory) {
  return {Ask, const_cast<Inventory*>(&inventory)};
}

}  // namespace tvqplatform

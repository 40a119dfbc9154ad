/*
 * The TVQ management protocol: finding blobs in announced stored data, and refusing data that is damaged.
 *
 * SPDX-License-Identifier: BSD-2-Clause-Patent
 */
#include "tests/unit/platform/platform_fixture.h"
#include "tests/unit/driver/uefi/verification_fixture.h"

#include <cstring>

namespace tvq::test {
namespace {

constexpr UINT32 kInventory = 3;
constexpr UINT32 kConfiguration = 5;
constexpr UINT32 kEnd = 7;

std::vector<UINT8> Blob(UINT32 type, UINT32 cookie, UINT32 size) {
  return ByteWriter().U32(1).U32(type).U32(cookie).U32(size).Zeros(size - 16).Written();
}
std::vector<UINT8> InventoryBlob(UINT32 size = 127) {
  return Blob(kInventory, 0x0F9B54CF, size);
}
std::vector<UINT8> EndBlob() {
  return Blob(kEnd, 0x36912F26, 148);
}
std::vector<UINT8> Joined(const std::vector<std::vector<UINT8>>& blobs) {
  ByteWriter writer;
  for (const std::vector<UINT8>& blob : blobs) {
    writer.Bytes(blob);
  }
  return writer.Written();
}
// The three blobs of a device; the configuration blob begins at an odd address.
std::vector<UINT8> DeviceData() {
  return Joined({InventoryBlob(), ConfigurationBlob("<tvqComponent/>"), EndBlob()});
}

class Management : public PlatformTest {
 protected:
  TVQ_MANAGEMENT_PROTOCOL* Protocol() {
    return Find<TVQ_MANAGEMENT_PROTOCOL>(gTvqManagementProtocolGuid);
  }
  EFI_STATUS Announce(const VOID* buffer, UINTN length) {
    return Platform()->AnnounceStoredData(Platform(), buffer, length);
  }
  EFI_STATUS Forget(const VOID* buffer) { return Platform()->ForgetStoredData(Platform(), buffer); }
  EFI_STATUS Locate(const VOID* data, UINT32 type, UINTN index = 0) {
    mBlob = this;
    return Protocol()->LocateBlob(Protocol(), const_cast<VOID*>(data), type, index, &mBlob);
  }
  // Announces the bytes in a block of exactly their size, and looks for a blob in them.
  EFI_STATUS LocateIn(const std::vector<UINT8>& bytes, UINT32 type = kConfiguration,
                      UINTN index = 0) {
    const std::vector<UINT8> exact(bytes.begin(), bytes.end());
    EXPECT_EQ(Announce(exact.data(), exact.size()), EFI_SUCCESS);
    const EFI_STATUS status = Locate(exact.data(), type, index);
    if (EFI_ERROR(status)) {
      EXPECT_EQ(mBlob, this) << "the result is touched";
    } else {
      mOffset = static_cast<const UINT8*>(mBlob) - exact.data();
    }
    EXPECT_EQ(Forget(exact.data()), EFI_SUCCESS);
    return status;
  }

  VOID* mBlob = nullptr;
  std::ptrdiff_t mOffset = 0;
};

TEST_F(Management, FindsEachBlobOfADevice) {
  const std::pair<UINT32, std::ptrdiff_t> cases[] = {
      {kInventory, 0}, {kConfiguration, 127}, {kEnd, 127 + 96}};
  for (const auto& [type, offset] : cases) {
    EXPECT_EQ(LocateIn(DeviceData(), type), EFI_SUCCESS);
    EXPECT_EQ(mOffset, offset);
  }
}

TEST_F(Management, FindsABlobByItsNumberAmongThoseOfItsType) {
  const std::vector<UINT8> data =
      Joined({ConfigurationBlob("<a/>"), InventoryBlob(), ConfigurationBlob("<b/>"), EndBlob()});
  EXPECT_EQ(LocateIn(data, kConfiguration, 0), EFI_SUCCESS);
  EXPECT_EQ(mOffset, 0);
  EXPECT_EQ(LocateIn(data, kConfiguration, 1), EFI_SUCCESS);
  EXPECT_EQ(mOffset, 85 + 127);
  EXPECT_EQ(LocateIn(data, kConfiguration, 2), EFI_NOT_FOUND);
}

TEST_F(Management, FindsNoBlobThatIsMissing) {
  EXPECT_EQ(LocateIn(Joined({InventoryBlob(), EndBlob()})), EFI_NOT_FOUND);
  EXPECT_EQ(LocateIn(InventoryBlob()), EFI_NOT_FOUND);
  EXPECT_EQ(LocateIn(DeviceData(), 4), EFI_NOT_FOUND);
  EXPECT_EQ(LocateIn(DeviceData(), 0), EFI_NOT_FOUND);
}

TEST_F(Management, NeedsNoEndBlob) {
  EXPECT_EQ(LocateIn(Joined({InventoryBlob(), ConfigurationBlob("")})), EFI_SUCCESS);
  EXPECT_EQ(mOffset, 127);
}

TEST_F(Management, LooksNoFurtherThanTheEndBlob) {
  EXPECT_EQ(LocateIn(Joined({DeviceData(), {1, 2, 3}})), EFI_SUCCESS);
  EXPECT_EQ(LocateIn(Joined({EndBlob(), ConfigurationBlob("")})), EFI_NOT_FOUND);
}

TEST_F(Management, NeedsItsArguments) {
  const std::vector<UINT8> data = DeviceData();
  ASSERT_EQ(Announce(data.data(), data.size()), EFI_SUCCESS);
  VOID* stored = const_cast<UINT8*>(data.data());
  VOID* blob = nullptr;
  TVQ_MANAGEMENT_PROTOCOL* protocol = Protocol();
  const TVQ_LOCATE_BLOB locate = protocol->LocateBlob;
  EXPECT_EQ(locate(nullptr, stored, kConfiguration, 0, &blob), EFI_INVALID_PARAMETER);
  EXPECT_EQ(locate(protocol, nullptr, kConfiguration, 0, &blob), EFI_INVALID_PARAMETER);
  EXPECT_EQ(locate(protocol, stored, kConfiguration, 0, nullptr), EFI_INVALID_PARAMETER);
  EXPECT_EQ(blob, nullptr);
}

TEST_F(Management, StandsAtByte60) {
  VOID* operation = nullptr;
  std::memcpy(&operation, reinterpret_cast<const UINT8*>(Protocol()) + 60, sizeof(operation));
  const TVQ_LOCATE_BLOB locate = Protocol()->LocateBlob;
  EXPECT_EQ(operation, reinterpret_cast<VOID*>(locate));
}

// --- Damaged data ---

TEST_F(Management, RefusesDataThatIsCutAnywhere) {
  const std::vector<UINT8> whole = DeviceData();
  const size_t boundaries[] = {127, 127 + 96};
  for (size_t size = 1; size < whole.size(); ++size) {
    const bool atBoundary = size == boundaries[0] || size == boundaries[1];
    const std::vector<UINT8> cut(whole.begin(), whole.begin() + static_cast<std::ptrdiff_t>(size));
    const EFI_STATUS expected =
        !atBoundary ? EFI_VOLUME_CORRUPTED : (size == 127 ? EFI_NOT_FOUND : EFI_SUCCESS);
    ASSERT_EQ(LocateIn(cut), expected) << size;
  }
}

TEST_F(Management, RefusesAHeaderThatIsWrong) {
  struct Case {
    const char* what;
    size_t offset;
    UINT32 value;
  };
  const Case cases[] = {
      {"revision 0", 0, 0},
      {"revision 2", 0, 2},
      {"type unknown", 4, 4},
      {"type of another cookie", 4, 3},
      {"cookie of another type", 8, 0x0F9B54CF},
      {"no cookie", 8, 0},
      {"size 0", 12, 0},
      {"size of the header", 12, 16},
      {"size without a terminator", 12, 80},
      {"size beyond the end", 12, 0x1000},
      {"size that wraps around", 12, 0xFFFFFFFF},
  };
  for (const Case& damage : cases) {
    std::vector<UINT8> data = DeviceData();
    for (size_t i = 0; i < 4; ++i) {
      data[127 + damage.offset + i] = static_cast<UINT8>(damage.value >> (8 * i));
    }
    EXPECT_EQ(LocateIn(data), EFI_VOLUME_CORRUPTED) << damage.what;
    EXPECT_EQ(LocateIn(data, kInventory), EFI_VOLUME_CORRUPTED) << damage.what;
  }
}

TEST_F(Management, RefusesABlobThatIsSmallerThanItsFixedPart) {
  EXPECT_EQ(LocateIn(InventoryBlob(126), kInventory), EFI_SUCCESS);
  EXPECT_EQ(LocateIn(InventoryBlob(125), kInventory), EFI_VOLUME_CORRUPTED);
  EXPECT_EQ(LocateIn(Blob(kConfiguration, 0x2C41C4EC, 81)), EFI_SUCCESS);
  EXPECT_EQ(LocateIn(Blob(kConfiguration, 0x2C41C4EC, 80)), EFI_VOLUME_CORRUPTED);
  EXPECT_EQ(LocateIn(Blob(kEnd, 0x36912F26, 148), kEnd), EFI_SUCCESS);
  EXPECT_EQ(LocateIn(Blob(kEnd, 0x36912F26, 147), kEnd), EFI_VOLUME_CORRUPTED);
}

TEST_F(Management, RefusesADocumentWithoutItsTerminator) {
  std::vector<UINT8> data = DeviceData();
  data[127 + 95] = '>';
  EXPECT_EQ(LocateIn(data), EFI_VOLUME_CORRUPTED);
}

// --- Announcing ---

TEST_F(Management, LooksOnlyIntoAnnouncedData) {
  const std::vector<UINT8> data = DeviceData();
  EXPECT_EQ(Locate(data.data(), kConfiguration), EFI_NOT_FOUND);
  ASSERT_EQ(Announce(data.data(), data.size()), EFI_SUCCESS);
  EXPECT_EQ(Locate(data.data(), kConfiguration), EFI_SUCCESS);
  EXPECT_EQ(Locate(data.data() + 127, kConfiguration), EFI_NOT_FOUND);
  ASSERT_EQ(Forget(data.data()), EFI_SUCCESS);
  EXPECT_EQ(Locate(data.data(), kConfiguration), EFI_NOT_FOUND);
}

TEST_F(Management, KnowsAnyNumberOfBuffers) {
  std::vector<std::vector<UINT8>> buffers(100, DeviceData());
  for (const std::vector<UINT8>& buffer : buffers) {
    ASSERT_EQ(Announce(buffer.data(), buffer.size()), EFI_SUCCESS);
  }
  for (size_t i = 0; i < buffers.size(); i += 2) {
    ASSERT_EQ(Forget(buffers[i].data()), EFI_SUCCESS);
  }
  for (size_t i = 0; i < buffers.size(); ++i) {
    EXPECT_EQ(Locate(buffers[i].data(), kConfiguration), i % 2 == 0 ? EFI_NOT_FOUND : EFI_SUCCESS);
  }
}

TEST_F(Management, TakesTheLengthThatWasAnnouncedLast) {
  const std::vector<UINT8> data = DeviceData();
  ASSERT_EQ(Announce(data.data(), data.size()), EFI_SUCCESS);
  ASSERT_EQ(Announce(data.data(), 126), EFI_SUCCESS);
  EXPECT_EQ(Locate(data.data(), kConfiguration), EFI_VOLUME_CORRUPTED);
  ASSERT_EQ(Forget(data.data()), EFI_SUCCESS);
  EXPECT_EQ(Forget(data.data()), EFI_NOT_FOUND);
}

TEST_F(Management, NeedsTheArgumentsOfAnnouncing) {
  const UINT8 data = 0;
  TVQ_PLATFORM_PROTOCOL* platform = Platform();
  EXPECT_GE(platform->Revision, 2u);
  EXPECT_EQ(platform->AnnounceStoredData(nullptr, &data, 1), EFI_INVALID_PARAMETER);
  EXPECT_EQ(platform->AnnounceStoredData(platform, nullptr, 1), EFI_INVALID_PARAMETER);
  EXPECT_EQ(platform->AnnounceStoredData(platform, &data, 0), EFI_INVALID_PARAMETER);
  EXPECT_EQ(platform->ForgetStoredData(nullptr, &data), EFI_INVALID_PARAMETER);
  EXPECT_EQ(platform->ForgetStoredData(platform, nullptr), EFI_INVALID_PARAMETER);
  EXPECT_EQ(platform->ForgetStoredData(platform, &data), EFI_NOT_FOUND);
}

TEST_F(Management, NeedsMemoryToRememberABuffer) {
  const std::vector<UINT8> data = DeviceData();
  Firmware().Memory().FailAllocation(1, host::images::platform);
  EXPECT_EQ(Announce(data.data(), data.size()), EFI_OUT_OF_RESOURCES);
  EXPECT_EQ(Locate(data.data(), kConfiguration), EFI_NOT_FOUND);
  EXPECT_EQ(Announce(data.data(), data.size()), EFI_SUCCESS);
}

TEST_F(Management, ForgetsEverythingWhenThePlatformIsUnloaded) {
  const std::vector<UINT8> data = DeviceData();
  ASSERT_EQ(Announce(data.data(), data.size()), EFI_SUCCESS);
  ASSERT_EQ(Unload(), EFI_SUCCESS);
  EXPECT_EQ(Firmware().Memory().LiveCount(host::images::platform), 0u);
}

}  // namespace
}  // namespace tvq::test

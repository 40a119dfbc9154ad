/*
 * Get of a record's inventory protocol: the three blobs in their array.
 *
 * SPDX-License-Identifier: BSD-2-Clause-Patent
 */
#include "tests/unit/driver/uefi/misplaced_record.h"
#include "tests/unit/driver/uefi/record_fixture.h"

#include "TvqSmbiosPkg/src/documents/blobs.h"
#include "TvqSmbiosPkg/src/uefi/tvq.h"

namespace tvq::test {
namespace {

using testing::Contains;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::Not;

class Get : public RecordTest {
 protected:
  Get() : mProcessor(NewRecord(TVQ_DEVICE_TYPE_CPU)) {
    mProcessor->device.generic.MarketingName = Wide(u"Processor 8");
  }
  EFI_STATUS Ask(smTVQ* record) { return SMTVQGet(InventoryOf(record), &mRequest, &mResult); }
  const TVQ_DATA* Slots() const { return static_cast<const TVQ_DATA*>(mResult.Buffer); }
  const TVQ_BLOB_HEADER& HeaderIn(int slot) const {
    return *static_cast<const TVQ_BLOB_HEADER*>(Slots()[slot].Buffer);
  }
  bool IsEmptySlot(int slot) const {
    return BytesAt(&Slots()[slot], sizeof(TVQ_DATA)) == std::vector<UINT8>(sizeof(TVQ_DATA));
  }
  // From here on the record answers with its cached document, so that Get allocates four blocks: the inventory,
  // configuration and end blob, and the array.
  void CacheTheDocument() {
    ASSERT_EQ(Ask(mProcessor), EFI_SUCCESS);
    mBlocksBefore = NewBlocks().size();
    TakeLog();
  }
  // What Get logs of itself, without the lines of those that it calls.
  std::vector<std::string> TakeOwnLog() {
    std::vector<std::string> own;
    for (const std::string& line : TakeLog()) {
      if (line.rfind("SMTVQGet: ", 0) == 0) {
        own.push_back(line);
      }
    }
    return own;
  }

  smTVQ* mProcessor;
  TVQ_REQUEST mRequest = {2, 0};
  TVQ_DATA mResult = {0xEEEE, 0xEEEE, nullptr};
  size_t mBlocksBefore = 0;
};

TEST_F(Get, ReturnsAnArrayOfThreeBlobsAndATerminator) {
  for (UINT8 type : std::initializer_list<UINT8>{TVQ_DEVICE_TYPE_CPU, TVQ_DEVICE_TYPE_DIMM,
                                                 TVQ_DEVICE_TYPE_SYSTEM}) {
    ASSERT_EQ(Ask(NewRecord(type)), EFI_SUCCESS);
    EXPECT_EQ(mResult.Revision, 1u);
    EXPECT_EQ(mResult.Length, 64u);
    const UINT32 blobTypes[] = {3, 5, 7};
    for (int slot = 0; slot < 3; ++slot) {
      EXPECT_EQ(Slots()[slot].Revision, 1u);
      ASSERT_NE(Slots()[slot].Buffer, nullptr);
      EXPECT_EQ(HeaderIn(slot).type, blobTypes[slot]);
      EXPECT_EQ(Slots()[slot].Length, HeaderIn(slot).sizeInBytes);
    }
    EXPECT_EQ(Slots()[3].Revision, 1u);
    EXPECT_EQ(Slots()[3].Length, 0u);
    EXPECT_EQ(Slots()[3].Buffer, nullptr);
  }
}

TEST_F(Get, HandsOutNewBlocksOnEveryCall) {
  ASSERT_EQ(Ask(mProcessor), EFI_SUCCESS);
  const TVQ_DATA first = mResult;
  const TVQ_DATA* firstSlots = static_cast<const TVQ_DATA*>(first.Buffer);
  ASSERT_EQ(Ask(mProcessor), EFI_SUCCESS);
  EXPECT_NE(first.Buffer, mResult.Buffer);
  for (int slot = 0; slot < 3; ++slot) {
    EXPECT_NE(firstSlots[slot].Buffer, Slots()[slot].Buffer);
  }
}

TEST_F(Get, LeavesNothingBehindButTheCachedDocumentOnceTheCallerFreesWhatItGot) {
  ASSERT_EQ(Ask(mProcessor), EFI_SUCCESS);
  for (int slot = 0; slot < 3; ++slot) {
    EXPECT_EQ(Memory().Find(Slots()[slot].Buffer)->type, EfiBootServicesData);
    EXPECT_EQ(Firmware().BootServices()->FreePool(Slots()[slot].Buffer), EFI_SUCCESS);
  }
  EXPECT_EQ(Memory().Find(mResult.Buffer)->size, 64u);
  EXPECT_EQ(Firmware().BootServices()->FreePool(mResult.Buffer), EFI_SUCCESS);
  ASSERT_EQ(NewBlocks().size(), 1u);
  EXPECT_EQ(NewBlocks()[0].address, mProcessor->ConfigXml);
}

TEST_F(Get, BuildsTheBlobsInOrderAndThenShowsThem) {
  CacheTheDocument();
  ASSERT_EQ(Ask(mProcessor), EFI_SUCCESS);
  const std::string configurationSize = std::to_string(HeaderIn(1).sizeInBytes);
  EXPECT_THAT(TakeLog(),
              ElementsAre("SMTVQGet: Entering \n",                                      //
                          "getInvBlob: Entering \n",                                    //
                          "getInvBlob: MarketingName = [Processor 8] \n",               //
                          "getInvBlob: Populating INVBLOB for CPU \n",                  //
                          "getInvBlob: Exiting \n",                                     //
                          "getConfigBlob: GetInstance Cached SMBIOS Current Values\n",  //
                          "getEndBlob: Entering \n",                                    //
                          "getEndBlob: Exiting \n",                                     //
                          "SMTVQGet: Successfully assigned Blob pointers to array \n",  //
                          "printData: [CPU] BLOB type: 0x00000003\n",                   //
                          "printData: BLOB revision: 1 cookie: 0x0F9B54CF sizeInBytes:139\n",
                          "printData: MktnameOffset = 0 MktName = Processor 8\n",  //
                          "printData: [CPU] BLOB type: 0x00000005\n",
                          "printData: BLOB revision: 1 cookie: 0x2C41C4EC sizeInBytes:" +
                              configurationSize + "\n",
                          "printData: [CPU] BLOB type: 0x00000007\n",  //
                          "printData: BLOB revision: 1 cookie: 0x36912F26 sizeInBytes:148\n",
                          "SMTVQGet: Exiting\n"));
}

TEST_F(Get, NeedsItsArguments) {
  EXPECT_EQ(SMTVQGet(nullptr, &mRequest, &mResult), EFI_INVALID_PARAMETER);
  EXPECT_EQ(SMTVQGet(InventoryOf(mProcessor), nullptr, &mResult), EFI_INVALID_PARAMETER);
  EXPECT_EQ(SMTVQGet(InventoryOf(mProcessor), &mRequest, nullptr), EFI_INVALID_PARAMETER);
  EXPECT_THAT(TakeLog(), ElementsAre("SMTVQGet: Entering \n", "SMTVQGet: Entering \n",
                                     "SMTVQGet: Entering \n"));
}

TEST_F(Get, KnowsVersion2OfTheRequestAlone) {
  for (UINT32 version : {0u, 1u, 3u, 0x20002u}) {
    mRequest = {version, 0};
    EXPECT_EQ(Ask(mProcessor), EFI_INVALID_PARAMETER);
    mRequest = {version, 1};
    EXPECT_EQ(Ask(mProcessor), EFI_INVALID_PARAMETER) << "the version counts before the selector";
  }
  EXPECT_THAT(NewBlocks(), IsEmpty());
}

TEST_F(Get, HasNoOtherSelectionAndBuildsNoBlobForOne) {
  const uint64_t allocations = Memory().Allocations(host::images::driver);
  for (UINT32 selector : {1u, 0x10000u, 0xFFFFFFFFu}) {
    mRequest.Selector = selector;
    EXPECT_EQ(Ask(mProcessor), EFI_NOT_FOUND);
    EXPECT_THAT(TakeLog(), ElementsAre("SMTVQGet: Entering \n"));
  }
  EXPECT_EQ(Memory().Allocations(host::images::driver), allocations);
  EXPECT_EQ(mResult.Length, 0xEEEEu);
}

TEST_F(Get, RefusesAProtocolWithoutARecord) {
  EXPECT_EQ(SMTVQGet(ProtocolOfNoRecord(), &mRequest, &mResult), EFI_INVALID_PARAMETER);
  EXPECT_THAT(NewBlocks(), IsEmpty());
}

TEST_F(Get, AssertsOnABadSignatureAndGoesOnWithTheProtocolAsTheRecord) {
  RecordInPlaceOfTheProtocol records(TVQ_DEVICE_TYPE_CPU, TVQ_DEVICE_TYPE_SYSTEM);
  records.Inner()->ConfigXml = Ascii("inner");
  EXPECT_EQ(SMTVQGet(records.This(), &mRequest, &mResult), EFI_SUCCESS);
  EXPECT_EQ(HeaderIn(1).sizeInBytes, 81u + 5);
  EXPECT_THAT(Firmware().TakeAssertions(), ElementsAre(BadSignatureIn("src/uefi/tvq")));
}

TEST_F(Get, DoesNotLookAtTheSignatureWithoutAssertions) {
  EnableAssertions(false);
  mProcessor->Signature = 0;
  mProcessor->ConfigXml = Ascii("outer text");
  EXPECT_EQ(Ask(mProcessor), EFI_SUCCESS);
  EXPECT_EQ(HeaderIn(1).sizeInBytes, 81u + 10);
}

// What Get logs when one of its blobs cannot be built.
struct MissingBlob {
  const char* name;
  int slot;
  const char* line;
};

class GetWithoutABlob : public Get, public testing::WithParamInterface<MissingBlob> {};

TEST_P(GetWithoutABlob, SucceedsAndLeavesTheSlotZero) {
  CacheTheDocument();
  FailAllocation(static_cast<uint64_t>(GetParam().slot) + 1);
  EXPECT_EQ(Ask(mProcessor), EFI_SUCCESS);
  for (int slot = 0; slot < 3; ++slot) {
    EXPECT_EQ(IsEmptySlot(slot), slot == GetParam().slot) << "slot " << slot;
  }
  EXPECT_EQ(Slots()[3].Revision, 1u);
  EXPECT_EQ(NewBlocks().size(), mBlocksBefore + 3);
  EXPECT_THAT(TakeOwnLog(), ElementsAre("SMTVQGet: Entering \n", GetParam().line,
                                        "SMTVQGet: Successfully assigned Blob pointers to array \n",
                                        "SMTVQGet: Exiting\n"));
}

INSTANTIATE_TEST_SUITE_P(
    EachBlob, GetWithoutABlob,
    testing::Values(MissingBlob{"Inventory", 0, "SMTVQGet: GetInvBlob returned Error\n"},
                    MissingBlob{"Configuration", 1, "SMTVQGet: GetConfigBlob returned Error\n"},
                    MissingBlob{"End", 2, "SMTVQGet: GetEndBlob returned Error\n"}),
    [](const testing::TestParamInfo<MissingBlob>& info) { return info.param.name; });

// One block after the other is not to be had in a record's first Get.
struct FailedBlock {
  const char* name;
  UINT8 deviceType;
  uint64_t allocation;
  int emptySlot;        // -1: none
  bool documentIsKept;  // in the record
};

class FirstGetWithoutOneBlock : public Get, public testing::WithParamInterface<FailedBlock> {
 protected:
  smTVQ* NewFullRecord(UINT8 deviceType) {
    smTVQ* record = NewRecord(deviceType);
    record->device.generic.MarketingName = Wide(u"Name");
    if (deviceType == TVQ_DEVICE_TYPE_DIMM) {
      record->device.dimm.DeviceLocator = Wide(u"A1");
      record->device.dimm.PartNumber = Ascii("Part");
    }
    return record;
  }
};

TEST_P(FirstGetWithoutOneBlock, StillReturnsEverythingElse) {
  smTVQ* record = NewFullRecord(GetParam().deviceType);
  FailAllocation(GetParam().allocation);
  EXPECT_EQ(Ask(record), EFI_SUCCESS);
  EXPECT_EQ(Memory().FailedAllocations(), 1u);
  size_t blocks = 1;
  for (int slot = 0; slot < 3; ++slot) {
    EXPECT_EQ(IsEmptySlot(slot), slot == GetParam().emptySlot) << "slot " << slot;
    blocks += IsEmptySlot(slot) ? 0 : 1;
  }
  EXPECT_EQ(record->ConfigXml != nullptr, GetParam().documentIsKept);
  EXPECT_EQ(NewBlocks().size(), blocks + (GetParam().documentIsKept ? 1 : 0));
}

constexpr UINT8 kCpu = TVQ_DEVICE_TYPE_CPU;
constexpr UINT8 kDimm = TVQ_DEVICE_TYPE_DIMM;
constexpr UINT8 kSystem = TVQ_DEVICE_TYPE_SYSTEM;

INSTANTIATE_TEST_SUITE_P(
    Of, FirstGetWithoutOneBlock,
    testing::Values(FailedBlock{"CpuInventoryBlob", kCpu, 1, 0, true},
                    FailedBlock{"CpuWorkingBuffer", kCpu, 2, 1, false},
                    FailedBlock{"CpuDocument", kCpu, 3, -1, false},
                    FailedBlock{"CpuConfigurationBlob", kCpu, 4, 1, true},
                    FailedBlock{"CpuEndBlob", kCpu, 5, 2, true},
                    FailedBlock{"DimmInventoryBlob", kDimm, 1, 0, true},
                    FailedBlock{"DimmLocator", kDimm, 2, -1, true},
                    FailedBlock{"DimmWorkingBuffer", kDimm, 3, 1, false},
                    FailedBlock{"DimmPartNumber", kDimm, 4, 1, false},
                    FailedBlock{"DimmDocument", kDimm, 5, -1, false},
                    FailedBlock{"DimmConfigurationBlob", kDimm, 6, 1, true},
                    FailedBlock{"DimmEndBlob", kDimm, 7, 2, true},
                    FailedBlock{"SystemInventoryBlob", kSystem, 1, 0, true},
                    FailedBlock{"SystemWorkingBuffer", kSystem, 2, 1, false},
                    FailedBlock{"SystemDocument", kSystem, 3, -1, false},
                    FailedBlock{"SystemConfigurationBlob", kSystem, 4, 1, true},
                    FailedBlock{"SystemEndBlob", kSystem, 5, 2, true}),
    [](const testing::TestParamInfo<FailedBlock>& info) { return info.param.name; });

TEST_F(Get, SucceedsWithoutAnyBlob) {
  CacheTheDocument();
  for (uint64_t n : {1, 2, 3}) {
    FailAllocation(n);
  }
  EXPECT_EQ(Ask(mProcessor), EFI_SUCCESS);
  EXPECT_EQ(mResult.Length, 64u);
  EXPECT_TRUE(IsEmptySlot(0) && IsEmptySlot(1) && IsEmptySlot(2));
  EXPECT_EQ(Slots()[3].Revision, 1u);
  EXPECT_THAT(TakeOwnLog(),
              ElementsAre("SMTVQGet: Entering \n", "SMTVQGet: GetInvBlob returned Error\n",
                          "SMTVQGet: GetConfigBlob returned Error\n",
                          "SMTVQGet: GetEndBlob returned Error\n",
                          "SMTVQGet: Successfully assigned Blob pointers to array \n",
                          "SMTVQGet: Exiting\n"));
}

TEST_F(Get, FreesTheConfigurationBlobAloneWhenTheArrayCannotBeAllocated) {
  CacheTheDocument();
  const TVQ_DATA before = mResult;
  FailAllocation(4);
  EXPECT_EQ(Ask(mProcessor), EFI_OUT_OF_RESOURCES);
  EXPECT_THAT(TakeOwnLog(),
              ElementsAre("SMTVQGet: Entering \n",
                          "SMTVQGet: Failed to allocate memory for TVQ Pointer Array \n"));
  // The inventory and the end blob are left, deliberately.
  const std::vector<host::Block> blocks = NewBlocks();
  ASSERT_EQ(blocks.size(), mBlocksBefore + 2);
  EXPECT_EQ(static_cast<const TVQ_BLOB_HEADER*>(blocks[mBlocksBefore].address)->type, 3u);
  EXPECT_EQ(static_cast<const TVQ_BLOB_HEADER*>(blocks[mBlocksBefore + 1].address)->type, 7u);
  EXPECT_EQ(mResult.Buffer, before.Buffer);
}

TEST_F(Get, HasNothingToFreeWhenNeitherTheConfigurationBlobNorTheArrayCanBeAllocated) {
  CacheTheDocument();
  FailAllocation(2);
  FailAllocation(4);
  EXPECT_EQ(Ask(mProcessor), EFI_OUT_OF_RESOURCES);
  EXPECT_EQ(NewBlocks().size(), mBlocksBefore + 2);
}

TEST_F(Get, LeavesTheInventorySlotOfAnUnknownDeviceTypeZero) {
  ASSERT_EQ(Ask(NewRecord(9)), EFI_SUCCESS);
  EXPECT_TRUE(IsEmptySlot(0));
  EXPECT_FALSE(IsEmptySlot(1));
  EXPECT_FALSE(IsEmptySlot(2));
  EXPECT_THAT(TakeLog(), Not(Contains("SMTVQGet: GetInvBlob returned Error\n")));
}

TEST_F(Get, AnswersTheSameWithoutADebugLog) {
  ASSERT_EQ(Ask(mProcessor), EFI_SUCCESS);
  const std::vector<UINT8> document = BytesAt(Slots()[1].Buffer, Slots()[1].Length);
  RemoveDebugLog();
  ASSERT_EQ(Ask(mProcessor), EFI_SUCCESS);
  EXPECT_EQ(BytesAt(Slots()[1].Buffer, Slots()[1].Length), document);
}

}  // namespace
}  // namespace tvq::test

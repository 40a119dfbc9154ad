/*
 * Identify, Get and Set of a record's inventory protocol.
 *
 * SPDX-License-Identifier: BSD-2-Clause-Patent
 */
#include "tests/unit/support/record_fixture.h"

#include "TvqSmbiosPkg/src/uefi/blobs.h"
#include "TvqSmbiosPkg/src/uefi/tvq.h"

namespace tvq::test {
namespace {

using testing::Contains;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::Not;

constexpr UINT8 kUntouched = 0xEE;

// Two records, of which the second stands where the first has its inventory protocol. The first has no valid signature.
class RecordInPlaceOfTheProtocol {
 public:
  RecordInPlaceOfTheProtocol(UINT8 outerType, UINT8 innerType,
                             UINT64 outerSignature = TVQ_RECORD_SIGNATURE ^ 1) {
    smTVQ* outer = reinterpret_cast<smTVQ*>(mBytes);
    outer->Signature = outerSignature;
    outer->device.generic.DeviceType = outerType;
    smTVQ* inner = reinterpret_cast<smTVQ*>(This());
    inner->device.generic.DeviceType = innerType;
  }
  TVQ_INVENTORY_PROTOCOL* This() {
    return reinterpret_cast<TVQ_INVENTORY_PROTOCOL*>(mBytes + OFFSET_OF(smTVQ, Protocol));
  }
  smTVQ* Inner() { return reinterpret_cast<smTVQ*>(This()); }

 private:
  alignas(8) UINT8 mBytes[OFFSET_OF(smTVQ, Protocol) + sizeof(smTVQ)] = {};
};

// The interface whose record would stand at address 0.
TVQ_INVENTORY_PROTOCOL* ProtocolOfNoRecord() {
  return reinterpret_cast<TVQ_INVENTORY_PROTOCOL*>(OFFSET_OF(smTVQ, Protocol));
}

// --- Identify ---

class Identify : public RecordTest {
 protected:
  EFI_STATUS Ask(TVQ_INVENTORY_PROTOCOL* protocol) {
    std::fill(mAnswer.begin(), mAnswer.end(), kUntouched);
    return SMTVQIdentify(protocol, reinterpret_cast<TVQ_IDENTITY*>(mAnswer.data()));
  }
  static std::vector<UINT8> Identity(UINT32 componentClass) {
    return ByteWriter().U32(2).U32(componentClass).U32(0xDC).U32(0xEDCC0004).U32(0).Written();
  }

  std::vector<UINT8> mAnswer = std::vector<UINT8>(20);
};

TEST_F(Identify, NamesTheComponentClass) {
  const std::pair<UINT8, UINT32> cases[] = {
      {TVQ_DEVICE_TYPE_CPU, 5}, {TVQ_DEVICE_TYPE_DIMM, 6}, {TVQ_DEVICE_TYPE_SYSTEM, 0x10}};
  for (const auto& [type, componentClass] : cases) {
    EXPECT_EQ(Ask(InventoryOf(NewRecord(type))), EFI_SUCCESS);
    EXPECT_EQ(mAnswer, Identity(componentClass));
  }
}

TEST_F(Identify, LogsTheClass) {
  Ask(InventoryOf(NewRecord(TVQ_DEVICE_TYPE_SYSTEM)));
  EXPECT_THAT(TakeLog(),
              ElementsAre("SMTVQIdentify: Entering \n", "SMTVQIdentify: Exiting 0x00000010\n"));
}

TEST_F(Identify, RefusesAnUnknownDeviceTypeAfterTheFirstTwoWrites) {
  for (int type : {0, 1, 5, 255}) {
    EXPECT_EQ(Ask(InventoryOf(NewRecord(static_cast<UINT8>(type)))), EFI_UNSUPPORTED);
    EXPECT_EQ(mAnswer, ByteWriter()
                           .U32(2)
                           .Bytes(std::vector<UINT8>(8, kUntouched))
                           .U32(0xEDCC0004)
                           .U32(0)
                           .Written());
    EXPECT_THAT(TakeLog(), ElementsAre("SMTVQIdentify: Entering \n"));
  }
}

TEST_F(Identify, NeedsItsArguments) {
  EXPECT_EQ(Ask(nullptr), EFI_INVALID_PARAMETER);
  EXPECT_EQ(mAnswer, std::vector<UINT8>(20, kUntouched));
  EXPECT_EQ(SMTVQIdentify(InventoryOf(NewRecord(TVQ_DEVICE_TYPE_CPU)), nullptr),
            EFI_INVALID_PARAMETER);
  EXPECT_THAT(TakeLog(), ElementsAre("SMTVQIdentify: Entering \n", "SMTVQIdentify: Entering \n"));
}

TEST_F(Identify, RefusesAProtocolWithoutARecord) {
  for (bool assertions : {true, false}) {
    EnableAssertions(assertions);
    EXPECT_EQ(Ask(ProtocolOfNoRecord()), EFI_INVALID_PARAMETER);
    EXPECT_EQ(mAnswer, std::vector<UINT8>(20, kUntouched));
  }
}

TEST_F(Identify, AssertsOnABadSignatureAndGoesOnWithTheProtocolAsTheRecord) {
  RecordInPlaceOfTheProtocol records(TVQ_DEVICE_TYPE_CPU, TVQ_DEVICE_TYPE_SYSTEM);
  EXPECT_EQ(Ask(records.This()), EFI_SUCCESS);
  EXPECT_EQ(mAnswer, Identity(0x10));
  EXPECT_THAT(Machine().TakeAssertions(), ElementsAre(BadSignatureIn("src/uefi/tvq")));
}

TEST_F(Identify, ComparesAll64BitsOfTheSignature) {
  RecordInPlaceOfTheProtocol records(TVQ_DEVICE_TYPE_CPU, TVQ_DEVICE_TYPE_DIMM,
                                     TVQ_RECORD_SIGNATURE | (1ULL << 32));
  EXPECT_EQ(Ask(records.This()), EFI_SUCCESS);
  EXPECT_EQ(mAnswer, Identity(6));
  EXPECT_THAT(Machine().TakeAssertions(), ElementsAre(BadSignatureIn("src/uefi/tvq")));
}

TEST_F(Identify, DoesNotLookAtTheSignatureWithoutAssertions) {
  EnableAssertions(false);
  RecordInPlaceOfTheProtocol records(TVQ_DEVICE_TYPE_CPU, TVQ_DEVICE_TYPE_SYSTEM);
  EXPECT_EQ(Ask(records.This()), EFI_SUCCESS);
  EXPECT_EQ(mAnswer, Identity(5));
}

// --- Get ---

class Get : public RecordTest {
 protected:
  Get() : mProcessor(NewRecord(TVQ_DEVICE_TYPE_CPU)) {
    mProcessor->device.generic.MarketingName = Wide(u"Processor 8");
  }
  EFI_STATUS Ask(smTVQ* record) {
    return SMTVQGet(InventoryOf(record), &mRequest, &mResult);
  }
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
  for (UINT8 type : {TVQ_DEVICE_TYPE_CPU, TVQ_DEVICE_TYPE_DIMM, TVQ_DEVICE_TYPE_SYSTEM}) {
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
    EXPECT_EQ(Machine().BootServices()->FreePool(Slots()[slot].Buffer), EFI_SUCCESS);
  }
  EXPECT_EQ(Memory().Find(mResult.Buffer)->size, 64u);
  EXPECT_EQ(Machine().BootServices()->FreePool(mResult.Buffer), EFI_SUCCESS);
  ASSERT_EQ(NewBlocks().size(), 1u);
  EXPECT_EQ(NewBlocks()[0].address, mProcessor->ConfigXml);
}

TEST_F(Get, BuildsTheBlobsInOrderAndThenShowsThem) {
  CacheTheDocument();
  ASSERT_EQ(Ask(mProcessor), EFI_SUCCESS);
  const std::string configurationSize = std::to_string(HeaderIn(1).sizeInBytes);
  EXPECT_THAT(
      TakeLog(),
      ElementsAre(
          "SMTVQGet: Entering \n",                                       //
          "getInvBlob: Entering \n",                                     //
          "getInvBlob: MarketingName = [Processor 8] \n",                //
          "getInvBlob: Populating INVBLOB for CPU \n",                   //
          "getInvBlob: Exiting \n",                                      //
          "getConfigBlob: GetInstance Cached SMBIOS Current Values\n",   //
          "getEndBlob: Entering \n",                                     //
          "getEndBlob: Exiting \n",                                      //
          "SMTVQGet: Successfully assigned Blob pointers to array \n",   //
          "printData: [CPU] BLOB type: 0x00000003\n",                    //
          "printData: BLOB revision: 1 cookie: 0x0F9B54CF sizeInBytes:139\n",
          "printData: MktnameOffset = 0 MktName = Processor 8\n",        //
          "printData: [CPU] BLOB type: 0x00000005\n",
          "printData: BLOB revision: 1 cookie: 0x2C41C4EC sizeInBytes:" + configurationSize + "\n",
          "printData: [CPU] BLOB type: 0x00000007\n",                    //
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
  EXPECT_THAT(Machine().TakeAssertions(), ElementsAre(BadSignatureIn("src/uefi/tvq")));
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

// --- Set ---

class Set : public RecordTest {
 protected:
  TVQ_REQUEST mRequest = {2, 0};
  TVQ_DATA mData = {1, 3, const_cast<char*>("new")};
};

TEST_F(Set, RefusesAValidRequest) {
  smTVQ* record = NewRecord(TVQ_DEVICE_TYPE_CPU);
  const std::vector<UINT8> before = BytesAt(record, sizeof(*record));
  EXPECT_EQ(SMTVQSet(InventoryOf(record), &mRequest, &mData), EFI_UNSUPPORTED);
  EXPECT_EQ(BytesAt(record, sizeof(*record)), before);
  EXPECT_THAT(TakeLog(), ElementsAre("SMTVQSet: Entering \n", "SMTVQSet: Exiting\n"));
}

TEST_F(Set, DoesNotLookAtTheRecord) {
  EXPECT_EQ(SMTVQSet(reinterpret_cast<TVQ_INVENTORY_PROTOCOL*>(8), &mRequest, &mData),
            EFI_UNSUPPORTED);
}

TEST_F(Set, NeedsItsArguments) {
  TVQ_INVENTORY_PROTOCOL* protocol = InventoryOf(NewRecord(TVQ_DEVICE_TYPE_CPU));
  EXPECT_EQ(SMTVQSet(nullptr, &mRequest, &mData), EFI_INVALID_PARAMETER);
  EXPECT_EQ(SMTVQSet(protocol, nullptr, &mData), EFI_INVALID_PARAMETER);
  EXPECT_EQ(SMTVQSet(protocol, &mRequest, nullptr), EFI_INVALID_PARAMETER);
  EXPECT_THAT(TakeLog(), ElementsAre("SMTVQSet: Entering \n", "SMTVQSet: Entering \n",
                                     "SMTVQSet: Entering \n"));
}

TEST_F(Set, ChecksVersionAndSelector) {
  TVQ_INVENTORY_PROTOCOL* protocol = InventoryOf(NewRecord(TVQ_DEVICE_TYPE_CPU));
  for (UINT32 version : {0u, 1u, 3u}) {
    mRequest = {version, 1};
    EXPECT_EQ(SMTVQSet(protocol, &mRequest, &mData), EFI_INVALID_PARAMETER);
  }
  mRequest = {2, 1};
  TakeLog();
  EXPECT_EQ(SMTVQSet(protocol, &mRequest, &mData), EFI_NOT_FOUND);
  EXPECT_THAT(TakeLog(), ElementsAre("SMTVQSet: Entering \n"));
}

}  // namespace
}  // namespace tvq::test

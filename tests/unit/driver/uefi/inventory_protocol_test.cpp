/*
 * Identify and Set of a record's inventory protocol.
 *
 * SPDX-License-Identifier: BSD-2-Clause-Patent
 */
#include "tests/unit/shared/argument_log.h"
#include "tests/unit/driver/uefi/misplaced_record.h"
#include "tests/unit/driver/uefi/record_fixture.h"

#include "TvqSmbiosPkg/src/uefi/tvq.h"

namespace tvq::test {
namespace {

using testing::ElementsAre;

constexpr UINT8 kUntouched = 0xEE;

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

TEST_F(Identify, FillsAnAnswerThatIsAlignedToFourBytesOnly) {
  alignas(8) UINT8 memory[24] = {};
  EXPECT_EQ(SMTVQIdentify(InventoryOf(NewRecord(TVQ_DEVICE_TYPE_CPU)),
                          reinterpret_cast<TVQ_IDENTITY*>(memory + 4)),
            EFI_SUCCESS);
  EXPECT_EQ(BytesAt(memory + 4, 20), Identity(5));
}

TEST_F(Identify, LogsTheClass) {
  Ask(InventoryOf(NewRecord(TVQ_DEVICE_TYPE_SYSTEM)));
  EXPECT_THAT(TakeLog(),
              ElementsAre("SMTVQIdentify: Entering \n", "SMTVQIdentify: Exiting 0x00000010\n"));
}

// The format prints the low half alone.
TEST_F(Identify, LogsTheClassWithItsQualifier) {
  std::vector<UINT64> logged;
  const ArgumentLog log(
      mHarness.platform, "Exiting 0x%08X\n", 1,
      [&](const std::vector<UINT64>& arguments) { logged.push_back(arguments[0]); });
  for (UINT8 type : std::initializer_list<UINT8>{TVQ_DEVICE_TYPE_CPU, TVQ_DEVICE_TYPE_DIMM,
                                                 TVQ_DEVICE_TYPE_SYSTEM}) {
    Ask(InventoryOf(NewRecord(type)));
  }
  EXPECT_THAT(logged, ElementsAre(0x000000DC00000005, 0x000000DC00000006, 0x000000DC00000010));
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
  EXPECT_THAT(Firmware().TakeAssertions(), ElementsAre(BadSignatureIn("src/uefi/tvq")));
}

TEST_F(Identify, ComparesAll64BitsOfTheSignature) {
  RecordInPlaceOfTheProtocol records(TVQ_DEVICE_TYPE_CPU, TVQ_DEVICE_TYPE_DIMM,
                                     TVQ_RECORD_SIGNATURE | (1ULL << 32));
  EXPECT_EQ(Ask(records.This()), EFI_SUCCESS);
  EXPECT_EQ(mAnswer, Identity(6));
  EXPECT_THAT(Firmware().TakeAssertions(), ElementsAre(BadSignatureIn("src/uefi/tvq")));
}

TEST_F(Identify, DoesNotLookAtTheSignatureWithoutAssertions) {
  EnableAssertions(false);
  RecordInPlaceOfTheProtocol records(TVQ_DEVICE_TYPE_CPU, TVQ_DEVICE_TYPE_SYSTEM);
  EXPECT_EQ(Ask(records.This()), EFI_SUCCESS);
  EXPECT_EQ(mAnswer, Identity(5));
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

/*
 * Verify of a record's inventory protocol: what it asks of its arguments, what it compares, what it logs.
 *
 * SPDX-License-Identifier: BSD-2-Clause-Patent
 */
#include "tests/unit/driver/uefi/verification_fixture.h"

#include <cstdio>

#include "TvqSmbiosPkg/src/uefi/tvq.h"

namespace tvq::test {
namespace {

using testing::ElementsAre;
using testing::ElementsAreArray;
using testing::IsEmpty;

constexpr UINT32 kReplaced = 2;

std::string Line(const std::string& text) {
  return "SMTVQVerify: " + text;
}

class Verify : public VerificationTest {
 protected:
  Verify() {
    InstallParser();
    InstallManagement();
    SetMode("<Agent><Mode>Normal</Mode></Agent>");
    Store(CpuDocument("", "0"));
  }

  // The text and its NUL in a block of exactly their size.
  void SetMode(const std::string& text) {
    mMode.assign(text.begin(), text.end());
    mMode.push_back('\0');
    Slots()[1] = {1, static_cast<UINT32>(mMode.size()), mMode.data()};
  }
  void Store(const std::string& document) {
    mBlob = ConfigurationBlob(document);
    mManagement.blob = mBlob.data();
    Slots()[0] = {3, static_cast<UINT32>(mBlob.size()), mBlob.data()};
  }
  TVQ_DATA* Slots() { return mSlots; }

  EFI_STATUS Ask(TVQ_INVENTORY_PROTOCOL* protocol, TVQ_DATA* response = nullptr) {
    mResult = 0xEEEEEEEE;
    return protocol->SMTVQVerify(protocol, &mRequest, &mOldData, response, &mResult);
  }
  EFI_STATUS Ask(smTVQ* record, TVQ_DATA* response = nullptr) {
    return Ask(InventoryOf(record), response);
  }
  // Result of a comparison that takes place.
  UINT32 Compare(smTVQ* record) {
    EXPECT_EQ(Ask(record), EFI_SUCCESS);
    return mResult;
  }
  // For an interface without a record behind it.
  EFI_STATUS AskForeign(TVQ_INVENTORY_PROTOCOL* protocol) {
    mResult = 0xEEEEEEEE;
    return InventoryOf(NewRecord(TVQ_DEVICE_TYPE_CPU))
        ->SMTVQVerify(protocol, &mRequest, &mOldData, nullptr, &mResult);
  }

  smTVQ* Dimm(std::u16string_view wwn, std::string_view partNumber) {
    smTVQ* record = NewRecord(TVQ_DEVICE_TYPE_DIMM);
    record->device.generic.WWN = Wide(wwn);
    record->device.dimm.PartNumber = Ascii(partNumber);
    return record;
  }
  smTVQ* Cpu(std::u16string_view name, UINT8 coreCount) {
    smTVQ* record = NewRecord(TVQ_DEVICE_TYPE_CPU);
    record->device.generic.MarketingName = Wide(name);
    record->device.cpu.CoreCount = coreCount;
    return record;
  }
  UINT32 CompareDimm(const std::string& storedWwn, const std::string& storedPartNumber,
                     std::u16string_view wwn, std::string_view partNumber) {
    Store(DimmDocument(storedWwn, storedPartNumber));
    return Compare(Dimm(wwn, partNumber));
  }
  UINT32 CompareCpu(const std::string& storedName, const std::string& storedCoreCount,
                    std::u16string_view name, UINT8 coreCount) {
    Store(CpuDocument(storedName, storedCoreCount));
    return Compare(Cpu(name, coreCount));
  }

  // The log as far as the stored document has been fetched.
  std::vector<std::string> LinesOfFetching(const std::string& document) {
    char address[32];
    std::snprintf(address, sizeof(address), "%08X",
                  static_cast<unsigned>(reinterpret_cast<uintptr_t>(mSlots[0].Buffer)));
    return {Line("Entering \n"),
            Line("pOldData Revision = 3 Length = " + std::to_string(mSlots[0].Length) +
                 " Buffer = 0x" + address + "\n"),
            Line("Revision 1, BlobType 0x00000005, Cookie 0x2C41C4EC \n"),
            Line("Size in Bytes = " + std::to_string(document.size() + 81) + " \n"),
            Line("tvqOldConfigBlob Data \n"),
            Line(document + " \n")};
  }
  std::vector<std::string> LinesOfFetching(const std::string& document,
                                           const std::vector<std::string>& further) {
    std::vector<std::string> lines = LinesOfFetching(document);
    lines.insert(lines.end(), further.begin(), further.end());
    return lines;
  }

  TVQ_REQUEST mRequest = {TVQ_REQUEST_VERSION, 0};
  TVQ_DATA mSlots[2] = {};
  TVQ_DATA mOldData = {1, sizeof(mSlots), mSlots};
  UINT32 mResult = 0;

 private:
  std::vector<CHAR8> mMode;
  std::vector<UINT8> mBlob;
};

// --- Arguments ---

TEST_F(Verify, NeedsItsArguments) {
  smTVQ* record = Cpu(u"", 0);
  TVQ_INVENTORY_PROTOCOL* protocol = InventoryOf(record);
  const auto verify = protocol->SMTVQVerify;
  EXPECT_EQ(verify(nullptr, &mRequest, &mOldData, nullptr, &mResult), EFI_INVALID_PARAMETER);
  EXPECT_EQ(verify(protocol, nullptr, &mOldData, nullptr, &mResult), EFI_INVALID_PARAMETER);
  EXPECT_EQ(verify(protocol, &mRequest, nullptr, nullptr, &mResult), EFI_INVALID_PARAMETER);
  EXPECT_EQ(verify(protocol, &mRequest, &mOldData, nullptr, nullptr), EFI_INVALID_PARAMETER);
  EXPECT_THAT(TakeLog(), ElementsAreArray(std::vector<std::string>(4, Line("Entering \n"))));
  EXPECT_THAT(mManagement.calls, IsEmpty());
}

TEST_F(Verify, DoesNotLookAtTheRequest) {
  mRequest = {77, 99};
  EXPECT_EQ(Compare(Cpu(u"", 0)), 0u);
}

TEST_F(Verify, WorksWithoutADebugLog) {
  RemoveDebugLog();
  EXPECT_EQ(CompareDimm("1", "A", u"2", "A"), kReplaced);
  EXPECT_EQ(CompareCpu("Name", "4", u"Name", 4), 0u);
}

// --- The mode ---

TEST_F(Verify, ComparesOnlyInTheNormalMode) {
  for (const char* mode : {"<Mode>Normal</Mode>", "<Agent><Mode>Normal</Mode></Agent>",
                           "<Mode>Normal", "<Mode>NormalPlus</Mode>"}) {
    SetMode(mode);
    EXPECT_EQ(Compare(Cpu(u"", 0)), 0u) << mode;
  }
  for (const char* mode : {"", "Normal", "<Mode>Maintenance</Mode>", "<mode>Normal</mode>",
                           "<Mode>normal</Mode>", "<Mode> Normal</Mode>", "<Mode>Norma"}) {
    SetMode(mode);
    EXPECT_EQ(Ask(Cpu(u"", 0)), EFI_UNSUPPORTED) << mode;
    EXPECT_EQ(mResult, 0u);
  }
}

TEST_F(Verify, DoesNothingElseInAnotherMode) {
  SetMode("<Mode>Maintenance</Mode>");
  const uint64_t locates = Firmware().Calls(host::images::driver, host::Service::LocateProtocol);
  EXPECT_EQ(Ask(Cpu(u"", 0)), EFI_UNSUPPORTED);
  EXPECT_EQ(mResult, 0u);
  EXPECT_THAT(TakeLog(), ElementsAre(Line("Entering \n")));
  EXPECT_EQ(Firmware().Calls(host::images::driver, host::Service::LocateProtocol), locates);
  EXPECT_THAT(mManagement.calls, IsEmpty());
}

TEST_F(Verify, FindsNoModeWithoutSlots) {
  mOldData.Buffer = nullptr;
  EXPECT_EQ(Ask(Cpu(u"", 0)), EFI_UNSUPPORTED);
  EXPECT_EQ(mResult, 0u);
}

TEST_F(Verify, FindsNoModeWithoutAModeText) {
  Slots()[1].Buffer = nullptr;
  EXPECT_EQ(Ask(Cpu(u"", 0)), EFI_UNSUPPORTED);
}

TEST_F(Verify, FindsNoModeInATextWhoseEndIsBehindItsLength) {
  const UINT32 length = Slots()[1].Length;
  for (UINT32 cut : {length - 1, UINT32{12}, UINT32{1}, UINT32{0}}) {
    Slots()[1].Length = cut;
    EXPECT_EQ(Ask(Cpu(u"", 0)), EFI_UNSUPPORTED) << cut;
    EXPECT_EQ(mResult, 0u);
  }
}

TEST_F(Verify, ReadsTheModeTextOnlyAsFarAsItsLength) {
  std::vector<CHAR8> text = {'<', 'M', 'o', 'd', 'e', '>', 'N', 'o', 'r', 'm', 'a', 'l'};
  Slots()[1] = {1, static_cast<UINT32>(text.size()), text.data()};
  EXPECT_EQ(Ask(Cpu(u"", 0)), EFI_UNSUPPORTED);
}

TEST_F(Verify, FindsNoModeBehindTheEndOfTheText) {
  SetMode(std::string("\0<Mode>Normal", 13));
  EXPECT_EQ(Ask(Cpu(u"", 0)), EFI_UNSUPPORTED);
}

// --- The record ---

TEST_F(Verify, RefusesAProtocolWithoutARecord) {
  for (bool assertions : {true, false}) {
    EnableAssertions(assertions);
    EXPECT_EQ(AskForeign(reinterpret_cast<TVQ_INVENTORY_PROTOCOL*>(OFFSET_OF(smTVQ, Protocol))),
              EFI_INVALID_PARAMETER);
    EXPECT_EQ(mResult, 0u);
    EXPECT_THAT(TakeLog(), ElementsAre(Line("Entering \n")));
  }
}

TEST_F(Verify, AssertsOnABadSignatureAndGoesOnWithTheProtocolAsTheRecord) {
  alignas(8) UINT8 bytes[OFFSET_OF(smTVQ, Protocol) + sizeof(smTVQ)] = {};
  auto* outer = reinterpret_cast<smTVQ*>(bytes);
  auto* inner = reinterpret_cast<smTVQ*>(bytes + OFFSET_OF(smTVQ, Protocol));
  outer->device.generic.DeviceType = TVQ_DEVICE_TYPE_DIMM;
  inner->device.generic.DeviceType = TVQ_DEVICE_TYPE_SYSTEM;
  EXPECT_EQ(AskForeign(reinterpret_cast<TVQ_INVENTORY_PROTOCOL*>(inner)), EFI_SUCCESS);
  EXPECT_EQ(mResult, 0u);
  EXPECT_THAT(mParser.inputs, IsEmpty());
  EXPECT_THAT(Firmware().TakeAssertions(), ElementsAre(BadSignatureIn("src/uefi/tvq")));
}

TEST_F(Verify, LooksAtTheModeBeforeTheRecord) {
  SetMode("<Mode>Maintenance</Mode>");
  alignas(8) UINT8 bytes[OFFSET_OF(smTVQ, Protocol) + sizeof(smTVQ)] = {};
  EXPECT_EQ(AskForeign(InventoryOf(reinterpret_cast<smTVQ*>(bytes))), EFI_UNSUPPORTED);
  EXPECT_THAT(Firmware().TakeAssertions(), IsEmpty());
}

// --- The management protocol ---

TEST_F(Verify, NeedsTheManagementProtocol) {
  Firmware().FailCall(host::images::driver, host::Service::LocateProtocol, 1, EFI_NOT_FOUND);
  EXPECT_EQ(Ask(Cpu(u"", 0)), EFI_INVALID_PARAMETER);
  EXPECT_EQ(mResult, 0u);
  EXPECT_THAT(TakeLog(), ElementsAre(Line("Entering \n"),
                                     "error: " + Line("Error getting TVQ Mgmt protocol E")));
}

TEST_F(Verify, LooksForTheManagementProtocolBeforeTheStoredData) {
  Slots()[0] = {};
  TVQ_DATA target = {};
  TVQ_DATA response = {1, sizeof(target), &target};
  Firmware().FailCallsFrom(host::images::driver, host::Service::LocateProtocol, 1, EFI_UNSUPPORTED);
  EXPECT_EQ(Ask(Cpu(u"", 0), &response), EFI_INVALID_PARAMETER);
  EXPECT_THAT(TakeLog(), ElementsAre(Line("Entering \n"),
                                     "error: " + Line("Error getting TVQ Mgmt protocol 3")));
  EXPECT_EQ(target.Buffer, nullptr);
}

class VerifyWithoutManagement : public VerificationTest {};

TEST_F(VerifyWithoutManagement, TakesAMissingInterfaceForAMissingProtocol) {
  Install(gTvqManagementProtocolGuid, nullptr);
  TVQ_REQUEST request = {TVQ_REQUEST_VERSION, 0};
  char mode[] = "<Mode>Normal</Mode>";
  TVQ_DATA slots[2] = {{}, {1, sizeof(mode), mode}};
  TVQ_DATA oldData = {1, sizeof(slots), slots};
  UINT32 result = 7;
  TVQ_INVENTORY_PROTOCOL* protocol = InventoryOf(NewRecord(TVQ_DEVICE_TYPE_SYSTEM));
  EXPECT_EQ(protocol->SMTVQVerify(protocol, &request, &oldData, nullptr, &result),
            EFI_INVALID_PARAMETER);
  EXPECT_EQ(result, 0u);
  EXPECT_THAT(TakeLog(), ElementsAre(Line("Entering \n"),
                                     "error: " + Line("Error getting TVQ Mgmt protocol 0")));
}

// --- The stored data ---

TEST_F(Verify, RefusesEmptyStoredData) {
  const TVQ_DATA stored = Slots()[0];
  const TVQ_DATA empty[] = {{1, 0, stored.Buffer}, {1, stored.Length, nullptr}, {}};
  for (const TVQ_DATA& slot : empty) {
    Slots()[0] = slot;
    EXPECT_EQ(Ask(Cpu(u"", 0)), EFI_INVALID_PARAMETER);
    EXPECT_EQ(mResult, 0u);
    EXPECT_THAT(TakeLog(),
                ElementsAre(Line("Entering \n"), "error: " + Line("Error in Getting Old Data")));
  }
  EXPECT_THAT(mManagement.calls, IsEmpty());
}

TEST_F(Verify, AsksForTheConfigurationBlobInTheStoredData) {
  UINT8 storedData = 0;
  Slots()[0].Buffer = &storedData;
  EXPECT_EQ(Compare(Cpu(u"", 0)), 0u);
  ASSERT_EQ(mManagement.calls.size(), 1u);
  EXPECT_EQ(mManagement.calls[0].storedData, &storedData);
  EXPECT_EQ(mManagement.calls[0].type, 5u);
  EXPECT_EQ(mManagement.calls[0].index, 0u);
}

TEST_F(Verify, RefusesStoredDataWithoutAConfigurationBlob) {
  const std::pair<EFI_STATUS, const char*> cases[] = {{EFI_NOT_FOUND, "E"},
                                                      {EFI_VOLUME_CORRUPTED, "A"}};
  for (const auto& [status, printed] : cases) {
    mManagement.status = status;
    EXPECT_EQ(Ask(Cpu(u"", 0)), EFI_INVALID_PARAMETER);
    EXPECT_EQ(mResult, 0u);
    const std::vector<std::string> log = TakeLog();
    ASSERT_EQ(log.size(), 3u);
    EXPECT_EQ(log[1], LinesOfFetching("")[1]);
    EXPECT_EQ(log[2], "error: " + Line(std::string("ERROR locating Config blob ") + printed));
  }
}

TEST_F(Verify, TakesAMissingBlobForNoneWhateverTheStatus) {
  mManagement.blob = nullptr;
  EXPECT_EQ(Ask(Cpu(u"", 0)), EFI_INVALID_PARAMETER);
  EXPECT_EQ(TakeLog().back(), "error: " + Line("ERROR locating Config blob 0"));
}

TEST_F(Verify, OnlyLogsTheHeaderOfTheStoredBlob) {
  const std::string document = CpuDocument("Name", "4");
  std::vector<UINT8> blob =
      ByteWriter().U32(2).U32(0xAB).U32(0xC).U32(17).Zeros(64).Text(document).Written();
  mManagement.blob = blob.data();
  EXPECT_EQ(Compare(Cpu(u"Name", 4)), 0u);
  const std::vector<std::string> log = TakeLog();
  ASSERT_GT(log.size(), 4u);
  EXPECT_EQ(log[2], Line("Revision 2, BlobType 0x000000AB, Cookie 0x0000000C \n"));
  EXPECT_EQ(log[3], Line("Size in Bytes = 17 \n"));
}

TEST_F(Verify, LeavesTheStoredDataAlone) {
  Store(DimmDocument("0123ABCD", "MW16"));
  const auto* bytes = static_cast<const UINT8*>(Slots()[0].Buffer);
  const std::vector<UINT8> before(bytes, bytes + Slots()[0].Length);
  Compare(Dimm(u"0123ABCD", "MW16"));
  EXPECT_EQ(std::vector<UINT8>(bytes, bytes + before.size()), before);
}

// --- Modules ---

TEST_F(Verify, LogsAModuleThatIsTheSame) {
  const std::string document = DimmDocument("0123ABCD", "MW16");
  EXPECT_EQ(CompareDimm("0123ABCD", "MW16", u"0123ABCD", "MW16G3200"), 0u);
  EXPECT_THAT(TakeLog(), ElementsAreArray(LinesOfFetching(
                             document, {Line("dimmCache->WWN = 0123ABCD\n"),
                                        Line("dimmCache->PartNo = MW16\n"),
                                        Line("tvq->device.generic.WWN = 0123ABCD\n"),
                                        Line("tvq->device.dimm.PartNumber = MW16G3200\n")})));
}

TEST_F(Verify, LogsAModuleThatWasReplaced) {
  const std::string document = DimmDocument("0123ABCD", "MW16");
  EXPECT_EQ(CompareDimm("0123ABCD", "MW16", u"99999999", "MW16"), kReplaced);
  EXPECT_THAT(TakeLog(), ElementsAreArray(LinesOfFetching(
                             document, {Line("dimmCache->WWN = 0123ABCD\n"),
                                        Line("dimmCache->PartNo = MW16\n"),
                                        Line("tvq->device.generic.WWN = 99999999\n"),
                                        Line("tvq->device.dimm.PartNumber = MW16\n"),
                                        Line("Part Replacement detected for DIMM Device\n")})));
}

TEST_F(Verify, TakesAModuleWithAnotherSerialNumberForReplaced) {
  const std::pair<const char*, const char16_t*> replaced[] = {
      {"0123ABCD", u"0123ABCE"}, {"0123ABCD", u"1123ABCD"},  {"0123ABCD", u"0123ABC"},
      {"0123ABC", u"0123ABCD"},  {"0123abcd", u"0123ABCD"},  {"", u"0123ABCD"},
      {"0123ABCD", u""},         {" 0123ABCD", u"0123ABCD"}, {"0123ABCD ", u"0123ABCD"}};
  for (const auto& [stored, current] : replaced) {
    EXPECT_EQ(CompareDimm(stored, "MW16", current, "MW16"), kReplaced) << stored;
  }
  EXPECT_EQ(CompareDimm("", "MW16", u"", "MW16"), 0u);
}

TEST_F(Verify, TakesAPartNumberThatExtendsTheStoredOneForTheSame) {
  EXPECT_EQ(CompareDimm("1", "ABC", u"1", "ABC123"), 0u);
  EXPECT_EQ(CompareDimm("1", "ABC", u"1", "ABC"), 0u);
  EXPECT_EQ(CompareDimm("1", "", u"1", "ABC"), 0u);
  EXPECT_EQ(CompareDimm("1", "", u"1", ""), 0u);
  EXPECT_EQ(CompareDimm("1", "ABC123", u"1", "ABC"), kReplaced);
  EXPECT_EQ(CompareDimm("1", "ABC", u"1", "ABD123"), kReplaced);
  EXPECT_EQ(CompareDimm("1", "ABC", u"1", "abc"), kReplaced);
  EXPECT_EQ(CompareDimm("1", "ABC", u"1", ""), kReplaced);
  EXPECT_EQ(CompareDimm("1", "ABC", u"1", "  ABC"), kReplaced);
}

TEST_F(Verify, ComparesASerialNumberAlsoAsFarAsTheDocumentKeepsIt) {
  // The document keeps 14 characters.
  EXPECT_EQ(CompareDimm("0123456789ABCD", "A", u"0123456789ABCDEF", "A"), 0u);
  EXPECT_EQ(CompareDimm("0123456789ABCDEF", "A", u"0123456789ABCDEF", "A"), 0u);
  EXPECT_EQ(CompareDimm("0123456789ABCD", "A", u"0123456789ABCD", "A"), 0u);
  EXPECT_EQ(CompareDimm("0123456789ABC", "A", u"0123456789ABCDEF", "A"), kReplaced);
  EXPECT_EQ(CompareDimm("0123456789ABCDE", "A", u"0123456789ABCDEF", "A"), kReplaced);
  EXPECT_EQ(CompareDimm("0123456789ABCX", "A", u"0123456789ABCDEF", "A"), kReplaced);
  EXPECT_EQ(CompareDimm("0123456789ABCDEF", "A", u"0123456789ABCD", "A"), kReplaced);
  EXPECT_EQ(CompareDimm("0123", "A", u"0123\u000156789", "A"), kReplaced);
}

TEST_F(Verify, TakesAMissingStoredSerialNumberForReplaced) {
  Store(Document(Element("MarketingName", "") + Element("Identifier", ""),
                 Element("dimmData", Element("Speed", "1") + Element("PartNumber", "A"))));
  EXPECT_EQ(Compare(Dimm(u"1", "A")), kReplaced);
  smTVQ* unknown = Dimm(u"", "A");
  unknown->device.generic.WWN = nullptr;
  EXPECT_EQ(Compare(unknown), kReplaced);
}

TEST_F(Verify, ComparesAnUnknownCurrentTextAsTheEmptyOne) {
  smTVQ* record = NewRecord(TVQ_DEVICE_TYPE_DIMM);
  Store(DimmDocument("", ""));
  EXPECT_EQ(Compare(record), 0u);
  Store(DimmDocument("1", ""));
  EXPECT_EQ(Compare(record), kReplaced);
  Store(DimmDocument("", "A"));
  EXPECT_EQ(Compare(record), kReplaced);
}

TEST_F(Verify, WidensStoredTextsAsSmbiosStringsAreWidened) {
  // The two bytes of an e with acute, each widened with its sign.
  const std::u16string widened = {u'A', 0xFFC3, 0xFFA9};
  EXPECT_EQ(CompareDimm("A\xC3\xA9", "A", widened, "A"), 0u);
  EXPECT_EQ(CompareDimm("A\xC3\xA9", "A", u"A\u00C3\u00A9", "A"), kReplaced);
  EXPECT_EQ(CompareCpu("A\xC3\xA9", "4", widened, 4), 0u);
}

TEST_F(Verify, ReportsAModuleWhoseStoredDocumentIsUnreadable) {
  const std::string document = "<tvqComponent>";
  Store(document);
  EXPECT_EQ(Ask(Dimm(u"1", "A")), EFI_INVALID_PARAMETER);
  EXPECT_EQ(mResult, 0u);
  EXPECT_THAT(TakeLog(), ElementsAreArray(LinesOfFetching(
                             document, {"ParseDIMMXMLBlob: Parse doc failed to parse",
                                        Line("Error Parsing XMLBlob")})));
}

TEST_F(Verify, FreesWhatTheModuleReaderLeavesInADocumentThatIsLaidOutOtherwise) {
  Store(Document(Element("MarketingName", "") + Element("WWN", "1"), ""));
  EXPECT_EQ(Ask(Dimm(u"1", "A")), EFI_UNSUPPORTED);
  EXPECT_EQ(mResult, 0u);
  EXPECT_EQ(TakeLog().back(), Line("Error Parsing XMLBlob"));
}

// --- Processors ---

TEST_F(Verify, LogsAProcessorThatIsTheSame) {
  EXPECT_EQ(CompareCpu("Fast 9000", "24", u"Fast 9000", 24), 0u);
  EXPECT_THAT(TakeLog(),
              ElementsAreArray(LinesOfFetching(
                  CpuDocument("Fast 9000", "24"),
                  {"ParseCPUXMLBlob: Searching for Corecount node",
                   Line("New Marketing Name : Fast 9000\n"), Line("New CoreCount : 24\n"),
                   Line("Old Marketing Name : Fast 9000\n"), Line("Old CoreCount : 24\n"),
                   Line("Exiting\n")})));
}

TEST_F(Verify, LogsAProcessorThatWasReplaced) {
  EXPECT_EQ(CompareCpu("Fast 9000", "24", u"Fast 9000", 28), kReplaced);
  EXPECT_THAT(TakeLog(),
              ElementsAreArray(LinesOfFetching(
                  CpuDocument("Fast 9000", "24"),
                  {"ParseCPUXMLBlob: Searching for Corecount node",
                   Line("New Marketing Name : Fast 9000\n"), Line("New CoreCount : 28\n"),
                   Line("Old Marketing Name : Fast 9000\n"), Line("Old CoreCount : 24\n"),
                   Line("Part Replacement detected for CPU Device\n"), Line("Exiting\n")})));
}

TEST_F(Verify, TakesAProcessorWithAnotherNameOrCoreCountForReplaced) {
  EXPECT_EQ(CompareCpu("Fast 9000", "24", u"Fast 9001", 24), kReplaced);
  EXPECT_EQ(CompareCpu("Fast 9000", "24", u"Fast 900", 24), kReplaced);
  EXPECT_EQ(CompareCpu("Fast 900", "24", u"Fast 9000", 24), kReplaced);
  EXPECT_EQ(CompareCpu("", "24", u"Fast 9000", 24), kReplaced);
  EXPECT_EQ(CompareCpu("Fast 9000", "0", u"Fast 9000", 24), kReplaced);
  EXPECT_EQ(CompareCpu("", "0", u"", 0), 0u);
}

TEST_F(Verify, ComparesTheLow8BitsOfTheStoredCoreCount) {
  EXPECT_EQ(CompareCpu("Fast", "300", u"Fast", 44), 0u);
}

TEST_F(Verify, ComparesANameAlsoAsFarAsTheDocumentKeepsIt) {
  // The document keeps 127 characters.
  const std::string kept(127, 'N');
  const std::u16string current(130, u'N');
  EXPECT_EQ(CompareCpu(kept, "4", current, 4), 0u);
  EXPECT_EQ(CompareCpu(std::string(130, 'N'), "4", current, 4), 0u);
  EXPECT_EQ(CompareCpu(std::string(126, 'N'), "4", current, 4), kReplaced);
  EXPECT_EQ(CompareCpu(std::string(128, 'N'), "4", current, 4), kReplaced);
  EXPECT_EQ(CompareCpu(kept, "4", std::u16string(126, u'N'), 4), kReplaced);
}

TEST_F(Verify, TakesAMissingStoredNameForReplaced) {
  Store(Document(Element("Identifier", ""), Element("cpuData", Element("CoreCount", "4"))));
  EXPECT_EQ(Compare(Cpu(u"", 4)), kReplaced);
}

TEST_F(Verify, ComparesAnUnknownCurrentNameAsTheEmptyOne) {
  smTVQ* record = Cpu(u"", 4);
  record->device.generic.MarketingName = nullptr;
  Store(CpuDocument("", "4"));
  EXPECT_EQ(Compare(record), 0u);
  Store(CpuDocument("N", "4"));
  EXPECT_EQ(Compare(record), kReplaced);
}

TEST_F(Verify, ReportsAProcessorWhoseStoredDocumentIsUnreadable) {
  Store("<tvqComponent>");
  EXPECT_EQ(Ask(Cpu(u"", 0)), EFI_INVALID_PARAMETER);
  EXPECT_EQ(mResult, 0u);
  EXPECT_THAT(TakeLog(),
              ElementsAreArray(LinesOfFetching(
                  "<tvqComponent>", {"ParseCPUXMLBlob: Parse doc failed to parse",
                                     Line("ERROR Parsing CPUXMLBlob with Invalid Parameter\n")})));
}

TEST_F(Verify, FreesWhatTheProcessorReaderLeavesInADocumentThatIsLaidOutOtherwise) {
  Store(Document(Element("MarketingName", "Fast"), ""));
  EXPECT_EQ(Ask(Cpu(u"", 0)), EFI_UNSUPPORTED);
  EXPECT_EQ(TakeLog().back(), Line("ERROR Parsing CPUXMLBlob with Unsupported\n"));
}

// --- The system and everything else ---

TEST_F(Verify, NeverReportsTheSystemAsReplaced) {
  for (UINT8 type : {UINT8{TVQ_DEVICE_TYPE_SYSTEM}, UINT8{0}, UINT8{9}}) {
    Store("no document at all");
    EXPECT_EQ(Compare(NewRecord(type)), 0u);
    EXPECT_THAT(TakeLog(),
                ElementsAreArray(LinesOfFetching("no document at all", {Line("Exiting\n")})));
  }
  EXPECT_EQ(mManagement.calls.size(), 3u);
  EXPECT_THAT(mParser.inputs, IsEmpty());
}

TEST_F(Verify, NeedsTheParserForModulesAndProcessors) {
  // The first look-up is for the management protocol.
  Firmware().FailCall(host::images::driver, host::Service::LocateProtocol, 2, EFI_NOT_FOUND);
  EXPECT_EQ(Ask(Dimm(u"1", "A")), EFI_NOT_FOUND);
  EXPECT_EQ(mResult, 0u);
  EXPECT_EQ(TakeLog().back(), Line("Error Parsing XMLBlob"));
  Firmware().FailCall(host::images::driver, host::Service::LocateProtocol, 2, EFI_NOT_FOUND);
  EXPECT_EQ(Ask(Cpu(u"", 0)), EFI_NOT_FOUND);
  EXPECT_EQ(TakeLog().back(), Line("ERROR Parsing CPUXMLBlob with Not Found\n"));
}

// --- The response ---

TEST_F(Verify, ComparesWithAResponseThatHasNoBuffer) {
  Store(CpuDocument("Fast", "4"));
  TVQ_DATA target = {};
  for (TVQ_DATA response :
       {TVQ_DATA{1, 0, nullptr}, TVQ_DATA{1, 0, &target}, TVQ_DATA{1, sizeof(target), nullptr}}) {
    const TVQ_DATA before = response;
    EXPECT_EQ(Ask(Cpu(u"Other", 4), &response), EFI_SUCCESS);
    EXPECT_EQ(mResult, kReplaced);
    EXPECT_EQ(response.Length, before.Length);
    EXPECT_EQ(response.Buffer, before.Buffer);
  }
  EXPECT_EQ(target.Buffer, nullptr);
}

TEST_F(Verify, RefusesAResponseWithABufferAndReturnsTheTextThroughIt) {
  for (UINT8 type :
       {UINT8{TVQ_DEVICE_TYPE_CPU}, UINT8{TVQ_DEVICE_TYPE_DIMM}, UINT8{TVQ_DEVICE_TYPE_SYSTEM}}) {
    TVQ_DATA target = {9, 0, nullptr};
    TVQ_DATA response = {1, 1, &target};
    EXPECT_EQ(Ask(NewRecord(type), &response), EFI_UNSUPPORTED);
    EXPECT_EQ(mResult, 0u);
    EXPECT_THAT(TakeLog(), ElementsAre(Line("Entering \n")));
    EXPECT_EQ(response.Length, 1u);
    EXPECT_EQ(response.Buffer, &target);
    EXPECT_EQ(target.Revision, 9u);
    EXPECT_EQ(target.Length, 40u);
    ASSERT_NE(target.Buffer, nullptr);
    EXPECT_STREQ(static_cast<const char*>(target.Buffer),
                 "<error>Configuration Unsupported</error>");
    EXPECT_THAT(NewBlockSizes(), ElementsAre(60u));
    EXPECT_EQ(Firmware().BootServices()->FreePool(target.Buffer), EFI_SUCCESS);
  }
  EXPECT_THAT(mManagement.calls, IsEmpty());
}

TEST_F(Verify, LooksAtTheResponseBeforeTheStoredData) {
  Slots()[0] = {};
  TVQ_DATA target = {};
  TVQ_DATA response = {1, sizeof(target), &target};
  EXPECT_EQ(Ask(Cpu(u"", 0), &response), EFI_UNSUPPORTED);
  EXPECT_EQ(target.Length, 40u);
  Firmware().BootServices()->FreePool(target.Buffer);
}

TEST_F(Verify, RefusesAResponseWithoutATextWhenThereIsNoMemory) {
  TVQ_DATA target = {9, 8, nullptr};
  TVQ_DATA response = {1, sizeof(target), &target};
  FailAllocation(1);
  EXPECT_EQ(Ask(Cpu(u"", 0), &response), EFI_UNSUPPORTED);
  EXPECT_EQ(target.Length, 8u);
  EXPECT_EQ(target.Buffer, nullptr);
}

// --- Memory ---

TEST_F(Verify, SurvivesEveryFailingAllocation) {
  for (smTVQ* record : {Dimm(u"1", "A"), Cpu(u"Fast", 4)}) {
    Store(record->device.generic.DeviceType == TVQ_DEVICE_TYPE_DIMM ? DimmDocument("1", "A")
                                                                    : CpuDocument("Fast", "4"));
    ForEachFailingAllocation([&] {
      const uint64_t failures = Memory().FailedAllocations();
      const EFI_STATUS status = Ask(record);
      EXPECT_EQ(mResult, 0u);
      if (Memory().FailedAllocations() == failures) {
        EXPECT_EQ(status, EFI_SUCCESS);
        EXPECT_EQ(mParser.documents.size(), 0u);
      } else {
        // A parser without memory hands out no document, which reads as no document at all.
        EXPECT_EQ(status, mParser.inputs.size() > mParser.freed ? EFI_INVALID_PARAMETER
                                                                : EFI_OUT_OF_RESOURCES);
      }
      mParser.inputs.clear();
      mParser.freed = 0;
    });
  }
}

}  // namespace
}  // namespace tvq::test

/*
 * The two readers of stored documents and their node helpers: where they look, what they return, log and leave, and that no document of a
 * stranger harms them.
 *
 * SPDX-License-Identifier: BSD-2-Clause-Patent
 */
#include <cstring>

#include "tests/unit/shared/dirty_stack.h"
#include "tests/unit/driver/uefi/verification_fixture.h"

#include "TvqSmbiosPkg/src/common/cpu_dimm.h"

namespace tvq::test {
namespace {

using testing::ElementsAre;
using testing::Field;
using testing::IsEmpty;

constexpr UINT32 kLength = 5;

testing::Matcher<const host::Assertion&> NameMismatch() {
  return testing::AllOf(Field("image", &host::Assertion::image, "driver"),
                        Field("file", &host::Assertion::file, "src/common/cpu_dimm"));
}

// What both readers have in common. The result of a reader is freed when the next one begins.
class StoredDocument : public VerificationTest {
 protected:
  StoredDocument() { InstallParser(); }
  ~StoredDocument() override {
    FreeDimmCache(mDimm);
    FreeCpuCache(mCpu);
  }

  EFI_STATUS ReadDimm(const std::string& document) {
    FreeDimmCache(mDimm);
    mDimm = nullptr;
    mLength = kLength;
    return ParseDIMMXMLBlob(document.c_str(), &mDimm, &mLength);
  }
  EFI_STATUS ReadCpu(const std::string& document) {
    FreeCpuCache(mCpu);
    mCpu = nullptr;
    mLength = kLength;
    return ParseCPUXMLBlob(document.c_str(), &mCpu, &mLength);
  }
  std::string Wwn() const { return Utf8(mDimm->WWN); }
  std::string Name() const { return Utf8(mCpu->MarketingName); }

  DIMM_XML_CACHE* mDimm = nullptr;
  CPU_XML_CACHE* mCpu = nullptr;
  UINT32 mLength = 0;
};

// --- Arguments and the parser ---

class StoredDocumentWithoutParser : public VerificationTest {};

TEST_F(StoredDocumentWithoutParser, TakesAMissingInterfaceForAMissingParser) {
  Install(gXmlParserProtocolGuid, nullptr);
  DIMM_XML_CACHE* cache = nullptr;
  UINT32 length = 1;
  EXPECT_EQ(ParseDIMMXMLBlob("<tvqComponent/>", &cache, &length), EFI_NOT_FOUND);
  EXPECT_EQ(cache, nullptr);
}

TEST_F(StoredDocument, NeedsItsArguments) {
  UINT32 zero = 0;
  mLength = kLength;
  EXPECT_EQ(ParseDIMMXMLBlob(nullptr, &mDimm, &mLength), EFI_INVALID_PARAMETER);
  EXPECT_EQ(ParseDIMMXMLBlob("", nullptr, &mLength), EFI_INVALID_PARAMETER);
  EXPECT_EQ(ParseDIMMXMLBlob("", &mDimm, nullptr), EFI_INVALID_PARAMETER);
  EXPECT_EQ(ParseDIMMXMLBlob("", &mDimm, &zero), EFI_INVALID_PARAMETER);
  EXPECT_THAT(TakeLog(), IsEmpty());

  const std::string refusal = "ParseCPUXMLBlob: Parsing XML blob returned error param validation";
  EXPECT_EQ(ParseCPUXMLBlob(nullptr, &mCpu, &mLength), EFI_INVALID_PARAMETER);
  EXPECT_EQ(ParseCPUXMLBlob("", nullptr, &mLength), EFI_INVALID_PARAMETER);
  EXPECT_EQ(ParseCPUXMLBlob("", &mCpu, nullptr), EFI_INVALID_PARAMETER);
  EXPECT_EQ(ParseCPUXMLBlob("", &mCpu, &zero), EFI_INVALID_PARAMETER);
  EXPECT_THAT(TakeLog(), ElementsAre(refusal, refusal, refusal, refusal));

  EXPECT_EQ(mLength, kLength);
  EXPECT_THAT(mParser.inputs, IsEmpty());
}

TEST_F(StoredDocument, NeedsTheParser) {
  Firmware().FailCallsFrom(host::images::driver, host::Service::LocateProtocol, 1, EFI_UNSUPPORTED);
  EXPECT_EQ(ReadDimm(DimmDocument("1", "A")), EFI_NOT_FOUND);
  EXPECT_EQ(ReadCpu(CpuDocument("N", "1")), EFI_NOT_FOUND);
  EXPECT_THAT(TakeLog(), ElementsAre("ParseDIMMXMLBlob: Not able to locate the XML Protocol",
                                     "ParseCPUXMLBlob: Not able to locate the XML Protocol"));
  EXPECT_EQ(mLength, kLength);
}

TEST_F(StoredDocument, IsHandedToTheParserAsATextInMemory) {
  const std::string document = DimmDocument("1", "A");
  DirtyTheStack();
  EXPECT_EQ(ReadDimm(document), EFI_SUCCESS);
  ASSERT_EQ(mParser.inputs.size(), 1u);
  // The kind, four bytes of padding, the text, and zeros.
  EXPECT_EQ(mParser.inputs[0], ByteWriter()
                                   .U32(1)
                                   .Zeros(4)
                                   .U64(reinterpret_cast<UINTN>(document.c_str()))
                                   .Zeros(16)
                                   .Written());
}

TEST_F(StoredDocument, IsThereWhateverStatusTheParserReturns) {
  mParser.statuses = {EFI_DEVICE_ERROR};
  EXPECT_EQ(ReadDimm(DimmDocument("1", "A")), EFI_SUCCESS);
  EXPECT_EQ(ReadCpu(CpuDocument("N", "1")), EFI_SUCCESS);
  EXPECT_EQ(mParser.freed, 2u);
}

TEST_F(StoredDocument, IsMissingWithoutATreeWhateverStatusTheParserReturns) {
  mParser.statuses = {EFI_SUCCESS};
  EXPECT_EQ(ReadDimm("<"), EFI_INVALID_PARAMETER);
  EXPECT_EQ(mLength, 0u);
  EXPECT_EQ(mDimm, nullptr);
  EXPECT_EQ(ReadCpu("<"), EFI_INVALID_PARAMETER);
  EXPECT_EQ(mLength, 0u);
  EXPECT_EQ(mCpu, nullptr);
  EXPECT_THAT(TakeLog(), ElementsAre("ParseDIMMXMLBlob: Parse doc failed to parse",
                                     "ParseCPUXMLBlob: Parse doc failed to parse"));
  EXPECT_EQ(mParser.freed, 0u);
}

// --- The layout that both readers ask for ---

TEST_F(StoredDocument, NeedsItsRoot) {
  for (const char* root : {"component", "TVQCOMPONENT", "tvqComponents", "x:tvqComponent"}) {
    const std::string document =
        Element(root, Element("Inventory", "") + Element("Configuration", ""));
    EXPECT_EQ(ReadDimm(document), EFI_INVALID_PARAMETER);
    EXPECT_EQ(mLength, 0u);
    EXPECT_EQ(ReadCpu(document), EFI_INVALID_PARAMETER);
    EXPECT_EQ(mLength, kLength);
    EXPECT_THAT(TakeLog(), ElementsAre("ParseDIMMXMLBlob: DOC head is not tvqComponent",
                                       "ParseCPUXMLBlob: DOC head is not tvqComponent"));
  }
  EXPECT_EQ(mParser.freed, 8u);
}

TEST_F(StoredDocument, NeedsANameOnItsRoot) {
  XML_NODE root = {};
  mParser.tree = &root;
  EXPECT_EQ(ReadDimm(""), EFI_INVALID_PARAMETER);
  EXPECT_EQ(ReadCpu(""), EFI_INVALID_PARAMETER);
  XML_TEXT noName = {};
  root.Name = &noName;
  EXPECT_EQ(ReadDimm(""), EFI_INVALID_PARAMETER);
  EXPECT_EQ(mParser.freed, 3u);
}

TEST_F(StoredDocument, NeedsAnElementInItsRoot) {
  for (const char* content : {"", " \n ", "text"}) {
    EXPECT_EQ(ReadDimm(Element("tvqComponent", content)), EFI_INVALID_PARAMETER);
    EXPECT_EQ(mLength, 0u);
    EXPECT_EQ(ReadCpu(Element("tvqComponent", content)), EFI_INVALID_PARAMETER);
    EXPECT_EQ(mLength, 0u);
    EXPECT_THAT(TakeLog(), ElementsAre("ParseCPUXMLBlob: DOC child is not present"));
  }
  EXPECT_EQ(mParser.freed, 6u);
}

TEST_F(StoredDocument, NeedsInventoryFirst) {
  for (const std::string& content :
       {Element("Configuration", ""), Element("inventory", ""),
        Element("Other", "") + Element("Inventory", "") + Element("Configuration", "")}) {
    EXPECT_EQ(ReadDimm(Element("tvqComponent", content)), EFI_UNSUPPORTED);
    EXPECT_EQ(mDimm, nullptr);
    EXPECT_EQ(mLength, kLength);
    EXPECT_EQ(ReadCpu(Element("tvqComponent", content)), EFI_UNSUPPORTED);
    EXPECT_EQ(mCpu, nullptr);
    EXPECT_EQ(mLength, kLength);
    EXPECT_THAT(TakeLog(), ElementsAre("ParseCPUXMLBlob: CPU XML didn't find Inventory Node"));
  }
  EXPECT_EQ(mParser.freed, 6u);
}

TEST_F(StoredDocument, MayHaveWhiteSpaceBetweenItsElements) {
  const std::string document =
      "<?xml version=\"1.0\"?>\n<tvqComponent>\n  <Inventory>\n"
      "    <MarketingName>N</MarketingName>\n\t<WWN>1</WWN>\n"
      "  </Inventory>\r\n  <Configuration>\n    <dimmData>\n"
      "      <Speed>1</Speed>\n      <PartNumber>A</PartNumber>\n"
      "    </dimmData>\n  </Configuration>\n</tvqComponent>\n";
  EXPECT_EQ(ReadDimm(document), EFI_SUCCESS);
  EXPECT_EQ(Wwn(), "1");
  EXPECT_STREQ(mDimm->PartNo, "A");
}

// --- The reader for modules ---

TEST_F(StoredDocument, YieldsTheIdentityOfAModule) {
  EXPECT_EQ(ReadDimm(DimmDocument("0123ABCD", "MW16G3200")), EFI_SUCCESS);
  EXPECT_EQ(Wwn(), "0123ABCD");
  EXPECT_STREQ(mDimm->PartNo, "MW16G3200");
  EXPECT_EQ(mLength, kLength);
  EXPECT_EQ(mParser.freed, 1u);
  EXPECT_THAT(TakeLog(), IsEmpty());
  EXPECT_THAT(NewBlockSizes(), ElementsAre(16u, 18u, 10u));
}

TEST_F(StoredDocument, YieldsEmptyTextsOfAModule) {
  EXPECT_EQ(ReadDimm(DimmDocument("", "")), EFI_SUCCESS);
  EXPECT_EQ(Wwn(), "");
  EXPECT_STREQ(mDimm->PartNo, "");
}

TEST_F(StoredDocument, IsReadWithoutTrimmingAndWithSignExtension) {
  EXPECT_EQ(ReadDimm(DimmDocument(" 1 \xC3\xA9", "\tA ")), EFI_SUCCESS);
  const CHAR16 expected[] = {' ', '1', ' ', 0xFFC3, 0xFFA9, 0};
  EXPECT_EQ(BytesAt(mDimm->WWN, sizeof(expected)), BytesAt(expected, sizeof(expected)));
  EXPECT_STREQ(mDimm->PartNo, "\tA ");
}

TEST_F(StoredDocument, HasASerialNumberOnlySecondInInventory) {
  const std::string data = Element("dimmData", Element("Speed", "1") + Element("PartNumber", "A"));
  for (const std::string& inventory :
       {Element("MarketingName", "") + Element("Identifier", ""), Element("WWN", "1"),
        Element("WWN", "1") + Element("MarketingName", ""),
        Element("MarketingName", "") + Element("wwn", "1"), std::string(),
        Element("MarketingName", "") + Element("Identifier", "") + Element("WWN", "1")}) {
    EXPECT_EQ(ReadDimm(Document(inventory, data)), EFI_SUCCESS) << inventory;
    EXPECT_EQ(mDimm->WWN, nullptr) << inventory;
    EXPECT_STREQ(mDimm->PartNo, "A");
  }
  // Whatever stands before it.
  EXPECT_EQ(ReadDimm(Document(Element("Other", "") + Element("WWN", "1"), data)), EFI_SUCCESS);
  EXPECT_EQ(Wwn(), "1");
}

TEST_F(StoredDocument, NeedsThePartNumberSecondInDimmData) {
  for (const std::string& data :
       {Element("PartNumber", "A") + Element("Speed", "1"),
        Element("Speed", "1") + Element("Manufacturer", "") + Element("PartNumber", "A"),
        Element("Speed", "1") + Element("partNumber", "A")}) {
    EXPECT_EQ(ReadDimm(Document(Element("MarketingName", "") + Element("WWN", "1"),
                                Element("dimmData", data))),
              EFI_INVALID_PARAMETER);
    EXPECT_EQ(mDimm, nullptr);
    EXPECT_EQ(mLength, kLength);
    EXPECT_THAT(TakeLog(), ElementsAre("ParseDIMMXMLBlob: Error Parsing Part Number"));
    EXPECT_THAT(Firmware().TakeAssertions(), ElementsAre(NameMismatch()));
    EXPECT_THAT(NewBlockSizes(), IsEmpty());
  }
  EXPECT_EQ(mParser.freed, 3u);
}

TEST_F(StoredDocument, LeavesTheResultWhenAModuleIsLaidOutOtherwise) {
  const std::string inventory =
      Element("Inventory", Element("MarketingName", "") + Element("WWN", "1"));
  const std::string data = Element("dimmData", Element("Speed", "1") + Element("PartNumber", "A"));
  for (const std::string& rest :
       {std::string(), Element("configuration", data),
        Element("Other", "") + Element("Configuration", data), Element("Configuration", ""),
        Element("Configuration", Element("cpuData", "")),
        Element("Configuration", Element("Other", "") + data),
        Element("Configuration", Element("dimmData", "")),
        Element("Configuration", Element("dimmData", Element("PartNumber", "A")))}) {
    EXPECT_EQ(ReadDimm(Element("tvqComponent", inventory + rest)), EFI_UNSUPPORTED) << rest;
    EXPECT_EQ(mLength, kLength);
    ASSERT_NE(mDimm, nullptr) << rest;
    EXPECT_EQ(Wwn(), "1");
    EXPECT_EQ(mDimm->PartNo, nullptr);
    EXPECT_THAT(TakeLog(), IsEmpty());
  }
  EXPECT_EQ(mParser.freed, 8u);
}

TEST_F(StoredDocument, NeedsMemoryForEachPartOfAModule) {
  const std::vector<std::string> logs[] = {{}, {}, {"ParseDIMMXMLBlob: Error Parsing Part Number"}};
  for (uint64_t n = 1; n <= std::size(logs); ++n) {
    FailAllocation(n);
    EXPECT_EQ(ReadDimm(DimmDocument("1", "A")), EFI_OUT_OF_RESOURCES);
    EXPECT_EQ(mDimm, nullptr);
    EXPECT_EQ(TakeLog(), logs[n - 1]);
    EXPECT_THAT(NewBlockSizes(), IsEmpty());
    EXPECT_EQ(mParser.freed, n);
  }
}

// --- The reader for processors ---

TEST_F(StoredDocument, YieldsTheIdentityOfAProcessor) {
  EXPECT_EQ(ReadCpu(CpuDocument("Fast 9000", "24")), EFI_SUCCESS);
  EXPECT_EQ(Name(), "Fast 9000");
  EXPECT_EQ(mCpu->CoreCount, 24);
  EXPECT_EQ(mLength, kLength);
  EXPECT_EQ(mParser.freed, 1u);
  EXPECT_THAT(TakeLog(), ElementsAre("ParseCPUXMLBlob: Searching for Corecount node"));
  EXPECT_THAT(NewBlockSizes(), ElementsAre(16u, 20u));
}

TEST_F(StoredDocument, YieldsTheEmptyNameOfAProcessor) {
  EXPECT_EQ(ReadCpu(CpuDocument("", "24")), EFI_SUCCESS);
  EXPECT_EQ(Name(), "");
}

TEST_F(StoredDocument, HasAProcessorNameOnlyFirstInInventory) {
  const std::string data = Element("cpuData", Element("CoreCount", "4"));
  for (const std::string& inventory : {Element("Identifier", "") + Element("MarketingName", "N"),
                                       Element("marketingName", "N"), std::string()}) {
    EXPECT_EQ(ReadCpu(Document(inventory, data)), EFI_SUCCESS);
    EXPECT_EQ(mCpu->MarketingName, nullptr);
    EXPECT_EQ(mCpu->CoreCount, 4);
  }
}

TEST_F(StoredDocument, KeepsTheLow8BitsOfTheCoreCount) {
  const std::pair<const char*, int> cases[] = {
      {"0", 0},  {"255", 255},     {"256", 0}, {"300", 44}, {"0024", 24},
      {" 7", 7}, {"12 cores", 12}, {"", 0},    {"x", 0},    {"-1", 0}};
  for (const auto& [text, count] : cases) {
    EXPECT_EQ(ReadCpu(CpuDocument("N", text)), EFI_SUCCESS) << text;
    EXPECT_EQ(mCpu->CoreCount, count) << text;
  }
}

TEST_F(StoredDocument, HasItsCoreCountAnywhereInCpuData) {
  for (const std::string& data :
       {Element("CoreCount", "4"), Element("A", "") + Element("B", "") + Element("CoreCount", "4"),
        Element("CoreCount", "4") + Element("CoreCount", "5"),
        Element("corecount", "1") + Element("CoreCount", "4"),
        Element("A", Element("CoreCount", "1")) + Element("CoreCount", "4")}) {
    EXPECT_EQ(ReadCpu(Document("", Element("cpuData", data))), EFI_SUCCESS) << data;
    EXPECT_EQ(mCpu->CoreCount, 4) << data;
  }
}

TEST_F(StoredDocument, NeedsItsCoreCount) {
  for (const char* data : {"", "<EnabledCoreCount>4</EnabledCoreCount>",
                           "<CacheData><CoreCount>4</CoreCount></CacheData>"}) {
    EXPECT_EQ(ReadCpu(Document(Element("MarketingName", "N"), Element("cpuData", data))),
              EFI_UNSUPPORTED);
    EXPECT_THAT(TakeLog(), ElementsAre("ParseCPUXMLBlob: Searching for Corecount node",
                                       "ParseCPUXMLBlob: CPU XML didn't find Inventory Node"));
  }
  EXPECT_EQ(mParser.freed, 3u);
}

TEST_F(StoredDocument, IsReleasedBeforeTheLogSaysThatItIsLaidOutOtherwise) {
  std::vector<std::string> before;
  mParser.onFree = [&] { before = TakeLog(); };
  EXPECT_EQ(ReadCpu(Document("", Element("cpuData", ""))), EFI_UNSUPPORTED);
  EXPECT_THAT(before, ElementsAre("ParseCPUXMLBlob: Searching for Corecount node"));
  EXPECT_THAT(TakeLog(), ElementsAre("ParseCPUXMLBlob: CPU XML didn't find Inventory Node"));
}

TEST_F(StoredDocument, SkipsElementsWithoutANameWhenItLooksForTheCoreCount) {
  struct Names {
    XML_TEXT root = {nullptr, const_cast<CHAR8*>("tvqComponent")};
    XML_TEXT inventory = {nullptr, const_cast<CHAR8*>("Inventory")};
    XML_TEXT configuration = {nullptr, const_cast<CHAR8*>("Configuration")};
    XML_TEXT data = {nullptr, const_cast<CHAR8*>("cpuData")};
    XML_TEXT coreCount = {nullptr, const_cast<CHAR8*>("CoreCount")};
    XML_TEXT value = {nullptr, const_cast<CHAR8*>("6")};
  } names;
  XML_NODE coreCount = {&names.coreCount, &names.value, {}, nullptr, nullptr};
  XML_NODE nameless = {nullptr, &names.value, {}, nullptr, &coreCount};
  XML_NODE data = {&names.data, nullptr, {}, &nameless, nullptr};
  XML_NODE configuration = {&names.configuration, nullptr, {}, &data, nullptr};
  XML_NODE inventory = {&names.inventory, nullptr, {}, nullptr, &configuration};
  XML_NODE root = {&names.root, nullptr, {}, &inventory, nullptr};
  mParser.tree = &root;
  EXPECT_EQ(ReadCpu(""), EFI_SUCCESS);
  EXPECT_EQ(mCpu->CoreCount, 6);
}

TEST_F(StoredDocument, IsGivenUpWhenTheCoreCountIsFoundButThenRefused) {
  // A comparison that changes its mind: the helper that reads the element compares its name again.
  static int comparisons;
  comparisons = 0;
  mHarness.platform.library.AsciiStrCmp = [](const CHAR8* first, const CHAR8* second)
                                              EFIAPI -> INTN {
    const bool isCoreCount =
        std::strcmp(first, "CoreCount") == 0 && std::strcmp(second, first) == 0;
    comparisons += isCoreCount ? 1 : 0;
    return isCoreCount && comparisons == 2 ? 1 : std::strcmp(first, second);
  };
  EnableAssertions(false);
  EXPECT_EQ(ReadCpu(CpuDocument("N", "4")), EFI_INVALID_PARAMETER);
  EXPECT_EQ(mCpu, nullptr);
  EXPECT_EQ(TakeLog().back(), "ParseCPUXMLBlob: error parsing CoreCount");
  EXPECT_EQ(mParser.freed, 1u);
}

TEST_F(StoredDocument, NeedsTheLayoutOfAProcessor) {
  const std::string inventory = Element("Inventory", Element("MarketingName", "N"));
  const std::string data = Element("cpuData", Element("CoreCount", "4"));
  for (const std::string& rest :
       {std::string(), Element("configuration", data),
        Element("Other", "") + Element("Configuration", data), Element("Configuration", ""),
        Element("Configuration", Element("dimmData", Element("CoreCount", "4"))),
        Element("Configuration", Element("Other", "") + data)}) {
    EXPECT_EQ(ReadCpu(Element("tvqComponent", inventory + rest)), EFI_UNSUPPORTED) << rest;
    EXPECT_EQ(mLength, kLength);
    EXPECT_THAT(TakeLog(), ElementsAre("ParseCPUXMLBlob: CPU XML didn't find Inventory Node"));
  }
  EXPECT_EQ(mParser.freed, 6u);
}

TEST_F(StoredDocument, NeedsMemoryForEachPartOfAProcessor) {
  const char* const logs[] = {"ParseCPUXMLBlob: Memory allocation failed for Cache",
                              "ParseCPUXMLBlob: Memory allocation failed for mktname"};
  for (uint64_t n = 1; n <= std::size(logs); ++n) {
    FailAllocation(n);
    EXPECT_EQ(ReadCpu(CpuDocument("N", "4")), EFI_OUT_OF_RESOURCES);
    EXPECT_THAT(TakeLog(), ElementsAre(logs[n - 1]));
    EXPECT_EQ(mParser.freed, n);
  }
}

// --- The node helpers ---

class NodeHelpers : public RecordTest {
 protected:
  XML_NODE* Node(const char* name, const char* text) {
    mName.Text = const_cast<CHAR8*>(name);
    mValue.Text = const_cast<CHAR8*>(text);
    mNode.Name = name == nullptr ? nullptr : &mName;
    mNode.Value = text == nullptr ? nullptr : &mValue;
    return &mNode;
  }

  XML_TEXT mName = {};
  XML_TEXT mValue = {};
  XML_NODE mNode = {};
  CHAR8* mText = nullptr;
  UINT8 mByte = 0xEE;
};

TEST_F(NodeHelpers, NeedTheirArguments) {
  EXPECT_EQ(GetPartNumberText(nullptr, &mText), EFI_INVALID_PARAMETER);
  EXPECT_EQ(GetPartNumberText(Node("PartNumber", "A"), nullptr), EFI_INVALID_PARAMETER);
  EXPECT_EQ(GetByteValue(nullptr, "CoreCount", &mByte), EFI_INVALID_PARAMETER);
  EXPECT_EQ(GetByteValue(Node("CoreCount", "1"), nullptr, &mByte), EFI_INVALID_PARAMETER);
  EXPECT_EQ(GetByteValue(Node("CoreCount", "1"), "CoreCount", nullptr), EFI_INVALID_PARAMETER);
  EXPECT_EQ(mByte, 0xEE);
  EXPECT_THAT(NewBlockSizes(), IsEmpty());
}

TEST_F(NodeHelpers, AssertThatTheNodeHasTheName) {
  EXPECT_EQ(GetPartNumberText(Node("partNumber", "A"), &mText), EFI_INVALID_PARAMETER);
  EXPECT_EQ(GetByteValue(Node("Count", "1"), "CoreCount", &mByte), EFI_INVALID_PARAMETER);
  EXPECT_THAT(Firmware().TakeAssertions(), ElementsAre(NameMismatch(), NameMismatch()));
  EXPECT_EQ(mText, nullptr);
  EXPECT_EQ(mByte, 0xEE);
}

TEST_F(NodeHelpers, RefuseAnotherNameWithoutAssertionsToo) {
  EnableAssertions(false);
  EXPECT_EQ(GetPartNumberText(Node("Speed", "A"), &mText), EFI_INVALID_PARAMETER);
  EXPECT_EQ(GetByteValue(Node("Speed", "1"), "CoreCount", &mByte), EFI_INVALID_PARAMETER);
}

TEST_F(NodeHelpers, TakeANodeWithoutAName) {
  EXPECT_EQ(GetByteValue(Node(nullptr, "7"), "CoreCount", &mByte), EFI_SUCCESS);
  EXPECT_EQ(mByte, 7);
  ASSERT_EQ(GetPartNumberText(Node(nullptr, "A"), &mText), EFI_SUCCESS);
  EXPECT_STREQ(mText, "A");
  Firmware().BootServices()->FreePool(mText);
}

TEST_F(NodeHelpers, CopyATextWithItsTerminator) {
  ASSERT_EQ(GetPartNumberText(Node("PartNumber", "ABC 123"), &mText), EFI_SUCCESS);
  EXPECT_STREQ(mText, "ABC 123");
  EXPECT_THAT(NewBlockSizes(), ElementsAre(8u));
  Firmware().BootServices()->FreePool(mText);
}

TEST_F(NodeHelpers, TakeAMissingTextForTheEmptyOne) {
  EXPECT_EQ(GetByteValue(Node("CoreCount", nullptr), "CoreCount", &mByte), EFI_SUCCESS);
  EXPECT_EQ(mByte, 0);
  ASSERT_EQ(GetPartNumberText(Node("PartNumber", nullptr), &mText), EFI_SUCCESS);
  EXPECT_STREQ(mText, "");
  Firmware().BootServices()->FreePool(mText);
}

TEST_F(NodeHelpers, TakeAValueWithoutATextForTheEmptyText) {
  XML_NODE* const node = Node("CoreCount", "");
  mValue.Text = nullptr;
  EXPECT_EQ(GetByteValue(node, "CoreCount", &mByte), EFI_SUCCESS);
  EXPECT_EQ(mByte, 0);
}

TEST_F(NodeHelpers, NeedMemoryForATextAndNoneForAByte) {
  FailAllocation(1);
  EXPECT_EQ(GetByteValue(Node("CoreCount", "7"), "CoreCount", &mByte), EFI_SUCCESS);
  EXPECT_EQ(GetPartNumberText(Node("PartNumber", "A"), &mText), EFI_OUT_OF_RESOURCES);
  EXPECT_EQ(mText, nullptr);
}

// --- Documents of strangers ---

class HostileDocument : public StoredDocument {
 protected:
  // Both readers refuse the text as no document.
  void ExpectNoDocument(const std::string& text) {
    EXPECT_EQ(ReadDimm(text), EFI_INVALID_PARAMETER) << text.substr(0, 200);
    EXPECT_EQ(mLength, 0u);
    EXPECT_EQ(ReadCpu(text), EFI_INVALID_PARAMETER) << text.substr(0, 200);
    EXPECT_EQ(mLength, 0u);
    EXPECT_THAT(TakeLog(), ElementsAre("ParseDIMMXMLBlob: Parse doc failed to parse",
                                       "ParseCPUXMLBlob: Parse doc failed to parse"));
  }
};

TEST_F(HostileDocument, IsRefusedWhenItIsBroken) {
  const std::string whole = DimmDocument("1", "A");
  for (const std::string& text :
       {std::string(), std::string("no document"), whole.substr(0, whole.size() - 1),
        whole.substr(0, whole.size() / 2), whole + "<", whole + whole, "x" + whole,
        std::string("<tvqComponent><Inventory></tvqComponent></Inventory>"),
        std::string("<tvqComponent a='1' a='2'/>"), std::string("<tvqComponent a=1/>")}) {
    ExpectNoDocument(text);
  }
}

TEST_F(HostileDocument, IsRefusedWhenAValueIsNotEscaped) {
  // The driver writes values as they are, so these are documents of its own.
  for (const char* value : {"A&B", "A<B", "A&B;", "A\001B", "]]>"}) {
    ExpectNoDocument(DimmDocument("1", value));
    ExpectNoDocument(CpuDocument(value, "4"));
  }
}

TEST_F(HostileDocument, IsRefusedWhenItDeclaresEntities) {
  const std::string content = Element("tvqComponent", Element("Inventory", "&e;"));
  std::string laughs = "<!DOCTYPE tvqComponent [<!ENTITY a0 'ha'>";
  for (int i = 1; i < 40; ++i) {
    const std::string inner = "&a" + std::to_string(i - 1) + ";";
    laughs += "<!ENTITY a" + std::to_string(i) + " '" + inner + inner + "'>";
  }
  for (const std::string& text :
       {"<!DOCTYPE tvqComponent [<!ENTITY e 'x'>]>" + content,
        "<!DOCTYPE tvqComponent [<!ENTITY e SYSTEM 'file:///etc/passwd'>]>" + content,
        std::string("<!DOCTYPE tvqComponent SYSTEM 'a.dtd'>" + DimmDocument("1", "A").substr(38)),
        laughs + "]><tvqComponent>&a39;</tvqComponent>"}) {
    ExpectNoDocument(text);
  }
}

std::string Nested(size_t levels) {
  std::string text;
  for (size_t i = 0; i < levels; ++i) {
    text += "<a>";
  }
  for (size_t i = 0; i < levels; ++i) {
    text += "</a>";
  }
  return text;
}

TEST_F(HostileDocument, MayNestAsDeepAsItWants) {
  OnSmallStack([this] {
    EXPECT_EQ(ReadDimm(Nested(10'000)), EFI_INVALID_PARAMETER);
    EXPECT_EQ(ReadCpu(Nested(10'000)), EFI_INVALID_PARAMETER);
    EXPECT_EQ(ReadDimm(Document(Nested(10'000) + Element("WWN", "1"),
                                Element("dimmData", Nested(10'000) + Element("PartNumber", "A")))),
              EFI_SUCCESS);
    EXPECT_EQ(ReadCpu(Document(Element("MarketingName", Nested(10'000)),
                               Element("cpuData", Nested(10'000) + Element("CoreCount", "4")))),
              EFI_SUCCESS);
  });
  EXPECT_EQ(Wwn(), "1");
  EXPECT_STREQ(mDimm->PartNo, "A");
  EXPECT_EQ(mCpu->CoreCount, 4);
}

TEST_F(HostileDocument, MayHaveTextsOfAnyLength) {
  const std::string text(2 * 1024 * 1024, 'x');
  EXPECT_EQ(ReadDimm(DimmDocument(text, text)), EFI_SUCCESS);
  EXPECT_EQ(Wwn(), text);
  EXPECT_EQ(mDimm->PartNo, text);
  EXPECT_EQ(ReadCpu(CpuDocument(text, text)), EFI_SUCCESS);
  EXPECT_EQ(Name(), text);
}

TEST_F(HostileDocument, MayHaveAnyNumberOfElements) {
  std::string siblings;
  for (int i = 0; i < 50'000; ++i) {
    siblings += "<a/>";
  }
  EXPECT_EQ(ReadCpu(Document("", Element("cpuData", siblings + Element("CoreCount", "4")))),
            EFI_SUCCESS);
  EXPECT_EQ(mCpu->CoreCount, 4);
}

TEST_F(HostileDocument, NeitherLeaksNorCrashesWhenMemoryRunsOut) {
  const std::string dimm = DimmDocument("1", "A");
  const std::string cpu = CpuDocument("N", "4");
  ForEachFailingAllocation([&] {
    const bool failed = EFI_ERROR(ReadDimm(dimm));
    EXPECT_EQ(mDimm == nullptr, failed);
    ReadCpu(cpu);
    FreeDimmCache(mDimm);
    FreeCpuCache(mCpu);
    mDimm = nullptr;
    mCpu = nullptr;
  });
}

}  // namespace
}  // namespace tvq::test

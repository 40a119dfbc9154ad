/*
 * The reference platform's XML parser: the tree of a document, what is no document, and that neither depth nor size nor missing memory
 * harms it.
 *
 * SPDX-License-Identifier: BSD-2-Clause-Patent
 */
#include "tests/unit/driver/uefi/verification_fixture.h"

#include "tests/unit/platform/platform_fixture.h"

#include <Protocol/Rng.h>

namespace tvq::test {
namespace {

class XmlParser : public PlatformTest {
 protected:
  XmlParser() : mBefore(Blocks()) {}
  ~XmlParser() override {
    Free();
    EXPECT_EQ(Blocks(), mBefore) << "the parser has kept blocks";
  }

  XML_PARSER_PROTOCOL* Protocol() { return Find<XML_PARSER_PROTOCOL>(gXmlParserProtocolGuid); }
  size_t Blocks() { return Firmware().Memory().LiveCount(host::images::platform); }

  EFI_STATUS Parse(const std::string& text) {
    Free();
    XML_INPUT input = {XML_INPUT_MEMORY, 0, text.c_str(), {}};
    mRoot = reinterpret_cast<XML_NODE*>(1);
    const EFI_STATUS status = Protocol()->Parse(Protocol(), &input, &mRoot);
    EXPECT_EQ(mRoot == nullptr, EFI_ERROR(status));
    return status;
  }
  void Free() {
    if (mRoot != nullptr) {
      EXPECT_EQ(Protocol()->Free(Protocol(), mRoot), EFI_SUCCESS);
      mRoot = nullptr;
    }
  }
  // The tree as "name=text(child,child)".
  std::string Tree(const std::string& text) {
    EXPECT_EQ(Parse(text), EFI_SUCCESS) << text;
    return mRoot == nullptr ? "" : Print(mRoot);
  }
  static std::string Print(const XML_NODE* node) {
    std::string text = std::string(node->Name->Text) + "=" + node->Value->Text;
    const char* separator = "(";
    for (const XML_NODE* child = node->FirstChild; child != nullptr; child = child->NextSibling) {
      text += separator + Print(child);
      separator = ",";
    }
    return node->FirstChild == nullptr ? text : text + ")";
  }

  XML_NODE* mRoot = nullptr;

 private:
  size_t mBefore;
};

// --- Trees ---

TEST_F(XmlParser, KeepsElementsInTheirOrder) {
  EXPECT_EQ(Tree("<a/>"), "a=");
  EXPECT_EQ(Tree("<a><b>1</b><c><d>2</d><e/></c><b>3</b></a>"), "a=(b=1,c=(d=2,e=),b=3)");
  EXPECT_EQ(Tree(Element("x:Long-Name_1.2", "v")), "x:Long-Name_1.2=v");
}

TEST_F(XmlParser, HasNoNodeForAnythingElse) {
  EXPECT_EQ(Tree("<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n<!-- one -->\n<?go on?>\n"
                 "<a x=\"1\" y='2'><!-- two --><b z=\"3\">4</b><?go on?></a>\n<!-- three -->"),
            "a=(b=4)");
}

TEST_F(XmlParser, HasNoNodeForWhiteSpaceBetweenElements) {
  ASSERT_EQ(Parse("<a>\n  <b>1</b>\r\n\t<c/>\n</a>"), EFI_SUCCESS);
  const XML_NODE* b = mRoot->FirstChild;
  EXPECT_STREQ(b->Name->Text, "b");
  EXPECT_STREQ(b->NextSibling->Name->Text, "c");
  EXPECT_EQ(b->NextSibling->NextSibling, nullptr);
}

TEST_F(XmlParser, KeepsTextsAsTheyAre) {
  EXPECT_EQ(Tree("<a>  one\ttwo  </a>"), "a=  one\ttwo  ");
  EXPECT_EQ(Tree("<a>\n</a>"), "a=\n");
  EXPECT_EQ(Tree("<a>one<!-- -->two<?x?>three</a>"), "a=onetwothree");
  EXPECT_EQ(Tree("<a>one<b>two</b>three</a>"), "a=onethree(b=two)");
  EXPECT_EQ(Tree("<a><![CDATA[<&>]]></a>"), "a=<&>");
}

TEST_F(XmlParser, ReplacesTheReferencesThatNeedNoDeclaration) {
  EXPECT_EQ(Tree("<a>&lt;&amp;&gt;&quot;&apos;&#65;&#x42;&#233;</a>"), "a=<&>\"'AB\xE9");
}

// Whatever a document says of itself: its texts are bytes of an SMBIOS table.
TEST_F(XmlParser, GivesEveryByteBackAsItIs) {
  std::string bytes;
  for (int byte = 0x20; byte <= 0xFF; ++byte) {
    bytes += byte == '&' || byte == '<' ? "" : std::string(1, static_cast<char>(byte));
  }
  for (const char* const declaration :
       {"", "<?xml version=\"1.0\" encoding=\"UTF-8\"?>",
        "<?xml version=\"1.0\" encoding=\"ISO-8859-1\"?>",
        "<?xml version='1.0' encoding='UTF-16'?>", "<?xml version='1.0' encoding='klingon'?>"}) {
    EXPECT_EQ(Tree(declaration + Element("a", bytes)), "a=" + bytes);
    EXPECT_EQ(Tree(declaration + Element("a", "\xC3\xA9")), "a=\xC3\xA9");
    EXPECT_EQ(Tree(declaration + Element("n\xE9", "1")), "n\xE9=1");
  }
}

TEST_F(XmlParser, LeavesCharactersThatAreNoByteAsUtf8) {
  EXPECT_EQ(Tree("<a>&#x100;</a>"), "a=\xC4\x80");
}

TEST_F(XmlParser, ReadsADocumentOfTheDriver) {
  EXPECT_EQ(Tree(CpuDocument("Fast 9000", "24")),
            "tvqComponent=(Inventory=(MarketingName=Fast 9000,Identifier=),Configuration=(cpuData=("
            "ProcessorFamily=b3,CoreCount=24,EnabledCoreCount=7)))");
}

TEST_F(XmlParser, DoesNotNeedTheTextAfterwards) {
  std::string text = "<a><b>1</b></a>";
  ASSERT_EQ(Parse(text), EFI_SUCCESS);
  text.assign(text.size(), '\0');
  EXPECT_EQ(Print(mRoot), "a=(b=1)");
}

TEST_F(XmlParser, KeepsDocumentsApart) {
  XML_INPUT input = {XML_INPUT_MEMORY, 0, "<other>1</other>", {}};
  XML_NODE* other = nullptr;
  ASSERT_EQ(Protocol()->Parse(Protocol(), &input, &other), EFI_SUCCESS);
  ASSERT_EQ(Parse("<a>2</a>"), EFI_SUCCESS);
  EXPECT_EQ(Protocol()->Free(Protocol(), other), EFI_SUCCESS);
  EXPECT_EQ(Print(mRoot), "a=2");
}

// --- Arguments ---

TEST_F(XmlParser, NeedsItsArguments) {
  XML_INPUT input = {XML_INPUT_MEMORY, 0, "<a/>", {}};
  XML_INPUT noText = {XML_INPUT_MEMORY, 0, nullptr, {}};
  XML_PARSER_PROTOCOL* protocol = Protocol();
  EXPECT_EQ(protocol->Parse(nullptr, &input, &mRoot), EFI_INVALID_PARAMETER);
  EXPECT_EQ(protocol->Parse(protocol, nullptr, &mRoot), EFI_INVALID_PARAMETER);
  EXPECT_EQ(protocol->Parse(protocol, &noText, &mRoot), EFI_INVALID_PARAMETER);
  EXPECT_EQ(mRoot, nullptr);
  EXPECT_EQ(protocol->Parse(protocol, &input, nullptr), EFI_INVALID_PARAMETER);
  EXPECT_EQ(protocol->Free(protocol, nullptr), EFI_INVALID_PARAMETER);
  ASSERT_EQ(Parse("<a/>"), EFI_SUCCESS);
  EXPECT_EQ(protocol->Free(nullptr, mRoot), EFI_INVALID_PARAMETER);
}

TEST_F(XmlParser, KnowsNoSourceButMemory) {
  for (UINT32 kind : {0u, 2u, 0xFFFFFFFFu}) {
    XML_INPUT input = {kind, 0, "<a/>", {}};
    EXPECT_EQ(Protocol()->Parse(Protocol(), &input, &mRoot), EFI_UNSUPPORTED);
    EXPECT_EQ(mRoot, nullptr);
  }
}

TEST_F(XmlParser, StandsAtTheSecondAndTheFifthField) {
  VOID** fields = reinterpret_cast<VOID**>(Protocol());
  EXPECT_EQ(fields[1], reinterpret_cast<VOID*>(Protocol()->Parse));
  EXPECT_EQ(fields[4], reinterpret_cast<VOID*>(Protocol()->Free));
}

// --- What is no document ---

TEST_F(XmlParser, RefusesTextsThatAreNotWellFormed) {
  for (const std::string& text : {std::string(),
                                  std::string(" "),
                                  std::string("text"),
                                  std::string("<"),
                                  std::string("<a"),
                                  std::string("<a>"),
                                  std::string("</a>"),
                                  std::string("<a></b>"),
                                  std::string("<a><b></a></b>"),
                                  std::string("<a/><b/>"),
                                  std::string("<a/>x"),
                                  std::string("<a b=1/>"),
                                  std::string("<a b='1' b='2'/>"),
                                  std::string("<a>&</a>"),
                                  std::string("<a>&b;</a>"),
                                  std::string("<a>&#0;</a>"),
                                  std::string("<a>&#xD800;</a>"),
                                  std::string("<a>\x01</a>"),
                                  std::string("<a>]]></a>"),
                                  std::string("<a><!-- -- --></a>"),
                                  std::string("<1/>"),
                                  std::string(" <?xml version='1.0'?><a/>")}) {
    EXPECT_EQ(Parse(text), EFI_VOLUME_CORRUPTED) << text;
  }
}

TEST_F(XmlParser, RefusesADocumentTypeDeclaration) {
  for (const std::string& text :
       {std::string("<!DOCTYPE a><a/>"), std::string("<!DOCTYPE a []><a/>"),
        std::string("<!DOCTYPE a SYSTEM 'x.dtd'><a/>"),
        std::string("<!DOCTYPE a PUBLIC 'p' 'x.dtd'><a/>"),
        std::string("<!DOCTYPE a [<!ENTITY e 'x'>]><a>&e;</a>"),
        std::string("<!DOCTYPE a [<!ENTITY % p SYSTEM 'x'> %p;]><a/>"),
        std::string("<!DOCTYPE a [<!ATTLIST a b CDATA 'default'>]><a/>")}) {
    EXPECT_EQ(Parse(text), EFI_UNSUPPORTED) << text;
  }
}

// --- Size and depth ---

TEST_F(XmlParser, ParsesAndFreesAnyDepthOnASmallStack) {
  constexpr int kLevels = 100'000;
  std::string text;
  for (int i = 0; i < kLevels; ++i) {
    text += "<a>";
  }
  for (int i = 0; i < kLevels; ++i) {
    text += "</a>";
  }
  OnSmallStack([&] {
    ASSERT_EQ(Parse(text), EFI_SUCCESS);
    int levels = 0;
    for (const XML_NODE* node = mRoot; node != nullptr; node = node->FirstChild) {
      ++levels;
    }
    EXPECT_EQ(levels, kLevels);
    Free();
  });
}

TEST_F(XmlParser, KeepsATextOfAnyLength) {
  const std::string text(2 * 1024 * 1024, 'x');
  ASSERT_EQ(Parse(Element("a", text)), EFI_SUCCESS);
  EXPECT_EQ(mRoot->Value->Text, text);
}

TEST_F(XmlParser, KeepsATextInAnyNumberOfPieces) {
  std::string text;
  for (int i = 0; i < 100'000; ++i) {
    text += "&amp;\n";
  }
  ASSERT_EQ(Parse(Element("a", text)), EFI_SUCCESS);
  const std::string value = mRoot->Value->Text;
  EXPECT_EQ(value.size(), 200'000u);
  EXPECT_EQ(value.substr(0, 4), "&\n&\n");
}

TEST_F(XmlParser, KeepsNamesOfAnyLength) {
  const std::string name(500'000, 'n');
  ASSERT_EQ(Parse("<" + name + "/>"), EFI_SUCCESS);
  EXPECT_EQ(mRoot->Name->Text, name);
}

// --- Memory ---

class XmlParserWithoutMemory : public XmlParser {
 protected:
  // Makes each allocation fail alone until the text is parsed, and tells how many it takes.
  uint64_t AllocationsFor(const std::string& text) {
    Free();
    const size_t before = Blocks();
    for (uint64_t n = 1; n < 10'000 && !HasFailure(); ++n) {
      Firmware().Memory().FailAllocation(n, host::images::platform);
      const EFI_STATUS status = Parse(text);
      Firmware().Memory().StopFailing();
      if (status == EFI_SUCCESS) {
        return n - 1;
      }
      EXPECT_EQ(status, EFI_OUT_OF_RESOURCES) << n;
      EXPECT_EQ(Blocks(), before) << n;
    }
    return 0;
  }
};

TEST_F(XmlParserWithoutMemory, HandsOutNothing) {
  std::string text = "<?xml version=\"1.0\"?><a x=\"1\" y=\"&amp;\">";
  for (int i = 0; i < 20; ++i) {
    text += "<n" + std::to_string(i) + " z='" + std::string(100, 'z') + "'>" +
            std::string(300, 't') + "&lt;\n" + std::string(3000, 'u');
  }
  for (int i = 19; i >= 0; --i) {
    text += "</n" + std::to_string(i) + ">";
  }
  EXPECT_GT(AllocationsFor(text + "</a>"), 50u);
}

TEST_F(XmlParserWithoutMemory, HandsOutNoElementWithALongName) {
  const std::string name(2000, 'n');
  EXPECT_GT(AllocationsFor("<" + name + "><" + name + "/></" + name + ">"), 3u);
}

TEST_F(XmlParserWithoutMemory, HandsOutNoEmptyElement) {
  EXPECT_GT(AllocationsFor("<a/>"), 1u);
  EXPECT_GT(AllocationsFor("<a><b/><c/></a>"), 3u);
}

// --- Random numbers ---

struct Random {
  EFI_RNG_PROTOCOL protocol = {};
  EFI_STATUS status = EFI_SUCCESS;
  UINTN calls = 0;
  UINTN bytes = 0;

  Random() { protocol.GetRNG = Get; }
  static EFI_STATUS EFIAPI Get(EFI_RNG_PROTOCOL* This, EFI_RNG_ALGORITHM* Algorithm, UINTN Length,
                               UINT8* Value) {
    auto* self = reinterpret_cast<Random*>(This);
    EXPECT_EQ(Algorithm, nullptr);
    self->calls++;
    self->bytes = Length;
    std::fill_n(Value, Length, UINT8{0x5A});
    return self->status;
  }
};

TEST_F(XmlParser, SaltsItsHashTablesWithRandomNumbersWhereThereAreAny) {
  Random random;
  EFI_HANDLE handle = nullptr;
  ASSERT_EQ(Firmware().BootServices()->InstallProtocolInterface(
                &handle, &gEfiRngProtocolGuid, EFI_NATIVE_INTERFACE, &random.protocol),
            EFI_SUCCESS);
  const auto counts = [&] {
    return Firmware().Calls(host::images::platform, host::Service::GetNextMonotonicCount);
  };
  EXPECT_EQ(Parse("<a/>"), EFI_SUCCESS);
  EXPECT_EQ(random.calls, 1u);
  EXPECT_EQ(random.bytes, 8u);
  EXPECT_EQ(counts(), 0u);
  random.status = EFI_NOT_READY;
  EXPECT_EQ(Parse("<a/>"), EFI_SUCCESS);
  EXPECT_EQ(random.calls, 2u);
  EXPECT_EQ(counts(), 1u);
}

}  // namespace
}  // namespace tvq::test

/*
 * `decode --redact`: which texts of stored blobs are masked.
 *
 * SPDX-License-Identifier: BSD-2-Clause-Patent
 */
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <map>
#include <regex>

#include "host/cli/device/blob.h"
#include "host/cli/redact/mask.h"
#include "host/cli/redact/redact.h"
#include "tests/unit/host/cli/cli_fixture.h"
#include "tests/unit/host/cli/redact/redact_fixture.h"
#include "tests/unit/host/cli/secrets.h"

namespace tvq::cli {
namespace {

using test::Bytes;
using testing::AllOf;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::Not;

using Json = nlohmann::ordered_json;

Bytes FromHex(const std::string& hex) {
  Bytes bytes;
  for (size_t i = 0; i < hex.size(); i += 2) {
    bytes.push_back(static_cast<uint8_t>(std::stoi(hex.substr(i, 2), nullptr, 16)));
  }
  return bytes;
}

// The texts of a document by the names of their elements.
using Texts = std::multimap<std::string, std::string>;
void AddTexts(const Json& node, const std::string& name, Texts& texts) {
  if (node.is_string()) {
    texts.emplace(name, node.get<std::string>());
  }
  for (const auto& [key, child] : node.items()) {
    if (node.is_structured()) {
      AddTexts(child, node.is_object() ? key : name, texts);
    }
  }
}

class CliRedactDecode : public CliTest {
 protected:
  // The blobs of every device of a table, one behind the other, as an agent stores them.
  Bytes StoredBlobs(const test::Table& table) {
    const Json json = RunTvq({"export", "--conform", Write("table.bin", table.Bytes())}).Json();
    Bytes blobs;
    for (const Json& record : json["records"]) {
      for (const char* const kind : {"inventoryBlob", "configurationBlob", "endBlob"}) {
        const Bytes blob = FromHex(record[kind].get<std::string>());
        blobs.insert(blobs.end(), blob.begin(), blob.end());
      }
    }
    return blobs;
  }
  Bytes StoredBlobs() {
    test::Table table;
    for (const test::Structure& structure : SecretStructures(mSecrets)) {
      table.Add(structure);
    }
    return StoredBlobs(table);
  }
  static size_t SizeOfBlob(const Bytes& blobs, size_t at) {
    return blobs[at + 12] | static_cast<size_t>(blobs[at + 13]) << 8;
  }
  Outcome Decode(const Bytes& blobs, std::vector<std::string> more) {
    more.insert(more.begin(), {"decode", Write("device.tvq", blobs)});
    return RunTvq(more);
  }
  Outcome DecodeRedacted(const Bytes& blobs, std::vector<std::string> more = {}) {
    more.insert(more.end(), {"--redact", "--redact-key", "a test's key"});
    return Decode(blobs, more);
  }

  Secrets mSecrets;
};

TEST_F(CliRedactDecode, LeavesNoSecret) {
  const Bytes blobs = StoredBlobs();
  EXPECT_THAT(mSecrets.In(Decode(blobs, {}).out), Not(IsEmpty()));
  for (const auto& more : {std::vector<std::string>{}, {"--json"}}) {
    const Outcome decoded = DecodeRedacted(blobs, more);
    EXPECT_EQ(decoded.status, 0) << decoded.diagnostics;
    EXPECT_THAT(mSecrets.In(decoded.out), IsEmpty()) << decoded.out;
  }
}

TEST_F(CliRedactDecode, MasksTheTextOfEverySecretElementAndOfNoOther) {
  const Bytes blobs = StoredBlobs();
  Texts clear;
  Texts masked;
  AddTexts(Decode(blobs, {"--json"}).Json(), "", clear);
  AddTexts(DecodeRedacted(blobs, {"--json"}).Json(), "", masked);
  ASSERT_EQ(clear.size(), masked.size());
  std::map<std::string, int> counts;
  for (auto one = clear.begin(), other = masked.begin(); one != clear.end(); ++one, ++other) {
    if (one->first == "xml" || one->first == "text") {
      continue;
    }
    const bool isMasked = one->second != other->second;
    EXPECT_EQ(other->second, isMasked ? Mask(one->second) : one->second) << one->first;
    counts[one->first] += isMasked ? 1 : 0;
  }
  EXPECT_EQ(counts["WWN"], 2);
  EXPECT_EQ(counts["ServiceTag"], 2) << "the system's and the chassis's";
  EXPECT_EQ(counts["AssetTag"], 3) << "the modules' and the chassis's";
  EXPECT_EQ(counts["PPIN"], 2);
  for (const auto& [name, count] : counts) {
    EXPECT_EQ(count != 0, IsSecretElement(name) && name != "UUID") << name;
  }
}

TEST_F(CliRedactDecode, MasksTheUuidThatEachMemoryArrayRepeats) {
  test::Table table = test::Table::Of(test::Bios{}, test::System{.uuid = mSecrets.Number(16)},
                                      test::MemoryArray{}, test::MemoryArray{}, test::End{});
  const Bytes blobs = StoredBlobs(table);
  const std::string clear = Decode(blobs, {}).out;
  EXPECT_THAT(mSecrets.In(clear), Not(IsEmpty()));
  const Outcome masked = DecodeRedacted(blobs);
  EXPECT_THAT(mSecrets.In(masked.out), IsEmpty());
  const size_t at = clear.find("<UUID>") + 6;
  EXPECT_THAT(masked.out, HasSubstr("<UUID>" + Mask(clear.substr(at, 32)) + "</UUID>"));
}

// Whoever adds an element whose name says that it holds such a number has to add it to the list.
TEST_F(CliRedactDecode, EveryElementThatIsNamedForANumberOrTagIsSecret) {
  std::ifstream file(TVQ_SOURCE_DIR "/docs/Inventory.xsd");
  const std::string schema(std::istreambuf_iterator<char>(file), {});
  const std::regex element("element name=\"([A-Za-z0-9]+)\"");
  const std::regex secret("WWN|PPIN|UUID|GUID|MAC|Tag$|Serial", std::regex::icase);
  int count = 0;
  for (std::sregex_iterator at(schema.begin(), schema.end(), element), end; at != end; ++at) {
    const std::string name = (*at)[1];
    EXPECT_EQ(IsSecretElement(name), std::regex_search(name, secret)) << name;
    ++count;
  }
  EXPECT_GT(count, 80);
}

TEST_F(CliRedactDecode, MasksWhatOtherElementsRepeat) {
  const std::string tag = mSecrets.Text();
  const std::string serial = mSecrets.Text();
  test::Table table = test::Table::Of(
      test::Bios{}, test::System{.product = "Rack " + tag, .serial = tag},
      test::MemoryDevice{.bankLocator = "Bank of " + serial, .serial = serial}, test::End{});
  const Outcome decoded = DecodeRedacted(StoredBlobs(table));
  EXPECT_THAT(mSecrets.In(decoded.out), IsEmpty()) << decoded.out;
  EXPECT_THAT(decoded.out, HasSubstr("<ProductName>Rack " + Mask(tag) + "</ProductName>"));
}

// Also a number so short that it is not looked for in other texts.
TEST_F(CliRedactDecode, MasksTheNumberInAnInventoryBlobAndWhatItsTextsRepeat) {
  for (const std::string& serial : {std::string("A7Q"), mSecrets.Text()}) {
    const test::Table table = test::Table::Of(
        test::Bios{}, test::MemoryDevice{.handle = 0x1100, .serial = serial},
        test::DimmExtension{.deviceHandle = 0x1100, .firmwareVersion = serial}, test::End{});
    const Outcome decoded = DecodeRedacted(StoredBlobs(table));
    EXPECT_THAT(decoded.out, HasSubstr("  wwnOffset      0 -> \"" + Mask(serial) + "\"\n"));
    EXPECT_THAT(mSecrets.In(decoded.out), IsEmpty()) << decoded.out;
  }
}

TEST_F(CliRedactDecode, LeavesTagsThatASecretIsPartOf) {
  test::Table table = test::Table::Of(
      test::Bios{}, test::MemoryDevice{.manufacturer = "Speed Works", .serial = "Speed"},
      test::End{});
  const Outcome decoded = DecodeRedacted(StoredBlobs(table));
  EXPECT_EQ(decoded.status, 0) << decoded.diagnostics;
  EXPECT_THAT(decoded.out, AllOf(HasSubstr("<Speed>3200</Speed>"),
                                 HasSubstr("<Manufacturer>" + Mask("Speed") + " Works<")));
}

// The driver escapes nothing, so that a text may be what seems to end it.
TEST_F(CliRedactDecode, MasksEveryTextOfADocumentThatCannotBeRead) {
  const std::string first = mSecrets.Text();
  const std::string second = mSecrets.Text();
  test::Table table = test::Table::Of(
      test::Bios{}, test::System{.serial = first + "</ServiceTag>" + second}, test::End{});
  const Bytes blobs = StoredBlobs(table);
  EXPECT_EQ(Decode(blobs, {}).status, 2);
  for (const auto& more : {std::vector<std::string>{}, {"--json"}}) {
    const Outcome decoded = DecodeRedacted(blobs, more);
    EXPECT_THAT(mSecrets.In(decoded.out), IsEmpty()) << decoded.out;
    EXPECT_THAT(mSecrets.In(decoded.diagnostics), IsEmpty()) << decoded.diagnostics;
    EXPECT_THAT(decoded.out, HasSubstr("<ProductName>")) << "the tags stay";
  }
}

// What looks like the beginning of a tag is a part of the text.
TEST_F(CliRedactDecode, MasksATextOfADocumentThatCannotBeReadAsAWhole) {
  for (const std::string start : {"Core <& Works> 1", "Core <&Works> 1", "Core </> <x 2",
                                  "Core 3 <x", "Core 4 <", "Core 5\x01 works"}) {
    const Bytes blobs = StoredBlobs(
        test::Table::Of(test::Bios{}, test::System{},
                        test::Processor{.version = start + "</MarketingName> 5 <x"}, test::End{}));
    Bytes masked = blobs;
    RedactBlobs(masked, TestMasker());
    EXPECT_EQ(masked.size(), blobs.size());
    const std::string text(masked.begin(), masked.end());
    EXPECT_NE(text.find("<MarketingName>" + Mask(start) + "</MarketingName>" + Mask(" 5 <x") +
                        "</MarketingName>"),
              std::string::npos)
        << start;
    EXPECT_NE(text.find("<ProcessorManufacturer>" + Mask("Core Works") + "</"), std::string::npos);
  }
}

// The tags of an element are two.
TEST_F(CliRedactDecode, MasksATextThatLooksLikeATagOfADocumentThatCannotBeRead) {
  for (const std::string start : {"<", "</"}) {
    const std::string text = start + mSecrets.Text() + ">";
    const test::Table table = test::Table::Of(
        test::Bios{}, test::System{.product = "</ProductName>", .serial = text}, test::End{});
    const Outcome decoded = DecodeRedacted(StoredBlobs(table));
    EXPECT_THAT(mSecrets.In(decoded.out), IsEmpty()) << decoded.out;
    EXPECT_THAT(decoded.out, HasSubstr("<ServiceTag>" + Mask(text) + "</ServiceTag>"));
    EXPECT_THAT(decoded.out, HasSubstr("</tvqComponent>"));
  }
}

// The text after `before` and its NUL, or end, is changed to `after`.
void Change(Bytes& bytes, const std::string& before, const Bytes& after) {
  const auto at = std::search(bytes.begin(), bytes.end(), before.begin(), before.end());
  ASSERT_NE(at, bytes.end());
  std::copy(after.begin(), after.end(), at);
}

TEST_F(CliRedactDecode, MasksTheTextsOnBothSidesOfANul) {
  Bytes blobs = StoredBlobs(
      test::Table::Of(test::Bios{}, test::System{.product = "Rack4711 Acme4712"}, test::End{}));
  Change(blobs, "Rack4711 Acme", {'R', 'a', 'c', 'k', '4', '7', '1', '1', 0});
  RedactBlobs(blobs, TestMasker());
  EXPECT_THAT(std::string(blobs.begin(), blobs.end()),
              HasSubstr("<ProductName>" + Mask("Rack4711") + '\0' + Mask("Acme4712") + "</Prod"));
}

TEST_F(CliRedactDecode, MasksADocumentWithoutANulUpToTheEndOfItsBlob) {
  const std::string end = "</tvqComponent>";
  const Bytes blobs =
      StoredBlobs(test::Table::Of(test::Bios{}, test::System{.serial = "ABC1234"}, test::End{}));
  Bytes masked = blobs;
  Change(masked, end + '\0',
         {'<', '/', 't', 'v', 'q', '>', 'A', 'B', 'C', '1', '2', '3', '4', '5', '6', '7'});
  RedactBlobs(masked, TestMasker());
  const std::string text(masked.begin(), masked.end());
  EXPECT_THAT(text, HasSubstr("<ServiceTag>" + Mask("ABC1234") + "</ServiceTag>"));
  const std::string rest = Mask("</tvq>ABC1234567");
  const size_t behind = text.find(rest) + rest.size();
  ASSERT_LT(behind, text.size());
  EXPECT_EQ(text.substr(behind),
            std::string(blobs.begin() + static_cast<std::ptrdiff_t>(behind), blobs.end()))
      << "the end blob stays";
}

TEST(RedactBlobs, BlanksWhatIsNoBlobBehindWhatMayBeAHeader) {
  const auto redacted = [](Bytes file) {
    RedactBlobs(file, TestMasker());
    return file;
  };
  EXPECT_EQ(redacted({'A', 'B'}), Bytes({'x', 'x'}));
  EXPECT_EQ(redacted({}), Bytes());
  Bytes header(blobs::kHeaderSize, 0x7F);
  header[0] = static_cast<uint8_t>(blobs::kRevision);
  header[1] = header[2] = header[3] = 0;
  EXPECT_EQ(redacted(header), header);
  Bytes more = header;
  more.insert(more.end(), {'A', 'B'});
  Bytes expected = header;
  expected.insert(expected.end(), {'x', 'x'});
  EXPECT_EQ(redacted(more), expected);
  header.pop_back();
  EXPECT_EQ(redacted(header), Bytes(header.size(), 'x'));
}

TEST_F(CliRedactDecode, BlanksWhatIsNoHeaderBehindABlob) {
  const Bytes blobs = StoredBlobs();
  Bytes masked = blobs;
  masked.insert(masked.end(), {static_cast<uint8_t>(blobs::kRevision), 0, 0, 0, 'A', 'B', 'C'});
  RedactBlobs(masked, TestMasker());
  EXPECT_EQ(Bytes(masked.begin() + static_cast<std::ptrdiff_t>(blobs.size()), masked.end()),
            Bytes(7, 'x'));
}

// A size that is too small makes the next blob begin inside the document.
TEST_F(CliRedactDecode, NoMessageTellsFourCharactersAsANumber) {
  const Bytes blobs = StoredBlobs();
  for (const uint8_t size : Bytes{0xA0, 0xB0, 0xC0, 0xD0, 0xE0, 0xF0}) {
    Bytes damaged = blobs;
    const size_t configuration = SizeOfBlob(blobs, 0);
    damaged[configuration + 12] = size;
    damaged[configuration + 13] = 0;
    const Outcome decoded = DecodeRedacted(damaged);
    EXPECT_EQ(decoded.status, 2);
    EXPECT_THAT(decoded.diagnostics, HasSubstr("its revision would be 2021161080"));
  }
}

TEST_F(CliRedactDecode, WhatIsWrongWithAHeaderIsStillSaid) {
  Bytes damaged = StoredBlobs();
  damaged[SizeOfBlob(damaged, 0) + 4] = 9;
  EXPECT_THAT(DecodeRedacted(damaged).diagnostics, HasSubstr("there is no blob of type 9"));
}

TEST_F(CliRedactDecode, NoDamageOfABlobLaysASecretOpen) {
  test::Table table = test::Table::Of(
      test::Bios{}, test::System{.serial = mSecrets.Text(), .uuid = mSecrets.Number(16)},
      test::MemoryDevice{.serial = mSecrets.Text(), .assetTag = mSecrets.Text()}, test::End{});
  const Bytes blobs = StoredBlobs(table);
  for (size_t at = 0; at < blobs.size(); at += 29) {
    Bytes damaged = blobs;
    damaged[at] ^= 0x15;
    const Outcome decoded = DecodeRedacted(damaged);
    EXPECT_THAT(mSecrets.In(decoded.out + decoded.diagnostics), IsEmpty())
        << "byte " << at << '\n'
        << decoded.out << decoded.diagnostics;
  }
}

}  // namespace
}  // namespace tvq::cli

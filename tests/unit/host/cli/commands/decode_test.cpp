/*
 * `tvq decode`: stored blobs, whole and damaged.
 *
 * SPDX-License-Identifier: BSD-2-Clause-Patent
 */
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "host/cli/device/blob.h"
#include "tests/unit/host/cli/server.h"

namespace tvq::cli {
namespace {

using test::Bytes;
using testing::EndsWith;
using testing::HasSubstr;
using testing::SizeIs;
using testing::StartsWith;

Bytes FromHex(const std::string& hex) {
  Bytes bytes;
  for (size_t i = 0; i < hex.size(); i += 2) {
    bytes.push_back(static_cast<uint8_t>(std::stoi(hex.substr(i, 2), nullptr, 16)));
  }
  return bytes;
}

class CliDecode : public CliTest {
 protected:
  // The blobs of a record, one behind the other, as the agent stores them.
  Bytes BlobsOf(size_t record, const Server& server = {}) {
    const auto json =
        RunTvq({"export", "--conform", Write("table.bin", TableOf(server).Bytes())}).Json();
    std::string hex;
    for (const char* const blob : {"inventoryBlob", "configurationBlob", "endBlob"}) {
      hex += json["records"][record][blob].get<std::string>();
    }
    return FromHex(hex);
  }
  Outcome Decode(const Bytes& bytes, std::vector<std::string> more = {}) {
    more.insert(more.begin(), {"decode", Write("device.tvq", bytes)});
    return RunTvq(more);
  }
  void ExpectError(const Bytes& bytes, const std::string& place, const std::string& reason) {
    const Outcome decoded = Decode(bytes);
    EXPECT_EQ(decoded.status, 2);
    EXPECT_THAT(decoded.diagnostics,
                StartsWith("tvq: error: " + Path("device.tvq") + ":" + place + ": " + reason));
  }
};

TEST_F(CliDecode, ShowsHeadersFlagsReferencesAndDocument) {
  const Outcome decoded = Decode(BlobsOf(1));
  EXPECT_EQ(decoded.status, 0) << decoded.diagnostics;
  EXPECT_THAT(decoded.out, StartsWith("0x0000: inventory blob\n"
                                      "  revision 1, type 3, cookie 0x0F9B54CF, 145 bytes\n"
                                      "  flags          0x00000020\n"
                                      "  SlotNumber     0xA1\n"
                                      "  wwnOffset      0 -> \"11223344\"\n"
                                      "  MktnameOffset  9 -> \"DDR4DIMM\"\n"
                                      "0x0091: configuration blob\n"));
  EXPECT_THAT(decoded.out, HasSubstr("bytes\n  <tvqComponent>\n    <Inventory>\n"));
  EXPECT_THAT(decoded.out, HasSubstr("      <WWN>11223344</WWN>\n"));
  EXPECT_THAT(decoded.out,
              EndsWith("end blob\n  revision 1, type 7, cookie 0x36912F26, 148 bytes\n"));
}

TEST_F(CliDecode, ShowsInBoldWhereEachBlobBegins) {
  const Bytes blobs = BlobsOf(1);
  const Terminal coloured = {80, true};
  const Outcome decoded =
      RunTvq({"decode", "-"}, std::string(blobs.begin(), blobs.end()), coloured);
  EXPECT_THAT(decoded.out,
              StartsWith(Painted(coloured, Ink::kBold, "0x0000: inventory blob") + "\n"));
}

TEST_F(CliDecode, SaysTheSameAsJson) {
  const auto json = Decode(BlobsOf(1), {"--json"}).Json();
  ASSERT_THAT(json["blobs"], SizeIs(3));
  auto inventory = json["blobs"][0]["inventory"];
  inventory.erase("texts");
  EXPECT_EQ(inventory.dump(), R"({"flags":32,"productId":null,"slotNumber":161})");
  EXPECT_EQ(json["blobs"][0]["inventory"]["texts"][0].dump(),
            R"({"field":"wwnOffset","offset":0,"text":"11223344"})");
  EXPECT_EQ(json["blobs"][1]["document"]["Inventory"]["WWN"], "11223344");
  EXPECT_EQ(json["blobs"][2]["sizeInBytes"], 148);
  EXPECT_THAT(json["errors"], SizeIs(0));
}

TEST_F(CliDecode, SaysAsJsonWhichProductAModuleIs) {
  const test::Table table = test::Table::Of(
      TableOf({}), test::DimmExtension{.deviceHandle = 0x8003, .productId = 0x1234});
  const auto json = RunTvq({"export", Write("table.bin", table.Bytes())}).Json();
  const Bytes blob = FromHex(json["records"][1]["inventoryBlob"]);
  const auto inventory = Decode(blob, {"--json"}).Json()["blobs"][0]["inventory"];
  EXPECT_EQ(inventory["productId"], 0x1234);
}

TEST_F(CliDecode, ReadsStandardInput) {
  const Bytes blobs = BlobsOf(0);
  EXPECT_EQ(RunTvq({"decode", "-"}, std::string(blobs.begin(), blobs.end())).status, 0);
}

TEST_F(CliDecode, RefusesAnEmptyFile) {
  ExpectError({}, "0x0000", "the file is empty");
}

TEST_F(CliDecode, NamesTheHeaderThatIsWrong) {
  const Bytes whole = BlobsOf(1);
  const auto with = [&whole](size_t offset, uint8_t value) {
    Bytes bytes = whole;
    bytes[offset] = value;
    return bytes;
  };
  ExpectError(with(0, 2), "0x0000", "no blob begins here: its revision would be 2, not 1");
  ExpectError(with(4, 4), "0x0004", "there is no blob of type 4");
  ExpectError(with(8, 0xCE), "0x0008",
              "the cookie of a blob of type 3 is 0x0F9B54CF, not 0x0F9B54CE");
  ExpectError(with(12, 100), "0x000C", "the inventory blob states 100 bytes, and has at least 126");
  ExpectError(with(13, 0xFF), "0x000C", "the inventory blob states 65425 bytes, and ");
}

TEST_F(CliDecode, NamesTheReferenceThatLeadsNowhere) {
  Bytes bytes = BlobsOf(1);
  bytes[47] = 0xFF;  // wwnOffset
  ExpectError(bytes, "0x002E", "wwnOffset leads to byte 32640 of a string area of 19 bytes");
}

TEST_F(CliDecode, NamesTheElementThatIsWrong) {
  Bytes bytes = BlobsOf(1);
  const std::string wanted = "<WWN>";
  const auto at = std::search(bytes.begin(), bytes.end(), wanted.begin(), wanted.end());
  ASSERT_NE(at, bytes.end());
  *at = '[';
  const Outcome decoded = Decode(bytes);
  EXPECT_EQ(decoded.status, 2);
  EXPECT_THAT(decoded.diagnostics,
              HasSubstr(":0x01AB: an element of 'Inventory' or its end should stand here"));
  EXPECT_THAT(decoded.out, HasSubstr("[WWN>11223344")) << "the text is shown all the same";
  EXPECT_THAT(decoded.out, HasSubstr("</tvqComponent>\n0x")) << "and what is behind it";
}

TEST_F(CliDecode, NamesTheByteThatIsNotZeroInAnEndBlob) {
  Bytes bytes = BlobsOf(1);
  bytes.back() = 1;
  const Outcome decoded = Decode(bytes);
  EXPECT_EQ(decoded.status, 2);
  EXPECT_THAT(decoded.diagnostics, HasSubstr("an end blob is zero behind its header"));
}

TEST_F(CliDecode, ShowsWhatStandsBeforeTheDamage) {
  Bytes bytes = BlobsOf(1);
  bytes.resize(bytes.size() - 148);
  bytes.push_back(1);
  const Outcome decoded = Decode(bytes, {"--json"});
  EXPECT_EQ(decoded.status, 2);
  EXPECT_THAT(decoded.Json()["blobs"], SizeIs(2));
  EXPECT_EQ(decoded.Json()["errors"][0]["reason"], "a blob's header has 16 bytes, and 1 are left");
}

// Takes everything apart, without the command around it.
bool IsWhole(const Bytes& bytes) {
  const BlobList list = SplitBlobs({reinterpret_cast<const char*>(bytes.data()), bytes.size()});
  try {
    for (const Blob& blob : list.blobs) {
      if (blob.type == blobs::kInventory) {
        ReadInventoryBlob(blob);
      } else if (blob.type == blobs::kConfiguration) {
        ReadDocument(ReadConfigurationBlob(blob));
      } else {
        CheckEndBlob(blob);
      }
    }
  } catch (const DataError& error) {
    EXPECT_LE(error.Offset(), bytes.size());
    return false;
  }
  return !list.error;
}

TEST_F(CliDecode, DataIsWholeOnlyWhereItIsCutBetweenBlobs) {
  const Bytes whole = BlobsOf(1);
  EXPECT_TRUE(IsWhole(whole));
  for (size_t i = 0; i < whole.size(); ++i) {
    const Bytes cut(whole.begin(), whole.begin() + static_cast<std::ptrdiff_t>(i));
    EXPECT_EQ(IsWhole(cut), i == 145 || i == whole.size() - 148) << "cut to " << i;
  }
}

TEST_F(CliDecode, EveryByteMayHoldAnyOfThreeWrongValues) {
  const Bytes whole = BlobsOf(1);
  for (size_t i = 0; i < whole.size(); ++i) {
    for (const int value : {0x00, 0xFF, ~whole[i] & 0xFF}) {
      Bytes changed = whole;
      changed[i] = static_cast<uint8_t>(value);
      const bool isInHeader = i < 16;
      if (isInHeader && changed[i] != whole[i]) {
        EXPECT_FALSE(IsWhole(changed)) << "byte " << i;
      } else {
        IsWhole(changed);
      }
    }
  }
}

TEST_F(CliDecode, ElementsThatAreNestedTooDeepAreRefused) {
  Server server;
  server.processor = "x</MarketingName>";
  for (int i = 0; i < 20; ++i) {
    server.processor += "<Inventory>";
  }
  EXPECT_THAT(Decode(BlobsOf(0, server)).diagnostics, HasSubstr("sections are nested too deep"));
}

}  // namespace
}  // namespace tvq::cli

/*
 * Tests of the library of blobs.
 *
 * SPDX-License-Identifier: BSD-2-Clause-Patent
 */
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include <Library/TvqBlobLib.h>

namespace tvq::blobs {
namespace {

using Data = std::vector<uint8_t>;

Bytes View(const Data& data) {
  return {data.data(), data.size()};
}

void Put32(Data& data, size_t at, uint32_t value) {
  for (size_t i = 0; i < 4; ++i) {
    data[at + i] = static_cast<uint8_t>(value >> (8 * i));
  }
}

// The layouts, written down a second time.
Data BlobOf(uint32_t type, uint32_t cookie, size_t size) {
  Data data(size, 0);
  Put32(data, 0, 1);
  Put32(data, 4, type);
  Put32(data, 8, cookie);
  Put32(data, 12, static_cast<uint32_t>(size));
  return data;
}
Data InventoryBlob() {
  return BlobOf(3, 0x0F9B54CF, 126);
}
Data ConfigurationBlob(const std::string& document) {
  Data data = BlobOf(5, 0x2C41C4EC, 80 + document.size() + 1);
  std::copy(document.begin(), document.end(), data.begin() + 80);
  return data;
}
Data EndBlob() {
  return BlobOf(7, 0x36912F26, 148);
}

Data operator+(Data left, const Data& right) {
  left.insert(left.end(), right.begin(), right.end());
  return left;
}

Defect DefectOf(const Data& data) {
  const Blob blob = ReadBlob(View(data));
  EXPECT_EQ(static_cast<bool>(blob), blob.Why == Defect::kNone);
  EXPECT_EQ(blob.Whole.Size(), blob ? blob.Size : 0);
  return blob.Why;
}

TEST(Blob, IsReadAsItsHeaderStatesIt) {
  const Data data = ConfigurationBlob("<a/>") + Data{1, 2, 3};
  const Blob blob = ReadBlob(View(data));
  ASSERT_TRUE(blob);
  EXPECT_EQ(blob.Revision, 1u);
  EXPECT_EQ(blob.Type, kConfiguration);
  EXPECT_EQ(blob.Cookie, 0x2C41C4ECu);
  EXPECT_EQ(blob.Size, 85u);
  EXPECT_EQ(blob.Whole.Data(), data.data());
}

TEST(Blob, OfEachKindIsSoundFromItsSmallestSizeOn) {
  for (const Data& data : {InventoryBlob(), ConfigurationBlob(""), EndBlob()}) {
    EXPECT_EQ(DefectOf(data), Defect::kNone);
    Data small = data;
    Put32(small, 12, static_cast<uint32_t>(data.size() - 1));
    EXPECT_EQ(DefectOf(small), Defect::kTooSmall);
    Data large = data;
    Put32(large, 12, static_cast<uint32_t>(data.size() + 1));
    EXPECT_EQ(DefectOf(large), Defect::kTooLarge);
    large.push_back(0);
    EXPECT_EQ(DefectOf(large), Defect::kNone);
  }
}

TEST(Blob, SaysWhatIsWrongWithIt) {
  const Data good = EndBlob();
  const auto with = [&good](size_t at, uint32_t value) {
    Data data = good;
    Put32(data, at, value);
    return DefectOf(data);
  };
  EXPECT_EQ(with(0, 2), Defect::kRevision);
  EXPECT_EQ(with(4, 4), Defect::kType);
  EXPECT_EQ(with(4, kInventory), Defect::kCookie);
  EXPECT_EQ(with(8, 0x36912F27), Defect::kCookie);
  EXPECT_EQ(with(12, 0), Defect::kTooSmall);
  EXPECT_EQ(with(12, 0xFFFFFFFF), Defect::kTooLarge);
  for (size_t size = 0; size < 16; ++size) {
    EXPECT_EQ(DefectOf(Data(good.begin(), good.begin() + static_cast<std::ptrdiff_t>(size))),
              Defect::kHeader);
  }
}

TEST(Blob, WithAHeaderAloneIsReadAsFarAsThat) {
  Data header = EndBlob();
  header.resize(16);
  Put32(header, 4, 9);
  EXPECT_EQ(DefectOf(header), Defect::kType);
}

TEST(BlobSearch, FindsTheOneWithThisTypeAndIndex) {
  const Data first = ConfigurationBlob("<first/>");
  const Data data = InventoryBlob() + first + ConfigurationBlob("<second/>") + EndBlob();
  Bytes blob;
  ASSERT_EQ(FindBlob(View(data), kConfiguration, 0, blob), Search::kFound);
  EXPECT_EQ(blob.Data(), data.data() + 126);
  EXPECT_EQ(blob.Size(), first.size());
  ASSERT_EQ(FindBlob(View(data), kConfiguration, 1, blob), Search::kFound);
  EXPECT_EQ(blob.Data(), data.data() + 126 + first.size());
  EXPECT_EQ(FindBlob(View(data), kConfiguration, 2, blob), Search::kNotFound);
  ASSERT_EQ(FindBlob(View(data), kEnd, 0, blob), Search::kFound);
  EXPECT_EQ(FindBlob(Bytes(), kEnd, 0, blob), Search::kNotFound);
}

TEST(BlobSearch, EndsAtTheEndBlob) {
  const Data data = EndBlob() + InventoryBlob() + Data{1};
  Bytes blob;
  EXPECT_EQ(FindBlob(View(data), kInventory, 0, blob), Search::kNotFound);
}

TEST(BlobSearch, WantsAllBlobsSoundAndDocumentsEnded) {
  Data damaged = InventoryBlob() + ConfigurationBlob("<a/>");
  damaged.back() = 'x';
  Bytes blob;
  EXPECT_EQ(FindBlob(View(damaged), kInventory, 0, blob), Search::kDamaged);
  const Data cut = InventoryBlob() + Data{1, 0};
  EXPECT_EQ(FindBlob(View(cut), kInventory, 0, blob), Search::kDamaged);
}

TEST(BlobSearch, OfEveryCutStaysInsideIt) {
  const Data whole = InventoryBlob() + ConfigurationBlob("<a/>") + EndBlob();
  for (size_t size = 0; size < whole.size(); ++size) {
    const Data data(whole.begin(), whole.begin() + static_cast<std::ptrdiff_t>(size));
    Bytes blob;
    const Search expected =
        size == 0 || size == 126 || size == 126 + 85 ? Search::kNotFound : Search::kDamaged;
    EXPECT_EQ(FindBlob(View(data), kEnd, 0, blob), expected) << size;
  }
}

TEST(BlobDocument, IsTheTextBehindTheBlobsHead) {
  const Data data = ConfigurationBlob("<a/>");
  const Text document = DocumentOf(View(data));
  EXPECT_EQ(std::string(document.begin(), document.end()), "<a/>");
  EXPECT_FALSE(DocumentOf(View(data).First(data.size() - 1)));
  EXPECT_FALSE(DocumentOf(View(data).First(79)));
}

TEST(BlobInventory, HasFlagsNumbersAndReferences) {
  Data data(160, 0);
  Put32(data, 16, 0x21);
  data[20] = 0x34;
  data[21] = 0x12;
  data[38] = 0xA1;
  Put32(data, 46, 1 | 2 << 1);
  Put32(data, 50, 1);
  Put32(data, 54, 8);
  data[126] = 'M';
  data[128] = 'S';
  data[129] = 'N';
  const Inventory inventory = ReadInventory(View(data));
  EXPECT_EQ(inventory.Flags, 0x21u);
  EXPECT_TRUE(inventory.HasProductId);
  EXPECT_TRUE(inventory.HasSlotNumber);
  EXPECT_EQ(inventory.ProductId, 0x1234);
  EXPECT_EQ(inventory.SlotNumber, 0xA1);
  EXPECT_EQ(inventory.Wwn.Where, 46);
  EXPECT_EQ(inventory.MarketingName.Where, 50);
  EXPECT_EQ(inventory.FirmwareVersion.Where, 54);
  EXPECT_EQ(inventory.ComponentId.Where, 58);
  EXPECT_TRUE(inventory.Wwn.IsPresent);
  EXPECT_EQ(inventory.Wwn.Start, 2u);
  EXPECT_EQ(BytesOf(View(data), inventory.Wwn).Data(), data.data() + 128);
  EXPECT_EQ(BytesOf(View(data), inventory.MarketingName)[0], 'M');
  EXPECT_FALSE(inventory.FirmwareVersion.IsPresent);
  EXPECT_TRUE(BytesOf(View(data), inventory.FirmwareVersion).Empty());
}

TEST(BlobInventory, HasNoTextBehindTheBlob) {
  Data data(127, 0);
  Put32(data, 46, 0xFFFFFFFF);
  const Inventory inventory = ReadInventory(View(data));
  EXPECT_TRUE(inventory.Wwn.IsPresent);
  EXPECT_EQ(inventory.Wwn.Start, 0x7FFFFFFFu);
  EXPECT_TRUE(BytesOf(View(data), inventory.Wwn).Empty());
}

TEST(BlobInventory, NeedsNoByteOfTheStringArea) {
  Data data(126, 0);
  Put32(data, 16, 0x20);
  EXPECT_EQ(ReadInventory(View(data)).Flags, 0x20u);
}

TEST(BlobInventory, IsEmptyWithoutAStringArea) {
  const Data data(125, 0xFF);
  const Inventory inventory = ReadInventory(View(data));
  EXPECT_EQ(inventory.Flags, 0u);
  EXPECT_FALSE(inventory.Wwn.IsPresent);
}

}  // namespace
}  // namespace tvq::blobs

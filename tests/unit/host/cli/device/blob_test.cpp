/*
 * The blobs of a device: which bytes are some, and what the others are said to lack.
 *
 * SPDX-License-Identifier: BSD-2-Clause-Patent
 */
#include "host/cli/device/blob.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <functional>

namespace tvq::cli {
namespace {

using testing::SizeIs;

void SetNumber(std::string& bytes, std::size_t offset, std::size_t size, uint64_t number) {
  for (std::size_t i = 0; i < size; ++i) {
    bytes[offset + i] = static_cast<char>(number >> (8 * i));
  }
}

std::string BlobOf(uint32_t type, uint32_t cookie, std::size_t size) {
  std::string blob(size, '\0');
  SetNumber(blob, 0, 4, 1);
  SetNumber(blob, 4, 4, type);
  SetNumber(blob, 8, 4, cookie);
  SetNumber(blob, 12, 4, size);
  return blob;
}
std::string Inventory(std::size_t size = 127) {
  return BlobOf(3, 0x0F9B54CF, size);
}
std::string Configuration(std::size_t size = 81) {
  return BlobOf(5, 0x2C41C4EC, size);
}
std::string End(std::size_t size = 148) {
  return BlobOf(7, 0x36912F26, size);
}

// "offset: what is wrong" of the first error; empty when there is none.
std::string ErrorOf(const std::string& file) {
  const BlobList list = SplitBlobs(file);
  return list.error ? std::to_string(list.error->Offset()) + ": " + list.error->what() : "";
}
std::string ErrorOf(const std::function<void()>& action) {
  try {
    action();
  } catch (const DataError& error) {
    return std::to_string(error.Offset()) + ": " + error.what();
  }
  return "";
}

TEST(Blobs, FollowOneUponTheOther) {
  const std::string file = Inventory() + Configuration(200) + End();
  const BlobList list = SplitBlobs(file);
  EXPECT_EQ(ErrorOf(file), "");
  ASSERT_THAT(list.blobs, SizeIs(3));
  EXPECT_EQ(list.blobs[0].TypeInWords(), std::string("inventory blob"));
  EXPECT_EQ(list.blobs[1].TypeInWords(), std::string("configuration blob"));
  EXPECT_EQ(list.blobs[2].TypeInWords(), std::string("end blob"));
  EXPECT_EQ(list.blobs[1].offset, 127u);
  EXPECT_EQ(list.blobs[1].bytes, Configuration(200));
  EXPECT_EQ(list.blobs[1].revision, 1u);
  EXPECT_EQ(list.blobs[1].type, 5u);
  EXPECT_EQ(list.blobs[1].cookie, 0x2C41C4ECu);
}

TEST(Blobs, InFrontOfAnErrorAreKept) {
  const std::string file = Inventory() + "x";
  EXPECT_THAT(SplitBlobs(file).blobs, SizeIs(1));
  EXPECT_EQ(ErrorOf(file), "127: a blob's header has 16 bytes, and 1 are left");
}

TEST(Blobs, HaveAHeaderThatSaysWhatTheyAre) {
  EXPECT_EQ(ErrorOf(std::string()), "0: the file is empty");
  EXPECT_EQ(ErrorOf(std::string(15, '\x01')), "0: a blob's header has 16 bytes, and 15 are left");
  const auto changed = [](std::size_t offset, std::size_t size, uint64_t number) {
    std::string file = Inventory() + End();
    SetNumber(file, 127 + offset, size, number);
    return ErrorOf(file);
  };
  EXPECT_EQ(changed(0, 4, 0), "127: no blob begins here: its revision would be 0, not 1");
  EXPECT_EQ(changed(0, 4, 2), "127: no blob begins here: its revision would be 2, not 1");
  EXPECT_EQ(changed(0, 4, 0x80000001),
            "127: no blob begins here: its revision would be 2147483649, not 1");
  EXPECT_EQ(changed(4, 4, 4), "131: there is no blob of type 4");
  EXPECT_EQ(changed(8, 4, 0x36912F27),
            "135: the cookie of a blob of type 7 is 0x36912F26, not 0x36912F27");
  EXPECT_EQ(changed(12, 4, 147), "139: the end blob states 147 bytes, and has at least 148");
  EXPECT_EQ(changed(12, 4, 149), "139: the end blob states 149 bytes, and 148 are left");
}

TEST(Blobs, HaveASmallestSize) {
  EXPECT_EQ(ErrorOf(Inventory(126)), "");
  EXPECT_EQ(ErrorOf(Inventory(125)),
            "12: the inventory blob states 125 bytes, and has at least 126");
  EXPECT_EQ(ErrorOf(Configuration(81)), "");
  EXPECT_EQ(ErrorOf(Configuration(80)),
            "12: the configuration blob states 80 bytes, and has at least 81");
  EXPECT_EQ(ErrorOf(End(148)), "");
}

class AnInventoryBlob : public testing::Test {
 protected:
  AnInventoryBlob() { mBytes.replace(126, 8, std::string("one\0two\0", 8)); }

  void Set(std::size_t offset, std::size_t size, uint64_t number) {
    SetNumber(mBytes, offset, size, number);
  }
  InventoryBlob Read() const { return ReadInventoryBlob(SplitBlobs(mBytes).blobs[0]); }
  std::string Error() const {
    return ErrorOf([this] { Read(); });
  }

 private:
  std::string mBytes = Inventory(126 + 8);
};

TEST_F(AnInventoryBlob, HasNumbersThatItsFlagsVouchFor) {
  Set(20, 2, 0xABCD);
  Set(38, 1, 0xEF);
  EXPECT_FALSE(Read().hasProductId);
  EXPECT_FALSE(Read().hasSlotNumber);
  Set(16, 4, 0x01);
  EXPECT_TRUE(Read().hasProductId);
  EXPECT_FALSE(Read().hasSlotNumber);
  Set(16, 4, 0xFFFFFFDE);
  EXPECT_FALSE(Read().hasProductId);
  EXPECT_FALSE(Read().hasSlotNumber);
  Set(16, 4, 0x20);
  EXPECT_TRUE(Read().hasSlotNumber);
  EXPECT_EQ(Read().flags, 0x20u);
  EXPECT_EQ(Read().productId, 0xABCDu);
  EXPECT_EQ(Read().slotNumber, 0xEFu);
}

TEST_F(AnInventoryBlob, RefersToItsTexts) {
  EXPECT_THAT(Read().texts, SizeIs(0));
  Set(46, 4, 1);
  Set(50, 4, 4 << 1 | 1);
  Set(54, 4, 5 << 1 | 1);
  Set(58, 4, 7 << 1 | 1);
  const InventoryBlob inventory = Read();
  ASSERT_THAT(inventory.texts, SizeIs(4));
  const struct {
    const char* field;
    std::size_t offset;
    const char* text;
  } kExpected[] = {{"wwnOffset", 0, "one"},
                   {"MktnameOffset", 4, "two"},
                   {"FwVerOffset", 5, "wo"},
                   {"CompIDOffset", 7, ""}};
  for (std::size_t i = 0; i < 4; ++i) {
    EXPECT_EQ(inventory.texts[i].field, std::string(kExpected[i].field));
    EXPECT_EQ(inventory.texts[i].offset, kExpected[i].offset);
    EXPECT_EQ(inventory.texts[i].text, kExpected[i].text);
  }
}

TEST_F(AnInventoryBlob, RefersToNoTextBehindItsEnd) {
  Set(54, 4, 8 << 1 | 1);
  EXPECT_EQ(Error(),
            "54: FwVerOffset leads to byte 8 of a string area of 8 bytes, where no text ends");
  Set(54, 4, 0xFFFFFFFF);
  EXPECT_EQ(
      Error(),
      "54: FwVerOffset leads to byte 2147483647 of a string area of 8 bytes, where no text ends");
  Set(54, 4, 4 << 1 | 1);
  Set(126 + 7, 1, 'x');
  EXPECT_EQ(Error(),
            "54: FwVerOffset leads to byte 4 of a string area of 8 bytes, where no text ends");
}

TEST(AConfigurationBlob, HoldsADocumentUpToItsNul) {
  const auto error = [](const std::string& text) {
    std::string bytes = Configuration(80 + text.size());
    bytes.replace(80, text.size(), text);
    const Blob blob = SplitBlobs(bytes).blobs[0];
    return ErrorOf([&blob] { ReadConfigurationBlob(blob); });
  };
  std::string bytes = Configuration(80 + 4);
  bytes.replace(80, 3, "<a>");
  EXPECT_EQ(ReadConfigurationBlob(SplitBlobs(bytes).blobs[0]), "<a>");
  EXPECT_EQ(ReadConfigurationBlob(SplitBlobs(Configuration(81)).blobs[0]), "");
  EXPECT_EQ(error("<a>"), "83: the document has no NUL at its end");
  EXPECT_EQ(error(std::string("<a>\0\0", 5)), "84: 1 bytes follow the document's NUL");
  EXPECT_EQ(error(std::string("<a>\0bc\0", 7)), "84: 3 bytes follow the document's NUL");
}

TEST(AnEndBlob, IsZeroBehindItsHeader) {
  std::string bytes = End();
  EXPECT_EQ(ErrorOf([&bytes] { CheckEndBlob(SplitBlobs(bytes).blobs[0]); }), "");
  for (const std::size_t at : {std::size_t{16}, std::size_t{147}}) {
    bytes = End();
    bytes[at] = 1;
    EXPECT_EQ(ErrorOf([&bytes] { CheckEndBlob(SplitBlobs(bytes).blobs[0]); }),
              std::to_string(at) + ": an end blob is zero behind its header");
  }
  bytes = End();
  bytes.replace(0, blobs::kHeaderSize, blobs::kHeaderSize, '\x01');
  EXPECT_EQ(ErrorOf([&bytes] { CheckEndBlob({0, 1, blobs::kEnd, 0, bytes}); }), "");
}

}  // namespace
}  // namespace tvq::cli

/*
 * What a record's blobs and documents say of their device.
 *
 * SPDX-License-Identifier: BSD-2-Clause-Patent
 */
#include "host/cli/device/inventory.h"

#include <gtest/gtest.h>

#include <string>
#include <string_view>

namespace tvq::cli {
namespace {

constexpr unsigned kProcessor = 2;
constexpr unsigned kModule = 3;
constexpr unsigned kSystem = 4;
constexpr std::size_t kInFrontOfADocument = 80;

run::Bytes ConfigurationBlob(const std::string& document) {
  run::Bytes blob(kInFrontOfADocument);
  blob.insert(blob.end(), document.begin(), document.end());
  blob.push_back(0);
  return blob;
}

run::Bytes BlobWith(const std::string& sections) {
  return ConfigurationBlob(std::string(kDeclaration) + std::string(kRootTag) + sections +
                           "</tvqComponent>");
}

Device DeviceOf(unsigned type, const std::string& sections) {
  run::Record record;
  record.deviceType = type;
  record.blobs[1] = BlobWith(sections);
  return ToDevice(record);
}

TEST(Device, HasItsFqddWithoutBlanksAtTheEnd) {
  run::Record record;
  for (const auto& [fqdd, shown] :
       {std::pair(u"CPU.Socket.1", "CPU.Socket.1"), std::pair(u" CPU 1!  ", " CPU 1!"),
        std::pair(u"CPU.1\u001F", "CPU.1\\x1F"), std::pair(u"  ", "-"), std::pair(u"", "-")}) {
    record.fqdd = fqdd;
    EXPECT_EQ(ToDevice(record).fqdd, shown);
  }
  record.fqdd.reset();
  EXPECT_EQ(ToDevice(record).fqdd, "-");
}

TEST(Device, HasTheDocumentOfItsKind) {
  const std::string processor = "<Configuration><cpuData></cpuData></Configuration>";
  const std::string module = "<Configuration><dimmData></dimmData></Configuration>";
  const std::string system = "<Configuration></Configuration>";
  EXPECT_TRUE(DeviceOf(kProcessor, processor).document);
  EXPECT_TRUE(DeviceOf(kModule, module).document);
  EXPECT_TRUE(DeviceOf(kSystem, system).document);
  EXPECT_EQ(DeviceOf(kProcessor, processor).trouble, "");
  for (const Device& device :
       {DeviceOf(kProcessor, module), DeviceOf(kModule, processor), DeviceOf(kProcessor, system),
        DeviceOf(kModule, system), DeviceOf(kProcessor, ""), DeviceOf(kModule, ""),
        DeviceOf(kSystem, "")}) {
    EXPECT_EQ(device.trouble, "it is no document of this kind of device");
    EXPECT_FALSE(device.document);
  }
}

TEST(Device, SaysThatItHasNoDocument) {
  run::Record record;
  record.deviceType = kSystem;
  record.blobs[0] = record.blobs[2] = BlobWith("<Configuration></Configuration>");
  EXPECT_EQ(ToDevice(record).trouble, "it has no configuration blob");
  record.blobs[1] = record.blobs[0];
  record.blobs[0].reset();
  record.blobs[2].reset();
  EXPECT_EQ(ToDevice(record).trouble, "");
}

TEST(Document, StandsBehindTheNumbersOfItsBlob) {
  EXPECT_EQ(DocumentText(ConfigurationBlob("text")), "text");
  run::Bytes empty = ConfigurationBlob("");
  EXPECT_EQ(DocumentText(empty), "");
  empty.insert(empty.end(), {'m', 'o', 'r', 'e', 0});
  EXPECT_EQ(DocumentText(empty), "") << "it ends at its NUL";
  EXPECT_THROW(DocumentText(run::Bytes(kInFrontOfADocument)), DataError);
}

// SMBIOS 7.18
TEST(ModuleSize, IsInMegabytesOrKilobytesOrInAFieldOfItsOwn) {
  const auto size = [](const char* word, const char* extended = "0") {
    Element dimm;
    dimm.children = {{"Size", false, word, {}}, {"ExtendedSize", false, extended, {}}};
    return ModuleSizeInBytes(dimm);
  };
  constexpr std::uint64_t kKilobyte = 1024;
  constexpr std::uint64_t kMegabyte = kKilobyte * kKilobyte;
  EXPECT_EQ(size("0"), 0u);
  EXPECT_EQ(size("1"), kMegabyte);
  EXPECT_EQ(size("32766"), 32766 * kMegabyte);
  EXPECT_EQ(size("32767", "131073"), 131073 * kMegabyte);
  EXPECT_EQ(size("32767", "2147483648"), 0u) << "the highest bit is reserved";
  EXPECT_EQ(size("32767", "2147483647"), 2147483647 * kMegabyte);
  EXPECT_EQ(size("32768"), 0u);
  EXPECT_EQ(size("32769"), kKilobyte);
  EXPECT_EQ(size("65534"), 32766 * kKilobyte);
  EXPECT_EQ(size("65535"), std::nullopt);
}

TEST(NumberOfADocument, IsWhatAllOfItsTextSays) {
  EXPECT_EQ(NumberOf("1024"), 1024u);
  EXPECT_EQ(NumberOf("ff", 16), 255u);
  EXPECT_EQ(NumberOf(std::string_view("1024").substr(0, 2)), 10u);
  for (const char* const text : {"", "x", "12x", "-1", "99999999999999999999"}) {
    EXPECT_EQ(NumberOf(text), 0u) << text;
  }
}

}  // namespace
}  // namespace tvq::cli

/*
 * SMBIOS tables for tests: structures with named fields, and a table that collects them.
 *
 *     Table::Of(System{.serial = "ABC1234"},
 *               Processor{.handle = 0x400, .designation = "CPU1", .l3 = 0x702},
 *               FqddMap{.groups = {{"CPU.Socket.1", 0x400}}},
 *               End{});
 *
 * Every field has a sane default. A text that is std::nullopt is left out: its field holds string
 * number 0. Handles need not be given; a structure without one gets the next one from 0x8000 on.
 *
 * SPDX-License-Identifier: BSD-2-Clause-Patent
 */
#ifndef TVQ_TESTS_UNIT_SHARED_TABLE_H_
#define TVQ_TESTS_UNIT_SHARED_TABLE_H_

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace tvq::test {

using Bytes = std::vector<uint8_t>;
using Text = std::optional<std::string>;

constexpr uint16_t kNoHandle = 0xFFFF;

// One structure: what stands behind the header in the formatted part, and the strings.
struct Structure {
  uint8_t type = 0;
  std::optional<uint16_t> handle = std::nullopt;
  Bytes body = {};
  std::vector<std::string> strings = {};

  Structure& Byte(uint8_t value);
  Structure& Word(uint16_t value);
  Structure& Dword(uint32_t value);
  Structure& Qword(uint64_t value);
  // Appends the text to the strings and its number to the body.
  Structure& String(const Text& text);
  // Overwrites bytes of the formatted part; offsets count from the header.
  Structure& SetByte(size_t offset, uint8_t value);
  Structure& SetWord(size_t offset, uint16_t value);
  // Cuts the formatted part to `length` bytes, header included, as an older firmware would write
  // it.
  Structure& CutTo(uint8_t length);

  // The structure as it stands in a table, terminator included.
  Bytes Encode() const;
};

// A structure without strings ends in two zero bytes; one with strings in one more behind the last
// string.
Bytes EncodeStrings(const std::vector<std::string>& strings);

// SMBIOS 7.1
struct Bios {
  std::optional<uint16_t> handle = std::nullopt;
  Text vendor = "Firmware Works";
  Text version = "2.4.6";
  Text releaseDate = "03/14/2021";
  uint16_t startingSegment = 0xE000;
  uint8_t romSize = 0xFF;
  uint64_t characteristics = 0x08;
  uint8_t majorRelease = 2;
  uint8_t minorRelease = 4;

  Structure Build() const;
};

// SMBIOS 7.2
struct System {
  std::optional<uint16_t> handle = std::nullopt;
  Text manufacturer = "Server Works";
  Text product = "Rack One";
  Text version = "1.0";
  Text serial = "ABC1234";
  Bytes uuid = {0x33, 0x22, 0x11, 0x00, 0x55, 0x44, 0x77, 0x66,
                0x88, 0x99, 0xAA, 0xBB, 0xCC, 0xDD, 0xEE, 0xFF};
  uint8_t wakeUpType = 6;
  Text sku = "SKU-1";
  Text family = "Racks";

  Structure Build() const;
};

// SMBIOS 7.3
struct BaseBoard {
  std::optional<uint16_t> handle = std::nullopt;
  Text manufacturer = "Board Works";
  Text product = "Board One";
  Text version = "A00";
  Text serial = "BRD0001";
  Text assetTag = std::nullopt;
  uint8_t features = 0x09;
  Text location = "Main Tray";
  uint16_t chassisHandle = 0x300;
  uint8_t boardType = 0x0A;

  Structure Build() const;
};

// SMBIOS 7.4
struct Chassis {
  std::optional<uint16_t> handle = std::nullopt;
  Text manufacturer = "Chassis Works";
  uint8_t chassisType = 0x17;
  Text version = "C1";
  Text serial = "CHS0001";
  Text assetTag = "Asset 7";
  uint8_t bootUpState = 3;
  uint8_t powerSupplyState = 3;
  uint8_t thermalState = 3;
  uint8_t securityStatus = 2;
  uint32_t oemDefined = 0;
  uint8_t height = 2;
  uint8_t powerCords = 2;
  Text sku = std::nullopt;

  Structure Build() const;
};

// SMBIOS 7.5, 30h bytes as of 3.0
struct Processor {
  std::optional<uint16_t> handle = std::nullopt;
  Text designation = "CPU1";
  uint8_t processorType = 3;
  uint8_t family = 0xB3;
  Text manufacturer = "Core Works";
  uint64_t processorId = 0x1234567890ABCDEF;
  Text version = "Core Works Model 8 @ 2.40GHz";
  uint8_t voltage = 0x92;
  uint16_t externalClock = 100;
  uint16_t maxSpeed = 4000;
  uint16_t currentSpeed = 2400;
  uint8_t status = 0x41;
  uint8_t upgrade = 0x2B;
  uint16_t l1 = kNoHandle;
  uint16_t l2 = kNoHandle;
  uint16_t l3 = kNoHandle;
  Text serial = std::nullopt;
  Text assetTag = std::nullopt;
  Text partNumber = std::nullopt;
  uint8_t coreCount = 8;
  uint8_t coreEnabled = 8;
  uint8_t threadCount = 16;
  uint16_t characteristics = 0x00FC;
  uint16_t family2 = 0x00B3;
  uint16_t coreCount2 = 8;
  uint16_t coreEnabled2 = 8;
  uint16_t threadCount2 = 16;

  Structure Build() const;
};

// SMBIOS 7.8, 1Bh bytes as of 3.1
struct Cache {
  std::optional<uint16_t> handle = std::nullopt;
  Text designation = "L1-Cache";
  uint16_t configuration = 0x0180;
  uint16_t maximumSize = 0x0200;
  uint16_t installedSize = 0x0200;
  uint16_t supportedSram = 0x0020;
  uint16_t currentSram = 0x0020;
  uint8_t speed = 0;
  uint8_t errorCorrection = 4;
  uint8_t systemType = 5;
  uint8_t associativity = 7;
  uint32_t maximumSize2 = 0x0200;
  uint32_t installedSize2 = 0x0200;

  Structure Build() const;
};

// SMBIOS 7.10, 13h bytes as of 3.2 without peers
struct Slot {
  std::optional<uint16_t> handle = std::nullopt;
  Text designation = "PCIe Slot 1";
  uint8_t slotType = 0xA5;
  uint8_t width = 0x0D;
  uint8_t usage = 3;
  uint8_t slotLength = 4;
  uint16_t id = 1;
  uint8_t characteristics1 = 0x04;
  uint8_t characteristics2 = 0x01;
  uint16_t segment = 0;
  uint8_t bus = 0;
  uint8_t devFn = 0;
  uint8_t dataBusWidth = 0x0D;
  uint8_t peerCount = 0;

  Structure Build() const;
};

// SMBIOS 7.12
struct OemStrings {
  std::optional<uint16_t> handle = std::nullopt;
  std::vector<std::string> texts = {"OEM"};

  Structure Build() const;
};

// SMBIOS 7.17
struct MemoryArray {
  std::optional<uint16_t> handle = std::nullopt;
  uint8_t location = 3;
  uint8_t use = 3;
  uint8_t errorCorrection = 6;
  uint32_t maximumCapacity = 0x10000000;
  uint16_t errorHandle = 0xFFFE;
  uint16_t deviceCount = 16;
  uint64_t extendedMaximumCapacity = 0;

  Structure Build() const;
};

// SMBIOS 7.18, 5Ch bytes as of 3.3
struct MemoryDevice {
  std::optional<uint16_t> handle = std::nullopt;
  uint16_t arrayHandle = 0x1000;
  uint16_t errorHandle = 0xFFFE;
  uint16_t totalWidth = 72;
  uint16_t dataWidth = 64;
  uint16_t size = 0x4000;
  uint8_t formFactor = 9;
  uint8_t set = 0;
  Text locator = "DIMM_A1";
  Text bankLocator = "Bank 1";
  uint8_t memoryType = 0x1A;
  uint16_t typeDetail = 0x2080;
  uint16_t speed = 3200;
  Text manufacturer = "Memory Works";
  Text serial = "0123ABCD";
  Text assetTag = "01221234";
  Text partNumber = "MW16G3200";
  uint8_t attributes = 2;
  uint32_t extendedSize = 0;
  uint16_t configuredSpeed = 2933;
  uint16_t minimumVoltage = 1200;
  uint16_t maximumVoltage = 1200;
  uint16_t configuredVoltage = 1200;
  uint8_t technology = 3;
  uint16_t operatingModes = 0x0008;
  Text firmwareVersion = std::nullopt;
  uint16_t moduleManufacturerId = 0x2C80;
  uint16_t moduleProductId = 0;
  uint16_t controllerManufacturerId = 0;
  uint16_t controllerProductId = 0;
  uint64_t nonVolatileSize = 0;
  uint64_t volatileSize = 0x400000000;
  uint64_t cacheSize = 0;
  uint64_t logicalSize = 0;
  uint32_t extendedSpeed = 0;
  uint32_t extendedConfiguredSpeed = 0;

  Structure Build() const;
};

// SMBIOS 7.42
struct OnboardDevice {
  std::optional<uint16_t> handle = std::nullopt;
  Text designation = "Embedded NIC 1";
  uint8_t deviceType = 0x85;
  uint8_t instance = 1;
  uint16_t segment = 0;
  uint8_t bus = 0;
  uint8_t devFn = 0;

  Structure Build() const;
};

// SMBIOS 7.45
struct End {
  std::optional<uint16_t> handle = std::nullopt;

  Structure Build() const;
};

// OEM type 225. The texts of the groups become the strings, numbered in their order.
struct FqddMap {
  struct Group {
    Text fqdd;
    uint16_t handle = 0;
    uint8_t opaque = 0;
  };

  std::optional<uint16_t> handle = std::nullopt;
  uint8_t format = 1;
  std::vector<Group> groups = {};

  Structure Build() const;
};

// OEM type 226
struct DimmExtension {
  std::optional<uint16_t> handle = std::nullopt;
  uint16_t deviceHandle = 0x1100;
  Text firmwareVersion = "1.2.3";
  uint32_t componentId = 0x0001A2B3;
  uint16_t productId = 0x1234;

  Structure Build() const;
};

// Bytes that need not be a structure; they do not count as one.
struct Raw {
  Bytes bytes;
};

template <typename Structures>
std::vector<Structures> Copies(size_t count, const Structures& structure) {
  return std::vector<Structures>(count, structure);
}

class Table {
 public:
  uint8_t majorVersion = 3;
  uint8_t minorVersion = 3;
  // What the entry point states, where it is not to be the truth.
  std::optional<uint16_t> statedLength;
  std::optional<uint16_t> statedCount;

  // A table of these, one behind the other: named structures such as Processor{}, others as
  // Structure{}, bytes, lists of structures, and what stands in another table.
  template <typename... Parts>
  static Table Of(const Parts&... parts) {
    Table table;
    (table.Add(parts), ...);
    return table;
  }

  // The same table of another version of the standard.
  Table OfVersion(uint8_t major, uint8_t minor) const {
    Table table = *this;
    table.majorVersion = major;
    table.minorVersion = minor;
    return table;
  }

  // Returns the structure's handle.
  uint16_t Add(Structure structure);
  template <typename Builder>
  uint16_t Add(const Builder& builder) {
    return Add(builder.Build());
  }
  void Add(const Raw& raw);
  void Add(const Table& table);
  template <typename Part>
  void Add(const std::vector<Part>& parts) {
    for (const Part& part : parts) {
      Add(part);
    }
  }
  // Takes off the last bytes, whatever they belong to.
  void Chop(size_t count) { mBytes.resize(mBytes.size() - count); }

  const tvq::test::Bytes& Bytes() const { return mBytes; }
  size_t Size() const { return mBytes.size(); }
  size_t Count() const { return mOffsets.size(); }
  // Where the n-th structure that was added begins, n from 0; for n == Count() the end of the
  // table.
  size_t OffsetOf(size_t n) const { return n < mOffsets.size() ? mOffsets[n] : mBytes.size(); }

 private:
  tvq::test::Bytes mBytes;
  std::vector<size_t> mOffsets;
  uint16_t mNextHandle = 0x8000;
};

// The smallest server that gives one record of each kind: one processor (400h) with one cache
// (700h), one module (1100h) in one array (1000h), the system (100h), and names for processor and
// module.
Table MinimalServer();

}  // namespace tvq::test

#endif  // TVQ_TESTS_UNIT_SHARED_TABLE_H_

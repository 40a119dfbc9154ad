/*
 * Types and offsets of the SMBIOS standard (DSP0134), section 7, and of the driver's own types.
 *
 * SPDX-License-Identifier: BSD-2-Clause-Patent
 */
#ifndef TVQ_HOST_LINT_SMBIOS_H_
#define TVQ_HOST_LINT_SMBIOS_H_

#include <cstddef>
#include <cstdint>

namespace tvq::lint {

constexpr std::uint8_t kBios = 0;
constexpr std::uint8_t kSystem = 1;
constexpr std::uint8_t kBoard = 2;
constexpr std::uint8_t kChassis = 3;
constexpr std::uint8_t kProcessor = 4;
constexpr std::uint8_t kCache = 7;
constexpr std::uint8_t kSlot = 9;
constexpr std::uint8_t kOemStrings = 11;
constexpr std::uint8_t kMemoryArray = 16;
constexpr std::uint8_t kMemoryDevice = 17;
constexpr std::uint8_t kEndOfTable = 127;
constexpr std::uint8_t kFqddMap = 225;
constexpr std::uint8_t kDimmExtension = 226;

namespace bios {
constexpr std::size_t kVersion = 0x05;
constexpr std::size_t kReleaseDate = 0x08;
}  // namespace bios

namespace system {
constexpr std::size_t kManufacturer = 0x04;
constexpr std::size_t kProduct = 0x05;
constexpr std::size_t kSerial = 0x07;
}  // namespace system

namespace board {
constexpr std::size_t kLocation = 0x0A;
}  // namespace board

namespace chassis {
constexpr std::size_t kManufacturer = 0x04;
constexpr std::size_t kSerial = 0x07;
constexpr std::size_t kAssetTag = 0x08;
}  // namespace chassis

namespace processor {
constexpr std::size_t kSocket = 0x04;
constexpr std::size_t kManufacturer = 0x07;
constexpr std::size_t kVersion = 0x10;
constexpr std::size_t kStatus = 0x18;
constexpr std::uint8_t kPopulated = 0x40;
constexpr std::size_t kCaches[] = {0x1A, 0x1C, 0x1E};
constexpr std::size_t kCoreCount = 0x23;
}  // namespace processor

namespace slot {
constexpr std::size_t kDesignation = 0x04;
}  // namespace slot

namespace memory {
constexpr std::size_t kArray = 0x04;
constexpr std::size_t kSize = 0x0C;
constexpr std::size_t kLocator = 0x10;
constexpr std::size_t kBank = 0x11;
constexpr std::size_t kType = 0x12;
constexpr std::size_t kManufacturer = 0x17;
constexpr std::size_t kSerial = 0x18;
constexpr std::size_t kAssetTag = 0x19;
constexpr std::size_t kPartNumber = 0x1A;
constexpr std::uint8_t kLogical = 0x1F;
constexpr std::uint8_t kHbm = 0x20;
constexpr std::uint8_t kHbm2 = 0x21;
}  // namespace memory

namespace fqddmap {
constexpr std::size_t kFormat = 0x04;
constexpr std::size_t kGroups = 0x05;
constexpr std::size_t kGroupSize = 4;
}  // namespace fqddmap

namespace extension {
constexpr std::size_t kDevice = 0x04;
constexpr std::size_t kFirmwareVersion = 0x06;
constexpr std::size_t kSize = 0x0D;
}  // namespace extension

}  // namespace tvq::lint

#endif  // TVQ_HOST_LINT_SMBIOS_H_

/** @file
  UUIDs of machines that nobody made for the machine.

  SPDX-License-Identifier: BSD-2-Clause-Patent
**/

#include <Library/TvqDeviceLib.h>

namespace tvq::devices {

namespace {

constexpr smbios::SizeType kSize = kUuidSize;

/// SMBIOS keeps the first three groups with their lowest byte first (SMBIOS 7.2.1).
constexpr U8 kAsWritten[kSize] = {3, 2, 1, 0, 5, 4, 7, 6, 8, 9, 10, 11, 12, 13, 14, 15};
constexpr U8 kAsStored[kSize] = {0, 1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12, 13, 14, 15};

constexpr U8 kDigits[kSize] = {0x12, 0x34, 0x56, 0x78, 0x12, 0x34, 0x56, 0x78,
                               0x90, 0xAB, 0xCD, 0xDE, 0xEF, 0xAA, 0xBB, 0xCC};

bool IsOneByte(const U8* uuid) {
  for (smbios::SizeType i = 1; i < kSize; i++) {
    if (uuid[i] != uuid[0]) {
      return false;
    }
  }
  return true;
}

bool CountsUp(const U8* uuid, const U8 (&order)[kSize]) {
  for (smbios::SizeType i = 1; i < kSize; i++) {
    if (uuid[order[i]] != uuid[order[i - 1]] + 1) {
      return false;
    }
  }
  return true;
}

bool CountsUpInWords(const U8* uuid, const U8 (&order)[kSize]) {
  for (smbios::SizeType i = 2; i < kSize; i += 2) {
    const int word = uuid[order[i]] << 8 | uuid[order[i + 1]];
    const int before = uuid[order[i - 2]] << 8 | uuid[order[i - 1]];
    if (word != before + 1) {
      return false;
    }
  }
  return true;
}

bool IsDigits(const U8* uuid, const U8 (&order)[kSize]) {
  for (smbios::SizeType i = 0; i < kSize; i++) {
    if (uuid[order[i]] != kDigits[i]) {
      return false;
    }
  }
  return true;
}

bool IsPattern(const U8* uuid, const U8 (&order)[kSize]) {
  return CountsUp(uuid, order) || CountsUpInWords(uuid, order) || IsDigits(uuid, order);
}

}  // namespace

bool SaysNone(Uuid uuid) {
  return IsOneByte(uuid) && (uuid[0] == 0x00 || uuid[0] == 0xFF);
}

bool IsMadeUp(Uuid uuid) {
  return !SaysNone(uuid) &&
         (IsOneByte(uuid) || IsPattern(uuid, kAsStored) || IsPattern(uuid, kAsWritten));
}

}  // namespace tvq::devices

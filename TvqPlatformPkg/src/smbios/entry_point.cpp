/** @file
  SMBIOS entry points (SMBIOS 5.2), read and written.

  SPDX-License-Identifier: BSD-2-Clause-Patent
**/

#include "entry_point.h"

namespace tvqplatform {

namespace {

constexpr UINT8 kAnchor32[] = {'_', 'S', 'M', '_'};
constexpr UINT8 kAnchor64[] = {'_', 'S', 'M', '3', '_'};
constexpr UINT8 kIntermediateAnchor[] = {'_', 'D', 'M', 'I', '_'};

// Both kinds have their length behind anchor and checksum.
constexpr UINTN kChecksum32 = 0x04;
constexpr UINTN kMajor32 = 0x06;
constexpr UINTN kMinor32 = 0x07;
constexpr UINTN kMaximumStructureSize = 0x08;
constexpr UINTN kIntermediate = 0x10;
constexpr UINTN kIntermediateChecksum = 0x15;
constexpr UINTN kTableLength32 = 0x16;
constexpr UINTN kTableAddress32 = 0x18;
constexpr UINTN kStructureCount = 0x1C;
constexpr UINTN kBcdRevision = 0x1E;

constexpr UINTN kMajor64 = 0x07;
constexpr UINTN kMinor64 = 0x08;
constexpr UINTN kTableLength64 = 0x0C;
constexpr UINTN kTableAddress64 = 0x10;

template <UINTN N>
bool StartsWith(Bytes bytes, const UINT8 (&anchor)[N]) {
  return bytes.Size() >= N && CompareMem(bytes.Data(), anchor, N) == 0;
}

UINT64 ReadNumber(const UINT8* bytes, UINTN size) {
  UINT64 value = 0;
  for (UINTN i = size; i-- > 0;) {
    value = (value << 8) | bytes[i];
  }
  return value;
}

void WriteNumber(UINT8* bytes, UINTN size, UINT64 value) {
  for (UINTN i = 0; i < size; i++) {
    bytes[i] = static_cast<UINT8>(value >> (8 * i));
  }
}

UINT8 Sum(const UINT8* bytes, UINTN size) {
  UINT8 sum = 0;
  for (UINTN i = 0; i < size; i++) {
    sum = static_cast<UINT8>(sum + bytes[i]);
  }
  return sum;
}

/// The usual length is in `bytes`. A stated length that reaches further is not believed.
void CheckEntryPoint(Bytes bytes, UINTN lengthOffset, UINTN usualLength, Notes& notes) {
  const UINTN stated = bytes[lengthOffset];
  if (stated != usualLength) {
    notes.Add(NoteKind::kEntryLength, stated, usualLength);
  }
  const UINTN summed = stated < usualLength || stated > bytes.Size() ? usualLength : stated;
  if (Sum(bytes.Data(), summed) != 0) {
    notes.Add(NoteKind::kEntryChecksum);
  }
}

void CheckIntermediate(Bytes bytes, Notes& notes) {
  const Bytes part(bytes.Data() + kIntermediate, kEntryPoint32Size - kIntermediate);
  if (!StartsWith(part, kIntermediateAnchor)) {
    notes.Add(NoteKind::kIntermediateAnchor);
  } else if (Sum(part.Data(), part.Size()) != 0) {
    notes.Add(NoteKind::kIntermediateChecksum);
  }
}

EntryPoint Read32(Bytes bytes, Notes& notes) {
  CheckEntryPoint(bytes, sizeof(kAnchor32) + 1, kEntryPoint32Size, notes);
  CheckIntermediate(bytes, notes);
  EntryPoint entry;
  entry.Kind = EntryPointKind::k32Bit;
  entry.Major = bytes[kMajor32];
  entry.Minor = bytes[kMinor32];
  entry.StructureCount = static_cast<UINT16>(ReadNumber(&bytes[kStructureCount], 2));
  entry.TableLength = static_cast<UINT32>(ReadNumber(&bytes[kTableLength32], 2));
  entry.TableAddress = ReadNumber(&bytes[kTableAddress32], 4);
  return entry;
}

EntryPoint Read64(Bytes bytes, Notes& notes) {
  CheckEntryPoint(bytes, sizeof(kAnchor64) + 1, kEntryPoint64Size, notes);
  EntryPoint entry;
  entry.Kind = EntryPointKind::k64Bit;
  entry.Major = bytes[kMajor64];
  entry.Minor = bytes[kMinor64];
  entry.TableLength = static_cast<UINT32>(ReadNumber(&bytes[kTableLength64], 4));
  entry.TableAddress = ReadNumber(&bytes[kTableAddress64], 8);
  return entry;
}

}  // namespace

EntryPoint ReadEntryPoint(Bytes bytes, Notes& notes) {
  if (StartsWith(bytes, kAnchor32) && bytes.Size() >= kEntryPoint32Size) {
    return Read32(bytes, notes);
  }
  if (StartsWith(bytes, kAnchor64) && bytes.Size() >= kEntryPoint64Size) {
    return Read64(bytes, notes);
  }
  return {};
}

void WriteEntryPoint32(const SmbiosTable& table, UINT32 address,
                       UINT8 (&entry)[kEntryPoint32Size]) {
  ZeroMem(entry, sizeof(entry));
  CopyMem(entry, kAnchor32, sizeof(kAnchor32));
  entry[sizeof(kAnchor32) + 1] = kEntryPoint32Size;
  entry[kMajor32] = table.Major;
  entry[kMinor32] = table.Minor;
  WriteNumber(&entry[kMaximumStructureSize], 2, Summarize(table.Structures).MaximumStructureSize);
  CopyMem(&entry[kIntermediate], kIntermediateAnchor, sizeof(kIntermediateAnchor));
  WriteNumber(&entry[kTableLength32], 2, table.Structures.Size());
  WriteNumber(&entry[kTableAddress32], 4, address);
  WriteNumber(&entry[kStructureCount], 2, table.StructureCount);
  entry[kBcdRevision] = static_cast<UINT8>((table.Major << 4) | (table.Minor & 0x0F));
  entry[kIntermediateChecksum] =
      static_cast<UINT8>(0 - Sum(entry + kIntermediate, kEntryPoint32Size - kIntermediate));
  entry[kChecksum32] = static_cast<UINT8>(0 - Sum(entry, kEntryPoint32Size));
}

}  // namespace tvqplatform

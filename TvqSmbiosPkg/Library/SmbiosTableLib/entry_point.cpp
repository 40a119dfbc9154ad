/** @file
  SMBIOS entry points.

  SPDX-License-Identifier: BSD-2-Clause-Patent
**/

#include <Library/SmbiosTableLib.h>

namespace tvq::smbios {

namespace {

constexpr U8 kAnchor32[] = {'_', 'S', 'M', '_'};
constexpr U8 kAnchor64[] = {'_', 'S', 'M', '3', '_'};
constexpr U8 kIntermediateAnchor[] = {'_', 'D', 'M', 'I', '_'};

/// In the intermediate part of a 32-bit entry point.
constexpr SizeType kChecksumOfIntermediate =
    kEntryPoint32.IntermediateChecksum - kEntryPoint32.IntermediateAnchor;

/// Of the 64-bit entry point itself.
constexpr U8 kRevision64 = 1;

bool StartsWith(Bytes bytes, Bytes anchor) {
  for (SizeType i = 0; i < anchor.Size(); i++) {
    if (i >= bytes.Size() || bytes[i] != anchor[i]) {
      return false;
    }
  }
  return true;
}

U8 Sum(Bytes bytes) {
  U8 sum = 0;
  for (const U8 byte : bytes) {
    sum = static_cast<U8>(sum + byte);
  }
  return sum;
}

Bytes IntermediatePart(Bytes bytes) {
  return bytes.First(kEntryPoint32.Size).From(kEntryPoint32.IntermediateAnchor);
}

U8 FindDefects(EntryPointKind kind, Bytes bytes) {
  U8 defects = 0;
  const auto note = [&defects](bool isThere, EntryPointDefect defect) {
    defects = static_cast<U8>(defects | (isThere ? static_cast<U8>(defect) : 0));
  };
  const SizeType usual = LayoutOf(kind).Size;
  const SizeType stated = bytes[LayoutOf(kind).Length];
  const bool isUsable = stated >= usual && stated <= bytes.Size();
  note(stated != usual, EntryPointDefect::kLength);
  note(Sum(bytes.First(isUsable ? stated : usual)) != 0, EntryPointDefect::kChecksum);
  if (kind == EntryPointKind::k32Bit) {
    const Bytes part = IntermediatePart(bytes);
    note(!StartsWith(part, kIntermediateAnchor), EntryPointDefect::kIntermediateAnchor);
    note(Sum(part) != 0, EntryPointDefect::kIntermediateChecksum);
  }
  return defects;
}

void Put(Span<U8> bytes, SizeType at, U64 value, SizeType width) {
  for (SizeType i = 0; i < width; i++, value >>= 8) {
    bytes[at + i] = static_cast<U8>(value);
  }
}

void PutText(Span<U8> bytes, SizeType at, Bytes text) {
  for (SizeType i = 0; i < text.Size(); i++) {
    bytes[at + i] = text[i];
  }
}

/// Makes `bytes` add up to 0 by the one at `at`, which is 0 so far.
void PutChecksum(Span<U8> bytes, SizeType at) {
  bytes[at] = static_cast<U8>(0 - Sum(bytes));
}

void Put32(const EntryPoint& entry, Span<U8> bytes) {
  constexpr SizeType kRevisionOfEntryPoint = 0x0A;
  PutText(bytes, 0, kAnchor32);
  Put(bytes, kEntryPoint32.MaximumStructureSize, entry.MaximumStructureSize, 2);
  bytes[kRevisionOfEntryPoint] = 0;
  PutText(bytes, kEntryPoint32.IntermediateAnchor, kIntermediateAnchor);
  bytes[kEntryPoint32.IntermediateChecksum] = 0;
  Put(bytes, kEntryPoint32.TableLength, entry.TableLength, 2);
  Put(bytes, kEntryPoint32.TableAddress, entry.TableAddress, 4);
  Put(bytes, kEntryPoint32.StructureCount, entry.StructureCount, 2);
  bytes[kEntryPoint32.Revision] = static_cast<U8>((entry.Major << 4) | (entry.Minor & 0x0F));
  PutChecksum(bytes.From(kEntryPoint32.IntermediateAnchor), kChecksumOfIntermediate);
}

void Put64(const EntryPoint& entry, Span<U8> bytes) {
  constexpr SizeType kDocumentRevision = 0x09;
  PutText(bytes, 0, kAnchor64);
  bytes[kDocumentRevision] = 0;
  bytes[kEntryPoint64.Revision] = kRevision64;
  Put(bytes, kEntryPoint64.TableLength, entry.TableLength, 4);
  Put(bytes, kEntryPoint64.TableAddress, entry.TableAddress, 8);
}

}  // namespace

EntryPointKind FindAnchor(Bytes bytes) {
  return StartsWith(bytes, kAnchor32)   ? EntryPointKind::k32Bit
         : StartsWith(bytes, kAnchor64) ? EntryPointKind::k64Bit
                                        : EntryPointKind::kNone;
}

EntryPoint ReadEntryPoint(Bytes bytes) {
  EntryPoint entry;
  const EntryPointKind kind = FindAnchor(bytes);
  const EntryPointLayout layout = LayoutOf(kind);
  if (kind == EntryPointKind::kNone || bytes.Size() < layout.Size) {
    return entry;
  }
  entry.Kind = kind;
  const U8* const start = bytes.Data();
  entry.Defects = FindDefects(entry.Kind, bytes);
  entry.Length = start[layout.Length];
  entry.Major = start[layout.Major];
  entry.Minor = start[layout.Minor];
  entry.Revision = start[layout.Revision];
  if (entry.Kind == EntryPointKind::k32Bit) {
    entry.MaximumStructureSize = Read16(start + layout.MaximumStructureSize);
    entry.StructureCount = Read16(start + layout.StructureCount);
    entry.TableLength = Read16(start + layout.TableLength);
    entry.TableAddress = Read32(start + layout.TableAddress);
  } else {
    entry.TableLength = Read32(start + layout.TableLength);
    entry.TableAddress = Read64(start + layout.TableAddress);
  }
  return entry;
}

SizeType WriteEntryPoint(const EntryPoint& entry, Span<U8> bytes) {
  const EntryPointLayout layout = LayoutOf(entry.Kind);
  if (!entry || bytes.Size() < layout.Size) {
    return 0;
  }
  const Span<U8> written = bytes.First(layout.Size);
  written[layout.Checksum] = 0;
  written[layout.Length] = layout.Size;
  written[layout.Major] = entry.Major;
  written[layout.Minor] = entry.Minor;
  Put(written, layout.Reserved, 0, layout.ReservedSize);
  if (entry.Kind == EntryPointKind::k32Bit) {
    Put32(entry, written);
  } else {
    Put64(entry, written);
  }
  PutChecksum(written, layout.Checksum);
  return layout.Size;
}

}  // namespace tvq::smbios

/** @file
  A saved state as bytes.

  SPDX-License-Identifier: BSD-2-Clause-Patent
**/

#include "state_format.h"

#include "../text.h"

namespace tvqplatform {

namespace {

constexpr UINT32 kFirstVersion = 1;

// -------------------------------------------------------------------------------------------------
// Reading
// -------------------------------------------------------------------------------------------------

/// CRC-32 of header and body, with the header's own field taken as 0.
UINT32 Checksum(const STATE_HEADER& header, Bytes body) {
  STATE_HEADER blank = header;
  blank.Crc32 = 0;
  // CalculateCrc32 goes over one range, so the sum is that of the two ranges' sums.
  UINT32 sums[2] = {
      CalculateCrc32(&blank, sizeof(blank)),
      body.Empty() ? 0 : CalculateCrc32(const_cast<UINT8*>(body.Data()), body.Size())};
  return CalculateCrc32(sums, sizeof(sums));
}

/// Takes `size` bytes off the front. False: there are fewer.
[[nodiscard]] bool Take(Bytes& bytes, UINTN size, Bytes& front) {
  front = bytes.First(size);
  if (front.Size() != size) {
    return false;
  }
  bytes = bytes.From(size);
  return true;
}

/// Takes a packed structure off the front. False: it is not there as a whole.
template <typename T>
[[nodiscard]] bool Take(Bytes& bytes, T& value) {
  Bytes front;
  if (!Take(bytes, sizeof(value), front)) {
    return false;
  }
  CopyMem(&value, front.Data(), sizeof(value));
  return true;
}

/// Takes a text and its NUL off the front; an empty one is none. False: it has no end.
[[nodiscard]] bool TakeText(Bytes& bytes, smbios::Text& text) {
  const smbios::Text found = smbios::TextAt(bytes);
  if (!found) {
    return false;
  }
  bytes = bytes.From(found.Length() + 1);
  text = found.Length() == 0 ? smbios::Text() : found;
  return true;
}

/// Takes a name off the front, into a device of zeros. False: it is not there, or longer than any.
[[nodiscard]] bool TakeFqdd(Bytes& bytes, UINT32 length, SnapshotDevice& device) {
  Bytes fqdd;
  if (length >= kSnapshotFqddSize || !Take(bytes, length * sizeof(CHAR16), fqdd)) {
    return false;
  }
  if (length != 0) {
    CopyMem(device.Fqdd, fqdd.Data(), fqdd.Size());
  }
  return true;
}

[[nodiscard]] StateDefect AppendDevice(const SnapshotDevice& device, Snapshot& snapshot) {
  if (snapshot.Devices.Size() == kMaximumStateDevices) {
    return StateDefect::kDamaged;
  }
  return snapshot.Devices.Append(device) ? StateDefect::kNone : StateDefect::kNoMemory;
}

[[nodiscard]] bool ReadOrigin(Bytes bytes, Snapshot& snapshot) {
  STATE_ORIGIN origin;
  if (!Take(bytes, origin) || !TakeText(bytes, snapshot.Program)) {
    return false;
  }
  snapshot.Time = origin.Time;
  snapshot.Options = origin.Options;
  snapshot.NamingRules = origin.NamingRules;
  return bytes.Empty();
}

[[nodiscard]] bool ReadMachine(Bytes bytes, MachineIdentity& machine) {
  STATE_MACHINE stored;
  if (!Take(bytes, stored) || !TakeText(bytes, machine.SystemSerial) ||
      !TakeText(bytes, machine.BoardSerial) || !TakeText(bytes, machine.ChassisSerial)) {
    return false;
  }
  machine.HasUuid = stored.HasUuid != 0;
  CopyMem(machine.Uuid, stored.Uuid, sizeof(machine.Uuid));
  return bytes.Empty();
}

[[nodiscard]] bool ReadTable(Bytes bytes, SmbiosTable& table) {
  STATE_TABLE stored;
  if (!Take(bytes, stored) || bytes.Empty() || bytes.Size() > kMaximumTableSize) {
    return false;
  }
  table = {stored.Major, stored.Minor, stored.StructureCount, bytes};
  return true;
}

/// Of a reason that this program does not know, it can say no more than that there is one.
WhyNoRecord KnownReason(UINT8 why) {
  return why <= static_cast<UINT8>(WhyNoRecord::kNotStarted) ? static_cast<WhyNoRecord>(why)
                                                             : WhyNoRecord::kRefused;
}

[[nodiscard]] StateDefect ReadDevice(Bytes bytes, Snapshot& snapshot) {
  STATE_DEVICE stored;
  SnapshotDevice device = {};
  if (!Take(bytes, stored) || !TakeFqdd(bytes, stored.FqddLength, device)) {
    return StateDefect::kDamaged;
  }
  device.ComponentClass = stored.ComponentClass;
  device.Handle = stored.Handle;
  device.Why = KnownReason(stored.Why);
  device.Blobs = bytes;
  return AppendDevice(device, snapshot);
}

/// Reads sections one after the other.
class SectionReader {
 public:
  explicit SectionReader(Snapshot& snapshot) : mSnapshot(snapshot) {}

  [[nodiscard]] StateDefect Read(UINT32 type, Bytes bytes) {
    switch (type) {
      case kStateOrigin:
        return IsFirst(type) && ReadOrigin(bytes, mSnapshot) ? StateDefect::kNone
                                                             : StateDefect::kDamaged;
      case kStateMachine:
        return IsFirst(type) && ReadMachine(bytes, mSnapshot.Machine) ? StateDefect::kNone
                                                                      : StateDefect::kDamaged;
      case kStateTable:
        return IsFirst(type) && ReadTable(bytes, mSnapshot.Table) ? StateDefect::kNone
                                                                  : StateDefect::kDamaged;
      case kStateDevice:
        return ReadDevice(bytes, mSnapshot);
      case kStateEnd:
        return StateDefect::kDamaged;
      default:
        return (type & kStateOptional) != 0 ? StateDefect::kNone : StateDefect::kNewer;
    }
  }

  bool IsComplete() const { return (mSeen & kRequired) == kRequired; }

 private:
  static constexpr UINT32 kRequired = (1 << kStateOrigin) | (1 << kStateMachine);

  bool IsFirst(UINT32 type) {
    const UINT32 bit = static_cast<UINT32>(1) << type;
    const bool isFirst = (mSeen & bit) == 0;
    mSeen |= bit;
    return isFirst;
  }

  Snapshot& mSnapshot;
  UINT32 mSeen = 0;
};

/// Up to the end section, which was looked at before.
[[nodiscard]] StateDefect ReadSections(Bytes body, UINT32 count, Snapshot& snapshot) {
  SectionReader reader(snapshot);
  UINT32 read = 1;
  for (body = body.First(body.Size() - kStateEndSize); !body.Empty(); read++) {
    STATE_SECTION section;
    Bytes bytes;
    if (!Take(body, section) || !Take(body, section.Size, bytes)) {
      return StateDefect::kDamaged;
    }
    const StateDefect defect = reader.Read(section.Type, bytes);
    if (defect != StateDefect::kNone) {
      return defect;
    }
  }
  return read == count && reader.IsComplete() ? StateDefect::kNone : StateDefect::kDamaged;
}

[[nodiscard]] StateDefect ReadFirstVersion(Bytes body, UINT32 count, Snapshot& snapshot) {
  for (UINT32 i = 0; i < count; i++) {
    STATE_DEVICE_1 stored;
    SnapshotDevice device = {};
    if (!Take(body, stored) || !TakeFqdd(body, stored.FqddLength, device) ||
        !Take(body, stored.DataSize, device.Blobs)) {
      return StateDefect::kDamaged;
    }
    device.ComponentClass = stored.ComponentClass;
    device.Handle = smbios::kNoHandle;
    device.Why = WhyNoRecord::kHasRecord;
    const StateDefect defect = AppendDevice(device, snapshot);
    if (defect != StateDefect::kNone) {
      return defect;
    }
  }
  return body.Empty() ? StateDefect::kNone : StateDefect::kDamaged;
}

/// `body` gets what stands behind the header.
[[nodiscard]] StateDefect CheckWhole(Bytes file, STATE_HEADER& header, Bytes& body) {
  body = file;
  if (!Take(body, header)) {
    return StateDefect::kCutOff;
  }
  if (CompareMem(header.Magic, kStateMagic, sizeof(kStateMagic)) != 0) {
    return StateDefect::kNoState;
  }
  if (header.Version != kStateVersion && header.Version != kFirstVersion) {
    return StateDefect::kNewer;
  }
  if (header.BodySize < body.Size()) {
    return StateDefect::kDamaged;
  }
  if (header.BodySize > body.Size() ||
      (header.Version == kStateVersion && !EndsAsState(file, header.Generation))) {
    return StateDefect::kCutOff;
  }
  return header.Crc32 == Checksum(header, body) ? StateDefect::kNone : StateDefect::kDamaged;
}

void Clear(StoredState& state) {
  state.Version = 0;
  state.Generation = 0;
  Snapshot& content = state.Content;
  content.Table = SmbiosTable();
  content.Machine = MachineIdentity();
  content.Options = 0;
  content.NamingRules = kNamingRulesUnknown;
  content.Time = 0;
  content.Program = smbios::Text();
  content.Devices.Free();
}

// -------------------------------------------------------------------------------------------------
// Writing
// -------------------------------------------------------------------------------------------------

/// Appends to a file. The first failure counts, and nothing is appended after it.
class Writer {
 public:
  explicit Writer(GrowingArray<UINT8>& file) : mFile(file) {}

  void Append(Bytes bytes) { mIsWhole = mIsWhole && mFile.Append(bytes.Data(), bytes.Size()); }
  template <typename T>
  void Append(const T& value) {
    Append(Bytes(reinterpret_cast<const UINT8*>(&value), sizeof(value)));
  }
  void Append(smbios::Text text) {
    Append(Bytes(text.Data(), text.Length()));
    Append<UINT8>(0);
  }

  void BeginSection(UINT32 type) {
    mCount++;
    mSection = mFile.Size();
    Append(STATE_SECTION{type, 0});
  }
  void EndSection() {
    if (mIsWhole) {
      const STATE_SECTION* section =
          reinterpret_cast<const STATE_SECTION*>(mFile.Data() + mSection);
      const STATE_SECTION ended = {
          section->Type, static_cast<UINT32>(mFile.Size() - mSection - sizeof(STATE_SECTION))};
      CopyMem(mFile.Data() + mSection, &ended, sizeof(ended));
    }
  }

  UINT32 Count() const { return mCount; }
  bool IsWhole() const { return mIsWhole; }

 private:
  GrowingArray<UINT8>& mFile;
  UINTN mSection = 0;
  UINT32 mCount = 0;
  bool mIsWhole = true;
};

void WriteOrigin(const Snapshot& snapshot, UINT64 time, Writer& writer) {
  writer.BeginSection(kStateOrigin);
  writer.Append(STATE_ORIGIN{time, snapshot.Options, snapshot.NamingRules});
  writer.Append(snapshot.Program);
  writer.EndSection();
}

void WriteMachine(const MachineIdentity& machine, Writer& writer) {
  STATE_MACHINE stored = {};
  stored.HasUuid = machine.HasUuid ? 1 : 0;
  if (machine.HasUuid) {
    CopyMem(stored.Uuid, machine.Uuid, sizeof(stored.Uuid));
  }
  writer.BeginSection(kStateMachine);
  writer.Append(stored);
  writer.Append(machine.SystemSerial);
  writer.Append(machine.BoardSerial);
  writer.Append(machine.ChassisSerial);
  writer.EndSection();
}

void WriteTable(const SmbiosTable& table, Writer& writer) {
  writer.BeginSection(kStateTable);
  writer.Append(STATE_TABLE{table.Major, table.Minor, table.StructureCount});
  writer.Append(table.Structures);
  writer.EndSection();
}

void WriteDevice(const SnapshotDevice& device, Writer& writer) {
  const UINTN length = Length(device.Fqdd);
  writer.BeginSection(kStateDevice);
  writer.Append(STATE_DEVICE{device.ComponentClass, device.Handle, static_cast<UINT8>(device.Why),
                             static_cast<UINT8>(length)});
  writer.Append(Bytes(reinterpret_cast<const UINT8*>(device.Fqdd), length * sizeof(CHAR16)));
  writer.Append(device.Blobs);
  writer.EndSection();
}

void WriteSections(const Snapshot& snapshot, UINT64 generation, UINT64 time, Writer& writer) {
  WriteOrigin(snapshot, time, writer);
  WriteMachine(snapshot.Machine, writer);
  if (!snapshot.Table.Structures.Empty()) {
    WriteTable(snapshot.Table, writer);
  }
  for (const SnapshotDevice& device : snapshot.Devices) {
    WriteDevice(device, writer);
  }
  writer.BeginSection(kStateEnd);
  writer.Append(generation);
  writer.EndSection();
}

}  // namespace

const CHAR8* StateDefectText(StateDefect defect) {
  switch (defect) {
    case StateDefect::kNoMemory:
      return "cannot be read: there is no memory";
    case StateDefect::kNoState:
      return "is no saved state";
    case StateDefect::kNewer:
      return "was saved by another version of this program";
    case StateDefect::kCutOff:
      return "was cut off while it was saved";
    case StateDefect::kDamaged:
      return "is damaged";
    case StateDefect::kNone:
      break;
  }
  return "is whole";
}

bool EndsAsState(Bytes file, UINT64 generation) {
  const STATE_SECTION section = {kStateEnd, sizeof(generation)};
  const Bytes end = file.From(sizeof(STATE_HEADER));
  if (end.Size() < kStateEndSize) {
    return false;
  }
  const Bytes last = end.From(end.Size() - kStateEndSize);
  return CompareMem(last.Data(), &section, sizeof(section)) == 0 &&
         smbios::Read64(last.Data() + sizeof(section)) == generation;
}

StateDefect ReadState(Bytes file, StoredState& state) {
  Clear(state);
  STATE_HEADER header;
  Bytes body;
  StateDefect defect = CheckWhole(file, header, body);
  if (defect == StateDefect::kNone) {
    defect = header.Version == kStateVersion ? ReadSections(body, header.Count, state.Content)
                                             : ReadFirstVersion(body, header.Count, state.Content);
  }
  if (defect != StateDefect::kNone) {
    Clear(state);
    return defect;
  }
  state.Version = header.Version;
  state.Generation = header.Generation;
  return StateDefect::kNone;
}

EncodedState::~EncodedState() {
  mFile.Free();
}

bool EncodedState::Write(const Snapshot& snapshot, UINT64 generation, UINT64 time) {
  mFile.Shrink(0);
  STATE_HEADER header = {};
  Writer writer(mFile);
  writer.Append(header);
  WriteSections(snapshot, generation, time, writer);
  if (!writer.IsWhole()) {
    mFile.Free();
    return false;
  }
  const Bytes body = File().From(sizeof(header));
  CopyMem(header.Magic, kStateMagic, sizeof(kStateMagic));
  header.Version = kStateVersion;
  header.Count = writer.Count();
  header.Generation = generation;
  header.BodySize = static_cast<UINT32>(body.Size());
  header.Crc32 = Checksum(header, body);
  CopyMem(mFile.Data(), &header, sizeof(header));
  return true;
}

}  // namespace tvqplatform

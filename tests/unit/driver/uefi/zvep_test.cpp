/*
 * Device-list entries: a device's display name and its FQDD, for whoever presents its device path.
 *
 * SPDX-License-Identifier: BSD-2-Clause-Patent
 */
#include <cstring>

#include "tests/unit/driver/uefi/record_fixture.h"

#include "TvqSmbiosPkg/src/uefi/zvep.h"

namespace tvq::test {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

// The three kinds of entry, and how they differ.
struct Kind {
  const char* name;
  UINT8 deviceType;
  ZVEP_PROTOCOL* (*make)(const TVQ_DEVICE*);
  size_t assertionLine;
  size_t fqddSize;  // of the block that holds it
  const char* deviceName;
};

const Kind kCpu = {"CPU", TVQ_DEVICE_TYPE_CPU, MakeCPUZVEP, 63, 32, "CPU 2"};
const Kind kDimm = {"DIMM", TVQ_DEVICE_TYPE_DIMM, MakeDIMMZVEP, 156, 32, "DIMM A12"};
const Kind kSystem = {"SYSTEM", TVQ_DEVICE_TYPE_SYSTEM, MakeSYSTEMZVEP, 272, 64, "SYSTEM"};

// A device path as a record has it.
using Path = std::vector<UINT8>;

// The bytes of the node's fields, by offset.
constexpr size_t kType = 0;
constexpr size_t kSubType = 1;
constexpr size_t kLength = 2;
constexpr size_t kGuid = 4;
constexpr size_t kData = 20;
constexpr size_t kNodeSize = 27;

Path PathWith(const std::vector<UINT8>& data) {
  ByteWriter bytes;
  bytes.U8(1).U8(4).U16(kNodeSize);
  bytes.U32(0xEA082E96).U16(0xB64B).U16(0x48B3).U8(0xA1).U8(0x53);
  bytes.Bytes({0x0A, 0x0F, 0xE8, 0xBF, 0x90, 0x5E});
  bytes.Bytes(data).Zeros(7 - data.size());
  return bytes.U8(0x7F).U8(0xFF).U16(4).Written();
}

Path ModulePath(char16_t first, char16_t second, char16_t third) {
  return PathWith(ByteWriter().U8(3).U16(first).U16(second).U16(third).Written());
}

class DeviceEntry : public RecordTest {
 protected:
  // The device of number 2: socket 2, or the locator A12.
  TVQ_DEVICE& NewDevice(const Kind& kind) {
    TVQ_DEVICE& device = NewRecord(kind.deviceType)->device;
    if (kind.deviceType == TVQ_DEVICE_TYPE_CPU) {
      device.cpu.Socket = 2;
    } else if (kind.deviceType == TVQ_DEVICE_TYPE_DIMM) {
      device.dimm.DeviceLocator = Wide(u"A12");
    } else {
      device.system.Socket = 2;
    }
    return device;
  }
  static Path OwnPath(const Kind& kind) {
    return kind.deviceType == TVQ_DEVICE_TYPE_DIMM ? ModulePath('A', '1', '2')
                                                   : PathWith({kind.deviceType, 2});
  }
  ZVEP_PROTOCOL* NewEntry(const Kind& kind) { return kind.make(&NewDevice(kind)); }

  ZVEP_PROTOCOL* NewCpu(UINT8 socket, CHAR16* fqdd = nullptr) {
    TVQ_DEVICE& device = NewRecord(TVQ_DEVICE_TYPE_CPU)->device;
    device.cpu.Socket = socket;
    device.cpu.FQDD = fqdd;
    return MakeCPUZVEP(&device);
  }
  ZVEP_PROTOCOL* NewDimm(CHAR16* locator, CHAR16* fqdd = nullptr) {
    TVQ_DEVICE& device = NewRecord(TVQ_DEVICE_TYPE_DIMM)->device;
    device.dimm.DeviceLocator = locator;
    device.dimm.FQDD = fqdd;
    return MakeDIMMZVEP(&device);
  }
  ZVEP_PROTOCOL* NewSystem(UINT8 socket) {
    TVQ_DEVICE& device = NewRecord(TVQ_DEVICE_TYPE_SYSTEM)->device;
    device.system.Socket = socket;
    return MakeSYSTEMZVEP(&device);
  }

  EFI_STATUS Ask(ZVEP_PROTOCOL* entry, Path path, CHAR16** name, CHAR16** fqdd) {
    return AskThrough(entry, entry, path, name, fqdd);
  }
  // Calls the operation of one entry with another interface.
  EFI_STATUS AskThrough(ZVEP_PROTOCOL* operations, ZVEP_PROTOCOL* entry, Path& path, CHAR16** name,
                        CHAR16** fqdd) {
    return operations->GetDeviceName(
        entry, reinterpret_cast<EFI_DEVICE_PATH_PROTOCOL*>(path.data()), mLanguage, name, fqdd);
  }
  EFI_STATUS StatusFor(ZVEP_PROTOCOL* entry, const Path& path) {
    CHAR16* name = nullptr;
    CHAR16* fqdd = nullptr;
    return Ask(entry, path, &name, &fqdd);
  }
  // Name and FQDD, "name|fqdd".
  std::string NamesOf(ZVEP_PROTOCOL* entry, const Path& path) {
    CHAR16* name = nullptr;
    CHAR16* fqdd = nullptr;
    EXPECT_EQ(Ask(entry, path, &name, &fqdd), EFI_SUCCESS);
    return Utf8(name) + "|" + Utf8(fqdd);
  }

  CHAR8 mLanguage[6] = "en-US";
};

class EveryDeviceEntry : public DeviceEntry, public testing::WithParamInterface<Kind> {};

void PrintTo(const Kind& kind, std::ostream* stream) {
  *stream << kind.name;
}

std::string NameOfKind(const testing::TestParamInfo<Kind>& info) {
  return info.param.name;
}

INSTANTIATE_TEST_SUITE_P(Of, EveryDeviceEntry, testing::Values(kCpu, kDimm, kSystem), NameOfKind);

// --- Building ---

TEST_P(EveryDeviceEntry, HoldsASnapshotOfTheDevice) {
  TVQ_DEVICE& device = NewDevice(GetParam());
  device.generic.MarketingName = Wide(u"Name");
  for (size_t i = sizeof(TVQ_GENERIC) + 40; i < sizeof(device); ++i) {
    reinterpret_cast<UINT8*>(&device)[i] = static_cast<UINT8>(i);
  }
  const std::vector<UINT8> original = BytesAt(&device, sizeof(device));
  const auto* entry = reinterpret_cast<const UINT8*>(GetParam().make(&device)) - 152;
  device.generic.MarketingName = nullptr;
  EXPECT_EQ(BytesAt(entry, 8), (std::vector<UINT8>{'i', 'Z', 'V', 'P', 0, 0, 0, 0}));
  EXPECT_EQ(BytesAt(entry + 8, 144), original);
  EXPECT_EQ(BytesAt(entry + 176, 6), (std::vector<UINT8>{'e', 'n', '-', 'U', 'S', 0}));
}

TEST_P(EveryDeviceEntry, IsOneBlockOfBootServicesPool) {
  const ZVEP_PROTOCOL* interface = NewEntry(GetParam());
  ASSERT_THAT(NewBlockSizes(), ElementsAre(182));
  EXPECT_EQ(NewBlocks()[0].address, reinterpret_cast<const UINT8*>(interface) - 152);
  EXPECT_EQ(NewBlocks()[0].type, EfiBootServicesData);
}

TEST_P(EveryDeviceEntry, SupportsEnglishFromItsOwnText) {
  const ZVEP_PROTOCOL* interface = NewEntry(GetParam());
  EXPECT_STREQ(interface->SupportedLanguages, "en-US");
  EXPECT_EQ(interface->SupportedLanguages,
            reinterpret_cast<const CHAR8*>(interface) + sizeof(ZVEP_PROTOCOL));
}

TEST_P(EveryDeviceEntry, NeedsADevice) {
  EXPECT_EQ(GetParam().make(nullptr), nullptr);
  EXPECT_THAT(NewBlocks(), IsEmpty());
  EXPECT_THAT(TakeLog(), IsEmpty());
}

TEST_P(EveryDeviceEntry, NeedsMemory) {
  TVQ_DEVICE& device = NewDevice(GetParam());
  FailAllocation(1);
  EXPECT_EQ(GetParam().make(&device), nullptr);
  EXPECT_THAT(TakeLog(), IsEmpty());
}

TEST_F(DeviceEntry, OfAProcessorIsLogged) {
  TVQ_DEVICE& device = NewDevice(kCpu);
  device.cpu.MaxSpeed = 0xFFFF;
  device.cpu.CoreCount = 200;
  EXPECT_NE(MakeCPUZVEP(&device), nullptr);
  EXPECT_THAT(TakeLog(),
              ElementsAre("MakeCPUZVEP: CPU Info: Socket 2 MaxSpeed 65535 CoreCount 200\n"));
}

TEST_F(DeviceEntry, OfAModuleOrTheSystemIsNotLogged) {
  NewEntry(kDimm);
  NewEntry(kSystem);
  EXPECT_THAT(TakeLog(), IsEmpty());
}

TEST_P(EveryDeviceEntry, HasNoDeviceData) {
  ZVEP_PROTOCOL* entry = NewEntry(GetParam());
  EXPECT_EQ(entry->GetDeviceData(entry), EFI_UNSUPPORTED);
  EXPECT_EQ(entry->GetDeviceData(nullptr), EFI_UNSUPPORTED);
  EXPECT_EQ(entry->GetDeviceData(reinterpret_cast<ZVEP_PROTOCOL*>(8)), EFI_UNSUPPORTED);
}

TEST_F(DeviceEntry, OfAProcessorIsBuiltWithoutADebugLog) {
  RemoveDebugLog();
  EXPECT_NE(NewEntry(kCpu), nullptr);
}

// --- Arguments ---

TEST_P(EveryDeviceEntry, NeedsItsArgumentsButTheFqdd) {
  ZVEP_PROTOCOL* entry = NewEntry(GetParam());
  Path path = OwnPath(GetParam());
  auto* node = reinterpret_cast<EFI_DEVICE_PATH_PROTOCOL*>(path.data());
  const size_t blocks = NewBlocks().size();
  CHAR16* name = nullptr;
  CHAR16* fqdd = nullptr;
  EXPECT_EQ(entry->GetDeviceName(nullptr, node, mLanguage, &name, &fqdd), EFI_INVALID_PARAMETER);
  EXPECT_EQ(entry->GetDeviceName(entry, nullptr, mLanguage, &name, &fqdd), EFI_INVALID_PARAMETER);
  EXPECT_EQ(entry->GetDeviceName(entry, node, nullptr, &name, &fqdd), EFI_INVALID_PARAMETER);
  EXPECT_EQ(entry->GetDeviceName(entry, node, mLanguage, nullptr, &fqdd), EFI_INVALID_PARAMETER);
  EXPECT_EQ(NewBlocks().size(), blocks);
  EXPECT_EQ(entry->GetDeviceName(entry, node, mLanguage, &name, nullptr), EFI_SUCCESS);
}

TEST_P(EveryDeviceEntry, AnswersInAnyLanguage) {
  ZVEP_PROTOCOL* entry = NewEntry(GetParam());
  for (const char* language : {"", "de-DE", "nonsense"}) {
    Path path = OwnPath(GetParam());
    CHAR16* name = nullptr;
    EXPECT_EQ(entry->GetDeviceName(entry, reinterpret_cast<EFI_DEVICE_PATH_PROTOCOL*>(path.data()),
                                   const_cast<CHAR8*>(language), &name, nullptr),
              EFI_SUCCESS);
  }
}

TEST_P(EveryDeviceEntry, RefusesAnInterfaceWithoutAnEntry) {
  Path path = OwnPath(GetParam());
  ZVEP_PROTOCOL* operations = NewEntry(GetParam());
  CHAR16* name = nullptr;
  for (bool assertions : {true, false}) {
    EnableAssertions(assertions);
    EXPECT_EQ(AskThrough(operations, reinterpret_cast<ZVEP_PROTOCOL*>(152), path, &name, nullptr),
              EFI_INVALID_PARAMETER);
  }
}

// --- The signature ---

// Two entries, of which the second stands where the first has its interface. The first has no valid signature, and is that of another device.
class EntryInPlaceOfTheInterface {
 public:
  explicit EntryInPlaceOfTheInterface(const TVQ_DEVICE& outer, const TVQ_DEVICE& inner) {
    std::memcpy(mBytes, "wrong!!", 8);
    std::memcpy(mBytes + 8, &outer, sizeof(outer));
    std::memcpy(mBytes + 152 + 8, &inner, sizeof(inner));
  }
  ZVEP_PROTOCOL* Interface() { return reinterpret_cast<ZVEP_PROTOCOL*>(mBytes + 152); }

 private:
  alignas(8) UINT8 mBytes[152 + 182] = {};
};

TEST_P(EveryDeviceEntry, AssertsOnABadSignatureAndGoesOnWithTheInterfaceAsTheEntry) {
  TVQ_DEVICE other = NewDevice(GetParam());
  other.generic.DeviceType = 99;
  EntryInPlaceOfTheInterface entries(other, NewDevice(GetParam()));
  Path path = OwnPath(GetParam());
  CHAR16* name = nullptr;
  EXPECT_EQ(AskThrough(NewEntry(GetParam()), entries.Interface(), path, &name, nullptr),
            EFI_SUCCESS);
  EXPECT_THAT(Firmware().TakeAssertions(),
              ElementsAre(BadSignatureIn("src/uefi/zvep", GetParam().assertionLine)));
}

TEST_P(EveryDeviceEntry, DoesNotLookAtTheSignatureWithoutAssertions) {
  EnableAssertions(false);
  TVQ_DEVICE other = NewDevice(GetParam());
  other.generic.DeviceType = 99;
  EntryInPlaceOfTheInterface entries(NewDevice(GetParam()), other);
  Path path = OwnPath(GetParam());
  CHAR16* name = nullptr;
  EXPECT_EQ(AskThrough(NewEntry(GetParam()), entries.Interface(), path, &name, nullptr),
            EFI_SUCCESS);
}

// --- The device path ---

TEST_P(EveryDeviceEntry, KnowsItsOwnDevicePathAlone) {
  ZVEP_PROTOCOL* entry = NewEntry(GetParam());
  const Path own = OwnPath(GetParam());
  EXPECT_EQ(StatusFor(entry, own), EFI_SUCCESS);
  const size_t blocks = NewBlocks().size();
  std::vector<size_t> positions = {kType, kSubType, kData, kData + 1};
  for (size_t i = 0; i < 16; ++i) {
    positions.push_back(kGuid + i);
  }
  for (size_t position : positions) {
    Path path = own;
    path[position] ^= 0x01;
    EXPECT_EQ(StatusFor(entry, path), EFI_UNSUPPORTED) << "byte " << position;
    path[position] = own[position] ^ 0x80;
    EXPECT_EQ(StatusFor(entry, path), EFI_UNSUPPORTED) << "byte " << position;
  }
  EXPECT_EQ(NewBlocks().size(), blocks);
  EXPECT_THAT(TakeLog(), testing::Each(testing::StartsWith("MakeCPUZVEP: ")));
}

TEST_F(DeviceEntry, OfAModuleComparesAllSixBytesOfItsThreeCharacters) {
  ZVEP_PROTOCOL* entry = NewEntry(kDimm);
  for (size_t i = 1; i < 7; ++i) {
    Path path = OwnPath(kDimm);
    path[kData + i] ^= 0x04;
    EXPECT_EQ(StatusFor(entry, path), EFI_UNSUPPORTED) << "data byte " << i;
  }
}

TEST_F(DeviceEntry, OfAProcessorOrTheSystemComparesNothingBehindTheInstance) {
  for (const Kind& kind : {kCpu, kSystem}) {
    Path path = OwnPath(kind);
    std::fill(path.begin() + kData + 2, path.end(), 0xFF);
    EXPECT_EQ(StatusFor(NewEntry(kind), path), EFI_SUCCESS) << kind.name;
  }
}

// A device path is what some caller hands over. Its node may be shorter than one of ours: nothing behind it is read.
TEST_P(EveryDeviceEntry, RefusesANodeThatIsTooShort) {
  ZVEP_PROTOCOL* entry = NewEntry(GetParam());
  for (UINT16 length : std::initializer_list<UINT16>{4, 5, 19, 20, 21}) {
    host::LowMapping memory = host::MapBelow4G(length, host::Guard::kBehind);
    Path path = OwnPath(GetParam());
    path[kLength] = static_cast<UINT8>(length);
    std::copy(path.begin(), path.begin() + length, memory.Data());
    CHAR16* name = nullptr;
    EXPECT_EQ(
        entry->GetDeviceName(entry, reinterpret_cast<EFI_DEVICE_PATH_PROTOCOL*>(memory.Data()),
                             mLanguage, &name, nullptr),
        EFI_UNSUPPORTED)
        << "length " << length;
  }
}

TEST_F(DeviceEntry, OfAProcessorOrTheSystemNeedsNoMoreOfANodeThanItsInstance) {
  for (const Kind& kind : {kCpu, kSystem}) {
    ZVEP_PROTOCOL* entry = NewEntry(kind);
    for (UINT8 length = kData + 2; length <= kNodeSize; ++length) {
      host::LowMapping memory = host::MapBelow4G(length, host::Guard::kBehind);
      Path path = OwnPath(kind);
      path[kLength] = length;
      std::copy(path.begin(), path.begin() + length, memory.Data());
      CHAR16* name = nullptr;
      EXPECT_EQ(
          entry->GetDeviceName(entry, reinterpret_cast<EFI_DEVICE_PATH_PROTOCOL*>(memory.Data()),
                               mLanguage, &name, nullptr),
          EFI_SUCCESS)
          << kind.name << ", length " << int{length};
    }
  }
}

TEST_F(DeviceEntry, OfAModuleRefusesANodeWithoutAllThreeCharacters) {
  ZVEP_PROTOCOL* entry = NewEntry(kDimm);
  for (UINT8 length = 22; length < kNodeSize; ++length) {
    Path path = OwnPath(kDimm);
    path[kLength] = length;
    EXPECT_EQ(StatusFor(entry, path), EFI_UNSUPPORTED) << "length " << int{length};
  }
}

// As long as the high byte of its length alone says: 256 bytes.
TEST_P(EveryDeviceEntry, TakesALongNode) {
  ZVEP_PROTOCOL* entry = NewEntry(GetParam());
  const Path own = OwnPath(GetParam());
  alignas(8) UINT8 memory[0x100 + 4] = {};
  std::copy(own.begin(), own.begin() + kNodeSize, memory);
  memory[kLength] = 0;
  memory[kLength + 1] = 1;
  CHAR16* name = nullptr;
  EXPECT_EQ(entry->GetDeviceName(entry, reinterpret_cast<EFI_DEVICE_PATH_PROTOCOL*>(memory),
                                 mLanguage, &name, nullptr),
            EFI_SUCCESS);
}

TEST_P(EveryDeviceEntry, ReadsADevicePathAtAnyAddress) {
  ZVEP_PROTOCOL* entry = NewEntry(GetParam());
  const Path own = OwnPath(GetParam());
  for (size_t shift = 0; shift < 8; ++shift) {
    alignas(8) UINT8 memory[40] = {};
    std::copy(own.begin(), own.end(), memory + shift);
    CHAR16* name = nullptr;
    EXPECT_EQ(
        entry->GetDeviceName(entry, reinterpret_cast<EFI_DEVICE_PATH_PROTOCOL*>(memory + shift),
                             mLanguage, &name, nullptr),
        EFI_SUCCESS);
  }
}

TEST_P(EveryDeviceEntry, RefusesTheEndOfAPath) {
  EXPECT_EQ(StatusFor(NewEntry(GetParam()), {0x7F, 0xFF, 4, 0}), EFI_UNSUPPORTED);
}

TEST_P(EveryDeviceEntry, RefusesThePathsOfOtherKinds) {
  for (const Kind& other : {kCpu, kDimm, kSystem}) {
    const bool same = other.deviceType == GetParam().deviceType;
    EXPECT_EQ(StatusFor(NewEntry(GetParam()), OwnPath(other)),
              same ? EFI_SUCCESS : EFI_UNSUPPORTED);
  }
}

TEST_F(DeviceEntry, OfAProcessorRefusesThePathOfAnotherSocket) {
  EXPECT_EQ(StatusFor(NewCpu(2), PathWith({2, 1})), EFI_UNSUPPORTED);
}

// --- Names ---

// The print size keeps six characters.
TEST_F(DeviceEntry, OfAProcessorIsNamedAfterItsSocket) {
  const std::pair<UINT8, const char*> names[] = {
      {0, "CPU 0|CPU.Socket.0"},    {2, "CPU 2|CPU.Socket.2"},    {9, "CPU 9|CPU.Socket.9"},
      {10, "CPU 10|CPU.Socket.A"},  {99, "CPU 99|CPU.Socket.63"}, {100, "CPU 10|CPU.Socket.64"},
      {255, "CPU 25|CPU.Socket.FF"}};
  for (const auto& [socket, expected] : names) {
    EXPECT_EQ(NamesOf(NewCpu(socket), PathWith({2, socket})), expected);
  }
}

TEST_F(DeviceEntry, OfAModuleIsNamedAfterItsThreeCharacters) {
  EXPECT_EQ(NamesOf(NewDimm(Wide(u"A12")), ModulePath('A', '1', '2')), "DIMM A12|DIMM.Socket.A12");
  EXPECT_EQ(NamesOf(NewDimm(Wide(u"A1")), ModulePath('A', '1', 0)), "DIMM A1|DIMM.Socket.A1");
  EXPECT_EQ(NamesOf(NewDimm(Wide(u"\u00C4\uFFE9x")), ModulePath(0xC4, 0xFFE9, 'x')),
            "DIMM \u00C4\uFFE9x|DIMM.Socket.\u00C4\uFFE9x");
}

TEST_F(DeviceEntry, OfAModuleTakesOnlyThreeCharactersOfALongerLocator) {
  EXPECT_EQ(NamesOf(NewDimm(Wide(u"ABCDEF")), ModulePath('A', 'B', 'C')),
            "DIMM ABC|DIMM.Socket.ABC");
}

TEST_F(DeviceEntry, OfAModuleWithoutALocatorAnswersForItsZeroCharacters) {
  for (CHAR16* locator : {static_cast<CHAR16*>(nullptr), Wide(u"")}) {
    EXPECT_EQ(NamesOf(NewDimm(locator), ModulePath(0, 0, 0)), "DIMM |DIMM.Socket.");
  }
  EXPECT_EQ(StatusFor(NewDimm(Wide(u"")), ModulePath('A', 0, 0)), EFI_UNSUPPORTED);
}

// The print size keeps six characters, so the number is never there.
TEST_F(DeviceEntry, OfTheSystemIsNamedSystem) {
  EXPECT_EQ(NamesOf(NewSystem(1), PathWith({4, 1})), "SYSTEM|System.Embedded.1");
  EXPECT_EQ(NamesOf(NewSystem(255), PathWith({4, 255})), "SYSTEM|System.Embedded.FF");
}

TEST_F(DeviceEntry, TakesTheFqddOfTheRecordWhole) {
  EXPECT_EQ(NamesOf(NewCpu(2, Wide(u"CPU.Slot.7-B")), PathWith({2, 2})), "CPU 2|CPU.Slot.7-B");
  EXPECT_EQ(NamesOf(NewDimm(Wide(u"A12"), Wide(u"Mem.7")), ModulePath('A', '1', '2')),
            "DIMM A12|Mem.7");
}

TEST_F(DeviceEntry, KeepsFifteenCharactersOfTheRecordsFqdd) {
  EXPECT_EQ(NamesOf(NewCpu(2, Wide(u"123456789012345")), PathWith({2, 2})),
            "CPU 2|123456789012345");
  EXPECT_EQ(NamesOf(NewCpu(2, Wide(u"1234567890123456789")), PathWith({2, 2})),
            "CPU 2|123456789012345");
  EXPECT_EQ(NamesOf(NewDimm(Wide(u"A12"), Wide(u"1234567890123456789")), ModulePath('A', '1', '2')),
            "DIMM A12|123456789012345");
}

TEST_F(DeviceEntry, PrintsTheRecordsFqddAsTextAndNotAsAFormat) {
  EXPECT_EQ(NamesOf(NewCpu(2, Wide(u"%d%s%%\n")), PathWith({2, 2})), "CPU 2|%d%s%%\n");
}

TEST_F(DeviceEntry, TakesAnEmptyFqddOfTheRecordAsItIs) {
  EXPECT_EQ(NamesOf(NewCpu(2, Wide(u"")), PathWith({2, 2})), "CPU 2|");
  EXPECT_EQ(NamesOf(NewDimm(Wide(u"A12"), Wide(u"")), ModulePath('A', '1', '2')), "DIMM A12|");
}

// --- Memory ---

TEST_P(EveryDeviceEntry, HandsOutNewTextsThatTheCallerFrees) {
  ZVEP_PROTOCOL* entry = NewEntry(GetParam());
  for (int call = 0; call < 2; ++call) {
    CHAR16* name = nullptr;
    CHAR16* fqdd = nullptr;
    ASSERT_EQ(Ask(entry, OwnPath(GetParam()), &name, &fqdd), EFI_SUCCESS);
    EXPECT_THAT(NewBlockSizes(), ElementsAre(182, 30, GetParam().fqddSize));
    EXPECT_EQ(Memory().Find(name)->type, EfiBootServicesData);
    EXPECT_EQ(Firmware().BootServices()->FreePool(name), EFI_SUCCESS);
    EXPECT_EQ(Firmware().BootServices()->FreePool(fqdd), EFI_SUCCESS);
  }
}

TEST_P(EveryDeviceEntry, AllocatesNoFqddThatNobodyAskedFor) {
  ZVEP_PROTOCOL* entry = NewEntry(GetParam());
  CHAR16* name = nullptr;
  ASSERT_EQ(Ask(entry, OwnPath(GetParam()), &name, nullptr), EFI_SUCCESS);
  EXPECT_EQ(Utf8(name), GetParam().deviceName);
  EXPECT_THAT(NewBlockSizes(), ElementsAre(182, 30));
}

TEST_P(EveryDeviceEntry, ReturnsNothingWithoutMemory) {
  ZVEP_PROTOCOL* entry = NewEntry(GetParam());
  for (uint64_t n : {1, 2}) {
    FailAllocation(n);
    EXPECT_EQ(StatusFor(entry, OwnPath(GetParam())), EFI_OUT_OF_RESOURCES);
    EXPECT_THAT(NewBlockSizes(), ElementsAre(182)) << "allocation " << n;
  }
}

}  // namespace
}  // namespace tvq::test

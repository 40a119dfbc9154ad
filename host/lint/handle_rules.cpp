/*
 * Rules about handles, and fields that refer to other structures.
 *
 * SPDX-License-Identifier: BSD-2-Clause-Patent
 */
#include <fmt/format.h>

#include <algorithm>

#include "host/lint/families.h"
#include "host/table/layout.h"
#include "host/lint/smbios.h"

namespace tvq::lint {
namespace {

// Handles above are reserved (SMBIOS 6.1.2).
constexpr std::uint16_t kLastHandle = 0xFEFF;

void CheckRepeated(const Subject& subject, Report& report) {
  for (const Structure& structure : subject.Structures()) {
    const Structure* first = subject.FindHandle(structure.Handle());
    if (first != &structure) {
      report.At(
          structure,
          fmt::format("the structure at 0x{:X} has this handle already (type {}): look-ups by "
                      "handle find that one, and slot queries go back to it and never come "
                      "here",
                      subject.Base() + first->Offset(), first->Type()),
          "give each structure a handle of its own");
    }
  }
}

void CheckReserved(const Subject& subject, Report& report) {
  const std::size_t seen = subject.Seen().size();
  for (std::size_t i = 0; i < subject.Structures().size(); ++i) {
    const Structure& structure = subject.Structures()[i];
    if (structure.Handle() != kNoHandle || i > seen) {
      continue;
    }
    report.At(structure,
              i == seen ? fmt::format("the handle FFFFh stands for no further structure: the table "
                                      "ends here for the driver, which does not come to this one "
                                      "and {} behind it",
                                      subject.Structures().size() - i - 1)
                        : std::string("the handle FFFFh stands for no structure: nothing can refer "
                                      "to this one"),
              "use handles up to FEFFh");
  }
}

void CheckRange(const Subject& subject, Report& report) {
  for (const Structure& structure : subject.Structures()) {
    if (structure.Handle() > kLastHandle && structure.Handle() != kNoHandle) {
      report.At(structure, "handles above FEFFh are reserved", "use handles up to FEFFh");
    }
  }
}

// A field that refers to another structure.
struct Reference {
  smbios::Field<std::uint16_t> field;
  std::uint8_t target;
  std::uint8_t otherTarget;  // the same where there is none
  std::uint16_t none;        // what stands for no structure, beside FFFFh
};

// What errors of memory refer to.
constexpr std::uint8_t kError32 = SMBIOS_TYPE_32BIT_MEMORY_ERROR_INFORMATION;
constexpr std::uint8_t kError64 = SMBIOS_TYPE_64BIT_MEMORY_ERROR_INFORMATION;
constexpr std::uint16_t kNoErrorInformation = 0xFFFE;

constexpr std::uint8_t kArrayAddress = SMBIOS_TYPE_MEMORY_ARRAY_MAPPED_ADDRESS;
constexpr std::uint8_t kVoltageProbe = SMBIOS_TYPE_VOLTAGE_PROBE;
constexpr std::uint8_t kCoolingDevice = SMBIOS_TYPE_COOLING_DEVICE;
constexpr std::uint8_t kCurrentProbe = SMBIOS_TYPE_ELECTRICAL_CURRENT_PROBE;

constexpr Reference kReferences[] = {
    {SMBIOS_FIELD(2, ChassisHandle), kChassis, kChassis, kNoHandle},
    {SMBIOS_FIELD(4, L1CacheHandle), kCache, kCache, kNoHandle},
    {SMBIOS_FIELD(4, L2CacheHandle), kCache, kCache, kNoHandle},
    {SMBIOS_FIELD(4, L3CacheHandle), kCache, kCache, kNoHandle},
    {SMBIOS_FIELD(16, MemoryErrorInformationHandle), kError32, kError64, kNoErrorInformation},
    {SMBIOS_FIELD(17, MemoryArrayHandle), kMemoryArray, kMemoryArray, kNoHandle},
    {SMBIOS_FIELD(17, MemoryErrorInformationHandle), kError32, kError64, kNoErrorInformation},
    {SMBIOS_FIELD(19, MemoryArrayHandle), kMemoryArray, kMemoryArray, kNoHandle},
    {SMBIOS_FIELD(20, MemoryDeviceHandle), kMemoryDevice, kMemoryDevice, kNoHandle},
    {SMBIOS_FIELD(20, MemoryArrayMappedAddressHandle), kArrayAddress, kArrayAddress, kNoHandle},
    {SMBIOS_FIELD(39, InputVoltageProbeHandle), kVoltageProbe, kVoltageProbe, kNoHandle},
    {SMBIOS_FIELD(39, CoolingDeviceHandle), kCoolingDevice, kCoolingDevice, kNoHandle},
    {SMBIOS_FIELD(39, InputCurrentProbeHandle), kCurrentProbe, kCurrentProbe, kNoHandle},
};

// Calls visit(structure, reference, handle) for each field that refers to a structure.
template <typename Visit>
void ForEachReference(const Subject& subject, Visit visit) {
  for (const Structure& structure : subject.Structures()) {
    for (const Reference& reference : kReferences) {
      if (reference.field.Type != structure.Type()) {
        continue;
      }
      const std::uint16_t handle = structure.GetHandle(reference.field);
      if (handle != kNoHandle && handle != reference.none) {
        visit(structure, reference, handle);
      }
    }
  }
}

void CheckMissing(const Subject& subject, Report& report) {
  ForEachReference(subject, [&](const Structure& structure, const Reference& reference,
                                std::uint16_t handle) {
    if (subject.FindHandle(handle) == nullptr) {
      report.At(structure,
                fmt::format("{} is {}, which no structure has", FieldName(reference.field),
                            HandleName(handle)),
                fmt::format("name a structure of type {}, or FFFFh for none", reference.target));
    }
  });
}

void CheckType(const Subject& subject, Report& report) {
  ForEachReference(subject, [&](const Structure& structure, const Reference& reference,
                                std::uint16_t handle) {
    const Structure* target = subject.FindHandle(handle);
    if (target != nullptr && target->Type() != reference.target &&
        target->Type() != reference.otherTarget) {
      report.At(structure,
                fmt::format("{} is {}, and that is of type {}", FieldName(reference.field),
                            HandleName(handle), target->Type()),
                fmt::format("name a structure of type {}, or FFFFh for none", reference.target));
    }
  });
}

constexpr Rule kRules[] = {
    {"handle-repeated", Severity::kError, kBoth, "Two structures have the same handle.",
     "The first structure with a handle wins every look-up: two devices with one handle get one "
     "FQDD and one extension between them. A slot query goes from handle to handle, so at the "
     "second structure it goes back to the first, and round and round: it never comes to what lies "
     "behind.",
     "Give each structure a handle of its own.",
     "[oem-strings 0x0B00]\nstring = \"one\"\n[oem-strings 0x0B00]\nstring = \"two\"\n",
     CheckRepeated},
    {"handle-reserved", Severity::kError, kBoth, "A structure has the handle FFFFh.",
     "FFFFh says that no structure follows: the driver does not come to a structure with this "
     "handle, nor to any behind it. Only as the very first structure it is seen.",
     "Use handles up to FEFFh.",
     "[oem-strings 0xFFFF]\nstring = \"the driver stops here\"\n[end 0x0A00]\n", CheckReserved},
    {"handle-range", Severity::kWarning, kTable, "A structure has a reserved handle.",
     "Since version 2.1 of the standard, handles above FEFFh are reserved.",
     "Use handles up to FEFFh.", "[oem-strings 0xFF00]\nstring = \"reserved\"\n[end 0x0A00]\n",
     CheckRange},
    {"reference-missing", Severity::kError, kTable,
     "A field refers to a structure that is not there.",
     "Fields such as the memory array of a memory device hold the handle of another structure. "
     "Readers that follow one that is not there show nothing, or fail.",
     "Name the structure, or FFFFh for none.",
     "[memory-device like @dimm1]\nlocator = \"A2\"\nserial = \"7A2C0002\"\narray = 0x0DEA\n",
     CheckMissing},
    {"reference-type", Severity::kError, kTable,
     "A field refers to a structure of another type than it should.",
     "The standard says for each field of what type the structure is that it refers to.",
     "Name a structure of the right type, or FFFFh for none.",
     "[memory-device like @dimm1]\nlocator = \"A2\"\nserial = \"7A2C0002\"\narray = @cpu1\n",
     CheckType},
};

}  // namespace

Rules HandleRules() {
  return kRules;
}

}  // namespace tvq::lint

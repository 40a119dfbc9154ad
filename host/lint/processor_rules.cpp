/*
 * Rules about processors: their sockets, caches and high-bandwidth memory.
 *
 * SPDX-License-Identifier: BSD-2-Clause-Patent
 */
#include <fmt/format.h>

#include <map>

#include "host/lint/devices.h"
#include "host/lint/families.h"
#include "host/lint/smbios.h"

namespace tvq::lint {
namespace {

// From this position in the table on, the pattern for the stacks of a processor loses their number.
constexpr std::size_t kHbmProcessors = 10;
constexpr std::size_t kPatternLength = 11;

// The name has room for six characters.
std::string Consequence(std::uint8_t number) {
  constexpr std::size_t kRoom = 6;
  return fmt::format("the driver takes it for socket {} and names it \"{}\"", number,
                     fmt::format("CPU {}", number).substr(0, kRoom));
}

void CheckSocketDigit(const Subject& subject, Report& report) {
  for (const Structure* cpu : subject.Processors()) {
    const auto designation = cpu->Text(SMBIOS_FIELD(4, Socket));
    if (!designation) {
      report.At(*cpu, "the processor has no socket designation: " + Consequence(0),
                "name the socket, with its number as the fourth character: \"CPU1\"");
      continue;
    }
    const std::uint8_t number = devices::SocketNumber(*cpu);
    const bool isLongEnough = designation->size() > devices::kSocketDigit;
    if (isLongEnough && number <= 9) {
      continue;
    }
    report.At(*cpu,
              fmt::format("socket designation {} {}: {}", Quote(*designation),
                          isLongEnough
                              ? "has no digit as its fourth character"
                              : "is shorter than four characters, so that the byte behind counts",
                          Consequence(number)),
              "name the socket with its number as the fourth character: \"CPU1\"");
  }
}

void CheckSocketClash(const Subject& subject, Report& report) {
  std::map<std::uint8_t, const Structure*> owners;
  bool isFirst = true;
  for (std::size_t i = 0; i < subject.Processors().size(); ++i) {
    const Structure& cpu = *subject.Processors()[i];
    const std::uint8_t number = devices::SocketNumber(cpu);
    const auto [owner, isNew] = owners.emplace(number, &cpu);
    if (isNew) {
      continue;
    }
    const std::size_t after = subject.Processors().size() - i - 1;
    const std::string lost =
        isFirst ? LostRecords("processors", after) : "the same device path again";
    isFirst = false;
    report.At(cpu,
              fmt::format("socket designation {} gives socket {}, as {} does: {}",
                          Quote(cpu.TextOrEmpty(SMBIOS_FIELD(4, Socket))), number,
                          HandleName(owner->second->Handle()), lost),
              "give each socket a fourth character of its own: \"CPU1\", \"CPU2\"");
  }
}

void CheckCoreCount(const Subject& subject, Report& report) {
  for (const Structure* cpu : subject.Processors()) {
    if (cpu->Get(SMBIOS_FIELD(4, CoreCount)) == 0xFF) {
      report.At(*cpu,
                "the core count is FFh, and the driver does not read core count 2: the inventory "
                "says 255 cores",
                "nothing can be done in the table; an agent has to know");
    }
  }
}

constexpr smbios::Field<std::uint16_t> kCacheHandles[] = {
    SMBIOS_FIELD(4, L1CacheHandle), SMBIOS_FIELD(4, L2CacheHandle), SMBIOS_FIELD(4, L3CacheHandle)};

void CheckCaches(const Subject& subject, Report& report) {
  const auto caches = subject.SeenOfType(kCache);
  for (const Structure* cpu : subject.Processors()) {
    unsigned level = 0;
    for (const auto& field : kCacheHandles) {
      ++level;
      const std::uint16_t handle = cpu->GetHandle(field);
      const bool isThere = std::any_of(caches.begin(), caches.end(), [&](const Structure* cache) {
        return cache->Handle() == handle;
      });
      if (handle != kNoHandle && !isThere) {
        report.At(*cpu,
                  fmt::format("{} of the level {} cache is that of no cache: the document says "
                              "nothing about this level",
                              HandleName(handle), level),
                  "name a structure of type 7, or FFFFh for no cache");
      }
    }
  }
}

void CheckHbmSockets(const Subject& subject, Report& report) {
  const auto devices = subject.SeenOfType(kMemoryDevice);
  if (std::none_of(devices.begin(), devices.end(), [](const Structure* device) {
        return devices::KindOf(*device) == devices::Kind::kHbm;
      })) {
    return;
  }
  const auto processors = subject.SeenOfType(kProcessor);
  for (std::size_t i = kHbmProcessors; i < processors.size(); ++i) {
    if (devices::KindOf(*processors[i]) == devices::Kind::kProcessor) {
      report.At(*processors[i],
                fmt::format("it is processor {} of a table with HBM, counted from 0: the driver "
                            "looks for {} without the number of the stack, and takes the first "
                            "stack four times",
                            i, Quote(fmt::format("CPU{}_HBMIO", i).substr(0, kPatternLength))),
                "list processors with HBM among the first ten of type 4");
    }
  }
}

constexpr Rule kRules[] = {
    {"socket-digit", Severity::kWarning, kDriver,
     "The fourth character of a socket designation is no digit.",
     "The driver subtracts the code of '0' from the fourth character of the socket designation, "
     "whatever it is, and has the socket number of the processor: it stands in the device path, in "
     "the name, and in the FQDD \"CPU.Socket.N\" where type 225 has none. 'A' gives 17. With fewer "
     "than four characters, what follows in the table counts, the terminator first.",
     "Use designations such as \"CPU1\", with the number as the fourth character.",
     "[processor like @cpu1]\nsocket = \"CPUA\"  # socket 17\n", CheckSocketDigit},
    {"socket-clash", Severity::kError, kDriver,
     "Two populated sockets give the same socket number.",
     "The socket number is all that tells the device paths of two processors apart, and the "
     "firmware refuses a second handle with an equal path (Already started). The driver ends "
     "building processors there: this one and all behind it get no record. Modules and the system "
     "follow as usual.",
     "Give each socket a fourth character of its own. Commands do so in a copy of the table, "
     "unless `--as-is` is given.",
     "[processor like @cpu1]\nsocket = \"CPU1 of board 2\"\n", CheckSocketClash},
    {"core-count", Severity::kNote, kDriver, "A processor has more cores than a byte can say.",
     "The core count at 23h is FFh then, and the number stands at 2Ah. The driver reads the byte "
     "alone: the document says 255, and replacing such a processor by one of another core count is "
     "told by its name only.",
     "Nothing can be done in the table; an agent has to know.",
     "[processor like @cpu1]\nsocket      = \"CPU2\"\ncore-count  = 255\ncore-count2 = 288\n",
     CheckCoreCount},
    {"cache-missing", Severity::kWarning, kDriver,
     "A cache handle of a processor is that of no cache.",
     "The driver looks the handles at 1Ah, 1Ch and 1Eh up among the structures of type 7. One that "
     "is not there, and is not FFFFh, is logged (\"Failed to get L1 Cache Information\"), and the "
     "document has no CacheData for the level.",
     "Name the structure of the cache, or FFFFh where there is none.",
     "[processor like @cpu1]\nsocket   = \"CPU2\"\nl2-cache = 0x0DEA\n", CheckCaches},
    {"hbm-sockets", Severity::kWarning, kDriver,
     "A table with high-bandwidth memory has more than ten sockets.",
     "The driver finds the stacks of a processor by \"CPUn_HBMIOk\" in their locators, n being the "
     "position of the processor among all of type 4, from 0, and cuts this text to 11 characters. "
     "From n = 10 on the number of the stack is cut off, and all four look-ups find the first "
     "stack.",
     "List the processors with HBM first.",
     R"([memory-device like @dimm1]
locator     = "CPU0_HBMIO0"
memory-type = 0x20
[processor @cpu-b like @cpu1]
socket = "CPU2"
status = 0
[processor like @cpu-b]
[processor like @cpu-b]
[processor like @cpu-b]
[processor like @cpu-b]
[processor like @cpu-b]
[processor like @cpu-b]
[processor like @cpu-b]
[processor like @cpu-b]
[processor like @cpu-b]  # the eleventh
status = 0x41
)",
     CheckHbmSockets},
};

}  // namespace

Rules ProcessorRules() {
  return kRules;
}

}  // namespace tvq::lint

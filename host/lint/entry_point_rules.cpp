/*
 * Rules about the entry point.
 *
 * SPDX-License-Identifier: BSD-2-Clause-Patent
 */
#include <fmt/format.h>

#include "host/lint/families.h"

namespace tvq::lint {
namespace {

using table::EntryPoint;

using smbios::EntryPointDefect;

// The most that a 32-bit entry point can say.
constexpr std::size_t kLargestTable = 0xFFFF;

bool Is32Bit(const Subject& subject) {
  return subject.EntryPoint().kind == EntryPoint::k32Bit;
}
bool Is64Bit(const Subject& subject) {
  return subject.EntryPoint().kind == EntryPoint::k64Bit;
}

const smbios::EntryPoint& Values(const Subject& subject) {
  return subject.EntryPoint().values;
}
smbios::EntryPointLayout Layout(const Subject& subject) {
  return smbios::LayoutOf(Values(subject).Kind);
}

void CheckNo32Bit(const Subject& subject, Report& report) {
  if (Is64Bit(subject)) {
    report.AtEntryPoint(0,
                        "the entry point is the 64-bit one: unless the firmware publishes a 32-bit "
                        "one as well, which a capture does not show, the driver's start ends with "
                        "Not Found",
                        "publish the 32-bit entry point too, with the table below 4 GiB");
  }
}

void CheckTooLong(const Subject& subject, Report& report) {
  if (subject.Table().size() > kLargestTable) {
    report.OnTable(fmt::format("the table has {} bytes, and a 32-bit entry point can state no more "
                               "than {}: the driver does not come to the rest",
                               subject.Table().size(), kLargestTable),
                   "remove structures that nobody needs");
  }
}

void CheckChecksum(const Subject& subject, Report& report) {
  if (Values(subject).Has(EntryPointDefect::kIntermediateChecksum)) {
    report.AtEntryPoint(Layout(subject).IntermediateChecksum,
                        "the bytes of the intermediate entry point do not add up to 0: readers "
                        "take it for no entry point",
                        "compute the checksum last");
  } else if (Values(subject).Has(EntryPointDefect::kChecksum)) {
    report.AtEntryPoint(Layout(subject).Checksum,
                        "the bytes of the entry point do not add up to 0: readers take it for no "
                        "entry point",
                        "compute the checksum last");
  }
}

void CheckAnchor(const Subject& subject, Report& report) {
  if (Values(subject).Has(EntryPointDefect::kIntermediateAnchor)) {
    report.AtEntryPoint(
        Layout(subject).IntermediateAnchor,
        "the intermediate anchor \"_DMI_\" is missing: readers take it for no entry "
        "point",
        "write \"_DMI_\" at 10h");
  }
}

void CheckLength(const Subject& subject, Report& report) {
  if (Values(subject).Has(EntryPointDefect::kLength)) {
    report.AtEntryPoint(Layout(subject).Length,
                        fmt::format("the entry point says that it has {:02X}h bytes, not {:02X}h",
                                    Values(subject).Length, Layout(subject).Size),
                        "correct the length, then the checksum");
  }
}

void CheckTableLength(const Subject& subject, Report& report) {
  const std::size_t stated = Values(subject).TableLength;
  const std::size_t held = subject.Table().size();
  const bool isMaximum = Is64Bit(subject) && !subject.Structures().empty() &&
                         subject.Structures().back().IsWellFormed();
  if (Values(subject) && stated > held && !isMaximum) {
    report.AtEntryPoint(Layout(subject).TableLength,
                        fmt::format("the entry point says that the table has {} bytes, and there "
                                    "are {}: what is missing is not examined, and in firmware the "
                                    "driver reads what lies behind the table",
                                    stated, held),
                        "state the length that the structures have, or capture the table again");
  }
}

void CheckCount(const Subject& subject, Report& report) {
  const auto stated = subject.EntryPoint().statedCount;
  const std::size_t counted = subject.Structures().size();
  if (stated && *stated != counted) {
    report.AtEntryPoint(
        Layout(subject).StructureCount,
        fmt::format("the entry point says that there are {}, and there are {}: {}",
                    Counted(*stated, "structure"), counted,
                    *stated < counted ? "slot queries do not come to the last ones"
                                      : "slot queries that find nothing begin again at the first"),
        "state the number of structures, the end of the table included");
  }
}

void CheckLargest(const Subject& subject, Report& report) {
  if (!Is32Bit(subject)) {
    return;
  }
  const std::size_t largest = smbios::Summarize(table::ViewOf(subject.Table())).LargestSize;
  const std::size_t stated = Values(subject).MaximumStructureSize;
  if (stated < largest) {
    report.AtEntryPoint(
        Layout(subject).MaximumStructureSize,
        fmt::format("the entry point says that no structure has more than {} bytes, "
                    "and one has {}: readers with a buffer of the first size cut it",
                    stated, largest),
        "state the size of the largest structure, its strings included");
  }
}

void CheckRevision(const Subject& subject, Report& report) {
  if (!Is32Bit(subject)) {
    return;
  }
  const table::Version version = subject.Version();
  const unsigned revision = Values(subject).Revision;
  const unsigned expected = (version.majorNumber & 0xFu) << 4 | (version.minorNumber & 0xFu);
  if (revision != 0 && revision != expected) {
    report.AtEntryPoint(Layout(subject).Revision,
                        fmt::format("the BCD revision is {:02X}h, and the version {}.{}", revision,
                                    version.majorNumber, version.minorNumber),
                        fmt::format("write {:02X}h, or 0", expected));
  }
}

constexpr Rule kRules[] = {
    {"no-32-bit-entry-point", Severity::kWarning, kDriver, "There is only a 64-bit entry point.",
     "The driver looks for the 32-bit entry point in the configuration table, and never at the "
     "64-bit one: without it the start ends with Not Found. A capture holds one entry point, and "
     "where a firmware has both, tools take the 64-bit one; so look at the firmware itself.",
     "Publish the 32-bit entry point as well. The table then has to lie below 4 GiB.",
     "entry-point = 64\n", CheckNo32Bit},
    {"table-too-long", Severity::kError, kDriver,
     "The table is longer than a 32-bit entry point can say.",
     "The length of the table has 16 bits in the 32-bit entry point, the only one that the driver "
     "looks for.",
     "Remove structures that nobody needs.", "", CheckTooLong},
    {"entry-point-checksum", Severity::kError, kTable, "A checksum of the entry point is wrong.",
     "The bytes of the entry point have to add up to 0, and those of its intermediate part too. "
     "Operating systems that search for the entry point pass one that does not. The driver does "
     "not look.",
     "Compute the intermediate checksum first, then the other.", "[entry-point]\nbytes 0x04 = 00\n",
     CheckChecksum},
    {"entry-point-anchor", Severity::kError, kTable, "The intermediate anchor is missing.",
     "The 32-bit entry point has a second anchor, \"_DMI_\", at 10h. Older readers search for this "
     "one alone.",
     "Write \"_DMI_\" at 10h.", "[entry-point]\nbytes 0x10 = \"_dmi_\"\n", CheckAnchor},
    {"entry-point-length", Severity::kWarning, kTable,
     "The entry point states another length than it has.",
     "The 32-bit entry point has 1Fh bytes, the 64-bit one 18h. Readers compute the checksum over "
     "the stated length; 1Eh is a known mistake of version 2.1.",
     "Correct the length, then the checksum.", "[entry-point]\nbytes 0x05 = 1E\n", CheckLength},
    {"entry-point-table-length", Severity::kError, kBoth,
     "The table is shorter than the entry point says.",
     "In a capture, the rest was not captured. In firmware, the driver and all other readers go on "
     "behind the table, up to the length that is stated.",
     "State the length that the structures have.", "", CheckTableLength},
    {"entry-point-count", Severity::kWarning, kBoth,
     "The entry point states another number of structures than there are.",
     "A slot query of the driver visits as many structures as the entry point says: with too few "
     "it misses slots at the end of the table, with too many it visits structures twice.",
     "State the number of structures, the end of the table included.",
     "[entry-point]\nbytes 0x1C = 03\n", CheckCount},
    {"entry-point-largest", Severity::kWarning, kTable,
     "A structure is larger than the entry point says.",
     "The 32-bit entry point states the size of the largest structure with its strings. Readers "
     "that copy structures into a buffer of this size cut larger ones.",
     "State the size of the largest structure.", "[entry-point]\nbytes 0x08 = 10\n", CheckLargest},
    {"entry-point-revision", Severity::kNote, kTable,
     "The BCD revision and the version do not agree.",
     "The 32-bit entry point says the version twice: in two bytes, and as BCD at 1Eh. Readers "
     "differ in which they believe.",
     "Write the version as BCD, or 0.", "[entry-point]\nbytes 0x1E = 21\n", CheckRevision},
};

}  // namespace

Rules EntryPointRules() {
  return kRules;
}

}  // namespace tvq::lint

/*
 * Rules about the bytes of structures, and how many there are.
 *
 * SPDX-License-Identifier: BSD-2-Clause-Patent
 */
#include <fmt/format.h>

#include "host/lint/families.h"

namespace tvq::lint {
namespace {

using smbios::Defect;

// A slot query counts the structures that it visits in 8 bits.
constexpr std::size_t kSlotQueryLimit = 255;

constexpr char kCapture[] = "check the length of the table, or capture it again";

void CheckLength(const Subject& subject, Report& report) {
  for (const Structure& structure : subject.Structures()) {
    if (structure.Length() < smbios::kHeaderSize) {
      report.At(structure,
                fmt::format("the structure says that it has {}, and a header alone has {}: every "
                            "reader goes on at another byte, or stops",
                            Counted(structure.Length(), "byte"), smbios::kHeaderSize),
                "state the length of the formatted part, header included");
    }
  }
}

// Strings cannot be empty, and are texts: otherwise they begin inside the formatted part.
void CheckDoubtful(const Subject& subject, Report& report) {
  for (const Structure& structure : subject.Structures()) {
    if (!structure.IsWellFormed() || structure.Strings().empty()) {
      continue;
    }
    const std::string_view first = structure.Strings()[0];
    if (first.empty() || static_cast<unsigned char>(first[0]) < ' ') {
      report.At(structure,
                fmt::format("the structure says that it has {:02X}h bytes, and behind them there "
                            "is {}: the length seems to be too small, and string numbers lead to "
                            "other texts than they should",
                            structure.Length(),
                            first.empty() ? "an empty string" : "a string of control characters"),
                "state the length of the formatted part, and leave empty strings out");
    }
  }
}

void CheckCut(const Subject& subject, Report& report) {
  const auto& structures = subject.Structures();
  if (!structures.empty() && structures.back().FindDefect() == Defect::kCutFormatted) {
    report.At(structures.back(),
              fmt::format("the structure has {:02X}h bytes, and the table ends after {:02X}h: its "
                          "last fields and its strings are missing",
                          structures.back().Length(), structures.back().Formatted().Size()),
              kCapture);
  }
  const std::size_t end = structures.empty() ? 0 : structures.back().End();
  if (end < subject.End()) {
    report.AtByte(end,
                  fmt::format("{} behind the last structure: too few for another one",
                              Counted(subject.End() - end, "byte")),
                  kCapture);
  }
}

// A header of zeros has type 0.
void CheckPadding(const Subject& subject, Report& report) {
  const std::size_t padding = subject.Table().size() - subject.End();
  if (padding != 0) {
    report.AtByte(subject.End(),
                  fmt::format("the last {} of the table {} 0, which no structure has: readers stop "
                              "here, and the driver goes on, with structures of type 0",
                              Counted(padding, "byte"), padding == 1 ? "is" : "are"),
                  kCapture);
  }
}

void CheckTerminated(const Subject& subject, Report& report) {
  const auto& structures = subject.Structures();
  if (!structures.empty() && !structures.back().IsComplete() &&
      structures.back().FindDefect() != Defect::kCutFormatted) {
    report.At(structures.back(),
              "the table ends before the two NULs that end the structure: a string that has no end "
              "counts as missing",
              "end each structure with two NULs");
  }
}

void CheckCount(const Subject& subject, Report& report) {
  const std::size_t count = subject.EntryPoint().statedCount.value_or(subject.Structures().size());
  if (count > kSlotQueryLimit) {
    report.OnTable(fmt::format("the table has {} structures: a slot query that finds nothing never "
                               "ends, because its counter of 8 bits never comes so far",
                               count),
                   fmt::format("bring the table down to {} structures, or build the driver with "
                               "PcdTvqBoundedWalks",
                               kSlotQueryLimit));
  }
}

void CheckBehindEnd(const Subject& subject, Report& report) {
  const Structure* end = nullptr;
  for (const Structure& structure : subject.Structures()) {
    if (end != nullptr) {
      report.At(structure,
                fmt::format("the structure lies behind the end of the table, {}: the driver reads "
                            "it, other readers do not",
                            HandleName(end->Handle())),
                "let the structure of type 127 be the last");
    } else if (structure.Type() == smbios::kEndOfTable) {
      end = &structure;
    }
  }
}

constexpr Rule kRules[] = {
    {"structure-length", Severity::kError, kBoth, "A structure is shorter than a header.",
     "The length byte counts the formatted part with its header of 4 bytes. The driver looks for "
     "strings behind the length that is stated, whatever it is, and so begins inside the header; "
     "other readers stop, and do not come to the rest of the table.",
     "State the length of the formatted part.", "[raw]\nbytes 0x00 = 80 02 34 12 00 00\n",
     CheckLength},
    {"structure-length-small", Severity::kWarning, kBoth,
     "The length of a structure seems to be too small.",
     "Strings begin where the formatted part ends. Where the first one is empty, with others "
     "behind it, or begins with a control character, they probably begin earlier than was meant: "
     "each string number then leads to another text, here and in the driver.",
     "State the length of the formatted part. A string that is empty has number 0 instead.",
     "[cache like @l1]\nmaximum-size2   = 0x01010101\ninstalled-size2 = 0x01010101\n"
     "bytes 0x01      = 13  # the strings begin with the last two fields\n",
     CheckDoubtful},
    {"structure-cut", Severity::kError, kBoth, "The last structure is cut by the end of the table.",
     "The driver reads fields that are missing as 0, and strings as none. A structure of type 225 "
     "that is cut spoils the whole FQDD map.",
     "Check the length that the entry point states, or capture the table again.", "", CheckCut},
    {"zero-padding", Severity::kError, kBoth, "The table ends in zeros.",
     "A capture that was cut is often filled up with zeros to its full length. Readers stop there. "
     "The driver takes zeros for structures of type 0 with handle 0: it finds more than one of "
     "that "
     "type, and the system's document says nothing about the firmware.",
     "Capture the table again, or state the length that the structures have.",
     "[end]\n[raw]\nbytes 0x00 = 00 00 00 00 00 00\n", CheckPadding},
    {"structure-unterminated", Severity::kError, kBoth,
     "The strings of the last structure have no end.",
     "The end of the table ends the search for strings: one that has no NUL is missing.",
     "End each structure with two NULs.", "", CheckTerminated},
    {"structure-count", Severity::kError, kDriver, "The table has more than 255 structures.",
     "A query for a PCI slot (the attributes \"SMBIOSPCISlotInfo\" and \"SMBIOSSLOTID\") visits "
     "structures as long as a counter of 8 bits is below the number of structures. With more than "
     "255 it never gets there: a query that finds its slot is answered, one that does not hangs "
     "the boot.",
     "Remove structures, or build the driver with PcdTvqBoundedWalks.", "", CheckCount},
    {"behind-end-of-table", Severity::kWarning, kBoth,
     "There are structures behind the end of the table.",
     "The driver does not stop at type 127, and makes records of devices that operating systems do "
     "not see.",
     "Let the structure of type 127 be the last.",
     "[end]\n[oem-strings]\nstring = \"behind the end\"\n", CheckBehindEnd},
};

}  // namespace

Rules StructureRules() {
  return kRules;
}

}  // namespace tvq::lint

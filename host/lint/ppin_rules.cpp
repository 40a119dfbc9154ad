/*
 * Rules about processor inventory numbers (PPIN) among the OEM strings.
 *
 * SPDX-License-Identifier: BSD-2-Clause-Patent
 */
#include <fmt/format.h>

#include <Library/TvqDeviceLib.h>

#include "host/lint/families.h"
#include "host/lint/smbios.h"

namespace tvq::lint {
namespace {

using devices::kPpinLength;
using devices::kPpinSearchStart;

constexpr std::string_view kTag = devices::kPpinTag;

// The text at a byte of the table, counted from the structure; empty where none ends in the table.
std::string TextAt(const Structure& strings, std::size_t at) {
  return std::string(table::ToView(smbios::TextAt(strings.ToEndOfTable().From(at))));
}

// Where the tags are that the driver finds, from the start of the first structure of OEM strings:
// one for each processor, as long as string follows string with a tag in it.
std::vector<std::size_t> FindTags(const Subject& subject, const Structure& first) {
  std::vector<std::size_t> tags;
  std::size_t at = kPpinSearchStart;
  while (tags.size() < subject.Processors().size()) {
    const std::string text = TextAt(first, at);
    const std::size_t tag = text.find(kTag);
    if (text.empty() || (tag == std::string::npos && !tags.empty())) {
      break;
    }
    if (tag != std::string::npos) {
      tags.push_back(at + tag);
    }
    at += text.size() + 1;
  }
  return tags;
}

std::string ReasonUnread(const Structure& first, const Structure& strings, std::size_t tag) {
  if (&strings != &first) {
    return "only the first structure of OEM strings is searched";
  }
  if (tag < kPpinSearchStart) {
    return fmt::format("it begins at byte {} of the structure, and the search at byte {}", tag,
                       kPpinSearchStart);
  }
  return first.PeekByte(kPpinSearchStart) == 0
             ? fmt::format("a string ends at byte {}, where the search begins", kPpinSearchStart)
             : "the string in front of it has none, and ends the search";
}

void CheckUnread(const Subject& subject, Report& report) {
  const auto oemStrings = subject.SeenOfType(kOemStrings);
  if (oemStrings.empty()) {
    return;
  }
  const std::vector<std::size_t> found = FindTags(subject, *oemStrings[0]);
  if (found.size() == subject.Processors().size()) {
    return;
  }
  for (const Structure* strings : oemStrings) {
    for (const std::string_view text : strings->Strings()) {
      const std::size_t tag = text.find(kTag);
      if (tag == std::string_view::npos) {
        continue;
      }
      const std::size_t at = strings->PositionOf(text) + tag;
      if (strings == oemStrings[0] && std::find(found.begin(), found.end(), at) != found.end()) {
        continue;
      }
      report.At(
          *strings,
          fmt::format("the PPIN in {} is not read: {}. Each processor takes the next one that "
                      "is found, so {} of {} get one",
                      Quote(text), ReasonUnread(*oemStrings[0], *strings, at), found.size(),
                      subject.Processors().size()),
          "let the first structure of type 11 begin with a string of 21 characters or more, "
          "and the PPINs follow one upon the other");
    }
  }
}

void CheckLength(const Subject& subject, Report& report) {
  const auto oemStrings = subject.SeenOfType(kOemStrings);
  if (oemStrings.empty()) {
    return;
  }
  for (const std::size_t tag : FindTags(subject, *oemStrings[0])) {
    const std::string text = TextAt(*oemStrings[0], tag);
    const std::size_t length = std::min(text.find(']'), text.size()) - kTag.size();
    if (length != kPpinLength) {
      const std::string taken = text.substr(0, kTag.size() + kPpinLength);
      report.At(*oemStrings[0],
                fmt::format("the PPIN has {} characters, and the driver takes {} bytes behind "
                            "\"17[\" as they stand: {}",
                            length, kPpinLength, Quote(taken)),
                "write 16 characters between \"17[\" and \"]\"");
    }
  }
}

constexpr Rule kRules[] = {
    {"ppin-unread", Severity::kWarning, kDriver,
     "An OEM string has a PPIN that the driver does not come to.",
     "The driver takes the PPIN of each populated socket from the first structure of OEM strings "
     "(type 11): the 16 characters behind \"17[\". The search begins at byte 25 of the structure, "
     "wherever that falls, while the first string begins at byte 5. It passes strings without "
     "\"17[\" up to the first one that has it; from then on each processor takes the next string, "
     "and the first without \"17[\" ends it for all.",
     "Let the structure begin with a string of 21 characters or more, so that byte 25 is one of "
     "them, and let the PPINs follow in the order of the sockets.",
     "[oem-strings]\nstring = \"17[0123456789ABCDEF]\"  # begins at byte 5\n", CheckUnread},
    {"ppin-length", Severity::kWarning, kDriver, "A PPIN does not have 16 characters.",
     "The driver copies 16 bytes behind \"17[\", whatever they are: of a longer number the rest is "
     "lost, and a shorter one takes the bracket along, and its terminator ends the text.",
     "Write 16 characters between \"17[\" and \"]\".",
     "[oem-strings]\nstring = \"TVQ reference platform\"\nstring = \"17[0123456789]\"\n",
     CheckLength},
};

}  // namespace

Rules PpinRules() {
  return kRules;
}

}  // namespace tvq::lint

/*
 * Rules about the documents that the driver writes, and texts that break them.
 *
 * SPDX-License-Identifier: BSD-2-Clause-Patent
 */
#include <fmt/format.h>

#include "host/lint/devices.h"
#include "host/lint/document_texts.h"
#include "host/lint/families.h"
#include "host/lint/smbios.h"

namespace tvq::lint {
namespace {

// Characters of a processor's name and of a firmware version that the inventory blob keeps.
constexpr std::size_t kBlobNameLength = 63;
// The buffer that the driver writes a document into begins with this size.
constexpr std::size_t kDocumentBuffer = 8192;

// What it means that nobody can read the document of the device. Documents of the system are not
// compared with stored ones.
std::string Unreadable(const DocumentText& text) {
  const std::uint8_t type = text.structure->Type();
  const bool isCompared = type == kProcessor || type == kMemoryDevice || type == kDimmExtension;
  return std::string("no XML parser reads the document") +
         (isCompared ? ", so that Verify fails for the device" : "");
}

// How many bytes the UTF-8 character at `at` has; 0 when there is none.
std::size_t CharacterSize(std::string_view text, std::size_t at) {
  const auto byte = [&](std::size_t i) {
    return i < text.size() ? static_cast<unsigned char>(text[i]) : 0u;
  };
  const unsigned lead = byte(at);
  if (lead < 0x80) {
    return 1;
  }
  const std::size_t size = lead >= 0xF0 ? 4 : lead >= 0xE0 ? 3 : 2;
  if (lead < 0xC2 || lead > 0xF4) {
    return 0;
  }
  for (std::size_t i = 1; i < size; ++i) {
    if ((byte(at + i) & 0xC0) != 0x80) {
      return 0;
    }
  }
  // Longer than need be, half of a surrogate pair, or past the last character.
  const unsigned second = byte(at + 1);
  const bool isOutside = (lead == 0xE0 && second < 0xA0) || (lead == 0xED && second > 0x9F) ||
                         (lead == 0xF0 && second < 0x90) || (lead == 0xF4 && second > 0x8F);
  return isOutside ? 0 : size;
}

bool IsUtf8(std::string_view text) {
  for (std::size_t at = 0; at < text.size();) {
    const std::size_t size = CharacterSize(text, at);
    if (size == 0) {
      return false;
    }
    at += size;
  }
  return true;
}

bool IsAscii(std::string_view text) {
  return std::all_of(text.begin(), text.end(),
                     [](char byte) { return static_cast<unsigned char>(byte) < 0x80; });
}

bool IsControl(char byte) {
  return static_cast<unsigned char>(byte) < 0x20 && byte != '\t' && byte != '\n';
}

std::string Quoted(const DocumentText& text) {
  return fmt::format("{} in {}", Quote(text.kept), text.element);
}

void CheckMarkup(const Subject& subject, Report& report) {
  for (const DocumentText& text : DocumentTexts(subject)) {
    const std::size_t at = std::min(text.kept.find_first_of("&<"), text.kept.find("]]>"));
    if (at != std::string::npos) {
      report.At(
          *text.structure,
          fmt::format("{} has '{}', which is written as it is: {}", Quoted(text),
                      text.kept[at] == ']' ? "]]>" : text.kept.substr(at, 1), Unreadable(text)),
          "leave the character out of the text");
    }
  }
}

void CheckControl(const Subject& subject, Report& report) {
  for (const DocumentText& text : DocumentTexts(subject)) {
    const auto found = std::find_if(text.kept.begin(), text.kept.end(), IsControl);
    if (found != text.kept.end()) {
      report.At(*text.structure,
                fmt::format("{} has the control character {:02X}h: {}", Quoted(text),
                            static_cast<unsigned char>(*found),
                            *found == '\r' ? "XML readers make a line feed of it, and the text no "
                                             "longer is the same"
                                           : Unreadable(text)),
                "leave the character out of the text");
    }
  }
}

void CheckEncoding(const Subject& subject, Report& report) {
  for (const DocumentText& text : DocumentTexts(subject)) {
    if (!IsUtf8(text.kept)) {
      report.At(*text.structure,
                fmt::format("{} is not UTF-8{}: XML parsers that take the document at its word do "
                            "not read it; that of the reference platform reads bytes",
                            Quoted(text),
                            IsUtf8(text.whole) ? " any more, as a character is cut in two" : ""),
                "use ASCII");
    }
  }
}

void CheckAscii(const Subject& subject, Report& report) {
  for (const DocumentText& text : DocumentTexts(subject)) {
    if (IsUtf8(text.kept) && !IsAscii(text.kept)) {
      report.At(*text.structure,
                fmt::format("{} has bytes above 7Fh: the document is read well, while the "
                            "record's 16-bit texts have other characters",
                            Quoted(text)),
                "use ASCII");
    }
  }
}

void CheckCut(const Subject& subject, Report& report) {
  for (const DocumentText& text : DocumentTexts(subject)) {
    const bool isName = text.structure->Type() == kProcessor && text.element == "MarketingName";
    const bool isCutInBlob = isName && text.kept.size() > kBlobNameLength;
    // The other texts that are cut have rules of their own.
    const bool isCut = text.kept.size() == 127 || text.element == "FirmwareVersion";
    if (isCutInBlob || (isCut && text.whole.size() > text.kept.size())) {
      report.At(
          *text.structure,
          fmt::format("the text for {} has {} characters: the {} keeps the first {}", text.element,
                      text.whole.size(), isCutInBlob ? "inventory blob" : "document",
                      isCutInBlob ? kBlobNameLength : text.kept.size()),
          "use a shorter text");
    }
  }
}

const Structure* DeviceOf(const Subject& subject, const Document& document) {
  const std::vector<const Structure*> devices =
      document.type == kProcessor      ? RecordedProcessors(subject)
      : document.type == kMemoryDevice ? RecordedModules(subject)
                                       : subject.SeenOfType(document.type);
  return document.device < devices.size() ? devices[document.device] : nullptr;
}

void CheckSize(const Subject& subject, Report& report) {
  for (const Document& document : subject.Documents()) {
    const Structure* device = DeviceOf(subject, document);
    if (document.size <= kDocumentBuffer || device == nullptr) {
      continue;
    }
    report.At(*device,
              fmt::format("its document has {} bytes, {} more than the buffer of {} bytes that it "
                          "is planned for",
                          document.size, document.size - kDocumentBuffer, kDocumentBuffer),
              device->Type() == kSystem
                  ? "list fewer slots, boards or chassis, or shorten their names"
                  : "shorten the texts of the device");
  }
}

constexpr Rule kRules[] = {
    {"xml-markup", Severity::kError, kDriver,
     "A text of the document has a character that XML reads as markup.",
     "The driver writes texts into the document as they are. '&' begins an entity, '<' an element, "
     "and \"]]>\" may not stand in a text. No XML parser reads such a document: an agent cannot "
     "use it, and Verify fails for a processor or module whose stored document is one.",
     "Leave the character out: \"AT+T\", \"R and D\".",
     "[slot like @slot1]\ndesignation = \"Riser A & B\"\nid = 2\n", CheckMarkup},
    {"xml-control", Severity::kError, kDriver, "A text of the document has a control character.",
     "XML 1.0 has no control characters but tabulator, line feed and carriage return, and readers "
     "turn the last into a line feed. Control characters in strings often are the sign of a "
     "length that lies: the strings then begin inside the formatted part.",
     "Leave the character out of the text, and check the length of the structure.",
     "[memory-device like @dimm1]\nlocator = \"A2\"\nserial  = \"7A2C\\x010002\"\n", CheckControl},
    {"xml-encoding", Severity::kError, kDriver, "A text of the document is not UTF-8.",
     "The document says of itself that it is UTF-8, and the driver copies the bytes of the table. "
     "Bytes above 7Fh in another encoding make it unreadable for whoever takes it at its word, and "
     "so does a character of several bytes that the limit of the element cuts in two. The parser "
     "of "
     "the reference platform reads bytes and gives them back, so that Verify works there.",
     "Use ASCII, as the standard asks.",
     "[memory-device like @dimm1]\nlocator      = \"A2\"\nserial       = \"7A2C0002\"\n"
     "manufacturer = \"M\\xFCller\"\n",
     CheckEncoding},
    {"text-not-ascii", Severity::kWarning, kDriver, "A text has characters beyond ASCII.",
     "UTF-8 arrives in the document as it is. Where the driver widens texts to 16 bits, in its "
     "records and the names of the device list, bytes above 7Fh become characters of their own, "
     "FF80h to FFFFh.",
     "Use ASCII, as the standard asks.",
     "[memory-device like @dimm1]\nlocator      = \"A2\"\nserial       = \"7A2C0002\"\n"
     "manufacturer = \"M\\xC3\\xBCller\"\n",
     CheckAscii},
    {"text-cut", Severity::kNote, kDriver, "A text is cut.",
     "The document keeps 127 characters of a text and 31 of a firmware version, the inventory blob "
     "63 of a processor's name. Serial numbers, locators and FQDDs have rules of their own.",
     "Use shorter texts.",
     "[dimm-extension]\ndevice = @dimm1\n"
     "firmware-version = \"1.0 of the module's controller, 2024-03-18\"\n",
     CheckCut},
    {"document-size", Severity::kWarning, kDriver, "A document has more than 8192 bytes.",
     "The driver writes a document into a buffer of 8192 bytes, and into a larger one when that is "
     "full. Agents that were written for the first size may cut or refuse the document. It is the "
     "system's that grows, with each slot, board, chassis and memory array.",
     "List fewer slots, or shorten their designations.", "", CheckSize},
};

}  // namespace

Rules DocumentRules() {
  return kRules;
}

}  // namespace tvq::lint

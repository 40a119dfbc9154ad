/** @file
  Devices of a snapshot that nothing can be compared with.

  SPDX-License-Identifier: BSD-2-Clause-Patent
**/

#include "holes.h"

#include <Library/TvqBlobLib.h>
#include <Protocol/XmlParser.h>

namespace tvqplatform {

namespace blobs = tvq::blobs;

namespace {

XML_PARSER_PROTOCOL* FindParser() {
  VOID* parser = nullptr;
  return EFI_ERROR(gBS->LocateProtocol(&gXmlParserProtocolGuid, nullptr, &parser))
             ? nullptr
             : static_cast<XML_PARSER_PROTOCOL*>(parser);
}

/// The device's document; no text where it has none with an end.
smbios::Text DocumentOf(const SnapshotDevice& device) {
  blobs::Bytes blob;
  return blobs::FindBlob(device.Blobs, blobs::kConfiguration, 0, blob) == blobs::Search::kFound
             ? blobs::DocumentOf(blob)
             : smbios::Text();
}

bool CanBeRead(XML_PARSER_PROTOCOL* parser, smbios::Text document) {
  XML_INPUT input = {
      XML_INPUT_MEMORY, 0, reinterpret_cast<const CHAR8*>(document.Data()), {nullptr, nullptr}};
  XML_NODE* root = nullptr;
  // Without memory, nothing says that the document is at fault.
  if (parser->Parse(parser, &input, &root) == EFI_OUT_OF_RESOURCES) {
    return true;
  }
  if (root == nullptr) {
    return false;
  }
  parser->Free(parser, root);
  return true;
}

}  // namespace

Hole FindHole(const SnapshotDevice& device) {
  if (device.Why != WhyNoRecord::kHasRecord) {
    return Hole::kNoRecord;
  }
  if (device.Blobs.Empty()) {
    return Hole::kNoBlobs;
  }
  const smbios::Text document = DocumentOf(device);
  if (!document) {
    return Hole::kUnreadable;
  }
  XML_PARSER_PROTOCOL* parser = FindParser();
  return parser == nullptr || CanBeRead(parser, document) ? Hole::kNone : Hole::kUnreadable;
}

UINTN CountHoles(const Snapshot& snapshot) {
  UINTN count = 0;
  for (const SnapshotDevice& device : snapshot.Devices) {
    count += FindHole(device) != Hole::kNone ? 1 : 0;
  }
  return count;
}

const CHAR8* HoleText(Hole hole, WhyNoRecord why) {
  constexpr const CHAR8* kReasons[] = {
      "",
      "no record: a device before it has the same name, as far as the driver reads it",
      "no record: the driver refused it, and its log tells why",
      "no record: the driver ended at a device before it",
      "no record: the table ends before it, for the driver",
      "no record: the driver's start ended without records",
  };
  switch (hole) {
    case Hole::kNoRecord:
      return kReasons[static_cast<UINTN>(why)];
    case Hole::kNoBlobs:
      return "no blobs: there was no memory for them";
    case Hole::kUnreadable:
      return "a document that no parser reads";
    case Hole::kNone:
      break;
  }
  return "";
}

const CHAR8* ReasonText(WhyNoRecord why) {
  const CHAR8* const text = HoleText(Hole::kNoRecord, why);
  return *text == '\0' ? text : text + sizeof("no record: ") - 1;
}

}  // namespace tvqplatform

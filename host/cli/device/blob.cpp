/*
 * The blobs of a device.
 *
 * SPDX-License-Identifier: BSD-2-Clause-Patent
 */
#include "host/cli/device/blob.h"

#include <fmt/format.h>

namespace tvq::cli {
namespace {

constexpr uint32_t kRevision = 1;
constexpr std::size_t kProductIdOffset = 20;
constexpr std::size_t kSlotNumberOffset = 38;
constexpr uint32_t kProductIdFlag = 1u << 0;
constexpr uint32_t kSlotNumberFlag = 1u << 5;

struct Reference {
  const char* field;
  std::size_t offset;  // of the word in the blob
};
constexpr Reference kReferences[] = {
    {"wwnOffset", 46}, {"MktnameOffset", 50}, {"FwVerOffset", 54}, {"CompIDOffset", 58}};

struct Kind {
  uint32_t type;
  uint32_t cookie;
  std::size_t smallest;
  const char* words;
};
constexpr Kind kKinds[] = {
    {kInventoryType, 0x0F9B54CF, kStringAreaOffset + 1, "inventory blob"},
    {kConfigurationType, 0x2C41C4EC, kDocumentOffset + 1, "configuration blob"},
    {kEndType, 0x36912F26, kEndBlobSize, "end blob"}};

const Kind* FindKind(uint32_t type) {
  for (const Kind& kind : kKinds) {
    if (kind.type == type) {
      return &kind;
    }
  }
  return nullptr;
}

uint32_t Number(std::string_view bytes, std::size_t offset, std::size_t size) {
  uint32_t number = 0;
  for (std::size_t i = size; i-- > 0;) {
    number = number << 8 | static_cast<uint8_t>(bytes[offset + i]);
  }
  return number;
}

// The blob at the offset, which leaves room for at least one byte.
Blob BlobAt(std::string_view file, std::size_t offset) {
  const std::string_view rest = file.substr(offset);
  if (rest.size() < kBlobHeaderSize) {
    throw DataError(offset, fmt::format("a blob's header has {} bytes, and {} are left",
                                        kBlobHeaderSize, rest.size()));
  }
  Blob blob = {offset, Number(rest, 0, 4), Number(rest, 4, 4), Number(rest, 8, 4), {}};
  const std::size_t size = Number(rest, 12, 4);
  if (blob.revision != kRevision) {
    throw DataError(offset, fmt::format("no blob begins here: its revision would be {}, not {}",
                                        blob.revision, kRevision));
  }
  const Kind* const kind = FindKind(blob.type);
  if (kind == nullptr) {
    throw DataError(offset + 4, fmt::format("there is no blob of type {}", blob.type));
  }
  if (blob.cookie != kind->cookie) {
    throw DataError(offset + 8,
                    fmt::format("the cookie of a blob of type {} is 0x{:08X}, not 0x{:08X}",
                                blob.type, kind->cookie, blob.cookie));
  }
  if (size < kind->smallest) {
    throw DataError(offset + 12, fmt::format("the {} states {} bytes, and has at least {}",
                                             kind->words, size, kind->smallest));
  }
  if (size > rest.size()) {
    throw DataError(offset + 12, fmt::format("the {} states {} bytes, and {} are left", kind->words,
                                             size, rest.size()));
  }
  blob.bytes = rest.substr(0, size);
  return blob;
}

}  // namespace

const char* Blob::TypeInWords() const {
  return FindKind(type)->words;
}

BlobList SplitBlobs(std::string_view file) {
  BlobList list;
  if (file.empty()) {
    list.error = DataError(0, "the file is empty");
  }
  try {
    for (std::size_t offset = 0; offset < file.size(); offset += list.blobs.back().bytes.size()) {
      list.blobs.push_back(BlobAt(file, offset));
    }
  } catch (const DataError& error) {
    list.error = error;
  }
  return list;
}

InventoryBlob ReadInventoryBlob(const Blob& blob) {
  InventoryBlob inventory;
  inventory.flags = Number(blob.bytes, kBlobHeaderSize, 4);
  inventory.hasProductId = (inventory.flags & kProductIdFlag) != 0;
  inventory.hasSlotNumber = (inventory.flags & kSlotNumberFlag) != 0;
  inventory.productId = Number(blob.bytes, kProductIdOffset, 2);
  inventory.slotNumber = Number(blob.bytes, kSlotNumberOffset, 1);
  const std::string_view area = blob.bytes.substr(kStringAreaOffset);
  for (const Reference& reference : kReferences) {
    const uint32_t word = Number(blob.bytes, reference.offset, 4);
    if ((word & 1) == 0) {
      continue;
    }
    const std::size_t start = word >> 1;
    const std::size_t end = start < area.size() ? area.find('\0', start) : std::string_view::npos;
    if (end == std::string_view::npos) {
      throw DataError(blob.offset + reference.offset,
                      fmt::format("{} leads to byte {} of a string area of {} bytes, where no text "
                                  "ends",
                                  reference.field, start, area.size()));
    }
    inventory.texts.push_back({reference.field, start, area.substr(start, end - start)});
  }
  return inventory;
}

std::string_view ReadConfigurationBlob(const Blob& blob) {
  const std::size_t end = blob.bytes.find('\0', kDocumentOffset);
  if (end == std::string_view::npos) {
    throw DataError(blob.offset + blob.bytes.size(), "the document has no NUL at its end");
  }
  if (end + 1 != blob.bytes.size()) {
    throw DataError(blob.offset + end + 1,
                    fmt::format("{} bytes follow the document's NUL", blob.bytes.size() - end - 1));
  }
  return blob.bytes.substr(kDocumentOffset, end - kDocumentOffset);
}

void CheckEndBlob(const Blob& blob) {
  const std::size_t at = blob.bytes.find_first_not_of('\0', kBlobHeaderSize);
  if (at != std::string_view::npos) {
    throw DataError(blob.offset + at, "an end blob is zero behind its header");
  }
}

}  // namespace tvq::cli

/*
 * The blobs of a device.
 *
 * SPDX-License-Identifier: BSD-2-Clause-Patent
 */
#include "host/cli/device/blob.h"

#include <fmt/format.h>

namespace tvq::cli {
namespace {

blobs::Bytes ViewOf(std::string_view bytes) {
  return {reinterpret_cast<const uint8_t*>(bytes.data()), bytes.size()};
}

std::string_view ToView(blobs::Bytes bytes) {
  return {reinterpret_cast<const char*>(bytes.Data()), bytes.Size()};
}

const char* InWords(uint32_t type) {
  return type == blobs::kInventory       ? "inventory blob"
         : type == blobs::kConfiguration ? "configuration blob"
                                         : "end blob";
}

// What is wrong with the blob at the offset, of which so many bytes are left.
DataError Complaint(const blobs::Blob& blob, std::size_t offset, std::size_t left) {
  switch (blob.Why) {
    case blobs::Defect::kHeader:
      return DataError(offset, fmt::format("a blob's header has {} bytes, and {} are left",
                                           blobs::kHeaderSize, left));
    case blobs::Defect::kRevision:
      return DataError(offset, fmt::format("no blob begins here: its revision would be {}, not {}",
                                           blob.Revision, blobs::kRevision));
    case blobs::Defect::kType:
      return DataError(offset + blobs::kTypeOffset,
                       fmt::format("there is no blob of type {}", blob.Type));
    case blobs::Defect::kCookie:
      return DataError(offset + blobs::kCookieOffset,
                       fmt::format("the cookie of a blob of type {} is 0x{:08X}, not 0x{:08X}",
                                   blob.Type, blobs::FindKind(blob.Type)->Cookie, blob.Cookie));
    case blobs::Defect::kTooSmall:
      return DataError(
          offset + blobs::kSizeOffset,
          fmt::format("the {} states {} bytes, and has at least {}", InWords(blob.Type), blob.Size,
                      blobs::FindKind(blob.Type)->SmallestSize));
    default:
      return DataError(offset + blobs::kSizeOffset,
                       fmt::format("the {} states {} bytes, and {} are left", InWords(blob.Type),
                                   blob.Size, left));
  }
}

// The blob at the offset, which leaves room for at least one byte.
Blob BlobAt(std::string_view file, std::size_t offset) {
  const std::string_view rest = file.substr(offset);
  const blobs::Blob blob = blobs::ReadBlob(ViewOf(rest));
  if (!blob) {
    throw Complaint(blob, offset, rest.size());
  }
  return {offset, blob.Revision, blob.Type, blob.Cookie, ToView(blob.Whole)};
}

}  // namespace

const char* Blob::TypeInWords() const {
  return InWords(type);
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
  const blobs::Inventory read = blobs::ReadInventory(ViewOf(blob.bytes));
  InventoryBlob inventory;
  inventory.flags = read.Flags;
  inventory.hasProductId = read.HasProductId;
  inventory.hasSlotNumber = read.HasSlotNumber;
  inventory.productId = read.ProductId;
  inventory.slotNumber = read.SlotNumber;
  const std::pair<const char*, blobs::Reference> references[] = {
      {"wwnOffset", read.Wwn},
      {"MktnameOffset", read.MarketingName},
      {"FwVerOffset", read.FirmwareVersion},
      {"CompIDOffset", read.ComponentId}};
  for (const auto& [field, reference] : references) {
    const smbios::Text text = smbios::TextAt(blobs::BytesOf(ViewOf(blob.bytes), reference));
    if (!reference.IsPresent) {
      continue;
    }
    if (!text) {
      throw DataError(blob.offset + reference.Where,
                      fmt::format("{} leads to byte {} of a string area of {} bytes, where no text "
                                  "ends",
                                  field, reference.Start, blob.bytes.size() - blobs::kStringArea));
    }
    inventory.texts.push_back({field, reference.Start, ToView({text.Data(), text.Length()})});
  }
  return inventory;
}

std::string_view ReadConfigurationBlob(const Blob& blob) {
  const smbios::Text document = blobs::DocumentOf(ViewOf(blob.bytes));
  if (!document) {
    throw DataError(blob.offset + blob.bytes.size(), "the document has no NUL at its end");
  }
  const std::size_t behind = blobs::kDocument + document.Length() + 1;
  if (behind != blob.bytes.size()) {
    throw DataError(blob.offset + behind,
                    fmt::format("{} bytes follow the document's NUL", blob.bytes.size() - behind));
  }
  return ToView({document.Data(), document.Length()});
}

void CheckEndBlob(const Blob& blob) {
  const std::size_t at = blob.bytes.find_first_not_of('\0', blobs::kHeaderSize);
  if (at != std::string_view::npos) {
    throw DataError(blob.offset + at, "an end blob is zero behind its header");
  }
}

}  // namespace tvq::cli

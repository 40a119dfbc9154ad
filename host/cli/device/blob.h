/*
 * The blobs of a device: their headers and what they hold.
 *
 * SPDX-License-Identifier: BSD-2-Clause-Patent
 */
#ifndef TVQ_HOST_CLI_DEVICE_BLOB_H_
#define TVQ_HOST_CLI_DEVICE_BLOB_H_

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string_view>
#include <vector>

#include <Library/TvqBlobLib.h>

#include "host/cli/device/document.h"

namespace tvq::cli {

// A blob in the bytes of a file.
struct Blob {
  std::size_t offset = 0;
  uint32_t revision = 0;
  uint32_t type = 0;
  uint32_t cookie = 0;
  std::string_view bytes;  // the header included

  const char* TypeInWords() const;
};

struct BlobText {
  const char* field;   // the name of the string reference
  std::size_t offset;  // in the string area
  std::string_view text;
};

struct InventoryBlob {
  uint32_t flags = 0;
  bool hasProductId = false;
  bool hasSlotNumber = false;
  unsigned productId = 0;
  unsigned slotNumber = 0;
  std::vector<BlobText> texts;  // those that are there
};

// The blobs that stand one behind the other, up to the first bytes that are none.
struct BlobList {
  std::vector<Blob> blobs;
  std::optional<DataError> error;  // its offset is in the file
};
BlobList SplitBlobs(std::string_view file);

// Each throws a DataError, whose offset is in the file.
InventoryBlob ReadInventoryBlob(const Blob& blob);
// The text of a configuration blob. ReadDocument takes it apart.
std::string_view ReadConfigurationBlob(const Blob& blob);
void CheckEndBlob(const Blob& blob);

}  // namespace tvq::cli

#endif  // TVQ_HOST_CLI_DEVICE_BLOB_H_

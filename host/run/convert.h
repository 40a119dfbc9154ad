/*
 * From the types of the firmware to those of the standard library.
 *
 * SPDX-License-Identifier: BSD-2-Clause-Patent
 */
#ifndef TVQ_HOST_RUN_CONVERT_H_
#define TVQ_HOST_RUN_CONVERT_H_

#include <string>

#include "host/run/driver_run.h"

#include "host/firmware/firmware.h"

#include "TvqPlatformPkg/src/agent/attributes.h"
#include "TvqPlatformPkg/src/agent/inventory.h"
#include "TvqPlatformPkg/src/smbios/capture.h"
#include "TvqPlatformPkg/src/smbios/names/device_labels.h"

namespace tvq::run {

// Room for a sentence of the agent.
inline constexpr size_t kSentence = 256;

std::string InWords(EFI_STATUS status);
std::string GuidText(const EFI_GUID& guid);
std::u16string WideText(const CHAR16* text);

tvqplatform::Bytes ViewOf(const Bytes& bytes);
Bytes CopyOf(tvqplatform::Bytes bytes);

// What the entry point in a capture tells of the firmware.
enum class EntryPoints {
  kAll,      // the firmware has this one alone
  kOneOfAll  // it may have another one, as where the kernel shows but one of them
};

// Throws TableError where nothing was captured.
Table ToTable(const tvqplatform::Capture& capture, EntryPoints shown);
std::vector<DeviceLabel> ToLabels(const tvqplatform::DeviceLabels& labels);
Record ToRecord(const tvqplatform::DeviceInventory& device);
Attribute ToAttribute(const tvqplatform::AttributeAnswer& answer);

}  // namespace tvq::run

#endif  // TVQ_HOST_RUN_CONVERT_H_

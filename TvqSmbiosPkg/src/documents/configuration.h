/** @file
  The configuration document.

  Its element names are what the management agent reads, and the order of the elements is part of
  the format: verification walks fixed positions of the document.

  SPDX-License-Identifier: BSD-2-Clause-Patent
**/

#ifndef TVQ_CONFIGURATION_H_
#define TVQ_CONFIGURATION_H_

#include <TvqCpp.h>
#include <Protocol/TvqRecord.h>

#include "xml_writer.h"

namespace tvq {

/**
  Writes the document of a record.

  @param[in, out]  xml      The writer, allocated and empty.
  @param[in, out]  record   The record. A module's part number is trimmed.

  @retval EFI_SUCCESS             The document is complete.
  @retval EFI_OUT_OF_RESOURCES    Memory ran out.
**/
[[nodiscard]] EFI_STATUS WriteDocument(XmlWriter& xml, smTVQ* record);

/// Rewrites the slots' hot-plug bytes in the record to what the document says of them, 0 or 1.
/// Deliberate: later readers of the record see those. No document can be written of them any more,
/// so it is done once the record keeps its document.
void SettleHotPlug(const TVQ_SYSTEM& system);

/// Parts of the document that one device type has.
void WriteCpuData(XmlWriter& xml, const TVQ_CPU& cpu);
[[nodiscard]] EFI_STATUS WriteDimmData(XmlWriter& xml, const TVQ_DIMM& dimm);
void WriteSystemIdentifier(XmlWriter& xml, const TVQ_SYSTEM& system);
void WriteSystemData(XmlWriter& xml, const TVQ_SYSTEM& system);

}  // namespace tvq

#endif

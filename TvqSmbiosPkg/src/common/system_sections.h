/** @file
  Sections of the system record: chassis, memory arrays, firmware, base boards and slots.

  SPDX-License-Identifier: BSD-2-Clause-Patent
**/

#ifndef TVQ_SYSTEM_SECTIONS_H_
#define TVQ_SYSTEM_SECTIONS_H_

#include <TvqCpp.h>
#include <Protocol/TvqRecord.h>

namespace tvq {

/// Fills the section of the record. A missing structure or a lack of memory only leaves parts of
/// the section out: a slot that could not be filled is null, and so is an array that could not be
/// allocated, while the count stays that of the structures.
void FillChassisSection(TVQ_SYSTEM* system);
void FillPmaSection(TVQ_SYSTEM* system);
void FillBiosSection(TVQ_SYSTEM* system);
void FillBaseBoardSection(TVQ_SYSTEM* system);
void FillPciSlotSection(TVQ_SYSTEM* system);

/// Frees all sections, newest first.
void FreeSystemSections(const TVQ_SYSTEM& system);

}  // namespace tvq

#endif

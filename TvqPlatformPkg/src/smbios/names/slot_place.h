/** @file
  What the texts of a memory slot say about its place.

  SPDX-License-Identifier: BSD-2-Clause-Patent
**/

#ifndef TVQ_PLATFORM_SMBIOS_NAMES_SLOT_PLACE_H_
#define TVQ_PLATFORM_SMBIOS_NAMES_SLOT_PLACE_H_

#include "../table.h"

namespace tvqplatform {

/// A number, and the digits that it is printed with.
struct PrintedNumber {
  UINT32 Value = 0;
  UINT8 Digits = 0;  ///< 0: there is none.

  explicit operator bool() const { return Digits != 0; }
};

/// The parts of a place that a text names.
struct SlotPlace {
  PrintedNumber Processor;  ///< Of the socket, or else of the node.
  PrintedNumber Group;      ///< Of a memory controller, a card or the like.
  PrintedNumber Channel;
  PrintedNumber Bank;
  PrintedNumber Slot;
  PrintedNumber Other;        ///< Behind a word that is not known.
  CHAR8 OtherInitial = '\0';  ///< Of that word, a capital.
  CHAR8 Letter = '\0';        ///< Of the channel, a capital.
  bool IsLetterLast = false;  ///< "1A" and not "A1".
};

/// Reads "P1-DIMMA1", "NODE 0 CHANNEL 3 DIMM 1", "1A" and the like. Words that it does not know, it
/// passes over.
SlotPlace ReadSlotPlace(smbios::Text text);

/// The text without blanks and control characters at both ends.
smbios::Text WithoutOuterBlanks(smbios::Text text);

}  // namespace tvqplatform

#endif

/** @file
  The name of a memory slot: at most three characters, from the slot's own texts.

  SPDX-License-Identifier: BSD-2-Clause-Patent
**/

#ifndef TVQ_PLATFORM_SMBIOS_NAMES_SLOT_NAME_H_
#define TVQ_PLATFORM_SMBIOS_NAMES_SLOT_NAME_H_

#include "../table.h"

namespace tvqplatform {

/// What the firmware prints at a slot and what it calls the slot's bank, without outer blanks.
struct SlotTexts {
  smbios::Text Locator;
  smbios::Text Bank;
};
bool operator==(const SlotTexts& left, const SlotTexts& right);

inline constexpr UINTN kSlotNameLength = 3;

struct SlotName {
  CHAR8 Text[kSlotNameLength + 1] = {};  ///< Capitals and digits; empty where no rule gives a name.
  const CHAR8* Rule = nullptr;           ///< What the rule is called.
};

/// The name that a rule gives to the slot. Deliberate: the bank is asked only where the locator holds
/// a bare number or none.
SlotName NameByRule(const SlotTexts& texts);

/// What "rule" says of names that are computed, because no rule gives one, or several the same.
inline constexpr CHAR8 kComputed[] = "computed";

/// The computed names, in the order in which they are tried: '-' or '_', which no rule's name begins
/// with, and two digits.
inline constexpr UINT32 kComputedNames = 2 * 36 * 36;
void PrintComputedName(UINT32 index, CHAR8 (&name)[kSlotNameLength + 1]);

/// Which of the computed names the texts ask for first.
UINT32 FirstComputedName(const SlotTexts& texts);
/// Whether the locator is a computed name already, as in a table that was conformed before.
bool HasComputedName(const SlotTexts& texts);

}  // namespace tvqplatform

#endif

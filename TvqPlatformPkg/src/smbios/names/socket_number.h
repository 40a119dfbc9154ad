/** @file
  The number of a processor's socket, from the text of its designation.

  SPDX-License-Identifier: BSD-2-Clause-Patent
**/

#ifndef TVQ_PLATFORM_SMBIOS_NAMES_SOCKET_NUMBER_H_
#define TVQ_PLATFORM_SMBIOS_NAMES_SOCKET_NUMBER_H_

#include "../table.h"

namespace tvqplatform {

/// The highest number that a character tells: see SocketCharacter.
inline constexpr UINT32 kHighestSocket = 220;

struct SocketNumber {
  UINT32 Value = 0;
  const CHAR8* Rule = nullptr;  ///< What gave the number; null where the text gives none.

  explicit operator bool() const { return Rule != nullptr; }
};

/// The number behind "CPU", "PROC" or "PROCESSOR", "SOCKET", or a P that begins a word; else the only
/// number that stands alone.
SocketNumber NumberOfSocket(smbios::Text designation);

/// What "rule" says of sockets whose texts give no number, or several the same.
inline constexpr CHAR8 kInOrder[] = "order";

/// The character by which the driver tells the sockets apart, for numbers up to kHighestSocket. It
/// stands in documents, which escape nothing: it is no control character, blank, '&' or '<'.
UINT8 SocketCharacter(UINT32 number);

/// Room for a designation and its terminator.
inline constexpr UINTN kDesignationSize = 16;
/// A designation with that character in the fourth place, which NumberOfSocket reads as well.
void PrintDesignation(UINT32 number, CHAR8 (&designation)[kDesignationSize]);

}  // namespace tvqplatform

#endif

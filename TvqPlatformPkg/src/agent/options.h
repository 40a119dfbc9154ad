/** @file
  The agent's options.

  SPDX-License-Identifier: BSD-2-Clause-Patent
**/

#ifndef TVQ_PLATFORM_AGENT_OPTIONS_H_
#define TVQ_PLATFORM_AGENT_OPTIONS_H_

#include <TvqCpp.h>

namespace tvqplatform {

struct Options {
  bool AsIs = false;       ///< The table is not conformed.
  bool Accept = false;     ///< The state of this boot replaces the saved one.
  bool Again = false;      ///< The driver is started although there are records.
  bool Stop = false;       ///< The records are taken off; nothing is started.
  bool Unload = false;     ///< The driver is unloaded; nothing is started.
  bool PowerOff = false;   ///< The machine is switched off at the end.
  CHAR8 Unknown[32] = {};  ///< The first word that is no option.
};

/// The words that are known, for messages.
inline constexpr CHAR8 kOptionWords[] = "accept, again, as-is, poweroff, stop, unload";

/// Reads words between blanks and line ends.
void ParseOptions(tvq::Span<const CHAR8> text, Options& options);

/// Reads the command line of a loaded image: a text whose first word may be the program's name.
/// False: it is no text, or has no word besides the name.
[[nodiscard]] bool ParseLoadOptions(const VOID* loadOptions, UINTN size, Options& options);

}  // namespace tvqplatform

#endif

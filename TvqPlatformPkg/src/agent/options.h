/** @file
  The agent's options.

  SPDX-License-Identifier: BSD-2-Clause-Patent
**/

#ifndef TVQ_PLATFORM_AGENT_OPTIONS_H_
#define TVQ_PLATFORM_AGENT_OPTIONS_H_

#include <Library/TvqCpp.h>

namespace tvqplatform {

struct Options {
  bool AsIs = false;       ///< The table is not conformed.
  bool Accept = false;     ///< The state of this boot replaces the saved one.
  bool PowerOff = false;   ///< The machine is switched off at the end.
  CHAR8 Unknown[32] = {};  ///< The first word that is no option.
};

/// Reads words between blanks and line ends.
void ParseOptions(tvq::Span<const CHAR8> text, Options& options);

/// Reads the command line of a loaded image: a text whose first word may be the program's name.
/// False: it is no text, or has no word besides the name.
bool ParseLoadOptions(const VOID* loadOptions, UINTN size, Options& options);

}  // namespace tvqplatform

#endif

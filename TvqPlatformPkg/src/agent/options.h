/** @file
  The agent's options.

  SPDX-License-Identifier: BSD-2-Clause-Patent
**/

#ifndef TVQ_PLATFORM_AGENT_OPTIONS_H_
#define TVQ_PLATFORM_AGENT_OPTIONS_H_

#include <TvqCpp.h>

namespace tvqplatform {

/// Devices that can be accepted at once without the others, and room for the name of one.
inline constexpr UINTN kMaximumNames = 16;
inline constexpr UINTN kNameSize = 48;

struct Options {
  bool AsIs = false;            ///< The table is not conformed.
  bool Accept = false;          ///< The state of this boot replaces the saved one.
  bool Again = false;           ///< The driver is started although there are records.
  bool Stop = false;            ///< The records are taken off; nothing is started.
  bool Unload = false;          ///< The driver is unloaded; nothing is started.
  bool PowerOff = false;        ///< The machine is switched off at the end.
  bool Incomplete = false;      ///< A state with holes may replace one without.
  bool OtherMachine = false;    ///< The state of another machine will do.
  bool KeepVariable = false;    ///< What the start writes into NVRAM stays there.
  bool Screen = false;          ///< Somebody is there to look at the screen.
  bool Unattended = false;      ///< Nobody is there.
  UINTN Countdown = 30;         ///< Seconds that the screen waits for a first key.
  UINTN Keep = 10;              ///< States that stay.
  CHAR8 State[kNameSize] = {};  ///< The folder of the states, where it is given.
  CHAR8 Names[kMaximumNames][kNameSize] =
      {};  ///< What is accepted; everything where there is none.
  UINTN NameCount = 0;
  CHAR8 Unknown[32] = {};  ///< The first word that is no option.
};

/// The words that are known, for messages.
inline constexpr CHAR8 kOptionWords[] =
    "accept [NAME...], again, as-is, countdown=N, incomplete, keep=N, keep-variable, "
    "other-machine, poweroff, screen, state=FOLDER, stop, unattended, unload";

/// Reads words between blanks and line ends; quotation marks keep blanks in a word together. Words
/// behind "accept" that are no options are names.
void ParseOptions(tvq::Span<const CHAR8> text, Options& options);

/// Reads the command line of a loaded image: a text whose first word may be the program's name.
/// False: it is no text, or has no word besides the name.
[[nodiscard]] bool ParseLoadOptions(const VOID* loadOptions, UINTN size, Options& options);

}  // namespace tvqplatform

#endif

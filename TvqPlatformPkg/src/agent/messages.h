/** @file
  Paths and advice that more than one part of the agent uses.

  SPDX-License-Identifier: BSD-2-Clause-Patent
**/

#ifndef TVQ_PLATFORM_AGENT_MESSAGES_H_
#define TVQ_PLATFORM_AGENT_MESSAGES_H_

#include <TvqCpp.h>

// As literals, so that messages can name them too.
#define TVQ_FOLDER u"\\TVQ"
#define TVQ_FILE(name) TVQ_FOLDER u"\\" name

namespace tvqplatform {

inline constexpr CHAR8 kCheckVolume[] =
    "check that the volume can be written to and has room, then run TvqAgent again.";
inline constexpr CHAR8 kOtherMedium[] =
    "copy the medium's files to one that can be written to, and start TvqAgent from there.";
inline constexpr CHAR8 kRestart[] = "restart the machine and run TvqAgent before anything else.";

}  // namespace tvqplatform

#endif

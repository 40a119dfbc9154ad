/** @file
  The platform protocol: shows what the platform keeps.

  SPDX-License-Identifier: BSD-2-Clause-Patent
**/

#ifndef TVQ_PLATFORM_PLATFORM_PROTOCOL_H_
#define TVQ_PLATFORM_PLATFORM_PROTOCOL_H_

#include <TvqCpp.h>
#include <Protocol/TvqPlatform.h>

namespace tvqplatform {

extern TVQ_PLATFORM_PROTOCOL gPlatformProtocol;

}  // namespace tvqplatform

#endif

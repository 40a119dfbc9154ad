/** @file
  The ZVI library service table.

  SPDX-License-Identifier: BSD-2-Clause-Patent
**/

#ifndef TVQ_PLATFORM_ZVI_LIBRARY_H_
#define TVQ_PLATFORM_ZVI_LIBRARY_H_

#include <TvqCpp.h>
#include <Protocol/ZvLibrary.h>

namespace tvqplatform {

extern ZV_LIBRARY_PROTOCOL gZviTable;

}  // namespace tvqplatform

#endif

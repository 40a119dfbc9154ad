/** @file
  A debug log that keeps every line in memory and, where DebugLib prints, hands it on to DEBUG ().

  Copyright (c) 2026, The TVQSMBIOS authors
  SPDX-License-Identifier: BSD-2-Clause-Patent
**/

#ifndef TVQ_DEBUG_LOG_LIB_H_
#define TVQ_DEBUG_LOG_LIB_H_

#include <Protocol/DebugLog.h>

#ifdef __cplusplus
extern "C" {
#endif

///
/// The interface for gDebugLogProtocolGuid.
///
extern DEBUG_LOG_PROTOCOL  gTvqDebugLog;

#ifdef __cplusplus
}
#endif

#endif

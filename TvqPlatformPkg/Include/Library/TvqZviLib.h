/** @file
  The library service table ZVI over MdePkg's library classes.

  PcdMaximumAsciiStringLength and PcdMaximumUnicodeStringLength have to be 0 for the module that links
  it: stored documents may be longer than MdePkg's default limits.

  Copyright (c) 2026, The TVQSMBIOS authors
  SPDX-License-Identifier: BSD-2-Clause-Patent
**/

#ifndef TVQ_ZVI_LIB_H_
#define TVQ_ZVI_LIB_H_

#include <Protocol/ZvLibrary.h>

#ifdef __cplusplus
extern "C" {
#endif

///
/// The interface for gZvLibraryProtocolGuid.
///
extern ZV_LIBRARY_PROTOCOL  gTvqZviTable;

#ifdef __cplusplus
}
#endif

#endif

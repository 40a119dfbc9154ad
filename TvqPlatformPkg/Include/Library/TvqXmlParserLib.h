/** @file
  The XML parser protocol over expat, whose sources the DSC names (EXPAT_DIR).

  Copyright (c) 2026, The TVQSMBIOS authors
  SPDX-License-Identifier: BSD-2-Clause-Patent
**/

#ifndef TVQ_XML_PARSER_LIB_H_
#define TVQ_XML_PARSER_LIB_H_

#include <Protocol/XmlParser.h>

#ifdef __cplusplus
extern "C" {
#endif

///
/// The interface for gXmlParserProtocolGuid.
///
extern XML_PARSER_PROTOCOL  gTvqXmlParser;

#ifdef __cplusplus
}
#endif

#endif

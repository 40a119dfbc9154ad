/** @file
  The XML parser protocol, on expat.

  SPDX-License-Identifier: BSD-2-Clause-Patent
**/

#ifndef TVQ_PLATFORM_XML_PARSER_H_
#define TVQ_PLATFORM_XML_PARSER_H_

#include <TvqCpp.h>
#include <Protocol/XmlParser.h>

namespace tvqplatform {

extern XML_PARSER_PROTOCOL gXmlParser;

}  // namespace tvqplatform

#endif

/** @file
  How expat is built here.

  Without XML_DTD, XML_GE and XML_NS it has no external entities and knows no namespaces; a document
  type declaration is refused before an entity could be declared.

  SPDX-License-Identifier: BSD-2-Clause-Patent
**/

#ifndef TVQ_CRT_EXPAT_CONFIG_H_
#define TVQ_CRT_EXPAT_CONFIG_H_

#define BYTEORDER 1234
#define XML_CONTEXT_BYTES 0
#define XML_GE 0

/* Tool chains that make PE files directly say that they build for Windows. */
#undef _WIN32

/* The parser is given its salt; expat's own sources of one are never asked. */
#define XML_POOR_ENTROPY 1

#endif

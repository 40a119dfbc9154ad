/** @file
  Readers of a stored configuration document: the identity that verification compares.

  They walk fixed positions of the document, so they take only documents that are laid out as the
  driver writes them.

  SPDX-License-Identifier: BSD-2-Clause-Patent
**/

#ifndef TVQ_CPU_DIMM_H_
#define TVQ_CPU_DIMM_H_

#include <TvqCpp.h>
#include <Protocol/XmlParser.h>

namespace tvq {

/// Identity of a memory module; the caller frees it with FreeDimmCache.
struct DIMM_XML_CACHE {
  CHAR8* PartNo;
  CHAR16* WWN;  ///< Null when the document has none at its place.
};

/// Identity of a processor; the caller frees it with FreeCpuCache.
struct CPU_XML_CACHE {
  UINT8 CoreCount;
  CHAR16* MarketingName;  ///< Null when the document has none at its place.
};

static_assert(sizeof(DIMM_XML_CACHE) == 16 && sizeof(CPU_XML_CACHE) == 16, "16 bytes each");

/**
  Reads the serial number and the part number of a module.

  @param[in]       Text     The document, terminated.
  @param[out]      Cache    Receives a new identity. It is set on EFI_UNSUPPORTED too once the
                            layout was found wrong behind "Inventory"; otherwise null on failure.
  @param[in, out]  Length   Not 0. Set to 0 when the text is no document, has another root, or an
                            empty one.

  @retval EFI_SUCCESS             Cache is filled.
  @retval EFI_INVALID_PARAMETER   An argument is null, *Length is 0, the text cannot be parsed, has
                                  another root or an empty one, or the second child of "dimmData" is
                                  not "PartNumber".
  @retval EFI_NOT_FOUND           There is no XML parser protocol.
  @retval EFI_UNSUPPORTED         The document is laid out otherwise.
  @retval EFI_OUT_OF_RESOURCES    Memory ran out.
**/
[[nodiscard]] EFI_STATUS ParseDIMMXMLBlob(const CHAR8* Text, DIMM_XML_CACHE** Cache,
                                          UINT32* Length);

/// Reads the marketing name and the core count of a processor. Arguments and statuses are those of
/// ParseDIMMXMLBlob, but that another root leaves *Length alone; a "cpuData" without "CoreCount" is
/// EFI_UNSUPPORTED.
[[nodiscard]] EFI_STATUS ParseCPUXMLBlob(const CHAR8* Text, CPU_XML_CACHE** Cache, UINT32* Length);

/**
  Copies the text of a "PartNumber" node.

  @param[in]   Node     A node without a name passes as one.
  @param[out]  Result   Receives a new text, which the caller frees.

  @retval EFI_SUCCESS             Result is set.
  @retval EFI_INVALID_PARAMETER   An argument is null, or the node has another name.
  @retval EFI_OUT_OF_RESOURCES    Memory ran out.
**/
[[nodiscard]] EFI_STATUS GetPartNumberText(const XML_NODE* Node, CHAR8** Result);

/**
  Reads a node's text as a decimal number and keeps its low 8 bits.

  @param[in]   Node     A node without a name passes as one of any name.
  @param[in]   Name     The name that the node must have.
  @param[out]  Result   Receives the number.

  @retval EFI_SUCCESS             Result is set.
  @retval EFI_INVALID_PARAMETER   An argument is null, or the node has another name.
**/
[[nodiscard]] EFI_STATUS GetByteValue(const XML_NODE* Node, const CHAR8* Name, UINT8* Result);

void FreeDimmCache(DIMM_XML_CACHE* cache);
void FreeCpuCache(CPU_XML_CACHE* cache);

}  // namespace tvq

#endif

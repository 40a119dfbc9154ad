/** @file
  XML parser protocol: turns a text into a document tree.

  Produced by the platform. The driver uses Parse and Free, and of a node the fields named below.

  Copyright (c) 2026, The TVQSMBIOS authors
  SPDX-License-Identifier: BSD-2-Clause-Patent
**/

#ifndef XML_PARSER_H_
#define XML_PARSER_H_

#define XML_PARSER_PROTOCOL_GUID \
  { 0x0ed2b96e, 0x12e5, 0x4da8, { 0xa6, 0x87, 0x89, 0xf0, 0x2b, 0xe9, 0x1c, 0x2c } }

typedef struct _XML_PARSER_PROTOCOL XML_PARSER_PROTOCOL;
typedef struct _XML_NODE            XML_NODE;

///
/// Holds the text of a name or a value.
///
typedef struct {
  VOID     *Reserved;
  CHAR8    *Text;      ///< NUL-terminated.
} XML_TEXT;

///
/// An element. White space between elements is no node.
///
struct _XML_NODE {
  XML_TEXT    *Name;
  XML_TEXT    *Value;
  VOID        *Reserved[2];
  XML_NODE    *FirstChild;
  XML_NODE    *NextSibling;
};

#define XML_INPUT_MEMORY  1

///
/// What is to be parsed.
///
typedef struct {
  UINT32         SourceKind;   ///< XML_INPUT_MEMORY.
  UINT32         Padding;      ///< Zero.
  CONST CHAR8    *Text;        ///< NUL-terminated.
  VOID           *Reserved[2]; ///< NULL.
} XML_INPUT;

/**
  Parses a text.

  @param[in]   This       The protocol.
  @param[in]   Input      The text; it stays the caller's.
  @param[out]  Document   Receives the root element, or NULL when the text is no document. Released
                          with Free.

  @retval EFI_SUCCESS   Document is the root element.
  @retval Others        Document is NULL. The driver looks at Document alone.
**/
typedef
EFI_STATUS
(EFIAPI *XML_PARSE)(
  IN  XML_PARSER_PROTOCOL  *This,
  IN  XML_INPUT            *Input,
  OUT XML_NODE             **Document
  );

/**
  Releases a document tree.

  @param[in]  This       The protocol.
  @param[in]  Document   What Parse returned.

  @retval EFI_SUCCESS   The tree is released.
**/
typedef
EFI_STATUS
(EFIAPI *XML_FREE)(
  IN XML_PARSER_PROTOCOL  *This,
  IN XML_NODE             *Document
  );

struct _XML_PARSER_PROTOCOL {
  VOID         *Reserved1;
  XML_PARSE    Parse;
  VOID         *Reserved2[2];
  XML_FREE     Free;
};

STATIC_ASSERT (OFFSET_OF (XML_PARSER_PROTOCOL, Parse) == 1 * 8, "Parse is the second field");
STATIC_ASSERT (OFFSET_OF (XML_PARSER_PROTOCOL, Free) == 4 * 8, "Free is the fifth field");
STATIC_ASSERT (OFFSET_OF (XML_TEXT, Text) == 8, "the text is the second field");
STATIC_ASSERT (OFFSET_OF (XML_NODE, FirstChild) == 4 * 8, "the first child is the fifth field");
STATIC_ASSERT (OFFSET_OF (XML_NODE, NextSibling) == 5 * 8, "the next sibling is the sixth field");
STATIC_ASSERT (OFFSET_OF (XML_INPUT, Text) == 8, "the text is pointer-aligned");

#ifdef __cplusplus
extern "C" {
#endif

extern EFI_GUID  gXmlParserProtocolGuid;

#ifdef __cplusplus
}
#endif

#endif

/** @file
  Document trees: building one element by element, and freeing one.

  SPDX-License-Identifier: BSD-2-Clause-Patent
**/

#ifndef TVQ_PLATFORM_XML_DOCUMENT_H_
#define TVQ_PLATFORM_XML_DOCUMENT_H_

#include <TvqCpp.h>
#include <Protocol/XmlParser.h>

namespace tvqplatform {

struct XmlElement;

/// Builds the tree of one document while it is read. No depth, number or length is too large for
/// it; the stack does not grow with any of them.
class DocumentBuilder {
 public:
  DocumentBuilder() = default;
  DocumentBuilder(const DocumentBuilder&) = delete;
  DocumentBuilder& operator=(const DocumentBuilder&) = delete;
  ~DocumentBuilder();

  /// Begins an element inside the one that is open. False: there is no memory, and no element.
  [[nodiscard]] bool Open(const CHAR8* name);
  /// Appends to the text of the element that is open. False: there is no memory.
  [[nodiscard]] bool AddText(const CHAR8* text, UINTN length);
  /// Ends the element that is open.
  void Close();

  /// Hands the tree over, to be freed with FreeDocument.
  [[nodiscard]] XML_NODE* Release();

 private:
  void Append(XmlElement* element);

  XmlElement* mRoot = nullptr;
  XmlElement* mOpen = nullptr;
  XmlElement* mNewest = nullptr;
};

/// Frees a tree from its root on.
void FreeDocument(XML_NODE* root);

}  // namespace tvqplatform

#endif

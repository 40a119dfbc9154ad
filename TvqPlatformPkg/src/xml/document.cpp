/** @file
  Document trees.

  SPDX-License-Identifier: BSD-2-Clause-Patent
**/

#include "document.h"

#include "../text.h"

namespace tvqplatform {

/// A node with everything that it points at but its text. The elements of a document form a list
/// in the order of their start tags, so that freeing them needs neither recursion nor a stack.
struct XmlElement {
  XML_NODE Node;  ///< First: a node is its element.
  XML_TEXT Name;
  XML_TEXT Value;
  XmlElement* Parent;
  XmlElement* LastChild;
  XmlElement* NextInDocument;
  UINTN Length;       ///< Of the text, without its terminator.
  UINTN Capacity;     ///< Of the text's block, 0 when it has none.
  CHAR8 NameText[1];  ///< The name, and its terminator.
};

static_assert(OFFSET_OF(XmlElement, Node) == 0, "a node is its element");

namespace {

/// The text of elements that have none.
CHAR8 gNoText[1];

/// Copies text that expat has read byte by byte, and gives out as UTF-8, as the bytes that it was.
/// What only a character reference can name stays UTF-8. Returns the length of the copy.
UINTN CopyAsRead(CHAR8* target, const CHAR8* text, UINTN length) {
  const CHAR8* const start = target;
  for (UINTN i = 0; i < length; i++) {
    const auto lead = static_cast<UINT8>(text[i]);
    const bool isWide = (lead == 0xC2 || lead == 0xC3) && i + 1 < length;
    *target++ = isWide ? static_cast<CHAR8>((lead << 6) | (text[++i] & 0x3F)) : text[i];
  }
  return static_cast<UINTN>(target - start);
}

XmlElement* NewElement(const CHAR8* name) {
  const UINTN length = Length(name);
  auto* element = static_cast<XmlElement*>(AllocateZeroPool(sizeof(XmlElement) + length));
  if (element == nullptr) {
    return nullptr;
  }
  (void)CopyAsRead(element->NameText, name, length);
  element->Name.Text = element->NameText;
  element->Value.Text = gNoText;
  element->Node.Name = &element->Name;
  element->Node.Value = &element->Value;
  return element;
}

void FreeText(const XmlElement* element) {
  if (element->Capacity != 0) {
    (void)gBS->FreePool(element->Value.Text);
  }
}

/// Makes room for `length` further characters and the terminator. The room doubles, so that a text
/// in many pieces is not copied for each.
[[nodiscard]] bool ReserveText(XmlElement* element, UINTN length) {
  const UINTN needed = element->Length + length + 1;
  if (needed <= element->Capacity) {
    return true;
  }
  const UINTN capacity = MAX(needed, element->Capacity * 2);
  auto* text = static_cast<CHAR8*>(AllocatePool(capacity));
  if (text == nullptr) {
    return false;
  }
  CopyMem(text, element->Value.Text, element->Length);
  FreeText(element);
  element->Value.Text = text;
  element->Capacity = capacity;
  return true;
}

void FreeElements(XmlElement* element) {
  while (element != nullptr) {
    XmlElement* next = element->NextInDocument;
    FreeText(element);
    (void)gBS->FreePool(element);
    element = next;
  }
}

}  // namespace

DocumentBuilder::~DocumentBuilder() {
  FreeElements(mRoot);
}

void DocumentBuilder::Append(XmlElement* element) {
  if (mRoot == nullptr) {
    mRoot = element;
  } else {
    mNewest->NextInDocument = element;
  }
  mNewest = element;
  if (mOpen == nullptr) {
    return;
  }
  if (mOpen->LastChild == nullptr) {
    mOpen->Node.FirstChild = &element->Node;
  } else {
    mOpen->LastChild->Node.NextSibling = &element->Node;
  }
  mOpen->LastChild = element;
}

bool DocumentBuilder::Open(const CHAR8* name) {
  XmlElement* element = NewElement(name);
  if (element == nullptr) {
    return false;
  }
  Append(element);
  element->Parent = mOpen;
  mOpen = element;
  return true;
}

bool DocumentBuilder::AddText(const CHAR8* text, UINTN length) {
  if (!ReserveText(mOpen, length)) {
    return false;
  }
  mOpen->Length += CopyAsRead(mOpen->Value.Text + mOpen->Length, text, length);
  mOpen->Value.Text[mOpen->Length] = '\0';
  return true;
}

void DocumentBuilder::Close() {
  mOpen = mOpen->Parent;
}

XML_NODE* DocumentBuilder::Release() {
  XML_NODE* root = &mRoot->Node;
  mRoot = nullptr;
  return root;
}

void FreeDocument(XML_NODE* root) {
  FreeElements(reinterpret_cast<XmlElement*>(root));
}

}  // namespace tvqplatform

/** @file
  Appends a document to a growing buffer.

  SPDX-License-Identifier: BSD-2-Clause-Patent
**/

#include "xml_writer.h"

#include "../text.h"

namespace tvq {

bool XmlWriter::Allocate() {
  mBuffer.Reset(static_cast<CHAR8*>(ZvAllocateZero(kInitialSize)));
  mSize = kInitialSize;
  mLength = 0;
  return !Failed();
}

/// Makes room for `length` more bytes and the terminator.
bool XmlWriter::Reserve(UINTN length) {
  if (Failed()) {
    return false;
  }
  UINTN size = mSize;
  while (size - mLength <= length) {
    size *= 2;
  }
  if (size != mSize) {
    PoolPtr<CHAR8> grown(static_cast<CHAR8*>(ZvAllocateZero(size)));
    if (grown) {
      CopyMem(grown.Get(), mBuffer.Get(), mLength);
    }
    mBuffer.Reset(grown.Release());
    mSize = size;
  }
  return !Failed();
}

void XmlWriter::AppendBytes(const CHAR8* bytes, UINTN length) {
  if (Reserve(length)) {
    CopyMem(mBuffer.Get() + mLength, bytes, length);
    mLength += length;
  }
}

void XmlWriter::Open(Literal name) {
  AppendBytes("<", 1);
  Append(name);
  AppendBytes(">", 1);
}

void XmlWriter::Close(Literal name) {
  AppendBytes("</", 2);
  Append(name);
  AppendBytes(">", 1);
}

void XmlWriter::Wrapped(Literal name, const CHAR8* text, UINTN length) {
  Open(name);
  AppendBytes(text, length);
  Close(name);
}

void XmlWriter::Element(Literal name, const CHAR16* text) {
  Limited(name, text, kTextSize - 1);
}

void XmlWriter::Limited(Literal name, const CHAR16* text, UINTN limit) {
  CHAR8 narrow[kTextSize];
  Wrapped(name, narrow, NarrowInto(narrow, MIN(limit + 1, sizeof(narrow)), text));
}

void XmlWriter::Element(Literal name, const CHAR8* text) {
  Wrapped(name, text, ZvAsciiStrLen(text));
}

void XmlWriter::Empty(Literal name) {
  Wrapped(name, "", 0);
}

void XmlWriter::Printed(Literal name, const CHAR8* format, UINT64 first, UINT64 second) {
  CHAR8 text[kTextSize];
  Wrapped(name, text, ZvAsciiSPrint(text, sizeof(text), format, first, second));
}

void XmlWriter::Decimal(Literal name, UINT32 value) {
  Printed(name, "%d", value);
}

void XmlWriter::LongDecimal(Literal name, UINT64 value) {
  Printed(name, "%llu", value);
}

void XmlWriter::Hexadecimal(Literal name, UINT32 value) {
  Printed(name, "%X", value);
}

}  // namespace tvq

/** @file
  Appends a document to a growing buffer.

  SPDX-License-Identifier: BSD-2-Clause-Patent
**/

#ifndef TVQ_XML_WRITER_H_
#define TVQ_XML_WRITER_H_

#include <TvqCpp.h>
#include <Library/TvqDeviceLib.h>
#include <Library/ZorvLib.h>

namespace tvq {

/// A literal and its length, measured by the compiler.
struct Literal {
  template <UINTN N>
  constexpr Literal(const char (&text)[N]) : Text(text), Length(N - 1) {}

  const char* Text;
  UINTN Length;
};

/// Writes elements one behind the other, without white space between them. Values are written as
/// they are: nothing is escaped, deliberately. When memory runs out the writer stays failed.
class XmlWriter {
 public:
  static constexpr UINTN kInitialSize = 8192;

  /// Texts of CHAR16 go through a buffer of this size, so they are cut to one character less.
  static constexpr UINTN kTextSize = devices::kTextLength + 1;

  /// Tells whether there was memory for the initial buffer.
  [[nodiscard]] bool Allocate();

  bool Failed() const { return !mBuffer; }
  const CHAR8* Text() const { return mBuffer.Get(); }
  UINTN Length() const { return mLength; }

  void Append(Literal text) { AppendBytes(text.Text, text.Length); }
  void Open(Literal name);
  void Close(Literal name);

  /// An element with a text; empty for null.
  void Element(Literal name, const CHAR16* text);
  /// The same with a text of any length, which must be there.
  void Element(Literal name, const CHAR8* text);
  /// An element with at most `limit` characters of the text; empty for null.
  void Limited(Literal name, const CHAR16* text, UINTN limit);
  void Empty(Literal name);

  /// An element with one or two printed values. Each takes a 64-bit word in the call to the printer,
  /// which looks only at what the format names.
  void Printed(Literal name, const CHAR8* format, UINT64 first, UINT64 second = 0);
  void Decimal(Literal name, UINT32 value);
  void LongDecimal(Literal name, UINT64 value);
  void Hexadecimal(Literal name, UINT32 value);

 private:
  void Wrapped(Literal name, const CHAR8* text, UINTN length);
  void AppendBytes(const CHAR8* bytes, UINTN length);
  [[nodiscard]] bool Reserve(UINTN length);

  PoolPtr<CHAR8> mBuffer;
  UINTN mSize = 0;
  UINTN mLength = 0;
};

}  // namespace tvq

#endif

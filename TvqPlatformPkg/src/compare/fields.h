/** @file
  The values of a device, and which of them are other ones than they were.

  SPDX-License-Identifier: BSD-2-Clause-Patent
**/

#ifndef TVQ_PLATFORM_COMPARE_FIELDS_H_
#define TVQ_PLATFORM_COMPARE_FIELDS_H_

#include <TvqCpp.h>
#include <Protocol/XmlParser.h>

#include "numbers.h"
#include "pairs.h"

namespace tvqplatform {

/// Texts one behind the other, each with a terminator, so that none is moved by the next.
class TextPool {
 public:
  TextPool() = default;
  TextPool(const TextPool&) = delete;
  TextPool& operator=(const TextPool&) = delete;
  ~TextPool() { mBytes.Free(); }

  /// Where the copy is; kNone when there is no memory.
  [[nodiscard]] UINT32 Add(smbios::Text text);
  [[nodiscard]] UINT32 Add(const CHAR8* text);

  CHAR8* At(UINT32 where) const { return mBytes.Data() + where; }

 private:
  GrowingArray<CHAR8> mBytes;
};

/// A value, by the path of its element: "Configuration/cpuData/CacheData[2]/CacheLevel", where
/// sections that repeat are numbered from the second on.
struct FieldValue {
  UINT32 Path;
  UINT32 Text;
};

/// One value that is another one; kNone on the side that does not have the field.
struct FieldChange {
  UINT32 Path;
  UINT32 Before;
  UINT32 After;
};

/// Why a document cannot be read.
enum class Unreadable : UINT8 {
  kNot,  ///< It can.
  kNoParser,
  kNoDocument,  ///< There is no configuration blob, or it is damaged.
  kNotWellFormed,
  kOtherLayout,  ///< Elements lie deeper in each other than in any document of the driver.
  kNoMemory,
};

/// The configuration document of a device, read with the platform's parser.
class Document {
 public:
  /// Finds the parser; without one, no document can be read.
  Document();
  Document(const Document&) = delete;
  Document& operator=(const Document&) = delete;
  ~Document();

  Unreadable Read(tvq::Span<const UINT8> blobs);

  /// All elements with a text, in the order of the document that was read. UUIDs stand in the usual
  /// order. False: there is no memory.
  [[nodiscard]] bool Collect(bool isUuidSwapped, TextPool& pool,
                             GrowingArray<FieldValue>& values) const;

 private:
  void Free();

  XML_PARSER_PROTOCOL* mParser;
  XML_NODE* mRoot = nullptr;
};

/// Appends the values that differ: in the order of the earlier document, then those that are new.
/// False: there is no memory.
[[nodiscard]] bool AppendChanges(const GrowingArray<FieldValue>& before,
                                 const GrowingArray<FieldValue>& after, const TextPool& pool,
                                 GrowingArray<FieldChange>& changes);

}  // namespace tvqplatform

#endif

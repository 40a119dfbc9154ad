/** @file
  The values of a device, and which of them are other ones than they were.

  SPDX-License-Identifier: BSD-2-Clause-Patent
**/

#include "fields.h"

#include <Library/TvqBlobLib.h>

#include "../states/machine_identity.h"
#include "../text.h"

namespace tvqplatform {

namespace blobs = tvq::blobs;

namespace {

/// Elements lie in each other, in a document of the driver: at most three, without the root.
constexpr UINTN kDepth = 8;
/// No path of a document of the driver is nearly as long.
constexpr UINTN kPathSize = 256;

/// The sections around an element, and how often each of them came before among its neighbours.
class Path {
 public:
  Path() { ZeroMem(mLevels, sizeof(mLevels)); }

  UINTN Depth() const { return mDepth; }
  bool IsFull() const { return mDepth == kDepth; }

  /// Enters a section, which is numbered where it follows one of the same name.
  void Enter(const XML_NODE* section) {
    Level& level = mLevels[mDepth++];
    level.Section = section;
    level.Length = mLength;
    const bool repeats = level.Last != nullptr && Compare(level.Last, section->Name->Text) == 0;
    level.Number = repeats ? level.Number + 1 : 1;
    level.Last = section->Name->Text;
    Append(section->Name->Text);
    if (level.Number > 1) {
      mLength += AsciiSPrint(mText + mLength, sizeof(mText) - mLength, "[%d]", level.Number);
    }
    Append("/");
    if (mDepth < kDepth) {
      mLevels[mDepth].Last = nullptr;
    }
  }
  /// Leaves it, and returns it.
  const XML_NODE* Leave() {
    const Level& level = mLevels[--mDepth];
    mLength = level.Length;
    return level.Section;
  }
  /// The path of an element without sections, cut where it is longer than there is room.
  smbios::Text Of(const XML_NODE* element) {
    const UINTN length = mLength;
    Append(element->Name->Text);
    const smbios::Text path(reinterpret_cast<const UINT8*>(mText), mLength);
    mLength = length;
    return path;
  }

 private:
  struct Level {
    const XML_NODE* Section;
    const CHAR8* Last;  ///< The name of the section before it.
    UINT32 Number;
    UINTN Length;  ///< Of the path around it.
  };

  void Append(const CHAR8* text) {
    while (*text != '\0' && mLength < kPathSize - 1) {
      mText[mLength++] = *text++;
    }
  }

  CHAR8 mText[kPathSize];
  UINTN mLength = 0;
  Level mLevels[kDepth];
  UINTN mDepth = 0;
};

/// Calls visit(element, path) for each element without sections in it, until it returns false.
template <typename Visit>
void VisitElements(const XML_NODE* root, Visit visit) {
  Path path;
  const XML_NODE* node = root->FirstChild;
  while (node != nullptr || path.Depth() != 0) {
    if (node == nullptr) {
      node = path.Leave()->NextSibling;
    } else if (node->FirstChild != nullptr && !path.IsFull()) {
      path.Enter(node);
      node = node->FirstChild;
    } else {
      if (!visit(node, path)) {
        return;
      }
      node = node->NextSibling;
    }
  }
}

bool IsTooDeep(const XML_NODE* root) {
  bool isTooDeep = false;
  VisitElements(root, [&isTooDeep](const XML_NODE* element, const Path&) {
    isTooDeep = element->FirstChild != nullptr;
    return !isTooDeep;
  });
  return isTooDeep;
}

INTN DigitOf(CHAR8 character) {
  return character >= '0' && character <= '9'   ? character - '0'
         : character >= 'a' && character <= 'f' ? character - 'a' + 10
                                                : -1;
}

/// Reads the 32 digits that a document has for a UUID. False: the text is something else.
[[nodiscard]] bool ReadUuid(smbios::Text text, UINT8 (&uuid)[16]) {
  if (text.Length() != 2 * sizeof(uuid)) {
    return false;
  }
  for (UINTN i = 0; i < sizeof(uuid); i++) {
    const INTN high = DigitOf(static_cast<CHAR8>(text[2 * i]));
    const INTN low = DigitOf(static_cast<CHAR8>(text[2 * i + 1]));
    if (high < 0 || low < 0) {
      return false;
    }
    uuid[i] = static_cast<UINT8>(high << 4 | low);
  }
  return true;
}

/// The value of an element, as it is shown.
[[nodiscard]] UINT32 AddValue(const XML_NODE* element, bool isUuidSwapped, TextPool& pool) {
  const smbios::Text text = TextOf(element->Value->Text);
  UINT8 uuid[16];
  if (Compare<CHAR8>(element->Name->Text, "UUID") != 0 || !ReadUuid(text, uuid)) {
    return pool.Add(text);
  }
  CHAR8 usual[kUuidText];
  PrintUuid(uuid, isUuidSwapped, usual);
  return pool.Add(usual);
}

}  // namespace

UINT32 TextPool::Add(smbios::Text text) {
  const UINTN where = mBytes.Size();
  const CHAR8 terminator = '\0';
  if (where + text.Length() >= kNone || !mBytes.Reserve(text.Length() + 1)) {
    return kNone;
  }
  (void)mBytes.Append(reinterpret_cast<const CHAR8*>(text.Data()), text.Length());
  (void)mBytes.Append(terminator);  // There is room.
  return static_cast<UINT32>(where);
}

UINT32 TextPool::Add(const CHAR8* text) {
  return Add(TextOf(text));
}

Document::Document() {
  VOID* parser = nullptr;
  const EFI_STATUS status = gBS->LocateProtocol(&gXmlParserProtocolGuid, nullptr, &parser);
  mParser = EFI_ERROR(status) ? nullptr : static_cast<XML_PARSER_PROTOCOL*>(parser);
}

Document::~Document() {
  Free();
}

void Document::Free() {
  if (mRoot != nullptr) {
    (void)mParser->Free(mParser, mRoot);
    mRoot = nullptr;
  }
}

Unreadable Document::Read(tvq::Span<const UINT8> data) {
  Free();
  blobs::Bytes blob;
  if (blobs::FindBlob(data, blobs::kConfiguration, 0, blob) != blobs::Search::kFound) {
    return Unreadable::kNoDocument;
  }
  if (mParser == nullptr) {
    return Unreadable::kNoParser;
  }
  const auto* text = reinterpret_cast<const CHAR8*>(blobs::DocumentOf(blob).Data());
  XML_INPUT input = {XML_INPUT_MEMORY, 0, text, {nullptr, nullptr}};
  const EFI_STATUS status = mParser->Parse(mParser, &input, &mRoot);
  if (mRoot == nullptr) {
    return status == EFI_OUT_OF_RESOURCES ? Unreadable::kNoMemory : Unreadable::kNotWellFormed;
  }
  if (IsTooDeep(mRoot)) {
    Free();
    return Unreadable::kOtherLayout;
  }
  return Unreadable::kNot;
}

bool Document::Collect(bool isUuidSwapped, TextPool& pool, GrowingArray<FieldValue>& values) const {
  bool hadMemory = true;
  VisitElements(mRoot, [&](const XML_NODE* element, Path& path) {
    const FieldValue value = {pool.Add(path.Of(element)), AddValue(element, isUuidSwapped, pool)};
    hadMemory = value.Path != kNone && value.Text != kNone && values.Append(value);
    return hadMemory;
  });
  return hadMemory;
}

bool AppendChanges(const GrowingArray<FieldValue>& before, const GrowingArray<FieldValue>& after,
                   const TextPool& pool, GrowingArray<FieldChange>& changes) {
  TwoSides fields;
  Pairs pairs;
  bool hadMemory = pairs.Prepare(before.Size(), after.Size());
  for (UINTN i = 0; i < before.Size() && hadMemory; i++) {
    hadMemory = fields.Add(i, false);
  }
  for (UINTN i = 0; i < after.Size() && hadMemory; i++) {
    hadMemory = fields.Add(i, true);
  }
  const auto pathOf = [&](const Element& element) {
    return pool.At((element.IsAfter ? after : before)[element.Index].Path);
  };
  hadMemory =
      hadMemory &&
      fields.VisitGroups(
          [&pathOf](const Element& left, const Element& right) {
            return Compare<CHAR8>(pathOf(left), pathOf(right));
          },
          [&pairs](Elements befores, Elements afters) { pairs.JoinInOrder(befores, afters); }) &&
      changes.Reserve(before.Size() + after.Size());
  if (!hadMemory) {
    return false;
  }
  // There is room for all.
  for (UINTN i = 0; i < before.Size(); i++) {
    const UINT32 now = pairs.AfterOf(i);
    const UINT32 text = now == kNone ? kNone : after[now].Text;
    if (text == kNone || Compare<CHAR8>(pool.At(before[i].Text), pool.At(text)) != 0) {
      (void)changes.Append({before[i].Path, before[i].Text, text});
    }
  }
  for (UINTN i = 0; i < after.Size(); i++) {
    if (pairs.BeforeOf(i) == kNone) {
      (void)changes.Append({after[i].Path, kNone, after[i].Text});
    }
  }
  return true;
}

}  // namespace tvqplatform

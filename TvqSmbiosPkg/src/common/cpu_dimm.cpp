/** @file
  Readers of a stored configuration document.

  SPDX-License-Identifier: BSD-2-Clause-Patent
**/

#include "cpu_dimm.h"

#include <Library/ZorvLib.h>

#include "../log.h"
#include "steps.h"

namespace tvq {

namespace {

constexpr char kSource[] = "src/common/cpu_dimm";

const CHAR8* NameOf(const XML_NODE* node) {
  return node->Name == nullptr ? nullptr : node->Name->Text;
}

/// An element without a text has the empty one.
const CHAR8* TextOf(const XML_NODE* node) {
  return node->Value == nullptr || node->Value->Text == nullptr ? "" : node->Value->Text;
}

bool IsNamed(const XML_NODE* node, const CHAR8* name) {
  const CHAR8* own = node == nullptr ? nullptr : NameOf(node);
  return own != nullptr && ZvAsciiStrCmp(own, name) == 0;
}

XML_NODE* FirstChild(const XML_NODE* node) {
  return node == nullptr ? nullptr : node->FirstChild;
}

XML_NODE* NextSibling(const XML_NODE* node) {
  return node == nullptr ? nullptr : node->NextSibling;
}

/// The name check of the node helpers. Deliberate: a node without a name passes.
bool PassesNameCheck(const XML_NODE* node, const CHAR8* name, UINTN line) {
  const CHAR8* own = NameOf(node);
  if (own == nullptr || ZvAsciiStrCmp(own, name) == 0) {
    return true;
  }
  RaiseAssertion(kSource, line, "ZvAsciiStrCmp (Node->Name->Text, Name) == 0");
  return false;
}

/// A parsed document; released exactly once, on every way out.
class StoredDocument {
 public:
  StoredDocument() = default;
  StoredDocument(const StoredDocument&) = delete;
  StoredDocument& operator=(const StoredDocument&) = delete;
  ~StoredDocument() { Release(); }

  [[nodiscard]] bool LocateParser() {
    return !EFI_ERROR(gBS->LocateProtocol(&gXmlParserProtocolGuid, nullptr,
                                          reinterpret_cast<VOID**>(&mParser))) &&
           mParser != nullptr;
  }

  /// Tells whether there is a document. The parser's status deliberately says nothing more.
  [[nodiscard]] bool Parse(const CHAR8* text) {
    XML_INPUT input = {XML_INPUT_MEMORY, 0, text, {nullptr, nullptr}};
    (void)mParser->Parse(mParser, &input, &mRoot);
    return mRoot != nullptr;
  }

  const XML_NODE* Root() const { return mRoot; }

  /// Gives the document back now.
  void Release() {
    if (mRoot != nullptr) {
      (void)mParser->Free(mParser, mRoot);
      mRoot = nullptr;
    }
  }

 private:
  XML_PARSER_PROTOCOL* mParser = nullptr;
  XML_NODE* mRoot = nullptr;
};

/// What the common start of the two readers deliberately says and does differently.
struct Reader {
  Logger Log;
  LogFormat BadArguments;
  LogFormat NoChild;
  LogFormat NoInventory;
  bool ClearsLengthForOtherRoot;
};

constexpr Reader kDimmReader = {Logger("ParseDIMMXMLBlob"), {}, {}, {}, true};
constexpr Reader kCpuReader = {
    Logger("ParseCPUXMLBlob"), "Parsing XML blob returned error param validation",
    "DOC child is not present", "CPU XML didn't find Inventory Node", false};

/// Parses the text and finds its "Inventory".
[[nodiscard]] EFI_STATUS OpenInventory(const Reader& reader, const CHAR8* text, const VOID* cache,
                                       UINT32* length, StoredDocument& document,
                                       const XML_NODE** inventory) {
  if (text == nullptr || cache == nullptr || length == nullptr || *length == 0) {
    reader.Log.IfAny(reader.BadArguments);
    return EFI_INVALID_PARAMETER;
  }
  if (!document.LocateParser()) {
    reader.Log("Not able to locate the XML Protocol");
    return EFI_NOT_FOUND;
  }
  if (!document.Parse(text)) {
    reader.Log("Parse doc failed to parse");
    *length = 0;
    return EFI_INVALID_PARAMETER;
  }
  if (!IsNamed(document.Root(), "tvqComponent")) {
    reader.Log("DOC head is not tvqComponent");
    *length = reader.ClearsLengthForOtherRoot ? 0 : *length;
    return EFI_INVALID_PARAMETER;
  }
  *inventory = FirstChild(document.Root());
  if (*inventory == nullptr) {
    reader.Log.IfAny(reader.NoChild);
    *length = 0;
    return EFI_INVALID_PARAMETER;
  }
  if (!IsNamed(*inventory, "Inventory")) {
    reader.Log.IfAny(reader.NoInventory);
    return EFI_UNSUPPORTED;
  }
  return EFI_SUCCESS;
}

/// The data element of "Configuration", which follows "Inventory"; null when it is not there.
const XML_NODE* FindData(const XML_NODE* inventory, const CHAR8* name) {
  const XML_NODE* configuration = NextSibling(inventory);
  if (!IsNamed(configuration, "Configuration")) {
    return nullptr;
  }
  const XML_NODE* data = FirstChild(configuration);
  return IsNamed(data, name) ? data : nullptr;
}

template <typename Cache>
Cache* NewCache() {
  return static_cast<Cache*>(ZvAllocateZero(sizeof(Cache)));
}

/// Frees the identity and clears the caller's pointer.
template <typename Cache>
[[nodiscard]] EFI_STATUS GiveUp(Cache** cache, void (*freeCache)(Cache*), EFI_STATUS status) {
  freeCache(*cache);
  *cache = nullptr;
  return status;
}

const XML_NODE* FindSibling(const XML_NODE* node, const CHAR8* name) {
  while (node != nullptr && !IsNamed(node, name)) {
    node = NextSibling(node);
  }
  return node;
}

}  // namespace

EFI_STATUS GetPartNumberText(const XML_NODE* Node, CHAR8** Result) {
  if (Node == nullptr || Result == nullptr || !PassesNameCheck(Node, "PartNumber", __LINE__)) {
    return EFI_INVALID_PARAMETER;
  }
  const CHAR8* text = TextOf(Node);
  const UINTN length = ZvAsciiStrLen(text);
  auto* copy = static_cast<CHAR8*>(ZvAllocateZero(length + 1));
  if (copy == nullptr) {
    return EFI_OUT_OF_RESOURCES;
  }
  ZvCopyMem(copy, text, length);
  *Result = copy;
  return EFI_SUCCESS;
}

EFI_STATUS GetByteValue(const XML_NODE* Node, const CHAR8* Name, UINT8* Result) {
  if (Node == nullptr || Name == nullptr || Result == nullptr ||
      !PassesNameCheck(Node, Name, __LINE__)) {
    return EFI_INVALID_PARAMETER;
  }
  *Result = static_cast<UINT8>(ZvAsciiDecimalToUint(TextOf(Node)));
  return EFI_SUCCESS;
}

EFI_STATUS ParseDIMMXMLBlob(const CHAR8* Text, DIMM_XML_CACHE** Cache, UINT32* Length) {
  if (Cache != nullptr) {
    *Cache = nullptr;
  }
  StoredDocument document;
  const XML_NODE* inventory = nullptr;
  EFI_STATUS status = OpenInventory(kDimmReader, Text, Cache, Length, document, &inventory);
  if (EFI_ERROR(status)) {
    return status;
  }
  *Cache = NewCache<DIMM_XML_CACHE>();
  if (*Cache == nullptr) {
    return EFI_OUT_OF_RESOURCES;
  }

  const XML_NODE* wwn = NextSibling(FirstChild(inventory));
  if (IsNamed(wwn, "WWN")) {
    const TextCopy copy = CopyText(TextOf(wwn));
    if (copy.Failed) {
      return GiveUp(Cache, FreeDimmCache, EFI_OUT_OF_RESOURCES);
    }
    (*Cache)->WWN = copy.Text;
  }
  const XML_NODE* partNumber = NextSibling(FirstChild(FindData(inventory, "dimmData")));
  if (partNumber == nullptr) {
    // Deliberate: what was read so far stays in the caller's hands.
    return EFI_UNSUPPORTED;
  }
  status = GetPartNumberText(partNumber, &(*Cache)->PartNo);
  if (EFI_ERROR(status)) {
    kDimmReader.Log("Error Parsing Part Number");
    return GiveUp(Cache, FreeDimmCache, status);
  }
  return EFI_SUCCESS;
}

EFI_STATUS ParseCPUXMLBlob(const CHAR8* Text, CPU_XML_CACHE** Cache, UINT32* Length) {
  if (Cache != nullptr) {
    *Cache = nullptr;
  }
  StoredDocument document;
  const XML_NODE* inventory = nullptr;
  EFI_STATUS status = OpenInventory(kCpuReader, Text, Cache, Length, document, &inventory);
  if (EFI_ERROR(status)) {
    return status;
  }
  *Cache = NewCache<CPU_XML_CACHE>();
  if (*Cache == nullptr) {
    kCpuReader.Log("Memory allocation failed for Cache");
    return EFI_OUT_OF_RESOURCES;
  }

  const XML_NODE* name = FirstChild(inventory);
  if (IsNamed(name, "MarketingName")) {
    const TextCopy copy = CopyText(TextOf(name));
    if (copy.Failed) {
      kCpuReader.Log("Memory allocation failed for mktname");
      return GiveUp(Cache, FreeCpuCache, EFI_OUT_OF_RESOURCES);
    }
    (*Cache)->MarketingName = copy.Text;
  }
  const XML_NODE* data = FindData(inventory, "cpuData");
  if (data != nullptr) {
    kCpuReader.Log("Searching for Corecount node");
    const XML_NODE* coreCount = FindSibling(FirstChild(data), "CoreCount");
    if (coreCount != nullptr) {
      status = GetByteValue(coreCount, "CoreCount", &(*Cache)->CoreCount);
      if (EFI_ERROR(status)) {
        kCpuReader.Log("error parsing CoreCount");
        return GiveUp(Cache, FreeCpuCache, status);
      }
      return EFI_SUCCESS;
    }
  }
  // Unlike the others, this line comes behind the release.
  document.Release();
  kCpuReader.Log("CPU XML didn't find Inventory Node");
  return EFI_UNSUPPORTED;
}

void FreeDimmCache(DIMM_XML_CACHE* cache) {
  if (cache != nullptr) {
    FreeBlock(cache->PartNo);
    FreeBlock(cache->WWN);
    ZvFreePool(cache);
  }
}

void FreeCpuCache(CPU_XML_CACHE* cache) {
  if (cache != nullptr) {
    FreeBlock(cache->MarketingName);
    ZvFreePool(cache);
  }
}

}  // namespace tvq

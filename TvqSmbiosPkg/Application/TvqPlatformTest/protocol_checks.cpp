/** @file
  Checks of the protocols that the driver starts without: debug log, management, XML parser.

  SPDX-License-Identifier: BSD-2-Clause-Patent
**/

#include <IndustryStandard/TvqBlob.h>
#include <Protocol/DebugLog.h>
#include <Protocol/TvqManagement.h>
#include <Protocol/XmlParser.h>

#include "check.h"

namespace tvqtest {

namespace {

VOID* FindLog() {
  return Locate(gDebugLogProtocolGuid);
}

VOID* FindManagement() {
  return Locate(gTvqManagementProtocolGuid);
}

VOID* FindXmlParser() {
  return Locate(gXmlParserProtocolGuid);
}

// --- Debug log ---

/// What it makes of the line, only its reader can tell; but it has to come back.
bool TakesALine() {
  const auto print = static_cast<DEBUG_LOG_PROTOCOL*>(FindLog())->Print;
  print(DEBUG_LOG_LEVEL_INFO, "TvqPlatformTest", tvq::Ucs2(u"%a %s %d %x %r\n"), "a line",
        tvq::Ucs2(u"of TvqPlatformTest"), 1, 2, EFI_SUCCESS);
  return true;
}

constexpr Check kLogChecks[] = {
    {"position 5, Print: takes a line with PrintLib's directives",
     OFFSET_OF(DEBUG_LOG_PROTOCOL, Print), TakesALine},
};

// --- Management ---

/// A device's stored data, with nothing but an end blob.
TVQ_END_BLOB gStored = {
    {TVQ_BLOB_REVISION, TVQ_BLOB_TYPE_END, TVQ_BLOB_COOKIE_END, sizeof(TVQ_END_BLOB)}, {}};

/// The platform may know the data by other means than its content, so nothing has to be found here.
bool FindsNothingThatIsNotThere() {
  auto* management = static_cast<TVQ_MANAGEMENT_PROTOCOL*>(FindManagement());
  const TVQ_LOCATE_BLOB locate = management->LocateBlob;
  VOID* blob = nullptr;
  return EFI_ERROR(locate(management, &gStored, TVQ_BLOB_TYPE_CONFIGURATION, 0, &blob));
}

constexpr Check kManagementChecks[] = {
    {"byte 60, LocateBlob: answers an error where there is no such blob",
     OFFSET_OF(TVQ_MANAGEMENT_PROTOCOL, LocateBlob), FindsNothingThatIsNotThere},
};

// --- XML parser ---

/// A parsed document, released at the end.
class Document {
 public:
  explicit Document(const CHAR8* text) {
    XML_INPUT input = {XML_INPUT_MEMORY, 0, text, {nullptr, nullptr}};
    mParser->Parse(mParser, &input, &mRoot);
  }
  Document(const Document&) = delete;
  Document& operator=(const Document&) = delete;
  ~Document() {
    if (mRoot != nullptr && mParser->Free != nullptr) {
      mParser->Free(mParser, mRoot);
    }
  }

  const XML_NODE* Root() const { return mRoot; }

 private:
  XML_PARSER_PROTOCOL* mParser = static_cast<XML_PARSER_PROTOCOL*>(FindXmlParser());
  XML_NODE* mRoot = nullptr;
};

bool HasText(const XML_TEXT* text, const CHAR8* wanted) {
  return text != nullptr && text->Text != nullptr && IsSame(text->Text, wanted);
}

bool IsElement(const XML_NODE* node, const CHAR8* name, const CHAR8* value) {
  return node != nullptr && HasText(node->Name, name) && HasText(node->Value, value);
}

bool ParsesADocument() {
  const Document document(
      "<tvqComponent>\n  <Inventory>\n    <WWN>7A2C0001</WWN>\n    <Model>A &amp; B</Model>\n"
      "  </Inventory>\n  <Configuration></Configuration>\n</tvqComponent>");
  const XML_NODE* root = document.Root();
  if (root == nullptr || !HasText(root->Name, "tvqComponent") || root->NextSibling != nullptr) {
    return false;
  }
  const XML_NODE* inventory = root->FirstChild;
  if (inventory == nullptr || !HasText(inventory->Name, "Inventory")) {
    return false;
  }
  const XML_NODE* wwn = inventory->FirstChild;
  return IsElement(wwn, "WWN", "7A2C0001") && IsElement(wwn->NextSibling, "Model", "A & B") &&
         wwn->NextSibling->NextSibling == nullptr && inventory->NextSibling != nullptr &&
         HasText(inventory->NextSibling->Name, "Configuration");
}

bool RefusesWhatIsNoDocument() {
  constexpr const CHAR8* kTexts[] = {"", "no document", "<a><b></a></b>", "<a>"};
  for (const CHAR8* text : kTexts) {
    if (Document(text).Root() != nullptr) {
      return false;
    }
  }
  return true;
}

constexpr Check kXmlChecks[] = {
    {"position 1, Parse: makes the tree of a document", OFFSET_OF(XML_PARSER_PROTOCOL, Parse),
     ParsesADocument},
    {"position 1, Parse: answers NULL for a text that is no document",
     OFFSET_OF(XML_PARSER_PROTOCOL, Parse), RefusesWhatIsNoDocument},
    {"position 4, Free: is set", OFFSET_OF(XML_PARSER_PROTOCOL, Free), nullptr},
};

}  // namespace

const Group kDebugLog = {"Debug log",
                         FindLog,
                         "the driver's log lines are dropped until gDebugLogProtocolGuid appears.",
                         "compare the interface with Protocol/DebugLog.h.",
                         true,
                         kLogChecks};

const Group kManagement = {
    "TVQ management",
    FindManagement,
    "no agent can verify a device: SMTVQVerify answers EFI_INVALID_PARAMETER.",
    "compare the interface with Protocol/TvqManagement.h: it is packed, its pointers start at byte "
    "4.",
    true,
    kManagementChecks};

const Group kXmlParser = {"XML parser",
                          FindXmlParser,
                          "no agent can verify a device: SMTVQVerify answers EFI_NOT_FOUND.",
                          "compare the interface and its nodes with Protocol/XmlParser.h: white "
                          "space between elements is no node.",
                          true,
                          kXmlChecks};

}  // namespace tvqtest

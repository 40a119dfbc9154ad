/*
 * An XML parser that is none of the platform's: whatever a document is, the test has said before what comes of it.
 *
 * SPDX-License-Identifier: BSD-2-Clause-Patent
 */
#ifndef TVQ_TESTS_UNIT_PLATFORM_STATES_FAKE_PARSER_H_
#define TVQ_TESTS_UNIT_PLATFORM_STATES_FAKE_PARSER_H_

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "host/firmware/firmware.h"

#include <TvqCpp.h>
#include <Protocol/XmlParser.h>

namespace tvq::test {

class FakeParser {
 public:
  // With EFI_SUCCESS a document is an element of its own, else there is none.
  FakeParser(host::Firmware& machine, EFI_STATUS status)
      : mProtocol{{nullptr, Parse, {nullptr, nullptr}, Free}, this},
        mFirmware(machine),
        mStatus(status) {
    mRoot.Name = &mName;
    mRoot.Value = &mName;
    EXPECT_EQ(machine.BootServices()->InstallMultipleProtocolInterfaces(
                  &mHandle, &gXmlParserProtocolGuid, &mProtocol.protocol, nullptr),
              EFI_SUCCESS);
  }
  FakeParser(const FakeParser&) = delete;
  FakeParser& operator=(const FakeParser&) = delete;
  ~FakeParser() {
    EXPECT_EQ(mOpen, 0) << "documents that nobody freed";
    EXPECT_EQ(mFirmware.BootServices()->UninstallMultipleProtocolInterfaces(
                  mHandle, &gXmlParserProtocolGuid, &mProtocol.protocol, nullptr),
              EFI_SUCCESS);
  }

  // What it was asked to parse.
  const std::vector<std::string>& Documents() const { return mDocuments; }

 private:
  struct Protocol {
    XML_PARSER_PROTOCOL protocol;
    FakeParser* parser;
  };

  static EFI_STATUS EFIAPI Parse(XML_PARSER_PROTOCOL* self, XML_INPUT* input, XML_NODE** document) {
    FakeParser& parser = *reinterpret_cast<Protocol*>(self)->parser;
    EXPECT_EQ(input->SourceKind, static_cast<UINT32>(XML_INPUT_MEMORY));
    EXPECT_EQ(input->Padding, 0u);
    EXPECT_EQ(input->Reserved[0], nullptr);
    EXPECT_EQ(input->Reserved[1], nullptr);
    parser.mDocuments.emplace_back(input->Text);
    *document = EFI_ERROR(parser.mStatus) ? nullptr : &parser.mRoot;
    parser.mOpen += EFI_ERROR(parser.mStatus) ? 0 : 1;
    return parser.mStatus;
  }
  static EFI_STATUS EFIAPI Free(XML_PARSER_PROTOCOL* self, XML_NODE* document) {
    FakeParser& parser = *reinterpret_cast<Protocol*>(self)->parser;
    EXPECT_EQ(document, &parser.mRoot);
    parser.mOpen--;
    return EFI_SUCCESS;
  }

  Protocol mProtocol;
  host::Firmware& mFirmware;
  EFI_STATUS mStatus;
  EFI_HANDLE mHandle = nullptr;
  CHAR8 mNameText[5] = "root";
  XML_TEXT mName = {nullptr, mNameText};
  XML_NODE mRoot = {};
  std::vector<std::string> mDocuments;
  int mOpen = 0;
};

}  // namespace tvq::test

#endif  // TVQ_TESTS_UNIT_PLATFORM_STATES_FAKE_PARSER_H_

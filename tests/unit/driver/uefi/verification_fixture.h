/*
 * What verification stands on: the reference platform's XML parser under a double that keeps account of its documents, a management protocol that
 * hands out what a test says, and the data that an agent would pass.
 *
 * SPDX-License-Identifier: BSD-2-Clause-Patent
 */
#ifndef TVQ_TESTS_UNIT_DRIVER_UEFI_VERIFICATION_FIXTURE_H_
#define TVQ_TESTS_UNIT_DRIVER_UEFI_VERIFICATION_FIXTURE_H_

#include <cstddef>
#include <functional>
#include <set>
#include <string>
#include <vector>

#include "images/platform.h"
#include "tests/unit/driver/uefi/document_fixture.h"

#include <IndustryStandard/TvqBlob.h>
#include <Protocol/TvqManagement.h>
#include <Protocol/XmlParser.h>

namespace tvq::test {

// Parses with the reference platform's parser, or hands out a tree of the test. It complains about documents that are freed twice
// or were never handed out.
class ParserDouble {
 public:
  ParserDouble();

  XML_PARSER_PROTOCOL* Protocol() { return &mInterface.protocol; }

  // What Parse returns instead of the parser's status.
  std::vector<EFI_STATUS> statuses;
  // What Parse hands out instead of parsing.
  XML_NODE* tree = nullptr;

  // Called before a document is freed.
  std::function<void()> onFree;

  // The bytes of each input, padding included.
  std::vector<std::vector<UINT8>> inputs;
  size_t freed = 0;
  std::set<const XML_NODE*> documents;  // handed out and not yet freed

 private:
  struct Interface {
    XML_PARSER_PROTOCOL protocol = {};
    ParserDouble* self = nullptr;
  };
  static ParserDouble& Of(XML_PARSER_PROTOCOL* protocol);
  static EFI_STATUS EFIAPI Parse(XML_PARSER_PROTOCOL* This, XML_INPUT* Input, XML_NODE** Document);
  static EFI_STATUS EFIAPI Free(XML_PARSER_PROTOCOL* This, XML_NODE* Document);

  Interface mInterface;
};

class ManagementDouble {
 public:
  struct Call {
    VOID* storedData = nullptr;
    UINT32 type = 0;
    UINTN index = 0;
  };

  ManagementDouble();

  TVQ_MANAGEMENT_PROTOCOL* Protocol() { return &mInterface.protocol; }

  // What the next calls answer.
  EFI_STATUS status = EFI_SUCCESS;
  VOID* blob = nullptr;

  std::vector<Call> calls;

 private:
#pragma pack(1)
  struct Interface {
    TVQ_MANAGEMENT_PROTOCOL protocol = {};
    ManagementDouble* self = nullptr;
  };
#pragma pack()
  static EFI_STATUS EFIAPI LocateBlob(TVQ_MANAGEMENT_PROTOCOL* This, VOID* StoredData,
                                      UINT32 BlobType, UINTN Index, VOID** Blob);

  Interface mInterface;
};

// The driver beside the reference platform's parser, which no protocol announces yet. At the end of a test the driver has freed
// every block and every document.
class VerificationTest : public RecordTest {
 protected:
  VerificationTest();
  ~VerificationTest() override;

  void InstallParser() { Install(gXmlParserProtocolGuid, mParser.Protocol()); }
  void InstallManagement() { Install(gTvqManagementProtocolGuid, mManagement.Protocol()); }
  void Install(EFI_GUID& guid, VOID* interface);
  // Blocks that the platform's parser holds.
  size_t ParserBlocks() { return Memory().LiveCount(host::images::platform); }
  // Makes each allocation of the driver and of the parser in turn fail alone, calls `attempt`, and goes on until none failed.
  void ForEachFailingAllocation(const std::function<void()>& attempt);

  ParserDouble mParser;
  ManagementDouble mManagement;
};

// The configuration blob of a document.
std::vector<UINT8> ConfigurationBlob(const std::string& document);

// Documents as the driver writes them, with what verification looks at.
std::string DimmDocument(const std::string& wwn, const std::string& partNumber);
std::string CpuDocument(const std::string& marketingName, const std::string& coreCount);

// "<name>text</name>"
std::string Element(const std::string& name, const std::string& text);

// Runs something on a stack as small as firmware's.
void OnSmallStack(const std::function<void()>& action);

}  // namespace tvq::test

#endif  // TVQ_TESTS_UNIT_DRIVER_UEFI_VERIFICATION_FIXTURE_H_

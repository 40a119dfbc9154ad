/*
 * What verification stands on.
 *
 * SPDX-License-Identifier: BSD-2-Clause-Patent
 */
#include "tests/unit/driver/uefi/verification_fixture.h"

#include <pthread.h>

#include <cstring>

#include <Library/TvqXmlParserLib.h>

namespace tvq::test {

ParserDouble::ParserDouble() {
  mInterface.protocol.Parse = Parse;
  mInterface.protocol.Free = Free;
  mInterface.self = this;
}

ParserDouble& ParserDouble::Of(XML_PARSER_PROTOCOL* protocol) {
  return *reinterpret_cast<Interface*>(protocol)->self;
}

EFI_STATUS ParserDouble::Parse(XML_PARSER_PROTOCOL* This, XML_INPUT* Input, XML_NODE** Document) {
  ParserDouble& self = Of(This);
  self.inputs.push_back(BytesAt(Input, sizeof(*Input)));
  EFI_STATUS status = EFI_SUCCESS;
  if (self.tree != nullptr) {
    *Document = self.tree;
  } else {
    status = gTvqXmlParser.Parse(&gTvqXmlParser, Input, Document);
  }
  if (*Document != nullptr) {
    self.documents.insert(*Document);
  }
  return self.statuses.empty() ? status : self.statuses.front();
}

EFI_STATUS ParserDouble::Free(XML_PARSER_PROTOCOL* This, XML_NODE* Document) {
  ParserDouble& self = Of(This);
  self.freed++;
  if (self.onFree) {
    self.onFree();
  }
  if (self.documents.erase(Document) != 1) {
    ADD_FAILURE() << "a document is freed that is not there";
    return EFI_INVALID_PARAMETER;
  }
  return Document == self.tree ? EFI_SUCCESS : gTvqXmlParser.Free(&gTvqXmlParser, Document);
}

ManagementDouble::ManagementDouble() {
  mInterface.protocol.LocateBlob = LocateBlob;
  mInterface.self = this;
}

EFI_STATUS ManagementDouble::LocateBlob(TVQ_MANAGEMENT_PROTOCOL* This, VOID* StoredData,
                                        UINT32 BlobType, UINTN Index, VOID** Blob) {
  ManagementDouble& self = *reinterpret_cast<Interface*>(This)->self;
  self.calls.push_back({StoredData, BlobType, Index});
  if (!EFI_ERROR(self.status)) {
    *Blob = self.blob;
  }
  return self.status;
}

VerificationTest::VerificationTest() {
  Firmware().ConstructImage(Firmware().LoadImage(host::images::platform));
}

VerificationTest::~VerificationTest() {
  EXPECT_EQ(NewBlockSizes(), std::vector<size_t>()) << "the driver has kept blocks";
  EXPECT_TRUE(mParser.documents.empty()) << "a document was never freed";
  EXPECT_EQ(ParserBlocks(), 0u);
}

void VerificationTest::Install(EFI_GUID& guid, VOID* interface) {
  EFI_HANDLE handle = nullptr;
  EXPECT_EQ(Firmware().BootServices()->InstallProtocolInterface(&handle, &guid,
                                                                EFI_NATIVE_INTERFACE, interface),
            EFI_SUCCESS);
}

void VerificationTest::ForEachFailingAllocation(const std::function<void()>& attempt) {
  for (const host::Image* image : {&host::images::driver, &host::images::platform}) {
    bool failed = true;
    for (uint64_t n = 1; failed && !HasFailure(); ++n) {
      SCOPED_TRACE(image->Name() + ": allocation " + std::to_string(n));
      const uint64_t before = Memory().FailedAllocations();
      Memory().FailAllocation(n, *image);
      attempt();
      Memory().StopFailing();
      failed = Memory().FailedAllocations() != before;
      EXPECT_EQ(NewBlockSizes(), std::vector<size_t>());
      EXPECT_EQ(ParserBlocks(), 0u);
    }
  }
}

std::vector<UINT8> ConfigurationBlob(const std::string& document) {
  return ByteWriter()
      .U32(1)
      .U32(5)
      .U32(0x2C41C4EC)
      .U32(static_cast<UINT32>(80 + document.size() + 1))
      .Zeros(64)
      .Text(document)
      .Written();
}

std::string Element(const std::string& name, const std::string& text) {
  return "<" + name + ">" + text + "</" + name + ">";
}

std::string DimmDocument(const std::string& wwn, const std::string& partNumber) {
  return Document(Element("MarketingName", "") + Element("WWN", wwn) + Element("Identifier", ""),
                  Element("dimmData", Element("Speed", "3200") + Element("PartNumber", partNumber) +
                                          Element("Manufacturer", "Memory Works")));
}

std::string CpuDocument(const std::string& marketingName, const std::string& coreCount) {
  return Document(
      Element("MarketingName", marketingName) + Element("Identifier", ""),
      Element("cpuData", Element("ProcessorFamily", "b3") + Element("CoreCount", coreCount) +
                             Element("EnabledCoreCount", "7")));
}

namespace {

void* CallAction(void* action) {
  (*static_cast<const std::function<void()>*>(action))();
  return nullptr;
}

}  // namespace

void OnSmallStack(const std::function<void()>& action) {
  // What UEFI demands of a stack; the sanitizer's red zones fit in as well.
  constexpr size_t kStackSize = 128 * 1024;
  pthread_attr_t attributes;
  pthread_attr_init(&attributes);
  ASSERT_EQ(pthread_attr_setstacksize(&attributes, kStackSize), 0);
  pthread_t thread;
  ASSERT_EQ(
      pthread_create(&thread, &attributes, CallAction, const_cast<std::function<void()>*>(&action)),
      0);
  pthread_join(thread, nullptr);
  pthread_attr_destroy(&attributes);
}

}  // namespace tvq::test

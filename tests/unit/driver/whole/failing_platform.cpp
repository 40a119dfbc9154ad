/*
 * Operations of the platform that count their calls, and of which each can be made to fail.
 *
 * SPDX-License-Identifier: BSD-2-Clause-Patent
 */
#include "tests/unit/driver/whole/failing_platform.h"

#include "images/platform.h"

#include <Library/TvqXmlParserLib.h>
#include <Protocol/TvqManagement.h>
#include <Protocol/XmlParser.h>

namespace tvq::test {
namespace {

FailingPlatform* gPlatform = nullptr;

}  // namespace

const char* OperationName(Operation operation) {
  constexpr const char* kNames[] = {"RegisterAttribute", "SetAttributeValue", "AsciiStrCpyS",
                                    "AsciiStrnCpyS",     "AsciiVSPrint",      "LocateBlob",
                                    "XML Parse",         "XML Free"};
  static_assert(std::size(kNames) == static_cast<unsigned>(Operation::kCount));
  return kNames[static_cast<unsigned>(operation)];
}

struct FailingPlatform::Hooks {
  static bool Fails(Operation operation) { return gPlatform->CountAndMayFail(operation); }

  static EFI_STATUS EFIAPI RegisterAttribute(VOID* token, CHAR16* space, ZV_ATTRIBUTE_GETTER getter,
                                             ZV_ATTRIBUTE_SETTER setter) {
    return Fails(Operation::kRegisterAttribute)
               ? EFI_DEVICE_ERROR
               : gPlatform->mServices.RegisterAttribute(token, space, getter, setter);
  }

  static EFI_STATUS EFIAPI SetAttributeValue(CHAR16* space, CHAR16* name, UINT64 value) {
    return Fails(Operation::kSetAttributeValue)
               ? EFI_DEVICE_ERROR
               : gPlatform->mServices.SetAttributeValue(space, name, value);
  }

  static RETURN_STATUS EFIAPI AsciiStrCpyS(CHAR8* destination, UINTN room, const CHAR8* source) {
    return Fails(Operation::kAsciiStrCpyS)
               ? RETURN_DEVICE_ERROR
               : gPlatform->mLibrary.AsciiStrCpyS(destination, room, source);
  }

  static RETURN_STATUS EFIAPI AsciiStrnCpyS(CHAR8* destination, UINTN room, const CHAR8* source,
                                            UINTN length) {
    return Fails(Operation::kAsciiStrnCpyS)
               ? RETURN_DEVICE_ERROR
               : gPlatform->mLibrary.AsciiStrnCpyS(destination, room, source, length);
  }

  static UINTN EFIAPI AsciiVSPrint(CHAR8* buffer, UINTN size, const CHAR8* format, VA_LIST marker) {
    return Fails(Operation::kAsciiVSPrint)
               ? 0
               : gPlatform->mLibrary.AsciiVSPrint(buffer, size, format, marker);
  }

  static EFI_STATUS EFIAPI LocateBlob(TVQ_MANAGEMENT_PROTOCOL*, VOID*, UINT32, UINTN, VOID** blob) {
    if (Fails(Operation::kLocateBlob)) {
      return EFI_DEVICE_ERROR;
    }
    *blob = gPlatform->mBlob;
    return EFI_SUCCESS;
  }

  static EFI_STATUS EFIAPI Parse(XML_PARSER_PROTOCOL*, XML_INPUT* input, XML_NODE** document) {
    if (Fails(Operation::kXmlParse)) {
      *document = nullptr;
      return EFI_DEVICE_ERROR;
    }
    return gTvqXmlParser.Parse(&gTvqXmlParser, input, document);
  }

  static EFI_STATUS EFIAPI Free(XML_PARSER_PROTOCOL*, XML_NODE* document) {
    return Fails(Operation::kXmlFree) ? EFI_DEVICE_ERROR
                                      : gTvqXmlParser.Free(&gTvqXmlParser, document);
  }

  static inline TVQ_MANAGEMENT_PROTOCOL management = {1, {}, LocateBlob};
  static inline XML_PARSER_PROTOCOL parser = {nullptr, Parse, {}, Free};
};

FailingPlatform::FailingPlatform(std::initializer_list<Part> leftOut)
    : mHarness(leftOut),
      mServices(mHarness.platform.services),
      mLibrary(mHarness.platform.library) {
  gPlatform = this;
  host::Firmware& firmware = mHarness.Firmware();
  // The parser's code is needed, and none of the platform's protocols.
  firmware.ConstructImage(firmware.LoadImage(host::images::platform));
  mHarness.platform.services.RegisterAttribute = Hooks::RegisterAttribute;
  mHarness.platform.services.SetAttributeValue = Hooks::SetAttributeValue;
  mHarness.platform.library.AsciiStrCpyS = Hooks::AsciiStrCpyS;
  mHarness.platform.library.AsciiStrnCpyS = Hooks::AsciiStrnCpyS;
  mHarness.platform.library.AsciiVSPrint = Hooks::AsciiVSPrint;
  EFI_HANDLE handle = nullptr;
  EXPECT_EQ(mHarness.BootServices()->InstallMultipleProtocolInterfaces(
                &handle, &gTvqManagementProtocolGuid, &Hooks::management, &gXmlParserProtocolGuid,
                &Hooks::parser, nullptr),
            EFI_SUCCESS);
}

FailingPlatform::~FailingPlatform() {
  gPlatform = nullptr;
}

void FailingPlatform::Fail(Operation operation, uint64_t n, bool following) {
  State& state = Of(operation);
  state.failing = state.calls + n;
  state.following = following;
}

void FailingPlatform::StopFailing() {
  for (State& state : mStates) {
    state.failing = 0;
  }
}

bool FailingPlatform::CountAndMayFail(Operation operation) {
  State& state = Of(operation);
  ++state.calls;
  return state.failing != 0 &&
         (state.calls == state.failing || (state.following && state.calls > state.failing));
}

}  // namespace tvq::test

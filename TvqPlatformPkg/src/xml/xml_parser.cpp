/** @file
  The XML parser protocol, on expat.

  SPDX-License-Identifier: BSD-2-Clause-Patent
**/

#include <TvqCpp.h>

extern "C" {
#include <Protocol/Rng.h>
#include <expat.h>
}

#include <Library/TvqXmlParserLib.h>

#include "../text.h"
#include "document.h"
#include "pool.h"

namespace tvqplatform {

namespace {

/// What documents are read as, whatever they say of themselves: the driver copies the bytes of the
/// SMBIOS table into them, which may be any.
constexpr XML_Char kEncoding[] = "ISO-8859-1";

constexpr XML_Memory_Handling_Suite kPool = {TvqXmlAllocate, TvqXmlReallocate, TvqXmlFree};

/// Seeds expat's hash tables, so that whoever wrote a document cannot make its names collide. Where
/// the firmware has no random numbers, a count that it never repeats has to do.
UINT64 MakeSalt() {
  UINT64 salt = 0;
  EFI_RNG_PROTOCOL* random = nullptr;
  if (!EFI_ERROR(
          gBS->LocateProtocol(&gEfiRngProtocolGuid, nullptr, reinterpret_cast<VOID**>(&random))) &&
      !EFI_ERROR(random->GetRNG(random, nullptr, sizeof(salt), reinterpret_cast<UINT8*>(&salt)))) {
    return salt;
  }
  (void)gBS->GetNextMonotonicCount(&salt);
  constexpr UINT64 kSpread = 0x9E3779B97F4A7C15;
  return salt * kSpread;
}

/// Reads one text. The first thing that goes wrong decides the status and ends the reading.
class Reader {
 public:
  Reader() : mExpat(XML_ParserCreate_MM(kEncoding, &kPool, nullptr)) {}
  ~Reader() {
    if (mExpat != nullptr) {
      XML_ParserFree(mExpat);
    }
  }
  Reader(const Reader&) = delete;
  Reader& operator=(const Reader&) = delete;

  EFI_STATUS Read(const CHAR8* text, XML_NODE** document) {
    if (mExpat == nullptr) {
      return EFI_OUT_OF_RESOURCES;
    }
    const UINTN length = Length(text);
    if (length > MAX_INT32) {
      return EFI_BAD_BUFFER_SIZE;
    }
    XML_SetUserData(mExpat, this);
    XML_SetHashSalt(mExpat, MakeSalt());
    XML_SetElementHandler(mExpat, OnStart, OnEnd);
    XML_SetCharacterDataHandler(mExpat, OnText);
    XML_SetStartDoctypeDeclHandler(mExpat, OnDocumentType);
    if (XML_Parse(mExpat, text, static_cast<int>(length), XML_TRUE) != XML_STATUS_OK) {
      return FailureStatus();
    }
    *document = mBuilder.Release();
    return EFI_SUCCESS;
  }

 private:
  [[nodiscard]] EFI_STATUS FailureStatus() const {
    if (EFI_ERROR(mStatus)) {
      return mStatus;
    }
    return XML_GetErrorCode(mExpat) == XML_ERROR_NO_MEMORY ? EFI_OUT_OF_RESOURCES
                                                           : EFI_VOLUME_CORRUPTED;
  }

  void Stop(EFI_STATUS status) {
    mStatus = status;
    XML_StopParser(mExpat, XML_FALSE);
  }

  /// Expat reports the end of an empty element even when its start stopped the reading.
  static Reader* StillReading(void* self) {
    auto* reader = static_cast<Reader*>(self);
    return EFI_ERROR(reader->mStatus) ? nullptr : reader;
  }

  static void OnStart(void* self, const XML_Char* name, const XML_Char**) {
    Reader* reader = StillReading(self);
    if (reader != nullptr && !reader->mBuilder.Open(name)) {
      reader->Stop(EFI_OUT_OF_RESOURCES);
    }
  }

  static void OnEnd(void* self, const XML_Char*) {
    Reader* reader = StillReading(self);
    if (reader != nullptr) {
      reader->mBuilder.Close();
    }
  }

  static void OnText(void* self, const XML_Char* text, int length) {
    Reader* reader = StillReading(self);
    if (reader != nullptr && !reader->mBuilder.AddText(text, static_cast<UINTN>(length))) {
      reader->Stop(EFI_OUT_OF_RESOURCES);
    }
  }

  /// Deliberately refused: no document of the driver has one, and without one there is no entity to
  /// expand.
  static void OnDocumentType(void* self, const XML_Char*, const XML_Char*, const XML_Char*, int) {
    static_cast<Reader*>(self)->Stop(EFI_UNSUPPORTED);
  }

  XML_Parser mExpat;
  DocumentBuilder mBuilder;
  EFI_STATUS mStatus = EFI_SUCCESS;
};

/**
  Parses a text.

  @retval EFI_SUCCESS             Document is the root element.
  @retval EFI_INVALID_PARAMETER   An argument or the text is NULL.
  @retval EFI_UNSUPPORTED         The source is no text in memory, or the text has a document type
                                  declaration.
  @retval EFI_BAD_BUFFER_SIZE     The text is longer than 2 GiB.
  @retval EFI_VOLUME_CORRUPTED    The text is not well-formed.
  @retval EFI_OUT_OF_RESOURCES    Memory ran out.
**/
EFI_STATUS EFIAPI Parse(XML_PARSER_PROTOCOL* This, XML_INPUT* Input, XML_NODE** Document) {
  if (Document == nullptr) {
    return EFI_INVALID_PARAMETER;
  }
  *Document = nullptr;
  if (This == nullptr || Input == nullptr || Input->Text == nullptr) {
    return EFI_INVALID_PARAMETER;
  }
  if (Input->SourceKind != XML_INPUT_MEMORY) {
    return EFI_UNSUPPORTED;
  }
  return Reader().Read(Input->Text, Document);
}

EFI_STATUS EFIAPI Free(XML_PARSER_PROTOCOL* This, XML_NODE* Document) {
  if (This == nullptr || Document == nullptr) {
    return EFI_INVALID_PARAMETER;
  }
  FreeDocument(Document);
  return EFI_SUCCESS;
}

}  // namespace

}  // namespace tvqplatform

XML_PARSER_PROTOCOL gTvqXmlParser = {
    nullptr, tvqplatform::Parse, {nullptr, nullptr}, tvqplatform::Free};

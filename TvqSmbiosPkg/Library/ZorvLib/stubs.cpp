/** @file
  Wrappers over the ZVI service table: one family, told apart by the entry alone.

  SPDX-License-Identifier: BSD-2-Clause-Patent
**/

#include <TvqCpp.h>
#include <Library/ZorvLib.h>

namespace {

constexpr char kSource[] = "Library/ZorvLib/stubs";

/// Tells whether a table that gZV points to is there.
template <typename Table>
bool Ready(Table* ZV_LIBRARY::*table, const char* missing, UINTN line) {
  if (gZV == nullptr) {
    tvq::RaiseAssertion(kSource, line, "gZV != ((void *) 0)");
    return false;
  }
  if (gZV->*table == nullptr) {
    tvq::RaiseAssertion(kSource, line, missing);
    return false;
  }
  return true;
}

/// The one shape of all wrappers: the entry's result, or zero without the table.
template <typename Result, typename... Parameters, typename... Arguments>
Result Forward(UINTN line, Result (EFIAPI* ZV_LIBRARY_PROTOCOL::*entry)(Parameters...),
               Arguments... arguments) {
  if (!Ready(&ZV_LIBRARY::ZVI, "gZV->ZVI != ((void *) 0)", line)) {
    return Result();
  }
  return (gZV->ZVI->*entry)(arguments...);
}

}  // namespace

VOID ZvCopyMem(VOID* Destination, const VOID* Source, UINTN Length) {
  Forward(__LINE__, &ZV_LIBRARY_PROTOCOL::CopyMem, Destination, Source, Length);
}

UINTN ZvAsciiVSPrint(CHAR8* Buffer, UINTN BufferSize, const CHAR8* Format, VA_LIST Marker) {
  return Forward(__LINE__, &ZV_LIBRARY_PROTOCOL::AsciiVSPrint, Buffer, BufferSize, Format, Marker);
}

UINTN EFIAPI ZvAsciiSPrint(CHAR8* Buffer, UINTN BufferSize, const CHAR8* Format, ...) {
  VA_LIST marker;
  VA_START(marker, Format);
  const UINTN printed = ZvAsciiVSPrint(Buffer, BufferSize, Format, marker);
  VA_END(marker);
  return printed;
}

UINTN ZvAsciiStrLen(const CHAR8* String) {
  return Forward(__LINE__, &ZV_LIBRARY_PROTOCOL::AsciiStrLen, String);
}

INTN ZvAsciiStrCmp(const CHAR8* First, const CHAR8* Second) {
  return Forward(__LINE__, &ZV_LIBRARY_PROTOCOL::AsciiStrCmp, First, Second);
}

INTN ZvAsciiStrnCmp(const CHAR8* First, const CHAR8* Second, UINTN Length) {
  return Forward(__LINE__, &ZV_LIBRARY_PROTOCOL::AsciiStrnCmp, First, Second, Length);
}

RETURN_STATUS ZvAsciiStrCpyS(CHAR8* Destination, UINTN DestMax, const CHAR8* Source) {
  return Forward(__LINE__, &ZV_LIBRARY_PROTOCOL::AsciiStrCpyS, Destination, DestMax, Source);
}

RETURN_STATUS ZvAsciiStrnCpyS(CHAR8* Destination, UINTN DestMax, const CHAR8* Source,
                              UINTN Length) {
  return Forward(__LINE__, &ZV_LIBRARY_PROTOCOL::AsciiStrnCpyS, Destination, DestMax, Source,
                 Length);
}

CHAR8* ZvAsciiStrStr(const CHAR8* String, const CHAR8* SearchString) {
  return Forward(__LINE__, &ZV_LIBRARY_PROTOCOL::AsciiStrStr, String, SearchString);
}

VOID ZvAsciiStrTrim(CHAR8* String, CHAR8 Character) {
  Forward(__LINE__, &ZV_LIBRARY_PROTOCOL::AsciiStrTrim, String, Character);
}

UINTN ZvAsciiStrToUint(const CHAR8* String, UINT32 Base) {
  return Forward(__LINE__, &ZV_LIBRARY_PROTOCOL::AsciiStrToUint, String, Base);
}

UINTN ZvAsciiDecimalToUint(const CHAR8* String) {
  return ZvAsciiStrToUint(String, 10);
}

UINTN ZvStrLen(const CHAR16* String) {
  return Forward(__LINE__, &ZV_LIBRARY_PROTOCOL::StrLen, String);
}

INTN ZvStrCmp(const CHAR16* First, const CHAR16* Second) {
  return Forward(__LINE__, &ZV_LIBRARY_PROTOCOL::StrCmp, First, Second);
}

VOID ZvStrTrim(CHAR16* String, CHAR16 Character) {
  Forward(__LINE__, &ZV_LIBRARY_PROTOCOL::StrTrim, String, Character);
}

VOID ZvFreePool(VOID* Buffer) {
  if (Ready(&ZV_LIBRARY::BS, "gZV->BS != ((void *) 0)", __LINE__)) {
    (void)gZV->BS->FreePool(Buffer);
  }
}

/** @file
  ZVI, the library service table: memory, string and print services of the platform.

  Produced by the platform. Each operation has the semantics of the EDK II BaseLib, BaseMemoryLib
  or PrintLib function of the same role, without MdePkg's limit on the length of a string. The
  driver uses the entries named below; the position of an entry is part of the interface.

  Copyright (c) 2026, The TVQSMBIOS authors
  SPDX-License-Identifier: BSD-2-Clause-Patent
**/

#ifndef ZV_LIBRARY_H_
#define ZV_LIBRARY_H_

#define ZV_LIBRARY_PROTOCOL_GUID \
  { 0x5c769477, 0xf7ad, 0x48b8, { 0x89, 0x27, 0x5e, 0xd4, 0xca, 0xe1, 0xea, 0x58 } }

typedef struct {
  /// 0: Copies Length bytes.
  VOID          (EFIAPI *CopyMem)(OUT VOID *Destination, IN CONST VOID *Source, IN UINTN Length);
  VOID          *Reserved1[3];
  /// 4: Prints at most BufferSize bytes, the terminator included. Returns the number of characters.
  UINTN         (EFIAPI *AsciiVSPrint)(OUT CHAR8 *Buffer, IN UINTN BufferSize, IN CONST CHAR8 *Format, IN VA_LIST Marker);
  VOID          *Reserved5[12];
  /// 17: Length in characters, without the terminator.
  UINTN         (EFIAPI *AsciiStrLen)(IN CONST CHAR8 *String);
  /// 18: 0 when equal.
  INTN          (EFIAPI *AsciiStrCmp)(IN CONST CHAR8 *First, IN CONST CHAR8 *Second);
  /// 19: 0 when the first Length characters are equal.
  INTN          (EFIAPI *AsciiStrnCmp)(IN CONST CHAR8 *First, IN CONST CHAR8 *Second, IN UINTN Length);
  /// 20: DestMax in characters, the terminator included.
  RETURN_STATUS (EFIAPI *AsciiStrCpyS)(OUT CHAR8 *Destination, IN UINTN DestMax, IN CONST CHAR8 *Source);
  /// 21: Copies at most Length characters and a terminator.
  RETURN_STATUS (EFIAPI *AsciiStrnCpyS)(OUT CHAR8 *Destination, IN UINTN DestMax, IN CONST CHAR8 *Source, IN UINTN Length);
  VOID          *Reserved22[2];
  /// 24: First occurrence of SearchString, or NULL.
  CHAR8         *(EFIAPI *AsciiStrStr)(IN CONST CHAR8 *String, IN CONST CHAR8 *SearchString);
  /// 25: Removes Character at both ends, in place; inner ones stay.
  VOID          (EFIAPI *AsciiStrTrim)(IN OUT CHAR8 *String, IN CHAR8 Character);
  /// 26: Value of the digits at the start of String, Base 10 or 16.
  UINTN         (EFIAPI *AsciiStrToUint)(IN CONST CHAR8 *String, IN UINT32 Base);
  VOID          *Reserved27[4];
  /// 31: Length in characters, without the terminator.
  UINTN         (EFIAPI *StrLen)(IN CONST CHAR16 *String);
  /// 32: 0 when equal.
  INTN          (EFIAPI *StrCmp)(IN CONST CHAR16 *First, IN CONST CHAR16 *Second);
  VOID          *Reserved33[6];
  /// 39: Removes Character at both ends, in place; inner ones stay.
  VOID          (EFIAPI *StrTrim)(IN OUT CHAR16 *String, IN CHAR16 Character);
} ZV_LIBRARY_PROTOCOL;

#define ZV_LIBRARY_POSITION(Entry)  (OFFSET_OF (ZV_LIBRARY_PROTOCOL, Entry) / sizeof (VOID *))

STATIC_ASSERT (ZV_LIBRARY_POSITION (CopyMem) == 0, "position of CopyMem");
STATIC_ASSERT (ZV_LIBRARY_POSITION (AsciiVSPrint) == 4, "position of AsciiVSPrint");
STATIC_ASSERT (ZV_LIBRARY_POSITION (AsciiStrLen) == 17, "position of AsciiStrLen");
STATIC_ASSERT (ZV_LIBRARY_POSITION (AsciiStrCmp) == 18, "position of AsciiStrCmp");
STATIC_ASSERT (ZV_LIBRARY_POSITION (AsciiStrnCmp) == 19, "position of AsciiStrnCmp");
STATIC_ASSERT (ZV_LIBRARY_POSITION (AsciiStrCpyS) == 20, "position of AsciiStrCpyS");
STATIC_ASSERT (ZV_LIBRARY_POSITION (AsciiStrnCpyS) == 21, "position of AsciiStrnCpyS");
STATIC_ASSERT (ZV_LIBRARY_POSITION (AsciiStrStr) == 24, "position of AsciiStrStr");
STATIC_ASSERT (ZV_LIBRARY_POSITION (AsciiStrTrim) == 25, "position of AsciiStrTrim");
STATIC_ASSERT (ZV_LIBRARY_POSITION (AsciiStrToUint) == 26, "position of AsciiStrToUint");
STATIC_ASSERT (ZV_LIBRARY_POSITION (StrLen) == 31, "position of StrLen");
STATIC_ASSERT (ZV_LIBRARY_POSITION (StrCmp) == 32, "position of StrCmp");
STATIC_ASSERT (ZV_LIBRARY_POSITION (StrTrim) == 39, "position of StrTrim");

#ifdef __cplusplus
extern "C" {
#endif

extern EFI_GUID  gZvLibraryProtocolGuid;

#ifdef __cplusplus
}
#endif

#endif
